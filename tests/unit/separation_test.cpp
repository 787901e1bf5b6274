// Molecule separation: lowest-index-first growth, molecules ordered by their lowest atom,
// periodic against Cartesian bonds, the verbose reports and an empty cell.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "fileio.h"
#include "store_arrays.h"

namespace {

using fileio_detail::new_store_array;

// A cubic cell of the given edge holding atoms at Cartesian positions (angstrom), all of
// radius 0.5: with the default factor 1.15, atoms 1 angstrom apart are bonded, 1.2 are not.
void load_cartesian(FileIO& store, double edge, const std::vector<double>& x) {
    double cell[6] = {edge, edge, edge, 90, 90, 90};
    double latt[3][3];
    store.cell_cell6_to_latt3x3(cell, latt);
    const int n = static_cast<int>(x.size() / 3);
    store.natoms_cif = n;
    store.cif_x = new_store_array<double>(3 * n);
    store.cif_x_s = new_store_array<double>(3 * n);
    store.cif_radius = new_store_array<double>(n);
    std::copy(x.begin(), x.end(), store.cif_x);
    for (int i = 0; i < n; ++i) {
        store.coord_c2f(store.cif_x + 3 * i, store.cif_x_s + 3 * i);
        store.cif_radius[i] = 0.5;
    }
}

std::string separate(FileIO& store, bool periodic, bool verbose = false) {
    testing::internal::CaptureStdout();
    if (periodic)
        store.separate_cif_molecules(verbose);
    else
        store.separate_gjf_molecules(verbose);
    return testing::internal::GetCapturedStdout();
}

using Ints = std::vector<int>;

// Bonds 0-2, 0-4, 2-5, 4-1; atom 3 alone. Growth by lowest index gives 0 2 4 1 5, where
// breadth-first would give 0 2 4 5 1 and depth-first 0 2 5 4 1.
const std::vector<double> kBranched = {0, 0, 0, 0, 2, 0, 1, 0, 0, 5, 5, 5, 0, 1, 0, 2, 0, 0};

TEST(SeparateMolecules, LowestIndexFirstGrowth) {
    for (bool periodic : {true, false}) {
        SCOPED_TRACE(periodic ? "periodic" : "Cartesian");
        FileIO store;
        load_cartesian(store, 20.0, kBranched);
        EXPECT_EQ(separate(store, periodic), "");
        EXPECT_EQ(store.mol_natoms_list, Ints({5, 1}));
        EXPECT_EQ(store.mol_atom_list, Ints({0, 2, 4, 1, 5, 3}));
    }
}

TEST(SeparateMolecules, IsolatedAtomBetweenBondedOnes) {
    FileIO store;
    load_cartesian(store, 20.0, {1, 1, 1, 6, 6, 6, 2, 1, 1});
    separate(store, true);
    EXPECT_EQ(store.mol_natoms_list, Ints({2, 1}));
    EXPECT_EQ(store.mol_atom_list, Ints({0, 2, 1}));
}

TEST(SeparateMolecules, ChainJoinsInBondOrder) {
    FileIO store;
    load_cartesian(store, 20.0, {1, 1, 1, 3, 1, 1, 4, 1, 1, 2, 1, 1});  // bonds 0-3, 3-1, 1-2
    separate(store, false);
    EXPECT_EQ(store.mol_natoms_list, Ints({4}));
    EXPECT_EQ(store.mol_atom_list, Ints({0, 3, 1, 2}));
}

TEST(SeparateMolecules, BondAcrossTheFaceJoinsOnlyPeriodically) {
    FileIO periodic, cartesian;
    load_cartesian(periodic, 10.0, {0.2, 5, 5, 9.6, 5, 5});
    load_cartesian(cartesian, 10.0, {0.2, 5, 5, 9.6, 5, 5});
    separate(periodic, true);
    separate(cartesian, false);
    EXPECT_EQ(periodic.mol_natoms_list, Ints({2}));
    EXPECT_EQ(cartesian.mol_natoms_list, Ints({1, 1}));
    EXPECT_EQ(cartesian.mol_atom_list, Ints({0, 1}));
}

TEST(SeparateMolecules, ResultsAreAppended) {
    FileIO store;
    store.mol_natoms_list = {7};
    store.mol_atom_list = {9};
    load_cartesian(store, 20.0, {1, 1, 1, 6, 6, 6});
    separate(store, true);
    EXPECT_EQ(store.mol_natoms_list, Ints({7, 1, 1}));
    EXPECT_EQ(store.mol_atom_list, Ints({9, 0, 1}));
}

TEST(SeparateMolecules, VerboseReports) {
    // Twelve atoms at one place (distance 0 is a bond) and three at another.
    std::vector<double> x;
    for (int i = 0; i < 15; ++i) {
        const double at = i % 5 == 4 ? 8.0 : 2.0;
        x.insert(x.end(), {at, at, at});
    }
    FileIO periodic, cartesian;
    load_cartesian(periodic, 20.0, x);
    load_cartesian(cartesian, 20.0, x);
    EXPECT_EQ(separate(periodic, true, true),
              "  Unit cell nmols  = 2\n  Unit cell natoms = 12 3\n");
    EXPECT_EQ(separate(cartesian, false, true),
              "Mol separated: nmols  = 2\nMol separated: natoms = 12 3\n");
    EXPECT_EQ(periodic.mol_atom_list, Ints({0, 1, 2, 3, 5, 6, 7, 8, 10, 11, 12, 13, 4, 9, 14}));
}

TEST(SeparateMolecules, EmptyCellHasNoMolecules) {
    FileIO store;
    load_cartesian(store, 20.0, {});
    EXPECT_EQ(separate(store, true, true), "  Unit cell nmols  = 0\n  Unit cell natoms =\n");
    EXPECT_TRUE(store.mol_natoms_list.empty());
    EXPECT_TRUE(store.mol_atom_list.empty());
}

// On a random cell: every atom in exactly one molecule, each molecule starting with the
// lowest atom not in an earlier one, and no bond between two molecules.
TEST(SeparateMolecules, PartitionInvariantsOnARandomCell) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> position(0.0, 12.0);
    std::vector<double> x(3 * 150);
    for (double& v : x) v = position(random);
    FileIO store;
    load_cartesian(store, 12.0, x);
    separate(store, true);

