#include "resync/object.h"

#include <cstdio>
#include <cstring>

namespace zelfdb {
namespace {

template <class... Values>
std::string printed(const char* format, Values... values)
{
    char text[96];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

std::string text_of_entry(const Object& entry)
{
    const Mac mac = mac_of(entry);
    const bool of_port = entry.a >= port_FID_base;
    return printed("entry %02x:%02x:%02x:%02x:%02x:%02x of %s %u", mac.byte[0], mac.byte[1], mac.byte[2], mac.byte[3],
                   mac.byte[4], mac.byte[5], of_port ? "port" : "VLAN", of_port ? entry.a - port_FID_base : entry.a);
}

}  // namespace

Object entry_object(u32 FID, const u8 mac[6])
{
    const u32 high = u32{mac[0]} << 8 | mac[1];
    const u32 low = u32{mac[2]} << 24 | u32{mac[3]} << 16 | u32{mac[4]} << 8 | mac[5];
    return {ObjectKind::entry, FID & 0xFFFF, high, low};
}

Mac mac_of(const Object& entry)
{
    const auto byte = [](u32 value, u32 shift) { return static_cast<u8>(value >> shift & 0xFF); };
    return {
        {byte(entry.b, 8), byte(entry.b, 0), byte(entry.c, 24), byte(entry.c, 16), byte(entry.c, 8), byte(entry.c, 0)}};
}

std::string text_of(const Object& o)
{
    switch (o.kind) {
    case ObjectKind::phport: return printed("physical port %u", o.a);
    case ObjectKind::port: return printed("port %u", o.a);
    case ObjectKind::vlan: return printed("VLAN %u", o.a);
    case ObjectKind::group: return printed("protocol group %u", o.a);
    case ObjectKind::protocol: return printed("protocol %04x of group %u", o.b, o.a);
    case ObjectKind::member: return printed("membership of port %u in VLAN %u", o.a, o.b);
    case ObjectKind::binding: return printed("group %u of port %u in VLAN %u", o.c, o.a, o.b);
    case ObjectKind::stream: return printed("stream %u", o.a);
    case ObjectKind::queue: return printed("queue %u", o.a);
    case ObjectKind::attachment: return printed("attachment of queue %u", o.a);
    case ObjectKind::line: return printed("line %u of classify list %u", o.b, o.a);
    case ObjectKind::list_binding: return printed("classify list of port %u in VLAN %u", o.a, o.b);
    case ObjectKind::entry: return text_of_entry(o);
    case ObjectKind::mirror: return printed("mirror %u", o.a);
    case ObjectKind::port_state: return printed("state of port %u", o.a);
    }
    return "unknown";
}

const char* text_of(ObjectKind kind)
{
    switch (kind) {
    case ObjectKind::phport: return "physical port";
    case ObjectKind::port: return "port";
    case ObjectKind::vlan: return "vlan";
    case ObjectKind::group: return "group";
    case ObjectKind::protocol: return "protocol";
    case ObjectKind::member: return "membership";
    case ObjectKind::binding: return "protocol binding";
    case ObjectKind::stream: return "stream";
    case ObjectKind::queue: return "queue";
    case ObjectKind::attachment: return "attachment";
    case ObjectKind::line: return "line";
    case ObjectKind::list_binding: return "list binding";
    case ObjectKind::entry: return "entry";
    case ObjectKind::mirror: return "mirror";
    case ObjectKind::port_state: return "port state";
    }
    return "unknown";
}

}  // namespace zelfdb
