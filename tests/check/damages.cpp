// Each kind of damage, done to a database that has something of everything, is found: in the right object, at the right
// place, with the value that is there and the one that should be.
#include "check/checking.h"

namespace zelfdb {
namespace {

using Db = FurnishedDatabase;

// The word that the finding must point at, and the two values.
struct WantedFinding {
    const void* word;
    std::string found;
    std::string expected;
};

template <class Word>
WantedFinding at(const Word& word, std::string found, std::string expected)
{
    return {&word, std::move(found), std::move(expected)};
}
// A link, set to lead elsewhere.
WantedFinding at(Offset& link, Offset value, std::string expected)
{
    link = value;
    return {&link, hex(value), std::move(expected)};
}

struct Damage {
    const char* name;
    const char* object;
    const char* field;
    WantedFinding (*make)(Db& db);
};
using Damages = std::vector<Damage>;

template <std::size_t count>
Vlan& set_name(Vlan& vlan, const char (&name)[count])
{
    std::memcpy(vlan.name, name, count - 1);
    return vlan;
}

const Damages headers = {
    {"HistoryCounter4", "header", "history[4]", [](Db& db) { return at(db.header().history[4] = 2, "2", "0"); }},
    {"UnusedWord", "header", "unused8354", [](Db& db) { return at(db.header().unused8354 = 16, "0x10", "0x0"); }},
    {"PortCount", "header", "port_count", [](Db& db) { return at(++db.header().port_count, "5", "4"); }},
    {"VlanCount", "header", "vlan_count", [](Db& db) { return at(--db.header().vlan_count, "2", "3"); }},
    {"StreamTotal", "header", "stream_total", [](Db& db) { return at(++db.header().stream_total, "4", "3"); }},
    {"QueueTotal", "header", "queue_total", [](Db& db) { return at(++db.header().queue_total, "5", "4"); }},
    {"UserEntries", "header", "nfil_usr_all", [](Db& db) { return at(--db.header().nfil_usr_all, "3", "4"); }},
    {"SystemEntries", "header", "nfil_sys_all", [](Db& db) { return at(++db.header().nfil_sys_all, "2", "1"); }},
};

const Damages links = {
    {"ForwardLinkBesideARecord", "port list", "next",
     [](Db& db) {
         Offset& link = db.port(3)->port_link.next;
         return at(link, {link.value + 4}, "none or one of the port records");
     }},
    {"ForwardLinkOutsideTheSegment", "VLAN list", "next",
     [](Db& db) { return at(db.vlan(20)->vlan_link.next, {0xFFFFFFF0}, "none or one of the VLAN records"); }},
    {"ForwardLinkBeforeThePool", "stream list", "head",
     [](Db& db) { return at(db.header().stream_head, {0}, "none or one of the stream records"); }},
    {"ForwardLinkToTheEndOfThePool", "free queue list", "head",
     [](Db& db) {
         const Layout layout = layout_of(8, 6, 32);
         return at(db.header().queue_free, {static_cast<u32>(layout.vlan)}, "none or one of the queue records");
     }},
    {"ListInACircle", "port list", "next",
     [](Db& db) { return at(db.port(7)->port_link.next, db.header().port_head, "no record of the port list"); }},
    {"RecordInUseAndFree", "physical port list", "head",
     [](Db& db) {
         db.header().phport_free = db.header().phport_head;
         return at(db.header().phport_head, hex(db.header().phport_head), "no record of the free physical port list");
     }},
    {"FreeListInACircle", "free line list", "next",
     [](Db& db) {
         const Offset first = db.header().action_free;
         return at(record_at<Action>(db.base(), first).link.next, first, "no record of the free line list");
     }},
    {"BackLink", "port list", "prev",
     [](Db& db) { return at(db.port(3)->port_link.prev, {0}, hex(db.at(*db.port(1)))); }},
    {"BackLinkOfNone", "port list", "prev",
     [](Db& db) { return at(db.port(3)->port_link.prev, none, hex(db.at(*db.port(1)))); }},
    {"BackLinkOfTheFirst", "port list", "prev",
     [](Db& db) { return at(db.port(1)->port_link.prev, db.at(*db.port(3)), "none or " + hex(db.at(*db.port(1)))); }},
    {"BackLinkOnAFreeList", "free profile list", "prev",
     [](Db& db) {
         const Offset first = db.header().classify_free;
         const Offset second = record_at<Classify>(db.base(), first).classify_link.next;
         return at(record_at<Classify>(db.base(), second).classify_link.prev, none, hex(first));
     }},
    {"PortRecordLost", "port records", "number lost",
     [](Db& db) { return at(*alloc_port(db.base(), db.header()), "1", "0"); }},
    {"VlanRecordLost", "VLAN records", "number lost",
     [](Db& db) { return at(*alloc_vlan(db.base(), db.header()), "1", "0"); }},
    {"StreamRecordLost", "stream records", "number lost",
     [](Db& db) { return at(*alloc_stream(db.base(), db.header()), "1", "0"); }},
    {"QueueRecordsLost", "queue records", "number lost",
     [](Db& db) {
         alloc_queue(db.base(), db.header());
         return at(*alloc_queue(db.base(), db.header()), "2", "0");  // the lower one
     }},
    {"ClassifyRecordLost", "profile records", "number lost",
     [](Db& db) { return at(*alloc_classify(db.base(), db.header()), "1", "0"); }},
    {"ActionRecordLost", "line records", "number lost",
     [](Db& db) { return at(*alloc_action(db.base(), db.header()), "1", "0"); }},
    {"PhportsLost", "physical port records", "number lost",
     [](Db& db) {
         db.header().phport_head = none;
         return at(*lookup_phport(db.base(), db.header(), 4), "4", "0");  // the lowest record
     }},
    {"EntryLostWithItsLinks", "entry records", "number lost",
     [](Db& db) {
         Fil& fil = *alloc_fil(db.fdb(), db.header());
         fil.link.prev = {0};  // those that the NP refused have none
         return at(fil, "1", "0");
     }},
};

const Damages orders = {
    {"PhportList", "physical port list", "order",
     [](Db& db) {
         lookup_phport(db.base(), db.header(), 2)->ID = 5;
         return at(*lookup_phport(db.base(), db.header(), 3), "3", "5");
     }},
    {"PortList", "port list", "order",
     [](Db& db) {
         db.port(3)->PortID = 8;
         return at(*db.port(7), "7", "8");
     }},
    {"PortListSigned", "port list", "order",
     [](Db& db) {
         Port& third = *db.port(3);
         third.PortID = 0xFFFFFFFE;
         return at(third, "-2", "1");
     }},
    {"VlanList", "VLAN list", "order",
     [](Db& db) {
         db.vlan(20)->VID = 31;
         return at(*db.vlan(30), "30", "31");
     }},
    {"StreamList", "stream list", "order",
     [](Db& db) {
         db.stream(8).streamno = 10;
         return at(db.stream(9), "9", "10");
     }},
    {"QueueList", "queue list", "order",
     [](Db& db) {
         db.queue(57).queueno = 60;
         return at(db.queue(58), "58", "60");
     }},
    {"ClassifyList", "profile list", "order",
     [](Db& db) {
         db.profile(4).ID = 10;
         return at(db.profile(9), "9", "10");
     }},
    {"PvidChain", "chain of PVID 10", "order",
     [](Db& db) {
         Port& third = *db.port(3);
         third.PortID = 0;
         return at(third, "0", "1");
     }},
    {"MembersOfVlan", "membership list of VLAN 10", "order",
     [](Db& db) {
         Pv& second = db.pv(10, 3);
         second.port_id = 1;
         return at(second, "1", "2");
     }},
    {"MembershipsOfPort", "membership list of port 1", "order",
     [](Db& db) {
         Pv& second = db.pv(20, 1);
         db.pv(10, 1).VID = 21;
         return at(second, "20", "22");
     }},
    {"StreamsOfPort", "stream list of port 3", "order",
     [](Db& db) {
         db.stream(7).streamno = 10;
         return at(db.stream(9), "9", "10");
     }},
    {"QueuesOfSlot", "queue list of stream 7 class 2", "order",
     [](Db& db) {
         db.queue(56).queueno = 57;
         return at(db.queue(57), "57", "58");
     }},
    {"BoundMemberships", "membership list of profile 4", "order",
     [](Db& db) {
         Pv& second = db.pv(20, 1);
         db.pv(10, 3).VID = 21;
         return at(second, "20", "21");
     }},
};

const Damages indexes = {
    {"PhportSlot", "physical port index slot 1", "offset",
     [](Db& db) {
         const auto right = hex(db.header().phport_index[0]);
         std::swap(db.header().phport_index[0], db.header().phport_index[1]);
         return at(db.header().phport_index[0], hex(db.header().phport_index[0]), right);
     }},
    {"PortWithoutSlot", "port index slot 3", "offset",
     [](Db& db) {
         const auto right = hex(db.at(*db.port(3)));
         return at(db.header().port_index[3 - 1], none, right);
     }},
    {"PortSlotOfAnother", "port index slot 4", "offset",
     [](Db& db) { return at(db.header().port_index[4 - 1], db.at(*db.port(3)), "none or its record"); }},
    {"PortSlotOfAFreeRecord", "port index slot 1", "offset",
     [](Db& db) { return at(db.header().port_index[0], db.header().port_free, "none or its record"); }},
    {"PortSlot200", "port index slot 200", "offset",
     [](Db& db) { return at(db.header().port_index[199], db.at(*db.port(3)), "none or its record"); }},
    {"VlanSlot", "VLAN index slot 8191", "offset",
     [](Db& db) { return at(db.header().vlan_index[8191], db.at(*db.vlan(10)), "none or its record"); }},
    {"VlanWithoutSlot", "VLAN index slot 30", "offset",
     [](Db& db) {
         const auto right = hex(db.at(*db.vlan(30)));
         return at(db.header().vlan_index[30], none, right);
     }},
    {"VlanTwice", "VLAN index slot 30", "offset",
     [](Db& db) {
         Vlan& second = *db.vlan(20);
         second.VID = 30;
         return at(db.header().vlan_index[30], hex(db.header().vlan_index[30]), hex(db.at(second)));
     }},
    {"StreamSlot", "stream index slot 0", "offset",
     [](Db& db) { return at(db.header().stream_index[0], {7}, "none or its record"); }},
    {"QueueSlot", "queue index slot 8191", "offset",
     [](Db& db) { return at(db.header().queue_index[8191], {7}, "none or its record"); }},
    {"ClassifySlot", "profile index slot 64", "offset",
     [](Db& db) { return at(db.header().classify_index[63], {7}, "none or its record"); }},
    {"PortZero", "port 0", "ID", [](Db& db) { return at(db.port(1)->PortID = 0, "0", "1"); }},
    {"ProfileZero", "profile 0", "ID", [](Db& db) { return at(db.profile(4).ID = 0, "0", "1"); }},
    {"PhportBeyond", "physical port 5", "ID",
     [](Db& db) { return at(lookup_phport(db.base(), db.header(), 4)->ID = 5, "5", "at most 4"); }},
    {"NameOfAnotherBucket", "VLAN 10", "name bucket",
     [](Db& db) { return at(set_name(*db.vlan(10), "seles").name, "24", "28"); }},
    {"NameInNoBucket", "VLAN 10", "name_link",
     [](Db& db) {
         hRem_vlan_by_vlanname(db.base(), db.header(), *db.vlan(10));
         return at(db.vlan(10)->name_link, "in no bucket", "in its name's bucket");
     }},
    {"NameBucketOfAFreeRecord", "name bucket 0", "VLAN",
     [](Db& db) {
         const Offset free = db.header().vlan_free;
         db.header().vlan_name[0] = free;
         return at(record_at<Vlan>(db.base(), free), hex(free), "a VLAN in use");
     }},
    {"NameBackLink", "name bucket 195", "prev",
     [](Db& db) {
         const Offset head = db.header().vlan_name[195];
         Vlan& first = record_at<Vlan>(db.base(), head);
         return at(link_at<&Vlan::name_link>(db.base(), first.name_link.next).prev, {8}, hex(head));
     }},
    {"PvidChainOfAnother", "port 1", "PVID", [](Db& db) { return at(db.port(1)->PVID = 11, "11", "10"); }},
    {"PortInNoPvidChain", "port 3", "pvid_link",
     [](Db& db) {
         db.header().pvid_chain[10] = none;
         return at(db.port(3)->pvid_link, "in no chain", "chain of PVID 10");
     }},
    {"PvidChainOfAFreeRecord", "chain of PVID 8191", "port",
     [](Db& db) {
         const Offset free = db.header().port_free;
         db.header().pvid_chain[8191] = free;
         return at(record_at<Port>(db.base(), free), hex(free), "a port in use");
     }},
    {"PvidChainBackLink", "chain of PVID 10", "prev",
     [](Db& db) { return at(db.port(3)->pvid_link.prev, {8}, hex(db.at(*db.port(1)))); }},
};

const Damages fields = {
    {"NumberOfPhports", "physical port list", "length",
     [](Db& db) {
         Phport& phport = *lookup_phport(db.base(), db.header(), 4);
         deQ_phport(db.base(), db.header(), phport);
         unindex_phport(db.header(), phport);
         free_phport(db.base(), db.header(), &phport);
         return at(db.header().phport_head, "3", "4");
     }},
    {"PhportBound", "physical port 4", "bound",
     [](Db& db) { return at(lookup_phport(db.base(), db.header(), 4)->bound = 2, "2", "at most 1"); }},
    {"PortFid", "port 3", "FID", [](Db& db) { return at(db.port(3)->fdb.FID = 3, "0x3", "0xc003"); }},
    {"PortFdbKind", "port 3", "kind of FDB", [](Db& db) { return at(db.port(3)->fdb.kind = 4, "4", "1"); }},
    {"PortBindings", "port 3", "npg", [](Db& db) { return at(db.port(3)->npg = 9, "9", "at most 8"); }},
    {"PortBreaker", "port 3", "sldbkr_state",
     [](Db& db) { return at(db.port(3)->sldbkr_state = 3, "3", "at most 2"); }},
    {"PortPadding", "port 3", "bytes 14 and 15", [](Db& db) { return at(db.port(3)->pad14[1] = 1, "0x1", "0x0"); }},
    {"VlanId", "VLAN 4095", "VID", [](Db& db) { return at(db.vlan(30)->VID = 4095, "4095", "1 to 4094"); }},
    {"VlanBeyond", "VLAN 9000", "ID", [](Db& db) { return at(db.vlan(30)->VID = 9000, "9000", "at most 8191"); }},
    {"VlanFid", "VLAN 30", "FID", [](Db& db) { return at(db.vlan(30)->fdb.FID = 31, "31", "30"); }},
    {"VlanFdbKind", "VLAN 30", "kind of FDB", [](Db& db) { return at(db.vlan(30)->fdb.kind = 1, "1", "4"); }},
    {"VlanNameTooLong", "VLAN 30", "name",
     [](Db& db) {
         return at(set_name(*db.vlan(30), "0123456789012345678901234567890").name, "31 characters or more",
                   "at most 30");
     }},
    {"VlanNameTwice", "VLAN 30", "name",
     [](Db& db) { return at(set_name(*db.vlan(30), "ab").name, "\"ab\"", "another name"); }},
    {"VlanNameOfAnyBytes", "VLAN 30", "name",
     [](Db& db) {
         set_name(*db.vlan(20), "\x1b\"");
         return at(set_name(*db.vlan(30), "\x1b\"").name, "\"\\x1b\\x22\"", "another name");
     }},
    {"TwoVirtualInterfaces", "VLAN 20", "virtual-interface members",
     [](Db& db) {
         db.port(1)->p_type = port_type_vif;
         return at(*db.vlan(20), "2", "at most 1");
     }},
};

const Damages memberships = {
    {"CountOfVlan", "VLAN 10", "npv", [](Db& db) { return at(++db.vlan(10)->npv, "3", "2"); }},
    {"CountOfPort", "port 3", "npv", [](Db& db) { return at(--db.port(3)->npv, "1", "2"); }},
    {"VidOfAnother", "membership of port 1 in VLAN 11", "VID",
     [](Db& db) { return at(db.pv(10, 1).VID = 11, "11", "10"); }},
    {"PortOfAnother", "membership of port 7 in VLAN 10", "port_id",
     [](Db& db) { return at(db.pv(10, 3).port_id = 7, "7", "3"); }},
    {"PortThatIsNotThere", "membership of port 4 in VLAN 10", "port_id",
     [](Db& db) { return at(db.pv(10, 3).port_id = 4, "4", "a port"); }},
    {"Flag", "membership of port 3 in VLAN 10", "pv_flag",
     [](Db& db) { return at(db.pv(10, 3).pv_flag = 4, "0x4", "at most 3"); }},
    {"RecordLost", "VLAN 10", "membership records",
     [](Db& db) {
         alloc_pv(db.base(), db.header(), *db.vlan(10));
         return at(db.vlan(10)->pv_free, "7", "8");
     }},
    {"RecordLostOfAnUnusedVlan", "unused VLAN record 2", "membership records",
     [](Db& db) {
         Vlan& unused = record_at<Vlan>(db.base(), db.header().vlan_free);
         unused.pv_free = none;
         return at(unused.pv_free, "0", "8");
     }},
    {"RecordOfAnotherVlan", "VLAN 10", "membership record",
     [](Db& db) {
         std::swap(db.vlan(10)->pv_free, db.vlan(20)->pv_free);
         return at(record_at<Pv>(db.base(), db.vlan(10)->pv_free), "of VLAN record 4", "of VLAN record 5");
     }},
    {"FreeAndInUse", "membership list of VLAN 10", "head",
     [](Db& db) {
         db.vlan(10)->pv_free = db.vlan(10)->pv_head;
         return at(db.vlan(10)->pv_head, hex(db.vlan(10)->pv_head), "no record of the free membership list of VLAN 10");
     }},
    {"OnNoListOfThePort", "membership of port 3 in VLAN 10", "port_link",
     [](Db& db) {
         deQ_pv_in_a_port(db.base(), db.header(), *db.vlan(10), db.pv(10, 3));
         return at(db.pv(10, 3).port_link, "on no port's list", "on its port's");
     }},
    {"FreeOnThePortsList", "membership list of port 3", "membership",
     [](Db& db) {
         const Offset free = db.vlan(10)->pv_free;
         db.port(3)->pv_head = free;
         return at(record_at<Pv>(db.base(), free), hex(free), "a membership in use");
     }},
    {"BackLinkOfVlan", "membership list of VLAN 10", "prev",
     [](Db& db) { return at(db.pv(10, 3).vlan_link.prev, {8}, hex(db.at(db.pv(10, 1)))); }},
    {"BackLinkOfPort", "membership list of port 1", "prev",
     [](Db& db) { return at(db.pv(20, 1).port_link.prev, {8}, hex(db.at(db.pv(10, 1)))); }},
    {"LinkIntoTheVlanRecord", "membership list of VLAN 10", "next",
     [](Db& db) {
         return at(db.pv(10, 3).vlan_link.next, db.at(*db.vlan(10)), "none or one of the membership records");
     }},
};

const Damages groups = {
    {"TooMany", "protocol groups", "count",
     [](Db& db) { return at(db.header().prot_groups.count = 9, "9", "at most 8"); }},
    {"Twice", "protocol group 5", "group",
     [](Db& db) {
         db.header().prot_groups.group[1].group = 5;
         return at(db.header().prot_groups.group[1], "5", "another group");
     }},
    {"TooManyProtocols", "protocol group 6", "nprot",
     [](Db& db) { return at(db.header().prot_groups.group[1].nprot = 9, "9", "at most 8"); }},
    {"ProtocolTwice", "protocol group 6", "prot",
     [](Db& db) { return at(db.header().prot_groups.group[1].prot[0] = 0x0806, "0x806", "another protocol"); }},
    {"UnusedRow", "protocol group row 2", "group",
     [](Db& db) {
         db.header().prot_groups.group[2].group = 7;
         return at(db.header().prot_groups.group[2], "7", "0");
     }},
    {"UnusedProtocol", "protocol group 6", "prot",
     [](Db& db) { return at(db.header().prot_groups.group[1].prot[7] = 7, "0x7", "0x0"); }},
    {"BindingWithoutMembership", "port 3", "prot",
     [](Db& db) {
         db.port(3)->prot[0].VID = 10;
         return at(db.port(3)->prot[0], "group 5, VLAN 10", "a membership by protocol");
     }},
    {"BindingWithoutGroup", "port 3", "prot",
     [](Db& db) {
         db.port(3)->prot[0].group = 9;
         return at(db.port(3)->prot[0], "group 9, VLAN 30", "a group that is there");
     }},
    {"BindingTwice", "port 3", "prot",
     [](Db& db) {
         Port& port = *db.port(3);
         port.prot[port.npg++] = port.prot[0];
         return at(port.prot[1], "group 5, VLAN 30", "another binding");
     }},
};

const Damages entries = {
    {"Bucket", "entry 04:00:00:00:00:01 of VLAN 10", "bucket",
     [](Db& db) {
         Fil& fil = db.entry(10, db.sales_static);
         fil.mac.byte[0] = 4;
         return at(fil.mac, "3", "5");
     }},
    {"Owner", "entry 02:00:00:00:00:01 of VLAN 10", "offset",
     [](Db& db) {
         const auto right = hex(db.at(db.vlan(10)->fdb));
         return at(db.entry(10, db.sales_static).offset, db.at(db.vlan(20)->fdb), right);
     }},
    {"LocalTypeInAVlan", "entry 02:00:00:00:00:01 of VLAN 10", "fil_type",
     [](Db& db) { return at(db.entry(10, db.sales_static).fil_type = fil_local, "1", "2 or 3"); }},
    {"UnknownType", "entry 02:00:00:00:00:01 of VLAN 10", "fil_type",
     [](Db& db) { return at(db.entry(10, db.sales_static).fil_type = 0, "0", "2 or 3"); }},
    {"StaticTypeInAPort", "entry 02:00:00:00:00:21 of port 1", "fil_type",
     [](Db& db) { return at(db.local_entry().fil_type = fil_static, "2", "1"); }},
    {"LocalWithPort", "entry 02:00:00:00:00:21 of port 1", "port",
     [](Db& db) { return at(db.local_entry().port = 1, "1", "0"); }},
    {"StaticWithoutItsPort", "entry 02:00:00:00:00:01 of VLAN 10", "port",
     [](Db& db) { return at(db.entry(10, db.sales_static).port = 5, "5", "a port"); }},
    {"LearnedWithPermit", "entry 02:00:00:00:00:11 of VLAN 10", "fil_permit",
     [](Db& db) { return at(db.entry(10, db.sales_learned).fil_permit = 1, "1", "0"); }},
    {"StaticWithTime", "entry 02:00:00:00:00:01 of VLAN 10", "last_seen",
     [](Db& db) { return at(db.entry(10, db.sales_static).last_seen = 1, "1", "0"); }},
    {"StaticWithTick", "entry 02:00:00:00:00:01 of VLAN 10", "lastValidate",
     [](Db& db) { return at(db.entry(10, db.sales_static).lastValidate = 9, "9", "0"); }},
    {"Twice", "entry 02:00:00:00:00:11 of VLAN 10", "mac",
     [](Db& db) {
         db.entry(10, db.sales_neighbour).mac = db.sales_learned;
         // The one behind in the chain: learned first.
         return at(record_at<Fil>(db.fdb(), db.entry(10, db.sales_learned).link.next).mac, "02:00:00:00:00:11",
                   "another address");
     }},
    {"CountAll", "VLAN 10", "nfil", [](Db& db) { return at(++db.vlan(10)->fdb.nfil, "5", "4"); }},
    {"CountDynamic", "VLAN 10", "nfil_d", [](Db& db) { return at(--db.vlan(10)->fdb.nfil_d, "1", "2"); }},
    {"CountUser", "VLAN 10", "nfil_usr", [](Db& db) { return at(++db.vlan(10)->fdb.nfil_usr, "4", "3"); }},
    {"CountSystem", "port 1", "nfil_sys", [](Db& db) { return at(++db.port(1)->fdb.nfil_sys, "1", "0"); }},
    {"BackLink", "MAC bucket 19 of VLAN 10", "prev",
     [](Db& db) {
         return at(db.entry(10, db.sales_learned).link.prev, {4},
                   hex(offset_of(db.fdb(), db.entry(10, db.sales_neighbour))));
     }},
    {"ChainOutsideTheSegment", "MAC bucket 9 of VLAN 30", "head",
     [](Db& db) { return at(db.vlan(30)->fdb.bucket[9], {32 * 44}, "none or one of the entry records"); }},
    {"ChainIntoAFreeEntry", "MAC bucket 9 of VLAN 30", "head",
     [](Db& db) { return at(db.vlan(30)->fdb.bucket[9], db.header().fil_free, "no record of the free entry list"); }},
    {"ChainIntoAnotherDatabase", "MAC bucket 3 of VLAN 10", "head",
     [](Db& db) {
         const Offset head = db.vlan(10)->fdb.bucket[3];
         db.port(3)->fdb.bucket[3] = head;
         return at(db.vlan(10)->fdb.bucket[3], head, "no record of the MAC bucket 3 of port 3");
     }},
};

const Damages bindings = {
    {"StreamOfAnotherPort", "stream 7", "portno", [](Db& db) { return at(db.stream(7).portno = 1, "1", "3"); }},
    {"StreamThatIsNotThere", "stream list of port 1", "stream",
     [](Db& db) {
         const Offset free = db.header().stream_free;
         db.port(1)->stream_head = free;
         return at(record_at<Stream>(db.base(), free), hex(free), "a stream in use");
     }},
    {"StreamBackLink", "stream list of port 3", "prev",
     [](Db& db) { return at(db.stream(9).port_link.prev, {8}, hex(db.at(db.stream(7)))); }},
    {"QueueBackLink", "queue list of stream 7 class 2", "prev",
     [](Db& db) { return at(db.queue(57).stream_link.prev, {8}, hex(db.at(db.queue(56)))); }},
    {"QueueListIntoNothing", "queue list of stream 8 class 7", "head",
     [](Db& db) { return at(db.stream(8).slot[7].queue_head, {8}, "none or one of the queue records"); }},
    {"QueueOnTwoSlots", "queue list of stream 9 class 1", "head",
     [](Db& db) {
         return at(db.stream(9).slot[1].queue_head, db.stream(9).slot[0].queue_head,
                   "no record of the queue list of stream 9 class 0");
     }},
    {"LinePosition", "line 2 of profile 4", "position",
     [](Db& db) { return at(db.line(4, 2).position = 7, "7", "2"); }},
    {"LineCount", "profile 4", "naction", [](Db& db) { return at(++db.profile(4).naction, "4", "3"); }},
    {"LineBackLink", "line list of profile 4", "prev",
     [](Db& db) { return at(db.line(4, 2).link.prev, {8}, hex(db.at(db.line(4, 1)))); }},
    {"TooManyLines", "profile 9", "number of lines",
     [](Db& db) {
         for (int i = 0; i < 257; ++i) {
             Action& line = *alloc_action(db.base(), db.header());
             line.position = 0;
             enQ_action(db.base(), db.header(), db.profile(9), line);
         }
         return at(db.profile(9).action_head, "257", "at most 256");
     }},
    {"BoundButNotListed", "membership of port 1 in VLAN 10", "classify",
     [](Db& db) { return at(db.pv(10, 1).classify = 9, "9", "a profile whose list it is on"); }},
    {"ListedButNotBound", "membership of port 1 in VLAN 20", "classify",
     [](Db& db) { return at(db.pv(20, 1).classify = 0, "0", "4"); }},
    {"ListedElsewhere", "membership of port 1 in VLAN 20", "classify",
     [](Db& db) { return at(db.pv(20, 1).classify = 9, "9", "4"); }},
    {"FreeMembershipListed", "membership list of profile 9", "membership",
     [](Db& db) {
         const Offset free = db.vlan(30)->pv_free;
         db.profile(9).pv_head = free;
         return at(record_at<Pv>(db.base(), free), hex(free), "a membership in use");
     }},
    {"BoundBackLink", "membership list of profile 4", "prev",
     [](Db& db) { return at(db.pv(20, 1).classify_link.prev, {8}, hex(db.at(db.pv(10, 3)))); }},
};

const Damages mirrors = {
    {"State", "mirror 1", "state", [](Db& db) { return at(db.header().mirror[0].state = 4, "4", "0, 1 or 3"); }},
    {"EnabledButNotCreated", "mirror 2", "state",
     [](Db& db) { return at(db.header().mirror[1].state = 2, "2", "0, 1 or 3"); }},
    {"EnabledWithoutSource", "mirror 2", "source_kind",
     [](Db& db) { return at(db.header().mirror[1].source_kind = 0, "0", "another kind"); }},
    {"EnabledWithoutDestination", "mirror 2", "dest_port",
     [](Db& db) { return at(db.header().mirror[1].dest_port = 0, "0", "a port"); }},
    {"EnabledOntoItself", "mirror 2", "dest_port",
     [](Db& db) { return at(db.header().mirror[1].dest_port = 1, "1", "another port than the source"); }},
};

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
    Finding expected_of(const Damage& damage)
    {
        const WantedFinding wanted = damage.make(*this);
        Finding finding{Severity::error, damage.object, Segment::main,   0,
                        damage.field,    wanted.found,  wanted.expected, ""};
        place(d(), wanted.word, finding);
        return finding;
    }

private:
    Snapshot healthy_;
};

TEST_P(Damaged, EveryDamageIsFound)
{
    const auto before = check(d()).findings;
    for (const Damage& damage : *GetParam().damages) {
        SCOPED_TRACE(damage.name);
        const Finding expected = expected_of(damage);
        const Report report = check(d());
        EXPECT_TRUE(has(report, expected)) << "not found: " << text_of(expected) << "\nbut:" << listed(report);
        heal();
        ASSERT_EQ(before, check(d()).findings);
    }
}

INSTANTIATE_TEST_SUITE_P(Of, Damaged,
                         testing::Values(Subject{"header", &headers}, Subject{"links", &links},
                                         Subject{"orders", &orders}, Subject{"indexes", &indexes},
                                         Subject{"fields", &fields}, Subject{"memberships", &memberships},
                                         Subject{"groups", &groups}, Subject{"entries", &entries},
                                         Subject{"bindings", &bindings}, Subject{"mirrors", &mirrors}),
                         [](const testing::TestParamInfo<Subject>& subject) { return subject.param.name; });

}  // namespace
}  // namespace zelfdb
