// The Python module teska: read a crystal (or a molecule file) into whole molecules, look at
// them as NumPy arrays, write them in every format `teska convert` writes, hand them to ASE.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "crystal.h"
#include "element_rows.h"
#include "errors.h"
#include "formats.h"

namespace py = pybind11;
using teska::Error;
using teska::python::Crystal;
using teska::python::Molecule;

namespace {

py::array_t<double> rows_of_three(const std::vector<double>& values) {
    const py::ssize_t n = static_cast<py::ssize_t>(values.size() / 3);
    py::array_t<double> array({n, py::ssize_t{3}});
    std::copy(values.begin(), values.end(), array.mutable_data());
    return array;
}

// Atomic numbers: the element rows of the store, 0 for an unknown element.
py::array_t<std::int64_t> atomic_numbers(const std::vector<int>& rows) {
    py::array_t<std::int64_t> numbers(static_cast<py::ssize_t>(rows.size()));
    std::int64_t* out = numbers.mutable_data();
    for (std::size_t i = 0; i < rows.size(); ++i)
        out[i] = rows[i] > 0 && rows[i] < kElementRows ? rows[i] : 0;
    return numbers;
}

py::list symbols_of(const std::vector<int>& rows) {
    py::list symbols;
    for (int row : rows) symbols.append(fileio_detail::element_symbol(row));
    return symbols;
}

// The atoms of the whole cell, molecule after molecule.
template <typename Field>
std::vector<Field> concatenated(const Crystal& c, std::vector<Field> Molecule::*field) {
    std::vector<Field> all;
    for (const auto& molecule : c.molecules)
        all.insert(all.end(), ((*molecule).*field).begin(), ((*molecule).*field).end());
    return all;
}

py::array_t<std::int64_t> molecule_index(const Crystal& c) {
    py::array_t<std::int64_t> index(c.atom_count());
    std::int64_t* out = index.mutable_data();
    for (std::size_t m = 0; m < c.molecules.size(); ++m)
        for (int i = 0; i < c.molecules[m]->size(); ++i) *out++ = static_cast<std::int64_t>(m);
    return index;
}

py::object lattice_of(const Crystal& c) {
    if (!c.has_cell) return py::none();
    py::array_t<double> lattice({3, 3});
    auto out = lattice.mutable_unchecked<2>();
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) out(i, j) = c.lattice[i][j];
    return std::move(lattice);
}

py::object fractional_of(const Crystal& c) {
    if (!c.has_cell) return py::none();
    return rows_of_three(concatenated(c, &Molecule::fractional));
}

py::object to_ase(const Crystal& c) {
    py::module_ ase;
    try {
        ase = py::module_::import("ase");
    } catch (py::error_already_set& e) {
        if (!e.matches(PyExc_ImportError)) throw;
        throw py::import_error("to_ase() needs ASE (the Python package ase, Debian python3-ase)");
    }
    py::dict arguments;
    arguments["numbers"] = atomic_numbers(concatenated(c, &Molecule::rows));
    arguments["positions"] = rows_of_three(concatenated(c, &Molecule::positions));
    if (c.has_cell) {
        arguments["cell"] = lattice_of(c);
        arguments["pbc"] = true;
    }
    py::object atoms = ase.attr("Atoms")(**arguments);
    atoms.attr("set_array")("molecule", molecule_index(c));
    return atoms;
}

