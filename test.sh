#!/usr/bin/env bash
# Installs what is missing, builds, and runs the tests.
#   ./test.sh             checks the form of sources and documents, then tests the Release build and the
#                         address and undefined sanitizer build
#   ./test.sh --quick     the Release build only
#   ./test.sh --form      the form of sources and documents only
#   ./test.sh --tsan      the thread sanitizer build
#   ./test.sh --valgrind  the cases of the Release build under memcheck
#   ./test.sh --fuzz      each fuzzer for FUZZ_SECONDS (60)
#   ./test.sh --soak      server and clients under load for SOAK_SECONDS (600)
#   ./test.sh --docs      checks that what the documents name exists and what is public is documented
#   ./test.sh --armhf     32-bit ARM, under user-mode emulation
#   ./test.sh --all       form, Release, sanitizers, memcheck, fuzzers and 32-bit ARM
#   ./test.sh --coverage  lines of infrastructure/ that the tests reach; details in build/coverage
#   ./test.sh --help      prints this
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
. "$root/tools/packages.sh"

# run_ctest PRESET: builds everything of the preset and runs its tests.
run_ctest() {
    echo "== $1"
    build_preset "$1"
    ctest --test-dir "$root/build/$1" --output-on-failure --no-tests=error --parallel 2 \
        --label-exclude long
}

# What needs no build: layout, headers included alone, a set of clang-tidy's checks, documents.
run_form() {
    install_packages form
    echo "== form"
    python3 "$root/tools/check_code.py" format library
    python3 "$root/tools/check_docs.py" links
    python3 "$root/tools/protocol_tables.py" --check
}

run_valgrind() {
    install_packages valgrind
    echo "== valgrind"
    build_preset release infrastructure_ctest
    valgrind --quiet --error-exitcode=99 --leak-check=full --show-leak-kinds=definite \
        --errors-for-leak-kinds=definite --suppressions="$root/tools/valgrind.supp" \
        "$root/build/release/sw/infrastructure_test/infrastructure_ctest" \
        "$root/sw/infrastructure_test/testsources" --order rand --rng-seed 1 "~[vfork]~[.]"
}

run_tsan() {
    TSAN_OPTIONS="suppressions=$root/tools/tsan.supp history_size=7 ${TSAN_OPTIONS:-}" run_ctest tsan
}

run_fuzzers() {
    install_packages fuzz
    build_preset fuzz
    local fuzzer corpus count=0
    for fuzzer in "$root"/build/fuzz/fuzz/fuzz_*; do
        [ -x "$fuzzer" ] && [ -f "$fuzzer" ] || continue
        corpus=$(mktemp -d)
        echo "== ${fuzzer##*/}"
        "$fuzzer" -max_total_time="${FUZZ_SECONDS:-60}" -rss_limit_mb=2048 -timeout=10 \
            -artifact_prefix="$root/build/fuzz/" -print_final_stats=1 -verbosity=0 \
            "$corpus" "$root/fuzz/corpus/${fuzzer##*/fuzz_}"
        rm -rf "$corpus"
        count=$((count + 1))
    done
    [ "$count" -gt 0 ] || { echo "there is no fuzzer" >&2; return 1; }
    echo "$count passed, 0 failed"
}

run_armhf() {
    install_packages armhf
    "$root/tools/armhf_sysroot.sh" "$root/build/armhf-sysroot"
    run_ctest armhf
}

run_soak() {
    build_preset release
    SOAK_SECONDS=${SOAK_SECONDS:-600} ctest --test-dir "$root/build/release" -V \
        -R '^process\.soak$' --no-tests=error
}

run_coverage() {
    install_packages coverage
    mkdir -p "$root/build/coverage/report"
    find "$root/build/coverage" -name '*.gcda' -delete
    run_ctest coverage
    gcovr --root "$root" --filter "$root/infrastructure/" --fail-under-line 90 --print-summary \
        --sort-uncovered --txt - --html-details "$root/build/coverage/report/index.html" \
        "$root/build/coverage"
}

usage() {
    print_usage "$0" >&2
    exit 2
}

[ $# -le 1 ] || usage
case "${1:-}" in
--help)
    print_usage "$0"
    exit
    ;;
'' | --quick | --form | --tsan | --valgrind | --fuzz | --soak | --docs | --armhf | --all | --coverage) ;;
*) usage ;;
esac
install_packages build gateway test
case "${1:-}" in
'')
    run_form
    run_ctest release
    run_ctest asan-ubsan
    ;;
--quick) run_ctest release ;;
--form) run_form ;;
--tsan) run_tsan ;;
--valgrind) run_valgrind ;;
--fuzz) run_fuzzers ;;
--soak) run_soak ;;
--docs) install_packages docs && python3 "$root/tools/check_docs.py" links headers ;;
--armhf) run_armhf ;;
--all)
    run_form
    run_ctest release
    run_ctest asan-ubsan
    run_tsan
    run_valgrind
    run_fuzzers
    run_armhf
    ;;
--coverage) run_coverage ;;
esac
