// One input read into the structure store, whatever its kind, with what the reading learnt
// beside the store: the reader used, the cell, the symmetry operations, the warnings.
// Every reader leaves the store's molecule arrays (nmols, mol_natoms, mol_atypes, mol_x and,
// with a cell, mol_x_s) filled with whole molecules, so that every writer works on the result.
#ifndef TESKA_CRYSTAL_STRUCTURE_H
#define TESKA_CRYSTAL_STRUCTURE_H

#include <string>
#include <utility>
#include <vector>

#include "teska/crystal.h"
#include "teska/fileio.h"

namespace teska::crystal_detail {

enum class InputKind { kCif, kPdb, kXyz, kMolfile };

// From the extension of the last path component: .pdb/.ent, .xyz, .mol/.sdf/.mdl; every other
// name is read as CIF.
InputKind input_kind_of(const std::string& path);

struct Structure {
    FileIO store;
    std::string reader;  // "database", "strict", "pdb", "xyz" or "molfile"
    bool has_cell = false;
    std::string block;
    std::string spacegroup;
    std::string symmetry_source = "none";       // "loop", "Hall", "H-M", "number" or "none"
    std::vector<SymmetryOperation> operations;  // at least the identity
    std::vector<char> periodic;                 // per molecule: bonded to its own image
    int disorder_left_out = 0;
    std::vector<std::string> warnings;  // "FILE:LINE:COLUMN: message" or "FILE: message"
    // Per atom of the store's crystal arrays (natoms_cif), where the reader knows them: the
    // file's label or atom name, the occupancy.
    std::vector<std::string> atom_labels;
    std::vector<double> atom_occupancies;
    // The bond test that built the molecules: bonding radius per crystal atom and the scale.
    std::vector<double> bond_radii;
    double bond_scale = 1.15;
    // The bonds the reader made the molecules with, as pairs of crystal atoms, when it hands
    // them out (the database reader: its radius test, the file's bond table); the model's
    // bonds are then these.
    bool has_cell_bonds = false;
    std::vector<std::pair<int, int>> cell_bonds;
    std::vector<char> cell_bond_added;  // per cell bond: 0 radii, 1 bond table, 2 metal rule
    int table_bonds = 0;  // bonds the file's bond table added
    int metal_bonds = 0;  // metal-ligand bonds added beyond the radii

    int atom_count() const;
};

// Reads path into s (a fresh Structure) with the store's fatal errors raised. Throws Error.
void load_structure(Structure& s, const std::string& path, InputKind kind,
                    const ReadSettings& settings);

// Names of the data blocks of a CIF file that hold atom sites, in file order. Throws Error.
std::vector<std::string> cif_blocks_with_atoms(const std::string& path);

}  // namespace teska::crystal_detail

#endif  // TESKA_CRYSTAL_STRUCTURE_H
