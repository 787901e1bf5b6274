// Ordered growth of bonded components through a cell list. A min-heap holds the unplaced
// atoms bonded to any member, keyed by atom index, so the next atom placed is always the
// lowest-numbered one bonded to the component: the order of the literal search. Each queued
// atom remembers the first member found bonded to it; members are tested in the order they
// were placed, so that is its earliest-placed partner, the one the literal search moves it
// next to.
#include "bond_growth.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <queue>

#include "cell_bins.h"
#include "pair_tests.h"

namespace fileio_detail {

namespace {

// Radii above this are not binned (unknown elements carry 9999.99).
constexpr double kBinnedRadiusLimit = 5.0;

bool moves_atoms(ImageRule rule) {
    return rule == ImageRule::kDirectThenFolded || rule == ImageRule::kMinimumImage;
}

// Rows of the inverse lattice matrix by cofactors; a singular matrix gives non-finite rows,
// which make the grid a single bin.
void inverse_rows(const double L[3][3], double inv[3][3]) {
    const double det = L[0][0] * (L[1][1] * L[2][2] - L[1][2] * L[2][1]) -
                       L[0][1] * (L[1][0] * L[2][2] - L[1][2] * L[2][0]) +
                       L[0][2] * (L[1][0] * L[2][1] - L[1][1] * L[2][0]);
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) {
            const int r1 = (c + 1) % 3, r2 = (c + 2) % 3, c1 = (r + 1) % 3, c2 = (r + 2) % 3;
            inv[r][c] = (L[r1][c1] * L[r2][c2] - L[r1][c2] * L[r2][c1]) / det;
        }
}

// How far apart along each axis two positions can be when their distance is below `cutoff`:
// fractional axes need |f_k| <= cutoff * |row k of L^-1|.
void axis_reach(const BondRule& rule, double cutoff, double reach[3]) {
    if (!(cutoff >= 0.0)) cutoff = 0.0;  // no pair can be bonded
    if (rule.image == ImageRule::kCartesian) {
        for (int k = 0; k < 3; ++k) reach[k] = cutoff;
        return;
    }
    double inv[3][3];
    inverse_rows(rule.latt, inv);
    for (int k = 0; k < 3; ++k)
        reach[k] = cutoff *
                   std::sqrt(inv[k][0] * inv[k][0] + inv[k][1] * inv[k][1] + inv[k][2] * inv[k][2]);
}

// The lattice translation t that brings a candidate at xc nearest to a member at xm (the
// shortest Cartesian image), and the distance it leaves.
double minimum_image(const double L[3][3], const double* xc, const double* xm, double t[3]) {
    double g[3], n[3];
    for (int k = 0; k < 3; ++k) {
        const double f = xm[k] - xc[k];
        n[k] = std::nearbyint(f);
        g[k] = f - n[k];
    }
    double best = cartesian_length(L, g);
    double best_shift[3] = {0.0, 0.0, 0.0};
    for (int a = -1; a <= 1; ++a)
        for (int b = -1; b <= 1; ++b)
            for (int c = -1; c <= 1; ++c) {
                const double f[3] = {g[0] + a, g[1] + b, g[2] + c};
                const double d = cartesian_length(L, f);
                if (d < best) {
                    best = d;
                    best_shift[0] = a, best_shift[1] = b, best_shift[2] = c;
                }
            }
    for (int k = 0; k < 3; ++k) t[k] = n[k] - best_shift[k];
    return best;
}

// Bins the atoms whose radius is a usable number; the others ("wide" atoms) are listed to be
// tested against every atom. The bins reach as far as the largest bond between binned atoms.
std::unique_ptr<CellBins> bin_atoms(const BondRule& rule, int natoms, const double* x,
                                    const double* radius, std::vector<int>* wide) {
    std::vector<int> binned;
    double largest = 0.0;
    for (int a = 0; a < natoms; ++a) {
        if (radius[a] >= 0.0 && radius[a] <= kBinnedRadiusLimit) {
            binned.push_back(a);
            if (radius[a] > largest) largest = radius[a];
        } else {
            wide->push_back(a);
        }
    }
    double reach[3];
    axis_reach(rule, (largest + largest) * rule.bond_scale, reach);
    return std::make_unique<CellBins>(x, binned, reach, rule.image != ImageRule::kCartesian);
}

// An explicit bond seen from one of its atoms: the other atom and the shift that brings it
// next to this one.
struct ExplicitPartner {
    int atom;
    int shift[3];
};

class Growth {
   public:
    Growth(const BondRule& rule, int natoms, double* x, const double* radius,
           const std::vector<ExplicitBond>* explicit_bonds = nullptr)
        : rule_(rule),
          n_(natoms),
          x_(x),
          radius_(radius),
          wide_(natoms, 0),
          placed_(natoms, 0),
          partner_(natoms, -1) {
        bins_ = bin_atoms(rule_, n_, x_, radius_, &wide_atoms_);
        for (int a : wide_atoms_) wide_[a] = 1;
        if (explicit_bonds && !explicit_bonds->empty()) {
            explicit_.resize(natoms);
            explicit_shift_.assign(3 * static_cast<std::size_t>(natoms), 0);
            by_explicit_.assign(natoms, 0);
            original_.assign(x, x + 3 * static_cast<std::size_t>(natoms));
            for (const ExplicitBond& bond : *explicit_bonds) {
                if (bond.a < 0 || bond.b < 0 || bond.a >= natoms || bond.b >= natoms) continue;
                explicit_[bond.a].push_back({bond.b, {bond.shift[0], bond.shift[1], bond.shift[2]}});
                explicit_[bond.b].push_back(
                    {bond.a, {-bond.shift[0], -bond.shift[1], -bond.shift[2]}});
            }
        }
    }

