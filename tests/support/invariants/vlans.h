// VLANs: list, index, names, memberships on both sides, protocol groups and the ports' bindings to them.
#pragma once

#include <cstring>
#include <map>
#include <set>

#include "core/chains.h"
#include "support/invariants/ports.h"

namespace zelfdb::audit {

inline Pool<Vlan> vlans_of(const Audit& a)
{
    return {"vlan", a.main, static_cast<u32>(a.layout.vlan), a.header.nvlan, sizeof(VlanSlot)};
}
inline PvPool pvs_of(const Audit& a) { return {"pv", a.main, static_cast<u32>(a.layout.vlan), a.header.nvlan}; }

inline std::string called(const Vlan& vlan) { return "VLAN " + dec(vlan.VID); }
inline std::string called(const Pv& pv) { return "membership of port " + dec(pv.port_id) + " in VLAN " + dec(pv.VID); }

// A membership in use: whose list it is on, and which one it is.
struct Membership {
    Vlan* vlan;
    Pv* pv;
};

inline bool name_ends(const Vlan& vlan) { return std::memchr(vlan.name, 0, 31) != nullptr; }

inline void check_names(Audit& a, const Pool<Vlan>& pool, const InUse<Vlan>& used)
{
    std::set<std::string> names;
    for (const Vlan* vlan : used.records) {
        if (!name_ends(*vlan)) {
            note(a, called(*vlan) + ": the name has more than 30 characters");
        } else if (!names.insert(vlan->name).second) {
            note(a, called(*vlan) + ": another VLAN has the name \"" + vlan->name + "\" too");
        }
    }
    Marks marks(pool.count);
    for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
        if (a.header.vlan_name[bucket] == none) continue;
        const std::string chain = "name bucket " + dec(bucket);
        for (const Vlan* vlan : walk<&Vlan::name_link>(a, chain, pool, marks, a.header.vlan_name[bucket])) {
            if (!used.by_number[pool.number(offset_of(a.main, *vlan))]) {
                note(a, chain + " leads to " + hex(offset_of(a.main, *vlan)) + ", where no VLAN is in use");
            } else if (name_ends(*vlan) && name_bucket(vlan->name) != bucket) {
                note(a, chain + " holds " + called(*vlan) + ", whose name belongs to bucket " +
                            dec(name_bucket(vlan->name)));
            }
        }
    }
    for (const Vlan* vlan : used.records) {
        if (marks[pool.number(offset_of(a.main, *vlan))] == 0) note(a, called(*vlan) + " is in no name bucket");
    }
}

inline void check_vlan_fields(Audit& a, const Vlan& vlan)
{
    if (vlan.VID < 1 || vlan.VID > 4094) note(a, called(vlan) + " has no VID of 1..4094");
    if (vlan.fdb.FID != vlan.VID) note(a, called(vlan) + ": FID is " + hex(vlan.fdb.FID));
    if (vlan.fdb.kind != kind_vlan_fdb) note(a, called(vlan) + ": kind of FDB is " + dec(vlan.fdb.kind));
}

// The VLAN's eight memberships are free or on its list; every VLAN record keeps its own, in use or not.
inline void check_pvs_of_vlan(Audit& a, Vlan& vlan, bool in_use, Marks& marks, std::vector<Membership>& memberships)
{
    const PvPool pool = pvs_of(a);
    const Offset slot = offset_of(a.main, vlan);
    const std::string name = in_use ? called(vlan) : "unused vlan at " + hex(slot);
    std::vector<Pv*> mine = walk<&Pv::vlan_link>(a, "free pv list of " + name, pool, marks, vlan.pv_free);
    if (in_use) {
        const std::string list = "pv list of " + name;
        const auto members = walk<&Pv::vlan_link>(a, list, pool, marks, vlan.pv_head);
        expect_order<&Pv::port_id>(a, list, members, Order::ascending);
        expect_equal(a, name + ": npv", vlan.npv, members.size());
        for (Pv* pv : members) {
            memberships.push_back({&vlan, pv});
            if (pv->VID != vlan.VID) note(a, list + " holds a " + called(*pv));
            if (pv->pv_flag & ~(pv_tagged | pv_protocol)) note(a, called(*pv) + ": pv_flag is " + hex(pv->pv_flag));
        }
        mine.insert(mine.end(), members.begin(), members.end());
    }
    for (const Pv* pv : mine) {
        const Offset at = offset_of(a.main, *pv);
        if (pool.slot_of(at) != pool.slot_of(slot)) note(a, name + " holds the pv at " + hex(at) + " of another VLAN");
    }
    if (mine.size() != pvs_per_vlan) {
        note(a, name + " has " + dec(mine.size()) + " pv records, free and in use, not " + dec(pvs_per_vlan));
    }
}

