#!/bin/bash
# Makes the captures of examples/captures/ again, from real network stacks: hosts in network namespaces of their own,
# joined by Linux bridges, talk for some seconds; one file per port of the bridge in the middle records what they send.
#
#   sudo examples/make-captures.sh [DIRECTORY]      default: examples/captures
#   examples/make-captures.sh --check [DIRECTORY]   compares the files with what README.md says of them; needs no root
#
# Debian packages: iproute2, iputils-ping, tcpdump, ethtool, python3-minimal.
# Kernel: network namespaces, veth, bridge, IPv6; 802.1Q interfaces (8021q), or tun to build them from.
# The cast and the story are in captures/README.md. Nothing outside the namespaces made here is touched; they go away
# with the script, however it ends. The directory is changed only at the end, once every file has passed its check.

set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
hosts=$here/captures/hosts.py
files=$here/captures/files.py
prefix=zelf$$
work=
spaces=()
recorders=()

die() {
    echo "make-captures: $*" >&2
    exit 1
}

say() {
    printf '%6.1f s  %s\n' "$(($(date +%s%N) / 100000000 - started))e-1" "$*"
}

need_programs() {
    local row missing=()
    for row in "$@"; do
        command -v "${row%%:*}" >/dev/null || missing+=("${row##*:}")
    done
    ((${#missing[@]} == 0)) || die "missing programs; as root: apt-get install ${missing[*]}"
}

clean_up() {
    trap '' INT TERM HUP
    local space pid
    for pid in $(jobs -pr); do
        kill "$pid" 2>/dev/null || true
    done
    wait
    for space in "${spaces[@]}"; do
        ip netns del "$prefix-$space" || true
    done
    [[ -z $work ]] || rm -rf "$work"
}

# wait_for SECONDS COMMAND...: until the command succeeds
wait_for() {
    local tries=$(($1 * 20))
    shift
    until "$@"; do
        ((tries-- > 0)) || return 1
        sleep 0.05
    done
}

# --- namespaces, links, bridges --------------------------------------------------------------------------------------

in_space() { # SPACE COMMAND...; bounded
    local space=$1
    shift
    timeout --foreground 20 ip netns exec "$prefix-$space" "$@"
}

net() { # SPACE IP-ARGUMENTS...
    ip -n "$prefix-$1" "${@:2}"
}

setting() { # SPACE PATH-UNDER-/proc/sys/net VALUE
    in_space "$1" sh -c "echo $3 > /proc/sys/net/$2"
}

# start LOG SPACE COMMAND...: in the background; timeout bounds it and hands the signal of clean_up on
start() {
    local log=$1 space=$2
    shift 2
    : >"$work/$log" # its reader may come first
    timeout 90 ip netns exec "$prefix-$space" "$@" >"$work/$log" 2>&1 &
}

# IPv6 stays off but where a host asks for it: bridges and cables then send nothing of their own.
make_space() {
    ip netns add "$prefix-$1" || die "this kernel, or container, makes no network namespaces"
    spaces+=("$1")
    setting "$1" ipv6/conf/all/disable_ipv6 1
    setting "$1" ipv6/conf/default/disable_ipv6 1
    net "$1" link set dev lo up
}

make_bridge() { # SPACE NAME
    net "$1" link add name "$2" type bridge stp_state 0 mcast_snooping 0 forward_delay 0 || die "this kernel makes no bridges"
    net "$1" link set dev "$2" up
}

# Offloads would put frames on the wire that no wire carries: segments of 64 kB, checksums not yet summed.
make_cable() { # SPACE NAME SPACE NAME
    local end
    net "$1" link add name "$2" type veth peer name "$4" netns "$prefix-$3" || die "this kernel makes no veth pairs"
    for end in "$1 $2" "$3 $4"; do
        # shellcheck disable=SC2086
        set -- $end
        in_space "$1" ethtool -K "$2" tx off tso off gso off gro off txvlan off rxvlan off >"$work/ethtool.log" 2>&1 ||
            die "ethtool: $(cat "$work/ethtool.log")"
    done
}

plug_in() { # SPACE NAME BRIDGE
    net "$1" link set dev "$2" master "$3"
    net "$1" link set dev "$2" up
}

# A link carries frames some time after both its ends are up; what is sent before is lost.
links_carry() { # SPACE...
    local space links ports
    for space in "$@"; do
        links=$(net "$space" -o link show up) || return
        ports=$(bridge -n "$prefix-$space" link show) || return
        [[ ! $links =~ state\ (DOWN|LOWERLAYERDOWN) ]] || return
        [[ ! $ports =~ state\ (disabled|listening|learning|blocking) ]] || return
    done
}

make_host() { # NAME MAC, its cable to SPACE NAME BRIDGE
    make_space "$1"
    make_cable "$1" eth0 "$3" "$4"
    net "$1" link set dev eth0 address "$2"
    plug_in "$3" "$4" "$5"
}

wait_for_links() { # SPACE...
    wait_for 10 links_carry "$@" || die "a link stays down: $*"
}

give_ipv4() { # NAME ADDRESS/BITS
    net "$1" link set dev eth0 up
    net "$1" address add "$2" dev eth0 brd +
}

give_ipv6() { # NAME ADDRESS/BITS; the host says so on the link
    local row
    for row in accept_ra=0 router_solicitations=0 router_solicitation_delay=0 use_tempaddr=0 addr_gen_mode=0 \
        disable_ipv6=0; do
        setting "$1" "ipv6/conf/eth0/${row%=*}" "${row#*=}"
    done
    net "$1" address add "$2" dev eth0
}

has_its_ipv6() {
    [[ -z $(net "$1" -6 address show dev eth0 tentative) ]]
}

# The kernel's own 802.1Q interface where there is one; else hosts.py tags and untags for a tap interface.
make_vlan_interface() { # SPACE PARENT VID; the parent is up
    local name=$2.$3 answer
    if answer=$(net "$1" link add link "$2" name "$name" type vlan id "$3" 2>&1); then
        return
    fi
    [[ $answer == *"Unknown device type"* || $answer == *"not supported"* ]] || die "$name: $answer"
    start "vlan-$1-$name.log" "$1" python3 "$hosts" vlan "$2" "$name" "$3"
    wait_for 5 grep -q ready "$work/vlan-$1-$name.log" ||
        die "this kernel has neither 802.1Q interfaces nor tun: $(cat "$work/vlan-$1-$name.log")"
}

# --- recording -------------------------------------------------------------------------------------------------------

record() { # SPACE PORT FILE: what the port receives
    start "tcpdump-$2.log" "$1" tcpdump -i "$2" -Q in -n -s 65535 --immediate-mode -U -Z root -w "$work/$3"
    recorders+=($!)
    wait_for 5 grep -q "listening on" "$work/tcpdump-$2.log" || die "$2: $(cat "$work/tcpdump-$2.log")"
}

stop_recording() {
    local pid log
    sleep 0.3
    for pid in "${recorders[@]}"; do
        kill "$pid"
        wait "$pid" || true # timeout reports the signal, not tcpdump
    done
    for log in "$work"/tcpdump-*.log; do
        grep -q '^0 packets dropped by kernel' "$log" || die "$log: $(cat "$log")"
    done
    recorders=()
}

# --- what hosts say --------------------------------------------------------------------------------------------------

ping_from() { # HOST ADDRESS COUNT
    in_space "$1" ping -q -n -c "$3" -i 0.2 -W 1 "$2" >"$work/ping.log" || die "$1 cannot reach $2: $(cat "$work/ping.log")"
}

ping_in_vain() { # HOST ADDRESS COUNT
    ! in_space "$1" ping -q -n -c "$3" -i 0.2 -W 1 "$2" >/dev/null 2>&1 || die "$1 reaches $2, which should not exist"
}

run_host() { # HOST COMMAND...
    in_space "$1" python3 "$hosts" "${@:2}"
}

start_server() { # HOST
    start "serve-$1.log" "$1" python3 "$hosts" serve
    wait_for 5 grep -q ready "$work/serve-$1.log" || die "$1: $(cat "$work/serve-$1.log")"
}

# --- the office: ports 1 to 5 ----------------------------------------------------------------------------------------

build_office() {
    local host space
    for space in switch desk meeting bench; do
        make_space "$space"
    done
    for space in desk meeting bench; do
        make_bridge "$space" hub
    done
    make_bridge switch sales
    make_bridge switch lab

    make_cable desk uplink switch port1
    make_cable meeting uplink switch port3
    make_cable bench uplink switch port5
    for space in desk meeting bench; do
        plug_in "$space" uplink hub
    done
    plug_in switch port1 sales
    plug_in switch port3 sales
    plug_in switch port5 lab

    make_host pc 02:00:00:00:01:01 desk pc hub
    make_host laptop 02:00:00:00:01:02 desk laptop hub
    make_host server 02:00:00:00:02:01 switch port2 sales
    make_host room 02:00:00:00:03:01 meeting room hub
    for host in 1 2 3 4; do
        make_host "bench$host" "02:00:00:00:05:0$host" bench "bench$host" hub
    done

    make_space controller
    make_cable controller eth0 switch port4
    net controller link set dev eth0 address 02:00:00:00:04:01
    net controller link set dev eth0 up
    net switch link set dev port4 up
    make_vlan_interface switch port4 20
    plug_in switch port4.20 lab
}

give_addresses() {
    local host vid
    give_ipv4 pc 192.0.2.11/24
    give_ipv4 laptop 192.0.2.12/24
    give_ipv4 server 192.0.2.21/24
    give_ipv4 room 192.0.2.31/24
    for host in 1 2 3 4; do
        give_ipv4 "bench$host" "198.51.100.5$host/24"
    done
    for vid in 20 30; do
        make_vlan_interface controller eth0 "$vid"
        net controller link set dev "eth0.$vid" address 02:00:00:00:04:01
        net controller link set dev "eth0.$vid" up
    done
    net controller address add 198.51.100.41/24 dev eth0.20
    net controller address add 203.0.113.41/24 dev eth0.30
}

move_laptop() {
    net desk link set dev laptop netns "$prefix-meeting"
    sleep 1
    plug_in meeting laptop hub
    wait_for_links meeting laptop
}

play_office() {
    local host port
    wait_for_links "${spaces[@]}"
    start_server server
    start_server controller
    start_server bench1
    for port in 1 2 3 4 5; do
        record switch "port$port" "port$port.pcap"
    done

    say "server and room come up, with IPv6"
    give_ipv6 server 2001:db8:10::21/64
    give_ipv6 room 2001:db8:10::31/64

    say "pc: ping, DNS and the page from server"
    ping_from pc 192.0.2.21 3
    run_host pc ask 192.0.2.21 printer.example 3
    run_host pc fetch 192.0.2.21

    say "pc: the printer that is switched off"
    net pc neighbour add 192.0.2.29 lladdr 02:00:00:00:02:99 dev eth0 nud permanent
    ping_in_vain pc 192.0.2.29 3

    say "laptop on port 1: ping and DNS"
    ping_from laptop 192.0.2.21 3
    run_host laptop ask 192.0.2.21 printer.example 1

    say "room: ping over IPv4 and IPv6, DNS over IPv6"
    wait_for 5 has_its_ipv6 server || die "server: no IPv6 address"
    wait_for 5 has_its_ipv6 room || die "room: no IPv6 address"
    ping_from room 192.0.2.21 2
    ping_from room 2001:db8:10::21 3
    run_host room ask 2001:db8:10::21 printer.example 2
    ping_from server 2001:db8:10::31 1

    say "controller, tagged 20, and the four hosts of the bench"
    ping_from controller 198.51.100.51 2
    run_host bench1 ask 198.51.100.41 sensor.example 3
    run_host controller ask 198.51.100.51 sensor.example 2
    for host in 2 3 4; do
        ping_from "bench$host" 198.51.100.41 2
    done

    say "controller, tagged 30, where nobody is"
    ping_in_vain controller 203.0.113.1 1

    say "laptop moves from port 1 to port 3"
    move_laptop
    ping_from laptop 192.0.2.21 3
    run_host laptop ask 192.0.2.21 printer.example 1
    ping_from pc 192.0.2.12 2
    ping_from server 192.0.2.12 1
    stop_recording
}

# --- the loop: ports 6 and 7 -----------------------------------------------------------------------------------------

# Two cables join the same two bridges. The ports of the switch are isolated from each other, so that a frame comes in
# on both but never goes round: a bounded look at what would be a storm.
build_loop() {
    local port
    make_space switch2
    make_space corridor
    make_bridge switch2 sales
    make_bridge corridor hub
    for port in 6 7; do
        make_cable corridor "uplink$port" switch2 "port$port"
        net switch2 link set dev "port$port" master sales
        net switch2 link set dev "port$port" type bridge_slave isolated on
        net switch2 link set dev "port$port" up
        plug_in corridor "uplink$port" hub
    done
    make_host kiosk 02:00:00:00:06:01 corridor kiosk hub
    make_host camera 02:00:00:00:06:02 corridor camera hub
}

play_loop() {
    local port
    give_ipv4 kiosk 192.0.2.61/24
    give_ipv4 camera 192.0.2.62/24
    wait_for_links "${spaces[@]}"
    for port in 6 7; do
        record switch2 "port$port" "loop/port$port.pcap"
    done
    say "kiosk and camera broadcast behind the loop"
    run_host kiosk announce 192.0.2.255 8 0.2
    run_host camera announce 192.0.2.255 3 0.2
    ping_in_vain camera 192.0.2.69 1
    run_host kiosk announce 192.0.2.255 4 0.2
    stop_recording
}

# --- all of it -------------------------------------------------------------------------------------------------------

make_captures() {
    mkdir "$work/loop"
    build_office
    give_addresses
    play_office
    build_loop
    play_loop
    python3 "$files" pcapng "$work/port5.pcap" "$work/port5.pcapng"
}

publish() { # DIRECTORY
    local name readme=$1/README.md
    if [[ -e $readme ]]; then
        python3 "$files" readme "$work" "$readme" "$work/README.md"
    fi
    python3 "$files" check "$work"

    trap '' INT TERM HUP
    mkdir -p "$1/loop"
    for name in port{1,2,3,4}.pcap port5.pcapng loop/port{6,7}.pcap README.md; do
        [[ ! -e $work/$name ]] || mv "$work/$name" "$1/$name"
    done
}

main() {
    local check=
    if [[ ${1-} == --check ]]; then
        check=yes
        shift
    fi
    if (($# > 1)) || [[ ${1-} == -* ]]; then
        sed -n '2,/^$/s/^# \{0,1\}//p' "${BASH_SOURCE[0]}"
        [[ ${1-} == -h || ${1-} == --help ]]
        exit
    fi
    local directory=${1:-$here/captures}

    need_programs python3:python3-minimal
    if [[ -n $check ]]; then
        exec python3 "$files" check "$directory"
    fi
    ((EUID == 0)) || die "network namespaces need root"
    need_programs ip:iproute2 ping:iputils-ping tcpdump:tcpdump ethtool:ethtool

    [[ -d /proc/sys/net/ipv6 ]] || die "this kernel has no IPv6"

    mkdir -p "$directory"
    trap clean_up EXIT
    trap 'exit 1' INT TERM HUP
    work=$(mktemp -d "$directory/.making.XXXXXX")
    chmod 755 "$work"
    started=$(($(date +%s%N) / 100000000))
    make_captures
    publish "$directory"
}

main "$@"
