// The check reads segments of any bytes whatever: it ends, and reads nothing outside them. The segments stand with a page
// that cannot be read right behind them, then right before them.
#include <sys/mman.h>
#include <unistd.h>

#include <chrono>

#include "check/damaged.h"

namespace zelfdb {
namespace {

enum class Wall { behind, before };

// Memory of exactly that size beside a page that nobody may touch.
class Walled {
public:
    Walled(const std::vector<u8>& bytes, Wall wall) : page_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE)))
    {
        const std::size_t room = (bytes.size() + page_ - 1) / page_ * page_;
        mapped_bytes_ = room + 2 * page_;
        void* const mapped = mmap(nullptr, mapped_bytes_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (mapped == MAP_FAILED) std::abort();
        mapped_ = static_cast<u8*>(mapped);
        if (room != 0 && mprotect(mapped_ + page_, room, PROT_READ | PROT_WRITE) != 0) std::abort();
        bytes_ = mapped_ + page_ + (wall == Wall::behind ? room - bytes.size() : 0);
        std::copy(bytes.begin(), bytes.end(), bytes_);
        if (room != 0 && mprotect(mapped_ + page_, room, PROT_READ) != 0) std::abort();
    }
    ~Walled() { munmap(mapped_, mapped_bytes_); }
    Walled(const Walled&) = delete;
    Walled& operator=(const Walled&) = delete;

    [[nodiscard]] const u8* bytes() const { return bytes_; }

private:
    std::size_t page_;
    std::size_t mapped_bytes_;
    u8* mapped_;
    u8* bytes_;
};

class AnyBytes : public DamagedDatabase {
protected:
    // Bounded in time: a walk without end, or one that goes over everything again and again, does not pass.
    static constexpr double limit_s = 20;

    Report check_walled(Wall wall)
    {
        const Walled main(main_, wall);
        const Walled fdb(fdb_, wall);
        const auto start = std::chrono::steady_clock::now();
        Report report = check(Segments{main.bytes(), main_.size(), fdb.bytes(), fdb_.size()});
        EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), limit_s);
        return report;
    }
    // Both ways, which must say the same.
    Report check_both()
    {
        Report report = check_walled(Wall::behind);
        EXPECT_EQ(report.findings, check_walled(Wall::before).findings);
        return report;
    }
};

TEST_F(AnyBytes, StoresLieWhereTheDatabaseIsLaidOut)
{
    const u32 counts[][3] = {{0, 0, 0}, {1, 1, 1}, {8, 6, 32}, {199, 4094, 65536}, {64, 256, 8192}};
    for (const auto& [nport, nvlan, nfil] : counts) {
        const Layout layout = layout_of(nport, nvlan, nfil);
        const auto stores = audit::stores_of({nullptr, 0, nullptr, 0}, nport, nvlan, nfil);
        EXPECT_EQ(layout.port, stores.port.first);
        EXPECT_EQ(layout.stream, stores.stream.first);
        EXPECT_EQ(layout.queue, stores.queue.first);
        EXPECT_EQ(layout.vlan, stores.vlan.first);
        EXPECT_EQ(layout.vlan, stores.pv.first_slot);
        EXPECT_EQ(layout.phport, stores.phport.first);
        EXPECT_EQ(layout.classify, stores.classify.first);
        EXPECT_EQ(layout.action, stores.action.first);
        EXPECT_EQ(layout.end, stores.main_end);
        EXPECT_EQ(u64{nfil} * sizeof(Fil), stores.fdb_end);
    }
}

TEST_F(AnyBytes, SegmentsShorterThanAHeaderAreRefusedUnread)
{
    for (const std::size_t size_bytes : {std::size_t{0}, std::size_t{4}, sizeof(Header) - 4}) {
        main_.resize(size_bytes);
        const Report report = check_both();
        ASSERT_EQ(1u, report.findings.size());
        EXPECT_EQ((Finding{Severity::error, "main segment", Segment::main, 0, "size", std::to_string(size_bytes),
                           "a header's size or more", report.findings[0].rule}),
                  report.findings[0]);
    }
}

TEST_F(AnyBytes, CountsThatNeedMoreThanThereIsAreRefused)
{
    const u32 extremes[] = {33, 199, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    for (std::size_t at = 0; at < first_word; at += sizeof(u32)) {
        for (const u32 extreme : extremes) {
            restore();
            put(at, extreme);
            const u64 needed = layout_of(word_at(0), word_at(4), word_at(8)).end;
            const Report report = check_both();
            ASSERT_EQ(1u, report.findings.size());
            EXPECT_EQ(
                (Finding{Severity::error, "header", Segment::main, 0, "nport, nvlan and nfil", std::to_string(needed),
                         "at most " + std::to_string(main_.size()), report.findings[0].rule}),
                report.findings[0]);
        }
    }
}

TEST_F(AnyBytes, AnFdbSegmentThatIsTooShortIsRefused)
{
    fdb_.resize(fdb_.size() - 4);
    const Report report = check_both();
    ASSERT_EQ(1u, report.findings.size());
    EXPECT_EQ((Finding{Severity::error, "FDB segment", Segment::fdb, 0, "size", std::to_string(fdb_.size()),
                       "as the header's nfil needs", report.findings[0].rule}),
              report.findings[0]);
}

TEST_F(AnyBytes, ADamagedDatabaseIsStillCheckedToItsEnd)
{
    put(offsetof(Header, port_head), 7);
    put(offsetof(Header, mirror), 0xFFFFFFFF);
    const Report report = check_both();
    EXPECT_EQ("port list", report.findings.front().object);
    EXPECT_THAT(listed(report), testing::HasSubstr("mirror 1: state is 65535"));
}

TEST_F(AnyBytes, NoiseAlone)
{
    SCOPED_TRACE(random_.trace());
    for (int round = 0; round < 6; ++round) {
        fill_with_noise();
        EXPECT_NE(0u, check_both().errors);
    }
}

TEST_F(AnyBytes, OneByteEverywhere)
{
    for (const u8 byte : std::initializer_list<u8>{0x00, 0x01, 0x2C, 0x7F, 0x80, 0xFF}) {
        SCOPED_TRACE(+byte);
        fill_with(byte);
        EXPECT_NE(0u, check_both().errors);
    }
}

TEST_F(AnyBytes, LinksThatLeadAnywhere)
{
    SCOPED_TRACE(random_.trace());
    for (int round = 0; round < 6; ++round) {
        restore();
        fill_with_links();
        EXPECT_NE(0u, check_both().errors);
    }
}

TEST_F(AnyBytes, SomeWordsOfAHealthyDatabase)
{
    SCOPED_TRACE(random_.trace());
    u32 found = 0;
    constexpr u32 rounds = 60;
    for (u32 round = 0; round < rounds; ++round) {
        restore();
        change_some_words();
        if (check_both().errors != 0) ++found;
    }
    std::printf("%u of %u damaged databases had errors\n", found, rounds);
    EXPECT_GT(found, rounds / 3);
}

TEST_F(AnyBytes, FindingsAreBoundedAndCounted)
{
    for (u32 pvid = 0; pvid < pvid_chain_count; ++pvid) put(offsetof(Header, pvid_chain) + 4 * pvid, 1);
    const Report report = check_both();
    EXPECT_EQ(pvid_chain_count + 4, report.errors);  // and the four ports, which are in no chain
    EXPECT_EQ(findings_max + report.notices, report.findings.size());
}

}  // namespace
}  // namespace zelfdb
