// The NP's commands about VLANs, memberships and protocol groups. 0 = accepted, -1 = not.
#pragma once

#include "np/frame.h"

namespace zelfdb {

int create_vlan_to_NP(const Descriptor& d, const Vlan& vlan);
int delete_vlan_to_NP(const Descriptor& d, u32 VID);
int add_port_to_vlan_to_NP(const Descriptor& d, u32 VID, u32 port_id, bool tagged, u32 tagtype, bool protocol_based,
                           u32 group);
int rem_port_from_vlan_to_NP(const Descriptor& d, u32 VID, u32 port_id);

inline constexpr u32 vlan_flag_learning = 253;
inline constexpr u32 vlan_flag_ignore_fdb = 254;
int set_vlan_flag_to_NP(const Descriptor& d, u32 VID, u32 value, u32 selector);

int create_protgroup_to_NP(const Descriptor& d, u32 group);
int delete_protgroup_to_NP(const Descriptor& d, u32 group);
int add_prot_to_group_to_NP(const Descriptor& d, u32 protocol, u32 group);
int remove_prot_from_group_to_NP(const Descriptor& d, u32 protocol, u32 group);

}  // namespace zelfdb
