// Every format teska writes, written once from naphthalene and read back through the store's own
// readers where it has one; quantum-chemistry inputs by their lines; PDB numbering in hybrid-36
// past 99,999 atoms and 9,999 residues; and --strict against cif2pdb byte for byte.
#include <cmath>
#include <string>
#include <vector>

#include "teska/fileio.h"
#include "teska_support.h"

namespace {

using teska_test::folder_entries;
using teska_test::lines_of;
using teska_test::run_teska;
using test_support::file_exists;
using test_support::read_file;
using test_support::ScratchDir;
using test_support::test_data;
using test_support::write_file;

const std::string kNaphthalene = std::string(EXAMPLES_DIR) + "/naphthalene.cif";

// Naphthalene, P 21/c: a = 8.658, b = 6.003, c = 8.235 angstrom, beta = 122.92 degrees; two
// molecules C10H8 in the cell.
constexpr double kCell[6] = {8.658, 6.003, 8.235, 90.0, 122.92, 90.0};

int count_element(const int* rows, int n, int row) {
    int count = 0;
    for (int i = 0; i < n; ++i) count += rows[i] == row ? 1 : 0;
    return count;
}

void expect_coordinates_near(const double* a, const double* b, int n, double slack) {
    for (int i = 0; i < 3 * n; ++i) EXPECT_NEAR(a[i], b[i], slack) << "coordinate " << i;
}

class Formats : public testing::Test {
   protected:
    void SetUp() override { write_file(dir.file("naph.cif"), read_file(kNaphthalene)); }
    void convert(const std::vector<std::string>& options) {
        std::vector<std::string> args = {"convert", "naph.cif", "-d", "out"};
        args.insert(args.end(), options.begin(), options.end());
        const auto run = run_teska(args, dir.path());
        ASSERT_EQ(run.status, 0) << run.err;
    }
    std::string out(const std::string& name) const { return dir.file("out/" + name); }
    ScratchDir dir;
};

// The cell as PDB (CRYST1 and 36 atoms), XYZ (the same atoms to the PDB's 0.001 angstrom) and
// P1 CIF (read by the store's own CIF reader: 36 atoms that separate into two molecules of 18).
TEST_F(Formats, TheCellAsPdbXyzAndCifReadsBack) {
    convert({});
    convert({"-t", "xyz"});
    convert({"-t", "cif"});
    FileIO pdb, xyz, cif;
    pdb.read_data_pdb(out("naph.pdb").c_str());
    xyz.read_data_xyz(out("naph.xyz").c_str());
    cif.read_data_cif(out("naph.cif").c_str(), false);
    ASSERT_EQ(pdb.natoms_cif, 36);
    ASSERT_EQ(xyz.natoms_cif, 36);
    EXPECT_EQ(cif.natoms_cif, 36);
    for (int k = 0; k < 6; ++k) {
        EXPECT_NEAR(pdb.cell_latt[k], kCell[k], 1e-9) << k;
        EXPECT_NEAR(cif.cell_latt[k], kCell[k], 1e-9) << k;
    }
    EXPECT_EQ(count_element(pdb.cif_atypes, 36, 6), 20);
    EXPECT_EQ(count_element(xyz.cif_atypes, 36, 1), 16);
    expect_coordinates_near(xyz.cif_x, pdb.cif_x, 36, 0.0005);
    EXPECT_EQ(cif.mol_natoms_list, (std::vector<int>{18, 18}));
}

// One file per molecule, named from the input: XYZ (--split) and MDL molfiles, 18 atoms each,
// 10 C and 8 H, at the cell's coordinates (molfiles to 0.0001 angstrom).
TEST_F(Formats, PerMoleculeXyzAndMolfilesReadBack) {
    convert({"-t", "xyz"});
    convert({"-t", "xyz", "--split"});
    convert({"-t", "mol"});
    EXPECT_EQ(folder_entries(dir.file("out")),
              (std::set<std::string>{"naph.xyz", "naph_01.xyz", "naph_02.xyz", "naph_01.mol",
                                     "naph_02.mol"}));
    FileIO cell;
    cell.read_data_xyz(out("naph.xyz").c_str());
    for (int m = 0; m < 2; ++m) {
        const std::string number = "_0" + std::to_string(m + 1);
        FileIO xyz, mol;
        xyz.read_data_xyz(out("naph" + number + ".xyz").c_str());
        mol.nmols = 1;
        mol.mol_natoms = new int[1]();
        mol.mol_atypes = new int*[1]();
        mol.mol_x = new double*[1]();
        mol.mol_x_s = new double*[1]();
        mol.read_data_mol(out("naph" + number + ".mol").c_str(), 0, false);
        ASSERT_EQ(xyz.natoms_cif, 18);
        ASSERT_EQ(mol.mol_natoms[0], 18);
        EXPECT_EQ(count_element(mol.mol_atypes[0], 18, 6), 10);
        EXPECT_EQ(count_element(xyz.cif_atypes, 18, 1), 8);
        expect_coordinates_near(xyz.cif_x, cell.cif_x + 3 * 18 * m, 18, 1e-9);
        expect_coordinates_near(mol.mol_x[0], xyz.cif_x, 18, 0.00005);
        delete[] mol.mol_natoms;
        delete[] mol.mol_atypes;
        delete[] mol.mol_x;
        delete[] mol.mol_x_s;
    }
}

// Supercells: 2x2x1 as PDB (144 atoms under a CRYST1 of 2a, 2b, c) and 2x1x1 as CIF (72 sites,
// a doubled), the second copy of each atom one cell vector a from the first.
TEST_F(Formats, SupercellsReadBack) {
    convert({"--supercell", "2x2x1"});
    convert({"--supercell", "2x1x1", "-t", "cif"});
    FileIO pdb, cif;
    pdb.read_data_pdb(out("naph.pdb").c_str());
    cif.read_data_cif(out("naph.cif").c_str(), false);
    EXPECT_EQ(pdb.natoms_cif, 144);
    EXPECT_NEAR(pdb.cell_latt[0], 2 * kCell[0], 1e-9);
    EXPECT_NEAR(pdb.cell_latt[1], 2 * kCell[1], 1e-9);
    EXPECT_NEAR(pdb.cell_latt[2], kCell[2], 1e-9);
    EXPECT_EQ(cif.natoms_cif, 72);
    EXPECT_NEAR(cif.cell_latt[0], 2 * kCell[0], 1e-9);
    for (int i = 0; i < 36; ++i)
        EXPECT_NEAR(pdb.cif_x[3 * (36 + i)] - pdb.cif_x[3 * i], kCell[0], 0.0015);
}

// --unique keeps one of naphthalene's two molecules, which the 2-fold screw axis relates; --block
// all writes one file per data block, NAME_BLOCK, and reports the blocks' sums.
TEST_F(Formats, UniqueMoleculesAndEveryBlock) {
    write_file(dir.file("two.cif"), read_file(test_data("teska/two_blocks.cif")));
    convert({"-t", "xyz", "--split", "--unique"});
    const auto run =
        run_teska({"convert", "two.cif", "--block", "all", "-d", "out", "--report", "blocks.tsv"},
                  dir.path());
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(folder_entries(dir.file("out")),
              (std::set<std::string>{"naph_01.xyz", "two_naphthalene.pdb", "two_helium.pdb"}));
    const auto rows = teska_test::report_rows(dir.file("blocks.tsv"));
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0], (std::vector<std::string>{"two.cif", "ok", "37", "3",
                                                 "naphthalene: C10H8 x2; helium: He x1", "", ""}));
}

