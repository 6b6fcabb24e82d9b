// Ports join and leave VLANs.
#include "vlan/membership.h"

#include <algorithm>

#include "core/call.h"
#include "core/order.h"
#include "fdb/listing.h"
#include "np/port_commands.h"
#include "np/vlan_commands.h"

namespace zelfdb {
namespace {

struct Join {
    bool tagged;
    u16 tagtype;
    bool protocol_based;
    u16 group;

    // An untagged membership by protocol counts as untagged too, but leaves the port's PVID alone.
    [[nodiscard]] bool owns_pvid() const { return !tagged && !protocol_based; }
};

bool group_exists(const Header& header, u16 group)
{
    const ProtGroupTable& table = header.prot_groups;
    for (u32 i = 0; i < table.count && i < std::size(table.group); ++i) {
        if (table.group[i].group == group) return true;
    }
    return false;
}

bool has_vif_member(const Call& call, const Vlan& vlan)
{
    for (const Pv& pv : walk(pvs_of_vlan, call.base(), vlan)) {
        const Port* const member = call.port(pv.port_id);
        if (member && member->p_type == port_type_vif) return true;
    }
    return false;
}

// What may not be, whether or not the port is a member already.
u32 refuse_join(const Call& call, const Vlan& vlan, const Port& port, const Join& join)
{
    if (join.tagged && (vlan.VID < 1 || vlan.VID > 4094)) return ZELFDB_TAGGED_BAD_VID;
    if (join.owns_pvid() && port.PVID != 0) return ZELFDB_PORT_HAS_PVID;
    if (join.protocol_based && !group_exists(call.header(), join.group)) return ZELFDB_NO_PROTGROUP;
    if (port.p_type == port_type_vif) {
        if (port.PVID != 0) return ZELFDB_VIF_HAS_PVID;
        if (has_vif_member(call, vlan)) return ZELFDB_VLAN_HAS_VIF;
    }
    return ZELFDB_DONE;
}

void tell_NP(const Call& call, const Vlan& vlan, const Port& port, const Join& join)
{
    add_port_to_vlan_to_NP(call.descriptor(), vlan.VID, port.PortID, join.tagged, join.tagtype, join.protocol_based,
                           join.group);
}

// A ninth binding has no place in the table. Only the extension of a membership refuses it; a new membership goes through
// without one, on purpose: keeping within the table is the business of whoever asks.
void append_binding(Port& port, const Vlan& vlan, const Join& join)
{
    if (port.npg >= prot_bindings_per_port) return;
    port.prot[port.npg] = {join.group, vlan.VID};
    keep_order();  // a process may die here
    ++port.npg;
}

// One more group for a membership by protocol: no new record, and no counter but the history changes.
u32 extend_membership(const Call& call, const Vlan& vlan, Port& port, const Pv& pv, const Join& join)
{
    if (!(pv.pv_flag & pv_protocol) || !join.protocol_based) return ZELFDB_ALREADY_MEMBER;
    for (u32 i = 0; i < port.npg && i < prot_bindings_per_port; ++i) {
        if (port.prot[i].group == join.group) return ZELFDB_GROUP_JOINED;
    }
    if (port.npg >= prot_bindings_per_port) return ZELFDB_GROUP_TABLE_FULL;

    tell_NP(call, vlan, port, join);
    append_binding(port, vlan, join);
    return ZELFDB_DONE;
}

void set_pvid(const Call& call, Port& port, u16 pvid)
{
    deQ_port_by_pvid(call.base(), call.header(), port);
    port.PVID = pvid;
    enQ_port_by_pvid(call.base(), call.header(), port);
    set_port_pvid_to_NP(call.descriptor(), port);
}

u32 new_membership(const Call& call, Vlan& vlan, Port& port, const Join& join)
{
    Header& header = call.header();
    Pv* const pv = alloc_pv(call.base(), header, vlan);
    if (!pv) return ZELFDB_VLAN_FULL;
    pv->VID = vlan.VID;
    pv->pad2[0] = pv->pad2[1] = 0;
    pv->port_id = port.PortID;
    pv->pv_flag = static_cast<u8>((join.tagged ? pv_tagged : 0) | (join.protocol_based ? pv_protocol : 0));
    pv->pv_flag2 = 0;
    pv->tagtype = join.tagtype;

    if (join.owns_pvid()) set_pvid(call, port, vlan.VID);
    tell_NP(call, vlan, port, join);
    if (join.protocol_based) append_binding(port, vlan, join);

    enQ_pv(call.base(), header, vlan, *pv);
    enQ_pv_in_a_port(call.base(), header, port, *pv);
    ++port.npv;
    ++vlan.npv;
    if (!join.tagged) {
        ++port.upv;
        ++vlan.upv;
    }
    return ZELFDB_DONE;
}

// Closes the gaps, and zeroes unused pairs only when something was dropped. At each moment every other binding stands in some
// row and is counted, for a process may die at any.
void drop_bindings(Port& port, u16 VID)
{
    const u32 count = std::min(port.npg, prot_bindings_per_port);
    u32 kept = 0;
    for (u32 i = 0; i < count; ++i) {
        if (port.prot[i].VID == VID) continue;
        if (kept != i) port.prot[kept] = port.prot[i];
        ++kept;
        keep_order();
    }
    if (kept == count) return;
    for (u32 i = kept; i < prot_bindings_per_port; ++i) port.prot[i] = {};
    keep_order();
    port.npg = kept;
}

void unlink_pv(const Descriptor& d, Vlan& vlan, Pv& pv)
{
    const Base base = main_base(d);
    Header& header = header_of(d);
    deQ_pv(base, header, vlan, pv);
    deQ_pv_in_a_port(base, header, vlan, pv);
    free_pv(base, header, vlan, &pv);
    ++header.history[ports_removed_from_vlans];
}

}  // namespace

void delete_one_pv(const Descriptor& d, Port& port, Pv& pv)
{
    Vlan* const vlan = lookup_vlan(main_base(d), header_of(d), pv.VID);
    if (!vlan) return;
    --port.npv;
    --vlan->npv;
    if (!(pv.pv_flag & pv_tagged)) {
        --port.upv;
        --vlan->upv;
    }
    unlink_pv(d, *vlan, pv);
}

void delete_all_pv_in_a_port(const Descriptor& d, Port& port)
{
    for (Pv& pv : walk(pvs_of_port, main_base(d), port)) delete_one_pv(d, port, pv);
}

}  // namespace zelfdb