    const int n = store.natoms_cif;
    Ints sorted = store.mol_atom_list;
    std::sort(sorted.begin(), sorted.end());
    Ints all(n);
    std::iota(all.begin(), all.end(), 0);
    ASSERT_EQ(sorted, all);
    ASSERT_EQ(std::accumulate(store.mol_natoms_list.begin(), store.mol_natoms_list.end(), 0), n);
    ASSERT_GT(store.mol_natoms_list.size(), 1u);

    Ints molecule_of(n, n);  // n: not yet seen
    std::size_t start = 0;
    for (std::size_t m = 0; m < store.mol_natoms_list.size(); ++m) {
        const int first = store.mol_atom_list[start];
        for (int k = 0; k < store.mol_natoms_list[m]; ++k) {
            const int atom = store.mol_atom_list[start + k];
            molecule_of[atom] = static_cast<int>(m);
            EXPECT_GE(atom, first);
        }
        for (int a = 0; a < first; ++a) EXPECT_LT(molecule_of[a], static_cast<int>(m)) << a;
        start += store.mol_natoms_list[m];
    }
    for (int i = 0; i < n; ++i)
        for (int j = i + 1; j < n; ++j) {
            if (molecule_of[i] == molecule_of[j]) continue;
            Ints flags(n, 0), list = {j};
            flags[i] = 1;
            int first = 0, second = 0;
            double distance = 0.0;
            store.find_bond_atom(n, flags.data(), 1, list.data(), &first, &second, &distance);
            EXPECT_EQ(first, -1) << i << " and " << j << " are bonded";
        }
}

}  // namespace
