// Helpers of the bond searches shared with their tests.
#ifndef CIF2PDB_BOND_SEARCH_H
#define CIF2PDB_BOND_SEARCH_H

namespace fileio_detail {

// One component of a fractional displacement folded to the nearest image: while above 0.5
// subtract 1, while below -0.5 add 1 (so +-0.5 stay). Computed in one step, bit for bit what
// the repeated shifts give; NaN passes through. A magnitude of 2^53 or more (or infinity),
// where the shifts would never end, is fatal.
double fold_displacement(double f);

}  // namespace fileio_detail

#endif  // CIF2PDB_BOND_SEARCH_H
