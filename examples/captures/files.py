#!/usr/bin/env python3
"""The capture files as make-captures.sh needs them.

  files.py check DIRECTORY               are they what README.md promises? prints each fault, fails if there is one
  files.py readme DIRECTORY README NEW   writes README again as NEW, with the frame counts of DIRECTORY
  files.py pcapng SOURCE TARGET          a pcap file as pcapng

check also compares the counts in DIRECTORY/README.md, if there is one.
"""
import os
import struct
import sys
from collections import namedtuple

Frame = namedtuple("Frame", "time_us original_bytes data")      # time since the epoch

ETHERNET = 1
SNAPLEN = 65535
MOVER = "02:00:00:00:01:02"
TOTAL_LIMIT_BYTES = 80 * 1024
SPAN_LIMIT_S = 30

# Which stations each file must hold, with the VLAN of their tags (0 = untagged). No other may appear.
CAST = {
    "port1.pcap": {("02:00:00:00:01:01", 0), (MOVER, 0)},
    "port2.pcap": {("02:00:00:00:02:01", 0)},
    "port3.pcap": {("02:00:00:00:03:01", 0), (MOVER, 0)},
    "port4.pcap": {("02:00:00:00:04:01", 20), ("02:00:00:00:04:01", 30)},
    "port5.pcapng": {("02:00:00:00:05:0%d" % n, 0) for n in (1, 2, 3, 4)},
    "loop/port6.pcap": {("02:00:00:00:06:01", 0), ("02:00:00:00:06:02", 0)},
    "loop/port7.pcap": {("02:00:00:00:06:01", 0), ("02:00:00:00:06:02", 0)},
}


class Fault(Exception):
    pass


def read_pcap(data):
    order = "<" if data[:4] == b"\xd4\xc3\xb2\xa1" else ">"
    magic, _, _, _, _, _, link = struct.unpack_from(order + "IHHiIII", data)
    if magic != 0xA1B2C3D4 or link != ETHERNET:
        raise Fault("not an Ethernet capture in microseconds")
    frames, at = [], 24
    while at < len(data):
        seconds, micro, kept, original = struct.unpack_from(order + "4I", data, at)
        frames.append(Frame(seconds * 1_000_000 + micro, original, data[at + 16:at + 16 + kept]))
        at += 16 + kept
    return frames


SECTION, INTERFACE, ENHANCED = 0x0A0D0D0A, 1, 6     # block types; microseconds is an interface's default unit


def pcapng_block(kind, body):
    body += bytes(-len(body) % 4)
    size = struct.pack("<I", len(body) + 12)
    return struct.pack("<I", kind) + size + body + size


def write_pcapng(frames):
    blocks = [pcapng_block(SECTION, struct.pack("<IHHq", 0x1A2B3C4D, 1, 0, -1)),
              pcapng_block(INTERFACE, struct.pack("<HHI", ETHERNET, 0, SNAPLEN))]
    for frame in frames:
        head = struct.pack("<5I", 0, frame.time_us >> 32, frame.time_us & 0xFFFFFFFF, len(frame.data),
                           frame.original_bytes)
        blocks.append(pcapng_block(ENHANCED, head + frame.data))
    return b"".join(blocks)


def read_pcapng(data):
    frames, at = [], 0
    while at < len(data):
        kind, size = struct.unpack_from("<2I", data, at)
        if size < 12 or at + size > len(data):
            raise Fault("a block is cut short")
        if kind == ENHANCED:
            _, high, low, kept, original = struct.unpack_from("<5I", data, at + 8)
            frames.append(Frame(high << 32 | low, original, data[at + 28:at + 28 + kept]))
        at += size
    return frames


def read_file(path):
    with open(path, "rb") as file:
        data = file.read()
    try:
        return read_pcapng(data) if path.endswith(".pcapng") else read_pcap(data)
    except (struct.error, Fault) as error:
        raise Fault(f"{path}: {error}") from error


def station(frame):
    """Source address and VLAN as the bytes on the wire say them."""
    tagged = frame.data[12:14] == b"\x81\x00"
    return (frame.data[6:12].hex(":"), struct.unpack_from("!H", frame.data, 14)[0] & 0xFFF if tagged else 0)


def is_broadcast(frame):
    return frame.data[:6] == b"\xff" * 6


def check_cast(name, frames):
    found = {station(frame) for frame in frames}
    if found != CAST[name]:
        raise Fault(f"{name}: missing {sorted(CAST[name] - found)}, unexpected {sorted(found - CAST[name])}")
    if any(len(frame.data) != frame.original_bytes for frame in frames):
        raise Fault(f"{name}: a frame is cut short")
    if any(later.time_us < earlier.time_us for earlier, later in zip(frames, frames[1:])):
        raise Fault(f"{name}: the time stamps run backwards")


