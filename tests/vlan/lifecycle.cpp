// Creating and deleting VLANs.
#include <climits>

#include "support/exported.h"

namespace zelfdb {
namespace {

class CreateVlan : public Exported {
protected:
    CreateVlan() : Exported(4, 5, 16) {}
    using Exported::Exported;

    // What a creation makes of the first free record.
    static Vlan& created(Expected& after, const std::string& name, u16 vid)
    {
        Header& h = after.header();
        Vlan& vlan = *alloc_vlan(after.base(), h);
        std::memset(vlan.name, 0, sizeof vlan.name);
        name.copy(vlan.name, sizeof vlan.name - 1);
        vlan.npv = 0;
        vlan.upv = 0;
        vlan.VID = vid;
        vlan.vlan_flag = 0;
        vlan.fdb = {};
        vlan.fdb.FID = vid;
        vlan.fdb.kind = 4;
        for (Offset& bucket : vlan.fdb.bucket) bucket = none;
        vlan.sld_lastMsgTick = 0;
        vlan.sld_msgcnt = 0;
        enQ_vlan(after.base(), h, vlan);
        ++h.vlan_count;
        hAdd_vlan_by_vlanname(after.base(), h, vlan);
        index_vlan(after.base(), h, vlan);
        ++h.history[vlans_created];
        return vlan;
    }
    Outcome create(const std::string& name, i32& vid) { return call(zelfdb_create_vlan, name.c_str(), &vid); }
    testing::AssertionResult refuses_to_create(u32 code, const std::string& name, i32 wanted)
    {
        i32 vid = wanted;
        testing::AssertionResult result = refuses(code, zelfdb_create_vlan, name.c_str(), &vid);
        if (result && vid != wanted) return testing::AssertionFailure() << "the VID was changed to " << vid;
        return result;
    }
};

const std::string thirty(30, 'x');

TEST_F(CreateVlan, WritesEveryFieldOfTheRecordButItsOwnPoolOfMemberships)
{
    const Expected fresh = now();
    for (const bool used_before : {false, true}) {
        fresh.restore();
        if (used_before) {
            auto& record = record_at<Vlan>(base(), header().vlan_free);
            const Offset pv_free = record.pv_free;
            const Link link = record.vlan_link;
            std::memset(static_cast<void*>(&record), 0xEE, sizeof record);
            record.pv_free = pv_free;
            record.vlan_link = link;
        }
        Expected after = now();
        created(after, "sales", 4094);
        i32 vid = 4094;
        EXPECT_EQ(create("sales", vid), done_preset({"create_vlan(0xffe, 0xffe)"}));
        EXPECT_TRUE(after.is_now());
        EXPECT_EQ(vid, 4094);
    }
}

TEST_F(CreateVlan, ANameOfThirtyCharactersPassesOneOfThirtyOneDoesNot)
{
    i32 vid = 10;
    EXPECT_EQ(create(thirty, vid).result, 0);
    EXPECT_STREQ(vlan(10)->name, thirty.c_str());
    EXPECT_TRUE(refuses_to_create(1403, std::string(31, 'y'), 11));
    EXPECT_TRUE(refuses_to_create(1403, std::string(32, 'y'), 11));
    EXPECT_TRUE(refuses_to_create(1403, std::string(5000, 'y'), 11));
    vid = 12;
    EXPECT_EQ(create("", vid).result, 0);
    EXPECT_TRUE(refuses_to_create(1401, "", 13));
}

TEST_F(CreateVlan, AVidLiesInOneTo4094)
{
    for (const i32 outside : {0, 4095, 4096, 8191, 65536 + 10, INT_MAX}) {
        EXPECT_TRUE(refuses_to_create(201, "outside", outside)) << outside;
    }
    for (const i32 inside : {1, 4094}) {
        i32 vid = inside;
        EXPECT_EQ(create("v" + std::to_string(inside), vid).result, 0);
        EXPECT_EQ(vid, inside);
        EXPECT_TRUE(refuses_to_create(1402, "again", inside));
    }
}

TEST_F(CreateVlan, ANegativeVidTakesTheLowestFreeOneAndWritesItBack)
{
    given_vlan(1, "one");
    given_vlan(3, "three");
    i32 vid = -1;
    EXPECT_EQ(create("a", vid), done_preset({"create_vlan(2, 2)"}));
    EXPECT_EQ(vid, 2);
    vid = INT_MIN;
    EXPECT_EQ(create("b", vid), done_preset({"create_vlan(4, 4)"}));
    EXPECT_EQ(vid, 4);
    EXPECT_EQ(ids(all_vlans, header()), (std::vector<u32>{1, 2, 3, 4}));
}

TEST_F(CreateVlan, NamesOfTheSameLettersAreDifferentNames)
{
    given_vlan(10, "ab");
    EXPECT_TRUE(refuses_to_create(1401, "ab", 11));
    i32 vid = 11;
    EXPECT_EQ(create("ba", vid).result, 0);
    vid = 12;
    EXPECT_EQ(create("AB", vid).result, 0);
    EXPECT_EQ(lookup_vlan_by_vlanname(base(), header(), "ab")->VID, 10u);
    EXPECT_EQ(lookup_vlan_by_vlanname(base(), header(), "ba")->VID, 11u);
}

TEST_F(CreateVlan, ThePoolEndsAfterItsLastRecord)
{
    for (u16 vid = 1; vid <= 5; ++vid) given_vlan(vid, "v" + std::to_string(vid));
    EXPECT_TRUE(refuses_to_create(1404, "six", 6));
    EXPECT_TRUE(refuses_to_create(1404, "six", -1));
    EXPECT_EQ(call(zelfdb_delete_vlan, 3).result, 0);
    i32 vid = -1;
    EXPECT_EQ(create("six", vid).result, 0);
    EXPECT_EQ(vid, 3);
}

TEST_F(CreateVlan, ChecksThePointerThenTheNameThenTheVidThenThePool)
{
    given_vlan(10, "used");
    const std::string too_long(31, 'z');
    const Expected room = now();
    for (u16 vid = 1; vid <= 5 && header().vlan_free != none; ++vid) given_vlan(vid, "v" + std::to_string(vid));

    EXPECT_TRUE(refuses(1, zelfdb_create_vlan, too_long.c_str(), nullptr));
    EXPECT_TRUE(refuses(1, zelfdb_create_vlan, "used", nullptr));
    EXPECT_TRUE(refuses(1, zelfdb_create_vlan, "new", nullptr));
    for (const i32 vid : {0, 4095, 10, 20, -1}) {
        EXPECT_TRUE(refuses_to_create(1403, too_long, vid)) << vid;
        EXPECT_TRUE(refuses_to_create(1401, "used", vid)) << vid;
    }
    EXPECT_TRUE(refuses_to_create(201, "new", 0));
    EXPECT_TRUE(refuses_to_create(201, "new", 4095));
    EXPECT_TRUE(refuses_to_create(1402, "new", 10));
    EXPECT_TRUE(refuses_to_create(1404, "new", 20));

    room.restore();  // the same with a record to spare
    EXPECT_TRUE(refuses(1, zelfdb_create_vlan, "new", nullptr));
    EXPECT_TRUE(refuses_to_create(1403, too_long, 0));
    EXPECT_TRUE(refuses_to_create(1401, "used", 0));
    EXPECT_TRUE(refuses_to_create(1401, "used", 10));
    EXPECT_TRUE(refuses_to_create(201, "new", 0));
    EXPECT_TRUE(refuses_to_create(1402, "new", 10));
}

// As if every VID had its VLAN: a look-up by VID asks the index alone.
TEST_F(CreateVlan, WhenEveryVidIsInUseANegativeOneFails)
{
    given_vlan(10, "used");
    const Expected healthy = now();
    const Offset some = header().vlan_index[10];
    for (u32 vid = 1; vid <= 4094; ++vid) header().vlan_index[vid] = some;
    EXPECT_TRUE(refuses_to_create(1406, "new", -1));
    EXPECT_TRUE(refuses_to_create(1403, std::string(31, 'x'), -1));
    EXPECT_TRUE(refuses_to_create(1401, "used", -1));
    EXPECT_TRUE(refuses_to_create(1402, "new", 4094));
    header().vlan_free = none;
    EXPECT_TRUE(refuses_to_create(1406, "new", -1));
    healthy.restore();

    for (u32 vid = 1; vid < 4094; ++vid) header().vlan_index[vid] = some;
    i32 vid = -1;
    EXPECT_EQ(create("new", vid).result, 0);
    EXPECT_EQ(vid, 4094);
    healthy.restore();
}

class DeleteVlan : public Exported {
protected:
    DeleteVlan() : Exported(4, 5, 128) {}
};

TEST_F(DeleteVlan, TakesItsStaticEntriesThenItsLearnedOnesThenItself)
{
    given_port(1);
    given_vlan(10, "ten");
    Vlan& gone = given_vlan(20, "twenty");
    given_vlan(30, "thirty");
    given_learned(10, mac(0x11), 1);
    Fil& learned = given_learned(20, mac(0x01), 1);
    Fil& learned_too = given_learned(20, mac(0x03), 1);
    Fil& fixed = given_static(20, mac(0x02), 1);
    Fil& fixed_system = given_static(20, mac(0x04), 1, 0, ZELFDB_FIL_SYSTEM);
    gone.vlan_flag = 0xE;
    gone.fdb.learnlimit = 50;

    Expected after = now();
    Header& h = after.header();
    Vlan& expected = after.of(gone);
    for (Fil* const live : {&fixed, &fixed_system, &learned, &learned_too}) {
        Fil& fil = after.of(*live);
        hRem_fil_by_mac(after.fdb(), h, expected.fdb, fil);
        free_fil(after.fdb(), h, &fil);
    }
    h.nfil_usr_all -= 3;
    h.nfil_sys_all -= 1;
    expected.fdb.nfil = expected.fdb.nfil_d = expected.fdb.nfil_usr = expected.fdb.nfil_sys = 0;
    hRem_vlan_by_vlanname(after.base(), h, expected);
    unindex_vlan(h, expected);
    deQ_vlan(after.base(), h, expected);
    --h.vlan_count;
    free_vlan(after.base(), h, &expected);
    ++h.history[vlans_deleted];

    EXPECT_EQ(
        call(zelfdb_delete_vlan, 20),
        done_preset({"delete_vlan(0x14)", "removeFDB(0x14, 00:00:00:00:00:02) + removeFDB(0x14, 00:00:00:00:00:04)",
                     "removeFDB(0x14, 00:00:00:00:00:01) + removeFDB(0x14, 00:00:00:00:00:03)"}));
    EXPECT_TRUE(after.is_now());
    EXPECT_EQ(lookup_vlan_by_vlanname(base(), header(), "twenty"), nullptr);

    const Vlan& next = given_vlan(21, "twenty");  // the same record
    EXPECT_EQ(&next, &gone);
    EXPECT_EQ(next.vlan_flag, 0u);
    EXPECT_EQ(next.fdb.learnlimit, 0u);
}

TEST_F(DeleteVlan, EntriesGoInBatchesOfForty)
{
    given_vlan(10, "ten");
    for (u64 i = 1; i <= 95; ++i) given_learned(10, mac(i), 1);
    const Commands commands = call(zelfdb_delete_vlan, 10).commands;
    ASSERT_EQ(commands.size(), 4u);
    EXPECT_EQ(std::count(commands[1].begin(), commands[1].end(), '+'), 39);
    EXPECT_EQ(std::count(commands[2].begin(), commands[2].end(), '+'), 39);
    EXPECT_EQ(std::count(commands[3].begin(), commands[3].end(), '+'), 14);
    EXPECT_TRUE(environment::sleeps().empty());
}

TEST_F(DeleteVlan, ChecksExistenceThenMembersAndLeavesAVlanWithAnyIntact)
{
    given_port(1);
    given_vlan(10, "ten");
    given_member(10, 1, true);
    given_learned(10, mac(1), 1);
    for (const u32 vid : {0u, 11u, 4095u, 8191u, 8192u, 0xFFFFu, 0x1000Bu}) {
        EXPECT_TRUE(refuses(103, zelfdb_delete_vlan, vid)) << vid;
    }
    EXPECT_TRUE(refuses(1501, zelfdb_delete_vlan, 10));
    EXPECT_EQ(call(zelfdb_rem_port_from_vlan, 10, 1).result, 0);
    EXPECT_EQ(call(zelfdb_delete_vlan, 10), done_preset({"delete_vlan(0xa)"}));
}

TEST_F(DeleteVlan, TheVidIsTheLowHalf)
{
    given_vlan(10, "ten");
    EXPECT_EQ(call(zelfdb_delete_vlan, 0xABCD000Au), done_preset({"delete_vlan(0xa)"}));
}

// The VLAN's eight memberships are its record's, and come back with it.
TEST_F(DeleteVlan, ThePoolOfMembershipsSurvives)
{
    for (u32 id = 1; id <= 3; ++id) given_port(id);
    const Vlan& first = given_vlan(10, "ten");
    for (u32 id = 1; id <= 3; ++id) given_member(10, id, true);
    for (u32 id = 1; id <= 3; ++id) EXPECT_EQ(call(zelfdb_rem_port_from_vlan, 10, id).result, 0);
    const std::vector<u32> pool = offsets<&Pv::vlan_link>(base(), first.pv_free);
    EXPECT_EQ(pool.size(), 8u);
    EXPECT_EQ(call(zelfdb_delete_vlan, 10).result, 0);
    const Vlan& second = given_vlan(11, "eleven");
    ASSERT_EQ(&second, &first);
    EXPECT_EQ(offsets<&Pv::vlan_link>(base(), second.pv_free), pool);
}

TEST_F(DeleteVlan, HistoryAndSummaryCountWhatHappened)
{
    given_vlan(10, "ten");
    given_vlan(20, "twenty");
    EXPECT_EQ(call(zelfdb_delete_vlan, 10).result, 0);
    EXPECT_EQ(call(zelfdb_delete_vlan, 10).result, -1);
    zelfdb_history history{};
    zelfdb_summary summary{};
    EXPECT_EQ(zelfdb_get_history(&history), 0);
    EXPECT_EQ(zelfdb_get_summary(&summary), 0);
    EXPECT_EQ(history.vlans_created, 2u);
    EXPECT_EQ(history.vlans_deleted, 1u);
    EXPECT_EQ(summary.vlan_count, 1u);
}

}  // namespace
}  // namespace zelfdb
