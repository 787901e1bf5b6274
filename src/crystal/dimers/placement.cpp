// Placing the molecules for the dimer search: each whole molecule moved by the lattice vector
// that brings its centre of mass (atomic masses) into [0, 1), with its Cartesian atoms, centre
// and bounding radius.
#include <algorithm>
#include <cmath>
#include <map>

#include "dimers_detail.h"
#include "teska/fileio.h"

namespace teska::dimers_detail {

namespace {

// A centre within this much below an integer counts as the integer.
constexpr double kWrapTolerance = 1e-6;

double mass_of(int z) {
    return z > 0 && z < kElementRows ? Elements_m[z].mass : 0.0;
}

}  // namespace

std::array<double, 3> Placed::to_cartesian(const double f[3]) const {
    std::array<double, 3> x{{0, 0, 0}};
    for (int k = 0; k < 3; ++k)
        for (int c = 0; c < 3; ++c) x[static_cast<std::size_t>(c)] += f[k] * lattice[k][c];
    return x;
}

Placed place_molecules(const Crystal& crystal) {
    Placed placed;
    placed.file = crystal.file();
    if (!crystal.has_cell())
        throw Error(crystal.file(), 0, 0, "dimers need a cell: the input has none");
    const auto lattice = crystal.lattice();
    for (int k = 0; k < 3; ++k)
        for (int c = 0; c < 3; ++c)
            placed.lattice[k][c] = lattice[static_cast<std::size_t>(k)][static_cast<std::size_t>(c)];
    // Fractional coordinates are x L^-1: the extent of one angstrom along axis k is the length
    // of column k of L^-1, the reciprocal length a*_k.
    const double(&L)[3][3] = placed.lattice;
    const double det = L[0][0] * (L[1][1] * L[2][2] - L[1][2] * L[2][1]) -
                       L[0][1] * (L[1][0] * L[2][2] - L[1][2] * L[2][0]) +
                       L[0][2] * (L[1][0] * L[2][1] - L[1][1] * L[2][0]);
    if (!(std::fabs(det) > 1e-9))
        throw Error(crystal.file(), 0, 0, "dimers need a cell of non-zero volume");
    double inverse[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            const int i1 = (j + 1) % 3, i2 = (j + 2) % 3, j1 = (i + 1) % 3, j2 = (i + 2) % 3;
            inverse[i][j] = (L[i1][j1] * L[i2][j2] - L[i1][j2] * L[i2][j1]) / det;
        }
    for (int k = 0; k < 3; ++k)
        placed.reciprocal[k] = std::sqrt(inverse[0][k] * inverse[0][k] +
                                         inverse[1][k] * inverse[1][k] +
                                         inverse[2][k] * inverse[2][k]);

    const std::vector<double>& frac = crystal.fractional();
    const std::vector<int>& z = crystal.elements();
    std::map<std::vector<int>, int> compositions;
    int index = 0;
    for (const Molecule& m : crystal.molecules()) {
        if (m.periodic)
            throw Error(crystal.file(), 0, 0,
                        "molecule " + std::to_string(index + 1) + " (" + m.formula +
                            ") is bonded to its own periodic image (a framework or polymer): "
                            "it has no dimers");
        const auto first = static_cast<std::size_t>(m.first_atom);
        const auto n = static_cast<std::size_t>(m.atom_count);
        std::vector<int> elements(z.begin() + static_cast<std::ptrdiff_t>(first),
                                  z.begin() + static_cast<std::ptrdiff_t>(first + n));
        double total = 0.0, centre[3] = {0, 0, 0};
        for (std::size_t a = 0; a < n; ++a) total += mass_of(elements[a]);
        for (std::size_t a = 0; a < n; ++a) {
            // Unknown elements (and an all-unknown molecule) weigh alike.
            const double w = total > 0.0 ? mass_of(elements[a]) / total : 1.0 / static_cast<double>(n);
            for (std::size_t d = 0; d < 3; ++d) centre[d] += w * frac[3 * (first + a) + d];
        }
        DimerMolecule placed_molecule;
        placed_molecule.formula = m.formula;
        for (std::size_t d = 0; d < 3; ++d) {
            const double whole = std::floor(centre[d] + kWrapTolerance);
            placed_molecule.shift[d] = -static_cast<int>(whole);
            // Rounding noise about a whole number reads as the whole number.
            const double c = centre[d] - whole;
            placed_molecule.centre[d] = c < 1e-12 ? 0.0 : c;
        }
        std::vector<double> f(3 * n), x(3 * n);
        for (std::size_t a = 0; a < n; ++a) {
            double fa[3];
            for (std::size_t d = 0; d < 3; ++d)
                fa[d] = f[3 * a + d] = frac[3 * (first + a) + d] + placed_molecule.shift[d];
            const auto xa = placed.to_cartesian(fa);
            for (std::size_t d = 0; d < 3; ++d) x[3 * a + d] = xa[d];
        }
        const auto c = placed.to_cartesian(placed_molecule.centre.data());
        double radius = 0.0;
        for (std::size_t a = 0; a < n; ++a) {
            double r2 = 0.0;
            for (std::size_t d = 0; d < 3; ++d) r2 += (x[3 * a + d] - c[d]) * (x[3 * a + d] - c[d]);
            radius = std::max(radius, std::sqrt(r2));
        }
        std::vector<int> sorted = elements;
        std::sort(sorted.begin(), sorted.end());
        placed.composition.push_back(
            compositions.emplace(sorted, static_cast<int>(compositions.size())).first->second);
        placed.molecules.push_back(placed_molecule);
        placed.first_atom.push_back(m.first_atom);
        placed.elements.push_back(std::move(elements));
        placed.fractional.push_back(std::move(f));
        placed.cartesian.push_back(std::move(x));
        placed.centre.push_back(c);
        placed.radius.push_back(radius);
        ++index;
    }
    return placed;
}

}  // namespace teska::dimers_detail
