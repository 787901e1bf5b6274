// CIF reader: the rules of the line scan, the verbose summary, the fatal messages and inputs
// broken on purpose.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "cif_reader.h"
#include "fileio.h"
#include "test_support.h"

namespace {

using fileio_detail::scan_cif_lines;
using test_support::ScratchDir;
using test_support::write_file;
using Texts = std::vector<std::string>;

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

// Fatal column messages go to standard output; a death test matches the error stream.
void scan_with_stdout_on_stderr(const std::string& text) {
    std::fflush(stdout);
    ::dup2(2, 1);
    FileIO store;
    scan_cif_lines(store, lines_of(text));
}

const char* const kAtomHeader =
    "loop_\n_atom_site_label\n_atom_site_type_symbol\n"
    "_atom_site_fract_x\n_atom_site_fract_y\n_atom_site_fract_z\n";
// The distance comes first: a first header line naming "_atom_site" makes the loop an
// atom-site loop.
const char* const kBondHeader =
    "loop_\n_geom_bond_distance\n_geom_bond_atom_site_label_1\n"
    "_geom_bond_atom_site_label_2\n_geom_bond_site_symmetry_2\n";
const char* const kFatalHeader = "\nERROR  transport : fileio : line [0-9]+ : \n";

class CifScan : public ::testing::Test {
   protected:
    int scan(const std::string& text) { return scan_cif_lines(store, lines_of(text)); }
    const Texts& labels() const { return store.cif_atoms.cif_atom_label; }
    FileIO store;
};

// ----- Lines with one value -----

TEST_F(CifScan, IdentifierFromDataLineAndCommonName) {
    const struct {
        const char* text;
        const char* identifier;
    } cases[] = {
        {"data_benzene", "benzene"},
        {"DATA_Benzene", "Benzene"},
        {"  data_crlf  \r", "crlf"},
        {"data_", ""},
        {"data", "teska"},  // shorter than five characters
        {"data_a\n_chemical_name_common 'hexa methyl'", "hexa methyl"},
        {"_chemical_name_common b\ndata_a", "a"},
        {"_chemical_name_common ?", "?"},
        {"_chemical_name_common\n;\nbenzene\n;", "_chemical_name_common"},
    };
    for (const auto& c : cases) {
        FileIO fresh;
        scan_cif_lines(fresh, lines_of(c.text));
        EXPECT_EQ(fresh.identifier, c.identifier) << c.text;
    }
}

TEST_F(CifScan, CellParametersReadByAtofAnywhereInTheLine) {
    scan(
        "_cell_length_a 10.123(4)\n"
        "_cell_length_b\t10.1\n"  // no space: the value is the whole line
        "_cell_length_c 7\n"
        "#_cell_length_c 5\n"
        "x_cell_angle_alpha 3\n"
        "_cell_angle_beta    95.5(1)\n"
        "_cell_angle_gamma ?\n");
    const double expected[6] = {10.123, 0, 7, 3, 95.5, 0};
    for (int k = 0; k < 6; ++k) EXPECT_DOUBLE_EQ(store.cell_latt[k], expected[k]) << k;
}

TEST_F(CifScan, SpaceGroupNumberAndNameWithQuotesKept) {
    scan("_space_group_IT_number 14\n_symmetry_space_group_name_H-M   'P 1 21/c 1' \n");
    EXPECT_EQ(store.spacegroup_number, 14);
    EXPECT_EQ(store.spacegroup_name, "'P 1 21/c 1'");
    scan("_space_group_name_H-M_alt 'P -1'");
    EXPECT_EQ(store.spacegroup_name, "'P -1'");
}

TEST_F(CifScan, TextFieldIsSkippedThroughItsClosingLine) {
    scan("_cell_length_a 1\n;\n_cell_length_a 2\n  ; indented, not closing\n;\n_cell_length_b 3");
    EXPECT_EQ(store.cell_latt[0], 1);
    EXPECT_EQ(store.cell_latt[1], 3);
    scan(";\n_cell_length_c 2\nloop_\n");  // unclosed: runs to the end
    EXPECT_EQ(store.cell_latt[2], 0);
}

// ----- Symmetry-operation loops -----

TEST_F(CifScan, SymmetryLoopLayouts) {
    const struct {
        const char* text;
        Texts operations;
    } cases[] = {
        {"loop_\n_symmetry_equiv_pos_as_xyz\n'x, y, z'\n'-x+1/2, y+1/2, -z+1/2'\n\n'y,x,z'",
         {"x,y,z", "-x+1/2,y+1/2,-z+1/2"}},
        {"loop_\n_symmetry_equiv_pos_site_id\n_symmetry_equiv_pos_as_xyz\n1 x,y,z\n2 '-x, -y, -z'",
         {"x,y,z", "-x,-y,-z"}},
        {"loop_\n_space_group_symop_operation_xyz\n'x, y, z'\n# note", {"x,y,z", "#note"}},
        {"loop_\n_space_group_symop_id\n_space_group_symop_operation_xyz\n1 x,y,z\n", {}},
        {"loop_\n_symmetry_equiv_pos_as_xyz\nx,y,z\n''\n_cell_length_a 5\n-x,-y,-z", {"x,y,z"}},
        {"loop_\n_symmetry_equiv_pos_as_xyz", {}},
    };
    for (const auto& c : cases) {
        FileIO fresh;
        scan_cif_lines(fresh, lines_of(c.text));
        EXPECT_EQ(fresh.cif_symops, c.operations) << c.text;
    }
}

TEST_F(CifScan, TagRowEndsSymmetryLoopAndIsScanned) {
    scan("loop_\n_symmetry_equiv_pos_as_xyz\nx,y,z\n_cell_length_a 5\n");
    EXPECT_EQ(store.cif_symops, Texts{"x,y,z"});
    EXPECT_EQ(store.cell_latt[0], 5);
}

TEST_F(CifScan, LoopLineAfterOperationsIsAnOperationAndHidesTheAtomLoop) {
    scan(std::string("loop_\n_symmetry_equiv_pos_as_xyz\nx,y,z\n") + kAtomHeader +
         "C1 C 0.1 0.2 0.3\n");
    EXPECT_EQ(store.cif_symops, (Texts{"x,y,z", "loop_"}));
    EXPECT_TRUE(labels().empty());
}

// ----- Atom-site loops -----

TEST_F(CifScan, AtomColumnsByHeaderPosition) {
    const int fract = scan(
        "loop_\n_atom_site_type_symbol\n_atom_site_label\n_atom_site_occupancy\n"
        "_atom_site_fract_x\n_atom_site_fract_y\n_atom_site_fract_z\n"
        "C C1 1 0.1(1) 0.2 0.3\n"
        "  O\tO1 0.5 .4 -0.5 ?  \r\n");
    EXPECT_EQ(fract, 3);
    const Atoms& a = store.cif_atoms;
    EXPECT_EQ(a.cif_atom_label, (Texts{"C1", "O1"}));
    EXPECT_EQ(a.cif_atom_symbol, (Texts{"C", "O"}));
    EXPECT_EQ(a.cif_fx, (Texts{"0.1(1)", ".4"}));
    EXPECT_EQ(a.cif_fy, (Texts{"0.2", "-0.5"}));
    EXPECT_EQ(a.cif_fz, (Texts{"0.3", "?"}));
}

TEST_F(CifScan, HeaderTagOnTwoLinesLaterWinsAndOneLineCountsForItsFirstTag) {
    scan(
        "loop_\n_atom_site_fract_z _atom_site_label\n_atom_site_type_symbol\n"
        "_atom_site_fract_x\n_atom_site_fract_y\n_atom_site_fract_z\n_atom_site_fract_x\n"
        "A B C D E F\n");
    EXPECT_EQ(labels(), Texts{"A"});
    EXPECT_EQ(store.cif_atoms.cif_fx, Texts{"F"});
    EXPECT_EQ(store.cif_atoms.cif_fz, Texts{"E"});
}

TEST_F(CifScan, AtomLoopEndsTheWholeScan) {
    for (const char* after : {"\n_cell_length_a 5\n", "loop_\n_cell_length_a 5\n", ""}) {
        FileIO fresh;
        scan_cif_lines(fresh, lines_of(std::string(kAtomHeader) + "C1 C 0 0 0\n" + after));
        EXPECT_EQ(fresh.cif_atoms.cif_atom_label, Texts{"C1"});
        EXPECT_EQ(fresh.cell_latt[0], 0) << after;
    }
}

TEST_F(CifScan, TagLineOfFiveWordsAfterRowsIsARow) {
    scan(std::string(kAtomHeader) + "C1 C 0 0 0\n_cell_length_a 5 x y z\n");
    EXPECT_EQ(labels(), (Texts{"C1", "_cell_length_a"}));
    EXPECT_EQ(store.cell_latt[0], 0);
}

TEST_F(CifScan, IncompleteAtomLoopsAreSkippedAndScanGoesOn) {
    // An aniso loop, then a loop without type symbols, then one whose label column only the
    // earlier loop had: remembered columns belong to one loop.
    const int fract = scan(
        "loop_\n_atom_site_aniso_label\n_atom_site_aniso_U_11\nC1 0.01(1)\n"
        "loop_\n_atom_site_label\n_atom_site_fract_x\n_atom_site_fract_y\n_atom_site_fract_z\n"
        "C1 0.1 0.2 0.3\n_cell_length_a 4\n"
        "loop_\n_atom_site_type_symbol\n_atom_site_fract_x\n_atom_site_fract_y\n"
        "_atom_site_fract_z\n_atom_site_occupancy\nC 0.1 0.2 0.3 1\n_cell_length_b 6\n");
    EXPECT_TRUE(labels().empty());
    EXPECT_EQ(store.cell_latt[0], 4);
    EXPECT_EQ(store.cell_latt[1], 6);
    EXPECT_EQ(fract, 3);
}

TEST_F(CifScan, ShortRowLeavesLaterColumnsOneEntryShort) {
    scan(
        "loop_\n_atom_site_label\n_atom_site_fract_x\n_atom_site_fract_y\n"
        "_atom_site_occupancy\n_atom_site_U_iso_or_equiv\n_atom_site_fract_z\n"
        "_atom_site_type_symbol\n"
        "X1 0.6 0.7 1 0.05\n"
        "Cl2 0.1 0.2 1 0.05 0.3 Cl\n");
    EXPECT_EQ(labels(), (Texts{"X1", "Cl2"}));
    EXPECT_EQ(store.cif_atoms.cif_fz, Texts{"0.3"});
    EXPECT_EQ(store.cif_atoms.cif_atom_symbol, Texts{"Cl"});
}

// ----- Bond loops -----

TEST_F(CifScan, BondLoopBeforeAtomsIsReadOnlyWithTheBondType) {
    scan(std::string(kBondHeader) + "_ccdc_geom_bond_type\n1.39(2) C1 C2 . A\n1.2 C2 O1 1_555 D\n" +
         kBondHeader + "1.2 C1 O1 .\n" + kAtomHeader + "C1 C 0 0 0\n");
    const Bonds& b = store.cif_bonds;
    EXPECT_EQ(b.bond_label1, (Texts{"C1", "C2"}));
    EXPECT_EQ(b.bond_label2, (Texts{"C2", "O1"}));
    EXPECT_EQ(b.bond_distance, (Texts{"1.39(2)", "1.2"}));
    EXPECT_EQ(b.bond_symmetry, (Texts{".", "1_555"}));
    EXPECT_EQ(b.bond_type, (Texts{"A", "D"}));
    EXPECT_EQ(labels(), Texts{"C1"});
}

TEST_F(CifScan, BondLoopHeadedByALabelIsTakenAsAtomSiteLoop) {
    scan(
        "loop_\n_geom_bond_atom_site_label_1\n_geom_bond_atom_site_label_2\n"
        "_geom_bond_distance\n_geom_bond_site_symmetry_2\n_ccdc_geom_bond_type\n"
        "C1 C2 1.39 . A\n_cell_length_a 5\n");
    EXPECT_TRUE(store.cif_bonds.bond_label1.empty());
    EXPECT_TRUE(labels().empty());
    EXPECT_EQ(store.cell_latt[0], 5);
}

TEST_F(CifScan, BondLoopAfterAtomsIsNotRead) {
    scan(std::string(kAtomHeader) + "C1 C 0 0 0\n" + kBondHeader +
         "_ccdc_geom_bond_type\n1.39 C1 C2 . A\n");
    EXPECT_TRUE(store.cif_bonds.bond_label1.empty());
}

// ----- Fatal messages -----

TEST(CifScanDeath, RowWithFewerThanFiveTokens) {
    const struct {
        const char* text;
        const char* row;
    } cases[] = {
        {"C1 C 0.1 0.2\r", "C1 C 0\\.1 0\\.2"},            // CRLF: the row as trimmed
        {"\nC1 C 0 0 0", ""},                              // blank line before the first row
        {"C1 C 0 0 0\n# end of atoms", "# end of atoms"},  // comment right after the rows
        {"C1 C 0 0 0\n_atom_type_symbol", "_atom_type_symbol"},
    };
    for (const auto& c : cases) {
        EXPECT_EXIT(scan_with_stdout_on_stderr(kAtomHeader + std::string(c.text)),
                    ::testing::ExitedWithCode(255),
                    std::string(kFatalHeader) + "Not enough columns: " + c.row +
                        "\nAt least 5 columns are expected!\n$")
            << c.text;
    }
}

TEST(CifScanDeath, ShortBondRow) {
    EXPECT_EXIT(scan_with_stdout_on_stderr(std::string(kBondHeader) +
                                           "_ccdc_geom_bond_type\n1.39 C1 C2 .\n"),
                ::testing::ExitedWithCode(255),
                "Not enough columns: 1\\.39 C1 C2 \\.\nAt least 5 columns are expected!\n$");
}

TEST(CifReadDeath, InputThatCannotBeOpened) {
    ScratchDir dir;
    for (const std::string& path : {dir.file("missing.cif"), dir.path()}) {
        FileIO store;
        EXPECT_EXIT(store.read_data_cif(path.c_str(), false), ::testing::ExitedWithCode(255),
                    "^Failed to open input file \"" + path + "\"\n$");
    }
}

// ----- Whole reads -----

TEST(CifRead, VerboseSummaryAndCellOfTheHandMadeSalt) {
    const std::string path = test_support::test_data("reader/chlorine_sodium.cif");
    FileIO store;
    ::testing::internal::CaptureStdout();
    store.read_data_cif(path.c_str(), true);
    std::fflush(stdout);
    const std::string out = ::testing::internal::GetCapturedStdout();
    // Images: Cl1, Na1, then Cl1 at (0.9, 0, 0) and Na1 on itself, which is dropped. The two
    // Cl atoms are 2 angstrom apart across the a face, bonded: (0.99 + 0.99) x 1.15 > 2.
    EXPECT_EQ(out, "Reading crystal file \"" + path + "\"... \n" +
                       "  Identifier: clna_test\n"
                       "  Spacegroup name: 'P -1'\n"
                       "  Spacegroup operations: \n"
                       "    x,y,z\n"
                       "    -x,-y,-z\n"
                       "  Cell lattice a = 10\n"
                       "  Cell lattice b = 12.5\n"
                       "  Cell lattice c = 7.25\n"
                       "  Cell lattice alpha = 90\n"
                       "  Cell lattice beta  = 90\n"
                       "  Cell lattice gamma = 90\n"
                       "  natoms_cif = 2\n"
                       "  First atom: Cl1 Cl 0.1000(2) 0.0000 0.0000\n"
                       "  ...\n"
                       "  Last  atom: Na1 Na 0.5 0.5 0.5\n"
                       "WARNING: Overlapped atoms detected and to be removed\n"
                       "         Number of overlapped atoms is 1\n"
                       "         Number of remaining atoms is 3\n"
                       "  Unit cell nmols  = 2\n"
                       "  Unit cell natoms = 2 1\n"
                       "Crystal file " +
                       path + " parsing done.\n");
    EXPECT_EQ(store.input_filename, path);
    EXPECT_TRUE(store.is_periodic);
    EXPECT_EQ(store.cif_radius, nullptr);
    ASSERT_EQ(store.natoms_cif, 3);
    EXPECT_EQ(store.mol_atom_list, (std::vector<int>{0, 2, 1}));
    EXPECT_EQ(store.cif_atypes[2], 17);
    // Cartesian coordinates are recomputed for the grown list.
    EXPECT_NEAR(store.cif_x[6], 9.0, 1e-12);
    EXPECT_NEAR(store.cif_x[4], 6.25, 1e-12);
}

TEST(CifRead, EntriesPastAShortListReadAsEmpty) {
    ScratchDir dir;
    write_file(dir.file("short.cif"),
               "_cell_length_a 10\n_cell_length_b 10\n_cell_length_c 10\n"
               "_cell_angle_alpha 90\n_cell_angle_beta 90\n_cell_angle_gamma 90\n"
               "loop_\n_symmetry_equiv_pos_as_xyz\nx,y,z\n\n"
               "loop_\n_atom_site_label\n_atom_site_fract_x\n_atom_site_fract_y\n"
               "_atom_site_occupancy\n_atom_site_U_iso_or_equiv\n_atom_site_fract_z\n"
               "_atom_site_type_symbol\n"
               "X1 0.6 0.7 1 0.05\n"
               "Cl2 0.1 0.2 1 0.05 0.3 Cl\n");
    FileIO store;
    ::testing::internal::CaptureStdout();
    store.read_data_cif(dir.file("short.cif").c_str(), true);
    std::fflush(stdout);
    const std::string out = ::testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("  Last  atom: Cl2  0.1 0.2 \n"), std::string::npos) << out;
    ASSERT_EQ(store.natoms_cif, 2);
    EXPECT_EQ(store.cif_atypes[0], 17);  // the values shift to the earlier atom
    EXPECT_EQ(store.cif_atypes[1], -1);
    EXPECT_DOUBLE_EQ(store.cif_x_s[2], 0.3);
    EXPECT_EQ(store.cif_x_s[5], 0.0);
}

