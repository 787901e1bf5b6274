// MDL molfile reader: V2000 atom block and its failure table, the V3000 line and block
// grammar (continuations, nesting, skipped blocks, R groups, properties).
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "fileio.h"
#include "store_arrays.h"
#include "test_support.h"

namespace {

using fileio_detail::new_store_array;
using test_support::ScratchDir;
using test_support::test_data;
using test_support::write_file;

// Molecule slots as the crystal pipeline allocates them.
void give_molecule_slots(FileIO& store, int n) {
    store.nmols = n;
    store.mol_natoms = new_store_array<int>(n);
    store.mol_atypes = new_store_array<int*>(n);
    store.mol_x = new_store_array<double*>(n);
    store.mol_x_s = new_store_array<double*>(n);
}

// Crystal arrays for n atoms, which the V3000 branch fills.
void give_crystal_arrays(FileIO& store, int n) {
    store.natoms_cif = n;
    store.cif_atypes = new_store_array<int>(n);
    store.cif_x = new_store_array<double>(3 * n);
}

const char kHeader[] = "test\n  cif2pdb 0101250000 3D\n\n";

std::string atom_line(double x, double y, double z, const char* symbol) {
    char line[96];
    std::snprintf(line, sizeof line, "%10.4f%10.4f%10.4f %-3s 0  0  0  0  0  0  0  0  0  0  0  0",
                  x, y, z, symbol);
    return line;
}

// A V2000 molfile of the given counts line and atom lines.
std::string v2000(const std::string& counts, const std::vector<std::string>& atoms) {
    std::string text = kHeader + counts + "\n";
    for (const auto& atom : atoms) text += atom + "\n";
    return text + "M  END\n";
}

// Death tests match the error stream: send standard output there too.
void stdout_to_stderr() {
    std::fflush(stdout);
    dup2(fileno(stderr), fileno(stdout));
}

std::string read_capturing_stdout(FileIO& store, const std::string& path, int slot,
                                  bool progress = false) {
    testing::internal::CaptureStdout();
    store.read_data_mol(path.c_str(), slot, progress);
    return testing::internal::GetCapturedStdout();
}

// ----- V2000 -----

TEST(MdlV2000, ReadsAtomsIntoTheSlotAndIgnoresBondsAndProperties) {
    FileIO store;
    give_molecule_slots(store, 2);
    const std::string out = read_capturing_stdout(store, test_data("readers/hcl.mol"), 1);
    EXPECT_EQ(out, "");
    ASSERT_EQ(store.mol_natoms[1], 2);
    EXPECT_EQ(store.mol_atypes[1][0], 1);
    EXPECT_EQ(store.mol_atypes[1][1], 17);
    const double expected[6] = {1.0, 1.0, 1.0, 2.27, 1.0, 1.0};
    for (int i = 0; i < 6; ++i) EXPECT_DOUBLE_EQ(store.mol_x[1][i], expected[i]) << i;
    for (int i = 0; i < 6; ++i) EXPECT_EQ(store.mol_x_s[1][i], 0.0);
    EXPECT_EQ(store.mol_natoms[0], 0);  // other slots untouched
    EXPECT_EQ(store.mol_atypes[0], nullptr);
}

TEST(MdlV2000, SymbolColumnsGiveElementRows) {
    struct Case {
        std::string line;
        int row;
    } cases[] = {
        {atom_line(1, 2, 3, "C"), 6},
        {atom_line(1, 2, 3, "CL"), 17},
        {atom_line(1, 2, 3, "cl"), 17},
        {atom_line(1, 2, 3, "Cl1"), 17},
        {atom_line(1, 2, 3, "Xx"), -1},
        {atom_line(1, 2, 3, "H"), 1},
        {"    1.0000    2.0000    3.0000 ", -1},  // 31 columns: an empty symbol
    };
    ScratchDir dir;
    for (const auto& c : cases) {
        FileIO store;
        give_molecule_slots(store, 1);
        write_file(dir.file("one.mol"), v2000("  1  0  0  0  0  0  0  0  0  0999 V2000", {c.line}));
        store.read_data_mol(dir.file("one.mol").c_str(), 0, false);
        EXPECT_EQ(store.mol_atypes[0][0], c.row) << c.line;
        EXPECT_DOUBLE_EQ(store.mol_x[0][2], 3.0);
    }
}

TEST(MdlV2000, CountsLineEdgeCases) {
    ScratchDir dir;
    const std::string atom = atom_line(0.5, -1.25, 2, "O");
    struct Case {
        const char* counts;
        int natoms;
        const char* printed;
    } cases[] = {
        {"  1  0", 1, ""},          // exactly 6 characters: no chiral flag, no atom lists
        {"  1  0  0    2", 1, ""},  // 14 characters: the chiral flag is not examined
        {"  1  0  0     2  0", 1,
         "WARNING: The Chiral Flag should be either 0 or 1. The value of 2 will be ignored.\n"},
        {"  1  0  0    -1  0", 1,
         "WARNING: The Chiral Flag should be either 0 or 1. The value of 4294967295 will be "
         "ignored.\n"},
        {" -2  0  0  0  0  0  0  0  0  0999 V2000", 0, ""},  // negative count: no atoms
    };
    for (const auto& c : cases) {
        FileIO store;
        give_molecule_slots(store, 1);
        write_file(dir.file("counts.mol"), v2000(c.counts, {atom}));
        EXPECT_EQ(read_capturing_stdout(store, dir.file("counts.mol"), 0), c.printed) << c.counts;
        EXPECT_EQ(store.mol_natoms[0], c.natoms) << c.counts;
    }
}

TEST(MdlV2000, WrittenMolfileReadsBackTheSameAtoms) {
    ScratchDir dir;
    FileIO writer;
    int atypes[4] = {6, 17, 1, 26};
    double x[12] = {0.0, 1.5, -2.25, 12.3456, -0.0012, 3.0, -1.0, -2.0, -3.0, 99.9999, 0.5, 7.125};
    writer.write_data_mol(dir.file("round.mol").c_str(), 4, atypes, x);

    FileIO reader;
    give_molecule_slots(reader, 1);
    reader.read_data_mol(dir.file("round.mol").c_str(), 0, false);
    ASSERT_EQ(reader.mol_natoms[0], 4);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(reader.mol_atypes[0][i], atypes[i]) << i;
    for (int i = 0; i < 12; ++i) EXPECT_NEAR(reader.mol_x[0][i], x[i], 5e-5) << i;
}

// ----- Failure table -----

TEST(MdlFailureDeathTest, UnreadableFileEndsWithStatus255) {
    FileIO store;
    give_molecule_slots(store, 1);
    EXPECT_EXIT(store.read_data_mol("/nonexistent/dir/x.mol", 0, true),
                testing::ExitedWithCode(255),
                "Failed to open input file \"/nonexistent/dir/x.mol\"\n");
}

// Format errors: the header and the message on standard output, status 1.
TEST(MdlFailureDeathTest, FormatErrorsEndWithStatus1) {
    const std::string prefix = "\nERROR  transport : fileio : line [0-9]+ : \n";
    const std::string two_atoms = atom_line(0, 0, 0, "C") + "\n" + atom_line(1, 0, 0, "C") + "\n";
    struct Case {
        std::string text;
        std::string message;
    } cases[] = {
        {std::string(kHeader) + "  1 0\n",  // 5 characters
         "WARNING: Problems reading a MDL file\n"
         "         Cannot read atom and bond count\n"
         "         Expected standard 6 character atom and bond count\n"},
        {"name\nprogram\n",
         "WARNING: Problems reading a MDL file\n"
         "         Cannot read atom and bond count\n"},
        {v2000("  1  0  1  0  0  0  0  0  0  0999 V2000", {atom_line(0, 0, 0, "C")}),
         "WARNING: Problems reading the Count line of an MDL file\n"
         "         There may be erroneous addition spaces or\n"
         "         the file may contains Atom Lists, which are ignored\n"},
        // The count printed is the store's crystal atom count (7), not the file's (3).
        {std::string(kHeader) + "  3  0  0  0  0  0  0  0  0  0999 V2000\n" + two_atoms,
         "WARNING: Problems reading a MDL file\n"
         "         Not enough atoms to match atom count \\(7\\) in counts line\n"},
    };
    ScratchDir dir;
    for (const auto& c : cases) {
        write_file(dir.file("bad.mol"), c.text);
        FileIO store;
        give_molecule_slots(store, 1);
        store.natoms_cif = 7;
        EXPECT_EXIT(
            {
                stdout_to_stderr();
                store.read_data_mol(dir.file("bad.mol").c_str(), 0, false);
            },
            testing::ExitedWithCode(1), prefix + c.message)
            << c.text;
    }
}

// The program has no handler for it; the noexcept wrapper stops GoogleTest's own handler.
TEST(MdlFailureDeathTest, AtomLineTooShortForItsColumnsTerminatesWithOutOfRange) {
    ScratchDir dir;
    for (const char* line : {"    1.0000", "    1.0000    2.000", "    1.0000    2.0000    3.000",
                             "    1.0000    2.0000    3.0000"}) {
        write_file(dir.file("cut.mol"), v2000("  1  0  0  0  0  0  0  0  0  0999 V2000", {line}));
        FileIO store;
        give_molecule_slots(store, 1);
        EXPECT_DEATH(
            [&]() noexcept { store.read_data_mol(dir.file("cut.mol").c_str(), 0, false); }(),
            "out_of_range")
            << line;
    }
}

TEST(MdlFailureDeathTest, MissingMoleculeSlotEndsWithStatus255) {
    FileIO store;
    give_molecule_slots(store, 2);
    const std::string path = test_data("readers/water.mol");
    EXPECT_EXIT(store.read_data_mol(path.c_str(), 2, false), testing::ExitedWithCode(255),
                "Molecule slot 2 does not exist \\(the store holds 2 molecules\\)");
}

// ----- V3000 lines -----

struct LineRead {
    bool ok;
    std::vector<std::string> tokens;
};

LineRead read_v3000_line(const std::string& text) {
    FileIO store;
    std::istringstream in(text);
    LineRead result;
    result.tokens = {"previous"};
    result.ok = store.ReadV3000Line(in, result.tokens);
    return result;
}

using Tokens = std::vector<std::string>;

TEST(MdlV3000Line, RecognisesV30AndEndLines) {
    EXPECT_EQ(read_v3000_line("M  V30 BEGIN CTAB\n").tokens, (Tokens{"M", "V30", "BEGIN", "CTAB"}));
    EXPECT_TRUE(read_v3000_line("M  V30 BEGIN CTAB\n").ok);
    EXPECT_TRUE(read_v3000_line("M  END").ok);
    EXPECT_TRUE(read_v3000_line("M\tV30\r\n").ok);
    for (const char* bad :
         {"M\n", "X  V30 BEGIN CTAB\n", "M  V31 BEGIN\n", "M  CHG  1   2  -1\n", "\n"})
        EXPECT_FALSE(read_v3000_line(bad).ok) << bad;
    const LineRead at_end = read_v3000_line("");
    EXPECT_FALSE(at_end.ok);
    EXPECT_EQ(at_end.tokens, Tokens{"previous"});  // nothing read, list untouched
}

TEST(MdlV3000Line, ContinuationsDropTheFirstThreeTokensOfEachFollowingLine) {
    const LineRead chain = read_v3000_line(
        "M  V30 4 Cl -1.7000 0.1000 0.3000 -\nM  V30 4 MASS=35-\nM  V30 4 CHG=0\nM  END\n");
    EXPECT_TRUE(chain.ok);
    EXPECT_EQ(chain.tokens, (Tokens{"M", "V30", "4", "Cl", "-1.7000", "0.1000", "0.3000", "-",
                                    "MASS=35-", "CHG=0"}));
    const LineRead attached = read_v3000_line("M  V30 2 O 1.2300-\nM  V30 2 0.5 -0.25 0\n");
    EXPECT_EQ(attached.tokens, (Tokens{"M", "V30", "2", "O", "1.2300-", "0.5", "-0.25", "0"}));
    // A minus that is not the last character does not continue the line.
    EXPECT_EQ(read_v3000_line("M  V30 a -\r\nM  V30 x b\n").tokens, (Tokens{"M", "V30", "a", "-"}));
}

TEST(MdlV3000Line, FailedContinuationLeavesTheFirstLineTokens) {
    for (const char* text : {"M  V30 a b-\n", "M  V30 a b-\nM  V30 x c-\nnot a V3000 line\n",
                             "M  V30 a b-\nM  V30 x c-\n"}) {
        const LineRead read = read_v3000_line(text);
        EXPECT_FALSE(read.ok) << text;
        EXPECT_EQ(read.tokens, (Tokens{"M", "V30", "a", "b-"})) << text;
    }
}

TEST(MdlV3000Line, LinesBeyondTheBufferFail) {
    const std::string fits = "M  V30 " + std::string(32767 - 7, 'x');
    EXPECT_TRUE(read_v3000_line(fits + "\n").ok);
    EXPECT_FALSE(read_v3000_line(fits + "y\nM  END\n").ok);
}

// ----- V3000 blocks -----

bool read_v3000_block(FileIO& store, const std::string& text) {
    std::istringstream in(text);
    return store.ReadV3000Block(in, 0, false);
}

TEST(MdlV3000Block, NestedFileStoresAtomsInTheCrystalArrays) {
    FileIO store;
    give_molecule_slots(store, 1);
    give_crystal_arrays(store, 4);
    store.cif_atypes[2] = 99;  // the R# atom's position must stay unwritten
    for (int i = 6; i < 9; ++i) store.cif_x[i] = 99.0;
    store.mdl_atom_index[42] = 42;  // cleared before a V3000 file is read

    const std::string out = read_capturing_stdout(store, test_data("readers/nested_v3000.mol"), 0);
    EXPECT_EQ(out, "WARNING: A molecule contains an R group which is not implemented!\n");

    // The inner table re-counts the slot and overwrites positions 0 and 1.
    EXPECT_EQ(store.mol_natoms[0], 2);
    const int rows[4] = {7, 1, 99, 17};
    const double xyz[12] = {5, 5, 5, 5.5, 5, 5, 99, 99, 99, -1.7, 0.1, 0.3};
    for (int i = 0; i < 4; ++i) EXPECT_EQ(store.cif_atypes[i], rows[i]) << i;
    for (int i = 0; i < 12; ++i) EXPECT_DOUBLE_EQ(store.cif_x[i], xyz[i]) << i;
    for (int i = 0; i < 6; ++i) EXPECT_EQ(store.mol_x[0][i], 0.0);  // slot left unfilled

    const std::map<int, int> index = {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {7, 1}, {8, 0}, {9, 2}};
    EXPECT_EQ(store.mdl_atom_index, index);
    EXPECT_EQ(store.mdl_tokens, (Tokens{"M", "END"}));  // the RGROUP skip reached the end
}

TEST(MdlV3000Block, PrintDetailsWarnsAboutSkippedBlocks) {
    FileIO store;
    give_molecule_slots(store, 1);
    give_crystal_arrays(store, 4);
    store.print_details = true;
    const std::string out = read_capturing_stdout(store, test_data("readers/nested_v3000.mol"), 0);
    EXPECT_EQ(out,
              "WARNING: A molecule contains an R group which is not implemented!\n"
              "WARNING: SGROUP blocks are not currently implemented and their contents are "
              "ignored.\n"
              "WARNING: RGROUP and RLOGIC blocks are not currently implemented and their contents "
              "are ignored.\n");
}

TEST(MdlV3000Block, NestingDepthIsNotLimitedByTheStack) {
    constexpr int kDepth = 100000;
    std::string text;
    text.reserve(kDepth * 60);
    for (int i = 0; i < kDepth; ++i) text += "M  V30 BEGIN CTAB\nM  V30 COUNTS 0 0 0 0 0\n";
    for (int i = 0; i < kDepth; ++i) text += "M  V30 END CTAB\n";
    FileIO store;
    give_molecule_slots(store, 1);
    EXPECT_TRUE(read_v3000_block(store, text + "M  END\n"));
    EXPECT_FALSE(read_v3000_block(store, text));  // the file ends before "M  END"
}

TEST(MdlV3000Block, LevelEndsAndTheirChecks) {
    const std::string open = "M  V30 BEGIN CTAB\nM  V30 COUNTS 1 0 0 0 0\n";
    struct Case {
        std::string text;
        bool result;
    } cases[] = {
        {open + "M  V30 END CTAB\nM  END\n", true},
        {open + "M  V30 FOO CTAB\nM  END\n", true},    // CTAB alone closes the table
        {open + "M  V30 END FOO\nM  END\n", true},     // END alone closes it too
        {open + "M  V30 FOO BAR\nM  END\n", false},    // neither: the outer level fails
        {open + "M  END\n", false},                    // "M  END" inside the table
        {"M  V30 BEGIN CTAB\nM  V30 FOO 1\n", false},  // no COUNTS line
        {"M  V30 LINKNODE 1 4 2 1 2 1 5\nM  END\n", true},
        {"M  V30 LINKNODE 1 4 2 1 2 1 5", true},  // last line without a newline
        {"M  V30 COLLECTION\nM  END\n", false},
        {"M  V30 BEGIN OBJ3D\nM  V30 END\nM  END\n", true},           // any END line ends a block
        {"M  V30 BEGIN RGROUP 1\nM  V30 END CTAB\nM  END\n", false},  // needs END RGROUP
        {"M  V30 BEGIN\nM  V30 END x\nM  END\n", true},
        {"garbage\n", false},
    };
    for (const auto& c : cases) {
        FileIO store;
        give_molecule_slots(store, 1);
        EXPECT_EQ(read_v3000_block(store, c.text), c.result) << c.text;
    }
}

TEST(MdlV3000Block, AtomPropertyWithoutEqualsSignEndsTheReadAfterStoringItsAtom) {
    FileIO store;
    give_crystal_arrays(store, 3);
    std::istringstream in(
        "M  V30 1 C 1 2 3 0 CHG=1 VAL=4\nM  V30 2 N 4 5 6 0 BAD\nM  V30 3 O 7 8 9 0\n"
        "M  V30 END ATOM\n");
    EXPECT_FALSE(store.ReadAtomBlock(in));
    EXPECT_EQ(store.cif_atypes[0], 6);
    EXPECT_EQ(store.cif_atypes[1], 7);
    EXPECT_DOUBLE_EQ(store.cif_x[5], 6.0);
    EXPECT_EQ(store.cif_atypes[2], 0);
    EXPECT_EQ(store.cif_x[8], 0.0);
}

TEST(MdlV3000Block, AtomsBeyondTheCrystalArraysStopTheRead) {
    const std::string atoms =
        "M  V30 1 C 1 2 3 0\nM  V30 2 R# 0 0 0 0\nM  V30 3 N 4 5 6 0\nM  V30 END ATOM\n";
    FileIO sized;
    give_crystal_arrays(sized, 2);
    testing::internal::CaptureStdout();
    std::istringstream in(atoms);
    EXPECT_FALSE(sized.ReadAtomBlock(in));
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(sized.cif_atypes[0], 6);
    EXPECT_EQ(sized.cif_atypes[1], 0);  // the R# position, unwritten

    FileIO unsized;  // no crystal arrays: nothing is stored
    std::istringstream again(atoms);
    EXPECT_FALSE(unsized.ReadAtomBlock(again));
    EXPECT_EQ(unsized.cif_atypes, nullptr);
    EXPECT_EQ(unsized.mdl_atom_index.at(1), 1);
}

TEST(MdlV3000Block, BondBlockMapsUnknownAtomsToZeroAndChecksProperties) {
    FileIO store;
    store.mdl_atom_index = {{1, 1}, {2, 2}};
    std::istringstream good("M  V30 1 1 1 2\nM  V30 2 2 2 5 CFG=1\nM  V30 END BOND\n");
    EXPECT_TRUE(store.ReadBondBlock(good));
    EXPECT_EQ(store.mdl_atom_index, (std::map<int, int>{{1, 1}, {2, 2}, {5, 0}}));
    std::istringstream bad("M  V30 1 1 1 2 STEREO\nM  V30 END BOND\n");
    EXPECT_FALSE(store.ReadBondBlock(bad));
    std::istringstream unclosed("M  V30 1 1 1 2\nM  END\n");
    EXPECT_FALSE(store.ReadBondBlock(unclosed));
}

}  // namespace
