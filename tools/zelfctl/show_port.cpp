#include <array>
#include <cstdio>

#include "database.h"
#include "display.h"
#include "json_output.h"
#include "language/rates.h"
#include "ports.h"
#include "show.h"
#include "table.h"

namespace zelfctl {
namespace {

using nlohmann::json;

struct Flag {
    u32 bit;
    const char* name;
};
constexpr Flag flags[] = {{0x0001, "learning"},       {0x0002, "forwarding"}, {0x0010, "untagged"},
                          {0x0020, "ingress_filter"}, {0x0040, "tags"},       {0x0100, "tag_priority"},
                          {0x1000, "cosedit"},        {0x2000, "ignorefdb"}};

const char* name_of_type(u32 type)
{
    switch (type) {
    case ZELFDB_PORT_NONE: return "none";
    case ZELFDB_PORT_ETHER: return "ether";
    case ZELFDB_PORT_VIF: return "vif";
    default: return "unknown";
    }
}

const char* name_of_breaker(const zelfdb_port_info& info)
{
    constexpr std::array names{"off", "armed", "tripped"};
    return info.sldbkr_state < names.size() ? names[info.sldbkr_state] : "unknown";
}

const char* name_of_colour(u32 colour)
{
    constexpr std::array names{"green", "yellow", "red"};
    return colour < names.size() ? names[colour] : "none";
}

const char* name_of_state(const zelfdb_port_info& info) { return info.optate == B_PORT_UP ? "up" : "down"; }

const char* yes_no(bool yes) { return yes ? "yes" : "no"; }

// "10 20t 30p": tagged and by-protocol memberships are marked.
std::string text_of_vlans(const PortView& port)
{
    std::string text;
    for (const zelfdb_port_member& member : port.members) {
        text += (text.empty() ? "" : " ") + number(member.VID);
        if ((member.pv_flag & ZELFDB_PV_TAGGED) != 0) text += 't';
        if ((member.pv_flag & ZELFDB_PV_PROTOCOL) != 0) text += 'p';
    }
    return text;
}

std::string text_of_flags(u32 p_flag)
{
    std::string text;
    for (const Flag& flag : flags)
        if ((p_flag & flag.bit) != 0) text += (text.empty() ? "" : " ") + std::string(flag.name);
    return text;
}

json json_of_members(const PortView& port)
{
    json members = json::array();
    for (const zelfdb_port_member& member : port.members)
        members.push_back({{"vid", member.VID},
                           {"tagged", (member.pv_flag & ZELFDB_PV_TAGGED) != 0},
                           {"by_protocol", (member.pv_flag & ZELFDB_PV_PROTOCOL) != 0},
                           {"tagtype", hex(member.tagtype, 4)}});
    return members;
}

json json_of(const PortView& port)
{
    const zelfdb_port_info& info = port.info;
    json named_flags;
    for (const Flag& flag : flags) named_flags[flag.name] = (info.p_flag & flag.bit) != 0;
    json protocols = json::array();
    for (u32 i = 0; i < info.npg && i < std::size(info.prot); ++i)
        protocols.push_back({{"group", info.prot[i].group}, {"vid", info.prot[i].VID}});
    return {{"port", info.port_id},
            {"type", name_of_type(info.p_type)},
            {"npport", info.phport},
            {"state", name_of_state(info)},
            {"p_flag", hex(info.p_flag, 4)},
            {"flags", named_flags},
            {"pri", info.pri},
            {"tagtype", hex(info.tagtype, 4)},
            {"pvid", info.PVID},
            {"aging_s", info.aging_s},
            {"breaker", name_of_breaker(info)},
            {"breaker_on", info.sldbkr_on == 1},
            {"vlans", json_of_members(port)},
            {"protgroups", protocols}};
}

json json_of_details(const PortView& port, const DisplayedPort& more)
{
    const zelfdb_port_info& info = port.info;
    json object = json_of(port);
    json policing = json::array();
    json cosmap = json::array();
    for (u32 i = 0; i < std::size(info.policing); ++i) {
        policing.push_back({{"class", i},
                            {"rate", info.policing[i].rate},
                            {"burst", info.policing[i].burst},
                            {"color", name_of_colour(info.policing[i].color)}});
        cosmap.push_back((info.valbit >> i & 1) != 0 ? json(info.cosmap[i]) : json(nullptr));
    }
    object["policing"] = policing;
    object["cosmap"] = cosmap;
    object["default_class"] = {
        {"stream", info.def_spno + 1}, {"pri", info.def_pri}, {"color", name_of_colour(info.def_color)}};
    object["bandwidth"] = info.bw_calc_mode == 0 ? "frame" : "frame_gap";
    object["link_frames_forwarded"] = hex(info.link_frames_fwd, 8);
    object["uplink"] = more.uplink == 1;
    object["link_mode"] = more.link_mode == 1 ? "and" : "or";
    object["link_depend"] = more.link_depend == 1 ? json(nullptr) : json(hex(more.link_list, 2));
    return object;
}

void print_details(const PortView& port, const DisplayedPort& more)
{
    const zelfdb_port_info& info = port.info;
    Sheet sheet;
    sheet.add("port", number(info.port_id));
    sheet.add("type", std::string(name_of_type(info.p_type)) + ", npport " + number(info.phport));
    sheet.add("state", name_of_state(info));
    sheet.add("flags", hex(info.p_flag, 4) + ": " + text_of_flags(info.p_flag));
    sheet.add("priority", number(info.pri));
    sheet.add("tag type", hex(info.tagtype, 4));
    sheet.add("PVID", number(info.PVID));
    sheet.add("VLANs", text_of_vlans(port));
    sheet.add("aging", number(info.aging_s) + " s");
    sheet.add("loop breaker", name_of_breaker(info));
    sheet.add("uplink", yes_no(more.uplink == 1));
    sheet.add("link mode", more.link_mode == 1 ? "and" : "or");
    sheet.add("link depends",
              more.link_depend == 1 ? "on itself" : "on physical ports, bits " + hex(more.link_list, 2));
    sheet.add("default class",
              number(u64{info.def_spno} + 1) + "/" + number(info.def_pri) + "/" + name_of_colour(info.def_color));
    sheet.add("bandwidth", info.bw_calc_mode == 0 ? "frame" : "frame_gap");
    sheet.add("link frames", "forwarded: bits " + hex(info.link_frames_fwd, 8));
    for (u32 i = 0; i < info.npg && i < std::size(info.prot); ++i)
        sheet.add("protocol group", number(info.prot[i].group) + " to VLAN " + number(info.prot[i].VID));
    for (u32 i = 0; i < std::size(info.cosmap); ++i)
        if ((info.valbit >> i & 1) != 0) sheet.add("cosmap " + number(i), number(info.cosmap[i]));
    for (u32 i = 0; i < std::size(info.policing); ++i)
        if (info.policing[i].rate != 0)
            sheet.add("policing class " + number(i), "rate " + number(info.policing[i].rate / rate_unit) + " burst " +
                                                         number(info.policing[i].burst) + " " +
                                                         name_of_colour(info.policing[i].color));
    sheet.print();
}

}  // namespace

int show_ports(bool as_json)
{
    if (!database_is_ready()) return exit_failed;
    const auto ports = read_ports();
    if (!ports) return exit_failed;
    if (as_json) {
        json list = json::array();
        for (const PortView& port : *ports) list.push_back(json_of(port));
        print_json({{"ports", list}});
        return exit_done;
    }
    Table table({{"PORT", true},
                 {"TYPE"},
                 {"NPPORT", true},
                 {"STATE"},
                 {"LEARNS"},
                 {"FORWARDS"},
                 {"ADMITS"},
                 {"PVID", true},
                 {"VLANS"},
                 {"AGING", true},
                 {"BREAKER"}});
    for (const PortView& port : *ports) {
        const zelfdb_port_info& info = port.info;
        table.add({number(info.port_id), name_of_type(info.p_type), number(info.phport), name_of_state(info),
                   yes_no((info.p_flag & 0x1) != 0), yes_no((info.p_flag & 0x2) != 0),
                   (info.p_flag & ZELFDB_P_UNTAGGED) != 0 ? "all" : "tagged", number(info.PVID), text_of_vlans(port),
                   number(info.aging_s) + " s", name_of_breaker(info)});
    }
    table.print();
    std::printf("%s\n", counted(ports->size(), "port", "ports").c_str());
    return exit_done;
}

int show_port(u32 port_id, bool as_json)
{
    if (!database_is_ready()) return exit_failed;
    const auto port = read_port(port_id);
    const auto more = displayed_port(port_id);
    if (!port || !more) {
        complain("no port " + number(port_id));
        return exit_failed;
    }
    if (as_json)
        print_json(json_of_details(*port, *more));
    else
        print_details(*port, *more);
    return exit_done;
}

}  // namespace zelfctl
