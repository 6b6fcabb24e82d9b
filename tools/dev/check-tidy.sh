#!/bin/sh
# Fails on any finding of clang-tidy (.clang-tidy) in the library, the software NP and the tool.
# usage: check-tidy.sh BUILD_DIR (one with a compile_commands.json)
set -eu
cd "$(dirname "$0")/../.."
build=$1
git ls-files -z -- 'core/*.cpp' 'np/*.cpp' 'fdb/*.cpp' 'port/*.cpp' 'vlan/*.cpp' 'qos/*.cpp' 'classify/*.cpp' \
    'mirror/*.cpp' 'replay/*.cpp' 'softnp/*.cpp' 'tools/*.cpp' |
    xargs -0 -n 4 -P 2 clang-tidy --quiet -p "$build" --extra-arg=-Wno-unknown-warning-option --warnings-as-errors='*' 2>/dev/null
echo "clang-tidy: clean"
