// Species: molecules of the same elements bonded the same way. Atoms are first coloured by
// element and refined by their neighbours' colours (the same colours across all molecules), so
// that molecules of one species have the same colours; an atom-to-atom match of each molecule
// onto its species' first molecule then confirms it.
#ifndef TESKA_CRYSTAL_SPECIES_H
#define TESKA_CRYSTAL_SPECIES_H

#include <optional>
#include <vector>

#include "teska/crystal.h"

namespace teska::crystal_detail {

// One molecule as a graph: element per atom, bonds as pairs within it.
struct MoleculeGraph {
    std::vector<int> elements;
    std::vector<Bond> bonds;
};

// The species of each molecule, numbered in order of first appearance.
std::vector<int> species_of(const std::vector<MoleculeGraph>& molecules);

// A map of the atoms of a onto those of b (b's atom for each atom of a) that keeps elements
// and bonds; none when there is none. Gives up (none) after max_steps trial assignments.
std::optional<std::vector<int>> match_atoms(const MoleculeGraph& a, const MoleculeGraph& b,
                                            long long max_steps = 1000000);

}  // namespace teska::crystal_detail

#endif  // TESKA_CRYSTAL_SPECIES_H
