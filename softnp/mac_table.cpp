// The MAC table: a hash table with chains, in the device's segment behind the state.
#include "mac_table.h"

#include <cstring>

namespace softnp {

namespace {

u32 bucket_count(u32 capacity)
{
    u32 count = 16;
    while (count < capacity) count *= 2;
    return count;
}

u32* buckets(State& state) { return reinterpret_cast<u32*>(&state + 1); }

MacSlot* slots(State& state) { return reinterpret_cast<MacSlot*>(buckets(state) + state.mac.bucket_mask + 1); }

const MacSlot* slots(const State& state) { return slots(const_cast<State&>(state)); }

// FNV-1a over values, not memory, with a last mix for the low bits that a bucket takes.
u32 hash(u32 FID, const u8 mac[6])
{
    u32 sum = 2166136261u;
    sum = (sum ^ (FID & 0xFF)) * 16777619u;
    sum = (sum ^ (FID >> 8 & 0xFF)) * 16777619u;
    for (u32 index = 0; index < 6; index++) sum = (sum ^ mac[index]) * 16777619u;
    return sum ^ sum >> 15;
}

u32& bucket_of(State& state, u32 FID, const u8 mac[6])
{
    return buckets(state)[hash(FID, mac) & state.mac.bucket_mask];
}

bool is_entry(const MacSlot& slot, u32 FID, const u8 mac[6])
{
    return slot.entry.FID == FID && std::memcmp(slot.entry.mac, mac, 6) == 0;
}

// The link that leads to the entry's slot; a link holding 0 if it is absent.
u32& link_to(State& state, u32 FID, const u8 mac[6])
{
    u32* link = &bucket_of(state, FID, mac);
    while (*link != 0 && !is_entry(slots(state)[*link - 1], FID, mac)) link = &slots(state)[*link - 1].next;
    return *link;
}

// The number plus 1 of a free slot, taken; 0 if all are used.
u32 take_slot(State& state)
{
    const u32 link = state.mac.free_head;
    if (link != 0) {
        state.mac.free_head = slots(state)[link - 1].next;
        return link;
    }
    if (state.mac.high == state.header.mac_capacity) return 0;
    return ++state.mac.high;
}

}  // namespace

u64 mac_table_size(u32 capacity)
{
    return static_cast<u64>(bucket_count(capacity)) * sizeof(u32) + static_cast<u64>(capacity) * sizeof(MacSlot);
}

void format_mac_table(State& state) { state.mac.bucket_mask = bucket_count(state.header.mac_capacity) - 1; }

void wipe_mac_table(State& state)
{
    std::memset(buckets(state), 0, (static_cast<size_t>(state.mac.bucket_mask) + 1) * sizeof(u32));
    std::memset(static_cast<void*>(slots(state)), 0, state.mac.high * sizeof(MacSlot));
    state.mac.entry_count = 0;
    state.mac.high = 0;
    state.mac.free_head = 0;
}

softnp_mac_entry* find_mac(State& state, u32 FID, const u8 mac[6])
{
    const u32 link = link_to(state, FID, mac);
    return link != 0 ? &slots(state)[link - 1].entry : nullptr;
}

softnp_mac_entry* find_or_make_mac(State& state, u32 FID, const u8 mac[6])
{
    softnp_mac_entry* entry = find_mac(state, FID, mac);
    if (entry) return entry;
    const u32 link = take_slot(state);
    if (link == 0) return nullptr;

    MacSlot& slot = slots(state)[link - 1];
    slot.entry = {};
    std::memcpy(slot.entry.mac, mac, 6);
    slot.entry.FID = static_cast<u16>(FID);
    u32& bucket = bucket_of(state, FID, mac);
    slot.next = bucket;
    bucket = link;
    slot.used = 1;
    state.mac.entry_count++;
    return &slot.entry;
}

bool remove_mac(State& state, u32 FID, const u8 mac[6])
{
    u32& link = link_to(state, FID, mac);
    if (link == 0) return false;
    const u32 freed = link;
    MacSlot& slot = slots(state)[freed - 1];
    slot.used = 0;
    link = slot.next;
    slot.next = state.mac.free_head;
    state.mac.free_head = freed;
    state.mac.entry_count--;
    return true;
}

const softnp_mac_entry* mac_in_slot(const State& state, u32 slot)
{
    if (slot >= state.mac.high || slots(state)[slot].used == 0) return nullptr;
    return &slots(state)[slot].entry;
}

void rebuild_mac_table(State& state)
{
    if (state.mac.high > state.header.mac_capacity) state.mac.high = state.header.mac_capacity;
    std::memset(buckets(state), 0, (static_cast<size_t>(state.mac.bucket_mask) + 1) * sizeof(u32));
    state.mac.free_head = 0;
    state.mac.entry_count = 0;

    for (u32 link = state.mac.high; link != 0; link--) {
        MacSlot& slot = slots(state)[link - 1];
        u32& head = slot.used != 0 ? bucket_of(state, slot.entry.FID, slot.entry.mac) : state.mac.free_head;
        slot.next = head;
        head = link;
        state.mac.entry_count += slot.used != 0 ? 1 : 0;
    }
}

}  // namespace softnp
