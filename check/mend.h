// What the parts of a repair share: the copy that is worked on, walks that end whatever the bytes say, lists written anew.
#pragma once

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>

#include "check/kinds.h"
#include "check/repair.h"
#include "check/stores.h"
#include "check/values.h"

namespace zelfdb::audit {

inline constexpr u32 mended_port_id_max = 199;

// The live records of a pool, by their numbers.
struct Live {
    std::vector<u32> order;  // as on their list
    std::vector<bool> is;    // by number
};

struct Mend {
    Header& header;
    Stores stores;
    Repair& repair;

    Live ports;
    Live vlans;
    Live pvs;
    Live streams;
    Live queues;
    Live profiles;
    Port* port_by_id[mended_port_id_max + 1] = {};

    [[nodiscard]] Port* port(u32 id) const { return id <= mended_port_id_max ? port_by_id[id] : nullptr; }
};

void add_deed(Mend& m, bool drops, const Name& object, const char* what);
inline void did(Mend& m, const Name& object, const char* what) { add_deed(m, false, object, what); }
inline void dropped(Mend& m, const Name& object, const char* what) { add_deed(m, true, object, what); }
void touch(Mend& m, Touched::Kind kind, u32 id, bool exists, u32 other = 0, const Mac& mac = {});

// True if that is a change.
template <class Word>
bool set(Word& word, const std::type_identity_t<Word>& value)
{
    if (std::memcmp(&word, &value, sizeof word) == 0) return false;
    word = value;
    return true;
}

template <class StoreOf>
auto& record(const StoreOf& store, u32 number)
{
    return record_at<typename StoreOf::Record>(store.base, store.offset(number));
}

// What a list leads to, up to the first link that leads nowhere or to a record that was met before.
struct Met {
    std::vector<u32> numbers;
    bool cut = false;
};

template <auto LinkOf, class StoreOf>
Met meet(const StoreOf& store, std::vector<bool>& marks, Offset head)
{
    Met met;
    for (Offset here = head; here != none;) {
        if (!store.has(here) || marks[store.number(here)]) {
            met.cut = true;
            break;
        }
        const u32 number = store.number(here);
        marks[number] = true;
        met.numbers.push_back(number);
        here = (record(store, number).*LinkOf).next;
    }
    return met;
}

// Writes what differs. Returns the places in the order whose links have changed, and those beside them.
template <auto LinkOf, class StoreOf>
std::vector<u32> write_list(const StoreOf& store, Offset& head, const std::vector<u32>& order)
{
    std::vector<u32> changed;
    const auto count = static_cast<u32>(order.size());
    const auto mark = [&](u32 place) {
        for (u32 i = place == 0 ? 0 : place - 1; i <= place + 1 && i < count; ++i) {
            if (changed.empty() || changed.back() < i) changed.push_back(i);
        }
    };
    if (set(head, count == 0 ? none : store.offset(order[0]))) mark(0);
    for (u32 i = 0; i < count; ++i) {
        Link& link = record(store, order[i]).*LinkOf;
        bool moved = set(link.next, i + 1 < count ? store.offset(order[i + 1]) : none);
        const Offset self = store.offset(order[i]);
        if (i > 0) {
            moved |= set(link.prev, store.offset(order[i - 1]));
        } else if (link.prev != none) {  // the first links back to itself or to none
            moved |= set(link.prev, self);
        }
        if (moved) mark(i);
    }
    return changed;
}

// The free records in the order of their list; those that have come to them lie before the others.
template <auto LinkOf, class StoreOf>
void write_free_list(Mend& m, const Name& list, const StoreOf& store, Offset& head, const std::vector<u32>& met,
                     const std::vector<u32>& come, const std::vector<bool>& live)
{
    std::vector<u32> order = come;
    const Offset before = head;
    for (const u32 number : met) {
        if (!live[number]) order.push_back(number);
    }
    if (!write_list<LinkOf>(store, head, order).empty() || head != before) did(m, list, "it is made anew");
}

template <auto Key, class StoreOf>
void sort_by(const StoreOf& store, std::vector<u32>& order)
{
    std::stable_sort(order.begin(), order.end(), [&store](u32 a, u32 b) {
        return i64{std::invoke(Key, record(store, a))} < i64{std::invoke(Key, record(store, b))};
    });
}

// The subjects, in this order.
void mend_ports(Mend& m);
void mend_vlans(Mend& m);
void mend_groups(Mend& m);
void mend_memberships(Mend& m);
void mend_bindings_to_groups(Mend& m);
void mend_pvids(Mend& m);
void mend_entries(Mend& m);
void mend_qos(Mend& m);
void mend_profiles(Mend& m);
void mend_header(Mend& m);

}  // namespace zelfdb::audit
