// The per-molecule arrays and the cell forms that the crystal pipeline leaves in the store,
// shared with the database reader, which fills the same arrays.
#ifndef CIF2PDB_MOLECULE_ARRAYS_H
#define CIF2PDB_MOLECULE_ARRAYS_H

class FileIO;

namespace fileio_detail {

// One entry per molecule (nmols of them; none when nmols is 0) of every per-molecule array;
// file names too when input_kind says a crystal file was read.
void allocate_molecule_arrays(FileIO& store);

// "mol%d.mol" with i + 1 as molecule i's file name.
void name_molecule_file(FileIO& store, int i);

// From the cell vectors (rows): their lengths, the lattice matrix (columns) and its inverse,
// and the supercell matrix scaled row by row.
void derive_cell_forms(FileIO& store);

}  // namespace fileio_detail

#endif  // CIF2PDB_MOLECULE_ARRAYS_H
