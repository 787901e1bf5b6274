// The index against the literal loops: the one-step fold of the pair tests against the
// repeated shifts, and the indexed overlap test, separation and whole-molecule growth on
// a few hundred seeded random cells built to hit every trap of binning: oblique cells down to
// 30 degrees, atoms on and near every face, coordinates left outside [0,1) by the single wrap,
// near-duplicate clusters and chains, distances at the bond bound, molecules crossing faces,
// one molecule spanning the cell, a network bonded to its own image, unknown elements.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "bond_search.h"
#include "cell_bins.h"
#include "element_rows.h"
#include "expand_overlap.h"
#include "pair_tests.h"
#include "store_arrays.h"
#include "teska/fileio.h"

namespace {

using fileio_detail::ImageRule;

constexpr int kCells = 300;
constexpr double kUnknownRadius = 9999.99;
// Element rows of the generated atoms: H, C, N, O, S, Br and an unknown symbol (-1).
constexpr int kRows[] = {1, 6, 7, 8, 16, 35, -1};

double bonding_radius(int row) { return row < 0 ? kUnknownRadius : nw_elem_radius_m[row]; }

bool same_bits(const std::vector<double>& a, const std::vector<double>& b) {
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0);
}

class CellGenerator {
   public:
    explicit CellGenerator(unsigned seed) : rng_(seed) {}

    // A valid cell with angles from 30 to 150 degrees.
    void make_cell(FileIO& store) {
        for (;;) {
            double cell[6];
            for (int k = 0; k < 6; ++k) cell[k] = k < 3 ? uniform(4.0, 14.0) : angle();
            double latt[3][3];
            store.cell_cell6_to_latt3x3(cell, latt);
            if (std::isfinite(latt[2][2]) && latt[2][2] > 1.0) {
                std::memcpy(store.cell_latt, cell, sizeof cell);
                return;
            }
        }
    }

    // Fractional positions of atoms laid out as the traps need; rows receives element rows.
    std::vector<double> atoms(const FileIO& store, std::vector<int>* rows) {
        std::vector<double> x;
        const int pieces = static_cast<int>(uniform(1, 7));
        for (int p = 0; p < pieces; ++p) {
            const int kind = static_cast<int>(uniform(0, 5));
            if (kind == 0 || kind == 3)  // a short chain, or a long one
                chain(store, x, rows,
                      static_cast<int>(kind == 0 ? uniform(2, 30) : uniform(30, 80)));
            else if (kind == 1)
                face_atoms(x, rows);
            else if (kind == 2)
                network(store, x, rows);
            else
                scattered(x, rows, static_cast<int>(uniform(1, 20)));
        }
        return x;
    }

    // Images as the expansion leaves them: near-duplicate clusters and chains around points on
    // and near the faces, some left at 1.2 or -0.3 by the single wrap, some not finite.
    std::vector<double> images() {
        std::vector<double> x;
        const int points = static_cast<int>(uniform(1, 40));
        for (int p = 0; p < points; ++p) {
            double q[3];
            for (double& c : q) c = face_coordinate();
            // Around 2^20 images are compared with every image; some fall on either side.
            const double far = coin(0.05) ? 1048576.0 : 0.0;
            q[0] += far;
            const int copies = static_cast<int>(uniform(1, 6));
            for (int k = 0; k < copies; ++k) {
                double r[3];
                for (int c = 0; c < 3; ++c) {
                    r[c] = q[c] + near_bound_offset(0.001 / std::sqrt(3.0 - c));
                    if (coin(0.2)) r[c] += coin(0.5) ? 1.0 : -1.0;
                    if (coin(0.03)) r[c] += 2.0;
                }
                if (coin(0.5) && far == 0.0)
                    std::memcpy(q, r, sizeof q);  // a chain of near-duplicates
                if (coin(0.01)) r[static_cast<int>(uniform(0, 3))] = std::nan("");
                x.insert(x.end(), r, r + 3);
            }
        }
        return x;
    }

    double bond_scale() { return coin(0.8) ? 1.15 : uniform(0.9, 1.4); }

   private:
    double uniform(double lo, double hi) { return std::uniform_real_distribution<>(lo, hi)(rng_); }
    bool coin(double p) { return uniform(0.0, 1.0) < p; }
    double angle() { return coin(0.3) ? 90.0 : uniform(30.0, 150.0); }
    int row() { return kRows[static_cast<int>(uniform(0, coin(0.05) ? 7 : 6))]; }

