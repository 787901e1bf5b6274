// The command-line tool: banner, usage, switches, the choice of the output file, exit statuses,
// and every fatal path a user can reach through it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "test_support.h"

namespace {

using test_support::file_exists;
using test_support::read_file;
using test_support::run_cif2pdb;
using test_support::ScratchDir;
using test_support::shell_quote;
using test_support::test_data;
using test_support::write_file;

// Runs of the tool compare its error stream whole. A sanitizer build would append the list of
// leak suppressions it used at exit; keep that list off for every run of this executable.
class QuietLeakReport : public testing::Environment {
   public:
    void SetUp() override { setenv("LSAN_OPTIONS", "print_suppressions=0", 0); }
};
testing::Environment* const kQuietLeakReport =
    testing::AddGlobalTestEnvironment(new QuietLeakReport);

const std::string kStars(67, '*');
const std::string kUsage = "\nUsage: cif2pdb input.cif [out.pdb]\n\n";
const std::string kConvert = "Convert CIF file to PDF file...\n";
const std::string kDone = "Successfully done.\n";
// The error header with its source line number masked as "N".
const std::string kErrorHeader = "\nERROR  transport : fileio : line N : \n";

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    for (std::size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1)
        lines.push_back(text.substr(start, end - start));
    return lines;
}

// The banner as the tool prints it before anything else: four lines of 67 characters.
const std::string& banner() {
    static const std::string text = [] {
        ScratchDir dir;
        return run_cif2pdb({"-h"}, dir.path()).out.substr(0, 4 * 68);
    }();
    return text;
}

// Replaces the number of every "line <number> :" by N, for reports whose line is not fixed.
std::string with_line_numbers_masked(std::string text) {
    for (std::size_t at = 0; (at = text.find("line ", at)) != std::string::npos; at += 5) {
        const std::size_t digits = text.find_first_not_of("0123456789", at + 5);
        if (digits > at + 5 && digits != std::string::npos && text.compare(digits, 2, " :") == 0)
            text.replace(at + 5, digits - at - 5, "N");
    }
    return text;
}

bool ends_with(const std::string& text, const std::string& tail) {
    return text.size() >= tail.size() &&
           text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

// A small crystal file in the manner of a database file; rows are the atom-site rows.
std::string crystal_text(const std::string& cell_c, const std::string& rows) {
    return "data_test\n"
           "_symmetry_space_group_name_H-M   'P 1'\n"
           "loop_\n_symmetry_equiv_pos_as_xyz\n'x, y, z'\n\n"
           "_cell_length_a   10.000(2)\n_cell_length_b   10.000(2)\n_cell_length_c   " +
           cell_c +
           "\n_cell_angle_alpha 90\n_cell_angle_beta 90\n_cell_angle_gamma 90\n\n"
           "loop_\n_atom_site_label\n_atom_site_type_symbol\n_atom_site_fract_x\n"
           "_atom_site_fract_y\n_atom_site_fract_z\n_atom_site_occupancy\n" +
           rows;
}

TEST(Driver, BannerIsFourFramedLinesOf67Characters) {
    const std::vector<std::string> lines = lines_of(banner());
    ASSERT_EQ(lines.size(), 4u);
    for (const std::string& line : lines) EXPECT_EQ(line.size(), 67u) << line;
    EXPECT_EQ(lines[0], kStars);
    EXPECT_EQ(lines[3], kStars);
    EXPECT_EQ(lines[1].substr(0, 49), "*   TESKA Transport Calculation Utility, Version ");
    EXPECT_EQ(lines[1].substr(62), "    *");
    EXPECT_EQ(lines[2].substr(0, 4), "*   ");
    EXPECT_EQ(lines[2].substr(63), "   *");
}

TEST(Driver, NoArgumentPrintsBannerAndUsageAndExits1) {
    ScratchDir dir;
    const auto run = run_cif2pdb({}, dir.path());
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, banner() + kUsage);
    EXPECT_EQ(run.err, "");
}

