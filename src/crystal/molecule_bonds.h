// The bonds of one molecule: the pairs of its atoms that the reader's bond test joins.
#ifndef TESKA_CRYSTAL_MOLECULE_BONDS_H
#define TESKA_CRYSTAL_MOLECULE_BONDS_H

#include <vector>

#include "teska/crystal.h"

namespace teska::crystal_detail {

// Atoms a and b are bonded when (radius[a] + radius[b]) * scale is strictly greater than their
// distance: as placed (x, Cartesian) for a whole molecule; for a periodic one (frac given),
// the shortest distance between their images. L is the lattice matrix (Cartesian = L frac).
// Returns the pairs sorted, a < b.
std::vector<Bond> molecule_bonds(int n, const double* x, const double* frac, const double L[3][3],
                                 const double* radius, double scale);

}  // namespace teska::crystal_detail

#endif  // TESKA_CRYSTAL_MOLECULE_BONDS_H
