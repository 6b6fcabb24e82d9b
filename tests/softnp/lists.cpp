// The commands of classify, prefilter and loc lists: numbering, limits, and the bindings to memberships.
#include "line_bytes.h"
#include "support/random.h"

#include <algorithm>

using namespace softnp_test;
using zelfdb::Random;

namespace {

constexpr u32 BOUND_FOUR[4] = {0x10001, 0x20002, 0x30004, 0xFFFF0000};

class ListCommands : public NpDevice {
protected:
    int add_line(u32 profile, u32 line_no, u32 mark = 0)
    {
        return tell(vf_mk_add_classify_act(profile, line_no, LineBytes(mark, 0, 0).bytes.data()));
    }
    // The stream that each line of a profile names, which the tests use to tell lines apart.
    static std::vector<u32> marks(u32 profile)
    {
        std::vector<u32> found;
        softnp_line line{};
        while (softnp_get_line(SOFTNP_CLASSIFY, profile, static_cast<u32>(found.size()) + 1, &line) == 1) {
            EXPECT_EQ(found.size() + 1, line.line_no);
            EXPECT_EQ(120u, line.size);
            u16 mark = 0;
            std::memcpy(&mark, line.data + 4, sizeof mark);
            found.push_back(mark);
        }
        return found;
    }
    static std::vector<std::pair<u32, u32>> lists(int kind)
    {
        std::vector<std::pair<u32, u32>> found;
        softnp_list list{};
        while (softnp_get_list(kind, static_cast<u32>(found.size()), &list) == 1)
            found.emplace_back(list.list, list.lines);
        return found;
    }
};

using Lists = ListCommands;

TEST_F(Lists, ALineIsInsertedBeforeItsNumberAndAllAreRenumbered)
{
    ASSERT_EQ(0, add_line(7, 5, 1));
    ASSERT_EQ(0, add_line(7, 5, 2));
    ASSERT_EQ(0, add_line(7, 0, 3));
    ASSERT_EQ(0, add_line(7, 1, 4));
    EXPECT_EQ((std::vector<u32>{4, 1, 2, 3}), marks(7));
    ASSERT_EQ(0, add_line(7, 3, 5));
    EXPECT_EQ((std::vector<u32>{4, 1, 5, 2, 3}), marks(7));
    ASSERT_EQ(0, tell(vf_mk_rem_classify_act(7, 2)));
    EXPECT_EQ((std::vector<u32>{4, 5, 2, 3}), marks(7));
    EXPECT_EQ(SOFTNP_ERR_NO_LINE, tell(vf_mk_rem_classify_act(7, 5)));
    EXPECT_EQ(0, tell(vf_mk_rem_classify_act(7, 0)));
    EXPECT_EQ(0, tell(vf_mk_rem_classify_act(7, 0)));
    EXPECT_TRUE(marks(7).empty());
}

TEST_F(Lists, BehaveAsASequenceDoes)
{
    Random random;
    std::vector<u32> model[2];
    for (u32 step = 0; step < 3000; step++) {
        const u32 profile = random.below(2);
        std::vector<u32>& lines = model[profile];
        if (random.below(5) < 3) {
            const u32 number = random.once_in(5) ? 0 : 1 + random.below(static_cast<u32>(lines.size()) + 3);
            const bool is_full = lines.size() == SOFTNP_PROFILE_LINES;
            ASSERT_EQ(is_full ? SOFTNP_ERR_TABLE_FULL : 0, add_line(1 + profile, number, step & 0xFFFF));
            const size_t at = number == 0 ? lines.size() : std::min<size_t>(number - 1, lines.size());
            if (!is_full) lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(at), step & 0xFFFF);
        } else if (random.once_in(300)) {
            ASSERT_EQ(0, tell(vf_mk_rem_classify_act(1 + profile, 0)));
            lines.clear();
        } else {
            const u32 number = 1 + random.below(static_cast<u32>(lines.size()) + 2);
            const bool is_there = number <= lines.size();
            ASSERT_EQ(is_there ? 0 : SOFTNP_ERR_NO_LINE, tell(vf_mk_rem_classify_act(1 + profile, number)));
            if (is_there) lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(number) - 1);
        }
        if (step % 50 != 0) continue;
        ASSERT_EQ(model[0], marks(1));
        ASSERT_EQ(model[1], marks(2));
    }
}

