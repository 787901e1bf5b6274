// Invariants of an accepted crystal: the molecules partition the cell and the PDB model lists
// each atom once.
#include "invariants.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "teska/fileio.h"

namespace fuzz_support {

void invariant_broken(const std::string& what) {
    std::fprintf(stderr, "fuzz: invariant broken: %s\n", what.c_str());
    std::abort();
}

void check_molecule_partition(const FileIO& store) {
    const int natoms = store.natoms_cif;
    long long listed = 0;
    for (int size : store.mol_natoms_list) {
        if (size < 1) invariant_broken("a molecule without atoms");
        listed += size;
    }
    if (listed != natoms || store.mol_atom_list.size() != static_cast<std::size_t>(listed))
        invariant_broken("molecule sizes " + std::to_string(listed) + " and list of " +
                         std::to_string(store.mol_atom_list.size()) + " for " +
                         std::to_string(natoms) + " atoms");
    std::vector<char> seen(static_cast<std::size_t>(natoms > 0 ? natoms : 0), 0);
    for (int atom : store.mol_atom_list) {
        if (atom < 0 || atom >= natoms) invariant_broken("atom " + std::to_string(atom));
        if (seen[atom]++) invariant_broken("atom " + std::to_string(atom) + " listed twice");
    }
}

void check_molecule_arrays(const FileIO& store) {
    if (store.nmols != static_cast<int>(store.mol_natoms_list.size()))
        invariant_broken("nmols " + std::to_string(store.nmols) + " for " +
                         std::to_string(store.mol_natoms_list.size()) + " molecules");
    for (int i = 0; i < store.nmols; ++i)
        if (store.mol_natoms[i] != store.mol_natoms_list[i])
            invariant_broken("molecule " + std::to_string(i + 1) + " has " +
                             std::to_string(store.mol_natoms[i]) + " atoms, listed " +
                             std::to_string(store.mol_natoms_list[i]));
}

void check_cell_model(const FileIO& store, const std::string& pdb) {
    long long records = 0;
    for (std::size_t line = 0; line < pdb.size();) {
        if (pdb.compare(line, 6, "ATOM  ") == 0) ++records;
        const std::size_t end = pdb.find('\n', line);
        line = end == std::string::npos ? pdb.size() : end + 1;
    }
    if (records != store.natoms_cif)
        invariant_broken(std::to_string(records) + " ATOM records for " +
                         std::to_string(store.natoms_cif) + " atoms");
    const std::string tail = "TER\nENDMDL\n";
    if (pdb.size() < tail.size() || pdb.compare(pdb.size() - tail.size(), tail.size(), tail) != 0)
        invariant_broken("the model does not end with TER and ENDMDL");
}

}  // namespace fuzz_support
