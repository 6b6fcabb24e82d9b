// The NP command: its record, its kinds by name, and its text. Usable without the device, by any NP of this project.
#pragma once

#include "types.h"

namespace softnp {

// In the order of vf.h. kind_info has a row for each, in the same order.
enum class Kind : u16 {
    set_port_param,
    delete_port,
    enable_port,
    disable_port,
    set_port_flags,
    set_class_policing,
    set_cosmap,
    set_bandwidth_calc_mode,
    set_def_class,
    set_ph_shaping,
    addFDB,
    removeFDB,
    findFDB,
    add_classify_act,
    rem_classify_act,
    add_classify_prof,
    rem_classify_prof,
    add_prefilter_act,
    rem_prefilter_act,
    add_loc_act,
    rem_loc_act,
    add_prefilter_prof,
    rem_prefilter_prof,
    add_loc_prof,
    rem_loc_prof,
    create_queue,
    delete_queue,
    add_queue,
    set_esparam,
    set_qmax,
    create_stream,
    delete_stream,
    set_red,
    set_stream_shaping,
    set_stream_actual_rate,
    set_qostype,
    set_stream_priority,
    set_stream_tosmap,
    get_stream_info,
    get_stream_busy_info,
    create_vlan,
    delete_vlan,
    add_port_vlan,
    remove_port_vlan,
    set_vl_flag,
    create_protgroup,
    delete_protgroup,
    add_prot_to_group,
    remove_prot_from_group,
    create_mirror,
    delete_mirror,
    enable_mirror,
    disable_mirror,
    set_mirror_source,
    set_mirror_dest,
    set_mirror_classify,
    set_mirror_tag,
    count
};

inline constexpr u32 KIND_COUNT = static_cast<u32>(Kind::count);
inline constexpr u32 MAX_ARGS = 10;
inline constexpr u32 MAX_WORDS = 16;
inline constexpr u32 MAX_ANSWER = 18;

struct KindInfo {
    Kind kind;
    const char* name;
    // The arguments as "name:style" in the builder's order. A style takes one of args, unless said otherwise:
    // d decimal, i signed, x hex, n NP port; m MAC address (two args); w4, w8 that many of words; b the payload
    // in hex; r the payload as actual-rate entries.
    const char* arguments;
};

const KindInfo& kind_info(Kind kind);

// The kind of a command's name; Kind::count if there is none.
Kind kind_by_name(const char* name);

enum class Delivery : u16 { not_sent, answered, failed };

// What an order of softnp_refuse decides for a command; how 0 = nothing.
struct Ruling {
    i32 how;
    i32 value;
};

inline constexpr u32 COMMAND_MAGIC = 0x534E5043;

}  // namespace softnp

// The head of a chain knows its last command, so that joining many takes no walk.
struct vf_cmd {
    softnp::u32 magic;
    softnp::Kind kind;
    softnp::Delivery delivery;
    softnp::i16 status;  // the field that vf.h gives to callers
    softnp::u16 answer_error;
    softnp::i32 error;
    softnp::Ruling ruling;
    softnp::u32 payload_size;  // bytes behind the record
    softnp::u32 args[softnp::MAX_ARGS];
    softnp::u32 words[softnp::MAX_WORDS];
    softnp::u32 answer[softnp::MAX_ANSWER];
    vf_cmd* next;
    vf_cmd* last;
};
static_assert(offsetof(vf_cmd, status) == 8, "callers read the NP's verdict at byte 8");

namespace softnp {

inline u8* payload_of(vf_cmd& command) { return reinterpret_cast<u8*>(&command + 1); }
inline const u8* payload_of(const vf_cmd& command) { return reinterpret_cast<const u8*>(&command + 1); }

// A MAC address as two argument words: bytes 0..1, bytes 2..5.
struct MacWords {
    u32 high;
    u32 low;
};
MacWords words_of_mac(const u8 mac[6]);
void mac_of_words(u32 high, u32 low, u8 mac[6]);

// What the text of a command is made of; the payload may be cut off after payload_stored bytes.
struct CommandView {
    Kind kind;
    const u32* args;
    const u32* words;
    const u8* payload;
    u32 payload_stored;
    u32 payload_size;
};
CommandView view_of(const vf_cmd& command);

// Writes "delete_port port=3" and a terminating zero; cuts the text off at size, which is at least 1.
void describe(const CommandView& command, char* text, size_t size);

}  // namespace softnp
