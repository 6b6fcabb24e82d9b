#include "compare.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "answers.h"
#include "core/critical.h"
#include "site.h"

namespace fuzz {
namespace {

// Every value has a name, so that a finding says what differs.
void same(const char* what, u32 of, u64 library, u64 model)
{
    if (library != model)
        found("%s of %u is %llu, expected %llu", what, of, static_cast<unsigned long long>(library),
              static_cast<unsigned long long>(model));
}

using Buffer = std::unique_ptr<zelfdb_ropebuf, void (*)(zelfdb_ropebuf*)>;

Buffer buffer_of(u32 capacity, u32 record_size)
{
    Buffer buffer(zelfdb_alloc_ropebuf(capacity, record_size), zelfdb_free_ropebuf);
    if (!buffer) found("no record buffer");
    return buffer;
}

template <class Record>
Record record_at(const zelfdb_ropebuf& buffer, u32 number)
{
    Record record{};
    std::memcpy(&record, buffer.records + std::size_t{number} * buffer.record_size,
                std::min(sizeof record, std::size_t{buffer.record_size}));
    return record;
}

// ---- counts ----

void compare_counts(Plain& plain)
{
    zelfdb_summary summary{};
    same("the summary's result", 0, static_cast<u32>(zelfdb_get_summary(&summary)), 0);
    same("lowest VID", 0, summary.lowest_vid, 1);
    same("highest VID", 0, summary.highest_vid, 4094);
    same("VLAN capacity", 0, summary.vlan_capacity, plain.counts.nvlan);
    same("VLAN count", 0, summary.vlan_count, plain.vlans.size());
    zelfdb_history history{};
    same("the history's result", 0, static_cast<u32>(zelfdb_get_history(&history)), 0);
    if (std::memcmp(&history, &plain.history, sizeof history) != 0) found("the history is another");
}

// ---- ports ----

std::vector<std::pair<u32, const PlainMember*>> memberships_of(const Plain& plain, u32 port_id)
{
    std::vector<std::pair<u32, const PlainMember*>> all;
    for (const auto& [vid, vlan] : plain.vlans) {
        const auto member = vlan.members.find(port_id);
        if (member != vlan.members.end()) all.emplace_back(vid, &member->second);
    }
    return all;
}

void compare_port_head(const PlainPort& port, const zelfdb_port_info& info)
{
    const u32 id = port.id;
    same("the ID of port", id, info.port_id, id);
    same("p_flag of port", id, info.p_flag, port.p_flag);
    same("p_type of port", id, info.p_type, port.p_type);
    same("pri of port", id, info.pri, port.pri);
    same("phport of port", id, info.phport, port.phport);
    same("tagtype of port", id, info.tagtype, port.tagtype);
    same("PVID of port", id, info.PVID, port.pvid);
    same("npg of port", id, info.npg, port.bindings.size());
    for (std::size_t i = 0; i < std::size(info.prot); ++i) {
        const bool used = i < port.bindings.size();
        same("a bound group of port", id, info.prot[i].group, used ? port.bindings[i].group : 0);
        same("a bound VID of port", id, info.prot[i].VID, used ? port.bindings[i].VID : 0);
    }
    for (std::size_t i = 0; i < port.policing.size(); ++i) {
        same("a policing colour of port", id, info.policing[i].color, port.policing[i].color);
        same("a policing rate of port", id, info.policing[i].rate, port.policing[i].rate);
        same("a policing burst of port", id, info.policing[i].burst, port.policing[i].burst);
        same("cosmap of port", id, info.cosmap[i], port.cosmap[i]);
    }
    same("valbit of port", id, info.valbit, port.valbit);
    same("optate of port", id, info.optate, port.up ? B_PORT_UP : B_PORT_DOWN);
    same("aging of port", id, info.aging_s, port.aging_s);
    same("sldbkr_on of port", id, info.sldbkr_on, port.breaker_on);
    same("sldbkr_state of port", id, info.sldbkr_state, port.breaker);
}

void compare_port_tail(const PlainPort& port, const zelfdb_port_info& info)
{
    const u32 id = port.id;
    same("def_spno of port", id, info.def_spno, port.def_spno);
    same("def_pri of port", id, info.def_pri, port.def_pri);
    same("def_color of port", id, info.def_color, port.def_color);
    same("bw_calc_mode of port", id, info.bw_calc_mode, port.bw_calc_mode);
    same("link frames of port", id, info.link_frames_fwd, port.link_frames);
}

void compare_memberships(zelfdb_descriptor& d, const Plain& plain, const PlainPort& port, u32 page)
{
    const auto all = memberships_of(plain, port.id);
    std::array<u32, 64> vids{};
    u32 err = 0;
    const int count = zelfdb_get_vid_from_portID2(&d, static_cast<i32>(vids.size()), port.id, vids.data(), &err);
    same("memberships of port", port.id, static_cast<u32>(count), all.empty() ? 0xFFFFFFFF : all.size());
    for (std::size_t i = 0; i < all.size(); ++i) same("a VID of port", port.id, vids[i], all[i].first);

    u32 vid = 77;
    const int got = zelfdb_get_port_vid(port.id, &vid, &err);
    const u32 code = !port.is_vif() ? u32{ZELFDB_NOT_VIF} : all.empty() ? u32{ZELFDB_NOT_MEMBER} : 0;
    same("the VID asked of port", port.id, static_cast<u32>(got), code == 0 ? 0 : 0xFFFFFFFF);
    if (code != 0) same("why no VID of port", port.id, err, code);
    same("the one VID of port", port.id, vid, code == 0 ? all.front().first : 0);

    const Buffer buffer = buffer_of(page, sizeof(zelfdb_pv_info));
    zelfdb_cursor cursor{};
    std::size_t met = 0;
    int more = 1;
    while (more == 1 && met <= all.size()) {
        more = zelfdb_get_all_pvinfo_in_a_port(port.id, &cursor, buffer.get());
        for (u32 i = 0; more >= 0 && i < buffer->filled && met < all.size(); ++i, ++met) {
            const auto record = record_at<zelfdb_pv_info>(*buffer, i);
            same("a listed VID of port", port.id, record.VID, all[met].first);
            same("a listed flag of port", port.id, record.pv_flag, all[met].second->flag);
            same("a listed tagtype of port", port.id, record.tagtype, all[met].second->tagtype);
            if (plain.vlans.at(record.VID).name != record.vlan_name) found("a name in port %u's listing", port.id);
        }
    }
    same("the end of the memberships of port", port.id, static_cast<u32>(more), all.empty() ? 0xFFFFFFFF : 0);
    same("listed memberships of port", port.id, met, all.size());
}

void compare_port(zelfdb_descriptor& d, const Plain& plain, const PlainPort& port, u32 page)
{
    zelfdb_port_info info{};
    same("reading port", port.id, static_cast<u32>(zelfdb_get_portinfo(port.id, &info)), 0);
    compare_port_head(port, info);
    compare_port_tail(port, info);
    const auto all = memberships_of(plain, port.id);
    same("nmember of port", port.id, info.nmember, all.empty() ? 1 : all.size());
    for (std::size_t i = 0; i < all.size(); ++i) {
        same("a row's VID of port", port.id, info.member[i].VID, all[i].first);
        same("a row's flag of port", port.id, info.member[i].pv_flag, all[i].second->flag);
        same("a row's tagtype of port", port.id, info.member[i].tagtype, all[i].second->tagtype);
    }
    compare_memberships(d, plain, port, page);
}

// Ports that no look-up finds are listed too: behind the others, but for those above 2^31, before them.
void compare_port_listing(const Plain& plain)
{
    const auto total = static_cast<u32>(plain.ports.size()) + plain.hidden_ports;
    const Buffer buffer = buffer_of(total, sizeof(zelfdb_port_info));
    zelfdb_cursor cursor{};
    const int result = zelfdb_get_all_portinfo(&cursor, buffer.get());
    same("listing", 0, static_cast<u32>(result), total == 0 ? 0xFFFFFFFF : 0);
    if (total == 0) return;
    same("ports listed", 0, buffer->total, total);
    same("ports filled in", 0, buffer->filled, total);
    auto next = plain.ports.begin();
    for (u32 i = 0; i < buffer->filled; ++i) {
        const auto info = record_at<zelfdb_port_info>(*buffer, i);
        if (info.port_id - 1 >= 199) continue;
        if (next == plain.ports.end()) found("port %u is listed", info.port_id);
        compare_port_head(next->second, info);
        ++next;
    }
    if (next != plain.ports.end()) found("port %u is not listed", next->first);
}

void compare_phports(Plain& plain)
{
    for (u32 id = 1; id <= 4; ++id) {
        zelfdb_phinfo info{};
        u32 err = 0;
        same("reading physical port", id, static_cast<u32>(zelfdb_get_phinfo(id, &info, &err)), 0);
        same("the ID of physical port", id, info.phport, id);
        same("the rate of physical port", id, info.shaping_rate, plain.phport(id)->shaping_rate);
        same("the second value of physical port", id, info.shaping_param2, plain.phport(id)->shaping_param2);
    }
}

// ---- VLANs ----

// With room for the PVIDs of all ports.
struct VlanRoom {
    zelfdb_vlan_info info;
    u32 pvid_ports[64];
};

void compare_vlan_record(const Plain& plain, u32 vid, const PlainVlan& vlan, const VlanRoom& room)
{
    if (vlan.name != room.info.name) found("the name of VLAN %u is another", vid);
    same("the flag of VLAN", vid, room.info.vlan_flag, vlan.flag);
    same("the VID of VLAN", vid, room.info.VID, vid);
    same("members of VLAN", vid, room.info.nmember, vlan.members.size());
    const auto untagged = std::count_if(vlan.members.begin(), vlan.members.end(),
                                        [](const auto& one) { return !(one.second.flag & ZELFDB_PV_TAGGED); });
    same("untagged members of VLAN", vid, room.info.nuntagged, static_cast<u64>(untagged));
    same("entries of VLAN", vid, room.info.nfil, vlan.table.size());
    const zelfdb_vlan_member* row = room.info.member;
    for (const auto& [id, member] : vlan.members) {
        same("a member of VLAN", vid, row->port_id, id);
        same("a member's type of VLAN", vid, row->p_type, plain.ports.at(id).p_type);
        same("a member's flag of VLAN", vid, row->pv_flag, member.flag);
        same("a member's tagtype of VLAN", vid, row->tagtype, member.tagtype);
        ++row;
    }
    u32 pvid_ports = 0;
    for (const auto& [id, port] : plain.ports) {
        if (port.pvid != vid) continue;
        same("a port with the PVID of VLAN", vid, room.pvid_ports[pvid_ports], id);
        ++pvid_ports;
    }
    same("ports with the PVID of VLAN", vid, room.info.npvid, pvid_ports);
}

void compare_names(zelfdb_descriptor& d, u32 vid, const PlainVlan& vlan)
{
    u32 err = 0;
    u32 told = 0;
    same("asking for the name of VLAN", vid, static_cast<u32>(zelfdb_get_vid2(&d, vlan.name.c_str(), &told, &err)), 0);
    same("the VID by name of VLAN", vid, told, vid);
    char name[31];
    std::memset(name, '?', sizeof name);
    same("asking for the VID of VLAN", vid, static_cast<u32>(zelfdb_get_vlanname2(&d, vid, name, &err)), 0);
    if (vlan.name != name) found("the name by VID of VLAN %u is another", vid);
}

// A member table is read with room for one less than there are: no more is written, and all are counted.
void compare_members(zelfdb_descriptor& d, u32 vid, const PlainVlan& vlan)
{
    const auto max = std::max<i32>(1, static_cast<i32>(vlan.members.size()) - 1);
    const auto ids = std::make_unique<u32[]>(static_cast<std::size_t>(max));
    u32 err = 0;
    const int count = zelfdb_get_portID_from_vid2(&d, max, vid, ids.get(), &err);
    same("asking for the members of VLAN", vid, static_cast<u32>(count),
         vlan.members.empty() ? 0xFFFFFFFF : vlan.members.size());
    if (vlan.members.empty()) same("why VLAN has no members", vid, err, ZELFDB_NOT_MEMBER);
    i32 i = 0;
    for (const auto& [id, member] : vlan.members) {
        if (i == max) break;
        same("a member told of VLAN", vid, ids[static_cast<std::size_t>(i++)], id);
    }
}

void compare_vlan_listing(const Plain& plain, u32 page)
{
    const Buffer buffer = buffer_of(page, sizeof(VlanRoom));
    zelfdb_cursor cursor{};
    auto next = plain.vlans.begin();
    int more = 1;
    for (std::size_t pages = 0; more == 1 && pages <= plain.vlans.size(); ++pages) {
        std::memset(buffer->records, 0, std::size_t{page} * buffer->record_size);
        more = zelfdb_get_all_vlaninfo(&cursor, buffer.get());
        for (u32 i = 0; more >= 0 && i < buffer->filled; ++i, ++next) {
            if (next == plain.vlans.end()) found("more VLANs are listed than there are");
            compare_vlan_record(plain, next->first, next->second, record_at<VlanRoom>(*buffer, i));
        }
    }
    same("the end of the VLANs", 0, static_cast<u32>(more), plain.vlans.empty() ? 0xFFFFFFFF : 0);
    if (next != plain.vlans.end()) found("VLAN %u is not listed", next->first);
}

void compare_groups(const Plain& plain)
{
    zelfdb_protgroup_info info{};
    u32 err = 0;
    same("reading groups", 0, static_cast<u32>(zelfdb_get_protgroup_info(&info, &err)), 0);
    same("groups", 0, info.count, plain.groups.size());
    for (std::size_t i = 0; i < plain.groups.size(); ++i) {
        const PlainGroup& group = plain.groups[i];
        same("the ID of group", group.id, info.group[i].group, group.id);
        same("protocols of group", group.id, info.group[i].nprot, group.protocols.size());
        for (std::size_t k = 0; k < group.protocols.size(); ++k)
            same("a protocol of group", group.id, info.group[i].prot[k], group.protocols[k]);
    }
}

// ---- entries ----

using Listing = int (*)(uint32_t, zelfdb_fdb_cursor*, zelfdb_ropebuf*);

void compare_entry(u32 of, const PlainEntry& entry, u32 bucket, const zelfdb_fdb_record& record, u32 now_s)
{
    same("a bucket of table", of, record.bucket, bucket);
    if (std::memcmp(record.mac, entry.mac.data(), entry.mac.size()) != 0)
        found("an address of table %u is another", of);
    same("a flag of table", of, record.flag, entry.flag & 0xFF);
    same("a permit of table", of, record.permit, entry.permit & 0xFF);
    if (entry.type != ZELFDB_FIL_LOCAL)
        same("a port of table", of, record.port, entry.flag & ZELFDB_FIL_FLAG_NO_PORT ? 0 : entry.port);
    if (entry.type != ZELFDB_FIL_DYNAMIC) return;
    const i32 age_s = static_cast<i32>(now_s - entry.seen_s);
    same("an age of table", of, static_cast<u32>(record.age_s), static_cast<u32>(std::max(age_s, 0)));
}

void compare_table(u32 of, PlainTable& table, u32 type, Listing list, u32 page, u32 now_s)
{
    std::vector<std::pair<u32, const PlainEntry*>> expected;
    for (const auto& [bucket, chain] : table.buckets)
        for (const PlainEntry& entry : chain)
            if (entry.type == type) expected.emplace_back(bucket, &entry);
    const Buffer buffer = buffer_of(page, sizeof(zelfdb_fdb_record));
    zelfdb_fdb_cursor cursor{};
    std::size_t met = 0;
    int more = 1;
    while (more == 1 && met <= expected.size()) {
        more = list(of, &cursor, buffer.get());
        // It keeps the FDB lock, for callers that end with it.
        if (list == zelfdb_get_all_lfil) end_critical_fdb();
        same("all entries of table", of, buffer->total, table.size());
        for (u32 i = 0; i < buffer->filled; ++i, ++met) {
            if (met == expected.size()) found("more entries of table %u are listed than there are", of);
            const auto record = record_at<zelfdb_fdb_record>(*buffer, i);
            compare_entry(of, *expected[met].second, expected[met].first, record, now_s);
        }
    }
    same("the end of table", of, static_cast<u32>(more), 0);
    same("entries of table", of, met, expected.size());
}

// ---- queues and streams ----

void compare_queue(u32 number, const PlainQueue& queue)
{
    u32 words[6] = {77, 77, 77, 77, 77, 77};
    u32 err = 0;
    same("reading queue", number, static_cast<u32>(zelfdb_get_queue_info(number, words, &err)), 0);
    same("the number of queue", number, words[0], number);
    same("the size of queue", number, words[1], queue.size);
    same("the length of queue", number, words[2], queue.length);
    same("the mode of queue", number, words[3], queue.mode);
    same("pri of queue", number, words[4], queue.mode == 1 || queue.mode == 2 ? queue.pri : 77);
    same("the ratio of queue", number, words[5], queue.mode == 1 ? queue.ratio : 77);
}

void compare_stream(u32 number, const PlainStream& stream)
{
    zelfdb_stream_info info{};
    u32 err = 0;
    same("reading stream", number, static_cast<u32>(zelfdb_get_stream_info(number, &info, &err)), 0);
    same("the number of stream", number, info.streamno, number);
    same("the port of stream", number, info.portno, stream.portno);
    same("the place of stream", number, info.sno_port, stream.sno_port);
    same("the priority of stream", number, info.priority, stream.priority);
    same("qos_type of stream", number, info.qos_type, stream.qos_type);
    same("minrate of stream", number, info.minrate, stream.minrate);
    same("minburst of stream", number, info.minburst, stream.minburst);
    same("maxrate of stream", number, info.maxrate, stream.maxrate);
    same("maxburst of stream", number, info.maxburst, stream.maxburst);
    same("the first figure of stream", number, info.np_first, answers.stream[0]);
    same("the second figure of stream", number, info.np_second, answers.stream[1]);
    u32 active = 0;
    for (std::size_t i = 0; i < 8; ++i) {
        const u32 word = answers.stream[2 + 2 * i];
        same("a class word of stream", number, info.row[i].np_word, word);
        same("tos_value of stream", number, info.tos_value[i], stream.tos_value[i]);
        same("tos_mask of stream", number, info.tos_mask[i], stream.tos_mask[i]);
        if (!(word & 1)) continue;
        ++active;
        same("a class's second word of stream", number, info.row[i].np_second, answers.stream[3 + 2 * i]);
        if (std::memcmp(info.row[i].red, stream.red[i].data(), sizeof info.row[i].red) != 0)
            found("RED of class %zu of stream %u is another", i, number);
    }
    same("active classes of stream", number, info.nactive, active);
    same("tosmap_bits of stream", number, info.tosmap_bits, stream.tosmap_bits);
}

// The sums over the queues that are there of the classes that the NP calls active.
void compare_listed_stream(const Plain& plain, u32 number, const PlainStream& stream, const zelfdb_stream_info& info)
{
    u32 sizes = 0;
    u32 lengths = 0;
    for (u32 i = 0; i < 8; ++i) {
        const auto queue = plain.queues.find(number * 8 + i);
        if (!(answers.stream[2 + 2 * i] & 1) || queue == plain.queues.end()) continue;
        sizes += queue->second.size;
        lengths += queue->second.length;
    }
    same("the listed number of stream", number, info.streamno, number);
    same("the listed burst of stream", number, info.maxburst, stream.minburst);
    same("listed queue sizes of stream", number, info.queue_sizes, sizes);
    same("listed queue lengths of stream", number, info.queue_lengths, lengths);
}

// Streams that no look-up finds stand behind the others.
void compare_stream_listing(const Plain& plain)
{
    const auto total = static_cast<u32>(plain.streams.size()) + plain.hidden_streams;
    const Buffer buffer = buffer_of(total, sizeof(zelfdb_stream_info));
    zelfdb_cursor cursor{};
    const int result = zelfdb_get_all_streaminfo(&cursor, buffer.get());
    same("listing streams", 0, static_cast<u32>(result), total == 0 ? 0xFFFFFFFF : 0);
    if (total == 0) return;
    same("streams listed", 0, buffer->total, total);
    same("streams filled in", 0, buffer->filled, total);
    u32 i = 0;
    for (const auto& [number, stream] : plain.streams)
        compare_listed_stream(plain, number, stream, record_at<zelfdb_stream_info>(*buffer, i++));
}

}  // namespace

void compare(zelfdb_descriptor& d, Plain& plain, u32 page, u32 now_s)
{
    compare_counts(plain);
    for (const auto& [id, port] : plain.ports) compare_port(d, plain, port, page);
    compare_port_listing(plain);
    compare_phports(plain);
    for (auto& [vid, vlan] : plain.vlans) {
        VlanRoom room{};
        same("reading VLAN", vid, static_cast<u32>(zelfdb_get_vlan_info(vid, &room.info)), 0);
        compare_vlan_record(plain, vid, vlan, room);
        compare_names(d, vid, vlan);
        compare_members(d, vid, vlan);
        compare_table(vid, vlan.table, ZELFDB_FIL_DYNAMIC, zelfdb_get_all_dfil, page, now_s);
        compare_table(vid, vlan.table, ZELFDB_FIL_STATIC, zelfdb_get_all_sfil, page, now_s);
    }
    compare_vlan_listing(plain, page);
    compare_groups(plain);
    for (auto& [id, port] : plain.ports)
        compare_table(id, port.local, ZELFDB_FIL_LOCAL, zelfdb_get_all_lfil, page, now_s);
    for (const auto& [number, queue] : plain.queues) compare_queue(number, queue);
    for (const auto& [number, stream] : plain.streams) compare_stream(number, stream);
    compare_stream_listing(plain);
}

}  // namespace fuzz
