// Ordered lists: enQ_ and deQ_ of every kind, the look-ups that walk one, and the lines of a profile.
#include <algorithm>

#include "core/furnished.h"
#include "core/segments.h"
#include "support/random.h"

namespace zelfdb {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A database whose lists are all empty, to be filled by hand with whatever records.
class ListsOf : public Database {
public:
    using Database::base;
    using Database::header;

    ListsOf() : Database(8, 40, 32) { expect_damage(); }

    Layout layout() const { return layout_of(8, 40, 32); }
    template <class Record>
    Record& record(u64 first, u32 number, u32 stride = sizeof(Record)) const
    {
        return record_at<Record>(base(), {static_cast<u32>(first) + number * stride});
    }
    Port& port_record(u32 number) const { return record<Port>(layout().port, number); }
    Vlan& vlan_record(u32 number) const { return record<VlanSlot>(layout().vlan, number).vlan; }
    Pv& pv_record(u32 number) const { return record<VlanSlot>(layout().vlan, number / 8).pv[number % 8]; }
    Stream& stream_record(u32 number) const { return record<Stream>(layout().stream, number); }
    Queue& queue_record(u32 number) const { return record<Queue>(layout().queue, number); }
    Classify& classify_record(u32 number) const { return record<Classify>(layout().classify, number); }

protected:
    void SetUp() override
    {
        Database::SetUp();
        header().phport_head = none;
        port_record(0).PortID = 9;  // the owner of streams and memberships, who must be found by its ID
        index_port(base(), header(), port_record(0));
        port_record(0).stream_head = none;
        port_record(0).pv_head = none;
        vlan_record(0).pv_head = none;
        classify_record(0).pv_head = none;
        for (ClassSlot& slot : stream_record(0).slot) slot.queue_head = none;
    }
};

// What the tests need to know of a kind of list: its head, its link, its key, and how many records there are to put on it.
// Record 0 of a kind that owns such a list is the owner.
struct PhportList {
    using Record = Phport;
    static constexpr auto link = &Phport::phport_link;
    static constexpr u32 count = 4;
    static Offset head(const ListsOf& t) { return t.header().phport_head; }
    static Record& record(const ListsOf& t, u32 i) { return t.record<Phport>(t.layout().phport, i); }
    static void set_key(Record& r, i32 key) { r.ID = static_cast<u16>(key); }
    static void enQ(ListsOf& t, Record& r) { enQ_phport(t.base(), t.header(), r); }
    static void deQ(ListsOf& t, Record& r) { deQ_phport(t.base(), t.header(), r); }
};

struct PortList {
    using Record = Port;
    static constexpr auto link = &Port::port_link;
    static constexpr u32 count = 7;
    static constexpr bool signed_key = true;
    static Offset head(const ListsOf& t) { return t.header().port_head; }
    static Record& record(const ListsOf& t, u32 i) { return t.port_record(i + 1); }
    static void set_key(Record& r, i32 key) { r.PortID = static_cast<u32>(key); }
    static void enQ(ListsOf& t, Record& r) { enQ_port(t.base(), t.header(), r); }
    static void deQ(ListsOf& t, Record& r) { deQ_port(t.base(), t.header(), r); }
};

struct StreamList {
    using Record = Stream;
    static constexpr auto link = &Stream::stream_link;
    static constexpr u32 count = 50;
    static Offset head(const ListsOf& t) { return t.header().stream_head; }
    static Record& record(const ListsOf& t, u32 i) { return t.stream_record(i); }
    static void set_key(Record& r, i32 key) { r.streamno = static_cast<u16>(key); }
    static void enQ(ListsOf& t, Record& r) { enQ_stream(t.base(), t.header(), r); }
    static void deQ(ListsOf& t, Record& r) { deQ_stream(t.base(), t.header(), r); }
};

struct QueueList {
    using Record = Queue;
    static constexpr auto link = &Queue::queue_link;
    static constexpr u32 count = 50;
    static Offset head(const ListsOf& t) { return t.header().queue_head; }
    static Record& record(const ListsOf& t, u32 i) { return t.queue_record(i); }
    static void set_key(Record& r, i32 key) { r.queueno = static_cast<u16>(key); }
    static void enQ(ListsOf& t, Record& r) { enQ_queue(t.base(), t.header(), r); }
    static void deQ(ListsOf& t, Record& r) { deQ_queue(t.base(), t.header(), r); }
};

struct VlanList {
    using Record = Vlan;
    static constexpr auto link = &Vlan::vlan_link;
    static constexpr u32 count = 40;
    static Offset head(const ListsOf& t) { return t.header().vlan_head; }
    static Record& record(const ListsOf& t, u32 i) { return t.vlan_record(i); }
    static void set_key(Record& r, i32 key) { r.VID = static_cast<u16>(key); }
    static void enQ(ListsOf& t, Record& r) { enQ_vlan(t.base(), t.header(), r); }
    static void deQ(ListsOf& t, Record& r) { deQ_vlan(t.base(), t.header(), r); }
};

struct ClassifyList {
    using Record = Classify;
    static constexpr auto link = &Classify::classify_link;
    static constexpr u32 count = 50;
    static Offset head(const ListsOf& t) { return t.header().classify_head; }
    static Record& record(const ListsOf& t, u32 i) { return t.classify_record(i); }
    static void set_key(Record& r, i32 key) { r.ID = static_cast<u16>(key); }
    static void enQ(ListsOf& t, Record& r) { enQ_classify(t.base(), t.header(), r); }
    static void deQ(ListsOf& t, Record& r) { deQ_classify(t.base(), t.header(), r); }
};

struct PvidChain {
    using Record = Port;
    static constexpr auto link = &Port::pvid_link;
    static constexpr u32 count = 7;
    static constexpr bool signed_key = true;
    static Offset head(const ListsOf& t) { return t.header().pvid_chain[77]; }
    static Record& record(const ListsOf& t, u32 i) { return t.port_record(i + 1); }
    static void set_key(Record& r, i32 key)
    {
        r.PortID = static_cast<u32>(key);
        r.PVID = 77;
    }
    static void enQ(ListsOf& t, Record& r) { enQ_port_by_pvid(t.base(), t.header(), r); }
    static void deQ(ListsOf& t, Record& r) { deQ_port_by_pvid(t.base(), t.header(), r); }
};

struct StreamsOfPort {
    using Record = Stream;
    static constexpr auto link = &Stream::port_link;
    static constexpr u32 count = 50;
    static Offset head(const ListsOf& t) { return t.port_record(0).stream_head; }
    static Record& record(const ListsOf& t, u32 i) { return t.stream_record(i); }
    static void set_key(Record& r, i32 key) { r.streamno = static_cast<u16>(key); }
    static void enQ(ListsOf& t, Record& r) { enQ_stream_to_port(t.base(), t.header(), t.port_record(0), r); }
    static void deQ(ListsOf& t, Record& r) { deQ_stream_from_port(t.base(), t.header(), t.port_record(0), r); }
};

struct QueuesOfSlot {
    using Record = Queue;
    static constexpr auto link = &Queue::stream_link;
    static constexpr u32 count = 50;
    static Offset head(const ListsOf& t) { return t.stream_record(0).slot[5].queue_head; }
    static Record& record(const ListsOf& t, u32 i) { return t.queue_record(i); }
    static void set_key(Record& r, i32 key) { r.queueno = static_cast<u16>(key); }
    static void enQ(ListsOf& t, Record& r) { enQ_queue_to_stream(t.base(), t.header(), t.stream_record(0), 5, r); }
    static void deQ(ListsOf& t, Record& r) { deQ_queue_from_stream(t.base(), t.header(), t.stream_record(0), 5, r); }
};

struct PvsOfVlan {
    using Record = Pv;
    static constexpr auto link = &Pv::vlan_link;
    static constexpr u32 count = 50;
    static Offset head(const ListsOf& t) { return t.vlan_record(0).pv_head; }
    static Record& record(const ListsOf& t, u32 i) { return t.pv_record(i); }
    static void set_key(Record& r, i32 key) { r.port_id = static_cast<u32>(key); }
    static void enQ(ListsOf& t, Record& r) { enQ_pv(t.base(), t.header(), t.vlan_record(0), r); }
    static void deQ(ListsOf& t, Record& r) { deQ_pv(t.base(), t.header(), t.vlan_record(0), r); }
};

struct PvsOfPort {
    using Record = Pv;
    static constexpr auto link = &Pv::port_link;
    static constexpr u32 count = 50;
    static Offset head(const ListsOf& t) { return t.port_record(0).pv_head; }
    static Record& record(const ListsOf& t, u32 i) { return t.pv_record(i); }
    static void set_key(Record& r, i32 key)
    {
        r.VID = static_cast<u16>(key);
        r.port_id = 9;
    }
    static void enQ(ListsOf& t, Record& r) { enQ_pv_in_a_port(t.base(), t.header(), t.port_record(0), r); }
    static void deQ(ListsOf& t, Record& r) { deQ_pv_in_a_port(t.base(), t.header(), t.vlan_record(0), r); }
};

struct PvsOfClassify {
    using Record = Pv;
    static constexpr auto link = &Pv::classify_link;
    static constexpr u32 count = 50;
    static Offset head(const ListsOf& t) { return t.classify_record(0).pv_head; }
    static Record& record(const ListsOf& t, u32 i) { return t.pv_record(i); }
    static void set_key(Record& r, i32 key) { r.VID = static_cast<u16>(key); }
    static void enQ(ListsOf& t, Record& r) { enQ_pv_in_classify(t.base(), t.header(), t.classify_record(0), r); }
    static void deQ(ListsOf& t, Record& r) { deQ_pv_in_classify(t.base(), t.header(), t.classify_record(0), r); }
};

struct ListNames {
    template <class Kind>
    static std::string GetName(int)
    {
        if constexpr (std::is_same_v<Kind, PhportList>) return "phports";
        if constexpr (std::is_same_v<Kind, PortList>) return "ports";
        if constexpr (std::is_same_v<Kind, StreamList>) return "streams";
        if constexpr (std::is_same_v<Kind, QueueList>) return "queues";
        if constexpr (std::is_same_v<Kind, VlanList>) return "vlans";
        if constexpr (std::is_same_v<Kind, ClassifyList>) return "classifies";
        if constexpr (std::is_same_v<Kind, PvidChain>) return "ports_by_pvid";
        if constexpr (std::is_same_v<Kind, StreamsOfPort>) return "streams_of_port";
        if constexpr (std::is_same_v<Kind, QueuesOfSlot>) return "queues_of_slot";
        if constexpr (std::is_same_v<Kind, PvsOfVlan>) return "pvs_of_vlan";
        if constexpr (std::is_same_v<Kind, PvsOfPort>) return "pvs_of_port";
        if constexpr (std::is_same_v<Kind, PvsOfClassify>) return "pvs_of_classify";
    }
};

template <class Kind>
class Lists : public ListsOf {
protected:
    using Record = typename Kind::Record;