// The atom lines of a quantum-chemistry input: an element symbol, then three numbers.
int atom_lines(const std::string& text) {
    int count = 0;
    for (const std::string& line : lines_of(text)) {
        double x, y, z;
        char symbol[3];
        count +=
            std::sscanf(line.c_str(), "%2[A-Za-z] %lf %lf %lf", symbol, &x, &y, &z) == 4 ? 1 : 0;
    }
    return count;
}

bool has_line(const std::string& text, const std::string& line) {
    return ("\n" + text).find("\n" + line + "\n") != std::string::npos;
}

// Gaussian (single point), ORCA (optimisation of a cation doublet) and Q-Chem inputs: one per
// molecule, NAME-01 and NAME-02, each with the molecule's 18 atom lines and its job lines.
TEST_F(Formats, QuantumChemistryInputsPerMolecule) {
    convert({"-t", "gaussian", "--nprocs", "4", "--memory", "2000"});
    convert({"-t", "orca", "--job", "opt", "--charge", "1", "--multiplicity", "2", "--nprocs", "4",
             "--memory", "2000"});
    convert({"-t", "qchem", "--method", "PBE0", "--basis", "def2-SVP"});
    EXPECT_EQ(folder_entries(dir.file("out")),
              (std::set<std::string>{"naph-01.com", "naph-02.com", "naph-01.inp", "naph-02.inp",
                                     "naph-01.in", "naph-02.in"}));
    const std::string gaussian = read_file(out("naph-01.com"));
    const std::string orca = read_file(out("naph-02.inp"));
    const std::string qchem = read_file(out("naph-01.in"));
    EXPECT_EQ(atom_lines(gaussian), 18);
    EXPECT_EQ(atom_lines(orca), 18);
    EXPECT_EQ(atom_lines(qchem), 18);
    for (const char* line :
         {"%chk=naph-01.chk", "%mem=2000MB", "%nprocs=4",
          "#P B3LYP/6-31G(d) iop(3/33=1,5/33=2) pop=full nosymm", "naph-01", "0 1"})
        EXPECT_TRUE(has_line(gaussian, line)) << line;
    // ORCA's %MaxCore is per process: 2000 MB over 4.
    for (const char* line :
         {"! opt freq B3LYP 6-31G(d) NoUseSym", "%MaxCore 500", "%PAL NPROCS 4 END", "*xyz 1 2"})
        EXPECT_TRUE(has_line(orca, line)) << line;
    for (const char* line :
         {"$molecule", "0 1", "METHOD          PBE0", "BASIS           def2-SVP"})
        EXPECT_TRUE(has_line(qchem, line)) << line;
}

