#!/bin/sh
# Runs the tests in a build that counts, and prints how many lines and branches of the library and of what ports share
# they reach. Fails below 95 % of the lines or 85 % of the branches. The lines that no test reaches are listed in
# build/coverage/lines.txt.
#
# Branches that the compiler adds for exceptions, and on lines without code of their own, do not count. Each copy of a
# process writes its counters, which takes long: so few seeds and no preemptions are tried.
set -eu
cd "$(dirname "$0")/.."
. scripts/packages.sh

# shellcheck disable=SC2086 # a list of words
need_packages $build_packages $test_packages $coverage_packages
cmake --preset coverage >/dev/null
cmake --build --preset coverage
find build/coverage -name '*.gcda' -delete
ONU_MNG_SEEDS=20 ONU_MNG_PREEMPTIONS=0 ctest --preset coverage -j2
# Tasks count without locks, so a counter may come out negative; such a branch is left out.
gcovr --root . --filter onu_mng_lib/ --filter onu_mng_platform/common/ --exclude-throw-branches \
    --exclude-unreachable-branches --gcov-ignore-parse-errors --txt build/coverage/lines.txt --print-summary \
    --fail-under-line 95 --fail-under-branch 85 build/coverage/onu_mng_lib build/coverage/onu_mng_platform/common
