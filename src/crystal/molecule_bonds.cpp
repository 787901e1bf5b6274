// Bonds within a molecule through the cell list: atoms of a usual bonding radius are binned;
// an atom of a larger one (an element the reader does not know, which reaches every atom) is
// tested against all the others.
#include "molecule_bonds.h"

#include <algorithm>
#include <cmath>

#include "cell_bins.h"
#include "plane_spacings.h"

namespace teska::crystal_detail {

namespace {

constexpr double kWideRadius = 5.0;  // angstrom; beyond it an atom is tested against all

double length(const double L[3][3], const double f[3]) {
    double sum = 0.0;
    for (int i = 0; i < 3; ++i) {
        const double r = L[i][0] * f[0] + L[i][1] * f[1] + L[i][2] * f[2];
        sum += r * r;
    }
    return std::sqrt(sum);
}

// The shortest image of a fractional displacement: folded, then the neighbouring
// translations (an oblique cell's shortest image need not be the folded one).
double shortest_image(const double L[3][3], const double d[3]) {
    double folded[3];
    for (int k = 0; k < 3; ++k) folded[k] = d[k] - std::round(d[k]);
    double best = length(L, folded);
    for (int i = -1; i <= 1; ++i)
        for (int j = -1; j <= 1; ++j)
            for (int k = -1; k <= 1; ++k) {
                const double t[3] = {folded[0] + i, folded[1] + j, folded[2] + k};
                best = std::min(best, length(L, t));
            }
    return best;
}

}  // namespace

std::vector<Bond> molecule_bonds(int n, const double* x, const double* frac, const double L[3][3],
                                 const double* radius, double scale) {
    const bool periodic = frac != nullptr;
    const auto bonded = [&](int a, int b) {
        const double limit = (radius[a] + radius[b]) * scale;
        double d;
        if (periodic) {
            const double f[3] = {frac[3 * b] - frac[3 * a], frac[3 * b + 1] - frac[3 * a + 1],
                                 frac[3 * b + 2] - frac[3 * a + 2]};
            d = shortest_image(L, f);
        } else {
            const double r[3] = {x[3 * b] - x[3 * a], x[3 * b + 1] - x[3 * a + 1],
                                 x[3 * b + 2] - x[3 * a + 2]};
            d = std::sqrt(r[0] * r[0] + r[1] * r[1] + r[2] * r[2]);
        }
        return limit > d;
    };
    std::vector<Bond> bonds;
    std::vector<int> binned, wide;
    double largest = 0.0;
    for (int a = 0; a < n; ++a) {
        if (radius[a] >= 0.0 && radius[a] <= kWideRadius) {
            binned.push_back(a);
            largest = std::max(largest, radius[a]);
        } else {
            wide.push_back(a);
        }
    }
    for (int a : wide)
        for (int b = 0; b < n; ++b)
            if (b != a && (std::find(wide.begin(), wide.end(), b) == wide.end() || a < b) &&
                bonded(a, b))
                bonds.push_back({std::min(a, b), std::max(a, b)});

    const double cutoff = 2.0 * largest * scale * (1.0 + 1e-9) + 1e-9;
    double reach[3] = {cutoff, cutoff, cutoff};
    if (periodic) {
        double spacing[3];
        fileio_detail::plane_spacings(L, spacing);
        for (int k = 0; k < 3; ++k) reach[k] = cutoff / spacing[k];
    }
    const fileio_detail::CellBins bins(periodic ? frac : x, binned, reach, periodic);
    for (int a : binned)
        bins.for_each_near(periodic ? &frac[3 * a] : &x[3 * a], [&](int b) {
            if (b > a && bonded(a, b)) bonds.push_back({a, b});
            return true;
        });
    std::sort(bonds.begin(), bonds.end(),
              [](const Bond& p, const Bond& q) { return p.a != q.a ? p.a < q.a : p.b < q.b; });
    bonds.erase(std::unique(bonds.begin(), bonds.end(),
                            [](const Bond& p, const Bond& q) { return p.a == q.a && p.b == q.b; }),
                bonds.end());
    return bonds;
}

}  // namespace teska::crystal_detail
