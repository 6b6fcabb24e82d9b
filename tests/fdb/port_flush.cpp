// Removing one port's entries in all VLANs: static ones for everybody, learned ones for the rules of ports and memberships.
#include "fdb_test.h"

namespace zelfdb {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PortFlush : public Fdb {
protected:
    // VLANs 10 and 30 with static and learned entries on ports 3 and 5; VLAN 20 has none.
    void SetUp() override
    {
        Fdb::SetUp();
        given_open_port(3);
        given_open_port(5);
        given_vlan(30, "late");
        given_vlan(10, "early");
        given_vlan(20, "empty");
        for (const u16 vid : {u16{30}, u16{10}}) {
            given_static(vid, mac(0x0200), 3, 0, 1);
            given_static(vid, mac(0x0101), 5, 0, 0);
            given_static(vid, mac(0x0002), 3, 0, 2);
            given_static(vid, mac(0x00FF), 3, 4, 0);
            given_learned(vid, mac(0x0300), 3);
            given_learned(vid, mac(0x0201), 5);
            given_learned(vid, mac(0x01FF), 3);
        }
        given_local(3, mac(0x0200));
        environment::reset();
        forget();
    }
    static int flush_static(u32 port_id)
    {
        u32 err = 777;
        const int result = zelfdb_delete_sfil_select_port(port_id, &err);
        EXPECT_EQ(0u, err);
        return result;
    }
    [[nodiscard]] std::vector<std::string> all_of(u32 vid) const
    {
        std::vector<std::string> all;
        for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
            for (const std::string& one : chain_of(table(vid), bucket)) all.push_back(one);
        }
        return all;
    }
};

TEST_F(PortFlush, StaticEntriesOfThePortGoInAllVlansWhateverTheirPermit)
{
    EXPECT_EQ(0, flush_static(3));
    EXPECT_THAT(sent(),
                ElementsAre(remove_line(10, mac(0x0200)), remove_line(10, mac(0x0002)), remove_line(10, mac(0x00FF)),
                            remove_line(30, mac(0x0200)), remove_line(30, mac(0x0002)), remove_line(30, mac(0x00FF))));
    EXPECT_EQ(both_locks, locks());
    for (const u32 vid : {10u, 30u}) {
        EXPECT_EQ((Counts{4, 3, 4, 0}), counts(table(vid)));
        EXPECT_THAT(all_of(vid),
                    ElementsAre(text(mac(0x01FF)), text(mac(0x0101)), text(mac(0x0201)), text(mac(0x0300))));
    }
    EXPECT_EQ((Counts{1, 0, 1, 0}), counts(own_table(3))) << "local entries stay";
    EXPECT_EQ((Totals{9, 0}), totals());
    EXPECT_EQ(0u, recorder::commands_not_freed());
}

TEST_F(PortFlush, OnTheCallersDescriptorItIsTheSame)
{
    const Snapshot ready = snapshot();
    ASSERT_EQ(0, flush_static(3));
    const Snapshot expected = snapshot();
    restore(ready);
    forget();
    const u32 inits = recorder::init_calls();
    EXPECT_EQ(0, zelfdb_delete_sfil_select_port2(&d(), 3));
    EXPECT_TRUE(same(expected, snapshot()));
    EXPECT_EQ(both_locks, locks());
    EXPECT_EQ(inits, recorder::init_calls());
}

TEST_F(PortFlush, APortWithoutStaticEntriesChangesNothingAndNeedNotExist)
{
    const Snapshot before = snapshot();
    for (const u32 port_id : {1u, 77u, 199u, 200u, 0x10003u, 0xFFFFFFFFu}) {
        EXPECT_EQ(0, flush_static(port_id)) << port_id;
        EXPECT_EQ(0, zelfdb_delete_sfil_select_port2(&d(), port_id)) << port_id;
    }
    EXPECT_TRUE(same(before, snapshot()));
}

TEST_F(PortFlush, EntriesNamingAPortThatDoesNotExistAreFoundByItsNumber)
{
    given_static(10, mac(0x10), 77, 4);
    given_static(10, mac(0x20), 0, 4);
    EXPECT_EQ(0, flush_static(77));
    EXPECT_EQ(nullptr, fil(10, mac(0x10)));
    EXPECT_EQ(0, flush_static(0));
    EXPECT_EQ(nullptr, fil(10, mac(0x20)));
    EXPECT_THAT(sent(), ElementsAre(remove_line(10, mac(0x10)), remove_line(10, mac(0x20))));
}

TEST_F(PortFlush, LearnedEntriesOfThePortGoInAllVlans)
{
    EXPECT_EQ(0, delete_dfil_select_port(d(), 3));
    EXPECT_THAT(sent(), ElementsAre(remove_line(10, mac(0x01FF)), remove_line(10, mac(0x0300)),
                                    remove_line(30, mac(0x01FF)), remove_line(30, mac(0x0300))));
    EXPECT_THAT(locks(), IsEmpty()) << "callers hold them";
    for (const u32 vid : {10u, 30u}) EXPECT_EQ((Counts{5, 1, 4, 1}), counts(table(vid)));
    forget();
    const Snapshot before = snapshot();
    EXPECT_EQ(0, delete_dfil_select_port(d(), 3));
    EXPECT_EQ(0, delete_dfil_select_port(d(), 4));
    EXPECT_TRUE(same(before, snapshot()));
}

TEST_F(PortFlush, AnyPlacesInAChainMayGo)
{
    // A chain of four, every subset of which belongs to port 7.
    for (u32 subset = 0; subset < 16; ++subset) {
        SCOPED_TRACE(subset);
        std::vector<std::string> left;
        std::vector<std::string> removals;
        for (u32 i = 0; i < 4; ++i) {
            const Mac address = mac(0x000000000080 + 0xFF * u64{i});
            const bool goes = subset >> i & 1;
            given_static(20, address, goes ? 7 : 3, 4);
            (goes ? removals : left).push_back(goes ? remove_line(20, address) : text(address));
        }
        forget();
        EXPECT_EQ(0, flush_static(7));
        EXPECT_EQ(removals, sent());
        EXPECT_EQ(left, chain_of(table(20), 0x80));
        ASSERT_EQ(0, clear_fdb(d(), table(20), fil_static));
    }
}

TEST_F(PortFlush, IsNotHeldUpByTheNP)
{
    const Snapshot ready = snapshot();
    ASSERT_EQ(0, flush_static(3));
    const Snapshot expected = snapshot();
    for (const Refusal how : {Refusal::delivery, Refusal::status}) {
        SCOPED_TRACE(name_of(how));
        restore(ready);
        recorder::fail("removeFDB", how == Refusal::delivery ? recorder::Failure::delivery : recorder::Failure::status,
                       1, 6);
        EXPECT_EQ(0, flush_static(3));
        EXPECT_TRUE(same(expected, snapshot()));
    }
    restore(ready);
    refuse("removeFDB", Refusal::answer);
    EXPECT_EQ(0, flush_static(3));
    EXPECT_TRUE(same(expected, snapshot()));
}

TEST_F(PortFlush, WithoutAnyVlanThereIsNothingToFlush)
{
    u32 err = 0;
    for (const u32 vid : {10u, 20u, 30u}) ASSERT_EQ(0, zelfdb_delete_vlan(vid, &err));
    forget();
    const Snapshot before = snapshot();
    EXPECT_EQ(0, flush_static(3));
    EXPECT_EQ(0, delete_dfil_select_port(d(), 3));
    EXPECT_TRUE(same(before, snapshot()));
}

}  // namespace
}  // namespace zelfdb
