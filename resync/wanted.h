// What the database wants of its NP: every object with its settings, and how each is sent. One function for each kind of
// object. Read under both locks, and good until they are given back. Nothing here changes the database.
#pragma once

#include <functional>
#include <map>

#include "core/descriptor.h"
#include "resync/object.h"

namespace zelfdb {

// One value of an object: one command sets it.
struct Setting {
    std::string name;
    std::string value;
    bool as_created;            // what a new object has, so that it need not be sent to one
    const char* command;        // by the builder's name
    std::function<int()> send;  // empty: only the creation says it
    bool adjustable = true;     // false: not to an object that is in use
};

struct Item {
    Object object;
    std::vector<Object> needs;  // what must be there before
    const char* command = "";
    std::function<int()> create;  // empty: the NP has it anyhow, or what comes later makes it
    std::vector<Setting> settings;
};

struct EntryItem {
    Object object;
    const Fil* fil;
};

// The sending order is that of the lists: items before the entries by their kinds, entries, items after them.
struct Wanted {
    std::vector<Item> items;  // ordered by kind
    std::vector<EntryItem> entries;
    std::vector<u32> unmapped_ports;  // the NP has no numbers for them, and is not told of them
    std::vector<Object> untold;       // memberships by protocol of which the database does not know the group
};

Wanted wanted_by(const Descriptor& d);

// What an entry needs and how it is to be in the NP.
std::vector<Object> needs_of(const Fil& fil, u32 FID);
std::map<std::string, std::string> settings_of(const Descriptor& d, const Fil& fil);

// Of wanted.cpp and wanted_qos.cpp: the items of one kind of object.
using Items = std::vector<Item>;
void add_phports(Items& items, const Descriptor& d);
void add_ports(Items& items, const Descriptor& d);
void add_vlans(Items& items, const Descriptor& d);
void add_groups(Items& items, const Descriptor& d);
void add_protocols(Items& items, const Descriptor& d);
void add_members(Items& items, const Descriptor& d);
void add_bindings(Items& items, const Descriptor& d);
void add_streams(Items& items, const Descriptor& d);
void add_queues(Items& items, const Descriptor& d);
void add_attachments(Items& items, const Descriptor& d);
void add_lines(Items& items, const Descriptor& d);
void add_list_bindings(Items& items, const Descriptor& d);
void add_mirrors(Items& items, const Descriptor& d);
void add_port_states(Items& items, const Descriptor& d);

}  // namespace zelfdb
