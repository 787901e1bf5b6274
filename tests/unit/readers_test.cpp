// Molecule file readers (MDL, PDB, XYZ), the molfile source of the crystal pipeline, the
// duplicate-molecule checks and the molecule files written beside them.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <sstream>
#include <string>
#include <tuple>
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
using test_support::write_file;

std::string stdout_of(const std::function<void()>& run) {
    testing::internal::CaptureStdout();
    run();
    return testing::internal::GetCapturedStdout();
}

// Molecule slots as the crystal pipeline allocates them, and crystal places for V3000 atoms.
void prepare(FileIO& s, int slots, int crystal_atoms) {
    s.nmols = slots;
    s.mol_natoms = new_store_array<int>(slots);
    s.mol_atypes = new_store_array<int*>(slots);
    s.mol_x = new_store_array<double*>(slots);
    s.mol_x_s = new_store_array<double*>(slots);
    s.natoms_cif = crystal_atoms;
    s.cif_atypes = new_store_array<int>(crystal_atoms);
    s.cif_x = new_store_array<double>(3 * crystal_atoms);
}

// What a read left in the store: the printed text, the crystal atoms (element row, Cartesian
// and, when present, fractional coordinates), the cell, each molecule slot (row, Cartesian),
// and the V3000 atom index and last tokens.
std::string store_text(const FileIO& s, const std::string& printed) {
    std::string text = printed + "crystal " + std::to_string(s.natoms_cif);
    char value[40];
    auto add = [&](double v, bool fraction) {
        std::snprintf(value, sizeof value, fraction ? " %.12f" : " %.15g", v);
        text += value;
    };
    for (int k = 0; k < s.natoms_cif; ++k) {
        text += "\n" + std::to_string(s.cif_atypes[k]);
        for (int d = 0; d < 3; ++d) add(s.cif_x[3 * k + d], false);
        for (int d = 0; s.cif_x_s && d < 3; ++d) add(s.cif_x_s[3 * k + d], true);
    }
    text += "\ncell";
    for (double v : s.cell_latt) add(v, false);
    for (int m = 0; m < s.nmols; ++m) {
        text += "\nslot " + std::to_string(m) + ": " + std::to_string(s.mol_natoms[m]);
        for (int k = 0; k < s.mol_natoms[m]; ++k) {
            text += "\n" + std::to_string(s.mol_atypes[m][k]);
            for (int d = 0; d < 3; ++d) add(s.mol_x[m][3 * k + d], false);
        }
    }
    text += "\nindex";
    for (const auto& [number, position] : s.mdl_atom_index)
        text += " " + std::to_string(number) + ">" + std::to_string(position);
    text += "\ntokens";
    for (const auto& token : s.mdl_tokens) text += " " + token;
    return text + "\n";
}

// Each input is read into slot 1 of two, with four crystal places, an atom index that a V3000
// read clears, block warnings on, and a cell that a PDB file without CRYST1 keeps. Inputs: V2000
// symbols and counts lines; a V3000 file with nested tables, continuations, skipped blocks and
// an R# atom; V3000 atom-block limits; PDB atom and cell rules; XYZ field rules; and the
// expected MOL and XYZ writer outputs, which read back as the atoms written.
TEST(Readers, StoreAfterReadingMatchesExpectedText) {
    for (const std::string name :
         {"symbols.mol", "counts_6.mol", "counts_14.mol", "chiral_2.mol", "chiral_minus1.mol",
          "negative_count.mol", "nested_v3000.mol", "v3000_bad_property.mol", "v3000_beyond.mol",
          "fragment.pdb", "two_cells.pdb", "no_cell.pdb", "empty.pdb", "fields.xyz", "negative.xyz",
          "../../golden/writers/crystal.mol", "../../golden/writers/crystal.xyz"}) {
        FileIO s;
        prepare(s, 2, 4);
        s.mdl_atom_index[42] = 42;
        s.print_details = true;
        double lengths[3] = {16, 12, 8};
        s.set_cell_lattice(lengths, 90, 90, 90);
        const std::string path = test_support::test_data("readers/" + name);
        const std::string printed = stdout_of([&] {
            if (name.find(".mol") != std::string::npos) s.read_data_mol(path.c_str(), 1, false);
            if (name.find(".pdb") != std::string::npos) s.read_data_pdb(path.c_str());
            if (name.find(".xyz") != std::string::npos) s.read_data_xyz(path.c_str());
        });
        const std::string expected = golden("readers/" + name.substr(name.rfind('/') + 1));
        EXPECT_EQ(store_text(s, printed), read_file(expected + ".txt")) << name;
    }
}

