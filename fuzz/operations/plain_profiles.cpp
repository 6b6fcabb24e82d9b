// Classify profiles, their lines and bindings, and mirrors.
#include <algorithm>

#include "plain.h"

namespace fuzz {
namespace {

constexpr u32 highest_profile = 64;
constexpr u32 profile_records = 64;
constexpr std::size_t lines_max = 256;

}  // namespace

u32 Plain::create_profile(u32 number)
{
    if (low_half(number) == 0 || profile(number)) return ZELFDB_CLASSIFY_EXISTS;
    if (profiles.size() + hidden_profiles == profile_records) return ZELFDB_CLASSIFY_POOL_EMPTY;
    if (low_half(number) > highest_profile) {
        ++hidden_profiles;
    } else {
        profiles[low_half(number)] = {};
    }
    return ZELFDB_DONE;
}

bool Plain::has_profile_bound(u32 number) const
{
    for (const auto& [vid, one] : vlans)
        for (const auto& [id, member] : one.members)
            if (member.profile == number) return true;
    return false;
}

u32 Plain::delete_profile(u32 number)
{
    const std::vector<u32>* const lines = profile(number);
    if (!lines) return ZELFDB_NO_CLASSIFY;
    if (has_profile_bound(low_half(number))) return ZELFDB_CLASSIFY_BOUND;
    if (!lines->empty()) return ZELFDB_CLASSIFY_HAS_LINES;
    profiles.erase(low_half(number));
    return ZELFDB_DONE;
}

u32 Plain::membership(u32 port_id, u32 vid, PlainMember*& member)
{
    if (!port(port_id)) return ZELFDB_NO_PORT;
    PlainVlan* const in = vlan(vid);
    if (!in) return ZELFDB_NO_VLAN;
    member = found(in->members, port_id);
    return member ? ZELFDB_DONE : ZELFDB_NOT_MEMBER;
}

u32 Plain::bind_profile(u32 number, u32 port_id, u32 vid)
{
    PlainMember* member = nullptr;
    if (const u32 code = membership(port_id, vid, member)) return code;
    if (member->profile != 0) return ZELFDB_PV_HAS_CLASSIFY;
    if (!profile(number)) return ZELFDB_NO_CLASSIFY;
    member->profile = low_half(number);
    return ZELFDB_DONE;
}

u32 Plain::unbind_profile(u32 port_id, u32 vid)
{
    PlainMember* member = nullptr;
    if (const u32 code = membership(port_id, vid, member)) return code;
    if (member->profile == 0) return ZELFDB_PV_NO_CLASSIFY;
    member->profile = 0;
    return ZELFDB_DONE;
}

u32 Plain::add_line(u32 number, u32 line_no, u32 stream_id)
{
    std::vector<u32>* const lines = profile(number);
    if (!lines) return ZELFDB_NO_CLASSIFY;
    if (lines->size() == lines_max) return ZELFDB_CLASSIFY_FULL;
    const bool before_one = line_no != 0 && line_no <= lines->size();
    lines->insert(before_one ? lines->begin() + (line_no - 1) : lines->end(), stream_id);
    return ZELFDB_DONE;
}

u32 Plain::remove_line(u32 number, u32 line_no)
{
    std::vector<u32>* const lines = profile(number);
    if (!lines) return ZELFDB_NO_CLASSIFY;
    if (line_no == 0 || line_no > lines->size()) return ZELFDB_NO_LINE;
    lines->erase(lines->begin() + (line_no - 1));
    return ZELFDB_DONE;
}

u32 Plain::remove_lines(u32 number)
{
    std::vector<u32>* const lines = profile(number);
    if (!lines) return ZELFDB_NO_CLASSIFY;
    lines->clear();
    return ZELFDB_DONE;
}

// ---- mirrors ----

u32 Plain::refuse(const PlainMirror* one, bool frozen)
{
    if (!one) return ZELFDB_BAD_MIRROR;
    if (!one->exists) return ZELFDB_NO_MIRROR;
    return frozen && one->enabled ? ZELFDB_MIRROR_FROZEN : ZELFDB_DONE;
}

u32 Plain::create_mirror(u32 id)
{
    PlainMirror* const one = mirror(id);
    if (!one) return ZELFDB_BAD_MIRROR;
    if (one->exists) return ZELFDB_MIRROR_EXISTS;
    one->exists = true;
    one->kind = 0;
    one->dest_port = 0;
    return ZELFDB_DONE;
}

u32 Plain::delete_mirror(u32 id)
{
    PlainMirror* const one = mirror(id);
    if (const u32 code = refuse(one, false)) return code;
    if (one->enabled) return ZELFDB_MIRROR_IN_USE;
    one->exists = false;
    return ZELFDB_DONE;
}

u32 Plain::set_mirror_source(u32 id, u32 kind, u32 port_id)
{
    PlainMirror* const one = mirror(id);
    if (const u32 code = refuse(one, true)) return code;
    one->kind = low_half(kind);
    one->source_port = low_half(port_id);
    return ZELFDB_DONE;
}

u32 Plain::set_mirror_dest(u32 id, u32 port_id)
{
    PlainMirror* const one = mirror(id);
    if (const u32 code = refuse(one, true)) return code;
    one->dest_port = low_half(port_id);
    return ZELFDB_DONE;
}

u32 Plain::set_mirror_detail(u32 id) { return refuse(mirror(id), false); }

u32 Plain::enable_mirror(u32 id)
{
    PlainMirror* const one = mirror(id);
    if (const u32 code = refuse(one, false)) return code;
    if (one->enabled) return ZELFDB_MIRROR_ENABLED;
    if (one->kind == 0) return ZELFDB_MIRROR_NO_SOURCE;
    if (one->dest_port == 0) return ZELFDB_MIRROR_NO_DEST;
    const bool egress = one->kind == 3 || one->kind == 4;
    if (egress && one->source_port == one->dest_port) return ZELFDB_MIRROR_ONTO_ITSELF;
    one->enabled = true;
    return ZELFDB_DONE;
}

u32 Plain::disable_mirror(u32 id)
{
    PlainMirror* const one = mirror(id);
    if (const u32 code = refuse(one, false)) return code;
    if (!one->enabled) return ZELFDB_MIRROR_DISABLED;
    one->enabled = false;
    return ZELFDB_DONE;
}

}  // namespace fuzz
