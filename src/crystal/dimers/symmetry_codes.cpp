// Symmetry operations as text: the code of the map (x' = R x + t, fractional) and the name of
// the isometry it is. The rotation's trace and determinant give its kind and order; the part
// of the translation that repeating the operation accumulates (its intrinsic translation)
// tells a screw from a rotation and a glide from a mirror.
#include <cmath>
#include <cstdio>
#include <string>

#include "teska/dimers.h"

namespace teska {

namespace {

constexpr double kTolerance = 1e-6;

// A number as a fraction of small denominator ("1/2", "3/4", "1"), or in decimals.
std::string magnitude_text(double value) {
    for (int d : {1, 2, 3, 4, 6, 8, 12}) {
        const double n = std::round(value * d);
        if (std::fabs(value * d - n) < kTolerance * d) {
            char text[48];
            if (d == 1)
                std::snprintf(text, sizeof text, "%.0f", n);
            else
                std::snprintf(text, sizeof text, "%.0f/%d", n, d);
            return text;
        }
    }
    char text[48];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}

using Matrix = double[3][3];

void multiply(const Matrix& a, const Matrix& b, Matrix& out) {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            out[i][j] = 0.0;
            for (int k = 0; k < 3; ++k) out[i][j] += a[i][k] * b[k][j];
        }
}

double determinant(const Matrix& r) {
    return r[0][0] * (r[1][1] * r[2][2] - r[1][2] * r[2][1]) -
           r[0][1] * (r[1][0] * r[2][2] - r[1][2] * r[2][0]) +
           r[0][2] * (r[1][0] * r[2][1] - r[1][1] * r[2][0]);
}

// Whether the sum of R^k t over k < order is zero: repeating the operation order times
// returns every point to where it was.
bool intrinsic_translation_is_zero(const SymmetryOperation& op, int order) {
    double sum[3] = {0, 0, 0};
    Matrix power = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    for (int k = 0; k < order; ++k) {
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) sum[i] += power[i][j] * op.t[j];
        Matrix next;
        multiply(op.r, power, next);
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) power[i][j] = next[i][j];
    }
    for (double s : sum)
        if (std::fabs(s) > kTolerance) return false;
    return true;
}

// The order of a proper rotation from its trace 1 + 2 cos(2 pi / n); 0 when it is none.
int rotation_order(double trace) {
    const struct {
        double trace;
        int order;
    } orders[] = {{3, 1}, {-1, 2}, {0, 3}, {1, 4}, {2, 6}};
    for (const auto& o : orders)
        if (std::fabs(trace - o.trace) < kTolerance) return o.order;
    return 0;
}

}  // namespace

std::string symmetry_code(const SymmetryOperation& op) {
    static const char axes[3] = {'x', 'y', 'z'};
    std::string code;
    for (int i = 0; i < 3; ++i) {
        std::string row;
        for (int j = 0; j < 3; ++j) {
            const double c = op.r[i][j];
            if (std::fabs(c) < kTolerance) continue;
            if (c < 0)
                row += '-';
            else if (!row.empty())
                row += '+';
            if (std::fabs(std::fabs(c) - 1.0) > kTolerance) row += magnitude_text(std::fabs(c));
            row += axes[j];
        }
        if (std::fabs(op.t[i]) >= kTolerance) {
            if (op.t[i] < 0)
                row += '-';
            else if (!row.empty())
                row += '+';
            row += magnitude_text(std::fabs(op.t[i]));
        }
        if (row.empty()) row = "0";
        if (i > 0) code += ',';
        code += row;
    }
    return code;
}

std::string operation_name(const SymmetryOperation& op) {
    const double det = determinant(op.r);
    const double trace = op.r[0][0] + op.r[1][1] + op.r[2][2];
    if (std::fabs(std::fabs(det) - 1.0) > kTolerance) return "general";
    if (det > 0) {
        const int n = rotation_order(trace);
        if (n == 0) return "general";
        if (n == 1) return intrinsic_translation_is_zero(op, 1) ? "identity" : "translation";
        const std::string fold = std::to_string(n) + "-fold ";
        return fold + (intrinsic_translation_is_zero(op, n) ? "rotation" : "screw");
    }
    // An improper rotation is -1 times a proper one of order n.
    const int n = rotation_order(-trace);
    if (n == 0) return "general";
    if (n == 1) return "inversion";
    if (n == 2) return intrinsic_translation_is_zero(op, 2) ? "mirror" : "glide";
    return std::to_string(n) + "-fold rotoinversion";
}

}  // namespace teska