// A P1 cell of one helium atom (4 angstrom from its images, one molecule each) repeated
// 50x50x41: 102,500 atoms and residues, atom n with serial and residue number n. Five columns
// hold 99,999 serials and four 9,999 residues; then hybrid-36 counts on in upper-case base 36
// from "A0000" and "A000" (n - 10^w + 10 * 36^(w-1) in base 36).
TEST(Pdb, NumbersPastTheColumnsInHybrid36) {
    ScratchDir dir;
    write_file(dir.file("he.cif"), read_file(test_data("teska/helium_p1.cif")));
    const auto run = run_teska({"convert", "he.cif", "--supercell", "50x50x41"}, dir.path());
    ASSERT_EQ(run.status, 0) << run.err;
    const std::vector<std::string> lines = lines_of(read_file(dir.file("he.pdb")));
    ASSERT_EQ(lines.size(), 4u + 102500u + 2u);  // TITLE, REMARK, CRYST1, MODEL ... TER, ENDMDL
    const auto serial = [&](int n) { return lines[3 + n].substr(6, 5); };
    const auto residue = [&](int n) { return lines[3 + n].substr(22, 4); };
    EXPECT_EQ(residue(9999), "9999");
    EXPECT_EQ(residue(10000), "A000");
    EXPECT_EQ(residue(10035), "A00Z");
    EXPECT_EQ(residue(10036), "A010");
    EXPECT_EQ(serial(99999), "99999");
    EXPECT_EQ(serial(100000), "A0000");
    EXPECT_EQ(serial(100036), "A0010");
    EXPECT_EQ(lines[3 + 102500].substr(12, 4), "He1 ");
    FileIO store;
    store.read_data_pdb(dir.file("he.pdb").c_str());
    ASSERT_EQ(store.natoms_cif, 102500);
    // The last atom sits in cell (49, 49, 40).
    const double last[3] = {49 * 4.0, 49 * 4.0, 40 * 4.0};
    expect_coordinates_near(store.cif_x + 3 * 102499, last, 1, 0.0005);
}

// --strict converts as cif2pdb does: the same bytes for every test crystal with atoms; a cell
// without atoms (which cif2pdb writes as an empty model) is a failure that leaves no file.
TEST(Strict, WritesWhatCif2pdbWritesByteForByte) {
    for (const std::string& input :
         {kNaphthalene, test_data("golden_inputs/chloroacetonitrile.cif"),
          test_data("golden_inputs/ferrocene_p21c.cif"),
          test_data("golden_inputs/acetonitrile_hydrate.cif")}) {
        SCOPED_TRACE(input);
        ScratchDir dir;
        write_file(dir.file("in.cif"), read_file(input));
        ASSERT_EQ(test_support::run_cif2pdb({"in.cif", "cif2pdb.pdb"}, dir.path()).status, 0);
        const auto run =
            run_teska({"convert", "--strict", "in.cif", "-o", "teska.pdb"}, dir.path());
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(read_file(dir.file("teska.pdb")), read_file(dir.file("cif2pdb.pdb")));
    }
    for (const char* name : {"empty_cell.cif", "benzene_no_blank_line.cif"}) {
        SCOPED_TRACE(name);
        ScratchDir dir;
        write_file(dir.file("in.cif"), read_file(test_data(std::string("golden_inputs/") + name)));
        const auto run = run_teska({"convert", "--strict", "in.cif"}, dir.path());
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.err.substr(0, run.err.find('\n')), "in.cif: the cell holds no atoms");
        EXPECT_EQ(folder_entries(dir.path()), (std::set<std::string>{"in.cif"}));
    }
}

}  // namespace
