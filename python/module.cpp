// The Python module teska: read a crystal (or a molecule file) into whole molecules, look at
// its atoms, molecules, bonds, species and unique molecules as NumPy arrays, write it in every
// format `teska convert` writes, hand it to ASE. Arrays of the atoms are read-only views of the
// crystal's own; the others are built once per access.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "errors.h"
#include "teska/crystal.h"
#include "writing.h"

namespace py = pybind11;
using teska::Crystal;

// Crystal.dimers and its classes (dimers.cpp).
void bind_dimers(py::module_& m);

namespace {

// One molecule of a crystal, as Python sees it: the crystal and the molecule's index.
struct MoleculeView {
    Crystal crystal;
    int index;
    const teska::Molecule& molecule() const {
        return crystal.molecules()[static_cast<std::size_t>(index)];
    }
};

struct UniqueView {
    Crystal crystal;
    int index;
    const teska::UniqueMolecule& unique() const {
        return crystal.unique_molecules()[static_cast<std::size_t>(index)];
    }
};

struct SpeciesView {
    Crystal crystal;
    int index;
    const teska::Species& species() const {
        return crystal.species()[static_cast<std::size_t>(index)];
    }
};

template <typename T>
py::array read_only(py::array_t<T> array) {
    array.attr("flags").attr("writeable") = false;
    return std::move(array);
}

// Rows of `columns` values from values[first * columns], a view kept alive by owner.
template <typename T>
py::array view(const std::vector<T>& values, std::size_t first, std::size_t rows, int columns,
               py::handle owner) {
    const T* data = values.empty() ? nullptr : values.data() + first * columns;
    if (columns == 1) return read_only(py::array_t<T>({rows}, {sizeof(T)}, data, owner));
    return read_only(py::array_t<T>({rows, static_cast<std::size_t>(columns)},
                                    {sizeof(T) * columns, sizeof(T)}, data, owner));
}

py::list symbols_of(const Crystal& c, int first, int count) {
    py::list symbols;
    for (int i = first; i < first + count; ++i) symbols.append(c.symbol(i));
    return symbols;
}

py::list labels_of(const Crystal& c, int first, int count) {
    py::list labels;
    for (int i = first; i < first + count; ++i) labels.append(c.labels()[static_cast<std::size_t>(i)]);
    return labels;
}

py::object lattice_of(const Crystal& c) {
    if (!c.has_cell()) return py::none();
    py::array_t<double> lattice({3, 3});
    auto out = lattice.mutable_unchecked<2>();
    const auto rows = c.lattice();
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j) out(i, j) = rows[i][j];
    return std::move(lattice);
}

py::array molecule_index(const Crystal& c) {
    py::array_t<std::int64_t> index(c.atom_count());
    std::int64_t* out = index.mutable_data();
    for (std::size_t m = 0; m < c.molecules().size(); ++m)
        for (int i = 0; i < c.molecules()[m].atom_count; ++i) *out++ = static_cast<std::int64_t>(m);
    return std::move(index);
}

py::object to_ase(py::object self) {
    const Crystal& c = self.cast<const Crystal&>();
    py::module_ ase;
    try {
        ase = py::module_::import("ase");
    } catch (py::error_already_set& e) {
        if (!e.matches(PyExc_ImportError)) throw;
        throw py::import_error("to_ase() needs ASE (the Python package ase, Debian python3-ase)");
    }
    py::dict arguments;
    arguments["numbers"] = view(c.elements(), 0, static_cast<std::size_t>(c.atom_count()), 1, self);
    arguments["positions"] = view(c.positions(), 0, static_cast<std::size_t>(c.atom_count()), 3, self);
    if (c.has_cell()) {
        arguments["cell"] = lattice_of(c);
        arguments["pbc"] = true;
    }
    py::object atoms = ase.attr("Atoms")(**arguments);
    atoms.attr("set_array")("molecule", molecule_index(c));
    return atoms;
}