    // Places seed and then, lowest index first, every atom bonded to the component.
    void grow(int seed, std::vector<int>* order) {
        place(seed, order);
        while (!queue_.empty()) {
            const int c = queue_.top();
            queue_.pop();
            if (!by_explicit_.empty() && by_explicit_[c])
                move_by_explicit_bond(c, partner_[c]);
            else if (moves_atoms(rule_.image))
                move_next_to(c, partner_[c]);
            place(c, order);
        }
    }

    bool placed(int a) const { return placed_[a] != 0; }

   private:
    bool bonded(int c, int m) const {
        const double limit = (radius_[c] + radius_[m]) * rule_.bond_scale;
        const double* xc = x_ + 3 * c;
        const double* xm = x_ + 3 * m;
        double d, f[3];
        switch (rule_.image) {
            case ImageRule::kFolded:
                return bonded_folded(rule_.latt, limit, xc, xm, &d);
            case ImageRule::kDirectThenFolded:
                return bonded_direct_then_folded(rule_.latt, limit, xc, xm, &d, f) !=
                       PairBond::kNone;
            case ImageRule::kMinimumImage:
                return limit > minimum_image(rule_.latt, xc, xm, f);
            case ImageRule::kCartesian:
                return limit > cartesian_distance(xc, xm);
        }
        return false;
    }

    void move_next_to(int c, int m) {
        const double limit = (radius_[c] + radius_[m]) * rule_.bond_scale;
        double* xc = x_ + 3 * c;
        const double* xm = x_ + 3 * m;
        double d, f[3];
        if (rule_.image == ImageRule::kDirectThenFolded) {
            if (bonded_direct_then_folded(rule_.latt, limit, xc, xm, &d, f) == PairBond::kFolded)
                for (int k = 0; k < 3; ++k) xc[k] = xm[k] - f[k];
        } else {
            minimum_image(rule_.latt, xc, xm, f);
            for (int k = 0; k < 3; ++k)
                if (f[k] != 0.0) xc[k] += f[k];
        }
    }

    // c joins m's side of an explicit bond: c sits where the bond's shift puts it relative
    // to m as m now lies (m has moved by whole cells since the growth began).
    void move_by_explicit_bond(int c, int m) {
        if (!moves_atoms(rule_.image)) return;
        for (int k = 0; k < 3; ++k) {
            const double moved = std::nearbyint(x_[3 * m + k] - original_[3 * m + k]);
            const double shift = moved + explicit_shift_[3 * c + k];
            if (shift != 0.0) x_[3 * c + k] += shift;
        }
    }

    void consider(int c, int m) {
        if (placed_[c] || partner_[c] >= 0) return;  // a queued atom keeps its earliest partner
        if (!rule_.use_radii || !bonded(c, m)) return;
        partner_[c] = m;
        queue_.push(c);
    }

    void consider_explicit(const ExplicitPartner& p, int m) {
        const int c = p.atom;
        if (placed_[c] || partner_[c] >= 0) return;
        partner_[c] = m;
        by_explicit_[c] = 1;
        for (int k = 0; k < 3; ++k) explicit_shift_[3 * c + k] = p.shift[k];
        queue_.push(c);
    }

    void place(int m, std::vector<int>* order) {
        placed_[m] = 1;
        order->push_back(m);
        if (!explicit_.empty()) {
            if (rule_.use_radii) consider_by_radius(m);
            for (const ExplicitPartner& p : explicit_[m]) consider_explicit(p, m);
            return;
        }
        consider_by_radius(m);
    }

    void consider_by_radius(int m) {
        if (wide_[m]) {
            for (int c = 0; c < n_; ++c) consider(c, m);
            return;
        }
        bins_->for_each_near(x_ + 3 * m, [&](int c) {
            consider(c, m);
            return true;
        });
        for (int c : wide_atoms_) consider(c, m);
    }

