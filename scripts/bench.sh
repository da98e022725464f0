#!/bin/sh
# Installs what is missing, builds the benchmark in Release, and measures the library beside its peers.
#
# scripts/bench.sh [--quick] [--all] [--json FILE] [FILTER]
#   --quick   about a minute instead of ten
#   --all     every peer, not only the fastest
#   --json    writes every sample to FILE too
#   FILTER    rows whose names contain it
#
# scripts/bench.sh --curves DIR [NAME]
#   prints how the hot paths grow and draws DIR/curves.svg; NAME: measures only one curve again
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/scripts/packages.sh"

# shellcheck disable=SC2086 # a list of words
need_packages $build_packages $bench_packages
(
    cd "$root"
    cmake --preset release >/dev/null
    cmake --build --preset release --target onu_mng_bench onu_mng_curves >/dev/null
) || exit 1
if [ "${1:-}" != --curves ]; then
    exec "$root/build/release/bench/onu_mng_bench" "$@"
fi
shift
"$root/build/release/bench/onu_mng_curves" "$@"
gnuplot -e "points='$1'" "$root/bench/curves.gnuplot" >"$1/curves.svg"