// read_string: the text goes to a temporary file of the kind format names, which every reader
// can take; errors and warnings name the text by name.
Crystal read_text(const std::string& text, const std::string& format, const std::string& name,
                  const teska::python::ReadRequest& request) {
    std::string suffix;
    if (format == "cif")
        suffix = ".cif";
    else if (format == "pdb")
        suffix = ".pdb";
    else if (format == "xyz")
        suffix = ".xyz";
    else if (format == "mol" || format == "sdf")
        suffix = ".mol";
    else
        throw Error(name, 0, 0, "format must be cif, pdb, xyz or mol");
    const char* folder = std::getenv("TMPDIR");
    std::string path = std::string(folder != nullptr && *folder != '\0' ? folder : "/tmp") +
                       "/teska-text-XXXXXX" + suffix;
    const int fd = mkstemps(&path[0], static_cast<int>(suffix.size()));
    if (fd < 0) throw Error(name, 0, 0, "cannot create a temporary file in " + path);
    bool written = true;
    for (std::size_t at = 0; at < text.size() && written;) {
        const ssize_t n = ::write(fd, text.data() + at, text.size() - at);
        written = n > 0;
        if (written) at += static_cast<std::size_t>(n);
    }
    written = (::close(fd) == 0) && written;
    struct Removed {
        std::string path;
        ~Removed() { std::remove(path.c_str()); }
    } removed{path};
    if (!written) throw Error(name, 0, 0, "cannot write a temporary file " + path);
    return Crystal::read(path, name, request);
}

teska::python::ReadRequest read_request(bool strict, const std::string& disorder,
                                        const std::optional<std::string>& block,
                                        const std::optional<std::array<double, 6>>& cell) {
    teska::python::ReadRequest request;
    request.strict = strict;
    request.disorder = disorder;
    request.block = block;
    request.cell = cell;
    return request;
}

std::string describe(const Crystal& c) {
    std::string text = "<teska.Crystal " + c.file + ": " + std::to_string(c.atom_count()) +
                       " atoms in " + std::to_string(c.molecules.size()) + " molecules";
    if (!c.spacegroup.empty()) text += ", " + c.spacegroup;
    return text + ">";
}

}  // namespace

