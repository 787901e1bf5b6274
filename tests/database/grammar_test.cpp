// CIF 1.1 as database files write it: every layout of one crystal reads to the same cell;
// the known breakages read with a warning that names their line; anything else is an error
// "FILE:LINE:COLUMN: message"; data blocks chosen by default, by name, or all of them.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "database_test_support.h"

namespace {

using database_test::data;
using database_test::formula_counts;
using database_test::has_warning;
using database_test::read;
using database_test::read_text;

// ethyne_dinitrogen.cif: ethyne at the origin and dinitrogen at the body centre, both on
// inversion centres of P -1: 3 sites x 2 operations = 6 atoms, no site on a centre.
void expect_ethyne_and_dinitrogen(const std::string& name) {
    SCOPED_TRACE(name);
    const database_test::Read r = read(name);
    EXPECT_EQ(r.info.atoms, 6);
    EXPECT_EQ(r.info.molecules, 2);
    EXPECT_EQ(formula_counts(r.info), "1xC2H2 1xN2");
    database_test::expect_whole_molecules(*r.store, r.info);
    EXPECT_DOUBLE_EQ(r.store->cell_latt[0], 10.0);
    // The ethyne is cut by the cell faces: made whole, its centre lands on the origin.
    EXPECT_EQ(r.store->mol_natoms[0], 4);
    EXPECT_NEAR(r.store->mol_x[0][0] + r.store->mol_x[0][6], 0.0, 1e-9);
    EXPECT_NEAR(std::fabs(r.store->mol_x[0][0] - r.store->mol_x[0][6]), 1.2, 1e-9);
}

TEST(Dialects, EveryLayoutOfOneCrystalReadsTheSame) {
    for (const char* name : {"ethyne_dinitrogen.cif", "loops_first.cif", "split_quoted.cif",
                             "crlf_tabs.cif", "dotted_tags.cif", "cartesian.cif"})
        expect_ethyne_and_dinitrogen(name);
}

TEST(Dialects, NumbersWithUncertaintiesAndQuotedNames) {
    const database_test::Read r = read("ethyne_dinitrogen.cif");
    EXPECT_DOUBLE_EQ(r.info.cell[2], 10.0);
    EXPECT_NEAR(r.info.cell_su[2], 0.003, 1e-15);
    EXPECT_EQ(r.info.cell_su[3], 0.0);
    EXPECT_EQ(r.store->identifier, "ethyne dinitrogen");
    EXPECT_EQ(r.store->spacegroup_name, "P -1");
    EXPECT_EQ(r.store->spacegroup_number, 2);
    EXPECT_TRUE(r.info.warnings.empty()) << database_test::warnings_of(r.info);
}

struct Repair {
    const char* file;
    const char* warning;  // the whole text of the one warning
};

TEST(GrammarRepairs, EachBreakageReadsWithAWarningThatNamesItsLine) {
    const Repair repairs[] = {
        {"text_before_data.cif", ":1: text before the first data block ignored (2 lines)"},
        {"token_after_name.cif",
         ":1: text after the block name data_token_after_name ignored: P-1 export"},
        {"unclosed_quote.cif",
         ":2: quoted value never closed; closed at the end of the line: 'ethyne dinitrogen"},
        {"tag_without_value.cif", ":2: tag _journal_name_full has no value"},
        {"duplicate_tag.cif",
         ":8: tag _cell_length_a given again (first at line 2); the first is used"},
        {"items_before_heading.cif",
         ":3: data items before any data_ heading: read as the block items_before_heading"},
    };
    for (const Repair& repair : repairs) {
        SCOPED_TRACE(repair.file);
        const database_test::Read r = read(repair.file);
        ASSERT_EQ(r.info.warnings.size(), 1u) << database_test::warnings_of(r.info);
        EXPECT_EQ(r.info.warnings[0], data(repair.file) + repair.warning);
        EXPECT_EQ(formula_counts(r.info), "1xC2H2 1xN2");
    }
}

TEST(GrammarRepairs, RepairedValuesAreRead) {
    EXPECT_EQ(read("unclosed_quote.cif").store->identifier, "ethyne dinitrogen");
    EXPECT_EQ(read("token_after_name.cif").info.block, "token_after_name");
    EXPECT_DOUBLE_EQ(read("duplicate_tag.cif").info.cell[0], 10.0);
    EXPECT_EQ(read("items_before_heading.cif").info.block, "items_before_heading");
    EXPECT_EQ(read("items_before_heading.cif").store->identifier, "ethyne dinitrogen");
}

struct Broken {
    const char* what;
    std::string text;
    const char* error;  // Error::what() after "test.cif"
};

const std::string kCrystal =
    database_test::right_cell("10", "10") + database_test::kSiteLoop + "N1 0.555 0.5 0.5\n";

// Items first, then a block: the items are a block of their own (whose warning is not the
// other block's), the stray text before them is ignored as before.
TEST(GrammarRepairs, ItemsBeforeTheFirstHeadingAreABlockOfTheirOwn) {
    const std::string text = "exported\n_journal_year 2001\ndata_x\n" + kCrystal;
    const database_test::Read r = read_text(text);
    EXPECT_EQ(r.info.block, "x");
    EXPECT_TRUE(database_test::has_warning(r.info, "test.cif:1: text before the first data block"));
    EXPECT_FALSE(database_test::has_warning(r.info, "data items before any data_ heading"));
    const database_test::Read alone = read_text("_journal_year 2001\n" + kCrystal);
    EXPECT_EQ(alone.info.block, "test");
    EXPECT_EQ(alone.info.warnings.at(0),
              "test.cif:1: data items before any data_ heading: read as the block test");
}

TEST(GrammarErrors, OtherBreakagesAreErrorsWithTheirPosition) {
    const Broken cases[] = {
        {"a loop row short of a value", "data_x\n" + kCrystal.substr(0, kCrystal.size() - 5) + "\n",
         ":8:1: Wrong number of values in the loop"},
        {"a text field never closed", "data_x\n_publ_section_comment\n;\nno end\n",
         ":5:1: unterminated text field (opened at line 3)"},
        {"no data block at all", "cell 10\n", ":1:1: expected block header (data_)"},
        {"items without a heading or atoms", "_cell_length_a 10\n",
         ": no data block holds atom sites (_atom_site_fract_x or _atom_site_Cartn_x)"},
        {"nothing but comments", "# empty\n", ": no data block (data_) in the file"},
        {"a data block without atoms", "data_x\n_cell_length_a 10\n",
         ": no data block holds atom sites (_atom_site_fract_x or _atom_site_Cartn_x)"},
    };
    for (const Broken& c : cases) {
        SCOPED_TRACE(c.what);
        try {
            read_text(c.text);
            ADD_FAILURE() << "no error";
        } catch (const teska::Error& e) {
            EXPECT_EQ(std::string(e.what()), std::string("test.cif") + c.error);
            EXPECT_EQ(e.file(), "test.cif");
        }
    }
}

// A file that cannot be read names itself; an endless stream is read up to the size limit,
// not until memory runs out.
TEST(GrammarErrors, AnUnreadableFileOrEndlessStreamNamesItself) {
    const std::pair<const char*, const char*> cases[] = {
        {"/nonexistent/x.cif",
         "/nonexistent/x.cif: cannot open the file: No such file or directory"},
        {"/dev/zero", "/dev/zero: the file is larger than 1 GiB"}};
    for (const auto& [path, message] : cases) {
        FileIO store;
        try {
            teska::read_database_cif(store, path);
            ADD_FAILURE() << "no error for " << path;
        } catch (const teska::Error& e) {
            EXPECT_EQ(std::string(e.what()), message);
            EXPECT_EQ(e.line(), 0);
        }
    }
}

TEST(Blocks, FirstWithAtomSitesByNameOrEveryOne) {
    const std::string path = data("several_blocks.cif");
    EXPECT_EQ(teska::database_blocks_with_atoms(path),
              (std::vector<std::string>{"ethyne_dinitrogen", "ammonia"}));

    const database_test::Read first = read("several_blocks.cif");
    EXPECT_EQ(first.info.block, "ethyne_dinitrogen");
    EXPECT_EQ(formula_counts(first.info), "1xC2H2 1xN2");

    teska::ReadOptions by_name;
    by_name.block = "AMMONIA";
    const database_test::Read named = read("several_blocks.cif", by_name);
    EXPECT_EQ(named.info.block, "ammonia");
    EXPECT_EQ(named.info.symmetry_source, "H-M");
    EXPECT_EQ(formula_counts(named.info), "1xH3N");

    std::vector<std::string> handed;
    const std::vector<teska::BlockResult> every = teska::read_database_cif_every_block(
        path, {}, [&handed](FileIO& store, const teska::CrystalInfo& info) {
            handed.push_back(info.block + " " + std::to_string(store.natoms_cif));
        });
    ASSERT_EQ(every.size(), 2u);
    EXPECT_TRUE(every[0].ok && every[1].ok);
    EXPECT_EQ(handed, (std::vector<std::string>{"ethyne_dinitrogen 6", "ammonia 4"}));

    by_name.block = "missing";
    EXPECT_THROW(read("several_blocks.cif", by_name), teska::Error);
}

TEST(Blocks, EveryBlockReportsAFailingBlockAndReadsTheOthers) {
    test_support::ScratchDir dir;
    const std::string path = dir.file("two.cif");
    test_support::write_file(path, "data_bad\n" + kCrystal + "data_good\n" + kCrystal +
                                       "data_nocell\n" + kCrystal.substr(18));
    const std::vector<teska::BlockResult> every = teska::read_database_cif_every_block(path);
    ASSERT_EQ(every.size(), 3u);
    EXPECT_TRUE(every[0].ok);
    EXPECT_TRUE(every[1].ok);
    EXPECT_FALSE(every[2].ok);
    EXPECT_EQ(every[2].error, path + ": no value of _cell_length_a");
}

}  // namespace
