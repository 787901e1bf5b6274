// Duplicate-molecule checks (RE and HL) and the molecule file writers.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "fileio.h"
#include "store_arrays.h"
#include "test_support.h"

namespace {

using fileio_detail::new_store_array;
using test_support::file_exists;
using test_support::read_file;
using test_support::ScratchDir;

struct Molecule {
    int natoms;
    double value;
    std::vector<double> triple;
};

// Molecules with their comparison data; every mark starts as the molecule's own index.
void set_molecules(FileIO& store, const std::vector<Molecule>& molecules) {
    const int n = static_cast<int>(molecules.size());
    store.nmols = n;
    store.mol_natoms = new_store_array<int>(n);
    store.mol_value = new_store_array<double>(n);
    store.mol_triple = new_store_array<double*>(n);
    store.re_mol_index = new_store_array<int>(n);
    store.re_unique_index = new_store_array<int>(n);
    store.hl_mol_index = new_store_array<int>(n);
    store.hl_unique_index = new_store_array<int>(n);
    for (int i = 0; i < n; ++i) {
        store.mol_natoms[i] = molecules[i].natoms;
        store.mol_value[i] = molecules[i].value;
        store.mol_triple[i] = new_store_array<double>(3);
        for (int d = 0; d < 3; ++d) store.mol_triple[i][d] = molecules[i].triple[d];
        store.re_mol_index[i] = store.hl_mol_index[i] = i;
    }
}

// Death tests match the error stream: send standard output there too.
void stdout_to_stderr() {
    std::fflush(stdout);
    dup2(fileno(stderr), fileno(stdout));
}

std::vector<int> marks(const int* index, int n) { return std::vector<int>(index, index + n); }

TEST(SameMolecules, ToleranceIsAtMostOneTenth) {
    FileIO store;
    set_molecules(store, {{3, 0.0, {0, 0, 0}},
                          {3, 0.1, {0.1, -0.1, 0.1}},
                          {3, 0.10001, {0, 0, 0}},
                          {4, 0.0, {0, 0, 0}},
                          {3, 0.0, {0, 0, 0.10001}}});
    EXPECT_TRUE(store.RE_mols_if_the_same(0, 1));
    EXPECT_FALSE(store.RE_mols_if_the_same(0, 2));
    EXPECT_FALSE(store.RE_mols_if_the_same(0, 3));  // atom counts differ
    EXPECT_TRUE(store.HL_mols_if_the_same(0, 1));
    EXPECT_FALSE(store.HL_mols_if_the_same(0, 4));  // third component too far
    EXPECT_TRUE(store.RE_mols_if_the_same(0, 4));
    EXPECT_FALSE(store.HL_mols_if_the_same(0, 3));
}

TEST(DuplicateCheck, LaterCopiesTakeTheEarliestMarkAndVerboseLinesShowThem) {
    FileIO store;
    set_molecules(store, {{2, 0.0, {0, 0, 0}}, {2, 5.0, {0, 0, 0}}, {2, 0.05, {0, 0, 0}}});
    testing::internal::CaptureStdout();
    store.RE_check_unitcell_same_mols(true);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "**** Check RE Duplicate Molecules in Unit Cell ****\n"
              "  Unit cell molecule indexes:  0 1 0\n"
              "  Unit cell unique molecule indexes: 0 1\n"
              "**** End of Check RE Duplicate Molecules in Unit Cell ****\n");
    EXPECT_EQ(marks(store.re_mol_index, 3), (std::vector<int>{0, 1, 0}));
    EXPECT_EQ(store.re_nunique, 2);
    EXPECT_EQ(marks(store.re_unique_index, 2), (std::vector<int>{0, 1}));
    EXPECT_EQ(marks(store.hl_mol_index, 3), (std::vector<int>{0, 1, 2}));  // HL untouched
}

TEST(DuplicateCheck, ALaterMoleculeOverwritesAMark) {
    // 2 matches 0 and also 1; 0 and 1 are too far apart.
    FileIO store;
    set_molecules(store, {{1, 0.0, {0, 0, 0}}, {1, 0.125, {0, 0, 0}}, {1, 0.0625, {0, 0, 0}}});
    store.RE_check_unitcell_same_mols(false);
    EXPECT_EQ(marks(store.re_mol_index, 3), (std::vector<int>{0, 1, 1}));
    EXPECT_EQ(store.re_nunique, 2);
}

TEST(DuplicateCheck, UniqueListIsSortedAndDistinct) {
    FileIO store;
    set_molecules(store,
                  {{1, 0, {0, 0, 0}}, {2, 0, {0, 0, 0}}, {3, 0, {0, 0, 0}}, {4, 0, {0, 0, 0}}});
    const int start[4] = {7, 3, 7, 1};  // marks set by the caller, not in order
    for (int i = 0; i < 4; ++i) store.re_mol_index[i] = start[i];
    store.re_nunique = 99;
    store.RE_check_unitcell_same_mols(false);
    EXPECT_EQ(store.re_nunique, 3);
    EXPECT_EQ(marks(store.re_unique_index, 3), (std::vector<int>{1, 3, 7}));
}

TEST(DuplicateCheck, SingleMoleculeComparesNothing) {
    FileIO store;
    set_molecules(store, {{5, 1.0, {0, 0, 0}}});
    store.hl_mol_index[0] = 4;
    store.HL_check_unitcell_same_mols(false);
    EXPECT_EQ(store.hl_nunique, 1);
    EXPECT_EQ(store.hl_unique_index[0], 4);
}

