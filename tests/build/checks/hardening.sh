#!/bin/sh
# hardening.sh PROGRAM ...: fails for a program without one of the protections.
set -eu
for program in "$@"; do
    facts=$(LC_ALL=C readelf -Whld --dyn-syms "$program")
    for fact in "Type: *DYN" GNU_RELRO "FLAGS.*NOW" __stack_chk_fail "__[a-z]*_chk"; do
        echo "$facts" | grep -q "$fact" || { echo "$program: no $fact"; exit 1; }
    done
done
