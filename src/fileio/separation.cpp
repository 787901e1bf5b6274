// Division of the store's atoms into molecules, the connected pieces of the bond graph. Each
// molecule starts with the lowest-numbered atom not yet placed and grows by the lowest-numbered
// atom bonded to any member; the later output files follow this order.
#include <iostream>
#include <vector>

#include "fileio.h"

namespace {

using BondSearch = void (FileIO::*)(int, int*, int, int*, int*, int*, double*);

// Appends each molecule's size to mol_natoms_list and its atoms, in joining order, to
// mol_atom_list.
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

void report_molecules(const FileIO& store, const char* count_label, const char* sizes_label) {
    std::cout << count_label << store.mol_natoms_list.size() << "\n" << sizes_label;
    for (int size : store.mol_natoms_list) std::cout << " " << size;
    std::cout << "\n";
}

}  // namespace

void FileIO::separate_cif_molecules(bool verbose) {
    grow_molecules(*this, &FileIO::find_bond_atom);
    if (verbose) report_molecules(*this, "  Unit cell nmols  = ", "  Unit cell natoms =");
}

void FileIO::separate_gjf_molecules(bool verbose) {
    grow_molecules(*this, &FileIO::find_bond_atom_cart);
    if (verbose) report_molecules(*this, "Mol separated: nmols  = ", "Mol separated: natoms =");
}
