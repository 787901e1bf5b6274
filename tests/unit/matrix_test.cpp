// Matrix routines: products and their aliasing rules, rounding of halves, inversion and its
// two fatal paths, rotation matrices, and the Jacobi eigen-solver with its sort.
#include <unistd.h>

#include <cmath>
#include <cstdio>

#include "mmutil.h"
#include "test_support.h"

namespace {

using Matrix = double[3][3];

void expect_matrix_near(const Matrix& actual, const Matrix& expected, double tolerance) {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            EXPECT_NEAR(actual[i][j], expected[i][j], tolerance) << "element " << i << "," << j;
}

const Matrix kIdentity = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};

TEST(Matrix, DeterminantTransposeAndVectors) {
    Matrix a = {{1, 2, 3}, {0, 1, 4}, {5, 6, 0}};
    EXPECT_DOUBLE_EQ(mmutil::det(a), 1.0);
    Matrix swapped_rows = {{0, 1, 4}, {1, 2, 3}, {5, 6, 0}};
    EXPECT_DOUBLE_EQ(mmutil::det(swapped_rows), -1.0);

    mmutil::transpose_matrix(a);
    const Matrix transposed = {{1, 0, 5}, {2, 1, 6}, {3, 4, 0}};
    expect_matrix_near(a, transposed, 0.0);

    double v[3] = {2, -3, 6};
    double w[3] = {1, 4, -2};
    EXPECT_DOUBLE_EQ(mmutil::get_magnitude(v), 7.0);
    EXPECT_DOUBLE_EQ(mmutil::get_dot(v, w), -22.0);
}

TEST(Matrix, TransposeOfRowPointers) {
    double rows[4][4] = {{0, 1, 2, 3}, {4, 5, 6, 7}, {8, 9, 10, 11}, {12, 13, 14, 15}};
    double* a[4] = {rows[0], rows[1], rows[2], rows[3]};
    mmutil::transpose_matrix(a, 4);
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) EXPECT_EQ(rows[i][j], 4 * j + i);
    mmutil::transpose_matrix(a, 1);
    EXPECT_EQ(rows[0][0], 0);
}

TEST(Matrix, VectorProductsMayWorkInPlace) {
    Matrix a = {{1, 2, 3}, {0, 1, 4}, {5, 6, 0}};
    double x[3] = {1, -1, 2};
    double y[3];
    mmutil::mat_vec_mul(a, x, y);
    EXPECT_DOUBLE_EQ(y[0], 5.0);
    EXPECT_DOUBLE_EQ(y[1], 7.0);
    EXPECT_DOUBLE_EQ(y[2], -1.0);
    mmutil::mat_vec_mul(a, x, x);
    for (int k = 0; k < 3; ++k) EXPECT_EQ(x[k], y[k]);

    double points[2][3] = {{1, -1, 2}, {0, 0, 1}};
    mmutil::mat_vec_mul_n(a, points, points, 2);
    for (int k = 0; k < 3; ++k) EXPECT_EQ(points[0][k], y[k]);
    EXPECT_DOUBLE_EQ(points[1][0], 3.0);
    EXPECT_DOUBLE_EQ(points[1][1], 4.0);
    EXPECT_DOUBLE_EQ(points[1][2], 0.0);
    mmutil::mat_vec_mul_n(a, points, points, 0);
    EXPECT_DOUBLE_EQ(points[1][0], 3.0);
}

TEST(Matrix, MatrixProductsScaleAndSum) {
    Matrix a = {{1, 2, 0}, {0, 1, 0}, {0, 0, 2}};
    Matrix b = {{1, 0, 0}, {3, 1, 0}, {0, 1, 1}};
    Matrix c = {{9, 9, 9}, {9, 9, 9}, {9, 9, 9}};  // cleared by the product
    mmutil::mat_mat_mul(a, b, c);
    const Matrix ab = {{7, 2, 0}, {3, 1, 0}, {0, 2, 2}};
    expect_matrix_near(c, ab, 0.0);

    mmutil::mat_scale(c, -0.5, c);
    const Matrix half = {{-3.5, -1, 0}, {-1.5, -0.5, 0}, {0, -1, -1}};
    expect_matrix_near(c, half, 0.0);
    mmutil::mat_mat_add(c, c, c);
    const Matrix doubled = {{-7, -2, 0}, {-3, -1, 0}, {0, -2, -2}};
    expect_matrix_near(c, doubled, 0.0);
}

