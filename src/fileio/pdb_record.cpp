// The PDB ATOM record layout.
#include "pdb_record.h"

#include <string>

#include "element_rows.h"

namespace fileio_detail {

void write_pdb_atom_record(FILE* out, int serial, int element_row, int name_counter, int residue,
                           const double xyz[3]) {
    const std::string symbol = element_symbol(element_row);
    std::fprintf(out, "%-6s%5d %2s%-2X %3.3s %1s%4d    %8.3f%8.3f%8.3f%6.2f%6.2f%10s%2s%2s\n",
                 "ATOM", serial, symbol.c_str(), static_cast<unsigned>(name_counter), "MOL", "",
                 residue, xyz[0], xyz[1], xyz[2], 1.0, 0.0, "", symbol.c_str(), "");
}

}  // namespace fileio_detail
