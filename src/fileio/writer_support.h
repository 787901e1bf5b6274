// Helpers shared by the writers: opening the output file with the failure report each writer
// is known by, and the walk over the atoms of a supercell.
#ifndef CIF2PDB_WRITER_SUPPORT_H
#define CIF2PDB_WRITER_SUPPORT_H

#include <cstdio>
#include <string>

#include "fatal.h"

namespace fileio_detail {

// The writers report a file they cannot create in four wordings; each keeps its own.
enum class OpenFailure {
    kErrorQuotedOnStderr,  // ERROR: Failed to open output file "path"
    kQuotedOnStderr,       // Failed to open output file "path"
    kPlainOnStderr,        // Failed to open output file path
    kPlainOnStdout,        // Failed to open output file path
};

// Opens path for writing in text mode; on failure reports it in the given wording and ends
// the process with status -1.
inline FILE* open_output_file(const char* path, OpenFailure failure) {
    FILE* out = std::fopen(path, "wt");
    if (out != nullptr) return out;
    switch (failure) {
        case OpenFailure::kErrorQuotedOnStderr:
            FILEIO_FATAL(kStatusFailure, stderr, "ERROR: Failed to open output file \"%s\"\n",
                         path);
        case OpenFailure::kQuotedOnStderr:
            FILEIO_FATAL(kStatusFailure, stderr, "Failed to open output file \"%s\"\n", path);
        case OpenFailure::kPlainOnStderr:
            FILEIO_FATAL(kStatusFailure, stderr, "Failed to open output file %s\n", path);
        case OpenFailure::kPlainOnStdout:
            break;
    }
    FILEIO_FATAL(kStatusFailure, stdout, "Failed to open output file %s\n", path);
}

// "<prefix><separator><number, at least two digits><extension>": the name of one molecule's
// file, molecules counted from 1.
inline std::string molecule_file_name(const char* prefix, char separator, int number,
                                      const char* extension) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%02d", number);
    return prefix + std::string(1, separator) + digits + extension;
}

// Walks an na x nb x nc supercell: cells with c outermost and a innermost, in each cell the
// molecules in order and their atoms in order. on_molecule(m) comes before the atoms of
// molecule m (also for a molecule without atoms); on_atom(cell, m, atom) gets the cell's
// integer offsets {i, j, k}.
template <typename OnMolecule, typename OnAtom>
void walk_supercell(int na, int nb, int nc, int nmol, const int* natoms, OnMolecule on_molecule,
                    OnAtom on_atom) {
    for (int k = 0; k < nc; ++k)
        for (int j = 0; j < nb; ++j)
            for (int i = 0; i < na; ++i) {
                const int cell[3] = {i, j, k};
                for (int m = 0; m < nmol; ++m) {
                    on_molecule(m);
                    for (int atom = 0; atom < natoms[m]; ++atom) on_atom(cell, m, atom);
                }
            }
}

}  // namespace fileio_detail

#endif  // CIF2PDB_WRITER_SUPPORT_H