// Nested tables are read without recursion, so no depth can exhaust the stack.
TEST(MdlV3000, DeepNestingAndMissingCrystalArrays) {
    std::string deep;
    for (int i = 0; i < 100000; ++i) deep += "M  V30 BEGIN CTAB\nM  V30 COUNTS 0 0 0 0 0\n";
    for (int i = 0; i < 100000; ++i) deep += "M  V30 END CTAB\n";
    for (bool closed : {true, false}) {  // a file must end with "M  END"
        FileIO s;
        prepare(s, 1, 0);
        std::istringstream in(closed ? deep + "M  END\n" : deep);
        EXPECT_EQ(s.ReadV3000Block(in, 0, false), closed);
    }
    FileIO bare;  // without crystal arrays no V3000 atom is stored
    std::istringstream atom("M  V30 1 C 1 2 3 0\nM  V30 END ATOM\n");
    EXPECT_FALSE(bare.ReadAtomBlock(atom));
    EXPECT_EQ(bare.cif_atypes, nullptr);
}

// Cell vectors a = (10, 0, 0), b = (0, 8, 6), c = (0, 0, 7): |b| = 10 and alpha = acos(0.6).
TEST(MolfilePipeline, MoleculesAndCellFromMolfilesAndCellVectors) {
    char water[] = TEST_DATA_DIR "/readers/water.mol", hcl[] = TEST_DATA_DIR "/readers/hcl.mol",
         methane[] = TEST_DATA_DIR "/readers/methane.mol";
    char* names[3] = {water, hcl, methane};
    const double rows[3][3] = {{10, 0, 0}, {0, 8, 6}, {0, 0, 7}};
    FileIO s;
    std::memcpy(s.cell_vectors, rows, sizeof rows);
    s.input_kind = 1;
    s.nmols = 3;
    s.mol_file_names = names;
    std::string expected;
    for (const char* name : names)
        expected += "Reading molecular file \"" + std::string(name) + "\"... \n";
    EXPECT_EQ(stdout_of([&] { s.read_crystal_strcuture_files(true, false); }), expected);
    // Degrees with the 14-digit pi: a right angle comes out a hair below 90.
    const double right_angle = std::acos(0.0) * 180.0 / 3.1415926535898;
    EXPECT_LT(right_angle, 90.0);
    EXPECT_EQ(std::vector<double>(s.cell_latt, s.cell_latt + 6),
              (std::vector<double>{10, 10, 7, std::acos(0.6) * 180.0 / 3.1415926535898, right_angle,
                                   right_angle}));
    // One cell as a supercell PDB: each atom at the lattice times its fractions.
    ScratchDir dir;
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    mmutil::pin_clock(1700000000);  // 2023-11-14 22:13:20 UTC
    s.write_supercell_pdb(dir.file("cell.pdb").c_str(), 3, s.mol_natoms, s.mol_atypes, s.mol_x_s, 1,
                          1, 1);
    mmutil::unpin_clock();
    EXPECT_EQ(read_file(dir.file("cell.pdb")), read_file(golden("readers/molfile_cell_1x1x1.pdb")));
}

// Numbered molfiles from a prefix (none without molecules); without a prefix, the supercell,
// each molecule under its own name and the unit cell, in a data folder created first.
TEST(MolFiles, EveryMoleculeFromAPrefixOrIntoTheDataFolder) {
    int natoms[2] = {1, 2}, iron[1] = {26}, hcl[2] = {1, 17};
    double iron_x[3] = {12.3456, -0.0012, 99.9999}, hcl_x[6] = {0.5, 0.25, -1, 1.7654, 0.25, -1};
    double iron_f[3] = {0.1, 0.2, 0.3}, hcl_f[6] = {0.05, 0.025, 0.9, 0.17654, 0.025, 0.9};
    int* atypes[2] = {iron, hcl};
    double *x[2] = {iron_x, hcl_x}, *f[2] = {iron_f, hcl_f};
    char iron_name[] = "iron.mol", hcl_name[] = "hcl.mol";
    char* names[2] = {iron_name, hcl_name};
    FileIO s, none;
    s.nmols = 2;
    s.mol_natoms = natoms;
    s.mol_atypes = atypes;
    s.mol_x = x;
    s.mol_x_s = f;
    s.mol_file_names = names;
    ScratchDir dir;
    s.data_dir = dir.file("data");
    s.supercell_n[0] = 2;
    mmutil::pin_clock(1700000000);
    EXPECT_EQ(none.write_mol_files(dir.file("none").c_str()), 0);
    s.write_mol_files(dir.file("cell").c_str());
    s.write_mol_files();
    s.write_data_mol(dir.file("iron.mol").c_str(), 1, iron, iron_x);
    s.write_data_mol(dir.file("hcl.mol").c_str(), 2, hcl, hcl_x);
    s.write_unitcell_cif(dir.file("unitcell.cif").c_str(), 2, natoms, atypes, f);
    s.write_supercell_cif(dir.file("supercell.cif").c_str(), 2, natoms, atypes, f, 2, 1, 1);
    mmutil::unpin_clock();
    for (const std::string name : {"iron.mol", "hcl.mol", "unitcell.cif", "supercell.cif"})
        EXPECT_EQ(read_file(dir.file("data/" + name)), read_file(dir.file(name))) << name;
    EXPECT_EQ(read_file(dir.file("cell-01.mol")), read_file(dir.file("iron.mol")));
    EXPECT_EQ(read_file(dir.file("cell-02.mol")), read_file(dir.file("hcl.mol")));
    for (const char* name : {"cell-03.mol", "none-01.mol"})
        EXPECT_FALSE(test_support::file_exists(dir.file(name))) << name;
}

