// Writers and crystal conversions against expected files, the supercell PDB counters over a
// file long enough to wrap them, each writer's report of a file it cannot create, and the
// unit-cell CIF read back.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <string>
#include <tuple>

#include "fileio.h"
#include "mmutil.h"
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
int mol_natoms[2] = {3, 2};
int* mol_atypes[2] = {crystal_atypes, crystal_atypes + 3};
double* mol_fract[2] = {crystal_fract, chlorine_fract};

// Chloromethane for the quantum-chemistry inputs.
int ch3cl_atypes[5] = {6, 17, 1, 1, 1};
double ch3cl_x[15] = {0.0, 0.0,    0.0,     1.781,  0.0,    0.0,     -0.363, 1.027,
                      0.0, -0.363, -0.5135, 0.8894, -0.363, -0.5135, -0.8894};

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
    FileIO empty, printing;
    printing.orca_output_block = "%output\n  PrintLevel=Mini\nend\n";
    int* const n = mol_natoms;
    int** const t = mol_atypes;
    double** const f = mol_fract;
    int* const a = ch3cl_atypes;
    double* const x = ch3cl_x;
    int unknown[2] = {6, -1};
    double unknown_x[6] = {1.0, 2.0, 3.0, -1.5, 0.25, 4.125};
    // Site lines into an open file: labels from first + 1, coordinates (x + shift + 1) / scale.
    FILE* sites = std::fopen("dir/cif_mol_one.cif", "w");
    double site_x[6] = {0.5, 1.0, -0.5, 1.5, 0.25, 0.0}, shift[3] = {0.5, 0.0, 1.0};
    s.write_cif_mol_one(sites, 4, 2, a, site_x, shift, 2.0, 3);
    const int results[] = {
        std::fclose(sites),
        s.write_data_xyz("dir/crystal.xyz"),
        s.write_data_xyz("dir/list.xyz", 5, crystal_atypes, crystal_cart),
        s.write_data_mol("dir/crystal.mol"),
        s.write_data_mol("dir/list.mol", 5, crystal_atypes, crystal_cart),
        empty.write_data_xyz("dir/none.xyz"),
        empty.write_data_mol("dir/none.mol"),
        s.write_data_xyz("dir/unknown_element.xyz", 2, unknown, unknown_x),
        s.write_data_mol("dir/unknown_element.mol", 2, unknown, unknown_x),
        s.write_data_cif("dir/crystal_fract.cif", true),
        s.write_data_cif("dir/crystal_cartn.cif", false),
        s.write_unitcell_cif("dir/unitcell.cif", 2, n, t, f),
        s.write_unitcell_cif("dir/unitcell_empty.cif", 0, nullptr, nullptr, nullptr),
        s.write_supercell_cif("dir/supercell_2x1x1.cif", 2, n, t, f, 2, 1, 1),
        s.write_supercell_cif("dir/supercell_0x1x1.cif", 2, n, t, f, 0, 1, 1),
        s.write_supercell_pdb("dir/supercell_2x1x1.pdb", 2, n, t, f, 2, 1, 1),
        s.write_supercell_pdb("dir/supercell_1x0x1.pdb", 2, n, t, f, 1, 0, 1),
        // The stem of dir/mol3.gjf names the checkpoint and the title.
        s.write_data_gjf_one("dir/mol3.gjf", 5, a, x, 8, 4000, "B3LYP/6-31G(d)"),
        s.write_gau_mol_com_HL("dir/gau_HL.com", 5, a, x, "chloromethane HL", "ch3cl_hl",
                               "B3LYP/6-31G(d)", 2000, 99, 4, ""),
        // The tail is copied verbatim: a percent sign in it is no conversion.
        s.write_gau_mol_com_RE(
            "dir/gau_RE.com", 5, a, x, "chloromethane RE", "ch3cl_re", "1 2", "B3LYP/6-31G(d)",
            3000, 99, 6,
            "--Link1--\n%chk=ch3cl_re.chk\n#P geom=check guess=read pop=(full,%d)\n\n"),
        s.write_gau_mol_com_RE("dir/gau_RE_empty.com", 0, a, x, "t", "c", "0 1", "HF", 1, 0, 1, ""),
        s.write_orca_mol_inp_HL("dir/orca_HL.inp", 5, a, x, 4000, 8, "B3LYP", "def2-SVP",
                                "%tddft\n  nroots 5\nend\n"),
        printing.write_orca_mol_inp_HL("dir/orca_HL_block.inp", 0, a, x, 100, 1, "HF", "STO-3G",
                                       ""),
        s.write_orca_mol_inp_RE("dir/orca_RE.inp", 5, a, x, 2500, 2, "-1 2", "B3LYP", "def2-SVP",
                                ""),
        s.write_orca_mol_inp_RE("dir/orca_RE_empty.inp", 0, a, x, 1, 1, "0 1", "HF", "STO-3G", ""),
        s.write_qchem_mol_inp_HL("dir/qchem_HL.inp", 5, a, x, 7, 7, "B3LYP", "6-31G*", ""),
        s.write_qchem_mol_inp_HL("dir/qchem_HL_empty.inp", 0, a, x, 0, 0, "HF", "STO-3G", ""),
        s.write_qchem_mol_inp_RE("dir/qchem_RE.inp", 5, a, x, 7, 7, "0 3", "B3LYP", "6-31G*",
                                 "$comment\nchained %s job\n$end\n"),
    };
    for (int result : results) EXPECT_EQ(result, 0);
    for (const std::string name : {"cif_mol_one.cif",
                                   "crystal.xyz",
                                   "crystal.mol",
                                   "none.xyz",
                                   "none.mol",
                                   "unknown_element.xyz",
                                   "unknown_element.mol",
                                   "crystal_fract.cif",
                                   "crystal_cartn.cif",
                                   "unitcell.cif",
                                   "unitcell_empty.cif",
                                   "supercell_2x1x1.cif",
                                   "supercell_0x1x1.cif",
                                   "supercell_2x1x1.pdb",
                                   "supercell_1x0x1.pdb",
                                   "mol3.gjf",
                                   "gau_HL.com",
                                   "gau_RE.com",
                                   "gau_RE_empty.com",
                                   "orca_HL.inp",
                                   "orca_HL_block.inp",
                                   "orca_RE.inp",
                                   "orca_RE_empty.inp",
                                   "qchem_HL.inp",
                                   "qchem_HL_empty.inp",
                                   "qchem_RE.inp"})
        EXPECT_EQ(read_file("dir/" + name), read_file(test_support::golden("writers/" + name)))
            << name;
    EXPECT_EQ(read_file("dir/list.xyz"), read_file("dir/crystal.xyz"));
    EXPECT_EQ(read_file("dir/list.mol"), read_file("dir/crystal.mol"));
}

