// Index arrays: index_, unindex_ and lookup_ of every kind that has one.
#include "core/furnished.h"
#include "core/segments.h"
#include "support/random.h"

namespace zelfdb {
namespace {

class IndexesOf : public Database {
public:
    using Database::base;
    using Database::header;
    IndexesOf() { expect_damage(); }

    template <class Record>
    Record& record(u64 first, u32 number, u32 stride = sizeof(Record)) const
    {
        return record_at<Record>(base(), {static_cast<u32>(first) + number * stride});
    }
    Layout layout() const { return layout_of(8, 6, 32); }
};

// Where the slot of ID 0 lies, which IDs have a slot of their own, and the largest ID that a look-up finds. Numbers are
// worked out from the layout, not taken from the code.
struct PhportIndex {
    using Record = Phport;
    static constexpr u32 slot0 = 0x0835C, lowest = 1, highest_slot = 4, highest_found = 4, id_max = 0xFFFF;
    static Record& record(const IndexesOf& t, u32 i) { return t.record<Phport>(t.layout().phport, i); }
    static void set_id(Record& r, u32 id) { r.ID = static_cast<u16>(id); }
    static void index(IndexesOf& t, Record& r) { index_phport(t.base(), t.header(), r); }
    static void unindex(IndexesOf& t, Record& r) { unindex_phport(t.header(), r); }
    static Record* lookup(IndexesOf& t, u32 id) { return lookup_phport(t.base(), t.header(), id); }
};

struct PortIndex {
    using Record = Port;
    static constexpr u32 slot0 = 0x00030, lowest = 1, highest_slot = 200, highest_found = 199, id_max = 0xFFFFFFFF;
    static Record& record(const IndexesOf& t, u32 i) { return t.record<Port>(t.layout().port, i); }
    static void set_id(Record& r, u32 id) { r.PortID = id; }
    static void index(IndexesOf& t, Record& r) { index_port(t.base(), t.header(), r); }
    static void unindex(IndexesOf& t, Record& r) { unindex_port(t.header(), r); }
    static Record* lookup(IndexesOf& t, u32 id) { return lookup_port(t.base(), t.header(), id); }
};

struct StreamIndex {
    using Record = Stream;
    static constexpr u32 slot0 = 0x0837C, lowest = 0, highest_slot = 1023, highest_found = 1023, id_max = 0xFFFF;
    static Record& record(const IndexesOf& t, u32 i) { return t.record<Stream>(t.layout().stream, i); }
    static void set_id(Record& r, u32 id) { r.streamno = static_cast<u16>(id); }
    static void index(IndexesOf& t, Record& r) { index_stream(t.base(), t.header(), r); }
    static void unindex(IndexesOf& t, Record& r) { unindex_stream(t.header(), r); }
    static Record* lookup(IndexesOf& t, u32 id) { return lookup_stream(t.base(), t.header(), id); }
};

struct QueueIndex {
    using Record = Queue;
    static constexpr u32 slot0 = 0x09388, lowest = 0, highest_slot = 8191, highest_found = 8191, id_max = 0xFFFF;
    static Record& record(const IndexesOf& t, u32 i) { return t.record<Queue>(t.layout().queue, i); }
    static void set_id(Record& r, u32 id) { r.queueno = static_cast<u16>(id); }
    static void index(IndexesOf& t, Record& r) { index_queue(t.base(), t.header(), r); }
    static void unindex(IndexesOf& t, Record& r) { unindex_queue(t.header(), r); }
    static Record* lookup(IndexesOf& t, u32 id) { return lookup_queue(t.base(), t.header(), id); }
};

struct VlanIndex {
    using Record = Vlan;
    static constexpr u32 slot0 = 0x11798, lowest = 0, highest_slot = 8191, highest_found = 8191, id_max = 0xFFFF;
    static Record& record(const IndexesOf& t, u32 i) { return t.record<VlanSlot>(t.layout().vlan, i % 6).vlan; }
    static void set_id(Record& r, u32 id) { r.VID = static_cast<u16>(id); }
    static void index(IndexesOf& t, Record& r) { index_vlan(t.base(), t.header(), r); }
    static void unindex(IndexesOf& t, Record& r) { unindex_vlan(t.header(), r); }
    static Record* lookup(IndexesOf& t, u32 id) { return lookup_vlan(t.base(), t.header(), id); }
};

struct ClassifyIndex {
    using Record = Classify;
    static constexpr u32 slot0 = 0x197B0, lowest = 1, highest_slot = 64, highest_found = 64, id_max = 0xFFFF;
    static Record& record(const IndexesOf& t, u32 i) { return t.record<Classify>(t.layout().classify, i); }
    static void set_id(Record& r, u32 id) { r.ID = static_cast<u16>(id); }
    static void index(IndexesOf& t, Record& r) { index_classify(t.base(), t.header(), r); }
    static void unindex(IndexesOf& t, Record& r) { unindex_classify(t.header(), r); }
    static Record* lookup(IndexesOf& t, u32 id) { return lookup_classify(t.base(), t.header(), id); }
};

struct IndexNames {
    template <class Kind>
    static std::string GetName(int)
    {
        if constexpr (std::is_same_v<Kind, PhportIndex>) return "phport";
        if constexpr (std::is_same_v<Kind, PortIndex>) return "port";
        if constexpr (std::is_same_v<Kind, StreamIndex>) return "stream";
        if constexpr (std::is_same_v<Kind, QueueIndex>) return "queue";
        if constexpr (std::is_same_v<Kind, VlanIndex>) return "vlan";
        if constexpr (std::is_same_v<Kind, ClassifyIndex>) return "classify";
    }
};

template <class Kind>
class Indexes : public IndexesOf {
protected:
    using Record = typename Kind::Record;

