// Cell lengths and angles with their standard uncertainties. A cell that closes no lattice is
// an error naming the tag, so that no coordinate is ever computed from it.
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "database_detail.h"
#include "gemmi/numb.hpp"

namespace teska {
namespace database_detail {

namespace {

namespace cif = gemmi::cif;

const char* const kCellTags[6] = {"_cell_length_a",    "_cell_length_b",   "_cell_length_c",
                                  "_cell_angle_alpha", "_cell_angle_beta", "_cell_angle_gamma"};
constexpr double kPi = 3.14159265358979323846;
// Below this the cell volume factor sqrt(1 - cos^2 a - ...) is too small for any crystal.
constexpr double kMinVolumeFactor2 = 1e-6;
// No crystal has a longer cell edge, or lattice planes closer together; beyond these the
// bins and image searches of the expansion would need unbounded time.
constexpr double kMaxLength = 1e5;
constexpr double kMinPlaneSpacing = 0.5;

}  // namespace

double standard_uncertainty(const std::string& value) {
    const std::size_t open = value.find('(');
    if (open == std::string::npos) return 0.0;
    const std::size_t close = value.find(')', open);
    if (close == std::string::npos || close == open + 1) return 0.0;
    double su = 0.0;
    for (std::size_t i = open + 1; i < close; ++i) {
        if (!std::isdigit(static_cast<unsigned char>(value[i]))) return 0.0;
        su = su * 10 + (value[i] - '0');
    }
    // The uncertainty is in units of the last digit of the number.
    const std::size_t dot = value.find('.');
    std::size_t mantissa_end = value.find_first_of("eE(");
    if (dot != std::string::npos && dot < mantissa_end)
        su *= std::pow(10.0, -static_cast<double>(mantissa_end - dot - 1));
    const std::size_t e = value.find_first_of("eE");
    if (e != std::string::npos && e < open) su *= std::pow(10.0, std::atof(value.c_str() + e + 1));
    return su;
}

Cell read_cell(gemmi::cif::Block& block, Report& report) {
    Cell cell;
    for (int k = 0; k < 6; ++k) {
        const char* tag = kCellTags[k];
        const std::string* value = single_value(block, tag);
        const int line = tag_line(block, tag);
        if (!value || cif::is_null(*value)) report.fail(line, 0, std::string("no value of ") + tag);
        const std::string text = cif::as_string(*value);
        const double number = cif::as_number(text);
        if (std::isnan(number))
            report.fail(line, 0, std::string(tag) + " '" + text + "' is not a number");
        if (k < 3 && !(number > 0.0))
            report.fail(line, 0, std::string(tag) + " " + text + " is not a positive length");
        if (k < 3 && !(number <= kMaxLength))
            report.fail(line, 0, std::string(tag) + " " + text + " is longer than 100000 angstrom");
        if (k >= 3 && !(number > 0.0 && number < 180.0))
            report.fail(line, 0,
                        std::string(tag) + " " + text + " is not an angle between 0 and 180");
        cell.parameters[k] = number;
        cell.su[k] = standard_uncertainty(text);
    }
    double cosine[3];
    for (int k = 0; k < 3; ++k) cosine[k] = std::cos(cell.parameters[3 + k] * kPi / 180.0);
    const double factor2 = 1.0 - cosine[0] * cosine[0] - cosine[1] * cosine[1] -
                           cosine[2] * cosine[2] + 2.0 * cosine[0] * cosine[1] * cosine[2];
    if (!(factor2 > kMinVolumeFactor2))
        report.fail(tag_line(block, kCellTags[3]), 0,
                    "the angles _cell_angle_alpha, _cell_angle_beta, _cell_angle_gamma (" +
                        cif::as_string(*single_value(block, kCellTags[3])) + ", " +
                        cif::as_string(*single_value(block, kCellTags[4])) + ", " +
                        cif::as_string(*single_value(block, kCellTags[5])) + ") close no cell");
    // Plane spacing along axis k: the cell volume over the area of the face of the other two
    // edges, length_k * sqrt(factor2) / sin(angle_k).
    const char* const kPlanes[3] = {"(100)", "(010)", "(001)"};
    for (int k = 0; k < 3; ++k) {
        const double sine = std::sin(cell.parameters[3 + k] * kPi / 180.0);
        const double spacing = cell.parameters[k] * std::sqrt(factor2) / sine;
        if (!(spacing >= kMinPlaneSpacing)) {
            char text[160];
            std::snprintf(text, sizeof text,
                          "the cell is too thin: its %s planes are %.3g angstrom apart (at least "
                          "0.5 angstrom)",
                          kPlanes[k], spacing);
            report.fail(tag_line(block, kCellTags[k]), 0, text);
        }
    }
    return cell;
}

}  // namespace database_detail
}  // namespace teska
