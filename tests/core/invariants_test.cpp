// The check that ends every test of this project: it finds each kind of damage, and none where there is none.
#include "support/invariants.h"

#include "core/furnished.h"
#include "core/seed.h"
#include "core/segments.h"

namespace zelfdb {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

using Healthy = FurnishedDatabase;

TEST_F(Healthy, FreshDatabaseIsHealthy)
{
    init(default_nport, default_nvlan, default_nfil);
    EXPECT_THAT(broken_invariants(d()), IsEmpty());
}

TEST_F(Healthy, DatabaseWithoutPortsAndVlansIsHealthy)
{
    init(0, 0, 1);
    EXPECT_THAT(broken_invariants(d()), IsEmpty());
}

TEST_F(Healthy, FurnishedDatabaseIsHealthy) { EXPECT_THAT(broken_invariants(d()), IsEmpty()); }

TEST_F(Healthy, EntryThatTheNpRefusedStaysTakenAndIsNoDamage)
{
    u32 err = 0;
    recorder::answer_add(-1);
    EXPECT_EQ(-1, zelfdb_create_sfil(10, mac(0x02AA).byte, 1, 0, 0, &err));
    EXPECT_EQ(-1, zelfdb_create_lfil(1, mac(0x02AB).byte, 0, permit_system, &err));
    EXPECT_THAT(broken_invariants(d()), IsEmpty());
}

TEST_F(Healthy, EntriesOfAVlanDeletedWithoutMemoryToClearItStayCountedAndAreNoDamage)
{
    u32 err = 0;
    given_vlan(40, "gone");
    given_learned(40, mac(0x0240), 3);
    environment::fail("malloc", ENOMEM, 2, 2);  // the first is the descriptor
    ASSERT_EQ(0, zelfdb_delete_vlan(40, &err));
    EXPECT_EQ(5u, header().nfil_usr_all);
    EXPECT_THAT(broken_invariants(d()), IsEmpty());
}

TEST_F(Healthy, LearnedEntryOfADeletedPortIsNoDamage)
{
    given_port(5);
    given_learned(10, mac(0x0205), 5);
    u32 err = 0;
    ASSERT_EQ(0, zelfdb_delete_port(5, &err));
    EXPECT_THAT(broken_invariants(d()), IsEmpty());
}

TEST_F(Healthy, ObjectsThatNoLookUpFindsAreNoDamageEvenTwice)
{
    u32 err = 0;
    for (const u32 id : {200u, 200u, 300u, 0xFFFFFFFFu}) ASSERT_EQ(0, zelfdb_create_port(id, 0, 0, &err));
    for (int i = 0; i < 2; ++i) {
        given_stream(5000);
        given_queue(9000);
        given_profile(65);
    }
    EXPECT_THAT(broken_invariants(d()), IsEmpty());
}

TEST_F(Healthy, QueueDeletedWhileAttachedIsNoDamage)
{
    done(zelfdb_delete_queue(56, &code));
    EXPECT_THAT(broken_invariants(d()), IsEmpty());
    given_queue(60);  // the same record, which cuts the list that still leads to it
    EXPECT_THAT(broken_invariants(d()), IsEmpty());
}

TEST_F(Healthy, StreamOfADeletedPortIsNoDamage)
{
    given_port(5);
    given_bound(8, 5, 1);
    done(zelfdb_delete_port(5, &code));
    EXPECT_THAT(broken_invariants(d()), IsEmpty());
    given_port(5);
    EXPECT_THAT(broken_invariants(d()), IsEmpty());
}

TEST_F(Healthy, StaleUntaggedCountsAreNoDamage)
{
    u32 err = 0;
    ASSERT_EQ(0, zelfdb_rem_port_from_vlan(10, 1, &err));
    EXPECT_EQ(0xFFFFFFFFu, port(1)->upv);
    EXPECT_EQ(2u, vlan(10)->upv);
    EXPECT_THAT(broken_invariants(d()), IsEmpty());
}

// One thing damaged, and the finding that it must lead to.
struct Damage {
    const char* name;
    void (*make)(FurnishedDatabase& db);
    const char* finding;
};
using Damages = std::vector<Damage>;

using Db = FurnishedDatabase;

template <class Record, std::size_t count>
void set_name(Record& record, const char (&name)[count])
{
    std::memcpy(record.name, name, count - 1);
}

const Damages headers = {
    {"HistoryCounter4", [](Db& db) { db.header().history[4] = 2; }, "history counter 4 is 2"},
    {"UnusedWord", [](Db& db) { db.header().unused8354 = 16; }, "the unused header word is 0x10"},
    {"PortsBeyondTheSegment", [](Db& db) { db.header().nport = 3000000; }, "more than the main segment has"},
    {"CountsBeyondAllSegments", [](Db& db) { db.header().nvlan = 0xFFFFFFFF; }, "more than the main segment has"},
    {"PortCount", [](Db& db) { ++db.header().port_count; }, "port_count is 5, not 4"},
    {"VlanCount", [](Db& db) { --db.header().vlan_count; }, "vlan_count is 2, not 3"},
    {"StreamTotal", [](Db& db) { ++db.header().stream_total; }, "stream_total is 4, not 3"},
    {"QueueTotal", [](Db& db) { ++db.header().queue_total; }, "queue_total is 5, not 4"},
    {"UserEntries", [](Db& db) { --db.header().nfil_usr_all; }, "nfil_usr_all is 3, not 4"},
    {"SystemEntries", [](Db& db) { ++db.header().nfil_sys_all; }, "nfil_sys_all is 2, not 1"},
};

const Damages links = {
    {"ForwardLinkBesideARecord", [](Db& db) { db.port(3)->port_link.next.value += 4; }, ", where no port lies"},
    {"ForwardLinkOutsideTheSegment", [](Db& db) { db.vlan(20)->vlan_link.next = {0xFFFFFFF0}; },
     "vlan list leads to 0xfffffff0, where no vlan lies"},
    {"ForwardLinkBeforeThePool", [](Db& db) { db.header().stream_head = {0}; },
     "stream list leads to 0x0, where no stream lies"},
    {"ListInACircle", [](Db& db) { db.port(7)->port_link.next = db.header().port_head; },
     "which is on port list already"},
    {"RecordInUseAndFree", [](Db& db) { db.header().phport_free = db.header().phport_head; },
     "which is on free phport list"},
    {"FreeListInACircle",
     [](Db& db) { record_at<Action>(db.base(), db.header().action_free).link.next = db.header().action_free; },
     "which is on free action list already"},
    {"BackLink", [](Db& db) { db.port(3)->port_link.prev = {0}; }, "links back to 0x0, it follows"},
    {"BackLinkOfTheFirst", [](Db& db) { db.port(1)->port_link.prev = db.at(*db.port(3)); }, "it follows none"},
    {"BackLinkOnAFreeList",
     [](Db& db) {
         auto& second = record_at<Classify>(db.base(), db.header().classify_free).classify_link.next;
         record_at<Classify>(db.base(), second).classify_link.prev = none;
     },
     "free classify list: "},
    {"PortRecordLost", [](Db& db) { alloc_port(db.base(), db.header()); },
     "1 port records are neither free nor in use, the first at "},
    {"VlanRecordLost", [](Db& db) { alloc_vlan(db.base(), db.header()); },
     "1 vlan records are neither free nor in use"},
    {"StreamRecordLost", [](Db& db) { alloc_stream(db.base(), db.header()); },
     "1 stream records are neither free nor in use"},
    {"QueueRecordLost", [](Db& db) { alloc_queue(db.base(), db.header()); },
     "1 queue records are neither free nor in use"},
    {"ClassifyRecordLost", [](Db& db) { alloc_classify(db.base(), db.header()); },
     "1 classify records are neither free nor in use"},
    {"ActionRecordLost", [](Db& db) { alloc_action(db.base(), db.header()); },
     "1 action records are neither free nor in use"},
    {"PhportLost", [](Db& db) { db.header().phport_head = none; }, "4 phport records are neither free nor in use"},
};

const Damages orders = {
    {"PhportList", [](Db& db) { lookup_phport(db.base(), db.header(), 2)->ID = 5; }, "phport list: 3 stands behind 5"},
    {"PortList", [](Db& db) { db.port(3)->PortID = 8; }, "port list: 7 stands behind 8"},
    {"PortListSigned", [](Db& db) { db.port(3)->PortID = 0xFFFFFFFE; }, "port list: -2 stands behind 1"},
    {"VlanList", [](Db& db) { db.vlan(20)->VID = 31; }, "vlan list: 30 stands behind 31"},
    {"VlanListTwice", [](Db& db) { db.vlan(20)->VID = 30; }, "vlan list: 30 stands behind 30"},
    {"StreamList", [](Db& db) { db.stream(8).streamno = 10; }, "stream list: 9 stands behind 10"},
    {"QueueList", [](Db& db) { db.queue(57).queueno = 60; }, "queue list: 58 stands behind 60"},
    {"ClassifyList", [](Db& db) { db.profile(4).ID = 10; }, "classify list: 9 stands behind 10"},
    {"PvidChain", [](Db& db) { db.port(3)->PortID = 0; }, "chain of PVID 10: 0 stands behind 1"},
    {"MembersOfVlan", [](Db& db) { db.pv(10, 3).port_id = 1; }, "pv list of VLAN 10: 1 stands behind 1"},
    {"MembershipsOfPort", [](Db& db) { db.pv(10, 1).VID = 21; }, "pv list of port 1: 20 stands behind 21"},
    {"StreamsOfPort", [](Db& db) { db.stream(7).streamno = 10; }, "stream list of port 3: 9 stands behind 10"},
    {"QueuesOfSlot", [](Db& db) { db.queue(56).queueno = 57; }, "queue list of stream 7 class 2: 57 stands behind 57"},
    {"BoundMemberships", [](Db& db) { db.pv(10, 3).VID = 21; }, "pv list of profile 4: 20 stands behind 21"},
};

const Damages indexes = {
    {"PhportSlot", [](Db& db) { std::swap(db.header().phport_index[0], db.header().phport_index[1]); },
     "phport index: slot 1 holds"},
    {"PortWithoutSlot", [](Db& db) { db.header().port_index[3 - 1] = none; },
     "port index: slot 3 holds none, the record lies at"},
    {"PortSlotOfAnother", [](Db& db) { db.header().port_index[4 - 1] = db.at(*db.port(3)); },
     "port index: slot 4 holds"},
    {"PortSlotOfAFreeRecord", [](Db& db) { db.header().port_index[0] = db.header().port_free; },
     "port index: slot 1 holds"},
    {"PortSlot200", [](Db& db) { db.header().port_index[199] = db.at(*db.port(3)); }, "port index: slot 200 holds"},
    {"VlanSlot", [](Db& db) { db.header().vlan_index[8191] = db.at(*db.vlan(10)); }, "vlan index: slot 8191 holds"},
    {"VlanWithoutSlot", [](Db& db) { db.header().vlan_index[30] = none; }, "vlan index: slot 30 holds none"},
    {"StreamSlot", [](Db& db) { db.header().stream_index[0] = {7}; }, "stream index: slot 0 holds 0x7"},
    {"QueueSlot", [](Db& db) { db.header().queue_index[8191] = {7}; }, "queue index: slot 8191 holds 0x7"},
    {"ClassifySlot", [](Db& db) { db.header().classify_index[63] = {7}; }, "classify index: slot 64 holds 0x7"},
    {"NameOfAnotherBucket", [](Db& db) { set_name(*db.vlan(10), "seles"); },
     "holds VLAN 10, whose name belongs to bucket"},
    {"NameInNoBucket", [](Db& db) { hRem_vlan_by_vlanname(db.base(), db.header(), *db.vlan(10)); },
     "VLAN 10 is in no name bucket"},
    {"NameBucketOfAFreeRecord", [](Db& db) { db.header().vlan_name[0] = db.header().vlan_free; },
     "name bucket 0 leads to"},
    {"NameBackLink", [](Db& db) { db.vlan(20)->name_link.prev = {8}; }, "name bucket 195: "},
    {"PvidChainOfAnother", [](Db& db) { db.port(1)->PVID = 11; }, "chain of PVID 10 holds port 1, whose PVID is 11"},
    {"PortInNoPvidChain", [](Db& db) { db.header().pvid_chain[10] = none; },
     "port 3 is not in the chain of its PVID 10"},
    {"PvidChainOfAFreeRecord", [](Db& db) { db.header().pvid_chain[8191] = db.header().port_free; },
     "where no port is in use"},
    {"PvidChainBackLink", [](Db& db) { db.port(3)->pvid_link.prev = {8}; }, "chain of PVID 10: "},
};

const Damages fields = {
    {"NumberOfPhports",
     [](Db& db) {
         Phport& phport = *lookup_phport(db.base(), db.header(), 4);
         deQ_phport(db.base(), db.header(), phport);
         unindex_phport(db.header(), phport);
         free_phport(db.base(), db.header(), &phport);
     },
     "number of phports is 3, not 4"},
    {"PhportId", [](Db& db) { lookup_phport(db.base(), db.header(), 4)->ID = 5; }, "phport 5 has no such ID"},
    {"PhportBound", [](Db& db) { lookup_phport(db.base(), db.header(), 4)->bound = 2; }, "phport 4: bound is 2"},
    {"PortFid", [](Db& db) { db.port(3)->fdb.FID = 3; }, "port 3: FID is 0x3"},
    {"PortFdbKind", [](Db& db) { db.port(3)->fdb.kind = kind_vlan_fdb; }, "port 3: kind of FDB is 4"},
    {"PortBindings", [](Db& db) { db.port(3)->npg = 9; }, "port 3: npg is 9"},
    {"PortBreaker", [](Db& db) { db.port(3)->sldbkr_state = 3; }, "port 3: sldbkr_state is 3"},
    {"PortPadding", [](Db& db) { db.port(3)->pad14[1] = 1; }, "port 3: bytes 14 and 15 are not 0"},
    {"VlanId", [](Db& db) { db.vlan(30)->VID = 4095; }, "VLAN 4095 has no VID of 1..4094"},
    {"VlanFid", [](Db& db) { db.vlan(30)->fdb.FID = 31; }, "VLAN 30: FID is 0x1f"},
    {"VlanFdbKind", [](Db& db) { db.vlan(30)->fdb.kind = kind_port_fdb; }, "VLAN 30: kind of FDB is 1"},
    {"VlanNameTooLong", [](Db& db) { set_name(*db.vlan(30), "0123456789012345678901234567890"); },
     "VLAN 30: the name has more than 30 characters"},
    {"VlanNameTwice", [](Db& db) { set_name(*db.vlan(30), "ab"); }, "another VLAN has the name \"ab\" too"},
    {"TwoVirtualInterfaces", [](Db& db) { db.port(1)->p_type = port_type_vif; },
     "VLAN 20 has more than one virtual-interface member"},
};

const Damages memberships = {
    {"CountOfVlan", [](Db& db) { ++db.vlan(10)->npv; }, "VLAN 10: npv is 3, not 2"},
    {"CountOfPort", [](Db& db) { --db.port(3)->npv; }, "port 3: npv is 1, not 2"},
    {"VidOfAnother", [](Db& db) { db.pv(10, 1).VID = 11; },
     "pv list of VLAN 10 holds a membership of port 1 in VLAN 11"},
    {"PortOfAnother", [](Db& db) { db.pv(10, 3).port_id = 7; },
     "pv list of port 3 holds a membership of port 7 in VLAN 10"},
    {"PortThatIsNotThere", [](Db& db) { db.pv(10, 3).port_id = 4; },
     "membership of port 4 in VLAN 10: there is no such port"},
    {"Flag", [](Db& db) { db.pv(10, 3).pv_flag = 4; }, "membership of port 3 in VLAN 10: pv_flag is 0x4"},
    {"RecordLost", [](Db& db) { alloc_pv(db.base(), db.header(), *db.vlan(10)); },
     "VLAN 10 has 7 pv records, free and in use, not 8"},
    {"RecordLostOfAnUnusedVlan", [](Db& db) { record_at<Vlan>(db.base(), db.header().vlan_free).pv_free = none; },
     " has 0 pv records, free and in use"},
    {"RecordOfAnotherVlan", [](Db& db) { std::swap(db.vlan(10)->pv_free, db.vlan(20)->pv_free); }, " of another VLAN"},
    {"FreeAndInUse", [](Db& db) { db.vlan(10)->pv_free = db.vlan(10)->pv_head; },
     "which is on free pv list of VLAN 10"},
    {"OnNoListOfThePort", [](Db& db) { deQ_pv_in_a_port(db.base(), db.header(), *db.vlan(10), db.pv(10, 3)); },
     "membership of port 3 in VLAN 10 is not on the port's list"},
    {"FreeOnThePortsList", [](Db& db) { db.port(3)->pv_head = db.vlan(10)->pv_free; }, "pv list of port 3 leads to"},
    {"BackLinkOfVlan", [](Db& db) { db.pv(10, 3).vlan_link.prev = {8}; }, "pv list of VLAN 10: "},
    {"BackLinkOfPort", [](Db& db) { db.pv(20, 1).port_link.prev = {8}; }, "pv list of port 1: "},
    {"LinkIntoTheVlanRecord", [](Db& db) { db.pv(10, 3).vlan_link.next = db.at(*db.vlan(10)); }, ", where no pv lies"},
};

const Damages groups = {
    {"TooMany", [](Db& db) { db.header().prot_groups.count = 9; }, "number of protocol groups is 9"},
    {"Twice", [](Db& db) { db.header().prot_groups.group[1].group = 5; }, "protocol group 5 is there twice"},
    {"TooManyProtocols", [](Db& db) { db.header().prot_groups.group[1].nprot = 9; }, "protocol group 6: nprot is 9"},
    {"ProtocolTwice", [](Db& db) { db.header().prot_groups.group[1].prot[0] = 0x0806; },
     "protocol group 6: protocol 0x806 is in a group already"},
    {"UnusedRow", [](Db& db) { db.header().prot_groups.group[2].group = 7; }, "unused protocol group row 2 is not 0"},
    {"UnusedProtocol", [](Db& db) { db.header().prot_groups.group[1].prot[7] = 7; },
     "protocol group 6: unused protocol 7 is not 0"},
    {"BindingWithoutMembership", [](Db& db) { db.port(3)->prot[0].VID = 10; },
     "port 3: binding of group 5 to VLAN 10 without such a membership"},
    {"BindingWithoutGroup", [](Db& db) { db.port(3)->prot[0].group = 9; },
     "port 3: binding of group 9 to VLAN 30 through a group that is not there"},
};

const Damages entries = {
    {"Bucket", [](Db& db) { db.entry(10, db.sales_static).mac.byte[0] = 4; },
     "VLAN 10: entry 04:00:00:00:00:01 is in bucket 3, not 5"},
    {"Owner", [](Db& db) { db.entry(10, db.sales_static).offset = db.at(db.vlan(20)->fdb); }, "as its own"},
    {"LocalTypeInAVlan", [](Db& db) { db.entry(10, db.sales_static).fil_type = fil_local; },
     "VLAN 10: entry 02:00:00:00:00:01 has type 1"},
    {"UnknownType", [](Db& db) { db.entry(10, db.sales_static).fil_type = 0; }, "02:00:00:00:00:01 has type 0"},
    {"StaticTypeInAPort", [](Db& db) { db.local_entry().fil_type = fil_static; },
     "port 1: entry 02:00:00:00:00:21 has type 2"},
    {"LocalWithPort", [](Db& db) { db.local_entry().port = 1; }, "is local and names port 1"},
    {"LearnedWithPermit", [](Db& db) { db.entry(10, db.sales_learned).fil_permit = 1; }, "is learned and has permit 1"},
    {"StaticWithTime", [](Db& db) { db.entry(10, db.sales_static).last_seen = 1; }, "is not learned and has a time"},
    {"Twice", [](Db& db) { db.entry(10, db.sales_neighbour).mac = db.sales_learned; },
     "VLAN 10: entry 02:00:00:00:00:11 is there twice"},
    {"CountAll", [](Db& db) { ++db.vlan(10)->fdb.nfil; }, "VLAN 10: nfil is 5, not 4"},
    {"CountDynamic", [](Db& db) { --db.vlan(10)->fdb.nfil_d; }, "VLAN 10: nfil_d is 1, not 2"},
    {"CountUser", [](Db& db) { ++db.vlan(10)->fdb.nfil_usr; }, "VLAN 10: nfil_usr is 4, not 3"},
    {"CountSystem", [](Db& db) { ++db.port(1)->fdb.nfil_sys; }, "port 1: nfil_sys is 1, not 0"},
    {"BackLink", [](Db& db) { db.entry(10, db.sales_learned).link.prev = {4}; }, "VLAN 10: MAC bucket 19: "},
    {"ChainOutsideTheSegment", [](Db& db) { db.vlan(30)->fdb.bucket[9] = {32 * 44}; }, ", where no fil lies"},
    {"ChainIntoAFreeEntry", [](Db& db) { db.vlan(30)->fdb.bucket[9] = db.header().fil_free; },
     "which is on free fil list"},
    {"ChainIntoAnotherDatabase", [](Db& db) { db.port(3)->fdb.bucket[3] = db.vlan(10)->fdb.bucket[3]; },
     "which is on port 3: MAC bucket 3"},
};

const Damages bindings = {
    {"StreamOfAnotherPort", [](Db& db) { db.stream(7).portno = 1; },
     "stream list of port 3 holds stream 7, which is bound to port 1"},
    {"StreamThatIsNotThere", [](Db& db) { db.port(1)->stream_head = db.header().stream_free; },
     "where no stream is in use"},
    {"StreamBackLink", [](Db& db) { db.stream(9).port_link.prev = {8}; }, "stream list of port 3: "},
    {"QueueBackLink", [](Db& db) { db.queue(57).stream_link.prev = {8}; }, "queue list of stream 7 class 2: "},
    {"QueueListIntoNothing", [](Db& db) { db.stream(8).slot[7].queue_head = {8}; },
     "queue list of stream 8 class 7 leads to 0x8, where no queue lies"},
    {"QueueOnTwoSlots", [](Db& db) { db.stream(9).slot[1].queue_head = db.stream(9).slot[0].queue_head; },
     "which is on queue list of stream 9 class 0"},
    {"LinePosition", [](Db& db) { db.line(4, 2).position = 7; }, "line list of profile 4: line 2 has position 7"},
    {"LineCount", [](Db& db) { ++db.profile(4).naction; }, "profile 4: naction is 4, not 3"},
    {"LineBackLink", [](Db& db) { db.line(4, 2).link.prev = {8}; }, "line list of profile 4: "},
    {"TooManyLines",
     [](Db& db) {
         for (int i = 0; i < 257; ++i) {
             Action& line = *alloc_action(db.base(), db.header());
             line.position = 0;
             enQ_action(db.base(), db.header(), db.profile(9), line);
         }
     },
     "line list of profile 9 has 257 lines"},
    {"BoundButNotListed", [](Db& db) { db.pv(10, 1).classify = 9; },
     "membership of port 1 in VLAN 10 names profile 9 and is not on a profile's list"},
    {"ListedButNotBound", [](Db& db) { db.pv(20, 1).classify = 0; },
     "membership of port 1 in VLAN 20 names profile 0 and is on a profile's list"},
    {"ListedElsewhere", [](Db& db) { db.pv(20, 1).classify = 9; },
     "pv list of profile 4 holds a membership of port 1 in VLAN 20, bound to 9"},
    {"FreeMembershipListed", [](Db& db) { db.profile(9).pv_head = db.vlan(30)->pv_free; }, "where no pv is in use"},
    {"BoundBackLink", [](Db& db) { db.pv(20, 1).classify_link.prev = {8}; }, "pv list of profile 4: "},
};

const Damages mirrors = {
    {"State", [](Db& db) { db.header().mirror[0].state = 4; }, "mirror 1: state is 4"},
    {"EnabledButNotCreated", [](Db& db) { db.header().mirror[1].state = 2; }, "mirror 2: state is 2"},
    {"EnabledWithoutSource", [](Db& db) { db.header().mirror[1].source_kind = 0; },
     "mirror 2 is enabled without a source"},
    {"EnabledWithoutDestination", [](Db& db) { db.header().mirror[1].dest_port = 0; },
     "mirror 2 is enabled without a destination"},
    {"EnabledOntoItself", [](Db& db) { db.header().mirror[1].dest_port = 1; },
     "mirror 2 is enabled and copies what port 1 sends to port 1"},
};

// Damages of one subject.
struct Subject {
    const char* name;
    const Damages* damages;
};

void PrintTo(const Subject& subject, std::ostream* out) { *out << subject.name; }

class Damaged : public FurnishedDatabase, public testing::WithParamInterface<Subject> {
protected:
    Damaged() { expect_damage(); }
    void SetUp() override
    {
        FurnishedDatabase::SetUp();
        healthy_ = snapshot();
    }
    void heal()
    {
        std::copy(healthy_.main.begin(), healthy_.main.end(), base().bytes);
        std::copy(healthy_.fdb.begin(), healthy_.fdb.end(), fdb().bytes);
    }

private:
    Snapshot healthy_;
};

TEST_P(Damaged, EveryDamageIsFound)
{
    for (const Damage& damage : *GetParam().damages) {
        SCOPED_TRACE(damage.name);
        damage.make(*this);
        EXPECT_THAT(broken_invariants(d()), Contains(HasSubstr(damage.finding)));
        heal();
        ASSERT_THAT(broken_invariants(d()), IsEmpty());
    }
}

INSTANTIATE_TEST_SUITE_P(Of, Damaged,
                         testing::Values(Subject{"header", &headers}, Subject{"links", &links},
                                         Subject{"orders", &orders}, Subject{"indexes", &indexes},
                                         Subject{"fields", &fields}, Subject{"memberships", &memberships},
                                         Subject{"groups", &groups}, Subject{"entries", &entries},
                                         Subject{"mirrors", &mirrors}, Subject{"bindings", &bindings}),
                         [](const testing::TestParamInfo<Subject>& subject) { return subject.param.name; });

class AnyBytes : public FurnishedDatabase {
protected:
    AnyBytes() { expect_damage(); }
};

TEST_F(AnyBytes, SegmentThatIsNotAttachedIsFound)
{
    EXPECT_THAT(broken_invariants({nullptr, d().fdb_segment, nullptr}), Contains("there is no main segment"));
    EXPECT_THAT(broken_invariants({d().main_segment, nullptr, nullptr}),
                Contains("the number of entries needs more than the FDB segment has"));
}

TEST_F(AnyBytes, FindingsAreBounded)
{
    for (Offset& chain : header().pvid_chain) chain = {1};
    EXPECT_EQ(61u, broken_invariants(d()).size());
}

// Words anywhere, of the kind that lead somewhere: the check must come to its end with a finding, whatever they are.
TEST_F(AnyBytes, RandomWordsEndTheCheckWithFindings)
{
    Random random;
    SCOPED_TRACE(random.trace());
    const u32 words = static_cast<u32>(layout_of(default_nport, default_nvlan, default_nfil).end / 4);
    const std::vector<u32> healthy(reinterpret_cast<u32*>(base().bytes), reinterpret_cast<u32*>(base().bytes) + words);
    for (int round = 0; round < 30; ++round) {
        auto* const main = reinterpret_cast<u32*>(base().bytes);
        std::copy(healthy.begin(), healthy.end(), main);
        for (int i = 0; i < 2000; ++i) {
            // Not the three counts: they would end the check before it has begun.
            const u32 where =
                3 + random.below(random.once_in(2) ? static_cast<u32>(sizeof(Header) / 4) - 3 : words - 3);
            main[where] = random.once_in(4) ? random.word() : main[3 + random.below(words - 3)];
        }
        for (u32 i = 0; i < 20; ++i) {
            fdb().bytes[random.below(default_nfil * sizeof(Fil))] = static_cast<u8>(random.below(256));
        }
        EXPECT_THAT(broken_invariants(d()), testing::Not(IsEmpty()));
    }
}

}  // namespace
}  // namespace zelfdb
