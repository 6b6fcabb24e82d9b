#!/usr/bin/env python3
"""What the hosts of make-captures.sh run inside their network namespaces.

  hosts.py serve                        DNS answers on UDP port 53, a page on TCP port 80, IPv4 and IPv6
  hosts.py ask ADDRESS NAME COUNT       sends COUNT DNS queries and waits for each answer
  hosts.py fetch ADDRESS                reads the page
  hosts.py announce ADDRESS COUNT GAP   broadcasts COUNT datagrams, one every GAP seconds
  hosts.py vlan PARENT NAME VID         an 802.1Q interface NAME on PARENT, for kernels that have none

Everything ends by itself: a server after LIFETIME_S, a client when an answer is late.
"""
import fcntl
import os
import select
import socket
import struct
import sys
import time

LIFETIME_S = 60
ANSWER_S = 2
PAGE = b"".join(b"line %05d of the price list, as of this morning\n" % n for n in range(500))

DNS_HEADER = struct.Struct("!6H")
DNS_QUERY, DNS_ANSWER = 0x0100, 0x8580
DNS_A_IN = struct.pack("!2H", 1, 1)


def dns_query(ident, name):
    labels = b"".join(bytes([len(part)]) + part.encode() for part in name.split("."))
    return DNS_HEADER.pack(ident, DNS_QUERY, 1, 0, 0, 0) + labels + b"\0" + DNS_A_IN


def dns_answer(query):
    ident = DNS_HEADER.unpack_from(query)[0]
    record = struct.pack("!H", 0xC00C) + DNS_A_IN + struct.pack("!IH", 300, 4) + socket.inet_aton("192.0.2.29")
    return DNS_HEADER.pack(ident, DNS_ANSWER, 1, 1, 0, 0) + query[DNS_HEADER.size:] + record


def serve():
    names = socket.socket(socket.AF_INET6, socket.SOCK_DGRAM)
    pages = socket.socket(socket.AF_INET6, socket.SOCK_STREAM)
    for server, port in ((names, 53), (pages, 80)):
        server.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_V6ONLY, 0)
        server.bind(("::", port))
    pages.listen()
    print("ready", flush=True)

    end = time.monotonic() + LIFETIME_S
    while (left := end - time.monotonic()) > 0:
        for ready in select.select([names, pages], [], [], left)[0]:
            if ready is names:
                query, client = names.recvfrom(512)
                names.sendto(dns_answer(query), client)
            else:
                visitor, _ = pages.accept()
                with visitor:
                    visitor.settimeout(ANSWER_S)
                    visitor.recv(512)
                    visitor.sendall(PAGE)


def ask(address, name, count):
    family = socket.AF_INET6 if ":" in address else socket.AF_INET
    with socket.socket(family, socket.SOCK_DGRAM) as client:
        client.settimeout(ANSWER_S)
        client.connect((address, 53))
        for ident in range(1, int(count) + 1):
            query = dns_query(ident, name)
            client.send(query)
            if client.recv(512) != dns_answer(query):
                sys.exit(f"{address} answered something else")


def fetch(address):
    with socket.create_connection((address, 80), ANSWER_S) as client:
        client.settimeout(ANSWER_S)
        client.sendall(b"GET /prices\r\n\r\n")
        page = b""
        while part := client.recv(65536):
            page += part
    if page != PAGE:
        sys.exit(f"{address} sent {len(page)} bytes of {len(PAGE)}")


def announce(address, count, gap_s):
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as client:
        client.setsockopt(socket.SOL_SOCKET, socket.SO_BROADCAST, 1)
        for number in range(int(count)):
            client.sendto(b"announcement %02d" % number, (address, 9999))
            time.sleep(float(gap_s))


ETH_P_ALL, PACKET_OUTGOING = 3, 4
SOL_PACKET, PACKET_AUXDATA = 263, 8
TUNSETIFF, IFF_TAP, IFF_NO_PI = 0x400454CA, 0x0002, 0x1000
AUXDATA = struct.Struct("=3I4H")        # struct tpacket_auxdata
AUXDATA_TCI_VALID = 0x10
TAG_AT = 12                             # a tag stands between the two addresses and the ethertype


def vlan(parent, name, vid):
    vid = int(vid)
    tag = struct.pack("!2H", 0x8100, vid)
    tap = os.open("/dev/net/tun", os.O_RDWR)
    fcntl.ioctl(tap, TUNSETIFF, struct.pack("16sH22x", name.encode(), IFF_TAP | IFF_NO_PI))
    wire = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, 0)
    wire.setsockopt(SOL_PACKET, PACKET_AUXDATA, 1)
    wire.bind((parent, ETH_P_ALL))
    print("ready", flush=True)

    end = time.monotonic() + LIFETIME_S
    while (left := end - time.monotonic()) > 0:
        for ready in select.select([tap, wire], [], [], left)[0]:
            if ready is tap:
                frame = os.read(tap, 2048)
                wire.send(frame[:TAG_AT] + tag + frame[TAG_AT:])
                continue
            # The kernel has already moved a received tag out of the frame into the ancillary data.
            frame, notes, _, origin = wire.recvmsg(2048, socket.CMSG_SPACE(AUXDATA.size))
            if origin[2] == PACKET_OUTGOING:
                continue
            for level, kind, data in notes:
                if (level, kind) == (SOL_PACKET, PACKET_AUXDATA):
                    status, _, _, _, _, tci, _ = AUXDATA.unpack_from(data)
                    if status & AUXDATA_TCI_VALID and tci & 0xFFF == vid:
                        os.write(tap, frame)


COMMANDS = {"serve": serve, "ask": ask, "fetch": fetch, "announce": announce, "vlan": vlan}

if __name__ == "__main__":
    if len(sys.argv) < 2 or sys.argv[1] not in COMMANDS:
        sys.exit(__doc__)
    try:
        COMMANDS[sys.argv[1]](*sys.argv[2:])
    except OSError as error:
        sys.exit(f"hosts.py {' '.join(sys.argv[1:])}: {error}")
