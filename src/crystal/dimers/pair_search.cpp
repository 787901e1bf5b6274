// The dimer search. Molecule centres are binned on a periodic grid; for each molecule the
// lattice vectors searched per axis are those that can bring another centre within the sum of
// the two bounding radii and the cutoff, bounded through the reciprocal lengths, so that no
// box of translations is fixed and a short axis gives t, 2t, ... as far as they reach. Pairs
// whose bounding spheres stay apart are dropped before their atoms are compared.
#include <algorithm>
#include <cmath>

#include "dimers_detail.h"

namespace teska::dimers_detail {

int CentreGrid::floor_int(double v) { return static_cast<int>(std::floor(v)); }

CentreGrid::CentreGrid(const std::vector<DimerMolecule>& molecules, const double reach[3]) {
    // Bins at least the reach wide, at most about two per molecule in all.
    for (int k = 0; k < 3; ++k)
        bins_[k] = reach[k] > 0.0 && std::isfinite(reach[k])
                       ? std::max(1, std::min(1000, static_cast<int>(1.0 / reach[k])))
                       : 1;
    const long long most = std::max<long long>(64, 2 * static_cast<long long>(molecules.size()));
    while (static_cast<long long>(bins_[0]) * bins_[1] * bins_[2] > most) {
        int* widest = std::max_element(bins_, bins_ + 3);
        *widest = std::max(1, *widest / 2);
    }
    cells_.resize(static_cast<std::size_t>(bins_[0] * bins_[1] * bins_[2]));
    for (std::size_t m = 0; m < molecules.size(); ++m) {
        int cell = 0;
        for (int k = 0; k < 3; ++k) {
            const int b = std::min(bins_[k] - 1,
                                   std::max(0, floor_int(molecules[m].centre[static_cast<std::size_t>(k)] * bins_[k])));
            cell = cell * bins_[k] + b;
        }
        cells_[static_cast<std::size_t>(cell)].push_back(static_cast<int>(m));
    }
}

Contact closest_contact(const Placed& placed, int i, int j, const std::array<int, 3>& t,
                        bool heavy_only) {
    const double ft[3] = {static_cast<double>(t[0]), static_cast<double>(t[1]),
                          static_cast<double>(t[2])};
    const auto shift = placed.to_cartesian(ft);
    const auto si = static_cast<std::size_t>(i), sj = static_cast<std::size_t>(j);
    const std::vector<double>& xi = placed.cartesian[si];
    const std::vector<double>& xj = placed.cartesian[sj];
    const std::vector<int>& zi = placed.elements[si];
    const std::vector<int>& zj = placed.elements[sj];
    double centre_j[3];
    for (std::size_t d = 0; d < 3; ++d) centre_j[d] = placed.centre[sj][d] + shift[d];
    Contact best;
    double best2 = INFINITY;
    for (std::size_t a = 0; a < zi.size(); ++a) {
        if (heavy_only && zi[a] == 1) continue;
        // No atom of j is nearer to a than j's centre less its radius.
        double c2 = 0.0;
        for (std::size_t d = 0; d < 3; ++d) c2 += (xi[3 * a + d] - centre_j[d]) * (xi[3 * a + d] - centre_j[d]);
        const double gap = std::sqrt(c2) - placed.radius[sj];
        if (gap > 0.0 && gap * gap > best2) continue;
        for (std::size_t b = 0; b < zj.size(); ++b) {
            if (heavy_only && zj[b] == 1) continue;
            double d2 = 0.0;
            for (std::size_t d = 0; d < 3; ++d) {
                const double delta = xj[3 * b + d] + shift[d] - xi[3 * a + d];
                d2 += delta * delta;
            }
            if (d2 < best2) {
                best2 = d2;
                best.a = placed.first_atom[si] + static_cast<int>(a);
                best.b = placed.first_atom[sj] + static_cast<int>(b);
            }
        }
    }
    best.distance = std::sqrt(best2);
    return best;
}

std::vector<FoundDimer> search_dimers(const Placed& placed, double cutoff, bool heavy_only) {
    std::vector<FoundDimer> found;
    const std::size_t n = placed.molecules.size();
    if (n == 0) return found;
    const double largest = *std::max_element(placed.radius.begin(), placed.radius.end());
    double reach[3];
    for (int k = 0; k < 3; ++k) reach[k] = (2.0 * largest + cutoff) * placed.reciprocal[k];
    const CentreGrid grid(placed.molecules, reach);
    for (std::size_t i = 0; i < n; ++i) {
        const double limit_i = placed.radius[i] + largest + cutoff;
        double near[3];
        for (int k = 0; k < 3; ++k) near[k] = limit_i * placed.reciprocal[k] + 1e-9;
        grid.for_each_near(placed.molecules[i].centre.data(), near,
                           [&](int j, const std::array<int, 3>& t) {
                               const auto sj = static_cast<std::size_t>(j);
                               if (sj < i) return;
                               if (sj == i && !(t > std::array<int, 3>{{0, 0, 0}})) return;
                               const double ft[3] = {static_cast<double>(t[0]),
                                                     static_cast<double>(t[1]),
                                                     static_cast<double>(t[2])};
                               const auto shift = placed.to_cartesian(ft);
                               double d2 = 0.0;
                               for (std::size_t d = 0; d < 3; ++d) {
                                   const double delta =
                                       placed.centre[sj][d] + shift[d] - placed.centre[i][d];
                                   d2 += delta * delta;
                               }
                               const double bound = placed.radius[i] + placed.radius[sj] + cutoff;
                               if (d2 >= bound * bound) return;
                               const Contact c =
                                   closest_contact(placed, static_cast<int>(i), j, t, heavy_only);
                               if (c.a >= 0 && c.distance < cutoff)
                                   found.push_back(FoundDimer{Dimer{static_cast<int>(i), j, t}, c});
                           });
    }
    return found;
}

}  // namespace teska::dimers_detail
