// A kind of record with a pool, a list and an index, mended.
#pragma once

#include "check/mend.h"

namespace zelfdb::audit {

// One by one they are told; of a pool that is lost only how many.
inline constexpr std::size_t lost_told_max = 16;

template <auto Id, u32 Slot0, u32 Lowest, u32 HighestSlot, u32 HighestFound>
struct IndexOfKind {
    static constexpr i64 lowest = Lowest;
    static constexpr u32 highest_slot = HighestSlot;
    static constexpr u32 highest_found = HighestFound;

    explicit IndexOfKind(Index<Id, Slot0, Lowest, HighestSlot, HighestFound>) {}
    static Offset& slot(Header& header, u32 id)
    {
        return reinterpret_cast<Offset*>(reinterpret_cast<u8*>(&header) + Slot0)[id];
    }
    template <class Record>
    static u32 id(const Record& record)
    {
        return record.*Id;
    }
};
template <auto Id, u32 Slot0, u32 Lowest, u32 HighestSlot, u32 HighestFound>
IndexOfKind(Index<Id, Slot0, Lowest, HighestSlot, HighestFound>)
    -> IndexOfKind<Id, Slot0, Lowest, HighestSlot, HighestFound>;

// refuse(record): why it cannot be live, or null. Each record that is refused or that was half linked is told and touched.
template <class Record, auto FreeHead, auto LinkOf, auto Head, auto Key, class IndexType, class Refuse>
Live mend_kind(Mend& m, const Store<Record>& store,
               const Kind<Pool<FreeHead, LinkOf>, OrderedList<Head, LinkOf, Key>, IndexType>& kind,
               Touched::Kind touched, Refuse refuse)
{
    const KindNames& names = kind.names;
    const IndexOfKind index(kind.index);
    Header& header = m.header;
    const auto id_of = [&](u32 number) { return index.id(record(store, number)); };

    std::vector<bool> on_free(store.count);
    const Met free = meet<LinkOf>(store, on_free, header.*FreeHead);
    std::vector<bool> on_list(store.count);
    const Met listed = meet<LinkOf>(store, on_list, header.*Head);
    std::vector<bool> indexed(store.count);
    std::map<u32, u32> of_id;  // who has an ID that can be looked up
    for (u32 id = static_cast<u32>(index.lowest); id <= index.highest_slot; ++id) {
        const Offset slot = index.slot(header, id);
        if (slot == none || !store.has(slot) || id_of(store.number(slot)) != id) continue;
        const u32 number = store.number(slot);
        if (on_free[number] && !on_list[number]) continue;
        indexed[number] = true;
        if (id <= index.highest_found) of_id[id] = number;
    }

    std::vector<u32> candidates;
    for (const u32 number : listed.numbers) {
        if (!on_free[number] || indexed[number]) candidates.push_back(number);
    }
    for (u32 number = 0; number < store.count; ++number) {
        if (indexed[number] && !on_list[number]) candidates.push_back(number);
    }
    Live live{{}, std::vector<bool>(store.count)};
    for (const u32 number : candidates) {
        const u32 id = id_of(number);
        const char* why = i64{id} < index.lowest ? "its number is none: it is dropped" : nullptr;
        if (!why && id <= index.highest_found && of_id.try_emplace(id, number).first->second != number)
            why = "another has its number: it is dropped";
        if (!why) why = refuse(record(store, number));
        if (why) {
            dropped(m, {names.one, id}, why);
            if (id > index.highest_found || of_id[id] == number) touch(m, touched, id, false);
            if (id <= index.highest_found && of_id[id] == number) of_id.erase(id);
            continue;
        }
        live.is[number] = true;
        live.order.push_back(number);
        const bool whole = on_list[number] && (indexed[number] || id > index.highest_found);
        if (whole) continue;
        did(m, {names.one, id}, on_list[number] ? "its index slot is set" : "it is put on its list");
        touch(m, touched, id, true);
    }

    sort_by<Key>(store, live.order);
    const Offset old_head = header.*Head;
    const std::vector<u32> moved = write_list<LinkOf>(store, header.*Head, live.order);
    for (const u32 place : moved) touch(m, touched, id_of(live.order[place]), true);
    if (!moved.empty() || header.*Head != old_head) did(m, names.list, "its links are set");

    std::vector<u32> come;
    for (u32 number = 0; number < store.count; ++number) {
        if (!live.is[number] && !on_free[number]) come.push_back(number);
    }
    for (const u32 number : come) {
        if (on_list[number] || indexed[number]) continue;  // told above
        if (come.size() > lost_told_max) continue;
        dropped(m, {names.one, id_of(number)}, "it was half made or half deleted: its record is freed");
        const u32 id = id_of(number);
        if (!of_id.contains(id)) touch(m, touched, id, false);
    }
    if (come.size() > lost_told_max) dropped(m, {names.pool}, "records that were neither in use nor free are freed");
    write_free_list<LinkOf>(m, names.free_list, store, header.*FreeHead, free.numbers, come, live.is);

    std::map<u32, Offset> slots;
    for (const u32 number : live.order) {
        const u32 id = id_of(number);
        if (id <= index.highest_slot) slots[id] = store.offset(number);
    }
    for (u32 id = static_cast<u32>(index.lowest); id <= index.highest_slot; ++id) {
        const auto found = slots.find(id);
        if (set(index.slot(header, id), found == slots.end() ? none : found->second) && found == slots.end())
            did(m, {names.slot, id}, "it leads nowhere any more");
    }
    if (names.total && set(header.*names.total, static_cast<u32>(live.order.size())))
        did(m, names.total_name, "it is counted anew");
    return live;
}

}  // namespace zelfdb::audit
