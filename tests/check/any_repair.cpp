// The repair of segments of any bytes whatever: it ends, touches nothing outside them, and leaves a database in which a check
// finds no error. Also what it does to single damages of a database that has something of everything.
#include <algorithm>
#include <chrono>

#include "check/damaged.h"
#include "check/repair.h"

namespace zelfdb {
namespace {

class AnyRepair : public DamagedDatabase {
protected:
    // Bounded in time: a repair without end, or one that goes over everything again and again, does not pass.
    static constexpr double limit_s = 60;

    [[nodiscard]] Segments segments() const { return {main_.data(), main_.size(), fdb_.data(), fdb_.size()}; }
    Header& mended() { return record_at<Header>(Base{main_.data()}, Offset{0}); }

    // Planning reads only; what is planned leaves no error, and planning again finds nothing to do.
    Repair mend()
    {
        const std::vector<u8> main = main_;
        const std::vector<u8> fdb = fdb_;
        const auto start = std::chrono::steady_clock::now();
        Repair repair = plan_repair(segments());
        EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), limit_s);
        EXPECT_TRUE(main == main_ && fdb == fdb_);
        EXPECT_EQ(repair.needed(), repair.possible()) << listed(repair.after);
        if (!repair.possible()) return repair;
        make_repair(repair, main_.data(), fdb_.data());
        const Report report = check(segments());
        EXPECT_EQ(0u, report.errors) << listed(report);
        EXPECT_FALSE(plan_repair(segments()).needed());
        return repair;
    }
};

TEST_F(AnyRepair, AHealthyDatabaseIsNotTouched)
{
    const Repair repair = mend();
    EXPECT_FALSE(repair.needed());
    EXPECT_TRUE(repair.main.empty());
    EXPECT_TRUE(repair.deeds.empty());
    EXPECT_TRUE(repair.touched.empty());
}

TEST_F(AnyRepair, NoticesAloneAreLeftAlone)
{
    mended().free_qsize -= 100;
    ASSERT_NE(0u, check(segments()).notices);
    EXPECT_FALSE(mend().needed());
}

TEST_F(AnyRepair, SegmentsThatAreTooShortAreRefused)
{
    put(0, 0xFFFFFFFF);
    const Repair repair = plan_repair(segments());
    EXPECT_TRUE(repair.needed());
    EXPECT_FALSE(repair.possible());
    restore();
    fdb_.resize(fdb_.size() - 4);
    EXPECT_FALSE(plan_repair(segments()).possible());
    restore();
    main_.resize(sizeof(Header) - 4);
    EXPECT_FALSE(plan_repair(segments()).possible());
    EXPECT_FALSE(plan_repair({nullptr, 0, nullptr, 0}).possible());
}

TEST_F(AnyRepair, ALostIndexSlotComesBackAndIsTold)
{
    const Offset slot = mended().vlan_index[10];
    mended().vlan_index[10] = none;
    const Repair repair = mend();
    EXPECT_EQ(slot, mended().vlan_index[10]);
    EXPECT_EQ((std::vector<Deed>{{false, "VLAN 10", "its index slot is set"}}), repair.deeds);
    EXPECT_EQ(0u, repair.drops);
    ASSERT_EQ(1u, repair.touched.size());
    EXPECT_EQ(Touched::Kind::vlan, repair.touched[0].kind);
    EXPECT_EQ(10u, repair.touched[0].id);
    EXPECT_TRUE(repair.touched[0].exists);
}

// The index leads to what the list no longer does.
TEST_F(AnyRepair, AListThatIsCutComesBack)
{
    mended().port_head = none;
    mended().stream_head = {7};
    mended().queue_head = mended().queue_free;
    const Snapshot before = snapshot();
    const Repair repair = mend();
    EXPECT_EQ(4u, mended().port_count + 1);  // port 300 has no slot, and is gone
    EXPECT_EQ(3u, mended().stream_total);
    EXPECT_EQ(4u, mended().queue_total);
    EXPECT_EQ(before.fdb, fdb_);
    EXPECT_EQ(1u, repair.drops);
}

TEST_F(AnyRepair, CountersAreCountedAnew)
{
    const std::vector<u8> healthy = main_;
    ++mended().port_count;
    ++mended().vlan_count;
    --mended().stream_total;
    ++mended().nfil_sys_all;
    const Repair repair = mend();
    EXPECT_EQ(0u, repair.drops);
    EXPECT_EQ(healthy, main_);
}

TEST_F(AnyRepair, EntriesOfAChainThatIsCutComeBack)
{
    auto& table = record_at<Vlan>(Base{main_.data()}, mended().vlan_index[10]).fdb;
    table.bucket[mac_bucket(sales_learned)] = {3};
    const Repair repair = mend();
    EXPECT_EQ(0u, repair.drops);
    EXPECT_EQ(4u, table.nfil);
    EXPECT_NE(nullptr, lookup_fil_by_mac(Base{fdb_.data()}, mended(), table, sales_learned));
    EXPECT_NE(nullptr, lookup_fil_by_mac(Base{fdb_.data()}, mended(), table, sales_neighbour));
}

TEST_F(AnyRepair, TheSecondOfTwoWithOneNumberIsDropped)
{
    auto& vlan = record_at<Vlan>(Base{main_.data()}, mended().vlan_index[20]);
    vlan.VID = 10;
    const Repair repair = mend();
    EXPECT_TRUE(std::any_of(repair.deeds.begin(), repair.deeds.end(), [](const Deed& deed) {
        return deed == Deed{true, "VLAN 10", "another has its number: it is dropped"};
    }));
    EXPECT_EQ(2u, mended().vlan_count);
}

TEST_F(AnyRepair, NoiseAlone)
{
    SCOPED_TRACE(random_.trace());
    for (int round = 0; round < 4; ++round) {
        fill_with_noise();
        EXPECT_TRUE(mend().needed());
    }
}

TEST_F(AnyRepair, OneByteEverywhere)
{
    for (const u8 byte : std::initializer_list<u8>{0x00, 0x01, 0x2C, 0x7F, 0x80, 0xFF}) {
        SCOPED_TRACE(+byte);
        fill_with(byte);
        EXPECT_TRUE(mend().needed());
    }
}

TEST_F(AnyRepair, LinksThatLeadAnywhere)
{
    SCOPED_TRACE(random_.trace());
    for (int round = 0; round < 4; ++round) {
        restore();
        fill_with_links();
        EXPECT_TRUE(mend().needed());
    }
}

TEST_F(AnyRepair, SomeWordsOfAHealthyDatabase)
{
    SCOPED_TRACE(random_.trace());
    u32 repaired = 0;
    constexpr u32 rounds = 40;
    for (u32 round = 0; round < rounds; ++round) {
        restore();
        change_some_words();
        if (mend().needed()) ++repaired;
    }
    std::printf("%u of %u damaged databases were repaired\n", repaired, rounds);
    EXPECT_GT(repaired, rounds / 3);
}

}  // namespace
}  // namespace zelfdb
