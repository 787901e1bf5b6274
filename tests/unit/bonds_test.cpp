// Bond searches: sentinels, lowest-candidate-first order with list-order partners, the strict
// criterion, periodic against Cartesian distances, the moving search, and the one-step fold.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "bond_search.h"
#include "fileio.h"
#include "store_arrays.h"

namespace {

using fileio_detail::fold_displacement;

struct Found {
    int first;
    int second;
    double distance;
};

// A store with a cubic cell of the given edge and atoms given by fractional coordinates.
class BondStore {
   public:
    BondStore(double edge, const std::vector<double>& x_s, const std::vector<double>& radius) {
        double cell[6] = {edge, edge, edge, 90, 90, 90};
        double latt[3][3];
        store.cell_cell6_to_latt3x3(cell, latt);
        store.natoms_cif = static_cast<int>(radius.size());
        store.cif_x_s = fileio_detail::new_store_array<double>(x_s.size());
        store.cif_x = fileio_detail::new_store_array<double>(x_s.size());
        store.cif_radius = fileio_detail::new_store_array<double>(radius.size());
        std::copy(x_s.begin(), x_s.end(), store.cif_x_s);
        std::copy(radius.begin(), radius.end(), store.cif_radius);
        for (std::size_t i = 0; i < x_s.size(); i += 3)
            store.coord_f2c(store.cif_x_s + i, store.cif_x + i);
    }

    Found periodic(std::vector<int> flags, std::vector<int> list) {
        Found f{};
        store.find_bond_atom(store.natoms_cif, flags.data(), static_cast<int>(list.size()),
                             list.data(), &f.first, &f.second, &f.distance);
        return f;
    }
    Found cartesian(std::vector<int> flags, std::vector<int> list) {
        Found f{};
        store.find_bond_atom_cart(store.natoms_cif, flags.data(), static_cast<int>(list.size()),
                                  list.data(), &f.first, &f.second, &f.distance);
        return f;
    }

