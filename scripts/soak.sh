#!/bin/sh
# Lets olt_host work for a long time on bad lines, and checks that it needs no more at the end than at the beginning.
#
# scripts/soak.sh [--minutes N] [--preset dev|asan-ubsan|tsan]    512 ONUs on real tasks, with two operators (default: 10, dev)
# scripts/soak.sh --virtual-hours N [--seed S]                    4,096 ONUs on the simulated board
set -eu
cd "$(dirname "$0")/.."
. scripts/packages.sh

minutes=10 preset=dev hours="" seed=1 slack=1.05
while [ $# -gt 0 ]; do
    case $1 in
    --minutes) minutes=$2 ;;
    --preset) preset=$2 ;;
    --virtual-hours) hours=$2 ;;
    --seed) seed=$2 ;;
    *) sed -n '2,5s/^# \{0,1\}//p' "$0" >&2 && exit 2 ;;
    esac
    shift 2
done

# shellcheck disable=SC2086 # a list of words
need_packages $build_packages $test_packages
cmake --preset "$preset" >/dev/null
[ "$preset" = dev ] || slack=1.25 # a sanitizer keeps records of threads and blocks that are gone

# One ONU never answers, so the host works until the limit.
if [ -n "$hours" ]; then
    cmake --build --preset "$preset" --target olt_host_on_sim >/dev/null
    echo "4,096 ONUs, $hours virtual hours, seed $seed"
    status=0
    ONU_MNG_SEED=$seed "build/$preset/tests/olt_host/olt_host_on_sim" --pons 32 --onus 128 --mute 1/1 --attempts 0 \
        --limit $((hours * 3600 - 1)) --audit 3600 --link 3600 --restart 86400 --loss 1 --corrupt 1 --duplicate 1 --delay 1 \
        >build/soak.txt 2>&1 || status=$?
    tail -1 build/soak.txt
    [ $status -eq 1 ] || { echo "status $status, expected 1 for the ONU that never answers: build/soak.txt" && exit 1; }
    exit 0
fi

cmake --build --preset "$preset" --target olt_host olt_cli >/dev/null
work=$(mktemp -d)
socket=$work/socket
bin=build/$preset/olt_host
export ASAN_OPTIONS=quarantine_size_mb=16 TSAN_OPTIONS=halt_on_error=1
"$bin/olt_host" --pons 4 --onus 128 --attempts 0 --seed "$seed" --loss 2 --corrupt 1 --duplicate 5 --delay 2 --restart 600 \
    --link 60 --audit 120 --cli-socket "$socket" </dev/null >"$work/out" 2>"$work/log" &
host=$!
operators=""
trap 'kill $operators $host 2>/dev/null || true; rm -rf "$work"' EXIT

ask() {
    "$bin/olt_cli" -s "$socket" -c "$1"
}
operator() {
    while kill -0 "$host" 2>/dev/null; do
        for line in "show onu" "show state_context" "show service_module" "show memory debug" "show service statistics | json" \
            "set log_trace flag enable ponno 1 onuid $1" "show log_trace" "show memory detail" "set log_trace flag disable" \
            "show onu detail pon 1 onu $1 mib" "nonsense"; do
            ask "$line" >/dev/null 2>&1 || true
        done
        sleep 1
    done
}
until ask "show system env" >/dev/null 2>&1; do
    kill -0 "$host" && sleep 1
done
for number in 1 2; do
    operator $number &
    operators="$operators $!"
done

# Forty looks; the first four are the beginning.
seconds=$((minutes * 60))
look=0
echo "  second  resident/KiB  descriptors  pool blocks  pool bytes"
while [ $look -lt 40 ]; do
    sleep $((seconds / 40))
    look=$((look + 1))
    kill -0 "$host" || { echo "The host has ended:" && tail -20 "$work/log" && exit 1; }
    resident=$(awk '/^VmRSS/ { print $2 }' "/proc/$host/status")
    descriptors=$(find "/proc/$host/fd" -type l | wc -l)
    pool=$(ask "show memory global" | awk '$2 == "OnuMngMemPool" { print $6, $4 }')
    # shellcheck disable=SC2086 # two words
    printf "%8d  %12d  %11d  %11d  %10d\n" $((look * seconds / 40)) "$resident" "$descriptors" $pool | tee -a "$work/samples"
done
[ "$(wc -l <"$work/samples")" -eq 40 ] || exit 1
ask "show onu" | tail -1

# The same in the middle and at the end: the least of ten looks, because work under way comes and goes.
awk -v slack=$slack '
    NR > 4 && NR <= 14 { for (i = 2; i <= 5; ++i) if (!(i in early) || $i < early[i]) early[i] = $i }
    NR > 30 { for (i = 2; i <= 5; ++i) if (!(i in late) || $i < late[i]) late[i] = $i }
    END {
        printf "least early  %11d  %11d  %11d  %10d\nleast late   %11d  %11d  %11d  %10d\n",
               early[2], early[3], early[4], early[5], late[2], late[3], late[4], late[5]
        if (late[2] > early[2] * slack + 512 || late[3] > early[3] + 2 || late[4] > early[4] + 8) { print "It grows."; exit 1 }
        print "It does not grow."
    }' "$work/samples"
kill -TERM "$host"
status=0
wait "$host" || status=$?
echo "The host has ended with status $status"
if grep -E "ERROR: |WARNING: ThreadSanitizer|runtime error" "$work/log"; then exit 1; fi
[ $status -le 1 ]
