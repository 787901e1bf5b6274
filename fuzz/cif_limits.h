// The atom cap of the fuzz targets that run the CIF reader to its end. The expansion, the bond
// searches and the molecule growth grow with the square (the literal searches, taken for
// coordinates that are not finite or very large, with the cube) of the atoms in the cell, so
// a few thousand bytes can ask for minutes of work; the targets read such inputs only as far
// as the line scan.
#ifndef CIF2PDB_FUZZ_CIF_LIMITS_H
#define CIF2PDB_FUZZ_CIF_LIMITS_H

#include <cstddef>
#include <cstdint>

namespace fuzz_support {

// Atoms of the expanded cell beyond which an input is not expanded.
constexpr long long kMaxExpandedAtoms = 256;

struct CifScan {
    bool rejected = false;         // the line scan itself ends with a fatal error
    long long expanded_atoms = 0;  // atom rows times symmetry operations
};

// Runs the CIF reader's line scan on the text, split into lines as the reader splits a file,
// into a scratch store. Call it under the raising fatal policy.
CifScan scan_cif_text(const std::uint8_t* data, std::size_t size);

inline bool within_atom_cap(const CifScan& scan) {
    return scan.rejected || scan.expanded_atoms <= kMaxExpandedAtoms;
}

}  // namespace fuzz_support

#endif  // CIF2PDB_FUZZ_CIF_LIMITS_H