teska::ReadSettings read_settings(bool strict, const std::string& disorder,
                                  const std::optional<std::string>& block,
                                  const std::optional<std::array<double, 6>>& cell,
                                  const std::string& bonds, bool metal_bonds) {
    teska::ReadSettings settings;
    settings.strict = strict;
    settings.disorder = disorder;
    settings.bonds = bonds;
    settings.metal_bonds = metal_bonds;
    settings.block = block.value_or("");
    settings.cell = cell;
    return settings;
}

std::string describe(const Crystal& c) {
    std::string text = "<teska.Crystal " + c.file() + ": " + std::to_string(c.atom_count()) +
                       " atoms in " + std::to_string(c.molecules().size()) + " molecules";
    if (!c.spacegroup().empty()) text += ", " + c.spacegroup();
    return text + ">";
}

void bind_molecule(py::module_& m) {
    py::class_<MoleculeView>(m, "Molecule", "One molecule of a crystal, whole.")
        .def_readonly("index", &MoleculeView::index, "Its index in Crystal.molecules.")
        .def_property_readonly("symbols", [](const MoleculeView& v) {
            return symbols_of(v.crystal, v.molecule().first_atom, v.molecule().atom_count);
        })
        .def_property_readonly(
            "numbers",
            [](py::object self) {
                const MoleculeView& v = self.cast<const MoleculeView&>();
                return view(v.crystal.elements(), static_cast<std::size_t>(v.molecule().first_atom),
                            static_cast<std::size_t>(v.molecule().atom_count), 1, self);
            },
            "Atomic numbers (0 for an unknown element), int32, read-only.")
        .def_property_readonly(
            "positions",
            [](py::object self) {
                const MoleculeView& v = self.cast<const MoleculeView&>();
                return view(v.crystal.positions(), static_cast<std::size_t>(v.molecule().first_atom),
                            static_cast<std::size_t>(v.molecule().atom_count), 3, self);
            },
            "Cartesian coordinates in angstrom, n x 3 float64, read-only.")
        .def_property_readonly(
            "fractional",
            [](py::object self) -> py::object {
                const MoleculeView& v = self.cast<const MoleculeView&>();
                if (!v.crystal.has_cell()) return py::none();
                return view(v.crystal.fractional(),
                            static_cast<std::size_t>(v.molecule().first_atom),
                            static_cast<std::size_t>(v.molecule().atom_count), 3, self);
            },
            "Fractional coordinates, n x 3 float64; None without a cell.")
        .def_property_readonly(
            "labels",
            [](const MoleculeView& v) {
                return labels_of(v.crystal, v.molecule().first_atom, v.molecule().atom_count);
            },
            "Site labels of the file (atom names of a PDB file; symbol and number otherwise).")
        .def_property_readonly(
            "occupancies",
            [](py::object self) {
                const MoleculeView& v = self.cast<const MoleculeView&>();
                return view(v.crystal.occupancies(),
                            static_cast<std::size_t>(v.molecule().first_atom),
                            static_cast<std::size_t>(v.molecule().atom_count), 1, self);
            },
            "Site occupancies, float64.")
        .def_property_readonly(
            "bonds",
            [](const MoleculeView& v) {
                const std::vector<teska::Bond>& bonds = v.crystal.bonds(v.index);
                py::array_t<std::int64_t> pairs({bonds.size(), std::size_t{2}});
                auto out = pairs.mutable_unchecked<2>();
                for (std::size_t k = 0; k < bonds.size(); ++k) {
                    out(static_cast<py::ssize_t>(k), 0) = bonds[k].a;
                    out(static_cast<py::ssize_t>(k), 1) = bonds[k].b;
                }
                return pairs;
            },
            "Bonded pairs of atoms of the molecule (indices within it, a < b), n x 2 int64.")
        .def_property_readonly(
            "added_bonds",
            [](const MoleculeView& v) {
                const teska::AddedBonds added = v.crystal.added_bonds(v.index);
                py::dict counts;
                counts["table"] = added.table;
                counts["metal"] = added.metal;
                return counts;
            },
            "Of its bonds, those the file's bond table and the metal-ligand rule added beyond "
            "the radii: {'table': n, 'metal': n}.")
        .def_property_readonly(
            "species",
            [](const MoleculeView& v) {
                return v.crystal.molecule_species()[static_cast<std::size_t>(v.index)];
            },
            "Index of its species in Crystal.species.")
        .def_property_readonly("formula", [](const MoleculeView& v) { return v.molecule().formula; },
                               "Formula in Hill order.")
        .def_property_readonly(
            "periodic", [](const MoleculeView& v) { return v.molecule().periodic; },
            "Bonded to its own periodic image (a chain, layer or network).")
        .def("__len__", [](const MoleculeView& v) { return v.molecule().atom_count; })
        .def("__repr__", [](const MoleculeView& v) {
            return "<teska.Molecule " + std::to_string(v.index) + " " + v.molecule().formula + ">";
        });

    py::class_<SpeciesView>(m, "Species", "A kind of molecule: the same elements bonded the same way.")
        .def_property_readonly("formula", [](const SpeciesView& v) { return v.species().formula; })
        .def_property_readonly("count", [](const SpeciesView& v) { return v.species().count; },
                               "Molecules of this kind in the cell.")
        .def_property_readonly(
            "representative",
            [](const SpeciesView& v) { return MoleculeView{v.crystal, v.species().representative}; },
            "Its first molecule.")
        .def_property_readonly("molecules", [](const SpeciesView& v) { return v.species().molecules; },
                               "Indices of its molecules.")
        .def("__repr__", [](const SpeciesView& v) {
            return "<teska.Species " + v.species().formula + " x" +
                   std::to_string(v.species().count) + ">";
        });

    py::class_<UniqueView>(m, "UniqueMolecule",
                           "A molecule that no symmetry operation makes from an earlier one, "
                           "with the molecules it stands for.")
        .def_property_readonly(
            "molecule", [](const UniqueView& v) { return MoleculeView{v.crystal, v.unique().molecule}; })
        .def_property_readonly("images", [](const UniqueView& v) { return v.unique().images; },
                               "Indices of the molecules it stands for, itself first.")
        .def_property_readonly(
            "operations", [](const UniqueView& v) { return v.unique().operations; },
            "For each image, the index in Crystal.operations of the operation that makes it "
            "(-1 where the operations hold no identity).")
        .def_property_readonly(
            "shifts",
            [](const UniqueView& v) {
                const auto& shifts = v.unique().shifts;
                py::array_t<std::int64_t> out({shifts.size(), std::size_t{3}});
                auto o = out.mutable_unchecked<2>();
                for (std::size_t k = 0; k < shifts.size(); ++k)
                    for (std::size_t d = 0; d < 3; ++d)
                        o(static_cast<py::ssize_t>(k), static_cast<py::ssize_t>(d)) = shifts[k][d];
                return out;
            },
            "For each image, the lattice vector added after the operation, n x 3 int64.")
        .def("__repr__", [](const UniqueView& v) {
            const teska::Molecule& molecule =
                v.crystal.molecules()[static_cast<std::size_t>(v.unique().molecule)];
            return "<teska.UniqueMolecule " + molecule.formula + " x" +
                   std::to_string(v.unique().images.size()) + ">";
        });
}

