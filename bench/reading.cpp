// Reading the forwarding database: look-ups, a listing, an aging sweep that finds nothing to do.
#include <benchmark/benchmark.h>
#include <cstring>

#include "bench/floors.h"
#include "bench/measure.h"
#include "bench/site.h"
#include "core/chains.h"

namespace bench {
namespace {

// ---- Look-ups by MAC, by the function that every operation on entries begins with.

u64 found_by_library = 0;
u64 found_by_floor = 0;

void look_up(u32 ops)
{
    const Descriptor& d = *site.descriptor;
    u64 sum = 0;
    for (u32 i = 0; i < ops; ++i) {
        const Fil* const fil = lookup_fil_by_mac(fdb_base(d), header_of(d), site.vlan->fdb, site.frame[i].source);
        if (fil) sum += offset_of(fdb_base(d), *fil).value;
    }
    found_by_library = sum;
}

void tight_look_up(u32 ops)
{
    u8* const base = fdb_base(*site.descriptor).bytes;
    const FdbHead& fdb = site.vlan->fdb;
    u64 sum = 0;
    for (u32 i = 0; i < ops; ++i) {
        const Mac& mac = site.frame[i].source;
        const Offset found = floors::find(base, fdb.bucket[floors::bucket_of(mac)], mac);
        if (found != none) sum += found.value;
    }
    found_by_floor = sum;
}

// On the last block's stations, which both look up once more.
bool same_found()
{
    const auto ops = static_cast<u32>(site.frame.size());
    look_up(ops);
    tight_look_up(ops);
    return found_by_library != 0 && found_by_library == found_by_floor && stations_are_resident();
}

Measured hit(const char* name, u32 entries, u32 ops)
{
    return {name,
            1.25,
            ops,
            entries,
            lay_out,
            prepare_resident_stations,
            {"lookup_fil_by_mac", look_up},
            {{"walk", tight_look_up}},
            same_found};
}

// ---- An unknown address through an operation: locks, the walk of a whole chain, locks.

u64 not_found = 0;
u64 asked = 0;

void look_up_in_operation(u32 ops)
{
    u32 err = 0;
    for (u32 i = 0; i < ops; ++i) {
        zelfdb_delete_sfil2(site.descriptor, the_VID, site.frame[i].source.byte, 0, &err);
        if (err == ZELFDB_NO_MAC) ++not_found;
    }
    asked += ops;
}

void tight_look_up_in_operation(u32 ops)
{
    u8* const base = fdb_base(*site.descriptor).bytes;
    const FdbHead& fdb = site.vlan->fdb;
    for (u32 i = 0; i < ops; ++i) {
        floors::take_both();
        const Mac& mac = site.frame[i].source;
        if (floors::find(base, fdb.bucket[floors::bucket_of(mac)], mac) == none) ++not_found;
        floors::give_both();
    }
    asked += ops;
}

void lay_out_for_operation(u32 entries)
{
    not_found = asked = 0;
    lay_out(entries);
}

bool never_found() { return not_found == asked && stations_are_resident(); }

// ---- A listing of all entries, on a descriptor that the operation opens for itself.

constexpr u32 list_max = 8192;

zelfdb_ropebuf* listed = nullptr;

void lay_out_for_listing(u32 entries)
{
    lay_out(entries);
    zelfdb_free_ropebuf(listed);
    listed = zelfdb_alloc_ropebuf(list_max, sizeof(zelfdb_fdb_record));
}

void list(u32 ops)
{
    for (u32 i = 0; i < ops; ++i) {
        zelfdb_fdb_cursor cursor{};
        zelfdb_get_all_dfil(the_VID, &cursor, listed);
    }
}

void tight_write(zelfdb_fdb_record& out, const Fil& fil, u32 bucket, u32 now_s)
{
    const auto age_s = static_cast<i32>(now_s - fil.last_seen);
    out.bucket = bucket;
    std::memcpy(out.mac, fil.mac.byte, sizeof out.mac);
    out.flag = static_cast<u8>(fil.fil_flag & 0xFF);
    out.permit = static_cast<u8>(fil.fil_permit & 0xFF);
    out.port = (fil.fil_flag & fil_flag_no_port) ? 0 : fil.port;
    out.age_s = age_s < 0 ? 0 : age_s;
}

void tight_list_entries(u8* base, const FdbHead& fdb, zelfdb_ropebuf& buffer, u32 now_s)
{
    auto* const first = reinterpret_cast<zelfdb_fdb_record*>(buffer.records);
    auto* const end = first + buffer.capacity;
    auto* out = first;
    for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
        floors::for_chain(base, fdb.bucket[bucket], [&](const Fil& fil) {
            if (fil.fil_type == fil_dynamic && out != end) tight_write(*out++, fil, bucket, now_s);
        });
    }
    buffer.total = fdb.nfil;
    buffer.filled = static_cast<u32>(out - first);
}

void tight_list(u32 ops)
{
    for (u32 i = 0; i < ops; ++i) {
        const floors::Attached attached = floors::attach_both();
        floors::take_both();
        const u32 now_s = floors::clock_s();
        const Vlan& vlan = floors::at<Vlan>(attached.main, attached.header().vlan_index[the_VID]);
        tight_list_entries(attached.fdb, vlan.fdb, *listed, now_s);
        floors::give_both_main_first();
        floors::detach_both(attached);
    }
}

std::vector<u8> list_with(void (*how)(u32 ops))
{
    const std::size_t size_bytes = listed->capacity * sizeof(zelfdb_fdb_record);
    listed->filled = listed->total = 0;
    std::memset(listed->records, 0, size_bytes);
    how(1);
    if (listed->filled != site.entries || listed->total != site.entries) return {};
    return {listed->records, listed->records + size_bytes};
}

// Library and floor must write the same bytes. The ages are only the same within one second, hence the second try.
bool same_listing()
{
    for (int attempt = 0; attempt < 2; ++attempt) {
        const std::vector<u8> by_library = list_with(list);
        if (!by_library.empty() && by_library == list_with(tight_list)) return true;
    }
    return false;
}

// ---- A sweep over entries of which none is due.

u64 due = 0;

void sweep(u32 ops)
{
    for (u32 i = 0; i < ops; ++i) zelfdb_do_aging(site.descriptor);
}

// What a sweep turns aside for.
[[gnu::noinline]] void tight_age(const Fil& fil)
{
    ++due;
    benchmark::DoNotOptimize(fil);
}

void tight_sweep_chain(const floors::Attached& attached, Offset head, u32 now_s)
{
    floors::for_chain(attached.fdb, head, [&](const Fil& fil) {
        if (fil.fil_type != fil_dynamic) return;
        const Port& port = floors::at<Port>(attached.main, attached.header().port_index[fil.port - 1]);
        if (now_s - fil.last_seen > port.aging) [[unlikely]]
            tight_age(fil);
    });
}

void tight_sweep(u32 ops)
{
    const floors::Attached attached{main_base(*site.descriptor).bytes, fdb_base(*site.descriptor).bytes};
    for (u32 i = 0; i < ops; ++i) {
        const u32 now_s = floors::clock_s();
        floors::take_both();
        for (Offset here = attached.header().vlan_head; here != none;) {
            const Vlan& vlan = floors::at<Vlan>(attached.main, here);
            here = vlan.vlan_link.next;
            for (const Offset head : vlan.fdb.bucket) tight_sweep_chain(attached, head, now_s);
        }
        floors::give_both();
    }
}

void lay_out_for_sweep(u32 entries)
{
    due = 0;
    lay_out(entries);
    site.port->aging = 1000000;
}

bool nothing_was_due() { return due == 0 && stations_are_resident(); }

Measured idle_sweep(const char* name, u32 entries)
{
    return {name,
            1.25,
            1,
            entries,
            lay_out_for_sweep,
            change_stations,
            {"zelfdb_do_aging", sweep},
            {{"locks, clock, walk of all", tight_sweep}},
            nothing_was_due};
}

}  // namespace

const std::vector<Measured> reading_rows = {
    hit("lookup/1k", 1024, 4000),
    hit("lookup/8k", 8192, 4000),
    hit("lookup/64k", 65536, 500),
    {"lookup_in_operation/8k",
     1.25,
     1000,
     8192,
     lay_out_for_operation,
     prepare_unknown_stations,
     {"zelfdb_delete_sfil2", look_up_in_operation},
     {{"locks, walk", tight_look_up_in_operation}},
     never_found},
    {"list/8k",
     1.25,
     1,
     8192,
     lay_out_for_listing,
     change_stations,
     {"zelfdb_get_all_dfil", list},
     {{"attach, locks, clock, walk", tight_list}},
     same_listing},
    idle_sweep("aging_idle/8k", 8192),
    idle_sweep("aging_idle/64k", 65536),
};

}  // namespace bench
