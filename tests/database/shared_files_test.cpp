// Every database file beside the project reads to the chemistry that its MANIFEST line
// gives (shared_files.tsv says, per file, what that chemistry means for the cell); none
// gives an empty success. Skipped when the folder is absent.
#include <gtest/gtest.h>

#include <set>
#include <sstream>
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
    std::istringstream table(test_support::read_file(database_test::data("shared_files.tsv")));
    std::vector<Expected> rows;
    bool header = true;
    for (std::string line; std::getline(table, line);) {
        if (line.empty() || line[0] == '#') continue;
        if (header) {
            header = false;
            continue;
        }
        std::istringstream fields(line);
        Expected row;
        std::string atoms, molecules, periodic;
        std::getline(fields, row.file, '\t');
        std::getline(fields, atoms, '\t');
        std::getline(fields, molecules, '\t');
        std::getline(fields, periodic, '\t');
        std::getline(fields, row.formulas, '\t');
        row.atoms = std::stoi(atoms);
        row.molecules = std::stoi(molecules);
        row.periodic = std::stoi(periodic);
        rows.push_back(row);
    }
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
    std::istringstream manifest(
        test_support::read_file(std::string(SHARED_CIF_DIR) + "/MANIFEST.tsv"));
    std::string line;
    std::getline(manifest, line);
    while (std::getline(manifest, line)) {
        if (!line.empty()) {
            EXPECT_EQ(listed.count(line.substr(0, line.find('\t'))), 1u) << line;
        }
    }
}

}  // namespace
