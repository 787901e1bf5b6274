// Reading one input into the store: the choice of reader and what every reader shares.
#include "structure.h"

#include "formulas.h"
#include "paths.h"
#include "structure_readers.h"

namespace teska::cli {

InputKind input_kind_of(const std::string& path) {
    const std::string extension = lower_case(extension_of(path));
    if (extension == ".pdb" || extension == ".ent") return InputKind::kPdb;
    if (extension == ".xyz") return InputKind::kXyz;
    if (extension == ".mol" || extension == ".sdf" || extension == ".mdl")
        return InputKind::kMolfile;
    return InputKind::kCif;
}

int Structure::atom_count() const {
    int atoms = 0;
    for (int m = 0; m < store.nmols; ++m) atoms += store.mol_natoms[m];
    return atoms;
}

std::vector<std::string> Structure::molecule_formulas() const {
    std::vector<std::string> formulas;
    for (int m = 0; m < store.nmols; ++m)
        formulas.push_back(hill_formula(store.mol_atypes[m], store.mol_natoms[m]));
    return formulas;
}

void load_structure(Structure& s, const std::string& path, InputKind kind,
                    const ReadSettings& settings, const std::string& block) {
    const std::string problem = input_file_problem(path);
    if (!problem.empty()) throw Failure(path, problem);
    switch (kind) {
        case InputKind::kCif:
            if (settings.strict || !database_reader_available())
                read_cif_with_store_reader(s, path);
            else
                read_cif_with_database_reader(s, path, settings, block);
            break;
        case InputKind::kPdb:
            read_pdb_input(s, path, settings);
            break;
        case InputKind::kXyz:
            read_xyz_input(s, path, settings);
            break;
        case InputKind::kMolfile:
            read_molfile_input(s, path, settings);
            break;
    }
    if (s.operations.empty())
        s.operations.push_back({{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, 0, 0}});
    if (s.periodic.size() != static_cast<std::size_t>(s.store.nmols))
        s.periodic.assign(static_cast<std::size_t>(s.store.nmols), 0);
}

}  // namespace teska::cli
