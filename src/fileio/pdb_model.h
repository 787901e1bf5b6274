// The ATOM records of a cell written as whole molecules, shared by the PDB writer and its tests.
#ifndef CIF2PDB_PDB_MODEL_H
#define CIF2PDB_PDB_MODEL_H

#include <cstdio>

#include "teska/fileio.h"

namespace fileio_detail {

// One ATOM record per atom, molecule by molecule, each molecule one residue numbered from 1.
// Serial numbers run over the whole file and restart at 1 after 99999; the atom-name counter
// restarts for every molecule and cycles through 1..FF.
void write_pdb_molecule_atoms(FILE* out, int nmols, const int* natoms, int* const* atypes,
                              double* const* x);

// The whole converted cell as one PDB model: TITLE, REMARK, CRYST1 (P 1), MODEL, the atoms of
// every molecule of the store, TER and ENDMDL.
void write_cell_model(FILE* out, const FileIO& store);

}  // namespace fileio_detail

#endif  // CIF2PDB_PDB_MODEL_H
