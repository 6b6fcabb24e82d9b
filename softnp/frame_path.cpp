// The way of a frame through the device: admission, the source's look-up, the destination's, and the counting.
#include "classify_vlan.h"
#include "clock.h"
#include "device.h"
#include "events.h"
#include "lists.h"
#include "mac_table.h"
#include "mirrors.h"
#include "queueing.h"
#include "treatment.h"

#include <algorithm>
#include <cstring>

namespace softnp {

namespace {

constexpr u32 P_LEARNING = 0x01;
constexpr u32 P_FORWARDING = 0x02;
constexpr u32 P_UNTAGGED = 0x10;
constexpr u32 P_INGRESS_FILTERING = 0x20;
constexpr u32 FLAG_NO_PORT = 0x4;  // of a MAC entry: discard
constexpr u32 TAGGED_MIN_FRAME = SOFTNP_MIN_FRAME + 4;

// An admitted frame on its way to other ports.
struct Passage {
    const Frame& frame;
    const Vlan& vlan;
    FrameFields fields;
    Treatment treatment;
};

bool is_group(const u8* mac) { return (mac[0] & 1) != 0; }

bool is_forwarding(const Port& port) { return (port.settings.p_flag & P_FORWARDING) != 0; }

// What stands against a frame before its VLAN is known.
softnp_reason refused_at_port(const Port& port, const Frame& frame)
{
    if (port.settings.state == SOFTNP_PORT_DISABLED) return SOFTNP_REASON_PORT_DISABLED;
    if (frame.length < SOFTNP_MIN_FRAME) return SOFTNP_REASON_RUNT;
    if (frame.length > SOFTNP_MAX_FRAME) return SOFTNP_REASON_OVERSIZE;
    if (has_tag(port, frame) && frame.length < TAGGED_MIN_FRAME) return SOFTNP_REASON_RUNT;
    return SOFTNP_REASON_NONE;
}

softnp_reason refused_in_vlan(const State& state, const Port& port, const Frame& frame, const FrameVlan& classified)
{
    if (!classified.is_tagged && (port.settings.p_flag & P_UNTAGGED) == 0) return SOFTNP_REASON_UNTAGGED;
    if (classified.VID >= VLAN_SLOTS || state.vlan[classified.VID].exists == 0) return SOFTNP_REASON_UNKNOWN_VLAN;
    if ((port.settings.p_flag & P_INGRESS_FILTERING) != 0 &&
        !contains(state.vlan[classified.VID].members, frame.np_port))
        return SOFTNP_REASON_NOT_MEMBER;
    return SOFTNP_REASON_NONE;
}

const softnp_mac_entry* local_entry(State& state, const Port& port, const Frame& frame)
{
    return find_mac(state, port.settings.FID, destination_of(frame));
}

softnp_event event_of(const Frame& frame, const Vlan& vlan, const softnp_verdict& verdict, u32 cookie)
{
    softnp_event event{};
    event.port_id = static_cast<u16>(softnp_port_id(frame.np_port));
    event.np_port = static_cast<u16>(frame.np_port);
    event.tick_ms = verdict.tick_ms;
    event.cookie = cookie;
    event.FID = vlan.FID;
    event.VID = verdict.VID;
    event.header_length = static_cast<u16>(std::min(frame.length, SOFTNP_EVENT_HEADER));
    std::memcpy(event.header, frame.bytes, event.header_length);
    return event;
}

void tell_station(State& state, const Frame& frame, const Vlan& vlan, u32 cookie, softnp_verdict& verdict)
{
    const Port& port = state.port[frame.np_port];
    if ((port.settings.p_flag & P_LEARNING) == 0 || vlan.learning_off != 0) return;
    const bool raised = raise_event(state, event_of(frame, vlan, verdict, cookie));
    verdict.learning = raised ? SOFTNP_LEARN_RAISED : SOFTNP_LEARN_LOST;
    softnp_port_counters& counters = state.counters.port[frame.np_port];
    (raised ? counters.learn_raised : counters.learn_lost)++;
}

// An entry bound to no port has nothing to move from: its station is known wherever it speaks.
void look_source_up(State& state, const Frame& frame, const Vlan& vlan, softnp_verdict& verdict)
{
    if (is_group(source_of(frame))) return;
    softnp_mac_entry* entry = find_mac(state, vlan.FID, source_of(frame));
    if (entry && (entry->np_port < 0 || static_cast<u32>(entry->np_port) == frame.np_port)) {
        entry->last_hit_ms = verdict.tick_ms;
        verdict.source = SOFTNP_SOURCE_KNOWN;
        return;
    }
    verdict.source = entry ? SOFTNP_SOURCE_MOVED : SOFTNP_SOURCE_UNKNOWN;
    tell_station(state, frame, vlan, entry ? entry->cookie : SOFTNP_NO_COOKIE, verdict);
}

// What stands against sending a frame of the VLAN out of a port.
softnp_reason refused_at_egress(const State& state, const Vlan& vlan, u32 np_port)
{
    const Port& port = state.port[np_port];
    if (port.exists == 0) return SOFTNP_REASON_EGRESS_UNKNOWN;
    if (port.settings.state == SOFTNP_PORT_DISABLED) return SOFTNP_REASON_EGRESS_DISABLED;
    if (!is_forwarding(port)) return SOFTNP_REASON_EGRESS_NOT_FORWARDING;
    if (!contains(vlan.members, np_port)) return SOFTNP_REASON_EGRESS_NOT_MEMBER;
    return SOFTNP_REASON_NONE;
}

void mark(u32 words[3], u32 np_port) { words[np_port / 32] |= 1u << (np_port % 32); }

Queueing hand_over(State& state, const Passage& passage, u32 np_port, u32 tick_ms)
{
    Stream* stream = stream_of_port(state, np_port, passage.treatment.stream);
    if (!stream) {
        state.counters.unqueued++;
        count_sent(state, np_port, passage.frame.length);
        return Queueing::sent;
    }
    const u32 class_no = class_in_stream(stream->record, passage.treatment, passage.fields);
    return enqueue(state, *stream, class_no, passage.treatment.colour, passage.frame.length, tick_ms);
}

void send_out(State& state, const Passage& passage, u32 np_port, softnp_verdict& verdict)
{
    const Queueing result = hand_over(state, passage, np_port, verdict.tick_ms);
    mark(verdict.egress, np_port);
    if (contains(passage.vlan.tagged, np_port)) mark(verdict.egress_tagged, np_port);
    if (result == Queueing::waiting) mark(verdict.egress_waiting, np_port);
    if (result == Queueing::dropped) mark(verdict.egress_dropped, np_port);
    verdict.egress_count++;
    if (result != Queueing::dropped) mirror_sent(state, passage.frame, np_port, verdict);
}

softnp_reason flood(State& state, const Passage& passage, softnp_verdict& verdict)
{
    for (u32 np_port = 1; np_port < PORT_SLOTS; np_port++)
        if (np_port != passage.frame.np_port && refused_at_egress(state, passage.vlan, np_port) == SOFTNP_REASON_NONE)
            send_out(state, passage, np_port, verdict);
    verdict.outcome = SOFTNP_FLOODED;
    return verdict.egress_count != 0 ? SOFTNP_REASON_NONE : SOFTNP_REASON_NO_EGRESS;
}

softnp_reason forward(State& state, const Passage& passage, softnp_verdict& verdict)
{
    const Vlan& vlan = passage.vlan;
    const softnp_mac_entry* entry =
        vlan.ignore_fdb != 0 ? nullptr : find_mac(state, vlan.FID, destination_of(passage.frame));
    if (!entry) return flood(state, passage, verdict);
    if (entry->np_port < 0) return SOFTNP_REASON_DISCARD_ENTRY;
    const u32 egress = static_cast<u32>(entry->np_port);
    if (egress == passage.frame.np_port) return SOFTNP_REASON_SAME_PORT;
    const softnp_reason refused = refused_at_egress(state, vlan, egress);
    if (refused != SOFTNP_REASON_NONE) return refused;
    send_out(state, passage, egress, verdict);
    verdict.outcome = SOFTNP_FORWARDED;
    return SOFTNP_REASON_NONE;
}

// The membership that the frame came by may have a profile; its first line that matches decides.
Treatment treatment_of(State& state, const Frame& frame, const FrameFields& fields, softnp_verdict& verdict)
{
    const Port& port = state.port[frame.np_port];
    const LineMatch match = match_profile(state, verdict.VID, frame, fields);
    if (!match.line) return treatment_by_port(port, fields);
    verdict.profile = match.profile;
    verdict.line_no = match.line_no;
    return treatment_by_line(port, *match.line, fields);
}

Passage classify(State& state, const Frame& frame, const FrameFields& fields, softnp_verdict& verdict)
{
    const Treatment treatment = treatment_of(state, frame, fields, verdict);
    verdict.stream = treatment.stream;
    verdict.class_no = treatment.class_no;
    verdict.colour = treatment.colour;
    return {frame, state.vlan[verdict.VID], fields, treatment};
}

// Local addresses with the flag are the reserved ones of the link itself: they reach the CPU whatever their VLAN,
// and teach nothing.
softnp_reason run(State& state, const Frame& frame, softnp_verdict& verdict)
{
    const Port& port = state.port[frame.np_port];
    softnp_reason refused = refused_at_port(port, frame);
    if (refused != SOFTNP_REASON_NONE) return refused;
    mirror_received(state, frame, verdict);
    const softnp_mac_entry* local = local_entry(state, port, frame);
    if (local && (local->flag & FLAG_NO_PORT) != 0) {
        verdict.outcome = SOFTNP_DELIVERED;
        return SOFTNP_REASON_NONE;
    }

    const FrameVlan classified = vlan_of_frame(state, port, frame);
    verdict.VID = classified.VID;
    verdict.tagged = classified.is_tagged;
    verdict.by_protocol = classified.by_protocol;
    refused = refused_in_vlan(state, port, frame, classified);
    if (refused != SOFTNP_REASON_NONE) return refused;

    mirror_admitted(state, frame, verdict);
    const Vlan& vlan = state.vlan[classified.VID];
    const FrameFields fields = fields_of(port, frame, classified.VID);
    if (is_filtered(state, classified.VID, frame, fields)) return SOFTNP_REASON_PREFILTER;
    const Passage passage = classify(state, frame, fields, verdict);
    look_source_up(state, frame, vlan, verdict);
    if (local) {
        verdict.outcome = SOFTNP_DELIVERED;
        return SOFTNP_REASON_NONE;
    }
    return is_forwarding(port) ? forward(state, passage, verdict) : SOFTNP_REASON_NOT_FORWARDING;
}

void count(softnp_port_counters& counters, const Frame& frame, const softnp_verdict& verdict)
{
    counters.rx_frames++;
    counters.rx_bytes += frame.length;
    switch (verdict.outcome) {
    case SOFTNP_FORWARDED: counters.forwarded++; break;
    case SOFTNP_FLOODED: counters.flooded++; break;
    case SOFTNP_DELIVERED: counters.delivered++; break;
    default: counters.dropped[verdict.reason]++; break;
    }
}

softnp_verdict receive(State& state, const Frame& frame)
{
    softnp_verdict verdict{};
    verdict.tick_ms = tick_now(state);
    const bool is_port = frame.np_port < PORT_SLOTS && state.port[frame.np_port].exists != 0;
    verdict.reason = is_port ? run(state, frame, verdict) : SOFTNP_REASON_UNKNOWN_PORT;
    if (verdict.reason != SOFTNP_REASON_NONE) {
        verdict.outcome = SOFTNP_DROPPED;
        state.counters.dropped[verdict.reason]++;
    }
    state.counters.frames++;
    if (is_port) count(state.counters.port[frame.np_port], frame, verdict);
    return verdict;
}

}  // namespace

}  // namespace softnp

using namespace softnp;

int softnp_receive(uint32_t np_port, const void* frame, uint32_t length, uint32_t tick_ms, softnp_verdict* verdict)
{
    if (!frame) return -1;
    const Access device;
    if (!device) return -1;
    hold_tick(*device, tick_ms);
    const softnp_verdict result = receive(*device, {static_cast<const u8*>(frame), length, np_port});
    if (verdict) *verdict = result;
    return 0;
}

int softnp_receive_now(uint32_t np_port, const void* frame, uint32_t length, softnp_verdict* verdict)
{
    if (!frame) return -1;
    const Access device;
    if (!device) return -1;
    const softnp_verdict result = receive(*device, {static_cast<const u8*>(frame), length, np_port});
    if (verdict) *verdict = result;
    return 0;
}
