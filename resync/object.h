// What the NP holds, object by object: how an object is named. The kinds stand in the order in which they are sent, so that
// everything finds there what it needs.
#pragma once

#include <compare>
#include <string>
#include <vector>

#include "core/records.h"

namespace zelfdb {

enum class ObjectKind : u8 {
    phport,
    port,
    vlan,
    group,
    protocol,  // of a group
    member,    // a port's membership of a VLAN
    binding,   // of a membership by protocol: one of its groups
    stream,
    queue,
    attachment,    // of a queue to a stream
    line,          // of a classify profile
    list_binding,  // of a classify profile to a membership
    entry,
    mirror,
    port_state,  // last: frames are to find everything else in place
};

// What the three numbers are depends on the kind: see the functions below.
struct Object {
    ObjectKind kind;
    u32 a = 0;
    u32 b = 0;
    u32 c = 0;
    friend auto operator<=>(const Object&, const Object&) = default;
};

inline Object phport_object(u32 id) { return {ObjectKind::phport, id}; }
inline Object port_object(u32 port_id) { return {ObjectKind::port, port_id}; }
inline Object port_state_object(u32 port_id) { return {ObjectKind::port_state, port_id}; }
inline Object vlan_object(u32 VID) { return {ObjectKind::vlan, VID}; }
inline Object group_object(u32 group) { return {ObjectKind::group, group}; }
inline Object protocol_object(u32 group, u32 protocol) { return {ObjectKind::protocol, group, protocol}; }
inline Object member_object(u32 port_id, u32 VID) { return {ObjectKind::member, port_id, VID}; }
inline Object binding_object(u32 port_id, u32 VID, u32 group) { return {ObjectKind::binding, port_id, VID, group}; }
inline Object stream_object(u32 streamno) { return {ObjectKind::stream, streamno}; }
inline Object queue_object(u32 queue) { return {ObjectKind::queue, queue}; }
inline Object attachment_object(u32 queue) { return {ObjectKind::attachment, queue}; }
inline Object line_object(u32 profile, u32 line_no) { return {ObjectKind::line, profile, line_no}; }
inline Object list_binding_object(u32 port_id, u32 VID) { return {ObjectKind::list_binding, port_id, VID}; }
inline Object mirror_object(u32 mirror) { return {ObjectKind::mirror, mirror}; }
Object entry_object(u32 FID, const u8 mac[6]);
Mac mac_of(const Object& entry);

// "port 3", "entry 02:00:00:00:00:01 of VLAN 10".
std::string text_of(const Object& object);
// "port", "membership".
const char* text_of(ObjectKind kind);

}  // namespace zelfdb
