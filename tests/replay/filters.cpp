// Replay of static and local entries.
#include "core/chains.h"
#include "replay/replay_test.h"

namespace zelfdb {
namespace {

class ReplayedEntries : public ReplayTest {
protected:
    void SetUp() override
    {
        ReplayTest::SetUp();
        given_port(3);
        given_port(101);
        given_vlan(20, "twenty");
        given_vlan(10, "ten");
    }
    Lines statics() { return lines_of(zelfdb_reconfig_sfil); }
    Lines locals() { return lines_of(zelfdb_reconfig_lfil); }
};

TEST_F(ReplayedEntries, NoEntryNoLine)
{
    EXPECT_EQ(statics(), Lines{});
    EXPECT_EQ(locals(), Lines{});
}

TEST_F(ReplayedEntries, AStaticEntryHasItsPortAndFlagsUnlessItsFlagsAreExactlyFour)
{
    struct Row {
        u32 flag;
        const char* text;
    };
    constexpr Row rows[] = {
        {0, "port 101 flag 0"},
        {1, "port 101 flag 1"},
        {4, "discard"},
        {5, "port 101 flag 5"},
        {6, "port 101 flag 6"},
        {0xC, "port 101 flag c"},
        {0x104, "port 101 flag 104"},
        {0xFFFFFFFF, "port 101 flag ffffffff"},
        {0x10000004, "port 101 flag 10000004"},
    };
    Fil& entry = given_static(10, mac(0x00A0B0C0D0EF), 101);
    for (const Row& row : rows) {
        entry.fil_flag = row.flag;
        EXPECT_EQ(statics(), (Lines{std::string("create sfdbentry 00:a0:b0:c0:d0:ef in vlan ten ") + row.text}));
    }
}

TEST_F(ReplayedEntries, AnEntryMadeWithFlagFourIsADiscardAndOneMadeWithFiveNamesItsPort)
{
    given_static(10, mac(1), 3, 4);
    given_static(10, mac(2), 3, 5);
    given_static(10, mac(3), 77, 6);
    given_static(10, mac(4), 0xFFFFFFFE, 6);
    EXPECT_EQ(statics(), (Lines{"create sfdbentry 00:00:00:00:00:01 in vlan ten discard",
                                "create sfdbentry 00:00:00:00:00:02 in vlan ten port 3 flag 5",
                                "create sfdbentry 00:00:00:00:00:03 in vlan ten port 77 flag 6",
                                "create sfdbentry 00:00:00:00:00:04 in vlan ten port -2 flag 6"}));
}

TEST_F(ReplayedEntries, StaticEntriesGoByVIDThenByBucketThenByChain)
{
    given_static(20, mac(0x000000000001), 3);
    given_static(10, mac(0x0000000000FF), 3);    // bucket 255
    given_static(10, mac(0x0100000000FF), 3);    // bucket 0
    given_static(10, mac(0x000000000007), 3);    // bucket 7
    given_static(10, mac(0x070000000000), 3);    // bucket 7
    given_static(10, mac(0x000000070000), 101);  // bucket 7
    EXPECT_EQ(statics(), (Lines{"create sfdbentry 01:00:00:00:00:ff in vlan ten port 3 flag 0",
                                "create sfdbentry 00:00:00:00:00:07 in vlan ten port 3 flag 0",
                                "create sfdbentry 07:00:00:00:00:00 in vlan ten port 3 flag 0",
                                "create sfdbentry 00:00:00:07:00:00 in vlan ten port 101 flag 0",
                                "create sfdbentry 00:00:00:00:00:ff in vlan ten port 3 flag 0",
                                "create sfdbentry 00:00:00:00:00:01 in vlan twenty port 3 flag 0"}));
}

TEST_F(ReplayedEntries, OnlyUserEntriesOfTheirTypeAreReplayed)
{
    given_static(10, mac(1), 3, 0, ZELFDB_FIL_SYSTEM);
    given_static(10, mac(2), 3, 4, ZELFDB_FIL_SYSTEM);
    given_static(10, mac(3), 3, 0, 2);
    given_static(10, mac(4), 3);
    given_learned(10, mac(5), 3);
    given_local(3, mac(6), 0, ZELFDB_FIL_SYSTEM);
    given_local(3, mac(7), 0, 0xFFFFFFFF);
    given_local(3, mac(8));
    EXPECT_EQ(statics(), (Lines{"create sfdbentry 00:00:00:00:00:04 in vlan ten port 3 flag 0"}));
    EXPECT_EQ(locals(), (Lines{"create lfdbentry 00:00:00:00:00:08 in port 3 dsicard"}));
}

TEST_F(ReplayedEntries, HeldLinkFramesAreTheSystemsAndAreNotReplayed)
{
    for (const u32 n : {0u, 2u, 3u}) EXPECT_EQ(call(zelfdb_set_port_link_frames, 3, n, 0).result, 0);
    EXPECT_EQ(port(3)->fdb.nfil, 3u);
    EXPECT_EQ(locals(), Lines{});
    EXPECT_EQ(statics(), Lines{});
}

TEST_F(ReplayedEntries, LocalEntriesGoByPortThenByBucketAndKeepTheReadersSpelling)
{
    given_local(101, mac(0x0180C2000000), 0);
    given_local(3, mac(0x0000000000FF), 4);
    given_local(3, mac(0x010203040506), 0xFFFF);
    EXPECT_EQ(locals(), (Lines{"create lfdbentry 01:02:03:04:05:06 in port 3 dsicard",
                               "create lfdbentry 00:00:00:00:00:ff in port 3 dsicard",
                               "create lfdbentry 01:80:c2:00:00:00 in port 101 dsicard"}));
}

// The databases that count no entries are passed over.
TEST_F(ReplayedEntries, ADatabaseThatCountsNoEntryIsNotWalked)
{
    given_static(10, mac(1), 3);
    given_static(20, mac(2), 3);
    given_local(3, mac(3));
    vlan(10)->fdb.nfil = 0;
    port(3)->fdb.nfil = 0;
    EXPECT_EQ(statics(), (Lines{"create sfdbentry 00:00:00:00:00:02 in vlan twenty port 3 flag 0"}));
    EXPECT_EQ(locals(), Lines{});
    expect_damage();
}

}  // namespace
}  // namespace zelfdb
