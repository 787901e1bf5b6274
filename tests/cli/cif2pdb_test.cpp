// The tool end to end: usage and switches; each fatal path a user can reach; the test crystals
// (each says what it pins) and the bundled example against their goldens; every file of the
// shared database folder to the outcome its reading gives (golden/database/outcomes.tsv).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "element_rows.h"
#include "teska/fileio.h"
#include "test_support.h"

namespace {

namespace fd = fileio_detail;
using test_support::ends_with;
using test_support::file_exists;
using test_support::golden;
using test_support::read_file;
using test_support::run_cif2pdb;
using test_support::ScratchDir;
using test_support::test_data;
using test_support::write_file;

const std::string kUsage = "\nUsage: cif2pdb input.cif [out.pdb]\n\n";
const std::string kBanner = read_file(golden("naphthalene.stdout")).substr(0, 4 * 68);

// The report with the number of its error header's source line read as N.
std::string with_line_number_masked(std::string out) {
    const std::size_t at = out.find(" : line "), end = out.find(" : ", at + 8);
    if (at != std::string::npos && end != std::string::npos) out.replace(at + 8, end - at - 8, "N");
    return out;
}

// Usage without arguments (status 1) or for help prefix-matched anywhere (status 0, nothing read).
TEST(Driver, UsageEndsTheRunWithoutReading) {
    ScratchDir dir;
    for (const auto& [args, status] : std::vector<std::pair<std::vector<std::string>, int>>{
             {{}, 1},
             {{"a.cif", "-h"}, 0},
             {{"a.cif", "--help"}, 0},
             {{"a.cif", "b.pdb", "-hx"}, 0},
             {{"-h", "a.cif"}, 0},
             {{"a.cif", "-verbose", "--helpful", "-x"}, 0}}) {
        const auto run = run_cif2pdb(args, dir.path());
        EXPECT_EQ(run.status, status) << testing::PrintToString(args);
        EXPECT_EQ(run.out, kBanner + kUsage) << testing::PrintToString(args);
        EXPECT_EQ(run.err, "");
    }
    EXPECT_FALSE(file_exists(dir.file("a.pdb")) || file_exists(dir.file("b.pdb")));
}

TEST(Driver, UsageNamesTheLastComponentOfTheInvocation) {
    ScratchDir dir;
    for (const auto& [argv0, name] : std::vector<std::pair<std::string, std::string>>{
             {"/usr/local/bin/tool", "tool"}, {"C:\\tools\\conv.exe", "conv.exe"}, {"cv", "cv"}}) {
        const auto run = test_support::run_program(
            "bash", {"-c", "exec -a \"$0\" \"$1\"", argv0, CIF2PDB_EXE}, dir.path());
        EXPECT_NE(run.status, 0);
        EXPECT_TRUE(ends_with(run.out, "Usage: " + name + " input.cif [out.pdb]\n\n")) << argv0;
    }
}

// Each fatal path: its status, both streams whole (golden/cli, the header's line number read N
// unless it is fixed) and no output file. The input is opened before the output.
TEST(Driver, FatalPathsReportAndEndWithTheirStatus) {
    const std::string any = "golden_inputs/chloroacetonitrile.cif";
    for (const auto& [name, input, args, status] :
         std::vector<std::tuple<std::string, std::string, std::vector<std::string>, int>>{
             {"missing_input", "", {"missing.cif", "nodir/x.pdb"}, 255},
             {"directory_input", "", {"."}, 255},
             {"switch_as_input", any, {"-verbose", "in.cif"}, 255},
             {"output_not_creatable", any, {"in.cif", "nodir/x.pdb"}, 255},
             {"short_row", "cli/short_row.cif", {"in.cif"}, 255},
             {"cell_after_atoms", "cli/cell_after_atoms.cif", {"in.cif"}, 255},
             {"no_cell_height", "cli/no_cell_height.cif", {"in.cif"}, 255},
             // 1.70 angstrom: one molecule by the bonding radii, two pieces by the covalent ones.
             {"not_whole", "cli/not_whole.cif", {"in.cif"}, 1}}) {
        SCOPED_TRACE(name);
        ScratchDir dir;
        if (!input.empty()) write_file(dir.file("in.cif"), read_file(test_data(input)));
        const auto run = run_cif2pdb(args, dir.path());
        const std::string expected = read_file(golden("cli/" + name + ".stdout"));
        EXPECT_EQ(run.status, status);
        EXPECT_TRUE(run.out == expected || with_line_number_masked(run.out) == expected) << run.out;
        EXPECT_EQ(run.err, read_file(golden("cli/" + name + ".stderr")));
        EXPECT_FALSE(file_exists(dir.file("in.pdb")));
    }
}

class GoldenConversion : public testing::TestWithParam<std::string> {};

// The quiet run names its output by the last "." of the whole path (run.1.2/x: run.1.pdb); in
// the verbose one a switch in second place names the output and, prefix-matched, still counts.
TEST_P(GoldenConversion, QuietAndVerboseRunsWriteTheExpectedFileAndReports) {
    const std::string stem = GetParam(), input = stem == "naphthalene"
                                                     ? test_support::example("naphthalene.cif")
                                                     : test_data("golden_inputs/" + stem + ".cif");
    ScratchDir dir;
    test_support::make_dir(dir.file("run.1.2"));
    write_file(dir.file("run.1.2/" + stem), read_file(input));
    write_file(dir.file(stem + ".cif"), read_file(input));
    const auto quiet = run_cif2pdb({"run.1.2/" + stem}, dir.path());
    const auto verbose = run_cif2pdb({stem + ".cif", "-verbosely"}, dir.path());
    EXPECT_EQ(std::make_pair(quiet.status, verbose.status), std::make_pair(0, 0));
    EXPECT_EQ(quiet.err + verbose.err, "");
    EXPECT_EQ(quiet.out, read_file(golden(stem + ".stdout")));
    EXPECT_EQ(verbose.out, read_file(golden(stem + ".verbose.stdout")));
    EXPECT_EQ(read_file(dir.file("run.1.pdb")), read_file(golden(stem + ".pdb")));
    EXPECT_EQ(read_file(dir.file("-verbosely")), read_file(golden(stem + ".pdb")));
    EXPECT_FALSE(file_exists(dir.file("data")));  // no side files from the tool
}

INSTANTIATE_TEST_SUITE_P(Crystals, GoldenConversion,
                         testing::Values("chloroacetonitrile", "ferrocene_p21c",
                                         "acetonitrile_hydrate", "benzene_no_blank_line",
                                         "empty_cell", "naphthalene"),
                         [](const testing::TestParamInfo<std::string>& p) { return p.param; });

// Coordinates and cell lengths are printed to 0.001 angstrom, angles to 0.01 degree.
constexpr double kBondSlack = 0.01, kFractionSlack = 1e-3;

struct Outcome {
    int status, atoms, molecules;
    std::string fatal_row;
};

struct Atom {
    const ElementRecord* element;
    double x[3];
};

// The ATOM records of a PDB text by residue number, and the cell of its CRYST1 record.
std::map<int, std::vector<Atom>> residues_of(const std::string& text, double cell[6]) {
    std::map<int, std::vector<Atom>> residues;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        for (int k = 0; k < 6 && line.rfind("CRYST1", 0) == 0; ++k)
            cell[k] = std::stod(k < 3 ? line.substr(6 + 9 * k, 9) : line.substr(12 + 7 * k, 7));
        if (line.rfind("ATOM", 0) != 0) continue;
        const std::string symbol = line.substr(line[76] == ' ' ? 77 : 76, 2);
        Atom atom{&fd::element_record_or_dummy(fd::element_row_from_symbol(symbol)), {}};
        for (int k = 0; k < 3; ++k) atom.x[k] = std::stod(line.substr(30 + 8 * k, 8));
        residues[std::stoi(line.substr(22, 4))].push_back(atom);
    }
    return residues;
}

