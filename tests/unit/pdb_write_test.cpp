// The PDB writer of the converted cell: the ATOM records molecule by molecule, the serial and
// atom-name numbering, the file of an empty cell, and the output that cannot be opened.
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "fileio.h"
#include "pdb_model.h"
#include "test_support.h"

namespace {

using test_support::read_file;
using test_support::ScratchDir;
using test_support::write_file;

constexpr int kH = 1, kC = 6, kCl = 17;

// Molecules as the pipeline leaves them: per molecule element rows and Cartesian coordinates.
struct Cell {
    std::vector<std::vector<int>> atypes;
    std::vector<std::vector<double>> x;
};

std::vector<std::string> atom_records(const ScratchDir& dir, Cell& cell) {
    std::vector<int> natoms;
    std::vector<int*> atypes;
    std::vector<double*> x;
    for (std::size_t m = 0; m < cell.atypes.size(); ++m) {
        natoms.push_back(static_cast<int>(cell.atypes[m].size()));
        atypes.push_back(cell.atypes[m].data());
        x.push_back(cell.x[m].data());
    }
    const std::string path = dir.file("atoms.pdb");
    FILE* out = std::fopen(path.c_str(), "w");
    fileio_detail::write_pdb_molecule_atoms(out, static_cast<int>(natoms.size()), natoms.data(),
                                            atypes.data(), x.data());
    std::fclose(out);
    std::vector<std::string> lines;
    std::istringstream text(read_file(path));
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
}

Cell one_molecule_of_carbons(int count) {
    return Cell{{std::vector<int>(count, kC)}, {std::vector<double>(3 * count, 1.0)}};
}

TEST(PdbMoleculeAtoms, RecordsFollowTheColumnLayout) {
    ScratchDir dir;
    Cell cell{
        {{kH, kCl}, {-1, kC}},
        {{1.5, -2.25, 10.0, -12.3456, 0.0004, 999.9994}, {0.0, 0.0, 0.0, 123.4564, -45.0, 7.0}}};
    const std::vector<std::string> expected = {
        "ATOM      1  H1  MOL     1       1.500  -2.250  10.000  1.00  0.00           H  ",
        "ATOM      2 Cl2  MOL     1     -12.346   0.000 999.999  1.00  0.00          Cl  ",
        "ATOM      3  X1  MOL     2       0.000   0.000   0.000  1.00  0.00           X  ",
        "ATOM      4  C2  MOL     2     123.456 -45.000   7.000  1.00  0.00           C  ",
    };
    EXPECT_EQ(atom_records(dir, cell), expected);
}

TEST(PdbMoleculeAtoms, NameCounterIsHexadecimalAndCyclesThroughFF) {
    ScratchDir dir;
    Cell cell = one_molecule_of_carbons(300);
    const std::vector<std::string> lines = atom_records(dir, cell);
    ASSERT_EQ(lines.size(), 300u);
    const std::vector<std::pair<int, std::string>> names = {
        {1, " C1 "}, {10, " CA "}, {16, " C10"}, {255, " CFF"}, {256, " C1 "}, {300, " C2D"}};
    for (const auto& [serial, name] : names)
        EXPECT_EQ(lines[serial - 1].substr(12, 4), name) << "atom " << serial;
}

TEST(PdbMoleculeAtoms, CounterRestartsPerMoleculeAndResiduesCount) {
    ScratchDir dir;
    Cell cell{{{kC, kC}, {kC}, {kH}}, {std::vector<double>(6, 0.0), {0, 0, 0}, {0, 0, 0}}};
    const std::vector<std::string> lines = atom_records(dir, cell);
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[1].substr(6, 20), "    2  C2  MOL     1");
    EXPECT_EQ(lines[2].substr(6, 20), "    3  C1  MOL     2");
    EXPECT_EQ(lines[3].substr(6, 20), "    4  H1  MOL     3");
}

TEST(PdbMoleculeAtoms, SerialRestartsAfter99999) {
    ScratchDir dir;
    Cell cell = one_molecule_of_carbons(100001);
    const std::vector<std::string> lines = atom_records(dir, cell);
    ASSERT_EQ(lines.size(), 100001u);
    EXPECT_EQ(lines[99998].substr(6, 5), "99999");
    EXPECT_EQ(lines[99999].substr(6, 5), "    1");
    EXPECT_EQ(lines[100000].substr(6, 5), "    2");
}

TEST(WriteCif2Pdb, EmptyCellWritesTheFrameOnly) {
    ScratchDir dir;
    write_file(dir.file("empty.cif"),
               "data_empty\n"
               "_cell_length_a 12.3456(7)\n_cell_length_b 7.5\n_cell_length_c 5.0004\n"
               "_cell_angle_alpha 90\n_cell_angle_beta 101.254\n_cell_angle_gamma 90\n");
    FileIO store;
    store.write_cif2pdb(dir.file("empty.cif").c_str(), dir.file("empty.pdb").c_str(), false, false);
    EXPECT_EQ(read_file(dir.file("empty.pdb")),
              "TITLE     empty\n"
              "REMARK    TESKA generated pdf file\n"
              "CRYST1   12.346    7.500    5.000  90.00 101.25  90.00 P 1           1\n"
              "MODEL        1\n"
              "TER\n"
              "ENDMDL\n");
}

TEST(WriteCif2PdbDeathTest, OutputThatCannotBeOpenedIsReportedAfterReading) {
    ScratchDir dir;
    write_file(dir.file("one.cif"),
               "data_one\n_cell_length_a 5\n_cell_length_b 5\n_cell_length_c 5\n"
               "_cell_angle_alpha 90\n_cell_angle_beta 90\n_cell_angle_gamma 90\n"
               "loop_\n_symmetry_equiv_pos_as_xyz\nx,y,z\n\n"
               "loop_\n_atom_site_label\n_atom_site_type_symbol\n_atom_site_fract_x\n"
               "_atom_site_fract_y\n_atom_site_fract_z\nC1 C 0.5 0.5 0.5\n");
    const std::string output = dir.file("missing/one.pdb");
    FileIO store;
    EXPECT_EXIT(store.write_cif2pdb(dir.file("one.cif").c_str(), output.c_str(), false, false),
                testing::ExitedWithCode(255), "^Failed to open output file \"" + output + "\"\n$");
    EXPECT_EXIT(store.write_cif2pdb(dir.file("none.cif").c_str(), output.c_str(), false, false),
                testing::ExitedWithCode(255), "^Failed to open input file \"");
}

}  // namespace
