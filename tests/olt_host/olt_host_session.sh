#!/bin/sh
# Operators at a host: olt_host_session.sh OLT_HOST OLT_CLI. Exit status 77 where there is no expect to type, or no
# terminal to type on.
if ! command -v expect > /dev/null; then
    echo "skipped: expect is not installed"
    exit 77
fi
if ! expect -c 'if {[catch {spawn true}]} {exit 1}' > /dev/null 2>&1; then
    echo "skipped: the system has no terminals to give"
    exit 77
fi
exec expect "$(dirname "$0")/olt_host_session.exp" "$1" "$2"
