// Writers and crystal conversions against expected files, the supercell PDB counters over a
// file long enough to wrap them, and each writer's report of a file it cannot create.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <string>
#include <tuple>

#include "teska/fileio.h"
#include "teska/mmutil.h"
#include "test_support.h"

namespace {

using test_support::file_exists;
using test_support::read_file;

// A monoclinic cell (10, 8, 6 angstrom, beta 120) with a water molecule and a chlorine molecule
// crossing the a face: the crystal atoms hold the chlorine folded into the cell, the molecule
// list holds it whole.
int crystal_atypes[5] = {8, 1, 1, 17, 17};
double crystal_fract[15] = {0.1,  0.2,  0.3, 0.2, 0.25, 0.35, 0.05, 0.3,
                            0.25, 0.95, 0.7, 0.8, 0.15, 0.7,  0.8};
double crystal_cart[15];
double chlorine_fract[6] = {0.95, 0.7, 0.8, 1.15, 0.7, 0.8};
int natoms[2] = {3, 2};
int* atypes[2] = {crystal_atypes, crystal_atypes + 3};
double* fract[2] = {crystal_fract, chlorine_fract};
int unknown[2] = {6, -1};  // written as X
double unknown_x[6] = {1.0, 2.0, 3.0, -1.5, 0.25, 4.125};
int ch3cl[5] = {6, 17, 1, 1, 1};
double ch3cl_x[15] = {0.0, 0.0,    0.0,     1.781,  0.0,    0.0,     -0.363, 1.027,
                      0.0, -0.363, -0.5135, 0.8894, -0.363, -0.5135, -0.8894};

// Reports of an output file that cannot be opened, "@" standing for the path: the CIF and PDB
// writers on standard output after the fatal header, the others on standard error.
const std::string kQuoted = "Failed to open output file \"@\"";
const std::string kPlain = "Failed to open output file @";
const std::string kOnStdout = "\nERROR  transport : fileio : line [0-9]+ : \n" + kPlain;

// A write by the given member of the store, with the arguments that follow the path.
using Write = std::function<int(FileIO&, const char*)>;
template <typename Member, typename... Args>
Write call(Member member, Args... args) {
    return [=](FileIO& s, const char* path) { return (s.*member)(path, args...); };
}

// Each layout: its expected file, its report when the file cannot be opened, and the write,
// mostly from the crystal store.
const std::tuple<const char*, std::string, Write> kLayouts[] = {
    {"crystal.xyz", "ERROR: " + kQuoted, [](FileIO& s, auto p) { return s.write_data_xyz(p); }},
    {"crystal.mol", kQuoted, [](FileIO& s, auto p) { return s.write_data_mol(p); }},
    {"none.xyz", "ERROR: " + kQuoted, [](FileIO&, auto p) { return FileIO().write_data_xyz(p); }},
    {"none.mol", kQuoted, [](FileIO&, auto p) { return FileIO().write_data_mol(p); }},
    {"unknown_element.xyz", kQuoted,
     [](FileIO& s, auto p) { return s.write_data_xyz(p, 2, unknown, unknown_x); }},
    {"unknown_element.mol", kQuoted,
     [](FileIO& s, auto p) { return s.write_data_mol(p, 2, unknown, unknown_x); }},
    {"crystal_fract.cif", kOnStdout, call(&FileIO::write_data_cif, true)},
    {"crystal_cartn.cif", kOnStdout, call(&FileIO::write_data_cif, false)},
    {"unitcell.cif", kOnStdout, call(&FileIO::write_unitcell_cif, 2, natoms, atypes, fract)},
    {"unitcell_empty.cif", kOnStdout,
     call(&FileIO::write_unitcell_cif, 0, nullptr, nullptr, nullptr)},
    {"supercell_2x1x1.cif", kOnStdout,
     call(&FileIO::write_supercell_cif, 2, natoms, atypes, fract, 2, 1, 1)},
    {"supercell_0x1x1.cif", kOnStdout,
     call(&FileIO::write_supercell_cif, 2, natoms, atypes, fract, 0, 1, 1)},
    {"supercell_2x1x1.pdb", kOnStdout,
     call(&FileIO::write_supercell_pdb, 2, natoms, atypes, fract, 2, 1, 1)},
    {"supercell_1x0x1.pdb", kOnStdout,
     call(&FileIO::write_supercell_pdb, 2, natoms, atypes, fract, 1, 0, 1)},
    // Site lines into an open file: labels from first + 1, coordinates (x + shift + 1) / scale.
    {"cif_mol_one.cif", "",
     [](FileIO& s, auto p) {
         FILE* out = std::fopen(p, "w");
         double x[6] = {0.5, 1.0, -0.5, 1.5, 0.25, 0.0}, shift[3] = {0.5, 0.0, 1.0};
         s.write_cif_mol_one(out, 4, 2, ch3cl, x, shift, 2.0, 3);
         return std::fclose(out);
     }},
    // Written as dir/mol3.gjf, whose stem names the checkpoint and the title.
    {"mol3.gjf", kQuoted,
     call(&FileIO::write_data_gjf_one, 5, ch3cl, ch3cl_x, 8, 4000, "B3LYP/6-31G(d)")},
    {"gau_HL.com", kPlain,
     call(&FileIO::write_gau_mol_com_HL, 5, ch3cl, ch3cl_x, "chloromethane HL", "ch3cl_hl",
          "B3LYP/6-31G(d)", 2000, 99, 4, "")},
    // The tail is copied verbatim: a percent sign in it is no conversion.
    {"gau_RE.com", kPlain,
     call(&FileIO::write_gau_mol_com_RE, 5, ch3cl, ch3cl_x, "chloromethane RE", "ch3cl_re", "1 2",
          "B3LYP/6-31G(d)", 3000, 99, 6,
          "--Link1--\n%chk=ch3cl_re.chk\n#P geom=check guess=read pop=(full,%d)\n\n")},
    {"gau_RE_empty.com", kPlain,
     call(&FileIO::write_gau_mol_com_RE, 0, ch3cl, ch3cl_x, "t", "c", "0 1", "HF", 1, 0, 1, "")},
    {"orca_HL.inp", kPlain,
     call(&FileIO::write_orca_mol_inp_HL, 5, ch3cl, ch3cl_x, 4000, 8, "B3LYP", "def2-SVP",
          "%tddft\n  nroots 5\nend\n")},
    {"orca_HL_block.inp", kPlain,
     [](FileIO&, auto p) {
         FileIO s;
         s.orca_output_block = "%output\n  PrintLevel=Mini\nend\n";
         return s.write_orca_mol_inp_HL(p, 0, ch3cl, ch3cl_x, 100, 1, "HF", "STO-3G", "");
     }},
    {"orca_RE.inp", kPlain,
     call(&FileIO::write_orca_mol_inp_RE, 5, ch3cl, ch3cl_x, 2500, 2, "-1 2", "B3LYP", "def2-SVP",
          "")},
    {"orca_RE_empty.inp", kPlain,
     call(&FileIO::write_orca_mol_inp_RE, 0, ch3cl, ch3cl_x, 1, 1, "0 1", "HF", "STO-3G", "")},
    {"qchem_HL.inp", kPlain,
     call(&FileIO::write_qchem_mol_inp_HL, 5, ch3cl, ch3cl_x, 7, 7, "B3LYP", "6-31G*", "")},
    {"qchem_HL_empty.inp", kPlain,
     call(&FileIO::write_qchem_mol_inp_HL, 0, ch3cl, ch3cl_x, 0, 0, "HF", "STO-3G", "")},
    {"qchem_RE.inp", kPlain,
     call(&FileIO::write_qchem_mol_inp_RE, 5, ch3cl, ch3cl_x, 7, 7, "0 3", "B3LYP", "6-31G*",
          "$comment\nchained %s job\n$end\n")},
};

// Runs in a scratch directory, with the clock pinned to 2023-11-14 22:13:20 UTC.
class Writers : public ::testing::Test {
   protected:
    void SetUp() override {
        ::setenv("TZ", "UTC", 1);
        ::tzset();
        mmutil::pin_clock(1700000000);
        ASSERT_NE(::getcwd(previous_dir_, sizeof previous_dir_), nullptr);
        ASSERT_EQ(::chdir(dir_.path().c_str()), 0);
        ASSERT_EQ(::mkdir("dir", 0750), 0);
        s.identifier = "teska_test";
        double cell[6] = {10.0, 8.0, 6.0, 90.0, 120.0, 90.0}, latt[3][3];
        std::copy(cell, cell + 6, s.cell_latt);
        s.cell_cell6_to_latt3x3(cell, latt);
        s.natoms_cif = 5;
        s.cif_atypes = crystal_atypes;
        s.cif_x_s = crystal_fract;
        s.cif_x = crystal_cart;
        for (int i = 0; i < 5; ++i) s.coord_f2c(&crystal_fract[3 * i], &crystal_cart[3 * i]);
    }
    void TearDown() override {
        mmutil::unpin_clock();
        ASSERT_EQ(::chdir(previous_dir_), 0);
    }

