// Binding profiles to memberships.
#include "classify/classify_test.h"

namespace zelfdb {
namespace {

class Bindings : public ProfileTest {
protected:
    void SetUp() override
    {
        ProfileTest::SetUp();
        given_profile(1);
        given_profile(2);
    }
    using Members = std::vector<std::pair<u32, u32>>;
};

TEST_F(Bindings, AMembershipStoresNumberAndWordsAndJoinsTheProfilesList)
{
    Pv& pv = *membership(10, 3);
    Expected after = now();
    Pv& expected = after.of(pv);
    const Offset at = offset_of(base(), pv);
    expected.classify = 2;
    std::copy_n(words, 4, expected.classify_words);
    expected.classify_link = {none, at};
    after.of(*profile(2)).pv_head = at;

    EXPECT_EQ(call(zelfdb_add_classify_profile_to_pv, 2, 3, 10, words),
              done({"add_classify_prof(2, 3, 0xa, [0x30001 0x40002 0x50004 0x60000])"}));
    EXPECT_TRUE(after.is_now());
}

TEST_F(Bindings, UnbindingClearsNumberAndWordsAndTakesTheMembershipOutOfTheList)
{
    given_binding(2, 1, 10);
    given_binding(2, 2, 20);
    given_binding(2, 101, 20);
    Pv& first = *membership(10, 1);
    Pv& second = *membership(20, 2);
    Expected after = now();
    Pv& expected = after.of(first);
    expected.classify = 0;
    std::fill_n(expected.classify_words, 4, 0u);
    after.of(*profile(2)).pv_head = offset_of(base(), second);
    after.of(second).classify_link.prev = none;

    EXPECT_EQ(call(zelfdb_rem_classify_profile_from_pv, 1, 10), done({"rem_classify_prof(1, 0xa)"}));
    EXPECT_TRUE(after.is_now());
    EXPECT_EQ(bindings_of(2), (Members{{20, 2}, {20, 101}}));
}

// A damage: the profile is gone, and the membership is on no list.
TEST_F(Bindings, UnbindingFromAProfileThatIsGoneClearsTheMembership)
{
    given_binding(2, 2, 20);
    const Expected after = now();
    Pv& pv = *membership(10, 1);
    pv.classify = 9;
    std::copy_n(words, 4, pv.classify_words);
    EXPECT_EQ(call(zelfdb_rem_classify_profile_from_pv, 1, 10), done({"rem_classify_prof(1, 0xa)"}));
    EXPECT_TRUE(after.is_now());
}

TEST_F(Bindings, AProfilesMembershipsAscendByVIDAndThoseOfOneVIDKeepTheOrderOfBinding)
{
    given_binding(1, 101, 20);
    given_binding(1, 101, 10);
    given_binding(1, 2, 20);
    given_binding(1, 1, 10);
    EXPECT_EQ(bindings_of(1), (Members{{10, 101}, {10, 1}, {20, 101}, {20, 2}}));
    for (const u32 port_id : {101u, 2u}) {
        EXPECT_EQ(call(zelfdb_rem_classify_profile_from_pv, port_id, 20).result, 0);
    }
    EXPECT_EQ(bindings_of(1), (Members{{10, 101}, {10, 1}}));
}

TEST_F(Bindings, OneMembershipHasOneProfileAndOnePortAnotherInEachOfItsVLANs)
{
    given_binding(1, 101, 10);
    given_binding(2, 101, 20);
    EXPECT_EQ(membership(10, 101)->classify, 1u);
    EXPECT_EQ(membership(20, 101)->classify, 2u);
    EXPECT_TRUE(refuses(2701, zelfdb_add_classify_profile_to_pv, 2, 101, 10, words));
    EXPECT_EQ(call(zelfdb_rem_classify_profile_from_pv, 101, 10).result, 0);
    given_binding(2, 101, 10);
    EXPECT_EQ(bindings_of(1), Members{});
    EXPECT_EQ(bindings_of(2), (Members{{10, 101}, {20, 101}}));
}

TEST_F(Bindings, TheNPIsToldItsOwnPortNumberAndTheVIDAs16Bits)
{
    struct Row {
        u32 port_id, vid;
        const char* bound;
        const char* unbound;
    };
    constexpr Row rows[] = {
        {101, 20, "add_classify_prof(2, 0xb, 0x14, ", "rem_classify_prof(0xb, 0x14)"},
        {101, 0x1000A, "add_classify_prof(2, 0xb, 0xa, ", "rem_classify_prof(0xb, 0xa)"},
        {11, 0xFFFF000A, "add_classify_prof(2, 0xffffffff, 0xa, ", "rem_classify_prof(0xffffffff, 0xa)"},
    };
    given_port(11);
    linked_member(*vlan(10), *port(11), pv_tagged);
    for (const Row& row : rows) {
        const std::string with_words = std::string(row.bound) + "[0x30001 0x40002 0x50004 0x60000])";
        EXPECT_EQ(call(zelfdb_add_classify_profile_to_pv, 0x30002, row.port_id, row.vid, words), done({with_words}));
        EXPECT_EQ(membership(static_cast<u16>(row.vid), row.port_id)->classify, 2u);
        EXPECT_EQ(call(zelfdb_rem_classify_profile_from_pv, row.port_id, row.vid), done({row.unbound}));
    }
}

TEST_F(Bindings, WhichRefusalOfABindingComesFirst)
{
    struct Row {
        u32 number, port_id, vid, code;
    };
    // 1 and 2 exist, 9 does not; port 77 and VLAN 30 do not exist; port 1 is bound in VLAN 10, port 3 is not.
    constexpr Row rows[] = {
        {9, 77, 30, 102}, {1, 77, 10, 102}, {1, 0, 10, 102},  {1, 200, 10, 102},     {1, 0x10001, 10, 102},
        {9, 1, 30, 103},  {1, 1, 30, 103},  {1, 1, 0, 103},   {1, 1, 0x1001E, 103},  {9, 2, 10, 1701},
        {1, 2, 10, 1701}, {1, 5, 20, 1701}, {9, 1, 10, 2701}, {1, 1, 10, 2701},      {2, 1, 10, 2701},
        {0, 1, 10, 2701}, {9, 3, 10, 109},  {0, 3, 10, 109},  {64, 3, 0x1000A, 109}, {65, 3, 10, 109},
    };
    given_binding(1, 1, 10);
    for (const Row& row : rows) {
        EXPECT_TRUE(refuses(row.code, zelfdb_add_classify_profile_to_pv, row.number, row.port_id, row.vid, words))
            << row.number << " to port " << row.port_id << " in VLAN " << row.vid;
    }
}

TEST_F(Bindings, WhichRefusalOfAnUnbindingComesFirst)
{
    struct Row {
        u32 port_id, vid, code;
    };
    constexpr Row rows[] = {
        {77, 30, 102}, {77, 10, 102}, {0, 10, 102},  {200, 10, 102}, {1, 30, 103},
        {1, 0, 103},   {2, 10, 1701}, {5, 20, 1701}, {3, 10, 2702},  {3, 0x1000A, 2702},
    };
    given_binding(1, 1, 10);
    for (const Row& row : rows) {
        EXPECT_TRUE(refuses(row.code, zelfdb_rem_classify_profile_from_pv, row.port_id, row.vid))
            << "port " << row.port_id << " in VLAN " << row.vid;
    }
    EXPECT_EQ(call(zelfdb_rem_classify_profile_from_pv, 1, 10).result, 0);
    EXPECT_TRUE(refuses(2702, zelfdb_rem_classify_profile_from_pv, 1, 10));
}

TEST_F(Bindings, EightMembershipsOfAFullVLANAndMoreOfOthersShareAProfile)
{
    Members expected{{10, 101}};
    given_binding(1, 101, 10);
    for (const u32 port_id : {7u, 8u, 9u, 5u, 6u}) {
        Port& joining = port(port_id) ? *port(port_id) : given_port(port_id);
        linked_member(*vlan(10), joining, pv_tagged);
        given_binding(1, port_id, 10);
        expected.emplace_back(10, port_id);
    }
    given_binding(1, 1, 10);
    given_binding(1, 3, 10);
    given_binding(1, 101, 20);
    expected.insert(expected.end(), {{10, 1}, {10, 3}, {20, 101}});
    EXPECT_EQ(vlan(10)->npv, 8u);
    EXPECT_EQ(bindings_of(1), expected);
}

}  // namespace
}  // namespace zelfdb
