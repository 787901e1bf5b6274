"""The Python module teska: reading, the arrays, errors, writers and ASE.

Run by CTest with PYTHONPATH naming the built module and these variables: TESKA_EXE and
CIF2PDB_EXE (the executables), TEST_DATA_DIR, EXAMPLES_DIR and SHARED_CIF_DIR (optional)."""

import glob
import os
import subprocess
import sys
import tempfile
import unittest

import numpy as np

import teska

DATA = os.environ["TEST_DATA_DIR"]
EXAMPLES = os.environ["EXAMPLES_DIR"]
SHARED = os.environ.get("SHARED_CIF_DIR", "")
TESKA_EXE = os.environ["TESKA_EXE"]
CIF2PDB_EXE = os.environ["CIF2PDB_EXE"]
NAPHTHALENE = os.path.join(EXAMPLES, "naphthalene.cif")

try:
    import ase
    import ase.io
except ImportError:
    ase = None


def shared(name):
    path = os.path.join(SHARED, name)
    if not os.path.isfile(path):
        raise unittest.SkipTest(f"{path} is absent")
    return path


def read_xyz(path):
    with open(path) as f:
        lines = f.read().splitlines()
    count = int(lines[0])
    rows = [line.split() for line in lines[2 : 2 + count]]
    return [r[0] for r in rows], np.array([[float(v) for v in r[1:4]] for r in rows])


def pdb_coordinates(path):
    with open(path) as f:
        return np.array(
            [[float(line[30:38]), float(line[38:46]), float(line[46:54])] for line in f if line.startswith("ATOM")]
        )


def nearest_neighbour_distances(positions):
    d = np.linalg.norm(positions[:, None, :] - positions[None, :, :], axis=2)
    np.fill_diagonal(d, np.inf)
    return d.min(axis=1)


class TempDir(unittest.TestCase):
    def setUp(self):
        self._tmp = tempfile.TemporaryDirectory()
        self.tmp = self._tmp.name

    def tearDown(self):
        self._tmp.cleanup()


