// Numbers as text, exactly as the C library reads and prints them but without its per-call
// cost: the coordinates and cell parameters of the CIF reader, the fixed-point fields of the
// PDB records.
#ifndef CIF2PDB_NUMBER_TEXT_H
#define CIF2PDB_NUMBER_TEXT_H

#include <cstddef>
#include <string>

namespace fileio_detail {

// The value std::atof gives for text.c_str(), bit for bit (errno aside): the longest number at
// the start of the text, so "0.2345(6)" reads 0.2345, and 0 when there is none.
double text_to_double(const std::string& text);

// Decimals a fixed-point field may ask for, and the characters such a field needs at most
// before padding: a sign, the 309 integer digits of the largest double, a point, the decimals.
constexpr int kMaxFixedPrecision = 9;
constexpr std::size_t kFixedTextCapacity = 1 + 309 + 1 + kMaxFixedPrecision;

// Writes value as printf's "%*.*f" does with width and precision (0 to kMaxFixedPrecision):
// right-justified in width columns, or wider when the number needs more. Returns the end of
// the field; no terminator is written. out must have room for the larger of width and
// kFixedTextCapacity characters.
char* write_fixed(char* out, double value, int width, int precision);

}  // namespace fileio_detail

#endif  // CIF2PDB_NUMBER_TEXT_H
