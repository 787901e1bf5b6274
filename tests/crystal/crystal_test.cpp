// The crystal model through its public header: atoms, molecules, bonds, species and unique
// molecules of crystals whose answers are known, checked against literal references (every
// pair of atoms for the bonds, every operation against every molecule for the unique ones).
#include "teska/crystal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <set>

#include "species.h"
#include "teska/fileio.h"
#include "test_support.h"

namespace {

using teska::Crystal;
using test_support::example;

// The labels of molecule m's atoms.
std::multiset<std::string> labels_of(const Crystal& c, std::size_t m) {
    const teska::Molecule& mol = c.molecules()[m];
    return {c.labels().begin() + mol.first_atom,
            c.labels().begin() + mol.first_atom + mol.atom_count};
}

// Every pair of the molecule tested: the reference the indexed bonds must equal, for molecules
// that are whole (non-periodic) and made of known elements.
std::vector<std::pair<int, int>> all_pairs_bonded(const Crystal& c, const teska::Molecule& m,
                                                  double scale) {
    std::vector<std::pair<int, int>> pairs;
    const std::vector<double>& x = c.positions();
    for (int a = 0; a < m.atom_count; ++a)
        for (int b = a + 1; b < m.atom_count; ++b) {
            const int i = m.first_atom + a, j = m.first_atom + b;
            const double limit =
                (nw_elem_radius_m[c.elements()[i]] + nw_elem_radius_m[c.elements()[j]]) * scale;
            if (limit > std::hypot(x[3 * j] - x[3 * i], x[3 * j + 1] - x[3 * i + 1],
                                   x[3 * j + 2] - x[3 * i + 2]))
                pairs.emplace_back(a, b);
        }
    return pairs;
}

TEST(CrystalModel, NaphthaleneAtomsBondsLabelsSpeciesAndUniqueMolecules) {
    const Crystal c = Crystal::read(example("naphthalene.cif"));
    ASSERT_EQ(c.molecules().size(), 2u);
    EXPECT_EQ(c.atom_count(), 36);
    EXPECT_EQ(c.formula(), "C20H16");
    // The molecule sits on an inversion centre: each of the 9 sites of the file twice.
    for (std::size_t m = 0; m < 2; ++m) {
        EXPECT_EQ(c.molecules()[m].formula, "C10H8");
        for (const char* label : {"C1", "C2", "C3", "C4", "C5", "H1", "H2", "H3", "H4"})
            EXPECT_EQ(labels_of(c, m).count(label), 2u) << label;
    }
    for (double occupancy : c.occupancies()) EXPECT_EQ(occupancy, 1.0);
    // Naphthalene: 11 C-C and 8 C-H bonds; every hydrogen has exactly one.
    for (std::size_t m = 0; m < 2; ++m) {
        const std::vector<teska::Bond>& bonds = c.bonds(static_cast<int>(m));
        EXPECT_EQ(bonds.size(), 19u);
        std::vector<int> degree(18, 0);
        for (const teska::Bond& b : bonds) {
            ASSERT_LT(b.a, b.b);
            ++degree[b.a];
            ++degree[b.b];
        }
        for (int a = 0; a < 18; ++a)
            if (c.elements()[c.molecules()[m].first_atom + a] == 1) {
                EXPECT_EQ(degree[a], 1);
            }
        std::vector<std::pair<int, int>> found;
        for (const teska::Bond& b : bonds) found.emplace_back(b.a, b.b);
        EXPECT_EQ(found, all_pairs_bonded(c, c.molecules()[m], 1.15));
    }
    ASSERT_EQ(c.species().size(), 1u);
    EXPECT_EQ(c.species()[0].count, 2);
    EXPECT_EQ(c.molecule_species(), (std::vector<int>{0, 0}));
    // P21/c with Z = 2: one unique molecule, the other its image under an operation.
    ASSERT_EQ(c.unique_molecules().size(), 1u);
    const teska::UniqueMolecule& u = c.unique_molecules()[0];
    EXPECT_EQ(u.images, (std::vector<int>{0, 1}));
    ASSERT_EQ(u.operations.size(), 2u);
    EXPECT_GT(u.operations[1], 0);
}

// The strict reader (cif2pdb's rules) and the database reader build the same cell here.
TEST(CrystalModel, StrictReaderGivesTheSameMoleculesAndBonds) {
    const Crystal database = Crystal::read(example("naphthalene.cif"));
    teska::ReadSettings strict;
    strict.strict = true;
    const Crystal store = Crystal::read(example("naphthalene.cif"), strict);
    EXPECT_EQ(store.reader(), "strict");
    ASSERT_EQ(store.molecules().size(), 2u);
    EXPECT_EQ(store.bonds(0).size(), 19u);
    EXPECT_EQ(store.species().size(), 1u);
    EXPECT_EQ(store.atom_count(), database.atom_count());
    // The store's operations as read: one unique molecule, as with the database reader.
    EXPECT_EQ(store.unique_molecules().size(), 1u);
    // The store's images are traced back to their sites: the same labels in each molecule.
    for (std::size_t m = 0; m < 2; ++m) EXPECT_EQ(labels_of(store, m), labels_of(database, m));
}

TEST(CrystalModel, MoleculeFileWithoutCellAndErrorsNameTheFile) {
    const Crystal methane = Crystal::read(test_support::test_data("readers/methane.mol"));
    EXPECT_FALSE(methane.has_cell());
    EXPECT_TRUE(methane.fractional().empty());
    ASSERT_EQ(methane.molecules().size(), 1u);
    EXPECT_EQ(methane.bonds(0).size(), 4u);
    EXPECT_EQ(methane.labels()[0], "C1");  // no names in a molfile: symbol and number
    try {
        Crystal::read_text("data_x\n_cell_length_a 5\n", "cif", "text.cif");
        FAIL() << "no error";
    } catch (const teska::Error& e) {
        EXPECT_EQ(e.file(), "text.cif");
    }
    EXPECT_THROW(Crystal::read("/nonexistent/x.cif"), teska::Error);
}

// Species of a salt and of a cocrystal.
TEST(CrystalModel, SpeciesOfASaltAndACocrystal) {
    SKIP_WITHOUT_SHARED_CIFS();
    struct Case {
        const char* file;
        std::map<std::string, int> species;  // formula -> molecules in the cell
    };
    const std::vector<Case> cases = {
        {"cod_2007325_cocrystal.cif", {{"C12H8N2", 2}, {"C20H14O2", 2}}},
        // 360 atoms in the cell, 45 per ion: four of each.
        {"cod_2101915_ph4as_ph4b.cif", {{"C24H20As", 4}, {"C24H20B", 4}}},
    };
    for (const Case& k : cases) {
        SCOPED_TRACE(k.file);
        const Crystal c = Crystal::read(test_support::shared_cif(k.file));
        std::map<std::string, int> species;
        int total = 0;
        for (const teska::Species& s : c.species()) {
            species[s.formula] += s.count;
            total += s.count;
            for (int m : s.molecules)
                EXPECT_EQ(c.molecule_species()[static_cast<std::size_t>(m)],
                          &s - c.species().data());
        }
        EXPECT_EQ(species, k.species);
        EXPECT_EQ(total, static_cast<int>(c.molecules().size()));
    }
}

// The image of fractional coordinates f under an operation.
void apply(const teska::SymmetryOperation& op, const double* f, double* out) {
    for (int i = 0; i < 3; ++i)
        out[i] = op.r[i][0] * f[0] + op.r[i][1] * f[1] + op.r[i][2] * f[2] + op.t[i];
}

// The literal search for unique molecules: every earlier unique molecule, every operation,
// the translation that brings the centroids together, then atom by atom within 0.1 angstrom.
std::vector<int> literal_unique(const Crystal& c) {
    const std::size_t n = c.molecules().size();
    std::vector<int> unique;
    const auto rows = c.lattice();
    const auto length = [&](const double f[3]) {
        double sum = 0.0;
        for (std::size_t k = 0; k < 3; ++k) {
            const double x = f[0] * rows[0][k] + f[1] * rows[1][k] + f[2] * rows[2][k];
            sum += x * x;
        }
        return std::sqrt(sum);
    };
    const auto frac = [&](const teska::Molecule& m, int a) {
        return &c.fractional().at(3 * (m.first_atom + a));
    };
    std::vector<std::array<double, 3>> centroid(n, {0, 0, 0});
    std::vector<std::multiset<int>> composition(n);
    for (std::size_t m = 0; m < n; ++m) {
        const teska::Molecule& mol = c.molecules()[m];
        for (int a = 0; a < mol.atom_count; ++a) {
            composition[m].insert(c.elements().at(mol.first_atom + a));
            for (int d = 0; d < 3; ++d) centroid[m][d] += frac(mol, a)[d] / mol.atom_count;
        }
    }
    const auto is_image = [&](std::size_t i, std::size_t j, const teska::SymmetryOperation& op) {
        if (composition[i] != composition[j]) return false;
        double centre[3], shift[3], df[3];
        apply(op, centroid[i].data(), centre);
        for (int d = 0; d < 3; ++d) {
            shift[d] = std::round(centroid[j][d] - centre[d]);
            df[d] = centre[d] + shift[d] - centroid[j][d];
        }
        if (!(length(df) < 0.1)) return false;
        const teska::Molecule &mi = c.molecules()[i], &mj = c.molecules()[j];
        std::vector<char> used(mj.atom_count, 0);
        for (int a = 0; a < mi.atom_count; ++a) {
            double image[3];
            apply(op, frac(mi, a), image);
            bool matched = false;
            for (int b = 0; b < mj.atom_count && !matched; ++b) {
                if (used[b] ||
                    c.elements().at(mj.first_atom + b) != c.elements().at(mi.first_atom + a))
                    continue;
                for (int d = 0; d < 3; ++d) df[d] = image[d] + shift[d] - frac(mj, b)[d];
                if (length(df) < 0.1) used[b] = matched = true;
            }
            if (!matched) return false;
        }
        return true;
    };
    for (std::size_t j = 0; j < n; ++j) {
        bool image = false;
        for (int i : unique)
            for (const teska::SymmetryOperation& op : c.operations())
                image = image || is_image(static_cast<std::size_t>(i), j, op);
        if (!image) unique.push_back(static_cast<int>(j));
    }
    return unique;
}

// The indexed search finds the unique molecules the literal one finds, on every shared file
// the reader takes, and every image it lists is made by the operation it names.
TEST(CrystalModel, UniqueMoleculesEqualTheLiteralSearch) {
    SKIP_WITHOUT_SHARED_CIFS();
    int compared = 0;
    for (const std::string& file : test_support::shared_cif_names()) {
        std::unique_ptr<Crystal> c;
        try {
            c = std::make_unique<Crystal>(Crystal::read(test_support::shared_cif(file)));
        } catch (const teska::Error&) {
            continue;  // the reader refuses it: nothing to compare
        }
        SCOPED_TRACE(file);
        // Every molecule is the image of exactly one unique molecule, of its formula.
        std::vector<int> covered(c->molecules().size(), 0);
        std::vector<int> indexed;
        for (const teska::UniqueMolecule& u : c->unique_molecules()) {
            indexed.push_back(u.molecule);
            for (std::size_t k = 0; k < u.images.size(); ++k) {
                ASSERT_GE(u.operations[k], 0);
                const teska::SymmetryOperation& op = c->operations().at(u.operations[k]);
                const teska::Molecule &from = c->molecules().at(u.molecule),
                                      &to = c->molecules().at(u.images[k]);
                ++covered.at(u.images[k]);
                EXPECT_EQ(to.formula, from.formula);
                // The first atom's image, moved by the shift, is an atom of the image molecule.
                double image[3], best = 1e9;
                apply(op, &c->fractional().at(3 * from.first_atom), image);
                for (int b = 0; b < to.atom_count; ++b) {
                    const double* g = &c->fractional().at(3 * (to.first_atom + b));
                    best = std::min(best, std::hypot(image[0] + u.shifts[k][0] - g[0],
                                                     image[1] + u.shifts[k][1] - g[1],
                                                     image[2] + u.shifts[k][2] - g[2]));
                }
                EXPECT_LT(best, 1e-2) << "image " << u.images[k];
            }
        }
        EXPECT_EQ(covered, std::vector<int>(covered.size(), 1));
        std::sort(indexed.begin(), indexed.end());
        EXPECT_EQ(indexed, literal_unique(*c));
        ++compared;
    }
    EXPECT_GT(compared, 10);
}

// Species are told apart by how the atoms are bonded, not by formula: ethanol and dimethyl
// ether are two, ethanol with its atoms listed in another order is the same, and so are two
// rings of three carbons against one of six, which every atom's neighbourhood alone cannot tell.
TEST(CrystalModel, SpeciesFollowTheBondGraph) {
    using teska::crystal_detail::MoleculeGraph;
    const MoleculeGraph ethanol{{6, 6, 8, 1, 1, 1, 1, 1, 1},
                                {{0, 1}, {1, 2}, {0, 3}, {0, 4}, {0, 5}, {1, 6}, {1, 7}, {2, 8}}};
    const MoleculeGraph ethanol_reordered{
        {1, 8, 1, 6, 1, 6, 1, 1, 1},
        {{0, 1}, {1, 3}, {3, 5}, {2, 3}, {3, 4}, {5, 6}, {5, 7}, {5, 8}}};
    const MoleculeGraph ether{{6, 8, 6, 1, 1, 1, 1, 1, 1},
                              {{0, 1}, {1, 2}, {0, 3}, {0, 4}, {0, 5}, {2, 6}, {2, 7}, {2, 8}}};
    const MoleculeGraph hexagon{{6, 6, 6, 6, 6, 6},
                                {{0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 5}, {0, 5}}};
    const MoleculeGraph triangles{{6, 6, 6, 6, 6, 6},
                                  {{0, 1}, {1, 2}, {0, 2}, {3, 4}, {4, 5}, {3, 5}}};
    EXPECT_EQ(teska::crystal_detail::species_of(
                  {ethanol, ether, ethanol_reordered, hexagon, triangles, ether}),
              (std::vector<int>{0, 1, 0, 2, 3, 1}));
    const auto map = teska::crystal_detail::match_atoms(ethanol, ethanol_reordered);
    ASSERT_TRUE(map);
    for (const teska::Bond& b : ethanol.bonds) {
        const int x = (*map)[static_cast<std::size_t>(b.a)],
                  y = (*map)[static_cast<std::size_t>(b.b)];
        const auto& other = ethanol_reordered.bonds;
        EXPECT_TRUE(std::any_of(other.begin(), other.end(), [&](const teska::Bond& o) {
            return (o.a == x && o.b == y) || (o.a == y && o.b == x);
        }));
    }
}

}  // namespace
