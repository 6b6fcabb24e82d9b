// A database whose pools are all in use is clean, and checked in a moment.
#include <chrono>

#include "check/checking.h"

namespace zelfdb {
namespace {

#if defined(NDEBUG) && defined(__x86_64__)
constexpr double limit_ms = 100;
#else
constexpr double limit_ms = 5000;  // unoptimised, instrumented or emulated
#endif

class FullDatabase : public Database {
protected:
    static constexpr u32 nport = 199;
    static constexpr u32 nvlan = 256;
    static constexpr u32 nfil = 8192;

    FullDatabase() : Database(nport, nvlan, nfil) {}

    void done(int result) { ASSERT_EQ(0, result) << "code " << code_; }

    void fill()
    {
        for (u32 id = 1; id <= nport; ++id) done(zelfdb_create_port(id, id, id <= 4 ? 1 : 0, &code_));
        for (u32 vid = 1; vid <= nvlan; ++vid) given_vlan(static_cast<u16>(vid), "vlan-" + std::to_string(vid));
        for (u32 vid = 1; vid <= nvlan; ++vid) {
            for (u32 i = 0; i < pvs_per_vlan; ++i) given_member(static_cast<u16>(vid), member(vid, i), true);
        }
        for (u32 i = 0; i < nfil; ++i)
            given_learned(static_cast<u16>(1 + i % nvlan), mac(0x020000000000 + i), 1 + i % nport);
        for (u32 number = 0; number < stream_count; ++number) {
            done(zelfdb_create_stream(number, &code_));
            done(zelfdb_add_stream_to_port(number, 1 + number % nport, 1, &code_));
        }
        fill_queues();
        fill_profiles();
        recorder::reset();
    }

private:
    static u32 member(u32 vid, u32 i) { return 1 + (vid * 7 + i * 11) % nport; }

    // Attached as an operation leaves it: the operation itself looks for the queue on all streams' lists first.
    void fill_queues()
    {
        for (u32 number = 0; number < queue_count; ++number) {
            done(zelfdb_create_queue(number, 8, 16384, &code_));
            Queue& queue = *lookup_queue(base(), header(), number);
            queue.streamno = static_cast<u16>(number / class_count);
            queue.class_no = static_cast<u8>(number % class_count);
            Stream& stream = *lookup_stream(base(), header(), queue.streamno);
            enQ_queue_to_stream(base(), header(), stream, queue.class_no, queue);
        }
    }
    void fill_profiles()
    {
        const zelfdb_classify_line line{};
        const u32 words[4] = {};
        for (u32 number = 1; number <= classify_count; ++number) {
            done(zelfdb_create_classify_profile(number, &code_));
            for (u32 i = 0; i < action_count / classify_count; ++i)
                done(zelfdb_add_classify_action_to_profile(number, 1, &line, &code_));
            done(zelfdb_add_classify_profile_to_pv(number, member(number, 0), number, words, &code_));
        }
    }

    u32 code_ = 0;
};

TEST_F(FullDatabase, IsCleanAndCheckedInAMoment)
{
    fill();
    ASSERT_EQ(none, header().port_free);
    ASSERT_EQ(none, header().stream_free);
    ASSERT_EQ(none, header().queue_free);
    ASSERT_EQ(none, header().vlan_free);
    ASSERT_EQ(none, header().fil_free);
    ASSERT_EQ(none, header().classify_free);
    ASSERT_EQ(none, header().action_free);

    double best_ms = limit_ms;
    for (int round = 0; round < 5; ++round) {
        const auto start = std::chrono::steady_clock::now();
        const Report report = check(d());
        const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
        ASSERT_TRUE(report.clean()) << listed(report);
        best_ms = std::min(best_ms, took.count());
    }
    std::printf("full pools and %u entries are checked in %.1f ms\n", nfil, best_ms);
    EXPECT_LT(best_ms, limit_ms);
}

}  // namespace
}  // namespace zelfdb
