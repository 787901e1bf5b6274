// Expansion to the full cell: image order, single wraps, which overlapping image survives,
// the warning lines, the operation dump, and a space group of 192 operations.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "fileio.h"
#include "store_arrays.h"

namespace {

using fileio_detail::new_store_array;

struct Site {
    int atype;
    double radius;
    double x, y, z;
};

// Puts an asymmetric unit (fractional coordinates) and its operations into the store.
void load(FileIO& store, const std::vector<Site>& sites, const std::vector<std::string>& ops) {
    const int n = static_cast<int>(sites.size());
    store.natoms_cif = n;
    store.cif_symops = ops;
    store.cif_atypes = new_store_array<int>(n);
    store.cif_radius = new_store_array<double>(n);
    store.cif_x_s = new_store_array<double>(3 * n);
    store.cif_x = new_store_array<double>(3 * n);
    for (int i = 0; i < n; ++i) {
        store.cif_atypes[i] = sites[i].atype;
        store.cif_radius[i] = sites[i].radius;
        store.cif_x_s[3 * i] = sites[i].x;
        store.cif_x_s[3 * i + 1] = sites[i].y;
        store.cif_x_s[3 * i + 2] = sites[i].z;
    }
}

std::string expand(FileIO& store, int fractional = 3) {
    testing::internal::CaptureStdout();
    store.make_spacegroup_P1(fractional);
    return testing::internal::GetCapturedStdout();
}

void expect_atom(const FileIO& store, int i, int atype, double x, double y, double z) {
    SCOPED_TRACE("atom " + std::to_string(i));
    EXPECT_EQ(store.cif_atypes[i], atype);
    EXPECT_DOUBLE_EQ(store.cif_x_s[3 * i], x);
    EXPECT_DOUBLE_EQ(store.cif_x_s[3 * i + 1], y);
    EXPECT_DOUBLE_EQ(store.cif_x_s[3 * i + 2], z);
}

std::string overlap_warning(int overlapped, int remaining) {
    return "WARNING: Overlapped atoms detected and to be removed\n"
           "         Number of overlapped atoms is " +
           std::to_string(overlapped) +
           "\n"
           "         Number of remaining atoms is " +
           std::to_string(remaining) + "\n";
}

TEST(MakeSpacegroupP1, ImagesOperationByOperationInAtomOrder) {
    FileIO store;
    load(store, {{6, 0.77, 0.1, 0.2, 0.3}, {8, 0.66, 0.4, 0.05, 0.6}},
         {"x,y,z", "-x,y+1/2,-z+1/2"});
    EXPECT_EQ(expand(store), "");
    ASSERT_EQ(store.natoms_cif, 4);
    expect_atom(store, 0, 6, 0.1, 0.2, 0.3);
    expect_atom(store, 1, 8, 0.4, 0.05, 0.6);
    expect_atom(store, 2, 6, 0.9, 0.7, 0.2);
    expect_atom(store, 3, 8, 0.6, 0.55, 0.9);
    const double radii[4] = {0.77, 0.66, 0.77, 0.66};
    for (int i = 0; i < 4; ++i) EXPECT_EQ(store.cif_radius[i], radii[i]);
    for (int i = 0; i < 12; ++i) EXPECT_EQ(store.cif_x[i], 0.0);  // left to the caller
}

TEST(MakeSpacegroupP1, EachImageIsWrappedOnlyOnce) {
    FileIO store;
    load(store, {{6, 0.77, 0.7, 0.5, 0.5}, {6, 0.77, 1.4, 0.5, -2.0}}, {"x+0.8,y,z-0.3"});
    expand(store);
    ASSERT_EQ(store.natoms_cif, 2);
    expect_atom(store, 0, 6, 0.5, 0.5, 0.2);
    expect_atom(store, 1, 6, 1.2, 0.5, -0.3);
}

TEST(MakeSpacegroupP1, InversionCentreOnAnAtomLeavesOneCopy) {
    FileIO store;
    load(store, {{11, 1.0, 0.0, 0.0, 0.0}}, {"x,y,z", "-x,-y,-z"});
    EXPECT_EQ(expand(store), overlap_warning(1, 1));
    ASSERT_EQ(store.natoms_cif, 1);
    expect_atom(store, 0, 11, 0.0, 0.0, 0.0);
}

// The image of C falls on O and that of O on C: the earlier image stays each time.
TEST(MakeSpacegroupP1, EarlierImageSurvives) {
    FileIO store;
    load(store, {{6, 0.77, 0.1, 0.2, 0.3}, {8, 0.66, 0.9, 0.8, 0.7}}, {"x,y,z", "-x,-y,-z"});
    EXPECT_EQ(expand(store), overlap_warning(2, 2));
    ASSERT_EQ(store.natoms_cif, 2);
    expect_atom(store, 0, 6, 0.1, 0.2, 0.3);
    expect_atom(store, 1, 8, 0.9, 0.8, 0.7);
    EXPECT_EQ(store.cif_radius[1], 0.66);
}

// B lies within 0.001 of A and C within 0.001 of B but not of A: B goes, and a removed image
// removes nothing, so C stays.
TEST(MakeSpacegroupP1, RemovedImageIsNoLongerCompared) {
    FileIO store;
    load(store, {{6, 0.77, 0.5, 0.5, 0.5}, {7, 0.7, 0.5008, 0.5, 0.5}, {8, 0.66, 0.5016, 0.5, 0.5}},
         {"x,y,z"});
    EXPECT_EQ(expand(store), overlap_warning(1, 2));
    ASSERT_EQ(store.natoms_cif, 2);
    EXPECT_EQ(store.cif_atypes[0], 6);
    EXPECT_EQ(store.cif_atypes[1], 8);
}

TEST(MakeSpacegroupP1, OverlapIsTestedAcrossTheCellFace) {
    FileIO store;
    load(store,
         {{6, 0.77, 0.9995, 0.5, 0.5}, {8, 0.66, 0.0003, 0.5, 0.5}, {8, 0.66, 0.002, 0.5, 0.5}},
         {"x,y,z"});
    EXPECT_EQ(expand(store), overlap_warning(1, 2));
    ASSERT_EQ(store.natoms_cif, 2);
    expect_atom(store, 0, 6, 0.9995, 0.5, 0.5);
    expect_atom(store, 1, 8, 0.002, 0.5, 0.5);
}

TEST(MakeSpacegroupP1, NoOperationsLeaveNoAtoms) {
    FileIO store;
    load(store, {{6, 0.77, 0.1, 0.2, 0.3}}, {});
    EXPECT_EQ(expand(store), "");
    EXPECT_EQ(store.natoms_cif, 0);
}

TEST(MakeSpacegroupP1, CartesianCoordinatesAreTransformedWhenNotFractional) {
    FileIO store;
    load(store, {{6, 0.77, 0, 0, 0}}, {"x,y,z", "-x,y,z"});
    store.cif_x[0] = 0.25, store.cif_x[1] = 0.5, store.cif_x[2] = 0.75;
    EXPECT_EQ(expand(store, 0), "");
    ASSERT_EQ(store.natoms_cif, 2);
    EXPECT_EQ(store.cif_x[3], 0.75);
    EXPECT_EQ(store.cif_x[4], 0.5);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(store.cif_x_s[i], 0.0);
}

TEST(MakeSpacegroupP1, DetailsShowEachParsedOperation) {
    FileIO store;
    store.print_details = true;
    load(store, {{6, 0.77, 0.1, 0.2, 0.3}}, {"-x,y+1/2,-z"});
    EXPECT_EQ(expand(store),
              ">> operations: -x,y+1/2,-z\n"
              "matrix:\n"
              "  -1   0   0\n"
              "   0   1   0\n"
              "   0   0  -1\n"
              "vector: \n"
              "  0  0.5  0\n"
              "-------------------\n");
}

// The 192 operations of a face-centred cubic group: 48 signed permutations times the four
// centring translations, the identity first.
std::vector<std::string> face_centred_cubic_operations() {
    const char* centrings[4][3] = {
        {"", "", ""}, {"", "+1/2", "+1/2"}, {"+1/2", "", "+1/2"}, {"+1/2", "+1/2", ""}};
    const int permutations[6][3] = {{0, 1, 2}, {1, 2, 0}, {2, 0, 1},
                                    {1, 0, 2}, {0, 2, 1}, {2, 1, 0}};
    std::vector<std::string> ops;
    for (const auto& centring : centrings)
        for (const auto& permutation : permutations)
            for (int signs = 0; signs < 8; ++signs) {
                std::string op;
                for (int row = 0; row < 3; ++row) {
                    if (row > 0) op += ",";
                    op += (signs >> row) & 1 ? "-" : "";
                    op += "xyz"[permutation[row]];
                    op += centring[row];
                }
                ops.push_back(op);
            }
    return ops;
}

TEST(MakeSpacegroupP1, RockSaltFromOneHundredNinetyTwoOperations) {
    FileIO store;
    const std::vector<std::string> ops = face_centred_cubic_operations();
    ASSERT_EQ(ops.size(), 192u);
    load(store, {{11, 1.0, 0.0, 0.0, 0.0}, {17, 1.0, 0.5, 0.5, 0.5}}, ops);
    EXPECT_EQ(expand(store), overlap_warning(376, 8));
    ASSERT_EQ(store.natoms_cif, 8);
    expect_atom(store, 0, 11, 0.0, 0.0, 0.0);
    expect_atom(store, 1, 17, 0.5, 0.5, 0.5);
    expect_atom(store, 2, 11, 0.0, 0.5, 0.5);
    expect_atom(store, 3, 17, 0.5, 0.0, 0.0);
    expect_atom(store, 4, 11, 0.5, 0.0, 0.5);
    expect_atom(store, 5, 17, 0.0, 0.5, 0.0);
    expect_atom(store, 6, 11, 0.5, 0.5, 0.0);
    expect_atom(store, 7, 17, 0.0, 0.0, 0.5);
}

TEST(MakeSpacegroupP1, GeneralPositionGivesOneImagePerOperation) {
    FileIO store;
    load(store, {{6, 0.77, 0.11, 0.23, 0.37}}, face_centred_cubic_operations());
    EXPECT_EQ(expand(store), "");
    EXPECT_EQ(store.natoms_cif, 192);
}

TEST(MakeSpacegroupP1DeathTest, ExpandedCountBeyondIntEndsTheRun) {
    FileIO store;
    store.natoms_cif = 20000000;
    store.cif_symops.assign(192, "x,y,z");
    EXPECT_EXIT((::dup2(2, 1), store.make_spacegroup_P1(3)), ::testing::ExitedWithCode(255),
                "ERROR  transport : fileio : line [0-9]+ : \n"
                "Too many atoms in the expanded cell: 20000000 x 192\\.");
}

}  // namespace