// A PDB written from a crystal reads back as its atoms, molecule by molecule, and its cell, to
// the precision printed. Returns the number of atoms compared.
int expect_pdb_round_trip(const std::string& cif) {
    ScratchDir dir;
    FileIO writer, reader;
    stdout_of([&] {
        writer.write_cif2pdb(cif.c_str(), dir.file("cell.pdb").c_str(), false, false);
        reader.read_data_pdb(dir.file("cell.pdb").c_str());
    });
    int k = 0;
    for (int m = 0; m < writer.nmols; ++m)
        for (int i = 0; i < writer.mol_natoms[m] && k < reader.natoms_cif; ++i, ++k) {
            EXPECT_EQ(reader.cif_atypes[k], writer.mol_atypes[m][i]) << "atom " << k;
            for (int d = 0; d < 3; ++d)
                EXPECT_NEAR(reader.cif_x[3 * k + d], writer.mol_x[m][3 * i + d], 5e-4) << k;
        }
    for (int i = 0; i < 6; ++i)
        EXPECT_NEAR(reader.cell_latt[i], writer.cell_latt[i], i < 3 ? 5e-4 : 5e-3);
    EXPECT_EQ(reader.natoms_cif, k);
    return k;
}

TEST(PdbReader, RoundTripsOfConvertedCrystals) {
    EXPECT_EQ(expect_pdb_round_trip(test_support::test_data("readers/hcl_p-1.cif")), 4);
    SKIP_WITHOUT_SHARED_CIFS();
    EXPECT_GT(expect_pdb_round_trip(test_support::shared_cif("cod_2007325_cocrystal.cif")), 100);
}

// Duplicates need equal atom counts and values at most 0.1 apart, HL also triples within 0.1
// per component. A later copy takes the mark of an earlier equivalent, which a later molecule
// may overwrite; the unique list is the sorted distinct marks, however the caller set them.
TEST(DuplicateCheck, MarksAndUniqueLists) {
    int natoms[5] = {1, 1, 1, 2, 1}, re[5] = {0, 1, 2, 3, 4}, hl[5] = {7, 3, 5, 1, 0};
    int re_unique[5], hl_unique[5];
    double values[5] = {0.0, 0.1, 0.20001, 0.0, 0.15};
    double zero[3] = {0, 0, 0}, edge[3] = {0.1, -0.1, 0}, beyond[3] = {0, 0, 0.10001};
    double* triples[5] = {zero, edge, zero, zero, beyond};
    FileIO s;
    s.nmols = 5;
    s.mol_natoms = natoms;
    s.mol_value = values;
    s.mol_triple = triples;
    s.re_mol_index = re;
    s.re_unique_index = re_unique;
    s.hl_mol_index = hl;
    s.hl_unique_index = hl_unique;
    EXPECT_EQ(stdout_of([&] { s.RE_check_unitcell_same_mols(true); }),
              "**** Check RE Duplicate Molecules in Unit Cell ****\n"
              "  Unit cell molecule indexes:  0 0 2 3 2\n"
              "  Unit cell unique molecule indexes: 0 2 3\n"
              "**** End of Check RE Duplicate Molecules in Unit Cell ****\n");
    EXPECT_EQ(stdout_of([&] { s.HL_check_unitcell_same_mols(true); }),
              "**** Check HL Duplicate Molecules in Unit Cell ****\n"
              "  Unit cell molecule indexes:  7 7 5 1 0\n"
              "  Unit cell unique molecule indexes: 0 1 5 7\n"
              "**** End of Check HL Duplicate Molecules in Unit Cell ****\n");
    EXPECT_EQ(s.re_nunique, 3);
    EXPECT_EQ(s.hl_nunique, 4);
    EXPECT_TRUE(s.RE_mols_if_the_same(1, 4));
    EXPECT_TRUE(s.HL_mols_if_the_same(0, 1));
    EXPECT_FALSE(s.HL_mols_if_the_same(1, 4));
    s.nmols = 1;  // one molecule compares nothing
    re[0] = 4;
    s.RE_check_unitcell_same_mols(false);
    EXPECT_EQ(s.re_nunique, 1);
    EXPECT_EQ(re_unique[0], 4);
}

