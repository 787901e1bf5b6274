// The crystal model: an input read into the store under the raising fatal policy with standard
// output captured, then the atoms copied out in molecule order. Bonds, species and unique
// molecules are computed on first use; the store stays for the writers and is released with
// the last copy of the crystal.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <mutex>
#include <new>
#include <unistd.h>

#include "captured_stdout.h"
#include "element_rows.h"
#include "fatal.h"
#include "formulas.h"
#include "molecule_bonds.h"
#include "species.h"
#include "store_release.h"
#include "structure.h"
#include "teska/printed_reports.h"
#include "unique_molecules.h"
#include "write_outputs.h"

namespace teska {

using crystal_detail::Structure;

struct Crystal::Data {
    Structure s;
    fileio_detail::ArrayRecord arrays;  // every store array allocated while reading or writing
    std::string file;
    std::vector<std::string> warnings;
    std::vector<int> elements;
    std::vector<std::string> labels;
    std::vector<double> occupancies, positions, fractional, radii;
    std::vector<int> store_atom;  // the store's crystal atom of each atom, -1 when unknown
    std::vector<Molecule> molecules;

    std::once_flag bonds_once, species_once, unique_once;
    std::vector<std::vector<Bond>> bonds;
    std::vector<AddedBonds> added_bonds;  // per molecule
    std::vector<Species> species;
    std::vector<int> molecule_species;
    std::vector<UniqueMolecule> unique;

