#include "language/vlan_commands.h"

#include <zelfdb/zelfdb.h>

#include <algorithm>
#include <iterator>

namespace zelfctl {
namespace {

constexpr u32 default_tagtype = 0x8100;

Outcome no_vlan(const std::string& name) { return {false, ZELFDB_NO_VLAN, "no VLAN '" + name + "'"}; }

// An operation on one VLAN, or with VID 0 on all of them.
using Setting = int (*)(u32 vid, u32 value, u32* code);

int set_sld(u32 vid, u32 on, u32* code) { return zelfdb_set_vlan_sld(static_cast<i32>(vid), on, code); }
int set_limit(u32 vid, u32 limit, u32* code)
{
    return zelfdb_set_vlan_learninglimit(static_cast<i32>(vid), limit, code);
}

Outcome set_all(Setting setting, u32 value)
{
    u32 code = 0;
    const int result = setting(0, value, &code);
    return outcome_of(result, code);
}

Outcome set_one(zelfdb_descriptor* descriptor, const Arguments& arguments, Setting setting, u32 value)
{
    Outcome outcome;
    u32 vid = 0;
    if (!find_vlan(descriptor, arguments, vid, outcome)) return outcome;
    u32 code = 0;
    const int result = setting(vid, value, &code);
    return outcome_of(result, code);
}

bool is_member(zelfdb_descriptor* descriptor, u32 vid, u32 port)
{
    constexpr i32 most_members = 8;
    u32 members[most_members] = {};
    u32 code = 0;
    const int count = zelfdb_get_portID_from_vid2(descriptor, most_members, vid, members, &code);
    u32* const end = members + std::max(count, 0);
    return std::find(members, end, port) != end;
}

// A membership that exists already is refused for what came with it: the PVID, or the VLAN's virtual interface.
bool may_be_of_itself(u32 code)
{
    return code == ZELFDB_PORT_HAS_PVID || code == ZELFDB_VIF_HAS_PVID || code == ZELFDB_VLAN_HAS_VIF;
}

struct Membership {
    bool tagged;
    u32 tagtype;
    bool by_protocol;
    u32 group;
};

Outcome join(zelfdb_descriptor* descriptor, const Arguments& arguments, const Membership& membership)
{
    Outcome outcome;
    u32 vid = 0;
    if (!find_vlan(descriptor, arguments, vid, outcome)) return outcome;
    u32 code = 0;
    const int result =
        zelfdb_add_port_to_vlan(vid, arguments.number("port"), membership.tagged ? 1 : 0, membership.tagtype,
                                membership.by_protocol ? 1 : 0, static_cast<i32>(membership.group), &code);
    if (result != 0 && may_be_of_itself(code) && is_member(descriptor, vid, arguments.number("port")))
        return failure(ZELFDB_ALREADY_MEMBER);
    return outcome_of(result, code);
}

bool group_exists(u32 group)
{
    zelfdb_protgroup_info info{};
    u32 code = 0;
    if (zelfdb_get_protgroup_info(&info, &code) != 0) return false;
    const zelfdb_protgroup* const end = info.group + info.count;
    return std::any_of(std::cbegin(info.group), end,
                       [group](const zelfdb_protgroup& known) { return known.group == group; });
}

}  // namespace

bool find_vlan(zelfdb_descriptor* descriptor, const Arguments& arguments, u32& vid, Outcome& outcome)
{
    const std::string name = arguments.text("vlan");
    u32 code = 0;
    if (zelfdb_get_vid2(descriptor, name.c_str(), &vid, &code) == 0) return true;
    outcome = code == ZELFDB_NO_VLAN ? no_vlan(name) : failure(code);
    return false;
}

Outcome create_protgroup(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_create_protgroup(arguments.number("group"), &code);
    if (result != 0 && code == ZELFDB_PROTGROUPS_FULL && group_exists(arguments.number("group")))
        return failure(ZELFDB_PROTGROUP_EXISTS);
    return outcome_of_NP_command(result, code);
}

Outcome delete_protgroup(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_delete_protgroup(arguments.number("group"), &code);
    return outcome_of_NP_command(result, code);
}

Outcome add_protocol(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_add_prot_to_group(arguments.number("protocol"), arguments.number("group"), &code);
    return outcome_of_NP_command(result, code);
}

Outcome delete_protocol(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_remove_prot_from_group(arguments.number("protocol"), arguments.number("group"), &code);
    return outcome_of_NP_command(result, code);
}

Outcome create_vlan(zelfdb_descriptor*, const Arguments& arguments)
{
    const std::string name = arguments.text("vlan");
    const bool any_vid = !arguments.has("vid");
    i32 vid = any_vid ? -1 : static_cast<i32>(arguments.number("vid"));
    u32 code = 0;
    const int result = zelfdb_create_vlan(name.c_str(), &vid, &code);
    Outcome outcome = outcome_of(result, code);
    if (outcome.done && any_vid) outcome.text = "vlan " + name + " has vid " + std::to_string(vid);
    return outcome;
}

Outcome delete_vlan(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    Outcome outcome;
    u32 vid = 0;
    if (!find_vlan(descriptor, arguments, vid, outcome)) return outcome;
    u32 code = 0;
    const int result = zelfdb_delete_vlan(vid, &code);
    return outcome_of(result, code);
}

Outcome set_loop_detection(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    return set_one(descriptor, arguments, set_sld, is_on(arguments));
}
Outcome set_vlan_ignorefdb(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    return set_one(descriptor, arguments, zelfdb_set_vlan_ignore_fdb, is_on(arguments));
}
Outcome set_vlan_learning(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    return set_one(descriptor, arguments, zelfdb_set_vlan_learning_off, !is_on(arguments));
}
Outcome set_learninglimit(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    return set_one(descriptor, arguments, set_limit, arguments.number("limit"));
}

Outcome set_all_loop_detection(zelfdb_descriptor*, const Arguments& arguments)
{
    return set_all(set_sld, is_on(arguments));
}
Outcome set_all_ignorefdb(zelfdb_descriptor*, const Arguments& arguments)
{
    return set_all(zelfdb_set_vlan_ignore_fdb, is_on(arguments));
}
Outcome set_all_learning(zelfdb_descriptor*, const Arguments& arguments)
{
    return set_all(zelfdb_set_vlan_learning_off, !is_on(arguments));
}
Outcome set_all_learninglimit(zelfdb_descriptor*, const Arguments& arguments)
{
    return set_all(set_limit, arguments.number("limit"));
}

Outcome add_untagged(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    return join(descriptor, arguments, {false, default_tagtype, arguments.has("group"), arguments.number("group")});
}

Outcome add_tagged(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    return join(descriptor, arguments, {true, arguments.number("tagtype", default_tagtype), false, 0});
}

Outcome delete_membership(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    Outcome outcome;
    u32 vid = 0;
    if (!find_vlan(descriptor, arguments, vid, outcome)) return outcome;
    u32 code = 0;
    const int result = zelfdb_rem_port_from_vlan(vid, arguments.number("port"), &code);
    return outcome_of(result, code);
}

}  // namespace zelfctl
