#include "port/npflag.h"

#include "fdb/listing.h"
#include "np/port_commands.h"

namespace zelfdb {

void port_update_npflag(const Descriptor& d, Port& port)
{
    const u16 before = port.p_flag;
    u32 mask = 0;
    if (port.optate == optate_down || port.sldbkr_state == sldbkr_tripped) {
        port.p_flag = static_cast<u16>(before & ~u32{pflag_forwarding});
        mask = pflag_forwarding;
    }
    const bool learning_ended = (before & pflag_learn) && !(port.p_flag & pflag_learn);
    if (learning_ended) delete_dfil_select_port(d, port.PortID);
    if (port.p_flag != before) set_port_flag_to_NP(d, port, mask);
}

}  // namespace zelfdb
