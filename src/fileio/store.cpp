// The structure store: construction, small accessors and the molfile reader's hooks.
#include "teska/fileio.h"

bool bverbose_local = false;

Atoms::~Atoms() = default;
Bonds::~Bonds() = default;

FileIO::FileIO() = default;
FileIO::~FileIO() = default;

int* FileIO::get_cif_atypes() { return cif_atypes; }
double* FileIO::get_cif_x() { return cif_x; }
double* FileIO::get_cif_x_s() { return cif_x_s; }

void FileIO::get_cif_lattice_vectors(double* a, double* b, double* c) {
    double* vectors[3] = {a, b, c};
    for (int column = 0; column < 3; ++column)
        for (int row = 0; row < 3; ++row) vectors[column][row] = cell_latt3x3[row][column];
}

// An index outside the list reads as an empty text.
std::string FileIO::get_cif_atom_symbol(int i) {
    const auto& symbols = cif_atoms.cif_atom_symbol;
    return (i >= 0 && static_cast<std::size_t>(i) < symbols.size()) ? symbols[i] : std::string();
}

double* FileIO::get_cell_latt() { return cell_latt; }
const char* FileIO::get_identifier() { return identifier.c_str(); }

void FileIO::set_cell_lattice(double* lengths, double alpha, double beta, double gamma) {
    cell_latt[0] = lengths[0];
    cell_latt[1] = lengths[1];
    cell_latt[2] = lengths[2];
    cell_latt[3] = alpha;
    cell_latt[4] = beta;
    cell_latt[5] = gamma;
}

// Bonds and atom properties of molfiles are not kept: bonds are found again from distances.
bool FileIO::AddBond(int, int, int, int) { return true; }
void FileIO::SetFormalCharge(int) {}
void FileIO::SetSpinMultiplicity(int) {}
void FileIO::SetIsotope(int) {}