py::object atoms_view(py::object self, const std::vector<double>& (Crystal::*values)() const,
                      int columns) {
    const Crystal& c = self.cast<const Crystal&>();
    return view((c.*values)(), 0, static_cast<std::size_t>(c.atom_count()), columns, self);
}

void bind_crystal(py::module_& m) {
    py::class_<Crystal>(m, "Crystal", "A crystal read with teska.read or teska.read_string.")
        .def_property_readonly("file", &Crystal::file)
        .def_property_readonly("reader", &Crystal::reader,
                               "\"database\", \"strict\", \"pdb\", \"xyz\" or \"molfile\".")
        .def_property_readonly("block", &Crystal::block)
        .def_property_readonly("spacegroup", &Crystal::spacegroup)
        .def_property_readonly("symmetry_source", &Crystal::symmetry_source)
        .def_property_readonly("has_cell", &Crystal::has_cell)
        .def_property_readonly(
            "cell",
            [](const Crystal& c) -> py::object {
                if (!c.has_cell()) return py::none();
                const auto p = c.cell();
                return py::make_tuple(p[0], p[1], p[2], p[3], p[4], p[5]);
            },
            "(a, b, c, alpha, beta, gamma) in angstrom and degrees; None without a cell.")
        .def_property_readonly("lattice", &lattice_of,
                               "Rows a, b, c in angstrom, 3 x 3 float64; None without a cell.")
        .def_property_readonly(
            "operations",
            [](const Crystal& c) {
                const auto& ops = c.operations();
                py::array_t<double> out({ops.size(), std::size_t{3}, std::size_t{4}});
                auto o = out.mutable_unchecked<3>();
                for (std::size_t k = 0; k < ops.size(); ++k)
                    for (int i = 0; i < 3; ++i) {
                        for (int j = 0; j < 3; ++j)
                            o(static_cast<py::ssize_t>(k), i, j) = ops[k].r[i][j];
                        o(static_cast<py::ssize_t>(k), i, 3) = ops[k].t[i];
                    }
                return out;
            },
            "Symmetry operations as fractional maps [R | t], n x 3 x 4.")
        .def_property_readonly("formula", &Crystal::formula, "Of the cell, Hill order.")
        .def_property_readonly(
            "symbols", [](const Crystal& c) { return symbols_of(c, 0, c.atom_count()); })
        .def_property_readonly(
            "numbers",
            [](py::object self) {
                const Crystal& c = self.cast<const Crystal&>();
                return view(c.elements(), 0, static_cast<std::size_t>(c.atom_count()), 1, self);
            },
            "Atomic numbers of the cell's atoms, molecule after molecule, int32.")
        .def_property_readonly(
            "positions", [](py::object self) { return atoms_view(self, &Crystal::positions, 3); },
            "Cartesian coordinates of the cell's atoms in angstrom, molecule after molecule.")
        .def_property_readonly(
            "fractional",
            [](py::object self) -> py::object {
                if (!self.cast<const Crystal&>().has_cell()) return py::none();
                return atoms_view(self, &Crystal::fractional, 3);
            },
            "Fractional coordinates, n x 3 float64; None without a cell.")
        .def_property_readonly(
            "labels", [](const Crystal& c) { return labels_of(c, 0, c.atom_count()); },
            "Site labels of the file (atom names of a PDB file; symbol and number otherwise).")
        .def_property_readonly(
            "occupancies", [](py::object self) { return atoms_view(self, &Crystal::occupancies, 1); },
            "Site occupancies, float64.")
        .def_property_readonly("molecule_index", &molecule_index,
                               "The molecule of each atom, int64.")
        .def_property_readonly(
            "molecules",
            [](const Crystal& c) {
                py::list list;
                for (std::size_t i = 0; i < c.molecules().size(); ++i)
                    list.append(MoleculeView{c, static_cast<int>(i)});
                return list;
            },
            "The molecules, whole, one entry each.")
        .def_property_readonly(
            "species",
            [](const Crystal& c) {
                py::list list;
                for (std::size_t i = 0; i < c.species().size(); ++i)
                    list.append(SpeciesView{c, static_cast<int>(i)});
                return list;
            },
            "The kinds of molecule, in order of first appearance.")
        .def_property_readonly(
            "unique_molecules",
            [](const Crystal& c) {
                py::list list;
                for (std::size_t i = 0; i < c.unique_molecules().size(); ++i)
                    list.append(UniqueView{c, static_cast<int>(i)});
                return list;
            },
            "The molecules that are no image of an earlier one under the symmetry operations, "
            "each with the molecules it stands for.")
        .def_property_readonly("warnings", &Crystal::warnings)
        .def_property_readonly("disorder_left_out", &Crystal::disorder_left_out,
                               "Sites left out by the disorder choice.")
        .def_property_readonly("table_bonds", &Crystal::table_bonds,
                               "Bonds of the cell the file's bond table added beyond the radii.")
        .def_property_readonly("metal_bonds", &Crystal::metal_bonds,
                               "Metal-ligand bonds of the cell added beyond the radii.")
        .def(
            "write",
            [](const Crystal& c, const std::string& path, std::optional<std::string> format,
               bool split, std::array<int, 3> supercell, bool unique, const std::string& job,
               const std::string& method, const std::string& basis, int charge, int multiplicity,
               int nprocs, int memory_mb) {
                teska::python::WriteRequest request;
                request.format = std::move(format);
                request.split = split;
                request.supercell = supercell;
                request.unique = unique;
                request.job.kind = job;
                request.job.method = method;
                request.job.basis = basis;
                request.job.charge = charge;
                request.job.multiplicity = multiplicity;
                request.job.nprocs = nprocs;
                request.job.memory_mb = memory_mb;
                return teska::python::write_crystal(c, path, request);
            },
            py::arg("path"), py::arg("format") = py::none(), py::arg("split") = false,
            py::arg("supercell") = std::array<int, 3>{1, 1, 1}, py::arg("unique") = false,
            py::arg("job") = "sp", py::arg("method") = "B3LYP", py::arg("basis") = "6-31G(d)",
            py::arg("charge") = 0, py::arg("multiplicity") = 1, py::arg("nprocs") = 1,
            py::arg("memory_mb") = 1000,
            "Writes the cell (pdb, cif, xyz) or one file per molecule (xyz with split=True, mol, "
            "gaussian, orca, qchem: NAME_01.xyz, NAME-01.com) and returns the files written. "
            "The format is format= or the one the extension of path implies.")
        .def("to_ase", &to_ase,
             "An ase.Atoms of the cell with the molecule of each atom in its array "
             "\"molecule\"; needs ASE.")
        .def("__len__", &Crystal::atom_count)
        .def("__repr__", &describe);
}

}  // namespace