    FileIO s;
    test_support::ScratchDir dir_;
    char previous_dir_[4096];
};

TEST_F(Writers, EveryLayoutMatchesItsExpectedFile) {
    for (const auto& [name, failure, write] : kLayouts) {
        EXPECT_EQ(write(s, ("dir/" + std::string(name)).c_str()), 0) << name;
        EXPECT_EQ(read_file("dir/" + std::string(name)),
                  read_file(test_support::golden("writers/") + name))
            << name;
    }
}

// The two molecules (3 and 2 atoms) in 100 x 100 x 3 cells give 150000 atoms in 60000
// molecules: the serial (1..99999), the hexadecimal name counter (1..255) and the residue
// number (1..9999) all wrap, and run on over the whole file.
TEST_F(Writers, SupercellPdbCountersRunOverTheWholeFile) {
    s.write_supercell_pdb("big.pdb", 2, natoms, atypes, fract, 100, 100, 3);
    std::istringstream text(read_file("big.pdb"));
    std::string line;
    for (int i = 0; i < 3; ++i) std::getline(text, line);
    int atom = 0, wrong = 0;
    for (; std::getline(text, line) && line.compare(0, 4, "ATOM") == 0; ++atom) {
        const int molecule = atom / 5 * 2 + (atom % 5 >= 3);
        wrong += std::atoi(line.substr(6, 5).c_str()) != atom % 99999 + 1 ||
                 std::strtol(line.substr(14, 2).c_str(), nullptr, 16) != atom % 255 + 1 ||
                 std::atoi(line.substr(22, 4).c_str()) != molecule % 9999 + 1;
    }
    EXPECT_EQ(atom, 150000);
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(line, "TER");
    EXPECT_FALSE(std::getline(text, line));
}

// Standard error is silenced for the reports on standard output, to show where they go.
TEST(WritersDeathTest, EachWriterReportsAFileItCannotOpen) {
    for (const auto& [name, failure, write] : kLayouts) {
        if (failure.empty()) continue;
        const std::string path = std::string("/nonexistent-cif2pdb-dir/") + name;
        std::string expected = failure;
        expected.replace(expected.find('@'), 1, path);
        FileIO s;
        EXPECT_EXIT(
            {
                if (failure == kOnStdout) {
                    test_support::stdout_to_stderr();
                    std::freopen("/dev/null", "w", stderr);
                }
                write(s, path.c_str());
            },
            ::testing::ExitedWithCode(255), "^" + expected + "\n$")
            << name;
    }
}

// Per-molecule files are numbered from 1 and listed after two blanks; supercell files are named
// after the output without its last extension.
TEST_F(Writers, ConversionsMatchTheirExpectedFilesAndTheUnitCellReadsBack) {
    const char* in = TEST_DATA_DIR "/writers/chloroacetamide_p-1.cif";
    FileIO unwrap, mol, xyz, gjf, expand, block;
    testing::internal::CaptureStdout();
    unwrap.write_cif_unwrap(in, "unwrapped.cif", false, false);
    mol.write_cif2mol(in, "out", false, false);
    xyz.write_cif2xyz(in, "cell", false, false);
    gjf.write_cif2gjf(in, "run", false, false, 4, 1000, "PBE0/def2SVP");
    expand.write_cif_expand(in, "cell.out.cif", false, false, 2, 2, 1, true);
    block.write_cif_expand(in, "block", false, false, 1, 1, 3, false);
    const std::string printed = testing::internal::GetCapturedStdout();
    const std::string expected = test_support::golden("writers/conversions/");
    EXPECT_EQ(printed, read_file(expected + "stdout.txt"));
    for (const std::string name :
         {"unwrapped.cif", "out_01.mol", "out_02.mol", "cell_01.xyz", "cell_02.xyz", "run-01.com",
          "run-02.com", "cell.out.cif", "cell.out.pdb"})
        EXPECT_EQ(read_file(name), read_file(expected + name)) << name;
    for (const char* name : {"out_03.mol", "cell_03.xyz", "run-03.com", "block.pdb"})
        EXPECT_FALSE(file_exists(name)) << name;
    EXPECT_TRUE(file_exists("block.cif"));
    // The unit cell of whole molecules reads back as the same molecules: written again, it gives
    // the same file.
    FileIO reread;
    testing::internal::CaptureStdout();
    reread.read_data_cif("unwrapped.cif", false);
    reread.input_kind = 2;
    reread.read_crystal_strcuture_files(false, false);
    testing::internal::GetCapturedStdout();
    reread.write_unitcell_cif("again.cif", reread.nmols, reread.mol_natoms, reread.mol_atypes,
                              reread.mol_x_s);
    EXPECT_EQ(read_file("again.cif"), read_file("unwrapped.cif"));
}

}  // namespace