TEST_F(Lists, EveryProfileHoldsItsFullNumberOfLines)
{
    for (u32 profile = 1; profile <= SOFTNP_PROFILES; profile++)
        for (u32 line = 0; line < SOFTNP_PROFILE_LINES; line++)
            ASSERT_EQ(0, send(handle, vf_mk_add_classify_act(profile, 0, LineBytes(line, 0, 0).bytes.data())).error);
    EXPECT_EQ(SOFTNP_ERR_TABLE_FULL, add_line(1, 1));
    EXPECT_EQ(SOFTNP_ERR_TABLE_FULL, add_line(64, 0));
    EXPECT_EQ(64u, lists(SOFTNP_CLASSIFY).size());
    EXPECT_EQ(256u, marks(64).size());
}

TEST_F(Lists, ProfilesAreNumberedFromOneToSixtyFour)
{
    for (const u32 profile : {0u, 65u}) {
        EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, add_line(profile, 0));
        EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_rem_classify_act(profile, 0)));
    }
    EXPECT_TRUE(lists(SOFTNP_CLASSIFY).empty());
}

TEST_F(Lists, LinesAreKeptByteForByte)
{
    Bytes bytes(120);
    for (size_t index = 0; index < bytes.size(); index++) bytes[index] = static_cast<u8>(index * 7 + 1);
    ASSERT_EQ(0, tell(vf_mk_add_classify_act(3, 0, bytes.data())));
    ASSERT_EQ(0, tell(vf_mk_add_prefilter_act(0xFFFFFFFF, 0, bytes.data())));
    ASSERT_EQ(0, tell(vf_mk_add_loc_act(0, 0, bytes.data())));
    for (const auto& [kind, list, size] :
         {std::tuple{SOFTNP_CLASSIFY, 3u, 120u}, {SOFTNP_PREFILTER, 0xFFFFFFFFu, 64u}, {SOFTNP_LOC, 0u, 16u}}) {
        softnp_line line{};
        ASSERT_EQ(1, softnp_get_line(kind, list, 1, &line));
        EXPECT_EQ(list, line.list);
        ASSERT_EQ(size, line.size);
        EXPECT_TRUE(std::equal(line.data, line.data + size, bytes.begin()));
        EXPECT_EQ(0, softnp_get_line(kind, list, 2, &line));
        EXPECT_EQ(0, softnp_get_line(kind, list, 0, &line));
    }
    softnp_line line{};
    EXPECT_EQ(0, softnp_get_line(3, 3, 1, &line));
    EXPECT_EQ(0, softnp_get_line(-1, 3, 1, &line));
}

TEST_F(Lists, PrefilterAndLocListsHaveAnyNumberAndTheirOwnLimits)
{
    const Bytes bytes(64);
    for (u32 number = 0; number < SOFTNP_FILTER_LISTS; number++) {
        ASSERT_EQ(0, tell(vf_mk_add_prefilter_act(1000 - number, 0, bytes.data())));
        ASSERT_EQ(0, tell(vf_mk_add_loc_act(number << 16, 0, bytes.data())));
    }
    EXPECT_EQ(SOFTNP_ERR_TABLE_FULL, tell(vf_mk_add_prefilter_act(1, 0, bytes.data())));
    EXPECT_EQ(SOFTNP_ERR_TABLE_FULL, tell(vf_mk_add_loc_act(1, 0, bytes.data())));
    EXPECT_EQ((std::pair{985u, 1u}), lists(SOFTNP_PREFILTER).front());
    EXPECT_EQ(SOFTNP_FILTER_LISTS, lists(SOFTNP_LOC).size());
    for (u32 line = 1; line < SOFTNP_PREFILTER_LINES; line++)
        ASSERT_EQ(0, tell(vf_mk_add_prefilter_act(1000, 0, bytes.data())));
    for (u32 line = 1; line < SOFTNP_LOC_LINES; line++) ASSERT_EQ(0, tell(vf_mk_add_loc_act(0, 0, bytes.data())));
    EXPECT_EQ(SOFTNP_ERR_TABLE_FULL, tell(vf_mk_add_prefilter_act(1000, 0, bytes.data())));
    EXPECT_EQ(SOFTNP_ERR_TABLE_FULL, tell(vf_mk_add_loc_act(0, 0, bytes.data())));

    EXPECT_EQ(0, tell(vf_mk_rem_prefilter_act(990, 1)));  // its last line: the list is gone
    EXPECT_EQ(0, tell(vf_mk_add_prefilter_act(1, 0, bytes.data())));
    EXPECT_EQ(SOFTNP_ERR_NO_LINE, tell(vf_mk_rem_prefilter_act(990, 1)));
    EXPECT_EQ(0, tell(vf_mk_rem_prefilter_act(990, 0)));
    EXPECT_EQ(SOFTNP_ERR_NO_LINE, tell(vf_mk_rem_loc_act(0, 17)));
    EXPECT_EQ(0, tell(vf_mk_rem_loc_act(0, 0)));
    EXPECT_EQ(SOFTNP_FILTER_LISTS - 1, lists(SOFTNP_LOC).size());
}

