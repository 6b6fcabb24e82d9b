// MAC entries: chains, counters, the free list.
#include <set>

#include "check/mend.h"
#include "core/chains.h"

namespace zelfdb::audit {
namespace {

// A port or a VLAN that is there, and its table.
struct MendedOwner {
    Name name;
    const char* chain;
    FdbHead& table;
    Offset at;
    bool is_port;
};

struct Chain {
    std::vector<u32> order;
    bool cut = false;
};

struct Entries {
    Mend& m;
    const Store<Fil>& store;
    std::vector<bool> live;
    std::vector<bool> gone;  // were in a chain, and are dropped
};

// By what the addresses of two entries are told apart.
u64 number_of(const Mac& mac)
{
    u64 number = 0;
    for (const u8 byte : mac.byte) number = number << 8 | byte;
    return number;
}

const char* refuse(const Mend& m, const MendedOwner& owner, u32 bucket, const Fil& fil)
{
    if (fil.offset != owner.at) return "it is of another table: it is dropped";
    if (mac_bucket(fil.mac) != bucket) return "it is in a wrong bucket: it is dropped";
    if (owner.is_port)
        return fil.fil_type == fil_local && fil.port == 0 ? nullptr : "it is no local entry: it is dropped";
    if (fil.fil_type == fil_dynamic)
        return fil.fil_permit == 0 ? nullptr : "it cannot have been learned: it is dropped";
    if (fil.fil_type != fil_static) return "it is of no kind that a VLAN has: it is dropped";
    if (!(fil.fil_flag & fil_flag_no_port) && !m.port(fil.port)) return "its port is not there: it is dropped";
    return nullptr;
}

void drop(Entries& e, const Name& owner, u32 fid, const Fil& fil, const char* why)
{
    dropped(e.m, entry_of(owner, fil.mac), why);
    touch(e.m, Touched::Kind::entry, fid, false, 0, fil.mac);
}

// Takes an entry into a chain, or drops it.
void accept(Entries& e, const MendedOwner& owner, u32 bucket, u32 number, Chain& chain, std::set<u64>& addresses)
{
    Fil& fil = record(e.store, number);
    const char* why = refuse(e.m, owner, bucket, fil);
    const bool again = !why && !addresses.insert(number_of(fil.mac)).second;
    if (why || again) {
        e.gone[number] = true;
        if (again)
            dropped(e.m, entry_of(owner.name, fil.mac), "it is there twice: one is dropped");
        else
            drop(e, owner.name, owner.table.FID, fil, why);
        return;
    }
    e.live[number] = true;
    chain.order.push_back(number);
    if (fil.fil_type != fil_dynamic && (set(fil.lastValidate, 0) | set(fil.last_seen, 0)))
        did(e.m, entry_of(owner.name, fil.mac), "it was not learned and has no time any more");
}

std::vector<MendedOwner> owners_of(Mend& m)
{
    std::vector<MendedOwner> owners;
    for (const u32 number : m.ports.order) {
        Port& port = record(m.stores.port, number);
        owners.push_back({{a_port, port.PortID},
                          "MAC bucket %d of port %d",
                          port.fdb,
                          offset_of(m.stores.port.base, port.fdb),
                          true});
    }
    for (const u32 number : m.vlans.order) {
        Vlan& vlan = record(m.stores.vlan, number);
        owners.push_back(
            {{a_vlan, vlan.VID}, "MAC bucket %d of VLAN %d", vlan.fdb, offset_of(m.stores.vlan.base, vlan.fdb), false});
    }
    return owners;
}

std::set<u64> addresses_in(const Entries& e, const Chain& chain)
{
    std::set<u64> addresses;
    for (const u32 number : chain.order) addresses.insert(number_of(record(e.store, number).mac));
    return addresses;
}

// What has links and is in no chain: back into the chain that it says it is in, if that was cut; else free.
void settle_lost(Entries& e, const std::vector<MendedOwner>& owners, std::vector<Chain>& chains,
                 const std::vector<bool>& on_free, std::vector<u32>& come)
{
    std::map<u32, std::size_t> by_offset;
    for (std::size_t i = 0; i < owners.size(); ++i) by_offset[owners[i].at.value] = i;
    for (u32 number = 0; number < e.store.count; ++number) {
        if (e.live[number] || on_free[number]) continue;
        const Fil& fil = record(e.store, number);
        if (!e.gone[number] && fil.link.next == none && fil.link.prev == none) continue;
        const auto owner = by_offset.find(fil.offset.value);
        const u32 bucket = mac_bucket(fil.mac);
        if (!e.gone[number] && owner != by_offset.end()) {
            Chain& chain = chains[owner->second * bucket_count + bucket];
            if (chain.cut) {
                std::set<u64> addresses = addresses_in(e, chain);
                accept(e, owners[owner->second], bucket, number, chain, addresses);
                if (!e.live[number]) come.push_back(number);
                continue;
            }
        }
        come.push_back(number);
        if (e.gone[number]) continue;
        const bool known = owner != by_offset.end();
        drop(e, known ? owners[owner->second].name : Name{"a table that is gone"},
             known ? owners[owner->second].table.FID : 0, fil, "it was half made or half removed: its record is freed");
    }
}

void write_chains(Entries& e, const MendedOwner& owner, const Chain* chains)
{
    for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
        const std::vector<u32>& order = chains[bucket].order;
        Offset& head = owner.table.bucket[bucket];
        const Offset old_head = head;
        const std::vector<u32> moved = write_list<&Fil::link>(e.store, head, order);
        if (!moved.empty() || head != old_head)
            did(e.m, {owner.chain, bucket, static_cast<u32>(owner.name.first)}, "its links are set");
        for (const u32 place : moved)
            touch(e.m, Touched::Kind::entry, owner.table.FID, true, 0, record(e.store, order[place]).mac);
    }
}

struct Counts {
    u32 all = 0;
    u32 dynamic = 0;
    u32 user = 0;
    u32 system = 0;
};

Counts count(const Entries& e, const MendedOwner& owner, const Chain* chains)
{
    Counts counts;
    for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
        for (const u32 number : chains[bucket].order) {
            const Fil& fil = record(e.store, number);
            ++counts.all;
            if (fil.fil_type == fil_dynamic) ++counts.dynamic;
            ++(fil.fil_permit == permit_system ? counts.system : counts.user);
        }
    }
    FdbHead& table = owner.table;
    if (set(table.nfil, counts.all) | set(table.nfil_d, counts.dynamic) | set(table.nfil_usr, counts.user) |
        set(table.nfil_sys, counts.system)) {
        did(e.m, owner.name, "its entries are counted anew");
    }
    return counts;
}

}  // namespace

