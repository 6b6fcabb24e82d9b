#include "bench/site.h"

#include <sys/sem.h>
#include <sys/shm.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "core/chains.h"
#include "core/indexes.h"
#include "fdb/entries.h"

namespace bench {

Site site{};

namespace {

std::minstd_rand random_number;  // always the same sequence

void must(bool held, const char* what)
{
    if (held) return;
    std::fprintf(stderr, "bench_zelfdb: %s\n", what);
    std::exit(2);
}

// A different address for every number below 2^40, unicast, spread over the buckets as random addresses are.
Mac station_address(u64 number)
{
    constexpr u64 mask = (u64{1} << 40) - 1;
    u64 mixed = number * 0x9E3779B97FULL & mask;
    mixed ^= mixed >> 21;
    mixed = mixed * 0xBF58476D1DULL & mask;
    mixed ^= mixed >> 19;
    Mac mac{{0x02, 0, 0, 0, 0, 0}};
    for (u32 i = 1; i < 6; ++i) mac.byte[i] = static_cast<u8>(mixed >> (8 * (i - 1)) & 0xFF);
    return mac;
}

FrameHeader frame_of(const Mac& source)
{
    return {Mac{{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}}, source, {0x08, 0x00}, {}};
}

zelfdb_learn_ind indication_of(Offset known)
{
    zelfdb_learn_ind indication{};
    indication.port = the_port;
    indication.tick_ms = 1000;
    indication.cookie = static_cast<i32>(known.value);
    return indication;
}

void create_ports_and_vlans()
{
    u32 err = 0;
    must(zelfdb_create_port(the_port, 1, ZELFDB_PORT_ETHER, &err) == 0, "cannot create the port");
    for (i32 vid = 1; vid <= static_cast<i32>(vlan_count); ++vid) {
        const std::string name = "vlan" + std::to_string(vid);
        must(zelfdb_create_vlan(name.c_str(), &vid, &err) == 0, "cannot create a VLAN");
    }
    must(zelfdb_add_port_to_vlan(the_VID, the_port, 0, 0x8100, 0, 0, &err) == 0, "cannot join the VLAN");
}

Offset learn(u64 number)
{
    const Offset record = header_of(*site.descriptor).fil_free;
    const FrameHeader frame = frame_of(station_address(number));
    const zelfdb_learn_ind indication = indication_of(none);
    must(zelfdb_add_dfil_by_learn_ind(site.descriptor, &frame, &indication) == 0, "cannot learn a station");
    must(header_of(*site.descriptor).fil_free != record, "a station was not learned");
    return record;
}

void resize_block(u32 ops)
{
    site.frame.resize(ops);
    site.indication.resize(ops);
}

bool lock_is_free(int key) { return semctl(semget(key, 1, 0), 0, GETVAL) == 1; }

}  // namespace

void lay_out(u32 entries)
{
    const zelfdb_counts counts{4, vlan_count + 16, entries_max + 1};
    zelfdb_close_descriptor(site.descriptor);
    must(zelfdb_init(&counts) == 0, "cannot lay out the database");
    site.descriptor = zelfdb_open_descriptor();
    must(site.descriptor, "cannot open a descriptor");
    create_ports_and_vlans();
    const Base base = main_base(*site.descriptor);
    site.vlan = lookup_vlan(base, header_of(*site.descriptor), the_VID);
    site.port = known_port(base, header_of(*site.descriptor), the_port);

    site.entries = entries;
    site.entry.clear();
    for (u64 number = 0; number < entries; ++number) site.entry.push_back(learn(number));
    site.next_number = entries;
    site.spare = header_of(*site.descriptor).fil_free;
}

bool stations_are_resident()
{
    if (!lock_is_free(main_key) || !lock_is_free(fdb_key)) return false;
    const Descriptor& d = *site.descriptor;
    Header& header = header_of(d);
    u32 linked = 0;
    for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
        for ([[maybe_unused]] const Fil& fil : chain(fils_by_mac, fdb_base(d), site.vlan->fdb, bucket)) {
            if (++linked > site.entries) return false;
        }
    }
    if (linked != site.entries || site.vlan->fdb.nfil != site.entries || site.vlan->fdb.nfil_d != site.entries)
        return false;
    if (header.nfil_usr_all != site.entries || header.fil_free != site.spare) return false;
    for (u64 number = site.next_number - site.entries; number < site.next_number; ++number) {
        const Fil* const fil = lookup_fil_by_mac(fdb_base(d), header, site.vlan->fdb, station_address(number));
        if (!fil || offset_of(fdb_base(d), *fil) != site.entry[slot_of(number)]) return false;
        if (fil->port != the_port || fil->fil_type != fil_dynamic || fil->fil_permit != 0 || fil->fil_flag != 0)
            return false;
    }
    return true;
}

std::vector<u8> main_bytes()
{
    const Header& header = header_of(*site.descriptor);
    const u8* const first = main_base(*site.descriptor).bytes;
    shmid_ds status{};
    shmctl(shmget(main_key, 0, 0), IPC_STAT, &status);
    std::vector<u8> bytes(first, first + status.shm_segsz);
    std::memset(bytes.data() + offsetof(Header, history), 0, sizeof header.history);
    return bytes;
}

void prepare_new_stations(u32 ops)
{
    resize_block(ops);
    for (u32 i = 0; i < ops; ++i) {
        site.frame[i] = frame_of(station_address(site.next_number + i));
        site.indication[i] = indication_of(none);
    }
}

void learn_and_forget(u32 ops)
{
    Descriptor& d = *site.descriptor;
    const Offset& first_free = header_of(d).fil_free;
    Oldest oldest;
    for (u32 i = 0; i < ops; ++i) {
        zelfdb_add_dfil_by_learn_ind(&d, &site.frame[i], &site.indication[i]);
        must(first_free != site.spare, "a station was not learned");
        drop_entry(d, site.vlan->fdb, record_at<Fil>(fdb_base(d), oldest.entry()));
        oldest.replace();
    }
    site.next_number += ops;
}

void change_stations(u32)
{
    const u32 changed = std::min(site.entries / 8, 1024U);
    prepare_new_stations(changed);
    learn_and_forget(changed);
}

void prepare_resident_stations(u32 ops)
{
    resize_block(ops);
    for (u32 i = 0; i < ops; ++i) {
        const u64 number = site.next_number - 1 - random_number() % site.entries;
        site.frame[i] = frame_of(station_address(number));
        site.indication[i] = indication_of(site.entry[slot_of(number)]);
    }
}

void prepare_unknown_stations(u32 ops)
{
    resize_block(ops);
    for (u32 i = 0; i < ops; ++i) site.frame[i] = frame_of(station_address((u64{1} << 39) + random_number()));
}

}  // namespace bench
