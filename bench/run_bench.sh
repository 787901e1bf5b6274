#!/usr/bin/env bash
# Benchmark of the whole cif2pdb conversion on P1 supercells of the anthracene seed crystal.
# For each size: generate the input (same bytes every run), time the cif2pdb executable with its
# peak memory, then time each stage with cif2pdb_stages. Every run is capped by a time limit;
# for a size that cannot finish within it only the read stage runs, and the other times are
# extrapolated from the growth exponent fitted on the largest finished sizes. Ends with a table.
#
# Usage: bench/run_bench.sh [-b BUILD_DIR] [-o OUT_DIR] [-t SECONDS] [-a] [SIZE...]
#   SIZE     1k 2k 4k 10k 20k 40k 70k 100k 1m (default: 1k 2k 4k 10k 20k 40k 100k 1m)
#   -b       build directory configured with -DCIF2PDB_BENCH=ON (default: build-bench)
#   -o       where inputs, outputs and results go (default: BUILD_DIR/bench-results)
#   -t       time limit of one run in seconds (default: 600)
#   -a       also start sizes whose predicted time is over the limit (they end at the limit)
set -euo pipefail

readonly ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
readonly SEED="$ROOT/bench/seed/anthracene.cif"
readonly ATOMS_PER_CELL=48  # two C14H10 molecules

# size label -> supercell repeats a b c
declare -A REPEATS=(
    [1k]="2 5 2" [2k]="3 7 2" [4k]="4 7 3" [10k]="6 7 5" [20k]="7 10 6"
    [40k]="8 13 8" [70k]="10 15 10" [100k]="13 16 10" [1m]="26 40 20")
readonly STAGES="read expand separate make_whole pipeline write"
readonly PROBE_SECONDS=60

build_dir="$ROOT/build-bench"
out_dir=""
limit=600
start_all=0
while getopts "b:o:t:ah" option; do
    case "$option" in
        b) build_dir="$(cd "$OPTARG" && pwd)" ;;
        o) out_dir="$OPTARG" ;;
        t) limit="$OPTARG" ;;
        a) start_all=1 ;;
        *) sed -n '2,14p' "$0"; exit 2 ;;
    esac
