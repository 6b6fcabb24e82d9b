// The log of commands: a bounded ring that any number of readers follow.
#include "np_device.h"

#include <unistd.h>

using namespace softnp_test;

using CommandLog = NpDevice;

TEST_F(CommandLog, TellsWhenWhoAndWhat)
{
    ASSERT_EQ(0, softnp_set_tick(123));
    ASSERT_EQ(0, create_vlan(10));
    ASSERT_EQ(SOFTNP_ERR_VLAN_EXISTS, create_vlan(10));
    u64 cursor = 0;
    softnp_log_entry entry{};
    ASSERT_EQ(1, softnp_log_read(&cursor, nullptr, &entry));
    EXPECT_EQ(0u, entry.serial);
    EXPECT_EQ(123u, entry.tick_ms);
    EXPECT_EQ(static_cast<u32>(getpid()), entry.process_id);
    EXPECT_EQ(0, entry.error);
    EXPECT_STREQ("create_vlan VID=10 FID=0xa", entry.text);
    ASSERT_EQ(1, softnp_log_read(&cursor, nullptr, &entry));
    EXPECT_EQ(1u, entry.serial);
    EXPECT_EQ(SOFTNP_ERR_VLAN_EXISTS, entry.error);
    EXPECT_EQ(2u, cursor);
    EXPECT_EQ(0, softnp_log_read(&cursor, nullptr, &entry));
    EXPECT_EQ(2u, cursor);
}

TEST_F(CommandLog, IsReadByEachReaderForItself)
{
    ASSERT_EQ(0, create_vlan(10));
    softnp_log_entry entry{};
    for (int reader = 0; reader < 2; reader++) {
        u64 cursor = 0;
        EXPECT_EQ(1, softnp_log_read(&cursor, nullptr, &entry));
        EXPECT_EQ(0, softnp_log_read(&cursor, nullptr, &entry));
    }
}

TEST_F(CommandLog, IsFollowedFromItsEnd)
{
    ASSERT_EQ(0, create_vlan(10));
    u64 cursor = 0;
    ASSERT_EQ(0, softnp_log_end(&cursor));
    EXPECT_EQ(1u, cursor);
    ASSERT_EQ(0, create_vlan(20));
    softnp_log_entry entry{};
    ASSERT_EQ(1, softnp_log_read(&cursor, nullptr, &entry));
    EXPECT_STREQ("create_vlan VID=20 FID=0x14", entry.text);
}

TEST_F(CommandLog, KeepsTheNewestAndCountsWhatAReaderLost)
{
    const u32 extra = 10;
    for (u32 count = 0; count < SOFTNP_LOG_ENTRIES + extra; count++) tell(vf_mk_delete_vlan(count));
    u64 cursor = 0;
    u64 lost = 0;
    u32 read = 0;
    softnp_log_entry entry{};
    while (read <= SOFTNP_LOG_ENTRIES && softnp_log_read(&cursor, &lost, &entry) == 1) {
        EXPECT_EQ(extra + read, entry.serial);
        EXPECT_EQ("delete_vlan VID=" + std::to_string(extra + read), entry.text);
        read++;
    }
    EXPECT_EQ(SOFTNP_LOG_ENTRIES, read);
    EXPECT_EQ(extra, lost);
}

TEST_F(CommandLog, ACursorBehindTheEndReadsNothing)
{
    ASSERT_EQ(0, create_vlan(10));
    u64 cursor = 1000;
    u64 lost = 0;
    softnp_log_entry entry{};
    EXPECT_EQ(0, softnp_log_read(&cursor, &lost, &entry));
    EXPECT_EQ(1000u, cursor);
    EXPECT_EQ(0u, lost);
}

TEST_F(CommandLog, NullIsRefused)
{
    u64 cursor = 0;
    softnp_log_entry entry{};
    EXPECT_EQ(-1, softnp_log_read(nullptr, nullptr, &entry));
    EXPECT_EQ(-1, softnp_log_read(&cursor, nullptr, nullptr));
    EXPECT_EQ(-1, softnp_log_end(nullptr));
}
