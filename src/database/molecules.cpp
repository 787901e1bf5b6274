// Molecules of the cell into the store: one pass of the indexed growth divides the atoms by
// the bond test over the true minimum image and moves each atom next to its earliest-placed
// partner, so every molecule comes out whole; each is then shifted by whole cells so that its
// centre of mass lies in [0,1). The store ends as the crystal pipeline leaves it.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "database_detail.h"
#include "element_rows.h"
#include "index/bond_growth.h"
#include "index/cell_bins.h"
#include "molecule_arrays.h"
#include "store_arrays.h"
#include "teska/fileio.h"

namespace teska {
namespace database_detail {

namespace {

using fileio_detail::new_store_array;

double mass_of(int element) { return fileio_detail::element_record_or_dummy(element).mass; }

// A centre of mass this close below a whole number counts as on it, so that a molecule
// centred on a cell face stays on the face at 0 whichever way its sum rounds.
constexpr double kFaceTolerance = 1e-9;

// Shifts the atoms by whole cells so that their centre of mass lies in [0,1) on each axis.
void centre_in_cell(std::vector<double>& x, const std::vector<int>& elements) {
    const int n = static_cast<int>(elements.size());
    double total = 0.0;
    for (int e : elements) total += mass_of(e);
    for (int d = 0; d < 3; ++d) {
        double sum = 0.0;
        for (int k = 0; k < n; ++k) sum += mass_of(elements[k]) * x[3 * k + d];
        const double shift = std::floor(sum / total + kFaceTolerance);
        if (shift == 0.0) continue;
        for (int k = 0; k < n; ++k) x[3 * k + d] -= shift;
    }
}

// Whether the component's atoms, as placed, bond to the component moved by a lattice
// vector. This also finds what a test of each bonded pair's shortest image cannot: a pair
// bonded through two images at once (a chain of one Cu and one Cl per cell), an atom bonded
// to its own image.
bool bonds_to_a_moved_copy(const Lattice& lattice, const std::vector<double>& placed,
                           const std::vector<double>& radius, const std::vector<int>& atoms,
                           double bond_scale) {
    const int n = static_cast<int>(atoms.size());
    double largest = 0.0;
    for (int atom : atoms) largest = std::max(largest, radius[atom]);
    const double reach = 2.0 * largest * bond_scale;
    // Images beyond the folded one that can lie within reach, per axis.
    int range[3];
    for (int k = 0; k < 3; ++k) range[k] = static_cast<int>(reach / lattice.plane_spacing(k) + 0.5);
    std::vector<double> wrapped(3 * static_cast<std::size_t>(n));
    for (int a = 0; a < n; ++a)
        for (int c = 0; c < 3; ++c) {
            const double x = placed[3 * atoms[a] + c];
            wrapped[3 * a + c] = x - std::floor(x);
            if (wrapped[3 * a + c] >= 1.0) wrapped[3 * a + c] = 0.0;
        }
    const double(&m)[3][3] = lattice.matrix();
    fileio_detail::CellBins bins = lattice.grid(reach, n);
    for (int a = 0; a < n; ++a) {
        bins.add(a, &wrapped[3 * a]);  // first, so that the atom meets its own images
        bool found = false;
        bins.for_each_near(&wrapped[3 * a], [&](int b) {
            const double limit = (radius[atoms[a]] + radius[atoms[b]]) * bond_scale;
            double folded[3], placed_d[3];
            for (int c = 0; c < 3; ++c) {
                folded[c] = wrapped[3 * b + c] - wrapped[3 * a + c];
                folded[c] -= std::round(folded[c]);
                placed_d[c] = placed[3 * atoms[b] + c] - placed[3 * atoms[a] + c];
            }
            for (int i = -range[0]; i <= range[0] && !found; ++i)
                for (int j = -range[1]; j <= range[1] && !found; ++j)
                    for (int k = -range[2]; k <= range[2] && !found; ++k) {
                        const double d[3] = {folded[0] + i, folded[1] + j, folded[2] + k};
                        double length2 = 0.0;
                        for (int r = 0; r < 3; ++r) {
                            const double x = m[r][0] * d[0] + m[r][1] * d[1] + m[r][2] * d[2];
                            length2 += x * x;
                        }
                        if (!(length2 < limit * limit)) continue;
                        // The bond joins b moved by (d - placed_d), a whole lattice vector.
                        for (int c = 0; c < 3; ++c)
                            if (std::fabs(d[c] - placed_d[c]) > 0.5) found = true;
                    }
            return !found;
        });
        if (found) return true;
    }
    return false;
}

// Components bonded to their own image, tested only where that is possible: a bond to a
// copy moved by a lattice vector (at least the smallest plane spacing long) spans at most the
// component's diameter plus a bond, so a component with 2R + longest bond below the smallest
// spacing cannot hold one. Those tested go through the indexed test and, where it finds
// nothing, through the test of bonds to moved copies.
std::vector<char> bonded_to_own_image(const fileio_detail::BondRule& rule, const Lattice& lattice,
                                      const std::vector<double>& placed,
                                      const std::vector<double>& radius,
                                      const std::vector<int>& sizes,
                                      const std::vector<int>& order) {
    std::vector<char> periodic(sizes.size(), 0);
    if (!rule.use_radii) return periodic;
    double min_spacing = lattice.plane_spacing(0);
    for (int k = 1; k < 3; ++k) min_spacing = std::min(min_spacing, lattice.plane_spacing(k));
    std::vector<double> sub_x, sub_radius;
    std::vector<int> sub_sizes, sub_order, tested;
    std::vector<std::vector<int>> tested_atoms;
    int start = 0;
    for (std::size_t m = 0; m < sizes.size(); ++m) {
        const int size = sizes[m];
        double centre[3] = {0, 0, 0}, largest = 0.0;
        std::vector<double> xs(3 * static_cast<std::size_t>(size));
        for (int k = 0; k < size; ++k) {
            const int atom = order[start + k];
            largest = std::max(largest, radius[atom]);
            for (int r = 0; r < 3; ++r) {
                double x = 0.0;
                for (int c = 0; c < 3; ++c) x += rule.latt[r][c] * placed[3 * atom + c];
                xs[3 * k + r] = x;
                centre[r] += x / size;
            }
        }
        double extent2 = 0.0;
        for (int k = 0; k < size; ++k) {
            double d2 = 0.0;
            for (int r = 0; r < 3; ++r)
                d2 += (xs[3 * k + r] - centre[r]) * (xs[3 * k + r] - centre[r]);
            extent2 = std::max(extent2, d2);
        }
        if (2.0 * std::sqrt(extent2) + 2.0 * largest * rule.bond_scale >= min_spacing) {
            tested.push_back(static_cast<int>(m));
            tested_atoms.emplace_back(order.begin() + start, order.begin() + start + size);
            sub_sizes.push_back(size);
            for (int k = 0; k < size; ++k) {
                const int atom = order[start + k];
                sub_order.push_back(static_cast<int>(sub_radius.size()));
                sub_radius.push_back(radius[atom]);
                for (int c = 0; c < 3; ++c) sub_x.push_back(placed[3 * atom + c]);
            }
        }
        start += size;
    }
    if (tested.empty()) return periodic;
    const std::vector<char> flags = fileio_detail::components_bonded_to_own_image(
        rule, static_cast<int>(sub_radius.size()), sub_x.data(), sub_radius.data(), sub_sizes,
        sub_order);
    for (std::size_t t = 0; t < tested.size(); ++t)
        periodic[tested[t]] = flags[t] || bonds_to_a_moved_copy(lattice, placed, radius,
                                                                tested_atoms[t], rule.bond_scale);
    return periodic;
}

// Components holding an explicit bond that, as placed, joins its atoms through another
// image than its own (a chain or network of explicit bonds): added to periodic.
void explicit_bonds_to_own_image(const std::vector<ExplicitBond>& bonds,
                                 const std::vector<double>& original,
                                 const std::vector<double>& placed, const std::vector<int>& sizes,
                                 const std::vector<int>& order, std::vector<char>& periodic) {
    if (bonds.empty()) return;
    std::vector<int> component(placed.size() / 3, -1);
    std::size_t s = 0;
    for (std::size_t c = 0; c < sizes.size(); ++c)
        for (int k = 0; k < sizes[c]; ++k) component[order[s++]] = static_cast<int>(c);
    for (const ExplicitBond& bond : bonds) {
        const int c = component[bond.a];
        if (c < 0 || periodic[c]) continue;
        for (int k = 0; k < 3; ++k) {
            const double given = original[3 * bond.b + k] + bond.shift[k] - original[3 * bond.a + k];
            const double now = placed[3 * bond.b + k] - placed[3 * bond.a + k];
            if (std::fabs(now - given) > 0.5) periodic[c] = 1;
        }
    }
}

}  // namespace

std::string hill_formula(const std::vector<int>& elements) {
    std::map<std::string, int> counts;
    for (int e : elements) ++counts[fileio_detail::element_symbol(e)];
    std::string formula;
    auto append = [&](const std::string& symbol) {
        const auto found = counts.find(symbol);
        if (found == counts.end()) return;
        formula += symbol;
        if (found->second > 1) formula += std::to_string(found->second);
        counts.erase(found);
    };
    if (counts.count("C")) {
        append("C");
        append("H");
    }
    while (!counts.empty()) append(counts.begin()->first);
    return formula;
}

Molecules store_molecules(FileIO& store, const Expansion& cell, double bond_scale,
                          const std::vector<ExplicitBond>& explicit_bonds, bool use_radii,
                          Report& report) {
    const int n = static_cast<int>(cell.atoms.size());
    store.natoms_cif = n;
    store.cif_atypes = new_store_array<int>(n);
    store.cif_x_s = new_store_array<double>(3LL * n);
    store.cif_x = new_store_array<double>(3LL * n);
    store.cif_radius = nullptr;
    std::vector<double> radius(n);
    for (int i = 0; i < n; ++i) {
        const CellAtom& atom = cell.atoms[i];
        store.cif_atypes[i] = atom.element;
        radius[i] = nw_elem_radius_m[atom.element];
        for (int d = 0; d < 3; ++d) store.cif_x_s[3 * i + d] = atom.frac[d];
        store.coord_f2c(store.cif_x_s + 3 * i, store.cif_x + 3 * i);
    }

    fileio_detail::BondRule rule;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) rule.latt[r][c] = store.cell_latt3x3[r][c];
    rule.bond_scale = bond_scale;
    rule.image = fileio_detail::ImageRule::kMinimumImage;
    rule.use_radii = use_radii;
    std::vector<double> placed(store.cif_x_s, store.cif_x_s + 3LL * n);
    std::vector<int> sizes, order;
    fileio_detail::grow_components(rule, n, placed.data(), radius.data(), &sizes, &order,
                                   &explicit_bonds);
    Molecules molecules;
    molecules.periodic =
        bonded_to_own_image(rule, Lattice(store.cell_latt3x3), placed, radius, sizes, order);
    explicit_bonds_to_own_image(explicit_bonds,
                                std::vector<double>(store.cif_x_s, store.cif_x_s + 3LL * n),
                                placed, sizes, order, molecules.periodic);
    // The bonds used: the radius test's and the explicit ones, as pairs of cell atoms.
    std::vector<std::pair<int, int>> by_radii;
    if (use_radii)
        by_radii = fileio_detail::radius_bonded_pairs(rule, n, store.cif_x_s, radius.data());
    std::sort(by_radii.begin(), by_radii.end());
    molecules.bonds = by_radii;
    for (const ExplicitBond& bond : explicit_bonds)
        if (bond.a != bond.b)
            molecules.bonds.emplace_back(std::min(bond.a, bond.b), std::max(bond.a, bond.b));
    std::sort(molecules.bonds.begin(), molecules.bonds.end());
    molecules.bonds.erase(std::unique(molecules.bonds.begin(), molecules.bonds.end()),
                          molecules.bonds.end());
    for (const auto& bond : molecules.bonds)
        molecules.explicit_only.push_back(
            !std::binary_search(by_radii.begin(), by_radii.end(), bond));

