// PDB and XYZ readers: fill the crystal atom arrays from a PDB file (with its CRYST1 cell)
// or from an XYZ file.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "element_rows.h"
#include "fatal.h"
#include "teska/fileio.h"
#include "teska/mmutil.h"
#include "store_arrays.h"

namespace {

void open_input(std::ifstream& in, const char* path) {
    in.open(path);
    if (!in) FILEIO_FATAL(kStatusFailure, stderr, "Failed to open input file \"%s\"\n", path);
    if (bverbose_local) std::printf("Reading file \"%s\"... \n", path);
}

// ----- XYZ -----

// Fields are separated by spaces only: a tab stays inside its field.
void read_xyz_atom_line(std::string line, int* atype, double* xyz) {
    std::vector<std::string> fields;
    mmutil::tokenize(fields, mmutil::triml(line), " ");
    *atype = fields.empty() ? -1 : fileio_detail::element_row_from_symbol(fields[0]);
    for (std::size_t axis = 0; axis < 3; ++axis)
        xyz[axis] = axis + 1 < fields.size() ? std::atof(fields[axis + 1].c_str()) : 0.0;
}

// ----- PDB -----

// Every line containing "ATOM" anywhere is an atom record (HETATM does not contain it).
bool is_pdb_atom_line(const std::string& line) { return line.find("ATOM") != std::string::npos; }

bool is_pdb_cell_line(const std::string& line) { return line.find("CRYST1") != std::string::npos; }

// Columns first..last (1-based) of a line; columns past its end read as blank.
std::string pdb_columns(const std::string& line, std::size_t first, std::size_t last) {
    if (line.size() < first) return std::string();
    return line.substr(first - 1, last - first + 1);
}

double pdb_number(const std::string& line, std::size_t first, std::size_t last) {
    return std::atof(pdb_columns(line, first, last).c_str());
}

// The element is named by columns 13-14, the first two of the atom name.
int pdb_element_row(const std::string& line) {
    char symbol[3] = {};
    pdb_columns(line, 13, 14).copy(symbol, 2);
    return fileio_detail::element_row_from_symbol(mmutil::c_trim(symbol));
}

void read_pdb_cell(const std::string& line, double cell[6]) {
    static const std::size_t kColumns[6][2] = {{7, 15},  {16, 24}, {25, 33},
                                               {34, 40}, {41, 47}, {48, 54}};
    static const char* const kLabels[6] = {
        "  Cell lattice a = ",     "  Cell lattice b = ",     "  Cell lattice c = ",
        "  Cell lattice alpha = ", "  Cell lattice beta  = ", "  Cell lattice gamma = "};
    for (int i = 0; i < 6; ++i) {
        cell[i] = pdb_number(line, kColumns[i][0], kColumns[i][1]);
        std::printf("%s%g\n", kLabels[i], cell[i]);
    }
}

void read_pdb_atom(const std::string& line, int* atype, double* xyz) {
    *atype = pdb_element_row(line);
    xyz[0] = pdb_number(line, 31, 38);
    xyz[1] = pdb_number(line, 39, 46);
    xyz[2] = pdb_number(line, 47, 54);
}

}  // namespace

void FileIO::read_data_xyz(const char* path) {
    std::ifstream in;
    open_input(in, path);
    std::string line;
    std::getline(in, line);
    natoms_cif = std::max(std::atoi(line.c_str()), 0);
    std::getline(in, line);

    cif_atypes = fileio_detail::new_store_array<int>(natoms_cif);
    cif_x = fileio_detail::new_store_array<double>(3LL * natoms_cif);
    // A file shorter than announced leaves the missing atoms unknown (-1) at the origin.
    for (int i = 0; i < natoms_cif; ++i) {
        if (!std::getline(in, line)) line.clear();
        read_xyz_atom_line(line, &cif_atypes[i], &cif_x[3LL * i]);
    }
}

void FileIO::read_data_pdb(const char* path) {
    std::ifstream in;
    open_input(in, path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    in.close();

    natoms_cif = static_cast<int>(std::count_if(lines.begin(), lines.end(), is_pdb_atom_line));
    std::printf("  natoms = %d\n", natoms_cif);
    cif_atypes = fileio_detail::new_store_array<int>(natoms_cif);
    cif_x_s = fileio_detail::new_store_array<double>(3LL * natoms_cif);
    cif_x = fileio_detail::new_store_array<double>(3LL * natoms_cif);

    int k = 0;
    for (const std::string& line : lines) {
        if (is_pdb_cell_line(line)) {
            read_pdb_cell(line, cell_latt);
        } else if (is_pdb_atom_line(line)) {
            read_pdb_atom(line, &cif_atypes[k], &cif_x[3 * k]);
            ++k;
        }
    }

    cell_cell6_to_latt3x3(cell_latt, cell_latt3x3);
    for (int i = 0; i < natoms_cif; ++i) coord_c2f(&cif_x[3LL * i], &cif_x_s[3LL * i]);
}
