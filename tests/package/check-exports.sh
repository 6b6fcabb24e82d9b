#!/bin/sh
# What the header declares, what the version script lists and what the library exports must be the same names; of the vf_
# names it must define none, and import only what vf.h declares; the C and C++ runtime is all that it needs.
# usage: check-exports.sh SOURCE_DIR LIBRARY NM READELF
set -eu
source=$1
library=$2
nm=$3
readelf=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

grep -v '^#' "$source/include/zelfdb/zelfdb.h" | tr '\n' ' ' | grep -oE 'ZELFDB_API [^(]*\(' | grep -oE '[a-z_A-Z0-9]+\($' | tr -d '(' |
    sort > "$work/declared"
sed -n '/global:/,/local:/p' "$source/cmake/libzelfdb.map" | grep -oE '[a-zA-Z_0-9]+;' | tr -d ';' | sort > "$work/listed"
"$nm" -D --defined-only "$library" | awk '{print $3}' | sort > "$work/exported"
"$nm" -D --undefined-only "$library" | awk '{print $2}' | grep '^vf_' | sort > "$work/imported"
grep -oE '\bvf_[A-Za-z_]+\(' "$source/include/zelfdb/vf.h" | tr -d '(' | sort -u > "$work/offered"

test -s "$work/declared"
diff "$work/declared" "$work/listed"
diff "$work/declared" "$work/exported"
if grep '^vf_' "$work/exported"; then exit 1; fi
test -s "$work/imported"
test -z "$(comm -23 "$work/imported" "$work/offered")"
needed=$("$readelf" -d "$library" | sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p' | grep -vE '^(libc|libstdc\+\+|libgcc_s|libm)\.so' || true)
if [ -n "$needed" ]; then
    echo "needs more than the runtime: $needed"
    exit 1
fi
echo "$(wc -l < "$work/exported") operations exported, $(wc -l < "$work/imported") vf_ functions imported"
