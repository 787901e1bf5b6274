// The PDB file teska writes for a cell or a supercell: the records of cif2pdb's output, with
// serial and residue numbers past 99,999 atoms and 9,999 residues in hybrid-36, the numbering
// PDB readers understand, instead of restarting.
#ifndef TESKA_CRYSTAL_PDB_OUTPUT_H
#define TESKA_CRYSTAL_PDB_OUTPUT_H

#include <cstdio>
#include <string>
#include <vector>

class FileIO;

namespace teska::crystal_detail {

// value in width columns: decimal below 10^width, then upper-case base 36 starting at "A000..",
// then lower-case base 36 starting at "a000..". A value past both ranges (or below zero) gives
// width asterisks.
std::string hybrid36(int width, long long value);

// One 80-column ATOM record with its line feed, as cif2pdb writes it with the format
// "%-6s%5s %2s%-2X %3.3s %1s%4s    %8.3f%8.3f%8.3f%6.2f%6.2f%10s%2s%2s\n" (residue "MOL", no chain,
// occupancy 1.00, B 0.00; the atom name is the element symbol and the counter in hexadecimal),
// with the serial and residue given as text.
std::string pdb_atom_record(const std::string& serial, int element_row, int name_counter,
                            const std::string& residue, const double r[3]);

// TITLE, REMARK, CRYST1 (the supercell's lengths; none without a cell), MODEL, one ATOM record per
// atom of the listed molecules, cell after cell (c outermost, a innermost), each molecule copy one
// residue "MOL" whose atom names count 1..FF in hexadecimal, then TER and ENDMDL. A 1x1x1 cell
// takes the store's Cartesian coordinates as they are. Returns false when a write failed.
bool write_pdb_model(FILE* out, const FileIO& store, const std::vector<int>& molecules,
                     const int supercell[3], bool with_cell);

}  // namespace teska::crystal_detail

#endif  // TESKA_CRYSTAL_PDB_OUTPUT_H
