// Classify profiles and lines, and mirrors.
#include <memory>
#include <string>

#include "arguments.h"
#include "said.h"

namespace fuzz {
namespace {

void create_profile(Calls& c, Input& in)
{
    const u32 id = profile(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_create_classify_profile(id, err); }),
           c.plain.create_profile(id));
}

void delete_profile(Calls& c, Input& in)
{
    const u32 id = profile(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_delete_classify_profile(id, err); }),
           c.plain.delete_profile(id));
}

void bind_profile(Calls& c, Input& in)
{
    const u32 id = profile(in);
    const u32 on = port(in);
    const u32 of = vid(in);
    const std::array<u32, 8> binding = words(in);
    expect(Word::on_failure,
           said([&](u32* err) { return zelfdb_add_classify_profile_to_pv(id, on, of, binding.data(), err); }),
           c.plain.bind_profile(id, on, of));
}

void unbind_profile(Calls& c, Input& in)
{
    const u32 on = port(in);
    const u32 of = vid(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_rem_classify_profile_from_pv(on, of, err); }),
           c.plain.unbind_profile(on, of));
}

void add_line(Calls& c, Input& in)
{
    const u32 id = profile(in);
    const u32 place = in.one_of({0, 1, 2, 3, 9});
    zelfdb_classify_line line{};
    in.copy(&line, in.below(2) * sizeof line);
    line.stream_id = in.byte();
    expect(Word::on_failure,
           said([&](u32* err) { return zelfdb_add_classify_action_to_profile(id, place, &line, err); }),
           c.plain.add_line(id, place, line.stream_id));
}

void remove_line(Calls& c, Input& in)
{
    const u32 id = profile(in);
    const u32 place = in.one_of({0, 1, 2, 3, 9});
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_rem_classify_action_from_profile(id, place, err); }),
           c.plain.remove_line(id, place));
}

void remove_lines(Calls& c, Input& in)
{
    const u32 id = profile(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_rem_classify_all_from_profile(id, err); }),
           c.plain.remove_lines(id));
}

// The numbers that stand behind a mark in a text.
std::vector<u32> numbers_behind(const std::string& text, const std::string& mark)
{
    std::vector<u32> all;
    for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at + 1))
        all.push_back(static_cast<u32>(std::stoul(text.substr(at + mark.size(), 10))));
    return all;
}

// Of the document the profiles and the targets of their lines, in order. Profiles that no look-up finds stand at the end
// and have no lines.
void disp_classify(Calls& c, Input& in)
{
    const u32 id = in.flag() ? 0 : profile(in);
    const std::vector<u32>* const one = c.plain.profile(id);
    const bool known = id == 0 || one;
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_disp_classify(id, err); }),
           known ? u32{ZELFDB_DONE} : u32{ZELFDB_NO_CLASSIFY});
    if (!known) return;
    std::vector<u32> profiles;
    std::vector<u32> targets;
    for (const auto& [number, lines] : c.plain.profiles) {
        if (id != 0 && number != (id & 0xFFFF)) continue;
        profiles.push_back(number);
        for (const u32 target : lines) targets.push_back(target + 1);
    }
    const std::string text = last_document();
    std::vector<u32> listed = numbers_behind(text, "<classify_list_no>");
    std::erase_if(listed, [](u32 number) { return number > 64; });
    if (listed != profiles) found("%s: other profiles", called);
    if (numbers_behind(text, "<streamid>") != targets) found("%s: other lines", called);
}

void linedata(Calls& c, Input& in)
{
    const u32 list = number(in);
    const auto index = static_cast<i32>(in.one_of({0, 1, 15, 16, 128, 129}));
    const auto line = std::make_unique<char[]>(184);
    in.copy(line.get(), 184);
    const u32 action = in.below(3);
    if (in.flag()) {
        expect_result(linedata_to_param_prefilter(&c.descriptor, list, index, line.get(), action), index <= 128);
    } else {
        expect_result(linedata_to_param_loc(&c.descriptor, list, index, line.get(), action), index <= 15);
    }
}

// ---- mirrors ----

void create_mirror(Calls& c, Input& in)
{
    const u32 id = mirror(in);
    expect(Word::preset, said([&](u32* err) { return zelfdb_create_mirror(id, err); }), c.plain.create_mirror(id));
}

void delete_mirror(Calls& c, Input& in)
{
    const u32 id = mirror(in);
    expect(Word::preset, said([&](u32* err) { return zelfdb_delete_mirror(id, err); }), c.plain.delete_mirror(id));
}

void set_mirror_source(Calls& c, Input& in)
{
    const u32 id = mirror(in);
    const u32 kind = in.one_of({0, 1, 2, 3, 4, 5});
    const u32 of = port(in);
    const u32 in_vlan = vid(in);
    expect(Word::preset, said([&](u32* err) { return zelfdb_set_mirror_source(id, kind, of, in_vlan, err); }),
           c.plain.set_mirror_source(id, kind, of));
}

void set_mirror_dest(Calls& c, Input& in)
{
    const u32 id = mirror(in);
    const u32 to = port(in);
    expect(Word::preset, said([&](u32* err) { return zelfdb_set_mirror_dest(id, to, err); }),
           c.plain.set_mirror_dest(id, to));
}

void set_mirror_detail(Calls& c, Input& in)
{
    const u32 id = mirror(in);
    const std::array<u32, 8> v = words(in);
    const bool tag = in.flag();
    expect(Word::preset, said([&](u32* err) {
               return tag ? zelfdb_set_mirror_tag(id, v[0], v[1], v[2], err)
                          : zelfdb_set_mirror_classify(id, v[0], v[1], v[2], err);
           }),
           c.plain.set_mirror_detail(id));
}

void enable_mirror(Calls& c, Input& in)
{
    const u32 id = mirror(in);
    expect(Word::preset, said([&](u32* err) { return zelfdb_enable_mirror(static_cast<i32>(id), err); }),
           c.plain.enable_mirror(id));
}

void disable_mirror(Calls& c, Input& in)
{
    const u32 id = mirror(in);
    expect(Word::preset, said([&](u32* err) { return zelfdb_disable_mirror(id, err); }), c.plain.disable_mirror(id));
}

constexpr Operation profiles_table[] = {
    {"create_classify_profile", create_profile},
    {"delete_classify_profile", delete_profile},
    {"add_classify_profile_to_pv", bind_profile},
    {"rem_classify_profile_from_pv", unbind_profile},
    {"add_classify_action_to_profile", add_line},
    {"rem_classify_action_from_profile", remove_line},
    {"rem_classify_all_from_profile", remove_lines},
    {"disp_classify", disp_classify},
    {"linedata_to_param", linedata},
    {"create_mirror", create_mirror},
    {"delete_mirror", delete_mirror},
    {"set_mirror_source", set_mirror_source},
    {"set_mirror_dest", set_mirror_dest},
    {"set_mirror_classify or tag", set_mirror_detail},
    {"enable_mirror", enable_mirror},
    {"disable_mirror", disable_mirror},
};

}  // namespace

const std::span<const Operation> calls_of_profiles = profiles_table;

}  // namespace fuzz