    // The list as it must be, and whether its first record points back to itself or to none.
    struct Model {
        struct Element {
            i32 key;
            Record* record;
        };
        std::vector<Element> elements;
        bool first_points_to_itself = false;

        void insert(i32 key, Record* record)
        {
            const auto behind_equals = std::upper_bound(elements.begin(), elements.end(), key,
                                                        [](i32 k, const Element& e) { return k < e.key; });
            if (behind_equals == elements.begin()) first_points_to_itself = true;
            elements.insert(behind_equals, {key, record});
        }
        void remove(Record* record)
        {
            const auto it = std::find_if(elements.begin(), elements.end(),
                                         [record](const Element& e) { return e.record == record; });
            if (it == elements.begin()) first_points_to_itself = false;
            elements.erase(it);
        }
    };

    Record& record(u32 number) const { return Kind::record(*this, number); }
    Link& link(Record& record) const { return record.*Kind::link; }
    Offset at(const Record& record) const { return offset_of(base(), record); }
    Offset head() const { return Kind::head(*this); }
    Record& enQ(u32 number, i32 key)
    {
        Kind::set_key(record(number), key);
        Kind::enQ(*this, record(number));
        return record(number);
    }
    void deQ(u32 number) { Kind::deQ(*this, record(number)); }

    std::vector<u32> numbers()
    {
        std::vector<u32> all;
        for (Offset here = head(); here != none; here = link(record_at<Record>(base(), here)).next) {
            for (u32 i = 0; i < Kind::count; ++i) {
                if (at(record(i)) == here) all.push_back(i);
            }
        }
        return all;
    }