TEST(Matrix, ProductOfRowPointers) {
    double a_rows[2][2] = {{1, 2}, {3, 4}};
    double b_rows[2][2] = {{0, 1}, {1, 0}};
    double c_rows[2][2] = {{7, 7}, {7, 7}};
    double* a[2] = {a_rows[0], a_rows[1]};
    double* b[2] = {b_rows[0], b_rows[1]};
    double* c[2] = {c_rows[0], c_rows[1]};
    mmutil::mat_mat_mul_nxn(a, b, c, 2);
    EXPECT_EQ(c_rows[0][0], 2);
    EXPECT_EQ(c_rows[0][1], 1);
    EXPECT_EQ(c_rows[1][0], 4);
    EXPECT_EQ(c_rows[1][1], 3);
    mmutil::mat_mat_mul_nxn(a, b, c, 0);
    EXPECT_EQ(c_rows[0][0], 2);
}

TEST(Anint, HalvesRoundAwayFromZero) {
    const struct {
        double x;
        double expected;
    } cases[] = {
        {0.5, 1.0},
        {-0.5, -1.0},
        {0.0, 0.0},
        {-0.0, 0.0},
        {2.5, 3.0},
        {-2.5, -3.0},
        {1.49, 1.0},
        {-1.49, -1.0},
        {0.999, 1.0},
        {-0.4, 0.0},
        {2147483646.6, 2147483647.0},
        {-2147483647.6, -2147483648.0},
    };
    for (const auto& c : cases) EXPECT_EQ(mmutil::anint(c.x), c.expected) << c.x;
}

TEST(Invert, InverseFollowsTheAdjugate) {
    Matrix a = {{1, 2, 3}, {0, 1, 4}, {5, 6, 0}};
    Matrix b;
    mmutil::invert(a, b);
    const Matrix expected = {{-24, 18, 5}, {20, -15, -4}, {-5, 4, 1}};
    expect_matrix_near(b, expected, 0.0);

    Matrix triclinic = {{7.1, -2.9, 1.3}, {0, 8.2, 0.7}, {0, 0, 9.4}};
    Matrix inverse, product;
    mmutil::invert(triclinic, inverse);
    mmutil::mat_mat_mul(triclinic, inverse, product);
    expect_matrix_near(product, kIdentity, 1e-15);
}

TEST(Invert, DeterminantOfExactly1e30IsAccepted) {
    Matrix a = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1e-30}};
    ASSERT_EQ(mmutil::det(a), 1e-30);
    Matrix b;
    mmutil::invert(a, b);
    EXPECT_DOUBLE_EQ(b[2][2], 1e30);
    EXPECT_EQ(b[0][0], 1.0);
}

// The error header and message go to standard output; the child sends its standard output
// to the error stream so that the death test sees the whole report.
void invert_with_stdout_on_stderr(Matrix a, Matrix b) {
    std::fflush(stdout);
    dup2(STDERR_FILENO, STDOUT_FILENO);
    mmutil::invert(a, b);
}

TEST(InvertDeathTest, ResultOverlappingInputEndsTheProcess) {
    Matrix a = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    EXPECT_EXIT(
        invert_with_stdout_on_stderr(a, a), ::testing::ExitedWithCode(255),
        "\nERROR  transport : mmutil : line 593 : \ninvert - Result matrix overlaps input\n");
}

TEST(InvertDeathTest, DeterminantBelow1e30EndsTheProcess) {
    Matrix a = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1e-31}};
    Matrix b;
    EXPECT_EXIT(invert_with_stdout_on_stderr(a, b), ::testing::ExitedWithCode(255),
                "\nERROR  transport : mmutil : line 600 : \nDeterminant of matrix is zero\\.\n");
    Matrix singular = {{1, 2, 3}, {2, 4, 6}, {0, 1, 1}};
    EXPECT_EXIT(invert_with_stdout_on_stderr(singular, b), ::testing::ExitedWithCode(255),
                "line 600 : \nDeterminant of matrix is zero\\.\n");
}

TEST(Rotation, QuarterTurnAboutZ) {
    Matrix r;
    double z_axis[3] = {0, 0, 1};
    mmutil::rot_matrix_from_dir_vector_and_angle(r, z_axis, 90.0);
    const Matrix expected = {{0, -1, 0}, {1, 0, 0}, {0, 0, 1}};
    expect_matrix_near(r, expected, 1e-14);
    // The degree conversion uses the 14-digit pi, which leaves cos 90 at about -3.5e-15.
    EXPECT_LT(r[0][0], -1e-15);
    EXPECT_GT(r[0][0], -1e-14);
}

TEST(Rotation, ThirdTurnAboutBodyDiagonalCyclesTheAxes) {
    const double k = 1.0 / std::sqrt(3.0);
    double axis[3] = {k, k, k};
    Matrix r;
    mmutil::rot_matrix_from_dir_vector_and_angle(r, axis, 120.0);
    const Matrix cycle = {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}};  // x -> y -> z -> x
    expect_matrix_near(r, cycle, 1e-13);
    EXPECT_NEAR(mmutil::det(r), 1.0, 1e-13);
}