// One molecule of 11 atoms in 100 x 100 x 1 cells gives 110000 atoms in 10000 molecules: the
// serial (1..99999), the hexadecimal name counter (1..255) and the residue (1..9999) all wrap.
TEST_F(Writers, SupercellPdbCountersRunOverTheWholeFile) {
    int atypes[11], natoms[1] = {11};
    double fract[33];
    for (int k = 0; k < 11; ++k) {
        atypes[k] = 6;
        fract[3 * k] = 0.05 + 0.08 * k;
        fract[3 * k + 1] = fract[3 * k + 2] = 0.5;
    }
    int* molecule_atypes[1] = {atypes};
    double* molecule_fract[1] = {fract};
    s.write_supercell_pdb("big.pdb", 1, natoms, molecule_atypes, molecule_fract, 100, 100, 1);
    std::istringstream text(read_file("big.pdb"));
    std::string line;
    for (int i = 0; i < 3; ++i) std::getline(text, line);
    int atom = 0, wrong = 0;
    for (; std::getline(text, line) && line.compare(0, 4, "ATOM") == 0; ++atom) {
        const int serial = std::atoi(line.substr(6, 5).c_str());
        const long name = std::strtol(line.substr(14, 2).c_str(), nullptr, 16);
        const int residue = std::atoi(line.substr(22, 4).c_str());
        wrong +=
            serial != atom % 99999 + 1 || name != atom % 255 + 1 || residue != atom / 11 % 9999 + 1;
    }
    EXPECT_EQ(atom, 110000);
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(line, "TER");
    EXPECT_FALSE(std::getline(text, line));
}

