// Readers of the device's state and counters, for tools, tests and audits.
#include "device.h"
#include "execute.h"
#include "lists.h"
#include "mac_table.h"
#include "queueing.h"

#include <algorithm>
#include <cstring>

using namespace softnp;

namespace {

bool is_port(const State& state, u32 np_port) { return np_port < PORT_SLOTS && state.port[np_port].exists != 0; }

u32 port_count(const State& state)
{
    return static_cast<u32>(
        std::count_if(state.port, state.port + PORT_SLOTS, [](const Port& port) { return port.exists != 0; }));
}

u32 vlan_count(const State& state)
{
    return static_cast<u32>(
        std::count_if(state.vlan, state.vlan + VLAN_SLOTS, [](const Vlan& vlan) { return vlan.exists != 0; }));
}

u32 stream_count(const State& state)
{
    return static_cast<u32>(std::count_if(state.qos.stream, state.qos.stream + SOFTNP_STREAMS,
                                          [](const Stream& stream) { return stream.exists != 0; }));
}

u32 queue_count(const State& state)
{
    return static_cast<u32>(std::count_if(state.qos.queue, state.qos.queue + SOFTNP_QUEUES,
                                          [](const Queue& queue) { return queue.exists != 0; }));
}

void clear_mirror_counters(State& state)
{
    for (Mirror& mirror : state.mirrors.mirror) {
        mirror.record.copies = 0;
        mirror.record.copy_bytes = 0;
        mirror.record.unsent = 0;
        mirror.record.dropped = 0;
    }
}

void fill(softnp_vlan& out, const Vlan& vlan, u32 VID)
{
    out.VID = static_cast<u16>(VID);
    out.FID = vlan.FID;
    out.ignore_fdb = vlan.ignore_fdb;
    out.learning_off = vlan.learning_off;
    out.member_count = static_cast<u16>(size(vlan.members));
    std::copy(vlan.members.word, vlan.members.word + 3, out.members);
}

}  // namespace

int softnp_get_port(uint32_t np_port, softnp_port* port)
{
    if (!port) return -1;
    const Access device;
    if (!device) return -1;
    if (!is_port(*device, np_port)) return 0;
    *port = device->port[np_port].settings;
    return 1;
}

int softnp_get_binding(uint32_t np_port, uint32_t index, softnp_binding* binding)
{
    if (!binding) return -1;
    const Access device;
    if (!device) return -1;
    if (!is_port(*device, np_port) || index >= device->port[np_port].settings.binding_count) return 0;
    *binding = device->port[np_port].bindings[index];
    return 1;
}

int softnp_get_phport(uint32_t phport, softnp_phport* record)
{
    if (!record) return -1;
    const Access device;
    if (!device) return -1;
    if (phport == 0 || phport >= PHPORT_SLOTS) return 0;
    *record = device->phport[phport];
    return 1;
}

int softnp_get_vlan(uint32_t VID, softnp_vlan* vlan)
{
    if (!vlan) return -1;
    const Access device;
    if (!device) return -1;
    const Vlan* found = find_vlan(*device, VID);
    if (!found) return 0;
    fill(*vlan, *found, VID);
    return 1;
}

int softnp_get_member(uint32_t VID, uint32_t np_port, softnp_member* member)
{
    if (!member) return -1;
    const Access device;
    if (!device) return -1;
    const Vlan* vlan = find_vlan(*device, VID);
    if (!vlan || np_port >= PORT_SLOTS || !contains(vlan->members, np_port)) return 0;
    member->tagged = contains(vlan->tagged, np_port);
    member->protocol_based = contains(vlan->protocol_based, np_port);
    member->tagtype = device->member_tagtype[VID][np_port];
    return 1;
}

int softnp_get_group(uint32_t index, softnp_group* group)
{
    if (!group) return -1;
    const Access device;
    if (!device) return -1;
    if (index >= device->groups.count) return 0;
    *group = device->groups.group[index];
    return 1;
}

int softnp_get_mac_entry(uint32_t FID, const uint8_t mac[6], softnp_mac_entry* entry)
{
    if (!mac || !entry) return -1;
    const Access device;
    if (!device) return -1;
    const softnp_mac_entry* found = find_mac(*device, FID, mac);
    if (!found) return 0;
    *entry = *found;
    return 1;
}

int softnp_read_mac_entries(uint32_t* cursor, softnp_mac_entry* entries, uint32_t max)
{
    if (!cursor || !entries) return -1;
    const Access device;
    if (!device) return -1;
    u32 copied = 0;
    u32 slot = *cursor;
    const u32 capped = std::min<u32>(max, INT32_MAX);
    while (copied < capped && slot < device->mac.high) {
        const softnp_mac_entry* entry = mac_in_slot(*device, slot++);
        if (entry) entries[copied++] = *entry;
    }
    *cursor = slot;
    return static_cast<int>(copied);
}

int softnp_get_port_counters(uint32_t np_port, softnp_port_counters* counters)
{
    if (!counters) return -1;
    const Access device;
    if (!device) return -1;
    if (np_port == 0 || np_port >= PORT_SLOTS) return 0;
    settle_streams(*device);
    *counters = device->counters.port[np_port];
    return 1;
}

int softnp_get_device_counters(softnp_device_counters* out)
{
    if (!out) return -1;
    const Access device;
    if (!device) return -1;
    settle_streams(*device);
    const Counters& counters = device->counters;
    out->frames = counters.frames;
    std::copy(counters.dropped, counters.dropped + SOFTNP_REASON_COUNT, out->dropped);
    out->events_raised = counters.events_raised;
    out->events_lost = counters.events_lost;
    out->commands = counters.commands;
    out->commands_refused = counters.commands_refused;
    out->commands_lost = counters.commands_lost;
    out->owner_deaths = device->header.owner_deaths;
    out->unqueued = counters.unqueued;
    out->copies = counters.copies;
    out->copies_lost = counters.copies_lost;
    out->events_queued = device->events.count;
    out->ports = port_count(*device);
    out->vlans = vlan_count(*device);
    out->groups = device->groups.count;
    out->mac_entries = device->mac.entry_count;
    out->mac_capacity = device->header.mac_capacity;
    out->streams = stream_count(*device);
    out->queues = queue_count(*device);
    out->buffers_used = device->qos.buffers.used;
    out->pad = 0;
    return 0;
}

int softnp_clear_counters(void)
{
    const Access device;
    if (!device) return -1;
    clear_queue_counters(*device);
    clear_line_counters(*device);
    clear_mirror_counters(*device);
    std::memset(static_cast<void*>(&device->counters), 0, sizeof device->counters);
    return 0;
}

int softnp_command_count(uint32_t index, const char** name, uint64_t* sent, uint64_t* refused)
{
    if (index >= KIND_COUNT) return 0;
    if (name) *name = kind_info(static_cast<Kind>(index)).name;
    if (!sent && !refused) return 1;
    const Access device;
    if (!device) return -1;
    const KindCounters& counters = device->counters.kind[index];
    if (sent) *sent = counters.sent;
    if (refused) *refused = counters.refused;
    return 1;
}
