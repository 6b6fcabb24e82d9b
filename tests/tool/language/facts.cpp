#include "facts.h"

#include <cstring>

#include "core/call.h"

namespace zelfctl {
namespace {

using namespace zelfdb;

constexpr u32 rate_unit = 1000;
constexpr u32 colours_with_words = 3;
constexpr u8 qos_wfq = 1;
constexpr u8 qos_pq = 2;

u32 word_of_colour(u32 colour) { return std::min(colour, colours_with_words); }

class Collector {
public:
    explicit Collector(const Descriptor& d) : d_(d), base_(main_base(d)), header_(header_of(d)) {}

    std::vector<Fact> all()
    {
        for (const Phport& phport : walk(all_phports, base_, header_)) add_phport(phport);
        for (const zelfdb::Port& port : walk(all_ports, base_, header_)) add_port(port);
        u32 place = 0;
        for (const Stream& stream : walk(all_streams, base_, header_)) add_stream(stream, place++);
        for (u32 i = 0; i < header_.prot_groups.count; ++i) add_group(header_.prot_groups.group[i], i);
        for (const Vlan& vlan : walk(all_vlans, base_, header_)) add_vlan(vlan);
        for (const Classify& classify : walk(all_classifies, base_, header_)) add_profile(classify);
        add_entries();
        for (u32 i = 0; i < std::size(header_.mirror); ++i) add_mirror(header_.mirror[i], i);
        return std::move(facts_);
    }

private:
    void add(const char* field, u32 value, u32 part = 0) { facts_.push_back({field, object_, part, value}); }

    void add_phport(const Phport& phport)
    {
        if (phport.shaping_rate == 0) return;
        object_ = phport.ID;
        add("ether rate", phport.shaping_rate / rate_unit);
        add("ether burst", phport.shaping_param2);
    }

    void add_flags(const zelfdb::Port& port)
    {
        const bool is_typed = port.p_type == port_type_ether || port.p_type == port_type_vif;
        const u32 carried = is_typed ? 0x3150 : 0x3010;
        add("flags", port.p_flag & carried);
    }

    void add_policing(const zelfdb::Port& port)
    {
        for (u32 i = 0; i < class_count; ++i) {
            const Policing& row = port.policing[i];
            if (row.rate == 0) continue;
            add("policing colour", word_of_colour(row.color), i);
            add("policing rate", row.rate / rate_unit, i);
            add("policing burst", row.burst, i);
        }
    }

    void add_port(const zelfdb::Port& port)
    {
        object_ = port.PortID;
        add("port type", port.p_type > port_type_vif ? 0 : port.p_type);
        add("npport", port.phport);
        add_flags(port);
        add("tagtype", port.tagtype);
        add("aging", port.aging);
        add("default stream", port.def_spno);
        add("default priority", port.def_pri);
        add("default colour", word_of_colour(port.def_color));
        add("valbit", port.valbit);
        for (u32 i = 0; i < std::size(port.cosmap); ++i)
            if (port.valbit & 1U << i) add("cosmap", port.cosmap[i], i);
        add_policing(port);
        add("link mode", port.link_mode == 1);
        add("link depends", port.link_depend != 1);
        if (port.link_depend != 1) add("link depends on", port.link_depend_list & 0xF);
        add("bandwidth", port.bw_calc_mode != 0);
        add("link frames", port.link_frames_fwd & 0xD);
        add("state", port.optate);
    }

    void add_shaping(const Stream& stream)
    {
        if (stream.minrate == 0 && stream.maxrate == 0) return;
        add("committed rate", stream.minrate / rate_unit);
        add("peak rate", stream.maxrate / rate_unit);
        add("one rate", stream.minrate == stream.maxrate);
        add("committed burst", stream.minburst);
        add("peak burst", stream.maxburst);
    }

    void add_queue(const Stream& stream, u32 slot)
    {
        if (stream.slot[slot].queue_head == none) return;
        const auto& queue = record_at<Queue>(base_, stream.slot[slot].queue_head);
        add("queue length", queue.queue_length, slot);
        if (stream.qos_type == qos_wfq || stream.qos_type == qos_pq) add("queue priority", queue.pri, slot);
        if (stream.qos_type == qos_wfq) add("queue ratio", queue.ratio, slot);
    }

