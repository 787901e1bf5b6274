// PDB and XYZ readers: recognition rules, fixed columns read safely on short lines, the
// CRYST1 cell and fractional coordinates, and round trips through the writers.
#include <gtest/gtest.h>

#include <string>

#include "fileio.h"
#include "test_support.h"

namespace {

using test_support::ScratchDir;
using test_support::test_data;
using test_support::write_file;

std::string read_pdb_capturing_stdout(FileIO& store, const std::string& path) {
    testing::internal::CaptureStdout();
    store.read_data_pdb(path.c_str());
    return testing::internal::GetCapturedStdout();
}

void expect_atom(const FileIO& store, int k, int row, double x, double y, double z) {
    EXPECT_EQ(store.cif_atypes[k], row) << "atom " << k;
    EXPECT_DOUBLE_EQ(store.cif_x[3 * k], x) << "atom " << k;
    EXPECT_DOUBLE_EQ(store.cif_x[3 * k + 1], y) << "atom " << k;
    EXPECT_DOUBLE_EQ(store.cif_x[3 * k + 2], z) << "atom " << k;
}

// ----- PDB -----

TEST(PdbReader, ReadsAtomRecordsByTheirColumnsAndTheCellRecord) {
    FileIO store;
    const std::string out = read_pdb_capturing_stdout(store, test_data("readers/fragment.pdb"));
    EXPECT_EQ(out,
              "  natoms = 5\n"
              "  Cell lattice a = 10\n"
              "  Cell lattice b = 12\n"
              "  Cell lattice c = 15\n"
              "  Cell lattice alpha = 90\n"
              "  Cell lattice beta  = 90\n"
              "  Cell lattice gamma = 90\n");
    ASSERT_EQ(store.natoms_cif, 5);
    // A remark that mentions ATOM counts as an atom; HETATM records do not.
    expect_atom(store, 0, -1, 0, 0, 0);
    expect_atom(store, 1, 6, 1.0, 2.4, 3.0);     // " C1 ": columns 13-14 " C"
    expect_atom(store, 2, 26, 5.0, 6.0, 7.5);    // "FE  "
    expect_atom(store, 3, 17, -2.5, 1.2, 0.75);  // "CL1 "
    expect_atom(store, 4, 6, 2.0, 0, 0);         // cut after x: y and z read as blank

    const double cell[6] = {10, 12, 15, 90, 90, 90};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(store.cell_latt[i], cell[i]);
    const double fractions[15] = {0,   0,     0,   0.1,  0.2, 0.2, 0.5, 0.5,
                                  0.5, -0.25, 0.1, 0.05, 0.2, 0,   0};
    for (int i = 0; i < 15; ++i) EXPECT_NEAR(store.cif_x_s[i], fractions[i], 1e-12) << i;
}

TEST(PdbReader, LastCellRecordWinsAndNoCellKeepsTheStoredOne) {
    ScratchDir dir;
    const std::string atom =
        "ATOM      1  N   MOL     1       4.000   3.000   2.000  1.00  0.00           N\n";
    write_file(dir.file("two_cells.pdb"),
               "CRYST1    5.000    5.000    5.000  90.00  90.00  90.00 P 1           1\n" + atom +
                   "CRYST1    8.000    6.000    4.000  90.00  90.00  90.00 P 1           1\n");
    FileIO twice;
    read_pdb_capturing_stdout(twice, dir.file("two_cells.pdb"));
    EXPECT_EQ(twice.cell_latt[0], 8.0);
    EXPECT_NEAR(twice.cif_x_s[0], 0.5, 1e-12);
    EXPECT_NEAR(twice.cif_x_s[1], 0.5, 1e-12);
    EXPECT_NEAR(twice.cif_x_s[2], 0.5, 1e-12);

    write_file(dir.file("no_cell.pdb"), atom + "ATOM\n");
    FileIO kept;
    double lengths[3] = {16, 12, 8};
    kept.set_cell_lattice(lengths, 90, 90, 90);
    EXPECT_EQ(read_pdb_capturing_stdout(kept, dir.file("no_cell.pdb")), "  natoms = 2\n");
    EXPECT_EQ(kept.cell_latt[0], 16.0);
    EXPECT_NEAR(kept.cif_x_s[0], 0.25, 1e-12);
    EXPECT_NEAR(kept.cif_x_s[2], 0.25, 1e-12);
    expect_atom(kept, 1, -1, 0, 0, 0);  // a bare "ATOM" line: every column blank
}

TEST(PdbReader, FileWithoutAtomsGivesNoAtoms) {
    ScratchDir dir;
    write_file(dir.file("empty.pdb"), "");
    FileIO store;
    EXPECT_EQ(read_pdb_capturing_stdout(store, dir.file("empty.pdb")), "  natoms = 0\n");
    EXPECT_EQ(store.natoms_cif, 0);
}

TEST(PdbReaderDeathTest, UnreadableFileEndsWithStatus255) {
    FileIO store;
    EXPECT_EXIT(store.read_data_pdb("/nonexistent/cell.pdb"), testing::ExitedWithCode(255),
                "Failed to open input file \"/nonexistent/cell.pdb\"\n");
}

// The PDB written from a crystal reads back as the same atoms, molecule by molecule, and the
// same cell, to the precision printed. Returns the number of atoms compared.
int expect_pdb_round_trip(const std::string& cif) {
    ScratchDir dir;
    FileIO writer;
    testing::internal::CaptureStdout();
    writer.write_cif2pdb(cif.c_str(), dir.file("cell.pdb").c_str(), false, false);
    FileIO reader;
    reader.read_data_pdb(dir.file("cell.pdb").c_str());
    testing::internal::GetCapturedStdout();

    int total = 0;
    for (int m = 0; m < writer.nmols; ++m) total += writer.mol_natoms[m];
    EXPECT_EQ(reader.natoms_cif, total);
    if (reader.natoms_cif != total) return 0;
    int k = 0;
    for (int m = 0; m < writer.nmols; ++m) {
        for (int i = 0; i < writer.mol_natoms[m]; ++i, ++k) {
            EXPECT_EQ(reader.cif_atypes[k], writer.mol_atypes[m][i]) << "atom " << k;
            for (int d = 0; d < 3; ++d) {
                EXPECT_NEAR(reader.cif_x[3 * k + d], writer.mol_x[m][3 * i + d], 5e-4);
                EXPECT_NEAR(reader.cif_x_s[3 * k + d], writer.mol_x_s[m][3 * i + d], 5e-4);
            }
        }
    }
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(reader.cell_latt[i], writer.cell_latt[i], 5e-4);
    for (int i = 3; i < 6; ++i) EXPECT_NEAR(reader.cell_latt[i], writer.cell_latt[i], 5e-3);
    return k;
}

TEST(PdbReader, RoundTripOfAConvertedCrystal) {
    EXPECT_EQ(expect_pdb_round_trip(test_data("readers/hcl_p-1.cif")), 4);  // two HCl molecules
}

TEST(PdbReader, RoundTripOfADatabaseCrystal) {
    SKIP_WITHOUT_SHARED_CIFS();
    EXPECT_GT(expect_pdb_round_trip(test_support::shared_cif("cod_2007325_cocrystal.cif")), 100);
}

// ----- XYZ -----

TEST(XyzReader, ReadsSymbolsAndCoordinates) {
    FileIO store;
    store.read_data_xyz(test_data("readers/methanol.xyz").c_str());
    ASSERT_EQ(store.natoms_cif, 6);
    expect_atom(store, 0, 6, -0.0467, 0.6630, 0.0);
    expect_atom(store, 1, 8, -0.0467, -0.7563, 0.0);
    expect_atom(store, 3, 1, 0.4385, 1.0754, 0.8875);  // leading blanks, a fifth field
    expect_atom(store, 5, 1, 0.8648, -1.0659, 0.0);
    EXPECT_EQ(store.cif_x_s, nullptr);
}

TEST(XyzReader, FieldRules) {
    struct Case {
        const char* line;
        int row;
        double z;
    } cases[] = {
        {"C 0.0 0.0 1.5", 6, 1.5},
        {"C \t 0.0 0.0 1.5", 6, 0.0},   // the tab is a field of its own
        {"C\t0.0\t0.0\t1.5", -1, 0.0},  // one field: tabs do not separate
        {"\t  cl 1 2 3", 17, 3.0},
        {"C1 0.0 0.0 1.5", -1, 1.5},
        {"Fe 1 2", 26, 0.0},  // missing fields read as 0
        {"", -1, 0.0},
    };
    ScratchDir dir;
    for (const auto& c : cases) {
        write_file(dir.file("one.xyz"), std::string("1\ncomment\n") + c.line + "\n");
        FileIO store;
        store.read_data_xyz(dir.file("one.xyz").c_str());
        EXPECT_EQ(store.cif_atypes[0], c.row) << c.line;
        EXPECT_EQ(store.cif_x[2], c.z) << c.line;
    }
}

TEST(XyzReader, ShortFileAndNegativeCount) {
    ScratchDir dir;
    write_file(dir.file("short.xyz"), "3\ncomment\nO 1 2 3\n");
    FileIO short_file;
    short_file.read_data_xyz(dir.file("short.xyz").c_str());
    ASSERT_EQ(short_file.natoms_cif, 3);
    expect_atom(short_file, 0, 8, 1, 2, 3);
    expect_atom(short_file, 1, -1, 0, 0, 0);
    expect_atom(short_file, 2, -1, 0, 0, 0);

    write_file(dir.file("negative.xyz"), "-4\ncomment\nO 1 2 3\n");
    FileIO negative;
    negative.read_data_xyz(dir.file("negative.xyz").c_str());
    EXPECT_EQ(negative.natoms_cif, 0);
}

TEST(XyzReader, WrittenFileReadsBack) {
    ScratchDir dir;
    int atypes[3] = {17, 1, 92};
    double x[9] = {-1.25, 0.5, 3.75, 10.0000000001, -0.0000000002, 7.0, 0.1, 0.2, 0.3};
    FileIO writer;
    writer.write_data_xyz(dir.file("round.xyz").c_str(), 3, atypes, x);
    FileIO reader;
    reader.read_data_xyz(dir.file("round.xyz").c_str());
    ASSERT_EQ(reader.natoms_cif, 3);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(reader.cif_atypes[i], atypes[i]);
    for (int i = 0; i < 9; ++i) EXPECT_NEAR(reader.cif_x[i], x[i], 5e-11);
}

TEST(XyzReaderDeathTest, UnreadableFileEndsWithStatus255) {
    FileIO store;
    EXPECT_EXIT(store.read_data_xyz("/nonexistent/mol.xyz"), testing::ExitedWithCode(255),
                "Failed to open input file \"/nonexistent/mol.xyz\"\n");
}

}  // namespace