inline void check_pvs_of_port(Audit& a, Port& port, Marks& marks, const std::set<const Pv*>& in_use)
{
    const std::string list = "pv list of " + called(port);
    const auto pvs = walk<&Pv::port_link>(a, list, pvs_of(a), marks, port.pv_head);
    expect_order<&Pv::VID>(a, list, pvs, Order::ascending);
    expect_equal(a, called(port) + ": npv", port.npv, pvs.size());
    for (const Pv* pv : pvs) {
        if (pv->port_id != port.PortID) note(a, list + " holds a " + called(*pv));
        if (!in_use.count(pv)) note(a, list + " leads to " + hex(offset_of(a.main, *pv)) + ", where no pv is in use");
    }
}

inline void check_members(Audit& a, const std::vector<Membership>& memberships, const InUse<Port>& ports)
{
    const PvPool pool = pvs_of(a);
    std::set<const Pv*> in_use;
    for (const Membership& membership : memberships) in_use.insert(membership.pv);
    Marks marks(pool.count);
    std::map<u32, const Port*> port_by_id;
    for (Port* port : ports.records) {
        check_pvs_of_port(a, *port, marks, in_use);
        if (port->PortID >= 1 && port->PortID <= 199) port_by_id[port->PortID] = port;
    }

    std::map<const Vlan*, u32> virtual_interfaces;
    for (const auto& [vlan, pv] : memberships) {
        const auto port = port_by_id.find(pv->port_id);
        if (port == port_by_id.end()) {
            note(a, called(*pv) + ": there is no such port");
            continue;
        }
        if (marks[pool.number(offset_of(a.main, *pv))] == 0) note(a, called(*pv) + " is not on the port's list");
        if (port->second->p_type == port_type_vif && ++virtual_interfaces[vlan] == 2) {
            note(a, called(*vlan) + " has more than one virtual-interface member");
        }
    }
}

inline void check_group_table(Audit& a)
{
    const ProtGroupTable& table = a.header.prot_groups;
    if (table.count > 8) return note(a, "number of protocol groups is " + dec(table.count));
    std::set<u16> groups;
    std::set<u16> protocols;
    for (u32 i = 0; i < 8; ++i) {
        const ProtGroup& group = table.group[i];
        const bool used = i < table.count;
        const std::string name = used ? "protocol group " + dec(group.group) : "unused protocol group row " + dec(i);
        if (!used && (group.group != 0 || group.nprot != 0)) note(a, name + " is not 0");
        if (used && !groups.insert(group.group).second) note(a, name + " is there twice");
        if (group.nprot > 8) {
            note(a, name + ": nprot is " + dec(group.nprot));
            continue;
        }
        for (u32 k = 0; k < 8; ++k) {
            if (k >= group.nprot || !used) {
                if (group.prot[k] != 0) note(a, name + ": unused protocol " + dec(k) + " is not 0");
            } else if (!protocols.insert(group.prot[k]).second) {
                note(a, name + ": protocol " + hex(group.prot[k]) + " is in a group already");
            }
        }
    }
}

// A binding stands for a membership by protocol, through a group that exists.
inline void check_bindings(Audit& a, const std::vector<Membership>& memberships, const InUse<Port>& ports)
{
    const ProtGroupTable& table = a.header.prot_groups;
    for (const Port* port : ports.records) {
        for (u32 i = 0; i < port->npg && i < prot_bindings_per_port; ++i) {
            const ProtBinding& binding = port->prot[i];
            const std::string name =
                called(*port) + ": binding of group " + dec(binding.group) + " to VLAN " + dec(binding.VID);
            const bool member = std::any_of(memberships.begin(), memberships.end(), [&](const Membership& m) {
                return m.pv->port_id == port->PortID && m.pv->VID == binding.VID && (m.pv->pv_flag & pv_protocol);
            });
            if (!member) note(a, name + " without such a membership");
            const auto* const end = table.group + std::min<u32>(table.count, 8);
            const bool known =
                std::any_of(table.group, end, [&](const ProtGroup& g) { return g.group == binding.group; });
            if (!known) note(a, name + " through a group that is not there");
        }
    }
}

struct Vlans {
    InUse<Vlan> used;
    std::vector<Membership> memberships;
};

inline Vlans check_vlans(Audit& a, const InUse<Port>& ports)
{
    Header& h = a.header;
    const Pool<Vlan> pool = vlans_of(a);
    Vlans vlans{records_in_use<&Vlan::vlan_link>(a, pool, h.vlan_free, h.vlan_head), {}};
    expect_order<&Vlan::VID>(a, "vlan list", vlans.used.records, Order::ascending);
    expect_index<&Vlan::VID>(a, pool, vlans.used, h.vlan_index, {0, vlan_index_count - 1, vlan_index_count - 1});
    expect_equal(a, "vlan_count", h.vlan_count, vlans.used.records.size());
    check_names(a, pool, vlans.used);
    for (const Vlan* vlan : vlans.used.records) check_vlan_fields(a, *vlan);

    Marks marks(pvs_of(a).count);
    for (u32 i = 0; i < pool.count; ++i) {
        check_pvs_of_vlan(a, pool.at(pool.offset(i)), vlans.used.by_number[i], marks, vlans.memberships);
    }
    check_members(a, vlans.memberships, ports);
    check_group_table(a);
    check_bindings(a, vlans.memberships, ports);
    return vlans;
}

}  // namespace zelfdb::audit
