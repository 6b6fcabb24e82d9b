// Ports and physical ports.
#include "arguments.h"
#include "said.h"

namespace fuzz {
namespace {

void create_port(Calls& c, Input& in)
{
    const u32 id = port(in);
    const u32 phport = in.one_of({1, 2, 3, 4, 0, 5});
    const auto type = static_cast<i32>(in.one_of({1, 1, 2, 0, 3, 257}));
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_create_port(id, phport, type, err); }),
           c.plain.create_port(id, phport, type));
}

void delete_port(Calls& c, Input& in)
{
    const u32 id = port(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_delete_port(id, err); }), c.plain.delete_port(id));
}

void set_param(Calls& c, Input& in)
{
    const u32 id = port(in);
    zelfdb_port_param param{};
    param.p_flag = in.half();
    param.pri = in.byte();
    param.phport = static_cast<u8>(in.below(6));
    param.tagtype = in.flag() ? u16{0x8100} : in.half();
    param.PVID = static_cast<u16>(vid(in) & 0xFFFF);
    const u32 aging_s = number(in);
    const auto on = static_cast<i32>(in.one_of({0, 1, 1, 2}));
    const u32 selector = in.half();
    const u32 mask = in.flag() ? 0xFFFF : in.half();
    const bool own = in.flag();
    expect(Word::preset, said([&](u32* err) {
               const auto select = static_cast<i32>(selector);
               const auto flags = static_cast<i32>(mask);
               return own ? zelfdb_set_param_to_port2(&c.descriptor, id, &param, aging_s, on, select, flags, err)
                          : zelfdb_set_param_to_port(id, &param, aging_s, on, select, flags, err);
           }),
           c.plain.set_param(id, param, aging_s, on, selector, mask));
}

void set_policing(Calls& c, Input& in)
{
    const u32 id = port(in);
    const auto row = static_cast<i32>(class_no(in));
    const u32 rate = number(in);
    const u32 burst = number(in);
    const i32 color = signed_number(in);
    expect(Word::on_failure,
           said([&](u32* err) { return zelfdb_set_port_class_policing(id, row, rate, burst, color, err); }),
           c.plain.set_policing(id, row, rate, burst, color));
}

void set_cosmap(Calls& c, Input& in)
{
    const u32 id = port(in);
    const u32 valbit = number(in);
    const std::array<u32, 8> map = words(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_set_port_cosmap(id, valbit, map.data(), err); }),
           change_port(c, id, [&](PlainPort& one) {
               one.valbit = valbit;
               one.cosmap = map;
           }));
}

void set_bandwidth_calc_mode(Calls& c, Input& in)
{
    const u32 id = port(in);
    const u32 mode = number(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_set_port_bandwidth_calc_mode(id, mode, err); }),
           change_port(c, id, [&](PlainPort& one) { one.bw_calc_mode = mode; }));
}

void set_default_class(Calls& c, Input& in)
{
    const u32 id = port(in);
    const u32 spno = number(in);
    const u32 pri = number(in);
    const u32 color = number(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_set_default_class(id, spno, pri, color, err); }),
           change_port(c, id, [&](PlainPort& one) {
               one.def_spno = spno;
               one.def_pri = pri;
               one.def_color = color;
           }));
}

void set_link_frames(Calls& c, Input& in)
{
    const u32 id = port(in);
    const u32 n = in.one_of({0, 1, 2, 3, 31, 32, 256});
    const auto action = static_cast<i32>(in.one_of({0, 0, 1, 1, 2}));
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_set_port_link_frames(id, n, action, err); }),
           c.plain.set_link_frames(id, n, action));
}

void enable_port(Calls& c, Input& in)
{
    const u32 id = port(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_enable_port(id, err); }), c.plain.enable(id, true));
}

void disable_port(Calls& c, Input& in)
{
    const u32 id = port(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_disable_port(id, err); }), c.plain.enable(id, false));
}

void notify_portstate(Calls& c, Input& in)
{
    const u32 id = port(in);
    const u32 state = in.one_of({0, 1, 1, 2});
    const auto flush = static_cast<i32>(in.one_of({0, 1, 1, 2}));
    const bool known = c.plain.port(id) && state <= B_PORT_UP;
    expect_result(zelfdb_notify_portstate(&c.descriptor, id, state, flush), known ? 0 : -1);
    if (known && flush == 1) c.plain.flush_dynamic(id);
}

// Its result is -1 always: the word tells.
void recover_breaker(Calls& c, Input& in)
{
    const u32 id = port(in);
    const Said what = said([&](u32* err) { return zelfdb_recover_port_sldbkr(id, err); });
    expect_result(what.result, -1);
    const u32 code = c.plain.recover_breaker(id);
    if (what.err != (code == ZELFDB_DONE ? untouched : code)) found("%s: code %u", called, what.err);
}

void set_uplink(Calls& c, Input& in)
{
    const u32 id = port(in);
    const u32 value = in.one_of({0, 1, 0, 2});
    const bool own = in.flag();
    expect(Word::on_failure, said([&](u32* err) {
               return own ? zelfdb_set_uplink_flag2(&c.descriptor, id, value, err)
                          : zelfdb_set_uplink_flag(id, value, err);
           }),
           c.plain.set_uplink(id, value));
}

// Stored for the platform alone: no reader tells it.
void set_link_mode(Calls& c, Input& in)
{
    const u32 id = port(in);
    const u32 mode = number(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_set_link_mode(id, mode, err); }),
           change_port(c, id, [](PlainPort&) {}));
}

void set_link_depend(Calls& c, Input& in)
{
    const u32 id = port(in);
    const u32 depend = number(in);
    const u32 list = number(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_set_link_depend(id, depend, list, err); }),
           change_port(c, id, [](PlainPort&) {}));
}

void set_ph_shaping(Calls& c, Input& in)
{
    const u32 id = in.one_of({1, 2, 3, 4, 5});
    const u32 rate = number(in);
    const u32 param2 = number(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_set_ph_shaping(id, rate, param2, err); }),
           c.plain.set_ph_shaping(id, rate, param2));
}

constexpr Operation ports_table[] = {
    {"create_port", create_port},
    {"create_port", create_port},
    {"delete_port", delete_port},
    {"set_param_to_port", set_param},
    {"set_port_class_policing", set_policing},
    {"set_port_cosmap", set_cosmap},
    {"set_port_bandwidth_calc_mode", set_bandwidth_calc_mode},
    {"set_default_class", set_default_class},
    {"set_port_link_frames", set_link_frames},
    {"enable_port", enable_port},
    {"disable_port", disable_port},
    {"notify_portstate", notify_portstate},
    {"recover_port_sldbkr", recover_breaker},
    {"set_uplink_flag", set_uplink},
    {"set_link_mode", set_link_mode},
    {"set_link_depend", set_link_depend},
    {"set_ph_shaping", set_ph_shaping},
};

}  // namespace

const std::span<const Operation> calls_of_ports = ports_table;

}  // namespace fuzz
