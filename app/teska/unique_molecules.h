// Which molecules of a cell to write: all of them, or (--unique) those that are not an image of
// an earlier molecule under the file's own symmetry operations and the lattice translations.
#ifndef TESKA_CLI_UNIQUE_MOLECULES_H
#define TESKA_CLI_UNIQUE_MOLECULES_H

#include <vector>

#include "structure.h"

namespace teska::cli {

std::vector<int> all_molecules(const Structure& s);

// Molecule j is an image of molecule i when some operation, followed by a whole lattice
// translation, puts every atom of i within 0.1 angstrom of an atom of j of the same element
// (the molecules are whole, so the translation is the one that brings the centroids
// together). A structure without a cell keeps every molecule.
std::vector<int> unique_molecules(const Structure& s);

}  // namespace teska::cli

#endif  // TESKA_CLI_UNIQUE_MOLECULES_H
