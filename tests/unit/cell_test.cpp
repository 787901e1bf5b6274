// Cell geometry: the lattice matrix reproduces the cell parameters, its stored inverse is an
// inverse, conversions go there and back, and the two single-shift wraps keep their edges.
#include <cmath>

#include "fileio.h"
#include "test_support.h"

namespace {

constexpr double kDegree = 3.14159265358979323846 / 180.0;

double column_dot(const double m[3][3], int p, int q) {
    return m[0][p] * m[0][q] + m[1][p] * m[1][q] + m[2][p] * m[2][q];
}

void expect_identity(const double m[3][3], double tolerance) {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            EXPECT_NEAR(m[i][j], i == j ? 1.0 : 0.0, tolerance) << "element " << i << "," << j;
}

void multiply(const double a[3][3], const double b[3][3], double c[3][3]) {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            c[i][j] = a[i][0] * b[0][j] + a[i][1] * b[1][j] + a[i][2] * b[2][j];
}

class TriclinicCell : public ::testing::Test {
   protected:
    void SetUp() override { store.cell_cell6_to_latt3x3(cell, lattice); }
    FileIO store;
    double cell[6] = {7.1, 8.3, 9.7, 81.2, 76.5, 68.9};
    double lattice[3][3] = {};
};

TEST_F(TriclinicCell, MatrixIsUpperTriangularWithTheCellsLengthsAndAngles) {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) EXPECT_EQ(lattice[i][j], store.cell_latt3x3[i][j]);
    EXPECT_EQ(lattice[1][0], 0.0);
    EXPECT_EQ(lattice[2][0], 0.0);
    EXPECT_EQ(lattice[2][1], 0.0);
    EXPECT_GT(lattice[1][1], 0.0);  // b has a positive y component
    EXPECT_GT(lattice[2][2], 0.0);

    EXPECT_NEAR(std::sqrt(column_dot(lattice, 0, 0)), 7.1, 1e-12);
    EXPECT_NEAR(std::sqrt(column_dot(lattice, 1, 1)), 8.3, 1e-12);
    EXPECT_NEAR(std::sqrt(column_dot(lattice, 2, 2)), 9.7, 1e-12);
    EXPECT_NEAR(column_dot(lattice, 1, 2) / (8.3 * 9.7), std::cos(81.2 * kDegree), 1e-12);
    EXPECT_NEAR(column_dot(lattice, 0, 2) / (7.1 * 9.7), std::cos(76.5 * kDegree), 1e-12);
    EXPECT_NEAR(column_dot(lattice, 0, 1) / (7.1 * 8.3), std::cos(68.9 * kDegree), 1e-12);
    for (double value : store.cell_latt) EXPECT_EQ(value, 0.0);  // the caller stores the cell
}

TEST_F(TriclinicCell, StoredInverseIsTheInverse) {
    double product[3][3];
    multiply(store.cell_latt3x3, store.cell_latt3x3_inv, product);
    expect_identity(product, 1e-12);
    multiply(store.cell_latt3x3_inv, store.cell_latt3x3, product);
    expect_identity(product, 1e-12);
}

TEST_F(TriclinicCell, FractionalAndCartesianGoThereAndBack) {
    const double points[][3] = {
        {0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, {0.25, -0.6, 1.7}, {0.9, 0.1, 0.5}};
    for (const auto& start : points) {
        double x = start[0], y = start[1], z = start[2];
        store.coord_f2c(x, y, z);
        double cartesian[3];
        double fractional[3] = {start[0], start[1], start[2]};
        store.coord_f2c(fractional, cartesian);
        EXPECT_EQ(cartesian[0], x);
        EXPECT_EQ(cartesian[1], y);
        EXPECT_EQ(cartesian[2], z);

        store.coord_c2f(x, y, z);
        EXPECT_NEAR(x, start[0], 1e-12);
        EXPECT_NEAR(y, start[1], 1e-12);
        EXPECT_NEAR(z, start[2], 1e-12);
        store.coord_c2f(cartesian, cartesian);  // input and output may be one array
        for (int k = 0; k < 3; ++k) EXPECT_NEAR(cartesian[k], start[k], 1e-12);
    }
    double a_axis[3] = {1.0, 0.0, 0.0};
    store.coord_f2c(a_axis, a_axis);
    EXPECT_EQ(a_axis[0], 7.1);
    EXPECT_EQ(a_axis[1], 0.0);
    EXPECT_EQ(a_axis[2], 0.0);
}

TEST(CellMatrix, RightAnglesComeOutWithinRoundingOfTheShortPi) {
    FileIO store;
    double cubic[6] = {10, 10, 10, 90, 90, 90};
    double lattice[3][3];
    store.cell_cell6_to_latt3x3(cubic, lattice);
    // cos 90 deg with the 14-digit pi is about -3.5e-15, not 0: it shows in the upper entries.
    EXPECT_LT(lattice[0][1], -3e-14);
    EXPECT_GT(lattice[0][1], -4e-14);
    EXPECT_LT(lattice[0][2], -3e-14);
    EXPECT_GT(lattice[0][2], -4e-14);
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(lattice[i][i], 10.0, 1e-12);
        EXPECT_NEAR(store.cell_latt3x3_inv[i][i], 0.1, 1e-15);
        for (int j = 0; j < 3; ++j) {
            if (i == j) continue;
            EXPECT_NEAR(lattice[i][j], 0.0, 1e-13);
            EXPECT_NEAR(store.cell_latt3x3_inv[i][j], 0.0, 1e-15);
        }
    }
}

