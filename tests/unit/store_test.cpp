// The structure store: the element table and its lookups, and the cell geometry.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "element_rows.h"
#include "teska/fileio.h"
#include "teska/mmutil.h"
#include "test_support.h"

TEST(ElementTable, HoldsThePublishedTableRowForRow) {
    std::string table;
    char line[160];
    for (int row = 0; row < kElementRows; ++row) {
        const ElementRecord& e = Elements_m[row];
        std::snprintf(line, sizeof line, "%d [%.2s] %s %.10g %d %d %d %.10g\n", row, e.symbol,
                      e.name, e.mass, e.covalent_radius, e.vdw_radius, e.colour_index,
                      nw_elem_radius_m[row]);
        table += line;
    }
    EXPECT_EQ(table, test_support::read_file(test_support::golden("store/element_table.txt")));
}

TEST(ElementTable, EveryRowRoundTripsThroughItsSymbolAndUniqueMass) {
    FileIO store;
    int masses_checked = 0;
    for (int row = 1; row < kElementRows; ++row) {
        char symbol[3], by_mass[3] = "??";
        store.find_element_name_from_index(row, symbol);
        EXPECT_EQ(symbol, fileio_detail::element_symbol(row));
        EXPECT_EQ(store.find_element_index_from_name(symbol), row) << symbol;
        EXPECT_EQ(fileio_detail::element_row_from_symbol(symbol), row) << symbol;
        EXPECT_EQ(store.find_element_radius_from_name(symbol), nw_elem_radius_m[row]) << symbol;
        EXPECT_EQ(store.find_element_mass_from_index(row), Elements_m[row].mass);
        int close_masses = 0;
        for (int other = 1; other < kElementRows; ++other)
            close_masses += std::fabs(Elements_m[other].mass - Elements_m[row].mass) < 0.1;
        if (close_masses > 1) continue;
        store.find_element_name_from_mass(Elements_m[row].mass, by_mass);
        EXPECT_EQ(std::string(by_mass), std::string(Elements_m[row].symbol, 2)) << row;
        ++masses_checked;
    }
    EXPECT_EQ(masses_checked, 99);  // Bi/Po (208.98, 209) and Cm/Bk (247) share a tenth
}

TEST(ElementLookup, FirstMatchOnTwoCharactersAndTheBlankRules) {
    const std::pair<const char*, int> symbols[] = {
        {"h", 1},   {"H1", -1}, {"he", 2},  {"Hg1", 80}, {"Xx", -1}, {"Cl1", 17},
        {"CL", 17}, {"CA", 20}, {"C1", -1}, {" ", 0},    {"", -1},   {"Fe3+", 26},
    };
    const std::pair<double, const char*> masses[] = {
        {1.05, "H "}, {0.05, "A "}, {300, "A "}, {247, "Cm"}, {40.0, "Ar"}, {12.2, "A "},
    };
    FileIO store;
    for (const auto& s : symbols) {
        EXPECT_EQ(store.find_element_index_from_name(s.first), s.second) << '"' << s.first << '"';
        EXPECT_EQ(fileio_detail::element_row_from_symbol(s.first), s.second) << s.first;
    }
    for (const auto& m : masses) {
        char symbol[3] = "??";
        store.find_element_name_from_mass(m.first, symbol);
        EXPECT_STREQ(symbol, m.second) << m.first;
    }
    EXPECT_EQ(store.find_element_radius_from_name("C"), 0.77);        // bonding radius
    EXPECT_EQ(store.find_element_radius_from_index(6), 180 / 250.0);  // covalent radius
    EXPECT_EQ(store.find_element_radius_from_name("C1"), 9999.99);
    EXPECT_EQ(store.find_element_radius_from_index_nw(105), 1.3);
    EXPECT_EQ(&fileio_detail::element_record_or_dummy(-1), &Elements_m[0]);
    EXPECT_EQ(fileio_detail::element_symbol(-1), "X");
}

