// The readers behind load_structure, one per kind of input (private to teska).
#ifndef TESKA_CLI_STRUCTURE_READERS_H
#define TESKA_CLI_STRUCTURE_READERS_H

#include <string>

#include "failure.h"
#include "structure.h"

namespace teska::cli {

// CIF files (read_cif.cpp).
void read_cif_with_store_reader(Structure& s, const std::string& path);
void read_cif_with_database_reader(Structure& s, const std::string& path,
                                   const ReadSettings& settings, const std::string& block);

// Molecule files (read_molecule_files.cpp): the store's PDB, XYZ and MDL readers, then whole
// molecules in the cell when there is one, or bonded pieces as they lie when there is none.
void read_pdb_input(Structure& s, const std::string& path, const ReadSettings& settings);
void read_xyz_input(Structure& s, const std::string& path, const ReadSettings& settings);
void read_molfile_input(Structure& s, const std::string& path, const ReadSettings& settings);

}  // namespace teska::cli

#endif  // TESKA_CLI_STRUCTURE_READERS_H
