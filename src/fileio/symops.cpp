// Symmetry-operation parser: one operation as text (x,y,z triplet or twelve numbers) to the
// rotation and translation that act on fractional coordinates. The triplet form is a single
// left-to-right character scan, not an expression parser; its sign and fraction rules are
// kept exactly as they are because the expanded cell depends on them.
#include <cstdlib>
#include <locale>
#include <sstream>
#include <string>

#include "teska/fileio.h"
#include "teska/mmutil.h"

namespace {

// State of the triplet scan: the sign and fraction flags belong to one part, the remembered
// numerator to the whole operation.
struct TripletScan {
    bool negative = false;
    bool fraction = false;
    double remembered = 0.0;
};

// Reads the number that starts at text[pos] and returns the number of characters it used
// (0 when nothing there forms a number; the value is then 0).
std::size_t read_number(const std::string& text, std::size_t pos, double* value) {
    const char* start = text.c_str() + pos;
    char* end = nullptr;
    *value = std::strtod(start, &end);
    return static_cast<std::size_t>(end - start);
}

int axis_of(char c) {
    switch (c) {
        case 'x':
        case 'X':
            return 0;
        case 'y':
        case 'Y':
            return 1;
        case 'z':
        case 'Z':
            return 2;
        default:
            return -1;
    }
}

// One comma-separated part fills one row of the rotation and one translation.
void scan_triplet_part(const std::string& part, TripletScan& scan, double rot_row[3],
                       double* trans) {
    scan.negative = false;
    scan.fraction = false;
    std::size_t pos = 0;
    while (pos < part.size()) {
        const char c = part[pos];
        const int axis = axis_of(c);
        if (c == '+') {
            scan.negative = false;
        } else if (c == '-') {
            scan.negative = true;
        } else if (c == '/') {
            scan.fraction = true;
        } else if (axis >= 0) {
            rot_row[axis] = scan.negative ? -1.0 : 1.0;
        } else if (c == '.' || c == '0') {
            // A decimal translation; a lone "." reads as 0 and is stepped over.
            double number = 0.0;
            const std::size_t used = read_number(part, pos, &number);
            *trans = scan.negative ? -number : number;
            pos += used > 0 ? used : 1;
            continue;
        } else if (c >= '1' && c <= '9') {
            // A numerator keeps no sign; the sign is applied when the denominator comes.
            double number = 0.0;
            pos += read_number(part, pos, &number);
            if (!scan.fraction) {
                *trans = number;
                scan.remembered = number;
            } else {
                scan.fraction = false;
                const double quotient = scan.remembered / number;
                *trans = scan.negative ? -quotient : quotient;
            }
            continue;
        }
        ++pos;
    }
}

void parse_triplet(const std::string& op, double rot[3][3], double trans[3]) {
    const std::string text = mmutil::RemoveWhiteSpaceUnderscore(op);
    TripletScan scan;
    std::size_t begin = 0;
    for (int row = 0; row < 3 && begin <= text.size(); ++row) {
        std::size_t end = text.find(',', begin);
        if (end == std::string::npos) end = text.size();
        scan_triplet_part(text.substr(begin, end - begin), scan, rot[row], &trans[row]);
        begin = end + 1;
    }
}

// Twelve numbers, row by row, each row followed by its translation; read in the "C" locale.
// The first number that cannot be read ends the reading and leaves the rest untouched.
void parse_matrix(const std::string& op, double rot[3][3], double trans[3]) {
    std::istringstream in(op);
    in.imbue(std::locale::classic());
    double* targets[12] = {&rot[0][0], &rot[0][1], &rot[0][2], &trans[0],  &rot[1][0], &rot[1][1],
                           &rot[1][2], &trans[1],  &rot[2][0], &rot[2][1], &rot[2][2], &trans[2]};
    for (double* target : targets) {
        double value = 0.0;
        if (!(in >> value)) return;
        *target = value;
    }
}

}  // namespace

void FileIO::ParseTransformString(const std::string& op, double rot[3][3], double trans[3]) {
    if (op.find(',') != std::string::npos)
        parse_triplet(op, rot, trans);
    else if (op.find(' ') != std::string::npos)
        parse_matrix(op, rot, trans);
    // One shift at most, the same rule as a position folded into the cell.
    PBC_scaled_x_wrap(trans);
}
