#include "resync/random_database.h"

#include <algorithm>
#include <string>

#include "softnp/softnp.h"

namespace zelfdb {
namespace {

constexpr u32 flag_selector = ZELFDB_SELECT_P_FLAG | ZELFDB_SELECT_P_FLAG_TO_NP;

}  // namespace

void RandomDatabase::change(u32 times)
{
    static constexpr Step steps[] = {
        &RandomDatabase::create_port,    &RandomDatabase::create_port,    &RandomDatabase::create_port,
        &RandomDatabase::delete_port,    &RandomDatabase::set_port,       &RandomDatabase::set_port,
        &RandomDatabase::set_flags,      &RandomDatabase::create_vlan,    &RandomDatabase::create_vlan,
        &RandomDatabase::delete_vlan,    &RandomDatabase::set_vlan,       &RandomDatabase::join,
        &RandomDatabase::join,           &RandomDatabase::join,           &RandomDatabase::join,
        &RandomDatabase::leave,          &RandomDatabase::change_group,   &RandomDatabase::change_group,
        &RandomDatabase::static_entry,   &RandomDatabase::static_entry,   &RandomDatabase::local_entry,
        &RandomDatabase::learn,          &RandomDatabase::learn,          &RandomDatabase::learn,
        &RandomDatabase::create_stream,  &RandomDatabase::create_stream,  &RandomDatabase::set_stream,
        &RandomDatabase::set_stream,     &RandomDatabase::delete_stream,  &RandomDatabase::create_queue,
        &RandomDatabase::create_queue,   &RandomDatabase::attach,         &RandomDatabase::attach,
        &RandomDatabase::detach,         &RandomDatabase::set_queue,      &RandomDatabase::delete_queue,
        &RandomDatabase::change_profile, &RandomDatabase::change_profile, &RandomDatabase::bind_profile,
        &RandomDatabase::bind_profile,   &RandomDatabase::change_mirror,  &RandomDatabase::set_phport,
    };
    for (u32 i = 0; i < times; ++i) {
        (this->*steps[below(std::size(steps))])();
        if (!tidy_ && random_.once_in(8)) be_untidy();
    }
}

u32 RandomDatabase::port()
{
    const u32 number = below(8);
    return number < 6 ? 1 + number : 95 + number;
}

const u8* RandomDatabase::station()
{
    station_[0] = 2;
    station_[4] = static_cast<u8>(below(4));
    station_[5] = static_cast<u8>(below(8));
    return station_;
}

// What a new port keeps of the record's last user is set at once, and so is whether it is up.
void RandomDatabase::create_port()
{
    const u32 id = port();
    if (zelfdb_create_port(id, below(5), static_cast<i32>(below(3)), &err_) != 0) return;
    const u32 cosmap[8] = {below(8), below(8), below(8), below(8), below(8), below(8), below(8), below(8)};
    zelfdb_set_port_cosmap(id, below(2) * below(256), cosmap, &err_);
    zelfdb_set_port_bandwidth_calc_mode(id, below(2), &err_);
    zelfdb_enable_port(id, &err_);
    if (below(4) == 0) zelfdb_disable_port(id, &err_);
}

void RandomDatabase::delete_port()
{
    const u32 id = port();
    for (u32 each = 1; tidy_ && each <= 5; ++each) {
        zelfdb_rem_classify_profile_from_pv(id, each, &err_);
        zelfdb_rem_port_from_vlan(each, id, &err_);
    }
    if (tidy_) zelfdb_notify_portstate(descriptor_, id, 0, 1);
    zelfdb_delete_port(id, &err_);
}

void RandomDatabase::set_port()
{
    const u32 id = port();
    switch (below(4)) {
    case 0:
        zelfdb_set_port_class_policing(id, static_cast<i32>(below(8)), below(1000), below(1000),
                                       static_cast<i32>(below(3)), &err_);
        break;
    case 1: zelfdb_set_default_class(id, below(4), below(8), below(3), &err_); break;
    case 2: zelfdb_enable_port(id, &err_); break;
    default: zelfdb_disable_port(id, &err_); break;
    }
}

void RandomDatabase::set_flags()
{
    zelfdb_port_param param{};
    param.p_flag = static_cast<u16>(below(0x4000));
    param.tagtype = static_cast<u16>(0x8100 + below(3));
    const u32 selector =
        flag_selector | (below(2) ? ZELFDB_SELECT_TAGTYPE : 0) | (below(4) == 0 ? ZELFDB_SELECT_SLDBKR : 0);
    zelfdb_set_param_to_port(port(), &param, 300, static_cast<i32>(below(2)), static_cast<i32>(selector), 0x3377,
                             &err_);
}

void RandomDatabase::create_vlan()
{
    i32 id = static_cast<i32>(vid());
    zelfdb_create_vlan(("vlan" + std::to_string(id)).c_str(), &id, &err_);
}

void RandomDatabase::delete_vlan() { zelfdb_delete_vlan(vid(), &err_); }

void RandomDatabase::set_vlan()
{
    if (below(2))
        zelfdb_set_vlan_ignore_fdb(vid(), below(2), &err_);
    else
        zelfdb_set_vlan_learning_off(vid(), below(4) == 0, &err_);
}

void RandomDatabase::join()
{
    zelfdb_add_port_to_vlan(vid(), port(), below(2), 0x8100 + below(2), below(2), static_cast<i32>(1 + below(3)),
                            &err_);
}

void RandomDatabase::leave() { zelfdb_rem_port_from_vlan(vid(), port(), &err_); }

void RandomDatabase::change_group()
{
    const u32 group = 1 + below(3);
    const u32 protocol = 0x0800 + below(6);
    switch (below(5)) {
    case 0:
    case 1: zelfdb_create_protgroup(group, &err_); break;
    case 2: zelfdb_add_prot_to_group(protocol, group, &err_); break;
    case 3: zelfdb_remove_prot_from_group(protocol, group, &err_); break;
    default: zelfdb_delete_protgroup(group, &err_); break;
    }
}

void RandomDatabase::static_entry()
{
    if (below(4))
        zelfdb_create_sfil(vid(), station(), port(), below(16), below(2), &err_);
    else
        zelfdb_delete_sfil(vid(), station(), below(2), &err_);
}

void RandomDatabase::local_entry()
{
    if (below(2))
        zelfdb_create_lfil(port(), station(), below(16), below(2), &err_);
    else
        zelfdb_set_port_link_frames(port(), below(16), static_cast<i32>(below(2)), &err_);
}

void RandomDatabase::learn()
{
    u8 frame[64] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    std::copy_n(station(), 6, frame + 6);
    frame[12] = 0x08;
    frame[13] = static_cast<u8>(below(6));
    softnp_receive_now(softnp_np_port(port()), frame, sizeof frame, nullptr);
    softnp_event event{};
    if (softnp_next_event(&event) != 1) return;
    zelfdb_learn_ind indication{};
    indication.port = event.port_id;
    indication.tick_ms = event.tick_ms;
    indication.cookie = static_cast<i32>(event.cookie);
    zelfdb_add_dfil_by_learn_ind(descriptor_, event.header, &indication);
}

// A stream that asks for nothing may be granted nothing, which cannot be told from a stream that never was granted a rate.
void RandomDatabase::create_stream()
{
    const u32 number = below(6);
    if (zelfdb_create_stream(number, &err_) != 0) return;
    zelfdb_set_shaping_in_stream(number, 1 + below(1000), below(9000), 1000 + below(2000), below(9000), &err_);
    zelfdb_add_stream_to_port(number, 1 + below(4), 1 + number, &err_);
}

void RandomDatabase::set_stream()
{
    const u32 number = below(6);
    u32 masks[8];
    u32 values[8];
    for (u32 i = 0; i < 8; ++i) {
        masks[i] = below(256);
        values[i] = below(256) & masks[i];
    }
    switch (below(6)) {
    case 0: zelfdb_set_shaping_in_stream(number, 1 + below(1000), 8000, 1000 + below(2000), 8000, &err_); break;
    case 1: zelfdb_set_qostype_in_stream(number, below(4), below(70000), below(60000), &err_); break;
    case 2: zelfdb_set_stream_priority(number, below(8), &err_); break;
    case 3: zelfdb_set_stream_tosmap(number, below(256), values, masks, &err_); break;
    case 4:
        zelfdb_set_red_in_stream(number, below(8), below(3), below(101), below(101), below(101), below(101), &err_);
        break;
    default: zelfdb_stream_shaping_rate_update(1 + below(4), &err_); break;
    }
}

void RandomDatabase::delete_stream()
{
    const u32 number = below(6);
    if (tidy_ && std::any_of(attached_.begin(), attached_.end(),
                             [number](const auto& each) { return each.second.stream == number; }))
        return;
    zelfdb_rem_stream_from_port(number, 1 + below(4), 0, &err_);
    zelfdb_delete_stream(number, &err_);
}

void RandomDatabase::create_queue() { zelfdb_create_queue(below(12), static_cast<i32>(below(60)), below(2000), &err_); }

// A class that has a queue is refused by the NP alone.
void RandomDatabase::attach()
{
    const u32 queue = below(12);
    const Slot slot{below(6), below(8)};
    if (tidy_ && std::any_of(attached_.begin(), attached_.end(), [slot](const auto& each) {
            return each.second.stream == slot.stream && each.second.class_no == slot.class_no;
        }))
        return;
    if (zelfdb_add_queue_to_stream(queue, slot.stream, slot.class_no, below(4), 1 + below(7), below(100), &err_) == 0)
        attached_[queue] = slot;
}

void RandomDatabase::detach()
{
    const u32 queue = below(12);
    const auto found = attached_.find(queue);
    if (found == attached_.end()) return;
    zelfdb_rem_queue_from_stream(queue, found->second.stream, found->second.class_no, &err_);
    attached_.erase(found);
}

void RandomDatabase::set_queue()
{
    const u32 queue = below(12);
    if (below(2))
        zelfdb_set_queue_qos(queue, below(6), below(8), below(100), &err_);
    else
        zelfdb_set_queue_size(queue, below(6), below(8), static_cast<i32>(below(60)), below(2000), &err_);
}

void RandomDatabase::delete_queue()
{
    const u32 queue = below(12);
    if (tidy_ && attached_.contains(queue)) return;
    if (zelfdb_delete_queue(queue, &err_) == 0) attached_.erase(queue);
}

void RandomDatabase::change_profile()
{
    const u32 profile = 1 + below(3);
    zelfdb_classify_line line{};
    auto* const bytes = reinterpret_cast<u8*>(&line);
    for (u32 i = 0; i < sizeof line; ++i) bytes[i] = static_cast<u8>(random_.once_in(10) ? below(256) : 0);
    switch (below(8)) {
    case 0:
    case 1: zelfdb_create_classify_profile(profile, &err_); break;
    case 2: zelfdb_rem_classify_action_from_profile(profile, 1 + below(6), &err_); break;
    case 3:
        if (below(4) == 0) zelfdb_rem_classify_all_from_profile(profile, &err_);
        zelfdb_delete_classify_profile(profile, &err_);
        break;
    default: zelfdb_add_classify_action_to_profile(profile, below(8), &line, &err_); break;
    }
}

void RandomDatabase::bind_profile()
{
    const u32 words[4] = {below(100), below(100), below(100), below(100)};
    if (below(3))
        zelfdb_add_classify_profile_to_pv(1 + below(3), port(), vid(), words, &err_);
    else
        zelfdb_rem_classify_profile_from_pv(port(), vid(), &err_);
}

// What a new mirror keeps of the one before it is set at once.
void RandomDatabase::change_mirror()
{
    const u32 mirror = 1 + below(4);
    switch (below(8)) {
    case 0:
    case 1:
        if (zelfdb_create_mirror(mirror, &err_) != 0) break;
        zelfdb_set_mirror_source(mirror, below(6), port(), vid(), &err_);
        zelfdb_set_mirror_tag(mirror, below(2), 0x8100, vid(), &err_);
        break;
    case 2: zelfdb_set_mirror_source(mirror, below(6), port(), vid(), &err_); break;
    case 3: zelfdb_set_mirror_dest(mirror, port(), &err_); break;
    case 4: zelfdb_set_mirror_classify(mirror, below(8), below(4), below(3), &err_); break;
    case 5: zelfdb_set_mirror_tag(mirror, below(2), 0x9100, vid(), &err_); break;
    case 6: zelfdb_enable_mirror(static_cast<i32>(mirror), &err_); break;
    default:
        zelfdb_disable_mirror(mirror, &err_);
        if (below(3) == 0) zelfdb_delete_mirror(mirror, &err_);
        break;
    }
}

void RandomDatabase::set_phport() { zelfdb_set_ph_shaping(1 + below(4), below(5000), below(10), &err_); }

void RandomDatabase::be_untidy()
{
    static constexpr u32 nowhere[] = {50, 199};
    zelfdb_port_param param{};
    param.p_flag = static_cast<u16>(below(0x4000));
    param.pri = static_cast<u8>(below(8));
    param.phport = static_cast<u8>(below(5));
    param.PVID = static_cast<u16>(below(6));
    switch (below(9)) {
    case 0: zelfdb_create_port(nowhere[below(2)], 0, 2, &err_); break;
    case 1: zelfdb_add_port_to_vlan(vid(), nowhere[below(2)], below(2), 0x8100, 0, 0, &err_); break;
    case 2: zelfdb_set_param_to_port(port(), &param, 300, 0, static_cast<i32>(below(0x30)), 0x3377, &err_); break;
    case 3: zelfdb_set_vlan_ignore_fdb(0, below(2), &err_); break;
    case 4: zelfdb_set_vlan_learning_off(0, below(2), &err_); break;
    case 5: zelfdb_add_queue_to_stream(below(12), below(6), below(9), 0, 0, 0, &err_); break;
    case 6: zelfdb_create_port(port(), below(5), 2, &err_); break;
    case 7: zelfdb_create_mirror(1 + below(4), &err_); break;
    default: zelfdb_set_mirror_source(1 + below(4), below(9), below(200), below(6), &err_); break;
    }
}

}  // namespace zelfdb
