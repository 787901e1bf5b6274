// Crystal-structure pipeline: turns what a reader left in the store into per-molecule arrays
// of whole molecules, prepares the cell in all its forms, and on request writes the bond list
// of each molecule and the cell vectors as side files.
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "element_rows.h"
#include "fatal.h"
#include "teska/fileio.h"
#include "teska/mmutil.h"
#include "molecule_arrays.h"
#include "store_arrays.h"

using fileio_detail::allocate_molecule_arrays;
using fileio_detail::derive_cell_forms;
using fileio_detail::new_store_array;

namespace {

constexpr int kSourceMolfiles = 1;
constexpr int kSourceCif = 2;

// Copies each separated molecule's atoms out of the crystal arrays, in separation order.
void copy_cif_molecules(FileIO& s) {
    int start = 0;
    for (int i = 0; i < s.nmols; ++i) {
        const int n = s.mol_natoms_list[i];
        s.mol_natoms[i] = n;
        fileio_detail::name_molecule_file(s, i);
        s.mol_atypes[i] = new_store_array<int>(n);
        s.mol_x[i] = new_store_array<double>(3LL * n);
        s.mol_x_s[i] = new_store_array<double>(3LL * n);
        for (int k = 0; k < n; ++k) {
            const int atom = s.mol_atom_list[start + k];
            s.mol_atypes[i][k] = s.cif_atypes[atom];
            for (int d = 0; d < 3; ++d) {
                s.mol_x[i][3 * k + d] = s.cif_x[3 * atom + d];
                s.mol_x_s[i][3 * k + d] = s.cif_x_s[3 * atom + d];
            }
        }
        start += n;
    }
}

void make_molecules_whole(FileIO& s, bool verbose) {
    if (verbose) std::printf("Make whole molecules...\n");
    for (int i = 0; i < s.nmols; ++i) {
        const int n = s.mol_natoms[i];
        s.make_whole_molecule(i + 1, n, s.mol_atypes[i], s.mol_x_s[i], verbose);
        for (int k = 0; k < n; ++k) s.coord_f2c(&s.mol_x_s[i][3 * k], &s.mol_x[i][3 * k]);
    }
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) s.cell_vectors[r][c] = s.cell_latt3x3[c][r];
}

FILE* open_side_file(const std::string& path) {
    FILE* out = std::fopen(path.c_str(), "w");
    if (!out) FILEIO_FATAL(kStatusFailure, stdout, "Failed to open output file %s\n", path.c_str());
    return out;
}

// Bonds among the atoms of one whole molecule by covalent radii, pairs j < k in order.
std::vector<std::pair<int, int>> covalent_bonds(const FileIO& s, int imol) {
    std::vector<std::pair<int, int>> bonds;
    const int n = s.mol_natoms[imol];
    const int* atypes = s.mol_atypes[imol];
    const double* x = s.mol_x[imol];
    for (int j = 0; j < n; ++j) {
        const double rj = fileio_detail::element_record_or_dummy(atypes[j]).covalent_radius / 250.0;
        for (int k = j + 1; k < n; ++k) {
            const double rk =
                fileio_detail::element_record_or_dummy(atypes[k]).covalent_radius / 250.0;
            double v[3] = {x[3 * k] - x[3 * j], x[3 * k + 1] - x[3 * j + 1],
                           x[3 * k + 2] - x[3 * j + 2]};
            if (mmutil::get_magnitude(v) < (rj + rk) * s.bond_scale) bonds.emplace_back(j, k);
        }
    }
    return bonds;
}

void write_bond_file(const FileIO& s, int imol) {
    const std::string path = s.data_dir + "/mol" + std::to_string(imol + 1) + "_bonds.dat";
    FILE* out = open_side_file(path);
    const std::vector<std::pair<int, int>> bonds = covalent_bonds(s, imol);
    std::fprintf(out, "%d\n", static_cast<int>(bonds.size()));
    for (const auto& bond : bonds)
        std::fprintf(out, "%3d %3d  0  0\n", bond.first + 1, bond.second + 1);
    std::fclose(out);
}

void write_cell_vector_file(const FileIO& s) {
    FILE* out = open_side_file(s.data_dir + "/cellvec.dat");
    const char* names[3] = {"a", "b", "c"};
    for (int v = 0; v < 3; ++v)
        std::fprintf(out, "%s = %9g %9g %9g\n", names[v], s.cell_latt3x3_copy[0][v],
                     s.cell_latt3x3_copy[1][v], s.cell_latt3x3_copy[2][v]);
    std::fclose(out);
}

void write_side_files_of(const FileIO& s) {
    mmutil::create_directory(s.data_dir.c_str());
    for (int i = 0; i < s.nmols; ++i) write_bond_file(s, i);
    write_cell_vector_file(s);
}

}  // namespace

namespace fileio_detail {

constexpr int kMolFileNameSize = 20;

void allocate_molecule_arrays(FileIO& s) {
    if (s.nmols == 0) return;
    s.mol_natoms = new_store_array<int>(s.nmols);
    s.mol_atypes = new_store_array<int*>(s.nmols);
    s.mol_x = new_store_array<double*>(s.nmols);
    s.mol_x_s = new_store_array<double*>(s.nmols);
    s.mol_ids = new_store_array<int>(s.nmols);
    s.mol_value = new_store_array<double>(s.nmols);
    s.mol_extra_a = new_store_array<double*>(s.nmols);
    s.mol_extra_b = new_store_array<double*>(s.nmols);
    for (int i = 0; i < s.nmols; ++i) {
        s.mol_extra_a[i] = new_store_array<double>(3);
        s.mol_extra_b[i] = new_store_array<double>(3);
    }
    if (s.input_kind == kSourceCif) s.mol_file_names = new_store_array<char*>(s.nmols);
}

void name_molecule_file(FileIO& s, int i) {
    s.mol_file_names[i] = new_store_array<char>(kMolFileNameSize);
    std::snprintf(s.mol_file_names[i], kMolFileNameSize, "mol%d.mol", i + 1);
}

void derive_cell_forms(FileIO& s) {
    for (int r = 0; r < 3; ++r) s.cell_lengths[r] = mmutil::get_magnitude(s.cell_vectors[r]);
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) s.cell_latt3x3_copy[r][c] = s.cell_vectors[c][r];
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) {
            s.supercell_latt3x3[r][c] = s.cell_latt3x3_copy[r][c] * s.supercell_n[r];
            s.cell_latt3x3[r][c] = s.cell_latt3x3_copy[r][c];
        }
    mmutil::invert(s.cell_latt3x3, s.cell_latt3x3_inv);
}

}  // namespace fileio_detail

void FileIO::read_crystal_strcuture_files(bool verbose, bool write_side_files) {
    if (input_kind == kSourceCif) {
        nmols = static_cast<int>(mol_natoms_list.size());
    } else if (input_kind != kSourceMolfiles) {
        FILEIO_FATAL(kStatusFailure, stdout, "No input molecule data is available. (%d)\n",
                     input_kind);
    }
    allocate_molecule_arrays(*this);

    if (input_kind == kSourceMolfiles) {
        read_molfile_molecules(verbose);
    } else {
        copy_cif_molecules(*this);
        make_molecules_whole(*this, verbose);
    }
    derive_cell_forms(*this);
    if (input_kind == kSourceMolfiles) derive_molfile_fractions_and_cell();

    for (int i = 0; i < nmols; ++i) mol_ids[i] = i + 1;
    if (write_side_files) write_side_files_of(*this);
}