// Checks A v_k = d_k v_k for every column k of v, and that the columns are orthonormal.
void expect_eigenpairs(const Matrix& a, const double* d, const Matrix& v, int n) {
    for (int k = 0; k < n; ++k) {
        for (int i = 0; i < n; ++i) {
            double av = 0.0;
            for (int j = 0; j < n; ++j) av += a[i][j] * v[j][k];
            EXPECT_NEAR(av, d[k] * v[i][k], 1e-12) << "pair " << k << " row " << i;
        }
        for (int l = 0; l < n; ++l) {
            double dot = 0.0;
            for (int i = 0; i < n; ++i) dot += v[i][k] * v[i][l];
            EXPECT_NEAR(dot, k == l ? 1.0 : 0.0, 1e-12);
        }
    }
}

TEST(Jacobi, TridiagonalMatrixWithKnownEigenpairs) {
    const Matrix original = {{2, -1, 0}, {-1, 2, -1}, {0, -1, 2}};
    Matrix a;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) a[i][j] = original[i][j];
    double d[3];
    Matrix v;
    int nrot = -1;
    mmutil::jacobi_nr(a, 3, d, v, nrot);

    const double root2 = std::sqrt(2.0);
    EXPECT_NEAR(d[0], 2.0 + root2, 1e-14);
    EXPECT_NEAR(d[1], 2.0, 1e-14);
    EXPECT_NEAR(d[2], 2.0 - root2, 1e-14);
    const double expected_vectors[3][3] = {
        {0.5, -root2 / 2, 0.5}, {1 / root2, 0.0, -1 / root2}, {0.5, root2 / 2, 0.5}};
    for (int k = 0; k < 3; ++k) {  // eigenvectors are fixed up to their sign
        double overlap = 0.0;
        for (int i = 0; i < 3; ++i) overlap += v[i][k] * expected_vectors[k][i];
        EXPECT_NEAR(std::fabs(overlap), 1.0, 1e-12) << "eigenvector " << k;
    }
    expect_eigenpairs(original, d, v, 3);
    EXPECT_GT(nrot, 0);
    // The strict upper triangle is used up; the diagonal and lower triangle stay as given.
    EXPECT_EQ(a[0][1], 0.0);
    EXPECT_EQ(a[0][2], 0.0);
    EXPECT_EQ(a[1][2], 0.0);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j <= i; ++j) EXPECT_EQ(a[i][j], original[i][j]);
}

TEST(Jacobi, OrderTwoUsesTheLeadingBlockOnly) {
    Matrix a = {{1, 2, 99}, {2, 1, 99}, {99, 99, 99}};
    const Matrix original = {{1, 2, 0}, {2, 1, 0}, {0, 0, 0}};
    double d[3] = {0, 0, 42};
    Matrix v;
    int nrot = 0;
    mmutil::jacobi_nr(a, 2, d, v, nrot);
    EXPECT_NEAR(d[0], 3.0, 1e-14);
    EXPECT_NEAR(d[1], -1.0, 1e-14);
    EXPECT_EQ(d[2], 42.0);
    EXPECT_EQ(a[0][2], 99.0);
    expect_eigenpairs(original, d, v, 2);
}

TEST(Jacobi, DiagonalMatrixReturnsAtOnceSorted) {
    Matrix a = {{1, 0, 0}, {0, 3, 0}, {0, 0, 2}};
    double d[3];
    Matrix v;
    int nrot = -1;
    mmutil::jacobi_nr(a, 3, d, v, nrot);
    EXPECT_EQ(nrot, 0);
    EXPECT_EQ(d[0], 3.0);
    EXPECT_EQ(d[1], 2.0);
    EXPECT_EQ(d[2], 1.0);
    const Matrix permuted = {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}};  // column k = unit vector of d[k]
    expect_matrix_near(v, permuted, 0.0);
}

TEST(Eigsrt, EqualMaximaTakeTheLastAndColumnsFollow) {
    double d[3] = {1, 2, 2};
    Matrix v = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    mmutil::eigsrt_nr(d, v, 3);
    EXPECT_EQ(d[0], 2.0);
    EXPECT_EQ(d[1], 2.0);
    EXPECT_EQ(d[2], 1.0);
    const Matrix swapped = {{0, 0, 1}, {0, 1, 0}, {1, 0, 0}};
    expect_matrix_near(v, swapped, 0.0);

    double values_only[3] = {-1, 5, 0};
    mmutil::eigsrt_nr(values_only, nullptr, 3);
    EXPECT_EQ(values_only[0], 5.0);
    EXPECT_EQ(values_only[1], 0.0);
    EXPECT_EQ(values_only[2], -1.0);
    mmutil::eigsrt_nr(values_only, nullptr, 1);
    EXPECT_EQ(values_only[0], 5.0);
}

}  // namespace
