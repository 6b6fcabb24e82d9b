// Learning: indications that add a station, and indications that change nothing.
#include "bench/floors.h"
#include "bench/measure.h"
#include "bench/site.h"

namespace bench {
namespace {

// ---- A new station. So that the table keeps its size, the oldest one is forgotten after each: unlinked, counted out and its
// record given back, without a word to the NP. Floor B does the same but for the counting.

// FLOOR_A.
void locks_and_clock(u32 ops)
{
    for (u32 i = 0; i < ops; ++i) {
        floors::clock_s();
        floors::take_both();
        floors::give_both_main_first();
    }
}

void tight_insert(u8* base, Header& header, FdbHead& fdb, u32 bucket, const Mac& mac, u32 now_s)
{
    const Offset self = header.fil_free;
    Fil& fil = floors::at<Fil>(base, self);
    header.fil_free = fil.link.next;
    if (header.fil_free != none) floors::at<Fil>(base, header.fil_free).link.prev = none;

    fil.offset = Offset{static_cast<u32>(reinterpret_cast<u8*>(&fdb) - reinterpret_cast<u8*>(&header))};
    fil.port = the_port;
    fil.fil_flag = 0;
    fil.fil_type = fil_dynamic;
    fil.fil_permit = 0;
    fil.mac = mac;
    fil.lastValidate = 1000;
    fil.last_seen = now_s;

    fil.link = {fdb.bucket[bucket], self};
    if (fil.link.next != none) floors::at<Fil>(base, fil.link.next).link.prev = self;
    fdb.bucket[bucket] = self;
}

void tight_remove(u8* base, Header& header, FdbHead& fdb, Offset self)
{
    Fil& fil = floors::at<Fil>(base, self);
    const Link link = fil.link;
    if (link.prev == self || link.prev == none) {
        fdb.bucket[floors::bucket_of(fil.mac)] = link.next;
        if (link.next != none) floors::at<Fil>(base, link.next).link.prev = none;
    } else {
        floors::at<Fil>(base, link.prev).link.next = link.next;
        if (link.next != none) floors::at<Fil>(base, link.next).link.prev = link.prev;
    }
    fil.link = {header.fil_free, self};
    if (header.fil_free != none) floors::at<Fil>(base, header.fil_free).link.prev = self;
    header.fil_free = self;
}

// FLOOR_B.
void walk_insert_unlink(u32 ops)
{
    u8* const base = fdb_base(*site.descriptor).bytes;
    Header& header = header_of(*site.descriptor);
    FdbHead& fdb = site.vlan->fdb;
    const u32 now_s = floors::clock_s();
    Oldest oldest;
    for (u32 i = 0; i < ops; ++i) {
        const Mac& mac = site.frame[i].source;
        const u32 bucket = floors::bucket_of(mac);
        if (floors::find(base, fdb.bucket[bucket], mac) != none) continue;
        tight_insert(base, header, fdb, bucket, mac, now_s);
        tight_remove(base, header, fdb, oldest.entry());
        oldest.replace();
    }
    site.next_number += ops;
}

Measured new_station(const char* name, u32 entries, u32 ops)
{
    return {name,
            1.15,
            ops,
            entries,
            lay_out,
            prepare_new_stations,
            {"learn and forget", learn_and_forget},
            {{"A: locks and clock", locks_and_clock}, {"B: walk, insert, unlink", walk_insert_unlink}},
            stations_are_resident};
}

// ---- A resident station on its own port: the indication is looked into and changes nothing.

u64 learned_anew = 0;
u64 found_in_place = 0;
u64 expected_in_place = 0;

void learn_known(u32 ops)
{
    Descriptor& d = *site.descriptor;
    for (u32 i = 0; i < ops; ++i) {
        if (zelfdb_add_dfil_by_learn_ind(&d, &site.frame[i], &site.indication[i]) != 0) ++learned_anew;
    }
}

void tight_learn_known(u32 ops)
{
    u8* const base = fdb_base(*site.descriptor).bytes;
    const FdbHead& fdb = site.vlan->fdb;
    for (u32 i = 0; i < ops; ++i) {
        floors::clock_s();
        floors::take_both();
        const Mac& mac = site.frame[i].source;
        const Offset known = floors::find(base, fdb.bucket[floors::bucket_of(mac)], mac);
        if (known.value == static_cast<u32>(site.indication[i].cookie) &&
            floors::at<Fil>(base, known).port == site.indication[i].port)
            ++found_in_place;
        floors::give_both_main_first();
    }
    expected_in_place += ops;
}

void lay_out_known(u32 entries)
{
    learned_anew = found_in_place = expected_in_place = 0;
    lay_out(entries);
}

bool nothing_changed() { return learned_anew == 0 && found_in_place == expected_in_place && stations_are_resident(); }

Measured known_station(const char* name, u32 entries, u32 ops)
{
    return {name,
            1.25,
            ops,
            entries,
            lay_out_known,
            prepare_resident_stations,
            {"learn", learn_known},
            {{"locks, clock, walk", tight_learn_known}},
            nothing_changed};
}

}  // namespace

const std::vector<Measured> learning_rows = {
    new_station("learn_new/1k", 1024, 1000),     new_station("learn_new/8k", 8192, 1000),
    new_station("learn_new/64k", 65536, 500),    known_station("learn_known/1k", 1024, 1000),
    known_station("learn_known/8k", 8192, 1000), known_station("learn_known/64k", 65536, 500),
};

}  // namespace bench