PYBIND11_MODULE(_teska, m) {
    m.doc() =
        "Crystal structures from CIF files (and PDB, XYZ and MDL molfiles) as whole molecules, "
        "one entry per molecule, with their bonds, species and symmetry-unique molecules, and "
        "writers for PDB, CIF, XYZ, MOL and Gaussian, ORCA and Q-Chem inputs.";
    m.attr("__version__") = TESKA_VERSION;
    teska::python::register_errors(m);
    bind_molecule(m);
    bind_crystal(m);
    bind_dimers(m);

    m.def(
        "read",
        [](const std::string& path, bool strict, const std::string& disorder,
           std::optional<std::string> block, std::optional<std::array<double, 6>> cell,
           const std::string& bonds, bool metal_bonds) {
            const teska::ReadSettings settings =
                read_settings(strict, disorder, block, cell, bonds, metal_bonds);
            return Crystal::read(path, settings);
        },
        py::arg("path"), py::arg("strict") = false, py::arg("disorder") = "major",
        py::arg("block") = py::none(), py::arg("cell") = py::none(), py::arg("bonds") = "both",
        py::arg("metal_bonds") = true,
        "Reads a crystal from a CIF file (the database reader; strict=True: the rules of "
        "cif2pdb), or a PDB, XYZ or MDL molfile by its extension. disorder: \"major\", \"all\" "
        "or the name of a disorder group; block: a data block name; cell: (a, b, c, alpha, "
        "beta, gamma) for a molecule file without one; bonds: \"radii\", \"file\" (the "
        "file's bond table) or \"both\"; metal_bonds: metal-ligand bonds beyond the radii "
        "where no bond table is used. Raises teska.Error.");
    m.def(
        "read_string",
        [](const std::string& text, const std::string& format, const std::string& name,
           bool strict, const std::string& disorder, std::optional<std::string> block,
           std::optional<std::array<double, 6>> cell, const std::string& bonds,
           bool metal_bonds) {
            const teska::ReadSettings settings =
                read_settings(strict, disorder, block, cell, bonds, metal_bonds);
            return Crystal::read_text(text, format, name, settings);
        },
        py::arg("text"), py::kw_only(), py::arg("format") = "cif", py::arg("name") = "<string>",
        py::arg("strict") = false, py::arg("disorder") = "major", py::arg("block") = py::none(),
        py::arg("cell") = py::none(), py::arg("bonds") = "both", py::arg("metal_bonds") = true,
        "Reads a crystal from text: format is \"cif\", \"pdb\", \"xyz\" or \"mol\"; name stands "
        "for the text in errors and warnings. Otherwise as read().");
    m.attr("formats") = py::cast(teska::format_names_accepted());
}
