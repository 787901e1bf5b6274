// The PDB ATOM record layout, formatted field by field instead of through printf, which costs
// more than the rest of the writing at a million records. Every field widens as printf's would.
#include "pdb_record.h"

#include <charconv>
#include <cstring>
#include <string>

#include "element_rows.h"

namespace fileio_detail {

namespace {

char* put_text(char* out, const char* text, std::size_t length) {
    std::memcpy(out, text, length);
    return out + length;
}

char* put_blanks(char* out, std::size_t count) {
    std::memset(out, ' ', count);
    return out + count;
}

// "%*s": right-justified text, stopping at a terminator as %s does.
char* put_right(char* out, const char* text, std::size_t width) {
    const std::size_t length = std::strlen(text);
    if (length < width) out = put_blanks(out, width - length);
    return put_text(out, text, length);
}

// "%*d"
char* put_int(char* out, int value, std::size_t width) {
    char digits[16];
    const std::to_chars_result result = std::to_chars(digits, digits + sizeof digits, value);
    const std::size_t length = static_cast<std::size_t>(result.ptr - digits);
    if (length < width) out = put_blanks(out, width - length);
    return put_text(out, digits, length);
}

// "%-*X"
char* put_hex_left(char* out, unsigned value, std::size_t width) {
    char digits[16];
    const std::to_chars_result result = std::to_chars(digits, digits + sizeof digits, value, 16);
    const std::size_t length = static_cast<std::size_t>(result.ptr - digits);
    for (std::size_t k = 0; k < length; ++k)
        if (digits[k] >= 'a') digits[k] = static_cast<char>(digits[k] - 'a' + 'A');
    out = put_text(out, digits, length);
    return length < width ? put_blanks(out, width - length) : out;
}

}  // namespace

std::size_t format_pdb_atom_record(char* out, int serial, int element_row, int name_counter,
                                   int residue, const double xyz[3]) {
    const std::string symbol = element_symbol(element_row);
    char* p = out;
    p = put_text(p, "ATOM  ", 6);
    p = put_int(p, serial, 5);
    *p++ = ' ';
    p = put_right(p, symbol.c_str(), 2);
    p = put_hex_left(p, static_cast<unsigned>(name_counter), 2);
    p = put_text(p, " MOL  ", 6);  // blank, residue name, blank, empty chain
    p = put_int(p, residue, 4);
    p = put_blanks(p, 4);
    for (int k = 0; k < 3; ++k) p = write_fixed(p, xyz[k], 8, 3);
    p = put_text(p, "  1.00  0.00", 12);  // occupancy and temperature factor
    p = put_blanks(p, 10);
    p = put_right(p, symbol.c_str(), 2);
    p = put_text(p, "  \n", 3);  // no charge
    return static_cast<std::size_t>(p - out);
}

void write_pdb_atom_record(FILE* out, int serial, int element_row, int name_counter, int residue,
                           const double xyz[3]) {
    char record[kPdbAtomRecordCapacity];
    const std::size_t length =
        format_pdb_atom_record(record, serial, element_row, name_counter, residue, xyz);
    std::fwrite(record, 1, length, out);
}

}  // namespace fileio_detail
