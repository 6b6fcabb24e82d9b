// MAC entries: chains, owners, kinds, counters.
#pragma once

#include "support/invariants/vlans.h"

namespace zelfdb::audit {

inline std::string called(const Mac& mac)
{
    char text[18];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac.byte[0], mac.byte[1], mac.byte[2],
                  mac.byte[3], mac.byte[4], mac.byte[5]);
    return text;
}

inline Pool<Fil> fils_of(const Audit& a) { return {"fil", a.fdb, 0, a.header.nfil}; }

struct EntryCounts {
    u32 all = 0;
    u32 dynamic = 0;
    u32 user = 0;
    u32 system = 0;

    void add(const Fil& fil)
    {
        ++all;
        if (fil.fil_type == fil_dynamic) ++dynamic;
        ++(fil.fil_permit == permit_system ? system : user);
    }
};

inline void check_entry(Audit& a, const std::string& owner, const FdbHead& table, u32 bucket, const Fil& fil)
{
    const std::string name = owner + ": entry " + called(fil.mac);
    if (mac_bucket(fil.mac) != bucket) {
        note(a, name + " is in bucket " + dec(bucket) + ", not " + dec(mac_bucket(fil.mac)));
    }
    if (fil.offset != offset_of(a.main, table)) note(a, name + " names the FDB at " + hex(fil.offset) + " as its own");

    const bool local = fil.fil_type == fil_local;
    const bool dynamic = fil.fil_type == fil_dynamic;
    const bool type_fits = table.kind == kind_port_fdb ? local : dynamic || fil.fil_type == fil_static;
    if (!type_fits) note(a, name + " has type " + dec(fil.fil_type));
    if (local && fil.port != 0) note(a, name + " is local and names port " + dec(fil.port));
    if (dynamic && fil.fil_permit != 0) note(a, name + " is learned and has permit " + dec(fil.fil_permit));
    if (!dynamic && (fil.lastValidate != 0 || fil.last_seen != 0)) note(a, name + " is not learned and has a time");
}

inline EntryCounts check_table(Audit& a, const std::string& owner, const FdbHead& table, Marks& marks)
{
    EntryCounts counts;
    std::set<std::string> macs;
    for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
        if (table.bucket[bucket] == none) continue;
        const std::string chain = owner + ": MAC bucket " + dec(bucket);
        for (const Fil* fil : walk<&Fil::link>(a, chain, fils_of(a), marks, table.bucket[bucket])) {
            check_entry(a, owner, table, bucket, *fil);
            if (!macs.insert(called(fil->mac)).second)
                note(a, owner + ": entry " + called(fil->mac) + " is there twice");
            counts.add(*fil);
        }
    }
    expect_equal(a, owner + ": nfil", table.nfil, counts.all);
    expect_equal(a, owner + ": nfil_d", table.nfil_d, counts.dynamic);
    expect_equal(a, owner + ": nfil_usr", table.nfil_usr, counts.user);
    expect_equal(a, owner + ": nfil_sys", table.nfil_sys, counts.system);
    return counts;
}

// A record that the NP refused stays taken, on no chain and not counted. One whose VLAN went while there was no memory to
// clear it stays taken too, and counted: so with records of that sort about, the sums may be larger than what is linked.
inline void check_sum(Audit& a, const char* what, u32 stored, u32 linked, u32 taken)
{
    if (stored >= linked && stored - linked <= taken) return;
    expect_equal(a, what, stored, linked);
}

inline void check_entries(Audit& a, const InUse<Port>& ports, const InUse<Vlan>& vlans)
{
    const Pool<Fil> pool = fils_of(a);
    Marks marks(pool.count);
    walk<&Fil::link>(a, "free fil list", pool, marks, a.header.fil_free);
    EntryCounts sum;
    const auto add = [&sum](const EntryCounts& counts) {
        sum.user += counts.user;
        sum.system += counts.system;
    };
    for (const Port* port : ports.records) add(check_table(a, called(*port), port->fdb, marks));
    for (const Vlan* vlan : vlans.records) add(check_table(a, called(*vlan), vlan->fdb, marks));

    EntryCounts taken;
    for (u32 i = 0; i < pool.count; ++i) {
        if (marks[i] == 0) taken.add(pool.at(pool.offset(i)));
    }
    check_sum(a, "nfil_usr_all", a.header.nfil_usr_all, sum.user, taken.user);
    check_sum(a, "nfil_sys_all", a.header.nfil_sys_all, sum.system, taken.system);
}

}  // namespace zelfdb::audit
