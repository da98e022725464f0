#!/bin/sh
# What a protocol analyser makes of a capture, and a host of what the analyser exports: olt_host_capture.sh OLT_HOST.
# Exit status 77 where there is no tshark.
command -v tshark > /dev/null || { echo "skipped: tshark is not installed"; exit 77; }
set -eux
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
"$1" --pcap frames --state-chart states.dot --sequence-chart sequence.mmd --sequence-onu 2/3 > report
[ "$(grep -c '>>O' sequence.mmd)" -eq 146 ]
! command -v dot || dot -Tsvg states.dot | grep NEXT
cp frames host.pcap
[ "$(tshark -r frames -Y 'eth.type == 0x88b5 && !_ws.malformed && frame.len == 62' | wc -l)" -eq 1168 ]
[ "$(tshark -r frames -Y 'eth.dst == 02:00:00:00:02:03 && eth.src == 02:00:00:00:02:00' | wc -l)" -eq 73 ]
[ "$(tshark -r frames -Y 'eth.src == 02:00:00:00:02:03 && eth.dst == 02:00:00:00:02:00' | wc -l)" -eq 73 ]
"$1" --replay frames > ours
grep -q " 8  bring-ups followed" ours
for format in pcap nsecpcap pcapng; do
    tshark -r host.pcap -F $format -w frames
    "$1" --replay frames | diff ours -
done
tshark -r host.pcap -T fields -e data.data > frames
"$1" --replay frames | sed '/^malformed/q' > text
sed '/^malformed/q' ours | diff text -
# A disk that is full: the frames before are whole, and the host goes on.
(ulimit -f 8 && "$1" --pcap small.pcap > report 2>&1)
grep -q "it ended before: File too large" report
"$1" --replay small.pcap
