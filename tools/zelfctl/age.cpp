#include "age.h"

#include <algorithm>
#include <cstdio>
#include <tuple>

#include "database.h"
#include "entries.h"
#include "json_output.h"
#include "table.h"

namespace zelfctl {
namespace {

auto key(const Entry& entry) { return std::tie(entry.vid, entry.mac); }
bool has_lower_address(const Entry& a, const Entry& b) { return key(a) < key(b); }

std::vector<Entry> missing(std::vector<Entry> old_entries, std::vector<Entry> new_entries)
{
    std::sort(old_entries.begin(), old_entries.end(), has_lower_address);
    std::sort(new_entries.begin(), new_entries.end(), has_lower_address);
    std::vector<Entry> gone;
    std::set_difference(old_entries.begin(), old_entries.end(), new_entries.begin(), new_entries.end(),
                        std::back_inserter(gone), has_lower_address);
    return gone;
}

void print_as_json(const std::vector<Entry>& gone, std::size_t left)
{
    nlohmann::json entries = nlohmann::json::array();
    for (const Entry& entry : gone)
        entries.push_back(
            {{"mac", text_of(entry.mac)}, {"vid", entry.vid}, {"vlan", entry.vlan}, {"port", entry.port}});
    print_json({{"aged", entries}, {"dynamic_left", left}});
}

void print_table(const std::vector<Entry>& gone, std::size_t left)
{
    std::printf("%s aged out, %s\n", counted(gone.size(), "entry", "entries").c_str(),
                counted(left, "dynamic one stays", "dynamic ones stay").c_str());
    if (gone.empty()) return;
    Table table({{"VLAN"}, {"VID", true}, {"MAC"}, {"PORT", true}});
    for (const Entry& entry : gone)
        table.add({entry.vlan, std::to_string(entry.vid), text_of(entry.mac), std::to_string(entry.port)});
    table.print();
}

}  // namespace

int age(bool json)
{
    if (!database_is_ready()) return exit_failed;
    const auto old_entries = read_dynamic_entries();
    const Descriptor descriptor(zelfdb_open_descriptor());
    if (!old_entries || !descriptor) {
        complain("the entries could not be read");
        return exit_failed;
    }
    zelfdb_do_aging(descriptor.get());
    const auto new_entries = read_dynamic_entries();
    if (!new_entries) {
        complain("the entries could not be read");
        return exit_failed;
    }
    const std::vector<Entry> gone = missing(*old_entries, *new_entries);
    (json ? print_as_json : print_table)(gone, new_entries->size());
    return exit_done;
}

}  // namespace zelfctl
