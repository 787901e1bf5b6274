// End-to-end conversions of crystal files written in the manner of database files, compared
// byte for byte with the expected PDB file and standard output, quiet and verbose.
//   chloroacetonitrile     P 21 21 21, molecules cut by two faces, quoted operations,
//                          standard uncertainties, a ';' text field, loops after the atoms
//   ferrocene_p21c         P 1 21/c 1 (beta 121), molecules on inversion centres, the iron on
//                          the centre dropped as an overlap, operations with an id column
//   acetonitrile_hydrate   P -1 solvate, a bond loop before the atoms, centres of mass wrapped
//                          both ways
//   benzene_no_blank_line  the atom loop right after the operations: read as an operation, so
//                          the cell is empty
//   naphthalene            the bundled example, centres of mass on the cell faces
#include <gtest/gtest.h>

#include <string>

#include "test_support.h"

namespace {

using test_support::golden;
using test_support::read_file;
using test_support::run_cif2pdb;
using test_support::ScratchDir;
using test_support::test_data;
using test_support::write_file;

struct GoldenCase {
    std::string stem;
    std::string input;
};

void PrintTo(const GoldenCase& c, std::ostream* os) { *os << c.stem; }

class GoldenConversion : public testing::TestWithParam<GoldenCase> {
   protected:
    void SetUp() override { write_file(dir.file(stem() + ".cif"), read_file(GetParam().input)); }
    std::string stem() const { return GetParam().stem; }
    ScratchDir dir;
};

TEST_P(GoldenConversion, QuietRunWritesTheExpectedFile) {
    const auto run = run_cif2pdb({stem() + ".cif"}, dir.path());
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, read_file(golden(stem() + ".stdout")));
    EXPECT_EQ(read_file(dir.file(stem() + ".pdb")), read_file(golden(stem() + ".pdb")));
}

TEST_P(GoldenConversion, VerboseRunReportsEveryStageAndWritesTheSameFile) {
    const auto run = run_cif2pdb({stem() + ".cif", "out.pdb", "-verbose"}, dir.path());
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, read_file(golden(stem() + ".verbose.stdout")));
    EXPECT_EQ(read_file(dir.file("out.pdb")), read_file(golden(stem() + ".pdb")));
}

INSTANTIATE_TEST_SUITE_P(
    Crystals, GoldenConversion,
    testing::Values(
        GoldenCase{"chloroacetonitrile", test_data("golden_inputs/chloroacetonitrile.cif")},
        GoldenCase{"ferrocene_p21c", test_data("golden_inputs/ferrocene_p21c.cif")},
        GoldenCase{"acetonitrile_hydrate", test_data("golden_inputs/acetonitrile_hydrate.cif")},
        GoldenCase{"benzene_no_blank_line", test_data("golden_inputs/benzene_no_blank_line.cif")},
        GoldenCase{"naphthalene", std::string(EXAMPLES_DIR) + "/naphthalene.cif"}),
    [](const testing::TestParamInfo<GoldenCase>& param) { return param.param.stem; });

}  // namespace
