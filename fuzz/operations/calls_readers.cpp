// Readers that are asked for what is not there; for what is there see compare.cpp.
#include <algorithm>
#include <memory>
#include <string>

#include "arguments.h"
#include "said.h"

namespace fuzz {
namespace {

void read_port(Calls& c, Input& in)
{
    const u32 id = port(in);
    const int result = c.plain.port(id) ? 0 : -1;
    zelfdb_port_info info{};
    expect_result(zelfdb_get_portinfo(id, &info), result);
    u32 value = 77;
    const Said what = said([&](u32* err) { return zelfdb_get_port_vid2(&c.descriptor, id, &value, err); });
    if (result != 0 && (what.result != -1 || what.err != ZELFDB_NO_PORT || value != 0)) found("%s: a VID", called);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_display_port_data(id, err); }),
           change_port(c, id, [](PlainPort&) {}));
}

void read_vlan(Calls& c, Input& in)
{
    const u32 id = vid(in);
    const PlainVlan* const vlan = c.plain.vlan(id);
    const u32 code = vlan ? u32{ZELFDB_DONE} : u32{ZELFDB_NO_VLAN};
    const auto room = std::make_unique<u8[]>(sizeof(zelfdb_vlan_info) + 64 * sizeof(u32));
    expect_result(zelfdb_get_vlan_info(id, reinterpret_cast<zelfdb_vlan_info*>(room.get())), vlan ? 0 : -1);
    char text[31];
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_get_vlanname(id, text, err); }), code);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_display_vlan_data(id, err); }), code);
    const auto max = static_cast<i32>(in.one_of({0, 1, 2, 8}));
    u32 ids[8];
    if (max > 8) return;
    const Said what = said([&](u32* err) { return zelfdb_get_portID_from_vid(max, id, ids, err); });
    const bool told = vlan && !vlan->members.empty() && max >= 1;
    expect_result(what.result, told ? static_cast<int>(vlan->members.size()) : -1);
    const u32 why = max < 1 ? u32{ZELFDB_NO_DESCRIPTOR} : code != 0 ? code : u32{ZELFDB_NOT_MEMBER};
    if (!told && what.err != why) found("%s: code %u, expected %u", called, what.err, why);
}

void read_name(Calls& c, Input& in)
{
    const std::string text = name(in);
    const auto vlan = std::find_if(c.plain.vlans.begin(), c.plain.vlans.end(),
                                   [&text](const auto& one) { return one.second.name == text; });
    u32 told = 77;
    const bool known = vlan != c.plain.vlans.end();
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_get_vid(text.c_str(), &told, err); }),
           known ? u32{ZELFDB_DONE} : u32{ZELFDB_NO_VLAN});
    if (known && told != vlan->first) found("%s: VID %u", called, told);
}

void read_rest(Calls& c, Input& in)
{
    zelfdb_phinfo physical{};
    const u32 phport = in.one_of({1, 2, 3, 4, 5});
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_get_phinfo(phport, &physical, err); }),
           c.plain.phport(phport) ? u32{ZELFDB_DONE} : u32{ZELFDB_NO_PHPORT});
    u32 out[6];
    const u32 id = queue(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_get_queue_info(id, out, err); }),
           c.plain.queue(id) ? u32{ZELFDB_DONE} : u32{ZELFDB_NO_QUEUE});
    zelfdb_stream_info info{};
    const u32 of = stream(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_get_stream_info(of, &info, err); }),
           c.plain.stream(of) ? u32{ZELFDB_DONE} : u32{ZELFDB_NO_STREAM});
}

// What they print is read by the tests of the replay and of the command language.
void reconfigure(Calls&, Input&)
{
    for (const auto replay : {zelfdb_reconfig_ether, zelfdb_reconfig_port, zelfdb_reconfig_stream,
                              zelfdb_reconfig_protgroup, zelfdb_reconfig_vlan, zelfdb_reconfig_classify,
                              zelfdb_reconfig_sfil, zelfdb_reconfig_lfil, zelfdb_reconfig_mirror})
        expect_result(replay("%s", "%n\n"), 0);
}

// A record that is too small, a buffer without room, a cursor that points nowhere: nothing is written.
void read_into_nothing(Calls& c, Input& in)
{
    const u32 record_size = in.one_of({0, 19, 47, 215, 283, 991});
    if (record_size > 1000) return;
    const std::unique_ptr<zelfdb_ropebuf, void (*)(zelfdb_ropebuf*)> buffer(zelfdb_alloc_ropebuf(1, record_size),
                                                                            zelfdb_free_ropebuf);
    if (!buffer) found("%s: no buffer", called);
    zelfdb_cursor cursor{in.below(2), number(in)};
    zelfdb_fdb_cursor entries{in.below(2), {}, {}};
    if (record_size < 992) expect_result(zelfdb_get_all_portinfo(&cursor, buffer.get()), -1);
    if (record_size < 284) expect_result(zelfdb_get_all_streaminfo(&cursor, buffer.get()), -1);
    if (record_size < 216) expect_result(zelfdb_get_all_vlaninfo(&cursor, buffer.get()), -1);
    if (record_size < 48) expect_result(zelfdb_get_all_pvinfo_in_a_port(port(in), &cursor, buffer.get()), -1);
    if (record_size < 20) expect_result(zelfdb_get_all_dfil(vid(in), &entries, buffer.get()), -1);
    if (buffer->filled != 0) found("%s: %u records", called, buffer->filled);
    if (zelfdb_alloc_ropebuf(0xFFFFFFFF, 2 + in.byte())) found("%s: a buffer of more than 32 bits", called);
    u32 vids[1];
    expect_result(zelfdb_get_vid_from_portID2(&c.descriptor, 0, 1, vids, nullptr), -1);
}

constexpr Operation readers_table[] = {
    {"readers of a port", read_port},   {"readers of a VLAN", read_vlan}, {"get_vid", read_name},
    {"readers of the rest", read_rest}, {"reconfig", reconfigure},        {"bulk readers", read_into_nothing},
};

}  // namespace

const std::span<const Operation> calls_of_readers = readers_table;

}  // namespace fuzz
