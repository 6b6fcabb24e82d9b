#include <algorithm>
#include <cstdio>

#include "database.h"
#include "display.h"
#include "json_output.h"
#include "show.h"
#include "table.h"
#include "vlans.h"

namespace zelfctl {
namespace {

using nlohmann::json;

constexpr u32 flag_loop_detection = 0x2;
constexpr u32 flag_ignorefdb = 0x4;
constexpr u32 flag_learning_off = 0x8;

const char* on_off(bool on) { return on ? "on" : "off"; }

// "1 2 4t 5p": tagged and by-protocol members are marked.
std::string text_of_members(const VlanView& vlan)
{
    std::string text;
    for (const zelfdb_vlan_member& member : vlan.members) {
        text += (text.empty() ? "" : " ") + number(member.port_id);
        if ((member.pv_flag & ZELFDB_PV_TAGGED) != 0) text += 't';
        if ((member.pv_flag & ZELFDB_PV_PROTOCOL) != 0) text += 'p';
    }
    return text;
}

json json_of(const VlanView& vlan)
{
    json members = json::array();
    for (const zelfdb_vlan_member& member : vlan.members)
        members.push_back({{"port", member.port_id},
                           {"tagged", (member.pv_flag & ZELFDB_PV_TAGGED) != 0},
                           {"by_protocol", (member.pv_flag & ZELFDB_PV_PROTOCOL) != 0},
                           {"tagtype", hex(member.tagtype, 4)}});
    return {{"vid", vlan.vid},
            {"name", vlan.name},
            {"members", members},
            {"untagged", vlan.untagged},
            {"pvid_ports", vlan.pvid_ports},
            {"entries", vlan.entries},
            {"simple_loop_detection", (vlan.flags & flag_loop_detection) != 0},
            {"ignorefdb", (vlan.flags & flag_ignorefdb) != 0},
            {"learning", (vlan.flags & flag_learning_off) == 0}};
}

void print_details(const VlanView& vlan, u32 learn_limit)
{
    Sheet sheet;
    sheet.add("VLAN", vlan.name);
    sheet.add("VID", number(vlan.vid));
    sheet.add("entries", number(vlan.entries));
    sheet.add("learn limit", learn_limit == 0 ? "none" : number(learn_limit));
    sheet.add("learning", on_off((vlan.flags & flag_learning_off) == 0));
    sheet.add("ignore the FDB", on_off((vlan.flags & flag_ignorefdb) != 0));
    sheet.add("loop detection", on_off((vlan.flags & flag_loop_detection) != 0));
    std::string pvid_ports;
    for (const u32 port : vlan.pvid_ports) pvid_ports += (pvid_ports.empty() ? "" : " ") + number(port);
    sheet.add("PVID of ports", pvid_ports);
    for (const zelfdb_vlan_member& member : vlan.members) {
        const bool tagged = (member.pv_flag & ZELFDB_PV_TAGGED) != 0;
        std::string how = tagged ? ", tagged " + hex(member.tagtype, 4) : ", untagged";
        if ((member.pv_flag & ZELFDB_PV_PROTOCOL) != 0) how += ", by protocol";
        sheet.add("member", "port " + number(member.port_id) + how);
    }
    sheet.print();
}

}  // namespace

int show_vlans(bool as_json)
{
    if (!database_is_ready()) return exit_failed;
    const auto vlans = read_vlans();
    if (!vlans) return exit_failed;
    if (as_json) {
        json list = json::array();
        for (const VlanView& vlan : *vlans) list.push_back(json_of(vlan));
        print_json({{"vlans", list}});
        return exit_done;
    }
    Table table({{"VID", true}, {"NAME"}, {"MEMBERS"}, {"ENTRIES", true}, {"LEARNING"}, {"IGNOREFDB"}, {"LOOPS"}});
    for (const VlanView& vlan : *vlans)
        table.add({number(vlan.vid), vlan.name, text_of_members(vlan), number(vlan.entries),
                   on_off((vlan.flags & flag_learning_off) == 0), on_off((vlan.flags & flag_ignorefdb) != 0),
                   (vlan.flags & flag_loop_detection) != 0 ? "reported" : "-"});
    table.print();
    std::printf("%s\n", counted(vlans->size(), "VLAN", "VLANs").c_str());
    return exit_done;
}

int show_vlan(const std::string& name_or_vid, bool as_json)
{
    if (!database_is_ready()) return exit_failed;
    const auto vid = vid_of(name_or_vid);
    if (!vid) return exit_failed;
    const auto vlans = read_vlans();
    if (!vlans) return exit_failed;
    const auto vlan =
        std::find_if(vlans->begin(), vlans->end(), [&](const VlanView& view) { return view.vid == *vid; });
    const auto limit = displayed_learn_limit(*vid);
    if (vlan == vlans->end() || !limit) {
        complain("no VLAN '" + name_or_vid + "'");
        return exit_failed;
    }
    if (as_json) {
        json object = json_of(*vlan);
        object["learn_limit"] = *limit;
        print_json(object);
    } else {
        print_details(*vlan, *limit);
    }
    return exit_done;
}

}  // namespace zelfctl
