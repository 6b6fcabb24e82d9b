// Replay of protocol groups, and of VLANs with their members.
#include "core/call.h"
#include "replay/lines.h"

namespace zelfdb {
namespace {

int as_int(u32 value) { return static_cast<int>(value); }

void print_group(const Frame& frame, const ProtGroup& group)
{
    print_line(frame, "create protgroup %d", int{group.group});
    for (u32 i = 0; i < group.nprot && i < std::size(group.prot); ++i) {
        print_line(frame, "add protocol %04x to protgroup %d", unsigned{group.prot[i]}, int{group.group});
    }
}

void print_protocol_member(const Frame& frame, const Call& call, const Vlan& vlan, const Pv& pv)
{
    const Port* const port = call.port(pv.port_id);
    if (!port) return;
    for (u32 i = 0; i < port->npg && i < prot_bindings_per_port; ++i) {
        if (port->prot[i].VID != pv.VID) continue;
        print_line(frame, "add port %d to vlan %s tag off protgroup %d", as_int(pv.port_id), vlan.name,
                   int{port->prot[i].group});
    }
}

void print_member(const Frame& frame, const Call& call, const Vlan& vlan, const Pv& pv)
{
    if (pv.pv_flag & pv_protocol) return print_protocol_member(frame, call, vlan, pv);
    if (pv.pv_flag & pv_tagged) {
        print_line(frame, "add port %d to vlan %s tag on tagtype %x", as_int(pv.port_id), vlan.name,
                   unsigned{pv.tagtype});
    } else {
        print_line(frame, "add port %d to vlan %s tag off", as_int(pv.port_id), vlan.name);
    }
}

void print_vlan(const Frame& frame, const Call& call, const Vlan& vlan)
{
    print_line(frame, "create vlan %s vid %d", vlan.name, int{vlan.VID});
    if (vlan.vlan_flag & vflag_loop_detection) print_line(frame, "set vlan %s simple_loop_detection on", vlan.name);
    if (vlan.vlan_flag & vflag_ignore_fdb) print_line(frame, "set vlan %s ignorefdb on", vlan.name);
    if (vlan.vlan_flag & vflag_learning_off) print_line(frame, "set vlan %s learning off", vlan.name);
    for (const Pv& pv : walk(pvs_of_vlan, call.base(), vlan)) print_member(frame, call, vlan, pv);
}

}  // namespace
}  // namespace zelfdb

int zelfdb_reconfig_protgroup(const char* prefix, const char* suffix)
{
    using namespace zelfdb;
    const Call call{Lock::main, nullptr};
    if (!call) return call.failed();

    const ProtGroupTable& table = call.header().prot_groups;
    for (u32 i = 0; i < table.count && i < std::size(table.group); ++i) print_group({prefix, suffix}, table.group[i]);
    return 0;
}

int zelfdb_reconfig_vlan(const char* prefix, const char* suffix)
{
    using namespace zelfdb;
    const Call call{Lock::main, nullptr};
    if (!call) return call.failed();

    for (const Vlan& vlan : walk(all_vlans, call.base(), call.header())) print_vlan({prefix, suffix}, call, vlan);
    return 0;
}
