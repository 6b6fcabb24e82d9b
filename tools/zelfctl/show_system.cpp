#include <cstdio>

#include "database.h"
#include "json_output.h"
#include "show.h"
#include "table.h"

namespace zelfctl {
namespace {

using nlohmann::json;

constexpr u32 phports = 4;

int failed()
{
    complain("the database could not be read");
    return exit_failed;
}

}  // namespace

int show_summary(bool as_json)
{
    zelfdb_summary summary{};
    if (!database_is_ready()) return exit_failed;
    if (zelfdb_get_summary(&summary) != 0) return failed();
    if (as_json) {
        print_json({{"lowest_vid", summary.lowest_vid},
                    {"highest_vid", summary.highest_vid},
                    {"vlan_capacity", summary.vlan_capacity},
                    {"vlan_count", summary.vlan_count}});
        return exit_done;
    }
    Sheet sheet;
    sheet.add("VIDs", number(summary.lowest_vid) + " to " + number(summary.highest_vid));
    sheet.add("VLANs", number(summary.vlan_count) + " of " + number(summary.vlan_capacity));
    sheet.print();
    return exit_done;
}

int show_history(bool as_json)
{
    zelfdb_history history{};
    if (!database_is_ready()) return exit_failed;
    if (zelfdb_get_history(&history) != 0) return failed();
    if (as_json) {
        print_json({{"ports_created", history.ports_created},
                    {"ports_deleted", history.ports_deleted},
                    {"vlans_created", history.vlans_created},
                    {"vlans_deleted", history.vlans_deleted},
                    {"ports_added_to_vlans", history.ports_added_to_vlans},
                    {"ports_removed_from_vlans", history.ports_removed_from_vlans}});
        return exit_done;
    }
    Sheet sheet;
    sheet.add("ports created", number(history.ports_created));
    sheet.add("ports deleted", number(history.ports_deleted));
    sheet.add("VLANs created", number(history.vlans_created));
    sheet.add("VLANs deleted", number(history.vlans_deleted));
    sheet.add("ports added to VLANs", number(history.ports_added_to_vlans));
    sheet.add("ports removed from VLANs", number(history.ports_removed_from_vlans));
    sheet.print();
    return exit_done;
}

int show_protgroups(bool as_json)
{
    zelfdb_protgroup_info groups{};
    u32 code = 0;
    if (!database_is_ready()) return exit_failed;
    if (zelfdb_get_protgroup_info(&groups, &code) != 0) return failed();
    json list = json::array();
    Table table({{"GROUP", true}, {"PROTOCOLS"}});
    for (u32 i = 0; i < groups.count && i < std::size(groups.group); ++i) {
        const zelfdb_protgroup& group = groups.group[i];
        json protocols = json::array();
        std::string text;
        for (u32 k = 0; k < group.nprot && k < std::size(group.prot); ++k) {
            protocols.push_back(hex(group.prot[k], 4));
            text += (text.empty() ? "" : " ") + hex(group.prot[k], 4);
        }
        list.push_back({{"group", group.group}, {"protocols", protocols}});
        table.add({number(group.group), text});
    }
    if (as_json)
        print_json({{"protgroups", list}});
    else
        table.print();
    return exit_done;
}

int show_phports(bool as_json)
{
    if (!database_is_ready()) return exit_failed;
    json list = json::array();
    Table table({{"ETHER", true}, {"RATE", true}, {"BURST", true}});
    for (u32 id = 1; id <= phports; ++id) {
        zelfdb_phinfo info{};
        u32 code = 0;
        if (zelfdb_get_phinfo(id, &info, &code) != 0) return failed();
        list.push_back({{"ether", id}, {"shaping_rate", info.shaping_rate}, {"burst", info.shaping_param2}});
        const bool shaped = info.shaping_rate != 0;
        table.add({number(id), shaped ? number(info.shaping_rate) : "-", shaped ? number(info.shaping_param2) : "-"});
    }
    if (as_json)
        print_json({{"ethers", list}});
    else
        table.print();
    return exit_done;
}

}  // namespace zelfctl
