#!/bin/sh
# Builds the project for other machines and runs its tests: i386 on this machine's processor, the others under QEMU.
# A Debian root of each machine gives the libraries; it lies in build/targets/ and is not run itself.
#
# scripts/test-targets.sh [MACHINE ...] [-- CTEST-OPTION ...]
#   MACHINE   i386 (32 bits), armhf (32 bits), s390x (64 bits, big-endian), riscv64; default: i386 s390x
set -eu
cd "$(dirname "$0")/.."
. scripts/packages.sh

machines=""
while [ $# -gt 0 ]; do
    case $1 in
    --) shift && break ;;
    *) machines="$machines $1" && shift ;;
    esac
done

mirror=http://deb.debian.org/debian
libraries=libc6-dev,libstdc++-12-dev,libgtest-dev,libcli11-dev,libedit-dev,libpcap0.8-dev
# shellcheck disable=SC2086 # a list of words
need_packages $build_packages $test_packages mmdebstrap:mmdebstrap

for machine in ${machines:-i386 s390x}; do
    case $machine in
    i386) need_packages i686-linux-gnu-g++:g++-i686-linux-gnu ;;
    armhf) need_packages arm-linux-gnueabihf-g++:g++-arm-linux-gnueabihf qemu-arm-static:qemu-user-static ;;
    s390x) need_packages s390x-linux-gnu-g++:g++-s390x-linux-gnu qemu-s390x-static:qemu-user-static ;;
    riscv64) need_packages riscv64-linux-gnu-g++:g++-riscv64-linux-gnu qemu-riscv64-static:qemu-user-static ;;
    *) echo "No machine '$machine': i386 armhf s390x riscv64" >&2 && exit 2 ;;
    esac
    suite=bookworm
    root=$PWD/build/targets/$machine-root
    [ -d "$root" ] || {
        mmdebstrap --quiet --variant=extract --architectures="$machine" --include="$libraries" "$suite" "$root.new" "$mirror"
        mv "$root.new" "$root"
    }
    # Scripts, and death tests that start the program anew, cannot start programs for QEMU. It passes priority-inheriting
    # futexes on to the system, which stores their holder in its own byte order.
    seeds="env ONU_MNG_SEEDS=20 ONU_MNG_PREEMPTIONS=1" # QEMU is slow
    case $machine in
    i386) left_out='^$' seeds="" ;;
    armhf) left_out='^package$|^doc_olt|^platform_posix_test$|process_end|sim_sweep' ;; # the sweep takes over 300 s
    s390x) left_out='^package$|^doc_olt|posix|cli_server|process_end|olt_host_(demo|traces|4096|busy)' ;;
    *) left_out='^package$|^doc_olt' ;;
    esac
    echo "== $machine"
    cmake --preset target -B "build/targets/$machine" -DONU_MNG_TARGET="$machine" -DONU_MNG_TARGET_ROOT="$root" >/dev/null
    cmake --build "build/targets/$machine"
    # shellcheck disable=SC2086 # a list of words
    $seeds ctest --test-dir "build/targets/$machine" -j2 --output-on-failure -E "$left_out" "$@"
done
echo "== all passed"
