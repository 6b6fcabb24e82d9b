#!/bin/sh
# Runs every fuzz target of a build folder for so many seconds, one after another. Fails when one of them finds something,
# which is left in BUILD_DIR/findings/TARGET; what it learned is kept in BUILD_DIR/corpus/TARGET for the next time.
# usage: fuzz.sh BUILD_DIR SECONDS
set -eu
build=$1
seconds=$2
cd "$(dirname "$0")/../.."

# The longest inputs that are tried, in bytes: as many as a few hundred steps take.
longest_input()
{
    case $1 in
    field_texts) echo 256 ;;
    segments) echo 512 ;;
    *) echo 2048 ;;
    esac
}

failed=""
for program in "$build"/fuzz/fuzz_*; do
    [ -x "$program" ] || continue
    target=${program##*/fuzz_}
    mkdir -p "$build/corpus/$target" "$build/findings/$target"
    # Leaks are looked for when the seeds are replayed: what the library keeps on purpose would be met all the time here, and
    # adds up.
    set -- -max_total_time="$seconds" -max_len="$(longest_input "$target")" -timeout=60 -detect_leaks=0 \
        -rss_limit_mb=0 -malloc_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$build/findings/$target/"
    [ ! -f "fuzz/$target.dict" ] || set -- "$@" -dict="fuzz/$target.dict"
    echo "== $target"
    "$program" "$@" "$build/corpus/$target" "fuzz/seeds/$target" || failed="$failed $target"
done
[ -n "$target" ]
if [ -n "$failed" ]; then
    echo "found something:$failed; see $build/findings" >&2
    exit 1
fi
