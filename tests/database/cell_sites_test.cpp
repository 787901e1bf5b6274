// The cell (standard uncertainties; every way it can be missing or impossible) and the atom
// sites (elements from charged or numbered symbols, else labels; sites that are no atoms).
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "database_detail.h"
#include "database_test_support.h"

namespace {

using database_test::read;
using database_test::read_text;
using teska::database_detail::element_from_label;
using teska::database_detail::element_from_type_symbol;
using teska::database_detail::standard_uncertainty;

TEST(Cell, StandardUncertaintyIsInUnitsOfTheLastDigit) {
    EXPECT_DOUBLE_EQ(standard_uncertainty("8.562(2)"), 0.002);
    EXPECT_DOUBLE_EQ(standard_uncertainty("124.70(2)"), 0.02);
    EXPECT_DOUBLE_EQ(standard_uncertainty("1.5(12)"), 1.2);
    EXPECT_DOUBLE_EQ(standard_uncertainty("295(2)"), 2.0);
    EXPECT_DOUBLE_EQ(standard_uncertainty("0.0600(2)"), 0.0002);
    EXPECT_EQ(standard_uncertainty("10"), 0.0);
    EXPECT_EQ(standard_uncertainty("10()"), 0.0);
}

std::string cell_text(const std::string& a, const std::string& gamma) {
    std::string text = "data_x\n";
    if (!a.empty()) text += "_cell_length_a " + a + "\n";
    text += "_cell_length_b 10\n_cell_length_c 10\n_cell_angle_alpha 60\n_cell_angle_beta 60\n";
    text += "_cell_angle_gamma " + gamma + "\n";
    return text + database_test::kSiteLoop + "N1 0.5 0.5 0.5\n";
}

TEST(Cell, AMissingZeroOrImpossibleCellIsAnErrorNamingTheTag) {
    const std::pair<std::string, std::string> cases[] = {
        {cell_text("", "60"), "test.cif: no value of _cell_length_a"},
        {cell_text("?", "60"), "test.cif:2: no value of _cell_length_a"},
        {cell_text("0", "60"), "test.cif:2: _cell_length_a 0 is not a positive length"},
        {cell_text("-5", "60"), "test.cif:2: _cell_length_a -5 is not a positive length"},
        {cell_text("ten", "60"), "test.cif:2: _cell_length_a 'ten' is not a number"},
        // Beyond a double, and beyond any crystal.
        {cell_text("11.0E+3000", "60"),
         "test.cif:2: _cell_length_a 11.0E+3000 is longer than 100000 angstrom"},
        {cell_text("100001", "60"),
         "test.cif:2: _cell_length_a 100001 is longer than 100000 angstrom"},
        // a = 0.5 with alpha = 60: (100) planes 0.5 * sqrt(1/2) / sin 60 = 0.408 apart.
        {cell_text("0.5", "90"),
         "test.cif:2: the cell is too thin: its (100) planes are 0.408 angstrom apart (at "
         "least 0.5 angstrom)"},
        {cell_text("10", "180"),
         "test.cif:7: _cell_angle_gamma 180 is not an angle between 0 and 180"},
        // 60 + 60 < 150: the three angles close no cell.
        {cell_text("10", "150"),
         "test.cif:5: the angles _cell_angle_alpha, _cell_angle_beta, _cell_angle_gamma (60, "
         "60, 150) close no cell"},
    };
    for (const auto& c : cases) EXPECT_EQ(database_test::error_of(c.first), c.second);
    // 60, 60, 60 is the rhombohedral cell of the face-centred cube: a valid cell.
    EXPECT_EQ(read_text(cell_text("10", "60")).info.atoms, 1);
}

TEST(Sites, ElementsFromChargedAndNumberedTypeSymbols) {
    const std::pair<const char*, int> cases[] = {
        {"O2-", 8}, {"Fe3+", 26}, {"Cl1", 17}, {"S-2", 16}, {"V+2", 23}, {"Ag+1", 47},
        {"H1+", 1}, {"D", 1},     {"SI", 14},  {"C", 6},    {"Q", -1},   {"Cg", -1},
        {"Xx", -1}, {"Du", -1},   {"", -1},    {"3", -1},
    };
    for (const auto& c : cases) EXPECT_EQ(element_from_type_symbol(c.first), c.second) << c.first;
}

// A two-letter element needs a lower-case second letter: CL1 reads as carbon.
TEST(Sites, ElementsFromLabelsWhenThereIsNoTypeSymbol) {
    const std::pair<const char*, int> cases[] = {
        {"C12A", 6}, {"Cl1", 17}, {"H3'", 1},    {"O1W", 8},  {"Ti2", 22}, {"D4", 1},  {"Q1", -1},
        {"Cg1", -1}, {"Cnt", -1}, {"Cent2", -1}, {"Ctr", -1}, {"Lp1", -1}, {"CL1", 6}, {"CA", 6},
    };
    for (const auto& c : cases) EXPECT_EQ(element_from_label(c.first), c.second) << c.first;
}

// Rock salt written with charged type symbols (its expansion is checked with the other special
// positions): the sites that are no atoms are left out, and the warning names them.
TEST(Sites, ChargedSymbolsAndSitesThatAreNoAtoms) {
    const database_test::Read r = read("charged_symbols.cif");
    EXPECT_EQ(r.info.symmetry_source, "H-M");
    EXPECT_EQ(r.info.warnings,
              std::vector<std::string>{
                  database_test::data("charged_symbols.cif") +
                  ":12: 4 sites left out: 2 dummy atoms, peaks or centroids (Q1, Cg1); 1 with "
                  "unknown coordinates (O9); 1 of zero occupancy (O8)"});
    EXPECT_EQ(r.store->cif_atoms.cif_atom_label, (std::vector<std::string>{"Na1", "Cl1"}));
}

TEST(Sites, NoAtomsLeftOrACoordinateThatIsNoNumberOrOutOfRangeIsAnError) {
    const std::pair<const char*, const char*> cases[] = {
        {"Q1 0 0 0\nQ2 ? ? ?\n", "no atoms: every atom site was left out"},
        {"C1 0 0.5x 0\n", "site C1: coordinate '0.5x' is not a number"},
        {"C1 0 1e400 0\n", "site C1: coordinate '1e400' is beyond 1000000 in magnitude"},
        {"C1 0 -1000001 0\n", "site C1: coordinate '-1000001' is beyond 1000000 in magnitude"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(database_test::error_of("data_x\n" + database_test::right_cell("10", "10") +
                                          database_test::kSiteLoop + c.first),
                  std::string("test.cif:8: ") + c.second);
}

// The file's own Cartesian-to-fractional matrix wins over the lattice: here it halves every
// coordinate, so the ethyne's carbons come 0.6 A apart, not 1.2 A.
TEST(Sites, CartesianSitesWithTheFilesTransformation) {
    std::string text = test_support::read_file(database_test::data("cartesian.cif"));
    text +=
        "_atom_sites_fract_tran_matrix_11 0.05\n_atom_sites_fract_tran_matrix_12 0\n"
        "_atom_sites_fract_tran_matrix_13 0\n_atom_sites_fract_tran_matrix_21 0\n"
        "_atom_sites_fract_tran_matrix_22 0.05\n_atom_sites_fract_tran_matrix_23 0\n"
        "_atom_sites_fract_tran_matrix_31 0\n_atom_sites_fract_tran_matrix_32 0\n"
        "_atom_sites_fract_tran_matrix_33 0.05\n";
    const database_test::Read r = read_text(text);
    EXPECT_EQ(r.store->cif_atoms.cif_fx.at(0), "0.600");  // the column as written
    EXPECT_DOUBLE_EQ(r.store->cif_x_s[0], 0.03);          // C1
    EXPECT_DOUBLE_EQ(r.store->cif_x_s[6], 0.2775);        // N1
}

}  // namespace