    // On a face, just inside or outside it, or anywhere.
    double face_coordinate() {
        const int kind = static_cast<int>(uniform(0, 6));
        if (kind < 2) return kind;  // the faces 0 and 1
        if (kind == 2) return uniform(-1e-6, 1e-6);
        if (kind == 3) return 1.0 - uniform(0.0, 1e-3);
        if (kind == 4) return 0.5 + uniform(-1e-4, 1e-4);
        return uniform(0.0, 1.0);
    }

    // Mostly right at +-bound, so both sides of the strict test are exercised.
    double near_bound_offset(double bound) {
        const double sign = coin(0.5) ? 1.0 : -1.0;
        if (coin(0.6)) return sign * bound * (1.0 + uniform(-1e-9, 1e-9));
        return sign * uniform(0.0, 2.0 * bound);
    }

    void add(std::vector<double>& x, std::vector<int>* rows, const double f[3], int element) {
        double g[3];
        for (int c = 0; c < 3; ++c) {
            g[c] = f[c];
            if (g[c] < 0.0)  // the single wrap: far values stay outside
                g[c] += 1.0;
            else if (g[c] >= 1.0)
                g[c] -= 1.0;
        }
        x.insert(x.end(), g, g + 3);
        rows->push_back(element);
    }

    // A random walk with steps at or just under the bond bound, crossing faces freely.
    void chain(const FileIO& store, std::vector<double>& x, std::vector<int>* rows, int length) {
        double f[3] = {face_coordinate(), face_coordinate(), face_coordinate()};
        int previous = row();
        add(x, rows, f, previous);
        for (int k = 1; k < length; ++k) {
            const int element = row();
            const double bound =
                (bonding_radius(previous) + bonding_radius(element)) * store.bond_scale;
            const double step = std::min(bound, 3.0) * (coin(0.3) ? 1.0 : uniform(0.6, 1.0));
            double v[3] = {uniform(-1, 1), uniform(-1, 1), uniform(-1, 1)};
            const double norm = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]) + 1e-12;
            double r[3];
            for (int c = 0; c < 3; ++c) r[c] = v[c] / norm * step;
            double df[3];
            const_cast<FileIO&>(store).coord_c2f(r, df);
            for (int c = 0; c < 3; ++c) f[c] += df[c];
            add(x, rows, f, element);
            previous = element;
        }
    }

    // Atoms exactly on faces and edges, in pairs across them.
    void face_atoms(std::vector<double>& x, std::vector<int>* rows) {
        const int n = static_cast<int>(uniform(2, 12));
        for (int k = 0; k < n; ++k) {
            double f[3] = {face_coordinate(), face_coordinate(), face_coordinate()};
            add(x, rows, f, row());
        }
    }

    // Carbon atoms evenly spaced along one cell vector, bonded through the face to the next
    // cell's copy: a chain bonded to its own image.
    void network(const FileIO& store, std::vector<double>& x, std::vector<int>* rows) {
        const int axis = static_cast<int>(uniform(0, 3));
        const double length = store.cell_latt[axis];
        const int n = static_cast<int>(std::ceil(length / 1.5)) + 1;
        double f[3] = {uniform(0, 1), uniform(0, 1), uniform(0, 1)};
        for (int k = 0; k < n; ++k) {
            f[axis] = static_cast<double>(k) / n + 0.01;
            add(x, rows, f, 6);
        }
    }

    void scattered(std::vector<double>& x, std::vector<int>* rows, int n) {
        for (int k = 0; k < n; ++k) {
            double f[3] = {uniform(-0.3, 1.3), uniform(0, 1), uniform(0, 1)};
            add(x, rows, f, row());
        }
    }

    std::mt19937_64 rng_;
};

// A store holding the generated atoms with their bonding radii.
void load_atoms(FileIO& store, const std::vector<double>& x_s, const std::vector<int>& rows) {
    using fileio_detail::new_store_array;
    store.natoms_cif = static_cast<int>(rows.size());
    store.cif_x_s = new_store_array<double>(static_cast<long long>(x_s.size()));
    store.cif_x = new_store_array<double>(static_cast<long long>(x_s.size()));
    store.cif_radius = new_store_array<double>(static_cast<long long>(rows.size()));
    for (std::size_t i = 0; i < rows.size(); ++i) {
        store.cif_radius[i] = bonding_radius(rows[i]);
        for (int c = 0; c < 3; ++c) store.cif_x_s[3 * i + c] = x_s[3 * i + c];
        store.coord_f2c(&store.cif_x_s[3 * i], &store.cif_x[3 * i]);
    }
}

