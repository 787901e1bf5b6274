// Expansion and molecules: images on special positions merged by distance, the expanded
// count (operations x sites - merged images), whole molecules with their centres in the cell,
// frameworks kept as one residue, and a store that the PDB writer turns into the same file as
// cif2pdb where its line reader reads the crystal right.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "database_detail.h"
#include "database_test_support.h"
#include "pdb_model.h"

namespace {

using database_test::formula_counts;
using database_test::read;

struct SpecialPosition {
    const char* file;
    int operations, sites, atoms;
    const char* formulas;
};

// CO2: the carbon on the inversion centre, 2 x 2 - 1 = 3 atoms. Water: the oxygen on the
// two-fold axis (written 0.0001 off it), 2 x 2 - 1 = 3. Ammonia: the nitrogen on the
// three-fold axis at (0.3333, 0.6667), its images 0.001 A apart, 3 x 2 - 2 = 4. Rock salt: Na
// at (0,0,0) and Cl at (1/2,1/2,1/2) under the 192 operations of F m -3 m fall on the 4 points
// of the face-centred lattice each: 8 ions, too far apart to bond (2.82 A against (1.40 + 0.99)
// x 1.15 = 2.75 A).
TEST(Expansion, ImagesOnSpecialPositionsAreOneAtom) {
    const SpecialPosition cases[] = {
        {"carbon_dioxide_inversion.cif", 2, 2, 3, "1xCO2"},
        {"water_two_fold.cif", 2, 2, 3, "1xH2O"},
        {"ammonia_three_fold.cif", 3, 2, 4, "1xH3N"},
        {"charged_symbols.cif", 192, 2, 8, "4xCl 4xNa"},
    };
    for (const SpecialPosition& c : cases) {
        SCOPED_TRACE(c.file);
        const database_test::Read r = read(c.file);
        EXPECT_EQ(static_cast<int>(r.info.operations.size()), c.operations);
        EXPECT_EQ(r.info.sites, c.sites);
        EXPECT_EQ(r.info.atoms, c.atoms);
        EXPECT_EQ(formula_counts(r.info), c.formulas);
        database_test::expect_whole_molecules(*r.store, r.info);
    }
}

TEST(Expansion, PositionsAreWrappedIntoTheCellWhateverTheirDistance) {
    using namespace teska::database_detail;
    Site site;
    site.element = 7;
    site.frac[0] = -123456.25;
    site.frac[1] = 7.75;
    site.frac[2] = -1e-17;  // rounds to 1 when shifted by 1; must wrap to 0
    DisorderChoice disorder;
    disorder.keep = {1};
    disorder.copy_set = {-1};
    const double m[3][3] = {{10, 0, 0}, {0, 10, 0}, {0, 0, 10}};
    Report report("x.cif");
    const Expansion cell =
        expand_sites({site}, disorder, {gemmi::Op::identity()}, Lattice(m), 1.15, 1000, report);
    ASSERT_EQ(cell.atoms.size(), 1u);
    EXPECT_EQ(cell.atoms[0].frac[0], 0.75);
    EXPECT_EQ(cell.atoms[0].frac[1], 0.75);
    EXPECT_EQ(cell.atoms[0].frac[2], 0.0);
}

TEST(Expansion, TooManyAtomsInTheCellIsAnError) {
    using namespace teska::database_detail;
    const std::vector<Site> sites(105000, Site());
    DisorderChoice disorder;
    disorder.keep.assign(sites.size(), 1);
    disorder.copy_set.assign(sites.size(), -1);
    const std::vector<gemmi::Op> ops(192, gemmi::Op::identity());
    const double m[3][3] = {{10, 0, 0}, {0, 10, 0}, {0, 0, 10}};
    Report report("x.cif");
    try {
        expand_sites(sites, disorder, ops, Lattice(m), 1.15, teska::ReadOptions().max_cell_atoms,
                     report);
        ADD_FAILURE() << "no error";
    } catch (const teska::Error& e) {
        EXPECT_EQ(std::string(e.what()),
                  "x.cif: too many atoms in the cell: 105000 sites x 192 operations, more than "
                  "20000000");
    }
}

TEST(Expansion, ShortestImagesInASkewedCell) {
    // a = 10 along x, b = 10 at 30 degrees to it: the displacement (0.4, 0.4), folded, is
    // 7.73 A long, but its image (0.4, -0.6) only |(4 - 6 cos 30, -6 sin 30)| = 3.23 A.
    const double m[3][3] = {{10, 8.660254037844386, 0}, {0, 5, 0}, {0, 0, 10}};
    const teska::database_detail::Lattice lattice(m);
    const double d[3] = {0.4, 0.4, 0.0};
    EXPECT_NEAR(std::sqrt(lattice.min_image_distance2(d)), 3.229671905681279, 1e-12);
    EXPECT_NEAR(lattice.plane_spacing(0), 5.0, 1e-12);
}

TEST(Molecules, HillFormulas) {
    using teska::database_detail::hill_formula;
    EXPECT_EQ(hill_formula({6, 1, 1, 6, 8}), "C2H2O");
    EXPECT_EQ(hill_formula({8, 1, 1}), "H2O");
    EXPECT_EQ(hill_formula({17, 29, 29, 17}), "Cl2Cu2");
    EXPECT_EQ(hill_formula({35, 6, 1}), "CHBr");
}

// The chain Cu-Cl-Cu-Cl runs through the a faces: it cannot be whole, stays one residue with
// its atoms in the cell, and the dinitrogen beside it is made whole on the face y = 0.
TEST(Molecules, AFrameworkIsKeptAsOneResidueWithAWarning) {
    const database_test::Read r = read("coordination_polymer.cif");
    EXPECT_EQ(r.info.atoms, 6);
    EXPECT_EQ(r.info.molecules, 2);
    EXPECT_EQ(r.info.formulas, (std::vector<std::string>{"Cl2Cu2", "N2"}));
    EXPECT_EQ(r.info.periodic, (std::vector<char>{1, 0}));
    EXPECT_EQ(r.info.warnings,
              std::vector<std::string>{database_test::data("coordination_polymer.cif") +
                                       ": 1 component cannot be made whole, being bonded to "
                                       "its own periodic image (a framework, polymer or "
                                       "network): kept as one residue in the cell"});
    database_test::expect_whole_molecules(*r.store, r.info);
}

// One Cu and one Cl per cell along a = 4.6 A: the Cl bonds to the Cu at 2.21 A and to its
// image at 2.39 A, so the chain is bonded to its own image through a pair whose shortest
// image is the one placed. A lone Cu 2.4 A long cell is bonded to its own image.
TEST(Molecules, ChainsOfOneAtomOrOnePairPerCell) {
    const auto periodic = [](const char* a, const std::string& sites) {
        return database_test::read_text("data_x\n" + database_test::right_cell(a, "10") +
                                        "_space_group_name_Hall 'P 1'\n" +
                                        database_test::kSiteLoop + sites)
            .info.periodic;
    };
    EXPECT_EQ(periodic("4.6", "Cu1 0 0.5 0.5\nCl1 0.48 0.5 0.5\n"), std::vector<char>{1});
    EXPECT_EQ(periodic("2.4", "Cu1 0 0.5 0.5\n"), std::vector<char>{1});
    EXPECT_EQ(periodic("6", "Cu1 0 0.5 0.5\n"), std::vector<char>{0});
}

// The store as the crystal pipeline leaves it: the PDB writer gives, byte for byte, the
// golden file of cif2pdb for crystals that its line reader reads right.
TEST(Molecules, TheStoreWritesTheGoldensOfCif2pdb) {
    for (const char* name : {"acetonitrile_hydrate", "chloroacetonitrile", "ferrocene_p21c"}) {
        SCOPED_TRACE(name);
        FileIO store;
        teska::read_database_cif(
            store, test_support::test_data(std::string("golden_inputs/") + name + ".cif"));
        test_support::ScratchDir dir;
        const std::string out = dir.file("out.pdb");
        FILE* file = std::fopen(out.c_str(), "w");
        ASSERT_NE(file, nullptr);
        fileio_detail::write_cell_model(file, store);
        std::fclose(file);
        EXPECT_EQ(test_support::read_file(out),
                  test_support::read_file(test_support::golden(std::string(name) + ".pdb")));
        EXPECT_EQ(store.input_kind, 2);
        EXPECT_EQ(store.mol_ids[store.nmols - 1], store.nmols);
    }
}

}  // namespace
