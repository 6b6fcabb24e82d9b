#include "random_database.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "language/types.h"

// What the text of the replay does not carry. These databases differ from any other in nothing else.
//
//  - Objects that no operation finds again: ports beyond 199, streams beyond 1023, queues beyond 8191, classify lists
//    beyond 64. No command names them.
//  - VLAN names with blanks or control characters, those that begin with #, and empty ones. They are no words.
//  - A physical port's number that was changed after the creation of an Ethernet port: creation takes only 1 to 4, each
//    for one port.
//  - Streams of a port that is gone, two streams of one position on a port (or without a port), and streams of ports 1
//    to 4 with another number than (port - 1) * 256 + position - 1. Streams of other ports may get another number.
//  - Queues with another number than stream * 8 + class, and a second queue for the same class. Sizes of queues, and what
//    no class slot holds.
//  - A protocol group that a port joins two VLANs by; more than eight groups of one port.
//  - PVIDs that do not come from a membership.
//  - Masks of addresses that are no prefixes.
//  - A mirror's source in a VLAN that is gone.
//
// And these are cut, which the text itself survives: entries of a TOS map, flags of a classify line and kinds of binding words
// that have no text, to whether there is nothing else; rates, to thousands; colours without a word, to one of them; types of
// ports and schedulings beyond the known ones, to none; link modes, bandwidth modes and the like, to whether they are the
// default.

namespace zelfctl {
namespace {

using zelfdb::Random;

constexpr u32 classes = 8;
constexpr u32 most_streams = 1024;
constexpr u32 positions = 256;
constexpr u32 ports_with_numbered_streams = 4;

class Builder {
public:
    Builder(zelfdb_descriptor* descriptor, Random& random, Size size)
        : descriptor_(descriptor), random_(random), is_full_(size == Size::full)
    {
    }

    void build()
    {
        shape_phports();
        add_ports();
        delete_some_ports();
        add_groups();
        add_vlans();
        delete_some_vlans();
        add_members();
        add_streams();
        add_lists();
        add_entries();
        add_mirrors();
        // After the entries, which it would keep away.
        if (random_.once_in(4)) zelfdb_set_fdb_userarea(random_.below(9), &code_);
    }

private:
    struct Member {
        u32 port;
        u32 vid;
    };

    // What the standard library's shuffle asks for.
    struct Urn {
        using result_type = u32;
        Random& random;
        static constexpr u32 min() { return 0; }
        static constexpr u32 max() { return 0xFFFFFFFF; }
        u32 operator()() { return random.word(); }
    };

    bool maybe() { return random_.once_in(is_full_ ? 2 : 3); }
    bool coin() { return random_.once_in(2); }

    // How many of a kind.
    u32 few(u32 all) { return is_full_ ? all : random_.below(5); }

    // Of 32 bits, most of them at an edge.
    u32 number()
    {
        constexpr u32 edges[] = {0, 1, 2, 7, 100, 255, 256, 300, 999, 1000, 8000, 16384, 0x7FFFFFFF, 0x80000000};
        switch (random_.below(4)) {
        case 0: return edges[random_.below(std::size(edges))];
        case 1: return random_.below(100000);
        case 2: return 0xFFFFFFFF - random_.below(1001);
        default: return random_.word();
        }
    }
    u8 byte() { return static_cast<u8>(coin() ? number() : random_.below(8)); }
    u16 half() { return static_cast<u16>(coin() ? number() : random_.below(8)); }

    template <class T>
    const T& one_of(const std::vector<T>& all)
    {
        return all[random_.below(static_cast<u32>(all.size()))];
    }

    // ---- ports

    void shape_phports()
    {
        for (u32 id = 1; id <= 4; ++id)
            if (maybe()) zelfdb_set_ph_shaping(id, number(), coin() ? 8000 : number(), &code_);
    }

    // Mostly those that the network processor has.
    u32 new_port_id()
    {
        if (is_full_) return static_cast<u32>(ports_.size()) + 1;
        switch (random_.below(8)) {
        case 0: return 1 + random_.below(199);
        case 1:
        case 2: return 101 + random_.below(64);
        default: return 1 + random_.below(10);
        }
    }

