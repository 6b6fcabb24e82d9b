// zelfdb_init: what it makes, what it leaves alone, and every way in which it can fail.
#include <cerrno>

#include "core/furnished.h"
#include "core/ipc.h"
#include "core/segments.h"
#include "support/namespace.h"

namespace zelfdb {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

constexpr u32 main_size = 0x2F2010 + 8 * 1324 + 6 * 1576 + 32 * 44;
constexpr u32 fdb_size = 32 * 44;

std::string refused(int error, u32 size)
{
    char text[80];
    std::snprintf(text, sizeof text, "Error: shmget %d size:%u\n", error, size);
    return text;
}

// A system that has neither segments nor semaphores.
class Init : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(enter_ipc_namespace());
        environment::reset();
        recorder::reset();
    }

    int init(u32 nport = 8, u32 nvlan = 6, u32 nfil = 32)
    {
        const zelfdb_counts counts{nport, nvlan, nfil};
        CaptureStderr();
        CaptureStdout();
        const int result = zelfdb_init(&counts);
        out = GetCapturedStdout();
        err = GetCapturedStderr();
        return result;
    }

    std::string out;
    std::string err;
};

TEST_F(Init, MakesBothSegmentsJustLargeEnoughAndWithoutAnyPermission)
{
    ASSERT_EQ(0, init());
    EXPECT_EQ(main_size, segment(0x5A454C01)->shm_segsz);
    EXPECT_EQ(fdb_size, segment(0x5A454C02)->shm_segsz);
    EXPECT_EQ(0u, segment(0x5A454C01)->shm_perm.mode & 0777u);
    EXPECT_EQ(0u, segment(0x5A454C02)->shm_perm.mode & 0777u);
    EXPECT_EQ("", out + err);
}

TEST_F(Init, Of64Ports256VlansAnd8192EntriesMakesAMainSegmentOf3937040Bytes)
{
    ASSERT_EQ(0, init(64, 256, 8192));
    EXPECT_EQ(3937040u, segment(main_key)->shm_segsz);
    EXPECT_EQ(360448u, segment(fdb_key)->shm_segsz);
}

TEST_F(Init, MakesBothLocksFreeAndOpenToAll)
{
    ASSERT_EQ(0, init());
    EXPECT_EQ(1, semaphore_value(main_key));
    EXPECT_EQ(1, semaphore_value(fdb_key));
    EXPECT_EQ(0666u, semaphore_mode(main_key));
    EXPECT_EQ(0666u, semaphore_mode(fdb_key));
}

TEST_F(Init, AsksForLockThenSegmentOfMainThenOfFdb)
{
    ASSERT_EQ(0, init());
    std::vector<std::string> asked;
    for (const environment::GetCall& call : environment::get_calls()) {
        char text[80];
        std::snprintf(text, sizeof text, "%s 0x%X %ld 0x%X", call.function.c_str(), call.key, call.size, call.flags);
        asked.emplace_back(text);
    }
    EXPECT_THAT(asked, ElementsAre("semget 0x5A454C01 1 0x7B6", "shmget 0x5A454C01 3109856 0x200",
                                   "semget 0x5A454C02 1 0x7B6", "shmget 0x5A454C02 1408 0x200"));
}

TEST_F(Init, TakesNoLock)
{
    ASSERT_EQ(0, init());
    ASSERT_EQ(0, init());
    EXPECT_THAT(environment::semaphore_moves(), IsEmpty());
}

TEST_F(Init, LeavesTheSegmentsAttached)
{
    ASSERT_EQ(0, init());
    EXPECT_EQ(1u, attachments(main_key));
    EXPECT_EQ(1u, attachments(fdb_key));
    EXPECT_EQ(0u, environment::calls("shmdt"));
}

TEST_F(Init, DoesNotFreeALockThatIsHeld)
{
    ASSERT_EQ(0, init());
    begin_critical();
    begin_critical_fdb();
    ASSERT_EQ(0, init());
    EXPECT_EQ(0, semaphore_value(main_key));
    EXPECT_EQ(0, semaphore_value(fdb_key));
    end_critical_fdb();
    end_critical();
}

TEST_F(Init, LocksThatExistAreLookedUpAgainWithAllPermissions)
{
    ASSERT_EQ(0, init());
    environment::reset();
    ASSERT_EQ(0, init());
    std::vector<int> flags;
    for (const environment::GetCall& call : environment::get_calls()) {
        if (call.function == "semget") flags.push_back(call.flags);
    }
    EXPECT_THAT(flags, ElementsAre(0x7B6, 0x3B6, 0x7B6, 0x3B6));
}

TEST_F(Init, SaysWhenALockThatExistsCannotBeLookedUp)
{
    ASSERT_EQ(0, init());
    environment::fail("semget", EACCES, 2);
    EXPECT_EQ(0, init());
    EXPECT_EQ("semget failure\n", out);
    EXPECT_EQ("", err);
}

