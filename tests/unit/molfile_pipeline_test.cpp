// The molfile source of the crystal pipeline: molfiles and cell vectors become per-molecule
// arrays with fractional coordinates and cell parameters, which the writers then use.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "fileio.h"
#include "mmutil.h"
#include "store_arrays.h"
#include "test_support.h"

namespace {

using fileio_detail::new_store_array;
using test_support::golden;
using test_support::read_file;
using test_support::ScratchDir;
using test_support::test_data;

// Cell vectors a = (10, 0, 0), b = (0, 8, 6), c = (0, 0, 7): |b| = 10, alpha = acos(0.6).
void set_cell_vectors(FileIO& store) {
    const double rows[3][3] = {{10, 0, 0}, {0, 8, 6}, {0, 0, 7}};
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) store.cell_vectors[r][c] = rows[r][c];
}

void set_molfiles(FileIO& store, const std::vector<std::string>& names) {
    store.input_kind = 1;
    store.nmols = static_cast<int>(names.size());
    store.mol_file_names = new_store_array<char*>(store.nmols);
    for (int i = 0; i < store.nmols; ++i) {
        const std::string path = test_data("readers/" + names[i]);
        store.mol_file_names[i] = new_store_array<char>(path.size() + 1);
        std::strcpy(store.mol_file_names[i], path.c_str());
    }
}

std::string run_pipeline(FileIO& store, bool verbose) {
    testing::internal::CaptureStdout();
    store.read_crystal_strcuture_files(verbose, false);
    return testing::internal::GetCapturedStdout();
}

class MolfilePipeline : public testing::Test {
   protected:
    void SetUp() override {
        set_cell_vectors(store_);
        set_molfiles(store_, {"water.mol", "hcl.mol", "methane.mol"});
    }
    FileIO store_;
};

TEST_F(MolfilePipeline, EachFileFillsItsSlotInOrder) {
    const std::string out = run_pipeline(store_, true);
    std::string expected;
    for (int i = 0; i < 3; ++i)
        expected +=
            "Reading molecular file \"" + std::string(store_.mol_file_names[i]) + "\"... \n";
    EXPECT_EQ(out, expected);

    ASSERT_EQ(store_.nmols, 3);
    const std::vector<std::vector<int>> rows = {{8, 1, 1}, {1, 17}, {6, 1, 1, 1, 1}};
    for (int m = 0; m < 3; ++m) {
        ASSERT_EQ(store_.mol_natoms[m], static_cast<int>(rows[m].size())) << m;
        for (int k = 0; k < store_.mol_natoms[m]; ++k)
            EXPECT_EQ(store_.mol_atypes[m][k], rows[m][k]);
        EXPECT_EQ(store_.mol_ids[m], m + 1);
    }
    EXPECT_DOUBLE_EQ(store_.mol_x[1][3], 2.27);
    EXPECT_DOUBLE_EQ(store_.mol_x[2][14], 8.11);
}

TEST_F(MolfilePipeline, FractionalCoordinatesComeFromTheInverseCell) {
    run_pipeline(store_, false);
    // Water's oxygen at (5, 4, 10): f = (5/10, 4/8, (10 - 6 * 0.5) / 7).
    EXPECT_NEAR(store_.mol_x_s[0][0], 0.5, 1e-14);
    EXPECT_NEAR(store_.mol_x_s[0][1], 0.5, 1e-14);
    EXPECT_NEAR(store_.mol_x_s[0][2], 1.0, 1e-14);
    // Every atom: lattice x fractional gives the Cartesian position back.
    for (int m = 0; m < store_.nmols; ++m)
        for (int k = 0; k < store_.mol_natoms[m]; ++k) {
            double r[3];
            mmutil::mat_vec_mul(store_.cell_latt3x3, &store_.mol_x_s[m][3 * k], r);
            for (int d = 0; d < 3; ++d) EXPECT_NEAR(r[d], store_.mol_x[m][3 * k + d], 1e-12);
        }
}

TEST_F(MolfilePipeline, CellParametersComeFromTheCellVectors) {
    run_pipeline(store_, false);
    EXPECT_DOUBLE_EQ(store_.cell_latt[0], 10.0);
    EXPECT_DOUBLE_EQ(store_.cell_latt[1], 10.0);
    EXPECT_DOUBLE_EQ(store_.cell_latt[2], 7.0);
    // Degrees with the 14-digit pi: a right angle comes out a hair below 90.
    const double right_angle = std::acos(0.0) * 180.0 / 3.1415926535898;
    EXPECT_LT(right_angle, 90.0);
    EXPECT_DOUBLE_EQ(store_.cell_latt[3], std::acos(0.6) * 180.0 / 3.1415926535898);
    EXPECT_NEAR(store_.cell_latt[3], 53.13010235415598, 1e-9);
    EXPECT_EQ(store_.cell_latt[4], right_angle);
    EXPECT_EQ(store_.cell_latt[5], right_angle);
}

TEST_F(MolfilePipeline, SupercellPdbOfOneCellListsTheMolecules) {
    run_pipeline(store_, false);
    ScratchDir dir;
    setenv("TZ", "UTC", 1);
    tzset();
    mmutil::pin_clock(1700000000);  // 2023-11-14 22:13:20 UTC
    store_.write_supercell_pdb(dir.file("cell.pdb").c_str(), store_.nmols, store_.mol_natoms,
                               store_.mol_atypes, store_.mol_x_s, 1, 1, 1);
    mmutil::unpin_clock();
    EXPECT_EQ(read_file(dir.file("cell.pdb")), read_file(golden("readers/molfile_cell_1x1x1.pdb")));
}

// A V3000 file puts its atoms into the crystal arrays; its slot keeps the inner table's count
// with zero-filled arrays (element row 0 at the origin).
TEST(MolfilePipelineV3000, SlotIsCountedAndAtomsGoToTheCrystalArrays) {
    FileIO store;
    set_cell_vectors(store);
    set_molfiles(store, {"water.mol", "nested_v3000.mol"});
    store.natoms_cif = 4;
    store.cif_atypes = new_store_array<int>(4);
    store.cif_x = new_store_array<double>(12);
    EXPECT_EQ(run_pipeline(store, false),
              "WARNING: A molecule contains an R group which is not implemented!\n");

    EXPECT_EQ(store.mol_natoms[0], 3);
    ASSERT_EQ(store.mol_natoms[1], 2);
    for (int k = 0; k < 2; ++k) EXPECT_EQ(store.mol_atypes[1][k], 0);
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(store.mol_x[1][i], 0.0);
        EXPECT_EQ(store.mol_x_s[1][i], 0.0);
    }
    const int rows[4] = {7, 1, 0, 17};
    for (int k = 0; k < 4; ++k) EXPECT_EQ(store.cif_atypes[k], rows[k]) << k;
    EXPECT_DOUBLE_EQ(store.cif_x[0], 5.0);
    EXPECT_DOUBLE_EQ(store.cif_x[11], 0.3);
}

TEST(MolfilePipelineDeathTest, MissingFileNameEndsWithStatus255) {
    FileIO store;
    set_cell_vectors(store);
    store.input_kind = 1;
    store.nmols = 2;
    EXPECT_EXIT(
        {
            std::fflush(stdout);
            dup2(fileno(stderr), fileno(stdout));
            store.read_crystal_strcuture_files(false, false);
        },
        testing::ExitedWithCode(255), "No file name is set for molecule 1\\.");
}

}  // namespace
