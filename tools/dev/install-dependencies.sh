#!/bin/sh
# Installs what the project builds and tests with, on Debian 12. Does nothing when all of it is there.
# usage: install-dependencies.sh run|test|bench|fuzz|coverage
set -eu

build="g++ cmake ninja-build make pkg-config libcli11-dev libpcap-dev libedit-dev nlohmann-json3-dev netbase tcpdump"
case "${1:-}" in
run) wanted="$build" ;;
bench) wanted="$build libbenchmark-dev" ;;
fuzz) wanted="$build clang libclang-rt-14-dev" ;;
test)
    wanted="$build googletest libbenchmark-dev libtinyxml2-dev clang-format clang-tidy clang python3 util-linux binutils
        g++-powerpc-linux-gnu qemu-user git groff-base"
    ;;
coverage) wanted="$build googletest libtinyxml2-dev util-linux binutils gcovr" ;;
*)
    echo "usage: $0 run|test|bench|fuzz|coverage" >&2
    exit 2
    ;;
esac

missing=""
for package in $wanted; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q '^install ok installed$' || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

echo "installing:$missing"
if [ "$(id -u)" -ne 0 ]; then
    echo "$0: not root; install these packages first:$missing" >&2
    exit 1
fi
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
# shellcheck disable=SC2086
apt-get install -y -qq --no-install-recommends $missing
