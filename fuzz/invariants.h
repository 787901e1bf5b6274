// Checks a fuzz target makes on what a reader accepted. A broken one aborts, which the fuzzer
// reports like any crash, with the input that broke it.
#ifndef CIF2PDB_FUZZ_INVARIANTS_H
#define CIF2PDB_FUZZ_INVARIANTS_H

#include <string>

class FileIO;

namespace fuzz_support {

[[noreturn]] void invariant_broken(const std::string& what);

// Every atom of the cell is in exactly one molecule of mol_natoms_list / mol_atom_list.
void check_molecule_partition(const FileIO& store);

// The per-molecule arrays hold the separated molecules: nmols entries, sizes as listed.
void check_molecule_arrays(const FileIO& store);

// A PDB text as the conversion writes it: one ATOM record per atom of the cell, closed by TER
// and ENDMDL.
void check_cell_model(const FileIO& store, const std::string& pdb);

}  // namespace fuzz_support

#endif  // CIF2PDB_FUZZ_INVARIANTS_H