    void add_ports()
    {
        for (u32 i = few(199); i != 0; --i) add_port(new_port_id());
    }

    void add_port(u32 id)
    {
        const i32 type = static_cast<i32>(random_.below(random_.once_in(8) ? 5 : 3));
        const u32 phport = type == ZELFDB_PORT_ETHER ? 1 + random_.below(4) : random_.below(256);
        if (zelfdb_create_port(id, phport, type, &code_) != 0) {
            if (is_full_) zelfdb_create_port(id, phport, ZELFDB_PORT_VIF, &code_);
            if (!is_full_) return;
        }
        ports_.push_back(id);
        if (coin()) zelfdb_enable_port(id, &code_);
        set_params(id);
        set_class_of_service(id);
        set_policing(id);
        set_link(id);
        if (random_.once_in(8)) zelfdb_disable_port(id, &code_);
    }

    void set_params(u32 id)
    {
        zelfdb_port_param param{};
        param.p_flag = static_cast<u16>(random_.word());
        param.pri = byte();
        param.tagtype = half();
        i32 selector = 0;
        if (maybe()) selector |= ZELFDB_SELECT_P_FLAG;
        if (maybe()) selector |= ZELFDB_SELECT_P_FLAG_TO_NP;
        if (maybe()) selector |= ZELFDB_SELECT_PRI;
        if (maybe()) selector |= ZELFDB_SELECT_TAGTYPE;
        if (maybe()) selector |= ZELFDB_SELECT_AGING;
        zelfdb_set_param_to_port2(descriptor_, id, &param, number(), 0, selector,
                                  static_cast<i32>(random_.word() & 0xFFFF), &code_);
    }

    void set_class_of_service(u32 id)
    {
        if (maybe()) zelfdb_set_default_class(id, number(), number(), random_.below(5), &code_);
        if (!maybe()) return;
        u32 values[classes];
        for (u32& value : values) value = number();
        zelfdb_set_port_cosmap(id, random_.once_in(8) ? number() : random_.below(256), values, &code_);
    }

    void set_policing(u32 id)
    {
        for (u32 i = random_.below(4); i != 0; --i)
            zelfdb_set_port_class_policing(id, static_cast<i32>(random_.below(classes)), number(),
                                           coin() ? 8000 : number(), static_cast<i32>(random_.below(5)), &code_);
    }

    void set_link(u32 id)
    {
        if (maybe()) zelfdb_set_link_mode(id, random_.below(4), &code_);
        if (maybe()) zelfdb_set_link_depend(id, random_.below(3), number(), &code_);
        if (maybe()) zelfdb_set_port_bandwidth_calc_mode(id, random_.below(3), &code_);
        for (u32 i = random_.below(4); i != 0; --i)
            zelfdb_set_port_link_frames(id, random_.below(5), static_cast<i32>(coin()), &code_);
    }

    // A port that is made where another was keeps some of its fields: the text has to say so.
    void delete_some_ports()
    {
        if (is_full_ || !maybe() || ports_.empty()) return;
        zelfdb_delete_port(ports_.back(), &code_);
        ports_.pop_back();
        if (coin()) add_ports();
    }

    // ---- VLANs

    void add_groups()
    {
        for (u32 i = few(8); i != 0; --i) {
            const u16 group = random_.once_in(3) ? half() : static_cast<u16>(random_.below(12));
            zelfdb_create_protgroup(group, &code_);
            for (u32 k = few(8); k != 0; --k) zelfdb_add_prot_to_group(half(), group, &code_);
            groups_.push_back(group);
        }
        if (!groups_.empty() && random_.once_in(6)) zelfdb_delete_protgroup(one_of(groups_), &code_);
    }

