// Whole-molecule reconstruction: growth order, image choice, covalent radii, the centre-of-mass
// wrap and its tolerances, and the fatal report for a molecule that is not one piece.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <ostream>
#include <string>
#include <vector>

#include "fileio.h"

namespace {

constexpr int kC = 6;
constexpr int kUnknown = -1;

// A store with an orthorhombic cell; the lattice matrix is what the reconstruction reads.
void set_cell(FileIO& store, double a, double b, double c) {
    double cell6[6] = {a, b, c, 90.0, 90.0, 90.0};
    double latt[3][3];
    store.cell_cell6_to_latt3x3(cell6, latt);
}

struct Molecule {
    std::vector<int> atypes;
    std::vector<double> x_s;
};

std::string make_whole_verbose(FileIO& store, int imol, Molecule& mol) {
    testing::internal::CaptureStdout();
    store.make_whole_molecule(imol, static_cast<int>(mol.atypes.size()), mol.atypes.data(),
                              mol.x_s.data(), true);
    return testing::internal::GetCapturedStdout();
}

void expect_positions(const Molecule& mol, const std::vector<double>& expected) {
    ASSERT_EQ(mol.x_s.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_NEAR(mol.x_s[i], expected[i], 1e-12) << "coordinate " << i;
}

// Death tests check the error stream; the fatal report goes to standard output.
void send_stdout_to_stderr() {
    std::fflush(stdout);
    dup2(STDERR_FILENO, STDOUT_FILENO);
}

TEST(MakeWholeMolecule, DiatomicAcrossTheFaceIsJoinedThenWrappedIntoTheCell) {
    FileIO store;
    set_cell(store, 10.0, 10.0, 10.0);
    Molecule mol{{kC, kC}, {0.02, 0.5, 0.5, 0.97, 0.5, 0.5}};
    const std::string out = make_whole_verbose(store, 7, mol);
    // Atom 1 moves next to the anchor (x -0.03); the centre (-0.005) lies below the cell, so
    // the whole molecule moves up by one cell.
    expect_positions(mol, {1.02, 0.5, 0.5, 0.97, 0.5, 0.5});
    EXPECT_EQ(out,
              "  molecule 7 COM = -0.005000  0.500000  0.500000\n"
              "  molecule 7 COM =  0.995000  0.500000  0.500000 (wrapped)\n");
}

TEST(MakeWholeMolecule, MoleculeInsideTheCellStaysAndPrintsOneLine) {
    FileIO store;
    set_cell(store, 10.0, 10.0, 10.0);
    Molecule mol{{kC, kC}, {0.40, 0.5, 0.5, 0.54, 0.5, 0.5}};
    const std::string out = make_whole_verbose(store, 1, mol);
    expect_positions(mol, {0.40, 0.5, 0.5, 0.54, 0.5, 0.5});
    EXPECT_EQ(out, "  molecule 1 COM =  0.470000  0.500000  0.500000\n");
}

TEST(MakeWholeMolecule, PartnersAreTriedInPlacingOrder) {
    // A chain that runs through a 4 angstrom cell: atom 2 bonds to atom 1 directly (1.4) and
    // to atom 0 across the face (1.2). Atom 0 was placed first, so atom 2 joins it as the
    // image at x = -0.30.
    FileIO store;
    set_cell(store, 4.0, 10.0, 10.0);
    Molecule mol{{kC, kC, kC}, {0.0, 0.5, 0.5, 0.35, 0.5, 0.5, 0.70, 0.5, 0.5}};
    store.make_whole_molecule(1, 3, mol.atypes.data(), mol.x_s.data(), false);
    expect_positions(mol, {0.0, 0.5, 0.5, 0.35, 0.5, 0.5, -0.30, 0.5, 0.5});
}

TEST(MakeWholeMolecule, LowestNumberedBondedAtomJoinsFirst) {
    // Atom 2 bonds to the anchor directly (1.1), atom 1 only to atom 2 across the y face
    // (1.3). Atom 1 is therefore placed after atom 2 and moves next to it, to y = 1.12.
    FileIO store;
    set_cell(store, 10.0, 10.0, 10.0);
    Molecule mol{{kC, kC, kC}, {0.50, 0.88, 0.5, 0.50, 0.12, 0.5, 0.50, 0.99, 0.5}};
    store.make_whole_molecule(1, 3, mol.atypes.data(), mol.x_s.data(), false);
    expect_positions(mol, {0.50, 0.88, 0.5, 0.50, 1.12, 0.5, 0.50, 0.99, 0.5});
}

TEST(MakeWholeMolecule, BondsUseCovalentRadiiNotBondingRadii) {
    // Two carbons 1.70 angstrom apart: bonded by the bonding radii (limit 1.771) that separate
    // the cell, not by the covalent radii (limit 1.656) that make molecules whole.
    FileIO store;
    set_cell(store, 10.0, 10.0, 10.0);
    Molecule mol{{kC, kC}, {0.10, 0.5, 0.5, 0.27, 0.5, 0.5}};
    EXPECT_EXIT(
        {
            send_stdout_to_stderr();
            store.make_whole_molecule(1, 2, mol.atypes.data(), mol.x_s.data(), false);
        },
        testing::ExitedWithCode(1),
        "ERROR  transport : fileio : line 3313 : \nNot all atoms are bonded in the molecule!\n"
        "nat_bonded = 1, natoms = 2\n");
}

TEST(MakeWholeMolecule, TwoFragmentsReportTheAtomsReachableFromTheAnchor) {
    FileIO store;
    set_cell(store, 10.0, 10.0, 10.0);
    Molecule mol{{kC, kC, kC, kC},
                 {0.10, 0.1, 0.1, 0.60, 0.6, 0.6, 0.24, 0.1, 0.1, 0.38, 0.1, 0.1}};
    EXPECT_EXIT(
        {
            send_stdout_to_stderr();
            store.make_whole_molecule(3, 4, mol.atypes.data(), mol.x_s.data(), false);
        },
        testing::ExitedWithCode(1), "nat_bonded = 3, natoms = 4\n");
}

TEST(MakeWholeMolecule, UnknownElementHasTheDummyRadiusAndNoMass) {
    // Row -1 reads as row 0: radius 0.72 bonds it to carbon 1.5 angstrom away across the face,
    // and mass 0 leaves the centre on the carbon (0.99), so nothing wraps. With a mass the
    // centre would lie past 1 and the molecule would move.
    FileIO store;
    set_cell(store, 10.0, 10.0, 10.0);
    Molecule mol{{kC, kUnknown}, {0.99, 0.5, 0.5, 0.14, 0.5, 0.5}};
    const std::string out = make_whole_verbose(store, 2, mol);
    expect_positions(mol, {0.99, 0.5, 0.5, 1.14, 0.5, 0.5});
    EXPECT_EQ(out, "  molecule 2 COM =  0.990000  0.500000  0.500000\n");
}

TEST(MakeWholeMolecule, MasslessMoleculeWrapsByItsPlainAverage) {
    FileIO store;
    set_cell(store, 10.0, 10.0, 10.0);
    Molecule mol{{kUnknown, kUnknown}, {0.98, 0.5, 0.5, 0.13, 0.5, 0.5}};
    const std::string out = make_whole_verbose(store, 1, mol);
    expect_positions(mol, {-0.02, 0.5, 0.5, 0.13, 0.5, 0.5});
    EXPECT_EQ(out,
              "  molecule 1 COM =  1.055000  0.500000  0.500000\n"
              "  molecule 1 COM =  0.055000  0.500000  0.500000 (wrapped)\n");
}

struct WrapCase {
    double x;
    double expected;
};

void PrintTo(const WrapCase& c, std::ostream* os) { *os << "x " << c.x; }

class SingleAtomWrap : public testing::TestWithParam<WrapCase> {};

TEST_P(SingleAtomWrap, CentreOnTheFaceStaysAndOneShiftAtMost) {
    FileIO store;
    set_cell(store, 10.0, 10.0, 10.0);
    Molecule mol{{kC}, {GetParam().x, 0.5, 0.5}};
    store.make_whole_molecule(1, 1, mol.atypes.data(), mol.x_s.data(), false);
    EXPECT_DOUBLE_EQ(mol.x_s[0], GetParam().expected);
    EXPECT_DOUBLE_EQ(mol.x_s[1], 0.5);
}

INSTANTIATE_TEST_SUITE_P(Tolerances, SingleAtomWrap,
                         testing::Values(WrapCase{1.0, 1.0}, WrapCase{-5e-08, -5e-08},
                                         WrapCase{-1e-07, 1.0 - 1e-07}, WrapCase{1.2, 0.2},
                                         WrapCase{2.5, 1.5}, WrapCase{-1.5, -0.5}));

TEST(MakeWholeMolecule, NoAtomsDoesNothing) {
    FileIO store;
    set_cell(store, 10.0, 10.0, 10.0);
    testing::internal::CaptureStdout();
    store.make_whole_molecule(1, 0, nullptr, nullptr, true);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

}  // namespace
