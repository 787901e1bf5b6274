// XYZ, MOL, P1 CIF and supercell PDB writers: whole files against expected files, the
// supercell counters, and each writer's report of an output file it cannot create.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "fileio.h"
#include "mmutil.h"
#include "test_support.h"

namespace {

using test_support::read_file;
using test_support::ScratchDir;

std::string expected(const std::string& name) {
    return read_file(test_support::golden("writers/" + name));
}

// 2023-11-14 22:13:20 UTC; with TZ pinned to UTC every dated line is fixed.
constexpr std::time_t kPinnedTime = 1700000000;

void pin_clock_in_utc() {
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    mmutil::pin_clock(kPinnedTime);
}

// A small monoclinic crystal (a 10, b 8, c 6 angstrom, beta 120 degrees): a water molecule and
// a chlorine molecule that crosses the a face. The crystal atoms hold the chlorine atoms
// folded into the cell, the molecule list holds them whole.
class SmallCrystal : public ::testing::Test {
   protected:
    void SetUp() override {
        pin_clock_in_utc();
        store.identifier = "teska_test";
        double cell[6] = {10.0, 8.0, 6.0, 90.0, 120.0, 90.0};
        for (int i = 0; i < 6; ++i) store.cell_latt[i] = cell[i];
        double latt[3][3];
        store.cell_cell6_to_latt3x3(cell, latt);

        store.natoms_cif = 5;
        store.cif_atypes = crystal_atypes;
        store.cif_x_s = crystal_fract;
        for (int i = 0; i < store.natoms_cif; ++i)
            store.coord_f2c(&crystal_fract[3 * i], &crystal_cart[3 * i]);
        store.cif_x = crystal_cart;
    }
    void TearDown() override { mmutil::unpin_clock(); }

    FileIO store;
    ScratchDir dir;
    int crystal_atypes[5] = {8, 1, 1, 17, 17};
    double crystal_fract[15] = {0.1,  0.2,  0.3, 0.2, 0.25, 0.35, 0.05, 0.3,
                                0.25, 0.95, 0.7, 0.8, 0.15, 0.7,  0.8};
    double crystal_cart[15] = {};

