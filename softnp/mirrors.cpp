// Which mirrors see a frame, the bytes of the copy, its way to the analyser, and the ring of captured copies.
#include "mirrors.h"
#include "device.h"
#include "queueing.h"

#include <algorithm>
#include <cstring>

namespace softnp {

namespace {

constexpr u32 ADDRESSES_SIZE = 12;
constexpr u32 TAG_SIZE = 4;
constexpr u32 VID_BITS = 0xFFF;

// Where in the device a frame is seen.
struct Sighting {
    u32 np_port;
    u32 VID;
};

struct Bytes {
    u32 length;
    u8 byte[SOFTNP_MAX_COPY];
};

struct Tag {
    u32 type;
    u32 control;
};

bool sees(const Mirror& mirror, u32 kind, const Sighting& seen)
{
    const softnp_mirror& record = mirror.record;
    if (mirror.exists == 0 || record.enabled == 0 || record.kind != kind) return false;
    if (names_port(kind) && softnp_np_port(record.source_port_id) != seen.np_port) return false;
    return !names_vlan(kind) || record.source_VID == seen.VID;
}

bool is_seen(const State& state, u32 kind, const Sighting& seen)
{
    return std::any_of(state.mirrors.mirror, state.mirrors.mirror + MIRROR_SLOTS,
                       [&](const Mirror& mirror) { return sees(mirror, kind, seen); });
}

// ---- bytes

Bytes bytes_of(const Frame& frame)
{
    Bytes bytes;
    bytes.length = std::min(frame.length, SOFTNP_MAX_COPY);
    std::memcpy(bytes.byte, frame.bytes, bytes.length);
    return bytes;
}

void put_half(u8* at, u32 value)
{
    at[0] = static_cast<u8>(value >> 8);
    at[1] = static_cast<u8>(value);
}

void add_tag(Bytes& bytes, const Tag& tag)
{
    if (bytes.length + TAG_SIZE > SOFTNP_MAX_COPY) return;
    u8* at = bytes.byte + ADDRESSES_SIZE;
    std::memmove(at + TAG_SIZE, at, bytes.length - ADDRESSES_SIZE);
    put_half(at, tag.type);
    put_half(at + 2, tag.control);
    bytes.length += TAG_SIZE;
}

u32 remove_tag(Bytes& bytes)
{
    u8* at = bytes.byte + ADDRESSES_SIZE;
    const u32 control = static_cast<u32>(at[2]) << 8 | at[3];
    bytes.length -= TAG_SIZE;
    std::memmove(at, at + TAG_SIZE, bytes.length - ADDRESSES_SIZE);
    return control;
}

// As the port sends it: what tag it came with is replaced by the membership's, or left off. Its priority stays.
Bytes bytes_as_sent(const State& state, const Frame& frame, const Sighting& seen)
{
    Bytes bytes = bytes_of(frame);
    const u32 control = has_tag(state.port[frame.np_port], frame) ? remove_tag(bytes) : 0;
    if (contains(state.vlan[seen.VID].tagged, seen.np_port))
        add_tag(bytes, {state.member_tagtype[seen.VID][seen.np_port], (control & ~VID_BITS) | seen.VID});
    return bytes;
}

// ---- the copy's way

void capture(State& state, u32 number, u32 np_port, const Bytes& bytes, u32 tick_ms)
{
    CopyRing& ring = state.mirrors.ring;
    if (ring.is_on == 0) return;
    if (ring.count == SOFTNP_COPIES) {
        state.counters.copies_lost++;
        return;
    }
    softnp_copy& copy = ring.copy[(ring.first + ring.count) % SOFTNP_COPIES];
    copy.mirror = number;
    copy.np_port = np_port;
    copy.tick_ms = tick_ms;
    copy.length = bytes.length;
    std::memcpy(copy.bytes, bytes.byte, bytes.length);
    ring.count++;
}

bool can_send(const State& state, u32 np_port)
{
    return np_port < PORT_SLOTS && state.port[np_port].exists != 0 &&
           state.port[np_port].settings.state != SOFTNP_PORT_DISABLED;
}

Queueing hand_over(State& state, const softnp_mirror& record, u32 np_port, u32 length, u32 tick_ms)
{
    Stream* stream = stream_of_port(state, np_port, record.second);
    if (stream) {
        const u32 colour = record.colour < SOFTNP_COLOURS ? record.colour : 0;
        return enqueue(state, *stream, record.class_no, colour, length, tick_ms);
    }
    state.counters.unqueued++;
    count_sent(state, np_port, length);
    return Queueing::sent;
}

void send_copy(State& state, u32 number, Bytes bytes, softnp_verdict& verdict)
{
    softnp_mirror& record = state.mirrors.mirror[number].record;
    const u32 np_port = softnp_np_port(record.dest_port_id);
    if (record.tag_on != 0) add_tag(bytes, {record.tagtype, record.tag_VID});
    record.copies++;
    record.copy_bytes += bytes.length;
    state.counters.copies++;
    verdict.mirrors |= 1u << number;
    if (!can_send(state, np_port)) {
        record.unsent++;
        return;
    }
    if (hand_over(state, record, np_port, bytes.length, verdict.tick_ms) == Queueing::dropped)
        record.dropped++;
    else
        capture(state, number, np_port, bytes, verdict.tick_ms);
}

void send_copies(State& state, u32 kind, const Sighting& seen, const Bytes& bytes, softnp_verdict& verdict)
{
    for (u32 number = 1; number < MIRROR_SLOTS; number++)
        if (sees(state.mirrors.mirror[number], kind, seen)) send_copy(state, number, bytes, verdict);
}

}  // namespace

void mirror_received(State& state, const Frame& frame, softnp_verdict& verdict)
{
    const Sighting seen{frame.np_port, 0};
    if (is_seen(state, MIRROR_PORT_IN, seen)) send_copies(state, MIRROR_PORT_IN, seen, bytes_of(frame), verdict);
}

void mirror_admitted(State& state, const Frame& frame, softnp_verdict& verdict)
{
    const Sighting seen{frame.np_port, verdict.VID};
    for (const u32 kind : {MIRROR_PORT_IN_VLAN, MIRROR_VLAN})
        if (is_seen(state, kind, seen)) send_copies(state, kind, seen, bytes_of(frame), verdict);
}

void mirror_sent(State& state, const Frame& frame, u32 np_port, softnp_verdict& verdict)
{
    const Sighting seen{np_port, verdict.VID};
    for (const u32 kind : {MIRROR_PORT_OUT, MIRROR_PORT_OUT_VLAN})
        if (is_seen(state, kind, seen)) send_copies(state, kind, seen, bytes_as_sent(state, frame, seen), verdict);
}

}  // namespace softnp

using namespace softnp;

int softnp_capture_copies(int on)
{
    const Access device;
    if (!device) return -1;
    device->mirrors.ring.is_on = on != 0 ? 1 : 0;
    device->mirrors.ring.count = 0;
    return 0;
}

int softnp_next_copy(softnp_copy* copy)
{
    if (!copy) return -1;
    const Access device;
    if (!device) return -1;
    CopyRing& ring = device->mirrors.ring;
    if (ring.count == 0) return 0;
    *copy = ring.copy[ring.first];
    ring.first = (ring.first + 1) % SOFTNP_COPIES;
    ring.count--;
    return 1;
}

int softnp_get_mirror(uint32_t number, softnp_mirror* mirror)
{
    if (!mirror) return -1;
    const Access device;
    if (!device) return -1;
    if (number >= MIRROR_SLOTS || device->mirrors.mirror[number].exists == 0) return 0;
    *mirror = device->mirrors.mirror[number].record;
    return 1;
}
