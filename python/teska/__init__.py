"""Crystal structures from CIF files (and PDB, XYZ and MDL molfiles) as whole molecules, one
entry per molecule, with writers for PDB, CIF, XYZ, MOL and Gaussian, ORCA and Q-Chem inputs.

The compiled extension teska._teska holds everything; this package re-exports it."""

from . import _teska
from ._teska import *  # noqa: F401,F403

__all__ = [name for name in dir(_teska) if not name.startswith("_")]
__version__ = _teska.__version__

# The classes and the exception belong to the package: their reprs, tracebacks and help() name
# teska, not the extension.
for _name in __all__:
    _value = getattr(_teska, _name)
    if isinstance(_value, type) and _value.__module__ in ("_teska", "teska._teska"):
        _value.__module__ = __name__
del _name, _value