void mend_entries(Mend& m)
{
    const Store<Fil>& store = m.stores.fil;
    Entries e{m, store, std::vector<bool>(store.count), std::vector<bool>(store.count)};
    std::vector<bool> on_free(store.count);
    const Met free = meet<&Fil::link>(store, on_free, m.header.fil_free);
    const std::vector<MendedOwner> owners = owners_of(m);
    std::vector<Chain> chains(owners.size() * bucket_count);
    std::vector<bool> chained(store.count);
    for (std::size_t i = 0; i < owners.size(); ++i) {
        for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
            const Met met = meet<&Fil::link>(store, chained, owners[i].table.bucket[bucket]);
            Chain& chain = chains[i * bucket_count + bucket];
            chain.cut = met.cut;
            std::set<u64> addresses;
            for (const u32 number : met.numbers) accept(e, owners[i], bucket, number, chain, addresses);
        }
    }
    std::vector<u32> come;
    settle_lost(e, owners, chains, on_free, come);

    Counts sum;
    for (std::size_t i = 0; i < owners.size(); ++i) {
        const Chain* const own = &chains[i * bucket_count];
        write_chains(e, owners[i], own);
        const Counts counts = count(e, owners[i], own);
        sum.user += counts.user;
        sum.system += counts.system;
    }
    write_free_list<&Fil::link>(m, "free entry list", store, m.header.fil_free, free.numbers, come, e.live);
    if (set(m.header.nfil_usr_all, sum.user) | set(m.header.nfil_sys_all, sum.system))
        did(m, "header", "the entries of all tables are counted anew");
}

}  // namespace zelfdb::audit
