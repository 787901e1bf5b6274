// Bonded components grown lowest-index-first through a spatial index: the order in which
// atoms join a component is the order of the literal set-growing search (the next atom is
// always the lowest-numbered unplaced atom bonded to any member), at a cost that grows
// linearly with the number of atoms.
#ifndef TESKA_INDEX_BOND_GROWTH_H
#define TESKA_INDEX_BOND_GROWTH_H

#include <utility>
#include <vector>

namespace fileio_detail {

// How the fractional displacement from a candidate to a member is taken to a periodic image.
enum class ImageRule {
    kFolded,            // each axis folded into [-0.5, 0.5]; atoms stay where they are
    kDirectThenFolded,  // as placed first, then folded; a candidate bonded only through the
                        // fold moves next to its partner
    kMinimumImage,      // the shortest Cartesian image (folded, then the 26 neighbouring
                        // translations); the candidate moves by that lattice translation
    kCartesian,         // no periodicity: positions are Cartesian and latt is not used
};

// The bond test: (r_i + r_j) * bond_scale > |latt * displacement|, strictly.
struct BondRule {
    double latt[3][3];  // Cartesian = latt x fractional (cell vectors as columns)
    double bond_scale;
    ImageRule image;
    bool use_radii = true;  // false: only the explicit bonds join atoms
};

// A bond given explicitly (a bond table, a metal-ligand contact) rather than by the radius
// test: atom b moved by the lattice vector shift (fractional, whole numbers) is bonded to
// atom a, both as first given to the growth.
struct ExplicitBond {
    int a, b;
    int shift[3];
};

// Divides atoms 0 .. natoms-1 into bonded components, each started at the lowest-numbered
// atom not yet placed. Appends each component's size to *sizes and its atoms, in joining
// order, to *order. With a moving rule, x_s (three fractional coordinates per atom) is
// rewritten so that each atom sits next to its earliest-placed bonded partner.
// Explicit bonds, when given, join their atoms besides the radius test; a candidate joined
// through one moves so that the bond has its given shift. Without them the growth is the
// radius test's alone, in the same order.
void grow_components(const BondRule& rule, int natoms, double* x_s, const double* radius,
                     std::vector<int>* sizes, std::vector<int>* order,
                     const std::vector<ExplicitBond>* explicit_bonds = nullptr);

// Every pair a < b that the radius test joins over the minimum image (kMinimumImage rules).
std::vector<std::pair<int, int>> radius_bonded_pairs(const BondRule& rule, int natoms,
                                                     const double* x_s, const double* radius);

// Grows the one component that contains atom 0; returns how many atoms it placed. The
// atoms are appended to *order in joining order.
int grow_first_component(const BondRule& rule, int natoms, double* x_s, const double* radius,
                         std::vector<int>* order);

// For components grown with kMinimumImage: 1 for each component (in the order of sizes)
// that is bonded to its own periodic image, i.e. holds a bonded pair whose placed
// displacement is not its shortest image. Such a component (a framework, a polymer chain)
// cannot be made whole.
std::vector<char> components_bonded_to_own_image(const BondRule& rule, int natoms,
                                                 const double* x_s, const double* radius,
                                                 const std::vector<int>& sizes,
                                                 const std::vector<int>& order);

}  // namespace fileio_detail

#endif  // TESKA_INDEX_BOND_GROWTH_H
