// Reading into a Crystal: the reader teska uses for the kind of input, then the molecules
// copied out of the store, which is kept for the writers and released with the last copy.
#include "crystal.h"

#include "captured_output.h"
#include "captured_stdout.h"
#include "errors.h"
#include "failure.h"
#include "formulas.h"
#include "store_release.h"
#include "unique_molecules.h"

namespace teska::python {

// The store, and every array allocated while it was read or written: released with it, also
// those the store no longer points to.
struct Crystal::OwnedStructure {
    cli::Structure s;
    fileio_detail::ArrayRecord arrays;
    ~OwnedStructure() {
        const fileio_detail::ArrayRecording recording(arrays);
        fileio_detail::release_store(s.store);
    }
};

namespace {

// The name the caller gave in place of a temporary file's path.
std::string renamed(std::string text, const std::string& path, const std::string& name) {
    if (path == name) return text;
    for (std::size_t at = text.find(path); at != std::string::npos;
         at = text.find(path, at + name.size()))
        text.replace(at, path.size(), name);
    return text;
}

cli::ReadSettings settings_of(const ReadRequest& request) {
    cli::ReadSettings settings;
    settings.strict = request.strict;
    settings.disorder = request.disorder;
    if (request.cell) {
        settings.cell_given = true;
        for (int i = 0; i < 6; ++i) settings.cell[i] = (*request.cell)[static_cast<std::size_t>(i)];
    }
    return settings;
}

std::shared_ptr<Molecule> molecule_of(const cli::Structure& s, int m) {
    const FileIO& store = s.store;
    auto molecule = std::make_shared<Molecule>();
    const int n = store.mol_natoms[m];
    molecule->rows.assign(store.mol_atypes[m], store.mol_atypes[m] + n);
    molecule->positions.assign(store.mol_x[m], store.mol_x[m] + 3 * n);
    if (s.has_cell && store.mol_x_s != nullptr)
        molecule->fractional.assign(store.mol_x_s[m], store.mol_x_s[m] + 3 * n);
    molecule->formula = cli::hill_formula(store.mol_atypes[m], n);
    molecule->periodic = s.periodic[static_cast<std::size_t>(m)] != 0;
    return molecule;
}

}  // namespace

Crystal Crystal::read(const std::string& path, const std::string& name,
                      const ReadRequest& request) {
    if (request.disorder.empty()) throw Error(name, 0, 0, "disorder must not be empty");
    auto owned = std::make_shared<OwnedStructure>();
    cli::Structure& s = owned->s;
    std::vector<std::string> printed_warnings;
    try {
        const fileio_detail::ArrayRecording recording(owned->arrays);
        CapturedStdout printed;
        with_errors_of(path, [&] {
            cli::load_structure(s, path, cli::input_kind_of(path), settings_of(request),
                                request.block.value_or(""));
        });
        printed_warnings = cli::store_warnings(printed.finish());
    } catch (const Error& e) {
        throw Error(renamed(e.file(), path, name), e.line(), e.column(),
                    renamed(e.message(), path, name));
    }

    Crystal crystal;
    crystal.structure_ = owned;
    crystal.file = name;
    crystal.reader = s.reader;
    crystal.block = s.block;
    crystal.spacegroup = s.spacegroup;
    crystal.symmetry_source = s.symmetry_source;
    crystal.has_cell = s.has_cell;
    crystal.operations = s.operations;
    crystal.disorder_left_out = s.disorder_left_out;
    if (s.has_cell) {
        for (int i = 0; i < 6; ++i)
            crystal.cell[static_cast<std::size_t>(i)] = s.store.cell_latt[i];
        // The store keeps the cell vectors as the columns of L (Cartesian = L * fractional).
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) crystal.lattice[i][j] = s.store.cell_latt3x3[j][i];
    }
    for (int m = 0; m < s.store.nmols; ++m) crystal.molecules.push_back(molecule_of(s, m));
    crystal.unique = cli::unique_molecules(s);
    // The warnings the store printed, then the reader's own, as teska reports them.
    for (const std::string& warning : printed_warnings)
        crystal.warnings.push_back(name + ": warning: " + renamed(warning, path, name));
    for (const std::string& warning : s.warnings)
        crystal.warnings.push_back(cli::as_warning(name, renamed(warning, path, name)));
    return crystal;
}

cli::Structure& Crystal::structure() const { return structure_->s; }

fileio_detail::ArrayRecord& Crystal::store_arrays() const { return structure_->arrays; }

int Crystal::atom_count() const {
    int atoms = 0;
    for (const auto& molecule : molecules) atoms += molecule->size();
    return atoms;
}

}  // namespace teska::python
