#!/usr/bin/env bash
# Builds and runs the benchmarks in Release and prints a table of all ratios at the end:
#   ./bench.sh [FILTER]
#   ./bench.sh --check [FILTER]   runs each three times and names the rows that are slower than those of
#                                 docs/performance.md by more than their noise; exits with 1 if there are any
#   ./bench.sh --target [--write]   the kernels' instructions and cycles on 32-bit ARM (docs/target.md)
# FILTER is a regular expression for the benchmarks' names.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
. "$root/tools/packages.sh"

if [ "${1:-}" = --help ]; then
    print_usage "$0"
    exit
fi
if [ "${1:-}" = --target ]; then
    install_packages build armhf target
    "$root/tools/armhf_sysroot.sh" "$root/build/armhf-sysroot"
    build_preset armhf target_kernels >&2
    exec python3 "$root/tools/target_table.py" "${@:2}"
fi
output=ratios runs=1
if [ "${1:-}" = --check ]; then
    output=check runs=3
    shift
fi
install_packages build bench
build_preset bench >&2
results=$(mktemp -d)
trap 'rm -rf "$results"' EXIT
for run in $(seq "$runs"); do
    for program in "$root"/build/bench/bench/bench_*; do
        [ -x "$program" ] && [ -f "$program" ] || continue
        "$program" --benchmark_counters_tabular=true ${1:+--benchmark_filter="$1"} \
            --benchmark_out="$results/${program##*/}.$run.json" --benchmark_out_format=json
    done
done
echo
python3 "$root/tools/benchmark_tables.py" "$output" "$results"/*.json