class ReadingTest(TempDir):
    def test_same_molecules_and_coordinates_as_teska_convert(self):
        # A salt (cation and PF6), an unclosed quote repaired, a P1 hydrocarbon, an organic
        # conductor with FeBr4: teska convert writes each molecule to ten decimals.
        for name in ("ocelot_meept_pf6.cif", "jmol_k04041.cif", "cod_2100348_benzene.cif", "edt_ttf_febr4.cif"):
            with self.subTest(name):
                path = shared(name)
                crystal = teska.read(path)
                out = os.path.join(self.tmp, name[:-4] + ".xyz")
                subprocess.run(
                    [TESKA_EXE, "convert", path, "-t", "xyz", "--split", "-o", out], check=True, capture_output=True
                )
                written = sorted(glob.glob(out[:-4] + "_*.xyz"))
                self.assertEqual(len(written), len(crystal.molecules))
                for molecule, xyz in zip(crystal.molecules, written):
                    symbols, positions = read_xyz(xyz)
                    self.assertEqual(molecule.symbols, symbols)
                    np.testing.assert_allclose(molecule.positions, positions, rtol=0, atol=1e-9)

    def test_salt_cell_reasoned(self):
        # MEEPT+ PF6- with Z = 4: four cations C17H19NO2S and four anions, 4 x 41 + 4 x 7 atoms.
        crystal = teska.read(shared("ocelot_meept_pf6.cif"))
        self.assertEqual(len(crystal), 188)
        formulas = sorted(m.formula for m in crystal.molecules)
        self.assertEqual(formulas, ["C17H19NO2S"] * 4 + ["F6P"] * 4)
        self.assertEqual(sorted(u.molecule.formula for u in crystal.unique_molecules), ["C17H19NO2S", "F6P"])
        # Two species of four; each unique molecule stands for the four of its species.
        self.assertEqual(sorted((s.formula, s.count) for s in crystal.species), [("C17H19NO2S", 4), ("F6P", 4)])
        for u in crystal.unique_molecules:
            self.assertEqual(len(u.images), 4)
            self.assertEqual(u.shifts.shape, (4, 3))
            self.assertEqual({crystal.molecules[i].species for i in u.images}, {u.molecule.species})
        for molecule in crystal.molecules:
            # Whole: every atom has a partner within bonding distance in its own molecule.
            self.assertLess(nearest_neighbour_distances(molecule.positions).max(), 2.0)
            # One entry per molecule, its centre in the cell.
            centre = molecule.fractional.mean(axis=0)
            self.assertTrue(np.all((centre >= -0.5) & (centre < 1.5)))

    def test_arrays_shapes_and_types(self):
        crystal = teska.read(NAPHTHALENE)
        self.assertEqual(crystal.reader, "database")
        self.assertEqual(crystal.cell, (8.658, 6.003, 8.235, 90.0, 122.92, 90.0))
        self.assertEqual(len(crystal.molecules), 2)  # P21/c, Z = 2 on inversion centres
        self.assertEqual(len(crystal), 36)
        self.assertEqual(crystal.lattice.shape, (3, 3))
        self.assertAlmostEqual(np.linalg.norm(crystal.lattice[0]), 8.658, places=12)
        self.assertEqual(crystal.operations.shape, (4, 3, 4))
        for molecule in crystal.molecules:
            self.assertEqual(molecule.formula, "C10H8")
            self.assertEqual(len(molecule), 18)
            for array in (molecule.positions, molecule.fractional):
                self.assertEqual(array.shape, (18, 3))
                self.assertEqual(array.dtype, np.float64)
                self.assertTrue(array.flags.c_contiguous)
            self.assertEqual(molecule.numbers.dtype, np.int32)
            self.assertEqual(sorted(set(molecule.numbers.tolist())), [1, 6])
            self.assertEqual(molecule.symbols.count("C"), 10)
        # The cell's atoms are the molecules' atoms, in order, and Cartesian = fractional x lattice.
        self.assertEqual(crystal.positions.shape, (36, 3))
        np.testing.assert_array_equal(crystal.positions[18:], crystal.molecules[1].positions)
        np.testing.assert_array_equal(crystal.molecule_index, [0] * 18 + [1] * 18)
        np.testing.assert_allclose(crystal.fractional @ crystal.lattice, crystal.positions, atol=1e-9)
        # The arrays are read-only views of the crystal's own.
        with self.assertRaises(ValueError):
            crystal.molecules[0].positions[0, 0] = 1e6

    def test_labels_occupancies_bonds_and_species(self):
        crystal = teska.read(NAPHTHALENE)
        # Each molecule lies on an inversion centre: the 9 sites of the file, twice each.
        sites = ["C1", "C2", "C3", "C4", "C5", "H1", "H2", "H3", "H4"]
        for molecule in crystal.molecules:
            self.assertEqual(sorted(molecule.labels), sorted(sites * 2))
            np.testing.assert_array_equal(molecule.occupancies, np.ones(18))
            # Naphthalene: 11 C-C and 8 C-H bonds; every hydrogen bonded once.
            bonds = molecule.bonds
            self.assertEqual(bonds.shape, (19, 2))
            degree = np.bincount(bonds.ravel(), minlength=18)
            np.testing.assert_array_equal(degree[molecule.numbers == 1], np.ones(8))
            self.assertEqual(molecule.species, 0)
        self.assertEqual([(s.formula, s.count) for s in crystal.species], [("C10H8", 2)])
        self.assertEqual(crystal.labels[:18], crystal.molecules[0].labels)

    def test_species_of_a_cocrystal(self):
        # Phenanthroline and binaphthol in P-1, one of each in the asymmetric unit.
        crystal = teska.read(shared("cod_2007325_cocrystal.cif"))
        self.assertEqual(sorted((s.formula, s.count) for s in crystal.species), [("C12H8N2", 2), ("C20H14O2", 2)])
        for molecule in crystal.molecules:
            hydrogens = molecule.numbers == 1
            degree = np.bincount(molecule.bonds.ravel(), minlength=len(molecule))
            np.testing.assert_array_equal(degree[hydrogens], np.ones(hydrogens.sum()))

    def test_read_string_equals_read(self):
        with open(NAPHTHALENE) as f:
            text = f.read()
        a, b = teska.read(NAPHTHALENE), teska.read_string(text, name="naph.cif")
        self.assertEqual(b.file, "naph.cif")
        np.testing.assert_array_equal(a.positions, b.positions)
        self.assertEqual(a.symbols, b.symbols)

    def test_disorder_choices(self):
        # Two CCl2 fragments, one chlorine each split in two groups (0.7/0.3 and 0.5/0.5).
        path = os.path.join(DATA, "database", "disorder_assemblies.cif")
        major, every, second = (teska.read(path, disorder=d) for d in ("major", "all", "2"))
        self.assertEqual((len(major), major.disorder_left_out), (6, 2))
        self.assertEqual((len(every), every.disorder_left_out), (8, 0))
        self.assertEqual(len(second), 6)
        self.assertEqual(sorted(m.formula for m in major.molecules), ["CCl2", "CCl2"])
        # Group 2 of the first assembly puts its chlorine at z = 0.62045.
        self.assertTrue(np.any(np.isclose(second.fractional[:, 2], 0.62045)))
        self.assertFalse(np.any(np.isclose(major.fractional[:, 2], 0.62045)))

    def test_bond_sources(self):
        # Fe-O 2.13 A, beyond the radii: the author's bond table keeps the aqua complex whole.
        path = os.path.join(DATA, "database", "hexaaqua_iron_bond_table.cif")
        both, radii = teska.read(path), teska.read(path, bonds="radii", metal_bonds=False)
        self.assertEqual([m.formula for m in both.molecules], ["FeH12O6"])
        self.assertEqual((both.table_bonds, both.molecules[0].bonds.shape), (6, (18, 2)))
        self.assertEqual(sorted(m.formula for m in radii.molecules), ["Fe"] + ["H2O"] * 6)
        with self.assertRaises(teska.Error):
            teska.read(path, bonds="table")
        # Without the table, the metal-ligand rule joins the six Fe-O bonds.
        metal = teska.read(path, bonds="radii")
        self.assertEqual(([m.formula for m in metal.molecules], metal.metal_bonds), (["FeH12O6"], 6))
        self.assertEqual([both.molecules[0].added_bonds, metal.molecules[0].added_bonds],
                         [{"table": 6, "metal": 0}, {"table": 0, "metal": 6}])

    def test_strict_reader_matches_cif2pdb(self):
        pdb = os.path.join(self.tmp, "n.pdb")
        subprocess.run([CIF2PDB_EXE, NAPHTHALENE, pdb], check=True, capture_output=True)
        crystal = teska.read(NAPHTHALENE, strict=True)
        self.assertEqual(crystal.reader, "strict")
        np.testing.assert_allclose(crystal.positions, pdb_coordinates(pdb), rtol=0, atol=5e-4)

    def test_molecule_file_without_cell(self):
        crystal = teska.read(os.path.join(DATA, "readers", "water.mol"))
        self.assertEqual(crystal.reader, "molfile")
        self.assertFalse(crystal.has_cell)
        self.assertIsNone(crystal.cell)
        self.assertIsNone(crystal.lattice)
        self.assertIsNone(crystal.fractional)
        self.assertEqual([m.formula for m in crystal.molecules], ["H2O"])
        self.assertIsNone(crystal.molecules[0].fractional)

    def test_store_readers_print_nothing(self):
        # The store's PDB reader reports the cell it read on standard output; the module keeps
        # that out of the program's own output.
        script = "import sys, teska; print(len(teska.read(sys.argv[1])), end='')"
        done = subprocess.run(
            [sys.executable, "-c", script, os.path.join(DATA, "readers", "two_cells.pdb")],
            check=True, capture_output=True, text=True,
        )
        self.assertEqual(done.stdout, "1")

    def test_warnings_name_the_file_and_line(self):
        with open(os.path.join(DATA, "database", "unclosed_quote.cif")) as f:
            crystal = teska.read_string(f.read(), name="quoted.cif")
        self.assertTrue(any(w.startswith("quoted.cif:2") for w in crystal.warnings), crystal.warnings)


