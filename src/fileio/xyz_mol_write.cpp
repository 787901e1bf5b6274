// XYZ and MDL molfile (V2000) writers, for the crystal atoms of the store or a given atom list.
#include <cstdio>

#include "element_rows.h"
#include "teska/fileio.h"
#include "writer_support.h"

namespace {

using fileio_detail::element_symbol;
using fileio_detail::open_output_file;
using fileio_detail::OpenFailure;

FILE* open_structure_file(const char* path, OpenFailure failure) {
    FILE* out = open_output_file(path, failure);
    if (bverbose_local) std::printf("Writing file \"%s\"... \n", path);
    return out;
}

void write_xyz_body(FILE* out, int n, const int* atypes, const double* x) {
    std::fprintf(out, "%d\n", n);
    std::fprintf(out, "mol xyz file\n");
    for (int i = 0; i < n; ++i) {
        const double* r = x + 3 * i;
        std::fprintf(out, "%2s %14.10f %14.10f %14.10f\n", element_symbol(atypes[i]).c_str(), r[0],
                     r[1], r[2]);
    }
}

// No bond block: readers of these files find the bonds again from distances.
void write_mol_body(FILE* out, int n, const int* atypes, const double* x) {
    std::fprintf(out, "Molecule\n");
    std::fprintf(out, "Created by TESKA\n");
    std::fprintf(out, "\n");
    std::fprintf(out, "%3d  0  0  0  0  0  0  0  0  0999 V2000\n", n);
    for (int i = 0; i < n; ++i) {
        const double* r = x + 3 * i;
        std::fprintf(out, " %9.4f %9.4f %9.4f %-2s  0  0  0  0  0  0  0  0  0  0\n", r[0], r[1],
                     r[2], element_symbol(atypes[i]).c_str());
    }
    std::fprintf(out, "M  END\n");
}

}  // namespace

int FileIO::write_data_xyz(const char* path) {
    FILE* out = open_structure_file(path, OpenFailure::kErrorQuotedOnStderr);
    write_xyz_body(out, natoms_cif, cif_atypes, cif_x);
    return std::fclose(out);
}

int FileIO::write_data_xyz(const char* path, int n, int* atypes, double* x) {
    FILE* out = open_structure_file(path, OpenFailure::kQuotedOnStderr);
    write_xyz_body(out, n, atypes, x);
    return std::fclose(out);
}

int FileIO::write_data_mol(const char* path) {
    FILE* out = open_structure_file(path, OpenFailure::kQuotedOnStderr);
    write_mol_body(out, natoms_cif, cif_atypes, cif_x);
    return std::fclose(out);
}

int FileIO::write_data_mol(const char* path, int n, int* atypes, double* x) {
    FILE* out = open_structure_file(path, OpenFailure::kQuotedOnStderr);
    write_mol_body(out, n, atypes, x);
    return std::fclose(out);
}
