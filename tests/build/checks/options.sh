#!/bin/sh
# The manual page and the completion of a program have every option of its help: options.sh PROGRAM PAGE COMPLETION
status=0
for option in $("$1" --help | grep -oE '^ +(-[a-z],)?--[a-z-]+' | grep -oE -e '--[a-z-]+'); do
    sed 's/\\-/-/g' "$2" | grep -qw -e "$option" || { echo "$2 lacks $option" && status=1; }
    grep -qw -e "$option" "$3" || { echo "$3 lacks $option" && status=1; }
done
exit $status
