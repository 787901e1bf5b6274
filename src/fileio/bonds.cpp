// Bond searches that grow a set of atoms one bonded neighbour at a time: the lowest-numbered
// candidate bonded to any member of the set, members tried in the order they joined it.
// Two atoms are bonded when (r_i + r_j) * bond_scale is strictly greater than their distance.
#include <cmath>

#include "bond_search.h"
#include "teska/fileio.h"

namespace fileio_detail {

BondRule store_bond_rule(const FileIO& store, ImageRule image) {
    BondRule rule{};
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) rule.latt[r][c] = store.cell_latt3x3[r][c];
    rule.bond_scale = store.bond_scale;
    rule.image = image;
    return rule;
}

bool coordinates_indexable(const double* x, long long count) {
    // Beyond 2^20 cells the rounding of a difference could exceed the index's margins.
    constexpr double kIndexableMagnitude = 1048576.0;
    for (long long i = 0; i < count; ++i)
        if (!(std::fabs(x[i]) <= kIndexableMagnitude)) return false;  // also NaN
    return true;
}

}  // namespace fileio_detail

namespace {

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

}  // namespace

void FileIO::find_bond_atom(int natoms, int* flags, int nlist, int* list, int* first, int* second,
                            double* distance) {
    const auto bonded_nearest_image = [this](int i, int j, double* d) {
        const double limit = (cif_radius[i] + cif_radius[j]) * bond_scale;
        return fileio_detail::bonded_folded(cell_latt3x3, limit, &cif_x_s[3 * i], &cif_x_s[3 * j],
                                            d);
    };
    search_bonded_candidate(natoms, flags, nlist, list, first, second, distance,
                            bonded_nearest_image);
}

void FileIO::find_bond_atom_cart(int natoms, int* flags, int nlist, int* list, int* first,
                                 int* second, double* distance) {
    const auto bonded_as_placed = [this](int i, int j, double* d) {
        *d = fileio_detail::cartesian_distance(&cif_x[3 * i], &cif_x[3 * j]);
        return (cif_radius[i] + cif_radius[j]) * bond_scale > *d;
    };
    search_bonded_candidate(natoms, flags, nlist, list, first, second, distance, bonded_as_placed);
}

// Tries the pair as placed first; a pair bonded only across a cell face moves the candidate
// to the image next to its partner.
void FileIO::find_bond_atom_one(int natoms, double* x_s, double* radius, int* flags, int nlist,
                                int* list, int* first, int* second, double* distance) {
    using fileio_detail::PairBond;
    const auto bonded_moving_candidate = [&](int i, int j, double* d) {
        const double limit = (radius[i] + radius[j]) * bond_scale;
        double f[3];
        const PairBond bond = fileio_detail::bonded_direct_then_folded(
            cell_latt3x3, limit, &x_s[3 * i], &x_s[3 * j], d, f);
        if (bond == PairBond::kFolded)
            for (int k = 0; k < 3; ++k) x_s[3 * i + k] = x_s[3 * j + k] - f[k];
        return bond != PairBond::kNone;
    };
    search_bonded_candidate(natoms, flags, nlist, list, first, second, distance,
                            bonded_moving_candidate);
}
