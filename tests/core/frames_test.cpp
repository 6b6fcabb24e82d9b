// The frame of every exported operation, as one table: who opens the descriptor, which locks are taken and given in which
// order on every way out, and what becomes of the error word.
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>

#include "core/furnished.h"
#include "core/ipc.h"

namespace zelfdb {
namespace {

using testing::SizeIs;

class Frames;

// Where the descriptor comes from.
enum class Opens { with_NP, without_NP, callers };

enum class Locks { main, both, both_main_given_first, both_only_main_given, no_lock };

// What happens to the error word: none there is, written on failure only, 1 from the start and for good, or the final code.
enum class Word { none, on_failure, preset, final_code };

struct Row {
    const char* name;
    Opens opens;
    Locks locks;
    Word word;
    int (*call)(Frames& f, u32* err);
    int result = 0;  // in the furnished database
};

// Something of everything that an operation could be asked to work on, and memory for it to fill.
class Frames : public FurnishedDatabase {
public:
    void SetUp() override
    {
        FurnishedDatabase::SetUp();
        given_port(4);
        given_vlan(40, "empty");
        done(zelfdb_enable_port(3, &code));
        done(zelfdb_create_mirror(1, &code));
        done(zelfdb_set_mirror_source(1, 1, 1, 0, &code));
        done(zelfdb_set_mirror_dest(1, 3, &code));
        done(zelfdb_create_mirror(3, &code));
        furnished = snapshot();
        environment::reset();
        recorder::reset();
    }
    void TearDown() override
    {
        refurnish();
        zelfdb_free_ropebuf(buffer);
        FurnishedDatabase::TearDown();
    }

    // Everything as SetUp left it.
    void refurnish()
    {
        std::copy(furnished.main.begin(), furnished.main.end(), base().bytes);
        std::copy(furnished.fdb.begin(), furnished.fdb.end(), fdb().bytes);
        environment::reset();
        recorder::reset();
        environment::set_time_s(1000);
        fdb_cursor = {};
        cursor = {};
        vid = -1;
    }

    // Runs one row from the furnished or from an empty database; its printout is kept, a file that it names removed.
    int run(const Row& row, u32* err)
    {
        testing::internal::CaptureStdout();
        const int result = row.call(*this, err);
        out = testing::internal::GetCapturedStdout();
        std::smatch file;
        if (std::regex_search(out, file, std::regex("/tmp/clsline-\\w+"))) ::unlink(file.str().c_str());
        return result;
    }

    // Room for what an operation fills.
    template <class Record>
    Record* memory()
    {
        return reinterpret_cast<Record*>(buffer->records);
    }

