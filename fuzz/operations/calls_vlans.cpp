// VLANs, memberships and protocol groups.
#include <string>

#include "arguments.h"
#include "said.h"

namespace fuzz {
namespace {

void create_vlan(Calls& c, Input& in)
{
    const std::string text = name(in);
    i32 asked = static_cast<i32>(vid(in));
    if (in.below(8) == 0) asked = -1;
    i32 library = asked;
    i32 model = asked;
    const Said what = said([&](u32* err) { return zelfdb_create_vlan(text.c_str(), &library, err); });
    expect(Word::preset, what, c.plain.create_vlan(text, asked, model));
    if (library != model) found("%s: VID %d, expected %d", called, library, model);
}

void create_vlan_nowhere(Calls&, Input& in)
{
    const std::string text = name(in);
    expect(Word::preset, said([&](u32* err) { return zelfdb_create_vlan(text.c_str(), nullptr, err); }),
           ZELFDB_NO_DESCRIPTOR);
}

void delete_vlan(Calls& c, Input& in)
{
    const u32 id = vid(in);
    expect(Word::preset, said([&](u32* err) { return zelfdb_delete_vlan(id, err); }), c.plain.delete_vlan(id));
}

void add_port_to_vlan(Calls& c, Input& in)
{
    const u32 to = vid(in);
    const u32 id = port(in);
    const u32 tagged = in.below(3);
    const u32 tagtype = in.one_of({0x8100, 0x88A8});
    const u32 by_protocol = in.below(8) < 3 ? 1 : 0;
    const auto of = static_cast<i32>(group(in));
    expect(Word::preset,
           said([&](u32* err) { return zelfdb_add_port_to_vlan(to, id, tagged, tagtype, by_protocol, of, err); }),
           c.plain.join(to, id, tagged != 0, tagtype, by_protocol != 0, static_cast<u32>(of)));
}

void rem_port_from_vlan(Calls& c, Input& in)
{
    const u32 from = vid(in);
    const u32 id = port(in);
    expect(Word::preset, said([&](u32* err) { return zelfdb_rem_port_from_vlan(from, id, err); }),
           c.plain.leave(from, id));
}

u32 vid_or_all(Input& in) { return in.one_of({1, 2, 10, 20, 30, 0}); }

void set_vlan_sld(Calls& c, Input& in)
{
    const u32 of = vid_or_all(in);
    const u32 on = in.below(3);
    expect(Word::preset, said([&](u32* err) { return zelfdb_set_vlan_sld(static_cast<i32>(of), on, err); }),
           c.plain.set_vlan_flag(of, 0x2, on != 0));
}

void set_vlan_learninglimit(Calls& c, Input& in)
{
    const u32 of = vid_or_all(in);
    const u32 limit = number(in);
    expect(Word::preset,
           said([&](u32* err) { return zelfdb_set_vlan_learninglimit(static_cast<i32>(of), limit, err); }),
           c.plain.set_learn_limit(of, limit));
}

void set_vlan_ignore_fdb(Calls& c, Input& in)
{
    const u32 of = vid_or_all(in);
    const u32 on = in.below(3);
    expect(Word::preset, said([&](u32* err) { return zelfdb_set_vlan_ignore_fdb(of, on, err); }),
           c.plain.set_vlan_flag(of, 0x4, on != 0));
}

void set_vlan_learning_off(Calls& c, Input& in)
{
    const u32 of = vid_or_all(in);
    const u32 on = in.below(3);
    expect(Word::preset, said([&](u32* err) { return zelfdb_set_vlan_learning_off(of, on, err); }),
           c.plain.set_vlan_flag(of, 0x8, on != 0));
}

void create_protgroup(Calls& c, Input& in)
{
    const u32 id = group(in);
    expect(Word::preset, said([&](u32* err) { return zelfdb_create_protgroup(id, err); }), c.plain.create_group(id));
}

void delete_protgroup(Calls& c, Input& in)
{
    const u32 id = group(in);
    expect(Word::preset, said([&](u32* err) { return zelfdb_delete_protgroup(id, err); }), c.plain.delete_group(id));
}

void add_prot_to_group(Calls& c, Input& in)
{
    const u32 what = protocol(in);
    const u32 id = group(in);
    expect(Word::preset, said([&](u32* err) { return zelfdb_add_prot_to_group(what, id, err); }),
           c.plain.add_protocol(what, id));
}

void remove_prot_from_group(Calls& c, Input& in)
{
    const u32 what = protocol(in);
    const u32 id = group(in);
    expect(Word::preset, said([&](u32* err) { return zelfdb_remove_prot_from_group(what, id, err); }),
           c.plain.remove_protocol(what, id));
}

constexpr Operation vlans_table[] = {
    {"create_vlan", create_vlan},
    {"create_vlan", create_vlan},
    {"create_vlan without a VID", create_vlan_nowhere},
    {"delete_vlan", delete_vlan},
    {"add_port_to_vlan", add_port_to_vlan},
    {"add_port_to_vlan", add_port_to_vlan},
    {"rem_port_from_vlan", rem_port_from_vlan},
    {"set_vlan_sld", set_vlan_sld},
    {"set_vlan_learninglimit", set_vlan_learninglimit},
    {"set_vlan_ignore_fdb", set_vlan_ignore_fdb},
    {"set_vlan_learning_off", set_vlan_learning_off},
    {"create_protgroup", create_protgroup},
    {"delete_protgroup", delete_protgroup},
    {"add_prot_to_group", add_prot_to_group},
    {"remove_prot_from_group", remove_prot_from_group},
};

}  // namespace

const std::span<const Operation> calls_of_vlans = vlans_table;

}  // namespace fuzz
