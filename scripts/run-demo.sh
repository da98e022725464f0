#!/bin/sh
# Installs what is missing, builds olt_host and runs it with the arguments given: without any it brings up 2 PONs
# with 4 simulated ONUs each and prints a summary.
set -eu
cd "$(dirname "$0")/.."
. scripts/packages.sh

# shellcheck disable=SC2086 # a list of words
need_packages $build_packages
cmake --preset dev -B build/demo -DONU_MNG_BUILD_TESTS=OFF >/dev/null
cmake --build build/demo --target olt_host >/dev/null
exec build/demo/olt_host/olt_host "$@"
