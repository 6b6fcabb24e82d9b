// The texts of error numbers, outcomes and reasons, and the numbering of ports. Needs no device.
#include "types.h"

#include <iterator>

using softnp::u32;

namespace {

constexpr const char* errors[] = {
    "accepted",
    "not supported",
    "not delivered",
    "refused on order",
    "value out of range",
    "port has no number in the NP",
    "no such port",
    "port exists already",
    "port is a member of a VLAN",
    "no such VLAN",
    "VLAN exists already",
    "VLAN has members",
    "port is not a member of the VLAN",
    "port is a member of the VLAN already",
    "no such MAC entry",
    "FID belongs to no VLAN and no port",
    "FID is in use",
    "table full",
    "no such protocol group",
    "protocol group exists already",
    "protocol group is in use",
    "protocol is not in the group",
    "protocol is in a group already",
    "no such physical port",
    "no such stream",
    "stream exists already",
    "no such queue",
    "queue exists already",
    "queue is in a stream already",
    "queue is in no stream",
    "class of the stream has another queue",
    "no such line",
    "membership has a list already",
    "membership has no list",
    "no such mirror",
    "mirror exists already",
    "mirror is enabled",
    "mirror is not enabled",
    "mirror has no source or no destination",
    "mirror would copy what it sends",
};
static_assert(std::size(errors) == SOFTNP_ERROR_COUNT);

constexpr const char* outcomes[] = {"dropped", "forwarded", "flooded", "delivered"};

constexpr const char* reasons[] = {
    "none",
    "unknown port",
    "port disabled",
    "runt",
    "oversize",
    "untagged not admitted",
    "unknown VLAN",
    "not a member of the VLAN",
    "port not forwarding",
    "destination on the same port",
    "discard entry",
    "egress port unknown",
    "egress port disabled",
    "egress port not forwarding",
    "egress port not a member of the VLAN",
    "no port to flood to",
    "prefilter",
};
static_assert(std::size(reasons) == SOFTNP_REASON_COUNT);

constexpr u32 DIRECT_PORTS = 10;  // port IDs 1..10 keep their number
constexpr u32 VIRTUAL_FIRST = 101;
constexpr u32 VIRTUAL_OFFSET = 90;

}  // namespace

const char* softnp_error_text(int error)
{
    return error >= 0 && error < SOFTNP_ERROR_COUNT ? errors[error] : "unknown error";
}

const char* softnp_outcome_text(int outcome)
{
    return outcome >= 0 && outcome < static_cast<int>(std::size(outcomes)) ? outcomes[outcome] : "unknown";
}

const char* softnp_reason_text(int reason)
{
    return reason >= 0 && reason < SOFTNP_REASON_COUNT ? reasons[reason] : "unknown";
}

uint32_t softnp_np_port(uint32_t port_id)
{
    if (port_id >= 1 && port_id <= DIRECT_PORTS) return port_id;
    if (port_id >= VIRTUAL_FIRST && port_id <= SOFTNP_PORTS + VIRTUAL_OFFSET) return port_id - VIRTUAL_OFFSET;
    return SOFTNP_NO_PORT;
}

uint32_t softnp_port_id(uint32_t np_port)
{
    if (np_port >= 1 && np_port <= DIRECT_PORTS) return np_port;
    if (np_port > DIRECT_PORTS && np_port <= SOFTNP_PORTS) return np_port + VIRTUAL_OFFSET;
    return SOFTNP_NO_PORT;
}