// Outcomes checked by hand against the files: a "loop_" line after the operations is one more
// operation, which maps every atom to the origin; one copy survives there unless an atom of
// the file already sits at the origin.
TEST(CifRead, DatabaseFilesUnderTheStrictRules) {
    SKIP_WITHOUT_SHARED_CIFS();
    const struct {
        const char* file;
        std::size_t operations;
        int natoms;
        std::vector<int> molecule_sizes;
    } cases[] = {
        {"er2044.cif", 4, 108, {54, 54}},                                     // two C28H24N2
        {"cod_2100348_benzene.cif", 9, 0, {}},                                // atom loop hidden
        {"cod_1000000_alpo_template.cif", 5, 141, {25, 23, 24, 23, 23, 23}},  // 140 + origin P
        {"cod_2101915_ph4as_ph4b.cif", 9, 360, std::vector<int>(8, 45)},      // As1 at origin
    };
    for (const auto& c : cases) {
        FileIO store;
        store.read_data_cif(test_support::shared_cif(c.file).c_str(), false);
        EXPECT_EQ(store.cif_symops.size(), c.operations) << c.file;
        EXPECT_EQ(store.natoms_cif, c.natoms) << c.file;
        EXPECT_EQ(store.mol_natoms_list, c.molecule_sizes) << c.file;
    }
}

