// Crystal.dimers for Python: the dimer classes of the crystal model as read-only objects, the
// molecule centres as a NumPy array.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <map>
#include <optional>

#include "teska/crystal.h"
#include "teska/dimers.h"

namespace py = pybind11;

namespace {

py::tuple triple(const std::array<int, 3>& t) { return py::make_tuple(t[0], t[1], t[2]); }

}  // namespace

void bind_dimers(py::module_& m) {
    py::class_<teska::DimerClass>(
        m, "DimerClass",
        "A class of dimers equal by symmetry: its representative (molecule A = i, molecule B = "
        "j moved by the lattice vector t) and the whole orbit.")
        .def_readonly("i", &teska::DimerClass::i)
        .def_readonly("j", &teska::DimerClass::j)
        .def_property_readonly("t", [](const teska::DimerClass& c) { return triple(c.t); })
        .def_readonly("formula_a", &teska::DimerClass::formula_a)
        .def_readonly("formula_b", &teska::DimerClass::formula_b)
        .def_readonly("com_distance", &teska::DimerClass::com_distance,
                      "Angstrom between the centres of mass.")
        .def_readonly("closest_contact", &teska::DimerClass::closest_contact,
                      "Angstrom between the nearest atoms.")
        .def_property_readonly(
            "contact_atoms",
            [](const teska::DimerClass& c) {
                return py::make_tuple(c.contact_atoms[0], c.contact_atoms[1]);
            },
            "Atom indices of the crystal of the nearest atoms: of A, of B.")
        .def_property_readonly(
            "contact_labels",
            [](const teska::DimerClass& c) {
                return py::make_tuple(c.contact_labels[0], c.contact_labels[1]);
            })
        .def_readonly("multiplicity", &teska::DimerClass::multiplicity,
                      "Dimers of the class per cell.")
        .def_readonly("neighbours", &teska::DimerClass::neighbours,
                      "Dimers of the class that molecule A takes part in.")
        .def_readonly("relation", &teska::DimerClass::relation,
                      "Symmetry codes of the operations mapping A onto B; empty when none does.")
        .def_readonly("relation_names", &teska::DimerClass::relation_names)
        .def_property_readonly(
            "orbit",
            [](const teska::DimerClass& c) {
                py::list orbit;
                for (const teska::Dimer& d : c.orbit) orbit.append(py::make_tuple(d.i, d.j, triple(d.t)));
                return orbit;
            },
            "Every dimer (i, j, t) of the cell in the class.")
        .def_readonly("near_cutoff", &teska::DimerClass::near_cutoff,
                      "The closest contact lies within 0.05 angstrom of the cutoff.")
        .def("__repr__", [](const teska::DimerClass& c) {
            char text[160];
            std::snprintf(text, sizeof text,
                          "<teska.DimerClass %d-%d (%d, %d, %d): contact %.3f, centres %.3f, x%d>",
                          c.i, c.j, c.t[0], c.t[1], c.t[2], c.closest_contact, c.com_distance,
                          c.multiplicity);
            return std::string(text);
        });

    py::class_<teska::DimerSet>(m, "DimerSet", "The dimer classes of a crystal.")
        .def_readonly("cutoff", &teska::DimerSet::cutoff)
        .def_readonly("heavy_only", &teska::DimerSet::heavy_only)
        .def_readonly("operations", &teska::DimerSet::operations,
                      "Distinct symmetry operations.")
        .def_readonly("classes", &teska::DimerSet::classes,
                      "By closest contact, then centre-of-mass distance.")
        .def_readonly("dimers_per_cell", &teska::DimerSet::dimers_per_cell)
        .def_property_readonly("neighbours_per_molecule", &teska::DimerSet::neighbours_per_molecule)
        .def_property_readonly("near_cutoff_classes", &teska::DimerSet::near_cutoff_classes)
        .def_property_readonly(
            "formulas",
            [](const teska::DimerSet& s) {
                std::vector<std::string> formulas;
                for (const teska::DimerMolecule& d : s.molecules) formulas.push_back(d.formula);
                return formulas;
            },
            "Formula of each molecule of the cell.")
        .def_property_readonly(
            "centres",
            [](const teska::DimerSet& s) {
                py::array_t<double> centres({s.molecules.size(), std::size_t{3}});
                auto out = centres.mutable_unchecked<2>();
                for (std::size_t k = 0; k < s.molecules.size(); ++k)
                    for (py::ssize_t d = 0; d < 3; ++d)
                        out(static_cast<py::ssize_t>(k), d) = s.molecules[k].centre[static_cast<std::size_t>(d)];
                return centres;
            },
            "Fractional centre of mass of each molecule, in [0, 1), n x 3 float64.")
        .def("__len__", [](const teska::DimerSet& s) { return s.classes.size(); })
        .def("__repr__", [](const teska::DimerSet& s) {
            return "<teska.DimerSet " + std::to_string(s.classes.size()) + " classes, " +
                   std::to_string(s.dimers_per_cell) + " dimers per cell>";
        });

    py::reinterpret_borrow<py::class_<teska::Crystal>>(m.attr("Crystal"))
        .def("dimers", &teska::find_dimers, py::arg("cutoff") = 4.0, py::arg("heavy_only") = false,
             "The pairs of molecules whose closest atoms are nearer than cutoff (angstrom), in "
             "classes equal by symmetry; heavy_only leaves hydrogens out of the contact. Raises "
             "teska.Error for a crystal without a cell or with a molecule bonded to its own "
             "image.")
        .def("dimers_svg", &teska::dimers_svg, py::arg("dimers"),
             "An SVG picture of the classes: each species' first molecule with its neighbours, "
             "projected onto its mean plane, coloured and numbered by class.")
        .def(
            "write_dimers",
            [](const teska::Crystal& c, const teska::DimerSet& set, const std::string& directory,
               const std::vector<std::string>& formats, const std::map<std::string, int>& charges,
               const std::string& method, const std::string& basis, int nprocs, int memory_mb) {
                teska::DimerInputSettings settings;
                settings.formats.clear();
                for (const std::string& name : formats) {
                    const std::optional<teska::Format> f = teska::format_from_name(name);
                    if (!f) throw py::value_error("unknown format \"" + name + "\"");
                    settings.formats.push_back(*f);
                }
                settings.charges.assign(charges.begin(), charges.end());
                settings.method = method;
                settings.basis = basis;
                settings.nprocs = nprocs;
                settings.memory_mb = memory_mb;
                return teska::write_dimer_inputs(c, set, directory, settings);
            },
            py::arg("dimers"), py::arg("directory"),
            py::arg("formats") = std::vector<std::string>{"xyz"},
            py::arg("charges") = std::map<std::string, int>{}, py::arg("method") = "B3LYP",
            py::arg("basis") = "6-31G(d)", py::arg("nprocs") = 1, py::arg("memory_mb") = 1000,
            "Writes directory/class_NN/dimer.EXT, monomer_a.EXT and monomer_b.EXT for every "
            "class of dimers (from this crystal's dimers()), in the one frame of the crystal, in "
            "each format (xyz, pdb, gaussian, orca, qchem); charges maps a species' formula to "
            "its charge. Returns the files written.");
}
