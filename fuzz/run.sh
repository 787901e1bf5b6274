#!/usr/bin/env bash
# Builds the fuzz targets (clang, libFuzzer, AddressSanitizer and UndefinedBehaviorSanitizer)
# and runs one target, several, or all of them one after the other, each for a given time.
# What a run finds stays outside the repository's tracked files: each target's corpus grows in
# OUT/<target>/corpus, inputs that crash, leak, hang or run out of memory land in
# OUT/<target>/crashes, and libFuzzer's output in OUT/<target>/log. Ends with a table of
# executions and coverage, and fails when any target found something.
set -euo pipefail
cd "$(dirname "$0")/.."
export LC_ALL=C

all_targets=(cif_reader symop molfile pdb_reader xyz_reader database conversion)

usage() {
    cat <<EOF
usage: fuzz/run.sh [-t SECONDS] [-o OUT] [-b BUILD] [TARGET...] [-- LIBFUZZER_FLAG...]

  -t SECONDS  time per target (default 60)
  -o OUT      folder for corpora, crashes and logs (default BUILD/findings)
  -b BUILD    build folder of the fuzz build (default build-fuzz)
  TARGET      any of: ${all_targets[*]} (default: all)
  flags after -- go to every libFuzzer run (e.g. -runs=10000000)
EOF
}

seconds=60
build=build-fuzz
out=
targets=()
extra=()
while [ $# -gt 0 ]; do
    case "$1" in
        -t) seconds="$2"; shift 2 ;;
        -o) out="$2"; shift 2 ;;
        -b) build="$2"; shift 2 ;;
        -h|--help) usage; exit 0 ;;
        --) shift; extra=("$@"); break ;;
        all) targets+=("${all_targets[@]}"); shift ;;
        -*) usage >&2; exit 2 ;;
        *) targets+=("$1"); shift ;;
    esac
done
[ ${#targets[@]} -gt 0 ] || targets=("${all_targets[@]}")
out="${out:-$build/findings}"
for t in "${targets[@]}"; do
    case " ${all_targets[*]} " in
        *" $t "*) ;;
        *) echo "fuzz: unknown target $t" >&2; usage >&2; exit 2 ;;
    esac
done

# Per target: dictionary, longest input, and seed folders beside the committed regressions.
shared_cifs=../shared/data/cif
declare -A dict=([cif_reader]=cif [symop]=symop [molfile]=molfile [pdb_reader]=pdb
                 [xyz_reader]=xyz [database]=cif [conversion]=cif)
declare -A max_len=([cif_reader]=32768 [symop]=1024 [molfile]=8192 [pdb_reader]=8192
                    [xyz_reader]=4096 [database]=32768 [conversion]=32768)
seeds_of() {
    local t="$1"
    echo tests/data
    case "$t" in
        cif_reader|database|conversion|symop)
            echo examples
            [ -d "$shared_cifs" ] && echo "$shared_cifs" ;;
    esac
    [ -d "fuzz/regressions/$t" ] && echo "fuzz/regressions/$t"
    return 0
}

if [ ! -f "$build/CMakeCache.txt" ]; then
    cmake -S . -B "$build" -DCIF2PDB_FUZZ=ON -DCIF2PDB_TESTS=OFF
fi
cmake --build "$build" --parallel 2 --target "${targets[@]/#/fuzz_}"

failed=()
summary=()
for t in "${targets[@]}"; do
    dir="$out/$t"
    mkdir -p "$dir/corpus" "$dir/crashes"
    mapfile -t seeds < <(seeds_of "$t")
    echo "== fuzz $t: ${seconds} s, seeds ${seeds[*]}"
    status=0
    "$build/fuzz/fuzz_$t" \
        -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len="${max_len[$t]}" \
        -dict="fuzz/dict/${dict[$t]}.dict" -artifact_prefix="$dir/crashes/" \
        -print_final_stats=1 -close_fd_mask=1 "${extra[@]}" \
        "$dir/corpus" "${seeds[@]}" > "$dir/log" 2>&1 || status=$?
    # libFuzzer's last lines: "#N DONE cov: C ft: F ..." and "Done N runs in S second(s)".
    stats=$(grep -E '^#[0-9]+' "$dir/log" | tail -n 1 | grep -oE 'cov: [0-9]+ ft: [0-9]+' || true)
    runs=$(grep -oE 'Done [0-9]+ runs in [0-9]+ second' "$dir/log" | tail -n 1 || true)
    summary+=("$(printf '%-11s %-36s %s' "$t" "${runs:-(no final line)}" "$stats")")
    if [ "$status" -ne 0 ] || grep -qE 'ERROR: (AddressSanitizer|LeakSanitizer|libFuzzer)|runtime error:' "$dir/log"; then
        failed+=("$t")
        echo "fuzz: $t FAILED (status $status); see $dir/log"
        grep -E 'ERROR:|SUMMARY:|runtime error:|Test unit written to' "$dir/log" | head -n 20 || true
    fi
done

echo "== fuzz summary (output in $out)"
printf '%s\n' "${summary[@]}"
if [ ${#failed[@]} -gt 0 ]; then
    echo "fuzz: failures in ${failed[*]}"
    exit 1
fi
echo "fuzz: no crash, leak, hang or sanitizer report"
