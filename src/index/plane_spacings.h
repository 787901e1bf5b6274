// The distance between neighbouring lattice planes across each axis of a cell: the length a
// bin must span along that axis, in fractional terms reach / spacing, for a cell list to hold
// every neighbour within reach.
#ifndef TESKA_INDEX_PLANE_SPACINGS_H
#define TESKA_INDEX_PLANE_SPACINGS_H

#include <cmath>

namespace fileio_detail {

// L has the cell vectors as columns (Cartesian = L x fractional). The rows of L^-1 are the
// reciprocal vectors, and spacing k is 1 / |row k| = |det L| / |column i x column j|.
inline void plane_spacings(const double L[3][3], double spacing[3]) {
    const double det = L[0][0] * (L[1][1] * L[2][2] - L[1][2] * L[2][1]) -
                       L[0][1] * (L[1][0] * L[2][2] - L[1][2] * L[2][0]) +
                       L[0][2] * (L[1][0] * L[2][1] - L[1][1] * L[2][0]);
    for (int k = 0; k < 3; ++k) {
        const int i = (k + 1) % 3, j = (k + 2) % 3;
        const double cross[3] = {L[1][i] * L[2][j] - L[2][i] * L[1][j],
                                 L[2][i] * L[0][j] - L[0][i] * L[2][j],
                                 L[0][i] * L[1][j] - L[1][i] * L[0][j]};
        spacing[k] =
            std::fabs(det) / std::sqrt(cross[0] * cross[0] + cross[1] * cross[1] + cross[2] * cross[2]);
    }
}

}  // namespace fileio_detail

#endif  // TESKA_INDEX_PLANE_SPACINGS_H
