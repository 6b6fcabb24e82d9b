// The builders of vf.h: each makes a command that holds a copy of all it was given. Called by the library's np/.
#include "command.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

using softnp::Kind;
using softnp::MacWords;
using softnp::payload_of;
using softnp::u32;
using softnp::u8;
using softnp::words_of_mac;

namespace {

vf_cmd* make(Kind kind, std::initializer_list<u32> args, size_t payload_size = 0)
{
    if (payload_size > UINT32_MAX - sizeof(vf_cmd)) return nullptr;
    auto* command = static_cast<vf_cmd*>(std::calloc(1, sizeof(vf_cmd) + payload_size));
    if (!command) return nullptr;
    command->magic = softnp::COMMAND_MAGIC;
    command->kind = kind;
    command->payload_size = static_cast<u32>(payload_size);
    command->last = command;
    std::copy(args.begin(), args.end(), command->args);
    return command;
}

vf_cmd* make_with_payload(Kind kind, std::initializer_list<u32> args, const void* payload, size_t size)
{
    vf_cmd* command = make(kind, args, size);
    if (command && size != 0) std::memcpy(payload_of(*command), payload, size);
    return command;
}

vf_cmd* with_words(vf_cmd* command, u32 at, const u32* words, u32 count)
{
    if (command) std::memcpy(command->words + at, words, count * sizeof(u32));
    return command;
}

constexpr size_t CLASSIFY_LINE_SIZE = 120;
constexpr size_t PREFILTER_BLOCK_SIZE = 64;
constexpr size_t LOC_BLOCK_SIZE = 16;

}  // namespace

// ---- ports

vf_cmd* vf_mk_set_port_param(u32 np_port, u32 mask, u32 p_flag, u32 p_type, u32 pri, u32 phport, u32 tagtype, u32 PVID,
                             u32 FID)
{
    return make(Kind::set_port_param, {np_port, mask, p_flag, p_type, pri, phport, tagtype, PVID, FID});
}

vf_cmd* vf_mk_delete_port(u32 np_port) { return make(Kind::delete_port, {np_port}); }

vf_cmd* vf_mk_enable_port(u32 np_port) { return make(Kind::enable_port, {np_port}); }

vf_cmd* vf_mk_disable_port(u32 np_port) { return make(Kind::disable_port, {np_port}); }

vf_cmd* vf_mk_set_port_flags(u32 np_port, u32 p_flag, u32 mask)
{
    return make(Kind::set_port_flags, {np_port, p_flag, mask});
}

vf_cmd* vf_mk_set_class_policing(u32 np_port, u32 class_no, u32 rate, u32 burst, u32 color)
{
    return make(Kind::set_class_policing, {np_port, class_no, rate, burst, color});
}

vf_cmd* vf_mk_set_cosmap(u32 np_port, u32 valbit, const u32 cosmap[8])
{
    return with_words(make(Kind::set_cosmap, {np_port, valbit}), 0, cosmap, 8);
}

vf_cmd* vf_mk_set_bandwidth_calc_mode(u32 np_port, u32 mode)
{
    return make(Kind::set_bandwidth_calc_mode, {np_port, mode});
}

vf_cmd* vf_mk_set_def_class(u32 np_port, u32 def_spno, u32 def_pri, u32 def_color)
{
    return make(Kind::set_def_class, {np_port, def_spno, def_pri, def_color});
}

vf_cmd* vf_mk_set_ph_shaping(u32 phport, u32 shaping_rate, u32 shaping_param2)
{
    return make(Kind::set_ph_shaping, {phport, shaping_rate, shaping_param2});
}

// ---- MAC table

// The database record is the library's own; the request says all that the device needs.
vf_cmd* vf_mk_addFDB(const vf_fdb_request* request, const void* /*fil*/)
{
    const MacWords mac = words_of_mac(request->mac);
    return make(Kind::addFDB,
                {request->FID, mac.high, mac.low, static_cast<u32>(request->port), static_cast<u32>(request->port2),
                 request->flag, request->one, request->zero, request->cookie});
}

vf_cmd* vf_mk_removeFDB(uint16_t FID, const u8 mac[6])
{
    const MacWords words = words_of_mac(mac);
    return make(Kind::removeFDB, {FID, words.high, words.low});
}

