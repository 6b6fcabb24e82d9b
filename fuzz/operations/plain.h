// The database once more, told with standard containers and by the rules that zelfdb.h states. It reads no segment: what the
// library says is compared with what this says.
//
// Functions that are named as operations are return their detail codes, 0 when they were done.
#pragma once

#include <array>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/types.h"
#include "zelfdb/zelfdb.h"

namespace fuzz {

using namespace zelfdb;

// What records of less than 32 bits keep of an argument.
inline u16 low_half(u32 value) { return static_cast<u16>(value & 0xFFFF); }
inline u8 low_byte(u32 value) { return static_cast<u8>(value & 0xFF); }

using Address = std::array<u8, 6>;

struct PlainEntry {
    Address mac{};
    u32 type = 0;
    u32 port = 0;
    u32 flag = 0;
    u32 permit = 0;
    u32 seen_s = 0;
    u32 cookie = 0;
};

// A filtering database: entries by bucket, each in the order of its chain.
struct PlainTable {
    u32 learn_limit = 0;
    std::map<u32, std::deque<PlainEntry>> buckets;

    [[nodiscard]] u32 size() const;
    [[nodiscard]] bool has_dynamic() const;
    [[nodiscard]] PlainEntry* find(const Address& mac);
};

struct PlainPort {
    u32 id = 0;
    u16 p_flag = 0;
    u8 p_type = 0;
    u8 pri = 0;
    u8 phport = 0;
    u16 tagtype = 0;
    u16 pvid = 0;
    std::vector<zelfdb_prot_binding> bindings;
    std::array<zelfdb_policing, 8> policing{};
    std::array<u32, 8> cosmap{};
    u32 valbit = 0;
    bool up = false;
    u32 aging_s = 0;
    u32 breaker_on = 0;
    u32 breaker = 0;  // 0 idle, 1 armed, 2 tripped
    u32 def_spno = 0;
    u32 def_pri = 0;
    u32 def_color = 0;
    u32 bw_calc_mode = 0;
    u32 link_frames = 0;
    u32 uplink = 0;
    PlainTable local;

    [[nodiscard]] bool is_vif() const { return p_type == ZELFDB_PORT_VIF; }
};

struct PlainMember {
    u32 flag = 0;
    u32 tagtype = 0;
    u32 profile = 0;
};

struct PlainVlan {
    std::string name;
    u32 flag = 0;
    std::map<u32, PlainMember> members;  // by port
    PlainTable table;
};

struct PlainGroup {
    u16 id = 0;
    std::vector<u16> protocols;
};

struct PlainPhport {
    bool bound = false;
    u32 shaping_rate = 0;
    u32 shaping_param2 = 0;
};

struct PlainQueue {
    u16 size = 0;
    u32 length = 0;
    u8 mode = 0;
    u8 pri = 0;
    u8 ratio = 0;
    std::optional<std::pair<u32, u32>> serves;  // stream and class
};

struct PlainStream {
    u16 portno = 0;
    u8 sno_port = 0;
    u8 priority = 7;
    u8 qos_type = 0;
    u32 minrate = 0;
    u32 minburst = 0;
    u32 maxrate = 0;
    u32 maxburst = 0;
    std::array<std::array<zelfdb_red, 3>, 8> red{};
    u32 tosmap_bits = 0;
    std::array<u32, 8> tos_value{};
    std::array<u32, 8> tos_mask{};
};

struct PlainMirror {
    bool exists = false;
    bool enabled = false;
    u16 kind = 0;
    u16 source_port = 0;
    u16 dest_port = 0;
};

// What a frame's first 16 bytes say.
struct PlainFrame {
    Address source{};
    u32 type = 0;
    u32 tag_control = 0;
};

// What the NP says of every entry that it is asked about.
struct PlainAnswer {
    u32 status = 0;
    u32 tick_ms = 0;
    u32 last_hit_ms = 0;
};

class Plain {
public:
    explicit Plain(const zelfdb_counts& counts);

    // ---- ports ----
    u32 create_port(u32 id, u32 phport, i32 type);
    u32 delete_port(u32 id);
    u32 set_param(u32 id, const zelfdb_port_param& param, u32 aging_s, i32 breaker_on, u32 selector, u32 mask);
    u32 set_policing(u32 id, i32 class_no, u32 rate, u32 burst, i32 color);
    u32 set_link_frames(u32 id, u32 n, i32 action);
    u32 enable(u32 id, bool up);
    u32 recover_breaker(u32 id);
    u32 set_uplink(u32 id, u32 value);
    u32 set_ph_shaping(u32 phport, u32 rate, u32 param2);
    [[nodiscard]] bool is_member_anywhere(u32 id) const;

    // ---- VLANs ----
    u32 create_vlan(const std::string& name, i32 asked, i32& vid);
    u32 delete_vlan(u32 vid);
    u32 join(u32 vid, u32 id, bool tagged, u32 tagtype, bool by_protocol, u32 group);
    u32 leave(u32 vid, u32 id);
    u32 set_vlan_flag(u32 vid, u32 flag, bool on);
    u32 set_learn_limit(u32 vid, u32 limit);
    u32 create_group(u32 group);
    u32 delete_group(u32 group);
    u32 add_protocol(u32 protocol, u32 group);
    u32 remove_protocol(u32 protocol, u32 group);