TEST_F(Lists, AreBoundToMemberships)
{
    given_three_ports_in_a_vlan();
    ASSERT_EQ(0, tell(vf_mk_add_classify_prof(64, 2, 10, BOUND_FOUR)));
    softnp_list_binding binding{};
    ASSERT_EQ(1, softnp_get_list_binding(SOFTNP_CLASSIFY, 10, 2, &binding));
    EXPECT_EQ(64u, binding.list);
    EXPECT_TRUE(std::equal(BOUND_FOUR, BOUND_FOUR + 4, binding.words));
    EXPECT_EQ(SOFTNP_ERR_LIST_BOUND, tell(vf_mk_add_classify_prof(1, 2, 10, BOUND_FOUR)));
    EXPECT_EQ(0, tell(vf_mk_add_classify_prof(64, 3, 10, BOUND_FOUR)));
    EXPECT_EQ(0, tell(vf_mk_rem_classify_prof(2, 10)));
    EXPECT_EQ(SOFTNP_ERR_LIST_NOT_BOUND, tell(vf_mk_rem_classify_prof(2, 10)));
    EXPECT_EQ(0, softnp_get_list_binding(SOFTNP_CLASSIFY, 10, 2, &binding));
    ASSERT_EQ(1, softnp_get_list_binding(SOFTNP_CLASSIFY, 10, 3, &binding));
    EXPECT_EQ(0, softnp_get_list_binding(SOFTNP_CLASSIFY, 5000, 3, &binding));
    EXPECT_EQ(0, softnp_get_list_binding(SOFTNP_CLASSIFY, 10, 75, &binding));
    EXPECT_EQ(0, softnp_get_list_binding(3, 10, 3, &binding));
}

TEST_F(Lists, BindingNeedsAMembershipAndAProfile)
{
    given_three_ports_in_a_vlan();
    ASSERT_EQ(0, create_vlan(20));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_add_classify_prof(0, 2, 10, BOUND_FOUR)));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_add_classify_prof(65, 2, 10, BOUND_FOUR)));
    EXPECT_EQ(SOFTNP_ERR_UNMAPPED_PORT, tell(vf_mk_add_classify_prof(1, SOFTNP_NO_PORT, 10, BOUND_FOUR)));
    EXPECT_EQ(SOFTNP_ERR_NO_PORT, tell(vf_mk_add_classify_prof(1, 4, 10, BOUND_FOUR)));
    EXPECT_EQ(SOFTNP_ERR_NO_VLAN, tell(vf_mk_add_classify_prof(1, 2, 11, BOUND_FOUR)));
    EXPECT_EQ(SOFTNP_ERR_NO_MEMBER, tell(vf_mk_add_classify_prof(1, 2, 20, BOUND_FOUR)));
    EXPECT_EQ(SOFTNP_ERR_NO_MEMBER, tell(vf_mk_rem_classify_prof(2, 20)));
}

