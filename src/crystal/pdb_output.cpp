// PDB output with hybrid-36 numbering.
#include "pdb_output.h"

#include <cstdio>

#include "element_rows.h"
#include "teska/fileio.h"
#include "number_text.h"

namespace teska::crystal_detail {

namespace {

long long power(long long base, int exponent) {
    long long result = 1;
    while (exponent-- > 0) result *= base;
    return result;
}

std::string base36(long long value, int width, const char* digits) {
    std::string text(static_cast<std::size_t>(width), digits[0]);
    for (int i = width - 1; i >= 0 && value > 0; --i, value /= 36) text[i] = digits[value % 36];
    return text;
}

// Atom names count 1..FF within a residue and start again at 1.
constexpr int kMaxNameCounter = 0xFF;

// Cartesian position of fractional point f in the cell offset from the origin cell.
void place_in_supercell(const FileIO& store, const double f[3], const int offset[3], double r[3]) {
    const double(&L)[3][3] = store.cell_latt3x3;
    const double g[3] = {offset[0] + f[0], offset[1] + f[1], offset[2] + f[2]};
    for (int d = 0; d < 3; ++d) r[d] = L[d][0] * g[0] + L[d][1] * g[1] + L[d][2] * g[2];
}

// Appends text right-justified in width columns; wider text is kept whole, as printf keeps it.
void put_right(std::string& line, const char* text, std::size_t length, std::size_t width) {
    if (length < width) line.append(width - length, ' ');
    line.append(text, length);
}

// printf's "%W.Pf", by the store's own fixed-point writer.
void put_fixed(std::string& line, double value, int precision, int width) {
    char field[fileio_detail::kFixedTextCapacity];
    const char* end = fileio_detail::write_fixed(field, value, width, precision);
    line.append(field, static_cast<std::size_t>(end - field));
}

}  // namespace

std::string pdb_atom_record(const std::string& serial, int element_row, int name_counter,
                            const std::string& residue, const double r[3]) {
    const std::string symbol = fileio_detail::element_symbol(element_row);
    char counter[16];
    const int counter_length =
        std::snprintf(counter, sizeof counter, "%X", static_cast<unsigned>(name_counter));
    std::string line = "ATOM  ";
    line.reserve(96);
    put_right(line, serial.data(), serial.size(), 5);
    line += ' ';
    put_right(line, symbol.data(), symbol.size(), 2);
    line.append(counter, static_cast<std::size_t>(counter_length));
    if (counter_length < 2) line.append(2 - static_cast<std::size_t>(counter_length), ' ');
    line += " MOL  ";
    put_right(line, residue.data(), residue.size(), 4);
    line += "    ";
    for (int d = 0; d < 3; ++d) put_fixed(line, r[d], 3, 8);
    line += "  1.00  0.00          ";
    put_right(line, symbol.data(), symbol.size(), 2);
    line += "  \n";
    return line;
}

std::string hybrid36(int width, long long value) {
    const long long decimal_limit = power(10, width);
    const long long block = 26 * power(36, width - 1);   // values per letter case
    const long long offset = 10 * power(36, width - 1);  // "A000..." in base 36
    if (value < 0) return std::string(static_cast<std::size_t>(width), '*');
    if (value < decimal_limit) {
        std::string text = std::to_string(value);
        return std::string(static_cast<std::size_t>(width) - text.size(), ' ') + text;
    }
    value -= decimal_limit;
    if (value < block) return base36(value + offset, width, "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ");
    value -= block;
    if (value < block) return base36(value + offset, width, "0123456789abcdefghijklmnopqrstuvwxyz");
    return std::string(static_cast<std::size_t>(width), '*');
}

bool write_pdb_model(FILE* out, const FileIO& store, const std::vector<int>& molecules,
                     const int supercell[3], bool with_cell) {
    const int na = supercell[0], nb = supercell[1], nc = supercell[2];
    std::fprintf(out, "TITLE     %s\n", store.identifier.c_str());
    std::fprintf(out, "REMARK    TESKA generated PDB file\n");
    if (with_cell)
        std::fprintf(out, "CRYST1%9.3f%9.3f%9.3f%7.2f%7.2f%7.2f P 1           1\n",
                     store.cell_latt[0] * na, store.cell_latt[1] * nb, store.cell_latt[2] * nc,
                     store.cell_latt[3], store.cell_latt[4], store.cell_latt[5]);
    std::fprintf(out, "MODEL        1\n");
    const bool whole_cell_only = na == 1 && nb == 1 && nc == 1;
    long long serial = 0, residue = 0;
    for (int k = 0; k < nc; ++k)
        for (int j = 0; j < nb; ++j)
            for (int i = 0; i < na; ++i)
                for (int m : molecules) {
                    const std::string residue_text = hybrid36(4, ++residue);
                    const int offset[3] = {i, j, k};
                    for (int a = 0; a < store.mol_natoms[m]; ++a) {
                        double r[3];
                        if (whole_cell_only)
                            for (int d = 0; d < 3; ++d) r[d] = store.mol_x[m][3 * a + d];
                        else
                            place_in_supercell(store, &store.mol_x_s[m][3 * a], offset, r);
                        const std::string line =
                            pdb_atom_record(hybrid36(5, ++serial), store.mol_atypes[m][a],
                                            a % kMaxNameCounter + 1, residue_text, r);
                        std::fwrite(line.data(), 1, line.size(), out);
                    }
                }
    std::fprintf(out, "TER\nENDMDL\n");
    return std::ferror(out) == 0;
}

}  // namespace teska::crystal_detail
