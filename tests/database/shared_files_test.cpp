// Every database file beside the project reads to the chemistry that its MANIFEST line
// gives (shared_files.tsv says, per file, what that chemistry means for the cell); none
// gives an empty success. Skipped when the folder is absent.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "database_test_support.h"

namespace {

struct Expected {
    std::string file;
    int atoms, molecules, periodic;
    std::string formulas;
};

std::vector<Expected> expected_files() {
    std::vector<Expected> rows;
    for (const auto& f : test_support::tsv_rows(database_test::data("shared_files.tsv")))
        rows.push_back(
            {f.at(0), std::stoi(f.at(1)), std::stoi(f.at(2)), std::stoi(f.at(3)), f.at(4)});
    return rows;
}

TEST(SharedFiles, EachReadsToItsChemistry) {
    SKIP_WITHOUT_SHARED_CIFS();
    const std::vector<Expected> rows = expected_files();
    std::set<std::string> listed;
    for (const Expected& row : rows) {
        SCOPED_TRACE(row.file);
        listed.insert(row.file);
        FileIO store;
        teska::CrystalInfo info;
        try {
            info = teska::read_database_cif(store, test_support::shared_cif(row.file));
        } catch (const teska::Error& e) {
            ADD_FAILURE() << e.what();
            continue;
        }
        EXPECT_GT(info.atoms, 0);
        EXPECT_EQ(info.atoms, row.atoms);
        EXPECT_EQ(info.molecules, row.molecules);
        int periodic = 0;
        for (char p : info.periodic) periodic += p;
        EXPECT_EQ(periodic, row.periodic);
        EXPECT_EQ(database_test::formula_counts(info), row.formulas);
        database_test::expect_whole_molecules(store, info);
    }
    // Every crystal file of the folder is in the table.
    for (const std::string& name : test_support::shared_cif_names())
        EXPECT_EQ(listed.count(name), 1u) << name;
}

}  // namespace
