// Crystal conversions besides the PDB one: read a CIF file, make its molecules whole, then write
// the unit cell as one CIF file, each molecule as its own molfile, XYZ file or Gaussian input,
// or a supercell as CIF and optionally PDB.
#include <cstdio>
#include <string>

#include "teska/fileio.h"
#include "teska/mmutil.h"
#include "writer_support.h"

namespace {

// The front half shared by every conversion: the crystal becomes whole molecules in the store.
void read_crystal_molecules(FileIO& store, const char* input, bool verbose, bool write_side_files) {
    store.read_data_cif(input, verbose);
    store.input_kind = 2;
    store.read_crystal_strcuture_files(verbose, write_side_files);
}

// Writes every molecule of the store to its own file, announcing each name; the result is
// that of the last write (0 when there is no molecule).
template <typename WriteMolecule>
int write_each_molecule(const FileIO& store, const char* prefix, char separator,
                        const char* extension, WriteMolecule write_molecule) {
    int result = 0;
    for (int i = 0; i < store.nmols; ++i) {
        const std::string name =
            fileio_detail::molecule_file_name(prefix, separator, i + 1, extension);
        std::printf("  %s\n", name.c_str());
        result = write_molecule(name.c_str(), i);
    }
    return result;
}

}  // namespace

int FileIO::write_cif_unwrap(const char* input, const char* output, bool verbose,
                             bool write_side_files) {
    read_crystal_molecules(*this, input, verbose, write_side_files);
    std::printf("Writting crystal file \"%s\"\n", output);
    return write_unitcell_cif(output, nmols, mol_natoms, mol_atypes, mol_x_s);
}

int FileIO::write_cif2mol(const char* input, const char* prefix, bool verbose,
                          bool write_side_files) {
    read_crystal_molecules(*this, input, verbose, write_side_files);
    return write_each_molecule(*this, prefix, '_', ".mol", [this](const char* name, int i) {
        return write_data_mol(name, mol_natoms[i], mol_atypes[i], mol_x[i]);
    });
}

int FileIO::write_cif2xyz(const char* input, const char* prefix, bool verbose,
                          bool write_side_files) {
    read_crystal_molecules(*this, input, verbose, write_side_files);
    return write_each_molecule(*this, prefix, '_', ".xyz", [this](const char* name, int i) {
        return write_data_xyz(name, mol_natoms[i], mol_atypes[i], mol_x[i]);
    });
}

int FileIO::write_cif2gjf(const char* input, const char* prefix, bool verbose,
                          bool write_side_files, int value1, int value2, const char* text) {
    read_crystal_molecules(*this, input, verbose, write_side_files);
    return write_each_molecule(*this, prefix, '-', ".com", [&](const char* name, int i) {
        return write_data_gjf_one(name, mol_natoms[i], mol_atypes[i], mol_x[i], value1, value2,
                                  text);
    });
}

int FileIO::write_cif_expand(const char* input, const char* output, bool verbose,
                             bool write_side_files, int na, int nb, int nc, bool also_pdb) {
    read_crystal_molecules(*this, input, verbose, write_side_files);
    const std::string base = mmutil::remove_filename_extension(output);
    const std::string cif_name = base + ".cif";
    std::printf("Output to file: %s\n", cif_name.c_str());
    int result =
        write_supercell_cif(cif_name.c_str(), nmols, mol_natoms, mol_atypes, mol_x_s, na, nb, nc);
    if (also_pdb) {
        const std::string pdb_name = base + ".pdb";
        std::printf("Output to file: %s\n", pdb_name.c_str());
        result = write_supercell_pdb(pdb_name.c_str(), nmols, mol_natoms, mol_atypes, mol_x_s, na,
                                     nb, nc);
    }
    return result;
}
