// The store's side of the bond searches: the literal set-growing searches, the store's bond
// rule for the indexed growth, and the test that picks one or the other. The pair tests that
// both evaluate are the index's (pair_tests.h).
#ifndef CIF2PDB_BOND_SEARCH_H
#define CIF2PDB_BOND_SEARCH_H

#include "bond_growth.h"
#include "pair_tests.h"

class FileIO;

namespace fileio_detail {

// The store's lattice matrix and bond_scale with the given image rule.
BondRule store_bond_rule(const FileIO& store, ImageRule image);

// Separation in the literal way: one set-growing search call per atom added. periodic picks
// the folded search over fractional coordinates, else the search over Cartesian ones.
void separate_molecules_literal(FileIO& store, bool periodic);

// Growth of the piece that holds atom 0 in the literal way, moving atoms across cell faces;
// returns how many atoms were placed.
int grow_whole_piece_literal(FileIO& store, int natoms, double* x_s, double* radius);

// Whether every coordinate is finite and small enough for the index (beyond it the literal
// searches run, which also report coordinates too large to fold).
bool coordinates_indexable(const double* x, long long count);

}  // namespace fileio_detail

#endif  // CIF2PDB_BOND_SEARCH_H