def check_move(captures):
    before = [frame.time_us for frame in captures["port1.pcap"] if station(frame)[0] == MOVER]
    after = [frame.time_us for frame in captures["port3.pcap"] if station(frame)[0] == MOVER]
    if max(before) >= min(after):
        raise Fault(f"{MOVER} is on port 1 after it moved to port 3")


def check_loop(captures):
    """Every frame comes in twice, port after port; only then does a bridge see the stations flap."""
    arrivals = sorted((frame.time_us, name, frame.data) for name in ("loop/port6.pcap", "loop/port7.pcap")
                      for frame in captures[name])
    for first, second in zip(arrivals[::2], arrivals[1::2]):
        if first[1] == second[1] or first[2] != second[2]:
            raise Fault(f"loop: the frames of ports 6 and 7 do not alternate at {first[0]} us")
    if len(arrivals) % 2 or not all(is_broadcast(frame) for frame in captures["loop/port6.pcap"]):
        raise Fault("loop: a frame came in on one port only, or was no broadcast")


def is_of(name, in_loop):
    return name.startswith("loop/") == in_loop


def check_span(captures, in_loop):
    times = [frame.time_us for name, frames in captures.items() if is_of(name, in_loop) for frame in frames]
    if max(times) - min(times) > SPAN_LIMIT_S * 1_000_000:
        raise Fault(f"the story lasts {(max(times) - min(times)) / 1e6:.1f} s; is the machine busy?")


def read_all(directory):
    return {name: read_file(os.path.join(directory, name)) for name in CAST}


def table(captures):
    rows = ["| File | Station | Tag | Frames | of these broadcast | First, s | Last, s |",
            "|---|---|---|---:|---:|---:|---:|"]
    for name, frames in captures.items():
        start = min(frame.time_us for other, those in captures.items() if is_of(other, is_of(name, True))
                    for frame in those)
        for who in sorted(CAST[name]):
            own = [frame for frame in frames if station(frame) == who]
            rows.append(f"| `{name}` | {who[0]} | {who[1] or 'none'} | {len(own)} | {sum(map(is_broadcast, own))} "
                        f"| {(own[0].time_us - start) / 1e6:.3f} | {(own[-1].time_us - start) / 1e6:.3f} |")
        rows.append(f"| `{name}` | all | | {len(frames)} | {sum(map(is_broadcast, frames))} | | |")
    return "\n".join(rows)


OPEN, CLOSE = "<!-- frames: written by make-captures.sh -->\n\n", "\n\n<!-- end of frames -->"


def readme_parts(text):
    if text.count(OPEN) != 1 or text.count(CLOSE) != 1:
        raise Fault("README.md has no place for the frame counts")
    before, rest = text.split(OPEN)
    between, after = rest.split(CLOSE)
    return before, between, after


def check(directory):
    captures = read_all(directory)
    for name, frames in captures.items():
        check_cast(name, frames)
    check_move(captures)
    check_loop(captures)
    for in_loop in (False, True):
        check_span(captures, in_loop)
    total = sum(os.path.getsize(os.path.join(directory, name)) for name in CAST)
    if total > TOTAL_LIMIT_BYTES:
        raise Fault(f"{total} bytes together, {TOTAL_LIMIT_BYTES} allowed")

    readme = os.path.join(directory, "README.md")
    if os.path.exists(readme):
        with open(readme, encoding="utf-8") as file:
            if readme_parts(file.read())[1] != table(captures):
                raise Fault("the frame counts in README.md are not those of the files")
    print(table(captures))
    print(f"{sum(map(len, captures.values()))} frames, {total} bytes")


def readme(directory, source, target):
    with open(source, encoding="utf-8") as file:
        before, _, after = readme_parts(file.read())
    with open(target, "w", encoding="utf-8") as file:
        file.write(before + OPEN + table(read_all(directory)) + CLOSE + after)


def pcapng(source, target):
    with open(target, "xb") as file:
        file.write(write_pcapng(read_file(source)))


COMMANDS = {"check": check, "readme": readme, "pcapng": pcapng}

if __name__ == "__main__":
    if len(sys.argv) < 3 or sys.argv[1] not in COMMANDS:
        sys.exit(__doc__)
    try:
        COMMANDS[sys.argv[1]](*sys.argv[2:])
    except (Fault, OSError) as error:
        sys.exit(f"files.py: {error}")