// 48 point operations of a cubic holohedry times 4 face-centring translations.
std::string face_centred_cubic_operations() {
    const char* axes[6][3] = {{"x", "y", "z"}, {"x", "z", "y"}, {"y", "x", "z"},
                              {"y", "z", "x"}, {"z", "x", "y"}, {"z", "y", "x"}};
    const char* centring[4][3] = {
        {"", "", ""}, {"", "+1/2", "+1/2"}, {"+1/2", "", "+1/2"}, {"+1/2", "+1/2", ""}};
    std::string rows;
    for (const auto& shift : centring)
        for (const auto& axis : axes)
            for (int signs = 0; signs < 8; ++signs) {
                std::string row = "'";
                for (int k = 0; k < 3; ++k) {
                    row += std::string((signs >> k) & 1 ? "-" : "") + axis[k] + shift[k];
                    row += k < 2 ? ", " : "'\n";
                }
                rows += row;
            }
    return rows;
}

TEST(CifRead, BrokenAndUnusualInputsReadWhatTheyCan) {
    const std::string cell =
        "_cell_length_a 5.64\n_cell_length_b 5.64\n_cell_length_c 5.64\n"
        "_cell_angle_alpha 90\n_cell_angle_beta 90\n_cell_angle_gamma 90\n";
    std::string no_b_length = cell;
    no_b_length.erase(no_b_length.find("_cell_length_b"), 20);
    const char kBinary[] = "\0\x01\xff;\x80loop_\n\x7f\0_atom_site\n\xfe\xff";
    const std::string identity = "loop_\n_symmetry_equiv_pos_as_xyz\nx,y,z\n\n";
    const std::string atoms = std::string(kAtomHeader) + "Na1 Na 0 0 0\nCl1 Cl 0.5 0.5 0.5\n";
    const struct {
        const char* name;
        std::string text;
        int natoms;
    } cases[] = {
        {"ends in a loop header", cell + identity + "loop_\n_atom_site_label\n", 0},
        {"ends in a text field", cell + identity + ";\nunclosed\n" + atoms, 0},
        {"no symmetry loop", cell + atoms, 0},
        {"missing cell length b", no_b_length + identity + atoms, 2},
        {"192 operations",
         cell + "loop_\n_symmetry_equiv_pos_as_xyz\n" + face_centred_cubic_operations() + "\n" +
             atoms,
         8},
        {"megabyte line",
         "_chemical_name_common '" + std::string(1 << 20, 'x') + "'\n" + cell + identity + atoms,
         2},
    };
    ScratchDir dir;
    for (const auto& c : cases) {
        write_file(dir.file("broken.cif"), c.text);
        FileIO store;
        store.read_data_cif(dir.file("broken.cif").c_str(), false);
        EXPECT_EQ(store.natoms_cif, c.natoms) << c.name;
        EXPECT_TRUE(store.is_periodic) << c.name;
    }
    // Without a cell there is no lattice to place atoms in: the read ends naming the file.
    for (const std::string& text : {std::string(), std::string(kBinary, sizeof kBinary - 1),
                                    identity + atoms}) {
        write_file(dir.file("no_cell.cif"), text);
        FileIO store;
        EXPECT_EXIT((test_support::stdout_to_stderr(),
                     store.read_data_cif(dir.file("no_cell.cif").c_str(), false)),
                    ::testing::ExitedWithCode(255),
                    "The cell of \".*no_cell\\.cif\" is not a valid lattice: a = 0, b = 0, c = 0, "
                    "alpha = 0, beta = 0, gamma = 0\n$");
    }
}

}  // namespace
