// Tests of the benchmark's supercell generator: the exact, repeatable P1 file, the atom count the
// benchmark sizes rely on, and that the conversion reads a supercell into whole molecules.
#include "supercell.h"

#include <gtest/gtest.h>

#include <cmath>

#include "teska/fileio.h"
#include "test_support.h"

namespace {

using bench::SeedCrystal;
using test_support::ScratchDir;

std::string written_supercell(const SeedCrystal& seed, bench::Repeats repeats) {
    ScratchDir dir;
    FILE* out = std::fopen(dir.file("p1.cif").c_str(), "w");
    bench::write_p1_supercell(out, seed, bench::unit_cell_atoms(seed), repeats);
    std::fclose(out);
    return test_support::read_file(dir.file("p1.cif"));
}

// The seed crystal lies in bench/seed/, beside the other files of the benchmark.
std::string bench_file(const std::string& name) {
    const std::string seed = SEED_CIF;
    return seed.substr(0, seed.rfind("seed/")) + name;
}

// The inversion maps C onto itself (dropped) and Cl to (0.25, 0.5, 0.9999999), whose z rounds to
// 1 and is written as 0; cells run along a, atoms keep unit-cell order, labels count per element.
TEST(P1Supercell, WholeFileOfTwoCellsSameBytesEveryTime) {
    const SeedCrystal seed{"cube",
                           {10, 10, 10, 90, 90, 90},
                           {"x,y,z", "-x,-y,-z"},
                           {{"C", {0, 0, 0}, "0.05"}, {"Cl", {0.75, 0.5, 0.0000001}, "?"}}};
    const std::string text = written_supercell(seed, {2, 1, 1});
    EXPECT_EQ(text, test_support::read_file(bench_file("golden/cube_P1_2x1x1.cif")));
    EXPECT_EQ(written_supercell(seed, {2, 1, 1}), text);
}

TEST(P1Supercell, AtomCountIsCellAtomsTimesRepeats) {
    const auto cell = bench::unit_cell_atoms(bench::read_seed_crystal(SEED_CIF));
    ASSERT_EQ(cell.size(), 48u);  // 4 operations x 12 atoms, no site on a symmetry element
    EXPECT_EQ(bench::supercell_atom_count(cell, {26, 40, 20}), 998400);
    EXPECT_EQ(bench::supercell_atom_count(cell, {1000, 1000, 1000}), 48000000000LL);
}

// The conversion's reader and pipeline on a 2 x 2 x 2 supercell: 16 anthracene molecules of 24
// atoms, each made whole again (every atom has its partners without any periodic image).
TEST(P1Supercell, ConversionFindsEveryMoleculeWhole) {
    ScratchDir dir;
    const SeedCrystal seed = bench::read_seed_crystal(SEED_CIF);
    test_support::write_file(dir.file("p1.cif"), written_supercell(seed, {2, 2, 2}));
    FileIO store;
    store.read_data_cif(dir.file("p1.cif").c_str(), false);
    EXPECT_EQ(store.natoms_cif, 384);
    EXPECT_EQ(store.mol_natoms_list, std::vector<int>(16, 24));
    store.input_kind = 2;
    store.read_crystal_strcuture_files(false, false);
    ASSERT_EQ(store.nmols, 16);
    for (int m = 0; m < store.nmols; ++m) {
        const double* x = store.mol_x[m];
        for (int i = 0; i < 24; ++i) {
            int bonded = 0;
            for (int j = 0; j < 24; ++j) {
                const double d = std::hypot(x[3 * j] - x[3 * i], x[3 * j + 1] - x[3 * i + 1],
                                            x[3 * j + 2] - x[3 * i + 2]);
                if (j != i && d < 1.6) ++bonded;
            }
            EXPECT_EQ(bonded, store.mol_atypes[m][i] == 6 ? 3 : 1) << "molecule " << m;
        }
    }
}

}  // namespace