// Every fatal message of the readers, the molfile source and the duplicate checks; each case
// runs on a store of one molecule slot and 7 crystal atoms after writing its molfile text.
TEST(ReadersDeathTest, EachFatalPathExitsWithItsStatusAndMessage) {
    const std::string header = "\nERROR  transport : fileio : line [0-9]+ : \n";
    const std::string problems = header + "WARNING: Problems reading a MDL file\n";
    const std::string no_counts = problems + "         Cannot read atom and bond count\n";
    const std::string atom = "    0.5000   -1.2500    2.0000 O\n";
    using Run = std::function<void(FileIO&, const char*)>;
    const Run read_slot_0 = [](FileIO& s, const char* p) { s.read_data_mol(p, 0, false); };
    const std::tuple<std::string, Run, int, std::string> cases[] = {
        {"t\n\n\n  1 0\n", read_slot_0, 1,
         no_counts + "         Expected standard 6 character atom and bond count\n"},
        {"name\nprogram\n", read_slot_0, 1, no_counts},
        {"t\n\n\n  1  0  1\n" + atom, read_slot_0, 1,
         header + "WARNING: Problems reading the Count line of an MDL file\n"
                  "         There may be erroneous addition spaces or\n"
                  "         the file may contains Atom Lists, which are ignored\n"},
        {"t\n\n\n  3  0\n" + atom + atom, read_slot_0, 1,  // the count is the crystal's
         problems + "         Not enough atoms to match atom count \\(7\\) in counts line\n"},
        {"t\n\n\n  1  0\n" + atom, [](FileIO& s, const char* p) { s.read_data_mol(p, 1, false); },
         255, "Molecule slot 1 does not exist \\(the store holds 1 molecules\\)"},
        {"", [](FileIO& s, const char*) { s.read_data_mol("/nonexistent/x.mol", 0, true); }, 255,
         "Failed to open input file \"/nonexistent/x.mol\"\n"},
        {"", [](FileIO& s, const char*) { s.read_data_pdb("/nonexistent/x.pdb"); }, 255,
         "Failed to open input file \"/nonexistent/x.pdb\"\n"},
        {"", [](FileIO& s, const char*) { s.read_data_xyz("/nonexistent/x.xyz"); }, 255,
         "Failed to open input file \"/nonexistent/x.xyz\"\n"},
        {"",
         [](FileIO& s, const char*) {
             s.input_kind = 1;
             s.read_crystal_strcuture_files(false, false);
         },
         255, "No file name is set for molecule 1\\."},
        {"", [](FileIO& s, const char*) { s.RE_check_unitcell_same_mols(false); }, 255,
         "The RE duplicate check lacks molecule data for 1 molecules"},
        {"", [](FileIO& s, const char*) { s.HL_check_unitcell_same_mols(false); }, 255,
         "The HL duplicate check lacks molecule data for 1 molecules"},
    };
    ScratchDir dir;
    const std::string path = dir.file("bad.mol");
    for (const auto& [text, run, status, message] : cases) {
        write_file(path, text);
        FileIO s;
        prepare(s, 1, 7);
        EXPECT_EXIT(
            {
                test_support::stdout_to_stderr();
                run(s, path.c_str());
            },
            testing::ExitedWithCode(status), message);
    }
}

// The program has no handler for it; the noexcept wrapper stops GoogleTest's own handler.
TEST(ReadersDeathTest, V2000AtomLineTooShortForItsColumnsTerminatesWithOutOfRange) {
    ScratchDir dir;
    for (const char* line : {"    1.0000", "    1.0000    2.000", "    1.0000    2.0000    3.000",
                             "    1.0000    2.0000    3.0000"}) {
        write_file(dir.file("cut.mol"), std::string("t\n\n\n  1  0\n") + line + "\n");
        FileIO s;
        prepare(s, 1, 0);
        EXPECT_DEATH([&]() noexcept { s.read_data_mol(dir.file("cut.mol").c_str(), 0, false); }(),
                     "out_of_range")
            << line;
    }
}

}  // namespace
