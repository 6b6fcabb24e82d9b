#include "crash/site.h"

#include <gtest/gtest.h>

#include <cstring>

#include "core/segments.h"
#include "fdb/learning.h"
#include "zelfdb/vf.h"
#include "zelfdb/zelfdb.h"

// Every station that the NP is asked for was last heard long ago.
extern "C" void __wrap_vf_rd_findFDB(vf_cmd* command, uint32_t* out);
extern "C" void __wrap_vf_rd_findFDB(vf_cmd*, uint32_t* out)
{
    std::memset(out, 0, 6 * sizeof *out);
    out[3] = 0x7FFFFFFF;
}

namespace crash {
namespace {

constexpr zelfdb_counts counts{8, 8, 32};
u32 err;

// Stations of one bucket by tens: 0x10, 0x20 ... lie together, and so do 0x11, 0x21 ...
struct Station {
    u8 mac[6];
};
Station station(u8 number)
{
    const u8 low = number & 0x0F;
    const u8 high = number >> 4;
    return {{0x02, 0, 0, 0, high, static_cast<u8>(0x80 + low - high)}};
}

constexpr u32 words[8] = {1, 2, 3, 4, 5, 6, 7, 8};

zelfdb_classify_line line(u8 number)
{
    zelfdb_classify_line content{};
    std::memset(&content, number, sizeof content);
    return content;
}

void vlan(const char* name, i32 vid) { Site::done(zelfdb_create_vlan(name, &vid, &err)); }
void add_line(u32 profile, u8 number)
{
    const zelfdb_classify_line content = line(number);
    Site::done(zelfdb_add_classify_action_to_profile(profile, 0, &content, &err));
}
void pvid(u32 port_id, u16 value)
{
    zelfdb_port_param param{};
    param.PVID = value;
    Site::done(zelfdb_set_param_to_port(port_id, &param, 0, 0, ZELFDB_SELECT_PVID, 0, &err));
}
void breaker_on(u32 port_id)
{
    const zelfdb_port_param param{};
    Site::done(zelfdb_set_param_to_port(port_id, &param, 0, 1, ZELFDB_SELECT_SLDBKR, 0, &err));
}

void give_ports_and_vlans()
{
    Site::done(zelfdb_create_port(1, 2, ZELFDB_PORT_ETHER, &err));
    Site::done(zelfdb_create_port(5, 3, ZELFDB_PORT_ETHER, &err));
    Site::done(zelfdb_create_port(3, 0, ZELFDB_PORT_NONE, &err));
    Site::done(zelfdb_create_port(7, 0, ZELFDB_PORT_VIF, &err));
    Site::done(zelfdb_create_port(9, 0, ZELFDB_PORT_NONE, &err));
    for (const u32 port_id : {1u, 5u}) Site::done(zelfdb_enable_port(port_id, &err));
    for (const u32 group : {5u, 6u, 7u}) Site::done(zelfdb_create_protgroup(group, &err));
    for (const u32 protocol : {0x0800u, 0x0806u}) Site::done(zelfdb_add_prot_to_group(protocol, 5, &err));
    for (u32 i = 0; i < 8; ++i) Site::done(zelfdb_add_prot_to_group(0x9000 + i, 6, &err));
    Site::done(zelfdb_add_prot_to_group(0x86DD, 7, &err));
    vlan("sales", 10);
    vlan("ab", 20);
    vlan("ba", 30);
    vlan("empty", 40);
}

void give_memberships()
{
    for (const u32 port_id : {1u, 5u, 3u}) Site::done(zelfdb_add_port_to_vlan(10, port_id, 0, 0x8100, 0, 0, &err));
    Site::done(zelfdb_add_port_to_vlan(20, 1, 1, 0x8100, 0, 0, &err));
    Site::done(zelfdb_add_port_to_vlan(20, 7, 1, 0x8100, 0, 0, &err));
    for (const i32 group : {5, 6, 7}) Site::done(zelfdb_add_port_to_vlan(30, 3, 1, 0x8100, 1, group, &err));
    Site::done(zelfdb_add_port_to_vlan(20, 3, 1, 0x8100, 1, 8, &err));
}

void give_streams_and_queues()
{
    for (const u32 number : {7u, 8u, 9u, 11u}) Site::done(zelfdb_create_stream(number, &err));
    Site::done(zelfdb_add_stream_to_port(7, 3, 1, &err));
    Site::done(zelfdb_add_stream_to_port(11, 3, 2, &err));
    Site::done(zelfdb_add_stream_to_port(9, 1, 1, &err));
    for (const u32 number : {56u, 57u, 58u, 59u, 60u}) Site::done(zelfdb_create_queue(number, 16, 16384, &err));
    for (const u32 number : {56u, 58u}) Site::done(zelfdb_add_queue_to_stream(number, 7, 2, 1, 2, 3, &err));
    Site::done(zelfdb_add_queue_to_stream(59, 9, 0, 1, 2, 3, &err));
}

void give_profiles_and_mirrors()
{
    for (const u32 number : {4u, 6u, 9u}) Site::done(zelfdb_create_classify_profile(number, &err));
    for (u8 i = 1; i <= 4; ++i) add_line(4, i);
    add_line(6, 9);
    Site::done(zelfdb_add_classify_profile_to_pv(4, 1, 20, words, &err));
    Site::done(zelfdb_add_classify_profile_to_pv(4, 3, 10, words + 1, &err));
    for (const u32 id : {1u, 2u}) {
        Site::done(zelfdb_create_mirror(id, &err));
        Site::done(zelfdb_set_mirror_source(id, 3, 1, 0, &err));
        Site::done(zelfdb_set_mirror_dest(id, 7, &err));
        Site::done(zelfdb_set_mirror_tag(id, 1, 0x88A8, 20, &err));
    }
    Site::done(zelfdb_enable_mirror(2, &err));
}

void nothing(const Site&) {}

#define PERFORMS(...) []([[maybe_unused]] const Site& site) -> int { return __VA_ARGS__; }
#define PREPARES(...) []([[maybe_unused]] const Site& site) { __VA_ARGS__; }

int create_vlan(const char* name, i32 vid) { return zelfdb_create_vlan(name, &vid, &err); }
int create_static(u8 number, u32 vid, u32 port_id)
{
    return zelfdb_create_sfil(vid, station(number).mac, port_id, 0, 0, &err);
}
int insert_line(u32 profile, u32 position)
{
    const zelfdb_classify_line content = line(0x77);
    return zelfdb_add_classify_action_to_profile(profile, position, &content, &err);
}
int set_everything(const Site& site, u32 port_id, bool own)
{
    zelfdb_port_param param{};
    param.p_flag = 0x3070;
    param.pri = 5;
    param.phport = 2;
    param.tagtype = 0x88A8;
    param.PVID = 20;
    constexpr i32 all = 0x80FD;
    if (own) return zelfdb_set_param_to_port2(site.descriptor(), port_id, &param, 77, 1, all, 0xFFFF, &err);
    return zelfdb_set_param_to_port(port_id, &param, 77, 1, all, 0xFFFF, &err);
}
int learn_now(const Site& site, u32 port_id, u8 number, u32 cookie)
{
    FrameHeader frame{};
    std::memset(&frame.destination, 0xFF, sizeof frame.destination);
    std::memcpy(&frame.source, station(number).mac, sizeof frame.source);
    frame.type[0] = 0x08;
    zelfdb_learn_ind indication{};
    indication.port = static_cast<u16>(port_id);
    indication.tick_ms = 7;
    indication.cookie = static_cast<i32>(cookie);
    return zelfdb_add_dfil_by_learn_ind(site.descriptor(), &frame, &indication);
}
u32 cookie_of(const Site& site, u32 vid, u8 number)
{
    Header& header = header_of(*site.descriptor());
    const Vlan& vlan = *lookup_vlan(main_base(*site.descriptor()), header, vid);
    Mac mac{};
    std::memcpy(mac.byte, station(number).mac, sizeof mac.byte);
    const Base base = fdb_base(*site.descriptor());
    return offset_of(base, *lookup_fil_by_mac(base, header, vlan.fdb, mac)).value;
}
void fill_the_fdb(const Site& site)
{
    for (u8 i = 0x60; i < 0x60 + 32; ++i) learn_now(site, 5, i, 0xFFFFFFFF);
}

}  // namespace

Site::Site()
{
    done(zelfdb_init(&counts));
    descriptor_ = zelfdb_open_descriptor();
    if (!descriptor_) std::abort();
    furnish();
}

Site::~Site() { zelfdb_close_descriptor(descriptor_); }

Attached Site::segments() const
{
    const Layout layout = layout_of(counts.nport, counts.nvlan, counts.nfil);
    return {static_cast<u8*>(descriptor_->main_segment), layout.end, static_cast<u8*>(descriptor_->fdb_segment),
            counts.nfil * sizeof(Fil)};
}

void Site::done(int result) { EXPECT_EQ(0, result) << "code " << err; }

void Site::learn(u32 port_id, u8 number, u32) const { done(learn_now(*this, port_id, number, 0xFFFFFFFF)); }

void Site::furnish() const
{
    give_ports_and_vlans();
    done(zelfdb_create_protgroup(8, &err));
    give_memberships();
    for (const u8 number : {u8{0x10}, u8{0x20}, u8{0x11}}) done(create_static(number, 10, 1));
    done(zelfdb_create_sfil(10, station(0x12).mac, 3, 0, 1, &err));
    for (const u8 number : {u8{0x30}, u8{0x40}, u8{0x50}, u8{0x31}}) learn(1, number);
    learn(5, 0x41);
    for (const u8 number : {u8{0x10}, u8{0x20}, u8{0x11}}) done(zelfdb_create_lfil(5, station(number).mac, 0, 0, &err));
    done(zelfdb_create_lfil(9, station(0x10).mac, 0, 0, &err));
    done(zelfdb_create_lfil(9, station(0x20).mac, 0, 1, &err));
    done(create_static(0x21, 20, 9));
    done(create_static(0x11, 40, 1));
    give_streams_and_queues();
    give_profiles_and_mirrors();
}

const std::vector<Operation>& operations()
{
    static const std::vector<Operation> all = {
        {"create_port", nothing, PERFORMS(zelfdb_create_port(4, 4, ZELFDB_PORT_ETHER, &err))},
        {"create_port_first", nothing, PERFORMS(zelfdb_create_port(199, 1, ZELFDB_PORT_ETHER, &err))},
        {"create_port_beyond", nothing, PERFORMS(zelfdb_create_port(300, 0, ZELFDB_PORT_NONE, &err))},
        {"delete_port", nothing, PERFORMS(zelfdb_delete_port(9, &err))},
        {"delete_port_ether", PREPARES(Site::done(zelfdb_create_port(4, 4, ZELFDB_PORT_ETHER, &err))),
         PERFORMS(zelfdb_delete_port(4, &err))},
        {"create_vlan", nothing, PERFORMS(create_vlan("cab", 25))},
        {"create_vlan_same_bucket", nothing, PERFORMS(create_vlan("aab", -1))},
        {"create_vlan_name_of_two_letters", PREPARES(vlan("bc", 50)), PERFORMS(create_vlan("cb", 1))},
        {"delete_vlan", nothing, PERFORMS(zelfdb_delete_vlan(40, &err))},
        {"delete_vlan_named_alike", PREPARES(vlan("cab", 50); vlan("bac", 51); vlan("abc", 52)),
         PERFORMS(zelfdb_delete_vlan(51, &err))},
        {"join_untagged", nothing, PERFORMS(zelfdb_add_port_to_vlan(40, 9, 0, 0x8100, 0, 0, &err))},
        {"join_tagged", nothing, PERFORMS(zelfdb_add_port_to_vlan(20, 5, 1, 0x88A8, 0, 0, &err))},
        {"join_first_of_vlan", nothing, PERFORMS(zelfdb_add_port_to_vlan(40, 1, 1, 0x88A8, 0, 0, &err))},
        {"join_by_protocol", nothing, PERFORMS(zelfdb_add_port_to_vlan(20, 9, 1, 0x8100, 1, 5, &err))},
        {"join_by_one_more_protocol", PREPARES(Site::done(zelfdb_add_port_to_vlan(30, 9, 1, 0x8100, 1, 5, &err))),
         PERFORMS(zelfdb_add_port_to_vlan(30, 9, 1, 0x8100, 1, 6, &err))},
        {"leave_untagged", nothing, PERFORMS(zelfdb_rem_port_from_vlan(10, 5, &err))},
        {"leave_tagged", nothing, PERFORMS(zelfdb_rem_port_from_vlan(20, 7, &err))},
        {"leave_by_protocol", nothing, PERFORMS(zelfdb_rem_port_from_vlan(30, 3, &err))},
        {"learn", nothing, PERFORMS(learn_now(site, 1, 0x60, 0xFFFFFFFF))},
        {"learn_in_an_empty_bucket", nothing, PERFORMS(learn_now(site, 5, 0x6F, 0xFFFFFFFF))},
        {"learn_moved", nothing, PERFORMS(learn_now(site, 5, 0x40, cookie_of(site, 10, 0x40)))},
        {"learn_in_a_loop", PREPARES(breaker_on(1); breaker_on(5); Site::done(zelfdb_set_vlan_sld(10, 1, &err))),
         PERFORMS(learn_now(site, 5, 0x40, cookie_of(site, 10, 0x40)))},
        {"do_aging", PREPARES([](const Site& s) {
             const zelfdb_port_param param{};
             Site::done(zelfdb_set_param_to_port2(s.descriptor(), 1, &param, 0, 0, ZELFDB_SELECT_AGING, 0, &err));
             Header& header = header_of(*s.descriptor());
             const Vlan& vlan = *lookup_vlan(main_base(*s.descriptor()), header, 10);
             for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
                 for (Fil& fil : chain(fils_by_mac, fdb_base(*s.descriptor()), vlan.fdb, bucket)) {
                     if (fil.fil_type == fil_dynamic) fil.last_seen -= 1000;
                 }
             }
         }(site)),
         PERFORMS(zelfdb_do_aging(site.descriptor()))},
        {"create_sfil", nothing, PERFORMS(create_static(0x60, 10, 3))},
        {"create_sfil_over_a_learned_one", nothing, PERFORMS(create_static(0x40, 10, 3))},
        {"create_sfil_in_a_full_fdb", PREPARES(fill_the_fdb(site)), PERFORMS(create_static(0x01, 20, 3))},
        {"create_sfil2", nothing,
         PERFORMS(zelfdb_create_sfil2(site.descriptor(), 20, station(0x13).mac, 3, 4, 1, &err))},
        {"delete_sfil", nothing, PERFORMS(zelfdb_delete_sfil(10, station(0x20).mac, 0, &err))},
        {"delete_sfil2", nothing, PERFORMS(zelfdb_delete_sfil2(site.descriptor(), 10, station(0x12).mac, 1, &err))},
        {"create_lfil", nothing, PERFORMS(zelfdb_create_lfil(5, station(0x30).mac, 0, 0, &err))},
        {"delete_lfil", nothing, PERFORMS(zelfdb_delete_lfil(5, station(0x10).mac, 0, &err))},
        {"delete_sfil_select_port", nothing, PERFORMS(zelfdb_delete_sfil_select_port(1, &err))},
        {"delete_sfil_select_port2", nothing, PERFORMS(zelfdb_delete_sfil_select_port2(site.descriptor(), 3))},
        {"clear_fdb", nothing, PERFORMS(zelfdb_clear_fdb())},
        {"clear_fdb_vlan", nothing, PERFORMS(zelfdb_clear_fdb_vlan(10))},
        {"set_fdb_userarea", nothing, PERFORMS(zelfdb_set_fdb_userarea(17, &err))},
        {"hold_link_frames", nothing, PERFORMS(zelfdb_set_port_link_frames(5, 3, 0, &err))},
        {"release_link_frames", PREPARES(Site::done(zelfdb_set_port_link_frames(5, 3, 0, &err))),
         PERFORMS(zelfdb_set_port_link_frames(5, 3, 1, &err))},
        {"set_param_to_port", nothing, PERFORMS(set_everything(site, 9, false))},
        {"set_param_to_port2", nothing, PERFORMS(set_everything(site, 1, true))},
        {"set_pvid_to_none", nothing, PERFORMS((pvid(5, 9000), 0))},
        {"set_port_class_policing", nothing, PERFORMS(zelfdb_set_port_class_policing(1, 2, 3, 4, 1, &err))},
        {"set_port_cosmap", nothing, PERFORMS(zelfdb_set_port_cosmap(1, 255, words, &err))},
        {"set_port_bandwidth_calc_mode", nothing, PERFORMS(zelfdb_set_port_bandwidth_calc_mode(1, 1, &err))},
        {"set_default_class", nothing, PERFORMS(zelfdb_set_default_class(1, 2, 3, 1, &err))},
        {"set_ph_shaping", nothing, PERFORMS(zelfdb_set_ph_shaping(2, 1000, 3, &err))},
        {"enable_port", nothing, PERFORMS(zelfdb_enable_port(3, &err))},
        {"disable_port", nothing, PERFORMS(zelfdb_disable_port(1, &err))},
        {"notify_portstate", nothing, PERFORMS(zelfdb_notify_portstate(site.descriptor(), 1, 0, 1))},
        {"recover_port_sldbkr",
         PREPARES(breaker_on(1); breaker_on(5); Site::done(zelfdb_set_vlan_sld(10, 1, &err));
                  Site::done(learn_now(site, 5, 0x40, cookie_of(site, 10, 0x40)))),
         PERFORMS(zelfdb_recover_port_sldbkr(1, &err) + 1)},
        {"set_uplink_flag", nothing, PERFORMS(zelfdb_set_uplink_flag(1, 1, &err))},
        {"set_uplink_flag2", nothing, PERFORMS(zelfdb_set_uplink_flag2(site.descriptor(), 3, 1, &err))},
        {"set_link_mode", nothing, PERFORMS(zelfdb_set_link_mode(1, 3, &err))},
        {"set_link_depend", nothing, PERFORMS(zelfdb_set_link_depend(1, 0, 15, &err))},
        {"set_vlan_sld", nothing, PERFORMS(zelfdb_set_vlan_sld(10, 1, &err))},
        {"set_vlan_learninglimit", nothing, PERFORMS(zelfdb_set_vlan_learninglimit(10, 30, &err))},
        {"set_vlan_ignore_fdb", nothing, PERFORMS(zelfdb_set_vlan_ignore_fdb(10, 1, &err))},
        {"set_vlan_learning_off", nothing, PERFORMS(zelfdb_set_vlan_learning_off(10, 1, &err))},
        {"create_protgroup", nothing, PERFORMS(zelfdb_create_protgroup(9, &err))},
        {"delete_protgroup", PREPARES(Site::done(zelfdb_rem_port_from_vlan(30, 3, &err))),
         PERFORMS(zelfdb_delete_protgroup(5, &err))},
        {"delete_protgroup_of_eight", PREPARES(Site::done(zelfdb_rem_port_from_vlan(30, 3, &err))),
         PERFORMS(zelfdb_delete_protgroup(6, &err))},
        {"add_prot_to_group", nothing, PERFORMS(zelfdb_add_prot_to_group(0x8847, 5, &err))},
        {"remove_prot_from_group", nothing, PERFORMS(zelfdb_remove_prot_from_group(0x0800, 5, &err))},
        {"remove_prot_from_group_of_eight", nothing, PERFORMS(zelfdb_remove_prot_from_group(0x9000, 6, &err))},
        {"create_stream", nothing, PERFORMS(zelfdb_create_stream(10, &err))},
        {"create_stream_first", nothing, PERFORMS(zelfdb_create_stream(0, &err))},
        {"delete_stream", nothing, PERFORMS(zelfdb_delete_stream(8, &err))},
        {"add_stream_to_port", nothing, PERFORMS(zelfdb_add_stream_to_port(8, 3, 3, &err))},
        {"add_stream_to_port_first", PREPARES(Site::done(zelfdb_create_stream(2, &err))),
         PERFORMS(zelfdb_add_stream_to_port(2, 3, 3, &err))},
        {"rem_stream_from_port", nothing, PERFORMS(zelfdb_rem_stream_from_port(7, 3, 0, &err))},
        {"set_red_in_stream", nothing, PERFORMS(zelfdb_set_red_in_stream(7, 2, 1, 10, 20, 30, 40, &err))},
        {"set_shaping_in_stream", nothing, PERFORMS(zelfdb_set_shaping_in_stream(7, 100, 8, 200, 9, &err))},
        {"set_qostype_in_stream", nothing, PERFORMS(zelfdb_set_qostype_in_stream(7, 1, 5, 6, &err))},
        {"set_stream_priority", nothing, PERFORMS(zelfdb_set_stream_priority(7, 3, &err))},
        {"set_stream_tosmap", nothing, PERFORMS(zelfdb_set_stream_tosmap(7, 255, words, words, &err))},
        {"stream_shaping_rate_update",
         PREPARES(Site::done(zelfdb_set_ph_shaping(3, 1000, 0, &err));
                  Site::done(zelfdb_set_shaping_in_stream(7, 100, 8, 200, 9, &err));
                  Site::done(zelfdb_set_shaping_in_stream(11, 100, 8, 900, 9, &err))),
         PERFORMS(zelfdb_stream_shaping_rate_update(3, &err))},
        {"create_queue", nothing, PERFORMS(zelfdb_create_queue(61, 100, 16384, &err))},
        {"create_queue_first", nothing, PERFORMS(zelfdb_create_queue(0, 100, 16384, &err))},
        {"delete_queue", nothing, PERFORMS(zelfdb_delete_queue(60, &err))},
        {"add_queue_to_stream", nothing, PERFORMS(zelfdb_add_queue_to_stream(57, 7, 2, 1, 2, 3, &err))},
        {"add_queue_to_stream_first", PREPARES(Site::done(zelfdb_create_queue(50, 1, 16384, &err))),
         PERFORMS(zelfdb_add_queue_to_stream(50, 7, 2, 1, 2, 3, &err))},
        {"rem_queue_from_stream", nothing, PERFORMS(zelfdb_rem_queue_from_stream(56, 7, 2, &err))},
        {"set_queue_qos", nothing, PERFORMS(zelfdb_set_queue_qos(56, 7, 5, 6, &err))},
        {"set_queue_size", nothing, PERFORMS(zelfdb_set_queue_size(56, 7, 2, 32, 8192, &err))},
        {"create_classify_profile", nothing, PERFORMS(zelfdb_create_classify_profile(5, &err))},
        {"delete_classify_profile", nothing, PERFORMS(zelfdb_delete_classify_profile(9, &err))},
        {"add_classify_profile_to_pv", nothing, PERFORMS(zelfdb_add_classify_profile_to_pv(4, 5, 10, words + 2, &err))},
        {"add_classify_profile_to_pv_first", nothing,
         PERFORMS(zelfdb_add_classify_profile_to_pv(6, 5, 10, words + 2, &err))},
        {"rem_classify_profile_from_pv", nothing, PERFORMS(zelfdb_rem_classify_profile_from_pv(1, 20, &err))},
        {"add_classify_action_in_between", nothing, PERFORMS(insert_line(4, 2))},
        {"add_classify_action_first", nothing, PERFORMS(insert_line(4, 1))},
        {"add_classify_action_last", nothing, PERFORMS(insert_line(4, 0))},
        {"rem_classify_action", nothing, PERFORMS(zelfdb_rem_classify_action_from_profile(4, 2, &err))},
        {"rem_classify_action_first", nothing, PERFORMS(zelfdb_rem_classify_action_from_profile(4, 1, &err))},
        {"rem_classify_all", nothing, PERFORMS(zelfdb_rem_classify_all_from_profile(4, &err))},
        {"create_mirror", PREPARES(Site::done(zelfdb_delete_mirror(1, &err))), PERFORMS(zelfdb_create_mirror(1, &err))},
        {"delete_mirror", nothing, PERFORMS(zelfdb_delete_mirror(1, &err))},
        {"set_mirror_source", nothing, PERFORMS(zelfdb_set_mirror_source(1, 2, 3, 10, &err))},
        {"set_mirror_dest", nothing, PERFORMS(zelfdb_set_mirror_dest(1, 3, &err))},
        {"set_mirror_classify", nothing, PERFORMS(zelfdb_set_mirror_classify(1, 2, 3, 1, &err))},
        {"set_mirror_tag", nothing, PERFORMS(zelfdb_set_mirror_tag(1, 0, 0x8100, 10, &err))},
        {"enable_mirror", nothing, PERFORMS(zelfdb_enable_mirror(1, &err))},
        {"disable_mirror", nothing, PERFORMS(zelfdb_disable_mirror(2, &err))},
    };
    return all;
}

#undef PERFORMS
#undef PREPARES

}  // namespace crash
