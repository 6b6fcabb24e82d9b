#include "commands.h"

#include <cstdio>
#include <map>

namespace zelfdb {

std::vector<u8> counted_bytes(std::size_t count)
{
    std::vector<u8> bytes(count);
    for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<u8>(i);
    return bytes;
}

std::string counted_digits(std::size_t count)
{
    std::string digits;
    for (std::size_t i = 0; i < count; ++i) {
        char two[3];
        std::snprintf(two, sizeof two, "%02x", static_cast<unsigned>(i & 0xFF));
        digits += two;
    }
    return digits;
}

Port sample_port(u32 port_id)
{
    Port port{};
    port.PortID = port_id;
    port.p_flag = 0x173;
    port.p_type = 1;
    port.pri = 6;
    port.phport = 3;
    port.tagtype = 0x88A8;
    port.PVID = 0x123;
    port.fdb.FID = 0xC005;
    return port;
}

Vlan sample_vlan()
{
    Vlan vlan{};
    vlan.VID = 0xABC;
    vlan.fdb.FID = 0xDEF;
    return vlan;
}

namespace {

constexpr u32 four[4] = {0x41, 0x42, 0x43, 0x44};
constexpr u32 eight[8] = {0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18};
constexpr u32 masks[8] = {0x21, 0x22, 0x23, 0x24, 0x25, 0x26, 0x27, 0x28};
constexpr const char* four_text = "[0x41 0x42 0x43 0x44]";
constexpr const char* eight_text = "[0x11 0x12 0x13 0x14 0x15 0x16 0x17 0x18]";
constexpr const char* masks_text = "[0x21 0x22 0x23 0x24 0x25 0x26 0x27 0x28]";
constexpr vf_actual_rate rates[2] = {{0x101, 0x10203040, 0x50607080}, {0x102, 77, 0xFFFFFFFF}};

using D = const Descriptor&;

// Exactly as many bytes as the command is to read: one more is beyond the end.
const u8* block(std::size_t size)
{
    static std::map<std::size_t, std::vector<u8>> blocks;
    return (blocks[size] = counted_bytes(size)).data();
}

void add_port_commands(std::vector<Command>& all)
{
    const auto on_sample = [](auto function) { return [function](D d) { return function(d, sample_port(105)); }; };
    all.push_back({"create_port", on_sample(create_port_to_NP),
                   "set_port_param(0xf, 0x800000ff, 0x173, 1, 6, 3, 0x88a8, 0x123, 0xc005)"});
    all.push_back({"set_port_pvid", on_sample(set_port_pvid_to_NP),
                   "set_port_param(0xf, 0x20, 0x173, 1, 6, 3, 0x88a8, 0x123, 0xc005)"});
    all.push_back({"set_port_tagType", on_sample(set_port_tagType_to_NP),
                   "set_port_param(0xf, 0x10, 0x173, 1, 6, 3, 0x88a8, 0x123, 0xc005)"});
    all.push_back({"set_port_flag", [](D d) { return set_port_flag_to_NP(d, sample_port(105), 7); },
                   "set_port_flags(0xf, 0x173, 7)"});
    all.push_back({"delete_port", [](D d) { return delete_port_to_NP(d, 105); }, "delete_port(0xf)"});
    all.push_back({"enable_port", [](D d) { return enable_port_to_NP(d, 105); }, "enable_port(0xf)"});
    all.push_back({"disable_port", [](D d) { return disable_port_to_NP(d, 105); }, "disable_port(0xf)"});
    all.push_back({"set_port_class_policing",
                   [](D d) { return set_port_class_policing_to_NP(d, 105, 7, 0x1000, 0x2000, 2); },
                   "set_class_policing(0xf, 7, 0x1000, 0x2000, 2)"});
    all.push_back({"set_cosmap_in_port", [](D d) { return set_cosmap_in_port_to_NP(d, 105, 0xFE, eight); },
                   std::string("set_cosmap(0xf, 0xfe, ") + eight_text + ")"});
    all.push_back({"set_bandwidth_calc_mode_in_port",
                   [](D d) { return set_bandwidth_calc_mode_in_port_to_NP(d, 105, 3); },
                   "set_bandwidth_calc_mode(0xf, 3)"});
    all.push_back({"set_default_class_in_port", [](D d) { return set_default_class_in_port_to_NP(d, 105, 0xFF, 4, 2); },
                   "set_def_class(0xf, 0xff, 4, 2)"});
    all.push_back({"set_ph_shaping", [](D d) { return set_ph_shaping_to_NP(d, 4, 0x186A0, 0x99); },
                   "set_ph_shaping(4, 0x186a0, 0x99)"});
}

void add_classify_commands(std::vector<Command>& all)
{
    all.push_back({"add_classify_act", [](D d) { return add_classify_act_to_NP(d, 0x40, 0x21, block(120)); },
                   "add_classify_act(0x40, 0x21, " + counted_digits(120) + ")"});
    all.push_back({"rem_classify_act", [](D d) { return rem_classify_act_to_NP(d, 0x40, 0x21); },
                   "rem_classify_act(0x40, 0x21)"});
    all.push_back({"add_classify_prof", [](D d) { return add_classify_prof_to_NP(d, 0x40, 105, 0xABC, four); },
                   std::string("add_classify_prof(0x40, 0xf, 0xabc, ") + four_text + ")"});
    all.push_back({"rem_classify_prof", [](D d) { return rem_classify_prof_to_NP(d, 105, 0xABC); },
                   "rem_classify_prof(0xf, 0xabc)"});
    all.push_back({"add_prefilter_act", [](D d) { return add_prefilter_act_to_NP(d, 0x12, 0x80, block(64)); },
                   "add_prefilter_act(0x12, 0x80, " + counted_digits(64) + ")"});
    all.push_back({"rem_prefilter_act", [](D d) { return rem_prefilter_act_to_NP(d, 0x12, 0x80); },
                   "rem_prefilter_act(0x12, 0x80)"});
    all.push_back({"add_prefilter_prof", [](D d) { return add_prefilter_prof_to_NP(d, 0x12, 105, 0xABC, four); },
                   std::string("add_prefilter_prof(0x12, 0x69, 0xabc, ") + four_text + ")"});
    all.push_back({"rem_prefilter_prof", [](D d) { return rem_prefilter_prof_to_NP(d, 105, 0xABC); },
                   "rem_prefilter_prof(0x69, 0xabc)"});
    all.push_back({"add_loc_act", [](D d) { return add_loc_act_to_NP(d, 0x13, 15, block(16)); },
                   "add_loc_act(0x13, 0xf, " + counted_digits(16) + ")"});
    all.push_back({"rem_loc_act", [](D d) { return rem_loc_act_to_NP(d, 0x13, 15); }, "rem_loc_act(0x13, 0xf)"});
    all.push_back({"add_loc_prof", [](D d) { return add_loc_prof_to_NP(d, 0x13, 105, 0xABC, four); },
                   std::string("add_loc_prof(0x13, 0x69, 0xabc, ") + four_text + ")"});
    all.push_back({"rem_loc_prof", [](D d) { return rem_loc_prof_to_NP(d, 105, 0xABC); }, "rem_loc_prof(0x69, 0xabc)"});
}

void add_qos_commands(std::vector<Command>& all)
{
    all.push_back({"create_queue", [](D d) { return create_queue_to_NP(d, 0x1FFF, 0x10000, 0x64); },
                   "create_queue(0x1fff, 0x10000, 0x64)"});
    all.push_back({"delete_queue", [](D d) { return delete_queue_to_NP(d, 0x1FFF); }, "delete_queue(0x1fff)"});
    all.push_back({"add_queue_to_stream",
                   [](D d) { return add_queue_to_stream_to_NP(d, 0x1FFF, 0x3FF, 7, 2, 5, 0x63); },
                   "add_queue(0x1fff, 0x3ff, 7, 2, 5, 0x63)"});
    all.push_back({"rem_queue_to_stream", [](D d) { return rem_queue_to_stream_to_NP(d, 0x1FFF, 0x3FF, 7); },
                   "add_queue(0x1fff, 0x3ff, 7, 0, 0, 0)"});
    all.push_back({"set_queue_qos", [](D d) { return set_queue_qos_to_NP(d, 0x1FFF, 0x3FF, 5, 0x63); },
                   "set_esparam(0x1fff, 0x3ff, 5, 0x63)"});
    all.push_back({"set_queue_size", [](D d) { return set_queue_size_to_NP(d, 0x1FFF, 0x3FF, 7, 0x200, 0x64); },
                   "set_qmax(0x1fff, 0x3ff, 7, 0x200, 0x64)"});
    all.push_back({"create_stream", [](D d) { return create_stream_to_NP(d, 0x3FF); }, "create_stream(0x3ff)"});
    all.push_back({"delete_stream", [](D d) { return delete_stream_to_NP(d, 0x3FF); }, "delete_stream(0x3ff)"});
    all.push_back({"set_red_in_stream",
                   [](D d) { return set_red_in_stream_to_NP(d, 0x3FF, 7, 2, 0x31, 0x32, 0x33, 0x34); },
                   "set_red(0x3ff, 7, 2, 0x31, 0x32, 0x33, 0x34)"});
    all.push_back({"set_shaping_in_stream",
                   [](D d) { return set_shaping_in_stream_to_NP(d, 0x3FF, 0x31, 0x32, 0x33, 0x34); },
                   "set_stream_shaping(0x3ff, 0x31, 0x32, 0x33, 0x34)"});
    all.push_back({"set_actual_rate_in_stream", [](D d) { return set_actual_rate_in_stream_to_NP(d, 2, rates); },
                   "set_stream_actual_rate(2, 257:270544960/1348497536 258:77/4294967295)"});
    all.push_back({"set_qostype_in_stream", [](D d) { return set_qostype_in_stream_to_NP(d, 0x3FF, 1, 0x55, 0x66); },
                   "set_qostype(0x3ff, 1, 0x55, 0x66)"});
    all.push_back({"set_stream_priority", [](D d) { return set_stream_priority_to_NP(d, 0x3FF, 6); },
                   "set_stream_priority(0x3ff, 6)"});
    all.push_back({"set_stream_tosmap", [](D d) { return set_stream_tosmap_to_NP(d, 0x3FF, 0xFE, eight, masks); },
                   std::string("set_stream_tosmap(0x3ff, 0xfe, ") + eight_text + ", " + masks_text + ")"});
}

void add_vlan_commands(std::vector<Command>& all)
{
    all.push_back(
        {"create_vlan", [](D d) { return create_vlan_to_NP(d, sample_vlan()); }, "create_vlan(0xabc, 0xdef)"});
    all.push_back({"delete_vlan", [](D d) { return delete_vlan_to_NP(d, 0xABC); }, "delete_vlan(0xabc)"});
    all.push_back({"add_port_to_vlan tagged",
                   [](D d) { return add_port_to_vlan_to_NP(d, 0xABC, 105, true, 0x88A8, false, 0x77); },
                   "add_port_vlan(0xabc, 0xf, 1, 0x88a8, 0, 0x77)"});
    all.push_back({"add_port_to_vlan by protocol",
                   [](D d) { return add_port_to_vlan_to_NP(d, 0xABC, 105, false, 0x88A8, true, 0x77); },
                   "add_port_vlan(0xabc, 0xf, 0, 0x88a8, 1, 0x77)"});
    all.push_back({"rem_port_from_vlan", [](D d) { return rem_port_from_vlan_to_NP(d, 0xABC, 105); },
                   "remove_port_vlan(0xabc, 0xf)"});
    all.push_back({"set_vlan_flag learning", [](D d) { return set_vlan_flag_to_NP(d, 0xABC, 2, vlan_flag_learning); },
                   "set_vl_flag(0xabc, 2, 0xfd)"});
    all.push_back({"set_vlan_flag ignore_fdb",
                   [](D d) { return set_vlan_flag_to_NP(d, 0xABC, 1, vlan_flag_ignore_fdb); },
                   "set_vl_flag(0xabc, 1, 0xfe)"});
    all.push_back({"create_protgroup", [](D d) { return create_protgroup_to_NP(d, 0x77); }, "create_protgroup(0x77)"});
    all.push_back({"delete_protgroup", [](D d) { return delete_protgroup_to_NP(d, 0x77); }, "delete_protgroup(0x77)"});
    all.push_back({"add_prot_to_group", [](D d) { return add_prot_to_group_to_NP(d, 0x86DD, 0x77); },
                   "add_prot_to_group(0x86dd, 0x77)"});
    all.push_back({"remove_prot_from_group", [](D d) { return remove_prot_from_group_to_NP(d, 0x86DD, 0x77); },
                   "remove_prot_from_group(0x86dd, 0x77)"});
}

void add_mirror_commands(std::vector<Command>& all)
{
    all.push_back({"create_mirror", [](D d) { return create_mirror_to_NP(d, 4); }, "create_mirror(4)"});
    all.push_back({"delete_mirror", [](D d) { return delete_mirror_to_NP(d, 4); }, "delete_mirror(4)"});
    all.push_back({"enable_mirror", [](D d) { return enable_mirror_to_NP(d, 4); }, "enable_mirror(4)"});
    all.push_back({"disable_mirror", [](D d) { return disable_mirror_to_NP(d, 4); }, "disable_mirror(4)"});
    all.push_back({"set_mirror_source", [](D d) { return set_mirror_source_to_NP(d, 4, 3, 105, 0xABC); },
                   "set_mirror_source(4, 3, 0x69, 0xabc)"});
    all.push_back(
        {"set_mirror_dest", [](D d) { return set_mirror_dest_to_NP(d, 4, 105); }, "set_mirror_dest(4, 0x69)"});
    all.push_back({"set_mirror_classify", [](D d) { return set_mirror_classify_to_NP(d, 4, 7, 5, 2); },
                   "set_mirror_classify(4, 7, 5, 2)"});
    all.push_back({"set_mirror_tag", [](D d) { return set_mirror_tag_to_NP(d, 4, 1, 0x88A8, 0xABC); },
                   "set_mirror_tag(4, 1, 0x88a8, 0xabc)"});
}

}  // namespace

std::vector<Command> framed_commands()
{
    std::vector<Command> all;
    add_port_commands(all);
    add_classify_commands(all);
    add_qos_commands(all);
    add_vlan_commands(all);
    add_mirror_commands(all);
    return all;
}

std::vector<PortCommand> mapping_commands()
{
    const std::string params = ", 0x173, 1, 6, 3, 0x88a8, 0x123, 0xc005)";
    const auto on_sample = [](auto function) {
        return [function](D d, u32 id) { return function(d, sample_port(id)); };
    };
    return {
        {"create_port", on_sample(create_port_to_NP), "set_port_param(", ", 0x800000ff" + params},
        {"set_port_pvid", on_sample(set_port_pvid_to_NP), "set_port_param(", ", 0x20" + params},
        {"set_port_tagType", on_sample(set_port_tagType_to_NP), "set_port_param(", ", 0x10" + params},
        {"set_port_flag", [](D d, u32 id) { return set_port_flag_to_NP(d, sample_port(id), 0); }, "set_port_flags(",
         ", 0x173, 0)"},
        {"delete_port", delete_port_to_NP, "delete_port(", ")"},
        {"enable_port", enable_port_to_NP, "enable_port(", ")"},
        {"disable_port", disable_port_to_NP, "disable_port(", ")"},
        {"set_port_class_policing", [](D d, u32 id) { return set_port_class_policing_to_NP(d, id, 1, 2, 3, 4); },
         "set_class_policing(", ", 1, 2, 3, 4)"},
        {"set_cosmap_in_port", [](D d, u32 id) { return set_cosmap_in_port_to_NP(d, id, 1, eight); }, "set_cosmap(",
         std::string(", 1, ") + eight_text + ")"},
        {"set_bandwidth_calc_mode_in_port", [](D d, u32 id) { return set_bandwidth_calc_mode_in_port_to_NP(d, id, 1); },
         "set_bandwidth_calc_mode(", ", 1)"},
        {"set_default_class_in_port", [](D d, u32 id) { return set_default_class_in_port_to_NP(d, id, 1, 2, 3); },
         "set_def_class(", ", 1, 2, 3)"},
        {"add_port_to_vlan", [](D d, u32 id) { return add_port_to_vlan_to_NP(d, 5, id, false, 6, false, 7); },
         "add_port_vlan(5, ", ", 0, 6, 0, 7)"},
        {"rem_port_from_vlan", [](D d, u32 id) { return rem_port_from_vlan_to_NP(d, 5, id); }, "remove_port_vlan(5, ",
         ")"},
        {"add_classify_prof", [](D d, u32 id) { return add_classify_prof_to_NP(d, 5, id, 6, four); },
         "add_classify_prof(5, ", std::string(", 6, ") + four_text + ")"},
        {"rem_classify_prof", [](D d, u32 id) { return rem_classify_prof_to_NP(d, id, 6); }, "rem_classify_prof(",
         ", 6)"},
    };
}

std::vector<PortCommand> unmapped_commands()
{
    const std::string binding = std::string(", 6, ") + four_text + ")";
    return {
        {"add_prefilter_prof", [](D d, u32 id) { return add_prefilter_prof_to_NP(d, 5, id, 6, four); },
         "add_prefilter_prof(5, ", binding},
        {"rem_prefilter_prof", [](D d, u32 id) { return rem_prefilter_prof_to_NP(d, id, 6); }, "rem_prefilter_prof(",
         ", 6)"},
        {"add_loc_prof", [](D d, u32 id) { return add_loc_prof_to_NP(d, 5, id, 6, four); }, "add_loc_prof(5, ",
         binding},
        {"rem_loc_prof", [](D d, u32 id) { return rem_loc_prof_to_NP(d, id, 6); }, "rem_loc_prof(", ", 6)"},
        {"set_mirror_source", [](D d, u32 id) { return set_mirror_source_to_NP(d, 1, 2, id, 6); },
         "set_mirror_source(1, 2, ", ", 6)"},
        {"set_mirror_dest", [](D d, u32 id) { return set_mirror_dest_to_NP(d, 1, id); }, "set_mirror_dest(1, ", ")"},
        {"set_ph_shaping", [](D d, u32 id) { return set_ph_shaping_to_NP(d, id, 2, 3); }, "set_ph_shaping(", ", 2, 3)"},
    };
}

}  // namespace zelfdb
