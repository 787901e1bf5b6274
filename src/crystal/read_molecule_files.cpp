// PDB, XYZ and MDL molfile inputs through the store's own readers. A PDB file with a real
// CRYST1 cell is a crystal; the others are crystals when --cell gives them a cell. A crystal's
// atoms are wrapped into the cell, divided into molecules by the periodic bond test and made
// whole by the store's pipeline, as a CIF file's are; without a cell the molecules are the
// bonded pieces as the file places them.
#include <cmath>
#include <fstream>
#include <string>
#include <vector>

#include "teska/paths.h"
#include "store_arrays.h"
#include "structure_readers.h"

namespace teska::crystal_detail {

namespace {

constexpr int kSourceCif = 2;

// The store's arrays that teska fills itself, allocated as the store's own, with one element
// to spare.
template <typename T>
T* new_store_array(std::size_t count) {
    return fileio_detail::new_store_array<T>(static_cast<long long>(count) + 1);
}

// PDB files of structures that are not crystals carry the placeholder cell 1 1 1 90 90 90.
bool is_real_cell(const double cell[6]) {
    for (int k = 0; k < 6; ++k)
        if (!std::isfinite(cell[k]) || cell[k] <= 0.0) return false;
    const bool placeholder = cell[0] == 1.0 && cell[1] == 1.0 && cell[2] == 1.0 &&
                             cell[3] == 90.0 && cell[4] == 90.0 && cell[5] == 90.0;
    return !placeholder;
}

void set_cell(FileIO& store, const std::string& path, const double cell[6]) {
    for (int k = 0; k < 6; ++k) store.cell_latt[k] = cell[k];
    double lattice[3][3];
    store.cell_cell6_to_latt3x3(store.cell_latt, lattice);
    for (const auto& row : store.cell_latt3x3)
        for (double entry : row)
            if (!std::isfinite(entry))
                throw Error(path, 0, 0, "the cell " + std::to_string(cell[0]) + " " +
                                        std::to_string(cell[1]) + " " + std::to_string(cell[2]) +
                                        " " + std::to_string(cell[3]) + " " +
                                        std::to_string(cell[4]) + " " + std::to_string(cell[5]) +
                                        " is not a valid lattice");
}

// Bonding radii of the crystal atoms, as the CIF reader gives them; an unknown element bonds
// to nothing.
std::vector<double> bonding_radii(const FileIO& store) {
    std::vector<double> radii(static_cast<std::size_t>(store.natoms_cif), 0.0);
    for (int i = 0; i < store.natoms_cif; ++i) {
        const int row = store.cif_atypes[i];
        if (row > 0 && row < kBondingRadiusEntries) radii[i] = nw_elem_radius_m[row];
    }
    return radii;
}

void warn_about_unknown_elements(Structure& s, const std::string& path) {
    int unknown = 0;
    for (int i = 0; i < s.store.natoms_cif; ++i)
        if (s.store.cif_atypes[i] <= 0 || s.store.cif_atypes[i] >= kElementRows) ++unknown;
    if (unknown > 0)
        s.warnings.push_back(path + ": " + std::to_string(unknown) +
                             " atoms of unknown element, written as X");
}

// Fractional coordinates wrapped into [0,1), and the Cartesian ones that follow from them.
void wrap_atoms_into_cell(FileIO& store) {
    store.cif_x_s = new_store_array<double>(3 * static_cast<std::size_t>(store.natoms_cif));
    for (int i = 0; i < store.natoms_cif; ++i) {
        double* f = &store.cif_x_s[3 * i];
        store.coord_c2f(&store.cif_x[3 * i], f);
        for (int d = 0; d < 3; ++d) {
            f[d] -= std::floor(f[d]);
            if (f[d] >= 1.0) f[d] = 0.0;  // -1e-17 wraps to 1.0 in floating point
        }
        store.coord_f2c(f, &store.cif_x[3 * i]);
    }
}

// Divides the crystal atoms into molecules by the bond test (periodic or as placed), which the
// structure keeps for the molecules' bonds.
void separate_molecules(Structure& s, bool periodic) {
    FileIO& store = s.store;
    s.bond_radii = bonding_radii(store);
    s.bond_scale = store.bond_scale;
    store.cif_radius = s.bond_radii.data();
    if (periodic)
        store.separate_cif_molecules(false);
    else
        store.separate_gjf_molecules(false);
    store.cif_radius = nullptr;
}

void build_crystal_molecules(Structure& s) {
    FileIO& store = s.store;
    wrap_atoms_into_cell(store);
    separate_molecules(s, true);
    store.is_periodic = true;
    store.input_kind = kSourceCif;
    store.read_crystal_strcuture_files(false, false);
    s.has_cell = true;
}

// Without a cell: each bonded piece, as placed, is one molecule; there are no fractional
// coordinates.
void build_loose_molecules(Structure& s) {
    FileIO& store = s.store;
    separate_molecules(s, false);
    store.nmols = static_cast<int>(store.mol_natoms_list.size());
    store.mol_natoms = new_store_array<int>(static_cast<std::size_t>(store.nmols));
    store.mol_atypes = new_store_array<int*>(static_cast<std::size_t>(store.nmols));
    store.mol_x = new_store_array<double*>(static_cast<std::size_t>(store.nmols));
    store.mol_x_s = nullptr;
    std::size_t next = 0;
    for (int m = 0; m < store.nmols; ++m) {
        const int n = store.mol_natoms_list[m];
        store.mol_natoms[m] = n;
        store.mol_atypes[m] = new_store_array<int>(static_cast<std::size_t>(n));
        store.mol_x[m] = new_store_array<double>(3 * static_cast<std::size_t>(n));
        for (int k = 0; k < n; ++k) {
            const int atom = store.mol_atom_list[next++];
            store.mol_atypes[m][k] = store.cif_atypes[atom];
            for (int d = 0; d < 3; ++d) store.mol_x[m][3 * k + d] = store.cif_x[3 * atom + d];
        }
    }
    s.has_cell = false;
}

// Crystal with the cell given, loose molecules without one.
void build_molecules(Structure& s, const std::string& path, const double* cell) {
    s.store.identifier = base_of(stem_of(path));
    warn_about_unknown_elements(s, path);
    if (cell != nullptr) {
        set_cell(s.store, path, cell);
        build_crystal_molecules(s);
    } else {
        build_loose_molecules(s);
    }
}

std::vector<std::string> lines_of(const std::string& path) {
    std::ifstream in(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

std::string trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos) return std::string();
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

}  // namespace

void read_pdb_input(Structure& s, const std::string& path, const ReadSettings& settings) {
    FileIO& store = s.store;
    // The reader keeps the store's cell when the file has no CRYST1 record: a unit cube keeps
    // its fractional coordinates finite until the real choice below.
    const double unit_cube[6] = {1, 1, 1, 90, 90, 90};
    for (int k = 0; k < 6; ++k) store.cell_latt[k] = unit_cube[k];
    std::string cell_record;
    std::vector<std::string> names;  // columns 13-16 of the lines the store reads as atoms
    for (const std::string& line : lines_of(path)) {
        if (line.find("CRYST1") != std::string::npos) cell_record = line;
        if (line.find("ATOM") != std::string::npos)
            names.push_back(line.size() > 12 ? trimmed(line.substr(12, 4)) : std::string());
    }
    store.read_data_pdb(path.c_str());
    s.reader = "pdb";
    if (names.size() == static_cast<std::size_t>(store.natoms_cif)) s.atom_labels = names;

    if (!cell_record.empty() && is_real_cell(store.cell_latt)) {
        const double cell[6] = {store.cell_latt[0], store.cell_latt[1], store.cell_latt[2],
                                store.cell_latt[3], store.cell_latt[4], store.cell_latt[5]};
        s.spacegroup = cell_record.size() > 55 ? trimmed(cell_record.substr(55, 11)) : "";
        if (!s.spacegroup.empty() && s.spacegroup != "P 1" && s.spacegroup != "P1")
            s.warnings.push_back(
                path + ": space group " + s.spacegroup +
                " of CRYST1 is not applied: the atoms are taken as the whole cell");
        build_molecules(s, path, cell);
    } else {
        build_molecules(s, path, settings.cell ? settings.cell->data() : nullptr);
    }
}

void read_xyz_input(Structure& s, const std::string& path, const ReadSettings& settings) {
    s.store.read_data_xyz(path.c_str());
    s.reader = "xyz";
    build_molecules(s, path, settings.cell ? settings.cell->data() : nullptr);
}

void read_molfile_input(Structure& s, const std::string& path, const ReadSettings& settings) {
    FileIO& store = s.store;
    const std::vector<std::string> lines = lines_of(path);
    const bool v3000 = lines.size() > 3 && lines[3].find("V3000") != std::string::npos;
    // V3000 atoms go to the crystal arrays, which the caller sizes: a file cannot hold more
    // atoms than lines.
    const int capacity = static_cast<int>(lines.size()) + 1;
    store.natoms_cif = capacity;
    store.cif_atypes = new_store_array<int>(static_cast<std::size_t>(capacity));
    for (int i = 0; i < capacity; ++i) store.cif_atypes[i] = -1;
    store.cif_x = new_store_array<double>(3 * static_cast<std::size_t>(capacity));
    store.nmols = 1;
    store.mol_natoms = new_store_array<int>(1);
    store.mol_atypes = new_store_array<int*>(1);
    store.mol_x = new_store_array<double*>(1);
    store.mol_x_s = new_store_array<double*>(1);

    store.read_data_mol(path.c_str(), 0, false);
    s.reader = "molfile";
    const int n = std::min(std::max(store.mol_natoms[0], 0), capacity);
    if (!v3000) {
        for (int i = 0; i < n; ++i) {
            store.cif_atypes[i] = store.mol_atypes[0][i];
            for (int d = 0; d < 3; ++d) store.cif_x[3 * i + d] = store.mol_x[0][3 * i + d];
        }
    }
    store.natoms_cif = n;
    store.nmols = 0;
    build_molecules(s, path, settings.cell ? settings.cell->data() : nullptr);
}

}  // namespace teska::crystal_detail
