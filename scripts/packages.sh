# Installs what a script needs and the machine has not: need_packages COMMAND-OR-FILE:PACKAGE ...
# A name with a slash is looked for as a file, any other as a command.

need_packages() {
    missing=""
    for pair in "$@"; do
        what=${pair%%:*}
        case $what in
        */*) [ -e "$what" ] ;;
        *) command -v "$what" >/dev/null 2>&1 ;;
        esac || missing="$missing ${pair#*:}"
    done
    [ -n "$missing" ] || return 0
    as_root=""
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null 2>&1 || {
            echo "Missing packages:$missing. Install them as root: apt-get install$missing" >&2
            return 1
        }
        as_root=sudo
    fi
    echo "Installing:$missing"
    $as_root apt-get update -qq
    # shellcheck disable=SC2086 # a list of words
    DEBIAN_FRONTEND=noninteractive $as_root apt-get install -y -qq --no-install-recommends $missing >/dev/null
}

build_packages="g++:g++ cmake:cmake ninja:ninja-build /usr/include/CLI/CLI.hpp:libcli11-dev
/usr/include/histedit.h:libedit-dev /usr/include/pcap/pcap.h:libpcap-dev"
test_packages="clang++:clang expect:expect jq:jq clang-format:clang-format /usr/include/gtest/gtest.h:libgtest-dev git:git"
fuzz_packages="clang++:clang /usr/lib/llvm-14/lib/clang/14.0.6/lib/linux:libclang-rt-dev
/usr/include/gtest/gtest.h:libgtest-dev
/usr/include/nlohmann/json.hpp:nlohmann-json3-dev"
coverage_packages="gcovr:gcovr"
lint_packages="cppcheck:cppcheck run-clang-tidy:clang-tidy"
bench_packages="/usr/include/concurrentqueue/blockingconcurrentqueue.h:libconcurrentqueue-dev
/usr/include/boost/lockfree/queue.hpp:libboost-dev /usr/include/tbb/concurrent_queue.h:libtbb-dev
/usr/include/fmt/format.h:libfmt-dev /usr/include/mimalloc.h:libmimalloc-dev
/usr/include/jemalloc/jemalloc.h:libjemalloc-dev gnuplot:gnuplot-nox"
