// Crystal-structure pipeline from a read crystal: per-molecule arrays in separation order, whole
// molecules, the cell in all its forms, the side files, and the fatal paths.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
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

constexpr int kH = 1, kC = 6, kO = 8;

void set_cell(FileIO& store, std::vector<double> cell6) {
    for (int k = 0; k < 6; ++k) store.cell_latt[k] = cell6[k];
    double latt[3][3];
    store.cell_cell6_to_latt3x3(store.cell_latt, latt);
}

// Fills the crystal arrays and the molecule grouping as the CIF reader leaves them.
void set_crystal(FileIO& store, const std::vector<int>& atypes, const std::vector<double>& x_s,
                 const std::vector<int>& natoms_list, const std::vector<int>& atom_list) {
    const int natoms = static_cast<int>(atypes.size());
    store.natoms_cif = natoms;
    store.cif_atypes = new_store_array<int>(natoms);
    store.cif_x_s = new_store_array<double>(3 * natoms);
    store.cif_x = new_store_array<double>(3 * natoms);
    for (int i = 0; i < natoms; ++i) {
        store.cif_atypes[i] = atypes[i];
        for (int d = 0; d < 3; ++d) store.cif_x_s[3 * i + d] = x_s[3 * i + d];
        store.coord_f2c(&store.cif_x_s[3 * i], &store.cif_x[3 * i]);
    }
    store.mol_natoms_list = natoms_list;
    store.mol_atom_list = atom_list;
    store.input_kind = 2;
}

void send_stdout_to_stderr() {
    std::fflush(stdout);
    dup2(STDERR_FILENO, STDOUT_FILENO);
}

// Five atoms in a monoclinic cell: a carbon chain (atoms 0, 4, 2) cut by the a face and a
// hydroxyl (atoms 1, 3) cut by the b face.
class CifSourcePipeline : public testing::Test {
   protected:
    void SetUp() override {
        set_cell(store, {8.0, 9.0, 10.0, 90.0, 100.0, 90.0});
        store.supercell_n[0] = 2;
        store.supercell_n[1] = 3;
        set_crystal(
            store, {kC, kO, kC, kH, kC},
            {0.05, 0.5, 0.5, 0.5, 0.02, 0.5, 0.225, 0.5, 0.5, 0.5, 0.92, 0.5, 0.875, 0.5, 0.5},
            {3, 2}, {0, 4, 2, 1, 3});
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c) lattice[r][c] = store.cell_latt3x3[r][c];
        store.read_crystal_strcuture_files(false, false);
    }
    FileIO store;
    double lattice[3][3];
};

TEST_F(CifSourcePipeline, CopiesMoleculesInSeparationOrderAndMakesThemWhole) {
    ASSERT_EQ(store.nmols, 2);
    EXPECT_EQ(store.mol_natoms[0], 3);
    EXPECT_EQ(store.mol_natoms[1], 2);
    EXPECT_EQ(std::vector<int>(store.mol_atypes[0], store.mol_atypes[0] + 3),
              (std::vector<int>{kC, kC, kC}));
    EXPECT_EQ(std::vector<int>(store.mol_atypes[1], store.mol_atypes[1] + 2),
              (std::vector<int>{kO, kH}));
    // Atom 4 (x 0.875) joins atom 0 across the a face, the hydrogen joins the oxygen across b.
    const std::vector<double> expected[2] = {{0.05, 0.5, 0.5, -0.125, 0.5, 0.5, 0.225, 0.5, 0.5},
                                             {0.5, 0.02, 0.5, 0.5, -0.08, 0.5}};
    for (int m = 0; m < 2; ++m)
        for (std::size_t i = 0; i < expected[m].size(); ++i)
            EXPECT_NEAR(store.mol_x_s[m][i], expected[m][i], 1e-12) << "molecule " << m;
}

TEST_F(CifSourcePipeline, CartesianCoordinatesFollowTheWholeFractionalOnes) {
    for (int m = 0; m < store.nmols; ++m)
        for (int k = 0; k < store.mol_natoms[m]; ++k) {
            const double* f = &store.mol_x_s[m][3 * k];
            for (int r = 0; r < 3; ++r)
                EXPECT_DOUBLE_EQ(
                    store.mol_x[m][3 * k + r],
                    lattice[r][0] * f[0] + lattice[r][1] * f[1] + lattice[r][2] * f[2]);
        }
}

TEST_F(CifSourcePipeline, NamesNumbersAndSpareArraysPerMolecule) {
    EXPECT_STREQ(store.mol_file_names[0], "mol1.mol");
    EXPECT_STREQ(store.mol_file_names[1], "mol2.mol");
    EXPECT_EQ(store.mol_ids[0], 1);
    EXPECT_EQ(store.mol_ids[1], 2);
    for (int m = 0; m < 2; ++m) {
        EXPECT_EQ(store.mol_value[m], 0.0);
        for (int d = 0; d < 3; ++d) {
            EXPECT_EQ(store.mol_extra_a[m][d], 0.0);
            EXPECT_EQ(store.mol_extra_b[m][d], 0.0);
        }
    }
}

TEST_F(CifSourcePipeline, CellFormsAgreeWithTheLattice) {
    const double lengths[3] = {8.0, 9.0, 10.0};
    const int repeats[3] = {2, 3, 1};
    for (int r = 0; r < 3; ++r) {
        EXPECT_NEAR(store.cell_lengths[r], lengths[r], 1e-12);
        for (int c = 0; c < 3; ++c) {
            EXPECT_EQ(store.cell_vectors[r][c], lattice[c][r]);
            EXPECT_EQ(store.cell_latt3x3_copy[r][c], lattice[r][c]);
            EXPECT_EQ(store.cell_latt3x3[r][c], lattice[r][c]);
            EXPECT_EQ(store.supercell_latt3x3[r][c], lattice[r][c] * repeats[r]);
            double product = 0.0;
            for (int k = 0; k < 3; ++k) product += store.cell_latt3x3_inv[r][k] * lattice[k][c];
            EXPECT_NEAR(product, r == c ? 1.0 : 0.0, 1e-12);
        }
    }
}

