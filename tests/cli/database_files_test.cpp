// Every crystal file of the shared database folder through the tool, to the outcome its reading
// gives: a fatal row, an empty cell, or a cell of whole molecules. For a cell with atoms the PDB
// file is checked against what the run reported: one residue per molecule of the cell, each
// residue one covalently bonded piece, each centre of mass in the cell, the cell in CRYST1.
#include <dirent.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "fileio.h"
#include "test_support.h"

namespace {

using test_support::read_file;
using test_support::run_cif2pdb;
using test_support::ScratchDir;
using test_support::shared_cif;

struct DatabaseCase {
    std::string file;
    int status;
    int atoms;              // ATOM records written
    int molecules;          // residues written
    std::string fatal_row;  // for status 255: the row reported as too short
};

void PrintTo(const DatabaseCase& c, std::ostream* os) { *os << c.file; }

// Outcomes by the reading rules. Files whose operations loop runs straight into the next
// "loop_" read that line as an operation and never reach the atoms (empty cell); a file with
// no recognised operations loop expands to nothing. Two files break an atom row over two lines
// and stop at the short row. Where the atoms are read, the count is operations x atoms less the
// overlaps reported; an extra "loop_" operation maps every atom onto the origin, where one
// copy stays (cod_1000000: 5 x 35 - 34 = 141).
const std::vector<DatabaseCase> kCases = {
    {"cod_1000000_alpo_template.cif", 0, 141, 6, ""},
    {"cod_1000041_nacl.cif", 0, 0, 0, ""},
    {"cod_1004001_w6s8_cluster.cif", 0, 1504, 4, ""},
    {"cod_1100015.cif", 0, 0, 0, ""},
    {"cod_1502949_pf6_salt.cif", 0, 0, 0, ""},
    {"cod_1516419_oligomer_emob.cif", 0, 0, 0, ""},
    {"cod_2006465_c32h54o3.cif", 0, 356, 4, ""},
    {"cod_2007325_cocrystal.cif", 0, 116, 4, ""},
    {"cod_2010359_c11h17n3o4.cif", 255, 0, 0, "O2 0.5910(9) 0.3677(3) 0.24090(10)"},
    {"cod_2010568_c12h26n3o3ps2.cif", 0, 94, 4, ""},
    {"cod_2100348_benzene.cif", 0, 0, 0, ""},
    {"cod_2100603_naphthalene.cif", 0, 0, 0, ""},
    {"cod_2101915_ph4as_ph4b.cif", 0, 360, 8, ""},
    {"cod_2102165_c60_hydroquinone.cif", 0, 0, 0, ""},
    {"cod_2219444_c15h10br2cl2n2.cif", 0, 0, 0, ""},
    {"cod_2222274_c15h14n2o2.cif", 0, 0, 0, ""},
    {"cod_2240655_na2moo4_spinel.cif", 0, 56, 24, ""},
    {"cod_2300214_c13h18o2.cif", 0, 0, 0, ""},
    {"cod_4003024_cssncl3_perovskite.cif", 0, 0, 0, ""},
    {"cod_4122001_indenofluorene.cif", 0, 0, 0, ""},
    {"cod_4300690_c60h48b3i6n3o6.cif", 0, 252, 8, ""},
    {"cod_4503694_c36h82n8o29p6.cif", 0, 0, 0, ""},
    {"cod_7052868_tetraazaarene.cif", 0, 0, 0, ""},
    {"cod_7100406_c16h17no4.cif", 0, 76, 2, ""},
    {"cod_8103385_ag026s8v6.cif", 0, 0, 0, ""},
    {"cod_9000098_calcite.cif", 0, 0, 0, ""},
    {"cod_9015328_tis2.cif", 0, 0, 0, ""},
    {"edt_ttf_febr4.cif", 0, 180, 12, ""},
    {"er2044.cif", 0, 108, 2, ""},
    {"jmol_k04041.cif", 0, 488, 8, ""},
    {"jmol_maleic_acid.cif", 0, 24, 2, ""},
    {"jo030050x.cif", 0, 684, 8, ""},
    {"ocelot_cl4_tips_pentacene.cif", 0, 200, 2, ""},
    {"ocelot_meept_pf6.cif", 0, 188, 8, ""},
    {"ocelot_mpt_tfsi.cif", 255, 0, 0, "1"},
    {"ocelot_tipge_pentacene_ss.cif", 0, 100, 1, ""},
    {"porphyrin_toluene.cif", 0, 0, 0, ""},
};

// Coordinates are printed to 0.001 angstrom, the cell to 0.001 angstrom and 0.01 degree, and
// the run's report to six digits: the checks allow for that rounding.
constexpr double kBondSlack = 0.01;
constexpr double kFractionSlack = 1e-3;
constexpr double kPrintedComSlack = 1e-6;

struct PdbAtom {
    int residue;
    std::string element;
    double x[3];
};

struct PdbFile {
    double cell[6] = {0, 0, 0, 0, 0, 0};
    std::vector<PdbAtom> atoms;
};

std::string trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(' ');
    return first == std::string::npos ? ""
                                      : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

PdbFile parse_pdb(const std::string& text) {
    PdbFile pdb;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("CRYST1", 0) == 0) {
            for (int k = 0; k < 3; ++k) pdb.cell[k] = std::stod(line.substr(6 + 9 * k, 9));
            for (int k = 0; k < 3; ++k) pdb.cell[3 + k] = std::stod(line.substr(33 + 7 * k, 7));
        } else if (line.rfind("ATOM", 0) == 0) {
            PdbAtom atom;
            atom.residue = std::stoi(line.substr(22, 4));
            atom.element = trimmed(line.substr(76, 2));
            for (int k = 0; k < 3; ++k) atom.x[k] = std::stod(line.substr(30 + 8 * k, 8));
            pdb.atoms.push_back(atom);
        }
    }
    return pdb;
}

