// The database that everything is measured on: one port, 64 VLANs, and as many learned stations as a row asks for.
#pragma once

#include <vector>

#include "core/descriptor.h"
#include "fdb/learning.h"

namespace bench {

using namespace zelfdb;

inline constexpr u32 the_port = 1;
inline constexpr u16 the_VID = 32;  // in the middle of the VLAN list
inline constexpr u32 vlan_count = 64;
inline constexpr u32 entries_max = 65536;

// The stations have numbers. They are learned and forgotten in that order, so that the resident ones are always the last
// entries numbers, and the entry of number n is entry[slot_of(n)].
struct Site {
    Descriptor* descriptor;
    Vlan* vlan;  // where the stations are learned
    Port* port;
    u32 entries;
    u64 next_number;
    std::vector<Offset> entry;
    Offset spare;  // the record that the next station gets
    // What the next block works on, one for each operation.
    std::vector<FrameHeader> frame;
    std::vector<zelfdb_learn_ind> indication;
};
extern Site site;

inline u32 slot_of(u64 number) { return static_cast<u32>(number % site.entries); }

// Lays the database out anew and learns the first entries stations through the library.
void lay_out(u32 entries);

// Whether the table holds the stations that it must and nothing else, all counters agree and both locks are free.
bool stations_are_resident();

// Every byte of the main segment but the history, which counts on.
std::vector<u8> main_bytes();

// Blocks of stations that are not known yet, for whoever learns each and forgets the oldest after it.
void prepare_new_stations(u32 ops);

// The oldest resident station, which makes room for the next.
class Oldest {
public:
    Oldest() : slot_(slot_of(site.next_number)) {}
    [[nodiscard]] Offset entry() const { return site.entry[slot_]; }
    // The station just learned has the spare record; the oldest one's is the next spare.
    void replace()
    {
        const Offset freed = site.entry[slot_];
        site.entry[slot_] = site.spare;
        site.spare = freed;
        if (++slot_ == site.entries) slot_ = 0;
    }

private:
    u32 slot_;
};

// Learns the block's stations through the library, and forgets the oldest one after each.
void learn_and_forget(u32 ops);
// The same, to prepare a walk of the whole table: one that is walked again and again unchanged, the processor learns by heart.
void change_stations(u32 ops);

// Blocks of resident stations, drawn at random, with the cookie that the NP would report.
void prepare_resident_stations(u32 ops);
// Stations that are not known, and stay so.
void prepare_unknown_stations(u32 ops);

}  // namespace bench
