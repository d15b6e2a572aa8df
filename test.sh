#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test.
#   ./test.sh          Release, then the same under the address and undefined sanitizers
#   ./test.sh --quick  Release only
#   ./test.sh --tsan   the thread sanitizer build
#   ./test.sh --fuzz   each fuzzer for FUZZ_SECONDS (60)
#   ./test.sh --soak   server and clients under load for SOAK_SECONDS (600)
#   ./test.sh --docs   what the documents name exists, and what is public is documented
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

run_fuzzers() {
    install_packages build fuzz
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
    echo "$count passed, 0 failed"
}

install_packages build test
case "${1:-}" in
'')
    build_preset release all_verify_interface_header_sets
    run_ctest release
    run_ctest asan-ubsan
    ;;
--quick) run_ctest release ;;
--tsan) run_ctest tsan ;;
--fuzz) run_fuzzers ;;
--soak) build_preset release && SOAK_SECONDS=${SOAK_SECONDS:-600} ctest --test-dir "$root/build/release" -V -R '^process\.soak$' --no-tests=error ;;
--docs) install_packages docs && python3 "$root/tools/check_docs.py" links headers ;;
*)
    sed -n '2,8s/^# \{0,1\}//p' "$0" >&2
    exit 2
    ;;
esac