class ErrorTest(unittest.TestCase):
    CELL = "".join(f"_cell_length_{x} 10\n" for x in "abc") + "".join(
        f"_cell_angle_{x} 90\n" for x in ("alpha", "beta", "gamma")
    )
    SITES = "loop_\n_atom_site_label\n_atom_site_type_symbol\n" + "".join(
        f"_atom_site_fract_{x}\n" for x in "xyz"
    )

    def test_bad_file_raises_with_its_position(self):
        text = "data_x\n" + self.CELL + self.SITES + "C1 C 0 0 0\nC2 C 0.1 0.1\n"
        with self.assertRaises(teska.Error) as caught:
            teska.read_string(text, name="short_row.cif")
        error = caught.exception
        self.assertEqual((error.file, error.line, error.column), ("short_row.cif", 8, 1))  # loop_
        self.assertIn("number of values", error.message)
        self.assertTrue(str(error).startswith("short_row.cif:8:1: "))

    def test_line_without_column(self):
        text = "data_x\n_cell_length_a -10\n" + self.CELL[18:] + self.SITES + "C1 C 0 0 0\n"
        with self.assertRaises(teska.Error) as caught:
            teska.read_string(text, name="cell.cif")
        self.assertEqual((caught.exception.line, caught.exception.column), (2, 0))

    def test_missing_file_and_store_faults_raise_instead_of_exiting(self):
        with self.assertRaises(teska.Error) as caught:
            teska.read(os.path.join(DATA, "no_such_file.cif"))
        self.assertIn("no such file", caught.exception.message)
        # The store's own reader ends cif2pdb on a cell it cannot use; here it raises.
        with self.assertRaises(teska.Error) as caught:
            teska.read_string("data_x\n", strict=True, name="empty.cif")
        self.assertEqual(caught.exception.file, "empty.cif")
        self.assertIn("empty.cif", caught.exception.message)
        self.assertEqual(len(teska.read(NAPHTHALENE).molecules), 2)  # still running

    def test_bad_arguments(self):
        crystal = teska.read(NAPHTHALENE)
        with self.assertRaises(teska.Error):
            teska.read_string("x", format="png")
        with self.assertRaises(teska.Error):
            crystal.write("out.inp")  # ORCA or Q-Chem: the extension does not tell
        with self.assertRaises(teska.Error):
            crystal.write("out.pdb", split=True)
        with self.assertRaises(teska.Error):
            crystal.write("out.xyz", supercell=(2, 1, 1))
        with self.assertRaises(teska.Error):
            crystal.write("out.com", charge=1)  # single points are neutral singlets


