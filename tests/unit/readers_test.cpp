// Molecule file readers (MDL, PDB, XYZ), the molfile source of the crystal pipeline, the
// duplicate-molecule checks and the molecule files written beside them.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <sstream>
#include <string>
#include <tuple>

#include "store_arrays.h"
#include "teska/fileio.h"
#include "teska/mmutil.h"
#include "test_support.h"

namespace {

using fileio_detail::new_store_array;
using test_support::golden;
using test_support::read_file;
using test_support::ScratchDir;
using test_support::stdout_of;
using test_support::write_file;

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
    auto add_atoms = [&](int n, const int* rows, const double* x, const double* fractions) {
        for (int k = 0; k < n; ++k) {
            text += "\n" + std::to_string(rows[k]);
            for (int d = 0; d < 3; ++d) add(x[3 * k + d], false);
            for (int d = 0; fractions && d < 3; ++d) add(fractions[3 * k + d], true);
        }
    };
    add_atoms(s.natoms_cif, s.cif_atypes, s.cif_x, s.cif_x_s);
    text += "\ncell";
    for (double v : s.cell_latt) add(v, false);
    for (int m = 0; m < s.nmols; ++m) {
        text += "\nslot " + std::to_string(m) + ": " + std::to_string(s.mol_natoms[m]);
        add_atoms(s.mol_natoms[m], s.mol_atypes[m], s.mol_x[m], nullptr);
    }
    text += "\nindex";
    for (const auto& [number, position] : s.mdl_atom_index)
        text += " " + std::to_string(number) + ">" + std::to_string(position);
    text += "\ntokens";
    for (const auto& token : s.mdl_tokens) text += " " + token;
    return text + "\n";
}

// Each input read into slot 1 of two, with four crystal places, an atom index that V3000 clears,
// block warnings on, and a cell that a PDB file without CRYST1 keeps. The last three inputs are
// written by the MOL, XYZ and crystal PDB writers and read back as the atoms and cell written.
TEST(Readers, StoreAfterReadingMatchesExpectedText) {
    for (const std::string name :
         {"symbols.mol", "counts_6.mol", "counts_14.mol", "chiral_2.mol", "chiral_minus1.mol",
          "negative_count.mol", "nested_v3000.mol", "v3000_bad_property.mol", "v3000_beyond.mol",
          "fragment.pdb", "two_cells.pdb", "no_cell.pdb", "empty.pdb", "fields.xyz", "negative.xyz",
          "../../golden/writers/crystal.mol", "../../golden/writers/crystal.xyz",
          "../../golden/readers/hcl_p-1.pdb"}) {
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

// The PDB written from a crystal is the one that the reading test above reads back.
TEST(PdbReader, CrystalPdbForTheRoundTrip) {
    ScratchDir dir;
    FileIO writer;
    const std::string cif = test_support::test_data("readers/hcl_p-1.cif");
    stdout_of(
        [&] { writer.write_cif2pdb(cif.c_str(), dir.file("hcl.pdb").c_str(), false, false); });
    EXPECT_EQ(read_file(dir.file("hcl.pdb")), read_file(golden("readers/hcl_p-1.pdb")));
}

// Molfiles and cell vectors a = (10, 0, 0), b = (0, 8, 6), c = (0, 0, 7) give the molecules,
// their fractions and the cell (angles with the 14-digit pi). From them: a one-cell supercell
// PDB (each atom at the lattice times its fractions), numbered molfiles (none without
// molecules), and the supercell, molecules and unit cell in a data folder created first.
TEST(MolfilePipeline, MoleculesFromMolfilesAndTheFilesWrittenFromThem) {
    char water[] = "water.mol", hcl[] = "hcl.mol", methane[] = "methane.mol";
    char* names[3] = {water, hcl, methane};
    const double rows[3][3] = {{10, 0, 0}, {0, 8, 6}, {0, 0, 7}};
    FileIO s;
    std::memcpy(s.cell_vectors, rows, sizeof rows);
    s.input_kind = 1;
    s.nmols = 3;
    s.mol_file_names = names;
    char previous[4096];
    ASSERT_NE(::getcwd(previous, sizeof previous), nullptr);
    ASSERT_EQ(::chdir(TEST_DATA_DIR "/readers"), 0);
    const std::string printed = stdout_of([&] { s.read_crystal_strcuture_files(true, false); });
    ASSERT_EQ(::chdir(previous), 0);
    const std::string expected = golden("readers/molfiles/");
    EXPECT_EQ(store_text(s, printed), read_file(expected + "store.txt"));

    ScratchDir dir;
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    mmutil::pin_clock(1700000000);  // 2023-11-14 22:13:20 UTC
    s.write_supercell_pdb(dir.file("cell.pdb").c_str(), 3, s.mol_natoms, s.mol_atypes, s.mol_x_s, 1,
                          1, 1);
    s.data_dir = dir.file("data");
    s.supercell_n[0] = 2;
    s.write_mol_files(dir.file("cell").c_str());
    s.write_mol_files();
    mmutil::unpin_clock();
    EXPECT_EQ(FileIO().write_mol_files(dir.file("none").c_str()), 0);
    EXPECT_EQ(read_file(dir.file("cell.pdb")), read_file(expected + "cell.pdb"));
    for (const std::string name :
         {"water.mol", "hcl.mol", "methane.mol", "unitcell.cif", "supercell.cif"})
        EXPECT_EQ(read_file(dir.file("data/" + name)), read_file(expected + name)) << name;
    for (int k = 0; k < 3; ++k)
        EXPECT_EQ(read_file(dir.file("cell-0" + std::to_string(k + 1) + ".mol")),
                  read_file(expected + names[k]));
    for (const char* name : {"cell-04.mol", "none-01.mol"})
        EXPECT_FALSE(test_support::file_exists(dir.file(name))) << name;
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
    EXPECT_EQ(stdout_of([&] {
                  s.RE_check_unitcell_same_mols(true);
                  s.HL_check_unitcell_same_mols(true);
              }),
              read_file(golden("readers/duplicate_checks.txt")));
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

// Each fatal message of the readers, the molfile source and the duplicate checks, on a store of
// one molecule slot and 7 crystal atoms, after writing the case's molfile text.
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