    std::string new_name()
    {
        constexpr const char* words[] = {"sales", "vid",     "off", "vlan",     "tag",
                                         "a#b",   "100%s%n", "-",   "\xC3\xBC", "all"};
        std::string name;
        if (!is_full_) name = words[random_.below(std::size(words))];
        while (is_full_ ? name.size() < 4 : random_.once_in(2))
            name += static_cast<char>('!' + random_.below('~' - '!'));
        if (name.front() == '#') name.front() = 'h';
        if (random_.once_in(8)) name.resize(30, 'x');
        return name.substr(0, 30);
    }

    void add_vlans()
    {
        for (u32 i = few(400); i != 0; --i) {
            i32 vid = is_full_ || random_.once_in(4) ? -1 : static_cast<i32>(1 + random_.below(4094));
            if (zelfdb_create_vlan(new_name().c_str(), &vid, &code_) != 0) continue;
            const u32 made = static_cast<u32>(vid);
            vids_.push_back(made);
            if (maybe()) zelfdb_set_vlan_sld(vid, coin(), &code_);
            if (maybe()) zelfdb_set_vlan_ignore_fdb(made, coin(), &code_);
            if (maybe()) zelfdb_set_vlan_learning_off(made, coin(), &code_);
            if (maybe()) zelfdb_set_vlan_learninglimit(vid, number(), &code_);
        }
        std::sort(vids_.begin(), vids_.end());
    }

    void delete_some_vlans()
    {
        if (vids_.empty() || is_full_ || !maybe()) return;
        zelfdb_delete_vlan(vids_.back(), &code_);
        vids_.pop_back();
    }

    void add_members()
    {
        for (const u32 port : ports_) {
            std::vector<u32> vids = vids_;
            std::shuffle(vids.begin(), vids.end(), Urn{random_});
            std::set<u16> joined;
            for (const u32 vid : vids)
                if (random_.once_in(is_full_ ? 20 : 2)) add_member(port, vid, joined);
        }
        if (!members_.empty() && random_.once_in(6)) {
            const Member gone = members_.back();
            zelfdb_rem_port_from_vlan(gone.vid, gone.port, &code_);
            members_.pop_back();
        }
    }

    void add_member(u32 port, u32 vid, std::set<u16>& joined)
    {
        const u32 kind = random_.below(3);
        bool is_member = false;
        if (kind == 0) is_member = zelfdb_add_port_to_vlan(vid, port, 0, half(), 0, 0, &code_) == 0;
        if (kind == 1) is_member = zelfdb_add_port_to_vlan(vid, port, 1, coin() ? 0x8100 : half(), 0, 0, &code_) == 0;
        if (kind == 2) {
            for (u32 i = 1 + random_.below(3); i != 0; --i) is_member |= join_by_group(port, vid, joined);
        }
        if (is_member) members_.push_back({port, vid});
    }

    bool join_by_group(u32 port, u32 vid, std::set<u16>& joined)
    {
        if (groups_.empty() || joined.size() == 8) return false;
        const u16 group = one_of(groups_);
        if (joined.contains(group)) return false;
        if (zelfdb_add_port_to_vlan(vid, port, random_.once_in(8), half(), 1, group, &code_) != 0) return false;
        joined.insert(group);
        return true;
    }

    // ---- streams and queues

    void add_streams()
    {
        if (is_full_) {
            for (u32 number = 0; number < most_streams; ++number) add_stream(number, 1 + number / positions);
        }
        for (u32 i = few(0); i != 0; --i) {
            const u32 port = ports_.empty() || random_.once_in(4) ? 0 : one_of(ports_);
            const u32 position = coin() ? 1 + random_.below(4) : 1 + random_.below(positions);
            u32 number = position - 1;
            if (port >= 1 && port <= ports_with_numbered_streams) {
                number += (port - 1) * positions;
            } else {
                number += random_.below(4) * positions;
            }
            if (names_.insert({port, position}).second) add_stream(number, port);
        }
    }

