from collections.abc import Mapping, Sequence
from typing import Any

import numpy as np
import numpy.typing as npt

__version__: str
formats: list[str]
"""The format names Crystal.write takes (those of `teska convert -t`)."""

class Error(Exception):
    """A file that cannot be read or written. str() is "FILE:LINE:COLUMN: message"."""

    file: str
    line: int
    """0 when unknown."""
    column: int
    """0 when unknown."""
    message: str

class Molecule:
    """One molecule of a crystal, whole. Its arrays are read-only views of the crystal's."""

    @property
    def index(self) -> int:
        """Its index in Crystal.molecules."""
    @property
    def symbols(self) -> list[str]: ...
    @property
    def numbers(self) -> npt.NDArray[np.int32]:
        """Atomic numbers (0 for an unknown element), int32, read-only."""
    @property
    def positions(self) -> npt.NDArray[np.float64]:
        """Cartesian coordinates in angstrom, n x 3 float64, read-only."""
    @property
    def fractional(self) -> npt.NDArray[np.float64] | None:
        """Fractional coordinates, n x 3 float64; None without a cell."""
    @property
    def labels(self) -> list[str]:
        """Site labels of the file (atom names of a PDB file; symbol and number otherwise)."""
    @property
    def occupancies(self) -> npt.NDArray[np.float64]:
        """Site occupancies, float64."""
    @property
    def bonds(self) -> npt.NDArray[np.int64]:
        """Bonded pairs of atoms of the molecule (indices within it, a < b), n x 2 int64."""
    @property
    def added_bonds(self) -> dict[str, int]:
        """Of its bonds, those the file's bond table and the metal-ligand rule added beyond the radii: {'table': n, 'metal': n}."""
    @property
    def species(self) -> int:
        """Index of its species in Crystal.species."""
    @property
    def formula(self) -> str:
        """Formula in Hill order."""
    @property
    def periodic(self) -> bool:
        """Bonded to its own periodic image (a chain, layer or network)."""
    def __len__(self) -> int: ...

class Species:
    """A kind of molecule: the same elements bonded the same way."""

    @property
    def formula(self) -> str: ...
    @property
    def count(self) -> int:
        """Molecules of this kind in the cell."""
    @property
    def representative(self) -> Molecule:
        """Its first molecule."""
    @property
    def molecules(self) -> list[int]:
        """Indices of its molecules."""

class UniqueMolecule:
    """A molecule that no symmetry operation makes from an earlier one, with the molecules it
    stands for."""

    @property
    def molecule(self) -> Molecule: ...
    @property
    def images(self) -> list[int]:
        """Indices of the molecules it stands for, itself first."""
    @property
    def operations(self) -> list[int]:
        """For each image, the index in Crystal.operations of the operation that makes it (-1
        where the operations hold no identity)."""
    @property
    def shifts(self) -> npt.NDArray[np.int64]:
        """For each image, the lattice vector added after the operation, n x 3 int64."""

class DimerClass:
    """A class of dimers equal by symmetry: its representative (molecule A = i, molecule B = j
    moved by the lattice vector t) and the whole orbit."""

    @property
    def i(self) -> int: ...
    @property
    def j(self) -> int: ...
    @property
    def t(self) -> tuple[int, int, int]: ...
    @property
    def formula_a(self) -> str: ...
    @property
    def formula_b(self) -> str: ...
    @property
    def com_distance(self) -> float:
        """Angstrom between the centres of mass."""
    @property
    def closest_contact(self) -> float:
        """Angstrom between the nearest atoms."""
    @property
    def contact_atoms(self) -> tuple[int, int]:
        """Atom indices of the crystal of the nearest atoms: of A, of B."""
    @property
    def contact_labels(self) -> tuple[str, str]: ...
    @property
    def multiplicity(self) -> int:
        """Dimers of the class per cell."""
    @property
    def neighbours(self) -> int:
        """Dimers of the class that molecule A takes part in."""
    @property
    def relation(self) -> list[str]:
        """Symmetry codes of the operations mapping A onto B; empty when none does."""
    @property
    def relation_names(self) -> list[str]: ...
    @property
    def orbit(self) -> list[tuple[int, int, tuple[int, int, int]]]:
        """Every dimer (i, j, t) of the cell in the class."""
    @property
    def near_cutoff(self) -> bool:
        """The closest contact lies within 0.05 angstrom of the cutoff."""

class DimerSet:
    """The dimer classes of a crystal."""

    @property
    def cutoff(self) -> float: ...
    @property
    def heavy_only(self) -> bool: ...
    @property
    def operations(self) -> int:
        """Distinct symmetry operations."""
    @property
    def classes(self) -> list[DimerClass]:
        """By closest contact, then centre-of-mass distance."""
    @property
    def dimers_per_cell(self) -> int: ...
    @property
    def neighbours_per_molecule(self) -> float: ...
    @property
    def near_cutoff_classes(self) -> int: ...
    @property
    def formulas(self) -> list[str]:
        """Formula of each molecule of the cell."""
    @property
    def centres(self) -> npt.NDArray[np.float64]:
        """Fractional centre of mass of each molecule, in [0, 1), n x 3 float64."""
    def __len__(self) -> int: ...

