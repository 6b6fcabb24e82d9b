#include "language/outcome.h"

#include <zelfdb/zelfdb.h>

#include <algorithm>
#include <iterator>

namespace zelfctl {
namespace {

constexpr struct {
    u32 code;
    const char* text;
} texts[] = {
    {ZELFDB_DONE, "done"},
    {ZELFDB_NO_DESCRIPTOR, "the database could not be opened"},
    {ZELFDB_NO_PORT, "no such port"},
    {ZELFDB_NO_VLAN, "no such VLAN"},
    {ZELFDB_NO_MAC, "no entry with that MAC address"},
    {ZELFDB_NO_STREAM, "no such stream"},
    {ZELFDB_NO_QUEUE, "no such queue"},
    {ZELFDB_NO_PHPORT, "no such physical port"},
    {ZELFDB_NO_CLASSIFY, "no such classify list"},
    {ZELFDB_NO_LINE, "the classify list has no such line"},
    {ZELFDB_BAD_VID, "the VID is outside 1 to 4094"},
    {ZELFDB_NOT_VIF, "the port is not a virtual interface"},
    {ZELFDB_PORT_POOL_EMPTY, "no more ports: all port records are in use"},
    {ZELFDB_PORT_EXISTS, "the port exists already"},
    {ZELFDB_PHPORT_BOUND, "the physical port serves another Ethernet port already"},
    {ZELFDB_PHPORT_UNKNOWN, "no such physical port"},
    {ZELFDB_PORT_ENABLED, "the port is enabled already"},
    {ZELFDB_PORT_IN_VLAN, "the port is still a member of a VLAN"},
    {ZELFDB_PORT_IS_UPLINK, "the port is an uplink"},
    {ZELFDB_PORT_HAS_STREAM, "the port still has a stream"},
    {ZELFDB_PORT_DISABLED, "the port is disabled already"},
    {ZELFDB_NAME_IN_USE, "the VLAN name is in use"},
    {ZELFDB_VID_IN_USE, "the VID is in use"},
    {ZELFDB_NAME_TOO_LONG, "the VLAN name has more than 30 characters"},
    {ZELFDB_VLAN_POOL_EMPTY, "no more VLANs: all VLAN records are in use"},
    {ZELFDB_NO_FREE_VID, "every VID is in use"},
    {ZELFDB_VLAN_HAS_PORTS, "the VLAN still has members"},
    {ZELFDB_ALREADY_MEMBER, "the port is a member of the VLAN already"},
    {ZELFDB_TAGGED_BAD_VID, "no tagged membership: the VLAN's VID is outside 1 to 4094"},
    {ZELFDB_VLAN_FULL, "the VLAN has eight members already"},
    {ZELFDB_VLAN_HAS_VIF, "the VLAN has a virtual interface already"},
    {ZELFDB_VIF_HAS_PVID, "the virtual interface has a PVID already"},
    {ZELFDB_PORT_HAS_PVID, "the port is an untagged member of another VLAN already"},
    {ZELFDB_GROUP_JOINED, "the port belongs to a VLAN through that protocol group already"},
    {ZELFDB_GROUP_TABLE_FULL, "the port belongs to VLANs through eight protocol groups already"},
    {ZELFDB_NOT_MEMBER, "the port is not a member"},
    {ZELFDB_PV_CLASSIFIED, "a classify list is still bound to the membership"},
    {ZELFDB_MAC_EXISTS, "an entry with that MAC address exists already"},
    {ZELFDB_FDB_FULL, "no room: user limit reached, table full, or refused by the network processor"},
    {ZELFDB_PERMIT_DIFFERS, "a system entry and a user entry are not the same"},
    {ZELFDB_TYPE_DIFFERS, "the entry with that MAC address is of another type"},
    {ZELFDB_VIF_NO_SLDBKR, "a virtual interface has no loop breaker"},
    {ZELFDB_BAD_CLASS, "the class is above 7"},
    {ZELFDB_QUEUE_EXISTS, "the queue exists already"},
    {ZELFDB_QUEUE_POOL_EMPTY, "no more queues: all records are in use, or the network processor refused it"},
    {ZELFDB_QUEUE_BUDGET, "the buffer budget of the queues is used up"},
    {ZELFDB_QUEUE_ATTACHED, "the queue belongs to a stream already"},
    {ZELFDB_QUEUE_NOT_ATTACHED, "the queue belongs to no stream"},
    {ZELFDB_STREAM_BOUND, "the stream is bound to a port"},
    {ZELFDB_STREAM_NOT_BOUND, "the stream is not bound to that port"},
    {ZELFDB_STREAM_HAS_QUEUE, "the stream still has a queue"},
    {ZELFDB_STREAM_EXISTS, "the stream exists already"},
    {ZELFDB_STREAM_POOL_EMPTY, "no more streams: all records are in use, or the network processor refused it"},
    {ZELFDB_CLASSIFY_EXISTS, "the classify list exists already"},
    {ZELFDB_CLASSIFY_POOL_EMPTY, "no more classify lists: all records are in use"},
    {ZELFDB_CLASSIFY_FULL, "the classify list has 256 lines already, or all line records are in use"},
    {ZELFDB_CLASSIFY_HAS_LINES, "the classify list still has lines"},
    {ZELFDB_CLASSIFY_BOUND, "the classify list is still bound to a membership"},
    {ZELFDB_PV_HAS_CLASSIFY, "the membership has a classify list already"},
    {ZELFDB_PV_NO_CLASSIFY, "the membership has no classify list"},
    {ZELFDB_PROTGROUPS_FULL, "there are eight protocol groups already"},
    {ZELFDB_PROTGROUP_EXISTS, "the protocol group exists already"},
    {ZELFDB_NO_PROTGROUP, "no such protocol group"},
    {ZELFDB_PROTGROUP_FULL, "the protocol group holds eight protocols already"},
    {ZELFDB_PROTOCOL_IN_GROUP, "the protocol is in the group already"},
    {ZELFDB_PROTOCOL_ELSEWHERE, "the protocol belongs to another group"},
    {ZELFDB_PROTOCOL_NOT_IN_GROUP, "the protocol is not in the group"},
    {ZELFDB_BAD_MIRROR, "no such mirror: there are 1 to 4"},
    {ZELFDB_MIRROR_EXISTS, "the mirror exists already"},
    {ZELFDB_NO_MIRROR, "no such mirror"},
    {ZELFDB_MIRROR_NO_SOURCE, "the mirror has no source"},
    {ZELFDB_MIRROR_NO_DEST, "the mirror has no destination"},
    {ZELFDB_MIRROR_ONTO_ITSELF, "the mirror's source is frames that leave by its destination"},
    {ZELFDB_MIRROR_IN_USE, "the mirror is enabled: disable it first"},
    {ZELFDB_MIRROR_ENABLED, "the mirror is enabled already"},
    {ZELFDB_MIRROR_DISABLED, "the mirror is not enabled"},
    {ZELFDB_MIRROR_FROZEN, "the mirror is enabled: disable it to change source or destination"},
    {ZELFDB_PROTGROUP_USED, "a port still uses the protocol group"},
};

constexpr const char* refused_by_NP = "the network processor refused the command";

}  // namespace

const char* text_of_code(u32 code)
{
    const auto* const found =
        std::find_if(std::begin(texts), std::end(texts), [code](const auto& row) { return row.code == code; });
    return found == std::end(texts) ? "unknown reason" : found->text;
}

Outcome outcome_of(int result, u32 code)
{
    if (result == 0) return {};
    return code == ZELFDB_DONE ? failure(refused_by_NP) : failure(code);
}

Outcome outcome_of_NP_command(int result, u32 code)
{
    if (result == 0) return {};
    return code == ZELFDB_NO_DESCRIPTOR ? failure(refused_by_NP) : failure(code);
}

Outcome failure(u32 code) { return {false, code, text_of_code(code)}; }

Outcome failure(std::string reason) { return {false, 0, std::move(reason)}; }

}  // namespace zelfctl