int zelfdb_add_port_to_vlan(uint32_t vid, uint32_t port_id, uint32_t tagged, uint32_t tagtype, uint32_t protocol_based,
                            int32_t group, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Vlan* const vlan = call.vlan(vid);
    if (!vlan) return call.fail(ZELFDB_NO_VLAN);
    Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);

    const Join join{tagged != 0, static_cast<u16>(tagtype & 0xFFFF), protocol_based != 0,
                    static_cast<u16>(static_cast<u32>(group) & 0xFFFF)};
    if (const u32 code = refuse_join(call, *vlan, *port, join)) return call.fail(code);
    const Pv* const present = lookup_pv_by_port_in_a_vlan(call.base(), call.header(), *vlan, *port);
    const u32 code =
        present ? extend_membership(call, *vlan, *port, *present, join) : new_membership(call, *vlan, *port, join);
    if (code) return call.fail(code);

    ++call.header().history[ports_added_to_vlans];
    return 0;
}

int zelfdb_rem_port_from_vlan(uint32_t vid, uint32_t port_id, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    const Call call{Lock::main_and_fdb, err};
    if (!call) return call.failed();

    Vlan* const vlan = call.vlan(vid);
    if (!vlan) return call.fail(ZELFDB_NO_VLAN);
    Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);
    if (port->uplink == 1) return call.fail(ZELFDB_PORT_IS_UPLINK);
    Pv* const pv = lookup_pv_by_port_in_a_vlan(call.base(), call.header(), *vlan, *port);
    if (!pv) return call.fail(ZELFDB_NOT_MEMBER);
    if (pv->classify != 0) return call.fail(ZELFDB_PV_CLASSIFIED);

    rem_port_from_vlan_to_NP(call.descriptor(), vlan->VID, port_id);
    drop_bindings(*port, vlan->VID);
    delete_dfil_select_port(call.descriptor(), port_id);
    --port->npv;
    --vlan->npv;
    if (!(pv->pv_flag & (pv_tagged | pv_protocol))) set_pvid(call, *port, 0);
    // Twice from the port, never from the VLAN: deliberate, callers compare these two words. The VLAN readers count the
    // memberships themselves.
    if (!(pv->pv_flag & pv_tagged)) port->upv -= 2;
    unlink_pv(call.descriptor(), *vlan, *pv);
    return 0;
}
