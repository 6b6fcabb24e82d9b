#!/bin/sh
# Looks at built files for what hardens them, after making sure that files without it are found out.
# usage: check-hardening.sh NM READELF COMPILER (library|program FILE)...
set -eu
nm=$1
readelf=$2
compiler=$3
shift 3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The kinds of protection that a file has not, one word for each.
missing() { # library|program, file
    kind=$1
    file=$2
    "$readelf" -hldW "$file" > "$work/headers"
    "$nm" -D --undefined-only "$file" | awk '{print $2}' | sed 's/@.*//' > "$work/imports"
    grep -q 'GNU_RELRO' "$work/headers" || echo relro
    grep -qE '\(FLAGS\).*BIND_NOW|\(BIND_NOW\)|\(FLAGS_1\).*NOW' "$work/headers" || echo bind-now
    grep 'GNU_STACK' "$work/headers" | grep -q ' RW ' || echo stack-not-executable
    ! grep -q 'TEXTREL' "$work/headers" || echo no-text-relocations
    grep -q '^__stack_chk_fail' "$work/imports" || echo stack-protector
    grep -qE '^__[a-z]+_chk$' "$work/imports" || echo fortified-functions
    if [ "$kind" = program ]; then
        grep -q 'Type: *DYN' "$work/headers" && grep -q '(FLAGS_1).*PIE' "$work/headers" || echo position-independent
    fi
}

cat > "$work/bare.c" << 'END'
#include <stdio.h>
#include <string.h>
int main(int argc, char** argv)
{
    char name[64];
    strcpy(name, argv[argc - 1]);
    return printf("%s\n", name) < 0;
}
END
bare="-O0 -U_FORTIFY_SOURCE -fno-stack-protector -Wl,-z,norelro -Wl,-z,lazy -Wl,-z,execstack"
# shellcheck disable=SC2086
"$compiler" $bare -fno-pie -no-pie "$work/bare.c" -o "$work/bare" 2> "$work/warnings"
found=$(missing program "$work/bare" | tr '\n' ' ')
expected="relro bind-now stack-not-executable stack-protector fortified-functions position-independent "
if [ "$found" != "$expected" ]; then
    echo "a file without protection is not found out: missing there '$found', expected '$expected'"
    exit 1
fi
echo "ok: a bare program lacks $found"

failed=0
while [ $# -gt 0 ]; do
    lacks=$(missing "$1" "$2" | tr '\n' ' ')
    if [ -n "$lacks" ]; then
        echo "FAILED: $2 lacks $lacks"
        failed=1
    elif [ "$1" = library ]; then
        echo "ok: ${2##*/}: relro bind-now stack-not-executable no-text-relocations stack-protector fortified-functions" \
            "(position-independent: not asked of a library, whose kind of file it is)"
    else
        echo "ok: ${2##*/}: relro bind-now stack-not-executable no-text-relocations stack-protector fortified-functions" \
            "position-independent"
    fi
    shift 2
done
exit $failed
