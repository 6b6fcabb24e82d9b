// Listing a port's local entries: zelfdb_get_all_lfil, which leaves the FDB lock with its process. So each call runs in a
// process of its own, whose end gives the lock back.
#include <sys/mman.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

#include "fdb_test.h"

namespace zelfdb {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

int lock_value(int key) { return semctl(semget(key, 1, 0), 0, GETVAL); }

class LocalListing : public Fdb {
protected:
    // What the calling process and this one both see.
    struct Shared {
        zelfdb_fdb_cursor cursor;
        zelfdb_ropebuf buffer;
        u8 records[1024];
        int result;
        int main_lock;
        int fdb_lock;
        u32 lock_moves;
        struct {
            int key;
            int by;
        } lock_move[8];
    };

    void SetUp() override
    {
        Fdb::SetUp();
        shared_ = static_cast<Shared*>(
            mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
        ASSERT_NE(MAP_FAILED, static_cast<void*>(shared_));
        given_port(3);
        given_port(5);
        environment::reset();
    }
    void TearDown() override
    {
        munmap(shared_, sizeof(Shared));
        Fdb::TearDown();
    }

    [[nodiscard]] Shared& shared() const { return *shared_; }
    void start(u32 capacity, u32 record_size = sizeof(zelfdb_fdb_record)) const
    {
        ASSERT_LE(capacity * record_size, sizeof shared_->records);
        *shared_ = {};
        std::memset(shared_->records, 0xAA, sizeof shared_->records);
        shared_->buffer = {capacity, record_size, 77, 88, shared_->records};
    }
    // One call in a process of its own, which is over when this returns.
    int list(u32 port_id) const
    {
        environment::semaphore_moves().clear();
        const pid_t child = fork();
        if (child == 0) {
            alarm(20);
            shared_->result = zelfdb_get_all_lfil(port_id, &shared_->cursor, &shared_->buffer);
            shared_->main_lock = lock_value(main_key);
            shared_->fdb_lock = lock_value(fdb_key);
            shared_->lock_moves = 0;
            for (const environment::SemaphoreMove& move : environment::semaphore_moves()) {
                if (shared_->lock_moves < 8) shared_->lock_move[shared_->lock_moves++] = {move.key, move.by};
            }
            _exit(0);
        }
        int status = -1;
        EXPECT_EQ(child, waitpid(child, &status, 0));
        EXPECT_EQ(0, status) << "the process came to an end by itself";
        return shared_->result;
    }
    [[nodiscard]] Locks moved() const
    {
        Locks all;
        for (u32 i = 0; i < shared_->lock_moves; ++i) {
            all.push_back(std::string(shared_->lock_move[i].key == main_key ? "main" : "fdb") +
                          (shared_->lock_move[i].by < 0 ? "-" : "+"));
        }
        return all;
    }
    // The main lock is back, the FDB lock stayed until the process ended.
    void expect_FDB_lock_kept() const
    {
        EXPECT_THAT(moved(), ElementsAre("main-", "fdb-", "main+"));
        EXPECT_EQ(1, shared_->main_lock);
        EXPECT_EQ(0, shared_->fdb_lock);
        EXPECT_EQ(1, lock_value(fdb_key)) << "the end of the process gives it back";
    }
    [[nodiscard]] zelfdb_fdb_record record_of(u32 i) const
    {
        zelfdb_fdb_record result{};
        std::memcpy(&result, shared_->records + i * shared_->buffer.record_size, sizeof result);
        return result;
    }
    [[nodiscard]] std::vector<std::string> macs() const
    {
        std::vector<std::string> all;
        for (u32 i = 0; i < shared_->buffer.filled; ++i) {
            Mac address{};
            std::memcpy(address.byte, record_of(i).mac, sizeof address.byte);
            all.push_back(text(address));
        }
        return all;
    }

private:
    Shared* shared_ = nullptr;
};

TEST_F(LocalListing, ALocalEntryIsListedWithoutPortAndAge)
{
    given_local(3, mac(0x001122334455), 0xFFFFFF04, 0x101);
    given_local(5, mac(0x001122334456));
    const Snapshot before = snapshot();
    start(3);
    EXPECT_EQ(0, list(3));
    expect_FDB_lock_kept();
    EXPECT_EQ(1u, shared().buffer.total);
    ASSERT_EQ(1u, shared().buffer.filled);
    EXPECT_EQ(1u, shared().cursor.calls);
    EXPECT_THAT(macs(), ElementsAre("00:11:22:33:44:55"));
    EXPECT_EQ(0xFFu, record_of(0).bucket);
    EXPECT_EQ(4u, record_of(0).flag);
    EXPECT_EQ(1u, record_of(0).permit);
    for (u32 i = 12; i < 60; ++i) EXPECT_EQ(0xAA, shared().records[i]) << "byte " << i;
    EXPECT_TRUE(same(before, snapshot()));
}

TEST_F(LocalListing, AListingContinuesInAnotherProcess)
{
    for (const u32 address : {0xFFu, 0x0003u, 0x0102u, 0x00u, 0x0201u}) given_local(3, mac(address));
    start(2);
    EXPECT_EQ(1, list(3));
    EXPECT_THAT(macs(), ElementsAre(text(mac(0x00)), text(mac(0x0003))));
    expect_FDB_lock_kept();
    EXPECT_EQ(1, list(3));
    EXPECT_THAT(macs(), ElementsAre(text(mac(0x0102)), text(mac(0x0201))));
    expect_FDB_lock_kept();
    EXPECT_EQ(0, list(3));
    EXPECT_THAT(macs(), ElementsAre(text(mac(0xFF))));
    expect_FDB_lock_kept();
    EXPECT_EQ(3u, shared().cursor.calls);
    EXPECT_EQ(5u, shared().buffer.total);
}

TEST_F(LocalListing, EveryCapacityListsTheSame)
{
    for (const u32 address : {0x01u, 0x02u, 0x0101u}) given_local(3, mac(address));
    struct Row {
        u32 capacity;
        std::vector<int> results;
    };
    for (const Row& row : {Row{1, {1, 1, 0}}, {2, {1, 0}}, {3, {0}}, {4, {0}}}) {
        for (const u32 record_size : {20u, 21u, 24u}) {
            SCOPED_TRACE(std::to_string(row.capacity) + " records of " + std::to_string(record_size));
            start(row.capacity, record_size);
            std::vector<std::string> all;
            for (const int result : row.results) {
                EXPECT_EQ(result, list(3));
                for (const std::string& one : macs()) all.push_back(one);
            }
            EXPECT_THAT(all, ElementsAre(text(mac(0x01)), text(mac(0x02)), text(mac(0x0101))));
        }
    }
    start(0);
    EXPECT_EQ(1, list(3));
    EXPECT_EQ(0u, shared().buffer.filled);
}

TEST_F(LocalListing, APortThatDoesNotExistCannotBeListedAndTheLockStaysAllTheSame)
{
    for (const u32 port_id : {0u, 4u, 199u, 200u, 0x10003u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(port_id);
        start(2);
        EXPECT_EQ(-1, list(port_id));
        expect_FDB_lock_kept();
        EXPECT_EQ(0u, shared().cursor.calls);
        EXPECT_EQ(88u, shared().buffer.filled);
        EXPECT_EQ(77u, shared().buffer.total);
    }
}

TEST_F(LocalListing, ARecordSizeBelow20IsRefusedAndTheLockStaysAllTheSame)
{
    given_local(3, mac(1));
    for (const u32 record_size : {0u, 16u, 19u}) {
        SCOPED_TRACE(record_size);
        start(2, record_size);
        EXPECT_EQ(-1, list(3));
        expect_FDB_lock_kept();
        EXPECT_EQ(0u, shared().cursor.calls);
        EXPECT_EQ(88u, shared().buffer.filled);
        EXPECT_EQ(0xAA, shared().records[0]);
    }
}

TEST_F(LocalListing, ContinuingAfterTheCursorsEntryVanishedIsRefusedAndTheLockStaysAllTheSame)
{
    given_local(3, mac(1));
    given_local(3, mac(2));
    start(1);
    ASSERT_EQ(1, list(3));
    u32 err = 0;
    ASSERT_EQ(0, zelfdb_delete_lfil(3, mac(1).byte, 0, &err));
    EXPECT_EQ(-1, list(3));
    expect_FDB_lock_kept();
    EXPECT_EQ(1u, shared().cursor.calls);
}

TEST_F(LocalListing, WithoutADescriptorNoLockIsTaken)
{
    given_local(3, mac(1));
    for (const DescriptorFailure& failure : descriptor_failures) {
        SCOPED_TRACE(failure.name);
        environment::reset();
        start(2);
        failure.arrange();
        EXPECT_EQ(-1, list(3));
        EXPECT_THAT(moved(), IsEmpty());
        EXPECT_EQ(1, shared().main_lock);
        EXPECT_EQ(1, shared().fdb_lock);
        EXPECT_EQ(88u, shared().buffer.filled);
    }
    environment::reset();
    recorder::reset();
}

}  // namespace
}  // namespace zelfdb
