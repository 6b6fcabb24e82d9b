// What the tests of memberships share: joining and leaving as calls, and as edits of the expected database.
#pragma once

#include "support/exported.h"

namespace zelfdb {

class Membership : public Exported {
protected:
    using Exported::Exported;

    static Outcome join(u32 vid, u32 port_id, u32 tagged, u32 tagtype = 0x8100)
    {
        return call(zelfdb_add_port_to_vlan, vid, port_id, tagged, tagtype, 0, 0);
    }
    static Outcome join_by(u32 group, u32 vid, u32 port_id, u32 tagged = 0)
    {
        return call(zelfdb_add_port_to_vlan, vid, port_id, tagged, 0x8100, 1, static_cast<i32>(group));
    }
    static Outcome leave(u32 vid, u32 port_id) { return call(zelfdb_rem_port_from_vlan, vid, port_id); }
    [[nodiscard]] testing::AssertionResult refuses_join(u32 code, u32 vid, u32 port_id, u32 tagged)
    {
        return refuses(code, zelfdb_add_port_to_vlan, vid, port_id, tagged, 0x8100, 0, 0);
    }
    [[nodiscard]] testing::AssertionResult refuses_join_by(u32 group, u32 code, u32 vid, u32 port_id, u32 tagged = 0)
    {
        return refuses(code, zelfdb_add_port_to_vlan, vid, port_id, tagged, 0x8100, 1, static_cast<i32>(group));
    }
    [[nodiscard]] testing::AssertionResult refuses_leave(u32 code, u32 vid, u32 port_id)
    {
        return refuses(code, zelfdb_rem_port_from_vlan, vid, port_id);
    }

    static void move_to_pvid(Expected& after, Port& port, u16 pvid)
    {
        deQ_port_by_pvid(after.base(), after.header(), port);
        port.PVID = pvid;
        enQ_port_by_pvid(after.base(), after.header(), port);
    }
    // A new membership, but for the table of protocol bindings.
    static Pv& joined(Expected& after, const Vlan& live_vlan, const Port& live_port, u8 pv_flag, u16 tagtype)
    {
        Vlan& vlan = after.of(live_vlan);
        Port& port = after.of(live_port);
        Pv& pv = *alloc_pv(after.base(), after.header(), vlan);
        pv.VID = vlan.VID;
        pv.pad2[0] = pv.pad2[1] = 0;
        pv.port_id = port.PortID;
        pv.pv_flag = pv_flag;
        pv.pv_flag2 = 0;
        pv.tagtype = tagtype;
        if (!(pv_flag & (pv_tagged | pv_protocol))) move_to_pvid(after, port, vlan.VID);
        enQ_pv(after.base(), after.header(), vlan, pv);
        enQ_pv_in_a_port(after.base(), after.header(), port, pv);
        ++port.npv;
        ++vlan.npv;
        if (!(pv_flag & pv_tagged)) {
            ++port.upv;
            ++vlan.upv;
        }
        ++after.header().history[ports_added_to_vlans];
        return pv;
    }
    // The end of a membership, but for the counters of untagged ones, the PVID and the table.
    static void left(Expected& after, Vlan& vlan, Port& port, Pv& pv)
    {
        --port.npv;
        --vlan.npv;
        deQ_pv(after.base(), after.header(), vlan, pv);
        deQ_pv_in_a_port(after.base(), after.header(), vlan, pv);
        free_pv(after.base(), after.header(), vlan, &pv);
        ++after.header().history[ports_removed_from_vlans];
    }
};

}  // namespace zelfdb
