// Creating ports.
#include <climits>

#include "support/exported.h"

namespace zelfdb {
namespace {

class CreatePort : public Exported {
protected:
    static constexpr u32 nport = 10;
    CreatePort() : Exported(nport, 2, 8) {}

    // Gives every byte of the next free record that is not a link a value that no creation leaves.
    Port& next_record_full_of(u8 byte)
    {
        auto& port = record_at<Port>(base(), header().port_free);
        const Link link = port.port_link;
        std::memset(static_cast<void*>(&port), byte, sizeof port);
        port.port_link = link;
        return port;
    }

    // What a creation makes of the first free record, field by field.
    static Port& created(Expected& after, u32 port_id, u32 phport, u8 p_type, u16 p_flag)
    {
        Header& h = after.header();
        Port& port = *alloc_port(after.base(), h);
        port.PortID = port_id;
        port.p_flag = p_flag;
        port.p_type = p_type;
        port.pri = 0;
        port.phport = static_cast<u8>(phport & 0xFF);
        port.pad9 = 0;
        port.tagtype = 0x8100;
        port.PVID = 0;
        port.pad14[0] = port.pad14[1] = 0;
        port.npg = 0;
        std::memset(port.prot, 0, sizeof port.prot);
        std::memset(port.policing, 0, sizeof port.policing);
        port.optate = 0;
        port.aging = 300;
        port.sldbkr_on = 0;
        port.sldbkr_state = 0;
        port.def_spno = 0;
        port.def_pri = 0;
        port.def_color = 0;
        port.link_mode = 1;
        port.link_depend = 1;
        port.npv = 0;
        port.fdb = {};
        port.fdb.FID = 0xC000 + port_id;
        port.fdb.kind = 1;
        for (Offset& bucket : port.fdb.bucket) bucket = none;
        enQ_port(after.base(), h, port);
        enQ_port_by_pvid(after.base(), h, port);
        ++h.port_count;
        ++h.history[ports_created];
        return port;
    }
};

TEST_F(CreatePort, WritesTheFieldsOfItsTypeAndLeavesTheOthersAsTheRecordHeldThem)
{
    const struct {
        i32 p_type;
        u16 p_flag;
        u32 phport;
        const char* command;
    } rows[] = {
        {ZELFDB_PORT_NONE, 0, 7, "set_port_param(3, 0x800000ff, 0, 0, 0, 7, 0x8100, 0, 0xc003)"},
        {ZELFDB_PORT_ETHER, 0x173, 2, "set_port_param(3, 0x800000ff, 0x173, 1, 0, 2, 0x8100, 0, 0xc003)"},
        {ZELFDB_PORT_VIF, 0x232, 0, "set_port_param(3, 0x800000ff, 0x232, 2, 0, 0, 0x8100, 0, 0xc003)"},
        {3, 0, 9, "set_port_param(3, 0x800000ff, 0, 3, 0, 9, 0x8100, 0, 0xc003)"},
        {-1, 0, 9, "set_port_param(3, 0x800000ff, 0, 0xff, 0, 9, 0x8100, 0, 0xc003)"},
    };
    const Expected fresh = now();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.p_type);
        fresh.restore();
        next_record_full_of(0xEE);
        Expected after = now();
        const Port& expected = created(after, 3, row.phport, static_cast<u8>(row.p_type & 0xFF), row.p_flag);
        index_port(after.base(), after.header(), expected);
        if (row.p_type == ZELFDB_PORT_ETHER) lookup_phport(after.base(), after.header(), row.phport)->bound = 1;

        EXPECT_EQ(call(zelfdb_create_port, 3, row.phport, row.p_type), done({row.command}));
        EXPECT_TRUE(after.is_now());
        EXPECT_EQ(expected.upv, 0xEEEEEEEEu);  // never written: see the test of re-used records
    }
    fresh.restore();
}

