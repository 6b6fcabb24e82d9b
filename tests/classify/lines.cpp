// Lines of a profile: inserted by position, renumbered, removed.
#include <algorithm>

#include "classify/classify_test.h"

namespace zelfdb {
namespace {

using Numbers = std::vector<u32>;

class Lines : public ProfileTest {
protected:
    void SetUp() override
    {
        ProfileTest::SetUp();
        given_profile(1);
    }
    Outcome add(u32 number, u32 line_no, const zelfdb_classify_line& line)
    {
        return call(zelfdb_add_classify_action_to_profile, number, line_no, &line);
    }
    [[nodiscard]] std::vector<Action*> records_of(u32 number) const
    {
        std::vector<Action*> all;
        for (Action& action : actions_of(base(), *profile(number))) all.push_back(&action);
        return all;
    }
};

TEST_F(Lines, NumbersBeyondTheLastAndZeroAppendAndOneGoesToTheFront)
{
    given_line(1, 5, 11);
    given_line(1, 5, 12);
    given_line(1, 0, 13);
    EXPECT_EQ(lines_of(1), (Numbers{11, 12, 13}));
    given_line(1, 1, 14);
    EXPECT_EQ(lines_of(1), (Numbers{14, 11, 12, 13}));
}

TEST_F(Lines, LineThreeOfFiveShiftsTheOldThreeToFive)
{
    given_lines(1, 5);
    given_line(1, 3, 99);
    EXPECT_EQ(lines_of(1), (Numbers{1, 2, 99, 3, 4, 5}));
}

// Where a line goes: a number of 1 up to the count names a place, all others the end.
TEST_F(Lines, EveryPlaceInProfilesOfNoneToFiveLinesAndTheNPIsToldTheNumberAsGiven)
{
    const Expected empty = now();
    for (u32 count = 0; count <= 5; ++count) {
        for (const u32 line_no : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 255u, 256u, 257u, 32768u, 65534u, 65535u, 65536u,
                                  65537u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
            SCOPED_TRACE(std::to_string(line_no) + " into " + std::to_string(count));
            given_lines(1, count);
            Numbers expected(count);
            for (u32 i = 0; i < count; ++i) expected[i] = i + 1;
            expected.insert(line_no >= 1 && line_no <= count ? expected.begin() + line_no - 1 : expected.end(), 99);

            const zelfdb_classify_line line = numbered_line(99);
            EXPECT_EQ(add(1, line_no, line), done({add_line_command(1, line_no, line)}));
            EXPECT_EQ(lines_of(1), expected);
            empty.restore();
        }
    }
}

TEST_F(Lines, TheFirstLineOfAProfileIsCopiedWholeIntoTheFirstFreeRecord)
{
    Action& record = record_at<Action>(base(), header().action_free);
    const zelfdb_classify_line line = numbered_line(0xFFFFFFF0);
    Expected after = now();
    Header& h = after.header();
    const Offset at = h.action_free;
    h.action_free = record.link.next;
    record_at<Action>(after.base(), h.action_free).link.prev = none;
    Action& expected = after.of(record);
    expected.link = {none, at};
    expected.position = 1;
    std::memcpy(&expected.line, &line, sizeof line);
    after.of(*profile(1)).action_head = at;
    after.of(*profile(1)).naction = 1;

    EXPECT_EQ(add(1, 7, line), done({add_line_command(1, 7, line)}));
    EXPECT_TRUE(after.is_now());
    EXPECT_EQ(digits(&record.line, 120), digits(&line, 120));
}

TEST_F(Lines, ALineInTheMiddleIsLinkedBetweenItsNeighboursAndThoseBehindAreRenumbered)
{
    given_lines(1, 4);
    Action& record = record_at<Action>(base(), header().action_free);
    const std::vector<Action*> old = records_of(1);
    const zelfdb_classify_line line = numbered_line(50);
    Expected after = now();
    Header& h = after.header();
    const Offset at = h.action_free;
    h.action_free = record.link.next;
    record_at<Action>(after.base(), h.action_free).link.prev = none;
    Action& expected = after.of(record);
    expected.link = {offset_of(base(), *old[2]), offset_of(base(), *old[1])};
    expected.position = 3;
    std::memcpy(&expected.line, &line, sizeof line);
    after.of(*old[1]).link.next = at;
    after.of(*old[2]).link.prev = at;
    after.of(*old[2]).position = 4;
    after.of(*old[3]).position = 5;
    after.of(*profile(1)).naction = 5;

    EXPECT_EQ(add(1, 3, line), done({add_line_command(1, 3, line)}));
    EXPECT_TRUE(after.is_now());
}

TEST_F(Lines, The257thIsRefusedWhereverItShouldGoAndNothingIsAllocated)
{
    given_lines(1, 255);
    given_line(1, 1, 256);
    EXPECT_EQ(lines_of(1).size(), 256u);
    EXPECT_EQ(profile(1)->naction, 256u);
    const zelfdb_classify_line line = numbered_line(257);
    for (const u32 line_no : {0u, 1u, 128u, 256u, 257u}) {
        EXPECT_TRUE(refuses(2603, zelfdb_add_classify_action_to_profile, 1, line_no, &line)) << line_no;
    }
    EXPECT_EQ(call(zelfdb_rem_classify_action_from_profile, 1, 256).result, 0);
    EXPECT_EQ(add(1, 256, line).result, 0);
    EXPECT_EQ(lines_of(1).back(), 257u);
}

TEST_F(Lines, ProfilesShareThePoolAndTheFreedLineOfOneIsTheNextLineOfAnother)
{
    given_profile(2);
    given_profile(3);
    std::vector<Action*> taken;
    while (Action* const action = alloc_action(base(), header())) taken.push_back(action);
    for (int i = 0; i < 3; ++i) {
        free_action(base(), header(), taken.back());
        taken.pop_back();
    }
    given_lines(1, 2);
    given_line(2, 1, 3);
    EXPECT_EQ(header().action_free, none);
    const zelfdb_classify_line line = numbered_line(4);
    for (const u32 number : {1u, 2u, 3u}) {
        EXPECT_TRUE(refuses(2603, zelfdb_add_classify_action_to_profile, number, 1, &line));
    }
    const Offset freed = offset_of(base(), *records_of(1)[0]);
    EXPECT_EQ(call(zelfdb_rem_classify_action_from_profile, 1, 1).result, 0);
    EXPECT_EQ(add(3, 1, line).result, 0);
    EXPECT_EQ(profile(3)->action_head, freed);
    EXPECT_EQ(lines_of(1), Numbers{2});
    EXPECT_EQ(lines_of(2), Numbers{3});
    EXPECT_EQ(lines_of(3), Numbers{4});
    for (Action* const action : taken) free_action(base(), header(), action);
}

TEST_F(Lines, SixtyFourProfilesOf256LinesUseEveryRecordAndGiveEveryOneBack)
{
    for (u32 number = 2; number <= 64; ++number) given_profile(number);
    for (u32 count = 1; count <= 255; ++count) {
        for (u32 number = 1; number <= 64; ++number) {
            Action& action = *alloc_action(base(), header());
            action.position = count % 3 == 0 ? 1 : 0;
            enQ_action(base(), header(), *profile(number), action);
        }
    }
    for (u32 number = 1; number <= 64; ++number) given_line(number, number * 4, number);
    EXPECT_EQ(header().action_free, none);
    const zelfdb_classify_line line = numbered_line(1);
    for (u32 number = 1; number <= 64; ++number) {
        EXPECT_EQ(lines_of(number).size(), 256u);
        EXPECT_EQ(add(number, 0, line), refused(2603));
    }
    for (u32 number = 1; number <= 64; ++number) {
        EXPECT_EQ(call(zelfdb_rem_classify_all_from_profile, number), done({remove_line_command(number, 0)}));
    }
    u32 free_records = 0;
    for ([[maybe_unused]] const Action& action : Walk<&Action::link>(base(), header().action_free)) ++free_records;
    EXPECT_EQ(free_records, 16384u);
}

TEST_F(Lines, WhichRefusalOfALineComesFirst)
{
    const zelfdb_classify_line line = numbered_line(1);
    given_lines(1, 256);
    given_profile(2);
    std::vector<Action*> taken;
    while (Action* const action = alloc_action(base(), header())) taken.push_back(action);
    EXPECT_TRUE(refuses(109, zelfdb_add_classify_action_to_profile, 9, 1, &line));
    EXPECT_TRUE(refuses(109, zelfdb_add_classify_action_to_profile, 0, 1, &line));
    EXPECT_TRUE(refuses(2603, zelfdb_add_classify_action_to_profile, 2, 1, &line));
    for (Action* const action : taken) free_action(base(), header(), action);
    EXPECT_TRUE(refuses(2603, zelfdb_add_classify_action_to_profile, 1, 1, &line));
    EXPECT_TRUE(refuses(109, zelfdb_rem_classify_action_from_profile, 9, 0));
    EXPECT_TRUE(refuses(110, zelfdb_rem_classify_action_from_profile, 2, 1));
    EXPECT_TRUE(refuses(109, zelfdb_rem_classify_all_from_profile, 9));
}

TEST_F(Lines, RemovalAtEveryPositionRenumbersTheRest)
{
    const Expected empty = now();
    for (u32 count = 1; count <= 5; ++count) {
        for (u32 line_no = 1; line_no <= count; ++line_no) {
            given_lines(1, count);
            const Offset freed = offset_of(base(), *records_of(1)[line_no - 1]);
            Numbers expected(count);
            for (u32 i = 0; i < count; ++i) expected[i] = i + 1;
            expected.erase(expected.begin() + line_no - 1);
            EXPECT_EQ(call(zelfdb_rem_classify_action_from_profile, 1, line_no),
                      done({remove_line_command(1, line_no)}));
            EXPECT_EQ(lines_of(1), expected);
            EXPECT_EQ(header().action_free, freed);
            EXPECT_EQ(profile(1)->action_head == none, count == 1);
            empty.restore();
        }
    }
}

TEST_F(Lines, RemovalOfAPositionThatIsNotThereIsRefused)
{
    EXPECT_TRUE(refuses(110, zelfdb_rem_classify_action_from_profile, 1, 1));
    EXPECT_TRUE(refuses(110, zelfdb_rem_classify_action_from_profile, 1, 0));
    given_lines(1, 3);
    for (const u32 line_no : {0u, 4u, 65535u, 65536u, 65537u, 0xFFFFFFFFu}) {
        EXPECT_TRUE(refuses(110, zelfdb_rem_classify_action_from_profile, 1, line_no)) << line_no;
    }
    EXPECT_EQ(call(zelfdb_rem_classify_action_from_profile, 0x10001, 3), done({remove_line_command(1, 3)}));
}

// The same bytes as taking line 1, unlinking and freeing it until none is left.
TEST_F(Lines, RemovingAllLeavesTheBytesOfRemovingLineOneAgainAndAgain)
{
    given_lines(1, 6);
    Expected after = now();
    Classify& expected = after.of(*profile(1));
    while (Action* const first = lookup_action(after.base(), after.header(), expected, 1)) {
        deQ_action(after.base(), after.header(), expected, *first);
        free_action(after.base(), after.header(), first);
    }
    EXPECT_EQ(call(zelfdb_rem_classify_all_from_profile, 1), done({remove_line_command(1, 0)}));
    EXPECT_TRUE(after.is_now());
    EXPECT_EQ(lines_of(1), Numbers{});
}

TEST_F(Lines, RemovingAllOfAnEmptyProfileIsSentAllTheSame)
{
    const Expected unchanged = now();
    EXPECT_EQ(call(zelfdb_rem_classify_all_from_profile, 0x10001), done({remove_line_command(1, 0)}));
    EXPECT_TRUE(unchanged.is_now());
}

TEST_F(Lines, LinesOfABoundProfileMayChangeAndItsBindingsStay)
{
    given_binding(1, 1, 10);
    given_lines(1, 3);
    EXPECT_EQ(call(zelfdb_rem_classify_action_from_profile, 1, 2).result, 0);
    EXPECT_EQ(call(zelfdb_rem_classify_all_from_profile, 1).result, 0);
    EXPECT_EQ(bindings_of(1), (std::vector<std::pair<u32, u32>>{{10, 1}}));
}

}  // namespace
}  // namespace zelfdb
