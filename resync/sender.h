// Sending items, and taking down what became of it. Callers hold both locks.
#pragma once

#include <set>

#include "resync/wanted.h"

namespace zelfdb {

struct Refusal {
    Object object;
    const char* command;  // by the builder's name
};

struct Sending {
    const Descriptor& d;
    u64 commands = 0;
    std::vector<Refusal> refused = {};
    std::vector<Object> skipped = {};  // not sent, for what they need was refused
    std::set<Object> absent = {};
};

// Creates the object and sets what a new one has not.
void send_item(Sending& sending, const Item& item);
// Sets one value of an object that is there.
void send_setting(Sending& sending, const Item& item, const Setting& setting);
// Several entries with one command.
void send_entries(Sending& sending, const std::vector<EntryItem>& entries);

// Whatever a filter picks of all that is wanted, in the sending order.
template <class SendItem, class Picks>
void send_in_order(Sending& sending, const Wanted& wanted, SendItem send, Picks picks)
{
    auto item = wanted.items.begin();
    for (; item != wanted.items.end() && item->object.kind < ObjectKind::entry; ++item) send(*item);
    std::vector<EntryItem> entries;
    for (const EntryItem& entry : wanted.entries)
        if (picks(entry.object)) entries.push_back(entry);
    send_entries(sending, entries);
    for (; item != wanted.items.end(); ++item) send(*item);
}

}  // namespace zelfdb
