#!/bin/sh
# Compares the symbols that a shared library exports with a list: exports.sh LIBRARY LIST
# After an intended change of the interface, write the output of the command in the first line below to LIST.
symbols=$(nm -D --defined-only --demangle "$1" | cut -d' ' -f3- | LC_ALL=C sort -u)
echo "$symbols" | diff "$2" - || {
    echo "The exported symbols (>) are not those of $2 (<)."
    exit 1
}
