// The operational side of a port: enabled or not, link notices, breaker recovery, uplink and link settings.
#include "core/call.h"
#include "fdb/listing.h"
#include "np/port_commands.h"
#include "port/npflag.h"

namespace zelfdb {
namespace {

int set_uplink_flag(const Call& call, u32 port_id, u32 value)
{
    if (!call) return call.failed();

    Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);
    // Even to clear the mark a membership is needed: deliberate, callers depend on the refusal.
    if (port->pv_head == none) return call.fail(ZELFDB_NOT_MEMBER);

    port->uplink = value;
    return 0;
}

int get_port_vid(const Call& call, u32 port_id, u32* vid)
{
    if (!call) return call.failed();

    const Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);
    if (port->p_type != port_type_vif) return call.fail(ZELFDB_NOT_VIF);
    if (port->pv_head == none) return call.fail(ZELFDB_NOT_MEMBER);

    *vid = record_at<Pv>(call.base(), port->pv_head).VID;
    return 0;
}

}  // namespace
}  // namespace zelfdb

// Neither touches the port's flags nor what was learned on it, deliberately: that is the callers' business. The state stays
// changed when the NP refuses.
int zelfdb_enable_port(uint32_t port_id, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);
    if (port->optate == optate_up) return call.fail(ZELFDB_PORT_ENABLED);

    port->optate = optate_up;
    return enable_port_to_NP(call.descriptor(), port_id);
}

int zelfdb_disable_port(uint32_t port_id, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);
    if (port->optate == optate_down) return call.fail(ZELFDB_PORT_DISABLED);

    port->optate = optate_down;
    return disable_port_to_NP(call.descriptor(), port_id);
}

int zelfdb_notify_portstate(zelfdb_descriptor* descriptor, uint32_t port_id, uint32_t state, int32_t flush)
{
    using namespace zelfdb;
    const Call call{descriptor, Lock::main_and_fdb, nullptr};

    const Port* const port = call.port(port_id);
    if (!port || state > optate_up) return -1;

    // Nothing is recorded, on purpose: only enabling and disabling change the port's state.
    if (flush == 1) delete_dfil_select_port(call.descriptor(), port_id);
    return 0;
}

// The result is -1 in every case, deliberately: the error word, written on failure alone, is what callers judge by.
int zelfdb_recover_port_sldbkr(uint32_t port_id, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main_and_fdb, err};
    if (!call) return call.failed();

    Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);

    if (port->sldbkr_state == sldbkr_tripped) port->sldbkr_state = port->sldbkr_on == 1 ? sldbkr_armed : sldbkr_idle;
    port_update_npflag(call.descriptor(), *port);
    return -1;
}

int zelfdb_set_uplink_flag(uint32_t port_id, uint32_t value, uint32_t* err)
{
    using namespace zelfdb;
    return set_uplink_flag(Call{Lock::main, err}, port_id, value);
}

int zelfdb_set_uplink_flag2(zelfdb_descriptor* descriptor, uint32_t port_id, uint32_t value, uint32_t* err)
{
    using namespace zelfdb;
    return set_uplink_flag(Call{descriptor, Lock::main, err}, port_id, value);
}

int zelfdb_set_link_mode(uint32_t port_id, uint32_t mode, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);

    port->link_mode = mode;
    return 0;
}

int zelfdb_set_link_depend(uint32_t port_id, uint32_t link_depend, uint32_t list_bits, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);

    port->link_depend = link_depend;
    port->link_depend_list = list_bits;
    return 0;
}

int zelfdb_get_port_vid(uint32_t port_id, uint32_t* vid, uint32_t* err)
{
    using namespace zelfdb;
    if (!vid || !err) return -1;
    *vid = 0;
    return get_port_vid(Call{Lock::main, err}, port_id, vid);
}

int zelfdb_get_port_vid2(zelfdb_descriptor* descriptor, uint32_t port_id, uint32_t* vid, uint32_t* err)
{
    using namespace zelfdb;
    if (!vid || !err) return -1;
    *vid = 0;
    return get_port_vid(Call{descriptor, Lock::main, err}, port_id, vid);
}

int zelfdb_check_stream_in_port(uint32_t port_id, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();
    if (!call.port(port_id)) return call.fail(ZELFDB_NO_PORT);

    constexpr u32 streams_per_port = 256;
    const u32 first = (port_id - 1) * streams_per_port;
    for (u32 i = 0; i < streams_per_port; ++i) {
        if (lookup_stream(call.base(), call.header(), (first + i) & 0xFFFF)) return call.fail(ZELFDB_PORT_HAS_STREAM);
    }
    return 0;
}
