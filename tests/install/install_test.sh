#!/usr/bin/env bash
# Installs the build into a scratch prefix and uses it from outside the tree: a CMake project
# with find_package(teska), the same program built through pkg-config, the Python package
# through PYTHONPATH, and the installed executables.
# usage: install_test.sh BUILD_DIR PYTHON CIF MOLECULES
set -euo pipefail
build="$1" python="$2" cif="$3" expected="$4"
here="$(cd "$(dirname "$0")" && pwd)"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
prefix="$scratch/prefix"

fail() { echo "install test: $*" >&2; exit 1; }
expect_count() {  # what a consumer printed, and who it was
    [ "$1" = "$expected" ] || fail "$2 printed '$1', expected $expected molecules"
}

cmake --install "$build" --prefix "$prefix" > "$scratch/install.log"

# Headers only under include/teska; the package files where find_package and pkg-config look.
[ -f "$prefix/include/teska/fileio.h" ] && [ -f "$prefix/include/teska/database.h" ] &&
    [ -f "$prefix/include/teska/crystal.h" ] && [ -f "$prefix/include/teska/outputs.h" ] &&
    [ -f "$prefix/include/teska/mmutil.h" ] || fail "headers missing under include/teska"
[ -z "$(find "$prefix/include" -maxdepth 1 -type f)" ] || fail "a header outside include/teska"
libdir=$(dirname "$(find "$prefix" -name teskaConfig.cmake)")/../..
[ -f "$libdir/pkgconfig/teska.pc" ] || fail "no pkg-config file"

# The CMake consumer.
cmake -S "$here/consumer" -B "$scratch/consumer" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_BUILD_TYPE=Release > "$scratch/consumer.log" || { cat "$scratch/consumer.log"; fail "configure"; }
cmake --build "$scratch/consumer" >> "$scratch/consumer.log" || { cat "$scratch/consumer.log"; fail "build"; }
expect_count "$("$scratch/consumer/count_molecules" "$cif")" "the CMake consumer"

# The same program through pkg-config.
flags=$(PKG_CONFIG_PATH="$libdir/pkgconfig" pkg-config --cflags --libs teska)
"${CXX:-c++}" -std=c++17 "$here/consumer/main.cpp" $flags -o "$scratch/pc_count" ||
    fail "build through pkg-config ($flags)"
expect_count "$("$scratch/pc_count" "$cif")" "the pkg-config consumer"

# The Python package, the folder teska/ at the interpreter's site-packages path below the
# prefix, with its stub and py.typed.
site=$("$python" -c "import os, sysconfig; print(os.path.relpath(sysconfig.get_path('platlib', 'posix_prefix', vars={'platbase': '/p', 'base': '/p'}), '/p'))")
module=$(cd "$scratch" && PYTHONPATH="$prefix/$site" "$python" -c "import teska; print(teska.__file__)")
[ "$module" = "$prefix/$site/teska/__init__.py" ] || fail "teska imported from $module, not the prefix"
for file in __init__.pyi py.typed; do
    [ -f "$prefix/$site/teska/$file" ] || fail "teska/$file is not installed"
done
expect_count "$(cd "$scratch" && PYTHONPATH="$prefix/$site" "$python" -c \
    "import sys, teska; print(len(teska.read(sys.argv[1]).molecules))" "$cif")" "the Python package"

# The executables.
"$prefix/bin/teska" --version > /dev/null || fail "bin/teska"
"$prefix/bin/cif2pdb" --help > /dev/null || fail "bin/cif2pdb"
echo "install test: the CMake package, pkg-config, the Python package and the executables work from $prefix"
