#!/bin/sh
# Builds the fuzz targets and runs them, two at a time.
#
# scripts/fuzz.sh                  lists the targets
# scripts/fuzz.sh TARGET SECONDS   runs one; "all" runs each for that long
#
# A target starts from fuzz/corpus/TARGET and keeps what it learns in build/fuzz/corpus/TARGET. An input that fails is
# written to build/fuzz/findings. Add it to fuzz/corpus/TARGET together with the change that mends its cause.
set -eu
cd "$(dirname "$0")/.."
. scripts/packages.sh

# run TARGET SECONDS
run() {
    target=$1
    seconds=$2
    work=build/fuzz/corpus/$target
    log=build/fuzz/$target.log
    mkdir -p "$work" build/fuzz/findings
    set -- "$work" "fuzz/corpus/$target"
    [ ! -e "fuzz/$target.dict" ] || set -- "-dict=fuzz/$target.dict" "$@"
    "build/fuzz/fuzz/fuzz_$target" -max_total_time="$seconds" -timeout=10 -print_final_stats=1 \
        -artifact_prefix="build/fuzz/findings/$target-" "$@" >"$log" 2>&1 || {
        tail -40 "$log"
        echo "$target: FAILED, see $log"
        return 1
    }
    echo "$target: $(sed -n 's/^stat::number_of_executed_units: *//p' "$log") executions," \
        "$(sed -n 's/.*DONE *cov: \([0-9]*\).*/\1/p' "$log") edges covered"
}

[ "${1:-}" != --run ] || { run "$2" "$3"; exit; }

all=$(grep -l '^void TryInput(' fuzz/*.cpp | xargs basename -s .cpp)
[ $# -gt 0 ] || { echo "$all"; exit; }
targets=$1
[ "$1" != all ] || targets=$all

# shellcheck disable=SC2086 # a list of words
need_packages $build_packages $fuzz_packages
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz
echo "$targets" | xargs -P 2 -I TARGET sh scripts/fuzz.sh --run TARGET "${2:-10}"
