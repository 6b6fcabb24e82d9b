#!/bin/sh
# Runs the demonstration with the programs of a build directory, in an IPC namespace of its own: nothing on the machine
# is touched. Usage: examples/run-demo.sh BUILD_DIR
set -eu
if [ $# -ne 1 ] || [ ! -x "$1/tools/zelfctl/zelfctl" ]; then
    echo "usage: $0 BUILD_DIR (one in which zelfctl has been built)" >&2
    exit 2
fi
zelfctl=$(cd "$1" && pwd)/tools/zelfctl/zelfctl
cd "$(dirname "$0")"
exec "$zelfctl" --sandbox session demo.session 2>&1
