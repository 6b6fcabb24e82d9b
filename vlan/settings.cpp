// Per-VLAN behaviour: loop detection, learning limit, ignoring the FDB, learning off. VID 0 means every VLAN.
#include "core/call.h"
#include "np/vlan_commands.h"

namespace zelfdb {
namespace {

void set_flag(Vlan& vlan, u16 flag, bool on)
{
    vlan.vlan_flag = static_cast<u16>(on ? vlan.vlan_flag | flag : vlan.vlan_flag & ~u32{flag});
}

// Changes one VLAN, or every one in VID order.
template <class Change>
int change_vlans(const Call& call, u32 vid, Change change)
{
    if (!call) return call.failed();
    if (vid != 0) {
        Vlan* const vlan = call.vlan(vid);
        if (!vlan) return call.fail(ZELFDB_NO_VLAN);
        change(*vlan);
        return 0;
    }
    for (Vlan& vlan : walk(all_vlans, call.base(), call.header())) change(vlan);
    return 0;
}

struct NpFlag {
    u16 flag;
    u32 value;
    u32 selector;
};

// For every VLAN at once, the last one's command is not sent: deliberate, callers compare the commands.
int set_np_flag(const Call& call, u32 vid, bool on, const NpFlag& np)
{
    return change_vlans(call, vid, [&](Vlan& vlan) {
        set_flag(vlan, np.flag, on);
        const bool last_of_all = vid == 0 && vlan.vlan_link.next == none;
        if (!last_of_all) set_vlan_flag_to_NP(call.descriptor(), vlan.VID, np.value, np.selector);
    });
}

}  // namespace
}  // namespace zelfdb

int zelfdb_set_vlan_sld(int32_t vid, uint32_t on, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    return change_vlans(Call{Lock::main, err}, static_cast<u32>(vid),
                        [on](Vlan& vlan) { set_flag(vlan, vflag_loop_detection, on != 0); });
}

int zelfdb_set_vlan_learninglimit(int32_t vid, uint32_t limit, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    return change_vlans(Call{Lock::main, err, Release::fdb_then_main, Open::database_only}, static_cast<u32>(vid),
                        [limit](Vlan& vlan) { vlan.fdb.learnlimit = limit; });
}

int zelfdb_set_vlan_ignore_fdb(uint32_t vid, uint32_t on, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    return set_np_flag(Call{Lock::main, err}, vid, on != 0, {vflag_ignore_fdb, on ? 1u : 0u, vlan_flag_ignore_fdb});
}

int zelfdb_set_vlan_learning_off(uint32_t vid, uint32_t on, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    // On is 2 to the NP, not 1.
    return set_np_flag(Call{Lock::main, err}, vid, on != 0, {vflag_learning_off, on ? 2u : 0u, vlan_flag_learning});
}