TEST(DuplicateCheck, HlVariantComparesTheTriples) {
    FileIO store;
    set_molecules(store,
                  {{2, 0.0, {1, 2, 3}}, {2, 0.0, {1, 2, 3.5}}, {2, 0.05, {1.0625, 1.9375, 3}}});
    testing::internal::CaptureStdout();
    store.HL_check_unitcell_same_mols(true);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "**** Check HL Duplicate Molecules in Unit Cell ****\n"
              "  Unit cell molecule indexes:  0 1 0\n"
              "  Unit cell unique molecule indexes: 0 1\n"
              "**** End of Check HL Duplicate Molecules in Unit Cell ****\n");
    EXPECT_EQ(store.hl_nunique, 2);
}

TEST(DuplicateCheckDeathTest, MissingIndexArraysEndWithStatus255) {
    FileIO store;
    set_molecules(store, {{1, 0, {0, 0, 0}}, {1, 0, {0, 0, 0}}});
    store.re_unique_index = nullptr;
    EXPECT_EXIT(
        {
            stdout_to_stderr();
            store.RE_check_unitcell_same_mols(false);
        },
        testing::ExitedWithCode(255), "The RE duplicate check lacks molecule data for 2 molecules");
    FileIO no_triples;
    set_molecules(no_triples, {{1, 0, {0, 0, 0}}});
    no_triples.mol_triple = nullptr;
    EXPECT_EXIT(
        {
            stdout_to_stderr();
            no_triples.HL_check_unitcell_same_mols(false);
        },
        testing::ExitedWithCode(255), "The HL duplicate check lacks molecule data for 1 molecules");
}

// ----- Molecule files -----

// Three small molecules with whole-molecule Cartesian and fractional coordinates.
void set_three_molecules(FileIO& store) {
    static int natoms[3] = {1, 2, 1};
    static int atypes0[1] = {8}, atypes1[2] = {1, 17}, atypes2[1] = {6};
    static double x0[3] = {1, 2, 3}, x1[6] = {0.5, 0.25, -1, 1.77, 0.25, -1}, x2[3] = {4, 5, 6};
    static double f0[3] = {0.1, 0.2, 0.3}, f1[6] = {0.05, 0.025, 0.9, 0.177, 0.025, 0.9},
                  f2[3] = {0.4, 0.5, 0.6};
    static int* atypes[3] = {atypes0, atypes1, atypes2};
    static double* x[3] = {x0, x1, x2};
    static double* f[3] = {f0, f1, f2};
    static char name0[] = "water.mol", name1[] = "hcl.mol", name2[] = "methane.mol";
    static char* names[3] = {name0, name1, name2};
    store.nmols = 3;
    store.mol_natoms = natoms;
    store.mol_atypes = atypes;
    store.mol_x = x;
    store.mol_x_s = f;
    store.mol_file_names = names;
    double lengths[3] = {10, 10, 10};
    store.set_cell_lattice(lengths, 90, 90, 90);
}

const char kHclMolfile[] =
    "Molecule\n"
    "Created by TESKA\n"
    "\n"
    "  2  0  0  0  0  0  0  0  0  0999 V2000\n"
    "    0.5000    0.2500   -1.0000 H   0  0  0  0  0  0  0  0  0  0\n"
    "    1.7700    0.2500   -1.0000 Cl  0  0  0  0  0  0  0  0  0  0\n"
    "M  END\n";

TEST(MolFiles, PrefixNamesOneFilePerMolecule) {
    ScratchDir dir;
    FileIO store;
    set_three_molecules(store);
    const std::string prefix = dir.file("cell");
    store.write_mol_files(prefix.c_str());
    for (const char* name : {"cell-01.mol", "cell-02.mol", "cell-03.mol"})
        EXPECT_TRUE(file_exists(dir.file(name))) << name;
    EXPECT_FALSE(file_exists(dir.file("cell-04.mol")));
    EXPECT_EQ(read_file(dir.file("cell-02.mol")), kHclMolfile);

    FileIO empty;
    EXPECT_EQ(empty.write_mol_files(dir.file("none").c_str()), 0);
    EXPECT_FALSE(file_exists(dir.file("none-01.mol")));
}

TEST(MolFiles, DataDirectoryGetsSupercellMoleculesAndUnitCell) {
    ScratchDir dir;
    FileIO store;
    set_three_molecules(store);
    store.data_dir = dir.file("data");  // not there yet: created first
    store.supercell_n[0] = 2;
    store.write_mol_files();
    EXPECT_EQ(read_file(dir.file("data/hcl.mol")), kHclMolfile);
    EXPECT_TRUE(file_exists(dir.file("data/water.mol")));
    EXPECT_TRUE(file_exists(dir.file("data/methane.mol")));

    // Site lines end in "Uiso   1.00": 4 atoms in the cell, twice as many in a 2 x 1 x 1 block.
    auto count_sites = [](const std::string& text) {
        int sites = 0;
        for (std::size_t at = text.find("Uiso   1.00"); at != std::string::npos;
             at = text.find("Uiso   1.00", at + 1))
            ++sites;
        return sites;
    };
    EXPECT_EQ(count_sites(read_file(dir.file("data/unitcell.cif"))), 4);
    const std::string supercell = read_file(dir.file("data/supercell.cif"));
    EXPECT_EQ(count_sites(supercell), 8);
    EXPECT_NE(supercell.find("_cell_length_a                    20.0000\n"), std::string::npos);
}

}  // namespace
