#!/bin/sh
# Runs the tests of one build folder. Quiet while they pass, because thousands of lines would bury the summary; when
# one fails, what the failing tests printed and the list of them come last, where whoever reads the end finds them.
# usage: run-tests.sh BUILD_DIR JOBS [CTEST_OPTION...]
set -eu
build=$1
jobs=$2
shift 2
if ctest --test-dir "$build" -j"$jobs" --output-on-failure --output-log "$build/ctest.log" --quiet "$@"; then
    grep -E '^[0-9]+% tests passed|^Total Test time' "$build/ctest.log"
    exit 0
fi
if [ -f "$build/Testing/Temporary/LastTestsFailed.log" ]; then
    awk '/\*\*\*/ { show = 1 } / Passed +[0-9.]+ sec$/ { show = 0 } / Start +[0-9]+: / { next } /^[0-9]+% tests passed/ { exit } show { print }' \
        "$build/ctest.log" | tail -n 200
fi
sed -n '/^[0-9]*% tests passed/,$p' "$build/ctest.log"
exit 1
