// The writers of each format, through the store's own writers where they write what teska
// needs, and teska's PDB writer for numbering past five digits.
#include "write_outputs.h"

#include <cstdio>

#include "teska/error.h"
#include "teska/paths.h"
#include "pdb_output.h"

namespace teska {

bool WriteSettings::per_molecule() const {
    return traits(format).always_per_molecule || (format == Format::kXyz && split);
}

bool WriteSettings::has_supercell() const {
    return supercell[0] != 1 || supercell[1] != 1 || supercell[2] != 1;
}

}  // namespace teska

namespace teska::crystal_detail {

namespace {

// The chosen molecules as the parallel arrays the store's writers take.
struct MoleculeArrays {
    std::vector<int> natoms;
    std::vector<int*> atypes;
    std::vector<double*> x;    // Cartesian
    std::vector<double*> x_s;  // fractional (empty without a cell)

    MoleculeArrays(const FileIO& store, const std::vector<int>& molecules) {
        for (int m : molecules) {
            natoms.push_back(store.mol_natoms[m]);
            atypes.push_back(store.mol_atypes[m]);
            x.push_back(store.mol_x[m]);
            if (store.mol_x_s != nullptr) x_s.push_back(store.mol_x_s[m]);
        }
    }
    int count() const { return static_cast<int>(natoms.size()); }
};

// A file written under its staging name; failures name it by its final one.
struct OutputFile {
    std::string staged, final_path;
    const char* c_str() const { return staged.c_str(); }
};

void check_closed(int close_result, const std::string& input, const OutputFile& file) {
    if (close_result != 0) throw Error(input, 0, 0, "writing " + file.final_path + " failed");
}

void write_pdb(Structure& s, const std::string& input, const WriteSettings& settings,
               MoleculeArrays& chosen, const std::vector<int>& molecules, const OutputFile& path) {
    FileIO& store = s.store;
    if (settings.strict) {
        // The store's supercell PDB writer (the plain cell goes through write_cif2pdb).
        check_closed(store.write_supercell_pdb(path.c_str(), chosen.count(), chosen.natoms.data(),
                                               chosen.atypes.data(), chosen.x_s.data(),
                                               settings.supercell[0], settings.supercell[1],
                                               settings.supercell[2]),
                     input, path);
        return;
    }
    FILE* out = std::fopen(path.c_str(), "w");
    if (out == nullptr) throw Error(input, 0, 0, "cannot write " + path.final_path);
    const bool written = write_pdb_model(out, store, molecules, settings.supercell, s.has_cell);
    check_closed((std::fclose(out) == 0 && written) ? 0 : -1, input, path);
}

void write_cif(Structure& s, const std::string& input, const WriteSettings& settings,
               MoleculeArrays& chosen, const OutputFile& path) {
    FileIO& store = s.store;
    const int result =
        settings.has_supercell()
            ? store.write_supercell_cif(path.c_str(), chosen.count(), chosen.natoms.data(),
                                        chosen.atypes.data(), chosen.x_s.data(),
                                        settings.supercell[0], settings.supercell[1],
                                        settings.supercell[2])
            : store.write_unitcell_cif(path.c_str(), chosen.count(), chosen.natoms.data(),
                                       chosen.atypes.data(), chosen.x_s.data());
    check_closed(result, input, path);
}

// The whole cell in one XYZ file: the molecules one after the other.
void write_cell_xyz(Structure& s, const std::string& input, const MoleculeArrays& chosen,
                    const OutputFile& path) {
    std::vector<int> atypes;
    std::vector<double> x;
    for (int m = 0; m < chosen.count(); ++m) {
        atypes.insert(atypes.end(), chosen.atypes[m], chosen.atypes[m] + chosen.natoms[m]);
        x.insert(x.end(), chosen.x[m], chosen.x[m] + 3 * chosen.natoms[m]);
    }
    check_closed(s.store.write_data_xyz(path.c_str(), static_cast<int>(atypes.size()),
                                        atypes.data(), x.data()),
                 input, path);
}

void write_molecule_file(Structure& s, const std::string& input, const WriteSettings& settings,
                         int n, int* atypes, double* x, const OutputFile& path) {
    FileIO& store = s.store;
    const QuantumJob& job = settings.job;
    const std::string name = base_of(stem_of(path.final_path));  // Gaussian title, checkpoint
    const std::string charge_multiplicity =
        std::to_string(job.charge) + " " + std::to_string(job.multiplicity);
    const std::string gaussian_method =
        job.basis.empty() ? job.method : job.method + "/" + job.basis;
    const int max_core = job.memory_mb / job.nprocs > 0 ? job.memory_mb / job.nprocs : 1;
    const bool sp = job.kind == "sp";
    const char* p = path.c_str();
    int result = 0;
    switch (settings.format) {
        case Format::kXyz:
            result = store.write_data_xyz(p, n, atypes, x);
            break;
        case Format::kMol:
            result = store.write_data_mol(p, n, atypes, x);
            break;
        case Format::kGaussian:
            result = sp ? store.write_gau_mol_com_HL(p, n, atypes, x, name.c_str(), name.c_str(),
                                                     gaussian_method.c_str(), job.memory_mb, 0,
                                                     job.nprocs, "")
                        : store.write_gau_mol_com_RE(p, n, atypes, x, name.c_str(), name.c_str(),
                                                     charge_multiplicity.c_str(),
                                                     gaussian_method.c_str(), job.memory_mb, 0,
                                                     job.nprocs, "");
            break;
        case Format::kOrca:
            result = sp ? store.write_orca_mol_inp_HL(p, n, atypes, x, max_core, job.nprocs,
                                                      job.method.c_str(), job.basis.c_str(), "")
                        : store.write_orca_mol_inp_RE(p, n, atypes, x, max_core, job.nprocs,
                                                      charge_multiplicity.c_str(),
                                                      job.method.c_str(), job.basis.c_str(), "");
            break;
        case Format::kQchem:
            result = sp ? store.write_qchem_mol_inp_HL(p, n, atypes, x, 0, 0, job.method.c_str(),
                                                       job.basis.c_str(), "")
                        : store.write_qchem_mol_inp_RE(p, n, atypes, x, 0, 0,
                                                       charge_multiplicity.c_str(),
                                                       job.method.c_str(), job.basis.c_str(), "");
            break;
        case Format::kPdb:
        case Format::kCif:
            break;
    }
    check_closed(result, input, path);
}

}  // namespace

void write_structure(Structure& s, const std::vector<int>& molecules, const std::string& input,
                     const WriteSettings& settings, const OutputTarget& target,
                     StagedOutputs& staging) {
    if (s.atom_count() == 0) throw Error(input, 0, 0, "the cell holds no atoms");
    const bool needs_cell = settings.format == Format::kCif || settings.has_supercell();
    if (needs_cell && !s.has_cell)
        throw Error(input, 0, 0, "the structure has no cell: give one with --cell a,b,c,alpha,beta,gamma");
    MoleculeArrays chosen(s.store, molecules);

    if (settings.per_molecule()) {
        for (int m = 0; m < chosen.count(); ++m) {
            const std::string final_path = molecule_output_path(target, settings.format, m + 1);
            write_molecule_file(s, input, settings, chosen.natoms[m], chosen.atypes[m], chosen.x[m],
                                OutputFile{staging.path_for(final_path), final_path});
        }
        return;
    }
    const std::string final_path = single_output_path(target, settings.format);
    const OutputFile path{staging.path_for(final_path), final_path};
    switch (settings.format) {
        case Format::kPdb:
            write_pdb(s, input, settings, chosen, molecules, path);
            break;
        case Format::kCif:
            write_cif(s, input, settings, chosen, path);
            break;
        default:
            write_cell_xyz(s, input, chosen, path);
            break;
    }
}

}  // namespace teska::crystal_detail
