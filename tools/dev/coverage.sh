#!/bin/sh
# Reports which lines and branches of the library's folders a run of their tests took, and fails below the thresholds, or
# when something is left out that docs/coverage.md gives no reason for.
# usage: coverage.sh BUILD_DIR LINES_PERCENT BRANCHES_PERCENT FOLDER...
set -eu
cd "$(dirname "$0")/../.."
build=$1
lines=$2
branches=$3
shift 3
folders=$(echo "$*" | tr ' ' '|')
gcovr -j "$(nproc)" --root . --object-directory "$build" --filter "($folders)/" \
    --html-details "$build/coverage.html" --json "$build/coverage.json" "$build"
tools/dev/coverage.py "$build/coverage.json" docs/coverage.md "$lines" "$branches"
