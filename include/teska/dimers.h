// Neighbour pairs of a crystal: every pair of whole molecules of the cell and its periodic
// images whose closest atoms are nearer than a cutoff, grouped into classes of pairs that the
// space group makes equal.
//
// A dimer is (i, j, t): molecule i of the cell and molecule j moved by the lattice vector t,
// with i < j, or i = j and t > 0 in dictionary order ((i, j, t) and (j, i, -t) are one pair).
// Each molecule stands where its centre of mass (atomic masses) lies in [0, 1). Every lattice
// vector that can bring two molecules within the cutoff is searched. A class is the orbit of a
// dimer under the symmetry operations; its multiplicity is the number of its dimers per cell.
#ifndef TESKA_DIMERS_H
#define TESKA_DIMERS_H

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "teska/crystal.h"
#include "teska/outputs.h"

namespace teska {

struct Dimer {
    int i = 0;
    int j = 0;
    std::array<int, 3> t{{0, 0, 0}};
};

// A molecule of the cell as the pairs place it.
struct DimerMolecule {
    std::string formula;
    std::array<double, 3> centre{{0, 0, 0}};  // fractional centre of mass, in [0, 1)
    // The lattice vector added to the model's fractional coordinates of the molecule's atoms to
    // bring its centre of mass into [0, 1).
    std::array<int, 3> shift{{0, 0, 0}};
};

struct DimerClass {
    // The representative: the dimer of the orbit with the lowest i, then j, then length of
    // t, then t. Molecule A is i, molecule B is j moved by t.
    int i = 0;
    int j = 0;
    std::array<int, 3> t{{0, 0, 0}};
    std::string formula_a;
    std::string formula_b;
    double com_distance = 0.0;     // angstrom, between the centres of mass
    double closest_contact = 0.0;  // angstrom, the smallest atom-atom distance
    std::array<int, 2> contact_atoms{{0, 0}};  // model atom indices: of A, of B
    std::array<std::string, 2> contact_labels;
    int multiplicity = 0;  // dimers of the class per cell
    int neighbours = 0;    // dimers of the class that molecule A takes part in
    // The operations (with their lattice translation) that map A onto B, as symmetry codes
    // ("-x+1/2,y+1/2,-z") with their names; empty when none does.
    std::vector<std::string> relation;
    std::vector<std::string> relation_names;
    std::vector<Dimer> orbit;  // every dimer of the cell in the class, in dimer order
    bool near_cutoff = false;  // the closest contact lies within 0.05 angstrom of the cutoff
};

struct DimerSet {
    double cutoff = 4.0;
    bool heavy_only = false;
    int operations = 0;  // distinct symmetry operations
    std::vector<DimerMolecule> molecules;
    std::vector<DimerClass> classes;  // by closest contact, then centre-of-mass distance
    int dimers_per_cell = 0;          // the multiplicities added up

    // Neighbours of the average molecule: twice the dimers per cell over the molecules.
    double neighbours_per_molecule() const;
    int near_cutoff_classes() const;
};

// The dimers of the crystal with closest contact below cutoff (angstrom, up to 50); heavy_only
// leaves hydrogens out of the contact. Throws teska::Error naming the input when the crystal
// has no cell, a molecule is bonded to its own periodic image, an operation maps a molecule onto no
// molecule of the cell, or the classes fail their accounting.
DimerSet find_dimers(const Crystal& crystal, double cutoff = 4.0, bool heavy_only = false);

// What write_dimer_inputs writes for each class: the dimer and both monomers in the one frame
// of the crystal, in each format (kXyz, kPdb, kGaussian, kOrca, kQchem).
struct DimerInputSettings {
    std::vector<Format> formats{Format::kXyz};
    std::string method = "B3LYP";
    std::string basis = "6-31G(d)";
    int nprocs = 1;
    int memory_mb = 1000;
    // Charge of each species, by its Hill formula; 0 for one not listed. The multiplicity is
    // the lowest the electron count allows (1 or 2; 1 or 2 for a dimer as well).
    std::vector<std::pair<std::string, int>> charges;
};

// Writes directory/class_NN/dimer.EXT, monomer_a.EXT and monomer_b.EXT for every class of set
// (NN its number from 01, in the set's order), creating the folders; returns the files
// written. The quantum-chemistry inputs mark the fragments (Gaussian Fragment=1/2, ORCA C(1),
// Q-Chem $molecule fragments), turn symmetry off and print the orbitals and the overlap, as
// dimer projection needs. Throws teska::Error naming a file that cannot be written or a format
// that cannot hold a dimer.
std::vector<std::string> write_dimer_inputs(const Crystal& crystal, const DimerSet& set,
                                            const std::string& directory,
                                            const DimerInputSettings& settings);

// A picture of the classes as a plain SVG document: per species its first molecule with every
// neighbour the classes give it, projected onto the molecule's mean plane, each neighbour
// coloured by its class and labelled with the class number (from 1, in the set's order).
std::string dimers_svg(const Crystal& crystal, const DimerSet& set);

// An operation as a symmetry code: "-x+1/2,y+1/2,-z".
std::string symmetry_code(const SymmetryOperation& op);

// What the operation is, as an isometry: "identity", "translation", "inversion",
// "N-fold rotation", "N-fold screw", "mirror", "glide" or "N-fold rotoinversion"; "general" for
// a map that is none of these.
std::string operation_name(const SymmetryOperation& op);

}  // namespace teska

#endif  // TESKA_DIMERS_H
