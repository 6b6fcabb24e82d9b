// Hash chains: VLANs by name, MAC entries by address.
#include <algorithm>
#include <map>

#include "core/furnished.h"
#include "core/segments.h"
#include "support/random.h"

namespace zelfdb {
namespace {

using testing::ElementsAre;

TEST(NameHash, IsTheSumOfTheBytesModuloTheModulus)
{
    EXPECT_EQ(0, name_hash("", 256));
    EXPECT_EQ(97, name_hash("a", 256));
    EXPECT_EQ(195, name_hash("ab", 256));
    EXPECT_EQ(24, name_hash("sales", 256));
    EXPECT_EQ(5, name_hash("ab", 10));
    EXPECT_EQ(30 * 122 % 256, name_hash("zzzzzzzzzzzzzzzzzzzzzzzzzzzzzz", 256));
}

TEST(NameHash, TakesBytesAsUnsigned)
{
    EXPECT_EQ(255, name_hash("\xFF", 256));
    EXPECT_EQ(0x80 + 0xC3, name_hash("\x80\xC3", 1000));
}

TEST(NameHash, DoesNotDependOnTheOrderOfTheLetters) { EXPECT_EQ(name_hash("ab", 256), name_hash("ba", 256)); }

TEST(MacBucket, IsTheLowByteOfTheSumOfTheSixBytes)
{
    const auto bucket = [](const std::array<u8, 6>& bytes) {
        Mac mac{};
        std::copy(bytes.begin(), bytes.end(), mac.byte);
        return mac_bucket(mac);
    };
    EXPECT_EQ(0u, bucket({0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(0u, bucket({1, 0, 0, 0, 0, 0xFF}));
    EXPECT_EQ(1u, bucket({1, 0, 0, 0, 0, 0}));
    EXPECT_EQ(1u, bucket({0, 0, 0, 0, 0, 1}));
    EXPECT_EQ(1530u % 256, bucket({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}));
}

// Chains filled by hand, with records that are on no other list.
class Chains : public Database {
protected:
    Chains() : Database(8, 40, 64) { expect_damage(); }

    Vlan& named(u32 number, const std::string& name)
    {
        const auto slot = static_cast<u32>(layout_of(8, 40, 64).vlan + number * sizeof(VlanSlot));
        Vlan& vlan = record_at<Vlan>(base(), {slot});
        std::memset(vlan.name, 0, sizeof vlan.name);
        std::memcpy(vlan.name, name.data(), name.size());
        return vlan;
    }
    void add(Vlan& vlan) { hAdd_vlan_by_vlanname(base(), header(), vlan); }
    void rem(Vlan& vlan) { hRem_vlan_by_vlanname(base(), header(), vlan); }
    Vlan* look_up(const std::string& name) { return lookup_vlan_by_vlanname(base(), header(), name.c_str()); }

    Fil& entry(u32 number, const Mac& address)
    {
        Fil& fil = record_at<Fil>(fdb(), {number * static_cast<u32>(sizeof(Fil))});
        fil.mac = address;
        return fil;
    }
    void front(FdbHead& table, Fil& fil) { hAdd_fil_by_mac(fdb(), header(), table, fil); }
    void tail(FdbHead& table, Fil& fil) { hAdd_fil_by_mac_tail(fdb(), header(), table, fil); }
    void rem(FdbHead& table, Fil& fil) { hRem_fil_by_mac(fdb(), header(), table, fil); }
    Fil* look_up(FdbHead& table, const Mac& address) { return lookup_fil_by_mac(fdb(), header(), table, address); }

    std::vector<u32> numbers(const FdbHead& table, u32 bucket)
    {
        std::vector<u32> all;
        for (const Fil& fil : chain(fils_by_mac, fdb(), table, bucket)) all.push_back(offset_of(fdb(), fil).value / 44);
        return all;
    }
    FdbHead& table(u32 number)
    {
        FdbHead& head =
            record_at<Port>(base(), {static_cast<u32>(layout_of(8, 40, 64).port + number * sizeof(Port))}).fdb;
        return head;
    }
    FdbHead& empty_table(u32 number = 0)
    {
        init_fdb(&d(), table(number), kind_port_fdb, number);
        return table(number);
    }
};

TEST_F(Chains, NamesOfTheSameLettersShareABucketAndAreBothFound)
{
    Vlan& ab = named(0, "ab");
    Vlan& ba = named(1, "ba");
    add(ab);
    add(ba);
    EXPECT_EQ(offset_of(base(), ba), header().vlan_name[195]);
    EXPECT_EQ(offset_of(base(), ab), ba.name_link.next);
    EXPECT_EQ(&ab, look_up("ab"));
    EXPECT_EQ(&ba, look_up("ba"));
}

TEST_F(Chains, NamesAreComparedWholeAndByCase)
{
    add(named(0, "ab"));
    EXPECT_EQ(nullptr, look_up("aB"));
    EXPECT_EQ(nullptr, look_up("abc"));
    EXPECT_EQ(nullptr, look_up("a"));
    EXPECT_EQ(nullptr, look_up(""));
}

TEST_F(Chains, EmptyNameAndNameOfAllHighBytesAreFound)
{
    Vlan& empty = named(0, "");
    Vlan& high = named(1, std::string(30, '\xFF'));
    add(empty);
    add(high);
    EXPECT_EQ(&empty, look_up(""));
    EXPECT_EQ(&high, look_up(std::string(30, '\xFF')));
}

TEST_F(Chains, NameAddedLastIsFirstAndPointsBackToItself)
{
    Vlan& first = named(0, "ab");
    Vlan& second = named(1, "ba");
    add(first);
    EXPECT_EQ(offset_of(base(), first), first.name_link.prev);
    EXPECT_EQ(none, first.name_link.next);
    add(second);
    EXPECT_EQ(offset_of(base(), second), second.name_link.prev);
    EXPECT_EQ(offset_of(base(), second), first.name_link.prev);
}

TEST_F(Chains, RemovedNameKeepsItsLinksAndTheNextHasNoPrevious)
{
    Vlan& first = named(0, "ab");
    Vlan& second = named(1, "ba");
    add(first);
    add(second);
    const Link before = second.name_link;
    rem(second);
    EXPECT_EQ(before.next, second.name_link.next);
    EXPECT_EQ(before.prev, second.name_link.prev);
    EXPECT_EQ(none, first.name_link.prev);
    EXPECT_EQ(offset_of(base(), first), header().vlan_name[195]);
    EXPECT_EQ(nullptr, look_up("ba"));
}

TEST_F(Chains, EntriesAddedToTheFrontAreMetLastFirst)
{
    FdbHead& fdb_head = empty_table();
    front(fdb_head, entry(4, mac(0x01)));
    front(fdb_head, entry(9, mac(0x0100)));
    EXPECT_THAT(numbers(fdb_head, 1), ElementsAre(9, 4));
}

TEST_F(Chains, EntriesAddedToTheTailAreMetFirstFirst)
{
    FdbHead& fdb_head = empty_table();
    tail(fdb_head, entry(4, mac(0x01)));
    tail(fdb_head, entry(9, mac(0x0100)));
    tail(fdb_head, entry(2, mac(0x010000)));
    EXPECT_THAT(numbers(fdb_head, 1), ElementsAre(4, 9, 2));
    EXPECT_EQ(4u * 44, entry(4, mac(0x01)).link.prev.value);
    EXPECT_EQ(4u * 44, entry(9, mac(0x0100)).link.prev.value);
    EXPECT_EQ(none, entry(2, mac(0x010000)).link.next);
}

TEST_F(Chains, EntryLearnedBehindStaticOnesIsMetBeforeThem)
{
    FdbHead& fdb_head = empty_table();
    tail(fdb_head, entry(4, mac(0x01)));
    front(fdb_head, entry(9, mac(0x0100)));
    tail(fdb_head, entry(2, mac(0x010000)));
    EXPECT_THAT(numbers(fdb_head, 1), ElementsAre(9, 4, 2));
}

TEST_F(Chains, RemovedFirstEntryLeavesTheNextWithoutPrevious)
{
    FdbHead& fdb_head = empty_table();
    Fil& first = entry(4, mac(0x01));
    Fil& second = entry(9, mac(0x0100));
    tail(fdb_head, first);
    tail(fdb_head, second);
    rem(fdb_head, first);
    EXPECT_THAT(numbers(fdb_head, 1), ElementsAre(9));
    EXPECT_EQ(none, second.link.prev);
    EXPECT_EQ(9u * 44, first.link.next.value);
}

TEST_F(Chains, AddressesAreFoundWithinTheirOwnTableOnly)
{
    FdbHead& here = empty_table(0);
    FdbHead& elsewhere = empty_table(1);
    Fil& one = entry(4, mac(0x0A));
    Fil& twin = entry(5, mac(0x0A));
    front(here, one);
    front(elsewhere, twin);
    EXPECT_EQ(&one, look_up(here, mac(0x0A)));
    EXPECT_EQ(&twin, look_up(elsewhere, mac(0x0A)));
    rem(here, one);
    EXPECT_EQ(nullptr, look_up(here, mac(0x0A)));
    EXPECT_EQ(&twin, look_up(elsewhere, mac(0x0A)));
}

TEST_F(Chains, AllSixBytesOfAnAddressCount)
{
    FdbHead& fdb_head = empty_table();
    front(fdb_head, entry(4, mac(0x010203040506)));
    for (const u64 other : {0x020103040506u, 0x010203040605u, 0x010203030606u}) {
        EXPECT_EQ(nullptr, look_up(fdb_head, mac(other)));
    }
    EXPECT_NE(nullptr, look_up(fdb_head, mac(0x010203040506)));
}

TEST_F(Chains, LookUpInAnEmptyTableDoesNotTouchTheFdbSegment)
{
    FdbHead& fdb_head = empty_table();
    for (u64 last = 0; last < 256; ++last) {
        EXPECT_EQ(nullptr, lookup_fil_by_mac(Base{nullptr}, header(), fdb_head, mac(last)));
    }
}

// Names of few letters, so that most share buckets.
TEST_F(Chains, NamesBehaveLikeFrontInsertedListsUnderRandomUse)
{
    Random random;
    SCOPED_TRACE(random.trace());
    struct Chain {
        std::vector<Vlan*> vlans;
        bool first_points_to_itself = false;
    };
    std::vector<Chain> model(bucket_count);
    std::map<std::string, Vlan*> by_name;
    std::vector<u32> off;
    for (u32 i = 0; i < 40; ++i) off.push_back(i);
    std::vector<u32> on;
    const auto any_name = [&random] {
        std::string name;
        for (u32 length = random.below(4); length > 0; --length) name += static_cast<char>('a' + random.below(3));
        return name;
    };
    for (u32 step = 0; step < 1500; ++step) {
        const std::string name = any_name();
        if (!off.empty() && !by_name.count(name) && random.below(2) == 0) {
            std::swap(off[random.below(static_cast<u32>(off.size()))], off.back());
            Vlan& vlan = named(off.back(), name);
            add(vlan);
            Chain& chain = model[name_bucket(name.c_str())];
            chain.vlans.insert(chain.vlans.begin(), &vlan);
            chain.first_points_to_itself = true;
            by_name[name] = &vlan;
            on.push_back(off.back());
            off.pop_back();
        } else if (!on.empty()) {
            std::swap(on[random.below(static_cast<u32>(on.size()))], on.back());
            const auto slot = static_cast<u32>(layout_of(8, 40, 64).vlan + on.back() * sizeof(VlanSlot));
            Vlan& vlan = record_at<Vlan>(base(), {slot});
            const Link before = vlan.name_link;
            rem(vlan);
            ASSERT_EQ(before.next, vlan.name_link.next);
            ASSERT_EQ(before.prev, vlan.name_link.prev);
            Chain& chain = model[name_bucket(vlan.name)];
            if (chain.vlans.front() == &vlan) chain.first_points_to_itself = false;
            std::erase(chain.vlans, &vlan);
            by_name.erase(vlan.name);
            off.push_back(on.back());
            on.pop_back();
        }
        for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
            const Chain& chain = model[bucket];
            Offset here = header().vlan_name[bucket];
            Offset before = none;
            for (const Vlan* const vlan : chain.vlans) {
                ASSERT_EQ(offset_of(base(), *vlan).value, here.value) << "step " << step;
                const bool to_itself = before == none && chain.first_points_to_itself;
                ASSERT_EQ((to_itself ? here : before).value, vlan->name_link.prev.value) << "step " << step;
                before = here;
                here = vlan->name_link.next;
            }
            ASSERT_EQ(none.value, here.value) << "step " << step;
        }
        const std::string wanted = any_name();
        const auto known = by_name.find(wanted);
        ASSERT_EQ(known == by_name.end() ? nullptr : known->second, look_up(wanted)) << "step " << step;
    }
}

// Several tables over one segment; addresses of few values, so that most share buckets.
TEST_F(Chains, AddressesBehaveLikeListsOpenAtBothEndsUnderRandomUse)
{
    constexpr u32 tables = 3;
    Random random;
    SCOPED_TRACE(random.trace());
    struct Chain {
        std::vector<Fil*> fils;
        bool first_points_to_itself = false;
    };
    struct Place {
        u32 entry;
        u32 table;
        u64 address;
    };
    std::vector<std::vector<Chain>> model(tables, std::vector<Chain>(bucket_count));
    std::map<std::pair<u32, u64>, Fil*> by_mac;
    std::vector<u32> off;
    for (u32 i = 0; i < 64; ++i) off.push_back(i);
    std::vector<Place> on;
    for (u32 i = 0; i < tables; ++i) empty_table(i);
    const auto any_address = [&random] { return u64{random.below(4)} << 40 | random.below(4) << 8 | random.below(4); };

    for (u32 step = 0; step < 2000; ++step) {
        const u32 in = random.below(tables);
        const u64 address = any_address();
        const auto chain_of = [&](u32 of, u64 a) -> Chain& { return model[of][mac_bucket(mac(a))]; };
        if (!off.empty() && !by_mac.count({in, address}) && random.below(2) == 0) {
            std::swap(off[random.below(static_cast<u32>(off.size()))], off.back());
            Fil& fil = entry(off.back(), mac(address));
            Chain& chain = chain_of(in, address);
            const bool to_front = random.once_in(2);
            if (to_front || chain.fils.empty()) chain.first_points_to_itself = true;
            if (to_front) {
                front(table(in), fil);
                chain.fils.insert(chain.fils.begin(), &fil);
            } else {
                tail(table(in), fil);
                chain.fils.push_back(&fil);
            }
            by_mac[{in, address}] = &fil;
            on.push_back({off.back(), in, address});
            off.pop_back();
        } else if (!on.empty()) {
            std::swap(on[random.below(static_cast<u32>(on.size()))], on.back());
            const Place place = on.back();
            Fil& fil = entry(place.entry, mac(place.address));
            const Link before = fil.link;
            rem(table(place.table), fil);
            ASSERT_EQ(before.next, fil.link.next);
            ASSERT_EQ(before.prev, fil.link.prev);
            Chain& chain = chain_of(place.table, place.address);
            if (chain.fils.front() == &fil) chain.first_points_to_itself = false;
            std::erase(chain.fils, &fil);
            by_mac.erase({place.table, place.address});
            off.push_back(place.entry);
            on.pop_back();
        }
        for (u32 of = 0; of < tables; ++of) {
            for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
                const Chain& chain = model[of][bucket];
                Offset here = table(of).bucket[bucket];
                Offset before = none;
                for (const Fil* const fil : chain.fils) {
                    ASSERT_EQ(offset_of(fdb(), *fil).value, here.value) << "step " << step;
                    const bool to_itself = before == none && chain.first_points_to_itself;
                    ASSERT_EQ((to_itself ? here : before).value, fil->link.prev.value) << "step " << step;
                    before = here;
                    here = fil->link.next;
                }
                ASSERT_EQ(none.value, here.value) << "step " << step;
            }
        }
        const u64 wanted = any_address();
        const auto known = by_mac.find({in, wanted});
        ASSERT_EQ(known == by_mac.end() ? nullptr : known->second, look_up(table(in), mac(wanted))) << "step " << step;
    }
}

}  // namespace
}  // namespace zelfdb
