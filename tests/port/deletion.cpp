// Deleting ports.
#include "support/exported.h"

namespace zelfdb {
namespace {

class DeletePort : public Exported {
protected:
    DeletePort() : Exported(8, 3, 128) {}
};

TEST_F(DeletePort, TakesItsStaticAndLocalEntriesAndEveryTraceOfItself)
{
    Port& gone = given_port(2, ZELFDB_PORT_ETHER, 3);
    given_port(1);
    given_port(4);
    given_vlan(10, "ten");
    given_vlan(20, "twenty");
    Fil& in_ten = given_static(10, mac(0x21), 2);
    given_static(10, mac(0x22), 1);
    Fil& system_in_twenty = given_static(20, mac(0x23), 2, 0, ZELFDB_FIL_SYSTEM);
    given_learned(20, mac(0x24), 2);
    Fil& local = given_local(2, mac(0x25));
    Fil& local_system = given_local(2, mac(0x26), 0, ZELFDB_FIL_SYSTEM);
    given_local(1, mac(0x25));

    Expected after = now();
    Header& h = after.header();
    const auto drop = [&](FdbHead& table, Fil& live) {
        Fil& fil = after.of(live);
        hRem_fil_by_mac(after.fdb(), h, table, fil);
        u32& user = fil.fil_permit == 1 ? table.nfil_sys : table.nfil_usr;
        --user;
        --(fil.fil_permit == 1 ? h.nfil_sys_all : h.nfil_usr_all);
        --table.nfil;
        free_fil(after.fdb(), h, &fil);
    };
    drop(after.of(*vlan(10)).fdb, in_ten);
    drop(after.of(*vlan(20)).fdb, system_in_twenty);
    lookup_phport(after.base(), h, 3)->bound = 0;
    Port& expected = after.of(gone);
    unindex_port(h, expected);
    deQ_port(after.base(), h, expected);
    deQ_port_by_pvid(after.base(), h, expected);
    --h.port_count;
    drop(expected.fdb, local);
    drop(expected.fdb, local_system);
    free_port(after.base(), h, &expected);
    ++h.history[ports_deleted];

    EXPECT_EQ(call(zelfdb_delete_port, 2),
              done({"removeFDB(0xa, 00:00:00:00:00:21)", "removeFDB(0x14, 00:00:00:00:00:23)", "delete_port(2)",
                    "removeFDB(0xc002, 00:00:00:00:00:25) + removeFDB(0xc002, 00:00:00:00:00:26)"}));
    EXPECT_TRUE(after.is_now());
    EXPECT_EQ(fil(vlan(20)->fdb, mac(0x24))->port, 2u);  // learned entries stay
}

TEST_F(DeletePort, LocalEntriesGoInBatchesOfForty)
{
    given_port(2);
    for (u64 i = 1; i <= 41; ++i) given_local(2, mac(i));
    const Commands commands = call(zelfdb_delete_port, 2).commands;
    ASSERT_EQ(commands.size(), 3u);
    EXPECT_EQ(commands[0], "delete_port(2)");
    EXPECT_EQ(std::count(commands[1].begin(), commands[1].end(), '+'), 39);
    EXPECT_EQ(commands[2], "removeFDB(0xc002, 00:00:00:00:00:29)");
    EXPECT_EQ(header().nfil_usr_all, 0u);
}

TEST_F(DeletePort, ChecksExistenceThenMembershipThenTheUplinkMark)
{
    Port& port = given_port(1, ZELFDB_PORT_ETHER, 1);
    given_vlan(10, "ten");
    EXPECT_TRUE(refuses(102, zelfdb_delete_port, 2));

    given_member(10, 1, true);
    EXPECT_TRUE(refuses(1301, zelfdb_delete_port, 1));
    EXPECT_EQ(call(zelfdb_set_uplink_flag, 1, 1), done());
    EXPECT_TRUE(refuses(1301, zelfdb_delete_port, 1));  // both apply

    EXPECT_EQ(call(zelfdb_set_uplink_flag, 1, 0), done());
    EXPECT_EQ(call(zelfdb_rem_port_from_vlan, 10, 1).result, 0);
    port.uplink = 1;
    EXPECT_TRUE(refuses(1302, zelfdb_delete_port, 1));
    port.uplink = 2;
    EXPECT_EQ(call(zelfdb_delete_port, 1), done({"delete_port(1)"}));
}

TEST_F(DeletePort, ThePhysicalPortCanBeUsedAgainAtOnce)
{
    given_port(1, ZELFDB_PORT_ETHER, 4);
    EXPECT_TRUE(refuses(1203, zelfdb_create_port, 2, 4, ZELFDB_PORT_ETHER));
    EXPECT_EQ(call(zelfdb_delete_port, 1).result, 0);
    EXPECT_EQ(call(zelfdb_create_port, 2, 4, ZELFDB_PORT_ETHER).result, 0);
}

TEST_F(DeletePort, OnlyAnEthernetPortFreesAPhysicalPort)
{
    given_port(1, ZELFDB_PORT_ETHER, 2);
    given_port(5, ZELFDB_PORT_NONE, 2);
    given_port(6, ZELFDB_PORT_VIF, 2);
    EXPECT_EQ(call(zelfdb_delete_port, 5).result, 0);
    EXPECT_EQ(call(zelfdb_delete_port, 6).result, 0);
    EXPECT_EQ(lookup_phport(base(), header(), 2)->bound, 1u);
}

// The setter may have changed the number since creation: the mark that goes is that of the number now in the record.
TEST_F(DeletePort, FreesThePhysicalPortThatTheRecordNamesNow)
{
    const auto bound = [this](u32 phport) { return lookup_phport(base(), header(), phport)->bound; };
    given_port(1, ZELFDB_PORT_ETHER, 1).phport = 2;
    given_port(2, ZELFDB_PORT_ETHER, 2);
    EXPECT_EQ(call(zelfdb_delete_port, 1).result, 0);
    EXPECT_EQ(bound(1), 1u);
    EXPECT_EQ(bound(2), 0u);

    for (const u8 no_phport : {u8{0}, u8{5}, u8{255}}) {
        given_port(3, ZELFDB_PORT_ETHER, 3).phport = no_phport;
        EXPECT_EQ(call(zelfdb_delete_port, 3), done({"delete_port(3)"})) << int{no_phport};
        EXPECT_EQ(bound(3), 1u);
        lookup_phport(base(), header(), 3)->bound = 0;
    }
}

TEST_F(DeletePort, LeavesTheChainOfThePVIDThatItHasNow)
{
    const zelfdb_port_param param{0, 0, 0, 0, 0, 0, 77};
    given_port(1);
    given_port(2);
    EXPECT_EQ(call(zelfdb_set_param_to_port, 1, &param, 0, 0, ZELFDB_SELECT_PVID, 0).result, 0);
    EXPECT_EQ(call(zelfdb_set_param_to_port, 2, &param, 0, 0, ZELFDB_SELECT_PVID, 0).result, 0);
    EXPECT_EQ(ports_with_pvid(77), (std::vector<u32>{1, 2}));
    EXPECT_EQ(call(zelfdb_delete_port, 1).result, 0);
    EXPECT_EQ(ports_with_pvid(77), std::vector<u32>{2});
    EXPECT_EQ(ports_with_pvid(0), std::vector<u32>{});
}

// A port's streams outlive it. One of them unbound later must not cut the list of a port made anew under the ID.
TEST_F(DeletePort, LeavesItsStreamsBehindWhichDoNotDisturbItsSuccessor)
{
    Port& first = given_port(1);
    Stream& stale = given_stream_of(first, 1, 2);
    Stream& stale_too = given_stream_of(first, 2, 3);
    EXPECT_EQ(call(zelfdb_delete_port, 1), done({"delete_port(1)"}));
    EXPECT_EQ(stale.portno, 1u);

    Port& second = given_port(1);
    EXPECT_EQ(second.stream_head, none);
    given_stream_of(second, 7, 8);
    given_stream_of(second, 9, 10);
    deQ_stream_from_port(base(), header(), second, stale);
    deQ_stream_from_port(base(), header(), second, stale_too);
    EXPECT_EQ(ids(streams_of_port, second), (std::vector<u32>{7, 9}));

    stale.portno = stale_too.portno = 0;
}

}  // namespace
}  // namespace zelfdb