    void add_stream(u32 stream, u32 port)
    {
        if (zelfdb_create_stream(stream, &code_) != 0) return;
        if (port != 0) zelfdb_add_stream_to_port(stream, port, stream % positions + 1, &code_);
        const u32 type = random_.below(random_.once_in(8) ? 5 : 3);
        if (coin()) zelfdb_set_qostype_in_stream(stream, type, number(), half(), &code_);
        if (maybe()) shape(stream);
        if (maybe()) zelfdb_set_stream_priority(stream, byte(), &code_);
        if (maybe()) set_tosmap(stream);
        for (u32 i = random_.below(4); i != 0; --i)
            zelfdb_set_red_in_stream(stream, random_.below(classes), random_.below(3), byte(), byte(), byte(), byte(),
                                     &code_);
        for (u32 class_no = 0; class_no < classes; ++class_no)
            if (is_full_ || random_.once_in(6)) add_queue(stream, class_no, type);
    }

    void shape(u32 stream)
    {
        const u32 committed = number();
        const u32 burst = coin() ? 8000 : number();
        zelfdb_set_shaping_in_stream(stream, committed, burst, coin() ? committed : number(), coin() ? burst : number(),
                                     &code_);
    }

    void set_tosmap(u32 stream)
    {
        u32 values[classes];
        u32 masks[classes];
        for (u32& value : values) value = coin() ? random_.below(256) : number();
        for (u32& mask : masks) mask = coin() ? 255 : number();
        const u32 entries = random_.once_in(4) ? number() & 0xFFFFFF00 : random_.below(256);
        zelfdb_set_stream_tosmap(stream, entries, values, masks, &code_);
    }

    void add_queue(u32 stream, u32 class_no, u32 type)
    {
        const u32 queue = stream * classes + class_no;
        const u32 length = coin() ? 16384 : number();
        if (zelfdb_create_queue(queue, static_cast<i32>(random_.below(8)), length, &code_) != 0) return;
        if (!is_full_ && random_.once_in(8)) return;  // serves no class
        const u32 mode = random_.once_in(8) ? random_.below(4) : type;
        zelfdb_add_queue_to_stream(queue, stream, class_no, mode, coin() ? class_no : byte(), coin() ? 1 : byte(),
                                   &code_);
        if (!is_full_ && random_.once_in(16)) zelfdb_rem_queue_from_stream(queue, stream, class_no, &code_);
        if (random_.once_in(16)) zelfdb_set_queue_qos(queue, stream, byte(), byte(), &code_);
    }

    // ---- classify lists

    void add_lists()
    {
        for (u32 i = few(64); i != 0; --i) {
            const u32 list = is_full_ ? i : 1 + random_.below(64);
            if (zelfdb_create_classify_profile(list, &code_) != 0) continue;
            lists_.push_back(list);
            for (u32 k = is_full_ ? 256 : random_.below(4); k != 0; --k) {
                const zelfdb_classify_line line = new_line();
                zelfdb_add_classify_action_to_profile(list, random_.below(5), &line, &code_);
            }
            if (!is_full_ && random_.once_in(6)) zelfdb_rem_classify_action_from_profile(list, 1, &code_);
        }
        if (lists_.empty()) return;
        for (const Member& member : members_)
            if (coin()) bind(member);
    }

    template <class Field, class Half>
    void fill(Field& field, Half make)
    {
        field.value = make();
        field.range_end = make();
        field.ranged = coin() ? 0 : make();
        field.mask = coin() ? static_cast<decltype(field.mask)>(0xFFFFFFFF) : make();
    }

    zelfdb_match32 new_address()
    {
        const u32 length = random_.below(33);
        return {random_.word(), random_.word(), length == 0 ? 0 : 0xFFFFFFFF << (32 - length), random_.below(2)};
    }

    zelfdb_classify_line new_line()
    {
        zelfdb_classify_line line{};
        line.mode = random_.below(4);
        line.stream_id = half();
        line.class_id = byte();
        line.colour = static_cast<u8>(random_.below(4));
        line.flags = random_.word() & random_.word();
        const auto bytes = [this] { return byte(); };
        const auto halves = [this] { return half(); };
        fill(line.dot1p, bytes);
        fill(line.tos, bytes);
        fill(line.proto, bytes);
        fill(line.vlan, halves);
        fill(line.etype, halves);
        fill(line.src_port, halves);
        fill(line.dst_port, halves);
        line.src_ip = new_address();
        line.dst_ip = new_address();
        for (zelfdb_match_ext& word : line.ext) word = {number(), coin() ? 0xFFFFFFFF : number()};
        return line;
    }

