// Every operation with every integer argument from its extremes: what it answers, which bytes it changes, whether it gives
// its locks back, and whether the database is in order afterwards.
#include <regex>

#include <unistd.h>

#include "support/invariants.h"
#include "support/random.h"
#include "trust/switch_test.h"

namespace zelfdb::trust {
namespace {

constexpr u32 common[] = {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
#if defined(__powerpc__) || defined(__SANITIZE_ADDRESS__)
constexpr u32 random_calls = 5;  // every call takes its time
#else
constexpr u32 random_calls = 40;
#endif
constexpr u32 heap_bytes_max = 16u << 20;

// The documented bounds of a kind and their neighbours.
std::vector<u32> bounds(Kind kind, u32 good)
{
    switch (kind) {
    case Kind::port:
    case Kind::new_port:
    case Kind::any_port: return {2, 3, 4, 5, 198, 199, 200, 201, 255, 256, 0xFFFF, 0x10000, 0x10000 + good};
    case Kind::phport:
    case Kind::phport_of_new_port: return {2, 3, 4, 5, 255, 256, 257};
    case Kind::vid:
    case Kind::vid_or_all:
    case Kind::new_vid:
        return {2, 10, 20, 30, 4093, 4094, 4095, 4096, 8191, 8192, 0xFFFE, 0xFFFF, 0x10000, 0x10000 + good};
    case Kind::stream:
    case Kind::new_stream:
    case Kind::any_stream: return {2, 5, 1022, 1023, 1024, 1025, 0xFFFE, 0xFFFF, 0x10000, 0x10000 + good};
    case Kind::queue:
    case Kind::new_queue: return {8, 9, 8190, 8191, 8192, 8193, 0xFFFE, 0xFFFF, 0x10000, 0x10000 + good};
    case Kind::profile:
    case Kind::profile_or_all:
    case Kind::new_profile: return {2, 3, 63, 64, 65, 66, 0xFFFF, 0x10000, 0x10000 + good};
    case Kind::mirror:
    case Kind::new_mirror: return {2, 3, 4, 5, 0x10000 + good};
    case Kind::group:
    case Kind::new_group: return {6, 7, 8, 9, 0xFFFF, 0x10000, 0x10000 + good};
    case Kind::class_no: return {6, 7, 8, 9, 11, 12, 255, 256, 0xFFFFFFFE, 0xFFFFFFFA};
    case Kind::colour: return {2, 3, 4, 255, 256};
    case Kind::sno_port: return {2, 255, 256, 257, 258};
    case Kind::line_no: return {2, 3, 4, 5, 255, 256, 257, 65534, 65535, 65536};
    case Kind::list_index: return {14, 15, 16, 127, 128, 129, 0xFFFFFFFE};
    case Kind::cookie: return {43, 44, 45, 62 * 44, 63 * 44, 64 * 44, 0xFFFFFFFE};
    case Kind::count: return {2, 3, 8, 9, 4096};
    case Kind::port_param: return {10, 20, 99, 4094, 4095, 8191, 8192, 8193, 0x8100, 0x88A8, 0xFFFE, 0xFFFF};
    case Kind::frame_number: return {2, 31, 32, 33, 255, 256, 259};
    case Kind::nport: return {2, 7, 8, 9, 198, 199, 200, 0xFFFF, 0x10000};
    case Kind::nvlan: return {2, 5, 6, 7, 4093, 4094, 4095, 0x10000};
    case Kind::nfil: return {2, 63, 64, 65, 8192, 0x10000, 0x5D1745D, 0x5D1745E};
    case Kind::heap_capacity:
    case Kind::heap_size: return {2, 15, 16, 17, 20, 0xFFFF, 0x10000, 0x10001, 0xFFFFFFDF, 0xFFFFFFEF};
    default: return {2, 3, 4, 7, 8, 255, 256, 0xFFFE, 0xFFFF, 0x10000, 0x7FFFFFFE, 0x80000001, 0xFFFFFFFE};
    }
}

std::vector<u32> values_of(const Argument& argument)
{
    // How much room there is, is not a number to lie about: it is the caller's memory.
    if (argument.kind == Kind::capacity) return {0, 1, 2, 3, 4, 5, 64};
    if (argument.kind == Kind::listing_size) {
        return {0, 1, argument.good - 1, argument.good, argument.good + 1, 2 * argument.good};
    }
    std::vector<u32> values(std::begin(common), std::end(common));
    const std::vector<u32> more = bounds(argument.kind, argument.good);
    values.insert(values.end(), more.begin(), more.end());
    values.push_back(argument.good);
    return values;
}

class Sweep : public Switch, public testing::WithParamInterface<std::size_t> {
protected:
    [[nodiscard]] const Row& row() const { return rows()[GetParam()]; }

    // One call, and all that is looked at. The database is afterwards what it was before.
    void attempt(const std::vector<u32>& arguments)
    {
        ++calls_;
        const Ran ran = run(row(), arguments, [&] { script(arguments); });
        environment::reset();
        std::vector<std::string> wrong = broken_rules(row(), arguments, ran);
        look_at_locks(wrong);
        look_at_files(ran, wrong);
        if (!is_now(start_)) look_at_bytes(arguments, ran, wrong);
        if (succeeded(row(), ran)) ++successes_;
        for (const std::string& one : wrong) {
            if (failures_++ < 20) ADD_FAILURE() << call_text(row(), arguments) << ": " << one;
        }
    }

    u32 calls_ = 0;
    u32 successes_ = 0;
    u32 changing_ = 0;

private:
    // A machine with little memory, whatever this one has.
    void script(const std::vector<u32>& arguments) const
    {
        if (row().arguments.empty() || row().arguments.front().kind != Kind::heap_capacity) return;
        if (u64{arguments[0]} * arguments[1] > heap_bytes_max) environment::fail("malloc", ENOMEM);
    }

    void look_at_locks(std::vector<std::string>& wrong) const
    {
        const bool keeps_fdb = std::string(row().name) == "zelfdb_get_all_lfil";
        if (value_of_lock(main_key) != 1) wrong.emplace_back("the main lock is held");
        if (value_of_lock(fdb_key) != (keeps_fdb ? 0 : 1)) wrong.emplace_back("the FDB lock is not as documented");
        set_lock(main_key, 1);
        set_lock(fdb_key, 1);
    }

    static void look_at_files(const Ran& ran, std::vector<std::string>& wrong)
    {
        std::smatch file;
        if (!std::regex_search(ran.printed, file, std::regex("/tmp/clsline-\\w+"))) return;
        if (::unlink(file.str().c_str()) != 0) wrong.emplace_back("no such file: " + file.str());
    }

    void look_at_bytes(const std::vector<u32>& arguments, const Ran& ran, std::vector<std::string>& wrong)
    {
        ++changing_;
        const Image now = image_of_start_size();
        if (!succeeded(row(), ran)) wrong.emplace_back("refused, and the database has changed");
        Changes changes(start_, now);
        if (row().changes) row().changes(arguments.data(), changes);
        for (const std::string& trespass : changes.trespasses()) wrong.push_back(trespass);
        // A layout with more entries than the FDB segment has room for is told on standard error.
        const bool half_made = ran.printed.find("Error: shmget") != std::string::npos;
        if (!half_made) {
            for (const std::string& finding : broken_invariants(d())) wrong.push_back(finding);
        }
        restore(start_);
    }

    // As many bytes as there were, whatever the counts in the header say now.
    [[nodiscard]] Image image_of_start_size() const
    {
        return {{base().bytes, base().bytes + start_.main.size()}, {fdb().bytes, fdb().bytes + start_.fdb.size()}};
    }

    u32 failures_ = 0;
};

TEST_P(Sweep, EveryExtremeOfEveryArgumentIsAnsweredAsDocumented)
{
    const std::size_t files = open_files();
    Random random;
    SCOPED_TRACE(random.trace());
    const std::vector<u32> usual = good(row());
    attempt(usual);
    EXPECT_EQ(1u, successes_) << "the usual call is to do its work";
    for (std::size_t k = 0; k < usual.size(); ++k) {
        for (const u32 value : values_of(row().arguments[k])) {
            std::vector<u32> arguments = usual;
            arguments[k] = value;
            attempt(arguments);
        }
    }
    for (u32 count = 0; count < random_calls && usual.size() > 1; ++count) {
        std::vector<u32> arguments = usual;
        for (std::size_t k = 0; k < usual.size(); ++k) {
            const std::vector<u32> values = values_of(row().arguments[k]);
            if (random.below(2) == 0) arguments[k] = values[random.below(static_cast<u32>(values.size()))];
        }
        attempt(arguments);
    }
    EXPECT_EQ(files, open_files());
    // A row that permits changes which no call makes, or the other way round, would show nothing.
    EXPECT_EQ(row().changes != nullptr, changing_ > 0);
    std::printf("swept: %u calls, %u granted, %u changed the database\n", calls_, successes_, changing_);
}

// What the sweep looks for is found where it is.
using ChangesOf = Switch;

TEST_F(ChangesOf, AnOperationAreItsFieldsAndNoOthers)
{
    u32 err = 0;
    ASSERT_EQ(0, zelfdb_set_link_depend(1, 0x01020304, 0x05060708, &err));
    const Image now = image();
    const Port* const port = known_port(start_.base(), start_.header(), 1);
    Changes nothing(start_, now);
    EXPECT_EQ(8u, nothing.trespasses().size());
    Changes half(start_, now);
    half.fields<&Port::link_depend>(port);
    EXPECT_EQ(4u, half.trespasses().size());
    Changes other_port(start_, now);
    other_port.fields<&Port::link_depend, &Port::link_depend_list>(known_port(start_.base(), start_.header(), 2));
    EXPECT_EQ(8u, other_port.trespasses().size());
    Changes all(start_, now);
    all.fields<&Port::link_depend, &Port::link_depend_list>(port);
    EXPECT_EQ(0u, all.trespasses().size());
}

TEST_F(ChangesOf, AnEntryAreItsRecordItsChainAndItsOwnersCounters)
{
    u32 err = 0;
    ASSERT_EQ(0, zelfdb_create_sfil(30, new_station, 3, 0, 0, &err));
    const Image now = image();
    Changes nothing(start_, now);
    EXPECT_LT(0u, nothing.trespasses().size());
    Changes other_vlan(start_, now);
    other_vlan.entries_of(lookup_vlan(start_.base(), start_.header(), 10)->fdb, [](const Fil&) { return true; });
    EXPECT_LT(0u, other_vlan.trespasses().size());
    Changes right(start_, now);
    right.entries_of(lookup_vlan(start_.base(), start_.header(), 30)->fdb,
                     [](const Fil& fil) { return fil.mac.byte[5] == new_station[5]; });
    EXPECT_EQ(0u, right.trespasses().size());
}

INSTANTIATE_TEST_SUITE_P(Every, Sweep, testing::Range(std::size_t{0}, rows().size()), name_of_row);

}  // namespace
}  // namespace zelfdb::trust