class WritingTest(TempDir):
    def test_every_format(self):
        crystal = teska.read(NAPHTHALENE)
        t = self.tmp
        self.assertEqual(crystal.write(f"{t}/n.pdb"), [f"{t}/n.pdb"])
        self.assertEqual(len(pdb_coordinates(f"{t}/n.pdb")), 36)
        self.assertEqual(crystal.write(f"{t}/n.cif"), [f"{t}/n.cif"])
        self.assertEqual(len(teska.read(f"{t}/n.cif")), 36)  # the P1 cell reads back
        self.assertEqual(crystal.write(f"{t}/cell.xyz"), [f"{t}/cell.xyz"])
        self.assertEqual(read_xyz(f"{t}/cell.xyz")[1].shape, (36, 3))
        self.assertEqual(crystal.write(f"{t}/m.xyz", split=True), [f"{t}/m_01.xyz", f"{t}/m_02.xyz"])
        self.assertEqual(crystal.write(f"{t}/m.mol"), [f"{t}/m_01.mol", f"{t}/m_02.mol"])
        self.assertEqual(crystal.write(f"{t}/g.com"), [f"{t}/g-01.com", f"{t}/g-02.com"])
        self.assertEqual(crystal.write(f"{t}/o", format="orca", job="opt", charge=1, multiplicity=2), [f"{t}/o-01.inp", f"{t}/o-02.inp"])
        with open(f"{t}/o-01.inp") as f:
            self.assertIn("*xyz 1 2", f.read())
        self.assertEqual(len(crystal.write(f"{t}/q", format="QChem")), 2)
        self.assertEqual(crystal.write(f"{t}/u.xyz", split=True, unique=True), [f"{t}/u_01.xyz"])
        crystal.write(f"{t}/big.pdb", supercell=(2, 1, 3))
        self.assertEqual(len(pdb_coordinates(f"{t}/big.pdb")), 6 * 36)

    def test_unwritable_folder_raises(self):
        with self.assertRaises(teska.Error):
            teska.read(NAPHTHALENE).write(os.path.join(self.tmp, "absent", "n.pdb"))


