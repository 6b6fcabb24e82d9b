// The summary of the VLAN space and the history counters.
#include <cerrno>

#include "core/furnished.h"

namespace zelfdb {
namespace {

using testing::ElementsAre;

std::vector<u32> words(const zelfdb_summary& summary)
{
    return {summary.lowest_vid, summary.highest_vid, summary.vlan_capacity, summary.vlan_count};
}

std::vector<u32> words(const zelfdb_history& history)
{
    std::vector<u32> all(7);
    std::memcpy(all.data(), &history, sizeof history);
    return all;
}

class Counters : public Database {
protected:
    static std::vector<u32> summary()
    {
        zelfdb_summary answer{0xEE, 0xEE, 0xEE, 0xEE};
        EXPECT_EQ(0, zelfdb_get_summary(&answer));
        return words(answer);
    }
    static std::vector<u32> history()
    {
        zelfdb_history answer{9, 9, 9, 9, 9, 9, 9};
        EXPECT_EQ(0, zelfdb_get_history(&answer));
        return words(answer);
    }
    u32 err = 0;
};

TEST_F(Counters, FreshDatabaseHasRoomForAllItsVlansAndNoHistory)
{
    EXPECT_THAT(summary(), ElementsAre(1, 4094, default_nvlan, 0));
    EXPECT_THAT(history(), ElementsAre(0, 0, 0, 0, 0, 0, 0));
}

TEST_F(Counters, VlanMadeAndDeletedIsInTheHistoryAndNotInTheSummary)
{
    given_vlan(10, "sales");
    EXPECT_THAT(summary(), ElementsAre(1, 4094, default_nvlan, 1));
    ASSERT_EQ(0, zelfdb_delete_vlan(10, &err));
    EXPECT_THAT(summary(), ElementsAre(1, 4094, default_nvlan, 0));
    EXPECT_THAT(history(), ElementsAre(0, 0, 1, 1, 0, 0, 0));
}

TEST_F(Counters, HistoryCountsPortsVlansAndMemberships)
{
    given_port(1);
    given_port(2);
    given_vlan(10, "sales");
    given_member(10, 1);
    given_member(10, 2, true);
    ASSERT_EQ(0, zelfdb_rem_port_from_vlan(10, 1, &err));
    ASSERT_EQ(0, zelfdb_delete_port(1, &err));
    EXPECT_THAT(history(), ElementsAre(2, 1, 1, 0, 0, 2, 1));
}

TEST_F(Counters, RefusedRequestsAreNoHistory)
{
    given_port(1);
    EXPECT_EQ(-1, zelfdb_create_port(1, 0, 0, &err));
    EXPECT_EQ(-1, zelfdb_delete_port(2, &err));
    EXPECT_EQ(-1, zelfdb_delete_vlan(10, &err));
    EXPECT_THAT(history(), ElementsAre(1, 0, 0, 0, 0, 0, 0));
}

TEST_F(Counters, WrapAt32Bits)
{
    header().history[ports_created] = 0xFFFFFFFF;
    given_port(1);
    EXPECT_THAT(history(), ElementsAre(0, 0, 0, 0, 0, 0, 0));
}

TEST_F(Counters, HistoryIsReadInTheOrderOfTheHeader)
{
    for (u32 i = 0; i < 7; ++i) header().history[i] = 0x01010101 * (i + 1);
    EXPECT_THAT(history(),
                ElementsAre(0x01010101, 0x02020202, 0x03030303, 0x04040404, 0x05050505, 0x06060606, 0x07070707));
    header().history[4] = 0;
}

TEST_F(Counters, WithoutADescriptorNothingIsWritten)
{
    zelfdb_summary summary_before{1, 2, 3, 4};
    zelfdb_history history_before{1, 2, 3, 4, 5, 6, 7};
    testing::internal::CaptureStdout();
    environment::fail("shmget", ENOENT);
    EXPECT_EQ(-1, zelfdb_get_summary(&summary_before));
    environment::fail("shmget", ENOENT);
    EXPECT_EQ(-1, zelfdb_get_history(&history_before));
    testing::internal::GetCapturedStdout();
    EXPECT_THAT(words(summary_before), ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(words(history_before), ElementsAre(1, 2, 3, 4, 5, 6, 7));
}

}  // namespace
}  // namespace zelfdb
