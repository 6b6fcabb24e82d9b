// The device's state as it lies in the shared segment: fixed-width fields, no pointers. A zeroed state, but for its
// header, is an empty device. Read and changed only under the lock in its header.
#pragma once

#include "command.h"
#include "list_state.h"
#include "mirror_state.h"
#include "queue_state.h"

#include <pthread.h>
#include <type_traits>

namespace softnp {

inline constexpr u32 PHPORT_SLOTS = SOFTNP_PHPORTS + 1;
inline constexpr u32 FID_COUNT = 65536;

// Set once the state below is ready to use.
inline constexpr u32 STATE_READY = 0x534E5052;

struct Header {
    u32 ready;
    u32 state_size;    // sizeof(State): with pointer_size, what tells a segment of another build
    u32 pointer_size;  // of the processes that share the lock
    u32 mac_capacity;
    u32 refuse_init;
    u32 pad;
    u64 owner_deaths;
    alignas(8) pthread_mutex_t lock;
};

struct Clock {
    u32 base_tick_ms;
    u32 follows;  // 1 = the tick is base_tick_ms plus what the monotonic clock went on since base_time_ms
    u64 base_time_ms;
};

// A set of NP ports.
struct PortSet {
    u32 word[3];
};

inline bool contains(const PortSet& set, u32 port) { return (set.word[port / 32] >> (port % 32) & 1) != 0; }
inline void insert(PortSet& set, u32 port) { set.word[port / 32] |= 1u << (port % 32); }
inline void erase(PortSet& set, u32 port) { set.word[port / 32] &= ~(1u << (port % 32)); }
inline bool is_empty(const PortSet& set) { return (set.word[0] | set.word[1] | set.word[2]) == 0; }
inline u32 size(const PortSet& set)
{
    return static_cast<u32>(__builtin_popcount(set.word[0]) + __builtin_popcount(set.word[1]) +
                            __builtin_popcount(set.word[2]));
}

struct Port {
    u32 exists;
    softnp_port settings;
    softnp_binding bindings[SOFTNP_BINDINGS];  // settings.binding_count of them, oldest first
};

struct Vlan {
    u16 exists;
    u16 FID;
    u8 ignore_fdb;
    u8 learning_off;
    u8 pad[2];
    PortSet members;
    PortSet tagged;          // of the members
    PortSet protocol_based;  // of the members
};

struct Groups {
    u32 count;
    softnp_group group[SOFTNP_GROUPS];  // oldest first, without gaps
};

// Who uses a FID, kept so that an entry's FID is known to be valid without a search.
struct FidUse {
    u16 vlans;
    u16 np_port;  // 0 = not a port's
};

// Links are slot numbers plus 1, so that 0 is none.
struct MacSlot {
    softnp_mac_entry entry;
    u32 used;  // set last when an entry is made, cleared first when it goes: what a rebuild trusts
    u32 next;  // in its bucket, or in the free list
};

struct MacTable {
    u32 entry_count;
    u32 high;  // slots 0..high-1 have been used
    u32 free_head;
    u32 bucket_mask;
};

struct EventQueue {
    u32 first;
    u32 count;
    softnp_event event[SOFTNP_EVENTS];
};

inline constexpr u32 LOG_PAYLOAD = 120;

struct LogRecord {
    u32 tick_ms;
    u32 process_id;
    u32 chain_index;
    i32 error;
    u32 kind;
    u32 payload_size;
    u32 args[MAX_ARGS];
    u32 words[MAX_WORDS];
    u8 payload[LOG_PAYLOAD];
};

// Serial number n lies in record n % SOFTNP_LOG_ENTRIES.
struct Log {
    u64 next_serial;
    LogRecord record[SOFTNP_LOG_ENTRIES];
};

inline constexpr u32 ANY_KIND = KIND_COUNT;

struct Refusal {
    u32 kind;  // or ANY_KIND
    u32 nth;   // commands of the kind still to come, this one included; 0 = every one
    i32 how;
    i32 value;
};

struct Refusals {
    u32 count;
    Refusal order[SOFTNP_REFUSALS];  // oldest first
};

struct KindCounters {
    u64 sent;
    u64 refused;
};

struct Counters {
    u64 frames;
    u64 dropped[SOFTNP_REASON_COUNT];
    u64 events_raised;
    u64 events_lost;
    u64 commands;
    u64 commands_refused;
    u64 commands_lost;
    u64 unqueued;
    u64 copies;
    u64 copies_lost;
    softnp_port_counters port[PORT_SLOTS];
    KindCounters kind[KIND_COUNT];
};

struct State {
    Header header;
    Clock clock;
    Counters counters;
    Refusals refusals;
    Groups groups;
    Port port[PORT_SLOTS];
    softnp_phport phport[PHPORT_SLOTS];
    Vlan vlan[VLAN_SLOTS];
    u16 member_tagtype[VLAN_SLOTS][PORT_SLOTS];  // of the members
    FidUse fid[FID_COUNT];
    Qos qos;
    Lists lists;
    Mirrors mirrors;
    EventQueue events;
    Log log;
    MacTable mac;
    // behind it: u32 buckets[mac.bucket_mask + 1], then MacSlot slots[header.mac_capacity]
};
static_assert(std::is_trivially_copyable_v<State> && std::is_standard_layout_v<State>);
static_assert(sizeof(State) % 8 == 0);
static_assert(sizeof(softnp_mac_entry) == 20 && sizeof(softnp_event) == 36 && sizeof(MacSlot) == 28);

}  // namespace softnp
