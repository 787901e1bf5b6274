// Element-table helpers shared by the readers and writers of the store.
#ifndef CIF2PDB_ELEMENT_ROWS_H
#define CIF2PDB_ELEMENT_ROWS_H

#include <string>

#include "teska/fileio.h"

namespace fileio_detail {

// The symbol rule of every reader: first character upper-cased, second lower-cased (a blank
// for a one-character text), first table row whose two symbol characters match; -1 if none.
// Only the first two characters of the text count.
int element_row_from_symbol(const std::string& text);

// The record of a row; a row outside the table (an unknown element, -1) reads as the dummy
// row 0 (mass 0, covalent radius 180/250 angstrom).
const ElementRecord& element_record_or_dummy(int row);

// Printable symbol of a row: "C", "Cl"; "X" for a row outside the table.
std::string element_symbol(int row);

}  // namespace fileio_detail

#endif  // CIF2PDB_ELEMENT_ROWS_H
