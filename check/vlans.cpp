// VLANs: list, index, names, memberships on both sides, protocol groups and the ports' bindings to them.
#include <cstring>
#include <set>
#include <string_view>

#include "check/audit.h"
#include "check/limits.h"
#include "core/chains.h"

namespace zelfdb::audit {
namespace {

bool name_ends(const Vlan& vlan) { return std::memchr(vlan.name, 0, name_max + 1) != nullptr; }

// ---- Names -----------------------------------------------------------------------------------------------------------

void check_name(Audit& a, const Vlan& vlan, std::set<std::string_view>& names)
{
    const Name name{a_vlan, vlan.VID};
    if (!name_ends(vlan)) {
        error(a, name, "name", vlan.name, text("31 characters or more"), at_most(static_cast<i64>(name_max)),
              "a name ends within its field");
    } else if (!names.insert(vlan.name).second) {
        error(a, name, "name", vlan.name, quoted(vlan.name), text("another name"), "no two VLANs have one name");
    }
}

void check_name_bucket(Audit& a, u32 bucket, Marks& marks)
{
    const Store<Vlan>& store = a.stores.vlan;
    const Name chain{"name bucket %d", bucket};
    for (const Vlan* vlan : walk_list<&Vlan::name_link>(a, chain, store, marks, a.header.vlan_name[bucket])) {
        if (!a.vlans.by_number[store.number(*vlan)]) {
            error(a, chain, "VLAN", vlan, at(offset_of(store.base, *vlan)), text("a VLAN in use"),
                  "a chain leads to VLANs in use");
        } else if (name_ends(*vlan) && name_bucket(vlan->name) != bucket) {
            error(a, {a_vlan, vlan->VID}, "name bucket", vlan->name, dec(bucket), dec(name_bucket(vlan->name)),
                  "the name says which");
        }
    }
}

void check_names(Audit& a)
{
    std::set<std::string_view> names;
    for (const Vlan* vlan : a.vlans.records) check_name(a, *vlan, names);
    Marks marks(a.stores.vlan.count);
    for (u32 bucket = 0; bucket < bucket_count; ++bucket) check_name_bucket(a, bucket, marks);
    for (const Vlan* vlan : a.vlans.records) {
        if (marks[a.stores.vlan.number(*vlan)] != 0) continue;
        error(a, {a_vlan, vlan->VID}, "name_link", &vlan->name_link, text("in no bucket"), text("in its name's bucket"),
              "a VLAN is found by its name");
    }
}

// ---- Memberships -----------------------------------------------------------------------------------------------------

void check_membership(Audit& a, const Vlan& vlan, const Pv& pv)
{
    const Name name = called(pv);
    if (pv.VID != vlan.VID) {
        error(a, name, "VID", &pv.VID, dec(pv.VID), dec(vlan.VID), "it is on the list of that VLAN");
    }
    if (pv.pv_flag & ~(pv_tagged | pv_protocol)) {
        error(a, name, "pv_flag", &pv.pv_flag, hex(pv.pv_flag), at_most(pv_tagged | pv_protocol),
              "no other bit is set");
    }
    const Port* const port = pv.port_id <= port_id_max ? a.port_by_id[pv.port_id] : nullptr;
    if (!port) {
        error(a, name, "port_id", &pv.port_id, dec(pv.port_id), text("a port"), "a member is a port that is there");
    } else if (!(pv.pv_flag & (pv_tagged | pv_protocol)) && port->PVID != pv.VID) {
        notice(a, {a_port, port->PortID}, "PVID", &port->PVID, dec(port->PVID), dec(pv.VID),
               "an untagged membership sets it; it was set anew since");
    }
}

bool is_vif(const Audit& a, const Pv& pv)
{
    const Port* const port = pv.port_id <= port_id_max ? a.port_by_id[pv.port_id] : nullptr;
    return port && port->p_type == port_type_vif;
}

bool is_untagged(const Pv* pv) { return !(pv->pv_flag & pv_tagged); }

void check_members(Audit& a, const Vlan& vlan, const std::vector<const Pv*>& members)
{
    const Name name{a_vlan, vlan.VID};
    expect_order<&Pv::port_id>(a, {"membership list of VLAN %d", vlan.VID}, members, Order::ascending);
    expect_equal(a, name, "npv", vlan.npv, members.size(), "it counts the memberships on its list");
    expect_equal(a, name, "upv", vlan.upv, static_cast<u64>(std::count_if(members.begin(), members.end(), is_untagged)),
                 "it counted the untagged memberships; it is left as it is when one goes", Severity::notice);
    const auto vifs = std::count_if(members.begin(), members.end(), [&a](const Pv* pv) { return is_vif(a, *pv); });
    if (vifs > 1) {
        error(a, name, "virtual-interface members", &vlan, dec(vifs), at_most(1), "there is room for one");
    }
    for (const Pv* pv : members) {
        a.pvs[a.stores.pv.number(*pv)] = true;
        check_membership(a, vlan, *pv);
    }
}

// The VLAN's eight memberships are free or on its list; every VLAN record keeps its own, in use or not.
void check_pvs_of_vlan(Audit& a, u32 slot, Marks& marks)
{
    const PvStore& store = a.stores.pv;
    const Offset self = a.stores.vlan.offset(slot);
    const Vlan& vlan = a.stores.vlan.at(self);
    const bool in_use = a.vlans.by_number[slot];
    const Name name = in_use ? Name{a_vlan, vlan.VID} : Name{"unused VLAN record %d", slot};
    const Name free_list = in_use ? Name{"free membership list of VLAN %d", vlan.VID}
                                  : Name{"free membership list of VLAN record %d", slot};
    std::vector<const Pv*> own = walk_list<&Pv::vlan_link>(a, free_list, store, marks, vlan.pv_free);
    if (in_use) {
        const Name list{"membership list of VLAN %d", vlan.VID};
        const auto members = walk_list<&Pv::vlan_link>(a, list, store, marks, vlan.pv_head);
        check_members(a, vlan, members);
        own.insert(own.end(), members.begin(), members.end());
    }
    for (const Pv* pv : own) {
        const u32 owner = store.slot_of(offset_of(store.base, *pv));
        if (owner != slot) {
            error(a, name, "membership record", pv, named({"of VLAN record %d", owner}),
                  named({"of VLAN record %d", slot}), "a VLAN has its own eight");
        }
    }
    if (own.size() != pvs_per_vlan) {
        error(a, name, "membership records", &vlan.pv_free, dec(static_cast<i64>(own.size())), dec(pvs_per_vlan),
              "free and in use, a VLAN has its own eight");
    }
}

void check_bindings(Audit& a, const Port& port, const std::vector<const Pv*>& pvs)
{
    const Name name{a_port, port.PortID};
    const ProtGroupTable& table = a.header.prot_groups;
    const auto* const groups_end = table.group + std::min<u32>(table.count, 8);
    const auto* const rows_end = port.prot + std::min(port.npg, prot_bindings_per_port);
    for (const ProtBinding* row = port.prot; row != rows_end; ++row) {
        const Name binding{"group %d, VLAN %d", row->group, row->VID};
        if (std::none_of(pvs.begin(), pvs.end(),
                         [row](const Pv* pv) { return pv->VID == row->VID && (pv->pv_flag & pv_protocol); })) {
            error(a, name, "prot", row, named(binding), text("a membership by protocol"),
                  "a binding stands for such a membership");
        }
        if (std::none_of(table.group, groups_end, [row](const ProtGroup& g) { return g.group == row->group; })) {
            error(a, name, "prot", row, named(binding), text("a group that is there"), "a group in use is not deleted");
        }
    }
    for (const Pv* pv : pvs) {
        if (!(pv->pv_flag & pv_protocol)) continue;
        if (std::any_of(static_cast<const ProtBinding*>(port.prot), rows_end,
                        [pv](const ProtBinding& b) { return b.VID == pv->VID; }))
            continue;
        notice(a, called(*pv), "binding", pv, text("in no row of the port"), text("in one"),
               "a membership by protocol is taken even when the port's table is full");
    }
}

void check_pvs_of_port(Audit& a, const Port& port, Marks& marks)
{
    const PvStore& store = a.stores.pv;
    const Name name{a_port, port.PortID};
    const Name list{"membership list of port %d", port.PortID};
    const auto pvs = walk_list<&Pv::port_link>(a, list, store, marks, port.pv_head);
    expect_order<&Pv::VID>(a, list, pvs, Order::ascending);
    expect_equal(a, name, "npv", port.npv, pvs.size(), "it counts the memberships on its list");
    expect_equal(a, name, "upv", port.upv, static_cast<u64>(std::count_if(pvs.begin(), pvs.end(), is_untagged)),
                 "it counted the untagged memberships; it goes down by two, and the next port starts with it",
                 Severity::notice);
    for (const Pv* pv : pvs) {
        if (!a.pvs[store.number(*pv)]) {
            error(a, list, "membership", pv, at(offset_of(store.base, *pv)), text("a membership in use"),
                  "a list leads to memberships in use");
        } else if (pv->port_id != port.PortID) {
            error(a, called(*pv), "port_id", &pv->port_id, dec(static_cast<i32>(pv->port_id)),
                  dec(static_cast<i32>(port.PortID)), "it is on the list of that port");
        }
    }
    check_bindings(a, port, pvs);
}

void check_memberships(Audit& a)
{
    const PvStore& store = a.stores.pv;
    a.pvs.assign(store.count, false);
    Marks of_vlan(store.count);
    for (u32 slot = 0; slot < a.stores.vlan.count; ++slot) check_pvs_of_vlan(a, slot, of_vlan);
    Marks of_port(store.count);
    for (const Port* port : a.ports.records) check_pvs_of_port(a, *port, of_port);
    for (u32 i = 0; i < store.count; ++i) {
        if (!a.pvs[i] || of_port[i] != 0) continue;
        const Pv& pv = store.at(store.offset(i));
        error(a, called(pv), "port_link", &pv.port_link, text("on no port's list"), text("on its port's"),
              "a membership is on the lists of its VLAN and of its port");
    }
}

// ---- Protocol groups -------------------------------------------------------------------------------------------------

void check_group(Audit& a, const ProtGroup& group, bool used, const Name& name, std::set<u16>& protocols)
{
    if (group.nprot > protocols_max) {
        error(a, name, "nprot", &group.nprot, dec(group.nprot), at_most(protocols_max), "there are that many places");
        return;
    }
    for (u32 i = 0; i < protocols_max; ++i) {
        const u16& protocol = group.prot[i];
        if (i >= group.nprot || !used) {
            if (protocol != 0) error(a, name, "prot", &protocol, hex(protocol), hex(0), "unused places are 0");
        } else if (!protocols.insert(protocol).second) {
            error(a, name, "prot", &protocol, hex(protocol), text("another protocol"),
                  "a protocol is in one group, once");
        }
    }
}

void check_groups(Audit& a)
{
    const ProtGroupTable& table = a.header.prot_groups;
    if (table.count > groups_max) {
        error(a, "protocol groups", "count", &table.count, dec(table.count), at_most(groups_max),
              "there are that many rows");
        return;
    }
    std::set<u16> groups;
    std::set<u16> protocols;
    for (u32 i = 0; i < groups_max; ++i) {
        const ProtGroup& group = table.group[i];
        const bool used = i < table.count;
        const Name name = used ? Name{"protocol group %d", group.group} : Name{"protocol group row %d", i};
        if (!used && (group.group != 0 || group.nprot != 0)) {
            error(a, name, "group", &group, dec(group.group), dec(0), "unused rows are 0");
        } else if (used && !groups.insert(group.group).second) {
            error(a, name, "group", &group, dec(group.group), text("another group"), "a group is there once");
        }
        check_group(a, group, used, name, protocols);
    }
}

void check_vlan_fields(Audit& a, const Vlan& vlan)
{
    const Name name{a_vlan, vlan.VID};
    if (vlan.VID < 1 || vlan.VID > vid_max) {
        error(a, name, "VID", &vlan.VID, dec(vlan.VID), text("1 to 4094"), "VLANs are made with such VIDs");
    }
    expect_equal(a, name, "FID", vlan.fdb.FID, vlan.VID, "it is the VID");
    expect_equal(a, name, "kind of FDB", vlan.fdb.kind, kind_vlan_fdb, "a VLAN's FDB is of that kind");
}

}  // namespace

void check_vlans(Audit& a)
{
    a.vlans = check_kind(a, a.stores.vlan, kind_vlan);
    check_names(a);
    for (const Vlan* vlan : a.vlans.records) check_vlan_fields(a, *vlan);
    check_memberships(a);
    check_groups(a);
}

}  // namespace zelfdb::audit
