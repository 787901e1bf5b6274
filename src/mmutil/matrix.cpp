// 3x3 matrix and vector arithmetic, n x n multiply and transpose, rounding, rotation matrices
// and the cyclic Jacobi eigen-solver. Matrices are row-major; vectors are columns.
#include <cmath>
#include <complex>
#include <cstdio>
#include <utility>

#include "fatal.h"
#include "teska/mmutil.h"

namespace mmutil {

namespace {

// The 14-digit pi that every degree conversion of the package uses.
constexpr double kPi = 3.1415926535898;
// A rounded machine epsilon, slightly below the true one; the convergence tests rely on it.
constexpr double kJacobiEps = 2.220446e-16;
constexpr int kJacobiMaxSweeps = 50;
// Rows of the eigen-solver's matrices hold three entries, which bounds its order.
constexpr int kMaxEigenOrder = 3;

// Truncation toward zero through a 32-bit integer. Values outside its range (and NaN) give
// the integer minimum, as the hardware conversion does, without undefined behaviour.
double truncate_through_int32(double v) {
    if (v > -2147483649.0 && v < 2147483648.0) return static_cast<double>(static_cast<int>(v));
    return -2147483648.0;
}

void set_identity(double m[3][3]) {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) m[i][j] = (i == j) ? 1.0 : 0.0;
}

// The classic Jacobi rotation of the pair a[i][j], a[k][l].
void rotate(double a[3][3], double s, double tau, int i, int j, int k, int l) {
    const double g = a[i][j];
    const double h = a[k][l];
    a[i][j] = g - s * (h + g * tau);
    a[k][l] = h + s * (g - h * tau);
}

double upper_triangle_abs_sum(double a[3][3], int n) {
    double sum = 0.0;
    for (int p = 0; p < n - 1; ++p)
        for (int q = p + 1; q < n; ++q) sum += std::fabs(a[p][q]);
    return sum;
}

// Zeroes a[p][q] by one rotation, updating the eigenvalue estimates d, their pending
// corrections z, the rest of the upper triangle and the columns p and q of v.
void annihilate(double a[3][3], int n, int p, int q, double* d, double* z, double v[3][3]) {
    const double g = 100.0 * std::fabs(a[p][q]);
    double h = d[q] - d[p];
    double t;
    if (g <= kJacobiEps * std::fabs(h)) {
        t = a[p][q] / h;
    } else {
        const double theta = 0.5 * h / a[p][q];
        t = 1.0 / (std::fabs(theta) + std::sqrt(1.0 + theta * theta));
        if (theta < 0.0) t = -t;
    }
    const double c = 1.0 / std::sqrt(1.0 + t * t);
    const double s = t * c;
    const double tau = s / (1.0 + c);
    h = t * a[p][q];
    z[p] -= h;
    z[q] += h;
    d[p] -= h;
    d[q] += h;
    a[p][q] = 0.0;
    for (int j = 0; j < p; ++j) rotate(a, s, tau, j, p, j, q);
    for (int j = p + 1; j < q; ++j) rotate(a, s, tau, p, j, j, q);
    for (int j = q + 1; j < n; ++j) rotate(a, s, tau, p, j, q, j);
    for (int j = 0; j < n; ++j) rotate(v, s, tau, j, p, j, q);
}

// One sweep over the strict upper triangle in row-major order.
void jacobi_sweep(double a[3][3], int n, int sweep, double threshold, double* d, double* z,
                  double v[3][3], int& nrot) {
    for (int p = 0; p < n - 1; ++p) {
        for (int q = p + 1; q < n; ++q) {
            const double g = 100.0 * std::fabs(a[p][q]);
            if (sweep > 4 && g <= kJacobiEps * std::fabs(d[p]) &&
                g <= kJacobiEps * std::fabs(d[q])) {
                a[p][q] = 0.0;
            } else if (std::fabs(a[p][q]) > threshold) {
                annihilate(a, n, p, q, d, z, v);
                ++nrot;
            }
        }
    }
}

}  // namespace

double det(double a[3][3]) {
    return a[0][0] * (a[1][1] * a[2][2] - a[1][2] * a[2][1]) +
           a[0][1] * (a[1][2] * a[2][0] - a[1][0] * a[2][2]) +
           a[0][2] * (a[1][0] * a[2][1] - a[1][1] * a[2][0]);
}

void transpose_matrix(double a[3][3]) {
    std::swap(a[0][1], a[1][0]);
    std::swap(a[0][2], a[2][0]);
    std::swap(a[1][2], a[2][1]);
}

void transpose_matrix(double** a, int n) {
    for (int i = 0; i < n; ++i)
        for (int j = i + 1; j < n; ++j) std::swap(a[i][j], a[j][i]);
}

double get_magnitude(double* v) { return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]); }