    FileIO store;
};

void expect_sentinels(const Found& f) {
    EXPECT_EQ(f.first, -1);
    EXPECT_EQ(f.second, -1);
    EXPECT_EQ(f.distance, 9999.99);
}

TEST(BondSearch, EmptySetIsSeededWithTheLowestCandidateUntested) {
    BondStore b(10.0, std::vector<double>(18, 0.3), std::vector<double>(6, 0.0));
    for (int variant = 0; variant < 2; ++variant) {
        const std::vector<int> flags = {0, 0, 0, 0, 0, 1};
        const Found f = variant == 0 ? b.periodic(flags, {}) : b.cartesian(flags, {});
        EXPECT_EQ(f.first, 5);
        EXPECT_EQ(f.second, 0);
        EXPECT_EQ(f.distance, 0.0);
    }
}

TEST(BondSearch, SentinelsWhenNothingIsLeftOrBonded) {
    BondStore b(10.0, {0.1, 0.1, 0.1, 0.6, 0.6, 0.6}, {0.72, 0.72});
    expect_sentinels(b.periodic({0, 0}, {}));
    expect_sentinels(b.cartesian({0, 0}, {0}));
    expect_sentinels(b.periodic({0, 1}, {0}));  // 8.7 angstrom apart
    b.store.natoms_cif = 0;
    expect_sentinels(b.periodic({}, {}));
}

// Candidates 1, 2 and 3 against the set [4, 0]: 1 bonds to nothing, 2 to both members,
// 3 to member 0 only. The lowest bonded candidate wins, with its partner earliest in the list.
TEST(BondSearch, LowestCandidateFirstPartnersInListOrder) {
    const std::vector<double> x_s = {0.50, 0.50, 0.50,   // 0: member
                                     0.90, 0.90, 0.90,   // 1: far from both
                                     0.55, 0.50, 0.50,   // 2: 0.5 A from 0 and from 4
                                     0.45, 0.50, 0.50,   // 3: 0.5 A from 0
                                     0.60, 0.50, 0.50};  // 4: member
    BondStore b(10.0, x_s, std::vector<double>(5, 0.5));
    const std::vector<int> flags = {0, 1, 1, 1, 0};
    for (const Found& f : {b.periodic(flags, {4, 0}), b.cartesian(flags, {4, 0})}) {
        EXPECT_EQ(f.first, 2);
        EXPECT_EQ(f.second, 4);
        EXPECT_NEAR(f.distance, 0.5, 1e-12);
    }
    const Found f = b.periodic(flags, {0, 4});
    EXPECT_EQ(f.second, 0);
}

TEST(BondSearch, BondAcrossTheCellFaceIsPeriodicOnly) {
    BondStore b(10.0, {0.01, 0.5, 0.5, 0.99, 0.5, 0.5}, {0.72, 0.72});
    const Found periodic = b.periodic({0, 1}, {0});
    EXPECT_EQ(periodic.first, 1);
    EXPECT_EQ(periodic.second, 0);
    EXPECT_NEAR(periodic.distance, 0.2, 1e-12);
    expect_sentinels(b.cartesian({0, 1}, {0}));
}

TEST(BondSearch, FoldingReachesImagesSeveralCellsAway) {
    BondStore b(10.0, {0.99, 0.5, 0.5, 3.01, -2.5, 0.5}, {0.72, 0.72});
    const Found f = b.periodic({0, 1}, {0});
    EXPECT_EQ(f.first, 1);
    EXPECT_NEAR(f.distance, 0.2, 1e-12);
}

TEST(BondSearch, DistanceEqualToTheLimitIsNoBond) {
    // Radii 0.5 and a factor of 1: the limit is exactly 1 angstrom.
    BondStore b(10.0, {0.2, 0.5, 0.5, 0.3, 0.5, 0.5, 0.2, 0.5, 0.5}, {0.5, 0.5, 0.5});
    b.store.bond_scale = 1.0;
    b.store.cif_x[0] = 2.0, b.store.cif_x[3] = 3.0, b.store.cif_x[6] = std::nextafter(2.0, 3.0);
    expect_sentinels(b.cartesian({0, 1, 0}, {0}));
    const Found f = b.cartesian({0, 1, 0}, {2});
    EXPECT_EQ(f.first, 1);
    EXPECT_LT(f.distance, 1.0);
}

// find_bond_atom_one works on the caller's arrays and its own radii.
TEST(BondSearchOne, BondAcrossTheFaceMovesTheCandidateNextToItsPartner) {
    BondStore b(10.0, {}, {});
    std::vector<double> x_s = {0.02, 0.3, 0.4, 0.97, 0.3, 0.4};
    std::vector<double> radius = {0.72, 0.72};
    std::vector<int> flags = {0, 1}, list = {0};
    Found f{};
    b.store.find_bond_atom_one(2, x_s.data(), radius.data(), flags.data(), 1, list.data(), &f.first,
                               &f.second, &f.distance);
    EXPECT_EQ(f.first, 1);
    EXPECT_EQ(f.second, 0);
    EXPECT_NEAR(f.distance, 0.5, 1e-12);
    EXPECT_NEAR(x_s[3], -0.03, 1e-12);
    EXPECT_EQ(x_s[4], 0.3);
    EXPECT_EQ(x_s[5], 0.4);
    EXPECT_EQ(x_s[0], 0.02);
}

TEST(BondSearchOne, DirectBondMovesNothing) {
    BondStore b(10.0, {}, {});
    std::vector<double> x_s = {0.40, 0.3, 0.4, 0.55, 0.3, 0.4, 1.45, 0.3, 0.4};
    const std::vector<double> before = x_s;
    std::vector<double> radius = {0.72, 0.72, 0.72};
    std::vector<int> flags = {1, 0, 1}, list = {1};
    Found f{};
    // Atom 0 is 1.5 A from atom 1 as placed; atom 2 would need a fold and is not reached.
    b.store.find_bond_atom_one(3, x_s.data(), radius.data(), flags.data(), 1, list.data(), &f.first,
                               &f.second, &f.distance);
    EXPECT_EQ(f.first, 0);
    EXPECT_NEAR(f.distance, 1.5, 1e-12);
    EXPECT_EQ(x_s, before);
}

// The folding loop the one-step fold must match bit for bit.
double fold_by_loop(double f) {
    while (f > 0.5) f -= 1.0;
    while (f < -0.5) f += 1.0;
    return f;
}

bool same_bits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

TEST(FoldDisplacement, MatchesTheLoopBitForBit) {
    std::vector<double> values = {0.0, -0.0, 0.5, -0.5, 1.0, -1.0, 1.5, -1.5, 2.5, -2.5, 3.0};
    for (double base : {0.5, -0.5, 1.0, -1.0, 1.5, -1.5, 7.5, -7.5, 1000.0, -1000.0}) {
        double up = base, down = base;
        for (int step = 0; step < 4; ++step) {
            up = std::nextafter(up, 1e9);
            down = std::nextafter(down, -1e9);
            values.push_back(up);
            values.push_back(down);
        }
    }
    std::mt19937_64 random(20240601);
    for (double scale : {1.0, 3.0, 100.0}) {
        std::uniform_real_distribution<double> spread(-scale, scale);
        for (int i = 0; i < 20000; ++i) values.push_back(spread(random));
    }
    std::uniform_real_distribution<double> far(-1e5, 1e5);
    for (int i = 0; i < 200; ++i) values.push_back(far(random));
    for (double v : values) {
        const double loop = fold_by_loop(v);
        EXPECT_TRUE(same_bits(fold_displacement(v), loop))
            << std::hexfloat << v << " gives " << fold_displacement(v) << ", loop " << loop;
    }
}

TEST(FoldDisplacement, LargeMagnitudesBelowTheLimit) {
    const double two52 = 4503599627370496.0, two51 = two52 / 2;
    EXPECT_TRUE(same_bits(fold_displacement(two52), 0.0));
    EXPECT_TRUE(same_bits(fold_displacement(-two52), 0.0));
    EXPECT_EQ(fold_displacement(2 * two52 - 1), 0.0);  // largest odd integer below 2^53
    EXPECT_EQ(fold_displacement(two51 + 0.5), 0.5);
    EXPECT_EQ(fold_displacement(-(two51 + 0.5)), -0.5);
    EXPECT_EQ(fold_displacement(two51 + 1.5), 0.5);
    EXPECT_EQ(fold_displacement(-(two51 + 1.5)), -0.5);
}

TEST(FoldDisplacement, NanPassesUntouched) {
    EXPECT_TRUE(std::isnan(fold_displacement(std::numeric_limits<double>::quiet_NaN())));
}

void redirect_stdout_to_stderr() { ::dup2(2, 1); }

TEST(FoldDisplacementDeathTest, OutOfRangeCoordinateEndsTheRun) {
    const char* message =
        "ERROR  transport : fileio : line [0-9]+ : \n"
        "Coordinate out of range in the bond search\\.";
    const double two53 = 9007199254740992.0;
    for (double far : {two53, -two53, std::numeric_limits<double>::infinity()}) {
        BondStore b(10.0, {0.5, 0.5, 0.5, far, 0.5, 0.5}, {0.72, 0.72});
        EXPECT_EXIT((redirect_stdout_to_stderr(), b.periodic({0, 1}, {0})),
                    ::testing::ExitedWithCode(255), message);
    }
}

}  // namespace
