// The symmetry-unique molecules of a cell: those that are not an image of an earlier molecule
// under the file's own symmetry operations and the lattice translations, each with the
// molecules it stands for.
#ifndef TESKA_CRYSTAL_UNIQUE_MOLECULES_H
#define TESKA_CRYSTAL_UNIQUE_MOLECULES_H

#include <vector>

#include "structure.h"

namespace teska::crystal_detail {

// Molecule j is an image of molecule i when some operation, followed by a whole lattice
// translation, puts every atom of i within 0.1 angstrom of an atom of j of the same element
// (the molecules are whole, so the translation is the one that brings the centroids
// together). A molecule that is an image of several earlier unique ones is listed under the
// first. A structure without a cell keeps every molecule, each standing for itself.
std::vector<UniqueMolecule> unique_molecules(const Structure& s);

}  // namespace teska::crystal_detail

#endif  // TESKA_CRYSTAL_UNIQUE_MOLECULES_H
