#!/bin/sh
# Runs the benchmark programs and prints one table: bench.sh FOLDER [NAME ...]
#
# A benchmark is named CASE/ours, CASE/peer:WHO or CASE/floor:WHAT; the rows of one case come from one run of one
# program, so that their ratios hold on a machine whose speed drifts. Figures are medians.
set -eu
folder=$1
shift
repetitions=${OSUPT_BENCH_REPETITIONS:-5}
results=$(mktemp)
trap 'rm -f "$results"' EXIT

for program in "$folder"/*Bench; do
    name=$(basename "$program")
    wanted=$([ $# -eq 0 ] && echo yes || true)
    for only; do case $name in "$only" | "$only"Bench) wanted=yes ;; esac; done
    [ -n "$wanted" ] || continue
    echo "measuring $name" >&2
    # Interleaving spreads a slow moment of the machine over all rows.
    "$program" --benchmark_repetitions="$repetitions" --benchmark_enable_random_interleaving=true \
        --benchmark_min_time="${OSUPT_BENCH_MIN_TIME:-0.1}" --benchmark_report_aggregates_only=true \
        --benchmark_format=csv 2>/dev/null | grep '_median' >>"$results"
done

awk -F, '
function nanoseconds(value, unit) {
    return value * (unit == "us" ? 1e3 : unit == "ms" ? 1e6 : unit == "s" ? 1e9 : 1)
}
function shown(ns) {
    if (ns == "") return "-"
    return ns < 1e3 ? sprintf("%.1f ns", ns) : ns < 1e6 ? sprintf("%.2f us", ns / 1e3) : sprintf("%.2f ms", ns / 1e6)
}
{
    name = $1
    gsub(/"/, "", name)
    sub(/_median$/, "", name)
    split(name, part, "/")
    rest = substr(name, length(part[1]) + length(part[2]) + 2)
    # What Google Benchmark appends belongs to the case when it says how many threads ran.
    threads = ""
    if (match(rest, /threads:[0-9]+/)) threads = " (" substr(rest, RSTART + 8, RLENGTH - 8) " threads)"
    key = part[1] threads
    if (!(key in seen)) { seen[key] = 1; order[++cases] = key }
    time = nanoseconds(name ~ /real_time|manual_time/ ? $3 : $4, $5)
    kind = part[2]
    sub(/:.*/, "", kind)
    who = part[2]
    sub(/^[^:]*:?/, "", who)
    if (kind == "ours") ours[key] = time
    if (kind == "peer" && (peer[key] == "" || time < peer[key])) { peer[key] = time; peer_name[key] = who }
    if (kind == "floor" && (floor[key] == "" || time < floor[key])) { floor[key] = time; floor_name[key] = who }
}
END {
    line = "%-44s %11s %11s %6s  %-26s %11s %6s  %s\n"
    printf line, "case", "ours", "best peer", "ratio", "", "floor", "ratio", ""
    for (i = 1; i <= cases; ++i) {
        k = order[i]
        printf line, k, shown(ours[k]), shown(peer[k]), \
            peer[k] ? sprintf("%.2f", ours[k] / peer[k]) : "", peer_name[k], \
            shown(floor[k]), floor[k] ? sprintf("%.2f", ours[k] / floor[k]) : "", floor_name[k]
    }
}' "$results"