    // Molecule list: water, then the whole chlorine molecule.
    int water_atypes[3] = {8, 1, 1};
    double water_fract[9] = {0.1, 0.2, 0.3, 0.2, 0.25, 0.35, 0.05, 0.3, 0.25};
    int chlorine_atypes[2] = {17, 17};
    double chlorine_fract[6] = {0.95, 0.7, 0.8, 1.15, 0.7, 0.8};
    int mol_natoms[2] = {3, 2};
    int* mol_atypes[2] = {water_atypes, chlorine_atypes};
    double* mol_fract[2] = {water_fract, chlorine_fract};
};

TEST_F(SmallCrystal, CrystalAtomsAsXyz) {
    const std::string path = dir.file("crystal.xyz");
    EXPECT_EQ(store.write_data_xyz(path.c_str()), 0);
    EXPECT_EQ(read_file(path), expected("crystal.xyz"));
}

TEST_F(SmallCrystal, CrystalAtomsAsMol) {
    const std::string path = dir.file("crystal.mol");
    EXPECT_EQ(store.write_data_mol(path.c_str()), 0);
    EXPECT_EQ(read_file(path), expected("crystal.mol"));
}

// The atom-list forms share the layout of the crystal forms: given the crystal's own atoms
// they must write the same files.
TEST_F(SmallCrystal, AtomListFormsMatchCrystalForms) {
    const std::string xyz = dir.file("list.xyz");
    const std::string mol = dir.file("list.mol");
    store.write_data_xyz(xyz.c_str(), store.natoms_cif, store.cif_atypes, store.cif_x);
    store.write_data_mol(mol.c_str(), store.natoms_cif, store.cif_atypes, store.cif_x);
    EXPECT_EQ(read_file(xyz), expected("crystal.xyz"));
    EXPECT_EQ(read_file(mol), expected("crystal.mol"));
}

TEST_F(SmallCrystal, CrystalAtomsAsFractionalCif) {
    const std::string path = dir.file("fract.cif");
    EXPECT_EQ(store.write_data_cif(path.c_str(), true), 0);
    EXPECT_EQ(read_file(path), expected("crystal_fract.cif"));
}

TEST_F(SmallCrystal, CrystalAtomsAsCartesianCif) {
    const std::string path = dir.file("cartn.cif");
    EXPECT_EQ(store.write_data_cif(path.c_str(), false), 0);
    EXPECT_EQ(read_file(path), expected("crystal_cartn.cif"));
}

TEST_F(SmallCrystal, MoleculeListAsUnitCellCif) {
    const std::string path = dir.file("unitcell.cif");
    EXPECT_EQ(store.write_unitcell_cif(path.c_str(), 2, mol_natoms, mol_atypes, mol_fract), 0);
    EXPECT_EQ(read_file(path), expected("unitcell.cif"));
}

TEST_F(SmallCrystal, MoleculeListAsSupercellCif) {
    const std::string path = dir.file("supercell.cif");
    EXPECT_EQ(
        store.write_supercell_cif(path.c_str(), 2, mol_natoms, mol_atypes, mol_fract, 2, 1, 1), 0);
    EXPECT_EQ(read_file(path), expected("supercell_2x1x1.cif"));
}

TEST_F(SmallCrystal, MoleculeListAsSupercellPdb) {
    const std::string path = dir.file("supercell.pdb");
    EXPECT_EQ(
        store.write_supercell_pdb(path.c_str(), 2, mol_natoms, mol_atypes, mol_fract, 2, 1, 1), 0);
    EXPECT_EQ(read_file(path), expected("supercell_2x1x1.pdb"));
}

// The header of a file written by the given writer: the golden's lines up to the site loop.
std::string cif_header_of(const std::string& golden_name) {
    const std::string text = expected(golden_name);
    return text.substr(0, text.find("_atom_site_occupancy\n") + 21);
}

TEST_F(SmallCrystal, EmptySupercellsWriteHeadersOnly) {
    const std::string cif = dir.file("empty.cif");
    store.write_supercell_cif(cif.c_str(), 2, mol_natoms, mol_atypes, mol_fract, 0, 1, 1);
    std::string header = cif_header_of("unitcell.cif");
    header.replace(header.find("10.0000"), 7, "0.0000");
    EXPECT_EQ(read_file(cif), header);

    const std::string pdb = dir.file("empty.pdb");
    store.write_supercell_pdb(pdb.c_str(), 2, mol_natoms, mol_atypes, mol_fract, 1, 0, 1);
    EXPECT_EQ(read_file(pdb),
              "REMARK   TESKA PDB file\n"
              "REMARK   Created:  2023-11-14 22:13:20\n"
              "CRYST1   10.000    0.000    6.000   90.000  120.000   90.000 P 1           1\n"
              "TER\n");
}

TEST_F(SmallCrystal, UnitCellWithoutMoleculesIsHeaderOnly) {
    const std::string path = dir.file("none.cif");
    store.write_unitcell_cif(path.c_str(), 0, nullptr, nullptr, nullptr);
    EXPECT_EQ(read_file(path), cif_header_of("unitcell.cif"));
}

TEST(XyzMolWriters, NoAtomsGiveHeadersOnly) {
    FileIO store;
    ScratchDir dir;
    const std::string xyz = dir.file("none.xyz");
    const std::string mol = dir.file("none.mol");
    store.write_data_xyz(xyz.c_str());
    store.write_data_mol(mol.c_str());
    EXPECT_EQ(read_file(xyz), "0\nmol xyz file\n");
    EXPECT_EQ(read_file(mol),
              "Molecule\nCreated by TESKA\n\n  0  0  0  0  0  0  0  0  0  0999 V2000\nM  END\n");
}

TEST(XyzMolWriters, UnknownElementIsWrittenAsX) {
    FileIO store;
    ScratchDir dir;
    int atypes[2] = {6, -1};
    double x[6] = {1.0, 2.0, 3.0, -1.5, 0.25, 4.125};
    const std::string xyz = dir.file("x.xyz");
    const std::string mol = dir.file("x.mol");
    store.write_data_xyz(xyz.c_str(), 2, atypes, x);
    store.write_data_mol(mol.c_str(), 2, atypes, x);
    EXPECT_EQ(read_file(xyz),
              "2\nmol xyz file\n"
              " C   1.0000000000   2.0000000000   3.0000000000\n"
              " X  -1.5000000000   0.2500000000   4.1250000000\n");
    EXPECT_EQ(read_file(mol),
              "Molecule\nCreated by TESKA\n\n  2  0  0  0  0  0  0  0  0  0999 V2000\n"
              "    1.0000    2.0000    3.0000 C   0  0  0  0  0  0  0  0  0  0\n"
              "   -1.5000    0.2500    4.1250 X   0  0  0  0  0  0  0  0  0  0\n"
              "M  END\n");
}

// Site lines appended to an open file: labels from first + 1, coordinates
// (x + shift + 1) / scale, then the group number.
TEST(CifMolOne, AppendsShiftedScaledSites) {
    FileIO store;
    ScratchDir dir;
    const std::string path = dir.file("sites.cif");
    FILE* out = std::fopen(path.c_str(), "w");
    ASSERT_NE(out, nullptr);
    int atypes[2] = {6, 17};
    double x[6] = {0.5, 1.0, -0.5, 1.5, 0.25, 0.0};
    double shift[3] = {0.5, 0.0, 1.0};
    store.write_cif_mol_one(out, 4, 2, atypes, x, shift, 2.0, 3);
    std::fclose(out);
    EXPECT_EQ(read_file(path),
              "C5      C   1.000000   1.000000   0.750000  3\n"
              "Cl6    Cl   1.500000   0.625000   1.000000  3\n");
}

// ---------------------------------------------------------------------------------------
// Supercell PDB counters over a file long enough to wrap them: one molecule of 11 atoms in
// 100 x 100 x 1 cells gives 10000 molecules and 110000 atoms.

struct AtomRecord {
    int serial;
    int name_counter;
    int residue;
};

AtomRecord parse_atom_record(const std::string& line) {
    AtomRecord record;
    record.serial = std::atoi(line.substr(6, 5).c_str());
    record.name_counter = static_cast<int>(std::strtol(line.substr(14, 2).c_str(), nullptr, 16));
    record.residue = std::atoi(line.substr(22, 4).c_str());
    return record;
}

TEST(SupercellPdb, CountersWrapOverTheWholeFile) {
    pin_clock_in_utc();
    FileIO store;
    double cell[6] = {4.0, 4.0, 4.0, 90.0, 90.0, 90.0};
    for (int i = 0; i < 6; ++i) store.cell_latt[i] = cell[i];
    double latt[3][3];
    store.cell_cell6_to_latt3x3(cell, latt);
    constexpr int kAtoms = 11;
    int atypes[kAtoms];
    double fract[3 * kAtoms];
    for (int k = 0; k < kAtoms; ++k) {
        atypes[k] = 6;
        fract[3 * k] = 0.05 + 0.08 * k;
        fract[3 * k + 1] = 0.5;
        fract[3 * k + 2] = 0.5;
    }
    int natoms[1] = {kAtoms};
    int* mol_atypes[1] = {atypes};
    double* mol_fract[1] = {fract};
    ScratchDir dir;
    const std::string path = dir.file("big.pdb");
    store.write_supercell_pdb(path.c_str(), 1, natoms, mol_atypes, mol_fract, 100, 100, 1);
    mmutil::unpin_clock();

    std::istringstream text(read_file(path));
    std::string line;
    for (int i = 0; i < 3; ++i) std::getline(text, line);
    std::vector<AtomRecord> records;
    while (std::getline(text, line) && line.compare(0, 4, "ATOM") == 0)
        records.push_back(parse_atom_record(line));
    ASSERT_EQ(records.size(), 100u * 100u * kAtoms);
    EXPECT_EQ(line, "TER");
    EXPECT_FALSE(std::getline(text, line));

    // Where each counter turns (atom numbers 1-based; molecule m holds atoms 11m-10 .. 11m).
    const struct {
        int atom;
        AtomRecord want;
    } turns[] = {
        {11, {11, 11, 1}},          {12, {12, 12, 2}},          {255, {255, 255, 24}},
        {256, {256, 1, 24}},        {99999, {99999, 39, 9091}}, {100000, {1, 40, 9091}},
        {109989, {9990, 84, 9999}}, {109990, {9991, 85, 1}},    {110000, {10001, 95, 1}},
    };
    for (const auto& turn : turns) {
        const AtomRecord& got = records[turn.atom - 1];
        EXPECT_EQ(got.serial, turn.want.serial) << "atom " << turn.atom;
        EXPECT_EQ(got.name_counter, turn.want.name_counter) << "atom " << turn.atom;
        EXPECT_EQ(got.residue, turn.want.residue) << "atom " << turn.atom;
    }

    // Every record: serial 1..99999, name counter 1..255, residue 1..9999, each counting on
    // over the whole file.
    int wrong = 0;
    for (int atom = 1; atom <= static_cast<int>(records.size()); ++atom) {
        const int molecule = (atom - 1) / kAtoms + 1;
        const AtomRecord& got = records[atom - 1];
        if (got.serial != (atom - 1) % 99999 + 1 || got.name_counter != (atom - 1) % 255 + 1 ||
            got.residue != (molecule - 1) % 9999 + 1)
            ++wrong;
    }
    EXPECT_EQ(wrong, 0);
}

// ---------------------------------------------------------------------------------------
// Each writer's report of an output file it cannot create: its own words on its own stream.

constexpr const char* kMissingDir = "/nonexistent-cif2pdb-dir";

// Sends standard output to where the death test reads and silences the error stream, so that
// a message is matched only when it was written to standard output.
void swap_stdout_into_death_stream() {
    std::fflush(stdout);
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
    std::freopen("/dev/null", "w", stderr);
}

struct OpenFailureCase {
    const char* name;
    bool on_stdout;
    std::function<void(FileIO&, const char*)> write;
    const char* message;  // regex on the stream the writer must use
};

// Names the case in test listings instead of dumping its bytes.
void PrintTo(const OpenFailureCase& c, std::ostream* os) { *os << c.name; }

class WriterOpenFailure : public ::testing::TestWithParam<OpenFailureCase> {};

TEST_P(WriterOpenFailure, ReportsAndExits) {
    const OpenFailureCase& c = GetParam();
    const std::string path = std::string(kMissingDir) + "/" + c.name;
    FileIO store;
    EXPECT_EXIT(
        {
            if (c.on_stdout) swap_stdout_into_death_stream();
            c.write(store, path.c_str());
        },
        ::testing::ExitedWithCode(255), c.message);
}

int one_atype[1] = {6};
double one_x[3] = {0.0, 0.0, 0.0};
int one_natoms[1] = {1};
int* one_atypes[1] = {one_atype};
double* one_xs[1] = {one_x};

const OpenFailureCase kOpenFailureCases[] = {
    {"crystal.xyz", false, [](FileIO& s, const char* p) { s.write_data_xyz(p); },
     "^ERROR: Failed to open output file \"/nonexistent-cif2pdb-dir/crystal.xyz\"\n$"},
    {"list.xyz", false, [](FileIO& s, const char* p) { s.write_data_xyz(p, 1, one_atype, one_x); },
     "^Failed to open output file \"/nonexistent-cif2pdb-dir/list.xyz\"\n$"},
    {"crystal.mol", false, [](FileIO& s, const char* p) { s.write_data_mol(p); },
     "^Failed to open output file \"/nonexistent-cif2pdb-dir/crystal.mol\"\n$"},
    {"list.mol", false, [](FileIO& s, const char* p) { s.write_data_mol(p, 1, one_atype, one_x); },
     "^Failed to open output file \"/nonexistent-cif2pdb-dir/list.mol\"\n$"},
    {"crystal.cif", true, [](FileIO& s, const char* p) { s.write_data_cif(p, true); },
     "^\nERROR  transport : fileio : line [0-9]+ : \n"
     "Failed to open output file /nonexistent-cif2pdb-dir/crystal.cif\n$"},
    {"unitcell.cif", true,
     [](FileIO& s, const char* p) { s.write_unitcell_cif(p, 1, one_natoms, one_atypes, one_xs); },
     "^\nERROR  transport : fileio : line [0-9]+ : \n"
     "Failed to open output file /nonexistent-cif2pdb-dir/unitcell.cif\n$"},
    {"supercell.cif", true,
     [](FileIO& s, const char* p) {
         s.write_supercell_cif(p, 1, one_natoms, one_atypes, one_xs, 1, 1, 1);
     },
     "^\nERROR  transport : fileio : line [0-9]+ : \n"
     "Failed to open output file /nonexistent-cif2pdb-dir/supercell.cif\n$"},
    {"supercell.pdb", true,
     [](FileIO& s, const char* p) {
         s.write_supercell_pdb(p, 1, one_natoms, one_atypes, one_xs, 1, 1, 1);
     },
     "^\nERROR  transport : fileio : line [0-9]+ : \n"
     "Failed to open output file /nonexistent-cif2pdb-dir/supercell.pdb\n$"},
};

INSTANTIATE_TEST_SUITE_P(StructureWriters, WriterOpenFailure,
                         ::testing::ValuesIn(kOpenFailureCases),
                         [](const ::testing::TestParamInfo<OpenFailureCase>& case_info) {
                             std::string name = case_info.param.name;
                             for (char& ch : name)
                                 if (ch == '.') ch = '_';
                             return name;
                         });

}  // namespace
