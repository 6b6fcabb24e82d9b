#!/bin/sh
# Fails on any finding of clang-tidy (.clang-tidy). "quick" leaves out the path-sensitive analysis, which takes twice the time
# of all else, and the tool's verbs, whose JSON header takes as long again; "all" leaves out nothing.
# usage: check-tidy.sh quick|all
set -eu
cd "$(dirname "$0")/../.."
scope=$1
build=build/tidy
set -- 'core/*.cpp' 'np/*.cpp' 'fdb/*.cpp' 'port/*.cpp' 'vlan/*.cpp' 'qos/*.cpp' 'classify/*.cpp' 'mirror/*.cpp' \
    'replay/*.cpp' 'check/*.cpp' 'resync/*.cpp' 'softnp/*.cpp'
case $scope in
quick) checks=-clang-analyzer-* && set -- "$@" 'tools/zelfctl/language/*.cpp' ;;
all) checks= && set -- "$@" 'tools/*.cpp' ;;
*) echo "check-tidy.sh: quick or all, not '$scope'" >&2 && exit 2 ;;
esac
# How each file is compiled on its own, which no other build folder knows.
cmake --preset release -B "$build" -D ZELFDB_UNITY=OFF >/dev/null
# The compiler that builds us decides what is an error, not this one, which knows other warnings.
git ls-files -z -- "$@" |
    xargs -0 -n 4 -P 2 clang-tidy --quiet -p "$build" --extra-arg=-Wno-error --extra-arg=-Wno-unknown-warning-option \
        --checks="$checks" --warnings-as-errors='*' 2>/dev/null
echo "clang-tidy ($scope): clean"
