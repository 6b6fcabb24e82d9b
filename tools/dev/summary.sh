#!/bin/sh
# The closing lines of each test run. Fails when a run left none, or one that executed no test.
set -eu
for build in "$@"; do
    echo "== $build"
    grep -E '^[0-9]+% tests passed|^Total Test time|No tests were found' "$build/ctest.log"
    tests=$(sed -nE 's/^\[  PASSED  \] ([0-9]+) tests?\.$/\1/p' "$build/Testing/Temporary/LastTest.log" | awk '{ n += $1 } END { print n + 0 }')
    echo "$tests tests of GoogleTest passed in these"
    grep -qE '^100% tests passed, 0 tests failed out of [1-9]' "$build/ctest.log"
done