// Numbers that follow a label on the run's verbose lines, e.g. "  Unit cell natoms =".
std::vector<double> numbers_after(const std::string& out, const std::string& label) {
    std::vector<double> numbers;
    const std::size_t at = out.find("\n" + label);
    if (at == std::string::npos) return numbers;
    const std::size_t start = at + 1 + label.size();
    std::istringstream rest(out.substr(start, out.find('\n', start) - start));
    for (double value; rest >> value;) numbers.push_back(value);
    return numbers;
}

// The last centre of mass printed for each molecule: the wrapped one when there is one.
std::map<int, std::vector<double>> final_centres(const std::string& out) {
    std::map<int, std::vector<double>> centres;
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);) {
        int molecule = 0;
        double c[3];
        if (std::sscanf(line.c_str(), "  molecule %d COM = %lf %lf %lf", &molecule, &c[0], &c[1],
                        &c[2]) == 4)
            centres[molecule] = {c[0], c[1], c[2]};
    }
    return centres;
}

class Elements {
   public:
    // Row -1 (an unknown symbol, printed "X") reads as row 0: radius 180/250, mass 0.
    double covalent_radius(const std::string& symbol) {
        const int row = store_.find_element_index_from_name(symbol.c_str());
        return store_.find_element_radius_from_index(row < 0 ? 0 : row);
    }
    double mass(const std::string& symbol) {
        const int row = store_.find_element_index_from_name(symbol.c_str());
        return row < 0 ? 0.0 : store_.find_element_mass_from_index(row);
    }

   private:
    FileIO store_;
};

std::map<int, std::vector<PdbAtom>> residues_of(const PdbFile& pdb) {
    std::map<int, std::vector<PdbAtom>> residues;
    for (const PdbAtom& atom : pdb.atoms) residues[atom.residue].push_back(atom);
    return residues;
}

// Atoms reachable from the first atom through covalent bonds (radii x 1.15).
std::size_t bonded_from_first(const std::vector<PdbAtom>& atoms, Elements& elements) {
    std::vector<bool> reached(atoms.size(), false);
    std::vector<std::size_t> stack = {0};
    reached[0] = true;
    std::size_t count = 1;
    while (!stack.empty()) {
        const std::size_t i = stack.back();
        stack.pop_back();
        for (std::size_t j = 0; j < atoms.size(); ++j) {
            if (reached[j]) continue;
            const double limit = (elements.covalent_radius(atoms[i].element) +
                                  elements.covalent_radius(atoms[j].element)) *
                                 1.15;
            const double d =
                std::hypot(atoms[j].x[0] - atoms[i].x[0], atoms[j].x[1] - atoms[i].x[1],
                           atoms[j].x[2] - atoms[i].x[2]);
            if (d < limit + kBondSlack) {
                reached[j] = true;
                ++count;
                stack.push_back(j);
            }
        }
    }
    return count;
}

// Fractional centre of mass (plain average when no atom has a mass).
std::vector<double> fractional_centre(const std::vector<PdbAtom>& atoms, Elements& elements,
                                      FileIO& cell) {
    double total = 0.0, weighted[3] = {0, 0, 0}, plain[3] = {0, 0, 0};
    for (const PdbAtom& atom : atoms) {
        const double m = elements.mass(atom.element);
        total += m;
        for (int k = 0; k < 3; ++k) {
            weighted[k] += m * atom.x[k];
            plain[k] += atom.x[k];
        }
    }
    double centre[3], fraction[3];
    for (int k = 0; k < 3; ++k)
        centre[k] = total > 0.0 ? weighted[k] / total : plain[k] / atoms.size();
    cell.coord_c2f(centre, fraction);
    return {fraction[0], fraction[1], fraction[2]};
}

