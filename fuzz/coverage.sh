#!/usr/bin/env bash
# Line and branch coverage that the corpora of a fuzzing run reach in the sources each target
# is meant to exercise. Builds the targets' replay programs with clang's source-based coverage
# (build-coverage), replays OUT/<target>/corpus together with the committed regressions, and
# prints one line per target from llvm-cov's report on that target's own files.
set -euo pipefail
cd "$(dirname "$0")/.."
export LC_ALL=C

usage() {
    cat <<EOF
usage: fuzz/coverage.sh [-o OUT] [-b BUILD] [TARGET...]

  -o OUT    folder of a fuzz/run.sh run, holding <target>/corpus (default build-fuzz/findings)
  -b BUILD  build folder of the coverage build (default build-coverage)
  TARGET    any of the targets of fuzz/run.sh (default: every one with a corpus in OUT)
EOF
}

out=build-fuzz/findings
build=build-coverage
targets=()
while [ $# -gt 0 ]; do
    case "$1" in
        -o) out="$2"; shift 2 ;;
        -b) build="$2"; shift 2 ;;
        -h|--help) usage; exit 0 ;;
        -*) usage >&2; exit 2 ;;
        *) targets+=("$1"); shift ;;
    esac
done
if [ ${#targets[@]} -eq 0 ]; then
    for dir in "$out"/*/corpus; do
        [ -d "$dir" ] && targets+=("$(basename "$(dirname "$dir")")")
    done
fi
[ ${#targets[@]} -gt 0 ] || { echo "coverage: no corpus under $out" >&2; exit 2; }

# The sources each target is meant to exercise.
declare -A sources=(
    [cif_reader]="src/fileio/cif_read.cpp src/fileio/number_text.cpp"
    [symop]="src/fileio/symops.cpp"
    [molfile]="src/fileio/mdl_read.cpp"
    [pdb_reader]="src/fileio/pdb_xyz_read.cpp"
    [xyz_reader]="src/fileio/pdb_xyz_read.cpp"
    [database]="src/database"
    [conversion]="src/fileio/cif_read.cpp src/fileio/expand.cpp src/fileio/separation.cpp
                  src/fileio/whole_molecule.cpp src/fileio/pdb_write.cpp src/index"
)

llvm_cov=$(command -v llvm-cov-14 || command -v llvm-cov)
llvm_profdata=$(command -v llvm-profdata-14 || command -v llvm-profdata)
if [ ! -f "$build/CMakeCache.txt" ]; then
    cmake -S . -B "$build" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_CXX_FLAGS="-fprofile-instr-generate -fcoverage-mapping" \
        -DCMAKE_EXE_LINKER_FLAGS="-fprofile-instr-generate" -DTESKA_PYTHON=OFF > /dev/null
fi
cmake --build "$build" --parallel 2 --target "${targets[@]/#/fuzz_}" > /dev/null

printf '%-11s %8s %22s %22s\n' target files "lines covered" "branches covered"
for t in "${targets[@]}"; do
    [ -n "${sources[$t]:-}" ] || { echo "coverage: unknown target $t" >&2; exit 2; }
    profile="$build/coverage/$t"
    rm -rf "$profile" && mkdir -p "$profile"
    inputs=("$out/$t/corpus")
    [ -d "fuzz/regressions/$t" ] && inputs+=("fuzz/regressions/$t")
    LLVM_PROFILE_FILE="$profile/%p.profraw" "$build/fuzz/fuzz_$t" "${inputs[@]}" \
        > "$profile/replay.log" 2>&1
    "$llvm_profdata" merge -sparse "$profile"/*.profraw -o "$profile/merged.profdata"
    # TOTAL row of the report: regions, missed, %, functions, missed, %, lines, missed, %,
    # branches, missed, %.
    read -r -a total < <("$llvm_cov" report "$build/fuzz/fuzz_$t" \
        -instr-profile="$profile/merged.profdata" ${sources[$t]} | grep '^TOTAL')
    count=$(grep -c '^replay: .*/' "$profile/replay.log" || true)
    printf '%-11s %8s %22s %22s\n' "$t" "$count" \
        "$((total[7] - total[8]))/${total[7]} (${total[9]})" \
        "$((total[10] - total[11]))/${total[10]} (${total[12]})"
done
