// MAC entries, learning and aging.
#include <algorithm>
#include <memory>

#include "answers.h"
#include "arguments.h"
#include "said.h"

namespace fuzz {
namespace {

void create_sfil(Calls& c, Input& in)
{
    const u32 of = vid(in);
    const Address mac = station(in);
    const u32 to = port(in);
    const u32 flag = in.one_of({0, 0, 4, 3});
    const u32 permit = in.one_of({0, 0, 1, 2});
    const bool own = in.flag();
    expect(Word::final, said([&](u32* err) {
               return own ? zelfdb_create_sfil2(&c.descriptor, of, mac.data(), to, flag, permit, err)
                          : zelfdb_create_sfil(of, mac.data(), to, flag, permit, err);
           }),
           c.plain.create_static(of, mac, to, flag, permit));
}

void delete_sfil(Calls& c, Input& in)
{
    const u32 of = vid(in);
    const Address mac = station(in);
    const u32 permit = in.one_of({0, 0, 1, 2});
    const bool own = in.flag();
    expect(Word::final, said([&](u32* err) {
               return own ? zelfdb_delete_sfil2(&c.descriptor, of, mac.data(), permit, err)
                          : zelfdb_delete_sfil(of, mac.data(), permit, err);
           }),
           c.plain.delete_static(of, mac, permit));
}

void create_lfil(Calls& c, Input& in)
{
    const u32 of = port(in);
    const Address mac = station(in);
    const u32 flag = in.one_of({0, 0, 4, 3});
    const u32 permit = in.one_of({0, 0, 1, 2});
    expect(Word::final, said([&](u32* err) { return zelfdb_create_lfil(of, mac.data(), flag, permit, err); }),
           c.plain.create_local(of, mac, flag, permit));
}

void delete_lfil(Calls& c, Input& in)
{
    const u32 of = port(in);
    const Address mac = station(in);
    const u32 permit = in.one_of({0, 0, 1, 2});
    expect(Word::final, said([&](u32* err) { return zelfdb_delete_lfil(of, mac.data(), permit, err); }),
           c.plain.delete_local(of, mac, permit));
}

void delete_sfil_select_port(Calls& c, Input& in)
{
    const u32 of = port(in);
    if (in.flag()) {
        expect_result(zelfdb_delete_sfil_select_port2(&c.descriptor, of), 0);
    } else {
        expect(Word::final, said([&](u32* err) { return zelfdb_delete_sfil_select_port(of, err); }), ZELFDB_DONE);
    }
    c.plain.flush_static(of);
}

void clear_fdb(Calls& c, Input&)
{
    expect_result(zelfdb_clear_fdb(), 0);
    for (auto& [number, vlan] : c.plain.vlans) c.plain.clear_vlan(vlan);
}

void clear_fdb_vlan(Calls& c, Input& in)
{
    const u32 of = vid(in);
    PlainVlan* const vlan = c.plain.vlan(of);
    expect_result(zelfdb_clear_fdb_vlan(of), vlan ? 0 : -1);
    if (vlan) c.plain.clear_vlan(*vlan);
}

void set_fdb_userarea(Calls& c, Input& in)
{
    const u32 limit = number(in);
    expect(Word::preset, said([&](u32* err) { return zelfdb_set_fdb_userarea(limit, err); }), ZELFDB_DONE);
    c.plain.user_limit = limit;
}

void put16(u8* at, u32 value)
{
    at[0] = static_cast<u8>(value >> 8 & 0xFF);
    at[1] = static_cast<u8>(value & 0xFF);
}

void learn(Calls& c, Input& in)
{
    const u32 on = port(in);
    PlainFrame frame;
    frame.source = station(in);
    frame.type = in.one_of({0x0800, 0x8100, 0x8100, 0x0806}) & 0xFFFF;
    frame.tag_control = vid(in) & 0xFFFF;
    const auto header = std::make_unique<u8[]>(16);  // no byte more than is asked for
    std::copy(frame.source.begin(), frame.source.end(), header.get() + 6);
    put16(header.get() + 12, frame.type);
    put16(header.get() + 14, frame.tag_control);
    zelfdb_learn_ind indication{};
    indication.port = static_cast<u16>(on & 0xFFFF);
    indication.tick_ms = number(in);
    const u32 cookie = in.flag() ? 0xFFFFFFFF : in.below(c.plain.counts.nfil + 1) * 44;
    indication.cookie = static_cast<i32>(cookie);
    expect_result(zelfdb_add_dfil_by_learn_ind(&c.descriptor, header.get(), &indication),
                  c.plain.learn(frame, on & 0xFFFF, cookie, c.now_s));
}

// The cookie is that of the entry, wherever it is, as the NP's would be.
void learn_where_known(Calls& c, Input& in)
{
    const u32 on = port(in);
    const u32 of = vid(in);
    const Address mac = station(in);
    PlainVlan* const vlan = c.plain.vlan(of);
    const PlainEntry* const known = vlan ? vlan->table.find(mac) : nullptr;
    const u32 cookie = known ? known->cookie : 0xFFFFFFFF;
    const PlainFrame frame{mac, 0x8100, of & 0xFFFF};
    u8 header[16] = {};
    std::copy(mac.begin(), mac.end(), header + 6);
    put16(header + 12, frame.type);
    put16(header + 14, frame.tag_control);
    zelfdb_learn_ind indication{};
    indication.port = static_cast<u16>(on & 0xFFFF);
    indication.cookie = static_cast<i32>(cookie);
    expect_result(zelfdb_add_dfil_by_learn_ind(&c.descriptor, header, &indication),
                  c.plain.learn(frame, on & 0xFFFF, cookie, c.now_s));
}

void do_aging(Calls& c, Input& in)
{
    c.now_s += number(in);
    set_time_s(c.now_s);
    PlainAnswer& answer = answers.find;
    answer.status = in.below(8) == 0 ? 1 : 0;
    answer.tick_ms = in.word();
    answer.last_hit_ms = answer.tick_ms - number(in) * 1000;
    expect_result(zelfdb_do_aging(&c.descriptor), 0);
    c.plain.age(c.now_s, answer);
}

constexpr Operation entries_table[] = {
    {"create_sfil", create_sfil},
    {"delete_sfil", delete_sfil},
    {"create_lfil", create_lfil},
    {"delete_lfil", delete_lfil},
    {"delete_sfil_select_port", delete_sfil_select_port},
    {"clear_fdb", clear_fdb},
    {"clear_fdb_vlan", clear_fdb_vlan},
    {"set_fdb_userarea", set_fdb_userarea},
    {"add_dfil_by_learn_ind", learn},
    {"add_dfil_by_learn_ind of a known station", learn_where_known},
    {"do_aging", do_aging},
};

}  // namespace

const std::span<const Operation> calls_of_entries = entries_table;

}  // namespace fuzz