TEST_F(CreatePort, ARecordUsedAgainKeepsItsFormerOwnersSettingsThatCreationDoesNotWrite)
{
    Port& first = given_port(1);
    for (const u32 word : first.cosmap) EXPECT_EQ(word, 0u);
    EXPECT_EQ(first.valbit | first.uplink | first.link_depend_list | first.upv | first.bw_calc_mode, 0u);
    EXPECT_EQ(first.reserved212 | first.link_frames_fwd, 0u);

    const u32 cosmap[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    given_vlan(10, "ten");
    given_member(10, 1);
    EXPECT_EQ(call(zelfdb_set_port_cosmap, 1, 0xF0, cosmap).result, 0);
    EXPECT_EQ(call(zelfdb_set_uplink_flag, 1, 7).result, 0);  // only a mark of 1 holds the port back
    EXPECT_EQ(call(zelfdb_set_link_depend, 1, 2, 0xA).result, 0);
    EXPECT_EQ(call(zelfdb_set_port_bandwidth_calc_mode, 1, 3).result, 0);
    EXPECT_EQ(call(zelfdb_set_port_link_frames, 1, 4, 1).result, 0);
    EXPECT_EQ(call(zelfdb_rem_port_from_vlan, 10, 1).result, 0);
    first.reserved212 = 0x212;
    EXPECT_EQ(call(zelfdb_delete_port, 1).result, 0);

    const Port& second = given_port(8, ZELFDB_PORT_ETHER, 4);
    ASSERT_EQ(&second, &first);
    EXPECT_EQ(std::memcmp(second.cosmap, cosmap, sizeof cosmap), 0);
    EXPECT_EQ(second.valbit, 0xF0u);
    EXPECT_EQ(second.uplink, 7u);
    EXPECT_EQ(second.reserved212, 0x212u);
    EXPECT_EQ(second.link_depend_list, 0xAu);
    EXPECT_EQ(second.upv, 0xFFFFFFFFu);  // removal took 2 from the 1 that joining had added
    EXPECT_EQ(second.bw_calc_mode, 3u);
    EXPECT_EQ(second.link_frames_fwd, 0x10u);
    EXPECT_EQ(second.link_depend, 1u);
}

TEST_F(CreatePort, ReachesTheNPUnderItsNumberThere)
{
    const struct {
        u32 port_id;
        const char* NP_port;
    } rows[] = {{1, "1"},     {9, "9"},      {10, "0xa"},         {11, "0xffffffff"}, {100, "0xffffffff"},
                {101, "0xb"}, {164, "0x4a"}, {165, "0xffffffff"}, {199, "0xffffffff"}};
    for (const auto& row : rows) {
        const Outcome outcome = call(zelfdb_create_port, row.port_id, 0, 0);
        ASSERT_EQ(outcome.commands.size(), 1u);
        EXPECT_EQ(outcome.commands[0].substr(0, outcome.commands[0].find(',')),
                  std::string("set_port_param(") + row.NP_port);
    }
}

TEST_F(CreatePort, PortsStandInTheListAndInTheChainOfPVIDZeroByAscendingId)
{
    for (const u32 id : {5u, 3u, 9u, 101u, 4u}) given_port(id);
    const std::vector<u32> ascending{3, 4, 5, 9, 101};
    EXPECT_EQ(ids(all_ports, header()), ascending);
    EXPECT_EQ(ports_with_pvid(0), ascending);
    EXPECT_EQ(header().port_count, 5u);
    EXPECT_EQ(header().history[ports_created], 5u);
}

TEST_F(CreatePort, AnEthernetPortNeedsAPhysicalPortOfOneToFour)
{
    for (const u32 phport : {0u, 5u, 255u, 257u, 0xFFFFFFFFu}) {
        EXPECT_TRUE(refuses(1204, zelfdb_create_port, 9, phport, ZELFDB_PORT_ETHER)) << phport;
    }
    for (u32 phport = 1; phport <= 4; ++phport) {
        EXPECT_EQ(call(zelfdb_create_port, phport, phport, ZELFDB_PORT_ETHER).result, 0);
        EXPECT_EQ(lookup_phport(base(), header(), phport)->bound, 1u);
    }
    for (u32 phport = 1; phport <= 4; ++phport) {
        EXPECT_TRUE(refuses(1203, zelfdb_create_port, 9, phport, ZELFDB_PORT_ETHER)) << phport;
    }
}

TEST_F(CreatePort, OtherTypesTakeAnyPhysicalPortAndBindNone)
{
    given_port(1, ZELFDB_PORT_ETHER, 2);
    u32 id = 10;
    for (const i32 p_type : {0, 2, 3}) {
        for (const u32 phport : {2u, 0x105u}) {  // one in use; one of which the low byte is kept
            EXPECT_EQ(call(zelfdb_create_port, id, phport, p_type).result, 0);
            EXPECT_EQ(port(id)->phport, phport & 0xFF);
            ++id;
        }
    }
    for (u32 phport = 1; phport <= 4; ++phport) {
        EXPECT_EQ(lookup_phport(base(), header(), phport)->bound, phport == 2 ? 1u : 0u);
    }
}

TEST_F(CreatePort, AnIdThatExistsIsRefusedAndChangesNothing)
{
    given_port(1, ZELFDB_PORT_ETHER, 1);
    EXPECT_TRUE(refuses(1202, zelfdb_create_port, 1, 2, ZELFDB_PORT_ETHER));
    EXPECT_TRUE(refuses(1202, zelfdb_create_port, 1, 1, ZELFDB_PORT_VIF));
}

// The first free record answers for port 0.
TEST_F(CreatePort, ZeroExistsAsLongAsARecordIsFree)
{
    for (u32 id = 1; id < nport; ++id) given_port(id);
    EXPECT_TRUE(refuses(1202, zelfdb_create_port, 0, 0, ZELFDB_PORT_NONE));
    given_port(nport);
    EXPECT_TRUE(refuses(1201, zelfdb_create_port, 0, 0, ZELFDB_PORT_NONE));
}

TEST_F(CreatePort, WithoutAFreeRecordItFailsAndOnlyAnEthernetPortLeavesItsMark)
{
    for (u32 id = 1; id <= nport; ++id) given_port(id);
    EXPECT_TRUE(refuses(1201, zelfdb_create_port, 50, 3, ZELFDB_PORT_NONE));
    EXPECT_TRUE(refuses(1201, zelfdb_create_port, 50, 3, ZELFDB_PORT_VIF));

    Expected marked = now();
    lookup_phport(marked.base(), marked.header(), 3)->bound = 1;
    EXPECT_EQ(call(zelfdb_create_port, 50, 3, ZELFDB_PORT_ETHER), refused(1201));
    EXPECT_TRUE(marked.is_now());

    EXPECT_TRUE(refuses(1203, zelfdb_create_port, 50, 3, ZELFDB_PORT_ETHER));
    EXPECT_EQ(call(zelfdb_delete_port, 1).result, 0);
    EXPECT_TRUE(refuses(1203, zelfdb_create_port, 50, 3, ZELFDB_PORT_ETHER));
}

TEST_F(CreatePort, ChecksTheIdThenThePhysicalPortThenItsMarkThenThePool)
{
    const Expected fresh = now();
    const struct {
        bool id_exists;
        u32 phport;
        bool bound;
        bool pool_empty;
        u32 code;
    } rows[] = {
        {true, 5, false, true, 1202},  {true, 1, true, true, 1202},   {true, 1, true, false, 1202},
        {true, 5, false, false, 1202}, {true, 1, false, true, 1202},  {false, 5, false, true, 1204},
        {false, 1, true, true, 1203},  {false, 1, false, true, 1201},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.code << " with " << row.id_exists << row.phport << row.bound);
        fresh.restore();
        if (row.id_exists) given_port(50);
        if (row.bound) lookup_phport(base(), header(), 1)->bound = 1;
        for (u32 id = 60; id < 60 + nport && row.pool_empty && header().port_free != none; ++id) given_port(id);
        EXPECT_EQ(call(zelfdb_create_port, 50, row.phport, ZELFDB_PORT_ETHER), refused(row.code));
    }
    fresh.restore();
}