class DatabaseFile : public testing::TestWithParam<DatabaseCase> {};

TEST_P(DatabaseFile, ConvertsToTheOutcomeOfItsReading) {
    SKIP_WITHOUT_SHARED_CIFS();
    const DatabaseCase& c = GetParam();
    const std::string input = shared_cif(c.file);
    ASSERT_FALSE(input.empty()) << c.file << " is missing from the database folder";
    ScratchDir dir;
    const auto run = run_cif2pdb({input, "out.pdb", "-verbose"}, dir.path());
    ASSERT_EQ(run.status, c.status) << run.out << run.err;
    if (c.status != 0) {
        EXPECT_NE(run.out.find("Not enough columns: " + c.fatal_row +
                               "\nAt least 5 columns are expected!\n"),
                  std::string::npos)
            << run.out;
        EXPECT_FALSE(test_support::file_exists(dir.file("out.pdb")));
        return;
    }

    const PdbFile pdb = parse_pdb(read_file(dir.file("out.pdb")));
    const auto residues = residues_of(pdb);
    EXPECT_EQ(static_cast<int>(pdb.atoms.size()), c.atoms);
    EXPECT_EQ(static_cast<int>(residues.size()), c.molecules);

    // One residue per molecule of the cell, numbered in order, with the molecule's atom count.
    EXPECT_EQ(numbers_after(run.out, "  Unit cell nmols  ="),
              std::vector<double>{double(c.molecules)});
    const std::vector<double> sizes = numbers_after(run.out, "  Unit cell natoms =");
    ASSERT_EQ(sizes.size(), residues.size());
    int number = 1;
    for (const auto& [residue, atoms] : residues) {
        EXPECT_EQ(residue, number);
        EXPECT_EQ(static_cast<double>(atoms.size()), sizes[number - 1]) << "residue " << residue;
        ++number;
    }

    // CRYST1 carries the cell the run read.
    const char* cell_labels[6] = {
        "  Cell lattice a =",     "  Cell lattice b =",     "  Cell lattice c =",
        "  Cell lattice alpha =", "  Cell lattice beta  =", "  Cell lattice gamma ="};
    for (int k = 0; k < 6; ++k) {
        const std::vector<double> read = numbers_after(run.out, cell_labels[k]);
        ASSERT_EQ(read.size(), 1u) << cell_labels[k];
        EXPECT_NEAR(pdb.cell[k], read[0], k < 3 ? 1e-3 : 1e-2) << cell_labels[k];
    }

    // Each residue is one covalently bonded piece with its centre of mass in the cell.
    Elements elements;
    FileIO cell;
    double cell6[6], latt[3][3];
    std::copy(pdb.cell, pdb.cell + 6, cell6);
    cell.cell_cell6_to_latt3x3(cell6, latt);
    const auto printed_centres = final_centres(run.out);
    for (const auto& [residue, atoms] : residues) {
        EXPECT_EQ(bonded_from_first(atoms, elements), atoms.size()) << "residue " << residue;
        const std::vector<double> f = fractional_centre(atoms, elements, cell);
        ASSERT_EQ(printed_centres.count(residue), 1u) << "residue " << residue;
        for (int k = 0; k < 3; ++k) {
            EXPECT_GE(f[k], -kFractionSlack) << "residue " << residue << " axis " << k;
            EXPECT_LE(f[k], 1.0 + kFractionSlack) << "residue " << residue << " axis " << k;
            EXPECT_NEAR(f[k], printed_centres.at(residue)[k], kFractionSlack);
            EXPECT_GE(printed_centres.at(residue)[k], -kPrintedComSlack);
            EXPECT_LE(printed_centres.at(residue)[k], 1.0 + kPrintedComSlack);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(SharedFolder, DatabaseFile, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<DatabaseCase>& param) {
                             std::string name =
                                 param.param.file.substr(0, param.param.file.size() - 4);
                             for (char& ch : name)
                                 if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
                             return name;
                         });

TEST(DatabaseFolder, EveryCrystalFileHasAnExpectedOutcome) {
    SKIP_WITHOUT_SHARED_CIFS();
    std::set<std::string> listed;
    for (const DatabaseCase& c : kCases) listed.insert(c.file);
    DIR* folder = opendir(SHARED_CIF_DIR);
    ASSERT_NE(folder, nullptr);
    for (dirent* entry; (entry = readdir(folder)) != nullptr;) {
        const std::string name = entry->d_name;
        if (name.size() > 4 && name.substr(name.size() - 4) == ".cif") {
            EXPECT_EQ(listed.count(name), 1u) << name << " has no expected outcome";
        }
    }
    closedir(folder);
}

}  // namespace
