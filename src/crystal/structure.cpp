// Reading one input into the store: the choice of reader and what every reader shares.
#include "structure.h"

#include "structure_readers.h"
#include "teska/paths.h"

namespace teska::crystal_detail {

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

void load_structure(Structure& s, const std::string& path, InputKind kind,
                    const ReadSettings& settings) {
    const std::string problem = input_file_problem(path);
    if (!problem.empty()) throw Error(path, 0, 0, problem);
    if (settings.strict && kind != InputKind::kCif)
        throw Error(path, 0, 0, "--strict reads CIF files only");
    switch (kind) {
        case InputKind::kCif:
            if (settings.strict)
                read_cif_with_store_reader(s, path);
            else
                read_cif_with_database_reader(s, path, settings);
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

}  // namespace teska::crystal_detail
