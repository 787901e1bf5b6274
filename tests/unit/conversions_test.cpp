// Crystal conversions: the unit-cell CIF read back gives the same molecules, and every
// conversion names its files and announces them as documented.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "fileio.h"
#include "test_support.h"

namespace {

using test_support::file_exists;
using test_support::read_file;
using test_support::ScratchDir;

// Chloroacetamide in P-1, two molecules in the cell; the asymmetric unit crosses the a face.
const std::string kCrystal = test_support::test_data("writers/chloroacetamide_p-1.cif");
constexpr int kMolecules = 2;
constexpr int kAtomsPerMolecule = 9;

void read_molecules(FileIO& store, const std::string& cif) {
    store.read_data_cif(cif.c_str(), false);
    store.input_kind = 2;
    store.read_crystal_strcuture_files(false, false);
}

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

// Molecule by molecule, atom by atom: the same elements at the same places. The CIF keeps six
// decimals of each fractional coordinate. With allow_cell_shift a molecule may come back
// moved by one whole lattice vector (a molecule centred on a cell face may be rebuilt on
// either side of it).
void expect_same_molecules(const FileIO& before, const FileIO& after, bool allow_cell_shift) {
    ASSERT_EQ(after.nmols, before.nmols);
    for (int m = 0; m < before.nmols; ++m) {
        ASSERT_EQ(after.mol_natoms[m], before.mol_natoms[m]) << "molecule " << m + 1;
        double shift[3] = {0.0, 0.0, 0.0};
        if (allow_cell_shift && before.mol_natoms[m] > 0)
            for (int axis = 0; axis < 3; ++axis)
                shift[axis] = std::round(after.mol_x_s[m][axis] - before.mol_x_s[m][axis]);
        for (int k = 0; k < before.mol_natoms[m]; ++k) {
            EXPECT_EQ(after.mol_atypes[m][k], before.mol_atypes[m][k])
                << "molecule " << m + 1 << " atom " << k + 1;
            for (int axis = 0; axis < 3; ++axis)
                EXPECT_NEAR(after.mol_x_s[m][3 * k + axis] - shift[axis],
                            before.mol_x_s[m][3 * k + axis], 1e-6)
                    << "molecule " << m + 1 << " atom " << k + 1 << " axis " << axis;
        }
    }
}

TEST(UnwrapRoundTrip, UnitCellCifReadsBackAsTheSameMolecules) {
    ScratchDir dir;
    const std::string out = dir.file("unwrapped.cif");
    FileIO converted;
    testing::internal::CaptureStdout();
    converted.write_cif_unwrap(kCrystal.c_str(), out.c_str(), false, false);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Writting crystal file \"" + out + "\"\n");
    ASSERT_EQ(converted.nmols, kMolecules);

    // The file must hold whole molecules, so some coordinates lie outside the cell.
    double lowest_x = 1.0;
    for (int k = 0; k < converted.mol_natoms[0]; ++k)
        lowest_x = std::fmin(lowest_x, converted.mol_x_s[0][3 * k]);
    EXPECT_LT(lowest_x, 0.0);

    FileIO reread;
    read_molecules(reread, out);
    EXPECT_EQ(reread.identifier, converted.identifier);
    expect_same_molecules(converted, reread, false);
}

TEST(UnwrapRoundTrip, DatabaseCrystalReadsBackAsTheSameMolecules) {
    SKIP_WITHOUT_SHARED_CIFS();
    const std::string crystal = test_support::shared_cif("cod_2007325_cocrystal.cif");
    ASSERT_FALSE(crystal.empty());
    ScratchDir dir;
    const std::string out = dir.file("unwrapped.cif");
    FileIO converted;
    testing::internal::CaptureStdout();
    converted.write_cif_unwrap(crystal.c_str(), out.c_str(), false, false);
    testing::internal::GetCapturedStdout();
    ASSERT_GT(converted.nmols, 1);

    FileIO reread;
    testing::internal::CaptureStdout();
    read_molecules(reread, out);
    testing::internal::GetCapturedStdout();
    expect_same_molecules(converted, reread, true);
}

// ---------------------------------------------------------------------------------------
// One file per molecule.

// True when every atom is reachable from the first through steps shorter than max_bond.
bool is_one_piece(const std::vector<std::vector<double>>& xyz, double max_bond) {
    std::vector<bool> reached(xyz.size(), false);
    std::vector<size_t> todo = {0};
    reached[0] = true;
    while (!todo.empty()) {
        const size_t i = todo.back();
        todo.pop_back();
        for (size_t j = 0; j < xyz.size(); ++j) {
            if (reached[j]) continue;
            const double dx = xyz[i][0] - xyz[j][0], dy = xyz[i][1] - xyz[j][1],
                         dz = xyz[i][2] - xyz[j][2];
            if (std::sqrt(dx * dx + dy * dy + dz * dz) < max_bond) {
                reached[j] = true;
                todo.push_back(j);
            }
        }
    }
    for (bool r : reached)
        if (!r) return false;
    return true;
}