class HelpSwitch : public testing::TestWithParam<std::vector<std::string>> {};

TEST_P(HelpSwitch, PrintsUsageAndExits0WithoutReadingOrWriting) {
    ScratchDir dir;
    const auto run = run_cif2pdb(GetParam(), dir.path());
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, banner() + kUsage);
    EXPECT_EQ(run.err, "");
    EXPECT_FALSE(file_exists(dir.file("a.pdb")));
    EXPECT_FALSE(file_exists(dir.file("b.pdb")));
}

INSTANTIATE_TEST_SUITE_P(PrefixMatched, HelpSwitch,
                         testing::Values(std::vector<std::string>{"a.cif", "-h"},
                                         std::vector<std::string>{"a.cif", "--help"},
                                         std::vector<std::string>{"a.cif", "b.pdb", "-hx"},
                                         std::vector<std::string>{"a.cif", "-verbose", "--helpful",
                                                                  "-x"},
                                         std::vector<std::string>{"-h", "a.cif"}));

TEST(Driver, UsageNamesTheLastComponentOfTheInvocation) {
    ScratchDir dir;
    for (const auto& [argv0, name] :
         std::vector<std::pair<std::string, std::string>>{{"/usr/local/bin/tool", "tool"},
                                                          {"C:\\tools\\conv.exe", "conv.exe"},
                                                          {"plain", "plain"}}) {
        const std::string command = "cd " + shell_quote(dir.path()) +
                                    " && bash -c 'exec -a \"$0\" " + shell_quote(CIF2PDB_EXE) +
                                    "' " + shell_quote(argv0) + " > out.txt 2>&1";
        EXPECT_NE(std::system(command.c_str()), 0);
        EXPECT_NE(
            read_file(dir.file("out.txt")).find("\nUsage: " + name + " input.cif [out.pdb]\n"),
            std::string::npos)
            << argv0;
    }
}

class OutputName : public testing::Test {
   protected:
    void SetUp() override {
        text = read_file(test_data("golden_inputs/chloroacetonitrile.cif"));
        write_file(dir.file("crystal.cif"), text);
    }
    ScratchDir dir;
    std::string text;
};

TEST_F(OutputName, DefaultReplacesTheExtensionBesideTheInput) {
    const auto run = run_cif2pdb({"crystal.cif"}, dir.path());
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, banner() + kConvert + kDone);
    EXPECT_TRUE(file_exists(dir.file("crystal.pdb")));
}

TEST_F(OutputName, ExtensionCutIsTheLastDotOfTheWholePath) {
    ASSERT_EQ(std::system(("mkdir " + shell_quote(dir.file("run.1"))).c_str()), 0);
    write_file(dir.file("run.1/crystal"), text);
    EXPECT_EQ(run_cif2pdb({"run.1/crystal"}, dir.path()).status, 0);
    EXPECT_TRUE(file_exists(dir.file("run.pdb")));
}

TEST_F(OutputName, SecondArgumentIsTheOutput) {
    ASSERT_EQ(std::system(("mkdir " + shell_quote(dir.file("out"))).c_str()), 0);
    EXPECT_EQ(run_cif2pdb({"crystal.cif", "out/x.pdb"}, dir.path()).status, 0);
    EXPECT_TRUE(file_exists(dir.file("out/x.pdb")));
    EXPECT_FALSE(file_exists(dir.file("crystal.pdb")));
}

TEST_F(OutputName, SwitchInSecondPlaceNamesTheOutputAndStillCounts) {
    const auto run = run_cif2pdb({"crystal.cif", "-verbose"}, dir.path());
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(file_exists(dir.file("-verbose")));
    EXPECT_NE(run.out.find("Make whole molecules...\n"), std::string::npos);
}

TEST_F(OutputName, VerboseIsPrefixMatchedAnywhereAfterTheNames) {
    const auto run = run_cif2pdb({"crystal.cif", "x.pdb", "-verbosely"}, dir.path());
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.out.find("Make whole molecules...\n"), std::string::npos);
}

