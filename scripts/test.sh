#!/bin/sh
# Installs what is missing and runs every check: the format, cppcheck and clang-tidy, a GCC and a Clang build with all
# tests, the tests under AddressSanitizer with UndefinedBehaviorSanitizer and under ThreadSanitizer, and each fuzz target
# for 10 seconds. Stops at the first failure.
#
# scripts/test.sh [STEP ...]   STEP: format, lint, dev, clang, asan-ubsan, tsan, fuzz (default: all, in this order)
set -eu
cd "$(dirname "$0")/.."
. scripts/packages.sh

# shellcheck disable=SC2086 # a list of words
need_packages $build_packages $test_packages

check_format() {
    find onu_mng_lib onu_mng_platform olt_host tests fuzz examples bench \( -name '*.h' -o -name '*.cpp' -o -name '*.c' \) \
        -print0 | xargs -0 clang-format --dry-run -Werror
}

lint() {
    # shellcheck disable=SC2086 # a list of words
    need_packages $lint_packages
    cmake --preset dev >/dev/null
    cppcheck -j "$(nproc)" --quiet --std=c++17 --enable=warning,performance,portability --error-exitcode=1 \
        --suppressions-list=scripts/cppcheck.suppressions -I. -Ibuild/dev/generated onu_mng_lib onu_mng_platform olt_host
    run-clang-tidy -p build/dev -quiet "^$PWD/(onu_mng_lib|onu_mng_platform|olt_host)/" >build/dev/lint.log 2>&1 || {
        grep -A 3 -E "(error|warning): .*\[" build/dev/lint.log || tail build/dev/lint.log
        return 1
    }
}

build_and_test() {
    cmake --preset "$1" >/dev/null
    cmake --build --preset "$1"
    ctest --preset "$1" -j2
}

[ $# -gt 0 ] || set -- format lint dev clang asan-ubsan tsan fuzz
for step in "$@"; do
    echo "== $step"
    case $step in
    format) check_format ;;
    fuzz) scripts/fuzz.sh all 10 ;;
    lint) lint ;;
    *) build_and_test "$step" ;;
    esac
done
echo "== all passed: $*"
