// Databases that only the operations have worked on: the healthy ones give no finding at all, and those that bear a
// behaviour that is kept on purpose give notices of it, and no error.
#include "check/checking.h"

namespace zelfdb {
namespace {

// A database to work on, and what a check must say of it.
class Checked : public FurnishedDatabase {
protected:
    // Only what a test does itself is there to be found.
    void SetUp() override
    {
        Database::SetUp();
        given_port(1, ZELFDB_PORT_ETHER, 2);
        given_port(3);
        given_vlan(10, "sales");
        given_vlan(20, "lab");
        EXPECT_TRUE(check(d()).clean());
    }

    void expect_clean() { EXPECT_TRUE(check(d()).clean()) << listed(check(d())); }

    // That, and nothing else.
    void expect_notices(std::vector<Finding> notices)
    {
        const Report report = check(d());
        EXPECT_EQ(0u, report.errors) << listed(report);
        EXPECT_EQ(notices.size(), report.notices) << listed(report);
        for (const Finding& wanted : notices) {
            EXPECT_TRUE(has(report, wanted)) << "not found: " << text_of(wanted) << "\nbut:" << listed(report);
        }
    }
    Finding notice(const std::string& object, const std::string& field, const void* word, const std::string& found,
                   const std::string& expected)
    {
        Finding finding{Severity::notice, object, Segment::main, 0, field, found, expected, ""};
        place(d(), word, finding);
        return finding;
    }
    void refused(int result) { EXPECT_EQ(-1, result); }
};

TEST_F(Checked, FreshDatabaseIsClean)
{
    init(default_nport, default_nvlan, default_nfil);
    expect_clean();
}

TEST_F(Checked, DatabaseWithoutPortsAndVlansIsClean)
{
    init(0, 0, 1);
    expect_clean();
}

TEST_F(Checked, SmallerDatabaseInLargerSegmentsIsClean)
{
    init(default_nport - 3, default_nvlan - 3, default_nfil - 3);
    given_port(1);
    expect_clean();
}

TEST_F(Checked, DatabaseOfEverythingIsClean)
{
    given_group(5, {0x0800, 0x0806});
    given_member(10, 1);
    given_member(20, 1, true);
    given_protocol_member(20, 3, 5);
    given_static(10, sales_static, 1);
    given_static(10, sales_system, 9, fil_flag_no_port, permit_system);
    given_learned(10, sales_learned, 3, 100, 5);
    given_learned(10, sales_neighbour, 1, 200, 6);
    given_local(1, local);
    for (const u32 number : {7u, 8u}) given_stream(number);
    given_bound(7, 3, 1);
    for (const u32 number : {56u, 57u, 58u}) given_queue(number);
    given_attached(57, 7, 2);
    given_attached(56, 7, 2);
    given_profile(4);
    for (int i = 0; i < 3; ++i) given_line(4);
    given_bound(4, 1, 20, {1, 2, 3, 4});
    done(zelfdb_create_mirror(2, &code));
    done(zelfdb_set_mirror_source(2, 3, 1, 0, &code));
    done(zelfdb_set_mirror_dest(2, 3, &code));
    done(zelfdb_enable_mirror(2, &code));
    expect_clean();
}

// Taken away again in another order, so that back links of both rules are about.
TEST_F(Checked, ListsWhoseFirstRecordsWentAreClean)
{
    for (const u32 number : {7u, 8u, 9u}) given_stream(number);
    done(zelfdb_delete_stream(7, &code));
    done(zelfdb_delete_port(1, &code));
    done(zelfdb_delete_vlan(10, &code));
    given_port(2);
    expect_clean();
}

TEST_F(Checked, EntriesThatTheNpRefused)
{
    recorder::answer_add(-1);
    const Offset first = header().fil_free;
    refused(zelfdb_create_sfil(10, mac(0x02AA).byte, 1, 0, 0, &code));
    const Fil& user = record_at<Fil>(fdb(), first);
    expect_notices({notice("entry records", "number taken", &user, "1", "0")});
    const Offset second = header().fil_free;
    refused(zelfdb_create_lfil(1, mac(0x02AB).byte, 0, permit_system, &code));
    const Fil& system = record_at<Fil>(fdb(), second);
    expect_notices({notice("entry records", "number taken", &user, "1", "0"),
                    notice("entry records", "number taken", &system, "1", "0")});
}

TEST_F(Checked, LearnedEntryThatTheNpRefused)
{
    given_member(10, 1);
    port(1)->p_flag = pflag_learn | pflag_untagged;
    recorder::answer_add(-1);
    const Offset first = header().fil_free;
    const FrameBytes frame = untagged_frame(mac(0x0222));
    const zelfdb_learn_ind learned = indication(1);
    refused(zelfdb_add_dfil_by_learn_ind(&d(), &frame, &learned));
    expect_notices({notice("entry records", "number taken", &record_at<Fil>(fdb(), first), "1", "0")});
}

TEST_F(Checked, EntriesOfAVlanDeletedWithoutMemoryToClearIt)
{
    const Fil& lower = given_learned(20, mac(0x0240), 3);
    const Fil& kept = given_learned(10, mac(0x0240), 3);
    const Fil& lowest = given_static(20, mac(0x0241), 3);
    EXPECT_GT(&lower, &kept);
    environment::fail("malloc", ENOMEM, 2, 2);  // the first is the descriptor
    done(zelfdb_delete_vlan(20, &code));
    expect_notices({notice("header", "nfil_usr_all", &header().nfil_usr_all, "3", "1"),
                    notice("entry records", "number taken", &lowest, "2", "0")});
}

TEST_F(Checked, LearnedEntriesOfADeletedPort)
{
    given_port(5);
    given_learned(10, mac(0x0205), 5);
    const Fil& first = given_learned(10, mac(0x0105), 5);
    done(zelfdb_delete_port(5, &code));
    expect_notices({notice("VLAN 10", "entries of no port", &first, "2", "0")});
}

TEST_F(Checked, ObjectsThatNoLookUpFindsEvenTwice)
{
    std::vector<Finding> wanted;
    const auto newest = [this](Offset free) { return free; };
    const auto port_made = [&](u32 id, const char* name, const char* found) {
        const Offset record = newest(header().port_free);
        done(zelfdb_create_port(id, 0, 0, &code));
        wanted.push_back(notice(name, "ID", &record_at<Port>(base(), record).PortID, found, "at most 199"));
    };
    port_made(200, "port 200", "200");
    port_made(200, "port 200", "200");
    port_made(0xFFFFFFFF, "port -1", "-1");
    for (int i = 0; i < 2; ++i) {
        const auto& stream = record_at<Stream>(base(), header().stream_free);
        const auto& queue = record_at<Queue>(base(), header().queue_free);
        const auto& profile = record_at<Classify>(base(), header().classify_free);
        given_stream(5000);
        given_queue(9000);
        given_profile(65);
        wanted.push_back(notice("stream 5000", "ID", &stream.streamno, "5000", "at most 1023"));
        wanted.push_back(notice("queue 9000", "ID", &queue.queueno, "9000", "at most 8191"));
        wanted.push_back(notice("profile 65", "ID", &profile.ID, "65", "at most 64"));
    }
    expect_notices(wanted);
}

TEST_F(Checked, PvidWithoutAChain)
{
    zelfdb_port_param param{};
    param.PVID = 9000;
    done(zelfdb_set_param_to_port(3, &param, 0, 0, 0x20, 0, &code));
    expect_notices({notice("port 3", "PVID", &port(3)->PVID, "9000", "at most 8191")});
}

TEST_F(Checked, PvidSetAnewSinceThePortJoined)
{
    given_member(10, 3);
    zelfdb_port_param param{};
    param.PVID = 20;
    done(zelfdb_set_param_to_port(3, &param, 0, 0, 0x20, 0, &code));
    expect_notices({notice("port 3", "PVID", &port(3)->PVID, "20", "10")});
}

TEST_F(Checked, StaleUntaggedCounts)
{
    given_member(10, 1);
    done(zelfdb_rem_port_from_vlan(10, 1, &code));
    const Finding vlan_count = notice("VLAN 10", "upv", &vlan(10)->upv, "1", "0");
    expect_notices({notice("port 1", "upv", &port(1)->upv, "4294967295", "0"), vlan_count});
    // The next port in the record starts with what is there.
    done(zelfdb_delete_port(1, &code));
    expect_notices({vlan_count});
    given_port(7);
    expect_notices({notice("port 7", "upv", &port(7)->upv, "4294967295", "0"), vlan_count});
}

TEST_F(Checked, PhysicalPortLeftMarkedWhenNoPortWasFree)
{
    for (const u32 id : {11u, 12u, 13u, 14u, 15u, 16u}) given_port(id);
    refused(zelfdb_create_port(17, 4, ZELFDB_PORT_ETHER, &code));
    const Phport& phport = *lookup_phport(base(), header(), 4);
    expect_notices({notice("physical port 4", "bound", &phport.bound, "1", "0")});
}

TEST_F(Checked, PhysicalPortOfAPortThatWasGivenAnother)
{
    zelfdb_port_param param{};
    param.phport = 3;
    done(zelfdb_set_param_to_port(1, &param, 0, 0, 0x08, 0, &code));
    expect_notices({notice("physical port 2", "bound", &lookup_phport(base(), header(), 2)->bound, "1", "0"),
                    notice("physical port 3", "bound", &lookup_phport(base(), header(), 3)->bound, "0", "1")});
}

TEST_F(Checked, MembershipByProtocolOfAPortWhoseTableIsFull)
{
    init(4, 9, 4);
    given_port(3);
    given_group(5, {0x0800});
    for (u16 vid = 1; vid <= 9; ++vid) {
        given_vlan(vid, "v" + std::to_string(vid));
        given_protocol_member(vid, 3, 5, true);
    }
    expect_notices({notice("membership of port 3 in VLAN 9", "binding", &pv(9, 3), "in no row of the port", "in one")});
}

TEST_F(Checked, MembershipsByProtocolWithSeveralGroupsAreClean)
{
    given_group(5, {0x0800});
    given_group(6, {0x0806});
    given_protocol_member(10, 3, 5, true);
    given_protocol_member(10, 3, 6, true);
    expect_clean();
    done(zelfdb_rem_port_from_vlan(10, 3, &code));
    expect_clean();
}

TEST_F(Checked, StreamOfADeletedPortEvenWhenThePortIsMadeAnew)
{
    given_port(5);
    given_stream(8);
    given_bound(8, 5, 1);
    done(zelfdb_delete_port(5, &code));
    const auto stale = notice("stream 8", "portno", &stream(8).portno, "5", "a port whose list it is on");
    expect_notices({stale});
    given_port(5);
    expect_notices({stale});
}

// Written directly: it is what binding has to refuse.
TEST_F(Checked, StreamWithAPlaceOnNoPort)
{
    given_stream(8);
    stream(8).sno_port = 9;
    expect_notices({notice("stream 8", "sno_port", &stream(8).sno_port, "9", "0")});
}

TEST_F(Checked, QueueDeletedWhileAttached)
{
    given_stream(7);
    for (const u32 number : {56u, 57u}) given_queue(number);
    for (const u32 number : {56u, 57u}) given_attached(number, 7, 2);
    Queue& deleted = queue(56);
    Queue& behind = queue(57);
    done(zelfdb_delete_queue(56, &code));
    expect_notices({notice("queue list of stream 7 class 2", "queue", &deleted, hex(at(deleted)), "a queue in use")});
    given_queue(60);  // the same record, which cuts the list that still leads to it
    expect_notices(
        {notice("queue 60", "streamno", &deleted.streamno, "stream 0 class 0", "stream 7 class 2"),
         notice("queue 57", "streamno", &behind.streamno, "stream 7 class 2", "a slot whose list it is on")});
}

TEST_F(Checked, QueueDeletedWhileAttachedWhereFreshQueuesSeemToBe)
{
    given_stream(0);
    for (const u32 number : {5u, 6u}) given_queue(number);
    for (const u32 number : {5u, 6u}) given_attached(number, 0, 0);
    done(zelfdb_delete_queue(6, &code));
    given_queue(9);  // the same record: a fresh queue, and the list's second
    expect_notices(
        {notice("queue list of stream 0 class 0", "prev", &queue(9).stream_link.prev, "none", hex(at(queue(5))))});
}

TEST_F(Checked, QueueOfADeletedStream)
{
    given_stream(7);
    given_queue(56);
    given_attached(56, 7, 2);
    done(zelfdb_delete_stream(7, &code));
    const auto stale =
        notice("queue 56", "streamno", &queue(56).streamno, "stream 7 class 2", "a slot whose list it is on");
    expect_notices({stale});
    given_stream(7);
    expect_notices({stale});
}

TEST_F(Checked, QueueAttachedToAClassWithoutASlot)
{
    given_stream(7);
    given_queue(56);
    given_attached(56, 7, 9);
    expect_notices(
        {notice("queue 56", "streamno", &queue(56).streamno, "stream 7 class 9", "a slot whose list it is on")});
}

TEST_F(Checked, QueueDetachedFromAnotherPlaceThanItsOwn)
{
    given_stream(7);
    given_queue(56);
    given_attached(56, 7, 2);
    done(zelfdb_rem_queue_from_stream(56, 7, 3, &code));
    expect_notices({notice("queue 56", "streamno", &queue(56).streamno, "stream 0 class 0", "stream 7 class 2")});
}

// As a process leaves it that dies on its way from the one counter to the other. History goes on over the end of 32 bits.
TEST_F(Checked, HistoryThatDoesNotAddUp)
{
    given_member(10, 1);
    u32(&history)[7] = header().history;
    for (const u32 made : {ports_created, vlans_created, ports_added_to_vlans}) {
        for (const u32 counter : {made, made + 1}) history[counter] += 0xFFFFFFFE;
    }
    expect_clean();
    ++history[ports_created];
    ++history[vlans_deleted];
    --history[ports_added_to_vlans];
    expect_notices({notice("header", "history of ports", &history[ports_created], "3", "2"),
                    notice("header", "history of VLANs", &history[vlans_created], "1", "2"),
                    notice("header", "history of memberships", &history[ports_added_to_vlans], "0", "1")});
}

TEST_F(Checked, BudgetLoweredByFailedCreations)
{
    given_queue(1, 100);
    recorder::fail_always(recorder::Failure::status);
    refused(zelfdb_create_queue(2, 300, 0, &code));
    const Report report = check(d());
    expect_notices({notice("header", "free_qsize", &header().free_qsize, "65136", "65436")});
    EXPECT_THAT(listed(report), testing::HasSubstr("have lowered it by 300"));
}

TEST_F(Checked, BudgetThatASizeBeyond16BitsTook)
{
    given_queue(1, 65536);
    expect_notices({notice("header", "free_qsize", &header().free_qsize, "0", "65536")});
}

TEST_F(Checked, BudgetRaisedByNegativeSizes)
{
    given_queue(1, -1);
    const Report report = check(d());
    expect_notices({notice("header", "free_qsize", &header().free_qsize, "65537", "1")});
    EXPECT_THAT(listed(report), testing::HasSubstr("have raised it by 65536"));
}

}  // namespace
}  // namespace zelfdb
