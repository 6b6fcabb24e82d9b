// Ports and physical ports: lists, indexes, PVID chains, fields.
#include "check/audit.h"

namespace zelfdb::audit {
namespace {

constexpr const char* pvid_chain = "chain of PVID %d";

void check_phports(Audit& a)
{
    const Store<Phport>& store = a.stores.phport;
    const InUse<Phport> used = check_kind(a, store, kind_phport);
    if (used.records.size() != phport_count) {
        error(a, "physical port list", "length", &a.header.phport_head, dec(static_cast<i64>(used.records.size())),
              dec(phport_count), "the physical ports are there from the beginning and for ever");
    }
    // A creation that found no free port leaves its mark; a port's number may be set to another later.
    std::array<u32, 0x100> named{};
    for (const Port* port : a.ports.records) {
        if (port->p_type == port_type_ether) ++named[port->phport];
    }
    for (const Phport* phport : used.records) {
        const Name name{"physical port %d", phport->ID};
        if (phport->bound > 1) {
            error(a, name, "bound", &phport->bound, dec(phport->bound), at_most(1), "it is a mark");
        } else if (phport->ID <= phport_count) {
            expect_equal(a, name, "bound", phport->bound, named[phport->ID] != 0 ? 1 : 0,
                         "it is 1 while an Ethernet port names the physical port", Severity::notice);
        }
    }
}

void check_pvid_chain(Audit& a, u32 pvid, Marks& marks)
{
    const Store<Port>& store = a.stores.port;
    const Name chain{pvid_chain, pvid};
    const auto ports = walk_list<&Port::pvid_link>(a, chain, store, marks, a.header.pvid_chain[pvid]);
    expect_order<signed_port_id>(a, chain, ports, Order::ascending_or_equal);
    for (const Port* port : ports) {
        if (!a.ports.by_number[store.number(*port)]) {
            error(a, chain, "port", port, at(offset_of(store.base, *port)), text("a port in use"),
                  "a chain leads to ports in use");
        } else if (port->PVID != pvid) {
            error(a, {a_port, port->PortID}, "PVID", &port->PVID, dec(port->PVID), dec(pvid),
                  "the port is in the chain of that PVID");
        }
    }
}

void check_pvid_chains(Audit& a)
{
    Marks marks(a.stores.port.count);
    for (u32 pvid = 0; pvid < pvid_chain_count; ++pvid) {
        if (a.header.pvid_chain[pvid] != none) check_pvid_chain(a, pvid, marks);
    }
    for (const Port* port : a.ports.records) {
        if (marks[a.stores.port.number(*port)] != 0) continue;
        const Name name{a_port, port->PortID};
        if (port->PVID >= pvid_chain_count) {
            notice(a, name, "PVID", &port->PVID, dec(port->PVID), at_most(pvid_chain_count - 1),
                   "there is no chain for a larger PVID");
        } else {
            error(a, name, "pvid_link", &port->pvid_link, text("in no chain"), named({pvid_chain, port->PVID}),
                  "a port is in the chain of its PVID");
        }
    }
}

void check_bindings_table(Audit& a, const Name& name, const Port& port)
{
    if (port.npg > prot_bindings_per_port) {
        error(a, name, "npg", &port.npg, dec(port.npg), at_most(prot_bindings_per_port),
              "the table has that many rows");
        return;
    }
    for (u32 i = 1; i < port.npg; ++i) {
        const ProtBinding& row = port.prot[i];
        const auto same = [&row](const ProtBinding& other) { return other.group == row.group && other.VID == row.VID; };
        if (!std::any_of(port.prot, port.prot + i, same)) continue;
        error(a, name, "prot", &row, named({"group %d, VLAN %d", row.group, row.VID}), text("another binding"),
              "a binding is in the table once");
    }
}

void check_port_fields(Audit& a, const Port& port)
{
    const Name name{a_port, port.PortID};
    const u32 fid = port_FID_base + port.PortID;
    if (port.fdb.FID != fid) error(a, name, "FID", &port.fdb.FID, hex(port.fdb.FID), hex(fid), "it follows the port");
    expect_equal(a, name, "kind of FDB", port.fdb.kind, kind_port_fdb, "a port's FDB is of that kind");
    check_bindings_table(a, name, port);
    if (port.sldbkr_state > sldbkr_tripped) {
        error(a, name, "sldbkr_state", &port.sldbkr_state, dec(port.sldbkr_state), at_most(sldbkr_tripped),
              "a breaker is idle, armed or tripped");
    }
    for (const u8& pad : port.pad14) {
        if (pad != 0) error(a, name, "bytes 14 and 15", &pad, hex(pad), hex(0), "they are never set");
    }
}

}  // namespace

void check_ports(Audit& a)
{
    a.ports = check_kind(a, a.stores.port, kind_port);
    for (const Port* port : a.ports.records) {
        if (port->PortID <= port_id_max) a.port_by_id[port->PortID] = port;
    }
    a.port_by_id[0] = nullptr;
    check_phports(a);
    check_pvid_chains(a);
    for (const Port* port : a.ports.records) check_port_fields(a, *port);
}

}  // namespace zelfdb::audit