    void add_red(const Stream& stream, u32 slot)
    {
        for (const Red& red : stream.slot[slot].red) {
            u32 word = 0;
            static_assert(sizeof word == sizeof red);
            std::memcpy(&word, &red, sizeof word);
            add("RED", word, slot);
        }
    }

    void add_stream(const Stream& stream, u32 place)
    {
        object_ = place;
        add("stream's port", stream.portno);
        add("stream's position", stream.streamno & 0xFF);
        add("stored position", stream.sno_port);
        add("scheduling", stream.qos_type > qos_pq ? 0 : stream.qos_type);
        add_shaping(stream);
        add("stream priority", stream.priority);
        add("TOS entries", stream.tosmap_bits & 0xFF);
        for (u32 i = 0; i < std::size(stream.tos_value); ++i) {
            if (!(stream.tosmap_bits & 1U << i)) continue;
            add("TOS value", stream.tos_value[i], i);
            add("TOS mask", stream.tos_mask[i], i);
        }
        for (u32 slot = 0; slot < class_count; ++slot) {
            add_queue(stream, slot);
            add_red(stream, slot);
        }
    }

    void add_group(const ProtGroup& group, u32 place)
    {
        object_ = place;
        add("group", group.group);
        for (u32 i = 0; i < group.nprot; ++i) add("protocol", group.prot[i], i);
    }

    void add_groups_of_member(const zelfdb::Port& port, const Pv& pv)
    {
        for (u32 i = 0; i < port.npg && i < prot_bindings_per_port; ++i)
            if (port.prot[i].VID == pv.VID) add("by protocol group", port.prot[i].group, pv.port_id);
    }

    void add_member(const Pv& pv)
    {
        const zelfdb::Port* const port = known_port(base_, header_, pv.port_id);
        if (!port) return;
        if (pv.pv_flag & pv_protocol) return add_groups_of_member(*port, pv);
        if (pv.pv_flag & pv_tagged) return add("tagged member", pv.tagtype, pv.port_id);
        add("untagged member's PVID", port->PVID, pv.port_id);
    }

    void add_vlan(const Vlan& vlan)
    {
        object_ = vlan.VID;
        for (u32 i = 0; i < sizeof vlan.name; i += 4) {
            u32 letters = 0;
            std::memcpy(&letters, vlan.name + i, sizeof letters);
            add("name", letters, i);
            if (std::memchr(vlan.name + i, 0, sizeof letters)) break;
        }
        add("VLAN flags", vlan.vlan_flag & 0xEU);
        for (const Pv& pv : walk(pvs_of_vlan, base_, vlan)) add_member(pv);
    }

    template <class Field>
    void add_field(const ClassifyLine& line, u32 flag, const Field& field, const char* name, u32 position)
    {
        if (!(line.flags & flag)) return;
        add(name, field.value, position);
        add("mask", field.mask, position);
        add("ranged", field.ranged != 0, position);
        if (field.ranged) add("end of range", field.range_end, position);
    }

    void add_line(const Action& action)
    {
        const ClassifyLine& line = action.line;
        const u32 position = action.position;
        add("mode", line.mode > line_mode_dscp ? 0 : line.mode, position);
        add("to stream", line.stream_id, position);
        add("to class", line.class_id, position);
        add("to colour", line.colour >= colours_with_words ? 0 : line.colour, position);
        add_field(line, match_dst_ip, line.dst_ip, "destination", position);
        add_field(line, match_src_ip, line.src_ip, "source", position);
        add_field(line, match_tos, line.tos, "TOS", position);
        add_field(line, match_proto, line.proto, "protocol", position);
        add_field(line, match_dst_port, line.dst_port, "destination port", position);
        add_field(line, match_src_port, line.src_port, "source port", position);
        add_field(line, match_vlan, line.vlan, "VID", position);
        add_field(line, match_dot1p, line.dot1p, "802.1p", position);
        add_field(line, match_etype, line.etype, "ethertype", position);
        for (u32 i = 0; i < std::size(line.ext); ++i) {
            if (!(line.flags & match_ext << i)) continue;
            add("word of the payload", line.ext[i].value, position);
            add("mask of the word", line.ext[i].mask, position);
        }
    }

