#!/bin/sh
# Fails if any source is not formatted as .clang-format says.
set -eu
cd "$(dirname "$0")/../.."
git ls-files -z -- '*.h' '*.hpp' '*.c' '*.cpp' | xargs -0 clang-format --dry-run --Werror
echo "format: clean"