done
shift $((OPTIND - 1))
sizes=("$@")
[ ${#sizes[@]} -gt 0 ] || sizes=(1k 2k 4k 10k 20k 40k 100k 1m)
out_dir="${out_dir:-$build_dir/bench-results}"
readonly CIF2PDB="$build_dir/cif2pdb"
readonly GENERATOR="$build_dir/bench/make_supercell"
readonly STAGE_BENCH="$build_dir/bench/cif2pdb_stages"

die() { echo "run_bench.sh: $*" >&2; exit 1; }

for tool in "$CIF2PDB" "$GENERATOR" "$STAGE_BENCH"; do
    [ -x "$tool" ] || die "$tool not built (cmake --build $build_dir --target cif2pdb make_supercell cif2pdb_stages)"
done
[ -x /usr/bin/time ] || die "/usr/bin/time is needed for the peak memory"
for size in "${sizes[@]}"; do
    [ -n "${REPEATS[$size]:-}" ] || die "unknown size $size (known: ${!REPEATS[*]})"
done
mkdir -p "$out_dir"
export LC_ALL=C

# results.tsv: size atoms what wall_s cpu_s peak_MB status   (what = whole or a stage name)
readonly RESULTS="$out_dir/results.tsv"
: > "$RESULTS"
record() { printf '%s\t%s\t%s\t%s\t%s\t%s\t%s\n' "$@" >> "$RESULTS"; }

atoms_of() { local r=(${REPEATS[$1]}); echo $((r[0] * r[1] * r[2] * ATOMS_PER_CELL)); }

generate() {
    local size=$1 file="$out_dir/anthracene_$1.cif"
    "$GENERATOR" "$SEED" ${REPEATS[$size]} "$file" > /dev/null
    echo "$file"
}

# Seconds of a /usr/bin/time -v field "h:mm:ss" or "m:ss.ss".
time_field() { awk -F': ' -v key="$2" '$1 ~ key { print $2 }' "$1"; }
clock_seconds() { awk -F: '{ s = 0; for (i = 1; i <= NF; ++i) s = s * 60 + $i; print s }'; }

# Runs a command under a time limit and /usr/bin/time; prints "wall cpu peak_MB status".
timed() {
    local log=$1 seconds=$2; shift 2
    local rc=0
    /usr/bin/time -v -o "$log.time" timeout "$seconds" "$@" > "$log" 2>&1 || rc=$?
    local wall cpu peak
    wall=$(time_field "$log.time" "Elapsed \\(wall clock\\)" | clock_seconds)
    cpu=$(awk -F': ' '/User time|System time/ { s += $2 } END { print s }' "$log.time")
    peak=$(awk -F': ' '/Maximum resident set size/ { printf "%.1f", $2 / 1024 }' "$log.time")
    local status=ok
    [ $rc -eq 124 ] && status=timeout
    [ $rc -ne 0 ] && [ $rc -ne 124 ] && status="failed($rc)"
    echo "$wall $cpu $peak $status"
}

# Growth exponent k of t ~ N^k over the largest (up to three) finished sizes of one column of
# results, and the time it implies at N: prints "k t_pred" or nothing without two points.
predict() {
    local what=$1 atoms=$2 column=${3:-4}
    awk -F'\t' -v what="$what" -v n="$atoms" -v col="$column" '
        BEGIN { m = 0 }
        $3 == what && $7 == "ok" && $2 >= 4000 { x[m] = log($2); y[m] = log($col); m++ }
        END {
            if (m < 2) exit
            first = m > 3 ? m - 3 : 0
            for (i = first; i < m; ++i) { sx += x[i]; sy += y[i]; k++ }
            for (i = first; i < m; ++i) { sxx += (x[i] - sx / k) ^ 2; sxy += (x[i] - sx / k) * (y[i] - sy / k) }
            slope = sxy / sxx
            printf "%.2f %.6g\n", slope, exp(y[m - 1] + slope * (log(n) - x[m - 1]))
        }' "$RESULTS"
}

# Seconds for the table: three significant digits, whole seconds from 100 s, hours from 1 h on.
seconds() {
    awk -v t="$1" 'BEGIN {
        printf (t >= 100 ? "%.0f s" : "%.3g s"), t
        if (t >= 3600) printf " (%.1f h)", t / 3600
    }'
}

too_slow() {  # predicted CPU seconds of a run over the limit
    local what=$1 atoms=$2 prediction
    [ $start_all -eq 1 ] && return 1
    prediction=$(predict "$what" "$atoms" 5)
    [ -n "$prediction" ] && awk -v p="${prediction#* }" -v l="$limit" 'BEGIN { exit !(p > l) }'
}

run_whole() {
    local size=$1 atoms=$2 file=$3
    echo "== $size ($atoms atoms): cif2pdb" >&2
    rm -f "$out_dir/anthracene_$size.pdb"
    read -r wall cpu peak status < <(timed "$out_dir/cif2pdb_$size.log" "$limit" \
        "$CIF2PDB" "$file" "$out_dir/anthracene_$size.pdb")
    record "$size" "$atoms" whole "$wall" "$cpu" "$peak" "$status"
    [ "$status" = ok ]
}

# A size that is not run whole: cif2pdb for at most PROBE_SECONDS, for the memory it has taken
# by then (the read and the expansion's arrays, most of what the whole run would need).
run_memory_probe() {
    local size=$1 atoms=$2 file=$3
    local seconds=$((limit < PROBE_SECONDS ? limit : PROBE_SECONDS))
    echo "== $size ($atoms atoms): cif2pdb for ${seconds} s, peak memory" >&2
    read -r wall cpu peak status < <(timed "$out_dir/probe_$size.log" "$seconds" \
        "$CIF2PDB" "$file" "$out_dir/probe_$size.pdb")
    rm -f "$out_dir/probe_$size.pdb"
    record "$size" "$atoms" probe "$wall" "$cpu" "$peak" "$status"
}

# Times the stages matching the filter (a regular expression on "stage/input"); stages left out
# are recorded as "not run".
run_stages() {
    local size=$1 atoms=$2 file=$3 filter=$4 stage_tsv="$out_dir/stages_$1.tsv"
    echo "== $size ($atoms atoms): stages $filter" >&2
    rm -f "$stage_tsv" "$out_dir/anthracene_$size.stages.pdb"
    read -r wall cpu peak status < <(timed "$out_dir/stages_$size.log" "$limit" "$STAGE_BENCH" \
        --benchmark_color=false --benchmark_filter="$filter" --results="$stage_tsv" \
        --work_dir="$out_dir" "$file")
    [ "$status" = ok ] && status="not run"
    for stage in $STAGES; do
        local line
        line=$(awk -F'\t' -v s="$stage" '$1 == s' "$stage_tsv" 2> /dev/null || true)
        if [ -n "$line" ]; then
            record "$size" "$atoms" "$stage" $(echo "$line" | cut -f3,4) "$peak" ok
        else
            record "$size" "$atoms" "$stage" - - "$peak" "$status"
        fi
    done
    awk -F'\t' '$1 == "separate" { print $7 }' "$stage_tsv" 2> /dev/null > "$out_dir/molecules_$size"
    local verdict="stage output differs from cif2pdb output"
    grep -q '^write' "$stage_tsv" 2> /dev/null || return 0
    cmp -s "$out_dir/anthracene_$size.pdb" "$out_dir/anthracene_$size.stages.pdb" &&
        verdict="stage output identical to cif2pdb output"
    echo "$verdict" > "$out_dir/compare_$size"
}

# Sizes run smallest first. Once a size cannot finish (predicted over the limit, or it ran out
# of time), the larger ones run only the read stage, which grows linearly.
: > "$out_dir/inputs.sha256"
rm -f "$out_dir"/compare_* "$out_dir"/molecules_*
whole_open=1
for size in "${sizes[@]}"; do
    atoms=$(atoms_of "$size")
    file=$(generate "$size")
    (cd "$out_dir" && sha256sum "$(basename "$file")") >> "$out_dir/inputs.sha256"
    if [ $whole_open -eq 1 ] && too_slow whole "$atoms"; then
        record "$size" "$atoms" whole - - - predicted
        whole_open=0
    elif [ $whole_open -eq 0 ]; then
        record "$size" "$atoms" whole - - - "not run"
    elif ! run_whole "$size" "$atoms" "$file"; then
        whole_open=0
    fi
    if [ $whole_open -eq 1 ]; then
        run_stages "$size" "$atoms" "$file" .
    else
        awk -F'\t' -v s="$size" '$1 == s && $3 == "whole" && $7 == "timeout" { t = 1 } END { exit t }' \
            "$RESULTS" && run_memory_probe "$size" "$atoms" "$file"
        run_stages "$size" "$atoms" "$file" "^read/"
    fi
done

print_table() {
    local columns="whole $STAGES"
    echo "Machine: $(nproc) cores, $(awk '/MemTotal/ { printf "%.0f GiB", $2 / 1048576 }' /proc/meminfo); time limit ${limit} s per run."
    echo "whole = the cif2pdb executable: wall and CPU seconds, peak RSS (for a size not run whole, the"
    echo "peak of a run stopped after ${PROBE_SECONDS} s). Stages: CPU seconds of one call"
    echo "(wall times in results.tsv). The machine is shared, so wall times carry the load of others."
    echo
    printf '| size | atoms | molecules | whole wall | whole CPU | peak MB |'
    for stage in $STAGES; do printf ' %s |' "$stage"; done
    printf '\n|---|---:|---:|---:|---:|---:|'
    for stage in $STAGES; do printf -- '---:|'; done
    echo
    for size in "${sizes[@]}"; do
        atoms=$(atoms_of "$size")
        local molecules
        molecules=$(cat "$out_dir/molecules_$size" 2> /dev/null || true)
        printf '| %s | %s | %s |' "$size" "$atoms" "${molecules:--}"
        awk -F'\t' -v s="$size" -v stages="$columns" '
            $1 == s { wall[$3] = $4; cpu[$3] = $5; peak[$3] = $6; status[$3] = $7 }
            function cell(what, value) { return status[what] == "ok" ? value : status[what] }
            function peak_cell() {
                if (status["whole"] == "ok") return peak["whole"]
                if (status["whole"] == "timeout") return ">=" peak["whole"] " at the limit"
                if ("probe" in peak) return ">=" peak["probe"] " after " int(wall["probe"] + 0.5) " s"
                return status["whole"]
            }
            END {
                printf " %s | %s | %s |", cell("whole", wall["whole"]), cell("whole", cpu["whole"]), peak_cell()
                n = split(stages, list, " ")
                for (i = 2; i <= n; ++i) printf " %s |", cell(list[i], status[list[i]] == "ok" ? sprintf("%.4f", cpu[list[i]]) : "")
                printf "\n"
            }' "$RESULTS"
    done
    echo
    echo "Growth exponent k (t ~ N^k, CPU time, fitted on the largest three finished sizes of 4k atoms or more) and the time it implies:"
    echo
    local unfinished=()
    for size in "${sizes[@]}"; do
        awk -F'\t' -v s="$size" '$1 == s && $3 == "whole" && $7 != "ok" { found = 1 } END { exit !found }' "$RESULTS" &&
            unfinished+=("$size")
    done
    printf '| column | k |'
    for size in "${unfinished[@]}"; do printf ' %s |' "$size"; done
    printf '\n|---|---:|'
    for size in "${unfinished[@]}"; do printf -- '---:|'; done
    echo
    for what in $columns; do
        local fit
        fit=$(predict "$what" 1 5)
        [ -n "$fit" ] || continue
        printf '| %s | %s |' "$what" "${fit% *}"
        for size in "${unfinished[@]}"; do
            local measured
            measured=$(awk -F'\t' -v s="$size" -v w="$what" '$1 == s && $3 == w && $7 == "ok" { print $5 }' "$RESULTS")
            if [ -n "$measured" ]; then
                printf ' %s measured |' "$(seconds "$measured")"
            else
                printf ' %s |' "$(seconds "$(predict "$what" "$(atoms_of "$size")" 5 | cut -d' ' -f2)")"
            fi
        done
        echo
    done
    echo
    for size in "${sizes[@]}"; do
        [ -f "$out_dir/compare_$size" ] && echo "$size: $(cat "$out_dir/compare_$size")"
    done
    echo "Inputs (sha256, compare across runs): $out_dir/inputs.sha256"
}

print_table | tee "$out_dir/table.md"