    store.mol_natoms_list = sizes;
    store.mol_atom_list = order;
    store.input_kind = 2;
    store.nmols = static_cast<int>(sizes.size());
    fileio_detail::allocate_molecule_arrays(store);
    int start = 0, periodic = 0;
    for (int m = 0; m < store.nmols; ++m) {
        const int size = sizes[m];
        std::vector<int> elements(size);
        std::vector<double> x(3 * size);
        // A component bonded to its own image cannot be whole: its atoms stay in the cell.
        const double* from = molecules.periodic[m] ? store.cif_x_s : placed.data();
        for (int k = 0; k < size; ++k) {
            const int atom = order[start + k];
            elements[k] = store.cif_atypes[atom];
            for (int d = 0; d < 3; ++d) x[3 * k + d] = from[3 * atom + d];
        }
        if (molecules.periodic[m])
            ++periodic;
        else
            centre_in_cell(x, elements);

        store.mol_natoms[m] = size;
        fileio_detail::name_molecule_file(store, m);
        store.mol_atypes[m] = new_store_array<int>(size);
        store.mol_x_s[m] = new_store_array<double>(3LL * size);
        store.mol_x[m] = new_store_array<double>(3LL * size);
        for (int k = 0; k < size; ++k) {
            store.mol_atypes[m][k] = elements[k];
            for (int d = 0; d < 3; ++d) store.mol_x_s[m][3 * k + d] = x[3 * k + d];
            store.coord_f2c(&store.mol_x_s[m][3 * k], &store.mol_x[m][3 * k]);
        }
        store.mol_ids[m] = m + 1;
        molecules.formulas.push_back(hill_formula(elements));
        start += size;
    }
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) store.cell_vectors[r][c] = store.cell_latt3x3[c][r];
    fileio_detail::derive_cell_forms(store);
    store.is_periodic = true;

    if (periodic > 0)
        report.warn(
            0, count_of(periodic, "component", "components") +
                   " cannot be made whole, being bonded to " +
                   (periodic == 1 ? "its own periodic image" : "their own periodic images") +
                   " (a framework, polymer or network): " + (periodic == 1 ? "kept" : "each kept") +
                   " as one residue in the cell");
    return molecules;
}

}  // namespace database_detail
}  // namespace teska
