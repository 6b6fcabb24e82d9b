// The MAC table, keyed by FID and address. Called by the FDB commands, the frame path and the readers.
#pragma once

#include "state.h"

namespace softnp {

// The bytes that a table of this capacity takes behind the state.
u64 mac_table_size(u32 capacity);

// Prepares a table whose memory is zero.
void format_mac_table(State& state);
void wipe_mac_table(State& state);

// Null if there is no such entry.
softnp_mac_entry* find_mac(State& state, u32 FID, const u8 mac[6]);
// The entry of that key, a new one if it was absent: then all but its key is zero. Null if the table is full.
softnp_mac_entry* find_or_make_mac(State& state, u32 FID, const u8 mac[6]);
// False if there was none.
bool remove_mac(State& state, u32 FID, const u8 mac[6]);

// The entry in a slot, counted from 0; null if the slot is free. Slots at or beyond mac.high are free.
const softnp_mac_entry* mac_in_slot(const State& state, u32 slot);

// Rebuilds the buckets, the free list and the count from the entries that are there.
void rebuild_mac_table(State& state);

}  // namespace softnp