PYBIND11_MODULE(teska, m) {
    m.doc() =
        "Crystal structures from CIF files (and PDB, XYZ and MDL molfiles) as whole molecules, "
        "one entry per molecule, with writers for PDB, CIF, XYZ, MOL and Gaussian, ORCA and "
        "Q-Chem inputs.";
    m.attr("__version__") = TESKA_VERSION;
    teska::python::register_errors(m);

    py::class_<Molecule, std::shared_ptr<Molecule>>(m, "Molecule",
                                                    "One molecule of a crystal, whole.")
        .def_property_readonly("symbols", [](const Molecule& mol) { return symbols_of(mol.rows); })
        .def_property_readonly(
            "numbers", [](const Molecule& mol) { return atomic_numbers(mol.rows); },
            "Atomic numbers (0 for an unknown element), int64.")
        .def_property_readonly(
            "positions", [](const Molecule& mol) { return rows_of_three(mol.positions); },
            "Cartesian coordinates in angstrom, an n x 3 float64 array (a copy).")
        .def_property_readonly(
            "fractional",
            [](const Molecule& mol) -> py::object {
                if (mol.fractional.empty() && !mol.positions.empty()) return py::none();
                return rows_of_three(mol.fractional);
            },
            "Fractional coordinates, n x 3 float64; None without a cell.")
        .def_readonly("formula", &Molecule::formula, "Formula in Hill order.")
        .def_readonly("periodic", &Molecule::periodic,
                      "Bonded to its own periodic image (a chain, layer or network).")
        .def("__len__", &Molecule::size)
        .def("__repr__",
             [](const Molecule& mol) { return "<teska.Molecule " + mol.formula + ">"; });

    py::class_<Crystal>(m, "Crystal", "A crystal read with teska.read or teska.read_string.")
        .def_readonly("file", &Crystal::file)
        .def_readonly("reader", &Crystal::reader,
                      "\"database\", \"strict\", \"pdb\", \"xyz\" or \"molfile\".")
        .def_readonly("block", &Crystal::block)
        .def_readonly("spacegroup", &Crystal::spacegroup)
        .def_readonly("symmetry_source", &Crystal::symmetry_source)
        .def_readonly("has_cell", &Crystal::has_cell)
        .def_property_readonly(
            "cell",
            [](const Crystal& c) -> py::object {
                if (!c.has_cell) return py::none();
                return py::make_tuple(c.cell[0], c.cell[1], c.cell[2], c.cell[3], c.cell[4],
                                      c.cell[5]);
            },
            "(a, b, c, alpha, beta, gamma) in angstrom and degrees; None without a cell.")
        .def_property_readonly("lattice", &lattice_of,
                               "Rows a, b, c in angstrom, 3 x 3 float64; None without a cell.")
        .def_property_readonly(
            "operations",
            [](const Crystal& c) {
                py::array_t<double> ops({static_cast<py::ssize_t>(c.operations.size()),
                                         py::ssize_t{3}, py::ssize_t{4}});
                auto out = ops.mutable_unchecked<3>();
                for (std::size_t k = 0; k < c.operations.size(); ++k)
                    for (int i = 0; i < 3; ++i) {
                        for (int j = 0; j < 3; ++j)
                            out(static_cast<py::ssize_t>(k), i, j) = c.operations[k].r[i][j];
                        out(static_cast<py::ssize_t>(k), i, 3) = c.operations[k].t[i];
                    }
                return ops;
            },
            "Symmetry operations as fractional maps [R | t], n x 3 x 4.")
        .def_property_readonly(
            "symbols",
            [](const Crystal& c) { return symbols_of(concatenated(c, &Molecule::rows)); })
        .def_property_readonly(
            "numbers",
            [](const Crystal& c) { return atomic_numbers(concatenated(c, &Molecule::rows)); },
            "Atomic numbers of the cell's atoms, molecule after molecule.")
        .def_property_readonly(
            "positions",
            [](const Crystal& c) { return rows_of_three(concatenated(c, &Molecule::positions)); },
            "Cartesian coordinates of the cell's atoms in angstrom, molecule after molecule.")
        .def_property_readonly("fractional", &fractional_of)
        .def_property_readonly("molecule_index", &molecule_index,
                               "The molecule of each atom, int64.")
        .def_property_readonly(
            "molecules",
            [](const Crystal& c) {
                py::list list;
                for (const auto& molecule : c.molecules) list.append(molecule);
                return list;
            },
            "The molecules, whole, one entry each.")
        .def_property_readonly(
            "unique_molecules",
            [](const Crystal& c) {
                py::list list;
                for (int index : c.unique)
                    list.append(c.molecules[static_cast<std::size_t>(index)]);
                return list;
            },
            "The molecules that are no image of an earlier one under the symmetry operations.")
        .def_readonly("unique_indices", &Crystal::unique)
        .def_readonly("warnings", &Crystal::warnings)
        .def_readonly("disorder_left_out", &Crystal::disorder_left_out,
                      "Sites left out by the disorder choice.")
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
                return c.write(path, request);
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

    m.def(
        "read",
        [](const std::string& path, bool strict, const std::string& disorder,
           std::optional<std::string> block, std::optional<std::array<double, 6>> cell) {
            return Crystal::read(path, path, read_request(strict, disorder, block, cell));
        },
        py::arg("path"), py::arg("strict") = false, py::arg("disorder") = "major",
        py::arg("block") = py::none(), py::arg("cell") = py::none(),
        "Reads a crystal from a CIF file (the database reader; strict=True: the rules of "
        "cif2pdb), or a PDB, XYZ or MDL molfile by its extension. disorder: \"major\", \"all\" "
        "or the name of a disorder group; block: a data block name; cell: (a, b, c, alpha, "
        "beta, gamma) for a molecule file without one. Raises teska.Error.");
    m.def(
        "read_string",
        [](const std::string& text, const std::string& format, const std::string& name, bool strict,
           const std::string& disorder, std::optional<std::string> block,
           std::optional<std::array<double, 6>> cell) {
            return read_text(text, format, name, read_request(strict, disorder, block, cell));
        },
        py::arg("text"), py::kw_only(), py::arg("format") = "cif", py::arg("name") = "<string>",
        py::arg("strict") = false, py::arg("disorder") = "major", py::arg("block") = py::none(),
        py::arg("cell") = py::none(),
        "Reads a crystal from text: format is \"cif\", \"pdb\", \"xyz\" or \"mol\"; name stands "
        "for the text in errors and warnings. Otherwise as read().");
    m.attr("formats") = py::cast(teska::cli::format_names_accepted());
}
