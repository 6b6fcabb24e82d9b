// What the checks of one database share: its records, its findings, and walks that end whatever the bytes say.
#pragma once

#include <algorithm>
#include <array>
#include <functional>
#include <vector>

#include "check/kinds.h"
#include "check/stores.h"
#include "check/values.h"

namespace zelfdb::audit {

// The records of a kind that are in use, in list order, and by their number.
template <class Record>
struct InUse {
    std::vector<const Record*> records;
    std::vector<bool> by_number;
};

// Which list each record of a pool was met on, by the record's number; 0 = on none yet.
using Marks = std::vector<u32>;

inline constexpr u32 port_id_max = 199;

struct Audit {
    Segments segments;
    const Header& header;
    Stores stores;
    std::vector<Name> lists;  // those walked so far: a mark is the place of a list here, plus 1
    Report report;

    // Filled by the checks of these subjects, for those that come after them.
    InUse<Port> ports;
    std::array<const Port*, port_id_max + 1> port_by_id{};
    InUse<Vlan> vlans;
    std::vector<bool> pvs;  // in use, by number
};

// word: what disagrees, in one of the two segments.
void add_finding(Audit& a, Severity severity, const Name& object, const char* field, const void* word,
                 const Value& found, const Value& expected, const Name& rule);

inline void error(Audit& a, const Name& object, const char* field, const void* word, const Value& found,
                  const Value& expected, const Name& rule)
{
    add_finding(a, Severity::error, object, field, word, found, expected, rule);
}
inline void notice(Audit& a, const Name& object, const char* field, const void* word, const Value& found,
                   const Value& expected, const Name& rule)
{
    add_finding(a, Severity::notice, object, field, word, found, expected, rule);
}

inline void expect_equal(Audit& a, const Name& object, const char* field, const u32& stored, u64 actual,
                         const char* rule, Severity severity = Severity::error)
{
    if (stored == actual) return;
    add_finding(a, severity, object, field, &stored, dec(stored), dec(static_cast<i64>(actual)), rule);
}

// The records of a list up to the first link that cannot be followed. A record is met once: lists that run into each other
// or into themselves end there, so all walks of one set of marks together visit no more records than there are.
template <auto LinkOf, class StoreOf, class Record = Linked<LinkOf>>
std::vector<const Record*> follow(Audit& a, const Name& list, const StoreOf& store, Marks& marks, const Offset& head)
{
    std::vector<const Record*> met;
    if (head == none) return met;
    a.lists.push_back(list);
    const u32 mark = static_cast<u32>(a.lists.size());
    const Offset* link = &head;
    const char* field = "head";
    for (Offset here = *link; here != none; here = *link) {
        if (!store.has(here)) {
            error(a, list, field, link, at(here), record_or_none(store.kind), "a list leads from record to record");
            break;
        }
        u32& marked = marks[store.number(here)];
        if (marked != 0) {
            error(a, list, field, link, at(here), not_on(a.lists[marked - 1]), "a record is on one such list, once");
            break;
        }
        marked = mark;
        met.push_back(&store.at(here));
        link = &(met.back()->*LinkOf).next;
        field = "next";
    }
    return met;
}

// Back links mirror forward links; the first record links back to itself or to none.
template <auto LinkOf, class Record = Linked<LinkOf>>
void expect_back_links(Audit& a, const Name& list, Base base, const std::vector<const Record*>& records,
                       Severity severity = Severity::error)
{
    Offset before = none;
    for (const Record* record : records) {
        const Offset here = offset_of(base, *record);
        const Offset& prev = (record->*LinkOf).prev;
        const bool first = before == none;
        if (prev != before && !(first && prev == here)) {
            add_finding(a, severity, list, "prev", &prev, at(prev), first ? itself_or_none(here) : at(before),
                        "a back link mirrors the link that leads here");
        }
        before = here;
    }
}

template <auto LinkOf, class StoreOf>
auto walk_list(Audit& a, const Name& list, const StoreOf& store, Marks& marks, const Offset& head)
{
    auto records = follow<LinkOf>(a, list, store, marks, head);
    expect_back_links<LinkOf>(a, list, store.base, records);
    return records;
}

enum class Order { ascending, ascending_or_equal };

template <auto Key, class Record>
void expect_order(Audit& a, const Name& list, const std::vector<const Record*>& records, Order order,
                  Severity severity = Severity::error)
{
    for (std::size_t i = 1; i < records.size(); ++i) {
        const i64 before = std::invoke(Key, *records[i - 1]);
        const i64 here = std::invoke(Key, *records[i]);
        if (before < here || (before == here && order == Order::ascending_or_equal)) continue;
        add_finding(a, severity, list, "order", records[i], dec(here),
                    dec(order == Order::ascending ? before + 1 : before), "keys ascend; expected is the least");
    }
}

// How many records no walk has met; the first of them.
struct Lost {
    u32 count = 0;
    u32 first = 0;
};
Lost lost_records(const Marks& marks);

template <class StoreOf>
void expect_none_lost(Audit& a, const Name& pool, const StoreOf& store, const Marks& marks)
{
    const Lost lost = lost_records(marks);
    if (lost.count == 0) return;
    error(a, pool, "number lost", &store.at(store.offset(lost.first)), dec(lost.count), dec(0),
          "a record is free or in use; the first that is neither lies here");
}

template <auto Id, u32 Slot0, u32 Lowest, u32 HighestSlot, u32 HighestFound>
const Offset& slot_of(Index<Id, Slot0, Lowest, HighestSlot, HighestFound>, const Header& header, u32 id)
{
    return reinterpret_cast<const Offset*>(reinterpret_cast<const u8*>(&header) + Slot0)[id];
}

// Every slot leads to the record in use that has its ID, and every such record is led to.
template <class Record, auto Id, u32 Slot0, u32 Lowest, u32 HighestSlot, u32 HighestFound>
void check_index(Audit& a, const KindNames& names, const Store<Record>& store, const InUse<Record>& used,
                 Index<Id, Slot0, Lowest, HighestSlot, HighestFound> index)
{
    constexpr const char* rule = "a slot leads to the record in use that has its ID";
    constexpr i64 lowest = Lowest;
    for (u32 id = Lowest; id <= HighestSlot; ++id) {
        const Offset& slot = slot_of(index, a.header, id);
        if (slot == none) continue;
        const bool right = store.has(slot) && used.by_number[store.number(slot)] && u32{store.at(slot).*Id} == id;
        if (!right) error(a, {names.slot, id}, "offset", &slot, at(slot), text("none or its record"), rule);
    }
    for (const Record* record : used.records) {
        const auto& word = record->*Id;
        const u32 id = word;
        if (id < lowest) {
            error(a, {names.one, id}, "ID", &word, dec(id), dec(lowest), "IDs begin there");
        } else if (id > HighestFound) {
            add_finding(a, names.beyond_index, {names.one, id}, "ID", &word, dec(static_cast<i32>(id)),
                        at_most(HighestFound), "no look-up finds another ID");
        }
        if (id < lowest || id > HighestSlot) continue;
        const Offset& slot = slot_of(index, a.header, id);
        const Offset self = offset_of(store.base, *record);
        // Beyond what look-ups find an ID may be there twice; its slot leads to one of them.
        if (slot != self && (slot == none || id <= HighestFound))
            error(a, {names.slot, id}, "offset", &slot, at(slot), at(self), rule);
    }
}

// Every record is on the free list or on the kind's own list, once; the list is ordered, the index right, the total too.
template <class Record, auto FreeHead, auto LinkOf, auto Head, auto Key, class IndexOf>
InUse<Record> check_kind(Audit& a, const Store<Record>& store,
                         const Kind<Pool<FreeHead, LinkOf>, OrderedList<Head, LinkOf, Key>, IndexOf>& kind)
{
    const KindNames& names = kind.names;
    Marks marks(store.count);
    walk_list<LinkOf>(a, names.free_list, store, marks, a.header.*FreeHead);
    InUse<Record> used{walk_list<LinkOf>(a, names.list, store, marks, a.header.*Head), std::vector<bool>(store.count)};
    for (const Record* record : used.records) used.by_number[store.number(*record)] = true;
    expect_none_lost(a, names.pool, store, marks);
    // Two records of one ID that can be looked up do not fit the index.
    expect_order<Key>(a, names.list, used.records, Order::ascending_or_equal);
    check_index(a, names, store, used, kind.index);
    if (names.total) {
        expect_equal(a, "header", names.total_name, a.header.*names.total, used.records.size(),
                     "it counts the records in use");
    }
    return used;
}

// The subjects, in this order: each uses what those before it have found in use.
void check_ports(Audit& a);
void check_vlans(Audit& a);
void check_entries(Audit& a);
void check_qos(Audit& a);
void check_profiles(Audit& a);
void check_mirrors(Audit& a);

}  // namespace zelfdb::audit