    void expect(Model& model)
    {
        Offset here = head();
        Offset before = none;
        for (auto& element : model.elements) {
            ASSERT_EQ(at(*element.record).value, here.value);
            const bool to_itself = before == none && model.first_points_to_itself;
            ASSERT_EQ((to_itself ? here : before).value, link(*element.record).prev.value);
            before = here;
            here = link(*element.record).next;
        }
        ASSERT_EQ(none.value, here.value);
    }
};

using ListKinds = testing::Types<PhportList, PortList, StreamList, QueueList, VlanList, ClassifyList, PvidChain,
                                 StreamsOfPort, QueuesOfSlot, PvsOfVlan, PvsOfPort, PvsOfClassify>;
TYPED_TEST_SUITE(Lists, ListKinds, ListNames);

TYPED_TEST(Lists, KeepTheirKeysInOrderAndANewRecordBehindItsEquals)
{
    this->enQ(0, 5);
    this->enQ(1, 3);
    this->enQ(2, 9);
    this->enQ(3, 3);
    EXPECT_THAT(this->numbers(), ElementsAre(1, 3, 0, 2));
}

TYPED_TEST(Lists, OnlyRecordPointsBackToItself)
{
    auto& only = this->enQ(0, 5);
    EXPECT_EQ(this->at(only), this->head());
    EXPECT_EQ(this->at(only), this->link(only).prev);
    EXPECT_EQ(none, this->link(only).next);
}

TYPED_TEST(Lists, SecondBecomesFirstWithoutPreviousWhenTheFirstLeaves)
{
    this->enQ(0, 1);
    auto& second = this->enQ(1, 2);
    auto& third = this->enQ(2, 3);
    this->deQ(0);
    EXPECT_EQ(this->at(second), this->head());
    EXPECT_EQ(none, this->link(second).prev);
    EXPECT_EQ(this->at(second), this->link(third).prev);
}

TYPED_TEST(Lists, NewSmallestBecomesFirstAndPointsBackToItself)
{
    auto& old_first = this->enQ(0, 5);
    auto& smallest = this->enQ(1, 1);
    EXPECT_EQ(this->at(smallest), this->head());
    EXPECT_EQ(this->at(smallest), this->link(smallest).prev);
    EXPECT_EQ(this->at(smallest), this->link(old_first).prev);
}

TYPED_TEST(Lists, RemovedRecordKeepsItsLinks)
{
    auto& first = this->enQ(0, 1);
    auto& middle = this->enQ(1, 2);
    auto& last = this->enQ(2, 3);
    const Link before = this->link(middle);
    this->deQ(1);
    EXPECT_EQ(before.next, this->link(middle).next);
    EXPECT_EQ(before.prev, this->link(middle).prev);
    EXPECT_EQ(this->at(last), this->link(first).next);
    EXPECT_EQ(this->at(first), this->link(last).prev);
}

TYPED_TEST(Lists, RemovingTheOnlyRecordLeavesAnEmptyList)
{
    this->enQ(0, 1);
    this->deQ(0);
    EXPECT_EQ(none, this->head());
}

TYPED_TEST(Lists, RemovingARecordThatIsOnNoListChangesNothing)
{
    this->enQ(0, 1);
    this->enQ(1, 2);
    TypeParam::set_key(this->record(2), 1);
    this->link(this->record(2)) = {none, none};
    const Snapshot before = this->snapshot();
    this->deQ(2);
    EXPECT_EQ(before, this->snapshot());
}

TYPED_TEST(Lists, BehaveLikeASortedSequenceUnderRandomUse)
{
    Random random;
    SCOPED_TRACE(random.trace());
    typename TestFixture::Model model;
    std::vector<u32> off;
    for (u32 i = 0; i < TypeParam::count; ++i) off.push_back(i);
    std::vector<u32> on;
    for (u32 step = 0; step < 1500; ++step) {
        const bool mostly_insert = step / 100 % 2 == 0;
        if (!off.empty() && (on.empty() || random.below(10) < (mostly_insert ? 7u : 3u))) {
            std::swap(off[random.below(static_cast<u32>(off.size()))], off.back());
            i32 key = static_cast<i32>(random.below(random.once_in(5) ? 65536 : 12));
            if constexpr (requires { TypeParam::signed_key; }) key -= 6;
            auto& inserted = this->enQ(off.back(), key);
            model.insert(key, &inserted);
            on.push_back(off.back());
            off.pop_back();
        } else {
            std::swap(on[random.below(static_cast<u32>(on.size()))], on.back());
            auto& removed = this->record(on.back());
            const Link before = this->link(removed);
            this->deQ(on.back());
            model.remove(&removed);
            ASSERT_EQ(before.next, this->link(removed).next);
            ASSERT_EQ(before.prev, this->link(removed).prev);
            off.push_back(on.back());
            on.pop_back();
        }
        ASSERT_NO_FATAL_FAILURE(this->expect(model)) << "step " << step;
    }
}

using ListRules = ListsOf;

TEST_F(ListRules, PortsAreOrderedBySignedIdAndMembershipsByUnsignedOne)
{
    const u32 ids[] = {5, 0xFFFFFFFF, 0x80000000, 0};
    for (u32 i = 0; i < 4; ++i) {
        port_record(i + 1).PortID = ids[i];
        enQ_port(base(), header(), port_record(i + 1));
        pv_record(i).port_id = ids[i];
        enQ_pv(base(), header(), vlan_record(0), pv_record(i));
    }
    std::vector<u32> ports;
    for (const Port& port : walk(all_ports, base(), header())) ports.push_back(port.PortID);
    EXPECT_THAT(ports, ElementsAre(0x80000000, 0xFFFFFFFF, 0, 5));
    std::vector<u32> members;
    for (const Pv& pv : walk(pvs_of_vlan, base(), vlan_record(0))) members.push_back(pv.port_id);
    EXPECT_THAT(members, ElementsAre(0, 5, 0x80000000, 0xFFFFFFFF));
}

TEST_F(ListRules, NumbersOf16BitsAreOrderedUnsigned)
{
    for (const u16 number : {u16{0x8000}, u16{0x7FFF}, u16{0}, u16{0xFFFF}}) {
        Stream& stream = *alloc_stream(base(), header());
        stream.streamno = number;
        enQ_stream(base(), header(), stream);
    }
    std::vector<u32> numbers;
    for (const Stream& stream : walk(all_streams, base(), header())) numbers.push_back(stream.streamno);
    EXPECT_THAT(numbers, ElementsAre(0, 0x7FFF, 0x8000, 0xFFFF));
}

TEST_F(ListRules, PortWithAPvidWithoutChainIsOnNoneAndWritesNowhere)
{
    Port& port = port_record(1);
    const u16 pvids[] = {8192, 8193, 0xFFFF};
    for (const u16 pvid : pvids) {
        port.PVID = pvid;
        port.pvid_link = {{1}, {2}};
        const Snapshot before = snapshot();
        enQ_port_by_pvid(base(), header(), port);
        EXPECT_EQ(none, port.pvid_link.next);
        EXPECT_EQ(none, port.pvid_link.prev);
        port.pvid_link = {{1}, {2}};
        EXPECT_EQ(before, snapshot());
        deQ_port_by_pvid(base(), header(), port);
        EXPECT_EQ(before, snapshot());
    }
    port.PVID = 8191;
    enQ_port_by_pvid(base(), header(), port);
    EXPECT_EQ(offset_of(base(), port), header().pvid_chain[8191]);
}

TEST_F(ListRules, PortsOfAPvidAreWalkedInOrderAndOthersAreNone)
{
    for (u32 i = 1; i <= 3; ++i) {
        port_record(i).PortID = 10 - i;
        port_record(i).PVID = 12;
        enQ_port_by_pvid(base(), header(), port_record(i));
    }
    std::vector<u32> ids;
    for (const Port& port : ports_of_pvid(base(), header(), 12)) ids.push_back(port.PortID);
    EXPECT_THAT(ids, ElementsAre(7, 8, 9));
    for (const u32 pvid : {13u, 8192u, 0xFFFFFFFFu}) {
        u32 count = 0;
        for (const Port& port : ports_of_pvid(base(), header(), pvid)) count += port.PortID;
        EXPECT_EQ(0u, count);
    }
}

TEST_F(ListRules, QueueIsNeitherPutOnNorTakenOffAClassThatIsNotThere)
{
    Stream& stream = stream_record(0);
    Queue& queue = queue_record(0);
    queue.stream_link = {none, none};
    for (const u32 slot : {8u, 11u, 0xFFFFFFFFu}) {
        const Snapshot before = snapshot();
        enQ_queue_to_stream(base(), header(), stream, slot, queue);
        EXPECT_EQ(before, snapshot());
        queue.stream_link = {none, offset_of(base(), queue)};
        deQ_queue_from_stream(base(), header(), stream, slot, queue);
        queue.stream_link = {none, none};
        EXPECT_EQ(before, snapshot());
    }
    enQ_queue_to_stream(base(), header(), stream, 7, queue);
    EXPECT_EQ(offset_of(base(), queue), stream.slot[7].queue_head);
}

// As when the queue was deleted while attached: its record, taken again, has fresh links.
TEST_F(ListRules, QueueThatIsNotOnTheNamedClassIsLeftAlone)
{
    Stream& stream = stream_record(0);
    for (u32 i = 0; i < 3; ++i) {
        queue_record(i).queueno = static_cast<u16>(i);
        enQ_queue_to_stream(base(), header(), stream, 1, queue_record(i));
    }
    queue_record(1).stream_link = {none, none};
    const Snapshot before = snapshot();
    deQ_queue_from_stream(base(), header(), stream, 1, queue_record(1));
    deQ_queue_from_stream(base(), header(), stream, 2, queue_record(1));
    EXPECT_EQ(before, snapshot());
}

// A stream outlives its port. Its links are then those of a list that is gone.
TEST_F(ListRules, StreamThatThePortDoesNotLeadToIsLeftAlone)
{
    Port& port = port_record(0);
    for (u32 i = 0; i < 3; ++i) {
        stream_record(i).streamno = static_cast<u16>(i);
        enQ_stream_to_port(base(), header(), port, stream_record(i));
    }
    port.stream_head = none;  // the port was made anew
    Stream& new_one = stream_record(5);
    new_one.streamno = 5;
    enQ_stream_to_port(base(), header(), port, new_one);
    const Snapshot before = snapshot();
    for (u32 i = 0; i < 3; ++i) deQ_stream_from_port(base(), header(), port, stream_record(i));
    EXPECT_EQ(before, snapshot());
    deQ_stream_from_port(base(), header(), port, new_one);
    EXPECT_EQ(none, port.stream_head);
}

TEST_F(ListRules, StreamIsNotSearchedForEverOnAListThatGoesRound)
{
    Port& port = port_record(0);
    enQ_stream_to_port(base(), header(), port, stream_record(1));
    stream_record(1).port_link.next = offset_of(base(), stream_record(1));
    const Snapshot before = snapshot();
    deQ_stream_from_port(base(), header(), port, stream_record(2));
    EXPECT_EQ(before, snapshot());
}

TEST_F(ListRules, MembershipOfAPortThatIsGoneIsOnNoPortsList)
{
    pv_record(0).port_id = 8;
    pv_record(0).port_link = {none, {4}};
    const Snapshot before = snapshot();
    deQ_pv_in_a_port(base(), header(), vlan_record(0), pv_record(0));
    EXPECT_EQ(before, snapshot());
}

TEST_F(ListRules, MembershipLeavesTheListOfThePortThatItNames)
{
    enQ_pv_in_a_port(base(), header(), port_record(0), pv_record(0));
    pv_record(0).port_id = 9;
    deQ_pv_in_a_port(base(), header(), vlan_record(3), pv_record(0));
    EXPECT_EQ(none, port_record(0).pv_head);
}

using ListLookUps = FurnishedDatabase;

TEST_F(ListLookUps, QueueInAStreamIsFoundOnWhateverClass)
{
    EXPECT_EQ(&queue(56), lookup_queue_in_stream(base(), header(), 56));
    EXPECT_EQ(&queue(57), lookup_queue_in_stream(base(), header(), 57));
    EXPECT_EQ(&queue(58), lookup_queue_in_stream(base(), header(), 58));
}

TEST_F(ListLookUps, QueueThatServesNoStreamIsNotFound)
{
    EXPECT_EQ(nullptr, lookup_queue_in_stream(base(), header(), 59));
    EXPECT_EQ(nullptr, lookup_queue_in_stream(base(), header(), 1000));
}

TEST_F(ListLookUps, FirstOfTwoQueuesWithOneNumberIsThatOfTheLowerStreamThenClass)
{
    Queue& twin = queue(59);
    twin.queueno = 58;
    enQ_queue_to_stream(base(), header(), stream(9), 3, twin);
    EXPECT_EQ(&queue(58), lookup_queue_in_stream(base(), header(), 58));
    deQ_queue_from_stream(base(), header(), stream(9), 3, twin);
    enQ_queue_to_stream(base(), header(), stream(8), 7, twin);
    EXPECT_EQ(&twin, lookup_queue_in_stream(base(), header(), 58));
    expect_damage();
}

TEST_F(ListLookUps, MembershipIsFoundByPortInAVlanAndByVlanInAPort)
{
    for (const auto& [vid, id] : {std::pair{10u, 1u}, {10u, 3u}, {20u, 1u}, {20u, 7u}, {30u, 3u}}) {
        Pv* const found = lookup_pv_by_port_in_a_vlan(base(), header(), *vlan(vid), *port(id));
        ASSERT_NE(nullptr, found);
        EXPECT_EQ(vid, found->VID);
        EXPECT_EQ(id, found->port_id);
        EXPECT_EQ(found, lookup_pv_by_vlan_in_a_port(base(), header(), *port(id), *vlan(vid)));
    }
}

TEST_F(ListLookUps, MembershipThatIsNotThereIsNotFound)
{
    EXPECT_EQ(nullptr, lookup_pv_by_port_in_a_vlan(base(), header(), *vlan(30), *port(1)));
    EXPECT_EQ(nullptr, lookup_pv_by_vlan_in_a_port(base(), header(), *port(1), *vlan(30)));
}

TEST_F(ListLookUps, WalkedRecordMayBeRemovedOnTheWay)
{
    u32 count = 0;
    for (Pv& pv : walk(pvs_of_vlan, base(), *vlan(10))) {
        deQ_pv(base(), header(), *vlan(10), pv);
        free_pv(base(), header(), *vlan(10), &pv);
        ++count;
    }
    EXPECT_EQ(2u, count);
    EXPECT_EQ(none, vlan(10)->pv_head);
    expect_damage();
}

class FreeVids : public Database {
protected:
    FreeVids() { expect_damage(); }
};

TEST_F(FreeVids, LowestFreeVidIsOffered)
{
    EXPECT_EQ(1, search_free_DOT1QVID(header()));
    header().vlan_index[1] = {0};
    header().vlan_index[2] = {0};
    EXPECT_EQ(3, search_free_DOT1QVID(header()));
    header().vlan_index[4] = {0};
    EXPECT_EQ(3, search_free_DOT1QVID(header()));
}

TEST_F(FreeVids, LastOfferedIs4094AndThenNone)
{
    for (u32 vid = 1; vid <= 4093; ++vid) header().vlan_index[vid] = {0};
    EXPECT_EQ(4094, search_free_DOT1QVID(header()));
    header().vlan_index[4094] = {0};
    EXPECT_EQ(-1, search_free_DOT1QVID(header()));
}

TEST_F(FreeVids, Vids0And4095AreNeverOffered)
{
    for (u32 vid = 1; vid <= 4094; ++vid) header().vlan_index[vid] = {0};
    EXPECT_EQ(none, header().vlan_index[0]);
    EXPECT_EQ(none, header().vlan_index[4095]);
    EXPECT_EQ(-1, search_free_DOT1QVID(header()));
}

// The lines of a profile, in the order of their names.
class Lines : public Database {
protected:
    Lines() { expect_damage(); }
    void SetUp() override
    {
        Database::SetUp();
        profile_ = alloc_classify(base(), header());
        profile_->action_head = none;
    }