TEST_F(Init, SaysWhenALockCannotBeSetFree)
{
    environment::fail("semctl", EPERM, 1, 2);
    EXPECT_EQ(0, init());
    EXPECT_EQ("semctl failure\nsemctl failure\n", out);
    EXPECT_EQ(0, semaphore_value(main_key));
}

TEST_F(Init, SaysNothingWhenALockCannotBeMadeForAnotherReason)
{
    environment::fail("semget", ENOSPC, 1, 2);
    EXPECT_EQ(0, init());
    EXPECT_EQ("", out + err);
    EXPECT_EQ(-1, semaphore_value(main_key));
    EXPECT_EQ(-1, semaphore_value(fdb_key));
}

TEST_F(Init, WithoutMainSegmentFailsAndSaysSo)
{
    environment::fail("shmget", ENOSPC);
    EXPECT_EQ(-1, init());
    EXPECT_EQ(refused(ENOSPC, main_size), err);
    EXPECT_EQ("", out);
    EXPECT_EQ(1u, environment::calls("shmget"));
    EXPECT_EQ(1u, environment::calls("shmdt"));  // of nothing, which does no harm
    EXPECT_FALSE(segment_exists(fdb_key));
}

TEST_F(Init, WithoutFdbSegmentSucceedsAndSaysSo)
{
    environment::fail("shmget", ENOMEM, 2);
    EXPECT_EQ(0, init());
    EXPECT_EQ(refused(ENOMEM, fdb_size), err);
    EXPECT_FALSE(segment_exists(fdb_key));
    EXPECT_EQ(1, semaphore_value(fdb_key));
}

TEST_F(Init, OfNoEntriesIsRefusedTheFdbSegmentAndSucceeds)
{
    EXPECT_EQ(0, init(8, 6, 0));
    EXPECT_EQ(refused(EINVAL, 0), err);
    EXPECT_EQ(main_size - 32 * 44, segment(main_key)->shm_segsz);
    EXPECT_FALSE(segment_exists(fdb_key));
}

TEST_F(Init, MainSegmentThatCannotBeAttachedFailsAndSaysSo)
{
    environment::fail("shmat", EACCES);
    EXPECT_EQ(-1, init());
    EXPECT_EQ("Error: shmat 13\n", err);
    EXPECT_FALSE(segment_exists(fdb_key));
}

TEST_F(Init, FdbSegmentThatCannotBeAttachedIsSaidAndNoFailure)
{
    environment::fail("shmat", EMFILE, 2);
    EXPECT_EQ(0, init());
    EXPECT_EQ("Error: shmat 24\n", err);
}

TEST_F(Init, CountsThatNoSegmentHoldsFailBeforeAnythingIsLaidOut)
{
    const u32 all = 0xFFFFFFFF;
    const zelfdb_counts too_much[] = {{all, 0, 1},       {0, all, 1},     {0, 0, all},
                                      {all, all, all},   {3241601, 0, 1},  // 4,294,968,168 bytes, 872 in 32 bits
                                      {0, 0, 0x05D1745E}};
    for (const zelfdb_counts& counts : too_much) {
        EXPECT_EQ(-1, init(counts.nport, counts.nvlan, counts.nfil));
        EXPECT_EQ("#### zelfdb_init : BUG found! #####\n", err);
        EXPECT_FALSE(segment_exists(main_key));
    }
    EXPECT_EQ(0u, environment::calls("shmget"));
    EXPECT_EQ(std::size(too_much), environment::calls("shmdt"));
}

TEST_F(Init, LargestCountsThatASegmentCouldHoldAreAskedOfTheSystem)
{
    const u32 nport = (0xFFFFFFFF - 0x2F2010 - 44) / 1324;
    environment::fail("shmget", ENOMEM, 1, 2);
    EXPECT_EQ(-1, init(nport, 0, 1));
    EXPECT_EQ(1u, environment::calls("shmget"));
    EXPECT_EQ(-1, init(nport + 1, 0, 1));
    EXPECT_EQ("#### zelfdb_init : BUG found! #####\n", err);
    EXPECT_EQ(1u, environment::calls("shmget"));
}

using InitAgain = FurnishedDatabase;

std::string init_said(const zelfdb_counts& counts, int result)
{
    CaptureStderr();
    EXPECT_EQ(result, zelfdb_init(&counts));
    return GetCapturedStderr();
}

TEST_F(InitAgain, WithTheSameCountsWipesTheDatabase)
{
    const Snapshot furnished = snapshot();
    EXPECT_EQ("", init_said({8, 6, 32}, 0));
    const Snapshot wiped = snapshot();
    EXPECT_NE(furnished, wiped);

    ASSERT_TRUE(enter_ipc_namespace());
    init(8, 6, 32);
    EXPECT_EQ(snapshot(), wiped);
}

