#!/bin/sh
# Installs what is missing, builds olt_host and runs it with the arguments given: without any it brings up 2 PONs
# with 4 simulated ONUs each and prints a summary.
set -eu
cd "$(dirname "$0")/.."
. scripts/packages.sh

# shellcheck disable=SC2086 # a list of words
need_packages $build_packages
mkdir -p build
echo "Building olt_host (log in build/demo.log)" >&2
{
    cmake --preset dev -B build/demo -DONU_MNG_BUILD_TESTS=OFF &&
        cmake --build build/demo --target olt_host olt_cli
} >build/demo.log 2>&1 || {
    cat build/demo.log >&2
    exit 1
}
exec build/demo/olt_host/olt_host "$@"