// The answer stays in the command, where vf_rd_findFDB reads it; the outputs are not needed.
vf_cmd* vf_mk_findFDB(uint16_t FID, const u8 mac[6], u32* /*first*/, u32* /*second*/, u32* /*third*/)
{
    const MacWords words = words_of_mac(mac);
    return make(Kind::findFDB, {FID, words.high, words.low});
}

// ---- classification

vf_cmd* vf_mk_add_classify_act(u32 profile, u32 line_no, const void* line)
{
    return make_with_payload(Kind::add_classify_act, {profile, line_no}, line, CLASSIFY_LINE_SIZE);
}

vf_cmd* vf_mk_rem_classify_act(u32 profile, u32 line_no) { return make(Kind::rem_classify_act, {profile, line_no}); }

vf_cmd* vf_mk_add_classify_prof(u32 profile, u32 np_port, u32 VID, const u32 words[4])
{
    return with_words(make(Kind::add_classify_prof, {profile, np_port, VID}), 0, words, 4);
}

vf_cmd* vf_mk_rem_classify_prof(u32 np_port, u32 VID) { return make(Kind::rem_classify_prof, {np_port, VID}); }

vf_cmd* vf_mk_add_prefilter_act(u32 list, u32 line_no, const void* block)
{
    return make_with_payload(Kind::add_prefilter_act, {list, line_no}, block, PREFILTER_BLOCK_SIZE);
}

vf_cmd* vf_mk_rem_prefilter_act(u32 list, u32 line_no) { return make(Kind::rem_prefilter_act, {list, line_no}); }

vf_cmd* vf_mk_add_loc_act(u32 list, u32 line_no, const void* block)
{
    return make_with_payload(Kind::add_loc_act, {list, line_no}, block, LOC_BLOCK_SIZE);
}

vf_cmd* vf_mk_rem_loc_act(u32 list, u32 line_no) { return make(Kind::rem_loc_act, {list, line_no}); }

vf_cmd* vf_mk_add_prefilter_prof(u32 list, u32 port, u32 VID, const u32 words[4])
{
    return with_words(make(Kind::add_prefilter_prof, {list, port, VID}), 0, words, 4);
}

vf_cmd* vf_mk_rem_prefilter_prof(u32 port, u32 VID) { return make(Kind::rem_prefilter_prof, {port, VID}); }

vf_cmd* vf_mk_add_loc_prof(u32 list, u32 port, u32 VID, const u32 words[4])
{
    return with_words(make(Kind::add_loc_prof, {list, port, VID}), 0, words, 4);
}

vf_cmd* vf_mk_rem_loc_prof(u32 port, u32 VID) { return make(Kind::rem_loc_prof, {port, VID}); }

// ---- queues and streams

vf_cmd* vf_mk_create_queue(u32 queue, u32 size, u32 queue_length)
{
    return make(Kind::create_queue, {queue, size, queue_length});
}

vf_cmd* vf_mk_delete_queue(u32 queue) { return make(Kind::delete_queue, {queue}); }

vf_cmd* vf_mk_add_queue(u32 queue, u32 streamno, u32 class_no, u32 mode, u32 pri, u32 ratio)
{
    return make(Kind::add_queue, {queue, streamno, class_no, mode, pri, ratio});
}

vf_cmd* vf_mk_set_esparam(u32 queue, u32 streamno, u32 pri, u32 ratio)
{
    return make(Kind::set_esparam, {queue, streamno, pri, ratio});
}

vf_cmd* vf_mk_set_qmax(u32 queue, u32 streamno, u32 class_no, u32 size, u32 queue_length)
{
    return make(Kind::set_qmax, {queue, streamno, class_no, size, queue_length});
}

vf_cmd* vf_mk_create_stream(u32 streamno) { return make(Kind::create_stream, {streamno}); }

vf_cmd* vf_mk_delete_stream(u32 streamno) { return make(Kind::delete_stream, {streamno}); }

vf_cmd* vf_mk_set_red(u32 streamno, u32 class_no, u32 colour, u32 min_thresh, u32 min_drop, u32 max_thresh,
                      u32 max_drop)
{
    return make(Kind::set_red, {streamno, class_no, colour, min_thresh, min_drop, max_thresh, max_drop});
}

