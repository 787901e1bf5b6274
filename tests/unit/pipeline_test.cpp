// The crystal after its CIF read: molecules made whole (growth order, images, the centre's
// single-shift wrap), the pipeline's side files and cell forms, and the PDB atom records.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "pdb_model.h"
#include "teska/fileio.h"
#include "test_support.h"

namespace {

using test_support::read_file;
using test_support::ScratchDir;

constexpr int kH = 1, kC = 6, kCl = 17, kX = -1;

struct WholeCase {
    const char* what;
    double a;  // angstrom; b = c = 10, all angles 90
    std::vector<int> atypes;
    std::vector<double> x, whole_x;  // fractional x before and after; y = z = 0.5 throughout
    const char* com;                 // the centre's x as reported, and after a wrap if any
    const char* wrapped_com;
};

const std::vector<WholeCase> kCases = {
    // Atom 1 joins the anchor at -0.03; the centre (-0.005) lies below the cell.
    {"across the face", 10, {kC, kC}, {0.02, 0.97}, {1.02, 0.97}, "-0.005000", " 0.995000"},
    // Atom 2 bonds to atom 1 (1.4) and across the face to the earlier placed atom 0 (1.2).
    {"placing order", 4, {kC, kC, kC}, {0.0, 0.35, 0.70}, {0.0, 0.35, -0.30}, " 0.016667", ""},
    // Atom 1 bonds only to atom 2 (1.3 across the face), which bonds to the anchor (1.1).
    {"lowest index", 10, {kC, kC, kC}, {0.88, 0.12, 0.99}, {0.88, 1.12, 0.99}, " 0.996667", ""},
    // Row -1 reads as row 0: radius 0.72 bonds it at 1.5 angstrom, and it has no mass.
    {"unknown element", 10, {kC, kX}, {0.99, 0.14}, {0.99, 1.14}, " 0.990000", ""},
    {"no mass", 10, {kX, kX}, {0.98, 0.13}, {-0.02, 0.13}, " 1.055000", " 0.055000"},
    {"on the face", 10, {kC}, {1.0}, {1.0}, " 1.000000", ""},
    {"within the tolerance", 10, {kC}, {-5e-08}, {-5e-08}, "-0.000000", ""},
    {"past the tolerance", 10, {kC}, {-1e-07}, {1.0 - 1e-07}, "-0.000000", " 1.000000"},
    {"one shift down", 10, {kC}, {2.5}, {1.5}, " 2.500000", " 1.500000"},
    {"one shift up", 10, {kC}, {-1.5}, {-0.5}, "-1.500000", "-0.500000"},
    {"no atoms", 10, {}, {}, {}, nullptr, ""}};

std::string expected_report(const WholeCase& c) {
    const std::string rest = "  0.500000  0.500000";
    std::string report = c.com ? "  molecule 1 COM = " + std::string(c.com) + rest + "\n" : "";
    if (*c.wrapped_com) report += "  molecule 1 COM = " + (c.wrapped_com + rest) + " (wrapped)\n";
    return report;
}

TEST(MakeWholeMolecule, GrowsInPlacingOrderAndShiftsTheCentreIntoTheCellOnce) {
    for (const WholeCase& c : kCases) {
        SCOPED_TRACE(c.what);
        FileIO store;
        double cell6[6] = {c.a, 10.0, 10.0, 90.0, 90.0, 90.0}, lattice[3][3];
        store.cell_cell6_to_latt3x3(cell6, lattice);
        std::vector<int> atypes = c.atypes;
        std::vector<double> x_s;
        for (double x : c.x) x_s.insert(x_s.end(), {x, 0.5, 0.5});
        EXPECT_EQ(test_support::stdout_of([&] {
                      store.make_whole_molecule(1, static_cast<int>(atypes.size()), atypes.data(),
                                                x_s.data(), true);
                  }),
                  expected_report(c));
        for (std::size_t i = 0; i < c.whole_x.size(); ++i)
            EXPECT_NEAR(x_s[3 * i], c.whole_x[i], 1e-15) << "atom " << i;
    }
}

// Converts a test crystal, writing the side files into dir/data.
void convert_with_side_files(FileIO& store, const std::string& input, const ScratchDir& dir) {
    store.data_dir = dir.file("data");
    test_support::stdout_of([&] {
        store.write_cif2pdb(test_support::test_data(input).c_str(), dir.file("out.pdb").c_str(),
                            false, true);
    });
}

// The side files of a solvate, and the cell in all its forms. Then a triangle of carbons with
// sides 1.60 (bonded: limit 1.656), 1.50 (bonded) and 1.70 (not bonded, though the bonding radii
// made it one molecule) and a lone oxygen; and a cell without molecules.
TEST(CrystalPipeline, SideFilesDescribeTheWholeMoleculesAndTheCell) {
    ScratchDir dir, triangle_dir, empty_dir;
    FileIO store, triangle, empty;
    store.supercell_n[0] = 2;
    store.supercell_n[1] = 3;
    convert_with_side_files(store, "golden_inputs/acetonitrile_hydrate.cif", dir);
    ASSERT_EQ(store.nmols, 4);
    for (const std::string name :
         {"mol1_bonds.dat", "mol2_bonds.dat", "mol3_bonds.dat", "mol4_bonds.dat", "cellvec.dat"})
        EXPECT_EQ(read_file(dir.file("data/" + name)),
                  read_file(test_support::golden("acetonitrile_hydrate_side/" + name)))
            << name;
    const auto& lattice = store.cell_latt3x3;
    const double lengths[3] = {4.621, 7.339, 8.117}, repeats[3] = {2, 3, 1};
    for (int r = 0; r < 3; ++r) {
        EXPECT_NEAR(store.cell_lengths[r], lengths[r], 1e-12);
        for (int c = 0; c < 3; ++c) {
            EXPECT_EQ(store.cell_vectors[r][c], lattice[c][r]);
            EXPECT_EQ(store.supercell_latt3x3[r][c], lattice[r][c] * repeats[r]);  // rows scaled
        }
    }
    convert_with_side_files(triangle, "pipeline/carbon_triangle.cif", triangle_dir);
    EXPECT_EQ(read_file(triangle_dir.file("data/mol1_bonds.dat")),
              "2\n  1   2  0  0\n  1   3  0  0\n");
    EXPECT_EQ(read_file(triangle_dir.file("data/mol2_bonds.dat")), "0\n");
    convert_with_side_files(empty, "golden_inputs/empty_cell.cif", empty_dir);
    EXPECT_EQ(empty.mol_natoms, nullptr);
    EXPECT_FALSE(test_support::file_exists(empty_dir.file("data/mol1_bonds.dat")));
    EXPECT_EQ(read_file(empty_dir.file("data/cellvec.dat")).substr(0, 34),
              "a =   12.3456         0         0\n");
}

TEST(CrystalPipelineDeathTest, NothingReadOrAnUnwritableSideFileEndsTheRun) {
    ScratchDir dir;
    FileIO store;  // nothing read: input kind 0
    EXPECT_EXIT(
        (test_support::stdout_to_stderr(), store.read_crystal_strcuture_files(false, false)),
        testing::ExitedWithCode(255),
        "fileio : line [0-9]+ : \nNo input molecule data is available. \\(0\\)\n$");
    const std::string input = test_support::test_data("pipeline/carbon_triangle.cif");
    store.data_dir = dir.file("no/such/data");
    EXPECT_EXIT((test_support::stdout_to_stderr(),
                 store.write_cif2pdb(input.c_str(), dir.file("out.pdb").c_str(), false, true)),
                testing::ExitedWithCode(255),
                "fileio : line [0-9]+ : \nFailed to open output file " +
                    dir.file("no/such/data/mol1_bonds.dat") + "\n$");
}

// The records of the molecules given by element rows and Cartesian coordinates.
std::string atom_records(std::vector<std::vector<int>> atypes, std::vector<std::vector<double>> x) {
    std::vector<int> natoms;
    std::vector<int*> atype_rows;
    std::vector<double*> coordinates;
    for (std::size_t m = 0; m < atypes.size(); ++m) {
        natoms.push_back(static_cast<int>(atypes[m].size()));
        atype_rows.push_back(atypes[m].data());
        coordinates.push_back(x[m].data());
    }
    ScratchDir dir;
    FILE* out = std::fopen(dir.file("atoms.pdb").c_str(), "w");
    fileio_detail::write_pdb_molecule_atoms(out, static_cast<int>(natoms.size()), natoms.data(),
                                            atype_rows.data(), coordinates.data());
    std::fclose(out);
    return read_file(dir.file("atoms.pdb"));
}

// Symbols right-justified in both places, an unknown element as X, the counter restarting with
// the second molecule, coordinates rounded to their columns.
TEST(PdbMoleculeAtoms, RecordsFollowTheColumnLayout) {
    EXPECT_EQ(atom_records({{kH, kCl}, {kX, kC}}, {{1.5, -2.25, 10.0, -12.3456, 0.0004, 999.9994},
                                                   {0.0, 0.0, 0.0, 123.4564, -45.0, 7.0}}),
              read_file(test_support::golden("pdb_write/records.pdb")));
}

TEST(PdbMoleculeAtoms, SerialRestartsAfter99999AndTheNameCounterCyclesThroughFF) {
    const std::string text =
        atom_records({std::vector<int>(100001, kC)}, {std::vector<double>(3 * 100001, 1.0)});
    ASSERT_EQ(text.size(), 81u * 100001);  // records of 80 characters
    // Columns 7 to 16: the serial number, a blank and the atom name.
    const std::vector<std::pair<int, std::string>> expected = {
        {1, "    1  C1 "},     {10, "   10  CA "},     {16, "   16  C10"},
        {255, "  255  CFF"},   {256, "  256  C1 "},    {300, "  300  C2D"},
        {99999, "99999  C27"}, {100000, "    1  C28"}, {100001, "    2  C29"}};
    for (const auto& [atom, columns] : expected)
        EXPECT_EQ(text.substr(81 * (atom - 1) + 6, 10), columns) << "atom " << atom;
}

}  // namespace
