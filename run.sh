#!/usr/bin/env bash
# Installs what is missing, builds, and runs infrastructure_test.
#   ./run.sh          with this repository's reference files
#   ./run.sh ARGS...  with these arguments
#   ./run.sh --help   prints this
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
. "$root/tools/packages.sh"

if [ "${1:-}" = --help ]; then
    print_usage "$0"
    exit
fi
install_packages build
build_preset release infrastructure_test >&2

[ $# -gt 0 ] || set -- "testSources=$root/sw/infrastructure_test/testsources"
exec "$root/build/release/sw/infrastructure_test/infrastructure_test" "$@"
