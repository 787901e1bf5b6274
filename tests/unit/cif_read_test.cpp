// CIF reader: the rules of the line scan, whole reads with the verbose report, the fatal
// messages and inputs broken on purpose.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "cif_reader.h"
#include "teska/fileio.h"
#include "test_support.h"

namespace {

using test_support::golden;
using test_support::read_file;
using test_support::test_data;
using Texts = std::vector<std::string>;

// Lists as "a;b|c;d".
std::string columns(std::initializer_list<const Texts*> lists) {
    std::string out;
    for (const Texts* list : lists) {
        if (list != *lists.begin()) out += '|';
        for (std::size_t i = 0; i < list->size(); ++i) out += (i ? ";" : "") + (*list)[i];
    }
    return out;
}

// The fields a scan fills, each one that has left its default as " key=value".
std::string scanned_fields(const FileIO& s) {
    const Atoms& a = s.cif_atoms;
    const Bonds& b = s.cif_bonds;
    std::ostringstream out;
    out.precision(15);
    if (s.identifier != "teska") out << " id=[" << s.identifier << "]";
    if (!s.chemical_name.empty()) out << " name=" << s.chemical_name;
    if (s.spacegroup_number >= 0) out << " number=" << s.spacegroup_number;
    if (!s.spacegroup_name.empty()) out << " sg=" << s.spacegroup_name;
    if (std::count(s.cell_latt, s.cell_latt + 6, 0.0) < 6)
        for (int k = 0; k < 6; ++k) out << (k ? "," : " cell=") << s.cell_latt[k];
    if (!s.cif_symops.empty()) out << " ops=" << columns({&s.cif_symops});
    if (!a.cif_atom_label.empty())
        out << " atoms="
            << columns({&a.cif_atom_label, &a.cif_atom_symbol, &a.cif_fx, &a.cif_fy, &a.cif_fz});
    if (!b.bond_label1.empty())
        out << " bonds="
            << columns({&b.bond_label1, &b.bond_label2, &b.bond_distance, &b.bond_symmetry,
                        &b.bond_type});
    return out.str();
}

// Each case of the rules file ("=== name" and its lines) is scanned on its own.
TEST(CifScan, RulesOfTheLineScan) {
    std::istringstream file(read_file(test_data("reader/scan_rules.txt")));
    std::vector<Texts> cases;  // the name line, then the lines of the case
    for (std::string line; std::getline(file, line);) {
        if (cases.empty() || line.rfind("=== ", 0) == 0) cases.emplace_back();
        cases.back().push_back(line);
    }
    std::string report;
    for (const Texts& c : cases) {
        FileIO store;
        fileio_detail::scan_cif_lines(store, Texts(c.begin() + 1, c.end()));
        report += c[0].substr(4) + ":" + scanned_fields(store) + "\n";
    }
    EXPECT_EQ(report, read_file(golden("reader/scan_rules.txt")));
}

std::string read_verbose(FileIO& store, const std::string& path) {
    return test_support::stdout_of([&] { store.read_data_cif(path.c_str(), true); });
}

TEST(CifRead, VerboseReportsOfHandMadeCrystals) {
    for (const std::string name :
         {"chlorine_sodium", "rock_salt_192_operations", "short_row", "ends_in_text_field",
          "ends_in_loop_header", "no_symmetry_loop", "no_cell_length_b"}) {
        const std::string path = test_data("reader/" + name + ".cif");
        FileIO store;
        EXPECT_EQ(read_verbose(store, path), "Reading crystal file \"" + path + "\"... \n" +
                                                 read_file(golden("reader/" + name + ".stdout")) +
                                                 "Crystal file " + path + " parsing done.\n");
    }
}

TEST(CifRead, AtomsAfterExpansionAndSeparation) {
    test_support::ScratchDir dir;  // the salt behind a line of a megabyte
    test_support::write_file(dir.file("long.cif"),
                             "_chemical_name_common '" + std::string(1 << 20, 'x') + "'\n" +
                                 read_file(test_data("reader/chlorine_sodium.cif")));
    FileIO salt, short_row;
    read_verbose(salt, dir.file("long.cif"));
    read_verbose(short_row, test_data("reader/short_row.cif"));
    EXPECT_EQ(salt.chemical_name.size(), 1u << 20);
    // Images Cl1, Na1, Cl1 at (0.9, 0, 0); the two Cl bond across the face.
    EXPECT_EQ(salt.mol_atom_list, (std::vector<int>{0, 2, 1}));
    EXPECT_NEAR(salt.cif_x[6], 9.0, 1e-12);  // Cartesian coordinates of the grown list
    // Past the end of its short lists, the second atom reads empty texts: no element, z = 0.
    EXPECT_EQ(short_row.cif_atypes[1], -1);
    EXPECT_EQ(short_row.cif_x_s[5], 0.0);
}

// Rows too short, and cells that give no lattice (no row).
TEST(CifReadDeathTest, FatalInputs) {
    const std::pair<std::string, const char*> cases[] = {
        {"atom_row_crlf", "C1 C 0\\.1 0\\.2"},  // the row as trimmed
        {"blank_line_before_rows", ""},
        {"comment_after_rows", "# end of atoms"},
        {"short_bond_row", "1\\.39 C1 C2 \\."},
        {"empty", nullptr},
        {"binary", nullptr},
        {"no_cell", nullptr},
    };
    for (const auto& c : cases) {
        const std::string path = test_data("reader/" + c.first + ".cif");
        const std::string message =
            c.second ? "Not enough columns: " + std::string(c.second) +
                           "\nAt least 5 columns are expected!\n$"
                     : "The cell of \".*" + c.first + "\\.cif\" is not a valid lattice: a = 0, " +
                           "b = 0, c = 0, alpha = 0, beta = 0, gamma = 0\n$";
        FileIO store;
        EXPECT_EXIT((test_support::stdout_to_stderr(), store.read_data_cif(path.c_str(), false)),
                    ::testing::ExitedWithCode(255),
                    "\nERROR  transport : fileio : line [0-9]+ : \n" + message)
            << c.first;
    }
}

}  // namespace
