// The life of NP commands: joining and freeing them, and their kinds. Called through vf.h and by the device.
#include "command.h"

#include <cstdlib>
#include <cstring>

namespace softnp {

namespace {

constexpr KindInfo kinds[] = {
    {Kind::set_port_param, "set_port_param", "port:n mask:x p_flag:x p_type:d pri:d phport:d tagtype:x PVID:d FID:x"},
    {Kind::delete_port, "delete_port", "port:n"},
    {Kind::enable_port, "enable_port", "port:n"},
    {Kind::disable_port, "disable_port", "port:n"},
    {Kind::set_port_flags, "set_port_flags", "port:n p_flag:x mask:x"},
    {Kind::set_class_policing, "set_class_policing", "port:n class:d rate:d burst:d color:d"},
    {Kind::set_cosmap, "set_cosmap", "port:n valbit:x cosmap:w8"},
    {Kind::set_bandwidth_calc_mode, "set_bandwidth_calc_mode", "port:n mode:d"},
    {Kind::set_def_class, "set_def_class", "port:n def_spno:d def_pri:d def_color:d"},
    {Kind::set_ph_shaping, "set_ph_shaping", "phport:d shaping_rate:d shaping_param2:d"},
    {Kind::addFDB, "addFDB", "FID:x mac:m port:i port2:i flag:x one:d zero:d cookie:x"},
    {Kind::removeFDB, "removeFDB", "FID:x mac:m"},
    {Kind::findFDB, "findFDB", "FID:x mac:m"},
    {Kind::add_classify_act, "add_classify_act", "profile:d line_no:d line:b"},
    {Kind::rem_classify_act, "rem_classify_act", "profile:d line_no:d"},
    {Kind::add_classify_prof, "add_classify_prof", "profile:d port:n VID:d words:w4"},
    {Kind::rem_classify_prof, "rem_classify_prof", "port:n VID:d"},
    {Kind::add_prefilter_act, "add_prefilter_act", "list:d line_no:d block:b"},
    {Kind::rem_prefilter_act, "rem_prefilter_act", "list:d line_no:d"},
    {Kind::add_loc_act, "add_loc_act", "list:d line_no:d block:b"},
    {Kind::rem_loc_act, "rem_loc_act", "list:d line_no:d"},
    {Kind::add_prefilter_prof, "add_prefilter_prof", "list:d port_id:d VID:d words:w4"},
    {Kind::rem_prefilter_prof, "rem_prefilter_prof", "port_id:d VID:d"},
    {Kind::add_loc_prof, "add_loc_prof", "list:d port_id:d VID:d words:w4"},
    {Kind::rem_loc_prof, "rem_loc_prof", "port_id:d VID:d"},
    {Kind::create_queue, "create_queue", "queue:d size:d queue_length:d"},
    {Kind::delete_queue, "delete_queue", "queue:d"},
    {Kind::add_queue, "add_queue", "queue:d streamno:d class:d mode:d pri:d ratio:d"},
    {Kind::set_esparam, "set_esparam", "queue:d streamno:d pri:d ratio:d"},
    {Kind::set_qmax, "set_qmax", "queue:d streamno:d class:d size:d queue_length:d"},
    {Kind::create_stream, "create_stream", "streamno:d"},
    {Kind::delete_stream, "delete_stream", "streamno:d"},
    {Kind::set_red, "set_red", "streamno:d class:d colour:d min_thresh:d min_drop:d max_thresh:d max_drop:d"},
    {Kind::set_stream_shaping, "set_stream_shaping", "streamno:d minrate:d minburst:d maxrate:d maxburst:d"},
    {Kind::set_stream_actual_rate, "set_stream_actual_rate", "count:d entries:r"},
    {Kind::set_qostype, "set_qostype", "streamno:d qos_type:d qos_param:d qos_param2:d"},
    {Kind::set_stream_priority, "set_stream_priority", "streamno:d priority:d"},
    {Kind::set_stream_tosmap, "set_stream_tosmap", "streamno:d bits:x values:w8 masks:w8"},
    {Kind::get_stream_info, "get_stream_info", "streamno:d"},
    {Kind::get_stream_busy_info, "get_stream_busy_info", "streamno:d"},
    {Kind::create_vlan, "create_vlan", "VID:d FID:x"},
    {Kind::delete_vlan, "delete_vlan", "VID:d"},
    {Kind::add_port_vlan, "add_port_vlan", "VID:d port:n tagged:d tagtype:x protocol_based:d group:d"},
    {Kind::remove_port_vlan, "remove_port_vlan", "VID:d port:n"},
    {Kind::set_vl_flag, "set_vl_flag", "VID:d value:d selector:d"},
    {Kind::create_protgroup, "create_protgroup", "group:d"},
    {Kind::delete_protgroup, "delete_protgroup", "group:d"},
    {Kind::add_prot_to_group, "add_prot_to_group", "protocol:x group:d"},
    {Kind::remove_prot_from_group, "remove_prot_from_group", "protocol:x group:d"},
    {Kind::create_mirror, "create_mirror", "mirror:d"},
    {Kind::delete_mirror, "delete_mirror", "mirror:d"},
    {Kind::enable_mirror, "enable_mirror", "mirror:d"},
    {Kind::disable_mirror, "disable_mirror", "mirror:d"},
    {Kind::set_mirror_source, "set_mirror_source", "mirror:d kind:d port_id:d VID:d"},
    {Kind::set_mirror_dest, "set_mirror_dest", "mirror:d port_id:d"},
    {Kind::set_mirror_classify, "set_mirror_classify", "mirror:d class:d second:d colour:d"},
    {Kind::set_mirror_tag, "set_mirror_tag", "mirror:d tag_on:d tagtype:x VID:d"},
};

constexpr bool rows_are_in_order()
{
    for (u32 row = 0; row < KIND_COUNT; row++)
        if (static_cast<u32>(kinds[row].kind) != row) return false;
    return true;
}
static_assert(sizeof(kinds) / sizeof(kinds[0]) == KIND_COUNT, "a row for each kind");
static_assert(rows_are_in_order(), "kind_info indexes the table by kind");

}  // namespace

const KindInfo& kind_info(Kind kind) { return kinds[static_cast<u32>(kind)]; }

Kind kind_by_name(const char* name)
{
    for (const KindInfo& info : kinds)
        if (std::strcmp(info.name, name) == 0) return info.kind;
    return Kind::count;
}

MacWords words_of_mac(const u8 mac[6])
{
    return {static_cast<u32>(mac[0]) << 8 | mac[1],
            static_cast<u32>(mac[2]) << 24 | static_cast<u32>(mac[3]) << 16 | static_cast<u32>(mac[4]) << 8 | mac[5]};
}

void mac_of_words(u32 high, u32 low, u8 mac[6])
{
    mac[0] = static_cast<u8>(high >> 8);
    mac[1] = static_cast<u8>(high);
    mac[2] = static_cast<u8>(low >> 24);
    mac[3] = static_cast<u8>(low >> 16);
    mac[4] = static_cast<u8>(low >> 8);
    mac[5] = static_cast<u8>(low);
}

CommandView view_of(const vf_cmd& command)
{
    return {command.kind, command.args, command.words, payload_of(command), command.payload_size, command.payload_size};
}

}  // namespace softnp

void vf_cmdNFreeB(vf_cmd* command)
{
    while (command) {
        vf_cmd* next = command->next;
        command->magic = 0;
        std::free(command);
        command = next;
    }
}

vf_cmd* vf_Joint(vf_cmd* chain, vf_cmd* command)
{
    if (!chain) return command;
    if (!command) return chain;
    chain->last->next = command;
    chain->last = command->last;
    return chain;
}
