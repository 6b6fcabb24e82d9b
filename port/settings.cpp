// Port settings that are stored and handed to the NP: policing, CoS map, bandwidth mode, default class.
#include <algorithm>

#include "core/call.h"
#include "np/port_commands.h"

int zelfdb_set_port_class_policing(uint32_t port_id, int32_t class_no, uint32_t rate, uint32_t burst, int32_t color,
                                   uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);
    // Only too large a class is refused, deliberately: callers keep the class within 0..7. A negative one has no row to be
    // stored in, but reaches the NP.
    if (class_no > static_cast<i32>(class_count) - 1) return call.fail(ZELFDB_BAD_CLASS);

    const auto color_byte = static_cast<u8>(color & 0xFF);  // the NP is told what a row can hold
    if (class_no >= 0) {
        Policing& row = port->policing[class_no];
        row.color = color_byte;
        row.rate = rate;
        row.burst = burst;
    }
    set_port_class_policing_to_NP(call.descriptor(), port_id, static_cast<u32>(class_no), rate, burst, color_byte);
    return 0;
}

int zelfdb_set_port_cosmap(uint32_t port_id, uint32_t valbit, const uint32_t* cosmap, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);

    port->valbit = valbit;
    std::copy_n(cosmap, std::size(port->cosmap), port->cosmap);
    set_cosmap_in_port_to_NP(call.descriptor(), port_id, valbit, cosmap);
    return 0;
}

int zelfdb_set_port_bandwidth_calc_mode(uint32_t port_id, uint32_t mode, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);

    port->bw_calc_mode = mode;
    set_bandwidth_calc_mode_in_port_to_NP(call.descriptor(), port_id, mode);
    return 0;
}

int zelfdb_set_default_class(uint32_t port_id, uint32_t def_spno, uint32_t def_pri, uint32_t def_color, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);

    port->def_spno = def_spno;
    port->def_pri = def_pri;
    port->def_color = def_color;
    set_default_class_in_port_to_NP(call.descriptor(), port_id, def_spno, def_pri, def_color);
    return 0;
}
