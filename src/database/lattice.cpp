// Periodic geometry of the merges: shortest lattice images of displacements, and the grid of
// the index that brings the atoms near a point within reach in linear time.
#include <algorithm>
#include <array>
#include <cmath>

#include "database_detail.h"
#include "index/plane_spacings.h"

namespace teska {
namespace database_detail {

namespace {

// Bins per atom at most: finer bins only cost memory.
constexpr long long kMaxBinsPerAtom = 8;
constexpr long long kMinBins = 64;

}  // namespace

Lattice::Lattice(const double m[3][3]) {
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) m_[r][c] = m[r][c];
    fileio_detail::plane_spacings(m_, spacing_);
    const double half = 0.5 * std::min({spacing_[0], spacing_[1], spacing_[2]});
    half_min_spacing2_ = half * half;
}

// Another image than the folded one differs by a lattice vector, so along some axis its
// fractional component is at least 0.5 and it is at least half a plane spacing long: below
// that the folded image is the shortest.
double Lattice::min_image_distance2(const double d[3]) const {
    double f[3];
    for (int k = 0; k < 3; ++k) {
        f[k] = d[k];
        while (f[k] > 0.5) f[k] -= 1.0;
        while (f[k] < -0.5) f[k] += 1.0;
    }
    auto length2 = [this](const double g[3]) {
        double sum = 0.0;
        for (int r = 0; r < 3; ++r) {
            const double x = m_[r][0] * g[0] + m_[r][1] * g[1] + m_[r][2] * g[2];
            sum += x * x;
        }
        return sum;
    };
    double best = length2(f);
    if (best <= half_min_spacing2_) return best;
    for (int a = -1; a <= 1; ++a)
        for (int b = -1; b <= 1; ++b)
            for (int c = -1; c <= 1; ++c) {
                const double g[3] = {f[0] + a, f[1] + b, f[2] + c};
                best = std::min(best, length2(g));
            }
    return best;
}

fileio_detail::CellBins Lattice::grid(double reach, int capacity) const {
    std::array<int, 3> n;
    long long total = 1;
    for (int k = 0; k < 3; ++k) {
        const double bins = std::floor(spacing_[k] / reach);
        n[k] = !(bins >= 1.0) ? 1 : static_cast<int>(std::min(bins, 1e6));
        total *= n[k];
    }
    const long long limit = std::max(kMinBins, kMaxBinsPerAtom * capacity);
    while (total > limit) {
        int widest = 0;
        for (int k = 1; k < 3; ++k)
            if (n[k] > n[widest]) widest = k;
        total /= n[widest];
        n[widest] = std::max(1, n[widest] / 2);
        total *= n[widest];
    }
    return fileio_detail::CellBins(n, capacity);
}

}  // namespace database_detail
}  // namespace teska