    Record& with_id(u32 number, u32 id)
    {
        Record& record = Kind::record(*this, number);
        Kind::set_id(record, id);
        return record;
    }
    void index(Record& record) { Kind::index(*this, record); }
    void unindex(Record& record) { Kind::unindex(*this, record); }
    Record* lookup(u32 id) { return Kind::lookup(*this, id); }
    u32 at(const Record& record) const { return offset_of(base(), record).value; }

    // The header as words, to be compared whole: an index writes its slot and nothing else.
    std::vector<u32> words() const
    {
        std::vector<u32> all(sizeof(Header) / 4);
        std::memcpy(all.data(), &header(), sizeof(Header));
        return all;
    }
    static u32 word_of(u32 id) { return Kind::slot0 / 4 + id; }
};

using IndexKinds = testing::Types<PhportIndex, PortIndex, StreamIndex, QueueIndex, VlanIndex, ClassifyIndex>;
TYPED_TEST_SUITE(Indexes, IndexKinds, IndexNames);

TYPED_TEST(Indexes, LowestAndHighestIdHaveASlotAndAreFound)
{
    for (const u32 id : {TypeParam::lowest, TypeParam::highest_found}) {
        auto& record = this->with_id(1, id);
        std::vector<u32> expected = this->words();
        this->index(record);
        expected[this->word_of(id)] = this->at(record);
        EXPECT_EQ(expected, this->words());
        EXPECT_EQ(&record, this->lookup(id));
        this->unindex(record);
        expected[this->word_of(id)] = 0xFFFFFFFF;
        EXPECT_EQ(expected, this->words());
        EXPECT_EQ(nullptr, this->lookup(id));
    }
}

TYPED_TEST(Indexes, IdsWithoutASlotAreWrittenNowhere)
{
    for (const u32 id : {TypeParam::highest_slot + 1, TypeParam::highest_slot + 2, TypeParam::highest_slot + 200,
                         0x7FFFu, 0x8000u, 0xFFFFu, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        if (id > TypeParam::id_max) continue;
        auto& record = this->with_id(1, id);
        const std::vector<u32> before = this->words();
        this->index(record);
        this->unindex(record);
        EXPECT_EQ(before, this->words()) << id;
    }
}

TYPED_TEST(Indexes, IdsAboveTheBoundAreNotFoundWhateverLiesThere)
{
    for (const u32 id : {TypeParam::highest_found + 1, TypeParam::highest_found + 2, 0xFFFFu, 0x10000u, 0x7FFFFFFFu,
                         0x80000000u, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
        EXPECT_EQ(nullptr, this->lookup(id)) << id;
    }
}

TYPED_TEST(Indexes, BehaveLikeAnArrayUnderRandomUse)
{
    Random random;
    SCOPED_TRACE(random.trace());
    // The phports are indexed from the start.
    std::vector<u32> expected = this->words();
    for (u32 step = 0; step < 400; ++step) {
        const u32 span = TypeParam::highest_slot + 3;
        u32 id = random.once_in(8) ? random.word() : random.below(random.once_in(2) ? span : std::min(span, 8u));
        if (TypeParam::id_max == 0xFFFF) id &= 0xFFFF;
        const bool has_slot = id >= TypeParam::lowest && id <= TypeParam::highest_slot;
        auto& record = this->with_id(random.below(4), id);
        if (random.once_in(3)) {
            this->unindex(record);
            if (has_slot) expected[this->word_of(id)] = 0xFFFFFFFF;
        } else {
            this->index(record);
            if (has_slot) expected[this->word_of(id)] = this->at(record);
        }
        ASSERT_TRUE(expected == this->words()) << "step " << step << " ID " << id;

        const u32 wanted = random.once_in(8) ? random.word() : random.below(span);
        auto* const found = this->lookup(wanted);
        if (wanted > TypeParam::highest_found || expected[this->word_of(wanted)] == 0xFFFFFFFF) {
            ASSERT_EQ(nullptr, found) << "step " << step << " ID " << wanted;
        } else {
            ASSERT_NE(nullptr, found) << "step " << step << " ID " << wanted;
            ASSERT_EQ(expected[this->word_of(wanted)], this->at(*found)) << "step " << step << " ID " << wanted;
        }
    }
}

using SharedSlots = IndexesOf;

TEST_F(SharedSlots, LookUpOfPort0FindsTheFirstFreePort)
{
    EXPECT_EQ(header().port_free.value, offset_of(base(), *lookup_port(base(), header(), 0)).value);
    while (alloc_port(base(), header())) {
    }
    EXPECT_EQ(nullptr, lookup_port(base(), header(), 0));
}

TEST_F(SharedSlots, LookUpOfPhport0FindsNothingWhileAllAreInUse)
{
    EXPECT_EQ(nullptr, lookup_phport(base(), header(), 0));
}

TEST_F(SharedSlots, LookUpOfProfile0FindsAFreeLine)
{
    EXPECT_EQ(header().action_free.value, offset_of(base(), *lookup_classify(base(), header(), 0)).value);
}

TEST_F(SharedSlots, ObjectsWithId0AreNotKnown)
{
    EXPECT_EQ(nullptr, known_port(base(), header(), 0));
    EXPECT_EQ(nullptr, known_phport(base(), header(), 0));
    EXPECT_EQ(nullptr, known_classify(base(), header(), 0));
    EXPECT_NE(nullptr, known_phport(base(), header(), 1));
}

TEST_F(SharedSlots, EnteringId0LeavesTheFreeListsAlone)
{
    const Header before = header();
    Port& port = record<Port>(layout().port, 0);
    Phport& phport = record<Phport>(layout().phport, 0);
    Classify& classify = record<Classify>(layout().classify, 0);
    port.PortID = 0;
    phport.ID = 0;
    classify.ID = 0;
    index_port(base(), header(), port);
    index_phport(base(), header(), phport);
    index_classify(base(), header(), classify);
    unindex_port(header(), port);
    unindex_phport(header(), phport);
    unindex_classify(header(), classify);
    EXPECT_EQ(0, std::memcmp(&before, &header(), sizeof before));
}

TEST_F(SharedSlots, Port200HasASlotThatNoLookUpReads)
{
    Port& port = record<Port>(layout().port, 0);
    port.PortID = 200;
    index_port(base(), header(), port);
    EXPECT_EQ(offset_of(base(), port), header().port_index[199]);
    EXPECT_EQ(nullptr, lookup_port(base(), header(), 200));
    port.PortID = 199;
    index_port(base(), header(), port);
    EXPECT_EQ(&port, lookup_port(base(), header(), 199));
}

}  // namespace
}  // namespace zelfdb