    Action& enQ(char name, u32 position)
    {
        Action& line = *alloc_action(base(), header());
        line.line.class_id = static_cast<u8>(name);
        line.position = position;
        enQ_action(base(), header(), *profile_, line);
        return line;
    }
    std::string names() const
    {
        std::string all;
        u32 position = 0;
        for (const Action& line : actions_of(base(), *profile_)) {
            EXPECT_EQ(++position, line.position);
            all += static_cast<char>(line.line.class_id);
        }
        EXPECT_EQ(position, profile_->naction);
        return all;
    }

    Classify* profile_ = nullptr;
};

TEST_F(Lines, WantedAtEndEndFirstSecondStandThirdFourthFirstSecond)
{
    enQ('A', 0);
    enQ('B', 0);
    enQ('C', 1);
    enQ('D', 2);
    EXPECT_EQ("CDAB", names());
}

TEST_F(Lines, FirstOneIsNumber1WhateverItWants)
{
    enQ('A', 99);
    EXPECT_EQ("A", names());
}

TEST_F(Lines, WantedPositionIsTakenAndTheLinesFromThereMoveDown)
{
    for (const char name : {'A', 'B', 'C', 'D', 'E'}) enQ(name, 0);
    enQ('X', 3);
    EXPECT_EQ("ABXCDE", names());
}

TEST_F(Lines, PositionBehindTheLastAppends)
{
    enQ('A', 0);
    enQ('B', 2);
    enQ('C', 99);
    enQ('D', 65535);
    enQ('E', 65536);
    enQ('F', 0xFFFFFFFF);
    EXPECT_EQ("ABCDEF", names());
}

TEST_F(Lines, RemovalRenumbersTheRest)
{
    enQ('A', 0);
    Action& second = enQ('B', 0);
    enQ('C', 0);
    deQ_action(base(), header(), *profile_, second);
    EXPECT_EQ("AC", names());
}

TEST_F(Lines, RemovalOfTheOnlyOneLeavesNoneAndACountOf0)
{
    Action& only = enQ('A', 0);
    deQ_action(base(), header(), *profile_, only);
    EXPECT_EQ("", names());
    EXPECT_EQ(0u, profile_->naction);
    EXPECT_EQ(none, profile_->action_head);
}

TEST_F(Lines, FirstPointsBackToItselfWhenInsertedAndToNoneWhenItBecomesFirst)
{
    Action& a = enQ('A', 0);
    EXPECT_EQ(offset_of(base(), a), a.link.prev);
    Action& b = enQ('B', 1);
    EXPECT_EQ(offset_of(base(), b), b.link.prev);
    EXPECT_EQ(offset_of(base(), b), a.link.prev);
    deQ_action(base(), header(), *profile_, b);
    EXPECT_EQ(none, a.link.prev);
}

TEST_F(Lines, AreFoundByPosition)
{
    Action& a = enQ('A', 0);
    Action& b = enQ('B', 0);
    EXPECT_EQ(&a, lookup_action(base(), header(), *profile_, 1));
    EXPECT_EQ(&b, lookup_action(base(), header(), *profile_, 2));
    EXPECT_EQ(nullptr, lookup_action(base(), header(), *profile_, 0));
    EXPECT_EQ(nullptr, lookup_action(base(), header(), *profile_, 3));
}

TEST_F(Lines, BehaveLikeASequenceUnderRandomUse)
{
    Random random;
    SCOPED_TRACE(random.trace());
    std::vector<Action*> model;
    bool first_points_to_itself = false;
    for (u32 step = 0; step < 1500; ++step) {
        const bool mostly_insert = step / 100 % 2 == 0;
        if (model.empty() || (model.size() < 80 && random.below(10) < (mostly_insert ? 7u : 3u))) {
            const u32 size = static_cast<u32>(model.size());
            const u32 wanted = random.once_in(20) ? random.word() : random.below(size + 4);
            Action* const line = &enQ('?', wanted);
            const u32 place = wanted == 0 ? size : std::min(wanted - 1, size);
            if (place == 0) first_points_to_itself = true;
            model.insert(model.begin() + place, line);
        } else {
            const u32 place = random.below(static_cast<u32>(model.size()));
            Action* const line = model[place];
            deQ_action(base(), header(), *profile_, *line);
            free_action(base(), header(), line);
            if (place == 0) first_points_to_itself = false;
            model.erase(model.begin() + place);
        }
        Offset here = profile_->action_head;
        Offset before = none;
        u32 position = 0;
        for (Action* const line : model) {
            ASSERT_EQ(offset_of(base(), *line).value, here.value) << "step " << step;
            const bool to_itself = before == none && first_points_to_itself;
            ASSERT_EQ((to_itself ? here : before).value, line->link.prev.value) << "step " << step;
            ASSERT_EQ(++position, line->position) << "step " << step;
            before = here;
            here = line->link.next;
        }
        ASSERT_EQ(none.value, here.value) << "step " << step;
        ASSERT_EQ(model.size(), profile_->naction) << "step " << step;
    }
}

}  // namespace
}  // namespace zelfdb
