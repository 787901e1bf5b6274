// Molfile source of the crystal pipeline: one molfile per molecule slot, then fractional
// coordinates and cell parameters from the cell vectors the caller set.
#include <cmath>

#include "fatal.h"
#include "teska/fileio.h"
#include "teska/mmutil.h"

namespace {

constexpr double kPi = 3.1415926535898;

// Angle between two vectors, in degrees.
double angle_between(double* u, double* v) {
    const double cosine =
        mmutil::get_dot(u, v) / (mmutil::get_magnitude(u) * mmutil::get_magnitude(v));
    return std::acos(cosine) * 180.0 / kPi;
}

}  // namespace

void FileIO::read_molfile_molecules(bool verbose) {
    for (int i = 0; i < nmols; ++i) {
        if (!mol_file_names || !mol_file_names[i])
            FILEIO_FATAL(kStatusFailure, stdout, "No file name is set for molecule %d.\n", i + 1);
        read_data_mol(mol_file_names[i], i, verbose);
    }
}

void FileIO::derive_molfile_fractions_and_cell() {
    for (int i = 0; i < nmols; ++i)
        for (int k = 0; k < mol_natoms[i]; ++k)
            mmutil::mat_vec_mul(cell_latt3x3_inv, &mol_x[i][3 * k], &mol_x_s[i][3 * k]);

    double* a = cell_vectors[0];
    double* b = cell_vectors[1];
    double* c = cell_vectors[2];
    cell_latt[0] = mmutil::get_magnitude(a);
    cell_latt[1] = mmutil::get_magnitude(b);
    cell_latt[2] = mmutil::get_magnitude(c);
    cell_latt[3] = angle_between(b, c);
    cell_latt[4] = angle_between(a, c);
    cell_latt[5] = angle_between(a, b);
}