TEST_F(InitAgain, WithMoreOfAnythingFailsAndLeavesTheDatabaseAlone)
{
    const Snapshot before = snapshot();
    const zelfdb_counts more[] = {{9, 6, 32}, {8, 7, 32}, {8, 6, 33}};
    for (const zelfdb_counts& counts : more) {
        const u32 size = 0x2F2010 + counts.nport * 1324 + counts.nvlan * 1576 + counts.nfil * 44;
        EXPECT_EQ(refused(EINVAL, size), init_said(counts, -1));
    }
    EXPECT_EQ(before, snapshot());
}

TEST_F(InitAgain, WithAnFdbSegmentThatIsTooSmallSucceedsAndSaysSo)
{
    EXPECT_EQ(refused(EINVAL, 60 * 44), init_said({7, 6, 60}, 0));  // 28 more entries need less than a port
    expect_damage();  // the entries are still those of the main segment's reserve
}

TEST_F(InitAgain, WithSmallerCountsUsesTheLargeSegmentsAndWipesNoMoreThanItNeeds)
{
    const u32 end = static_cast<u32>(layout_of(7, 5, 16).end);
    base().bytes[end] = 0xA5;
    base().bytes[main_size - 1] = 0xA6;
    fdb().bytes[16 * 44] = 0xA7;
    EXPECT_EQ("", init_said({7, 5, 16}, 0));

    EXPECT_EQ(0xA5, base().bytes[end]);
    EXPECT_EQ(0xA6, base().bytes[main_size - 1]);
    EXPECT_EQ(0xA7, fdb().bytes[16 * 44]);
    EXPECT_EQ(main_size, segment(main_key)->shm_segsz);
    EXPECT_EQ(7u, header().nport);
    const Snapshot smaller = snapshot();

    ASSERT_TRUE(enter_ipc_namespace());
    init(7, 5, 16);
    EXPECT_EQ(snapshot(), smaller);
}

TEST_F(InitAgain, GoesAheadWhileAnotherProcessHoldsBothLocks)
{
    Signal held;
    Child holder([&held] {
        begin_critical();
        begin_critical_fdb();
        held.give();
        pause();
        return 0;
    });
    ASSERT_TRUE(held.await());
    EXPECT_EQ("", init_said({8, 6, 32}, 0));
    EXPECT_EQ(0u, header().port_count);
    EXPECT_EQ(0, semaphore_value(main_key));
}

class Fresh : public Database {};

TEST_F(Fresh, FirstPortLiesInTheHighestPortRecord)
{
    given_port(1);
    EXPECT_EQ(0x199B0 + 32 * 44 + 7 * 1324, offset_of(base(), *port(1)).value);
}

TEST_F(Fresh, PhportsAreListedInAscendingOrder)
{
    std::vector<u32> ids;
    for (const Phport& phport : walk(all_phports, base(), header())) ids.push_back(phport.ID);
    EXPECT_THAT(ids, ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(none, header().phport_free);
}

TEST_F(Fresh, EveryIndexAndHashSlotIsEmpty)
{
    EXPECT_THAT(header().port_index, testing::Each(none));
    EXPECT_THAT(header().pvid_chain, testing::Each(none));
    EXPECT_THAT(header().stream_index, testing::Each(none));
    EXPECT_THAT(header().queue_index, testing::Each(none));
    EXPECT_THAT(header().vlan_name, testing::Each(none));
    EXPECT_THAT(header().vlan_index, testing::Each(none));
    EXPECT_THAT(header().classify_index, testing::Each(none));
}

TEST_F(Fresh, QueueBudgetIs65536AndHistoryIsZero)
{
    EXPECT_EQ(65536, header().free_qsize);
    EXPECT_THAT(header().history, testing::Each(0u));
}

TEST_F(Fresh, FilReserveOfTheMainSegmentIsNotWhatEntriesComeFrom)
{
    EXPECT_EQ(31u * 44, header().fil_free.value);
    EXPECT_EQ(fdb().bytes + 31 * 44, reinterpret_cast<u8*>(alloc_fil(fdb(), header())));
}

TEST_F(Fresh, FdbSegmentOfMoreBytesThanOffsetsReachIsRefused)
{
    const u32 before = header().fil_free.value;
    CaptureStderr();
    EXPECT_EQ(-1, initial_fdb(base(), 0x05D1745E));  // 4,294,967,304 bytes
    EXPECT_EQ("#### initial_fdb : BUG found! #####\n", GetCapturedStderr());
    EXPECT_EQ(before, header().fil_free.value);
}

TEST_F(Fresh, FdbSegmentOfNoEntriesIsRefused)
{
    ASSERT_TRUE(enter_ipc_namespace());
    CaptureStderr();
    EXPECT_EQ(-1, initial_fdb(base(), 0));
    EXPECT_EQ(refused(EINVAL, 0), GetCapturedStderr());
}

}  // namespace
}  // namespace zelfdb