TEST(CellMatrix, HexagonalAndMonoclinicVectors) {
    FileIO store;
    double hexagonal[6] = {4.0, 4.0, 6.5, 90, 90, 120};
    double lattice[3][3];
    store.cell_cell6_to_latt3x3(hexagonal, lattice);
    double a[3], b[3], c[3];
    store.get_cif_lattice_vectors(a, b, c);
    EXPECT_NEAR(b[0], -2.0, 1e-12);
    EXPECT_NEAR(b[1], 2.0 * std::sqrt(3.0), 1e-12);
    EXPECT_EQ(b[2], 0.0);
    EXPECT_NEAR(c[2], 6.5, 1e-12);

    double monoclinic[6] = {5.0, 6.0, 7.0, 90, 110, 90};
    store.cell_cell6_to_latt3x3(monoclinic, lattice);
    store.get_cif_lattice_vectors(a, b, c);
    EXPECT_NEAR(c[0], 7.0 * std::cos(110 * kDegree), 1e-12);
    EXPECT_NEAR(c[1], 0.0, 1e-12);
    EXPECT_NEAR(c[2], 7.0 * std::sin(110 * kDegree), 1e-12);
}

TEST(CellMatrix, ImpossibleAnglesGiveNaNWithoutComplaint) {
    FileIO store;
    double impossible[6] = {5, 5, 5, 20, 20, 120};  // alpha + beta < gamma: no such cell
    double lattice[3][3];
    store.cell_cell6_to_latt3x3(impossible, lattice);
    EXPECT_TRUE(std::isnan(lattice[2][2]));
    EXPECT_TRUE(std::isfinite(lattice[0][0]));
}

TEST(Wrap, PositionWrapShiftsOnceIntoTheCell) {
    FileIO store;
    double edges[3] = {-0.0, 1.0, 0.999};
    store.PBC_scaled_x_wrap(edges);
    EXPECT_EQ(edges[0], 0.0);
    EXPECT_TRUE(std::signbit(edges[0]));  // -0.0 is not below zero and stays as it is
    EXPECT_EQ(edges[1], 0.0);
    EXPECT_EQ(edges[2], 0.999);

    double far[3] = {-1.25, 2.5, -0.25};
    store.PBC_scaled_x_wrap(far);
    EXPECT_EQ(far[0], -0.25);  // one shift only
    EXPECT_EQ(far[1], 1.5);
    EXPECT_EQ(far[2], 0.75);

    double not_a_number[3] = {NAN, 0.5, 0.0};
    store.PBC_scaled_x_wrap(not_a_number);
    EXPECT_TRUE(std::isnan(not_a_number[0]));
    EXPECT_EQ(not_a_number[1], 0.5);
    EXPECT_EQ(not_a_number[2], 0.0);
}

TEST(Wrap, DisplacementWrapKeepsTheClosedHalfInterval) {
    FileIO store;
    double halves[3] = {0.5, -0.5, 0.51};
    store.PBC_scaled_disp_wrap(halves);
    EXPECT_EQ(halves[0], 0.5);
    EXPECT_EQ(halves[1], -0.5);
    EXPECT_DOUBLE_EQ(halves[2], -0.49);

    double far[3] = {1.75, -1.75, -0.5000001};
    store.PBC_scaled_disp_wrap(far);
    EXPECT_EQ(far[0], 0.75);  // one shift only
    EXPECT_EQ(far[1], -0.75);
    EXPECT_NEAR(far[2], 0.4999999, 1e-15);
}

}  // namespace
