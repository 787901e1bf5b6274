// Element table: every row goes round through its symbol (and its mass where that is
// unambiguous), spot checks against published element data, and the lookup rules.
#include <cctype>
#include <cmath>
#include <cstring>
#include <string>

#include "element_rows.h"
#include "fileio.h"
#include "test_support.h"

namespace {

// The printed symbol of a row as the table holds it: two characters, one-letter symbols
// with a trailing blank.
std::string two_character_symbol(int row) { return std::string(Elements_m[row].symbol, 2); }

bool mass_is_unique_within_tenth(int row) {
    for (int other = 1; other < kElementRows; ++other)
        if (other != row && std::fabs(Elements_m[other].mass - Elements_m[row].mass) < 0.1)
            return false;
    return true;
}

TEST(ElementTable, RowsHaveTheSymbolLayout) {
    EXPECT_EQ(two_character_symbol(0), "  ");
    EXPECT_STREQ(Elements_m[0].name, "");
    EXPECT_EQ(Elements_m[0].mass, 0.0);
    for (int row = 1; row < kElementRows; ++row) {
        const ElementRecord& record = Elements_m[row];
        EXPECT_TRUE(std::isupper(static_cast<unsigned char>(record.symbol[0]))) << row;
        EXPECT_TRUE(record.symbol[1] == ' ' ||
                    std::islower(static_cast<unsigned char>(record.symbol[1])))
            << row;
        for (int k = 2; k < 8; ++k) EXPECT_EQ(record.symbol[k], '\0') << row;
        ASSERT_NE(record.name, nullptr);
        EXPECT_GT(std::strlen(record.name), 0u) << row;
        for (const char* c = record.name; *c; ++c)
            EXPECT_TRUE(std::isupper(static_cast<unsigned char>(*c))) << record.name;
        EXPECT_GT(record.mass, 0.0) << row;
    }
}

TEST(ElementTable, EveryRowRoundTripsThroughItsSymbol) {
    FileIO store;
    for (int row = 1; row < kElementRows; ++row) {
        char symbol[3];
        store.find_element_name_from_index(row, symbol);
        EXPECT_EQ(symbol, fileio_detail::element_symbol(row));
        EXPECT_EQ(store.find_element_index_from_name(symbol), row) << symbol;
        std::string shouted = symbol, quiet = symbol;
        for (char& c : shouted) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        for (char& c : quiet) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        EXPECT_EQ(store.find_element_index_from_name(shouted.c_str()), row) << shouted;
        EXPECT_EQ(store.find_element_index_from_name(quiet.c_str()), row) << quiet;
        EXPECT_EQ(fileio_detail::element_row_from_symbol(symbol), row) << symbol;
        EXPECT_EQ(store.find_element_radius_from_name(symbol), nw_elem_radius_m[row]) << symbol;
    }
}

TEST(ElementTable, UniqueMassesRoundTripToTheirSymbol) {
    FileIO store;
    int checked = 0;
    for (int row = 1; row < kElementRows; ++row) {
        if (!mass_is_unique_within_tenth(row)) continue;
        char symbol[3] = "??";
        store.find_element_name_from_mass(Elements_m[row].mass, symbol);
        EXPECT_EQ(std::string(symbol), two_character_symbol(row)) << "row " << row;
        ++checked;
    }
    EXPECT_EQ(checked, 99);  // bismuth/polonium (208.98, 209) and curium/berkelium (247) share
}

// Published element data, as the table carries it: atomic mass in dalton, covalent radius in
// 1/250 angstrom, bonding radius in angstrom, name in British spelling.
struct PublishedElement {
    int row;
    const char* symbol;
    const char* name;
    double mass;
    int covalent_radius;
    double bonding_radius;
};

TEST(ElementTable, SpotChecksAgainstPublishedValues) {
    const PublishedElement published[] = {
        {1, "H", "HYDROGEN", 1.00794, 80, 0.35},      {6, "C", "CARBON", 12.011, 180, 0.77},
        {7, "N", "NITROGEN", 14.0067, 170, 0.72},     {8, "O", "OXYGEN", 15.9994, 170, 0.66},
        {13, "Al", "ALUMINIUM", 26.98154, 338, 1.25}, {16, "S", "SULPHUR", 32.066, 255, 1.04},
        {17, "Cl", "CHLORINE", 35.4527, 250, 0.99},   {26, "Fe", "IRON", 55.847, 335, 1.165},
        {35, "Br", "BROMINE", 79.904, 302, 1.14},     {53, "I", "IODINE", 126.9045, 350, 1.33},
        {55, "Cs", "CAESIUM", 132.9054, 418, 2.35},   {79, "Au", "GOLD", 196.9665, 375, 1.34},
        {92, "U", "URANIUM", 238.029, 242, 1.66},     {103, "Lr", "LAWRENCIUM", 260, 210, 1.34},
    };
    FileIO store;
    for (const auto& e : published) {
        SCOPED_TRACE(e.symbol);
        EXPECT_EQ(fileio_detail::element_symbol(e.row), e.symbol);
        EXPECT_STREQ(Elements_m[e.row].name, e.name);
        EXPECT_EQ(store.find_element_mass_from_index(e.row), e.mass);
        EXPECT_EQ(Elements_m[e.row].covalent_radius, e.covalent_radius);
        EXPECT_DOUBLE_EQ(store.find_element_radius_from_index(e.row), e.covalent_radius / 250.0);
        EXPECT_EQ(store.find_element_radius_from_index_nw(e.row), e.bonding_radius);
        EXPECT_EQ(store.find_element_radius_from_name(e.symbol), e.bonding_radius);
    }
}

TEST(ElementLookup, SymbolRuleLooksAtTwoCharactersOnly) {
    const struct {
        const char* text;
        int row;
    } cases[] = {
        {"h", 1},
        {"H", 1},
        {"H1", -1},
        {"HE", 2},
        {"he", 2},
        {"He", 2},
        {"Hg1", 80},
        {"Xx", -1},
        {"Cl1", 17},
        {"CL", 17},
        {"cl", 17},
        {"CA", 20},
        {"C", 6},
        {"c", 6},
        {"C1", -1},
        {" ", 0},
        {"", -1},
        {"Fe3+", 26},
        {"Clxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx", 17},
    };
    FileIO store;
    for (const auto& c : cases) {
        EXPECT_EQ(store.find_element_index_from_name(c.text), c.row) << "\"" << c.text << "\"";
        EXPECT_EQ(fileio_detail::element_row_from_symbol(c.text), c.row) << "\"" << c.text << "\"";
    }
}

TEST(ElementLookup, RadiiByNameAndIndexKeepTheirTwoTables) {
    FileIO store;
    EXPECT_EQ(store.find_element_radius_from_name("C"), 0.77);
    EXPECT_EQ(store.find_element_radius_from_index(6), 180 / 250.0);
    EXPECT_EQ(store.find_element_radius_from_name("Xx"), 9999.99);
    EXPECT_EQ(store.find_element_radius_from_name("C1"), 9999.99);
    EXPECT_EQ(store.find_element_radius_from_name(" "), 99999.99);
    EXPECT_EQ(store.find_element_radius_from_index_nw(0), 99999.99);
    EXPECT_EQ(store.find_element_radius_from_index_nw(104), 1.3);
    EXPECT_EQ(store.find_element_radius_from_index_nw(105), 1.3);
    EXPECT_EQ(store.find_element_radius_from_index(0), 180 / 250.0);
}

TEST(ElementLookup, MassTakesTheFirstRowWithinATenth) {
    const struct {
        double mass;
        const char* symbol;
    } cases[] = {
        {1.05, "H "}, {0.05, "A "}, {300, "A "},   {247, "Cm"},  {40.0, "Ar"}, {12.0, "C "},
        {39.1, "K "}, {58.7, "Ni"}, {58.94, "Co"}, {12.2, "A "}, {209, "Bi"},
    };
    FileIO store;
    for (const auto& c : cases) {
        char symbol[3] = "??";
        store.find_element_name_from_mass(c.mass, symbol);
        EXPECT_STREQ(symbol, c.symbol) << c.mass;
    }
}

TEST(ElementLookup, SharedHelpersReadUnknownRowsSafely) {
    EXPECT_EQ(&fileio_detail::element_record_or_dummy(-1), &Elements_m[0]);
    EXPECT_EQ(&fileio_detail::element_record_or_dummy(kElementRows), &Elements_m[0]);
    EXPECT_EQ(&fileio_detail::element_record_or_dummy(17), &Elements_m[17]);
    EXPECT_EQ(fileio_detail::element_symbol(-1), "X");
    EXPECT_EQ(fileio_detail::element_symbol(kElementRows), "X");
    EXPECT_EQ(fileio_detail::element_symbol(0), " ");
}

}  // namespace