bool bonded(const Atom& a, const Atom& b) {
    const double limit = (a.element->covalent_radius + b.element->covalent_radius) / 250.0 * 1.15;
    return std::hypot(b.x[0] - a.x[0], b.x[1] - a.x[1], b.x[2] - a.x[2]) < limit + kBondSlack;
}

// Cartesian centre of mass; the plain average when no atom has a mass.
void centre_of_mass(const std::vector<Atom>& atoms, double centre[3]) {
    double total = 0.0;
    for (const Atom& atom : atoms) total += atom.element->mass;
    for (int k = 0; k < 3; ++k) {
        centre[k] = 0.0;
        for (const Atom& atom : atoms)
            centre[k] += (total > 0 ? atom.element->mass / total : 1.0 / atoms.size()) * atom.x[k];
    }
}

// A fatal short row, an empty cell, or whole molecules: each residue one covalently bonded piece
// with its centre of mass in the cell, no atom lost, under the cell that was read in CRYST1.
void expect_outcome(const std::string& file, const Outcome& c) {
    ScratchDir dir;
    const auto run =
        run_cif2pdb({test_support::shared_cif(file), "out.pdb", "-verbose"}, dir.path());
    ASSERT_EQ(run.status, c.status) << run.out << run.err;
    if (c.status != 0) {
        EXPECT_TRUE(ends_with(run.out, "Not enough columns: " + c.fatal_row +
                                           "\nAt least 5 columns are expected!\n"));
        EXPECT_FALSE(file_exists(dir.file("out.pdb")));
        return;
    }
    double cell[6] = {}, lattice[3][3], centre[3], fraction[3];
    const auto residues = residues_of(read_file(dir.file("out.pdb")), cell);
    const char* labels[6] = {"a", "b", "c", "alpha", "beta", "gamma"};
    for (int k = 0; k < 6; ++k) {
        const std::size_t at = run.out.find(std::string("\n  Cell lattice ") + labels[k]);
        ASSERT_NE(at, std::string::npos) << labels[k];
        const double read = std::atof(run.out.c_str() + run.out.find("= ", at) + 2);
        EXPECT_NEAR(cell[k], read, k < 3 ? 1e-3 : 1e-2) << labels[k];
    }
    FileIO store;
    store.cell_cell6_to_latt3x3(cell, lattice);
    int number = 0, atoms_written = 0;
    for (const auto& [residue, atoms] : residues) {
        EXPECT_EQ(residue, ++number);
        const int n = static_cast<int>(atoms.size());
        atoms_written += n;
        EXPECT_EQ(test_support::reached_from_first(
                      n, [&](int i, int j) { return bonded(atoms[i], atoms[j]); }),
                  n)
            << "residue " << residue;
        centre_of_mass(atoms, centre);
        store.coord_c2f(centre, fraction);
        for (double f : fraction)
            EXPECT_TRUE(f > -kFractionSlack && f < 1.0 + kFractionSlack) << residue << ": " << f;
    }
    EXPECT_EQ(atoms_written, c.atoms);
    EXPECT_EQ(number, c.molecules);
}

TEST(DatabaseFiles, EveryFileConvertsToTheOutcomeOfItsReading) {
    SKIP_WITHOUT_SHARED_CIFS();
    std::map<std::string, Outcome> outcomes;
    for (const auto& f : test_support::tsv_rows(golden("database/outcomes.tsv")))
        outcomes[f.at(0)] = {std::stoi(f.at(1)), std::stoi(f.at(2)), std::stoi(f.at(3)), f.at(4)};
    for (const std::string& name : test_support::shared_cif_names()) {
        SCOPED_TRACE(name);
        ASSERT_EQ(outcomes.count(name), 1u) << "the file has no expected outcome";
        expect_outcome(name, outcomes.at(name));
    }
}

}  // namespace
