// The crystal model: a structure read from a CIF, PDB, XYZ or MDL file, its cell and symmetry,
// its atoms in molecule order, the whole molecules with their bonds, the species (kinds of
// molecule) and the symmetry-unique molecules, and writing it in every format of outputs.h.
// The model owns every value it hands out and never prints; failures are teska::Error.
#ifndef TESKA_CRYSTAL_H
#define TESKA_CRYSTAL_H

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "teska/error.h"
#include "teska/outputs.h"

namespace teska {

// How to read an input.
struct ReadSettings {
    bool strict = false;             // CIF only: the store's own reader and pipeline, as cif2pdb
    std::string block;               // data block; empty: the first block with atoms
    std::string disorder = "major";  // "major", "all", or the name of a disorder group
    std::string bonds = "both";      // CIF: "radii", "file" (the file's bond table) or "both"
    bool metal_bonds = true;         // CIF: metal-ligand bonds where no bond table is used
    std::optional<std::array<double, 6>> cell;  // a, b, c, alpha, beta, gamma for an input
                                                // without a cell of its own
};

// A fractional affine map x' = R x + t.
struct SymmetryOperation {
    double r[3][3];
    double t[3];
};

struct Bond {
    int a, b;  // atom indices within the molecule, a < b
};

// Bonds of a molecule that the file's bond table, or the metal-ligand rule, added beyond
// the radius test.
struct AddedBonds {
    int table = 0;
    int metal = 0;
};

struct Molecule {
    int first_atom = 0;  // the molecule's atoms are first_atom .. first_atom + atom_count - 1
    int atom_count = 0;
    bool periodic = false;  // bonded to its own periodic image: kept as placed in the cell
    std::string formula;    // Hill order
};

// A kind of molecule: the same elements bonded the same way.
struct Species {
    std::string formula;
    int count = 0;                // molecules of the cell of this kind
    int representative = 0;       // its first molecule
    std::vector<int> molecules;   // all of them, in cell order
};

// A molecule of the cell that the symmetry operations do not make from an earlier one, with
// the molecules it stands for: molecule images[k] = operation operations[k] applied to it,
// moved by the lattice vector shifts[k] (the unique molecule itself is the first image).
struct UniqueMolecule {
    int molecule = 0;
    std::vector<int> images;
    std::vector<int> operations;
    std::vector<std::array<int, 3>> shifts;
};

class Crystal {
   public:
    // Reads the file; its kind comes from the extension (.pdb/.ent, .xyz, .mol/.sdf/.mdl; CIF
    // otherwise).
    static Crystal read(const std::string& path, const ReadSettings& settings = {});
    // Reads text of the given format ("cif", "pdb", "xyz", "mol"); name stands for it in
    // errors and warnings.
    static Crystal read_text(const std::string& text, const std::string& format,
                             const std::string& name, const ReadSettings& settings = {});
    // The names of the data blocks of a CIF file that hold atom sites, in file order.
    static std::vector<std::string> cif_blocks(const std::string& path);

    // ----- What was read -----
    const std::string& file() const;
    const std::string& reader() const;  // "database", "strict", "pdb", "xyz" or "molfile"
    const std::string& block() const;
    const std::string& title() const;  // what writers put in their title lines
    bool has_cell() const;
    std::array<double, 6> cell() const;                // zeros without a cell
    std::array<std::array<double, 3>, 3> lattice() const;  // rows a, b, c in angstrom
    const std::string& spacegroup() const;
    const std::string& symmetry_source() const;  // "loop", "Hall", "H-M", "number" or "none"
    const std::vector<SymmetryOperation>& operations() const;  // at least the identity
    int disorder_left_out() const;
    // "FILE:LINE:COLUMN: warning: message", "FILE: warning: message".
    const std::vector<std::string>& warnings() const;

    // ----- Atoms, molecule after molecule -----
    int atom_count() const;
    const std::vector<int>& elements() const;  // atomic numbers; 0 for an unknown element
    std::string symbol(int atom) const;        // "C", "Cl"; "X" for an unknown element
    const std::vector<std::string>& labels() const;  // the file's site labels or atom names
    const std::vector<double>& occupancies() const;
    const std::vector<double>& positions() const;   // Cartesian angstrom, 3 per atom
    const std::vector<double>& fractional() const;  // 3 per atom; empty without a cell
    std::string formula() const;                    // of the cell, Hill order

    // ----- Molecules -----
    const std::vector<Molecule>& molecules() const;
    // Pairs of atoms of the molecule within bonding distance (the bond test of the reader
    // that built it; across the cell faces for a periodic one), sorted. For a CIF read by the
    // database reader, the bonds it built the molecules with (the file's table included).
    const std::vector<Bond>& bonds(int molecule) const;
    // Of the molecule's bonds, those added beyond the radius test, by where they came from.
    AddedBonds added_bonds(int molecule) const;
    // Bonds of the cell that the file's bond table added beyond the radius test.
    int table_bonds() const;
    // Metal-ligand bonds of the cell added beyond the radii where no bond table was used.
    int metal_bonds() const;
    const std::vector<Species>& species() const;
    const std::vector<int>& molecule_species() const;  // per molecule, index into species()
    const std::vector<UniqueMolecule>& unique_molecules() const;

    // ----- Writing -----
    // Writes to path: one file for the cell, or one per molecule (NAME_01.xyz, NAME-01.com).
    // Returns the files written.
    std::vector<std::string> write(const std::string& path, const WriteSettings& settings) const;
    // Writes to the names of target through staging; the caller commits. input names the
    // input in errors.
    void write_staged(const std::string& input, const WriteSettings& settings,
                      const OutputTarget& target, StagedOutputs& staging) const;

    struct Data;

   private:
    explicit Crystal(std::shared_ptr<Data> data) : data_(std::move(data)) {}
    // Reads path; errors and warnings name it name.
    static Crystal read_text_or_file(const std::string& path, const std::string& name,
                                     const ReadSettings& settings);
    std::shared_ptr<Data> data_;
};

// Whether path is read as a CIF file: every name but .pdb/.ent, .xyz, .mol/.sdf/.mdl.
bool is_cif_input(const std::string& path);

// The Hill formula of atomic numbers: with carbon, C then H then the rest alphabetically;
// without carbon, every element alphabetically; unknown elements as "X".
std::string hill_formula(const std::vector<int>& atomic_numbers);

// Formulas grouped in order of first appearance with their counts: "C10H8 x2, H2O x4".
std::string grouped_formulas(const std::vector<std::string>& formulas);

}  // namespace teska

#endif  // TESKA_CRYSTAL_H