    // ---- entries ----
    u32 create_static(u32 vid, const Address& mac, u32 port, u32 flag, u32 permit);
    u32 delete_static(u32 vid, const Address& mac, u32 permit);
    u32 create_local(u32 port, const Address& mac, u32 flag, u32 permit);
    u32 delete_local(u32 port, const Address& mac, u32 permit);
    void flush_static(u32 port) { flush(port, ZELFDB_FIL_STATIC); }
    void flush_dynamic(u32 port) { flush(port, ZELFDB_FIL_DYNAMIC); }
    void clear_vlan(PlainVlan& vlan) { clear(vlan.table, ZELFDB_FIL_DYNAMIC); }
    int learn(const PlainFrame& frame, u32 port, u32 cookie, u32 now_s);
    void age(u32 now_s, const PlainAnswer& answer);

    // ---- queues and streams ----
    u32 create_queue(u32 queue, i32 size, u32 length);
    u32 delete_queue(u32 queue);
    // None: which queues serve which stream is not known any more, see slots_blurred.
    std::optional<u32> attach_refused(u32 queue, u32 stream);
    std::optional<u32> detach_refused(u32 queue, u32 stream);
    void attach(u32 queue, u32 stream, u32 class_no, u32 mode, u32 pri, u32 ratio);
    void detach(u32 queue, u32 stream, u32 class_no);
    u32 set_queue_qos(u32 queue, u32 stream, u32 pri, u32 ratio);
    u32 set_queue_size(u32 queue, u32 stream, i32 size, u32 length);
    u32 check_queue(u32 port, u32 sno_port);
    u32 create_stream(u32 stream);
    u32 delete_stream(u32 stream);
    u32 bind_stream(u32 stream, u32 port, u32 sno_port);
    u32 unbind_stream(u32 stream, u32 port);
    u32 check_stream(u32 port);

    // ---- profiles and mirrors ----
    u32 create_profile(u32 profile);
    u32 delete_profile(u32 profile);
    u32 bind_profile(u32 profile, u32 port, u32 vid);
    u32 unbind_profile(u32 port, u32 vid);
    u32 add_line(u32 profile, u32 line_no, u32 stream_id);
    u32 remove_line(u32 profile, u32 line_no);
    u32 remove_lines(u32 profile);
    u32 create_mirror(u32 id);
    u32 delete_mirror(u32 id);
    u32 set_mirror_source(u32 id, u32 kind, u32 port);
    u32 set_mirror_dest(u32 id, u32 port);
    u32 set_mirror_detail(u32 id);
    u32 enable_mirror(u32 id);
    u32 disable_mirror(u32 id);

    // By the identifiers of a request; null if there is none.
    PlainPort* port(u32 id) { return found(ports, id); }
    PlainPhport* phport(u32 id) { return id >= 1 && id <= phports.size() ? &phports[id - 1] : nullptr; }
    PlainVlan* vlan(u32 vid) { return found(vlans, vid & 0xFFFF); }
    PlainQueue* queue(u32 number) { return found(queues, number & 0xFFFF); }
    PlainStream* stream(u32 number) { return found(streams, number & 0xFFFF); }
    std::vector<u32>* profile(u32 number) { return found(profiles, number & 0xFFFF); }

    zelfdb_counts counts;
    zelfdb_history history{};
    std::map<u32, PlainPort> ports;  // 1..199
    u32 hidden_ports = 0;            // beyond: never found again
    std::array<PlainPhport, 4> phports{};
    std::map<u32, PlainVlan> vlans;
    std::vector<PlainGroup> groups;
    u32 user_limit = 0;
    std::map<u32, PlainQueue> queues;  // 0..8191
    u32 hidden_queues = 0;
    i32 budget = 65536;
    // A queue was deleted while it served a stream, a stream while it had queues, or a queue was taken out of a slot that it
    // did not serve. Callers are asked not to; who serves whom is then a matter of the records.
    bool slots_blurred = false;
    std::map<u32, PlainStream> streams;  // 0..1023
    u32 hidden_streams = 0;
    std::map<u32, std::vector<u32>> profiles;  // 1..64, the target streams of their lines
    u32 hidden_profiles = 0;
    std::array<PlainMirror, 4> mirrors{};

private:
    template <class Map>
    static auto found(Map& map, u32 key) -> decltype(&map.begin()->second)
    {
        const auto at = map.find(key);
        return at == map.end() ? nullptr : &at->second;
    }

    PlainGroup* group(u32 id);
    bool has_profile_bound(u32 number) const;
    u32 membership(u32 port, u32 vid, PlainMember*& member);
    u32 refuse_join(const PlainVlan& vlan, const PlainPort& port, bool tagged, bool by_protocol, u32 group);
    u32 extend(PlainPort& port, const PlainMember& member, u32 vid, bool by_protocol, u32 group);
    void lower_flags(PlainPort& port);
    PlainMirror* mirror(u32 id) { return id - 1 < mirrors.size() ? &mirrors[id - 1] : nullptr; }
    static u32 refuse(const PlainMirror* mirror, bool frozen);

    [[nodiscard]] u32 users() const;
    u32 vid_of(const PlainPort& port, const PlainFrame& frame);
    u32 add(PlainTable& table, PlainEntry entry);
    u32 remove(PlainTable& table, const Address& mac, u32 type, u32 permit);
    void drop(PlainTable& table, const Address& mac);
    void drop_where(PlainTable& table, u32 type, std::optional<u32> port);
    void evict(PlainTable& table);
    void clear(PlainTable& table, u32 type) { drop_where(table, type, std::nullopt); }
    void flush(u32 port, u32 type);
    void age_chain(std::deque<PlainEntry>& chain, u32 now_s, const PlainAnswer& answer);
    void trip(PlainPort* port);

    std::vector<u32> free_cookies_;      // the last is the next to be handed out
    std::vector<PlainPort> free_ports_;  // the same, with what their last users left
};

}  // namespace fuzz
