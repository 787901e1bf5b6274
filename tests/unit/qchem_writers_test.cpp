// Gaussian, ORCA and Q-Chem input writers: each on one small molecule against an expected
// file, and each one's report of an output file it cannot create.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "fileio.h"
#include "test_support.h"

namespace {

using test_support::read_file;
using test_support::ScratchDir;

std::string expected(const std::string& name) {
    return read_file(test_support::golden("writers/" + name));
}

// Chloromethane: a one-letter and a two-letter symbol, negative and zero coordinates.
class Chloromethane : public ::testing::Test {
   protected:
    std::string path(const std::string& name) const { return dir.file(name); }

    FileIO store;
    ScratchDir dir;
    int atypes[5] = {6, 17, 1, 1, 1};
    double x[15] = {0.0, 0.0,    0.0,     1.781,  0.0,    0.0,     -0.363, 1.027,
                    0.0, -0.363, -0.5135, 0.8894, -0.363, -0.5135, -0.8894};
};

// The checkpoint and title lines use the path without its extension, so the test writes a
// relative path from inside the scratch directory.
TEST_F(Chloromethane, GaussianSinglePointOfOneMolecule) {
    char previous[4096];
    ASSERT_NE(::getcwd(previous, sizeof previous), nullptr);
    ASSERT_EQ(::chdir(dir.path().c_str()), 0);
    ASSERT_EQ(::mkdir("dir", 0750), 0);
    const int result =
        store.write_data_gjf_one("dir/mol3.gjf", 5, atypes, x, 8, 4000, "B3LYP/6-31G(d)");
    const std::string written = read_file("dir/mol3.gjf");
    ASSERT_EQ(::chdir(previous), 0);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(written, expected("gjf_one.com"));
}

TEST_F(Chloromethane, GaussianHL) {
    const std::string out = path("hl.com");
    EXPECT_EQ(store.write_gau_mol_com_HL(out.c_str(), 5, atypes, x, "chloromethane HL", "ch3cl_hl",
                                         "B3LYP/6-31G(d)", 2000, 99, 4, ""),
              0);
    EXPECT_EQ(read_file(out), expected("gau_HL.com"));
}

// The tail is copied verbatim: a percent sign in it is not a conversion.
TEST_F(Chloromethane, GaussianRE) {
    const std::string out = path("re.com");
    EXPECT_EQ(store.write_gau_mol_com_RE(out.c_str(), 5, atypes, x, "chloromethane RE", "ch3cl_re",
                                         "1 2", "B3LYP/6-31G(d)", 3000, 99, 6,
                                         "--Link1--\n%chk=ch3cl_re.chk\n"
                                         "#P geom=check guess=read pop=(full,%d)\n\n"),
              0);
    EXPECT_EQ(read_file(out), expected("gau_RE.com"));
}

TEST_F(Chloromethane, OrcaHL) {
    const std::string out = path("hl.inp");
    EXPECT_EQ(store.write_orca_mol_inp_HL(out.c_str(), 5, atypes, x, 4000, 8, "B3LYP", "def2-SVP",
                                          "%tddft\n  nroots 5\nend\n"),
              0);
    EXPECT_EQ(read_file(out), expected("orca_HL.inp"));
}

// The print block is the store's member, not a fixed text.
TEST_F(Chloromethane, OrcaHLWritesTheStoresOutputBlock) {
    store.orca_output_block = "%output\n  PrintLevel=Mini\nend\n";
    const std::string out = path("hl.inp");
    store.write_orca_mol_inp_HL(out.c_str(), 0, atypes, x, 100, 1, "HF", "STO-3G", "");
    EXPECT_EQ(read_file(out),
              "! SP HF STO-3G NoUseSym\n\n%MaxCore 100\n%PAL NPROCS 1 END\n\n"
              "%output\n  PrintLevel=Mini\nend\n\n*xyz 0 1\n*\n");
}

TEST_F(Chloromethane, OrcaRE) {
    const std::string out = path("re.inp");
    EXPECT_EQ(store.write_orca_mol_inp_RE(out.c_str(), 5, atypes, x, 2500, 2, "-1 2", "B3LYP",
                                          "def2-SVP", ""),
              0);
    EXPECT_EQ(read_file(out), expected("orca_RE.inp"));
}

TEST_F(Chloromethane, QChemHL) {
    const std::string out = path("hl.in");
    EXPECT_EQ(store.write_qchem_mol_inp_HL(out.c_str(), 5, atypes, x, 7, 7, "B3LYP", "6-31G*", ""),
              0);
    EXPECT_EQ(read_file(out), expected("qchem_HL.inp"));
}

TEST_F(Chloromethane, QChemRE) {
    const std::string out = path("re.in");
    EXPECT_EQ(store.write_qchem_mol_inp_RE(out.c_str(), 5, atypes, x, 7, 7, "0 3", "B3LYP",
                                           "6-31G*", "$comment\nchained %s job\n$end\n"),
              0);
    EXPECT_EQ(read_file(out), expected("qchem_RE.inp"));
}

TEST_F(Chloromethane, NoAtomsLeaveEmptyCoordinateBlocks) {
    const std::string gau = path("empty.com");
    const std::string orca = path("empty.inp");
    const std::string qchem = path("empty.in");
    store.write_gau_mol_com_RE(gau.c_str(), 0, atypes, x, "t", "c", "0 1", "HF", 1, 0, 1, "");
    store.write_orca_mol_inp_RE(orca.c_str(), 0, atypes, x, 1, 1, "0 1", "HF", "STO-3G", "");
    store.write_qchem_mol_inp_HL(qchem.c_str(), 0, atypes, x, 0, 0, "HF", "STO-3G", "");
    EXPECT_EQ(read_file(gau),
              "%mem=1MB\n%nprocs=1\n%chk=c.chk\n#P opt freq HF pop=full nosymm\n"
              "scf=(maxcycle=100,xqc)\n\nt\n\n0 1\n\n");
    EXPECT_EQ(read_file(orca),
              "! opt freq HF STO-3G NoUseSym\n\n%MaxCore 1\n%PAL NPROCS 1 END\n\n*xyz 0 1\n*\n");
    EXPECT_EQ(read_file(qchem).substr(0, 19), "$molecule\n0 1\n$end\n");
}

// ---------------------------------------------------------------------------------------
// Reports of an output file that cannot be created: all on the error stream, the Gaussian
// single-point writer with the path in quotes, the others without.

struct OpenFailureCase {
    const char* name;
    std::function<void(FileIO&, const char*)> write;
    const char* message;
};

// Names the case in test listings instead of dumping its bytes.
void PrintTo(const OpenFailureCase& c, std::ostream* os) { *os << c.name; }

class QChemOpenFailure : public ::testing::TestWithParam<OpenFailureCase> {};

TEST_P(QChemOpenFailure, ReportsOnStderrAndExits) {
    const OpenFailureCase& c = GetParam();
    const std::string path = std::string("/nonexistent-cif2pdb-dir/") + c.name;
    FileIO store;
    EXPECT_EXIT(c.write(store, path.c_str()), ::testing::ExitedWithCode(255), c.message);
}

int one_atype[1] = {6};
double one_x[3] = {0.0, 0.0, 0.0};

const OpenFailureCase kOpenFailureCases[] = {
    {"gjf_one",
     [](FileIO& s, const char* p) { s.write_data_gjf_one(p, 1, one_atype, one_x, 1, 1, "HF"); },
     "^Failed to open output file \"/nonexistent-cif2pdb-dir/gjf_one\"\n$"},
    {"gau_HL",
     [](FileIO& s, const char* p) {
         s.write_gau_mol_com_HL(p, 1, one_atype, one_x, "t", "c", "HF", 1, 0, 1, "");
     },
     "^Failed to open output file /nonexistent-cif2pdb-dir/gau_HL\n$"},
    {"gau_RE",
     [](FileIO& s, const char* p) {
         s.write_gau_mol_com_RE(p, 1, one_atype, one_x, "t", "c", "0 1", "HF", 1, 0, 1, "");
     },
     "^Failed to open output file /nonexistent-cif2pdb-dir/gau_RE\n$"},
    {"orca_HL",
     [](FileIO& s, const char* p) {
         s.write_orca_mol_inp_HL(p, 1, one_atype, one_x, 1, 1, "HF", "STO-3G", "");
     },
     "^Failed to open output file /nonexistent-cif2pdb-dir/orca_HL\n$"},
    {"orca_RE",
     [](FileIO& s, const char* p) {
         s.write_orca_mol_inp_RE(p, 1, one_atype, one_x, 1, 1, "0 1", "HF", "STO-3G", "");
     },
     "^Failed to open output file /nonexistent-cif2pdb-dir/orca_RE\n$"},
    {"qchem_HL",
     [](FileIO& s, const char* p) {
         s.write_qchem_mol_inp_HL(p, 1, one_atype, one_x, 0, 0, "HF", "STO-3G", "");
     },
     "^Failed to open output file /nonexistent-cif2pdb-dir/qchem_HL\n$"},
    {"qchem_RE",
     [](FileIO& s, const char* p) {
         s.write_qchem_mol_inp_RE(p, 1, one_atype, one_x, 0, 0, "0 1", "HF", "STO-3G", "");
     },
     "^Failed to open output file /nonexistent-cif2pdb-dir/qchem_RE\n$"},
};

INSTANTIATE_TEST_SUITE_P(QChemWriters, QChemOpenFailure, ::testing::ValuesIn(kOpenFailureCases),
                         [](const ::testing::TestParamInfo<OpenFailureCase>& case_info) {
                             return std::string(case_info.param.name);
                         });

}  // namespace
