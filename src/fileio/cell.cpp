// Cell geometry: cell parameters to the lattice matrix and its inverse, fractional and
// Cartesian conversions, and the two single-shift periodic wraps.
#include <cmath>
#include <complex>

#include "teska/fileio.h"

namespace {

// Degrees to radians with the 14-digit pi literal that every angle conversion here uses.
constexpr double kPi = 3.1415926535898;
double radians(double degrees) { return degrees * kPi / 180.0; }

// Gauss-Jordan elimination against the identity, row by row and without row exchanges or
// pivot tests: a zero pivot gives infinities and NaN, as a degenerate cell should.
void gauss_jordan_inverse(const double latt[3][3], double inv[3][3]) {
    double m[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            m[i][j] = latt[i][j];
            inv[i][j] = (i == j) ? 1.0 : 0.0;
        }
    for (int p = 0; p < 3; ++p) {
        const double pivot = m[p][p];
        for (int j = 0; j < 3; ++j) {
            m[p][j] /= pivot;
            inv[p][j] /= pivot;
        }
        if (p == 0) continue;  // column 0 of an upper-triangular lattice needs no elimination
        for (int r = 0; r < 3; ++r) {
            if (r == p) continue;
            const double factor = m[r][p];
            for (int j = 0; j < 3; ++j) {
                m[r][j] -= factor * m[p][j];
                inv[r][j] -= factor * inv[p][j];
            }
        }
    }
}

}  // namespace

void FileIO::cell_cell6_to_latt3x3(double* cell6, double latt[3][3]) {
    const double a = cell6[0], b = cell6[1], c = cell6[2];
    const std::complex<double> gamma_phase = std::exp(std::complex<double>(0.0, radians(cell6[5])));
    const double cos_gamma = gamma_phase.real(), sin_gamma = gamma_phase.imag();
    const double cos_alpha = std::cos(radians(cell6[3]));
    const double cos_beta = std::cos(radians(cell6[4]));

    latt[0][0] = a;
    latt[0][1] = b * cos_gamma;
    latt[0][2] = c * cos_beta;
    latt[1][0] = 0.0;
    latt[1][1] = b * sin_gamma;
    latt[1][2] = c * (cos_alpha - cos_beta * cos_gamma) / sin_gamma;
    latt[2][0] = 0.0;
    latt[2][1] = 0.0;
    latt[2][2] =
        (c / sin_gamma) * std::sqrt(1.0 - cos_alpha * cos_alpha - cos_beta * cos_beta -
                                    cos_gamma * cos_gamma + 2.0 * cos_alpha * cos_beta * cos_gamma);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) cell_latt3x3[i][j] = latt[i][j];
    gauss_jordan_inverse(cell_latt3x3, cell_latt3x3_inv);
}

void FileIO::coord_f2c(double* f, double* r) {
    const double f0 = f[0], f1 = f[1], f2 = f[2];
    const double(&L)[3][3] = cell_latt3x3;
    r[0] = L[0][0] * f0 + L[0][1] * f1 + L[0][2] * f2;
    r[1] = L[1][0] * f0 + L[1][1] * f1 + L[1][2] * f2;
    r[2] = L[2][0] * f0 + L[2][1] * f1 + L[2][2] * f2;
}

void FileIO::coord_c2f(double* r, double* f) {
    const double r0 = r[0], r1 = r[1], r2 = r[2];
    const double(&M)[3][3] = cell_latt3x3_inv;
    f[0] = M[0][0] * r0 + M[0][1] * r1 + M[0][2] * r2;
    f[1] = M[1][0] * r0 + M[1][1] * r1 + M[1][2] * r2;
    f[2] = M[2][0] * r0 + M[2][1] * r1 + M[2][2] * r2;
}

void FileIO::coord_f2c(double& x, double& y, double& z) {
    double p[3] = {x, y, z};
    coord_f2c(p, p);
    x = p[0], y = p[1], z = p[2];
}

void FileIO::coord_c2f(double& x, double& y, double& z) {
    double p[3] = {x, y, z};
    coord_c2f(p, p);
    x = p[0], y = p[1], z = p[2];
}

// At most one shift per component: callers pass positions at most one cell away.
void FileIO::PBC_scaled_x_wrap(double* f) {
    for (int k = 0; k < 3; ++k) {
        if (f[k] < 0.0)
            f[k] += 1.0;
        else if (f[k] >= 1.0)
            f[k] -= 1.0;
    }
}

// Nearest image of a displacement; exactly +-0.5 stays.
void FileIO::PBC_scaled_disp_wrap(double* d) {
    for (int k = 0; k < 3; ++k) {
        if (d[k] > 0.5)
            d[k] -= 1.0;
        else if (d[k] < -0.5)
            d[k] += 1.0;
    }
}