// The range of an ID is the caller's business. A port beyond it is made and listed, but no look-up leads to it, and nothing
// outside its record and the lists is written.
TEST_F(CreatePort, AnIdBeyondTheIndexIsMadeAndNeverFoundAgain)
{
    const Expected fresh = now();
    for (const u32 id : {200u, 201u, 8192u, 0x80000000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(id);
        fresh.restore();
        given_port(1);
        Expected after = now();
        const Port& expected = created(after, id, 0, 0, 0);
        if (id == 200) after.header().port_index[199] = offset_of(after.base(), expected);  // a slot that nothing reads

        EXPECT_EQ(call(zelfdb_create_port, id, 0, ZELFDB_PORT_NONE).result, 0);
        EXPECT_TRUE(after.is_now());
        EXPECT_TRUE(refuses(102, zelfdb_delete_port, id));
        EXPECT_TRUE(refuses(102, zelfdb_enable_port, id));
        EXPECT_EQ(call(zelfdb_create_port, id, 0, ZELFDB_PORT_NONE).result, 0);
        EXPECT_EQ(header().port_count, 3u);
        const std::vector<u32> listed =
            static_cast<i32>(id) < 0 ? std::vector<u32>{id, id, 1} : std::vector<u32>{1, id, id};
        EXPECT_EQ(ids(all_ports, header()), listed);
    }
    fresh.restore();
}

}  // namespace
}  // namespace zelfdb
