// The repair of a database whose user died in the middle of a change. What is derived is made anew from the records that are
// whole; what was half made or half taken away is finished or dropped. Payloads of whole records are not changed.
//
// Which records are whole, by the order in which operations link and unlink them:
//
//   ports, VLANs, streams, queues, profiles: on the list of their kind, or led to by the index slot of their own ID; one that
//     is also free needs both. IDs are in range, and of two records with one ID the one that is indexed stays. A VLAN has a
//     VID of 1 to 4094 and a name that no other has. A creation counts from the first link on, a deletion from the last.
//   physical ports: all four, always.
//   memberships: on the list of the VLAN that they are a part of, with its VID and a port that is there, each port once. Of a
//     list that is cut also those that their port's list leads to. One that was never linked leaves the port without its
//     PVID again.
//   entries: in a chain of a port or VLAN that is there, of the kind, owner and bucket that this asks for, each address once.
//     Of a chain that is cut also those that say that they are in it. Others with links are freed; those without, which the
//     NP refused, stay taken.
//   lines: on the list of a profile and not free, 256 of them at most.
//   bindings of memberships to profiles, of streams to ports, of queues to streams: on that list, and named so by the record.
//   bindings to protocol groups: of a group that is there and a membership by protocol, wherever in the port's table.
//   protocol groups: any row in use, and any behind them that is not empty. Removing closes the gap from the front, so of two
//     rows with the same group or protocol the one behind is whole.
//   mirrors: an enabled one that lacks what enabling asks for is disabled.
//
// Counters follow from the records, the buffer budget and the marks of physical ports too. The counts of untagged memberships
// and the history stay as they are: operations leave them stale on purpose.
#pragma once

#include "check/check.h"

namespace zelfdb {

// One thing that a repair does.
struct Deed {
    bool drops;  // an object, or what was left of it, goes
    std::string object;
    std::string what;
    bool operator==(const Deed&) const = default;
};

// "VLAN 10: its index slot is set"
std::string text_of(const Deed& deed);

// An object that the NP may know in another way than the repaired database.
struct Touched {
    enum class Kind { port, vlan, membership, entry, stream, queue, profile, group, mirror };
    Kind kind;
    u32 id;       // of the VLAN for a membership, the FID for an entry; a profile stands for its lines too
    u32 other;    // the membership's port
    Mac mac;      // the entry's
    bool exists;  // afterwards
};

// A repair that has been worked out and not made yet.
struct Repair {
    Report before;
    Report after;
    std::vector<Deed> deeds;
    u64 all_deeds = 0;  // of them the first findings_max are kept
    u64 drops = 0;
    std::vector<Touched> touched;  // each once
    std::vector<u8> main;          // what the segments become; empty when there is nothing to repair, or no way
    std::vector<u8> fdb;

    [[nodiscard]] bool needed() const { return before.errors != 0; }
    [[nodiscard]] bool possible() const { return needed() && !main.empty(); }
};

// Reads the segments and changes nothing; callers hold both locks, or have the database to themselves. Ends whatever the
// bytes say. There is nothing to do when a check finds no error, and no way when the segments are too short for what their
// header counts: only then is a repair that is needed not possible.
Repair plan_repair(const Segments& segments);

// Writes what was planned over the segments that it was planned for.
void make_repair(const Repair& repair, void* main, void* fdb);

}  // namespace zelfdb