std::vector<std::vector<double>> mol_file_coordinates(const std::string& text) {
    std::vector<std::vector<double>> xyz;
    const std::vector<std::string> lines = lines_of(text);
    const int count = std::atoi(lines.at(3).substr(0, 3).c_str());
    for (int i = 0; i < count; ++i) {
        std::istringstream row(lines.at(4 + i));
        std::vector<double> r(3);
        row >> r[0] >> r[1] >> r[2];
        xyz.push_back(r);
    }
    return xyz;
}

TEST(Cif2Mol, OneWholeMoleculePerNumberedFile) {
    ScratchDir dir;
    const std::string prefix = dir.file("out");
    FileIO store;
    testing::internal::CaptureStdout();
    store.write_cif2mol(kCrystal.c_str(), prefix.c_str(), false, false);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "  " + prefix + "_01.mol\n  " + prefix + "_02.mol\n");
    EXPECT_FALSE(file_exists(prefix + "_03.mol"));
    for (const char* number : {"_01", "_02"}) {
        const std::string text = read_file(prefix + number + ".mol");
        ASSERT_EQ(lines_of(text).size(), 5u + kAtomsPerMolecule) << number;
        EXPECT_EQ(lines_of(text)[3], "  9  0  0  0  0  0  0  0  0  0999 V2000");
        // Whole: the longest bond of the molecule is C-Cl, 1.78 angstrom.
        EXPECT_TRUE(is_one_piece(mol_file_coordinates(text), 1.85)) << number;
    }
}

TEST(Cif2Xyz, OneMoleculePerNumberedFile) {
    ScratchDir dir;
    const std::string prefix = dir.file("cell");
    FileIO store;
    testing::internal::CaptureStdout();
    store.write_cif2xyz(kCrystal.c_str(), prefix.c_str(), false, false);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "  " + prefix + "_01.xyz\n  " + prefix + "_02.xyz\n");
    EXPECT_FALSE(file_exists(prefix + "_03.xyz"));
    for (const char* number : {"_01", "_02"}) {
        const std::vector<std::string> lines = lines_of(read_file(prefix + number + ".xyz"));
        ASSERT_EQ(lines.size(), 2u + kAtomsPerMolecule) << number;
        EXPECT_EQ(lines[0], "9");
        EXPECT_EQ(lines[2].substr(0, 2), "Cl");
    }
}

// Gaussian inputs use a hyphen and the extension "com"; the two numbers and the method are
// handed on as processors, memory and method.
TEST(Cif2Gjf, OneGaussianInputPerMolecule) {
    ScratchDir dir;
    const std::string prefix = dir.file("run");
    FileIO store;
    testing::internal::CaptureStdout();
    store.write_cif2gjf(kCrystal.c_str(), prefix.c_str(), false, false, 4, 1000, "PBE0/def2SVP");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "  " + prefix + "-01.com\n  " + prefix + "-02.com\n");
    const std::string text = read_file(prefix + "-02.com");
    EXPECT_EQ(text.substr(0, text.find("0 1\n")),
              "%chk=" + prefix + "-02.chk\n%nprocs=4\n%mem=1000MB\n" +
                  "#P PBE0/def2SVP iop(3/33=1,5/33=2) pop=full nosymm\n\n" + prefix + "-02\n\n");
    EXPECT_EQ(lines_of(text).size(), 8u + kAtomsPerMolecule + 2u);
}

// ---------------------------------------------------------------------------------------
// Supercells.

int count_lines_starting_with(const std::string& text, const std::string& start) {
    int count = 0;
    for (const std::string& line : lines_of(text))
        if (line.compare(0, start.size(), start) == 0) ++count;
    return count;
}

TEST(CifExpand, SupercellCifAndPdbNamedAfterTheOutput) {
    ScratchDir dir;
    FileIO store;
    testing::internal::CaptureStdout();
    store.write_cif_expand(kCrystal.c_str(), dir.file("cell.out.cif").c_str(), false, false, 2, 2,
                           1, true);
    const std::string cif = dir.file("cell.out.cif");
    const std::string pdb = dir.file("cell.out.pdb");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Output to file: " + cif + "\nOutput to file: " + pdb + "\n");
    const int atoms = 2 * 2 * 1 * kMolecules * kAtomsPerMolecule;
    const std::string cif_text = read_file(cif);
    EXPECT_EQ(count_lines_starting_with(cif_text, "Cl"), 2 * 2 * kMolecules);
    EXPECT_EQ(lines_of(cif_text).size(), 24u + atoms);
    const std::vector<std::string> pdb_lines = lines_of(read_file(pdb));
    ASSERT_EQ(pdb_lines.size(), 3u + atoms + 1u);
    EXPECT_EQ(count_lines_starting_with(read_file(pdb), "ATOM  "), atoms);
    // Residues count molecule copies: 4 cells of 2 molecules.
    EXPECT_EQ(pdb_lines[3 + atoms - 1].substr(22, 4), "   8");
}

TEST(CifExpand, NameWithoutExtensionAndNoPdb) {
    ScratchDir dir;
    const std::string base = dir.file("supercell");
    FileIO store;
    testing::internal::CaptureStdout();
    store.write_cif_expand(kCrystal.c_str(), base.c_str(), false, false, 1, 1, 3, false);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Output to file: " + base + ".cif\n");
    EXPECT_TRUE(file_exists(base + ".cif"));
    EXPECT_FALSE(file_exists(base + ".pdb"));
}

}  // namespace
