#!/bin/sh
# A person at a terminal: cli_session.sh HOST CLIENT. Exit status 77 where there is no expect to type, or no
# terminal to type on.
if ! command -v expect > /dev/null; then
    echo "skipped: expect is not installed"
    exit 77
fi
if ! expect -c 'if {[catch {spawn true}]} {exit 1}' > /dev/null 2>&1; then
    echo "skipped: the system has no terminals to give"
    exit 77
fi
exec expect "$(dirname "$0")/cli_session.exp" "$1" "$2"
