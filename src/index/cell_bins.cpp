// Grid sizing and the counting sort that fills the bins.
#include "cell_bins.h"

#include <algorithm>
#include <cmath>

namespace fileio_detail {

namespace {

// Rounding in the callers' coordinates and tests stays far below these margins.
constexpr double kRelativeMargin = 1e-6;
constexpr double kAbsoluteMargin = 1e-9;
constexpr long long kMinBinCap = 64;

// How many bins of at least `width` fit into `extent`; 1 when the width is not a usable number.
long long bins_fitting(double extent, double reach) {
    const double width = reach * (1.0 + kRelativeMargin) + kAbsoluteMargin;
    if (!(width > 0.0) || !std::isfinite(width) || !std::isfinite(extent)) return 1;
    const double fit = std::floor(extent / width);
    if (!(fit >= 1.0)) return 1;
    return fit > 1e6 ? 1000000 : static_cast<long long>(fit);
}

// Fewer bins make wider bins, so shrinking the grid keeps every neighbour within reach.
void cap_bin_count(std::array<long long, 3>& bins, long long cap) {
    while (bins[0] * bins[1] * bins[2] > cap) {
        const double product = static_cast<double>(bins[0]) * bins[1] * bins[2];
        const double shrink = std::cbrt(static_cast<double>(cap) / product);
        auto largest = std::max_element(bins.begin(), bins.end());
        for (long long& b : bins) b = std::max(1LL, static_cast<long long>(b * shrink));
        if (static_cast<double>(bins[0]) * bins[1] * bins[2] >= product)
            *largest = std::max(1LL, *largest - 1);
    }
}

}  // namespace

CellBins::CellBins(const double* x, const std::vector<int>& atoms, const double reach[3],
                   bool periodic)
    : periodic_(periodic) {
    std::array<long long, 3> bins{1, 1, 1};
    std::array<double, 3> extent{1.0, 1.0, 1.0};  // periodic grids span one cell
    for (int k = 0; k < 3; ++k) {
        if (!periodic_ && !atoms.empty()) {
            double lo = x[3 * atoms[0] + k], hi = lo;
            for (int a : atoms) {
                lo = std::min(lo, x[3 * a + k]);
                hi = std::max(hi, x[3 * a + k]);
            }
            origin_[k] = lo;
            extent[k] = hi - lo;
        }
        bins[k] = extent[k] > 0.0 ? bins_fitting(extent[k], reach[k]) : 1;
    }
    cap_bin_count(bins, std::max(kMinBinCap, 2LL * static_cast<long long>(atoms.size())));
    for (int k = 0; k < 3; ++k) {
        bins_[k] = static_cast<int>(bins[k]);
        scale_[k] = extent[k] > 0.0 && std::isfinite(extent[k]) ? bins_[k] / extent[k] : 0.0;
    }

    const std::size_t cells = static_cast<std::size_t>(bins_[0]) * bins_[1] * bins_[2];
    std::vector<int> cell_of(atoms.size());
    start_.assign(cells + 1, 0);
    for (std::size_t s = 0; s < atoms.size(); ++s) {
        const double* p = x + 3 * atoms[s];
        cell_of[s] = (bin_of(p[0], 0) * bins_[1] + bin_of(p[1], 1)) * bins_[2] + bin_of(p[2], 2);
        ++start_[cell_of[s] + 1];
    }
    for (std::size_t c = 0; c < cells; ++c) start_[c + 1] += start_[c];
    atoms_.resize(atoms.size());
    std::vector<int> next(start_.begin(), start_.end() - 1);
    for (std::size_t s = 0; s < atoms.size(); ++s) atoms_[next[cell_of[s]]++] = atoms[s];
}

int CellBins::bin_of(double coordinate, int axis) const {
    double u;
    if (periodic_)
        u = (coordinate - std::floor(coordinate)) * scale_[axis];
    else
        u = (coordinate - origin_[axis]) * scale_[axis];
    if (!(u > 0.0)) return 0;  // also NaN
    if (u >= bins_[axis]) return bins_[axis] - 1;
    return static_cast<int>(u);
}

}  // namespace fileio_detail