struct Molecules {
    std::vector<int> sizes, atoms;
    bool operator==(const Molecules& o) const { return sizes == o.sizes && atoms == o.atoms; }
};

Molecules separate(FileIO& store, bool periodic, bool literal) {
    store.mol_natoms_list.clear();
    store.mol_atom_list.clear();
    if (literal)
        fileio_detail::separate_molecules_literal(store, periodic);
    else if (periodic)
        store.separate_cif_molecules(false);
    else
        store.separate_gjf_molecules(false);
    return {store.mol_natoms_list, store.mol_atom_list};
}

TEST(IndexExactness, OverlapMarksEqualTheLiteralLoop) {
    CellGenerator generator(20261123);
    FileIO store;
    long long removed_total = 0;
    for (int cell = 0; cell < kCells; ++cell) {
        const std::vector<double> x = generator.images();
        const long long count = static_cast<long long>(x.size() / 3);
        long long literal_count = 0, indexed_count = 0;
        const std::vector<char> literal =
            fileio_detail::mark_overlapping_images_literal(store, x.data(), count, &literal_count);
        const std::vector<char> indexed =
            fileio_detail::mark_overlapping_images(store, x.data(), count, &indexed_count);
        ASSERT_EQ(indexed, literal) << "cell " << cell;
        ASSERT_EQ(indexed_count, literal_count) << "cell " << cell;
        removed_total += literal_count;
    }
    EXPECT_GT(removed_total, kCells);  // the generator does produce overlaps
}

TEST(IndexExactness, MoleculesAndWholeMoleculesEqualTheLiteralSearches) {
    CellGenerator generator(7);
    int spanning = 0, broken = 0;
    for (int cell = 0; cell < kCells; ++cell) {
        FileIO store;
        generator.make_cell(store);
        double latt[3][3];
        store.cell_cell6_to_latt3x3(store.cell_latt, latt);
        store.bond_scale = generator.bond_scale();
        std::vector<int> rows;
        const std::vector<double> x_s = generator.atoms(store, &rows);
        load_atoms(store, x_s, rows);

        for (bool periodic : {true, false}) {
            const Molecules literal = separate(store, periodic, true);
            const Molecules indexed = separate(store, periodic, false);
            ASSERT_TRUE(indexed == literal) << "cell " << cell << " periodic " << periodic;
        }

        // Each periodic molecule made whole both ways, from the same folded positions.
        const Molecules molecules = separate(store, true, true);
        std::size_t start = 0;
        for (int size : molecules.sizes) {
            std::vector<double> literal_x, radius;
            std::vector<int> atypes;
            for (int k = 0; k < size; ++k) {
                const int atom = molecules.atoms[start + k];
                literal_x.insert(literal_x.end(), &x_s[3 * atom], &x_s[3 * atom] + 3);
                atypes.push_back(rows[atom]);
                radius.push_back(
                    fileio_detail::element_record_or_dummy(rows[atom]).covalent_radius / 250.0);
            }
            start += size;
            std::vector<double> indexed_x = literal_x;
            const int literal_placed = fileio_detail::grow_whole_piece_literal(
                store, size, literal_x.data(), radius.data());
            std::vector<int> order;
            const int indexed_placed = fileio_detail::grow_first_component(
                fileio_detail::store_bond_rule(store, ImageRule::kDirectThenFolded), size,
                indexed_x.data(), radius.data(), &order);
            ASSERT_EQ(indexed_placed, literal_placed) << "cell " << cell;
            ASSERT_TRUE(same_bits(indexed_x, literal_x)) << "cell " << cell;
            if (size > 1 && literal_placed < size) ++broken;
            if (size >= 30) ++spanning;
        }
    }
    EXPECT_GT(spanning, kCells / 4);  // long chains and networks were generated
    EXPECT_GT(broken, 0);             // and molecules that the covalent radii cannot join
}

using fileio_detail::fold_displacement;

// The folding loop that the one-step fold of the pair tests must match bit for bit.
double fold_by_loop(double f) {
    while (f > 0.5) f -= 1.0;
    while (f < -0.5) f += 1.0;
    return f;
}

bool same_bits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

