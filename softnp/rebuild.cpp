// The device's state as a whole: emptied, or made consistent after a process died in the middle of a change.
#include "clock.h"
#include "device.h"
#include "lists.h"
#include "mac_table.h"
#include "queueing.h"

#include <algorithm>
#include <cstring>

namespace softnp {

namespace {

template <class Record>
void clear(Record& record)
{
    std::memset(static_cast<void*>(&record), 0, sizeof record);
}

void rebuild_fid_use(State& state)
{
    clear(state.fid);
    for (u32 np_port = 1; np_port < PORT_SLOTS; np_port++)
        if (state.port[np_port].exists != 0)
            state.fid[state.port[np_port].settings.FID].np_port = static_cast<u16>(np_port);
    for (u32 VID = 1; VID < VLAN_SLOTS; VID++)
        if (state.vlan[VID].exists != 0) state.fid[state.vlan[VID].FID].vlans++;
}

void keep_existing_members(const State& state, Vlan& vlan)
{
    for (u32 np_port = 1; np_port < PORT_SLOTS; np_port++)
        if (vlan.exists == 0 || state.port[np_port].exists == 0) erase(vlan.members, np_port);
    for (u32 word = 0; word < 3; word++) {
        vlan.tagged.word[word] &= vlan.members.word[word];
        vlan.protocol_based.word[word] &= vlan.members.word[word];
    }
}

// A binding holds only for a protocol-based membership.
void keep_valid_bindings(const State& state, Port& port, u32 np_port)
{
    u32 kept = 0;
    const u32 count = std::min(port.settings.binding_count, SOFTNP_BINDINGS);
    for (u32 index = 0; index < count; index++) {
        const softnp_binding binding = port.bindings[index];
        if (binding.VID < VLAN_SLOTS && contains(state.vlan[binding.VID].protocol_based, np_port))
            port.bindings[kept++] = binding;
    }
    port.settings.binding_count = kept;
}

void keep_bounds(State& state)
{
    state.groups.count = std::min(state.groups.count, SOFTNP_GROUPS);
    for (softnp_group& group : state.groups.group) group.count = std::min<u16>(group.count, SOFTNP_GROUP_PROTOCOLS);
    state.events.first %= SOFTNP_EVENTS;
    state.events.count = std::min(state.events.count, SOFTNP_EVENTS);
    state.mirrors.ring.first %= SOFTNP_COPIES;
    state.mirrors.ring.count = std::min(state.mirrors.ring.count, SOFTNP_COPIES);
    state.refusals.count = std::min(state.refusals.count, SOFTNP_REFUSALS);
}

}  // namespace

void rebuild(State& state)
{
    keep_bounds(state);
    for (Vlan& vlan : state.vlan) keep_existing_members(state, vlan);
    for (u32 np_port = 1; np_port < PORT_SLOTS; np_port++) keep_valid_bindings(state, state.port[np_port], np_port);
    rebuild_fid_use(state);
    rebuild_queues(state);
    rebuild_lists(state);
    rebuild_mac_table(state);
}

void wipe(State& state)
{
    state.header.refuse_init = 0;
    state.header.owner_deaths = 0;
    clear(state.counters);
    clear(state.refusals);
    clear(state.groups);
    clear(state.port);
    clear(state.phport);
    clear(state.vlan);
    clear(state.fid);
    clear(state.qos);
    clear(state.lists);
    clear(state.mirrors.mirror);
    state.mirrors.ring.is_on = 0;
    state.mirrors.ring.count = 0;
    state.events.first = 0;
    state.events.count = 0;
    state.log.next_serial = 0;
    wipe_mac_table(state);
    restart_clock(state);
}

}  // namespace softnp