    zelfdb_fdb_cursor fdb_cursor{};
    zelfdb_cursor cursor{};
    zelfdb_ropebuf* buffer = zelfdb_alloc_ropebuf(16, 2000);
    i32 vid = -1;
    u32 words[64] = {};
    char text[4096] = {};
    zelfdb_port_param param{};
    zelfdb_classify_line a_line{};
    FrameBytes frame = untagged_frame(mac(0x02BB));
    zelfdb_learn_ind event = indication(3);
    Mac fresh = mac(0x02BC);
    Snapshot furnished;
    std::string out;
};

// What a row does, from the database and its error word.
#define CALLS(...) []([[maybe_unused]] Frames& f, [[maybe_unused]] u32* err) -> int { return __VA_ARGS__; }

constexpr Opens NP = Opens::with_NP;
constexpr Opens C = Opens::callers;
constexpr Locks M = Locks::main;
constexpr Locks MF = Locks::both;

const Row rows[] = {
    {"get_summary", NP, M, Word::none, CALLS(zelfdb_get_summary(f.memory<zelfdb_summary>()))},
    {"get_history", NP, M, Word::none, CALLS(zelfdb_get_history(f.memory<zelfdb_history>()))},

    {"clear_fdb", NP, MF, Word::none, CALLS(zelfdb_clear_fdb())},
    {"clear_fdb_vlan", NP, MF, Word::none, CALLS(zelfdb_clear_fdb_vlan(10))},
    {"set_fdb_userarea", Opens::without_NP, M, Word::preset, CALLS(zelfdb_set_fdb_userarea(5, err))},
    {"add_dfil_by_learn_ind", C, Locks::both_main_given_first, Word::none,
     CALLS(zelfdb_add_dfil_by_learn_ind(&f.d(), &f.frame, &f.event))},
    {"do_aging", C, MF, Word::none, CALLS(zelfdb_do_aging(&f.d()))},
    {"create_sfil", NP, MF, Word::final_code, CALLS(zelfdb_create_sfil(10, f.fresh.byte, 1, 0, 0, err))},
    {"create_sfil2", C, MF, Word::final_code, CALLS(zelfdb_create_sfil2(&f.d(), 10, f.fresh.byte, 1, 0, 0, err))},
    {"delete_sfil", NP, MF, Word::final_code, CALLS(zelfdb_delete_sfil(10, f.sales_static.byte, 0, err))},
    {"delete_sfil2", C, MF, Word::final_code, CALLS(zelfdb_delete_sfil2(&f.d(), 10, f.sales_static.byte, 0, err))},
    {"create_lfil", NP, MF, Word::final_code, CALLS(zelfdb_create_lfil(1, f.fresh.byte, 0, 0, err))},
    {"delete_lfil", NP, MF, Word::final_code, CALLS(zelfdb_delete_lfil(1, f.local.byte, 0, err))},
    {"get_all_dfil", NP, Locks::both_main_given_first, Word::none,
     CALLS(zelfdb_get_all_dfil(10, &f.fdb_cursor, f.buffer))},
    {"get_all_sfil", NP, MF, Word::none, CALLS(zelfdb_get_all_sfil(10, &f.fdb_cursor, f.buffer))},
    {"get_all_lfil", NP, Locks::both_only_main_given, Word::none,
     CALLS(zelfdb_get_all_lfil(1, &f.fdb_cursor, f.buffer))},
    {"delete_sfil_select_port", NP, MF, Word::final_code, CALLS(zelfdb_delete_sfil_select_port(1, err))},
    {"delete_sfil_select_port2", C, MF, Word::none, CALLS(zelfdb_delete_sfil_select_port2(&f.d(), 1))},

    {"create_port", NP, MF, Word::on_failure, CALLS(zelfdb_create_port(5, 0, 0, err))},
    {"delete_port", NP, MF, Word::on_failure, CALLS(zelfdb_delete_port(4, err))},
    {"get_phinfo", NP, M, Word::on_failure, CALLS(zelfdb_get_phinfo(2, f.memory<zelfdb_phinfo>(), err))},
    {"set_ph_shaping", NP, M, Word::on_failure, CALLS(zelfdb_set_ph_shaping(2, 1, 2, err))},
    {"set_param_to_port", NP, MF, Word::preset, CALLS(zelfdb_set_param_to_port(1, &f.param, 60, 1, 0xC4, 0, err))},
    {"set_param_to_port2", C, MF, Word::preset,
     CALLS(zelfdb_set_param_to_port2(&f.d(), 1, &f.param, 60, 1, 0xC4, 0, err))},
    {"set_port_class_policing", NP, M, Word::on_failure, CALLS(zelfdb_set_port_class_policing(1, 2, 3, 4, 1, err))},
    {"set_port_cosmap", NP, M, Word::on_failure, CALLS(zelfdb_set_port_cosmap(1, 3, f.words, err))},
    {"set_port_bandwidth_calc_mode", NP, M, Word::on_failure, CALLS(zelfdb_set_port_bandwidth_calc_mode(1, 1, err))},
    {"set_default_class", NP, M, Word::on_failure, CALLS(zelfdb_set_default_class(1, 2, 3, 1, err))},
    {"set_port_link_frames", NP, MF, Word::on_failure, CALLS(zelfdb_set_port_link_frames(1, 2, 0, err))},
    {"enable_port", NP, M, Word::on_failure, CALLS(zelfdb_enable_port(1, err))},
    {"disable_port", NP, M, Word::on_failure, CALLS(zelfdb_disable_port(3, err))},
    {"notify_portstate", C, MF, Word::none, CALLS(zelfdb_notify_portstate(&f.d(), 1, 0, 1))},
    {"recover_port_sldbkr", NP, MF, Word::on_failure, CALLS(zelfdb_recover_port_sldbkr(1, err)), -1},
    {"set_uplink_flag", NP, M, Word::on_failure, CALLS(zelfdb_set_uplink_flag(1, 1, err))},
    {"set_uplink_flag2", C, M, Word::on_failure, CALLS(zelfdb_set_uplink_flag2(&f.d(), 1, 1, err))},
    {"set_link_mode", NP, M, Word::on_failure, CALLS(zelfdb_set_link_mode(1, 2, err))},
    {"set_link_depend", NP, M, Word::on_failure, CALLS(zelfdb_set_link_depend(1, 2, 3, err))},
    {"get_portinfo", NP, M, Word::none, CALLS(zelfdb_get_portinfo(1, f.memory<zelfdb_port_info>()))},
    {"get_all_portinfo", NP, M, Word::none, CALLS(zelfdb_get_all_portinfo(&f.cursor, f.buffer))},
    {"get_port_vid", NP, M, Word::on_failure, CALLS(zelfdb_get_port_vid(7, f.words, err))},
    {"get_port_vid2", C, M, Word::on_failure, CALLS(zelfdb_get_port_vid2(&f.d(), 7, f.words, err))},
    {"check_stream_in_port", NP, M, Word::on_failure, CALLS(zelfdb_check_stream_in_port(4, err))},
    {"display_port_data", NP, MF, Word::on_failure, CALLS(zelfdb_display_port_data(1, err))},

    {"create_vlan", NP, MF, Word::preset, CALLS(zelfdb_create_vlan("new", &f.vid, err))},
    {"delete_vlan", NP, MF, Word::preset, CALLS(zelfdb_delete_vlan(40, err))},
    {"get_vlan_info", NP, M, Word::none, CALLS(zelfdb_get_vlan_info(10, f.memory<zelfdb_vlan_info>()))},
    {"get_all_vlaninfo", NP, M, Word::none, CALLS(zelfdb_get_all_vlaninfo(&f.cursor, f.buffer))},
    {"get_vid", NP, M, Word::on_failure, CALLS(zelfdb_get_vid("ab", f.words, err))},
    {"get_vid2", C, M, Word::on_failure, CALLS(zelfdb_get_vid2(&f.d(), "ab", f.words, err))},
    {"get_vlanname", NP, M, Word::on_failure, CALLS(zelfdb_get_vlanname(10, f.text, err))},
    {"get_vlanname2", C, M, Word::on_failure, CALLS(zelfdb_get_vlanname2(&f.d(), 10, f.text, err))},
    {"get_portID_from_vid", NP, M, Word::on_failure, CALLS(zelfdb_get_portID_from_vid(8, 10, f.words, err)), 2},
    {"get_portID_from_vid2", C, M, Word::on_failure, CALLS(zelfdb_get_portID_from_vid2(&f.d(), 8, 10, f.words, err)),
     2},
    {"get_vid_from_portID2", C, M, Word::on_failure, CALLS(zelfdb_get_vid_from_portID2(&f.d(), 8, 1, f.words, err)), 2},
    {"add_port_to_vlan", NP, M, Word::preset, CALLS(zelfdb_add_port_to_vlan(30, 4, 1, 0x8100, 0, 0, err))},
    {"rem_port_from_vlan", NP, MF, Word::preset, CALLS(zelfdb_rem_port_from_vlan(10, 1, err))},
    {"get_all_pvinfo_in_a_port", NP, M, Word::none, CALLS(zelfdb_get_all_pvinfo_in_a_port(1, &f.cursor, f.buffer))},
    {"set_vlan_sld", NP, M, Word::preset, CALLS(zelfdb_set_vlan_sld(10, 1, err))},
    {"set_vlan_learninglimit", Opens::without_NP, M, Word::preset, CALLS(zelfdb_set_vlan_learninglimit(10, 5, err))},
    {"set_vlan_ignore_fdb", NP, M, Word::preset, CALLS(zelfdb_set_vlan_ignore_fdb(10, 1, err))},
    {"set_vlan_learning_off", NP, M, Word::preset, CALLS(zelfdb_set_vlan_learning_off(10, 1, err))},
    {"create_protgroup", NP, M, Word::preset, CALLS(zelfdb_create_protgroup(9, err))},
    {"delete_protgroup", NP, M, Word::preset, CALLS(zelfdb_delete_protgroup(6, err))},
    {"add_prot_to_group", NP, M, Word::preset, CALLS(zelfdb_add_prot_to_group(0x1234, 6, err))},
    {"remove_prot_from_group", NP, M, Word::preset, CALLS(zelfdb_remove_prot_from_group(0x86DD, 6, err))},
    {"get_protgroup_info", NP, M, Word::preset,
     CALLS(zelfdb_get_protgroup_info(f.memory<zelfdb_protgroup_info>(), err))},
    {"display_vlan_data", NP, MF, Word::on_failure, CALLS(zelfdb_display_vlan_data(10, err))},

    {"create_queue", NP, M, Word::on_failure, CALLS(zelfdb_create_queue(60, 10, 20, err))},
    {"delete_queue", NP, M, Word::on_failure, CALLS(zelfdb_delete_queue(59, err))},
    {"add_queue_to_stream", NP, M, Word::on_failure, CALLS(zelfdb_add_queue_to_stream(59, 8, 1, 1, 2, 3, err))},
    {"rem_queue_from_stream", NP, M, Word::on_failure, CALLS(zelfdb_rem_queue_from_stream(57, 7, 2, err))},
    {"set_queue_qos", NP, M, Word::on_failure, CALLS(zelfdb_set_queue_qos(57, 7, 1, 2, err))},
    {"set_queue_size", NP, M, Word::on_failure, CALLS(zelfdb_set_queue_size(57, 7, 2, 20, 30, err))},
    {"get_queue_info", NP, M, Word::on_failure, CALLS(zelfdb_get_queue_info(57, f.words, err))},
    {"check_queue_in_stream", NP, M, Word::on_failure, CALLS(zelfdb_check_queue_in_stream(1, 9, err))},
    {"create_stream", NP, M, Word::on_failure, CALLS(zelfdb_create_stream(100, err))},
    {"delete_stream", NP, M, Word::on_failure, CALLS(zelfdb_delete_stream(8, err))},
    {"add_stream_to_port", NP, M, Word::on_failure, CALLS(zelfdb_add_stream_to_port(8, 4, 1, err))},
    {"rem_stream_from_port", NP, M, Word::on_failure, CALLS(zelfdb_rem_stream_from_port(7, 3, 1, err))},
    {"set_red_in_stream", NP, M, Word::on_failure, CALLS(zelfdb_set_red_in_stream(7, 1, 2, 3, 4, 5, 6, err))},
    {"set_shaping_in_stream", NP, M, Word::on_failure, CALLS(zelfdb_set_shaping_in_stream(7, 1, 2, 3, 4, err))},
    {"set_qostype_in_stream", NP, M, Word::on_failure, CALLS(zelfdb_set_qostype_in_stream(7, 1, 2, 3, err))},
    {"set_stream_priority", NP, M, Word::on_failure, CALLS(zelfdb_set_stream_priority(7, 1, err))},
    {"set_stream_tosmap", NP, M, Word::on_failure, CALLS(zelfdb_set_stream_tosmap(7, 1, f.words, f.words, err))},
    {"get_stream_info", NP, M, Word::on_failure, CALLS(zelfdb_get_stream_info(7, f.memory<zelfdb_stream_info>(), err))},
    {"get_all_streaminfo", NP, M, Word::none, CALLS(zelfdb_get_all_streaminfo(&f.cursor, f.buffer))},
    {"get_stream_busy_info", NP, M, Word::on_failure, CALLS(zelfdb_get_stream_busy_info(7, f.words, err))},
    {"stream_shaping_rate_update", NP, M, Word::on_failure, CALLS(zelfdb_stream_shaping_rate_update(3, err))},

    {"create_classify_profile", NP, M, Word::on_failure, CALLS(zelfdb_create_classify_profile(10, err))},
    {"delete_classify_profile", NP, M, Word::on_failure, CALLS(zelfdb_delete_classify_profile(9, err))},
    {"add_classify_profile_to_pv", NP, M, Word::on_failure,
     CALLS(zelfdb_add_classify_profile_to_pv(9, 1, 10, f.words, err))},
    {"rem_classify_profile_from_pv", NP, M, Word::on_failure, CALLS(zelfdb_rem_classify_profile_from_pv(1, 20, err))},
    {"add_classify_action_to_profile", NP, M, Word::on_failure,
     CALLS(zelfdb_add_classify_action_to_profile(9, 0, &f.a_line, err))},
    {"rem_classify_action_from_profile", NP, M, Word::on_failure,
     CALLS(zelfdb_rem_classify_action_from_profile(4, 1, err))},
    {"rem_classify_all_from_profile", NP, M, Word::on_failure, CALLS(zelfdb_rem_classify_all_from_profile(4, err))},
    {"linedata_to_param_prefilter", C, Locks::no_lock, Word::none,
     CALLS(linedata_to_param_prefilter(&f.d(), 1, 0, f.text, 1)), 1},
    {"linedata_to_param_loc", C, Locks::no_lock, Word::none, CALLS(linedata_to_param_loc(&f.d(), 1, 0, f.text, 1)), 1},
    {"disp_classify", NP, M, Word::on_failure, CALLS(zelfdb_disp_classify(0, err))},

    {"create_mirror", NP, M, Word::preset, CALLS(zelfdb_create_mirror(4, err))},
    {"delete_mirror", NP, M, Word::preset, CALLS(zelfdb_delete_mirror(3, err))},
    {"set_mirror_source", NP, M, Word::preset, CALLS(zelfdb_set_mirror_source(3, 1, 1, 0, err))},
    {"set_mirror_dest", NP, M, Word::preset, CALLS(zelfdb_set_mirror_dest(3, 1, err))},
    {"set_mirror_classify", NP, M, Word::preset, CALLS(zelfdb_set_mirror_classify(3, 1, 2, 1, err))},
    {"set_mirror_tag", NP, M, Word::preset, CALLS(zelfdb_set_mirror_tag(3, 1, 0x8100, 5, err))},
    {"enable_mirror", NP, M, Word::preset, CALLS(zelfdb_enable_mirror(1, err))},
    {"disable_mirror", NP, M, Word::preset, CALLS(zelfdb_disable_mirror(2, err))},

    {"reconfig_ether", NP, M, Word::none, CALLS(zelfdb_reconfig_ether("", "\n"))},
    {"reconfig_port", NP, M, Word::none, CALLS(zelfdb_reconfig_port("", "\n"))},
    {"reconfig_stream", NP, M, Word::none, CALLS(zelfdb_reconfig_stream("", "\n"))},
    {"reconfig_protgroup", NP, M, Word::none, CALLS(zelfdb_reconfig_protgroup("", "\n"))},
    {"reconfig_vlan", NP, M, Word::none, CALLS(zelfdb_reconfig_vlan("", "\n"))},
    {"reconfig_classify", NP, M, Word::none, CALLS(zelfdb_reconfig_classify("", "\n"))},
    {"reconfig_sfil", NP, MF, Word::none, CALLS(zelfdb_reconfig_sfil("", "\n"))},
    {"reconfig_lfil", NP, MF, Word::none, CALLS(zelfdb_reconfig_lfil("", "\n"))},
    {"reconfig_mirror", NP, M, Word::none, CALLS(zelfdb_reconfig_mirror("", "\n"))},
};

#undef CALLS

std::string moves_of(Locks locks)
{
    switch (locks) {
    case Locks::main: return "-main +main";
    case Locks::both: return "-main -fdb +fdb +main";
    case Locks::both_main_given_first: return "-main -fdb +main +fdb";
    case Locks::both_only_main_given: return "-main -fdb +main";
    case Locks::no_lock: return "";
    }
    return "?";
}

std::string moves_made()
{
    std::string text;
    for (const environment::SemaphoreMove& move : environment::semaphore_moves()) {
        text += text.empty() ? "" : " ";
        text += std::string(move.by < 0 ? "-" : "+") + (move.key == main_key ? "main" : "fdb");
    }
    return text;
}

// A lock that the operation keeps would stop the next one.
void give_back_what_is_kept()
{
    if (semaphore_value(fdb_key) == 0) end_critical_fdb();
}

TEST_F(Frames, EveryOperationTakesAndGivesItsLocksInItsOrder)
{
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        refurnish();
        u32 err = 0;
        EXPECT_EQ(row.result, run(row, &err)) << "code " << err;
        EXPECT_EQ(moves_of(row.locks), moves_made());
        give_back_what_is_kept();
        EXPECT_EQ(1, semaphore_value(main_key));
        EXPECT_EQ(1, semaphore_value(fdb_key));
    }
}

TEST_F(Frames, SoItDoesInAnEmptyDatabaseWhereMostFail)
{
    init(default_nport, default_nvlan, default_nfil);
    const Snapshot empty = snapshot();
    u32 failed = 0;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        furnished = empty;
        refurnish();
        u32 err = 0;
        if (run(row, &err) != 0) ++failed;
        EXPECT_EQ(moves_of(row.locks), moves_made());
        give_back_what_is_kept();
    }
    EXPECT_GT(failed, std::size(rows) / 2);
}

