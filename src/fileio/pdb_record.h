// The PDB ATOM record shared by every PDB output of the store.
#ifndef CIF2PDB_PDB_RECORD_H
#define CIF2PDB_PDB_RECORD_H

#include <cstddef>
#include <cstdio>

#include "number_text.h"

namespace fileio_detail {

// Room for any ATOM record: 81 characters when every value fits its columns; the integer fields
// widen to at most eleven characters and each coordinate to a whole fixed-point double.
constexpr std::size_t kPdbAtomRecordCapacity = 128 + 3 * kFixedTextCapacity;

// The ATOM record as printf's
// "%-6s%5d %2s%-2X %3.3s %1s%4d    %8.3f%8.3f%8.3f%6.2f%6.2f%10s%2s%2s\n" writes it, into
// out (kPdbAtomRecordCapacity characters); returns its length, newline included, no
// terminator. The atom name is the right-justified element symbol followed by name_counter in
// upper-case hexadecimal; residue "MOL", no chain, occupancy 1.00, B 0.00.
std::size_t format_pdb_atom_record(char* out, int serial, int element_row, int name_counter,
                                   int residue, const double xyz[3]);

// One ATOM record, formatted as above, written to out.
void write_pdb_atom_record(FILE* out, int serial, int element_row, int name_counter, int residue,
                           const double xyz[3]);

}  // namespace fileio_detail

#endif  // CIF2PDB_PDB_RECORD_H