vf_cmd* vf_mk_set_stream_shaping(u32 streamno, u32 minrate, u32 minburst, u32 maxrate, u32 maxburst)
{
    return make(Kind::set_stream_shaping, {streamno, minrate, minburst, maxrate, maxburst});
}

vf_cmd* vf_mk_set_stream_actual_rate(u32 count, const vf_actual_rate* entries)
{
    if (count > UINT32_MAX / sizeof(vf_actual_rate) / 2) return nullptr;
    return make_with_payload(Kind::set_stream_actual_rate, {count}, entries, count * sizeof(vf_actual_rate));
}

vf_cmd* vf_mk_set_qostype(u32 streamno, u32 qos_type, u32 qos_param, u32 qos_param2)
{
    return make(Kind::set_qostype, {streamno, qos_type, qos_param, qos_param2});
}

vf_cmd* vf_mk_set_stream_priority(u32 streamno, u32 priority)
{
    return make(Kind::set_stream_priority, {streamno, priority});
}

vf_cmd* vf_mk_set_stream_tosmap(u32 streamno, u32 bits, const u32 values[8], const u32 masks[8])
{
    return with_words(with_words(make(Kind::set_stream_tosmap, {streamno, bits}), 0, values, 8), 8, masks, 8);
}

vf_cmd* vf_mk_get_stream_info(u32 streamno) { return make(Kind::get_stream_info, {streamno}); }

vf_cmd* vf_mk_get_stream_busy_info(u32 streamno) { return make(Kind::get_stream_busy_info, {streamno}); }

// ---- VLANs

vf_cmd* vf_mk_create_vlan(u32 VID, u32 FID) { return make(Kind::create_vlan, {VID, FID}); }

vf_cmd* vf_mk_delete_vlan(u32 VID) { return make(Kind::delete_vlan, {VID}); }

vf_cmd* vf_mk_add_port_vlan(u32 VID, u32 np_port, u32 tagged, u32 tagtype, u32 protocol_based, u32 group)
{
    return make(Kind::add_port_vlan, {VID, np_port, tagged, tagtype, protocol_based, group});
}

vf_cmd* vf_mk_remove_port_vlan(u32 VID, u32 np_port) { return make(Kind::remove_port_vlan, {VID, np_port}); }

vf_cmd* vf_mk_set_vl_flag(u32 VID, u32 value, u32 selector) { return make(Kind::set_vl_flag, {VID, value, selector}); }

vf_cmd* vf_mk_create_protgroup(u32 group) { return make(Kind::create_protgroup, {group}); }

vf_cmd* vf_mk_delete_protgroup(u32 group) { return make(Kind::delete_protgroup, {group}); }

vf_cmd* vf_mk_add_prot_to_group(u32 protocol, u32 group) { return make(Kind::add_prot_to_group, {protocol, group}); }

vf_cmd* vf_mk_remove_prot_from_group(u32 protocol, u32 group)
{
    return make(Kind::remove_prot_from_group, {protocol, group});
}

// ---- mirrors

vf_cmd* vf_mk_create_mirror(u32 mirror) { return make(Kind::create_mirror, {mirror}); }

vf_cmd* vf_mk_delete_mirror(u32 mirror) { return make(Kind::delete_mirror, {mirror}); }

vf_cmd* vf_mk_enable_mirror(u32 mirror) { return make(Kind::enable_mirror, {mirror}); }

vf_cmd* vf_mk_disable_mirror(u32 mirror) { return make(Kind::disable_mirror, {mirror}); }

vf_cmd* vf_mk_set_mirror_source(u32 mirror, u32 kind, u32 port, u32 VID)
{
    return make(Kind::set_mirror_source, {mirror, kind, port, VID});
}

vf_cmd* vf_mk_set_mirror_dest(u32 mirror, u32 port) { return make(Kind::set_mirror_dest, {mirror, port}); }

vf_cmd* vf_mk_set_mirror_classify(u32 mirror, u32 class_no, u32 second, u32 colour)
{
    return make(Kind::set_mirror_classify, {mirror, class_no, second, colour});
}

vf_cmd* vf_mk_set_mirror_tag(u32 mirror, u32 tag_on, u32 tagtype, u32 VID)
{
    return make(Kind::set_mirror_tag, {mirror, tag_on, tagtype, VID});
}