TEST_F(Frames, EveryOperationThatOpensADescriptorClosesIt)
{
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        refurnish();
        u32 err = 0;
        run(row, &err);
        const bool own = row.opens != Opens::callers;
        EXPECT_EQ(own ? 2u : 0u, environment::calls("shmat"));
        EXPECT_EQ(own ? 2u : 0u, environment::calls("shmdt"));
        EXPECT_EQ(row.opens == Opens::with_NP ? 1u : 0u, recorder::init_calls());
        EXPECT_EQ(row.opens == Opens::with_NP ? 1u : 0u, recorder::release_calls());
        EXPECT_EQ(0u, recorder::calls_with_null_handle());
        give_back_what_is_kept();
    }
}

TEST_F(Frames, EveryOperationTreatsItsErrorWordByItsRule)
{
    constexpr u32 untouched = 0xABCD;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        refurnish();
        u32 err = untouched;
        run(row, &err);
        switch (row.word) {
        case Word::none:
        case Word::on_failure: EXPECT_EQ(untouched, err); break;
        case Word::preset: EXPECT_EQ(1u, err); break;
        case Word::final_code: EXPECT_EQ(0u, err); break;
        }
        give_back_what_is_kept();
    }
}

TEST_F(Frames, WithoutADescriptorEveryOperationFailsWithCode1AndDoesNothingElse)
{
    for (const Row& row : rows) {
        if (row.opens == Opens::callers) continue;
        SCOPED_TRACE(row.name);
        refurnish();
        environment::fail("shmget", ENOENT);
        const Snapshot before = snapshot();
        u32 err = 0xABCD;
        EXPECT_EQ(-1, run(row, &err));
        EXPECT_EQ(row.word == Word::none ? 0xABCDu : 1u, err);
        EXPECT_EQ("libzelfdb: open_descriptor shmget fail\n", out);
        EXPECT_EQ("", moves_made());
        EXPECT_EQ(before, snapshot());
    }
}

