// The readers behind load_structure, one per kind of input.
#ifndef TESKA_CRYSTAL_STRUCTURE_READERS_H
#define TESKA_CRYSTAL_STRUCTURE_READERS_H

#include <string>

#include "teska/error.h"
#include "structure.h"

namespace teska::crystal_detail {

// CIF files (read_cif.cpp).
void read_cif_with_store_reader(Structure& s, const std::string& path);
void read_cif_with_database_reader(Structure& s, const std::string& path,
                                   const ReadSettings& settings);

// Molecule files (read_molecule_files.cpp): the store's PDB, XYZ and MDL readers, then whole
// molecules in the cell when there is one, or bonded pieces as they lie when there is none.
void read_pdb_input(Structure& s, const std::string& path, const ReadSettings& settings);
void read_xyz_input(Structure& s, const std::string& path, const ReadSettings& settings);
void read_molfile_input(Structure& s, const std::string& path, const ReadSettings& settings);

}  // namespace teska::crystal_detail

#endif  // TESKA_CRYSTAL_STRUCTURE_READERS_H