@unittest.skipIf(ase is None, "ASE is not installed")
class AseTest(TempDir):
    def test_to_ase_round_trip(self):
        crystal = teska.read(shared("ocelot_meept_pf6.cif"))
        atoms = crystal.to_ase()
        self.assertIsInstance(atoms, ase.Atoms)
        self.assertEqual(len(atoms), len(crystal))
        np.testing.assert_array_equal(atoms.numbers, crystal.numbers)
        np.testing.assert_allclose(atoms.positions, crystal.positions)
        np.testing.assert_allclose(atoms.cell.array, crystal.lattice)
        self.assertTrue(all(atoms.pbc))
        np.testing.assert_array_equal(atoms.arrays["molecule"], crystal.molecule_index)
        # Through ASE's own CIF writer and back: the same molecules.
        path = os.path.join(self.tmp, "ase.cif")
        ase.io.write(path, atoms)
        again = teska.read(path)
        self.assertEqual(sorted(m.formula for m in again.molecules), sorted(m.formula for m in crystal.molecules))


class DimersTest(unittest.TestCase):
    # Naphthalene, P2_1/c, b = 6.003 and c = 8.235 at right angles, molecules on the inversion
    # centres (0, 0, 0) and (0, 1/2, 1/2): the edge-to-face pair half the b + c diagonal apart,
    # four per molecule by the 2_1 screw; the stack along b, two per molecule.
    def test_naphthalene_classes(self):
        crystal = teska.read(NAPHTHALENE)
        dimers = crystal.dimers()
        self.assertEqual(dimers.cutoff, 4.0)
        self.assertEqual(sum(c.multiplicity for c in dimers.classes), dimers.dimers_per_cell)
        self.assertEqual(dimers.dimers_per_cell, 14)
        self.assertEqual(dimers.formulas, ["C10H8", "C10H8"])
        np.testing.assert_allclose(dimers.centres, [[0, 0, 0], [0, 0.5, 0.5]], atol=1e-9)
        by_distance = {round(c.com_distance, 3): c for c in dimers.classes}
        edge = by_distance[round(0.5 * (6.003**2 + 8.235**2) ** 0.5, 3)]
        self.assertEqual((edge.i, edge.j, edge.multiplicity, edge.neighbours), (0, 1, 4, 4))
        self.assertIn("-x,y+1/2,-z+1/2", edge.relation)
        self.assertIn("2-fold screw", edge.relation_names)
        self.assertEqual(len(edge.orbit), 4)
        stack = by_distance[6.003]
        self.assertEqual(stack.t, (0, 1, 0))
        self.assertIn((0, 0, (0, 1, 0)), stack.orbit)
        contacts = [c.closest_contact for c in dimers.classes]
        self.assertEqual(contacts, sorted(contacts))

    def test_cutoff_heavy_atoms_inputs_and_refusal(self):
        crystal = teska.read(NAPHTHALENE)
        self.assertEqual(crystal.dimers(cutoff=3.0).dimers_per_cell, 8)
        heavy = crystal.dimers(heavy_only=True)
        for c in heavy.classes:
            self.assertEqual({crystal.symbols[a] for a in c.contact_atoms}, {"C"})
        with tempfile.TemporaryDirectory() as tmp:
            written = crystal.write_dimers(heavy, tmp, formats=["xyz", "orca"], charges={"C10H8": -1})
            self.assertEqual(len(written), len(heavy.classes) * 3 * 2)
            with open(os.path.join(tmp, "class_01", "monomer_a.inp")) as f:
                self.assertIn("* xyz -1 2\n", f.read())
        self.assertEqual(crystal.dimers_svg(heavy).count("<circle"), 18 * (1 + sum(c.neighbours for c in heavy.classes)))
        bare = teska.read_string("1\n\nC 0 0 0\n", format="xyz")
        with self.assertRaises(teska.Error):
            bare.dimers()


class ModuleTest(unittest.TestCase):
    def test_version_and_formats(self):
        self.assertRegex(teska.__version__, r"^\d+\.\d+\.\d+$")
        self.assertTrue({"pdb", "cif", "xyz", "mol", "gaussian", "orca", "qchem"} <= set(teska.formats))
        self.assertTrue(issubclass(teska.Error, Exception))


if __name__ == "__main__":
    unittest.main()
