#include "resync/compare.h"

#include <algorithm>
#include <set>

#include "np/fdb_commands.h"

namespace zelfdb {
namespace {

constexpr const char* nothing = "-";

// ---- Lines: one list against the other, so that a line more or less moves none of the others ------------------------------

struct Pair {
    std::size_t wanted;
    std::size_t found;
};

using Lines = std::vector<std::string>;

// The longest sequence of lines that both have, in order.
std::vector<Pair> common_lines(const Lines& wanted, const Lines& found)
{
    const std::size_t columns = found.size() + 1;
    std::vector<u16> longest((wanted.size() + 1) * columns, 0);
    const auto at = [&](std::size_t w, std::size_t f) -> u16& { return longest[w * columns + f]; };
    for (std::size_t w = wanted.size(); w-- > 0;)
        for (std::size_t f = found.size(); f-- > 0;)
            at(w, f) =
                wanted[w] == found[f] ? static_cast<u16>(at(w + 1, f + 1) + 1) : std::max(at(w + 1, f), at(w, f + 1));
    std::vector<Pair> common;
    for (std::size_t w = 0, f = 0; w < wanted.size() && f < found.size();) {
        if (wanted[w] == found[f])
            common.push_back({w++, f++});
        else if (at(w + 1, f) >= at(w, f + 1))
            ++w;
        else
            ++f;
    }
    return common;
}

// The first byte in which two lines differ.
void tell_byte(Difference& finding, const std::string& wanted, const std::string& found)
{
    std::size_t at = 0;
    while (at + 2 < std::min(wanted.size(), found.size()) && wanted.substr(at, 2) == found.substr(at, 2)) at += 2;
    finding.setting = "byte " + std::to_string(at / 2);
    finding.database = wanted.substr(at, 2);
    finding.np = found.substr(at, 2);
}

u32 number_of(std::size_t index) { return static_cast<u32>(index + 1); }

// What lies between two common lines: what stands in the same place is one line that differs.
void compare_gap(std::vector<Difference>& findings, u32 profile, const Lines& wanted, const Lines& found, Pair from,
                 Pair to)
{
    for (; from.wanted < to.wanted && from.found < to.found; ++from.wanted, ++from.found) {
        Difference finding{What::different, line_object(profile, number_of(from.wanted)),
                           line_object(profile, number_of(from.found))};
        tell_byte(finding, wanted[from.wanted], found[from.found]);
        findings.push_back(finding);
    }
    for (; from.wanted < to.wanted; ++from.wanted) {
        const Object line = line_object(profile, number_of(from.wanted));
        findings.push_back({What::missing, line, line});
    }
    for (; from.found < to.found; ++from.found) {
        const Object line = line_object(profile, number_of(from.found));
        findings.push_back({What::extra, line, line});
    }
}

void compare_lines(std::vector<Difference>& findings, const Wanted& wanted, const Found& found)
{
    std::map<u32, std::pair<Lines, Lines>> profiles;
    for (const Item& item : wanted.items)
        if (item.object.kind == ObjectKind::line) profiles[item.object.a].first.push_back(item.settings.front().value);
    for (const auto& [object, item] : found.objects)
        if (object.kind == ObjectKind::line) profiles[object.a].second.push_back(item.settings.at("line"));
    for (const auto& [profile, lists] : profiles) {
        const auto& [ours, theirs] = lists;
        Pair from{0, 0};
        for (const Pair common : common_lines(ours, theirs)) {
            compare_gap(findings, profile, ours, theirs, from, common);
            from = {common.wanted + 1, common.found + 1};
        }
        compare_gap(findings, profile, ours, theirs, from, {ours.size(), theirs.size()});
    }
}

// ---- Everything else: by name ---------------------------------------------------------------------------------------------

void compare_setting(std::vector<Difference>& findings, const Object& object, const FoundItem& item,
                     const std::string& name, const std::string& value)
{
    const auto theirs = item.settings.find(name);
    const std::string& their_value = theirs == item.settings.end() ? nothing : theirs->second;
    if (their_value != value) findings.push_back({What::different, object, object, name, value, their_value});
}

// Not of these objects: lines have no names, an entry is asked for.
bool has_name(ObjectKind kind) { return kind != ObjectKind::line && kind != ObjectKind::entry; }

void compare_items(std::vector<Difference>& findings, const Wanted& wanted, const Found& found)
{
    for (const Item& item : wanted.items) {
        if (!has_name(item.object.kind)) continue;
        const auto theirs = found.objects.find(item.object);
        if (theirs == found.objects.end()) {
            findings.push_back({What::missing, item.object, item.object});
            continue;
        }
        for (const Setting& setting : item.settings)
            compare_setting(findings, item.object, theirs->second, setting.name, setting.value);
    }
}

void compare_entries(std::vector<Difference>& findings, const Descriptor& d, const Wanted& wanted, const Found* found)
{
    for (const Object& object : entries_not_found(d, wanted)) findings.push_back({What::missing, object, object});
    if (!found) return;
    for (const EntryItem& entry : wanted.entries) {
        const auto theirs = found->objects.find(entry.object);
        if (theirs == found->objects.end()) continue;
        for (const auto& [name, value] : settings_of(d, *entry.fil))
            compare_setting(findings, entry.object, theirs->second, name, value);
    }
}

// A membership whose group the database does not know has one in the NP. A port's state comes and goes with the port.
void find_extra(std::vector<Difference>& findings, const Wanted& wanted, const Found& found)
{
    std::set<Object> ours;
    for (const Item& item : wanted.items) ours.insert(item.object);
    for (const EntryItem& entry : wanted.entries) ours.insert(entry.object);
    const std::set<Object> untold(wanted.untold.begin(), wanted.untold.end());
    for (const auto& [object, item] : found.objects) {
        if (ours.contains(object) || object.kind == ObjectKind::line || object.kind == ObjectKind::port_state) continue;
        if (object.kind == ObjectKind::binding && untold.contains(member_object(object.a, object.b))) continue;
        findings.push_back({What::extra, object, object});
    }
}

// The oldest binding of a group decides: of one port and group they must be of one order.
void compare_order(std::vector<Difference>& findings, const Wanted& wanted, const Found& found)
{
    std::map<std::pair<u32, u32>, std::pair<std::vector<Object>, std::vector<Object>>> sequences;
    std::set<Object> ours;
    for (const Item& item : wanted.items) {
        if (item.object.kind != ObjectKind::binding || !found.objects.contains(item.object)) continue;
        ours.insert(item.object);
        sequences[{item.object.a, item.object.c}].first.push_back(item.object);
    }
    for (const Object& binding : found.bindings)
        if (ours.contains(binding)) sequences[{binding.a, binding.c}].second.push_back(binding);
    for (const auto& [key, orders] : sequences) {
        const auto& [our_order, their_order] = orders;
        for (std::size_t i = 0; i < our_order.size() && i < their_order.size(); ++i) {
            if (our_order[i] == their_order[i]) continue;
            findings.push_back({What::different, our_order[i], our_order[i], "order",
                                "VLAN " + std::to_string(our_order[i].b), "VLAN " + std::to_string(their_order[i].b)});
            break;
        }
    }
}

// ---- What follows from what -------------------------------------------------------------------------------------------------

void mark_implied(std::vector<Difference>& findings, const Wanted& wanted)
{
    std::set<Object> missing;
    for (const Difference& finding : findings)
        if (finding.what == What::missing) missing.insert(finding.object);
    std::map<Object, std::vector<Object>> needs;
    for (const Item& item : wanted.items) {
        if (!missing.contains(item.object)) continue;
        auto& of_item = needs[item.object];
        of_item.insert(of_item.end(), item.needs.begin(), item.needs.end());
        // What makes a membership by protocol is its bindings: they are the ones to name.
        if (item.object.kind == ObjectKind::binding)
            needs[member_object(item.object.a, item.object.b)].push_back(item.object);
    }
    for (const EntryItem& entry : wanted.entries)
        if (missing.contains(entry.object)) needs[entry.object] = needs_of(*entry.fil, entry.object.a);
    for (Difference& finding : findings) {
        if (finding.what != What::missing) continue;
        const auto& of_object = needs[finding.object];
        finding.implied =
            std::any_of(of_object.begin(), of_object.end(), [&](const Object& need) { return missing.contains(need); });
    }
}

}  // namespace

std::vector<Object> entries_not_found(const Descriptor& d, const Wanted& wanted)
{
    std::vector<Object> objects;
    for (const EntryItem& entry : wanted.entries)
        if (search_fil_to_NP(d, *entry.fil, nullptr, nullptr, nullptr) != 0) objects.push_back(entry.object);
    return objects;
}

std::vector<Difference> compare(const Descriptor& d, const Wanted& wanted, const Found* found)
{
    std::vector<Difference> findings;
    if (found) {
        compare_items(findings, wanted, *found);
        compare_lines(findings, wanted, *found);
        compare_order(findings, wanted, *found);
        find_extra(findings, wanted, *found);
    }
    compare_entries(findings, d, wanted, found);
    mark_implied(findings, wanted);
    std::stable_sort(findings.begin(), findings.end(),
                     [](const Difference& a, const Difference& b) { return a.object < b.object; });
    return findings;
}

}  // namespace zelfdb
