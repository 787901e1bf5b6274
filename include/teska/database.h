// The database reader: reads real-world CIF files (any CIF 1.1 layout, the usual breakages of
// database files) into the structure store, with whole molecules, one entry per molecule.
// Independent of the line reader behind cif2pdb; errors are raised, never fatal.
#ifndef TESKA_DATABASE_H
#define TESKA_DATABASE_H

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "teska/error.h"

class FileIO;

namespace teska {


enum class DisorderMode {
    kMajor,  // atoms outside disorder groups and, per assembly, the group of highest occupancy
    kAll,    // every site
    kGroup,  // atoms outside disorder groups and the group named in ReadOptions::disorder_group
};

// Where the bonds that make molecules come from.
enum class BondSource {
    kRadii,  // the bonding radii times the bond scale
    kFile,   // the file's bond table (_geom_bond_*); the radii when the file has none
    kBoth,   // the radii, and the table's bonds beyond them
};

struct ReadOptions {
    std::string block;  // data block name; empty: the first block with atom sites
    DisorderMode disorder = DisorderMode::kMajor;
    std::string disorder_group;  // with DisorderMode::kGroup; assemblies without it keep
                                 // their major part
    double bond_scale = 1.15;
    BondSource bonds = BondSource::kBoth;
    // Without a bond table in use: a transition metal and a donor atom (C, N, O, P, S,
    // halogens) within the sum of their covalent radii plus a coordination tolerance are
    // bonded, even beyond the bonding radii.
    bool metal_bonds = true;
    // Images of the kept sites under the operations (the atoms before merging) beyond which
    // the read is an error: its time and memory grow with them.
    long long max_cell_atoms = 20000000;
};

// What was read beside the store's contents.
struct CrystalInfo {
    std::string file;
    std::string block;
    std::string spacegroup;                  // H-M name as used, or as given
    int spacegroup_number = 0;               // 0 when the operations form no group of the table
    std::string symmetry_source;             // "loop", "Hall", "H-M", "number" or "none"
    double cell[6] = {0, 0, 0, 0, 0, 0};     // a, b, c (angstrom), alpha, beta, gamma (deg)
    double cell_su[6] = {0, 0, 0, 0, 0, 0};  // their standard uncertainties, 0 when not given
    int sites = 0;                           // atom sites read (dummies and the like left out)
    // The file's symmetry operations as fractional affine maps, row-major 3x4 [R | t].
    std::vector<std::vector<double>> operations;
    int atoms = 0;      // atoms in the cell
    int molecules = 0;  // entries of the store's molecule arrays
    // Per molecule: 1 when it is bonded to its own periodic image (kept as one residue, not whole).
    std::vector<char> periodic;
    std::vector<std::string> formulas;                 // per molecule, Hill order ("C14H10")
    int disorder_left_out = 0;                         // sites left out by the disorder choice
    std::vector<std::string> disorder_left_out_sites;  // their labels, in file order
    std::vector<std::string> warnings;                 // formatted like Error::what()
    // Per atom of the cell (the store's crystal arrays, natoms_cif): its site's label and
    // occupancy.
    std::vector<std::string> atom_labels;
    std::vector<double> atom_occupancies;
    // The bonds the molecules were made with, as pairs of cell atoms (a < b, sorted), and how
    // many bonds of the cell the file's bond table added beyond the radii.
    std::vector<std::pair<int, int>> bonds;
    // Per bond, where it came from: the bonding radii, the file's bond table or the
    // metal-ligand rule.
    enum class BondOrigin : char { kRadii, kTable, kMetal };
    std::vector<BondOrigin> bond_origins;
    int table_bonds = 0;
    int metal_bonds = 0;  // metal-ligand bonds of the cell added beyond the radii
};

// Reads one data block of a CIF file into the store: the cell (cell_latt, cell_latt3x3 and
// its inverse), the atoms of the full cell (natoms_cif, cif_atypes, cif_x_s, cif_x), the
// molecule lists (mol_natoms_list, mol_atom_list) and the per-molecule arrays with whole
// molecules and each centre of mass in the cell, as read_crystal_strcuture_files leaves them,
// so that every writer of the store works on the result. Throws teska::Error.
CrystalInfo read_database_cif(FileIO& store, const std::string& path,
                              const ReadOptions& options = {});
// The same from text in memory; name stands for the file in messages.
CrystalInfo read_database_cif_text(FileIO& store, const std::string& text, const std::string& name,
                                   const ReadOptions& options = {});
// Names of the data blocks that hold atom sites, in file order. Throws teska::Error.
std::vector<std::string> database_blocks_with_atoms(const std::string& path);

// The outcome of one data block when every block is read.
struct BlockResult {
    std::string block;
    bool ok = false;
    CrystalInfo info;   // when ok
    std::string error;  // Error::what() when not ok
};

// Reads every data block that holds atom sites (ReadOptions::block is ignored), each into a
// fresh store that is handed to on_block, when given, before the next block is read. Throws
// teska::Error only when the file cannot be read or parsed; a block that fails is reported
// in its result and the others are read.
std::vector<BlockResult> read_database_cif_every_block(
    const std::string& path, const ReadOptions& options = {},
    const std::function<void(FileIO&, const CrystalInfo&)>& on_block = nullptr);

}  // namespace teska

#endif  // TESKA_DATABASE_H
