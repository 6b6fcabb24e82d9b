// Frames of any length and learn indications of any bytes, with a network processor that may refuse any command or give any
// answer. Nothing is learned that cannot be, and as long as nothing was refused the NP has the same entries.
//
// The input is a list of steps: a byte that says what happens, and its numbers.
#include <memory>

#include "input.h"
#include "switch.h"

namespace {

using namespace fuzz;

Switch& the_switch()
{
    static Switch all;
    return all;
}

constexpr u32 few_ports[] = {1, 1, 2, 2, 3, 4, 101, 5};
constexpr u32 few_vids[] = {10, 10, 20, 30, 40};

// Few stations, so that they meet; two of them differ in the bucket.
void put_station(Input& input, u8* mac)
{
    const u8 choice = input.byte();
    if (choice >= 0xF0) return input.copy(mac, 6);
    const u8 station[] = {2, 0, 0, 0, static_cast<u8>(choice >> 4 & 3), static_cast<u8>(0x50 + choice % 8)};
    std::memcpy(mac, station, sizeof station);
}

// The first bytes of a frame, as they can be or as the input has them.
void put_header(Input& input, u8 (&header)[16])
{
    const u8 shape = input.byte();
    if (shape >= 0xF0) return input.copy(header, sizeof header);
    std::memset(header, 0xFF, 6);
    if (shape & 1) put_station(input, header);
    put_station(input, header + 6);
    const u16 type = shape & 2 ? 0x8100 : shape & 4 ? 0x0806 : 0x0800;
    header[12] = static_cast<u8>(type >> 8);
    header[13] = static_cast<u8>(type & 0xFF);
    const u32 control = shape & 8 ? input.half() : input.one_of(few_vids);
    header[14] = static_cast<u8>(control >> 8 & 0xFF);
    header[15] = static_cast<u8>(control & 0xFF);
}

// A frame on a wire: from nothing at all to longer than any.
void receive(Input& input)
{
    constexpr u32 lengths[] = {60, 60, 64, 1514, 0, 13, 14, 15, 16, 17, 18, 9216, 9217, 70000};
    const u32 port = input.one_of(few_ports);
    const u32 length = input.byte() < 0xF0 ? lengths[input.below(std::size(lengths))] : input.half() + input.half();
    const auto frame = std::make_unique<u8[]>(length);
    u8 header[16];
    put_header(input, header);
    std::memcpy(frame.get(), header, std::min<std::size_t>(length, sizeof header));
    softnp_verdict verdict{};
    const u32 np_port = input.flag() ? softnp_np_port(port) : port;
    if (softnp_receive(np_port, frame.get(), length, input.half(), &verdict) != 0) found("the device is gone");
    if (verdict.outcome > SOFTNP_DELIVERED || verdict.reason >= SOFTNP_REASON_COUNT) found("no such verdict");
    if ((length < SOFTNP_MIN_FRAME || length > SOFTNP_MAX_FRAME) && verdict.outcome != SOFTNP_DROPPED)
        found("a frame of %u bytes went through", length);
    the_switch().learn_all();
}

void indicate(Input& input)
{
    zelfdb_learn_ind indication{};
    input.copy(indication.pad0, sizeof indication.pad0);
    indication.port = static_cast<u16>(input.one_of(few_ports) & 0xFFFF);
    indication.tick_ms = input.half();
    // Of an entry, most often, or of none, or of no record at all.
    const u8 choice = input.byte();
    const u32 cookie = choice < 0xA0 ? choice % Switch::nfil * 44 : choice < 0xF0 ? 0xFFFFFFFF : input.word();
    indication.cookie = static_cast<i32>(cookie);
    u8 header[16];
    put_header(input, header);
    the_switch().learn(header, indication);
}

// True if something may be refused from now on.
bool refuse(Input& input)
{
    const char* name = "*";
    if (!input.flag()) softnp_command_count(input.byte(), &name, nullptr, nullptr);
    const u32 nth = input.below(4);
    // Not the late answer: a fuzzer has no time to wait.
    const int how = 1 + static_cast<int>(input.below(3));
    const i32 value = input.flag() ? static_cast<i32>(input.half()) : static_cast<i32>(input.below(40));
    return softnp_refuse(name, nth, how, value) == 0;
}

void age(Input& input)
{
    set_time_s(1000 + input.half());
    softnp_set_tick(input.flag() ? input.word() : input.half());
    if (zelfdb_do_aging(&the_switch().descriptor()) != 0) found("aging failed");
}

void change_entries(Input& input)
{
    u32 err = 0;
    u8 mac[6];
    put_station(input, mac);
    const u32 vid = input.one_of(few_vids);
    const u32 port = input.one_of(few_ports);
    const u32 what = input.below(6);
    const u32 first = input.byte();
    const u32 second = input.below(3);
    Descriptor& d = the_switch().descriptor();
    switch (what) {
    case 0: zelfdb_create_sfil(vid, mac, port, first % 8, second, &err); break;
    case 1: zelfdb_delete_sfil(vid, mac, second, &err); break;
    case 2: zelfdb_clear_fdb_vlan(vid); break;
    case 3: zelfdb_notify_portstate(&d, port, first % 3, static_cast<i32>(second)); break;
    case 4: zelfdb_set_fdb_userarea(first % 12, &err); break;
    default: zelfdb_set_vlan_learninglimit(static_cast<i32>(vid), first % 6, &err);
    }
}

void change_port(Input& input)
{
    u32 err = 0;
    const u32 port = input.one_of(few_ports);
    zelfdb_port_param param{};
    param.p_flag = input.half();
    param.tagtype = input.flag() ? 0x8100 : input.half();
    param.PVID = static_cast<u16>(input.one_of(few_vids) & 0xFFFF);
    const u32 what = input.below(4);
    const u32 aging_s = input.below(9);
    const auto breaker = static_cast<i32>(input.below(3));
    const i32 selector = input.half();
    const i32 mask = input.half();
    switch (what) {
    case 0: zelfdb_enable_port(port, &err); break;
    case 1: zelfdb_disable_port(port, &err); break;
    case 2: zelfdb_recover_port_sldbkr(port, &err); break;
    default: zelfdb_set_param_to_port(port, &param, aging_s, breaker, selector, mask, &err);
    }
}

void ask(Input& input)
{
    u32 err = 0;
    zelfdb_stream_info info{};
    u32 words[3];
    zelfdb_get_stream_info(input.below(2), &info, &err);
    zelfdb_get_stream_busy_info(input.below(2), words, &err);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size)
{
    constexpr u32 steps_max = 100;
    Switch& all = the_switch();
    all.make_anew();
    bool may_differ = false;
    Input input(data, size);
    for (u32 i = 0; i < steps_max && !input.has_ended(); ++i) {
        switch (input.below(12)) {
        case 0: may_differ |= refuse(input); break;
        case 1: age(input); break;
        case 2: change_entries(input); break;
        case 3: change_port(input); break;
        case 4: ask(input); break;
        case 5:
        case 6:
        case 7: indicate(input); break;
        default: receive(input);
        }
    }
    all.expect_sound("these steps");
    if (!may_differ) all.expect_same_entries();
    return 0;
}
