#include "system/operations.h"

#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <regex>

#include "softnp/softnp.h"

// An NP that refuses a port is asked again a second later, with the locks held: here at once.
extern "C" unsigned sleep(unsigned) { return 0; }

namespace zelfdb {
namespace {

using R = Requests;

struct Operation {
    const char* name;
    u32 weight;
    bool only_values;
    int (*make)(R& r, u32* err);
};

#define MAKES(...) []([[maybe_unused]] R& r, [[maybe_unused]] u32* err) -> int { return __VA_ARGS__; }

int create_vlan(R& r, u32* err)
{
    i32 vid = static_cast<i32>(r.vid());
    if (r.below(4) == 0) vid = -1;
    return zelfdb_create_vlan(r.name(), &vid, err);
}

int set_param(R& r, u32* err, zelfdb_descriptor* own)
{
    const zelfdb_port_param param{static_cast<u16>(r.below(0x10000)),
                                  0,
                                  static_cast<u8>(r.below(8)),
                                  static_cast<u8>(r.below(6)),
                                  0,
                                  0x8100,
                                  static_cast<u16>(r.below(3) ? r.vid() : 9000)};
    const auto selector = static_cast<i32>(r.below(0x10000) & (r.below(3) ? 0x80DDu : 0x80FDu));
    const auto mask = static_cast<i32>(r.below(0x10000));
    const auto on = static_cast<i32>(r.below(2));
    if (own) return zelfdb_set_param_to_port2(own, r.port(), &param, r.below(3), on, selector, mask, err);
    return zelfdb_set_param_to_port(r.port(), &param, r.below(3), on, selector, mask, err);
}

const Operation operations[] = {
    {"create_port", 12, false, MAKES(zelfdb_create_port(r.port(), r.below(6), static_cast<i32>(r.below(3)), err))},
    {"delete_port", 10, false, MAKES(zelfdb_delete_port(r.port(), err))},
    {"create_vlan", 10, false, create_vlan},
    {"delete_vlan", 14, false, MAKES(zelfdb_delete_vlan(r.vid(), err))},
    {"add_port_to_vlan", 25, false,
     MAKES(
         zelfdb_add_port_to_vlan(r.vid(), r.port(), r.below(2), 0x8100, r.below(2), static_cast<i32>(r.group()), err))},
    {"rem_port_from_vlan", 20, false, MAKES(zelfdb_rem_port_from_vlan(r.vid(), r.port(), err))},
    {"learn", 25, false, MAKES(r.learn())},
    {"learn_from_the_np", 25, false, MAKES(r.learn_from_the_np())},
    {"do_aging", 2, false, MAKES(zelfdb_do_aging(r.descriptor()))},
    {"create_sfil", 8, false,
     MAKES(zelfdb_create_sfil(r.vid(), r.station(), r.port(), r.below(2) * 4, r.permit(), err))},
    {"create_sfil2", 8, false,
     MAKES(zelfdb_create_sfil2(r.descriptor(), r.vid(), r.station(), r.port(), r.below(2) * 4, r.permit(), err))},
    {"delete_sfil", 6, false, MAKES(zelfdb_delete_sfil(r.vid(), r.station(), r.permit(), err))},
    {"delete_sfil2", 6, false, MAKES(zelfdb_delete_sfil2(r.descriptor(), r.vid(), r.station(), r.permit(), err))},
    {"create_lfil", 8, false, MAKES(zelfdb_create_lfil(r.port(), r.station(), r.below(8), r.permit(), err))},
    {"delete_lfil", 6, false, MAKES(zelfdb_delete_lfil(r.port(), r.station(), r.permit(), err))},
    {"delete_sfil_select_port", 1, false, MAKES(zelfdb_delete_sfil_select_port(r.port(), err))},
    {"delete_sfil_select_port2", 1, false, MAKES(zelfdb_delete_sfil_select_port2(r.descriptor(), r.port()))},
    {"clear_fdb", 1, false, MAKES(zelfdb_clear_fdb())},
    {"clear_fdb_vlan", 1, false, MAKES(zelfdb_clear_fdb_vlan(r.vid()))},
    {"set_port_link_frames", 4, false,
     MAKES(zelfdb_set_port_link_frames(r.port(), r.below(40), static_cast<i32>(r.below(3)), err))},
    {"set_param_to_port", 4, false, MAKES(set_param(r, err, nullptr))},
    {"set_param_to_port2", 4, false, MAKES(set_param(r, err, r.descriptor()))},
    {"notify_portstate", 2, false,
     MAKES(zelfdb_notify_portstate(r.descriptor(), r.port(), r.below(2), static_cast<i32>(r.below(2))))},
    {"recover_port_sldbkr", 2, false, MAKES(zelfdb_recover_port_sldbkr(r.port(), err))},
    {"create_protgroup", 10, false, MAKES(zelfdb_create_protgroup(r.group(), err))},
    {"delete_protgroup", 8, false, MAKES(zelfdb_delete_protgroup(r.group(), err))},
    {"add_prot_to_group", 3, false, MAKES(zelfdb_add_prot_to_group(0x0800 + r.below(12), r.group(), err))},
    {"remove_prot_from_group", 3, false, MAKES(zelfdb_remove_prot_from_group(0x0800 + r.below(12), r.group(), err))},
    {"create_stream", 10, false, MAKES(zelfdb_create_stream(r.stream(), err))},
    {"delete_stream", 6, false, MAKES(zelfdb_delete_stream(r.stream(), err))},
    {"add_stream_to_port", 8, false, MAKES(zelfdb_add_stream_to_port(r.stream(), r.port(), 1 + r.below(256), err))},
    {"rem_stream_from_port", 8, false, MAKES(zelfdb_rem_stream_from_port(r.stream(), r.port(), 0, err))},
    {"create_queue", 10, false,
     MAKES(zelfdb_create_queue(r.queue(), static_cast<i32>(r.below(100)), r.below(20000), err))},
    {"delete_queue", 4, false, MAKES(zelfdb_delete_queue(r.queue(), err))},
    {"add_queue_to_stream", 8, false,
     MAKES(zelfdb_add_queue_to_stream(r.queue(), r.stream(), r.below(9), r.below(3), r.below(8), r.below(100), err))},
    {"rem_queue_from_stream", 4, false, MAKES(zelfdb_rem_queue_from_stream(r.queue(), r.stream(), r.below(9), err))},
    {"set_queue_size", 2, false,
     MAKES(zelfdb_set_queue_size(r.queue(), r.stream(), r.below(8), static_cast<i32>(r.below(100)), 9, err))},
    {"create_classify_profile", 8, false, MAKES(zelfdb_create_classify_profile(r.profile(), err))},
    {"delete_classify_profile", 6, false, MAKES(zelfdb_delete_classify_profile(r.profile(), err))},
    {"add_classify_profile_to_pv", 5, false,
     MAKES(zelfdb_add_classify_profile_to_pv(r.profile(), r.port(), r.vid(), r.words(), err))},
    {"rem_classify_profile_from_pv", 10, false, MAKES(zelfdb_rem_classify_profile_from_pv(r.port(), r.vid(), err))},
    {"add_classify_action_to_profile", 6, false,
     MAKES(zelfdb_add_classify_action_to_profile(r.profile(), r.below(6), r.memory<zelfdb_classify_line>(), err))},
    {"rem_classify_action_from_profile", 4, false,
     MAKES(zelfdb_rem_classify_action_from_profile(r.profile(), r.below(6), err))},
    {"rem_classify_all_from_profile", 1, false, MAKES(zelfdb_rem_classify_all_from_profile(r.profile(), err))},
    {"create_mirror", 4, false, MAKES(zelfdb_create_mirror(r.mirror(), err))},
    {"delete_mirror", 2, false, MAKES(zelfdb_delete_mirror(r.mirror(), err))},
    {"set_mirror_source", 4, false, MAKES(zelfdb_set_mirror_source(r.mirror(), r.below(6), r.port(), r.vid(), err))},
    {"set_mirror_dest", 4, false, MAKES(zelfdb_set_mirror_dest(r.mirror(), r.port(), err))},
    {"enable_mirror", 4, false, MAKES(zelfdb_enable_mirror(static_cast<i32>(r.mirror()), err))},
    {"disable_mirror", 3, false, MAKES(zelfdb_disable_mirror(r.mirror(), err))},

    {"set_mirror_classify", 1, true, MAKES(zelfdb_set_mirror_classify(r.mirror(), r.below(8), 3, r.below(3), err))},
    {"set_mirror_tag", 1, true, MAKES(zelfdb_set_mirror_tag(r.mirror(), r.below(2), 0x8100, r.vid(), err))},
    {"set_fdb_userarea", 1, true, MAKES(zelfdb_set_fdb_userarea(r.below(2) * r.below(60), err))},
    {"set_ph_shaping", 1, true, MAKES(zelfdb_set_ph_shaping(r.below(6), r.below(1000), r.below(9), err))},
    {"set_port_class_policing", 1, true,
     MAKES(zelfdb_set_port_class_policing(r.port(), static_cast<i32>(r.below(9)), r.below(100), r.below(100), 1, err))},
    {"set_port_cosmap", 1, true, MAKES(zelfdb_set_port_cosmap(r.port(), r.below(256), r.words(), err))},
    {"set_port_bandwidth_calc_mode", 1, true, MAKES(zelfdb_set_port_bandwidth_calc_mode(r.port(), r.below(2), err))},
    {"set_default_class", 1, true, MAKES(zelfdb_set_default_class(r.port(), r.below(4), r.below(8), r.below(3), err))},
    {"enable_port", 4, true, MAKES(zelfdb_enable_port(r.port(), err))},
    {"disable_port", 1, true, MAKES(zelfdb_disable_port(r.port(), err))},
    {"set_uplink_flag", 1, true, MAKES(zelfdb_set_uplink_flag(r.port(), r.below(8) == 0, err))},
    {"set_uplink_flag2", 1, true, MAKES(zelfdb_set_uplink_flag2(r.descriptor(), r.port(), 0, err))},
    {"set_link_mode", 1, true, MAKES(zelfdb_set_link_mode(r.port(), r.below(4), err))},
    {"set_link_depend", 1, true, MAKES(zelfdb_set_link_depend(r.port(), r.below(2), r.below(16), err))},
    {"set_vlan_sld", 2, true, MAKES(zelfdb_set_vlan_sld(static_cast<i32>(r.vid()), r.below(2), err))},
    {"set_vlan_learninglimit", 1, true,
     MAKES(zelfdb_set_vlan_learninglimit(static_cast<i32>(r.vid()), r.below(2) * 20, err))},
    {"set_vlan_ignore_fdb", 1, true, MAKES(zelfdb_set_vlan_ignore_fdb(r.vid(), r.below(2), err))},
    {"set_vlan_learning_off", 1, true, MAKES(zelfdb_set_vlan_learning_off(r.vid(), r.below(5) == 0, err))},
    {"set_queue_qos", 1, true, MAKES(zelfdb_set_queue_qos(r.queue(), r.stream(), r.below(8), r.below(100), err))},
    {"set_red_in_stream", 1, true,
     MAKES(zelfdb_set_red_in_stream(r.stream(), r.below(9), r.below(4), 10, 20, 30, 40, err))},
    {"set_shaping_in_stream", 1, true,
     MAKES(zelfdb_set_shaping_in_stream(r.stream(), r.below(1000), 8000, r.below(2000), 8000, err))},
    {"set_qostype_in_stream", 1, true, MAKES(zelfdb_set_qostype_in_stream(r.stream(), r.below(3), 1, 2, err))},
    {"set_stream_priority", 1, true, MAKES(zelfdb_set_stream_priority(r.stream(), r.below(8), err))},
    {"set_stream_tosmap", 1, true,
     MAKES(zelfdb_set_stream_tosmap(r.stream(), r.below(256), r.words(), r.words() + 8, err))},
    {"stream_shaping_rate_update", 1, true, MAKES(zelfdb_stream_shaping_rate_update(r.below(6), err))},

    {"get_summary", 1, true, MAKES(zelfdb_get_summary(r.memory<zelfdb_summary>()))},
    {"get_history", 1, true, MAKES(zelfdb_get_history(r.memory<zelfdb_history>()))},
    {"get_all_dfil", 4, true, MAKES(zelfdb_get_all_dfil(r.vid(), r.fdb_cursor(), r.buffer(20)))},
    {"get_all_sfil", 4, true, MAKES(zelfdb_get_all_sfil(r.vid(), r.fdb_cursor(), r.buffer(20)))},
    {"get_all_lfil", 1, false, MAKES(r.list_local_entries())},
    {"get_phinfo", 1, true, MAKES(zelfdb_get_phinfo(r.below(6), r.memory<zelfdb_phinfo>(), err))},
    {"get_portinfo", 1, true, MAKES(zelfdb_get_portinfo(r.port(), r.memory<zelfdb_port_info>()))},
    {"get_all_portinfo", 2, true, MAKES(zelfdb_get_all_portinfo(r.cursor(), r.buffer(992)))},
    {"get_port_vid", 3, true, MAKES(zelfdb_get_port_vid(r.port(), r.words(), err))},
    {"get_port_vid2", 3, true, MAKES(zelfdb_get_port_vid2(r.descriptor(), r.port(), r.words(), err))},
    {"check_stream_in_port", 1, true, MAKES(zelfdb_check_stream_in_port(r.port(), err))},
    {"display_port_data", 1, true, MAKES(zelfdb_display_port_data(r.port(), err))},
    {"get_vlan_info", 1, true, MAKES(zelfdb_get_vlan_info(r.vid(), r.memory<zelfdb_vlan_info>()))},
    {"get_all_vlaninfo", 2, true, MAKES(zelfdb_get_all_vlaninfo(r.cursor(), r.buffer(216)))},
    {"get_vid", 1, true, MAKES(zelfdb_get_vid(r.name(), r.words(), err))},
    {"get_vid2", 1, true, MAKES(zelfdb_get_vid2(r.descriptor(), r.name(), r.words(), err))},
    {"get_vlanname", 1, true, MAKES(zelfdb_get_vlanname(r.vid(), r.memory<char>(), err))},
    {"get_vlanname2", 1, true, MAKES(zelfdb_get_vlanname2(r.descriptor(), r.vid(), r.memory<char>(), err))},
    {"get_portID_from_vid", 1, true,
     MAKES(zelfdb_get_portID_from_vid(static_cast<i32>(r.below(4)), r.vid(), r.words(), err))},
    {"get_portID_from_vid2", 1, true,
     MAKES(zelfdb_get_portID_from_vid2(r.descriptor(), static_cast<i32>(r.below(4)), r.vid(), r.words(), err))},
    {"get_vid_from_portID2", 1, true,
     MAKES(zelfdb_get_vid_from_portID2(r.descriptor(), static_cast<i32>(r.below(4)), r.port(), r.words(), err))},
    {"get_all_pvinfo_in_a_port", 2, true, MAKES(zelfdb_get_all_pvinfo_in_a_port(r.port(), r.cursor(), r.buffer(48)))},
    {"get_protgroup_info", 1, true, MAKES(zelfdb_get_protgroup_info(r.memory<zelfdb_protgroup_info>(), err))},
    {"display_vlan_data", 1, true, MAKES(zelfdb_display_vlan_data(r.vid(), err))},
    {"get_queue_info", 1, true, MAKES(zelfdb_get_queue_info(r.queue(), r.words(), err))},
    {"check_queue_in_stream", 3, true, MAKES(zelfdb_check_queue_in_stream(r.below(2), 1 + r.below(8), err))},
    {"get_stream_info", 1, true, MAKES(zelfdb_get_stream_info(r.stream(), r.memory<zelfdb_stream_info>(), err))},
    {"get_all_streaminfo", 1, true, MAKES(zelfdb_get_all_streaminfo(r.cursor(), r.buffer(284)))},
    {"get_stream_busy_info", 1, true, MAKES(zelfdb_get_stream_busy_info(r.stream(), r.words(), err))},
    {"linedata_to_param_prefilter", 1, true,
     MAKES(linedata_to_param_prefilter(r.descriptor(), 1, static_cast<i32>(r.below(9)), r.memory<char>(), 1))},
    {"linedata_to_param_loc", 1, true,
     MAKES(linedata_to_param_loc(r.descriptor(), 1, static_cast<i32>(r.below(9)), r.memory<char>(), 1))},
    {"disp_classify", 1, false, MAKES(r.export_profiles())},
    {"reconfig_ether", 1, true, MAKES(zelfdb_reconfig_ether("", ""))},
    {"reconfig_port", 1, true, MAKES(zelfdb_reconfig_port("", ""))},
    {"reconfig_stream", 1, true, MAKES(zelfdb_reconfig_stream("", ""))},
    {"reconfig_protgroup", 1, true, MAKES(zelfdb_reconfig_protgroup("", ""))},
    {"reconfig_vlan", 1, true, MAKES(zelfdb_reconfig_vlan("", ""))},
    {"reconfig_classify", 1, true, MAKES(zelfdb_reconfig_classify("", ""))},
    {"reconfig_sfil", 1, true, MAKES(zelfdb_reconfig_sfil("", ""))},
    {"reconfig_lfil", 1, true, MAKES(zelfdb_reconfig_lfil("", ""))},
    {"reconfig_mirror", 1, true, MAKES(zelfdb_reconfig_mirror("", ""))},
};

#undef MAKES

// One operation's number for each unit of its weight.
std::vector<std::size_t> urn(bool only_values)
{
    std::vector<std::size_t> all;
    for (std::size_t i = 0; i < std::size(operations); ++i) {
        if (only_values && !operations[i].only_values) continue;
        all.insert(all.end(), operations[i].weight, i);
    }
    return all;
}

// What the operations print goes where nobody reads it, but for the file that one of them names.
int output_to_memory()
{
    std::fflush(stdout);
    const int memory = memfd_create("output", 0);
    if (memory < 0 || dup2(memory, STDOUT_FILENO) < 0) _exit(97);
    return memory;
}

std::string take_output(int memory)
{
    std::fflush(stdout);
    const off_t size = lseek(memory, 0, SEEK_END);
    std::string text(static_cast<std::size_t>(size), '\0');
    if (pread(memory, text.data(), text.size(), 0) != size || ftruncate(memory, 0) != 0) _exit(96);
    lseek(memory, 0, SEEK_SET);
    return text;
}

}  // namespace

Requests::Requests(Random& random) : random_(random), output_(output_to_memory())
{
    descriptor_ = zelfdb_open_descriptor();
    if (!descriptor_) _exit(95);
    counts_.resize(std::size(operations));
}

std::vector<const char*> Requests::names()
{
    std::vector<const char*> all;
    for (const Operation& operation : operations) all.push_back(operation.name);
    return all;
}

Requests::~Requests()
{
    zelfdb_close_descriptor(descriptor_);
    for (zelfdb_ropebuf* const buffer : buffers_) zelfdb_free_ropebuf(buffer);
    close(output_);
}

bool Requests::make(std::size_t operation)
{
    u32 err = 0;
    ++counts_[operation].requested;
    const bool granted = operations[operation].make(*this, &err) >= 0;
    if (granted) ++counts_[operation].granted;
    if (counts_[operation].requested % 64 == 0) take_output(output_);
    if (buffers_.size() > 8) {
        for (zelfdb_ropebuf* const buffer : buffers_) zelfdb_free_ropebuf(buffer);
        buffers_.clear();
    }
    return granted;
}

std::size_t Requests::pick(bool only_values)
{
    static const std::vector<std::size_t> all = urn(false);
    static const std::vector<std::size_t> of_values = urn(true);
    const std::vector<std::size_t>& from = only_values ? of_values : all;
    return from[below(static_cast<u32>(from.size()))];
}

// Mostly ports that can exist, now and then one that no look-up finds or that the NP does not have.
u32 Requests::port()
{
    static constexpr u32 odd[] = {0, 50, 199, 200, 0xFFFFFFFF};
    if (random_.once_in(40)) return odd[below(5)];
    const u32 number = below(8);
    return number < 6 ? 1 + number : 95 + number;
}

u32 Requests::vid()
{
    static constexpr u32 odd[] = {0, 4094, 4095, 8192, 0x1000A};
    return random_.once_in(40) ? odd[below(5)] : 1 + below(5);
}

// Few stations, so that they meet, and all in four buckets.
const u8* Requests::station()
{
    station_[0] = 2;
    station_[4] = static_cast<u8>(below(4));
    station_[5] = static_cast<u8>(below(4));
    return station_;
}

const char* Requests::name()
{
    static constexpr const char* names[] = {
        "ab", "ba", "sales", "lab", "", "012345678901234567890123456789", "0123456789012345678901234567890"};
    name_ = names[below(7)];
    return name_.c_str();
}

zelfdb_ropebuf* Requests::buffer(u32 record_size)
{
    buffers_.push_back(zelfdb_alloc_ropebuf(below(5), random_.once_in(20) ? record_size - 1 : record_size));
    if (!buffers_.back()) _exit(94);
    return buffers_.back();
}

// From the beginning, or from wherever the last reader stopped.
zelfdb_cursor* Requests::cursor()
{
    if (random_.once_in(2)) cursor_ = {};
    return &cursor_;
}

zelfdb_fdb_cursor* Requests::fdb_cursor()
{
    if (random_.once_in(2)) fdb_cursor_ = {};
    return &fdb_cursor_;
}

// An indication out of the blue: an untagged frame of a station, with no cookie or with that of any entry.
int Requests::learn()
{
    u8 frame[18] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    std::memcpy(frame + 6, station(), 6);
    frame[12] = 0x08;
    zelfdb_learn_ind indication{};
    indication.port = static_cast<u16>(port() & 0xFFFF);
    indication.tick_ms = below(100000);
    indication.cookie = static_cast<i32>(random_.once_in(3) ? 0xFFFFFFFF : below(48) * 44);
    return zelfdb_add_dfil_by_learn_ind(descriptor_, frame, &indication);
}

// A frame on a wire, and whatever learn event the NP has for its reader.
int Requests::learn_from_the_np()
{
    u8 frame[64] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    std::memcpy(frame + 6, station(), 6);
    frame[12] = 0x08;
    frame[13] = static_cast<u8>(below(12));
    softnp_receive_now(softnp_np_port(port()), frame, sizeof frame, nullptr);
    softnp_event event{};
    if (softnp_next_event(&event) != 1) return -1;
    zelfdb_learn_ind indication{};
    indication.port = event.port_id;
    indication.tick_ms = event.tick_ms;
    indication.cookie = static_cast<i32>(event.cookie);
    return zelfdb_add_dfil_by_learn_ind(descriptor_, event.header, &indication);
}

// In a process that ends with it, since the operation keeps the FDB lock until then; and with the one that asks.
int Requests::list_local_entries()
{
    const u32 of = port();
    zelfdb_ropebuf* const into = buffer(20);
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) _exit(1);
        zelfdb_fdb_cursor from{};
        _exit(zelfdb_get_all_lfil(of, &from, into) < 0 ? 1 : 0);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) _exit(93);
    return WEXITSTATUS(status) == 0 ? 0 : -1;
}

int Requests::export_profiles()
{
    take_output(output_);
    u32 err = 0;
    const int result = zelfdb_disp_classify(profile(), &err);
    const std::string text = take_output(output_);
    std::smatch file;
    if (std::regex_search(text, file, std::regex("/tmp/clsline-\\w+"))) ::unlink(file.str().c_str());
    return result;
}

}  // namespace zelfdb
