// MAC entries: chains, owners, kinds, counters.
#include "check/audit.h"
#include "core/chains.h"

namespace zelfdb::audit {
namespace {

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

// A port or a VLAN, and its table.
struct Owner {
    Name name;
    const char* chain;
    const FdbHead& table;
    bool is_port;
};

bool port_is_there(const Audit& a, u32 port_id) { return port_id <= port_id_max && a.port_by_id[port_id]; }

bool names_no_port(const Audit& a, const Fil& fil)
{
    const bool bound =
        fil.fil_type == fil_dynamic || (fil.fil_type == fil_static && !(fil.fil_flag & fil_flag_no_port));
    return bound && !port_is_there(a, fil.port);
}

void check_type(Audit& a, const Owner& owner, const Name& name, const Fil& fil)
{
    const bool fits =
        owner.is_port ? fil.fil_type == fil_local : fil.fil_type == fil_static || fil.fil_type == fil_dynamic;
    if (!fits) {
        error(a, name, "fil_type", &fil.fil_type, dec(fil.fil_type), text(owner.is_port ? "1" : "2 or 3"),
              "ports have local entries, VLANs static and learned ones");
    }
    if (fil.fil_type == fil_local && fil.port != 0) {
        error(a, name, "port", &fil.port, dec(fil.port), dec(0), "a local entry leads to no port");
    }
    if (fil.fil_type == fil_dynamic && fil.fil_permit != 0) {
        error(a, name, "fil_permit", &fil.fil_permit, dec(fil.fil_permit), dec(0), "a learned entry is nobody's own");
    }
    if (fil.fil_type == fil_dynamic) return;
    if (fil.lastValidate != 0 || fil.last_seen != 0) {
        const u32& time = fil.last_seen != 0 ? fil.last_seen : fil.lastValidate;
        error(a, name, fil.last_seen != 0 ? "last_seen" : "lastValidate", &time, dec(time), dec(0),
              "entries that are not learned have no time");
    }
}

void check_entry(Audit& a, const Owner& owner, u32 bucket, const Fil& fil)
{
    const Name name = entry_of(owner.name, fil.mac);
    if (mac_bucket(fil.mac) != bucket) {
        error(a, name, "bucket", &fil.mac, dec(bucket), dec(mac_bucket(fil.mac)), "the address says which");
    }
    const Offset self = offset_of(a.stores.port.base, owner.table);
    if (fil.offset != self) error(a, name, "offset", &fil.offset, at(fil.offset), at(self), "it names the owner's FDB");
    check_type(a, owner, name, fil);
    if (fil.fil_type == fil_static && names_no_port(a, fil)) {
        error(a, name, "port", &fil.port, dec(fil.port), text("a port"), "static entries go with their port");
    }
}

// One address, one entry. Equal ones meet in their chain.
void expect_unique(Audit& a, const Owner& owner, std::vector<const Fil*> chain)
{
    const auto less = [](const Fil* x, const Fil* y) { return std::memcmp(&x->mac, &y->mac, sizeof x->mac) < 0; };
    std::stable_sort(chain.begin(), chain.end(), less);
    for (std::size_t i = 1; i < chain.size(); ++i) {
        if (!same_mac(chain[i]->mac, chain[i - 1]->mac)) continue;
        error(a, entry_of(owner.name, chain[i]->mac), "mac", &chain[i]->mac, address(chain[i]->mac),
              text("another address"), "an address is in a table once");
    }
}

void expect_counts(Audit& a, const Owner& owner, const EntryCounts& counts)
{
    const FdbHead& table = owner.table;
    expect_equal(a, owner.name, "nfil", table.nfil, counts.all, "it counts the entries of its chains");
    expect_equal(a, owner.name, "nfil_d", table.nfil_d, counts.dynamic, "it counts the learned entries");
    expect_equal(a, owner.name, "nfil_usr", table.nfil_usr, counts.user, "it counts the user entries");
    expect_equal(a, owner.name, "nfil_sys", table.nfil_sys, counts.system, "it counts the system entries");
}

EntryCounts check_table(Audit& a, const Owner& owner, Marks& marks)
{
    EntryCounts counts;
    u32 stale = 0;
    const Fil* first_stale = nullptr;
    for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
        const Offset& head = owner.table.bucket[bucket];
        if (head == none) continue;
        const Name chain{owner.chain, bucket, static_cast<u32>(owner.name.first)};
        const auto fils = walk_list<&Fil::link>(a, chain, a.stores.fil, marks, head);
        for (const Fil* fil : fils) {
            check_entry(a, owner, bucket, *fil);
            counts.add(*fil);
            if (fil->fil_type != fil_dynamic || !names_no_port(a, *fil)) continue;
            if (stale++ == 0) first_stale = fil;
        }
        if (fils.size() > 1) expect_unique(a, owner, fils);
    }
    if (stale != 0) {
        notice(a, owner.name, "entries of no port", first_stale, dec(stale), dec(0),
               "learned entries stay when their port is deleted; the first lies here");
    }
    expect_counts(a, owner, counts);
    return counts;
}

// Entries that are taken and on no chain. Those that the NP refused were never linked; those whose owner went while there
// was no memory to clear it keep their links and stay counted.
struct Taken {
    u32 all = 0;
    u32 linked = 0;
    const Fil* first = nullptr;

    void add(const Fil& fil)
    {
        if (all++ == 0) first = &fil;
        if (fil.link.next != none || fil.link.prev != none) ++linked;
    }
};

void check_taken(Audit& a, const char* field, const u32& stored, u32 chained, const Taken& taken)
{
    const u32 surplus = stored - chained;
    if (stored < chained || surplus > taken.all) {
        expect_equal(a, "header", field, stored, chained, "it sums up the entries of all tables");
    } else if (surplus > 0) {
        notice(a, "header", field, &stored, dec(stored), dec(chained),
               "entries whose owner went while there was no memory stay counted");
    }
    if (taken.linked > (stored < chained ? 0 : surplus)) {
        error(a, "entry records", "number lost", taken.first, dec(taken.all), dec(0),
              "an entry is free or in a chain; the first that is neither lies here");
    } else if (taken.all > 0) {
        notice(a, "entry records", "number taken", taken.first, dec(taken.all), dec(0),
               "entries that the NP refused stay taken, in no chain; the first lies here");
    }
}

}  // namespace

void check_entries(Audit& a)
{
    const Store<Fil>& store = a.stores.fil;
    Marks marks(store.count);
    walk_list<&Fil::link>(a, "free entry list", store, marks, a.header.fil_free);
    EntryCounts sum;
    const auto check_owner = [&](const Owner& owner) {
        const EntryCounts counts = check_table(a, owner, marks);
        sum.user += counts.user;
        sum.system += counts.system;
    };
    for (const Port* port : a.ports.records)
        check_owner({{a_port, port->PortID}, "MAC bucket %d of port %d", port->fdb, true});
    for (const Vlan* vlan : a.vlans.records)
        check_owner({{a_vlan, vlan->VID}, "MAC bucket %d of VLAN %d", vlan->fdb, false});

    Taken user;
    Taken system;
    for (u32 i = 0; i < store.count; ++i) {
        if (marks[i] != 0) continue;
        const Fil& fil = store.at(store.offset(i));
        (fil.fil_permit == permit_system ? system : user).add(fil);
    }
    check_taken(a, "nfil_usr_all", a.header.nfil_usr_all, sum.user, user);
    check_taken(a, "nfil_sys_all", a.header.nfil_sys_all, sum.system, system);
}

}  // namespace zelfdb::audit