TEST(FoldDisplacement, MatchesTheLoopBitForBit) {
    std::vector<double> values = {0.0, -0.0, 3.0};
    for (double base : {0.5, 1.0, 1.5, 2.5, 7.5, 1000.0})
        for (double up = base, down = base, k = 0; k < 5; ++k) {
            values.insert(values.end(), {up, -up, down, -down});
            up = std::nextafter(up, 1e9), down = std::nextafter(down, 0.0);
        }
    std::mt19937_64 random(20240601);
    for (double scale : {1.0, 3.0, 100.0, 1e5}) {
        std::uniform_real_distribution<double> spread(-scale, scale);
        for (int i = 0; i < (scale < 1e3 ? 20000 : 200); ++i) values.push_back(spread(random));
    }
    for (double v : values)
        EXPECT_TRUE(same_bits(fold_displacement(v), fold_by_loop(v))) << std::hexfloat << v;
    // Magnitudes where the loop would run too long, and NaN, which it leaves alone.
    const double two52 = 4503599627370496.0, two51 = two52 / 2;
    const double large[][2] = {{two52, 0.0},       {-two52, 0.0},          {2 * two52 - 1, 0.0},
                               {two51 + 0.5, 0.5}, {-(two51 + 0.5), -0.5}, {two51 + 1.5, 0.5}};
    for (const auto& c : large)
        EXPECT_TRUE(same_bits(fold_displacement(c[0]), c[1])) << std::hexfloat << c[0];
    EXPECT_TRUE(std::isnan(fold_displacement(NAN)));
}

// A periodic grid filled one atom at a time, on axes of one, two, three and more bins: each
// query proposes every atom added before it whose folded distance along each axis is below a
// bin's width, each once, and no atom not yet added. Positions include the faces and values
// just below 1.
TEST(CellBinsFilledOneAtATime, ProposeEveryAtomAddedWithinABinEachOnce) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const double edges[] = {0.0, 0.5, std::nextafter(1.0, 0.0), 0.25, 1.0 / 3.0};
    for (const std::array<int, 3>& bins :
         {std::array<int, 3>{1, 1, 1}, {2, 2, 2}, {3, 1, 2}, {5, 3, 4}, {7, 2, 1}}) {
        fileio_detail::CellBins grid(bins, 60);
        std::vector<double> x;
        for (int a = 0; a < 60; ++a) {
            for (int k = 0; k < 3; ++k) x.push_back(a % 4 == 0 ? edges[a / 4 % 5] : unit(random));
            const double* p = &x[3 * a];
            std::vector<int> seen(a + 1, 0);
            grid.for_each_near(p, [&](int b) {
                EXPECT_LT(b, a) << "not added yet";
                if (b >= 0 && b < a) ++seen[b];
                return true;
            });
            for (int b = 0; b < a; ++b) {
                bool near = true;
                for (int k = 0; k < 3; ++k) {
                    const double d = std::fabs(x[3 * b + k] - p[k]);
                    near = near && std::min(d, 1.0 - d) < 1.0 / bins[k];
                }
                EXPECT_LE(seen[b], 1) << "atom " << b << " proposed twice";
                if (near) {
                    EXPECT_EQ(seen[b], 1) << "atom " << b << " near " << a << " not proposed";
                }
            }
            grid.add(a, p);
        }
    }
}

// The database reader's rule: the shortest image, atoms moved by whole lattice translations,
// and components bonded to their own image reported.
TEST(MinimumImageGrowth, JoinsAcrossFacesAndFindsChainsBondedToTheirOwnImage) {
    fileio_detail::BondRule rule{};
    FileIO store;
    double cell[6] = {10.0, 10.0, 10.0, 90.0, 90.0, 90.0};
    store.cell_cell6_to_latt3x3(cell, rule.latt);
    rule.bond_scale = 1.15;
    rule.image = ImageRule::kMinimumImage;
    // A C-C pair across the x face, a lone O far away, and seven C spaced 10/7 angstrom along
    // y, the last bonded to the first's image.
    std::vector<double> x = {0.95, 0.5, 0.5, 0.4, 0.1, 0.9, 0.02, 0.5, 0.5};
    for (int k = 0; k < 7; ++k) x.insert(x.end(), {0.3, k / 7.0, 0.2});
    std::vector<double> radius(10, nw_elem_radius_m[6]);
    radius[1] = nw_elem_radius_m[8];

    std::vector<int> sizes, order;
    fileio_detail::grow_components(rule, 10, x.data(), radius.data(), &sizes, &order);
    EXPECT_EQ(sizes, (std::vector<int>{2, 1, 7}));
    EXPECT_EQ(order, (std::vector<int>{0, 2, 1, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(x[6], 1.02);  // moved next to atom 0 by one cell, not by a fold
    EXPECT_EQ(fileio_detail::components_bonded_to_own_image(rule, 10, x.data(), radius.data(),
                                                            sizes, order),
              (std::vector<char>{0, 0, 1}));
}

}  // namespace