TEST_F(Lists, PrefilterAndLocBindingsNameDatabasePorts)
{
    ASSERT_EQ(0, create_vlan(10));
    ASSERT_EQ(0, create_port(11));
    ASSERT_EQ(0, join(10, 11));
    EXPECT_EQ(SOFTNP_ERR_UNMAPPED_PORT, tell(vf_mk_add_prefilter_prof(6, 11, 10, BOUND_FOUR)));
    EXPECT_EQ(SOFTNP_ERR_NO_PORT, tell(vf_mk_add_loc_prof(6, 102, 10, BOUND_FOUR)));
    EXPECT_EQ(0, tell(vf_mk_add_prefilter_prof(6, 101, 10, BOUND_FOUR)));
    EXPECT_EQ(0, tell(vf_mk_add_loc_prof(7, 101, 10, BOUND_FOUR)));
    softnp_list_binding binding{};
    ASSERT_EQ(1, softnp_get_list_binding(SOFTNP_PREFILTER, 10, 11, &binding));
    EXPECT_EQ(6u, binding.list);
    ASSERT_EQ(1, softnp_get_list_binding(SOFTNP_LOC, 10, 11, &binding));
    EXPECT_EQ(7u, binding.list);
    EXPECT_EQ(0, tell(vf_mk_rem_prefilter_prof(101, 10)));
    EXPECT_EQ(0, tell(vf_mk_rem_loc_prof(101, 10)));
    EXPECT_EQ(SOFTNP_ERR_LIST_NOT_BOUND, tell(vf_mk_rem_loc_prof(101, 10)));
}

TEST_F(Lists, AMembershipTakesItsBindingsWithIt)
{
    given_three_ports_in_a_vlan();
    ASSERT_EQ(0, tell(vf_mk_add_classify_prof(1, 2, 10, BOUND_FOUR)));
    ASSERT_EQ(0, tell(vf_mk_add_prefilter_prof(1, 2, 10, BOUND_FOUR)));
    ASSERT_EQ(0, tell(vf_mk_add_classify_prof(2, 3, 10, BOUND_FOUR)));
    ASSERT_EQ(0, leave(10, 2));
    ASSERT_EQ(0, join(10, 2));
    softnp_list_binding binding{};
    EXPECT_EQ(0, softnp_get_list_binding(SOFTNP_CLASSIFY, 10, 2, &binding));
    EXPECT_EQ(0, softnp_get_list_binding(SOFTNP_PREFILTER, 10, 2, &binding));
    EXPECT_EQ(1, softnp_get_list_binding(SOFTNP_CLASSIFY, 10, 3, &binding));
    EXPECT_EQ(2u, binding.list);
}

TEST_F(Lists, BindingsAreBoundedAndTheirPlacesComeBack)
{
    for (u32 np_port = 1; np_port <= 3; np_port++) ASSERT_EQ(0, create_port(np_port));
    u32 bound = 0;
    for (u32 VID = 1; VID <= SOFTNP_VLANS; VID++) {
        ASSERT_EQ(0, send(handle, vf_mk_create_vlan(VID, VID)).error);
        for (u32 np_port = 1; np_port <= 3; np_port++) {
            ASSERT_EQ(0, send(handle, vf_mk_add_port_vlan(VID, np_port, 1, 0x8100, 0, 0)).error);
            const int error = send(handle, vf_mk_add_classify_prof(1 + VID % 64, np_port, VID, BOUND_FOUR)).error;
            ASSERT_EQ(bound < SOFTNP_LIST_BINDINGS ? 0 : SOFTNP_ERR_TABLE_FULL, error);
            bound++;
        }
    }
    ASSERT_EQ(0, tell(vf_mk_rem_classify_prof(1, 1)));
    ASSERT_EQ(0, tell(vf_mk_add_classify_prof(5, 3, 4094, BOUND_FOUR)));
    softnp_list_binding binding{};
    for (u32 place = 1; place < SOFTNP_LIST_BINDINGS; place++) {
        const u32 VID = 1 + place / 3;
        ASSERT_EQ(1, softnp_get_list_binding(SOFTNP_CLASSIFY, VID, 1 + place % 3, &binding)) << VID;
        ASSERT_EQ(1 + VID % 64, binding.list) << VID;
    }
    ASSERT_EQ(1, softnp_get_list_binding(SOFTNP_CLASSIFY, 4094, 3, &binding));
    EXPECT_EQ(5u, binding.list);
    EXPECT_EQ(0, softnp_get_list_binding(SOFTNP_CLASSIFY, 1, 1, &binding));
}

}  // namespace
