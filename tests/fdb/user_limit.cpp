// The limit on user entries: zelfdb_set_fdb_userarea.
#include "fdb_test.h"

namespace zelfdb {
namespace {

using testing::IsEmpty;

class UserLimit : public Fdb {};

TEST_F(UserLimit, IsStoredAndTheErrorWordIsLeftAt1)
{
    for (const u32 limit : {1u, 0x12345678u, 0xFFFFFFFFu, 0u}) {
        Snapshot expected = snapshot();
        header_in(expected).fdb_userarea = limit;
        u32 err = 777;
        EXPECT_EQ(0, zelfdb_set_fdb_userarea(limit, &err));
        EXPECT_EQ(1u, err);
        EXPECT_TRUE(same(expected, snapshot()));
    }
}

TEST_F(UserLimit, IsSetUnderTheMainLockAloneWithoutTheNP)
{
    const u32 inits = recorder::init_calls();
    recorder::fail_init(20);
    forget();
    u32 err = 0;
    EXPECT_EQ(0, zelfdb_set_fdb_userarea(5, &err));
    EXPECT_EQ(main_lock, locks());
    EXPECT_EQ(inits, recorder::init_calls());
    EXPECT_EQ(0u, recorder::release_calls());
    EXPECT_EQ(2u, environment::calls("shmat"));
    EXPECT_EQ(2u, environment::calls("shmdt"));
    EXPECT_THAT(sent(), IsEmpty());
}

TEST_F(UserLimit, EntriesAboveALoweredLimitStayAndALimitOf0LetsEverythingPass)
{
    given_port(3);
    given_vlan(10, "sales");
    for (u32 i = 0; i < 4; ++i) given_static(10, mac(i), 3);
    u32 err = 0;
    ASSERT_EQ(0, zelfdb_set_fdb_userarea(2, &err));
    EXPECT_EQ((Counts{4, 0, 4, 0}), counts(table(10)));
    EXPECT_EQ(-1, zelfdb_create_sfil(10, mac(9).byte, 3, 0, 0, &err));
    EXPECT_EQ(2002u, err);
    ASSERT_EQ(0, zelfdb_set_fdb_userarea(5, &err));
    EXPECT_EQ(0, zelfdb_create_sfil(10, mac(9).byte, 3, 0, 0, &err));
    EXPECT_EQ(-1, zelfdb_create_sfil(10, mac(8).byte, 3, 0, 0, &err));
    EXPECT_EQ(0, zelfdb_create_sfil(10, mac(8).byte, 3, 0, 1, &err)) << "a system entry";
    ASSERT_EQ(0, zelfdb_set_fdb_userarea(0, &err));
    EXPECT_EQ(0, zelfdb_create_sfil(10, mac(7).byte, 3, 0, 0, &err));
}

TEST_F(UserLimit, CountsTheEntriesOfAllDatabasesLearnedOnesIncluded)
{
    given_open_port(3);
    given_vlan(10, "sales");
    given_vlan(20, "lab");
    given_member(10, 3);
    u32 err = 0;
    ASSERT_EQ(0, zelfdb_set_fdb_userarea(3, &err));
    given_static(20, mac(1), 3);
    given_local(3, mac(2));
    given_static(20, mac(3), 3, 0, 1);
    EXPECT_EQ(0, learn(3, mac(4)));
    EXPECT_EQ(-1, learn(3, mac(6)));
    EXPECT_EQ(-1, zelfdb_create_lfil(3, mac(5).byte, 0, 0, &err));
    EXPECT_EQ(2002u, err);
    EXPECT_EQ((Totals{3, 1}), totals());
}

}  // namespace
}  // namespace zelfdb
