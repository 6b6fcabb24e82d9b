#include "language/port_commands.h"

#include <zelfdb/zelfdb.h>

#include <vector>

#include "language/rates.h"

namespace zelfctl {
namespace {

// Flags of a port that only the network processor gives a meaning to.
constexpr u32 flag_forward = 0x0002;
constexpr u32 flag_heed_priority = 0x0100;
constexpr u32 flag_cosedit = 0x1000;
constexpr u32 flag_ignorefdb = 0x2000;

constexpr u32 breaker_tripped = 2;

struct Change {
    zelfdb_port_param param{};
    u32 aging_s = 0;
    bool breaker_on = false;
    i32 selector = 0;
    u32 flag_mask = 0;
};

Outcome change_port(zelfdb_descriptor* descriptor, u32 port, const Change& change)
{
    u32 code = 0;
    const int result =
        zelfdb_set_param_to_port2(descriptor, port, &change.param, change.aging_s, change.breaker_on ? 1 : 0,
                                  change.selector, static_cast<i32>(change.flag_mask), &code);
    return outcome_of(result, code);
}

Outcome change_flags(zelfdb_descriptor* descriptor, u32 port, u32 flags, u32 mask)
{
    Change change;
    change.param.p_flag = static_cast<u16>(flags);
    change.flag_mask = mask;
    change.selector = ZELFDB_SELECT_P_FLAG | ZELFDB_SELECT_P_FLAG_TO_NP;
    return change_port(descriptor, port, change);
}

Outcome change_flag(zelfdb_descriptor* descriptor, const Arguments& arguments, u32 flag, bool set)
{
    return change_flags(descriptor, arguments.number("port"), set ? flag : 0, flag);
}

// All of a port, or false if there is none. The memberships are left out: a port can be in any number of VLANs.
bool read_port(u32 port, zelfdb_port_info& info)
{
    constexpr std::size_t most_vlans = 4094;
    std::vector<zelfdb_port_info> room(1 + most_vlans * sizeof(zelfdb_port_member) / sizeof(zelfdb_port_info) + 1);
    if (zelfdb_get_portinfo(port, room.data()) != 0) return false;
    info = room.front();
    return true;
}

// A port that is down keeps these two flags off. Say so, where the database would drop the wish without a word.
Outcome switch_needing_up(zelfdb_descriptor* descriptor, const Arguments& arguments, u32 flag)
{
    zelfdb_port_info info{};
    if (!read_port(arguments.number("port"), info)) return failure(ZELFDB_NO_PORT);
    if (is_on(arguments) && info.optate != B_PORT_UP) return failure("the port is down: enable it first");
    return change_flag(descriptor, arguments, flag, is_on(arguments));
}

Outcome set_shaping(u32 phport, u32 rate, u32 burst)
{
    u32 code = 0;
    const int result = zelfdb_set_ph_shaping(phport, rate, burst, &code);
    return outcome_of(result, code);
}

Outcome set_policing(const Arguments& arguments, u32 rate, u32 burst, u32 color)
{
    u32 code = 0;
    const int result =
        zelfdb_set_port_class_policing(arguments.number("port"), static_cast<i32>(arguments.number("class")), rate,
                                       burst, static_cast<i32>(color), &code);
    return outcome_of(result, code);
}

Outcome depend_on(const Arguments& arguments, u32 value, u32 bits)
{
    u32 code = 0;
    const int result = zelfdb_set_link_depend(arguments.number("port"), value, bits, &code);
    return outcome_of(result, code);
}

// Takes back what a port's creation leaves as the record's last user had it.
Outcome clean_port(u32 port)
{
    constexpr u32 frames = 32;
    constexpr i32 hold = 0;
    constexpr u32 no_values[8] = {};
    zelfdb_port_info info{};
    if (!read_port(port, info)) return failure(ZELFDB_NO_PORT);
    u32 code = 0;
    if (info.valbit != 0 && zelfdb_set_port_cosmap(port, 0, no_values, &code) != 0) return failure(code);
    if (info.bw_calc_mode != 0 && zelfdb_set_port_bandwidth_calc_mode(port, 0, &code) != 0) return failure(code);
    for (u32 frame = 0; frame < frames; ++frame)
        if ((info.link_frames_fwd >> frame & 1) != 0 && zelfdb_set_port_link_frames(port, frame, hold, &code) != 0)
            return failure(code);
    return {};
}

i32 type_of_port(const Arguments& arguments)
{
    if (!arguments.has("type")) return ZELFDB_PORT_NONE;
    return arguments.number("type") == 0 ? ZELFDB_PORT_ETHER : ZELFDB_PORT_VIF;
}

}  // namespace

bool is_virtual_interface(u32 port)
{
    zelfdb_port_info info{};
    return read_port(port, info) && info.p_type == ZELFDB_PORT_VIF;
}

Outcome set_shaping_on(zelfdb_descriptor*, const Arguments& arguments)
{
    return set_shaping(arguments.number("ether"), rate_when_on(arguments.number("rate")),
                       arguments.number("burst", default_burst));
}

Outcome set_shaping_off(zelfdb_descriptor*, const Arguments& arguments)
{
    return set_shaping(arguments.number("ether"), 0, default_burst);
}

// A new port is as the replay takes it to be when it says nothing: it admits untagged frames, which a port without a type
// does not by itself, and it has nothing left of an earlier port whose record it got.
Outcome create_port(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    const u32 port = arguments.number("port");
    const i32 type = type_of_port(arguments);
    u32 code = 0;
    if (const int result = zelfdb_create_port(port, arguments.number("phport"), type, &code); result != 0)
        return outcome_of(result, code);
    Outcome cleaned = clean_port(port);
    if (!cleaned.done || type != ZELFDB_PORT_NONE) return cleaned;
    return change_flags(descriptor, port, ZELFDB_P_UNTAGGED, ZELFDB_P_UNTAGGED);
}

Outcome delete_port(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_delete_port(arguments.number("port"), &code);
    return outcome_of(result, code);
}

Outcome enable_port(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_enable_port(arguments.number("port"), &code);
    return outcome_of(result, code);
}

Outcome disable_port(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_disable_port(arguments.number("port"), &code);
    return outcome_of(result, code);
}

Outcome recover_port(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    const u32 port = arguments.number("port");
    zelfdb_port_info info{};
    if (!read_port(port, info)) return failure(ZELFDB_NO_PORT);
    if (info.sldbkr_state != breaker_tripped) return failure("the port's loop breaker has not tripped");
    u32 code = 0;
    zelfdb_recover_port_sldbkr(port, &code);  // its result is -1 in any case: the word alone tells
    if (code != ZELFDB_DONE) return failure(code);
    if (info.optate != B_PORT_UP) return {};
    return change_flags(descriptor, port, ZELFDB_P_LEARN | flag_forward, ZELFDB_P_LEARN | flag_forward);
}

Outcome notify_port(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    const bool flush = arguments.has("flush") && arguments.number("flush") == 0;
    const int result =
        zelfdb_notify_portstate(descriptor, arguments.number("port"), arguments.number("state"), flush ? 1 : 0);
    return outcome_of(result, ZELFDB_NO_PORT);
}

Outcome set_aftype(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    return change_flag(descriptor, arguments, ZELFDB_P_UNTAGGED, arguments.number("aftype") != 0);
}

Outcome set_ignoretag(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    return change_flag(descriptor, arguments, ZELFDB_P_TAG_AWARE, !is_on(arguments));
}

Outcome set_ignoreptag(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    return change_flag(descriptor, arguments, flag_heed_priority, !is_on(arguments));
}

Outcome set_learning(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    return switch_needing_up(descriptor, arguments, ZELFDB_P_LEARN);
}
Outcome set_forwarding(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    return switch_needing_up(descriptor, arguments, flag_forward);
}

Outcome set_ingress_filter(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    return change_flag(descriptor, arguments, ZELFDB_P_INGRESS_FILTER, is_on(arguments));
}

Outcome set_cosedit(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    return change_flag(descriptor, arguments, flag_cosedit, is_on(arguments));
}
Outcome set_port_ignorefdb(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    return change_flag(descriptor, arguments, flag_ignorefdb, is_on(arguments));
}

Outcome set_flags(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    return change_flags(descriptor, arguments.number("port"), arguments.number("flags"), arguments.number("mask"));
}

Outcome set_pri(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    Change change;
    change.param.pri = static_cast<u8>(arguments.number("pri"));
    change.selector = ZELFDB_SELECT_PRI;
    return change_port(descriptor, arguments.number("port"), change);
}

Outcome set_npport(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    Change change;
    change.param.phport = static_cast<u8>(arguments.number("phport"));
    change.selector = ZELFDB_SELECT_PHPORT;
    return change_port(descriptor, arguments.number("port"), change);
}

Outcome set_tagtype(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    Change change;
    change.param.tagtype = static_cast<u16>(arguments.number("tagtype"));
    change.selector = ZELFDB_SELECT_TAGTYPE;
    return change_port(descriptor, arguments.number("port"), change);
}

Outcome set_pvid(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    Change change;
    change.param.PVID = static_cast<u16>(arguments.number("pvid"));
    change.selector = ZELFDB_SELECT_PVID;
    return change_port(descriptor, arguments.number("port"), change);
}

Outcome set_aging(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    Change change;
    change.aging_s = arguments.number("aging");
    change.selector = ZELFDB_SELECT_AGING;
    return change_port(descriptor, arguments.number("port"), change);
}

Outcome set_loop_breaker(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    Change change;
    change.breaker_on = is_on(arguments);
    change.selector = ZELFDB_SELECT_SLDBKR;
    return change_port(descriptor, arguments.number("port"), change);
}

Outcome set_default_class(zelfdb_descriptor*, const Arguments& arguments)
{
    const Value& value = arguments.value("default_class");
    u32 code = 0;
    const int result = zelfdb_set_default_class(arguments.number("port"), value.numbers[0] - 1, value.numbers[1],
                                                value.numbers[2], &code);
    return outcome_of(result, code);
}

Outcome set_cosmap(zelfdb_descriptor*, const Arguments& arguments)
{
    constexpr u32 values_of_map = 0xFF;
    const Value& map = arguments.value("cosmap");
    const u32 bits = arguments.number("bits");
    if (map.given != (bits & values_of_map)) return failure("the bits and the values given do not agree");
    u32 code = 0;
    const int result = zelfdb_set_port_cosmap(arguments.number("port"), bits, map.numbers.data(), &code);
    return outcome_of(result, code);
}

Outcome set_policing_on(zelfdb_descriptor*, const Arguments& arguments)
{
    return set_policing(arguments, rate_when_on(arguments.number("rate")), arguments.number("burst", default_burst),
                        arguments.number("color", no_colour));
}

Outcome set_policing_off(zelfdb_descriptor*, const Arguments& arguments) { return set_policing(arguments, 0, 0, 0); }

Outcome set_link_mode(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_set_link_mode(arguments.number("port"), arguments.number("mode"), &code);
    return outcome_of(result, code);
}

Outcome set_link_depend(zelfdb_descriptor*, const Arguments& arguments)
{
    return depend_on(arguments, 0, arguments.number("ports"));
}
Outcome set_link_own(zelfdb_descriptor*, const Arguments& arguments) { return depend_on(arguments, 1, 0); }

Outcome set_bandwidth(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_set_port_bandwidth_calc_mode(arguments.number("port"), arguments.number("mode"), &code);
    return outcome_of(result, code);
}

Outcome set_link_frame(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_set_port_link_frames(arguments.number("port"), arguments.number("frame"),
                                                   static_cast<i32>(arguments.number("action")), &code);
    return outcome_of(result, code);
}

Outcome set_uplink(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_set_uplink_flag2(descriptor, arguments.number("port"), arguments.number("switch"), &code);
    return outcome_of(result, code);
}

}  // namespace zelfctl
