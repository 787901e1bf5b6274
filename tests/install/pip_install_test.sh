#!/usr/bin/env bash
# Installs the Python package with pip, offline, from a copy of the source tree (so that the
# checkout is never written to) into a new virtual environment that sees the system packages
# (setuptools, NumPy; pybind11 from pybind11-dev), then uses it from another folder.
# usage: pip_install_test.sh SOURCE_DIR PYTHON CIF MOLECULES
# Exit status 77 (a skip): PYTHON has no venv or pip.
set -euo pipefail
tree="$(cd "$1" && pwd)" python="$2" cif="$(cd "$(dirname "$3")" && pwd)/$(basename "$3")"
expected="$4"
scratch="$(cd "$(mktemp -d)" && pwd -P)"
trap 'rm -rf "$scratch"' EXIT

fail() { echo "pip install test: $*" >&2; exit 1; }
skip() { echo "pip install test: skipped: $*"; exit 77; }

"$python" -m venv --system-site-packages "$scratch/venv" > "$scratch/venv.log" 2>&1 ||
    skip "$python -m venv fails (Debian package python3-venv): $(tail -n 1 "$scratch/venv.log")"
venv_python="$scratch/venv/bin/python"
"$venv_python" -m pip --version > /dev/null 2>&1 || skip "no pip in the venv (python3-pip)"

# The source tree without the build folders, version control, earlier setuptools outputs and
# virtual environments.
"$python" - "$tree" "$scratch/src" <<'EOF'
import os, shutil, sys
tree, copy = sys.argv[1:]

def left_out(folder, names):
    if os.path.abspath(folder) != tree:
        return [n for n in names if n == "__pycache__"]
    return [n for n in names
            if n in (".git", "dist", "__pycache__") or n.startswith("build") or n.endswith(".egg-info")
            or os.path.isfile(os.path.join(folder, n, "pyvenv.cfg"))]

shutil.copytree(tree, copy, symlinks=True, ignore=left_out)
EOF

export PIP_CONFIG_FILE=/dev/null PIP_NO_INDEX=1 PIP_DISABLE_PIP_VERSION_CHECK=1 PIP_NO_INPUT=1
start=$SECONDS
(cd "$scratch/src" && "$venv_python" -m pip install --no-build-isolation --no-deps . ) \
    > "$scratch/pip.log" 2>&1 || { cat "$scratch/pip.log"; fail "pip install failed"; }
echo "pip install test: pip install took $((SECONDS - start)) s"

# From another folder, isolated from PYTHONPATH and the user's site-packages: the package in the
# venv, whole (extension, stub, py.typed), with the version of the CMake project.
cd "$scratch"
"$venv_python" -I - "$scratch/venv" "$cif" "$expected" <<'EOF' || fail "the installed package"
import os, sys
from importlib import metadata
import teska

venv, cif, expected = sys.argv[1], sys.argv[2], int(sys.argv[3])
package = os.path.dirname(os.path.realpath(teska.__file__))
assert package.startswith(os.path.realpath(venv) + os.sep), f"teska imported from {package}, not the venv"
assert os.path.dirname(os.path.realpath(teska._teska.__file__)) == package, teska._teska.__file__
for name in ("__init__.pyi", "py.typed"):
    assert os.path.isfile(os.path.join(package, name)), f"{name} is not installed"
assert metadata.version("teska") == teska.__version__, (metadata.version("teska"), teska.__version__)
molecules = len(teska.read(cif).molecules)
assert molecules == expected, f"{cif}: {molecules} molecules, expected {expected}"
EOF
echo "pip install test: teska $("$venv_python" -I -c 'import teska; print(teska.__version__)') works from the venv"