TEST(Cell, LatticeMatrixInverseAndConversions) {
    FileIO store;
    double cell[6] = {7.1, 8.3, 9.7, 81.2, 76.5, 68.9}, lattice[3][3], product[3][3], v[3][3];
    store.cell_cell6_to_latt3x3(cell, lattice);
    store.get_cif_lattice_vectors(v[0], v[1], v[2]);  // the columns a, b, c
    mmutil::mat_mat_mul(store.cell_latt3x3, store.cell_latt3x3_inv, product);
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(store.cell_latt3x3[i / 3][i % 3], lattice[i / 3][i % 3]);
        EXPECT_NEAR(product[i / 3][i % 3], i % 4 == 0, 1e-12) << "L x L^-1, element " << i;
    }
    // a along +x, b in the xy-plane with a positive y; alpha lies between b and c, and so on.
    EXPECT_TRUE(v[0][1] == 0 && v[0][2] == 0 && v[1][2] == 0 && v[1][1] > 0 && v[2][2] > 0);
    for (int k = 0; k < 3; ++k) {
        const int p = (k + 1) % 3, q = (k + 2) % 3;
        EXPECT_NEAR(mmutil::get_magnitude(v[k]), cell[k], 1e-12);
        EXPECT_NEAR(mmutil::get_dot(v[p], v[q]) / (cell[p] * cell[q]),
                    std::cos(cell[3 + k] * M_PI / 180), 1e-12);
    }
    for (double value : store.cell_latt) EXPECT_EQ(value, 0.0);  // the caller stores the cell
    const double points[][3] = {{0.0, 0.0, 0.0}, {0.25, -0.6, 1.7}, {0.9, 0.1, 0.5}};
    for (const auto& start : points) {
        double x = start[0], y = start[1], z = start[2], r[3] = {x, y, z};
        store.coord_f2c(x, y, z);
        store.coord_f2c(r, r);  // input and output may be one array
        EXPECT_TRUE(r[0] == x && r[1] == y && r[2] == z);
        store.coord_c2f(x, y, z);
        store.coord_c2f(r, r);
        for (int k = 0; k < 3; ++k) EXPECT_NEAR(r[k], start[k], 1e-12);
    }
    double cubic[6] = {10, 10, 10, 90, 90, 90}, hexagonal[6] = {4, 4, 6.5, 90, 90, 120};
    store.cell_cell6_to_latt3x3(cubic, lattice);
    // cos 90 deg with the 14-digit pi is about -3.5e-15, not 0: it shows in the upper entries.
    EXPECT_TRUE(lattice[0][1] < -3e-14 && lattice[0][1] > -4e-14) << lattice[0][1];
    EXPECT_NEAR(store.cell_latt3x3_inv[2][2], 0.1, 1e-15);
    store.cell_cell6_to_latt3x3(hexagonal, lattice);
    EXPECT_NEAR(lattice[0][1], -2.0, 1e-12);
    EXPECT_NEAR(lattice[1][1], 2.0 * std::sqrt(3.0), 1e-12);
}

TEST(Cell, EachWrapShiftsAtMostOnceAndKeepsItsEdges) {
    const struct {
        void (FileIO::*wrap)(double*);
        double in[3], out[3];  // compared bit for bit: -0.0 and NaN included
    } cases[] = {
        {&FileIO::PBC_scaled_x_wrap, {-0.0, 1.0, 0.999}, {-0.0, 0.0, 0.999}},
        {&FileIO::PBC_scaled_x_wrap, {-1.25, 2.5, NAN}, {-0.25, 1.5, NAN}},
        {&FileIO::PBC_scaled_disp_wrap, {0.5, -0.5, 0.51}, {0.5, -0.5, 0.51 - 1.0}},
        {&FileIO::PBC_scaled_disp_wrap, {1.75, -1.75, -0.5000001}, {0.75, -0.75, 1.0 - 0.5000001}},
    };
    FileIO store;
    for (const auto& c : cases) {
        double v[3] = {c.in[0], c.in[1], c.in[2]};
        (store.*c.wrap)(v);
        EXPECT_EQ(std::memcmp(v, c.out, sizeof v), 0) << v[0] << " " << v[1] << " " << v[2];
    }
}
