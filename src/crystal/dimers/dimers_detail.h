// The steps of the dimer search: placing the molecules by their centres of mass, finding the
// pairs within reach, and the molecule each symmetry operation makes of each molecule.
#ifndef TESKA_CRYSTAL_DIMERS_DETAIL_H
#define TESKA_CRYSTAL_DIMERS_DETAIL_H

#include <array>
#include <vector>

#include "teska/dimers.h"

namespace teska::dimers_detail {

// The molecules of the cell, each moved by the lattice vector that brings its centre of mass
// into [0, 1).
struct Placed {
    std::string file;
    double lattice[3][3] = {};     // rows a, b, c in angstrom
    double reciprocal[3] = {};     // fractional extent of one angstrom along each axis
    std::vector<DimerMolecule> molecules;
    std::vector<int> first_atom;   // of each molecule in the model
    std::vector<std::vector<int>> elements;
    std::vector<std::vector<double>> fractional;  // 3 per atom, moved
    std::vector<std::vector<double>> cartesian;   // 3 per atom, moved
    std::vector<std::array<double, 3>> centre;    // Cartesian centre of mass
    std::vector<double> radius;       // largest distance of an atom from the centre
    std::vector<int> composition;     // equal for molecules with the same atoms of each element

    std::array<double, 3> to_cartesian(const double f[3]) const;
};

// Throws when the crystal has no cell or a molecule is bonded to its own image.
Placed place_molecules(const Crystal& crystal);

// Molecule centres binned on a periodic grid, for finding the molecules (and the lattice
// vector) whose centres lie near a fractional point.
class CentreGrid {
   public:
    // reach: the largest fractional offset per axis that queries will ask about.
    CentreGrid(const std::vector<DimerMolecule>& molecules, const double reach[3]);
    // Calls visit(j, t) for every molecule j whose centre moved by t may lie within reach[k]
    // of p along each axis k (a superset: the caller tests each).
    template <typename Visit>
    void for_each_near(const double p[3], const double reach[3], Visit visit) const {
        int lo[3], hi[3];
        for (int k = 0; k < 3; ++k) {
            lo[k] = floor_int((p[k] - reach[k]) * bins_[k]);
            hi[k] = floor_int((p[k] + reach[k]) * bins_[k]);
        }
        for (int u0 = lo[0]; u0 <= hi[0]; ++u0)
            for (int u1 = lo[1]; u1 <= hi[1]; ++u1)
                for (int u2 = lo[2]; u2 <= hi[2]; ++u2) {
                    const int u[3] = {u0, u1, u2};
                    std::array<int, 3> t;
                    int cell = 0;
                    for (int k = 0; k < 3; ++k) {
                        const int b = ((u[k] % bins_[k]) + bins_[k]) % bins_[k];
                        t[static_cast<std::size_t>(k)] = (u[k] - b) / bins_[k];
                        cell = cell * bins_[k] + b;
                    }
                    for (int j : cells_[static_cast<std::size_t>(cell)]) visit(j, t);
                }
    }

   private:
    static int floor_int(double v);
    int bins_[3] = {1, 1, 1};
    std::vector<std::vector<int>> cells_;
};

struct Contact {
    double distance = 0.0;
    int a = -1;  // model atom index in molecule i, -1 when no atoms take part
    int b = -1;  // model atom index in molecule j
};

struct FoundDimer {
    Dimer dimer;
    Contact contact;
};

// The closest contact between molecule i and molecule j moved by t.
Contact closest_contact(const Placed& placed, int i, int j, const std::array<int, 3>& t,
                        bool heavy_only);

// Every dimer (i, j, t) of rule form whose closest contact is below cutoff.
std::vector<FoundDimer> search_dimers(const Placed& placed, double cutoff, bool heavy_only);

// The symmetry operations with duplicates (equal rotation, translation equal modulo the
// lattice) left out, in first-seen order.
std::vector<SymmetryOperation> distinct_operations(const std::vector<SymmetryOperation>& ops);

// What an operation makes of each molecule k: molecule image[k] moved by shift[k].
struct MoleculeImages {
    std::vector<int> image;
    std::vector<std::array<int, 3>> shift;
};

// Per operation; confirmed atom by atom. Throws when an operation maps a molecule onto none.
std::vector<MoleculeImages> molecule_images(const Placed& placed,
                                            const std::vector<SymmetryOperation>& ops);

}  // namespace teska::dimers_detail

#endif  // TESKA_CRYSTAL_DIMERS_DETAIL_H
