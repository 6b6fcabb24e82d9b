// One MAC entry at a time: the rules of adding, removing and making room.
#include "fdb/entries.h"

#include "np/fdb_commands.h"

namespace zelfdb {

void count_entry(Header& header, FdbHead& fdb, const Fil& fil)
{
    if (fil.fil_permit == permit_system) {
        ++fdb.nfil_sys;
        ++header.nfil_sys_all;
    } else {
        ++fdb.nfil_usr;
        ++header.nfil_usr_all;
    }
    if (fil.fil_type == fil_dynamic) ++fdb.nfil_d;
    ++fdb.nfil;
}

void uncount_entry(Header& header, FdbHead& fdb, const Fil& fil)
{
    if (fil.fil_permit == permit_system) {
        --header.nfil_sys_all;
        --fdb.nfil_sys;
    } else {
        --header.nfil_usr_all;
        --fdb.nfil_usr;
    }
    if (fil.fil_type == fil_dynamic) --fdb.nfil_d;
    --fdb.nfil;
}

void drop_entry(const Descriptor& d, FdbHead& fdb, Fil& fil)
{
    Header& header = header_of(d);
    hRem_fil_by_mac(fdb_base(d), header, fdb, fil);
    uncount_entry(header, fdb, fil);
    free_fil(fdb_base(d), header, &fil);
}

u32 rem_fdbentry(const Descriptor& d, u32 type, FdbHead& fdb, const Mac& mac, Fil* entry, u32 permit)
{
    if (!entry) entry = lookup_fil_by_mac(fdb_base(d), header_of(d), fdb, mac);
    if (!entry) return ZELFDB_NO_MAC;
    if (entry->fil_permit != permit) return ZELFDB_PERMIT_DIFFERS;
    if (entry->fil_type != type) return ZELFDB_TYPE_DIFFERS;

    rem_fil_from_NP(d, *entry);  // the database entry goes whatever the NP says
    drop_entry(d, fdb, *entry);
    return ZELFDB_DONE;
}

namespace {

// Only a permit of exactly 0 is held to the limit; other values than 0 and 1 pass but are counted as user entries. That
// is deliberate: platform daemons mark their own user entries so.
bool user_limit_reached(const Header& header, u32 permit)
{
    return permit == 0 && header.fdb_userarea != 0 && header.nfil_usr_all >= header.fdb_userarea;
}

u32 add_entry(const Descriptor& d, FdbHead& fdb, const Fil& wanted)
{
    Header& header = header_of(d);
    const Base base = fdb_base(d);
    if (user_limit_reached(header, wanted.fil_permit)) return ZELFDB_FDB_FULL;

    Fil* fil = alloc_fil(base, header);
    if (!fil) {
        evict_one_dynamic(d, fdb);
        fil = alloc_fil(base, header);
    }
    if (!fil) return ZELFDB_FDB_FULL;

    *fil = wanted;
    // On refusal the record is deliberately not given back: the NP may have installed the entry before its answer failed,
    // and its offset is the cookie by which the NP would refer to it. Relied on by whoever audits the NP's table.
    if (add_fil_to_NP(d, *fil) != 0) return ZELFDB_FDB_FULL;

    hAdd_fil_by_mac_tail(base, header, fdb, *fil);
    count_entry(header, fdb, *fil);
    return ZELFDB_DONE;
}

Fil entry_of(const Descriptor& d, const FdbHead& fdb, const Mac& mac, u32 type, u32 flag, u32 permit, u32 port)
{
    Fil fil{};
    fil.link = {none, none};
    fil.offset = offset_of(main_base(d), fdb);
    fil.port = port;
    fil.fil_flag = flag;
    fil.fil_type = type;
    fil.fil_permit = permit;
    fil.mac = mac;
    return fil;
}

}  // namespace

u32 add_fdbentry_local(const Descriptor& d, FdbHead& fdb, const Mac& mac, u32 flag, u32 permit)
{
    if (lookup_fil_by_mac(fdb_base(d), header_of(d), fdb, mac)) return ZELFDB_MAC_EXISTS;
    return add_entry(d, fdb, entry_of(d, fdb, mac, fil_local, flag, permit, 0));
}

u32 add_fdbentry_static(const Descriptor& d, FdbHead& fdb, const Mac& mac, u32 flag, u32 permit, u32 port)
{
    if (Fil* const present = lookup_fil_by_mac(fdb_base(d), header_of(d), fdb, mac)) {
        if (present->fil_type != fil_dynamic) return ZELFDB_MAC_EXISTS;
        // Gone for good even if the add below fails; its own removal can make the room that the add needs.
        rem_fdbentry(d, fil_dynamic, fdb, mac, present, 0);
    }
    return add_entry(d, fdb, entry_of(d, fdb, mac, fil_static, flag, permit, port));
}

int evict_one_dynamic(const Descriptor& d, FdbHead& fdb)
{
    Header& header = header_of(d);
    FdbHead* victim = fdb.nfil_d != 0 ? &fdb : nullptr;
    for (Vlan& vlan : walk(all_vlans, main_base(d), header)) {
        if (victim) break;
        if (vlan.fdb.nfil_d != 0) victim = &vlan.fdb;
    }
    if (!victim) return 0;

    Fil* last = nullptr;
    for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
        for (Fil& fil : chain(fils_by_mac, fdb_base(d), *victim, bucket)) {
            last = &fil;
            if (fil.fil_type != fil_dynamic) continue;
            rem_fdbentry(d, fil_dynamic, *victim, fil.mac, &fil, 0);
            return 0;
        }
    }
    // A counter that promised a DYNAMIC entry where there is none: the removal refuses, nothing is freed.
    if (last) rem_fdbentry(d, fil_dynamic, *victim, last->mac, last, 0);
    return 0;
}

}  // namespace zelfdb
