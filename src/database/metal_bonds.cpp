// Metal-ligand bonds without a bond table: a transition metal and a donor atom closer than
// the sum of their covalent radii plus a coordination tolerance are bonded, in every image
// that close, when the donor's piece (by the bonding radii) holds hydrogen: a ligand (water,
// ammonia, an organic molecule), not an oxo-anion or the oxide of an inorganic salt, whose
// contacts to the metal are ionic. The radii are the covalent radii of B. Cordero et al., "Covalent radii
// revisited", Dalton Trans. 2008, 2832-2838, derived from metal-ligand distances of the
// Cambridge Structural Database (the high-spin radius for Mn, Fe and Co, whose high-spin
// bonds are the longest).
#include <algorithm>
#include <cmath>
#include <set>
#include <tuple>
#include <vector>

#include "database_detail.h"
#include "element_rows.h"
#include "index/bond_growth.h"

namespace teska {
namespace database_detail {

namespace {

// Added to the sum of the radii: refined metal-ligand bonds scatter about the sum by up to
// about a quarter of an angstrom (Jahn-Teller and trans-influenced bonds); longer contacts,
// such as the semi-coordination of an anion, stay apart.
constexpr double kCoordinationTolerance = 0.25;

// Cells thinner than a quarter of the reach hold no complex; their image search would grow
// with the cube of the ratio.
constexpr int kMaxImageRange = 4;

// Covalent radius (angstrom) of a transition metal by atomic number, 0 for other elements.
double metal_radius(int z) {
    static const double first[] = {1.70, 1.60, 1.53, 1.39, 1.61, 1.52, 1.50, 1.24, 1.32, 1.22};
    static const double second[] = {1.90, 1.75, 1.64, 1.54, 1.47, 1.46, 1.42, 1.39, 1.45, 1.44};
    static const double third[] = {1.75, 1.70, 1.62, 1.51, 1.44, 1.41, 1.36, 1.36, 1.32};
    if (z >= 21 && z <= 30) return first[z - 21];   // Sc .. Zn
    if (z >= 39 && z <= 48) return second[z - 39];  // Y .. Cd
    if (z == 57) return 2.07;                       // La
    if (z >= 72 && z <= 80) return third[z - 72];   // Hf .. Hg
    return 0.0;
}

// Covalent radius of a donor atom (C, N, O, P, S, halogens), 0 for other elements.
double donor_radius(int z) {
    switch (z) {
        case 6: return 0.76;
        case 7: return 0.71;
        case 8: return 0.66;
        case 9: return 0.57;
        case 15: return 1.07;
        case 16: return 1.05;
        case 17: return 1.02;
        case 35: return 1.20;
        case 53: return 1.39;
        default: return 0.0;
    }
}

// Per atom: whether its piece by the bonding radii holds a hydrogen atom.
std::vector<char> in_piece_with_hydrogen(const Expansion& cell, const Lattice& lattice,
                                         double bond_scale) {
    const int n = static_cast<int>(cell.atoms.size());
    fileio_detail::BondRule rule;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) rule.latt[r][c] = lattice.matrix()[r][c];
    rule.bond_scale = bond_scale;
    rule.image = fileio_detail::ImageRule::kMinimumImage;
    std::vector<double> x(3 * static_cast<std::size_t>(n)), radius(n);
    for (int a = 0; a < n; ++a) {
        radius[a] = nw_elem_radius_m[cell.atoms[a].element];
        for (int k = 0; k < 3; ++k) x[3 * a + k] = cell.atoms[a].frac[k];
    }
    std::vector<int> sizes, order;
    fileio_detail::grow_components(rule, n, x.data(), radius.data(), &sizes, &order);
    std::vector<char> with_hydrogen(n, 0);
    std::size_t start = 0;
    for (int size : sizes) {
        char has = 0;
        for (int k = 0; k < size; ++k) has |= cell.atoms[order[start + k]].element == 1;
        for (int k = 0; k < size; ++k) with_hydrogen[order[start + k]] = has;
        start += static_cast<std::size_t>(size);
    }
    return with_hydrogen;
}

}  // namespace

std::vector<ExplicitBond> metal_ligand_bonds(const Expansion& cell, const Lattice& lattice,
                                             double bond_scale) {
    std::vector<ExplicitBond> bonds;
    const int n = static_cast<int>(cell.atoms.size());
    std::vector<int> metals;
    double largest_metal = 0.0, largest_donor = 0.0;
    for (int a = 0; a < n; ++a) {
        const int z = cell.atoms[a].element;
        if (metal_radius(z) > 0.0) {
            metals.push_back(a);
            largest_metal = std::max(largest_metal, metal_radius(z));
        }
        largest_donor = std::max(largest_donor, donor_radius(z));
    }
    if (metals.empty() || largest_donor == 0.0) return bonds;
    const double reach = largest_metal + largest_donor + kCoordinationTolerance;
    // Images beyond the folded one that can lie within reach, per axis.
    int range[3];
    for (int k = 0; k < 3; ++k) {
        const double images = std::ceil(reach / lattice.plane_spacing(k));
        if (!(images <= kMaxImageRange)) return bonds;
        range[k] = static_cast<int>(images);
    }
    const std::vector<char> ligand = in_piece_with_hydrogen(cell, lattice, bond_scale);
    fileio_detail::CellBins bins = lattice.grid(reach, n);
    for (int a = 0; a < n; ++a)
        if (donor_radius(cell.atoms[a].element) > 0.0 && ligand[a]) bins.add(a, cell.atoms[a].frac);
    const double(&m)[3][3] = lattice.matrix();
    std::set<std::tuple<int, int, int, int, int>> seen;
    for (int metal : metals) {
        const CellAtom& ma = cell.atoms[metal];
        bins.for_each_near(ma.frac, [&](int donor) {
            const CellAtom& da = cell.atoms[donor];
            const double limit =
                metal_radius(ma.element) + donor_radius(da.element) + kCoordinationTolerance;
            const double radii_limit =
                (nw_elem_radius_m[ma.element] + nw_elem_radius_m[da.element]) * bond_scale;
            int base[3];
            for (int k = 0; k < 3; ++k)
                base[k] = -static_cast<int>(std::round(da.frac[k] - ma.frac[k]));
            for (int i = -range[0]; i <= range[0]; ++i)
                for (int j = -range[1]; j <= range[1]; ++j)
                    for (int k = -range[2]; k <= range[2]; ++k) {
                        const int shift[3] = {base[0] + i, base[1] + j, base[2] + k};
                        double length2 = 0.0;
                        for (int r = 0; r < 3; ++r) {
                            double x = 0.0;
                            for (int c = 0; c < 3; ++c)
                                x += m[r][c] * (da.frac[c] + shift[c] - ma.frac[c]);
                            length2 += x * x;
                        }
                        const double length = std::sqrt(length2);
                        // The radius test joins the pair already; explicit bonds are for the
                        // contacts beyond it.
                        if (!(length < limit) || length < radii_limit) continue;
                        if (seen.emplace(metal, donor, shift[0], shift[1], shift[2]).second)
                            bonds.push_back({metal, donor, {shift[0], shift[1], shift[2]}});
                    }
            return true;
        });
    }
    return bonds;
}

}  // namespace database_detail
}  // namespace teska
