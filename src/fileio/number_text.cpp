// Numbers as text: std::from_chars and std::to_chars where they give the C library's result
// bit for bit and digit for digit, the C library itself for every other text and value.
#include "number_text.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <system_error>

namespace fileio_detail {

namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// Texts that from_chars reads as atof does: an optional minus, then a digit or a point. Left
// to atof: a leading plus or blank, the words inf and nan, and hexadecimal, whose "0x" prefix
// from_chars would read as the number 0. The text ends in a terminator, so looking one
// character past a final '0' is safe.
bool reads_as_decimal(const char* first, const char* last) {
    const char* p = first;
    if (p != last && *p == '-') ++p;
    if (p == last || !(is_digit(*p) || *p == '.')) return false;
    return !(p[0] == '0' && (p[1] == 'x' || p[1] == 'X'));
}

}  // namespace

// Both sides round correctly, so they agree wherever from_chars succeeds with a normal number
// or zero; atof keeps its own overflow, underflow and subnormal results (and their ERANGE).
double text_to_double(const std::string& text) {
    const char* first = text.c_str();
    const char* last = first + text.size();
    if (reads_as_decimal(first, last)) {
        double value = 0.0;
        const std::from_chars_result result = std::from_chars(first, last, value);
        const int kind = std::fpclassify(value);
        if (result.ec == std::errc() && (kind == FP_NORMAL || kind == FP_ZERO)) return value;
    }
    return std::atof(first);
}

// to_chars rounds the exact binary value to the decimals asked for, ties to even, as printf
// does; printf keeps the spelling and sign of infinities and NaN.
char* write_fixed(char* out, double value, int width, int precision) {
    char digits[kFixedTextCapacity + 1];
    std::size_t length = 0;
    if (std::isfinite(value)) {
        const std::to_chars_result result = std::to_chars(
            digits, digits + kFixedTextCapacity, value, std::chars_format::fixed, precision);
        length = static_cast<std::size_t>(result.ptr - digits);
    } else {
        length = static_cast<std::size_t>(
            std::snprintf(digits, sizeof digits, "%.*f", precision, value));
    }
    const std::size_t field = static_cast<std::size_t>(width < 0 ? 0 : width);
    if (length < field) {
        std::memset(out, ' ', field - length);
        out += field - length;
    }
    std::memcpy(out, digits, length);
    return out + length;
}

}  // namespace fileio_detail
