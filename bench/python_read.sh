#!/usr/bin/env bash
# Reading in Python against reading on the command line: teska.read() of a P1 supercell of the
# anthracene seed beside `teska info` of the same file (which reads the crystal and finds its
# unique molecules), each run REPEATS times; prints wall seconds and peak memory of each run.
#
# Usage: bench/python_read.sh [-b BUILD_DIR] [-r REPEATS] [NA NB NC]
#   -b       build directory configured with -DCIF2PDB_BENCH=ON, with the targets make_supercell,
#            teska and teska_python built (default: build-bench)
#   NA NB NC supercell repeats of the 48-atom seed cell (default 26 40 20: 998,400 atoms)
set -euo pipefail

readonly ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build_dir="$ROOT/build-bench"
repeats=3
while getopts "b:r:h" option; do
    case "$option" in
        b) build_dir="$(cd "$OPTARG" && pwd)" ;;
        r) repeats="$OPTARG" ;;
        *) sed -n '2,10p' "$0"; exit 2 ;;
    esac
done
shift $((OPTIND - 1))
[ $# -eq 0 ] || [ $# -eq 3 ] || { sed -n '2,10p' "$0"; exit 2; }
cells=("${@:-26 40 20}")

scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
input="$scratch/cell.cif"
"$build_dir/bench/make_supercell" "$ROOT/bench/seed/anthracene.cif" ${cells[*]} "$input" > /dev/null
echo "input: a ${cells[*]} supercell of the 48-atom anthracene cell"

for _ in $(seq "$repeats"); do
    /usr/bin/time -f "teska info   %e s  %M KB" "$build_dir/teska" info "$input" > /dev/null 2> "$scratch/t"
    tail -1 "$scratch/t"
    PYTHONPATH="$build_dir/python" /usr/bin/time -f "teska.read() %e s  %M KB" /usr/bin/python3 -c \
        "import sys, teska; c = teska.read(sys.argv[1]); assert len(c) > 0" "$input" 2> "$scratch/t"
    tail -1 "$scratch/t"
done
