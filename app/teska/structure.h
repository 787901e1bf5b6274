// One input read into the structure store, whatever its kind, with what the reading learnt
// beside the store: the reader used, the cell, the symmetry operations, the warnings.
// Every reader leaves the store's molecule arrays (nmols, mol_natoms, mol_atypes, mol_x and,
// with a cell, mol_x_s) filled with whole molecules, so that every writer works on the result.
#ifndef TESKA_CLI_STRUCTURE_H
#define TESKA_CLI_STRUCTURE_H

#include <string>
#include <vector>

#include "teska/fileio.h"

namespace teska::cli {

enum class InputKind { kCif, kPdb, kXyz, kMolfile };

// From the extension of the last path component: .pdb/.ent, .xyz, .mol/.sdf/.mdl; every other
// name is read as CIF.
InputKind input_kind_of(const std::string& path);

struct ReadSettings {
    bool strict = false;             // the store's own CIF reader and pipeline
    std::string block;               // empty: the first block with atoms
    std::string disorder = "major";  // "major", "all", or the name of a disorder group
    bool cell_given = false;         // --cell, for inputs without a cell of their own
    double cell[6] = {0, 0, 0, 0, 0, 0};
};

// A fractional affine map x' = R x + t.
struct SymmetryOperation {
    double r[3][3];
    double t[3];
};

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

    int atom_count() const;
    std::vector<std::string> molecule_formulas() const;
};

// Reads path into s (a fresh Structure). block overrides settings.block. Throws Failure; the
// store's own readers end the process on bad input, which the batch runner expects.
void load_structure(Structure& s, const std::string& path, InputKind kind,
                    const ReadSettings& settings, const std::string& block);

// Names of the data blocks of a CIF file that hold atom sites, in file order. Throws Failure.
std::vector<std::string> cif_blocks_with_atoms(const std::string& path);

// Whether this build has the database reader; without it CIF files are read by the store's
// own reader.
bool database_reader_available();

}  // namespace teska::cli

#endif  // TESKA_CLI_STRUCTURE_H
