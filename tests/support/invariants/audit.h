// What the checks of a whole database share: findings, pools, and walks that end whatever the bytes say.
#pragma once

#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "core/links.h"
#include "core/records.h"
#include "core/segments.h"

namespace zelfdb::audit {

struct Audit {
    Base main;
    Base fdb;
    Header& header;
    Layout layout;
    std::vector<std::string> broken;
    std::vector<std::string> lists;  // names of the lists walked so far
};

// A database that is broken in one place is soon broken in thousands: the first findings say enough.
constexpr std::size_t findings_max = 60;

inline void note(Audit& a, const std::string& finding)
{
    if (a.broken.size() < findings_max) a.broken.push_back(finding);
    if (a.broken.size() == findings_max) a.broken.emplace_back("... and more");
}

inline std::string hex(u32 number)
{
    if (number == none.value) return "none";
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", number);
    return text;
}
inline std::string hex(Offset offset) { return hex(offset.value); }
inline std::string dec(u64 number) { return std::to_string(number); }

inline void expect_equal(Audit& a, const std::string& what, u32 stored, u64 actual)
{
    if (stored != actual) note(a, what + " is " + dec(stored) + ", not " + dec(actual));
}

// Where the records of one kind lie.
template <class Record>
struct Pool {
    const char* name;
    Base base;
    u32 first;
    u32 count;
    u32 stride = sizeof(Record);

    [[nodiscard]] bool has(Offset offset) const
    {
        return offset.value >= first && (offset.value - first) % stride == 0 && (offset.value - first) / stride < count;
    }
    [[nodiscard]] u32 number(Offset offset) const { return (offset.value - first) / stride; }
    [[nodiscard]] Offset offset(u32 number) const { return {first + number * stride}; }
    [[nodiscard]] Record& at(Offset offset) const { return record_at<Record>(base, offset); }
};

// The memberships of all VLANs: each VLAN's eight lie behind it.
struct PvPool {
    const char* name;
    Base base;
    u32 first_slot;
    u32 nvlan;
    u32 count = nvlan * pvs_per_vlan;

    [[nodiscard]] bool has(Offset offset) const
    {
        if (offset.value < first_slot || (offset.value - first_slot) / sizeof(VlanSlot) >= nvlan) return false;
        const u32 in_slot = in_slot_of(offset);
        return in_slot >= sizeof(Vlan) && (in_slot - sizeof(Vlan)) % sizeof(Pv) == 0;
    }
    [[nodiscard]] u32 number(Offset offset) const
    {
        return slot_of(offset) * pvs_per_vlan + static_cast<u32>((in_slot_of(offset) - sizeof(Vlan)) / sizeof(Pv));
    }
    [[nodiscard]] Offset offset(u32 number) const
    {
        return {static_cast<u32>(first_slot + number / pvs_per_vlan * sizeof(VlanSlot) + sizeof(Vlan) +
                                 number % pvs_per_vlan * sizeof(Pv))};
    }
    [[nodiscard]] Pv& at(Offset offset) const { return record_at<Pv>(base, offset); }

