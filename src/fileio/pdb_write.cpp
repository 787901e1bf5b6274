// The crystal-to-PDB conversion: reads a CIF file, makes every molecule of the cell whole and
// writes the cell as one PDB model with one residue per molecule.
#include <cstdio>

#include "teska/fileio.h"
#include "pdb_model.h"
#include "pdb_record.h"
#include "writer_support.h"

namespace {

constexpr int kSourceCif = 2;
// Serial numbers restart after five digits; atom-name counters after two hexadecimal digits.
constexpr int kMaxSerial = 99999;
constexpr int kMaxNameCounter = 0xFF;

void write_model_header(FILE* out, const FileIO& s) {
    std::fprintf(out, "TITLE     %s\n", s.identifier.c_str());
    std::fprintf(out, "REMARK    TESKA generated pdf file\n");
    std::fprintf(out, "CRYST1%9.3f%9.3f%9.3f%7.2f%7.2f%7.2f P 1           1\n", s.cell_latt[0],
                 s.cell_latt[1], s.cell_latt[2], s.cell_latt[3], s.cell_latt[4], s.cell_latt[5]);
    std::fprintf(out, "MODEL        1\n");
}

}  // namespace

namespace fileio_detail {

void write_pdb_molecule_atoms(FILE* out, int nmols, const int* natoms, int* const* atypes,
                              double* const* x) {
    int serial = 0;
    for (int m = 0; m < nmols; ++m) {
        int name_counter = 0;
        for (int k = 0; k < natoms[m]; ++k) {
            serial = serial % kMaxSerial + 1;
            name_counter = name_counter % kMaxNameCounter + 1;
            write_pdb_atom_record(out, serial, atypes[m][k], name_counter, m + 1, &x[m][3 * k]);
        }
    }
}

void write_cell_model(FILE* out, const FileIO& store) {
    write_model_header(out, store);
    write_pdb_molecule_atoms(out, store.nmols, store.mol_natoms, store.mol_atypes, store.mol_x);
    std::fprintf(out, "TER\nENDMDL\n");
}

}  // namespace fileio_detail

int FileIO::write_cif2pdb(const char* input, const char* output, bool verbose,
                          bool write_side_files) {
    read_data_cif(input, verbose);
    input_kind = kSourceCif;
    read_crystal_strcuture_files(verbose, write_side_files);

    if (bverbose_local) std::printf("Writing file \"%s\"... \n", output);
    FILE* out =
        fileio_detail::open_output_file(output, fileio_detail::OpenFailure::kQuotedOnStderr);
    fileio_detail::write_cell_model(out, *this);
    return std::fclose(out);
}
