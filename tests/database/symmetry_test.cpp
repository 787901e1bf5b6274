// Symmetry of a block: triplets in every form database files use, and each source in its
// order (operations loop, Hall symbol, H-M name in any setting, IT number, none).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "database_detail.h"
#include "database_test_support.h"

namespace {

using database_test::formula_counts;
using database_test::has_warning;
using database_test::read_text;
using teska::database_detail::parse_operation;

struct Triplet {
    const char* text;
    int rot[9];  // in units of 1/24
    int tran[3];
};

TEST(Triplets, EveryWrittenFormGivesItsExactMatrix) {
    const Triplet cases[] = {
        {"x,y,z", {24, 0, 0, 0, 24, 0, 0, 0, 24}, {0, 0, 0}},
        {"-x+1/2, y+1/2, -z", {-24, 0, 0, 0, 24, 0, 0, 0, -24}, {12, 12, 0}},
        {"1/2+x,1/2-y,z", {24, 0, 0, 0, -24, 0, 0, 0, 24}, {12, 12, 0}},
        {"x-y,x,z+1/6", {24, -24, 0, 24, 0, 0, 0, 0, 24}, {0, 0, 4}},
        {".5+Y,-X,Z", {0, 24, 0, -24, 0, 0, 0, 0, 24}, {12, 0, 0}},
        {"x+0.3333,y+0.6667,z+0.66667", {24, 0, 0, 0, 24, 0, 0, 0, 24}, {8, 16, 16}},
        {"x, y, z+0.25", {24, 0, 0, 0, 24, 0, 0, 0, 24}, {0, 0, 6}},
        {"-x+3/4,-y+3/4,z", {-24, 0, 0, 0, -24, 0, 0, 0, 24}, {18, 18, 0}},
    };
    for (const Triplet& c : cases) {
        SCOPED_TRACE(c.text);
        gemmi::Op op;
        std::string problem;
        ASSERT_TRUE(parse_operation(c.text, &op, &problem)) << problem;
        for (int k = 0; k < 9; ++k) EXPECT_EQ(op.rot[k / 3][k % 3], c.rot[k]) << k;
        for (int k = 0; k < 3; ++k) EXPECT_EQ(op.tran[k], c.tran[k]) << k;
    }
}

TEST(Triplets, UnreadableOperationsSayWhy) {
    const std::pair<const char*, const char*> cases[] = {
        {"x,y", "expected exactly two commas in triplet"},
        {"x+0.33,y,z", "decimal 0.33 is not a multiple of 1/24"},
        {"x+123456789012345678901234567890/2,y,z",
         "number 123456789012345678901234567890 has too many digits"},
        {"x,x,z", "the rotation does not have determinant 1 or -1"},
        {"1/2*x,y,z", "the rotation is not an integer matrix"},
        {"x..5,y,z", "number ..5 cannot be read"},
        // A whole number written with a point is a decimal: bounded before it is put in 24ths.
        {"x+4014124049.,y,z", "decimal 4014124049. is out of range"},
        {"x,y-10000.5,z", "decimal 10000.5 is out of range"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first);
        gemmi::Op op;
        std::string problem;
        EXPECT_FALSE(parse_operation(c.first, &op, &problem));
        EXPECT_EQ(problem, c.second);
    }
    gemmi::Op op;
    std::string problem;
    EXPECT_FALSE(parse_operation(std::string(200, ' ') + "x,y,z", &op, &problem));
}

struct Named {
    const char* tags;  // the symmetry part of the block
    const char* source;
    const char* name;  // as reported
    int number;
    int operations;
};

// The symmetry read from a block that holds only the given tags and a cell of gamma 120
// (so that R names without a setting read in the hexagonal one).
teska::database_detail::Symmetry symmetry_of(const std::string& tags,
                                             std::vector<std::string>* warnings = nullptr) {
    teska::database_detail::Report report("x.cif");
    gemmi::cif::Document doc =
        teska::database_detail::parse_document("data_x\n" + tags + "\n", report);
    const teska::database_detail::Symmetry symmetry =
        teska::database_detail::read_symmetry(doc.blocks[0], 90.0, 120.0, report);
    if (warnings) *warnings = report.warnings();
    return symmetry;
}

TEST(SymmetrySources, NamesInEverySettingAndSpelling) {
    const Named cases[] = {
        {"_symmetry_space_group_name_H-M 'P 21/c'", "H-M", "P 1 21/c 1", 14, 4},
        {"_symmetry_space_group_name_H-M 'P2(1)/n'", "H-M", "P 1 21/n 1", 14, 4},
        {"_symmetry_space_group_name_H-M P_21_21_21", "H-M", "P 21 21 21", 19, 4},
        {"_space_group_name_H-M_alt 'P 1 21/a 1'", "H-M", "P 1 21/a 1", 14, 4},
        {"_space_group_name_H-M_alt 'R -3 m :H'", "H-M", "R -3 m:H", 166, 36},
        {"_space_group_name_H-M_alt 'R -3 m :R'", "H-M", "R -3 m:R", 166, 12},
        {"_space_group_name_H-M_alt 'R__-3 __ m :H__'", "H-M", "R -3 m:H", 166, 36},
        {"_space_group_name_H-M_alt 'F d -3 m :2'", "H-M", "F d -3 m:2", 227, 192},
        {"_space_group_name_H-M_alt 'F d -3 m :1'", "H-M", "F d -3 m:1", 227, 192},
        {"_space_group_name_H-M_alt 'P 42/n :2'", "H-M", "P 42/n:2", 86, 8},
        {"_space_group_name_H-M_alt 'I 2/b 1 1'", "H-M", "I 2/b 1 1", 15, 8},
        {"_space_group_name_Hall '-P 2ybc'", "Hall", "P 1 21/c 1", 14, 4},
        {"_space_group_name_Hall '-P 2ybc'\n_space_group_name_H-M_alt 'P 1'", "Hall", "P 1 21/c 1",
         14, 4},
        {"_space_group_IT_number 19", "number", "P 21 21 21", 19, 4},
        {"_symmetry_Int_Tables_number 2", "number", "P -1", 2, 2},
        {"_journal_year 2024", "none", "P 1", 1, 1},
    };
    for (const Named& c : cases) {
        SCOPED_TRACE(c.tags);
        const teska::database_detail::Symmetry s = symmetry_of(c.tags);
        EXPECT_EQ(s.source, c.source);
        EXPECT_EQ(s.name, c.name);
        EXPECT_EQ(s.number, c.number);
        EXPECT_EQ(static_cast<int>(s.ops.size()), c.operations);
    }
}

TEST(SymmetrySources, NumbersOutsideTheTableAndUnknownNamesFallThrough) {
    // gemmi's number lookup answers 0 with P1: the range is checked first.
    std::vector<std::string> warnings;
    EXPECT_EQ(symmetry_of("_space_group_IT_number 0", &warnings).source, "none");
    EXPECT_EQ(warnings.at(0), "x.cif:2: space-group number '0' is not 1 to 230");
    EXPECT_EQ(symmetry_of("_space_group_IT_number 231").source, "none");
    const teska::database_detail::Symmetry s =
        symmetry_of("_space_group_name_H-M_alt 'Q 9'\n_space_group_IT_number 4", &warnings);
    EXPECT_EQ(s.source, "number");
    EXPECT_EQ(warnings.at(0), "x.cif:2: space-group name 'Q 9' not recognised");
    EXPECT_EQ(warnings.at(1),
              "x.cif:3: symmetry from the space-group number 4 alone: its "
              "standard setting P 1 21 1");
}

// Every Hall symbol of the tables goes to gemmi's parser; symbols it would apply a screw
// subscript along no axis with, over-long numbers and singular changes of basis do not. A
// refused symbol falls through to the next source with a warning.
TEST(SymmetrySources, HallSymbolsTheParserCannotTakeAreRefusedFirst) {
    using teska::database_detail::hall_symbol_problem;
    for (const gemmi::SpaceGroup& group : gemmi::spacegroup_tables::main)
        EXPECT_EQ(hall_symbol_problem(group.hall), "") << group.hall;
    EXPECT_EQ(hall_symbol_problem("-F 4 2\"3"), "the screw subscript of '2\"3' has no axis");
    EXPECT_EQ(hall_symbol_problem("P 3 2*1"), "the screw subscript of '2*1' has no axis");
    EXPECT_EQ(hall_symbol_problem("P 6 21"), "the screw subscript of '21' has no axis");
    EXPECT_EQ(hall_symbol_problem("P 2 1_21"), "the screw subscript of '21' has no axis");
    EXPECT_EQ(hall_symbol_problem("P 1 3 31"), "the screw subscript of '31' has no axis");
    EXPECT_EQ(hall_symbol_problem("P 2 2\"x1"), "");  // the axis is given
    EXPECT_EQ(hall_symbol_problem("P 2 21"), "");     // x after a 2-fold
    EXPECT_EQ(hall_symbol_problem("P 31 (0 0 12345)"), "a number has too many digits");
    // Found by fuzzing: an axis letter after a NUL hid the screw subscript before it.
    EXPECT_EQ(hall_symbol_problem(std::string("-F 4 2\"3\0try", 12)), "it holds a NUL character");
    EXPECT_EQ(hall_symbol_problem("P 2 (x,x,z)"),
              "change of basis 'x,x,z': the rotation does not have determinant 1 or -1");

    std::vector<std::string> warnings;
    const teska::database_detail::Symmetry s = symmetry_of(
        "_symmetry_space_group_name_Hall '-F 4 2\"3'\n_space_group_IT_number 2", &warnings);
    EXPECT_EQ(s.source, "number");
    EXPECT_EQ(warnings.at(0),
              "x.cif:2: Hall symbol '-F 4 2\"3' cannot be read: the screw subscript of '2\"3' "
              "has no axis");
}

const std::string kEthyneDinitrogen = database_test::right_cell("10", "10") +
                                      "loop_\n_atom_site_label\n_atom_site_type_symbol\n"
                                      "_atom_site_fract_x\n_atom_site_fract_y\n_atom_site_fract_z\n"
                                      "C1 C 0.06 0 0\nH1 H 0.166 0 0\nN1 N 0.555 0.5 0.5\n";

// One crystal, P -1 from each source: the same 6 atoms. Without any, P 1 halves it: a CH
// and an N that bond to nothing.
TEST(SymmetrySources, EachSourceGivesTheCrystal) {
    const std::pair<const char*, const char*> sources[] = {
        {"loop_\n_space_group_symop_operation_xyz\n'x,y,z'\n'-x,-y,-z'\n", "loop"},
        {"loop_\n_symmetry_equiv_pos_site_id\n_symmetry_equiv_pos_as_xyz\n1 x,y,z\n2 -x,-y,-z\n",
         "loop"},
        {"_space_group_name_Hall '-P 1'\n", "Hall"},
        {"_symmetry_space_group_name_H-M 'P -1'\n", "H-M"},
        {"_space_group_IT_number 2\n", "number"},
    };
    for (const auto& source : sources) {
        SCOPED_TRACE(source.second);
        const database_test::Read r = read_text("data_x\n" + (source.first + kEthyneDinitrogen));
        EXPECT_EQ(r.info.symmetry_source, source.second);
        EXPECT_EQ(formula_counts(r.info), "1xC2H2 1xN2");
        EXPECT_EQ(r.info.spacegroup, "P -1");
    }
    const database_test::Read none = read_text("data_x\n" + kEthyneDinitrogen);
    EXPECT_EQ(none.info.symmetry_source, "none");
    EXPECT_EQ(formula_counts(none.info), "1xCH 1xN");
    EXPECT_TRUE(has_warning(none.info,
                            "test.cif: no symmetry operations, Hall symbol, H-M "
                            "name or number: read as P 1"));
}

TEST(SymmetrySources, ALoopThatDisagreesWithTheNameWinsWithAWarning) {
    const database_test::Read r =
        read_text(std::string("data_x\n_symmetry_space_group_name_H-M 'P 1 21/c 1'\n"
                              "loop_\n_symmetry_equiv_pos_as_xyz\nx,y,z\n-x,-y,-z\n") +
                  kEthyneDinitrogen);
    EXPECT_EQ(r.info.symmetry_source, "loop");
    EXPECT_EQ(r.info.operations.size(), 2u);
    EXPECT_EQ(r.info.spacegroup, "P -1");
    EXPECT_EQ(r.info.warnings,
              std::vector<std::string>{"test.cif:3: the operations loop disagrees with the space "
                                       "group H-M 'P 1 21/c 1'; the loop is used"});
}

TEST(SymmetrySources, AnUnreadableLoopFallsBackToTheNameOrIsAnError) {
    const std::string loop = "loop_\n_symmetry_equiv_pos_as_xyz\nx,y,z\n'-x,-y'\n";
    const database_test::Read r =
        read_text("data_x\n_space_group_IT_number 2\n" + loop + kEthyneDinitrogen);
    EXPECT_EQ(r.info.symmetry_source, "number");
    EXPECT_TRUE(has_warning(r.info,
                            "test.cif:3: operation '-x,-y' cannot be read: expected "
                            "exactly two commas in triplet; the symmetry of the space "
                            "group number is used"));
    EXPECT_EQ(database_test::error_of("data_x\n" + loop + kEthyneDinitrogen),
              "test.cif:2: operation '-x,-y' cannot be read: expected exactly two commas in "
              "triplet");
}

TEST(SymmetrySources, OperationsAreWrappedAndGivenAsAffineMaps) {
    const database_test::Read r = read_text(
        std::string("data_x\nloop_\n_symmetry_equiv_pos_as_xyz\nx,y,z\n-x+1,-y,-z-1/2\n") +
        kEthyneDinitrogen);
    ASSERT_EQ(r.info.operations.size(), 2u);
    EXPECT_EQ(r.info.operations[1], (std::vector<double>{-1, 0, 0, 0, 0, -1, 0, 0, 0, 0, -1, 0.5}));
    EXPECT_EQ(r.store->cif_symops, (std::vector<std::string>{"x,y,z", "-x,-y,-z+1/2"}));
}

}  // namespace
