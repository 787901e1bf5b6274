// Bond searches that grow a set of atoms one bonded neighbour at a time: the lowest-numbered
// candidate bonded to any member of the set, members tried in the order they joined it.
// Two atoms are bonded when (r_i + r_j) * bond_scale is strictly greater than their distance.
#include <cmath>

#include "bond_search.h"
#include "fatal.h"
#include "fileio.h"

namespace fileio_detail {

double fold_displacement(double f) {
    constexpr double kExactLimit = 9007199254740992.0;  // 2^53: beyond it f - 1 may round to f
    if (std::fabs(f) >= kExactLimit)
        FILEIO_FATAL(kStatusFailure, stdout, "Coordinate out of range in the bond search.\n");
    // Each single shift is exact below 2^53, so the shifts end on f minus a whole number,
    // which f - floor(f) and one last shift give exactly.
    if (f > 0.5) {
        const double r = f - std::floor(f);
        return r > 0.5 ? r - 1.0 : r;
    }
    if (f < -0.5) {
        const double r = f - std::floor(f);
        return r < 0.5 ? r : r - 1.0;
    }
    return f;
}

}  // namespace fileio_detail

namespace {

using fileio_detail::fold_displacement;

constexpr double kNoDistance = 9999.99;

// The search order shared by the three searches. bonded_at(i, j, &d) measures the candidate
// i against the member j and tells whether they are bonded.
template <typename BondedAt>
void search_bonded_candidate(int natoms, const int* flags, int nlist, const int* list, int* first,
                             int* second, double* distance, BondedAt bonded_at) {
    *first = -1;
    *second = -1;
    *distance = kNoDistance;
    for (int i = 0; i < natoms; ++i) {
        if (flags[i] == 0) continue;
        if (nlist == 0) {  // an empty set is seeded with the lowest candidate, untested
            *first = i;
            *second = 0;
            *distance = 0.0;
            return;
        }
        for (int m = 0; m < nlist; ++m) {
            const int j = list[m];
            double d = 0.0;
            if (j != i && bonded_at(i, j, &d)) {
                *first = i;
                *second = j;
                *distance = d;
                return;
            }
        }
    }
}

double length(const double v[3]) { return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]); }

}  // namespace

void FileIO::find_bond_atom(int natoms, int* flags, int nlist, int* list, int* first, int* second,
                            double* distance) {
    const auto bonded_nearest_image = [this](int i, int j, double* d) {
        double f[3], r[3];
        for (int k = 0; k < 3; ++k)
            f[k] = fold_displacement(cif_x_s[3 * j + k] - cif_x_s[3 * i + k]);
        coord_f2c(f, r);
        *d = length(r);
        return (cif_radius[i] + cif_radius[j]) * bond_scale > *d;
    };
    search_bonded_candidate(natoms, flags, nlist, list, first, second, distance,
                            bonded_nearest_image);
}

void FileIO::find_bond_atom_cart(int natoms, int* flags, int nlist, int* list, int* first,
                                 int* second, double* distance) {
    const auto bonded_as_placed = [this](int i, int j, double* d) {
        double r[3];
        for (int k = 0; k < 3; ++k) r[k] = cif_x[3 * j + k] - cif_x[3 * i + k];
        *d = length(r);
        return (cif_radius[i] + cif_radius[j]) * bond_scale > *d;
    };
    search_bonded_candidate(natoms, flags, nlist, list, first, second, distance, bonded_as_placed);
}

// Tries the pair as placed first; a pair bonded only across a cell face moves the candidate
// to the image next to its partner.
void FileIO::find_bond_atom_one(int natoms, double* x_s, double* radius, int* flags, int nlist,
                                int* list, int* first, int* second, double* distance) {
    const auto bonded_moving_candidate = [&](int i, int j, double* d) {
        const double limit = (radius[i] + radius[j]) * bond_scale;
        double f[3], r[3];
        for (int k = 0; k < 3; ++k) f[k] = x_s[3 * j + k] - x_s[3 * i + k];
        coord_f2c(f, r);
        *d = length(r);
        if (limit > *d) return true;
        for (int k = 0; k < 3; ++k) f[k] = fold_displacement(f[k]);
        coord_f2c(f, r);
        *d = length(r);
        if (!(limit > *d)) return false;
        for (int k = 0; k < 3; ++k) x_s[3 * i + k] = x_s[3 * j + k] - f[k];
        return true;
    };
    search_bonded_candidate(natoms, flags, nlist, list, first, second, distance,
                            bonded_moving_candidate);
}