// "@" stands for the path. The CIF and PDB writers report on standard output after the fatal
// header (standard error is silenced to prove it), the others on standard error.
TEST(WriterOpenFailureDeathTest, EachWriterReportsOnItsOwnStream) {
    FileIO s;
    int a[1] = {6}, n[1] = {1};
    double x[3] = {0.0, 0.0, 0.0};
    int* t[1] = {a};
    double* f[1] = {x};
    const std::string quoted = "Failed to open output file \"@\"",
                      plain = "Failed to open output file @";
    const std::tuple<bool, std::string, std::function<void(const char*)>> cases[] = {
        {false, "ERROR: " + quoted, [&](auto p) { s.write_data_xyz(p); }},
        {false, quoted, [&](auto p) { s.write_data_xyz(p, 1, a, x); }},
        {false, quoted, [&](auto p) { s.write_data_mol(p); }},
        {false, quoted, [&](auto p) { s.write_data_mol(p, 1, a, x); }},
        {true, plain, [&](auto p) { s.write_data_cif(p, true); }},
        {true, plain, [&](auto p) { s.write_unitcell_cif(p, 1, n, t, f); }},
        {true, plain, [&](auto p) { s.write_supercell_cif(p, 1, n, t, f, 1, 1, 1); }},
        {true, plain, [&](auto p) { s.write_supercell_pdb(p, 1, n, t, f, 1, 1, 1); }},
        {false, quoted, [&](auto p) { s.write_data_gjf_one(p, 1, a, x, 1, 1, "HF"); }},
        {false, plain,
         [&](auto p) { s.write_gau_mol_com_HL(p, 1, a, x, "t", "c", "M", 1, 0, 1, ""); }},
        {false, plain,
         [&](auto p) { s.write_gau_mol_com_RE(p, 1, a, x, "t", "c", "0 1", "M", 1, 0, 1, ""); }},
        {false, plain, [&](auto p) { s.write_orca_mol_inp_HL(p, 1, a, x, 1, 1, "M", "B", ""); }},
        {false, plain,
         [&](auto p) { s.write_orca_mol_inp_RE(p, 1, a, x, 1, 1, "0 1", "M", "B", ""); }},
        {false, plain, [&](auto p) { s.write_qchem_mol_inp_HL(p, 1, a, x, 0, 0, "M", "B", ""); }},
        {false, plain,
         [&](auto p) { s.write_qchem_mol_inp_RE(p, 1, a, x, 0, 0, "0 1", "M", "B", ""); }},
    };
    int number = 0;
    for (const auto& [on_stdout, message, write] : cases) {
        const std::string path = "/nonexistent-cif2pdb-dir/out" + std::to_string(++number);
        std::string expected = message;
        expected.replace(expected.find('@'), 1, path);
        if (on_stdout) expected = "\nERROR  transport : fileio : line [0-9]+ : \n" + expected;
        EXPECT_EXIT(
            {
                if (on_stdout) {
                    test_support::stdout_to_stderr();
                    std::freopen("/dev/null", "w", stderr);
                }
                write(path.c_str());
            },
            ::testing::ExitedWithCode(255), "^" + expected + "\n$")
            << path;
    }
}

// Per-molecule files are numbered from 1 and listed after two blanks; supercell files are named
// after the output without its last extension.
TEST_F(Writers, ConversionsMatchTheirExpectedFiles) {
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
}

// The unit-cell CIF of whole molecules reads back as the same molecules: written again, it
// gives the same file.
TEST_F(Writers, UnitCellCifReadsBackAsTheSameMolecules) {
    for (const std::string& crystal :
         {std::string(TEST_DATA_DIR "/writers/chloroacetamide_p-1.cif"),
          test_support::shared_cif("cod_2007325_cocrystal.cif")}) {
        if (crystal.empty()) continue;  // database files absent
        FileIO converted, reread;
        testing::internal::CaptureStdout();
        converted.write_cif_unwrap(crystal.c_str(), "unwrapped.cif", false, false);
        reread.read_data_cif("unwrapped.cif", false);
        reread.input_kind = 2;
        reread.read_crystal_strcuture_files(false, false);
        testing::internal::GetCapturedStdout();
        reread.write_unitcell_cif("again.cif", reread.nmols, reread.mol_natoms, reread.mol_atypes,
                                  reread.mol_x_s);
        EXPECT_EQ(read_file("again.cif"), read_file("unwrapped.cif")) << crystal;
    }
}

}  // namespace