double get_dot(double* a, double* b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

// x is read whole before y is written, so both may be the same array.
void mat_vec_mul(double a[3][3], double* x, double* y) {
    const double x0 = x[0], x1 = x[1], x2 = x[2];
    for (int i = 0; i < 3; ++i) y[i] = a[i][0] * x0 + a[i][1] * x1 + a[i][2] * x2;
}

void mat_vec_mul_n(double a[3][3], double x[][3], double y[][3], int n) {
    for (int k = 0; k < n; ++k) mat_vec_mul(a, x[k], y[k]);
}

void mat_mat_mul(double a[3][3], double b[3][3], double c[3][3]) {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            c[i][j] = 0.0;
            for (int k = 0; k < 3; ++k) c[i][j] += a[i][k] * b[k][j];
        }
}

void mat_mat_mul_nxn(double** a, double** b, double** c, int n) {
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) c[i][j] = 0.0;
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            for (int k = 0; k < n; ++k) c[i][j] += a[i][k] * b[k][j];
}

void mat_scale(double a[3][3], double s, double b[3][3]) {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) b[i][j] = s * a[i][j];
}

void mat_mat_add(double a[3][3], double b[3][3], double c[3][3]) {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) c[i][j] = a[i][j] + b[i][j];
}

// Halves round away from zero: 2.5 -> 3, -0.5 -> -1.
double anint(double x) {
    return x > 0.0 ? truncate_through_int32(x + 0.5) : truncate_through_int32(x - 0.5);
}

void invert(double a[3][3], double b[3][3]) {
    if (a == b)
        report_fatal("mmutil", 593, kStatusFailure, stdout, "%s - Result matrix overlaps input\n",
                     "invert");
    const double determinant = det(a);
    if (std::fabs(determinant) < 1e-30)
        report_fatal("mmutil", 600, kStatusFailure, stdout, "Determinant of matrix is zero.\n");
    const double r = 1.0 / determinant;
    b[0][0] = (a[1][1] * a[2][2] - a[2][1] * a[1][2]) * r;
    b[0][1] = (a[2][1] * a[0][2] - a[2][2] * a[0][1]) * r;
    b[0][2] = (a[0][1] * a[1][2] - a[0][2] * a[1][1]) * r;
    b[1][0] = (a[2][0] * a[1][2] - a[2][2] * a[1][0]) * r;
    b[1][1] = (a[0][0] * a[2][2] - a[2][0] * a[0][2]) * r;
    b[1][2] = (a[0][2] * a[1][0] - a[0][0] * a[1][2]) * r;
    b[2][0] = (a[2][1] * a[1][0] - a[2][0] * a[1][1]) * r;
    b[2][1] = (a[2][0] * a[0][1] - a[2][1] * a[0][0]) * r;
    b[2][2] = (a[0][0] * a[1][1] - a[0][1] * a[1][0]) * r;
}

// Rodrigues' formula r = I + sin K + (1 - cos) K^2, K the cross-product matrix of the axis u.
// The axis is not normalised: callers pass a unit vector.
void rot_matrix_from_dir_vector_and_angle(double r[3][3], double* u, double angle) {
    const double theta = angle * kPi / 180.0;
    const std::complex<double> phase = std::exp(std::complex<double>(0.0, theta));
    const double c = phase.real();
    const double s = phase.imag();
    const double k[3][3] = {{0.0, -u[2], u[1]}, {u[2], 0.0, -u[0]}, {-u[1], u[0], 0.0}};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            const double k2 = k[i][0] * k[0][j] + k[i][1] * k[1][j] + k[i][2] * k[2][j];
            r[i][j] = (i == j ? 1.0 : 0.0) + s * k[i][j] + (1.0 - c) * k2;
        }
}

// Cyclic Jacobi for a real symmetric matrix. Only the strict upper triangle of a is used and
// destroyed. Eigenvector k is column k of v; on convergence the pairs are sorted descending.
void jacobi_nr(double a[3][3], int n, double* d, double v[3][3], int& nrot) {
    if (n > kMaxEigenOrder) n = kMaxEigenOrder;
    double b[kMaxEigenOrder] = {};
    double z[kMaxEigenOrder] = {};
    set_identity(v);
    for (int p = 0; p < n; ++p) b[p] = d[p] = a[p][p];
    nrot = 0;
    for (int sweep = 1; sweep <= kJacobiMaxSweeps; ++sweep) {
        const double sm = upper_triangle_abs_sum(a, n);
        if (sm == 0.0) {
            eigsrt_nr(d, v, n);
            return;
        }
        const double threshold = sweep < 4 ? 0.2 * sm / (n * n) : 0.0;
        jacobi_sweep(a, n, sweep, threshold, d, z, v, nrot);
        for (int p = 0; p < n; ++p) {
            b[p] += z[p];
            d[p] = b[p];
            z[p] = 0.0;
        }
    }
    std::printf("ERROR: Too many iterations in routine jacobi\n");
}

// Selection sort into descending order; among equal maxima the last one wins.
void eigsrt_nr(double* d, double v[3][3], int n) {
    if (n > kMaxEigenOrder) n = kMaxEigenOrder;
    for (int i = 0; i < n - 1; ++i) {
        int k = i;
        for (int j = i + 1; j < n; ++j)
            if (d[j] >= d[k]) k = j;
        if (k == i) continue;
        std::swap(d[i], d[k]);
        if (v == nullptr) continue;
        for (int row = 0; row < n; ++row) std::swap(v[row][i], v[row][k]);
    }
}

}  // namespace mmutil
