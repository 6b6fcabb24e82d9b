// Creation and deletion of profiles.
#include "classify/classify_test.h"

namespace zelfdb {
namespace {

class Profiles : public ProfileTest {
protected:
    [[nodiscard]] std::vector<u32> numbers() const { return ids(all_classifies, header()); }
    void given_all_64()
    {
        for (u32 number = 1; number <= 64; ++number) given_profile(number);
    }
};

TEST_F(Profiles, CreationTakesTheFirstFreeRecordEmptiesItAndEntersItByNumber)
{
    given_profile(9);
    Classify& record = record_at<Classify>(base(), header().classify_free);
    record.ID = 0x1111;
    record.pv_head = Offset{0x2222};
    record.naction = 0x3333;
    record.action_head = Offset{0x4444};

    Expected after = now();
    Header& h = after.header();
    Classify& expected = after.of(record);
    const Offset at = offset_of(base(), record);
    const Offset nine = h.classify_index[9 - 1];
    h.classify_free = record.classify_link.next;
    record_at<Classify>(after.base(), h.classify_free).classify_link.prev = none;
    expected.ID = 7;
    expected.pv_head = none;
    expected.naction = 0;
    expected.action_head = none;
    expected.classify_link = {nine, at};
    record_at<Classify>(after.base(), nine).classify_link.prev = at;
    h.classify_head = at;
    h.classify_index[7 - 1] = at;

    EXPECT_EQ(call(zelfdb_create_classify_profile, 7), done());
    EXPECT_TRUE(after.is_now());
}

TEST_F(Profiles, TheListAscendsByNumber)
{
    for (const u32 number : {30u, 1u, 64u, 2u}) given_profile(number);
    EXPECT_EQ(numbers(), (std::vector<u32>{1, 2, 30, 64}));
}

TEST_F(Profiles, AnExistingNumberIsRefusedAlsoWhenNoRecordIsFree)
{
    given_profile(64);
    EXPECT_TRUE(refuses(2601, zelfdb_create_classify_profile, 64));
    EXPECT_TRUE(refuses(2601, zelfdb_create_classify_profile, 0x10000 + 64));
    for (u32 number = 1; number <= 63; ++number) given_profile(number);
    EXPECT_TRUE(refuses(2601, zelfdb_create_classify_profile, 64));
}

TEST_F(Profiles, SixtyFourRecordsThenNone)
{
    given_all_64();
    EXPECT_EQ(header().classify_free, none);
    EXPECT_TRUE(refuses(2602, zelfdb_create_classify_profile, 65));
    EXPECT_TRUE(refuses(2602, zelfdb_create_classify_profile, 0xFFFF));
}

TEST_F(Profiles, ADeletedProfilesRecordIsTheNextToBeUsed)
{
    given_all_64();
    const Offset freed = offset_of(base(), *profile(20));
    EXPECT_EQ(call(zelfdb_delete_classify_profile, 20), done());
    EXPECT_EQ(profile(20), nullptr);
    EXPECT_EQ(offset_of(base(), given_profile(20)), freed);
    EXPECT_EQ(numbers().size(), 64u);
}

TEST_F(Profiles, ZeroIsNoProfileToAnyOperationHoweverManyLinesAreFree)
{
    const zelfdb_classify_line line = numbered_line(1);
    std::vector<Action*> taken;
    for (const bool lines_free : {true, false}) {
        SCOPED_TRACE(lines_free);
        if (!lines_free) {
            while (Action* const action = alloc_action(base(), header())) taken.push_back(action);
        }
        for (const u32 zero : {0u, 0x10000u, 0xFFFF0000u}) {
            EXPECT_TRUE(refuses(2601, zelfdb_create_classify_profile, zero));
            EXPECT_TRUE(refuses(109, zelfdb_delete_classify_profile, zero));
            EXPECT_TRUE(refuses(109, zelfdb_add_classify_profile_to_pv, zero, 1, 10, words));
            EXPECT_TRUE(refuses(109, zelfdb_add_classify_action_to_profile, zero, 1, &line));
            EXPECT_TRUE(refuses(109, zelfdb_rem_classify_action_from_profile, zero, 1));
            EXPECT_TRUE(refuses(109, zelfdb_rem_classify_all_from_profile, zero));
        }
    }
    for (Action* const action : taken) free_action(base(), header(), action);
}

TEST_F(Profiles, NumbersAbove64AreMadeButNeverFoundAgain)
{
    const zelfdb_classify_line line = numbered_line(1);
    given_group(0x77, {0x0800});
    for (const u32 number : {65u, 65u, 66u, 0xFFFFu}) {
        SCOPED_TRACE(number);
        // The words behind the index belong to the protocol groups.
        const ProtGroupTable groups = header().prot_groups;
        const std::vector<Offset> index(std::begin(header().classify_index), std::end(header().classify_index));
        EXPECT_EQ(call(zelfdb_create_classify_profile, number), done());
        EXPECT_EQ(std::memcmp(&groups, &header().prot_groups, sizeof groups), 0);
        EXPECT_TRUE(std::equal(index.begin(), index.end(), header().classify_index));

        EXPECT_TRUE(refuses(109, zelfdb_delete_classify_profile, number));
        EXPECT_TRUE(refuses(109, zelfdb_add_classify_profile_to_pv, number, 1, 10, words));
        EXPECT_TRUE(refuses(109, zelfdb_add_classify_action_to_profile, number, 1, &line));
        EXPECT_TRUE(refuses(109, zelfdb_rem_classify_action_from_profile, number, 1));
        EXPECT_TRUE(refuses(109, zelfdb_rem_classify_all_from_profile, number));
    }
    EXPECT_EQ(numbers(), (std::vector<u32>{65, 65, 66, 0xFFFF}));
}

TEST_F(Profiles, OnlyTheLow16BitsOfANumberCount)
{
    EXPECT_EQ(call(zelfdb_create_classify_profile, 0xABCD0005), done());
    ASSERT_NE(profile(5), nullptr);
    EXPECT_EQ(profile(5)->ID, 5u);
    EXPECT_EQ(call(zelfdb_delete_classify_profile, 0x00010005), done());
    EXPECT_EQ(profile(5), nullptr);
}

TEST_F(Profiles, DeletionTakesItOutOfListAndIndexAndGivesTheRecordBack)
{
    for (const u32 number : {1u, 2u, 3u}) given_profile(number);
    Classify& record = *profile(2);
    Expected after = now();
    Header& h = after.header();
    const Offset at = offset_of(base(), record);
    const Offset one = h.classify_index[0];
    const Offset three = h.classify_index[2];
    record_at<Classify>(after.base(), one).classify_link.next = three;
    record_at<Classify>(after.base(), three).classify_link.prev = one;
    record_at<Classify>(after.base(), h.classify_free).classify_link.prev = at;
    after.of(record).classify_link = {h.classify_free, at};
    h.classify_free = at;
    h.classify_index[1] = none;

    EXPECT_EQ(call(zelfdb_delete_classify_profile, 2), done());
    EXPECT_TRUE(after.is_now());
}

TEST_F(Profiles, DeletionIsRefusedForABoundProfileBeforeForOneWithLines)
{
    struct Row {
        bool exists, bound, has_lines;
        u32 code;
    };
    constexpr Row rows[] = {
        {false, false, false, 109}, {true, true, true, 2607}, {true, true, false, 2607},
        {true, false, true, 2604},  {true, false, false, 0},
    };
    const Expected start = now();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.code);
        if (row.exists) given_profile(4);
        if (row.bound) given_binding(4, 1, 10);
        if (row.has_lines) given_line(4, 1, 1);
        if (row.code != 0) {
            EXPECT_TRUE(refuses(row.code, zelfdb_delete_classify_profile, 4));
        } else {
            EXPECT_EQ(call(zelfdb_delete_classify_profile, 4), done());
        }
        start.restore();
    }
}

TEST_F(Profiles, ABoundProfileWithLinesIsDeletedOnceItIsUnboundAndEmpty)
{
    given_profile(4);
    given_line(4, 1, 1);
    given_binding(4, 1, 10);
    EXPECT_TRUE(refuses(2607, zelfdb_delete_classify_profile, 4));
    EXPECT_EQ(call(zelfdb_rem_classify_profile_from_pv, 1, 10).result, 0);
    EXPECT_TRUE(refuses(2604, zelfdb_delete_classify_profile, 4));
    EXPECT_EQ(call(zelfdb_rem_classify_action_from_profile, 4, 1).result, 0);
    EXPECT_EQ(call(zelfdb_delete_classify_profile, 4), done());
    EXPECT_TRUE(refuses(109, zelfdb_delete_classify_profile, 4));
}

}  // namespace
}  // namespace zelfdb
