// The PDB ATOM record shared by every PDB output of the store.
#ifndef CIF2PDB_PDB_RECORD_H
#define CIF2PDB_PDB_RECORD_H

#include <cstdio>

namespace fileio_detail {

// One 80-column ATOM record: the atom name is the right-justified element symbol followed by
// name_counter in upper-case hexadecimal; residue "MOL", no chain, occupancy 1.00, B 0.00.
void write_pdb_atom_record(FILE* out, int serial, int element_row, int name_counter, int residue,
                           const double xyz[3]);

}  // namespace fileio_detail

#endif  // CIF2PDB_PDB_RECORD_H
