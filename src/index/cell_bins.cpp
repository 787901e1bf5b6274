// Grid sizing, the counting sort that fills the bins, and atoms added one at a time.
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
    std::vector<int> cell_of_atom(atoms.size());
    std::vector<int> start(cells + 1, 0);
    for (std::size_t s = 0; s < atoms.size(); ++s) {
        cell_of_atom[s] = cell_of(x + 3 * atoms[s]);
        ++start[cell_of_atom[s] + 1];
    }
    for (std::size_t c = 0; c < cells; ++c) start[c + 1] += start[c];
    atoms_.resize(atoms.size());
    std::vector<int> fill(start.begin(), start.end() - 1);
    for (std::size_t s = 0; s < atoms.size(); ++s) atoms_[fill[cell_of_atom[s]]++] = atoms[s];
    head_.assign(cells, -1);
    next_.assign(atoms.size(), -1);
    for (std::size_t c = 0; c < cells; ++c) {
        if (start[c] == start[c + 1]) continue;
        head_[c] = start[c];
        for (int s = start[c]; s + 1 < start[c + 1]; ++s) next_[s] = s + 1;
    }
}

CellBins::CellBins(const std::array<int, 3>& bins, int capacity) : periodic_(true) {
    for (int k = 0; k < 3; ++k) {
        bins_[k] = bins[k] < 1 ? 1 : bins[k];
        scale_[k] = bins_[k];
    }
    head_.assign(static_cast<std::size_t>(bins_[0]) * bins_[1] * bins_[2], -1);
    if (capacity > 0) {
        next_.reserve(static_cast<std::size_t>(capacity));
        atoms_.reserve(static_cast<std::size_t>(capacity));
    }
}

void CellBins::add(int atom, const double p[3]) {
    int& head = head_[cell_of(p)];
    next_.push_back(head);
    atoms_.push_back(atom);
    head = static_cast<int>(atoms_.size()) - 1;
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
