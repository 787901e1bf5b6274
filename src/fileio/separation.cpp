// Division of the store's atoms into molecules, the connected pieces of the bond graph. Each
// molecule starts with the lowest-numbered atom not yet placed and grows by the lowest-numbered
// atom bonded to any member; the later output files follow this order.
#include <iostream>
#include <vector>

#include "bond_search.h"
#include "teska/fileio.h"

namespace {

using BondSearch = void (FileIO::*)(int, int*, int, int*, int*, int*, double*);

// Appends each molecule's size to mol_natoms_list and its atoms, in joining order, to
// mol_atom_list: one search call per atom added.
void grow_molecules(FileIO& store, BondSearch search) {
    const int natoms = store.natoms_cif;
    if (natoms < 1) return;
    std::vector<int> flags(natoms, 1);  // 1: not yet in a molecule
    std::vector<int> molecule(natoms);
    int size = 0;
    int assigned = 0;
    while (assigned < natoms) {
        int first = -1, second = -1;
        double distance = 0.0;
        (store.*search)(natoms, flags.data(), size, molecule.data(), &first, &second, &distance);
        if (first >= 0) {  // a seed for an empty molecule, or a bonded neighbour
            flags[first] = 0;
            molecule[size++] = first;
            continue;
        }
        if (size == 0) return;  // no atom left although the count says otherwise
        store.mol_natoms_list.push_back(size);
        store.mol_atom_list.insert(store.mol_atom_list.end(), molecule.begin(),
                                   molecule.begin() + size);
        assigned += size;
        size = 0;
    }
}

// The same molecules and order through the index.
void grow_molecules_indexed(FileIO& store, bool periodic) {
    using fileio_detail::ImageRule;
    const fileio_detail::BondRule rule = fileio_detail::store_bond_rule(
        store, periodic ? ImageRule::kFolded : ImageRule::kCartesian);
    fileio_detail::grow_components(rule, store.natoms_cif, periodic ? store.cif_x_s : store.cif_x,
                                   store.cif_radius, &store.mol_natoms_list, &store.mol_atom_list);
}

// Coordinates the index cannot take (not finite, or too large to fold exactly) go the literal
// way, which also reports a coordinate too large to fold when a pair with it is examined.
void separate(FileIO& store, bool periodic) {
    const int natoms = store.natoms_cif;
    if (natoms < 1) return;
    const double* x = periodic ? store.cif_x_s : store.cif_x;
    if (!fileio_detail::coordinates_indexable(x, 3LL * natoms))
        fileio_detail::separate_molecules_literal(store, periodic);
    else
        grow_molecules_indexed(store, periodic);
}

void report_molecules(const FileIO& store, const char* count_label, const char* sizes_label) {
    std::cout << count_label << store.mol_natoms_list.size() << "\n" << sizes_label;
    for (int size : store.mol_natoms_list) std::cout << " " << size;
    std::cout << "\n";
}

}  // namespace

namespace fileio_detail {

void separate_molecules_literal(FileIO& store, bool periodic) {
    grow_molecules(store, periodic ? &FileIO::find_bond_atom : &FileIO::find_bond_atom_cart);
}

}  // namespace fileio_detail

void FileIO::separate_cif_molecules(bool verbose) {
    separate(*this, true);
    if (verbose) report_molecules(*this, "  Unit cell nmols  = ", "  Unit cell natoms =");
}

void FileIO::separate_gjf_molecules(bool verbose) {
    separate(*this, false);
    if (verbose) report_molecules(*this, "Mol separated: nmols  = ", "Mol separated: natoms =");
}
