#include "resync/np_fields.h"

#include <algorithm>
#include <map>
#include <sstream>

#include "softnp/softnp.h"

namespace zelfdb {
namespace {

using Fields = std::vector<std::string>;

template <class... Values>
std::string line(Values... values)
{
    std::ostringstream text;
    ((text << +values << ' '), ...);
    return text.str();
}

template <class... Values>
void put(Fields& fields, const char* kind, Values... values)
{
    fields.push_back(std::string(kind) + " " + line(values...));
}

// With its place among those of its group, of which the oldest decides. Between groups the order says nothing.
void put_bindings(Fields& fields, unsigned np_port, unsigned count)
{
    std::map<unsigned, unsigned> places;
    for (unsigned i = 0; i < count; ++i) {
        softnp_binding binding{};
        softnp_get_binding(np_port, i, &binding);
        put(fields, "binding", np_port, binding.group, places[binding.group]++, binding.VID);
    }
}

void put_ports(Fields& fields)
{
    for (unsigned p = 1; p <= SOFTNP_PORTS; ++p) {
        softnp_port port{};
        if (softnp_get_port(p, &port) != 1) continue;
        put(fields, "port", p, port.state, port.p_flag, port.tagtype, port.PVID, port.FID, port.p_type, port.pri,
            port.phport, port.valbit, port.bandwidth_calc_mode, port.def_spno, port.def_pri, port.def_color,
            port.binding_count);
        for (unsigned c = 0; c < SOFTNP_CLASSES; ++c)
            put(fields, "class of port", p, c, port.cosmap[c], port.policing[c].rate, port.policing[c].burst,
                port.policing[c].color);
        put_bindings(fields, p, port.binding_count);
    }
}

void put_lists_of(Fields& fields, unsigned VID, unsigned np_port)
{
    for (const int kind : {SOFTNP_CLASSIFY, SOFTNP_PREFILTER, SOFTNP_LOC}) {
        softnp_list_binding list{};
        if (softnp_get_list_binding(kind, VID, np_port, &list) == 1)
            put(fields, "list of", VID, np_port, kind, list.list, list.words[0], list.words[1], list.words[2],
                list.words[3]);
    }
}

void put_vlans(Fields& fields, unsigned count)
{
    for (unsigned VID = 1; VID <= SOFTNP_VLANS && count > 0; ++VID) {
        softnp_vlan vlan{};
        if (softnp_get_vlan(VID, &vlan) != 1) continue;
        --count;
        put(fields, "vlan", VID, vlan.FID, vlan.ignore_fdb, vlan.learning_off, vlan.member_count);
        for (unsigned p = 1; p <= SOFTNP_PORTS; ++p) {
            softnp_member member{};
            if (softnp_get_member(VID, p, &member) != 1) continue;
            put(fields, "member", VID, p, member.tagged, member.protocol_based, member.tagtype);
            put_lists_of(fields, VID, p);
        }
    }
}

void put_groups(Fields& fields)
{
    softnp_group group{};
    for (unsigned i = 0; softnp_get_group(i, &group) == 1; ++i) {
        put(fields, "group", group.group, group.count);
        for (unsigned p = 0; p < group.count; ++p) put(fields, "protocol", group.group, group.protocols[p]);
    }
}

void put_streams(Fields& fields, unsigned count)
{
    for (unsigned n = 0; n < SOFTNP_STREAMS && count > 0; ++n) {
        softnp_stream s{};
        if (softnp_get_stream(n, &s) != 1) continue;
        --count;
        put(fields, "stream", n, s.priority, s.qos_type, s.qos_param, s.qos_param2, s.minrate, s.minburst, s.maxrate,
            s.maxburst, s.has_actual_rate, s.actual_rate, s.actual_excess, s.tosmap_bits, s.is_shaped);
        for (unsigned c = 0; c < SOFTNP_CLASSES; ++c) {
            put(fields, "class of stream", n, c, s.tos_value[c], s.tos_mask[c], s.queue[c]);
            for (const softnp_red& red : s.red[c])
                put(fields, "red", n, c, red.min_thresh, red.max_thresh, red.min_drop, red.max_drop);
        }
    }
}

// A queue that serves no stream has no weight that counts.
void put_queues(Fields& fields, unsigned count)
{
    for (unsigned n = 0; n < SOFTNP_QUEUES && count > 0; ++n) {
        softnp_queue q{};
        if (softnp_get_queue(n, &q) != 1) continue;
        --count;
        put(fields, "queue", n, q.size, q.queue_length, q.streamno, q.class_no, q.mode);
        if (q.streamno != SOFTNP_NO_STREAM && (q.mode == 1 || q.mode == 2)) put(fields, "pri", n, q.pri);
        if (q.streamno != SOFTNP_NO_STREAM && q.mode == 1) put(fields, "ratio", n, q.ratio);
    }
}

void put_lines(Fields& fields)
{
    for (const int kind : {SOFTNP_CLASSIFY, SOFTNP_PREFILTER, SOFTNP_LOC}) {
        softnp_list list{};
        for (unsigned i = 0; softnp_get_list(kind, i, &list) == 1; ++i) {
            for (unsigned n = 1; n <= list.lines; ++n) {
                softnp_line each{};
                softnp_get_line(kind, list.list, n, &each);
                std::string bytes;
                for (unsigned b = 0; b < each.size; ++b) bytes += line(each.data[b]);
                fields.push_back("line " + line(kind, list.list, n) + bytes);
            }
        }
    }
}

// A mirror without a source has no source port, one without a tag no tag type.
void put_mirrors(Fields& fields)
{
    for (unsigned n = 1; n <= SOFTNP_MIRRORS; ++n) {
        softnp_mirror m{};
        if (softnp_get_mirror(n, &m) != 1) continue;
        put(fields, "mirror", n, m.enabled, m.kind, m.dest_port_id, m.class_no, m.second, m.colour, m.tag_on);
        if (m.kind != 0) put(fields, "source of mirror", n, m.source_port_id, m.source_VID);
        if (m.tag_on != 0) put(fields, "tag of mirror", n, m.tagtype, m.tag_VID);
    }
}

void put_entries(Fields& fields)
{
    Fields entries;
    softnp_mac_entry entry{};
    for (unsigned cursor = 0; softnp_read_mac_entries(&cursor, &entry, 1) == 1;) {
        std::string mac;
        for (const unsigned char byte : entry.mac) mac += line(byte);
        entries.push_back("entry " + line(entry.FID) + mac + line(entry.np_port, entry.flag, entry.cookie));
    }
    std::sort(entries.begin(), entries.end());
    fields.insert(fields.end(), entries.begin(), entries.end());
}

}  // namespace

std::vector<std::string> np_fields()
{
    Fields fields;
    softnp_device_counters counters{};
    softnp_get_device_counters(&counters);
    for (unsigned id = 1; id <= SOFTNP_PHPORTS; ++id) {
        softnp_phport phport{};
        softnp_get_phport(id, &phport);
        put(fields, "phport", id, phport.shaping_rate, phport.shaping_param2);
    }
    put_ports(fields);
    put_vlans(fields, counters.vlans);
    put_groups(fields);
    put_streams(fields, counters.streams);
    put_queues(fields, counters.queues);
    put_lines(fields);
    put_mirrors(fields);
    put_entries(fields);
    return fields;
}

std::vector<std::string> np_fields_sorted()
{
    Fields fields = np_fields();
    std::sort(fields.begin(), fields.end());
    return fields;
}

std::string difference(const std::vector<std::string>& before, const std::vector<std::string>& after)
{
    std::string text;
    for (const std::string& each : before)
        if (std::find(after.begin(), after.end(), each) == after.end()) text += "- " + each + "\n";
    for (const std::string& each : after)
        if (std::find(before.begin(), before.end(), each) == before.end()) text += "+ " + each + "\n";
    return text.empty() && before != after ? "the order differs\n" : text;
}

}  // namespace zelfdb