TEST_F(Frames, WithoutAnAnsweringNpThoseThatTalkToItFailWithCode1)
{
    for (const Row& row : rows) {
        if (row.opens != Opens::with_NP) continue;
        SCOPED_TRACE(row.name);
        refurnish();
        recorder::fail_init(20);
        const Snapshot before = snapshot();
        u32 err = 0xABCD;
        EXPECT_EQ(-1, run(row, &err));
        EXPECT_EQ(row.word == Word::none ? 0xABCDu : 1u, err);
        EXPECT_THAT(environment::sleeps(), SizeIs(19));
        EXPECT_EQ(before, snapshot());
    }
}

TEST_F(Frames, NoOperationIsStoppedByLocksThatCannotBeMoved)
{
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        refurnish();
        u32 err = 0;
        const int result = run(row, &err);
        give_back_what_is_kept();
        const Snapshot with_locks = snapshot();

        refurnish();
        environment::fail("semop", EIDRM, 1, 1000);
        u32 err_without = 0;
        EXPECT_EQ(result, run(row, &err_without));
        EXPECT_EQ(err, err_without);
        EXPECT_EQ(with_locks, snapshot());
        const auto lines = [this](const std::string& line) {
            std::size_t count = 0;
            for (std::size_t at = out.find(line); at != std::string::npos; at = out.find(line, at + 1)) ++count;
            return count;
        };
        const std::string moves = moves_of(row.locks);
        EXPECT_EQ(std::count(moves.begin(), moves.end(), '-'), lines("semaphore get NG\n"));
        EXPECT_EQ(std::count(moves.begin(), moves.end(), '+'), lines("semaphore release NG\n"));
    }
}

TEST(FramesTable, NamesEveryOperationOfTheHeaderThatWorksOnTheDatabase)
{
    const auto project = std::filesystem::path(__FILE__).parent_path().parent_path().parent_path();
    std::ifstream file(project / "include" / "zelfdb" / "zelfdb.h");
    ASSERT_TRUE(file);
    const std::string header{std::istreambuf_iterator<char>(file), {}};
    std::set<std::string> declared;
    const std::regex name("ZELFDB_API[^;(]*?\\b(?:zelfdb_)?(\\w+)\\(");
    for (auto it = std::sregex_iterator(header.begin(), header.end(), name); it != std::sregex_iterator(); ++it) {
        declared.insert((*it)[1]);
    }
    for (const char* const without_frame :
         {"init", "open_descriptor", "open_descriptor2", "close_descriptor", "alloc_ropebuf", "free_ropebuf"}) {
        EXPECT_EQ(1u, declared.erase(without_frame)) << without_frame;
    }
    declared.erase("__attribute__");
    std::set<std::string> in_table;
    for (const Row& row : rows) in_table.insert(row.name);
    EXPECT_EQ(declared, in_table);
    EXPECT_EQ(in_table.size(), std::size(rows));
}

}  // namespace
}  // namespace zelfdb
