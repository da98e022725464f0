#!/bin/sh
# Checks that the page of log lines and result codes has what the sources have: log_messages.sh ROOT
set -eu
cd "$1"
page=docs/messages.md
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Each statement in a line of its own, with the pieces of a text joined.
find onu_mng_lib onu_mng_platform/common onu_mng_platform/posix -name '*.cpp' -o -name '*.h' | while read -r file; do
    tr '\n;' ' \n' <"$file" | sed 's/" *"//g'
    echo
done >"$work/statements"

# The texts that are logged: in a call that logs, or kept for one.
grep -E '(ulogPrintf|LogFailure|LogPort)\(|(failure|missing|kFormat\[\]) = ' "$work/statements" |
    grep -oE '"[^"]*"' | grep -E '[A-Za-z]{3}.* ' | sed -E 's/^"//; s/ *(\\r\\n)?"$//' | sort -u >"$work/texts"
grep -oE '0x8[0-9a-f]+' onu_mng_lib/onu_mng_common/result.h >>"$work/texts"

# The texts that the page lists, each in the first column of a table.
sed -nE 's/^\| `([^`]*)` \|.*/\1/p' "$page" >"$work/listed"

status=0
while IFS= read -r text; do
    grep -qF -- "$text" "$page" || { echo "$page lacks: $text"; status=1; }
done <"$work/texts"
while IFS= read -r text; do
    grep -qF -- "$text" "$work/statements" || { echo "$page lists what no source has: $text"; status=1; }
done <"$work/listed"
[ "$(wc -l <"$work/texts")" -gt 60 ] && [ "$(wc -l <"$work/listed")" -gt 60 ] || { echo "too few texts found"; status=1; }
exit $status
