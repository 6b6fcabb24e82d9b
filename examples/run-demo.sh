#!/bin/sh
# Runs the demonstrations with the programs of a build directory, each in an IPC namespace of its own: nothing on the
# machine is touched. What they write goes to FOLDER. Usage: examples/run-demo.sh BUILD_DIR [FOLDER]
set -eu
if [ $# -lt 1 ] || [ $# -gt 2 ] || [ ! -x "$1/tools/zelfctl/zelfctl" ]; then
    echo "usage: $0 BUILD_DIR [FOLDER] (zelfctl has been built in the one; the other is BUILD_DIR/demo otherwise)" >&2
    exit 2
fi
zelfctl=$(cd "$1" && pwd)/tools/zelfctl/zelfctl
examples=$(cd "$(dirname "$0")" && pwd)
folder=${2:-$1/demo}
mkdir -p "$folder"
cd "$folder"
for file in "$examples"/*.conf "$examples"/*.session "$examples/captures"; do ln -sfn "$file" .; done

"$zelfctl" --sandbox session demo.session 2>&1
"$zelfctl" --sandbox session quality.session 2>&1
printf '\n$ tcpdump -nn -t -c 12 -r analyser.pcap\n'
tcpdump -nn -t -c 12 -r analyser.pcap 2>/dev/null
