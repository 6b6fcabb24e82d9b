#include "np/vlan_commands.h"

namespace zelfdb {

int create_vlan_to_NP(const Descriptor& d, const Vlan& vlan)
{
    return send(d, vf_mk_create_vlan(vlan.VID, vlan.fdb.FID));
}

int delete_vlan_to_NP(const Descriptor& d, u32 VID) { return send(d, vf_mk_delete_vlan(VID)); }

int add_port_to_vlan_to_NP(const Descriptor& d, u32 VID, u32 port_id, bool tagged, u32 tagtype, bool protocol_based,
                           u32 group)
{
    return send(d, vf_mk_add_port_vlan(VID, np_port(port_id), tagged ? 1 : 0, tagtype, protocol_based ? 1 : 0, group));
}

int rem_port_from_vlan_to_NP(const Descriptor& d, u32 VID, u32 port_id)
{
    return send(d, vf_mk_remove_port_vlan(VID, np_port(port_id)));
}

int set_vlan_flag_to_NP(const Descriptor& d, u32 VID, u32 value, u32 selector)
{
    return send(d, vf_mk_set_vl_flag(VID, value, selector));
}

int create_protgroup_to_NP(const Descriptor& d, u32 group) { return send(d, vf_mk_create_protgroup(group)); }

int delete_protgroup_to_NP(const Descriptor& d, u32 group) { return send(d, vf_mk_delete_protgroup(group)); }

int add_prot_to_group_to_NP(const Descriptor& d, u32 protocol, u32 group)
{
    return send(d, vf_mk_add_prot_to_group(protocol, group));
}

int remove_prot_from_group_to_NP(const Descriptor& d, u32 protocol, u32 group)
{
    return send(d, vf_mk_remove_prot_from_group(protocol, group));
}

}  // namespace zelfdb