    ~Data() {
        const fileio_detail::ArrayRecording recording(arrays);
        fileio_detail::release_store(s.store);
    }
};

namespace {

// "FILE:LINE:COLUMN: message" as "FILE:LINE:COLUMN: warning: message"; a text that does not
// start with file gets "FILE: warning: " before it.
std::string as_warning(const std::string& file, const std::string& positioned) {
    if (positioned.compare(0, file.size(), file) != 0 || positioned.size() <= file.size() ||
        positioned[file.size()] != ':')
        return file + ": warning: " + positioned;
    std::size_t at = file.size();
    while (at < positioned.size() &&
           (positioned[at] == ':' || std::isdigit(static_cast<unsigned char>(positioned[at]))))
        ++at;
    if (at >= positioned.size() || positioned[at] != ' ') return file + ": warning: " + positioned;
    return positioned.substr(0, at + 1) + "warning: " + positioned.substr(at + 1);
}

// The name the caller gave in place of a temporary file's path.
std::string renamed(std::string text, const std::string& path, const std::string& name) {
    if (path == name) return text;
    for (std::size_t at = text.find(path); at != std::string::npos;
         at = text.find(path, at + name.size()))
        text.replace(at, path.size(), name);
    return text;
}

// Runs work on the store with its fatal errors raised and what it prints captured; every
// failure leaves as an Error naming file. Returns what the store printed.
template <typename Work>
std::string run_on_store(const std::string& file, fileio_detail::ArrayRecord& arrays, Work work) {
    const fileio_detail::ArrayRecording recording(arrays);
    crystal_detail::CapturedStdout printed;
    const ScopedFatalPolicy raise(FatalPolicy::kRaise);
    try {
        work();
    } catch (const Error&) {
        throw;
    } catch (const FatalError& e) {
        // The store's own readers report a fault of the input without its place in the file.
        throw Error(file, 0, 0, fatal_report_text(e.what()));
    } catch (const std::bad_alloc&) {
        throw Error(file, 0, 0, "not enough memory");
    } catch (const std::exception& e) {
        // The store's molfile reader lets a substring error of a short atom line through.
        throw Error(file, 0, 0, std::string("the reader stopped: ") + e.what());
    }
    return printed.finish();
}

int atomic_number(int row) { return row > 0 && row < kElementRows ? row : 0; }

// The atoms of the store's molecules in order, with what the reader knew of each.
void copy_atoms(Crystal::Data& d) {
    const Structure& s = d.s;
    const FileIO& store = s.store;
    const bool mapped = store.mol_atom_list.size() == static_cast<std::size_t>(s.atom_count());
    std::size_t next = 0;
    for (int m = 0; m < store.nmols; ++m) {
        Molecule molecule;
        molecule.first_atom = static_cast<int>(d.elements.size());
        molecule.atom_count = store.mol_natoms[m];
        molecule.periodic = s.periodic[static_cast<std::size_t>(m)] != 0;
        molecule.formula = hill_formula(store.mol_atypes[m], store.mol_natoms[m]);
        for (int k = 0; k < store.mol_natoms[m]; ++k) {
            const int row = store.mol_atypes[m][k];
            const int atom = mapped ? store.mol_atom_list[next++] : -1;
            const std::size_t known = static_cast<std::size_t>(atom);
            d.elements.push_back(atomic_number(row));
            d.store_atom.push_back(atom);
            d.labels.push_back(atom >= 0 && known < s.atom_labels.size() && !s.atom_labels[known].empty()
                                   ? s.atom_labels[known]
                                   : fileio_detail::element_symbol(row) + std::to_string(k + 1));
            d.occupancies.push_back(atom >= 0 && known < s.atom_occupancies.size()
                                        ? s.atom_occupancies[known]
                                        : 1.0);
            d.radii.push_back(atom >= 0 && known < s.bond_radii.size()
                                  ? s.bond_radii[known]
                                  : (row > 0 && row < kBondingRadiusEntries ? nw_elem_radius_m[row]
                                                                            : 0.0));
            d.positions.insert(d.positions.end(), store.mol_x[m] + 3 * k, store.mol_x[m] + 3 * k + 3);
            if (s.has_cell && store.mol_x_s != nullptr)
                d.fractional.insert(d.fractional.end(), store.mol_x_s[m] + 3 * k,
                                    store.mol_x_s[m] + 3 * k + 3);
        }
        d.molecules.push_back(molecule);
    }
}

// The format a read_text format name stands for, as a file extension every reader takes.
std::string suffix_of_format(const std::string& format, const std::string& name) {
    if (format == "cif") return ".cif";
    if (format == "pdb") return ".pdb";
    if (format == "xyz") return ".xyz";
    if (format == "mol" || format == "sdf") return ".mol";
    throw Error(name, 0, 0, "format must be cif, pdb, xyz or mol");
}

}  // namespace

Crystal Crystal::read(const std::string& path, const ReadSettings& settings) {
    return read_text_or_file(path, path, settings);
}

Crystal Crystal::read_text_or_file(const std::string& path, const std::string& name,
                                   const ReadSettings& settings) {
    if (settings.disorder.empty()) throw Error(name, 0, 0, "the disorder choice is empty");
    auto d = std::make_shared<Data>();
    d->file = name;
    std::string printed;
    try {
        printed = run_on_store(path, d->arrays, [&] {
            crystal_detail::load_structure(d->s, path, crystal_detail::input_kind_of(path),
                                           settings);
        });
    } catch (const Error& e) {
        throw Error(renamed(e.file(), path, name), e.line(), e.column(),
                    renamed(e.message(), path, name));
    }
    // The warnings the store printed, then the reader's own.
    for (const std::string& warning : store_warnings(printed))
        d->warnings.push_back(name + ": warning: " + renamed(warning, path, name));
    for (const std::string& warning : d->s.warnings)
        d->warnings.push_back(as_warning(name, renamed(warning, path, name)));
    copy_atoms(*d);
    return Crystal(d);
}

Crystal Crystal::read_text(const std::string& text, const std::string& format,
                           const std::string& name, const ReadSettings& settings) {
    const std::string suffix = suffix_of_format(format, name);
    const char* folder = std::getenv("TMPDIR");
    std::string path = std::string(folder != nullptr && *folder != '\0' ? folder : "/tmp") +
                       "/teska-text-XXXXXX" + suffix;
    const int fd = mkstemps(&path[0], static_cast<int>(suffix.size()));
    if (fd < 0) throw Error(name, 0, 0, "cannot create a temporary file in " + path);
    struct Removed {
        std::string path;
        ~Removed() { std::remove(path.c_str()); }
    } removed{path};
    bool written = true;
    for (std::size_t at = 0; at < text.size() && written;) {
        const ssize_t n = ::write(fd, text.data() + at, text.size() - at);
        written = n > 0;
        if (written) at += static_cast<std::size_t>(n);
    }
    written = (::close(fd) == 0) && written;
    if (!written) throw Error(name, 0, 0, "cannot write a temporary file " + path);
    return read_text_or_file(path, name, settings);
}

bool is_cif_input(const std::string& path) {
    return crystal_detail::input_kind_of(path) == crystal_detail::InputKind::kCif;
}

std::vector<std::string> Crystal::cif_blocks(const std::string& path) {
    return crystal_detail::cif_blocks_with_atoms(path);
}

const std::string& Crystal::file() const { return data_->file; }
const std::string& Crystal::reader() const { return data_->s.reader; }
const std::string& Crystal::block() const { return data_->s.block; }
const std::string& Crystal::title() const { return data_->s.store.identifier; }
bool Crystal::has_cell() const { return data_->s.has_cell; }

std::array<double, 6> Crystal::cell() const {
    std::array<double, 6> cell{};
    if (has_cell())
        for (std::size_t k = 0; k < 6; ++k) cell[k] = data_->s.store.cell_latt[k];
    return cell;
}

std::array<std::array<double, 3>, 3> Crystal::lattice() const {
    std::array<std::array<double, 3>, 3> rows{};
    if (has_cell())  // the store keeps the cell vectors as the columns of its matrix
        for (std::size_t i = 0; i < 3; ++i)
            for (std::size_t j = 0; j < 3; ++j) rows[i][j] = data_->s.store.cell_latt3x3[j][i];
    return rows;
}

const std::string& Crystal::spacegroup() const { return data_->s.spacegroup; }
const std::string& Crystal::symmetry_source() const { return data_->s.symmetry_source; }
const std::vector<SymmetryOperation>& Crystal::operations() const { return data_->s.operations; }
int Crystal::disorder_left_out() const { return data_->s.disorder_left_out; }
const std::vector<std::string>& Crystal::warnings() const { return data_->warnings; }

int Crystal::atom_count() const { return static_cast<int>(data_->elements.size()); }
const std::vector<int>& Crystal::elements() const { return data_->elements; }
std::string Crystal::symbol(int atom) const {
    const int z = data_->elements.at(static_cast<std::size_t>(atom));
    return z > 0 ? fileio_detail::element_symbol(z) : std::string("X");
}
const std::vector<std::string>& Crystal::labels() const { return data_->labels; }
const std::vector<double>& Crystal::occupancies() const { return data_->occupancies; }
const std::vector<double>& Crystal::positions() const { return data_->positions; }
const std::vector<double>& Crystal::fractional() const { return data_->fractional; }
std::string Crystal::formula() const { return hill_formula(data_->elements); }
const std::vector<Molecule>& Crystal::molecules() const { return data_->molecules; }

int Crystal::table_bonds() const { return data_->s.table_bonds; }
int Crystal::metal_bonds() const { return data_->s.metal_bonds; }

namespace {

// The reader's bonds of crystal atoms, as bonds within each molecule.
void cell_bonds_by_molecule(Crystal::Data& d) {
    std::vector<int> molecule_of(d.store_atom.size(), -1), atom_of(d.store_atom.size(), -1);
    std::vector<int> index_of_store_atom(static_cast<std::size_t>(d.s.store.natoms_cif), -1);
    for (std::size_t m = 0; m < d.molecules.size(); ++m)
        for (int k = 0; k < d.molecules[m].atom_count; ++k) {
            const std::size_t atom = static_cast<std::size_t>(d.molecules[m].first_atom + k);
            const int store_atom = d.store_atom[atom];
            if (store_atom >= 0 && store_atom < d.s.store.natoms_cif)
                index_of_store_atom[store_atom] = static_cast<int>(atom);
            molecule_of[atom] = static_cast<int>(m);
            atom_of[atom] = k;
        }
    d.added_bonds.assign(d.molecules.size(), AddedBonds{});
    for (std::size_t n = 0; n < d.s.cell_bonds.size(); ++n) {
        const auto& pair = d.s.cell_bonds[n];
        if (pair.first < 0 || pair.second < 0 || pair.first >= d.s.store.natoms_cif ||
            pair.second >= d.s.store.natoms_cif)
            continue;
        const int a = index_of_store_atom[pair.first], b = index_of_store_atom[pair.second];
        if (a < 0 || b < 0 || molecule_of[a] != molecule_of[b]) continue;
        const int i = atom_of[a], j = atom_of[b];
        d.bonds[molecule_of[a]].push_back(Bond{std::min(i, j), std::max(i, j)});
        const char added = n < d.s.cell_bond_added.size() ? d.s.cell_bond_added[n] : 0;
        if (added == 1) ++d.added_bonds[molecule_of[a]].table;
        if (added == 2) ++d.added_bonds[molecule_of[a]].metal;
    }
    for (std::vector<Bond>& bonds : d.bonds) {
        std::sort(bonds.begin(), bonds.end(), [](const Bond& x, const Bond& y) {
            return x.a != y.a ? x.a < y.a : x.b < y.b;
        });
        bonds.erase(std::unique(bonds.begin(), bonds.end(),
                                [](const Bond& x, const Bond& y) { return x.a == y.a && x.b == y.b; }),
                    bonds.end());
    }
}

}  // namespace

AddedBonds Crystal::added_bonds(int molecule) const {
    bonds(molecule);
    const Data& d = *data_;
    const std::size_t m = static_cast<std::size_t>(molecule);
    return m < d.added_bonds.size() ? d.added_bonds[m] : AddedBonds{};
}

const std::vector<Bond>& Crystal::bonds(int molecule) const {
    Data& d = *data_;
    std::call_once(d.bonds_once, [&d] {
        const double(&L)[3][3] = d.s.store.cell_latt3x3;
        d.bonds.resize(d.molecules.size());
        if (d.s.has_cell_bonds) {
            cell_bonds_by_molecule(d);
            return;
        }
        for (std::size_t m = 0; m < d.molecules.size(); ++m) {
            const Molecule& mol = d.molecules[m];
            const std::size_t first = static_cast<std::size_t>(mol.first_atom);
            const double* frac =
                mol.periodic && !d.fractional.empty() ? &d.fractional[3 * first] : nullptr;
            d.bonds[m] = crystal_detail::molecule_bonds(mol.atom_count, &d.positions[3 * first],
                                                        frac, L, &d.radii[first], d.s.bond_scale);
        }
    });
    return d.bonds.at(static_cast<std::size_t>(molecule));
}

const std::vector<Species>& Crystal::species() const {
    Data& d = *data_;
    std::call_once(d.species_once, [this, &d] {
        std::vector<crystal_detail::MoleculeGraph> graphs;
        for (std::size_t m = 0; m < d.molecules.size(); ++m) {
            const Molecule& mol = d.molecules[m];
            crystal_detail::MoleculeGraph g;
            g.elements.assign(d.elements.begin() + mol.first_atom,
                              d.elements.begin() + mol.first_atom + mol.atom_count);
            g.bonds = bonds(static_cast<int>(m));
            graphs.push_back(std::move(g));
        }
        const std::vector<int> kinds = crystal_detail::species_of(graphs);
        d.molecule_species = kinds;
        for (std::size_t m = 0; m < kinds.size(); ++m) {
            const std::size_t k = static_cast<std::size_t>(kinds[m]);
            if (k == d.species.size()) {
                Species species;
                species.formula = d.molecules[m].formula;
                species.representative = static_cast<int>(m);
                d.species.push_back(species);
            }
            ++d.species[k].count;
            d.species[k].molecules.push_back(static_cast<int>(m));
        }
    });
    return d.species;
}

const std::vector<int>& Crystal::molecule_species() const {
    species();
    return data_->molecule_species;
}

const std::vector<UniqueMolecule>& Crystal::unique_molecules() const {
    Data& d = *data_;
    std::call_once(d.unique_once, [&d] { d.unique = crystal_detail::unique_molecules(d.s); });
    return d.unique;
}

void Crystal::write_staged(const std::string& input, const WriteSettings& settings,
                           const OutputTarget& target, StagedOutputs& staging) const {
    std::vector<int> chosen;
    if (settings.unique)
        for (const UniqueMolecule& u : unique_molecules()) chosen.push_back(u.molecule);
    else
        for (std::size_t m = 0; m < data_->molecules.size(); ++m)
            chosen.push_back(static_cast<int>(m));
    run_on_store(input, data_->arrays, [&] {
        crystal_detail::write_structure(data_->s, chosen, input, settings, target, staging);
    });
}

std::vector<std::string> Crystal::write(const std::string& path,
                                        const WriteSettings& settings) const {
    if (path.empty()) throw Error(file(), 0, 0, "the output name is empty");
    const OutputTarget target = plan_output(file(), path, "", settings.per_molecule());
    StagedOutputs staging(file(), target.directory);
    write_staged(file(), settings, target, staging);
    return staging.commit();
}

}  // namespace teska
