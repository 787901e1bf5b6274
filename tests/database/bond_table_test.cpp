// The author's bond table: a listed bond joins its atoms, in the image its symmetry code
// names, even beyond the bonding radii; a wrong entry is a warning and joins nothing; the
// bond source option chooses the radii, the table or both. Without a table in use, a metal
// keeps its ligands by the metal-ligand rule unless that is turned off.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>

#include "database_test_support.h"

namespace {

using database_test::formula_counts;
using database_test::has_warning;
using database_test::read;
using database_test::read_text;

const char* const kFile = "hexaaqua_iron_bond_table.cif";

teska::ReadOptions with_bonds(teska::BondSource source, bool metal_bonds = true) {
    teska::ReadOptions options;
    options.bonds = source;
    options.metal_bonds = metal_bonds;
    return options;
}

// The file's text, and that text without its bond table.
std::string file_text() { return test_support::read_file(database_test::data(kFile)); }
std::string without_table() {
    const std::string text = file_text();
    return text.substr(0, text.find("loop_\n_geom_bond"));
}

// The text with each "from" replaced by its "to", every one of which must be there.
std::string replaced(std::string text,
                     std::initializer_list<std::pair<std::string, std::string>> edits) {
    for (const auto& [from, to] : edits) {
        const std::size_t at = text.find(from);
        EXPECT_NE(at, std::string::npos) << from;
        if (at != std::string::npos) text.replace(at, from.size(), to);
    }
    return text;
}

// Fe-O 2.13 A is beyond the radii (2.10 A): by the radii alone the waters leave the iron.
TEST(BondTable, TheTableKeepsAnAquaComplexWhole) {
    const database_test::Read radii = read(kFile, with_bonds(teska::BondSource::kRadii, false));
    EXPECT_EQ(formula_counts(radii.info), "1xFe 6xH2O");
    EXPECT_EQ(radii.info.table_bonds, 0);

    const database_test::Read both = read(kFile);
    EXPECT_EQ(formula_counts(both.info), "1xFeH12O6");
    // Six Fe-O bonds of the cell come from the table (O1's two listed images are the two
    // O1 atoms of the cell; the operations make O2' and O3' from O2 and O3).
    EXPECT_EQ(both.info.table_bonds, 6);
    EXPECT_EQ(both.info.bonds.size(), 18u);  // 6 Fe-O, 12 O-H
    EXPECT_TRUE(has_warning(both.info,
                            "4 bonds of the bond table longer than the bonding radii "
                            "allow, joined as the table lists them: Fe1-O1 2.130"));
    database_test::expect_whole_molecules(*both.store, both.info);
    // Each oxygen is placed next to the iron, in the image the code names.
    const FileIO& store = *both.store;
    ASSERT_EQ(store.nmols, 1);
    const double* x = store.mol_x[0];
    int near_oxygens = 0;
    for (int k = 0; k < store.mol_natoms[0]; ++k)
        near_oxygens +=
            store.mol_atypes[0][k] == 8 &&
            std::fabs(std::hypot(x[3 * k] - x[0], x[3 * k + 1] - x[1], x[3 * k + 2] - x[2]) -
                      2.13) < 1e-6;
    EXPECT_EQ(store.mol_atypes[0][0], 26);
    EXPECT_EQ(near_oxygens, 6);
}

// With the table alone the waters of O2 and O3, whose O-H bonds it does not list, lose their
// hydrogens.
TEST(BondTable, TheTableAloneJoinsOnlyWhatItLists) {
    EXPECT_EQ(formula_counts(read(kFile, with_bonds(teska::BondSource::kFile)).info),
              "1xFeH4O6 8xH");
    // Without a table the radii are used, with a warning.
    const database_test::Read none =
        read("carbon_dioxide_inversion.cif", with_bonds(teska::BondSource::kFile));
    EXPECT_EQ(formula_counts(none.info), "1xCO2");
    EXPECT_TRUE(has_warning(none.info, "no bond table in the block: bonds from the bonding radii"));
}

TEST(BondTable, AWrongEntryIsAWarningAndJoinsNothing) {
    const database_test::Read r =
        read_text(replaced(file_text(), {{"Fe1 O1 2.130(2) 1_455", "Fe1 O1 2.130(2) 1_555"},
                                         {"Fe1 O1 2.130(2) 2_655", "Fe1 O1 2.130(2) 3_555"},
                                         {"O1 H11 0.85 .", "O1 H13 0.85 ."}}));
    EXPECT_EQ(formula_counts(r.info), "1xFeH8O4 2xH2O");
    EXPECT_EQ(r.info.table_bonds, 4);
    EXPECT_TRUE(has_warning(
        r.info,
        "test.cif:33: 3 bonds of the bond table not used: Fe1-O1 (listed 2.130, the "
        "sites are 7.870 apart), Fe1-O1 (symmetry code not found), O1-H13 (no such site)"));
}

// Codes in every written form: "n_klm", a bare "n", "." and a missing column.
TEST(BondTable, CodesInEveryForm) {
    const database_test::Read r =
        read_text(replaced(file_text(), {{"Fe1 O1 2.130(2) 2_655", "Fe1 O1 2.130(2) 2"}}));
    // "2" is -x,-y,-z unmoved: O1 at -0.787, 7.87 A away, not used; 1_455 still joins O1.
    EXPECT_EQ(formula_counts(r.info), "1xFeH12O6");
    EXPECT_TRUE(has_warning(r.info, "1 bond of the bond table not used: Fe1-O1 (listed 2.130"));
}

// A bond the radii give between atoms the table names, which the table does not list, is a
// warning (hydrogens aside: tables often leave them out).
TEST(BondTable, ARadiusBondTheTableLacksIsAWarning) {
    const database_test::Read r =
        read_text(test_support::read_file(database_test::data("ethyne_dinitrogen.cif")) +
                  "loop_\n_geom_bond_atom_site_label_1\n_geom_bond_atom_site_label_2\nC1 H1\n");
    EXPECT_EQ(formula_counts(r.info), "1xC2H2 1xN2");
    EXPECT_TRUE(has_warning(r.info, ": 1 bond by the bonding radii not in the bond table: C1-C1"));
}

// The same cation without its table: the metal-ligand rule (Fe 1.52 + O 0.66 + 0.25 A)
// keeps the six waters on the iron; turned off, they leave it. The rule does not override a
// table in use.
TEST(MetalBonds, AnAquaComplexWithoutATableStaysWhole) {
    const std::string text = without_table();
    const database_test::Read whole = read_text(text);
    EXPECT_EQ(formula_counts(whole.info), "1xFeH12O6");
    EXPECT_EQ(whole.info.metal_bonds, 6);
    EXPECT_EQ(whole.info.table_bonds, 0);
    EXPECT_TRUE(has_warning(whole.info, "test.cif: 6 metal-ligand bonds beyond the bonding radii"));
    database_test::expect_whole_molecules(*whole.store, whole.info);

    teska::ReadOptions off;
    off.metal_bonds = false;
    EXPECT_EQ(formula_counts(read_text(text, off).info), "1xFe 6xH2O");
    EXPECT_EQ(read(kFile).info.metal_bonds, 0);
}

// Contacts beyond the tolerance stay apart: the iron's waters moved out to 2.50 A (beyond
// 1.52 + 0.66 + 0.25 = 2.43 A) are no ligands.
TEST(MetalBonds, LongContactsStayApart) {
    const database_test::Read r =
        read_text(replaced(without_table(), {{"O2 O 0.0000 0.2130", "O2 O 0.0000 0.2500"},
                                             {"H21 H 0.0000 0.2620", "H21 H 0.0000 0.2990"},
                                             {"H22 H 0.0000 0.2620", "H22 H 0.0000 0.2990"}}));
    EXPECT_EQ(formula_counts(r.info), "1xFeH8O4 2xH2O");
    EXPECT_EQ(r.info.metal_bonds, 4);
}

}  // namespace
