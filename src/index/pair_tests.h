// The bond tests of one pair, shared by the store's literal set-growing searches and the
// index's ordered growth, so that both evaluate the same expressions in the same order:
// member minus candidate, fold, lattice matrix times the displacement, square root of the sum
// of squares, and the strict (r_i + r_j) * bond_scale > d.
#ifndef TESKA_INDEX_PAIR_TESTS_H
#define TESKA_INDEX_PAIR_TESTS_H

#include <cmath>

namespace fileio_detail {

// One component of a fractional displacement folded to the nearest image: while above 0.5
// subtract 1, while below -0.5 add 1 (so +-0.5 stay). Computed in one step, bit for bit what
// the repeated shifts give; NaN passes through. A magnitude of 2^53 or more (or infinity),
// where the shifts would never end, is fatal.
double fold_displacement(double f);

// |L f| with L the lattice matrix (cell vectors as columns).
inline double cartesian_length(const double L[3][3], const double f[3]) {
    const double r0 = L[0][0] * f[0] + L[0][1] * f[1] + L[0][2] * f[2];
    const double r1 = L[1][0] * f[0] + L[1][1] * f[1] + L[1][2] * f[2];
    const double r2 = L[2][0] * f[0] + L[2][1] * f[1] + L[2][2] * f[2];
    return std::sqrt(r0 * r0 + r1 * r1 + r2 * r2);
}

inline double cartesian_distance(const double* xi, const double* xj) {
    const double r0 = xj[0] - xi[0], r1 = xj[1] - xi[1], r2 = xj[2] - xi[2];
    return std::sqrt(r0 * r0 + r1 * r1 + r2 * r2);
}

// Candidate i against member j, each axis folded on its own.
inline bool bonded_folded(const double L[3][3], double limit, const double* xi, const double* xj,
                          double* d) {
    double f[3];
    for (int k = 0; k < 3; ++k) f[k] = fold_displacement(xj[k] - xi[k]);
    *d = cartesian_length(L, f);
    return limit > *d;
}

// How a candidate bonds to a member when it may be moved next to it.
enum class PairBond { kNone, kDirect, kFolded };

// Candidate i against member j as placed first, then folded; with kFolded, f holds the folded
// displacement (the candidate belongs at xj - f).
inline PairBond bonded_direct_then_folded(const double L[3][3], double limit, const double* xi,
                                          const double* xj, double* d, double f[3]) {
    for (int k = 0; k < 3; ++k) f[k] = xj[k] - xi[k];
    *d = cartesian_length(L, f);
    if (limit > *d) return PairBond::kDirect;
    for (int k = 0; k < 3; ++k) f[k] = fold_displacement(f[k]);
    *d = cartesian_length(L, f);
    return limit > *d ? PairBond::kFolded : PairBond::kNone;
}

}  // namespace fileio_detail

#endif  // TESKA_INDEX_PAIR_TESTS_H
