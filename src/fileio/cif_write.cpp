// P1 CIF writers: the crystal atoms of the store, a list of molecules, a supercell of them,
// and site lines appended to an open file.
#include <cstdio>
#include <ctime>
#include <string>

#include "element_rows.h"
#include "teska/fileio.h"
#include "teska/mmutil.h"
#include "writer_support.h"

namespace {

using fileio_detail::element_symbol;

enum class SiteColumns { kFractional, kCartesian };

FILE* open_cif_file(const char* path) {
    return fileio_detail::open_output_file(path, fileio_detail::OpenFailure::kPlainOnStdout);
}

// Tags are padded so that every value starts in column 35.
void write_tag_text(FILE* out, const char* tag, const char* value) {
    std::fprintf(out, "%-34s%s\n", tag, value);
}

void write_tag_number(FILE* out, const char* tag, double value) {
    std::fprintf(out, "%-34s%.4f\n", tag, value);
}

std::string today() {
    const std::tm now = mmutil::local_now();
    char date[32];
    std::snprintf(date, sizeof date, "%4d-%02d-%02d", now.tm_year + 1900, now.tm_mon + 1,
                  now.tm_mday);
    return date;
}

// Everything up to the site rows: identification, the single operation x,y,z, the cell
// (lengths as given, so a supercell passes them scaled) and the site-loop header.
void write_p1_header(FILE* out, const std::string& identifier, const double lengths[3],
                     const double angles[3], SiteColumns columns) {
    std::fprintf(out, "data_%s\n", identifier.c_str());
    write_tag_text(out, "_audit_creation_date", today().c_str());
    write_tag_text(out, "_audit_creation_method", "'TESKA'");
    write_tag_text(out, "_symmetry_space_group_name_H-M", "'P1'");
    write_tag_text(out, "_symmetry_Int_Tables_number", "1");
    write_tag_text(out, "_symmetry_cell_setting", "triclinic");
    std::fprintf(out, "loop_\n_symmetry_equiv_pos_as_xyz\n  x,y,z\n");
    write_tag_number(out, "_cell_length_a", lengths[0]);
    write_tag_number(out, "_cell_length_b", lengths[1]);
    write_tag_number(out, "_cell_length_c", lengths[2]);
    write_tag_number(out, "_cell_angle_alpha", angles[0]);
    write_tag_number(out, "_cell_angle_beta", angles[1]);
    write_tag_number(out, "_cell_angle_gamma", angles[2]);
    std::fprintf(out, "loop_\n_atom_site_label\n_atom_site_type_symbol\n");
    if (columns == SiteColumns::kFractional)
        std::fprintf(out, "_atom_site_fract_x\n_atom_site_fract_y\n_atom_site_fract_z\n");
    else
        std::fprintf(out, "_atom_site_Cartn_x\n_atom_site_Cartn_y\n_atom_site_Cartn_z\n");
    std::fprintf(out, "_atom_site_U_iso_or_equiv\n_atom_site_adp_type\n_atom_site_occupancy\n");
}

void write_p1_header(FILE* out, const std::string& identifier, const double cell_latt[6],
                     SiteColumns columns) {
    write_p1_header(out, identifier, cell_latt, cell_latt + 3, columns);
}

// A site label is the symbol followed by the site's serial number over the whole file.
std::string site_label(const std::string& symbol, int serial) {
    return symbol + std::to_string(serial);
}

void write_site_line(FILE* out, int serial, int element_row, double x, double y, double z) {
    const std::string symbol = element_symbol(element_row);
    std::fprintf(out, "%-5s %2s %10.6f %10.6f %10.6f  0.00000  Uiso   1.00\n",
                 site_label(symbol, serial).c_str(), symbol.c_str(), x, y, z);
}

}  // namespace

int FileIO::write_data_cif(const char* path, bool fractional) {
    FILE* out = open_cif_file(path);
    write_p1_header(out, identifier, cell_latt,
                    fractional ? SiteColumns::kFractional : SiteColumns::kCartesian);
    const double* x = fractional ? cif_x_s : cif_x;
    for (int i = 0; i < natoms_cif; ++i)
        write_site_line(out, i + 1, cif_atypes[i], x[3 * i], x[3 * i + 1], x[3 * i + 2]);
    return std::fclose(out);
}

int FileIO::write_unitcell_cif(const char* path, int nmol, int* natoms, int** atypes, double** x) {
    FILE* out = open_cif_file(path);
    write_p1_header(out, identifier, cell_latt, SiteColumns::kFractional);
    int serial = 0;
    for (int m = 0; m < nmol; ++m) {
        for (int k = 0; k < natoms[m]; ++k) {
            const double* f = x[m] + 3 * k;
            write_site_line(out, ++serial, atypes[m][k], f[0], f[1], f[2]);
        }
    }
    return std::fclose(out);
}

int FileIO::write_supercell_cif(const char* path, int nmol, int* natoms, int** atypes, double** x,
                                int na, int nb, int nc) {
    FILE* out = open_cif_file(path);
    const double lengths[3] = {na * cell_latt[0], nb * cell_latt[1], nc * cell_latt[2]};
    write_p1_header(out, identifier, lengths, cell_latt + 3, SiteColumns::kFractional);
    int serial = 0;
    fileio_detail::walk_supercell(
        na, nb, nc, nmol, natoms, [](int) {},
        [&](const int cell[3], int m, int atom) {
            const double* f = x[m] + 3 * atom;
            write_site_line(out, ++serial, atypes[m][atom], (cell[0] + f[0]) / na,
                            (cell[1] + f[1]) / nb, (cell[2] + f[2]) / nc);
        });
    return std::fclose(out);
}

// The "+ 1.0" belongs to the coordinate formula of this site layout and is kept.
void FileIO::write_cif_mol_one(FILE* out, int first, int n, int* atypes, double* x, double* shift,
                               double scale, int group) {
    for (int i = 0; i < n; ++i) {
        const std::string symbol = element_symbol(atypes[i]);
        double value[3];
        for (int axis = 0; axis < 3; ++axis)
            value[axis] = (x[3 * i + axis] + shift[axis] + 1.0) / scale;
        std::fprintf(out, "%-6s %2s %10.6f %10.6f %10.6f  %d\n",
                     site_label(symbol, first + 1 + i).c_str(), symbol.c_str(), value[0], value[1],
                     value[2], group);
    }
}
