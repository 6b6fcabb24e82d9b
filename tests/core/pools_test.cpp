// Record pools: alloc_ and free_ of every kind.
#include <algorithm>

#include "core/furnished.h"
#include "core/segments.h"
#include "support/random.h"

namespace zelfdb {
namespace {

using testing::ElementsAre;

// Bytes of a record from .. to - 1.
struct Bytes {
    u32 from;
    u32 to;
};

class PoolsOf : public Database {
public:
    PoolsOf() { expect_damage(); }  // records are taken and put on no list
    using Database::base;
    using Database::fdb;
    using Database::header;

    Layout layout() const { return layout_of(header().nport, header().nvlan, header().nfil); }
    // The VLAN whose memberships are tried.
    Vlan& owner() const { return record_at<Vlan>(base(), {static_cast<u32>(layout().vlan)}); }

protected:
    void SetUp() override
    {
        Database::SetUp();
        // The only kind that has none free: threaded anew, as a pool that nobody has taken from.
        header().phport_head = none;
        header().phport_free = none;
        for (u32 i = 0; i < 4; ++i) {
            free_phport(base(), header(), &record_at<Phport>(base(), {static_cast<u32>(layout().phport) + i * 24}));
        }
    }
};

// What the tests need to know of a kind: where its records lie, and which bytes alloc_ sets to none and to 0.
struct PhportKind {
    using Record = Phport;
    static constexpr auto link = &Phport::phport_link;
    static constexpr u32 count = 4, stride = 24;
    static inline const std::vector<Bytes> set_to_none{{4, 12}};
    static inline const std::vector<Bytes> set_to_zero{};
    static Base base(const PoolsOf& t) { return t.base(); }
    static u32 first(const PoolsOf& t) { return static_cast<u32>(t.layout().phport); }
    static Offset head(const PoolsOf& t) { return t.header().phport_free; }
    static Record* alloc(PoolsOf& t) { return alloc_phport(t.base(), t.header()); }
    static void free(PoolsOf& t, Record* r) { free_phport(t.base(), t.header(), r); }
};

struct PortKind {
    using Record = Port;
    static constexpr auto link = &Port::port_link;
    static constexpr u32 count = 8, stride = 1324;
    static inline const std::vector<Bytes> set_to_none{{0x34, 0x48}, {0x520, 0x524}};
    static inline const std::vector<Bytes> set_to_zero{};
    static Base base(const PoolsOf& t) { return t.base(); }
    static u32 first(const PoolsOf& t) { return static_cast<u32>(t.layout().port); }
    static Offset head(const PoolsOf& t) { return t.header().port_free; }
    static Record* alloc(PoolsOf& t) { return alloc_port(t.base(), t.header()); }
    static void free(PoolsOf& t, Record* r) { free_port(t.base(), t.header(), r); }
};

struct StreamKind {
    using Record = Stream;
    static constexpr auto link = &Stream::stream_link;
    static constexpr u32 count = 1024, stride = 288;
    static inline const std::vector<Bytes> set_to_none{{0x4C, 0x54}, {0x68, 0x6C}, {0x78, 0x7C},
                                                       {0x88, 0x8C}, {0x98, 0x9C}, {0xA8, 0xAC},
                                                       {0xB8, 0xBC}, {0xC8, 0xCC}, {0xD8, 0xDC}};
    static inline const std::vector<Bytes> set_to_zero{};
    static Base base(const PoolsOf& t) { return t.base(); }
    static u32 first(const PoolsOf& t) { return static_cast<u32>(t.layout().stream); }
    static Offset head(const PoolsOf& t) { return t.header().stream_free; }
    static Record* alloc(PoolsOf& t) { return alloc_stream(t.base(), t.header()); }
    static void free(PoolsOf& t, Record* r) { free_stream(t.base(), t.header(), r); }
};

struct QueueKind {
    using Record = Queue;
    static constexpr auto link = &Queue::queue_link;
    static constexpr u32 count = 8192, stride = 64;
    static inline const std::vector<Bytes> set_to_none{{0x2C, 0x3C}};
    static inline const std::vector<Bytes> set_to_zero{};
    static Base base(const PoolsOf& t) { return t.base(); }
    static u32 first(const PoolsOf& t) { return static_cast<u32>(t.layout().queue); }
    static Offset head(const PoolsOf& t) { return t.header().queue_free; }
    static Record* alloc(PoolsOf& t) { return alloc_queue(t.base(), t.header()); }
    static void free(PoolsOf& t, Record* r) { free_queue(t.base(), t.header(), r); }
};

struct VlanKind {
    using Record = Vlan;
    static constexpr auto link = &Vlan::vlan_link;
    static constexpr u32 count = 6, stride = 1576;
    static inline const std::vector<Bytes> set_to_none{{0x28, 0x2C}, {0x34, 0x44}};  // 0x2C, its free pvs, stays
    static inline const std::vector<Bytes> set_to_zero{};
    static Base base(const PoolsOf& t) { return t.base(); }
    static u32 first(const PoolsOf& t) { return static_cast<u32>(t.layout().vlan); }
    static Offset head(const PoolsOf& t) { return t.header().vlan_free; }
    static Record* alloc(PoolsOf& t) { return alloc_vlan(t.base(), t.header()); }
    static void free(PoolsOf& t, Record* r) { free_vlan(t.base(), t.header(), r); }
};

struct PvKind {
    using Record = Pv;
    static constexpr auto link = &Pv::vlan_link;
    static constexpr u32 count = 8, stride = 56;
    static inline const std::vector<Bytes> set_to_none{{8, 0x20}};
    static inline const std::vector<Bytes> set_to_zero{{0x24, 0x38}};
    static Base base(const PoolsOf& t) { return t.base(); }
    static u32 first(const PoolsOf& t) { return static_cast<u32>(t.layout().vlan) + 1128; }
    static Offset head(const PoolsOf& t) { return t.owner().pv_free; }
    static Record* alloc(PoolsOf& t) { return alloc_pv(t.base(), t.header(), t.owner()); }
    static void free(PoolsOf& t, Record* r) { free_pv(t.base(), t.header(), t.owner(), r); }
};

struct FilKind {
    using Record = Fil;
    static constexpr auto link = &Fil::link;
    static constexpr u32 count = 32, stride = 44;
    static inline const std::vector<Bytes> set_to_none{{0, 8}};
    static inline const std::vector<Bytes> set_to_zero{};
    static Base base(const PoolsOf& t) { return t.fdb(); }
    static u32 first(const PoolsOf&) { return 0; }
    static Offset head(const PoolsOf& t) { return t.header().fil_free; }
    static Record* alloc(PoolsOf& t) { return alloc_fil(t.fdb(), t.header()); }
    static void free(PoolsOf& t, Record* r) { free_fil(t.fdb(), t.header(), r); }
};

struct ClassifyKind {
    using Record = Classify;
    static constexpr auto link = &Classify::classify_link;
    static constexpr u32 count = 64, stride = 24;
    static inline const std::vector<Bytes> set_to_none{{4, 12}};
    static inline const std::vector<Bytes> set_to_zero{{0x10, 0x14}};
    static Base base(const PoolsOf& t) { return t.base(); }
    static u32 first(const PoolsOf& t) { return static_cast<u32>(t.layout().classify); }
    static Offset head(const PoolsOf& t) { return t.header().classify_free; }
    static Record* alloc(PoolsOf& t) { return alloc_classify(t.base(), t.header()); }
    static void free(PoolsOf& t, Record* r) { free_classify(t.base(), t.header(), r); }
};

struct ActionKind {
    using Record = Action;
    static constexpr auto link = &Action::link;
    static constexpr u32 count = 16384, stride = 132;
    static inline const std::vector<Bytes> set_to_none{{0, 8}};
    static inline const std::vector<Bytes> set_to_zero{};
    static Base base(const PoolsOf& t) { return t.base(); }
    static u32 first(const PoolsOf& t) { return static_cast<u32>(t.layout().action); }
    static Offset head(const PoolsOf& t) { return t.header().action_free; }
    static Record* alloc(PoolsOf& t) { return alloc_action(t.base(), t.header()); }
    static void free(PoolsOf& t, Record* r) { free_action(t.base(), t.header(), r); }
};

struct KindNames {
    template <class Kind>
    static std::string GetName(int)
    {
        if constexpr (std::is_same_v<Kind, PhportKind>) return "phport";
        if constexpr (std::is_same_v<Kind, PortKind>) return "port";
        if constexpr (std::is_same_v<Kind, StreamKind>) return "stream";
        if constexpr (std::is_same_v<Kind, QueueKind>) return "queue";
        if constexpr (std::is_same_v<Kind, VlanKind>) return "vlan";
        if constexpr (std::is_same_v<Kind, PvKind>) return "pv";
        if constexpr (std::is_same_v<Kind, FilKind>) return "fil";
        if constexpr (std::is_same_v<Kind, ClassifyKind>) return "classify";
        if constexpr (std::is_same_v<Kind, ActionKind>) return "action";
    }
};

template <class Kind>
class Pools : public PoolsOf {
protected:
    using Record = typename Kind::Record;

