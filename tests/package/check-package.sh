#!/bin/sh
# Installs a build and uses it as a stranger would: headers as C11 and as C++20, pkg-config, the CMake package, and the same
# program with another libvf.so than ours.
# usage: check-package.sh SOURCE_DIR BUILD_DIR
set -eu
source=$1
build=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
stage=$work/stage
strict="-Wall -Wextra -Wpedantic -Werror"

DESTDIR=$stage cmake --install "$build" --prefix /usr > "$work/install.log"
pc=$(find "$stage" -name zelfdb.pc)
libdir=$(dirname "$(dirname "$pc")")
export PKG_CONFIG_PATH="${pc%/*}"
flags=$(pkg-config --cflags --libs zelfdb)

expect() { # what, command...
    what=$1
    shift
    if ! "$@" > "$work/out" 2>&1; then
        echo "FAILED: $what"
        cat "$work/out"
        exit 1
    fi
    echo "ok: $what"
}
alone() { unshare --ipc env LD_LIBRARY_PATH="$1" "$2"; }

# shellcheck disable=SC2086
expect "C11 program links by pkg-config" gcc -std=c11 $strict "$source/tests/package/switch.c" -o "$work/c11" $flags
expect "C11 program runs on the software NP" alone "$libdir" "$work/c11"
# shellcheck disable=SC2086
expect "C++20 program links by pkg-config" g++ -std=c++20 $strict -x c++ "$source/tests/package/switch.c" -o "$work/cxx" $flags
expect "C++20 program runs on the software NP" alone "$libdir" "$work/cxx"

mkdir "$work/other"
cp "$libdir"/libzelfdb.so* "$work/other"
expect "another libvf.so builds from vf.h alone" g++ -std=c++20 -shared -fPIC -I"$source" -I"$source/include" -I"$source/tests" \
    "$source/tests/support/recorder.cpp" -Wl,-soname,libvf.so.1 -o "$work/other/libvf.so.1"
expect "the same program runs on another NP, nothing rebuilt" alone "$work/other" "$work/c11"

mkdir "$work/consumer"
cp "$source/tests/package/switch.c" "$work/consumer"
cat > "$work/consumer/CMakeLists.txt" << 'END'
cmake_minimum_required(VERSION 3.25)
project(consumer LANGUAGES C)
find_package(zelfdb REQUIRED)
add_executable(switch switch.c)
target_link_libraries(switch PRIVATE zelfdb::zelfdb zelfdb::vf)
END
expect "the CMake package is found" cmake -S "$work/consumer" -B "$work/consumer/build" -DCMAKE_PREFIX_PATH="$stage/usr"
expect "a CMake consumer builds" cmake --build "$work/consumer/build"
expect "a CMake consumer runs" alone "$libdir" "$work/consumer/build/switch"