    const BondRule& rule_;
    const int n_;
    double* const x_;
    const double* const radius_;
    std::vector<char> wide_;
    std::vector<int> wide_atoms_;
    std::unique_ptr<CellBins> bins_;
    std::vector<char> placed_;
    std::vector<int> partner_;  // earliest-placed member bonded to a queued atom
    // Explicit bonds per atom, and for a queued atom joined through one its shift (empty
    // without explicit bonds). original_ holds the positions as given.
    std::vector<std::vector<ExplicitPartner>> explicit_;
    std::vector<int> explicit_shift_;
    std::vector<char> by_explicit_;
    std::vector<double> original_;
    std::priority_queue<int, std::vector<int>, std::greater<int>> queue_;
};

}  // namespace

void grow_components(const BondRule& rule, int natoms, double* x_s, const double* radius,
                     std::vector<int>* sizes, std::vector<int>* order,
                     const std::vector<ExplicitBond>* explicit_bonds) {
    if (natoms < 1) return;
    Growth growth(rule, natoms, x_s, radius, explicit_bonds);
    int seed = 0;
    while (true) {
        while (seed < natoms && growth.placed(seed)) ++seed;
        if (seed == natoms) return;
        const std::size_t before = order->size();
        growth.grow(seed, order);
        sizes->push_back(static_cast<int>(order->size() - before));
    }
}

int grow_first_component(const BondRule& rule, int natoms, double* x_s, const double* radius,
                         std::vector<int>* order) {
    if (natoms < 1) return 0;
    const std::size_t before = order->size();
    Growth(rule, natoms, x_s, radius).grow(0, order);
    return static_cast<int>(order->size() - before);
}

std::vector<char> components_bonded_to_own_image(const BondRule& rule, int natoms,
                                                 const double* x_s, const double* radius,
                                                 const std::vector<int>& sizes,
                                                 const std::vector<int>& order) {
    std::vector<char> periodic(sizes.size(), 0);
    std::vector<int> component(natoms, -1);
    std::size_t s = 0;
    for (std::size_t c = 0; c < sizes.size(); ++c)
        for (int k = 0; k < sizes[c] && s < order.size(); ++k)
            component[order[s++]] = static_cast<int>(c);

    std::vector<int> wide;
    const std::unique_ptr<CellBins> bins = bin_atoms(rule, natoms, x_s, radius, &wide);
    std::vector<char> is_wide(natoms, 0);
    for (int a : wide) is_wide[a] = 1;

    // A bonded pair of one component whose shortest image is not where it was placed.
    const auto check = [&](int a, int b) {
        const int c = component[a];
        if (b <= a || c < 0 || component[b] != c || periodic[c]) return;
        double t[3];
        const double d = minimum_image(rule.latt, x_s + 3 * a, x_s + 3 * b, t);
        if ((radius[a] + radius[b]) * rule.bond_scale > d && (t[0] != 0 || t[1] != 0 || t[2] != 0))
            periodic[c] = 1;
    };
    for (int a = 0; a < natoms; ++a) {
        if (is_wide[a]) continue;
        bins->for_each_near(x_s + 3 * a, [&](int b) {
            check(a, b);
            return true;
        });
    }
    for (int a : wide)
        for (int b = 0; b < natoms; ++b) check(std::min(a, b), std::max(a, b));
    return periodic;
}

std::vector<std::pair<int, int>> radius_bonded_pairs(const BondRule& rule, int natoms,
                                                     const double* x_s, const double* radius) {
    std::vector<std::pair<int, int>> pairs;
    if (natoms < 1 || !rule.use_radii) return pairs;
    std::vector<int> wide;
    const std::unique_ptr<CellBins> bins = bin_atoms(rule, natoms, x_s, radius, &wide);
    std::vector<char> is_wide(natoms, 0);
    for (int a : wide) is_wide[a] = 1;
    const auto check = [&](int a, int b) {
        double t[3];
        const double d = minimum_image(rule.latt, x_s + 3 * a, x_s + 3 * b, t);
        if ((radius[a] + radius[b]) * rule.bond_scale > d) pairs.emplace_back(a, b);
    };
    for (int a = 0; a < natoms; ++a) {
        if (is_wide[a]) continue;
        bins->for_each_near(x_s + 3 * a, [&](int b) {
            if (b > a && !is_wide[b]) check(a, b);
            return true;
        });
    }
    for (int a : wide)
        for (int b = 0; b < natoms; ++b)
            if (b != a && (!is_wide[b] || b > a)) check(std::min(a, b), std::max(a, b));
    std::sort(pairs.begin(), pairs.end());
    pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());
    return pairs;
}

}  // namespace fileio_detail
