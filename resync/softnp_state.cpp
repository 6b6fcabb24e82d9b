#include "resync/softnp_state.h"

#include "resync/values.h"
#include "softnp/softnp.h"

namespace zelfdb {
namespace {

using Objects = std::map<Object, FoundItem>;

void read_phports(Objects& objects)
{
    softnp_phport phport{};
    for (u32 id = 1; id <= SOFTNP_PHPORTS; ++id)
        if (softnp_get_phport(id, &phport) == 1)
            objects[phport_object(id)] = {{{"shaping", numbers(phport.shaping_rate, phport.shaping_param2)}}, {}};
}

FoundItem item_of(const softnp_port& port)
{
    FoundItem item{{{"type", number_text(port.p_type)},
                    {"priority", number_text(port.pri)},
                    {"physical port", number_text(port.phport)},
                    {"FID", number_text(port.FID)},
                    {"flags", flags_text(port.p_flag)},
                    {"tagtype", flags_text(port.tagtype)},
                    {"PVID", number_text(port.PVID)},
                    {"CoS map", flags_text(port.valbit) + " " + words_text(port.cosmap, SOFTNP_CLASSES)},
                    {"bandwidth mode", number_text(port.bandwidth_calc_mode)},
                    {"default class", numbers(port.def_spno, port.def_pri, port.def_color)}},
                   {}};
    for (u32 class_no = 0; class_no < SOFTNP_CLASSES; ++class_no) {
        const softnp_policing& row = port.policing[class_no];
        item.settings["policing " + number_text(class_no)] = numbers(row.rate, row.burst, row.color);
    }
    return item;
}

void read_bindings(Found& found, u32 np_port, u32 count)
{
    softnp_binding binding{};
    const u32 port_id = softnp_port_id(np_port);
    for (u32 index = 0; index < count && softnp_get_binding(np_port, index, &binding) == 1; ++index) {
        const Object object = binding_object(port_id, binding.VID, binding.group);
        found.objects[object] = {{}, {member_object(port_id, binding.VID), group_object(binding.group)}};
        found.bindings.push_back(object);
    }
}

const char* state_text(u32 state)
{
    if (state == SOFTNP_PORT_NEW) return "never told";
    return state == SOFTNP_PORT_ENABLED ? "up" : "down";
}

void read_ports(Found& found)
{
    softnp_port port{};
    for (u32 np_port = 1; np_port <= SOFTNP_PORTS; ++np_port) {
        if (softnp_get_port(np_port, &port) != 1) continue;
        const u32 port_id = softnp_port_id(np_port);
        found.objects[port_object(port_id)] = item_of(port);
        found.objects[port_state_object(port_id)] = {{{"state", state_text(port.state)}}, {port_object(port_id)}};
        read_bindings(found, np_port, port.binding_count);
    }
}

void read_member(Objects& objects, u32 VID, u32 np_port)
{
    softnp_member member{};
    if (softnp_get_member(VID, np_port, &member) != 1) return;
    const u32 port_id = softnp_port_id(np_port);
    objects[member_object(port_id, VID)] = {{{"tagged", yes_no(member.tagged)},
                                             {"tagtype", flags_text(member.tagtype)},
                                             {"by protocol", yes_no(member.protocol_based)}},
                                            {port_object(port_id), vlan_object(VID)}};
    softnp_list_binding list{};
    if (softnp_get_list_binding(SOFTNP_CLASSIFY, VID, np_port, &list) == 1)
        objects[list_binding_object(port_id, VID)] = {
            {{"list", number_text(list.list)}, {"words", words_text(list.words, 4)}}, {member_object(port_id, VID)}};
}

void read_vlans(Objects& objects, u32 count)
{
    softnp_vlan vlan{};
    for (u32 VID = 1; VID <= SOFTNP_VLANS && count > 0; ++VID) {
        if (softnp_get_vlan(VID, &vlan) != 1) continue;
        --count;
        objects[vlan_object(VID)] = {{{"FID", number_text(vlan.FID)},
                                      {"ignores the FDB", yes_no(vlan.ignore_fdb)},
                                      {"learning off", yes_no(vlan.learning_off)}},
                                     {}};
        for (u32 np_port = 1; np_port <= SOFTNP_PORTS; ++np_port)
            if (vlan.members[np_port / 32] >> np_port % 32 & 1) read_member(objects, VID, np_port);
    }
}

void read_groups(Objects& objects)
{
    softnp_group group{};
    for (u32 index = 0; index < SOFTNP_GROUPS && softnp_get_group(index, &group) == 1; ++index) {
        objects[group_object(group.group)] = {};
        for (u32 i = 0; i < group.count && i < SOFTNP_GROUP_PROTOCOLS; ++i)
            objects[protocol_object(group.group, group.protocols[i])] = {{}, {group_object(group.group)}};
    }
}

FoundItem item_of(const softnp_stream& s)
{
    constexpr u32 qos_wfq = 1;
    FoundItem item{
        {{"priority", number_text(s.priority)},
         {"QoS type", s.qos_type == qos_wfq ? numbers(s.qos_type, s.qos_param, s.qos_param2) : number_text(s.qos_type)},
         {"shaping", numbers(s.minrate, s.minburst, s.maxrate, s.maxburst)},
         {"TOS map", tosmap_text(s.tosmap_bits, s.tos_value, s.tos_mask)},
         {"actual rate", s.has_actual_rate ? numbers(s.actual_rate, s.actual_excess) : numbers(0, 0)}},
        {}};
    for (u32 class_no = 0; class_no < SOFTNP_CLASSES; ++class_no) {
        for (u32 colour = 0; colour < SOFTNP_COLOURS; ++colour) {
            const softnp_red& red = s.red[class_no][colour];
            item.settings["RED " + numbers(class_no, colour)] =
                numbers(red.min_thresh, red.min_drop, red.max_thresh, red.max_drop);
        }
    }
    return item;
}

void read_streams(Objects& objects, u32 count)
{
    softnp_stream stream{};
    for (u32 streamno = 0; streamno < SOFTNP_STREAMS && count > 0; ++streamno) {
        if (softnp_get_stream(streamno, &stream) != 1) continue;
        --count;
        objects[stream_object(streamno)] = item_of(stream);
    }
}

void read_queues(Objects& objects, u32 count)
{
    softnp_queue queue{};
    for (u32 number = 0; number < SOFTNP_QUEUES && count > 0; ++number) {
        if (softnp_get_queue(number, &queue) != 1) continue;
        --count;
        objects[queue_object(number)] = {{{"size", numbers(queue.size, queue.queue_length)}}, {}};
        if (queue.streamno == SOFTNP_NO_STREAM) continue;
        objects[attachment_object(number)] = {{{"slot", numbers(queue.streamno, queue.class_no)},
                                               {"weight", weight_text(queue.mode, queue.pri, queue.ratio)}},
                                              {stream_object(queue.streamno), queue_object(number)},
                                              queue.class_no};
    }
}

void read_lines(Objects& objects)
{
    softnp_list list{};
    softnp_line line{};
    for (u32 index = 0; softnp_get_list(SOFTNP_CLASSIFY, index, &list) == 1; ++index)
        for (u32 number = 1; number <= list.lines; ++number)
            if (softnp_get_line(SOFTNP_CLASSIFY, list.list, number, &line) == 1)
                objects[line_object(list.list, number)] = {{{"line", bytes_text(line.data, line.size)}}, {}};
}

void read_mirrors(Objects& objects)
{
    softnp_mirror m{};
    for (u32 number = 1; number <= SOFTNP_MIRRORS; ++number)
        if (softnp_get_mirror(number, &m) == 1)
            objects[mirror_object(number)] = {{{"source", mirror_source_text(m.kind, m.source_port_id, m.source_VID)},
                                               {"destination", number_text(m.dest_port_id)},
                                               {"class", numbers(m.class_no, m.second, m.colour)},
                                               {"tag", mirror_tag_text(m.tag_on, m.tagtype, m.tag_VID)},
                                               {"enabled", yes_no(m.enabled)}},
                                              {}};
}

void read_entries(Objects& objects)
{
    softnp_mac_entry entries[256];
    u32 cursor = 0;
    for (int count = 0; (count = softnp_read_mac_entries(&cursor, entries, std::size(entries))) > 0;) {
        for (int i = 0; i < count; ++i) {
            const softnp_mac_entry& entry = entries[i];
            const bool bound = entry.np_port >= 0;
            const u32 port_id = bound ? softnp_port_id(static_cast<u32>(entry.np_port)) : 0;
            objects[entry_object(entry.FID, entry.mac)] = {{{"place", entry_place_text(bound, port_id)},
                                                            {"flag", flags_text(entry.flag)},
                                                            {"cookie", number_text(entry.cookie)}},
                                                           {}};
        }
    }
}

}  // namespace

bool read_softnp(Found& found)
{
    softnp_device_counters counters{};  // how many there are of the kinds that have many numbers
    if (softnp_get_device_counters(&counters) != 0) return false;
    read_phports(found.objects);
    read_ports(found);
    read_vlans(found.objects, counters.vlans);
    read_groups(found.objects);
    read_streams(found.objects, counters.streams);
    read_queues(found.objects, counters.queues);
    read_lines(found.objects);
    read_mirrors(found.objects);
    read_entries(found.objects);
    return true;
}

bool softnp_is_fresh()
{
    Found found;
    if (!read_softnp(found)) return false;
    for (const auto& [object, item] : found.objects)
        if (object.kind != ObjectKind::phport) return false;
    return true;
}

}  // namespace zelfdb
