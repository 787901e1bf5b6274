// Pure functions of the crystal model, table by table: hybrid-36 numbers, PDB records, output
// names, Hill formulas, and the store's reports read out of what it printed.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "pdb_output.h"
#include "teska/crystal.h"
#include "teska/printed_reports.h"

namespace {

using namespace teska;
using namespace teska::crystal_detail;

TEST(Hybrid36, DecimalThenUpperThenLowerCaseBase36) {
    const long long upper = 26LL * 36 * 36 * 36;  // values per case at width 4
    for (const auto& [width, value, text] :
         std::vector<std::tuple<int, long long, std::string>>{{5, 0, "    0"},
                                                              {5, 99999, "99999"},
                                                              {5, 100000, "A0000"},
                                                              {5, 100035, "A000Z"},
                                                              {5, 100036, "A0010"},
                                                              {4, 9999, "9999"},
                                                              {4, 10000, "A000"},
                                                              {4, 10000 + upper - 1, "ZZZZ"},
                                                              {4, 10000 + upper, "a000"},
                                                              {4, 10000 + 2 * upper - 1, "zzzz"},
                                                              {4, 10000 + 2 * upper, "****"},
                                                              {4, -1, "****"}})
        EXPECT_EQ(hybrid36(width, value), text) << width << " " << value;
}

TEST(PdbRecord, IsPrintfsRecord) {
    const double values[] = {0.0,     -0.0,      0.0005,   -0.0005,   0.0015,   2.0625,
                             1.2345,  -1.2345,   999.9995, -999.9995, 1234.567, -1000.0,
                             12345.6, -54321.98, 1.0e-10,  4.35,      -7.905,   123456789.0};
    const std::vector<std::tuple<std::string, int, int, std::string>> names = {
        {"    1", 1, 1, "   1"},
        {"99999", 17, 10, "9999"},
        {"A0000", 6, 255, "A000"},
        {"   12", -1, 16, "  12"}};
    for (const auto& [serial, row, counter, residue] : names)
        for (double x : values) {
            const double r[3] = {x, -x, x * 0.5};
            const std::string symbol = row == 1 ? "H" : row == 17 ? "Cl" : row == 6 ? "C" : "X";
            char expected[256];
            std::snprintf(expected, sizeof expected,
                          "%-6s%5s %2s%-2X %3.3s %1s%4s    %8.3f%8.3f%8.3f%6.2f%6.2f%10s%2s%2s\n",
                          "ATOM", serial.c_str(), symbol.c_str(), static_cast<unsigned>(counter),
                          "MOL", "", residue.c_str(), r[0], r[1], r[2], 1.0, 0.0, "",
                          symbol.c_str(), "");
            EXPECT_EQ(pdb_atom_record(serial, row, counter, residue, r), expected) << x;
        }
}

TEST(OutputNames, BesideTheInputInAFolderOrAsGiven) {
    EXPECT_EQ(single_output_path(plan_output("run.1/crystal", "", "", false), Format::kPdb),
              "run.1/crystal.pdb");
    EXPECT_EQ(single_output_path(plan_output("a/b.cif", "", "out", false), Format::kCif),
              "out/b.cif");
    EXPECT_EQ(single_output_path(plan_output("a/b.cif", "c/d.xyz", "", false), Format::kPdb),
              "c/d.xyz");
    const OutputTarget split = plan_output("a/b.cif", "", "out", true);
    EXPECT_EQ(split.directory, "out");
    EXPECT_EQ(molecule_output_path(split, Format::kXyz, 1), "out/b_01.xyz");
    EXPECT_EQ(molecule_output_path(split, Format::kMol, 100), "out/b_100.mol");
    EXPECT_EQ(molecule_output_path(split, Format::kGaussian, 2), "out/b-02.com");
    EXPECT_EQ(molecule_output_path(plan_output("b.cif", "q/job.in", "", true), Format::kQchem, 3),
              "q/job-03.in");
    EXPECT_EQ(single_output_path(block_target(plan_output("b.cif", "", "", false), "form/II"),
                                 Format::kPdb),
              "b_form_II.pdb");
    EXPECT_EQ(single_output_path(block_target(plan_output("b.cif", "x.cif", "", false), "I"),
                                 Format::kCif),
              "x_I.cif");
}

TEST(Formulas, HillOrder) {
    const std::vector<std::pair<std::vector<int>, std::string>> cases = {
        {{6, 1, 1, 1, 1}, "CH4"}, {{1, 8, 1}, "H2O"},  // no carbon: alphabetical, H among the rest
        {{17, 11}, "ClNa"},       {{7, 6, 17, 1, 6, 1}, "C2H2ClN"},
        {{26, 6, 6}, "C2Fe"},     {{-1, 6}, "CX"}};
    for (const auto& [rows, formula] : cases) EXPECT_EQ(hill_formula(rows), formula);
    EXPECT_EQ(grouped_formulas({"C10H8", "H2O", "C10H8"}), "C10H8 x2, H2O x1");
}

TEST(PrintedReports, TheStoresWarningsAndItsFatalMessage) {
    const std::string captured =
        "  natoms = 3\nWARNING: The Chiral Flag should be either 0 or 1.\nread on\n"
        "WARNING: Overlapped atoms\n         Number of overlapped atoms is 2\n"
        "\nERROR  transport : fileio : line 12 : \nWARNING: Problems reading a MDL file\n"
        "         Cannot read atom and bond count\n";
    EXPECT_EQ(store_warnings(captured),
              (std::vector<std::string>{"The Chiral Flag should be either 0 or 1.",
                                        "Overlapped atoms Number of overlapped atoms is 2"}));
    EXPECT_EQ(store_fatal_message(captured),
              "Problems reading a MDL file Cannot read atom and bond count");
    EXPECT_EQ(store_fatal_message("no header\n"), "");
    EXPECT_EQ(last_line("first\n  last words \n\n"), "last words");
}

}  // namespace