    Record* alloc() { return Kind::alloc(*this); }
    void free(Record* record) { Kind::free(*this, record); }
    Offset head() const { return Kind::head(*this); }
    Offset at(const Record& record) const { return offset_of(Kind::base(*this), record); }
    Link& link(Record& record) const { return record.*Kind::link; }
    Record& record(u32 number) const
    {
        return record_at<Record>(Kind::base(*this), {Kind::first(*this) + number * Kind::stride});
    }
    Record& record_of(Offset offset) const { return record_at<Record>(Kind::base(*this), offset); }

    // The free list is exactly these records, the last one first.
    void expect_free(const std::vector<Record*>& stack, bool first_points_to_itself)
    {
        Offset here = head();
        Offset before = none;
        for (auto it = stack.rbegin(); it != stack.rend(); ++it) {
            ASSERT_EQ(at(**it).value, here.value);
            const bool first = before == none;
            const Offset prev = first && first_points_to_itself ? here : before;
            ASSERT_EQ(prev.value, link(**it).prev.value);
            before = here;
            here = link(**it).next;
        }
        ASSERT_EQ(none.value, here.value);
    }
};

using PoolKinds =
    testing::Types<PhportKind, PortKind, StreamKind, QueueKind, VlanKind, PvKind, FilKind, ClassifyKind, ActionKind>;
TYPED_TEST_SUITE(Pools, PoolKinds, KindNames);

TYPED_TEST(Pools, HandOutEveryRecordOnceFromTheTopDownAndThenNothing)
{
    for (u32 i = TypeParam::count; i-- > 0;) {
        auto* const taken = this->alloc();
        ASSERT_EQ(&this->record(i), taken);
    }
    EXPECT_EQ(nullptr, this->alloc());
    EXPECT_EQ(none, this->head());
    EXPECT_EQ(nullptr, this->alloc());
}

TYPED_TEST(Pools, RecordFreedIntoAnExhaustedPoolIsTheNextHandedOut)
{
    std::vector<typename TypeParam::Record*> taken;
    while (auto* const record = this->alloc()) taken.push_back(record);
    ASSERT_EQ(TypeParam::count, taken.size());
    auto* const middle = taken[taken.size() / 2];
    this->free(middle);
    EXPECT_EQ(this->at(*middle), this->link(*middle).prev);
    EXPECT_EQ(none, this->link(*middle).next);
    EXPECT_EQ(middle, this->alloc());
    EXPECT_EQ(nullptr, this->alloc());
}

TYPED_TEST(Pools, LastFreedIsFirstHandedOut)
{
    auto* const first = this->alloc();
    auto* const second = this->alloc();
    this->free(first);
    this->free(second);
    EXPECT_EQ(second, this->alloc());
    EXPECT_EQ(first, this->alloc());
}

TYPED_TEST(Pools, TakingTheFirstLeavesTheNextWithoutPrevious)
{
    auto* const taken = this->alloc();
    auto& next = this->record_of(this->head());
    EXPECT_EQ(none, this->link(next).prev);
    EXPECT_EQ(none, this->link(*taken).next);
    EXPECT_EQ(none, this->link(*taken).prev);
}

TYPED_TEST(Pools, FreedRecordPointsBackToItselfAndIsPreviousOfTheOldFirst)
{
    auto* const taken = this->alloc();
    auto& old_first = this->record_of(this->head());
    this->free(taken);
    EXPECT_EQ(this->at(*taken), this->head());
    EXPECT_EQ(this->at(*taken), this->link(*taken).prev);
    EXPECT_EQ(this->at(old_first), this->link(*taken).next);
    EXPECT_EQ(this->at(*taken), this->link(old_first).prev);
}

TYPED_TEST(Pools, FreeingNothingDoesNothing)
{
    const Snapshot before = this->snapshot();
    this->free(nullptr);
    EXPECT_EQ(before, this->snapshot());
}

TYPED_TEST(Pools, TakingWritesTheLinksAndFewOtherFieldsAndKeepsTheRestOfTheRecord)
{
    constexpr u8 used = 0xA5;
    auto* const first_use = this->alloc();
    auto* const bytes = reinterpret_cast<u8*>(first_use);
    std::memset(bytes, used, sizeof *first_use);
    this->free(first_use);
    ASSERT_EQ(first_use, this->alloc());

    std::vector<u8> expected(sizeof *first_use, used);
    const auto set = [&expected](const std::vector<Bytes>& ranges, u8 to) {
        for (const Bytes& range : ranges) std::fill(expected.begin() + range.from, expected.begin() + range.to, to);
    };
    set(TypeParam::set_to_none, 0xFF);
    set(TypeParam::set_to_zero, 0);
    EXPECT_EQ(expected, std::vector<u8>(bytes, bytes + sizeof *first_use));
}

TYPED_TEST(Pools, PoolsOfOtherKindsAreNotTouched)
{
    Snapshot before = this->snapshot();
    const u32 head_words = 4;
    for (int i = 0; i < 3; ++i) this->alloc();
    const Snapshot after = this->snapshot();
    const u32 first = TypeParam::first(*this);
    const u32 end = first + TypeParam::count * TypeParam::stride;
    const bool in_fdb = std::is_same_v<TypeParam, FilKind>;
    u32 changed_outside = 0;
    for (u32 i = 0; i < before.main.size(); i += 4) {
        const bool inside = !in_fdb && i >= first && i < end;
        if (!inside && std::memcmp(&before.main[i], &after.main[i], 4) != 0) changed_outside += 4;
    }
    EXPECT_EQ(head_words, changed_outside);  // the free head itself
    EXPECT_EQ(in_fdb, before.fdb != after.fdb);
}

// Random use against a stack of records, every link of the free list checked after each step. Most of a large pool is taken
// first, so that the list is as short as in a busy switch.
TYPED_TEST(Pools, BehaveLikeAStackUnderRandomUse)
{
    Random random;
    SCOPED_TRACE(random.trace());
    std::vector<typename TypeParam::Record*> stack;
    for (u32 i = 0; i < TypeParam::count; ++i) stack.push_back(&this->record(i));
    std::vector<typename TypeParam::Record*> taken;
    bool first_points_to_itself = true;
    const auto take = [&] {
        auto* const record = this->alloc();
        if (stack.empty()) {
            ASSERT_EQ(nullptr, record);
            return;
        }
        ASSERT_EQ(stack.back(), record);
        stack.pop_back();
        taken.push_back(record);
        first_points_to_itself = false;
    };
    while (stack.size() > 60) ASSERT_NO_FATAL_FAILURE(take());

    for (u32 step = 0; step < 600; ++step) {
        const bool mostly_take = step / 50 % 2 == 0;
        if (random.below(10) < (mostly_take ? 7u : 3u)) {
            ASSERT_NO_FATAL_FAILURE(take());
        } else if (!taken.empty() && stack.size() < 100) {
            std::swap(taken[random.below(static_cast<u32>(taken.size()))], taken.back());
            this->free(taken.back());
            stack.push_back(taken.back());
            taken.pop_back();
            first_points_to_itself = true;
        }
        ASSERT_NO_FATAL_FAILURE(this->expect_free(stack, first_points_to_itself)) << "step " << step;
    }
    while (!taken.empty()) {
        this->free(taken.back());
        stack.push_back(taken.back());
        taken.pop_back();
    }
    this->expect_free(stack, true);
}

class PrivatePools : public PoolsOf {};

TEST_F(PrivatePools, EachVlanHandsOutOnlyItsOwnEightMemberships)
{
    Vlan& other = record_at<Vlan>(base(), {static_cast<u32>(layout().vlan) + 1576});
    const Snapshot before = snapshot();
    for (int i = 0; i < 8; ++i) EXPECT_NE(nullptr, alloc_pv(base(), header(), owner()));
    EXPECT_EQ(nullptr, alloc_pv(base(), header(), owner()));
    const u32 others = offset_of(base(), other).value;
    EXPECT_EQ(0, std::memcmp(&before.main[others], base().bytes + others, 1576));
    EXPECT_NE(nullptr, alloc_pv(base(), header(), other));
}

TEST_F(PrivatePools, MembershipsOutliveTheirVlan)
{
    Vlan* const vlan = alloc_vlan(base(), header());
    Pv* const kept = alloc_pv(base(), header(), *vlan);
    const Offset free_pvs = vlan->pv_free;
    free_vlan(base(), header(), vlan);
    ASSERT_EQ(vlan, alloc_vlan(base(), header()));
    EXPECT_EQ(free_pvs, vlan->pv_free);
    EXPECT_NE(kept, alloc_pv(base(), header(), *vlan));
}

}  // namespace
}  // namespace zelfdb
