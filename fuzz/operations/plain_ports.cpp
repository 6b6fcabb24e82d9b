// Ports, VLANs, memberships and protocol groups.
#include <algorithm>

#include "plain.h"

namespace fuzz {
namespace {

constexpr u32 highest_port = 199;
constexpr u32 highest_vid = 4094;
constexpr std::size_t bindings_max = 8;
constexpr std::size_t members_max = 8;
constexpr std::size_t groups_max = 8;
constexpr std::size_t protocols_max = 8;
constexpr u32 down_flags = 0x7;  // that a port which is down or tripped must not have

bool binds(const PlainPort& port, u32 group)
{
    return std::any_of(port.bindings.begin(), port.bindings.end(),
                       [group](const zelfdb_prot_binding& binding) { return binding.group == group; });
}

}  // namespace

// ---- ports ----

u32 Plain::create_port(u32 id, u32 phport_id, i32 type)
{
    // Port 0 is refused as long as there is a record.
    if (port(id) || (id == 0 && !free_ports_.empty())) return ZELFDB_PORT_EXISTS;
    if (type == ZELFDB_PORT_ETHER) {
        PlainPhport* const physical = phport(phport_id);
        if (!physical) return ZELFDB_PHPORT_UNKNOWN;
        if (physical->bound) return ZELFDB_PHPORT_BOUND;
        physical->bound = true;  // and stays so if there is no record
    }
    if (free_ports_.empty()) return ZELFDB_PORT_POOL_EMPTY;
    // What only other operations set is as the record's last user left it.
    const PlainPort last = free_ports_.back();
    free_ports_.pop_back();
    ++history.ports_created;
    if (id > highest_port) {
        ++hidden_ports;
        return ZELFDB_DONE;
    }
    PlainPort made;
    made.id = id;
    made.p_flag = type == ZELFDB_PORT_ETHER ? 0x173 : type == ZELFDB_PORT_VIF ? 0x232 : 0;
    made.p_type = low_byte(static_cast<u32>(type));
    made.phport = low_byte(phport_id);
    made.tagtype = 0x8100;
    made.aging_s = 300;
    made.cosmap = last.cosmap;
    made.valbit = last.valbit;
    made.bw_calc_mode = last.bw_calc_mode;
    made.link_frames = last.link_frames;
    made.uplink = last.uplink;
    ports[id] = made;
    return ZELFDB_DONE;
}

u32 Plain::delete_port(u32 id)
{
    PlainPort* const gone = port(id);
    if (!gone) return ZELFDB_NO_PORT;
    if (is_member_anywhere(id)) return ZELFDB_PORT_IN_VLAN;
    if (gone->uplink == 1) return ZELFDB_PORT_IS_UPLINK;
    if (gone->p_type == ZELFDB_PORT_ETHER) {
        if (PlainPhport* const physical = phport(gone->phport)) physical->bound = false;
    }
    flush_static(id);
    clear(gone->local, ZELFDB_FIL_LOCAL);
    free_ports_.push_back(*gone);
    ports.erase(id);
    ++history.ports_deleted;
    return ZELFDB_DONE;
}

// A port that is down or tripped loses forwarding and learning, and with learning what it has learned.
void Plain::lower_flags(PlainPort& one)
{
    if (one.up && one.breaker != 2) return;
    const bool learned = (one.p_flag & ZELFDB_P_LEARN) != 0;
    one.p_flag = static_cast<u16>(one.p_flag & ~down_flags);
    if (learned) flush_dynamic(one.id);
}

u32 Plain::set_param(u32 id, const zelfdb_port_param& param, u32 aging_s, i32 breaker_on, u32 selector, u32 mask)
{
    PlainPort* const one = port(id);
    if (!one) return ZELFDB_NO_PORT;
    if (one->is_vif() && (selector & ZELFDB_SELECT_SLDBKR)) return ZELFDB_VIF_NO_SLDBKR;
    if (selector & ZELFDB_SELECT_P_FLAG) {
        const u32 set = param.p_flag & mask & 0x3377 & (one->up ? 0xFFFF : ~0x3u);
        const u32 cleared = ~u32{param.p_flag} & mask & 0x3377;
        one->p_flag = static_cast<u16>((one->p_flag | set) & ~cleared);
    }
    if (selector & ZELFDB_SELECT_PRI) one->pri = param.pri;
    if (selector & ZELFDB_SELECT_PHPORT) one->phport = param.phport;
    if (selector & ZELFDB_SELECT_PVID) one->pvid = param.PVID;
    if (selector & ZELFDB_SELECT_TAGTYPE) one->tagtype = param.tagtype;
    if (selector & ZELFDB_SELECT_AGING) one->aging_s = aging_s;
    if (selector & ZELFDB_SELECT_SLDBKR) {
        one->breaker_on = static_cast<u32>(breaker_on);
        if (one->breaker != 2) one->breaker = breaker_on == 1 ? 1 : 0;
        lower_flags(*one);
    }
    return ZELFDB_DONE;
}

u32 Plain::set_policing(u32 id, i32 class_no, u32 rate, u32 burst, i32 color)
{
    PlainPort* const one = port(id);
    if (!one) return ZELFDB_NO_PORT;
    if (class_no > 7) return ZELFDB_BAD_CLASS;
    if (class_no >= 0) {
        zelfdb_policing& row = one->policing[static_cast<std::size_t>(class_no)];
        row.color = low_byte(static_cast<u32>(color));
        row.rate = rate;
        row.burst = burst;
    }
    return ZELFDB_DONE;
}

u32 Plain::set_link_frames(u32 id, u32 n, i32 action)
{
    PlainPort* const one = port(id);
    if (!one) return ZELFDB_NO_PORT;
    const Address group{0x01, 0x80, 0xC2, 0, 0, low_byte(n)};
    const u32 bit = n < 32 ? u32{1} << n : 0;
    if (action == 0) {
        const u32 code = create_local(id, group, ZELFDB_FIL_FLAG_NO_PORT, ZELFDB_FIL_SYSTEM);
        if (code != ZELFDB_DONE && code != ZELFDB_MAC_EXISTS) return code;
        one->link_frames &= ~bit;
    } else if (action == 1) {
        const u32 code = delete_local(id, group, ZELFDB_FIL_SYSTEM);
        if (code != ZELFDB_DONE && code != ZELFDB_NO_MAC) return code;
        one->link_frames |= bit;
    } else {
        return ZELFDB_NO_DESCRIPTOR;
    }
    return ZELFDB_DONE;
}

u32 Plain::enable(u32 id, bool up)
{
    PlainPort* const one = port(id);
    if (!one) return ZELFDB_NO_PORT;
    if (one->up == up) return up ? ZELFDB_PORT_ENABLED : ZELFDB_PORT_DISABLED;
    one->up = up;
    return ZELFDB_DONE;
}

u32 Plain::recover_breaker(u32 id)
{
    PlainPort* const one = port(id);
    if (!one) return ZELFDB_NO_PORT;
    if (one->breaker == 2) one->breaker = one->breaker_on == 1 ? 1 : 0;
    lower_flags(*one);
    return ZELFDB_DONE;
}

u32 Plain::set_uplink(u32 id, u32 value)
{
    PlainPort* const one = port(id);
    if (!one) return ZELFDB_NO_PORT;
    if (!is_member_anywhere(id)) return ZELFDB_NOT_MEMBER;
    one->uplink = value;
    return ZELFDB_DONE;
}

u32 Plain::set_ph_shaping(u32 id, u32 rate, u32 param2)
{
    PlainPhport* const one = phport(id);
    if (!one) return ZELFDB_NO_PHPORT;
    one->shaping_rate = rate;
    one->shaping_param2 = param2;
    return ZELFDB_DONE;
}

bool Plain::is_member_anywhere(u32 id) const
{
    return std::any_of(vlans.begin(), vlans.end(), [id](const auto& one) { return one.second.members.contains(id); });
}

// ---- VLANs ----

u32 Plain::create_vlan(const std::string& name, i32 asked, i32& vid)
{
    if (name.size() > 30) return ZELFDB_NAME_TOO_LONG;
    for (const auto& [number, one] : vlans)
        if (one.name == name) return ZELFDB_NAME_IN_USE;
    if (asked < 0) {
        asked = 1;
        while (vlans.contains(static_cast<u32>(asked))) ++asked;
    }
    if (asked < 1 || asked > static_cast<i32>(highest_vid)) return ZELFDB_BAD_VID;
    if (vlans.contains(static_cast<u32>(asked))) return ZELFDB_VID_IN_USE;
    if (vlans.size() == counts.nvlan) return ZELFDB_VLAN_POOL_EMPTY;
    vid = asked;
    vlans[static_cast<u32>(asked)].name = name;
    ++history.vlans_created;
    return ZELFDB_DONE;
}

u32 Plain::delete_vlan(u32 vid)
{
    PlainVlan* const gone = vlan(vid);
    if (!gone) return ZELFDB_NO_VLAN;
    if (!gone->members.empty()) return ZELFDB_VLAN_HAS_PORTS;
    clear(gone->table, ZELFDB_FIL_STATIC);
    clear(gone->table, ZELFDB_FIL_DYNAMIC);
    vlans.erase(vid & 0xFFFF);
    ++history.vlans_deleted;
    return ZELFDB_DONE;
}

u32 Plain::refuse_join(const PlainVlan& in, const PlainPort& one, bool tagged, bool by_protocol, u32 group_id)
{
    if (!tagged && !by_protocol && one.pvid != 0) return ZELFDB_PORT_HAS_PVID;
    if (by_protocol && !group(group_id)) return ZELFDB_NO_PROTGROUP;
    if (!one.is_vif()) return ZELFDB_DONE;
    if (one.pvid != 0) return ZELFDB_VIF_HAS_PVID;
    for (const auto& [id, member] : in.members)
        if (port(id)->is_vif()) return ZELFDB_VLAN_HAS_VIF;
    return ZELFDB_DONE;
}

u32 Plain::extend(PlainPort& one, const PlainMember& member, u32 vid, bool by_protocol, u32 group_id)
{
    if (!(member.flag & ZELFDB_PV_PROTOCOL) || !by_protocol) return ZELFDB_ALREADY_MEMBER;
    if (binds(one, low_half(group_id))) return ZELFDB_GROUP_JOINED;
    if (one.bindings.size() >= bindings_max) return ZELFDB_GROUP_TABLE_FULL;
    one.bindings.push_back({low_half(group_id), low_half(vid)});
    return ZELFDB_DONE;
}

u32 Plain::join(u32 vid, u32 id, bool tagged, u32 tagtype, bool by_protocol, u32 group_id)
{
    PlainVlan* const in = vlan(vid);
    if (!in) return ZELFDB_NO_VLAN;
    PlainPort* const one = port(id);
    if (!one) return ZELFDB_NO_PORT;
    if (const u32 code = refuse_join(*in, *one, tagged, by_protocol, group_id)) return code;
    const auto present = in->members.find(id);
    if (present != in->members.end()) {
        if (const u32 code = extend(*one, present->second, vid, by_protocol, group_id)) return code;
    } else {
        if (in->members.size() == members_max) return ZELFDB_VLAN_FULL;
        in->members[id] = {(tagged ? ZELFDB_PV_TAGGED : 0) | (by_protocol ? ZELFDB_PV_PROTOCOL : 0), low_half(tagtype),
                           0};
        if (!tagged && !by_protocol) one->pvid = low_half(vid);
        if (by_protocol && one->bindings.size() < bindings_max)
            one->bindings.push_back({low_half(group_id), low_half(vid)});
    }
    ++history.ports_added_to_vlans;
    return ZELFDB_DONE;
}

u32 Plain::leave(u32 vid, u32 id)
{
    PlainVlan* const in = vlan(vid);
    if (!in) return ZELFDB_NO_VLAN;
    PlainPort* const one = port(id);
    if (!one) return ZELFDB_NO_PORT;
    if (one->uplink == 1) return ZELFDB_PORT_IS_UPLINK;
    const auto member = in->members.find(id);
    if (member == in->members.end()) return ZELFDB_NOT_MEMBER;
    if (member->second.profile != 0) return ZELFDB_PV_CLASSIFIED;
    std::erase_if(one->bindings, [vid](const zelfdb_prot_binding& b) { return b.VID == low_half(vid); });
    flush_dynamic(id);
    if (!(member->second.flag & (ZELFDB_PV_TAGGED | ZELFDB_PV_PROTOCOL))) one->pvid = 0;
    in->members.erase(member);
    ++history.ports_removed_from_vlans;
    return ZELFDB_DONE;
}

// VID 0 is every VLAN; the whole number, not its low half.
u32 Plain::set_vlan_flag(u32 vid, u32 flag, bool on)
{
    if (vid != 0 && !vlan(vid)) return ZELFDB_NO_VLAN;
    for (auto& [number, one] : vlans) {
        if (vid != 0 && number != (vid & 0xFFFF)) continue;
        one.flag = on ? one.flag | flag : one.flag & ~flag;
    }
    return ZELFDB_DONE;
}

u32 Plain::set_learn_limit(u32 vid, u32 limit)
{
    if (vid != 0 && !vlan(vid)) return ZELFDB_NO_VLAN;
    for (auto& [number, one] : vlans)
        if (vid == 0 || number == (vid & 0xFFFF)) one.table.learn_limit = limit;
    return ZELFDB_DONE;
}

// ---- protocol groups ----

PlainGroup* Plain::group(u32 id)
{
    const auto at =
        std::find_if(groups.begin(), groups.end(), [id](const PlainGroup& one) { return one.id == low_half(id); });
    return at == groups.end() ? nullptr : &*at;
}

u32 Plain::create_group(u32 id)
{
    if (groups.size() == groups_max) return ZELFDB_PROTGROUPS_FULL;
    if (group(id)) return ZELFDB_PROTGROUP_EXISTS;
    groups.push_back({low_half(id), {}});
    return ZELFDB_DONE;
}

u32 Plain::delete_group(u32 id)
{
    if (!group(id)) return ZELFDB_NO_PROTGROUP;
    for (const auto& [number, one] : ports)
        if (binds(one, low_half(id))) return ZELFDB_PROTGROUP_USED;
    std::erase_if(groups, [id](const PlainGroup& one) { return one.id == low_half(id); });
    return ZELFDB_DONE;
}

u32 Plain::add_protocol(u32 protocol, u32 id)
{
    for (const PlainGroup& one : groups)
        if (std::find(one.protocols.begin(), one.protocols.end(), low_half(protocol)) != one.protocols.end())
            return one.id == low_half(id) ? ZELFDB_PROTOCOL_IN_GROUP : ZELFDB_PROTOCOL_ELSEWHERE;
    PlainGroup* const to = group(id);
    if (!to) return ZELFDB_NO_PROTGROUP;
    if (to->protocols.size() == protocols_max) return ZELFDB_PROTGROUP_FULL;
    to->protocols.push_back(low_half(protocol));
    return ZELFDB_DONE;
}

u32 Plain::remove_protocol(u32 protocol, u32 id)
{
    PlainGroup* const from = group(id);
    if (!from) return ZELFDB_NO_PROTGROUP;
    return std::erase(from->protocols, low_half(protocol)) == 0 ? ZELFDB_PROTOCOL_NOT_IN_GROUP : ZELFDB_DONE;
}

}  // namespace fuzz
