#include <algorithm>
#include <cstdio>
#include <iterator>
#include <map>
#include <tuple>

#include "database.h"
#include "entries.h"
#include "json_output.h"
#include "ports.h"
#include "show.h"
#include "table.h"
#include "vlans.h"

namespace zelfctl {
namespace {

using nlohmann::json;

void append(std::vector<Entry>& all, std::vector<Entry> more)
{
    all.insert(all.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

// Only what the filter can let through is read at all.
bool wants(const FdbFilter& filter, const char* type) { return filter.type.empty() || filter.type == type; }

bool append_of_vlans(const FdbFilter& filter, std::vector<Entry>& all)
{
    u32 wanted_vid = 0;
    if (!filter.vlan.empty()) {
        const auto vid = vid_of(filter.vlan);
        if (!vid) return false;
        wanted_vid = *vid;
    }
    const auto vlans = read_vlans();
    if (!vlans) return false;
    for (const VlanView& vlan : *vlans) {
        if (wanted_vid != 0 && vlan.vid != wanted_vid) continue;
        for (const u32 type : {ZELFDB_FIL_DYNAMIC, ZELFDB_FIL_STATIC}) {
            if (!wants(filter, type_text(type))) continue;
            auto entries = read_entries(vlan.vid, vlan.name, type, vlan.entries);
            if (entries) append(all, std::move(*entries));  // otherwise the VLAN has just gone
        }
    }
    return true;
}

bool append_of_ports(const FdbFilter& filter, std::vector<Entry>& all)
{
    if (!filter.vlan.empty() || !wants(filter, type_text(ZELFDB_FIL_LOCAL))) return true;
    const auto ports = read_ports();
    if (!ports) return false;
    for (const PortView& port : *ports) {
        if (filter.port != 0 && port.info.port_id != filter.port) continue;
        auto entries = read_local_entries(port.info.port_id);
        if (entries) append(all, std::move(*entries));  // otherwise the port has just gone
    }
    return true;
}

bool passes(const FdbFilter& filter, const Entry& entry)
{
    if (filter.port != 0 && entry.port != filter.port) return false;
    return filter.mac.empty() || text_of(entry.mac).starts_with(filter.mac);
}

// Entries of VLANs first, by VID and address; then those of ports.
bool is_shown_before(const Entry& a, const Entry& b)
{
    const auto key = [](const Entry& entry) {
        return std::make_tuple(entry.type == ZELFDB_FIL_LOCAL ? 1 : 0, entry.vid,
                               entry.type == ZELFDB_FIL_LOCAL ? entry.port : 0, entry.mac);
    };
    return key(a) < key(b);
}

bool discards(const Entry& entry) { return entry.type == ZELFDB_FIL_STATIC && (entry.flag & ZELFDB_FIL_FLAG_NO_PORT); }

void print_table(const std::vector<Entry>& entries, bool with_age)
{
    std::vector<Column> columns{{"VLAN"}, {"VID", true}, {"MAC"}, {"TYPE"}, {"PORT", true}, {"FLAG", true}, {"OWNER"}};
    if (with_age) columns.push_back({"AGE", true});
    Table table(std::move(columns));
    for (const Entry& entry : entries) {
        const bool local = entry.type == ZELFDB_FIL_LOCAL;
        std::vector<std::string> cells{local ? "-" : entry.vlan,
                                       local ? "-" : std::to_string(entry.vid),
                                       text_of(entry.mac),
                                       type_text(entry.type),
                                       discards(entry) ? "discard" : std::to_string(entry.port),
                                       hex(entry.flag),
                                       entry.permit == ZELFDB_FIL_SYSTEM ? "system" : "user"};
        if (with_age) cells.push_back(entry.type == ZELFDB_FIL_DYNAMIC ? std::to_string(entry.age_s) + " s" : "-");
        table.add(std::move(cells));
    }
    table.print();
    std::printf("%s\n", counted(entries.size(), "entry", "entries").c_str());
}

// Written out by hand: a tree of 100,000 objects would take longer than reading the entries.
void print_as_json(const Entry& entry, const std::string& vlan, bool with_age)
{
    const bool local = entry.type == ZELFDB_FIL_LOCAL;
    auto print = [separator = "\n"](const char* name, const std::string& value) mutable {
        std::printf("%s      \"%s\": %s", separator, name, value.c_str());
        separator = ",\n";
    };
    const auto yes_no = [](bool yes) { return yes ? "true" : "false"; };
    std::printf("    {");
    if (with_age) print("age_s", entry.type == ZELFDB_FIL_DYNAMIC ? std::to_string(entry.age_s) : "null");
    print("discard", yes_no(discards(entry)));
    print("flag", std::to_string(entry.flag));
    print("mac", '"' + text_of(entry.mac) + '"');
    print("port", discards(entry) ? "null" : std::to_string(entry.port));
    print("system", yes_no(entry.permit == ZELFDB_FIL_SYSTEM));
    print("type", '"' + std::string(type_text(entry.type)) + '"');
    print("vid", local ? "null" : std::to_string(entry.vid));
    print("vlan", local ? "null" : vlan);
    std::printf("\n    }");
}

std::map<std::string, std::size_t> counts_of(const std::vector<Entry>& entries)
{
    std::map<std::string, std::size_t> counts{{"dynamic", 0}, {"static", 0}, {"local", 0}};
    for (const Entry& entry : entries) ++counts[type_text(entry.type)];
    return counts;
}

void print_counts(const std::vector<Entry>& entries, bool as_json)
{
    const auto counts = counts_of(entries);
    if (as_json) {
        json object = counts;
        object["total"] = entries.size();
        print_json(object);
        return;
    }
    std::printf("%s: %zu dynamic, %zu static, %zu local\n", counted(entries.size(), "entry", "entries").c_str(),
                counts.at("dynamic"), counts.at("static"), counts.at("local"));
}

void print_as_json(const std::vector<Entry>& entries, bool with_age)
{
    std::map<std::string, std::string> names;  // as JSON
    std::printf("{\n  \"entries\": [");
    const char* separator = "\n";
    for (const Entry& entry : entries) {
        auto name = names.find(entry.vlan);
        if (name == names.end()) name = names.emplace(entry.vlan, text_of_json(entry.vlan)).first;
        std::printf("%s", separator);
        print_as_json(entry, name->second, with_age);
        separator = ",\n";
    }
    std::printf("%s]\n}\n", entries.empty() ? "" : "\n  ");
}

}  // namespace

int show_fdb(const FdbFilter& filter)
{
    if (!database_is_ready()) return exit_failed;
    if (filter.port != 0 && !read_port(filter.port)) {
        complain("no port " + std::to_string(filter.port));
        return exit_failed;
    }
    std::vector<Entry> entries;
    if (!append_of_vlans(filter, entries) || !append_of_ports(filter, entries)) return exit_failed;
    std::erase_if(entries, [&](const Entry& entry) { return !passes(filter, entry); });
    std::sort(entries.begin(), entries.end(), is_shown_before);
    if (filter.count)
        print_counts(entries, filter.json);
    else if (filter.json)
        print_as_json(entries, !filter.no_age);
    else
        print_table(entries, !filter.no_age);
    return exit_done;
}

}  // namespace zelfctl