class Crystal:
    """A crystal read with teska.read or teska.read_string."""

    @property
    def file(self) -> str: ...
    @property
    def reader(self) -> str:
        """"database", "strict", "pdb", "xyz" or "molfile"."""
    @property
    def block(self) -> str: ...
    @property
    def spacegroup(self) -> str: ...
    @property
    def symmetry_source(self) -> str: ...
    @property
    def has_cell(self) -> bool: ...
    @property
    def cell(self) -> tuple[float, float, float, float, float, float] | None:
        """(a, b, c, alpha, beta, gamma) in angstrom and degrees; None without a cell."""
    @property
    def lattice(self) -> npt.NDArray[np.float64] | None:
        """Rows a, b, c in angstrom, 3 x 3 float64; None without a cell."""
    @property
    def operations(self) -> npt.NDArray[np.float64]:
        """Symmetry operations as fractional maps [R | t], n x 3 x 4."""
    @property
    def formula(self) -> str:
        """Of the cell, Hill order."""
    @property
    def symbols(self) -> list[str]: ...
    @property
    def numbers(self) -> npt.NDArray[np.int32]:
        """Atomic numbers of the cell's atoms, molecule after molecule, int32."""
    @property
    def positions(self) -> npt.NDArray[np.float64]:
        """Cartesian coordinates of the cell's atoms in angstrom, molecule after molecule."""
    @property
    def fractional(self) -> npt.NDArray[np.float64] | None:
        """Fractional coordinates of the cell's atoms; None without a cell."""
    @property
    def labels(self) -> list[str]:
        """Site labels of the file (atom names of a PDB file; symbol and number otherwise)."""
    @property
    def occupancies(self) -> npt.NDArray[np.float64]:
        """Site occupancies, float64."""
    @property
    def molecule_index(self) -> npt.NDArray[np.int64]:
        """The molecule of each atom, int64."""
    @property
    def molecules(self) -> list[Molecule]:
        """The molecules, whole, one entry each."""
    @property
    def species(self) -> list[Species]:
        """The kinds of molecule, in order of first appearance."""
    @property
    def unique_molecules(self) -> list[UniqueMolecule]:
        """The molecules that are no image of an earlier one under the symmetry operations, each
        with the molecules it stands for."""
    @property
    def warnings(self) -> list[str]: ...
    @property
    def disorder_left_out(self) -> int:
        """Sites left out by the disorder choice."""
    @property
    def table_bonds(self) -> int:
        """Bonds of the cell the file's bond table added beyond the radii."""
    @property
    def metal_bonds(self) -> int:
        """Metal-ligand bonds of the cell added beyond the radii."""
    def write(
        self,
        path: str,
        format: str | None = None,
        split: bool = False,
        supercell: Sequence[int] = (1, 1, 1),
        unique: bool = False,
        job: str = "sp",
        method: str = "B3LYP",
        basis: str = "6-31G(d)",
        charge: int = 0,
        multiplicity: int = 1,
        nprocs: int = 1,
        memory_mb: int = 1000,
    ) -> list[str]:
        """Writes the cell (pdb, cif, xyz) or one file per molecule (xyz with split=True, mol,
        gaussian, orca, qchem: NAME_01.xyz, NAME-01.com) and returns the files written. The
        format is format= or the one the extension of path implies."""
    def dimers(self, cutoff: float = 4.0, heavy_only: bool = False) -> DimerSet:
        """The pairs of molecules whose closest atoms are nearer than cutoff (angstrom), in
        classes equal by symmetry; heavy_only leaves hydrogens out of the contact. Raises
        teska.Error for a crystal without a cell or with a molecule bonded to its own image."""
    def dimers_svg(self, dimers: DimerSet) -> str:
        """An SVG picture of the classes: each species' first molecule with its neighbours,
        projected onto its mean plane, coloured and numbered by class."""
    def write_dimers(
        self,
        dimers: DimerSet,
        directory: str,
        formats: Sequence[str] = ("xyz",),
        charges: Mapping[str, int] = {},
        method: str = "B3LYP",
        basis: str = "6-31G(d)",
        nprocs: int = 1,
        memory_mb: int = 1000,
    ) -> list[str]:
        """Writes directory/class_NN/dimer.EXT, monomer_a.EXT and monomer_b.EXT for every class
        of dimers (from this crystal's dimers()), in the one frame of the crystal, in each format
        (xyz, pdb, gaussian, orca, qchem); charges maps a species' formula to its charge.
        Returns the files written."""
    def to_ase(self) -> Any:
        """An ase.Atoms of the cell with the molecule of each atom in its array "molecule";
        needs ASE."""
    def __len__(self) -> int: ...

def read(
    path: str,
    strict: bool = False,
    disorder: str = "major",
    block: str | None = None,
    cell: Sequence[float] | None = None,
    bonds: str = "both",
    metal_bonds: bool = True,
) -> Crystal:
    """Reads a crystal from a CIF file (the database reader; strict=True: the rules of
    cif2pdb), or a PDB, XYZ or MDL molfile by its extension. disorder: "major", "all" or the
    name of a disorder group; block: a data block name; cell: (a, b, c, alpha, beta, gamma) for
    a molecule file without one; bonds: "radii", "file" (the file's bond table) or "both";
    metal_bonds: metal-ligand bonds beyond the radii where no bond table is used. Raises
    teska.Error."""

def read_string(
    text: str,
    *,
    format: str = "cif",
    name: str = "<string>",
    strict: bool = False,
    disorder: str = "major",
    block: str | None = None,
    cell: Sequence[float] | None = None,
    bonds: str = "both",
    metal_bonds: bool = True,
) -> Crystal:
    """Reads a crystal from text: format is "cif", "pdb", "xyz" or "mol"; name stands for the
    text in errors and warnings. Otherwise as read()."""
