// The general parameter setter: flags, priority, tag type, PVID, aging, loop breaker.
#include "core/call.h"
#include "np/port_commands.h"
#include "port/npflag.h"

namespace zelfdb {
namespace {

constexpr u32 changeable_flags = 0x3377;
constexpr u32 flags_of_a_port_that_is_up = 0x3;

struct Request {
    const zelfdb_port_param& param;
    u32 aging_s;
    i32 sldbkr_on;
    u32 selector;
    u32 flag_mask;

    [[nodiscard]] bool selects(u32 bit) const { return (selector & bit) != 0; }
};

// Two of the bits can always be cleared but are set only while the port is up. Asking for more is dropped without an error,
// deliberately: callers depend on the success.
void change_flags(Port& port, const Request& request)
{
    u32 changing = request.flag_mask & changeable_flags;
    if (port.optate != optate_up) changing &= ~(request.param.p_flag & flags_of_a_port_that_is_up);
    port.p_flag = static_cast<u16>((port.p_flag & ~changing) | (request.param.p_flag & changing));
}

// The PVID that the port has already is no change and sends nothing, unlike the tag type.
void change_pvid(const Call& call, Port& port, u16 pvid)
{
    if (port.PVID == pvid) return;
    deQ_port_by_pvid(call.base(), call.header(), port);
    port.PVID = pvid;
    enQ_port_by_pvid(call.base(), call.header(), port);
    set_port_pvid_to_NP(call.descriptor(), port);
}

// A tripped breaker stays tripped, deliberately: only its recovery brings it back.
void change_breaker(const Call& call, Port& port, i32 sldbkr_on)
{
    port.sldbkr_on = static_cast<u32>(sldbkr_on);
    if (sldbkr_on == 1 && port.sldbkr_state == sldbkr_idle) {
        port.sldbkr_state = sldbkr_armed;
    } else if (sldbkr_on != 1 && port.sldbkr_state == sldbkr_armed) {
        port.sldbkr_state = sldbkr_idle;
    }
    port_update_npflag(call.descriptor(), port);
}

int set_param(const Call& call, u32 port_id, const Request& request)
{
    if (!call) return call.failed();

    Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);
    if (port->p_type == port_type_vif && request.selects(ZELFDB_SELECT_SLDBKR)) return call.fail(ZELFDB_VIF_NO_SLDBKR);

    // The order is part of the contract, and so is that the flags reach the NP only by their own selector, at the end.
    const zelfdb_port_param& param = request.param;
    if (request.selects(ZELFDB_SELECT_P_FLAG)) change_flags(*port, request);
    if (request.selects(ZELFDB_SELECT_PRI)) port->pri = param.pri;
    if (request.selects(ZELFDB_SELECT_PHPORT)) port->phport = param.phport;
    if (request.selects(ZELFDB_SELECT_PVID)) change_pvid(call, *port, param.PVID);
    if (request.selects(ZELFDB_SELECT_TAGTYPE)) {
        port->tagtype = param.tagtype;
        set_port_tagType_to_NP(call.descriptor(), *port);
    }
    if (request.selects(ZELFDB_SELECT_AGING)) port->aging = request.aging_s;
    if (request.selects(ZELFDB_SELECT_SLDBKR)) change_breaker(call, *port, request.sldbkr_on);
    if (request.selects(ZELFDB_SELECT_P_FLAG_TO_NP)) {
        set_port_flag_to_NP(call.descriptor(), *port, request.flag_mask);
    }
    return 0;
}

}  // namespace
}  // namespace zelfdb

int zelfdb_set_param_to_port(uint32_t port_id, const zelfdb_port_param* param, uint32_t aging_s, int32_t sldbkr_on,
                             int32_t selector, int32_t flag_mask, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    return set_param(Call{Lock::main_and_fdb, err}, port_id,
                     {*param, aging_s, sldbkr_on, static_cast<u32>(selector), static_cast<u32>(flag_mask)});
}

int zelfdb_set_param_to_port2(zelfdb_descriptor* descriptor, uint32_t port_id, const zelfdb_port_param* param,
                              uint32_t aging_s, int32_t sldbkr_on, int32_t selector, int32_t flag_mask, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    return set_param(Call{descriptor, Lock::main_and_fdb, err}, port_id,
                     {*param, aging_s, sldbkr_on, static_cast<u32>(selector), static_cast<u32>(flag_mask)});
}
