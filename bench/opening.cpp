// Operations that open a descriptor of their own: a small reader, and a VLAN from creation to deletion. The NP of the
// benchmarks gives its handle at once, so there is no handshake in the figures.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "bench/floors.h"
#include "bench/measure.h"
#include "bench/site.h"

namespace bench {
namespace {

u64 wrong = 0;

void lay_out_and_reset(u32 entries)
{
    wrong = 0;
    lay_out(entries);
}

bool nothing_went_wrong() { return wrong == 0 && stations_are_resident(); }

// ---- The smallest operation: two attaches, the main lock, two words, two detaches.

void read_summary(u32 ops)
{
    for (u32 i = 0; i < ops; ++i) {
        zelfdb_summary summary{};
        if (zelfdb_get_summary(&summary) != 0 || summary.vlan_count != vlan_count) ++wrong;
    }
}

void tight_read_summary(u32 ops)
{
    for (u32 i = 0; i < ops; ++i) {
        const floors::Attached attached = floors::attach_both();
        floors::take(main_key);
        const Header& header = attached.header();
        zelfdb_summary summary{1, 4094, header.nvlan, header.vlan_count};
        benchmark::DoNotOptimize(summary);
        floors::give(main_key);
        floors::detach_both(attached);
        if (summary.vlan_count != vlan_count) ++wrong;
    }
}

// ---- One with both locks: a look-up in a small table.

void look_up_unknown(u32 ops)
{
    for (u32 i = 0; i < ops; ++i) {
        u32 err = 0;
        zelfdb_delete_sfil(the_VID, site.frame[i].source.byte, 0, &err);
        if (err != ZELFDB_NO_MAC) ++wrong;
    }
}

void tight_look_up_unknown(u32 ops)
{
    for (u32 i = 0; i < ops; ++i) {
        const floors::Attached attached = floors::attach_both();
        floors::take_both();
        const FdbHead& fdb = floors::at<Vlan>(attached.main, attached.header().vlan_index[the_VID]).fdb;
        const Mac& mac = site.frame[i].source;
        if (floors::find(attached.fdb, fdb.bucket[floors::bucket_of(mac)], mac) != none) ++wrong;
        floors::give_both();
        floors::detach_both(attached);
    }
}

// ---- A VLAN's life, among 64 others.

constexpr char new_name[] = "benchmark";
constexpr u16 new_VID = 48 + vlan_count;

void live_and_die(u32 ops)
{
    for (u32 i = 0; i < ops; ++i) {
        u32 err = 0;
        i32 vid = new_VID;
        if (zelfdb_create_vlan(new_name, &vid, &err) != 0) ++wrong;
        if (zelfdb_delete_vlan(new_VID, &err) != 0) ++wrong;
    }
}

u32 tight_name_bucket(const char* name)
{
    u32 sum = 0;
    for (; *name; ++name) sum += static_cast<u8>(*name);
    return sum & 0xFF;
}

bool tight_name_in_use(u8* base, const Header& header, u32 bucket)
{
    for (Offset here = header.vlan_name[bucket]; here != none;) {
        const Vlan& vlan = floors::at<Vlan>(base, here);
        if (std::strcmp(vlan.name, new_name) == 0) return true;
        here = vlan.name_link.next;
    }
    return false;
}

void tight_fill(Vlan& vlan)
{
    std::memset(vlan.name, 0, sizeof vlan.name);
    std::memcpy(vlan.name, new_name, sizeof new_name);
    vlan.npv = 0;
    vlan.upv = 0;
    vlan.pv_head = none;
    vlan.VID = new_VID;
    vlan.vlan_flag = 0;
    vlan.fdb.FID = new_VID;
    vlan.fdb.kind = kind_vlan_fdb;
    vlan.fdb.nfil = vlan.fdb.nfil_d = vlan.fdb.nfil_usr = vlan.fdb.nfil_sys = vlan.fdb.learnlimit = 0;
    std::memset(static_cast<void*>(vlan.fdb.bucket), 0xFF, sizeof vlan.fdb.bucket);
    vlan.sld_lastMsgTick = 0;
    vlan.sld_msgcnt = 0;
}

// The list is never empty here, and never begins with the new VLAN.
void tight_enqueue(u8* base, const Header& header, Vlan& vlan, Offset self)
{
    Offset before = header.vlan_head;
    Offset next = floors::at<Vlan>(base, before).vlan_link.next;
    while (next != none && floors::at<Vlan>(base, next).VID <= new_VID) {
        before = next;
        next = floors::at<Vlan>(base, before).vlan_link.next;
    }
    vlan.vlan_link = {next, before};
    floors::at<Vlan>(base, before).vlan_link.next = self;
    if (next != none) floors::at<Vlan>(base, next).vlan_link.prev = self;
}

void tight_create()
{
    const floors::Attached attached = floors::attach_both();
    floors::take_both();
    u8* const base = attached.main;
    Header& header = attached.header();
    const u32 bucket = tight_name_bucket(new_name);
    if (tight_name_in_use(base, header, bucket) || header.vlan_index[new_VID] != none) ++wrong;

    const Offset self = header.vlan_free;
    Vlan& vlan = floors::at<Vlan>(base, self);
    header.vlan_free = vlan.vlan_link.next;
    if (header.vlan_free != none) floors::at<Vlan>(base, header.vlan_free).vlan_link.prev = none;
    tight_fill(vlan);
    tight_enqueue(base, header, vlan, self);
    ++header.vlan_count;
    vlan.name_link = {header.vlan_name[bucket], self};
    if (vlan.name_link.next != none) floors::at<Vlan>(base, vlan.name_link.next).name_link.prev = self;
    header.vlan_name[bucket] = self;
    header.vlan_index[new_VID] = self;
    ++header.history[vlans_created];
    floors::give_both();
    floors::detach_both(attached);
}

// The one that was just created: it is the first of its name's chain, and not the first VLAN.
void tight_delete()
{
    const floors::Attached attached = floors::attach_both();
    floors::take_both();
    u8* const base = attached.main;
    Header& header = attached.header();
    const Offset self = header.vlan_index[new_VID];
    Vlan& vlan = floors::at<Vlan>(base, self);
    if (vlan.pv_head != none) ++wrong;
    for (const Offset head : vlan.fdb.bucket) {
        if (head != none) ++wrong;
    }

    header.vlan_name[tight_name_bucket(vlan.name)] = vlan.name_link.next;
    if (vlan.name_link.next != none) floors::at<Vlan>(base, vlan.name_link.next).name_link.prev = none;
    header.vlan_index[new_VID] = none;
    const Link link = vlan.vlan_link;
    floors::at<Vlan>(base, link.prev).vlan_link.next = link.next;
    if (link.next != none) floors::at<Vlan>(base, link.next).vlan_link.prev = link.prev;
    --header.vlan_count;
    vlan.vlan_link = {header.vlan_free, self};
    if (header.vlan_free != none) floors::at<Vlan>(base, header.vlan_free).vlan_link.prev = self;
    header.vlan_free = self;
    ++header.history[vlans_deleted];
    floors::give_both();
    floors::detach_both(attached);
}

void tight_live_and_die(u32 ops)
{
    for (u32 i = 0; i < ops; ++i) {
        tight_create();
        tight_delete();
    }
}

// Library and floor must leave the same bytes, after the creation and after the deletion.
bool same_bytes()
{
    u32 err = 0;
    i32 vid = new_VID;
    zelfdb_create_vlan(new_name, &vid, &err);
    const std::vector<u8> created = main_bytes();
    zelfdb_delete_vlan(new_VID, &err);
    const std::vector<u8> deleted = main_bytes();
    tight_create();
    if (main_bytes() != created) return false;
    tight_delete();
    return main_bytes() == deleted && created != deleted && nothing_went_wrong();
}

}  // namespace

const std::vector<Measured> opening_rows = {
    {"self_opening/main_lock",
     1.25,
     100,
     256,
     lay_out_and_reset,
     nullptr,
     {"zelfdb_get_summary", read_summary},
     {{"attach, lock, read, detach", tight_read_summary}},
     nothing_went_wrong},
    {"self_opening/both_locks",
     1.25,
     100,
     256,
     lay_out_and_reset,
     prepare_unknown_stations,
     {"zelfdb_delete_sfil", look_up_unknown},
     {{"attach, locks, walk, detach", tight_look_up_unknown}},
     nothing_went_wrong},
    {"vlan_create_delete",
     1.25,
     50,
     256,
     lay_out_and_reset,
     nullptr,
     {"zelfdb_create_vlan, zelfdb_delete_vlan", live_and_die},
     {{"the same on the records", tight_live_and_die}},
     same_bytes},
};

}  // namespace bench