// A fatal path: the report that ends standard output (after the banner and the progress
// lines), the whole error stream, and, where the line number is fixed, the header naming it.
struct FatalCase {
    std::string name;
    std::string input_text;  // empty: no file is made
    std::vector<std::string> args;
    int status;
    std::string stdout_tail;  // with masked line numbers
    std::string stderr_text;
    std::string fixed_header;
};

void PrintTo(const FatalCase& c, std::ostream* os) { *os << c.name; }

class FatalPath : public testing::TestWithParam<FatalCase> {};

TEST_P(FatalPath, EndsWithTheReportAndStatusAndWritesNothing) {
    ScratchDir dir;
    const FatalCase& c = GetParam();
    if (!c.input_text.empty()) write_file(dir.file("in.cif"), c.input_text);
    ASSERT_EQ(std::system(("mkdir " + shell_quote(dir.file("adir"))).c_str()), 0);
    const auto run = run_cif2pdb(c.args, dir.path());
    EXPECT_EQ(run.status, c.status);
    EXPECT_EQ(run.out.substr(0, 4 * 68), banner());
    EXPECT_TRUE(ends_with(with_line_numbers_masked(run.out), c.stdout_tail)) << run.out;
    EXPECT_NE(run.out.find(c.fixed_header), std::string::npos) << run.out;
    EXPECT_EQ(run.err, c.stderr_text);
    EXPECT_EQ(run.out.find(kDone), std::string::npos);
    EXPECT_FALSE(file_exists(dir.file("in.pdb")));
}

const std::string kOneAtom = "C1 C 0.1000(3) 0.2000(3) 0.3000(3) 1\n";

INSTANTIATE_TEST_SUITE_P(
    ThroughTheTool, FatalPath,
    testing::Values(
        FatalCase{"missing_input",
                  "",
                  {"missing.cif"},
                  255,
                  kErrorHeader,
                  "Failed to open input file \"missing.cif\"\n",
                  ""},
        FatalCase{"directory_as_input",
                  "",
                  {"adir"},
                  255,
                  kErrorHeader,
                  "Failed to open input file \"adir\"\n",
                  ""},
        FatalCase{"switch_taken_as_input",
                  "",
                  {"-verbose", "in.cif"},
                  255,
                  kErrorHeader,
                  "Failed to open input file \"-verbose\"\n",
                  ""},
        FatalCase{"short_atom_row",
                  crystal_text("10.000(2)", kOneAtom + "C2 C 0.2\n"),
                  {"in.cif"},
                  255,
                  kErrorHeader + "Not enough columns: C2 C 0.2\nAt least 5 columns are expected!\n",
                  "",
                  ""},
        FatalCase{"output_not_creatable",
                  crystal_text("10.000(2)", kOneAtom),
                  {"in.cif", "nodir/x.pdb"},
                  255,
                  kErrorHeader,
                  "Failed to open output file \"nodir/x.pdb\"\n",
                  ""},
        // 1.70 angstrom: one molecule by the bonding radii, two pieces by the covalent ones.
        FatalCase{"molecule_not_whole",
                  crystal_text("10.000(2)", kOneAtom + "C2 C 0.2700(3) 0.2000(3) 0.3000(3) 1\n"),
                  {"in.cif"},
                  1,
                  "\nERROR  transport : fileio : line N : \nNot all atoms are bonded in the "
                  "molecule!\nnat_bonded = 1, natoms = 2\n",
                  "",
                  "fileio : line 3313 :"},
        FatalCase{"cell_length_missing",
                  crystal_text("?", kOneAtom),
                  {"in.cif"},
                  255,
                  "\nERROR  transport : mmutil : line N : \nDeterminant of matrix is zero.\n",
                  "",
                  "mmutil : line 600 :"}),
    [](const testing::TestParamInfo<FatalCase>& param) { return param.param.name; });

}  // namespace