    void bind(const Member& member)
    {
        constexpr u32 kinds[] = {0, 1, 2, 3, 4, 0x100};
        u32 words[4];
        for (u32& word : words) word = u32{half()} << 16 | kinds[coin() ? 0 : random_.below(std::size(kinds))];
        zelfdb_add_classify_profile_to_pv(one_of(lists_), member.port, member.vid, words, &code_);
    }

    // ---- entries

    void new_mac(u8 (&mac)[6])
    {
        const std::array<u8, 6> reserved{0x01, 0x80, 0xC2, 0, 0, 0};
        for (u32 i = 0; i < 6; ++i) mac[i] = random_.once_in(3) ? static_cast<u8>(random_.word()) : reserved[i];
        if (coin()) mac[5] = static_cast<u8>(random_.below(4));
    }

    u32 new_permit() { return random_.once_in(4) ? random_.below(3) : 0; }

    void add_entries()
    {
        for (u32 i = is_full_ ? 1500 : random_.below(12); i != 0; --i) {
            u8 mac[6];
            new_mac(mac);
            if (coin() && !vids_.empty()) add_static(mac);
            if (coin() && !ports_.empty()) {
                zelfdb_create_lfil(one_of(ports_), mac, number(), new_permit(), &code_);
                if (random_.once_in(8)) zelfdb_delete_lfil(one_of(ports_), mac, 0, &code_);
            }
        }
    }

    void add_static(const u8 (&mac)[6])
    {
        const u32 flag = coin() ? random_.below(8) : number();
        const u32 port = ports_.empty() || random_.once_in(3) ? number() : one_of(ports_);
        zelfdb_create_sfil2(descriptor_, one_of(vids_), mac, port, flag, new_permit(), &code_);
        if (random_.once_in(8)) zelfdb_delete_sfil2(descriptor_, one_of(vids_), mac, 0, &code_);
    }

    // ---- mirrors

    void add_mirrors()
    {
        for (u32 id = 1; id <= 4; ++id)
            if (is_full_ || maybe()) add_mirror(id);
    }

    void add_mirror(u32 id)
    {
        zelfdb_create_mirror(id, &code_);
        const u32 kind = random_.below(6);
        const bool needs_vlan = kind == 2 || kind == 4 || kind == 5;
        const u32 port = ports_.empty() || random_.once_in(3) ? half() : one_of(ports_);
        if (!needs_vlan || !vids_.empty())
            zelfdb_set_mirror_source(id, kind, port, vids_.empty() ? half() : one_of(vids_), &code_);
        if (coin()) zelfdb_set_mirror_dest(id, ports_.empty() ? half() : one_of(ports_), &code_);
        if (maybe()) zelfdb_set_mirror_classify(id, half(), half(), random_.below(5), &code_);
        if (maybe()) zelfdb_set_mirror_tag(id, random_.below(3), coin() ? 0x8100 : half(), half(), &code_);
        if (coin()) zelfdb_enable_mirror(static_cast<i32>(id), &code_);
        if (!is_full_ && random_.once_in(8)) zelfdb_delete_mirror(id, &code_);
    }

    zelfdb_descriptor* descriptor_;
    Random& random_;
    bool is_full_;
    u32 code_ = 0;  // of the last operation; what is refused is not there
    std::vector<u32> ports_;
    std::vector<u32> vids_;
    std::vector<u16> groups_;
    std::vector<u32> lists_;
    std::vector<Member> members_;
    std::set<std::pair<u32, u32>> names_;  // of streams
};

}  // namespace

void build_database(zelfdb_descriptor* descriptor, Random& random, Size size)
{
    Builder(descriptor, random, size).build();
}

}  // namespace zelfctl