    void add_binding(const Pv& pv)
    {
        add("bound to port", pv.port_id, pv.VID);
        for (const u32 word : pv.classify_words) {
            const u32 kind = word & 0xFFFF;
            add("binding", kind == 1 || kind == 2 || kind == 4 ? word : 0, pv.VID);
        }
    }

    void add_profile(const Classify& classify)
    {
        object_ = classify.ID;
        add("lines", classify.naction);
        for (const Action& action : actions_of(base_, classify)) add_line(action);
        for (const Pv& pv : walk(pvs_of_classify, base_, classify)) add_binding(pv);
    }

    void add_mac(const char* field, const Mac& mac)
    {
        const u8(&m)[6] = mac.byte;
        add(field, u32{m[0]} << 8 | m[1], u32{m[2]} << 24 | u32{m[3]} << 16 | u32{m[4]} << 8 | m[5]);
    }

    template <class Add>
    void add_user_entries(const FdbHead& fdb, u32 type, Add add_entry)
    {
        for (u32 bucket = 0; bucket < bucket_count; ++bucket)
            for (const Fil& fil : chain(fils_by_mac, fdb_base(d_), fdb, bucket))
                if (fil.fil_type == type && fil.fil_permit == 0) add_entry(fil);
    }

    void add_entries()
    {
        for (const Vlan& vlan : walk(all_vlans, base_, header_)) {
            object_ = vlan.VID;
            if (vlan.fdb.nfil == 0) continue;
            add_user_entries(vlan.fdb, fil_static, [this](const Fil& fil) {
                add_mac("static", fil.mac);
                add("entry's flags", fil.fil_flag);
                if (fil.fil_flag != fil_flag_no_port) add("entry's port", fil.port);
            });
        }
        for (const zelfdb::Port& port : walk(all_ports, base_, header_)) {
            object_ = port.PortID;
            if (port.fdb.nfil == 0) continue;
            add_user_entries(port.fdb, fil_local, [this](const Fil& fil) { add_mac("local", fil.mac); });
        }
    }

    void add_mirror(const Mirror& mirror, u32 place)
    {
        object_ = place + 1;
        if (!(mirror.state & mirror_created)) return;
        const u32 kind = mirror.source_kind;
        add("source", kind);
        if (kind >= 1 && kind <= 4) add("source port", mirror.source_port);
        if (kind == 2 || kind == 4 || kind == 5) add("source VID", mirror.source_VID);
        add("analyser", mirror.dest_port);
        add("class of copies", mirror.classify_class);
        add("second of copies", mirror.classify_second);
        add("colour of copies", word_of_colour(mirror.classify_colour));
        add("tagged", mirror.tag_on != 0);
        if (mirror.tag_on != 0) add("tag of copies", u32{mirror.tag_tagtype} << 16 | mirror.tag_VID);
        add("enabled", mirror.state & mirror_enabled);
    }

    const Descriptor& d_;
    Base base_;
    Header& header_;
    u32 object_ = 0;
    std::vector<Fact> facts_;
};

std::string text_of(const Fact& fact)
{
    return std::string(fact.field) + " of " + std::to_string(fact.object) + "/" + std::to_string(fact.part) + ": " +
           std::to_string(fact.value);
}

}  // namespace

bool Fact::operator==(const Fact& other) const
{
    return std::strcmp(field, other.field) == 0 && object == other.object && part == other.part && value == other.value;
}

std::vector<Fact> facts_of(const zelfdb::Descriptor& d) { return Collector(d).all(); }

std::string differences(const std::vector<Fact>& before, const std::vector<Fact>& after)
{
    constexpr u32 most = 5;
    u32 count = 0;
    std::string text;
    for (std::size_t i = 0; i < std::max(before.size(), after.size()) && count < most; ++i) {
        if (i < before.size() && i < after.size() && before[i] == after[i]) continue;
        text += (i < before.size() ? text_of(before[i]) : "nothing") + " became " +
                (i < after.size() ? text_of(after[i]) : "nothing") + "\n";
        ++count;
    }
    return text;
}

}  // namespace zelfctl
