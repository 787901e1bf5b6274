// The two halves of reading a crystal file: a front end that scans CIF text into the store's
// texts and column lists, and the step every front end shares afterwards, which derives the
// numbers, expands the asymmetric unit to the full cell and divides the cell into molecules.
#ifndef CIF2PDB_CIF_READER_H
#define CIF2PDB_CIF_READER_H

#include <string>
#include <string_view>
#include <vector>

#include "teska/fileio.h"

namespace fileio_detail {

// The strict line scan: identifier, names, space-group number, cell parameters, symmetry
// operations, and the atom-site and bond columns as text. Ends at the end of the atom-site
// loop. Returns the number of fractional-coordinate columns of the last atom-site header
// examined (0 when none). The lines are only looked at; the store keeps copies.
int scan_cif_lines(FileIO& store, const std::vector<std::string_view>& lines);
int scan_cif_lines(FileIO& store, const std::vector<std::string>& lines);

// Summary (verbose), lattice matrices, element rows, radii and coordinates of the atoms as
// read, expansion to the full cell, molecule separation. fract_columns == 0 means the atom
// columns hold Cartesian coordinates.
void build_crystal_from_cif_columns(FileIO& store, int fract_columns, bool verbose);

}  // namespace fileio_detail

#endif  // CIF2PDB_CIF_READER_H