TEST(CifSourceSideFiles, BondListsUseCovalentRadiiOnWholeMolecules) {
    // A triangle of carbons with sides 1.60 (bonded, limit 1.656), 1.50 (bonded) and 1.70 (not
    // bonded), and a lone oxygen.
    ScratchDir dir;
    FileIO store;
    set_cell(store, {20.0, 20.0, 20.0, 90.0, 90.0, 90.0});
    set_crystal(store, {kC, kC, kO, kC},
                {0.30, 0.30, 0.30, 0.38, 0.30, 0.30, 0.7, 0.7, 0.7, 0.33, 0.36874, 0.30}, {3, 1},
                {0, 1, 3, 2});
    store.data_dir = dir.file("data");
    store.read_crystal_strcuture_files(false, true);
    EXPECT_EQ(read_file(dir.file("data/mol1_bonds.dat")), "2\n  1   2  0  0\n  1   3  0  0\n");
    EXPECT_EQ(read_file(dir.file("data/mol2_bonds.dat")), "0\n");
}

TEST(CifSourceSideFiles, OneCrystalWritesEachMoleculesBondsAndTheCellVectors) {
    ScratchDir dir;
    FileIO store;
    store.data_dir = dir.file("data");
    testing::internal::CaptureStdout();
    store.write_cif2pdb(test_support::test_data("golden_inputs/acetonitrile_hydrate.cif").c_str(),
                        dir.file("out.pdb").c_str(), false, true);
    testing::internal::GetCapturedStdout();
    ASSERT_EQ(store.nmols, 4);
    const std::string golden = test_support::golden("acetonitrile_hydrate_side/");
    for (const char* name :
         {"mol1_bonds.dat", "mol2_bonds.dat", "mol3_bonds.dat", "mol4_bonds.dat", "cellvec.dat"})
        EXPECT_EQ(read_file(dir.file(std::string("data/") + name)), read_file(golden + name))
            << name;
}

TEST(CifSourceSideFiles, NoMoleculesStillComputesAndWritesTheCell) {
    ScratchDir dir;
    FileIO store;
    set_cell(store, {10.0, 10.0, 10.0, 90.0, 90.0, 90.0});
    set_crystal(store, {}, {}, {}, {});
    store.data_dir = dir.file("data");
    testing::internal::CaptureStdout();
    store.read_crystal_strcuture_files(true, true);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Make whole molecules...\n");
    EXPECT_EQ(store.nmols, 0);
    EXPECT_EQ(store.mol_natoms, nullptr);
    EXPECT_NEAR(store.cell_lengths[2], 10.0, 1e-12);
    EXPECT_FALSE(file_exists(dir.file("data/mol1_bonds.dat")));
    const std::string cellvec = read_file(dir.file("data/cellvec.dat"));
    EXPECT_EQ(cellvec.substr(0, cellvec.find('\n') + 1), "a =        10         0         0\n");
}

TEST(CifSourceSideFiles, NothingIsCreatedUnlessAsked) {
    ScratchDir dir;
    FileIO store;
    set_cell(store, {10.0, 10.0, 10.0, 90.0, 90.0, 90.0});
    set_crystal(store, {kC}, {0.5, 0.5, 0.5}, {1}, {0});
    store.data_dir = dir.file("data");
    store.read_crystal_strcuture_files(false, false);
    EXPECT_FALSE(file_exists(dir.file("data")));
}

TEST(CrystalPipelineDeathTest, UnknownInputKindIsFatal) {
    FileIO store;
    store.input_kind = 3;
    EXPECT_EXIT(
        {
            send_stdout_to_stderr();
            store.read_crystal_strcuture_files(false, false);
        },
        testing::ExitedWithCode(255),
        "ERROR  transport : fileio : line [0-9]+ : \nNo input molecule data is available. \\(3\\)\n");
}

TEST(CrystalPipelineDeathTest, UnwritableSideFileIsFatal) {
    ScratchDir dir;
    FileIO store;
    set_cell(store, {10.0, 10.0, 10.0, 90.0, 90.0, 90.0});
    set_crystal(store, {kC}, {0.5, 0.5, 0.5}, {1}, {0});
    store.data_dir = dir.file("no/such/data");
    const std::string expected =
        "ERROR  transport : fileio : line [0-9]+ : \nFailed to open output file " +
        dir.file("no/such/data/mol1_bonds.dat") + "\n";
    EXPECT_EXIT(
        {
            send_stdout_to_stderr();
            store.read_crystal_strcuture_files(false, true);
        },
        testing::ExitedWithCode(255), expected);
}

TEST(CrystalPipelineDeathTest, CellWithoutALengthEndsAtTheInversion) {
    FileIO store;
    set_cell(store, {10.0, 10.0, 0.0, 90.0, 90.0, 90.0});
    set_crystal(store, {kC}, {0.5, 0.5, 0.5}, {1}, {0});
    EXPECT_EXIT(
        {
            send_stdout_to_stderr();
            store.read_crystal_strcuture_files(false, false);
        },
        testing::ExitedWithCode(255),
        "ERROR  transport : mmutil : line 600 : \nDeterminant of matrix is zero.\n");
}

}  // namespace
