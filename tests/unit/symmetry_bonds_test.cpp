// Symmetry operations, expansion to the full cell, bond searches and molecule separation: the
// orders that the output depends on, and the deliberate rules of each step.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "store_arrays.h"
#include "teska/fileio.h"
#include "test_support.h"

namespace {

using Ints = std::vector<int>;
const char* const kFatalHeader = "ERROR  transport : fileio : line [0-9]+ : \n";

// Runs each case line of a file of cases (comment lines aside) and compares what the runs
// report with the file's golden.
void expect_cases(const std::string& name, std::string (*run)(const std::string& line)) {
    std::istringstream file(test_support::read_file(test_support::test_data("reader/" + name)));
    std::string report;
    for (std::string line; std::getline(file, line);)
        if (!line.empty() && line[0] != '#') report += run(line);
    EXPECT_EQ(report, test_support::read_file(test_support::golden("reader/" + name)));
}

// "before | operation": parsed over a matrix and translation that hold the number before.
std::string parse_case(const std::string& line) {
    const std::string op = line.substr(line.find(" | ") + 3);
    const double before = std::atof(line.c_str());
    double rot[3][3], trans[3] = {before, before, before};
    std::fill(&rot[0][0], &rot[0][0] + 9, before);
    FileIO().ParseTransformString(op, rot, trans);
    std::ostringstream out;
    out.precision(17);
    out << op << " ->";
    for (int k = 0; k < 9; ++k) out << (k == 0 || k % 3 ? " " : " / ") << rot[k / 3][k % 3];
    out << " | " << trans[0] << ' ' << trans[1] << ' ' << trans[2] << '\n';
    return out.str();
}

TEST(ParseTransformString, OperationsOfTheCasesFile) { expect_cases("operations.txt", parse_case); }

struct Site {
    int atype;
    double x, y, z;  // fractional
};

// Sites written as "type x y z, ...".
std::vector<Site> sites(const std::string& text) {
    std::vector<Site> list;
    std::istringstream in(text);
    for (Site s; in >> s.atype >> s.x >> s.y >> s.z; in.ignore(1)) list.push_back(s);
    return list;
}

// Each radius is atype / 10 (angstrom), so that a radius can be traced to its atom. The edge
// of 8 keeps distances along x exact.
void load(FileIO& store, const std::vector<Site>& list, double edge = 8.0) {
    using fileio_detail::new_store_array;
    double cell[6] = {edge, edge, edge, 90, 90, 90}, latt[3][3];
    store.cell_cell6_to_latt3x3(cell, latt);
    const int n = static_cast<int>(list.size());
    store.natoms_cif = n;
    store.cif_atypes = new_store_array<int>(n);
    store.cif_radius = new_store_array<double>(n);
    store.cif_x_s = new_store_array<double>(3 * n);
    store.cif_x = new_store_array<double>(3 * n);
    for (int i = 0; i < n; ++i) {
        store.cif_atypes[i] = list[i].atype;
        store.cif_radius[i] = list[i].atype / 10.0;
        double* x_s = store.cif_x_s + 3 * i;
        x_s[0] = list[i].x, x_s[1] = list[i].y, x_s[2] = list[i].z;
        store.coord_f2c(x_s, store.cif_x + 3 * i);
    }
}

// The atoms written like sites(); each radius must have followed its atom.
std::string expanded(const FileIO& store) {
    std::ostringstream out;
    out.precision(15);
    for (int i = 0; i < store.natoms_cif; ++i) {
        EXPECT_EQ(store.cif_radius[i], store.cif_atypes[i] / 10.0) << i;
        const double* x = store.cif_x_s + 3 * i;
        out << (i ? ", " : "") << store.cif_atypes[i] << ' ' << x[0] << ' ' << x[1] << ' ' << x[2];
    }
    return out.str();
}

// "operation; ... | asymmetric unit": what the expansion printed, then the full cell.
std::string expand_case(const std::string& line) {
    const std::size_t bar = line.find(" | ");
    FileIO store;
    load(store, sites(line.substr(bar + 3)));
    std::istringstream ops(line.substr(0, bar));
    for (std::string op; std::getline(ops >> std::ws, op, ';');) store.cif_symops.push_back(op);
    const std::string printed = test_support::stdout_of([&] { store.make_spacegroup_P1(3); });
    return line + "\n" + printed + "=> " + expanded(store) + "\n";
}

TEST(MakeSpacegroupP1, ExpansionsOfTheCasesFile) { expect_cases("expansions.txt", expand_case); }

using Found = std::tuple<int, int, double>;  // first, second, distance
using Search = void (FileIO::*)(int, int*, int, int*, int*, int*, double*);
const Search kPeriodic = &FileIO::find_bond_atom;
const Search kCartesian = &FileIO::find_bond_atom_cart;
const Found kNone{-1, -1, 9999.99};

Found search(FileIO& store, Search member, Ints flags, Ints list) {
    Found f;
    (store.*member)(static_cast<int>(flags.size()), flags.data(), static_cast<int>(list.size()),
                    list.data(), &std::get<0>(f), &std::get<1>(f), &std::get<2>(f));
    return f;
}

// find_bond_atom_one on the caller's fractional coordinates, every radius 0.72.
Found search_one(FileIO& store, std::vector<double>& x_s, Ints flags, Ints list) {
    std::vector<double> radius(flags.size(), 0.72);
    Found f;
    store.find_bond_atom_one(static_cast<int>(flags.size()), x_s.data(), radius.data(),
                             flags.data(), static_cast<int>(list.size()), list.data(),
                             &std::get<0>(f), &std::get<1>(f), &std::get<2>(f));
    return f;
}

// Candidates 1, 2 and 3 against the set [4, 0]: 1 bonds to nothing, 2 to both members, 3 to
// member 0 only. The lowest bonded candidate wins, with its partner earliest in the list; an
// empty set is seeded with the lowest candidate, untested.
TEST(BondSearch, SearchOrderSeedAndSentinels) {
    FileIO store;
    load(store, sites("5 0.5 0 0, 5 0.5 0.5 0.5, 5 0.5625 0 0, 5 0.4375 0 0, 5 0.625 0 0"));
    for (Search member : {kPeriodic, kCartesian}) {
        EXPECT_EQ(search(store, member, {0, 1, 1, 1, 0}, {4, 0}), Found(2, 4, 0.5));
        EXPECT_EQ(search(store, member, {0, 1, 1, 1, 0}, {}), Found(1, 0, 0.0));
        EXPECT_EQ(search(store, member, {0, 1, 0, 0, 0}, {4, 0}), kNone);
    }
    EXPECT_EQ(search(store, kPeriodic, {0, 1, 1, 1, 0}, {0, 4}), Found(2, 0, 0.5));
}

TEST(BondSearch, BondAcrossTheCellFaceIsPeriodicOnlyAndFoldedFromAnyImage) {
    FileIO store;
    load(store, sites("7 0.015625 0 0, 7 0.984375 0 0, 7 -2.015625 3 0"));
    EXPECT_EQ(search(store, kPeriodic, {0, 1, 0}, {0}), Found(1, 0, 0.25));
    EXPECT_EQ(search(store, kCartesian, {0, 1, 0}, {0}), kNone);
    EXPECT_EQ(search(store, kPeriodic, {0, 0, 1}, {0}), Found(2, 0, 0.25));
}

TEST(BondSearch, DistanceEqualToTheLimitIsNoBond) {
    FileIO store;  // radii 0.5 and a factor of 1: the limit is exactly 1 angstrom
    load(store, {{5, 0.25, 0, 0}, {5, 0.375, 0, 0}, {5, std::nextafter(2.0, 3.0) / 8, 0, 0}});
    store.bond_scale = 1.0;
    EXPECT_EQ(search(store, kCartesian, {0, 1, 0}, {0}), kNone);
    EXPECT_EQ(std::get<0>(search(store, kCartesian, {0, 1, 0}, {2})), 1);
}

// In a 2 A cell: a pair bonded only across the face moves the candidate next to its partner;
// a pair bonded as placed moves nothing, even where the folded distance would be shorter.
TEST(BondSearchOne, FoldsOnlyWhenTheDirectDistanceIsNoBond) {
    FileIO store;
    load(store, {}, 2.0);
    std::vector<double> across = {0.03125, 0.3, 0.4, 0.96875, 0.3, 0.4};
    EXPECT_EQ(search_one(store, across, {0, 1}, {0}), Found(1, 0, 0.125));
    EXPECT_EQ(across, (std::vector<double>{0.03125, 0.3, 0.4, -0.03125, 0.3, 0.4}));
    std::vector<double> direct = {0.125, 0.3, 0.4, 0.75, 0.3, 0.4};
    EXPECT_EQ(search_one(store, direct, {1, 0}, {1}), Found(0, 1, 1.25));
    EXPECT_EQ(direct, (std::vector<double>{0.125, 0.3, 0.4, 0.75, 0.3, 0.4}));
}

TEST(SymmetryAndBondsDeathTest, TooManyImagesOrACoordinateOutOfRangeEndTheRun) {
    FileIO big;
    big.natoms_cif = 20000000;
    big.cif_symops.assign(192, "x,y,z");
    EXPECT_EXIT(
        (test_support::stdout_to_stderr(), big.make_spacegroup_P1(3)),
        ::testing::ExitedWithCode(255),
        std::string(kFatalHeader) + "Too many atoms in the expanded cell: 20000000 x 192\\.");
    for (double far : {9007199254740992.0, -9007199254740992.0, HUGE_VAL}) {
        FileIO store;
        load(store, {{7, 0.5, 0.5, 0.5}, {7, far, 0.5, 0.5}});
        EXPECT_EXIT((test_support::stdout_to_stderr(), search(store, kPeriodic, {0, 1}, {0})),
                    ::testing::ExitedWithCode(255),
                    std::string(kFatalHeader) + "Coordinate out of range in the bond search\\.");
    }
}

std::string separate(FileIO& store, bool periodic) {
    return test_support::stdout_of([&] {
        periodic ? store.separate_cif_molecules(true) : store.separate_gjf_molecules(true);
    });
}

// In a 20 A cell with radii 0.5, atoms 1 A apart are bonded, 1.41 A are not: bonds 0-2, 0-4,
// 2-5, 4-1, and 6-0 across the cell face; atom 3 alone. Growth by lowest index gives 0 2 4 1 5,
// where breadth-first would give 0 2 4 5 1 and depth-first 0 2 5 4 1.
TEST(SeparateMolecules, LowestIndexFirstGrowthAndBondsAcrossTheFaceOnlyWhenPeriodic) {
    const std::vector<Site> cell = sites(
        "5 0 0 0, 5 0 0.1 0, 5 0.05 0 0, 5 0.25 0.25 0.25, 5 0 0.05 0, 5 0.1 0 0, 5 0.96 0 0");
    FileIO periodic, cartesian;
    load(periodic, cell, 20.0);
    load(cartesian, cell, 20.0);
    EXPECT_EQ(separate(periodic, true), "  Unit cell nmols  = 2\n  Unit cell natoms = 6 1\n");
    EXPECT_EQ(separate(cartesian, false),
              "Mol separated: nmols  = 3\nMol separated: natoms = 5 1 1\n");
    EXPECT_EQ(periodic.mol_atom_list, Ints({0, 2, 4, 1, 5, 6, 3}));
    EXPECT_EQ(cartesian.mol_atom_list, Ints({0, 2, 4, 1, 5, 3, 6}));
}

// Random cell: each atom in one molecule, which starts with the lowest atom not yet placed and
// grows by atoms bonded to earlier ones; no bond joins two molecules.
TEST(SeparateMolecules, PartitionInvariantsOnARandomCell) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> position(0.0, 1.0);
    std::vector<Site> cell(150);
    for (Site& s : cell) s = {5, position(random), position(random), position(random)};
    FileIO store;
    load(store, cell, 12.0);
    separate(store, true);
    const auto bonded = [&](int i, int j) {
        Ints flags(150, 0);
        flags[i] = 1;
        return std::get<0>(search(store, kPeriodic, flags, {j})) == i;
    };
    const Ints &sizes = store.mol_natoms_list, &atoms = store.mol_atom_list;
    ASSERT_GT(sizes.size(), 1u);
    ASSERT_EQ(std::accumulate(sizes.begin(), sizes.end(), 0), 150);
    ASSERT_EQ(atoms.size(), 150u);
    Ints molecule_of(150, -1);
    for (int m = 0, at = 0; m < static_cast<int>(sizes.size()); ++m)
        for (const int first = at; at < first + sizes[m]; ++at) {
            const int atom = atoms[at];
            ASSERT_EQ(molecule_of[atom], -1) << atom;
            molecule_of[atom] = m;
            EXPECT_TRUE(at == first ? std::count(&molecule_of[0], &molecule_of[atom], -1) == 0
                                    : std::any_of(&atoms[first], &atoms[at],
                                                  [&](int member) { return bonded(atom, member); }))
                << atom;
        }
    for (int i = 0; i < 150; ++i)
        for (int j = i + 1; j < 150; ++j)
            EXPECT_TRUE(molecule_of[i] == molecule_of[j] || !bonded(i, j)) << i << "-" << j;
}

}  // namespace