    [[nodiscard]] u32 slot_of(Offset offset) const
    {
        return static_cast<u32>((offset.value - first_slot) / sizeof(VlanSlot));
    }
    [[nodiscard]] u32 in_slot_of(Offset offset) const
    {
        return static_cast<u32>((offset.value - first_slot) % sizeof(VlanSlot));
    }
};

// Which list each record of a pool was met on, by the record's number; 0 = on none yet.
using Marks = std::vector<u32>;

// The records of a list up to the first link that cannot be followed. A record is met once: lists that run into each other
// or into themselves end there, so all walks of one set of marks together visit no more records than there are.
template <auto LinkOf, class PoolOf, class Record = Linked<LinkOf>>
std::vector<Record*> follow(Audit& a, const std::string& list, const PoolOf& pool, Marks& marks, Offset head)
{
    a.lists.push_back(list);
    const u32 mark = static_cast<u32>(a.lists.size());
    std::vector<Record*> met;
    for (Offset here = head; here != none;) {
        if (!pool.has(here)) {
            note(a, list + " leads to " + hex(here) + ", where no " + pool.name + " lies");
            break;
        }
        u32& marked = marks[pool.number(here)];
        if (marked != 0) {
            const char* const already = marked == mark ? " already" : "";
            note(a, list + " leads to " + hex(here) + ", which is on " + a.lists[marked - 1] + already);
            break;
        }
        marked = mark;
        met.push_back(&pool.at(here));
        here = (met.back()->*LinkOf).next;
    }
    return met;
}

// Back links mirror forward links; the first record links back to itself or to none.
template <auto LinkOf, class Record = Linked<LinkOf>>
void expect_back_links(Audit& a, const std::string& list, Base base, const std::vector<Record*>& records)
{
    Offset before = none;
    for (const Record* record : records) {
        const Offset here = offset_of(base, *record);
        const Offset prev = (record->*LinkOf).prev;
        if (prev != before && !(before == none && prev == here)) {
            note(a, list + ": " + hex(here) + " links back to " + hex(prev) + ", it follows " + hex(before));
        }
        before = here;
    }
}

template <auto LinkOf, class PoolOf>
auto walk(Audit& a, const std::string& list, const PoolOf& pool, Marks& marks, Offset head)
{
    auto records = follow<LinkOf>(a, list, pool, marks, head);
    expect_back_links<LinkOf>(a, list, pool.base, records);
    return records;
}

enum class Order { ascending, ascending_or_equal };

template <auto Key, class Record>
void expect_order(Audit& a, const std::string& list, const std::vector<Record*>& records, Order order)
{
    for (std::size_t i = 1; i < records.size(); ++i) {
        const auto before = std::invoke(Key, *records[i - 1]);
        const auto here = std::invoke(Key, *records[i]);
        if (before < here || (before == here && order == Order::ascending_or_equal)) continue;
        note(a, list + ": " + std::to_string(here) + " stands behind " + std::to_string(before));
    }
}

// The records of a kind that are in use, in list order.
template <class Record>
struct InUse {
    std::vector<Record*> records;
    std::vector<bool> by_number;
};

// Every record is either on the free list or on the kind's own list, once.
template <auto LinkOf, class Record = Linked<LinkOf>>
InUse<Record> records_in_use(Audit& a, const Pool<Record>& pool, Offset free_head, Offset list_head)
{
    const std::string name = pool.name;
    Marks marks(pool.count);
    walk<LinkOf>(a, "free " + name + " list", pool, marks, free_head);
    InUse<Record> used{walk<LinkOf>(a, name + " list", pool, marks, list_head), std::vector<bool>(pool.count)};
    for (const Record* record : used.records) used.by_number[pool.number(offset_of(pool.base, *record))] = true;
    const auto lost = std::count(marks.begin(), marks.end(), 0u);
    if (lost != 0) {
        const auto first = static_cast<u32>(std::find(marks.begin(), marks.end(), 0u) - marks.begin());
        note(a, dec(static_cast<u64>(lost)) + " " + name + " records are neither free nor in use, the first at " +
                    hex(pool.offset(first)));
    }
    return used;
}

// Every slot leads to the record in use that has its ID, and back. slot(0) is the slot of ID lowest. Records with an ID
// outside lowest..highest_found are in no index, or (between highest_found and highest_slot) cannot be relied on to be.
struct IndexRange {
    u32 lowest;
    u32 highest_slot;
    u32 highest_found;
};

template <auto Id, class Record>
void expect_index(Audit& a, const Pool<Record>& pool, const InUse<Record>& used, const Offset* slots, IndexRange range)
{
    const std::string index = std::string(pool.name) + " index";
    for (u32 id = range.lowest; id <= range.highest_slot; ++id) {
        const Offset slot = slots[id - range.lowest];
        if (slot == none) continue;
        const bool right =
            pool.has(slot) && used.by_number[pool.number(slot)] && static_cast<u32>(pool.at(slot).*Id) == id;
        if (!right)
            note(a, index + ": slot " + dec(id) + " holds " + hex(slot) + ", which is not in use under that ID");
    }
    for (const Record* record : used.records) {
        const u32 id = record->*Id;
        if (id < range.lowest || id > range.highest_found) continue;
        const Offset slot = slots[id - range.lowest];
        const Offset self = offset_of(pool.base, *record);
        if (slot != self)
            note(a, index + ": slot " + dec(id) + " holds " + hex(slot) + ", the record lies at " + hex(self));
    }
}

}  // namespace zelfdb::audit
