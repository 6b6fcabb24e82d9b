#include "trust/switch_test.h"

#include <dirent.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <unistd.h>

#include <cstring>

#include "support/invariants.h"
#include "support/segments.h"

namespace zelfdb::trust {
namespace {

union SemctlArgument {
    int value;
    void* unused;
};

void must(int result) { EXPECT_NE(-1, result); }

u32 code_of_absence(Kind kind)
{
    switch (kind) {
    case Kind::port: return ZELFDB_NO_PORT;
    case Kind::phport: return ZELFDB_NO_PHPORT;
    case Kind::vid:
    case Kind::vid_or_all: return ZELFDB_NO_VLAN;
    case Kind::stream: return ZELFDB_NO_STREAM;
    case Kind::queue: return ZELFDB_NO_QUEUE;
    case Kind::profile:
    case Kind::profile_or_all: return ZELFDB_NO_CLASSIFY;
    case Kind::group: return ZELFDB_NO_PROTGROUP;
    case Kind::mirror: return ZELFDB_NO_MIRROR;
    default: return ZELFDB_DONE;
    }
}

// No existing object may be made again.
bool makes(Kind kind)
{
    return kind == Kind::new_port || kind == Kind::new_vid || kind == Kind::new_stream || kind == Kind::new_queue ||
           kind == Kind::new_profile || kind == Kind::new_mirror || kind == Kind::new_group;
}

bool is_among(u32 code, const std::vector<u32>& codes)
{
    return std::find(codes.begin(), codes.end(), code) != codes.end();
}

}  // namespace

std::string call_text(const Row& row, const std::vector<u32>& arguments)
{
    std::string text = std::string(row.name) + "(";
    for (std::size_t k = 0; k < arguments.size(); ++k) {
        char word[64];
        std::snprintf(word, sizeof word, "%s%s 0x%x", k == 0 ? "" : ", ", row.arguments[k].name, arguments[k]);
        text += word;
    }
    return text + ")";
}

std::size_t open_files()
{
    std::size_t count = 0;
    DIR* const folder = opendir("/proc/self/fd");
    if (!folder) return 0;
    while (readdir(folder)) ++count;
    closedir(folder);
    return count;
}

void Switch::SetUp()
{
    Database::SetUp();
    populate();
    if (HasFatalFailure()) return;
    output_ = memfd_create("output", 0);
    ASSERT_GE(output_, 0);
    script_NP();
    EXPECT_THAT(broken_invariants(d()), testing::IsEmpty());
    start_ = image();
}

// An NP that answers, and has not heard of any station for a long time.
void Switch::script_NP()
{
    recorder::reset();
    recorder::answer_stream_info(0, std::vector<u32>(18, 1));
    recorder::answer_stream_busy(0, {1, 2, 3});
    recorder::answer_find(0, 900000, 0);
}

void Switch::TearDown()
{
    close(output_);
    Database::TearDown();
    detach_segments();
}

void Switch::populate()
{
    u32 err = 0;
    given_group(7, {0x0800});
    given_group(8, {0x0806, 0x8035});
    given_port(1, ZELFDB_PORT_ETHER, 1);
    given_port(2, ZELFDB_PORT_VIF);
    given_port(3, ZELFDB_PORT_ETHER, 4);
    given_port(4, ZELFDB_PORT_ETHER, 2);
    given_port(199);
    given_vlan(10, "ten");
    given_vlan(20, "twenty %s");
    given_vlan(30, "thirty");
    given_vlan(4094, "last");
    given_member(10, 1);
    given_member(10, 3, true);
    given_member(20, 2);
    given_protocol_member(4094, 3, 7);
    must(zelfdb_enable_port(3, &err));
    const zelfdb_port_param learning{ZELFDB_P_LEARN, 0, 0, 0, 0, 0, 0};
    must(zelfdb_set_param_to_port(3, &learning, 0, 1, 0x81, 1, &err));
    must(zelfdb_set_vlan_sld(10, 1, &err));

    const auto station = [](const u8* bytes) {
        Mac mac{};
        std::memcpy(mac.byte, bytes, 6);
        return mac;
    };
    given_learned(10, station(learned_station), 1, 1000, 1);
    given_learned(10, mac(0x0200000000A2), 3, 1000, 1);
    given_learned(30, mac(0x0200000000A3), 4);
    given_static(10, station(static_station), 3);
    given_static(10, mac(0x0200000000B2), 0, ZELFDB_FIL_FLAG_NO_PORT, ZELFDB_FIL_SYSTEM);
    given_static(30, mac(0x0200000000B3), 3);
    given_static(20, mac(0x0200000000B4), 4);
    given_local(4, station(local_station));
    given_local(4, mac(0x0200000000C2), 0, ZELFDB_FIL_SYSTEM);
    given_local(1, mac(0x0180C2000003), ZELFDB_FIL_FLAG_NO_PORT, ZELFDB_FIL_SYSTEM);

    for (const u32 number : {0u, 1u, 2u, 1023u}) must(zelfdb_create_stream(number, &err));
    must(zelfdb_add_stream_to_port(0, 1, 1, &err));
    must(zelfdb_add_stream_to_port(2, 1, 3, &err));
    must(zelfdb_set_shaping_in_stream(0, 100, 10, 300, 20, &err));
    for (const u32 number : {0u, 8u, 9u, 8191u}) must(zelfdb_create_queue(number, 30, 500, &err));
    must(zelfdb_add_queue_to_stream(8, 1, 0, 1, 2, 50, &err));
    must(zelfdb_set_ph_shaping(1, 250, 8, &err));

    zelfdb_classify_line line{};
    line.flags = ZELFDB_MATCH_PROTO | ZELFDB_MATCH_EXT;
    for (const u32 number : {1u, 2u, 64u}) must(zelfdb_create_classify_profile(number, &err));
    for (int k = 0; k < 3; ++k) must(zelfdb_add_classify_action_to_profile(1, 0, &line, &err));
    must(zelfdb_add_classify_action_to_profile(64, 0, &line, &err));
    const u32 words[4] = {1, 2, 3, 4};
    must(zelfdb_add_classify_profile_to_pv(1, 1, 10, words, &err));

    for (const u32 id : {1u, 2u, 3u}) must(zelfdb_create_mirror(id, &err));
    for (const u32 id : {1u, 2u}) {
        must(zelfdb_set_mirror_source(id, 1, 1, 10, &err));
        must(zelfdb_set_mirror_dest(id, 4, &err));
    }
    must(zelfdb_enable_mirror(1, &err));
    recorder::reset();
    environment::reset();
}

Image Switch::image() const
{
    const Snapshot bytes = snapshot();
    return {bytes.main, bytes.fdb};
}

bool Switch::is_now(const Image& image) const
{
    return std::memcmp(image.main.data(), base().bytes, image.main.size()) == 0 &&
           std::memcmp(image.fdb.data(), fdb().bytes, image.fdb.size()) == 0;
}

void Switch::restore(const Image& image)
{
    std::memcpy(base().bytes, image.main.data(), image.main.size());
    std::memcpy(fdb().bytes, image.fdb.data(), image.fdb.size());
}

int Switch::value_of_lock(int key)
{
    const SemctlArgument argument{};  // a plain 0 would be taken for an address where such records go by reference
    return semctl(semget(key, 1, 0), 0, GETVAL, argument);
}

void Switch::set_lock(int key, int value)
{
    SemctlArgument argument{};
    argument.value = value;
    semctl(semget(key, 1, 0), 0, SETVAL, argument);
}

std::vector<u32> Switch::good(const Row& row)
{
    std::vector<u32> values;
    for (const Argument& argument : row.arguments) values.push_back(argument.good);
    return values;
}

Ran Switch::run(const Row& row, const std::vector<u32>& arguments, const std::function<void()>& just_before)
{
    Tools tools;
    tools.d = &d();
    for (std::size_t k = 0; k + 1 < row.arguments.size(); ++k) {
        if (row.arguments[k].kind != Kind::capacity) continue;
        tools.buffer = zelfdb_alloc_ropebuf(arguments[k], arguments[k + 1]);
        if (!tools.buffer) ADD_FAILURE() << "no record buffer for " << call_text(row, arguments);
    }

    std::fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    const int saved_err = dup(STDERR_FILENO);
    dup2(output_, STDOUT_FILENO);
    dup2(output_, STDERR_FILENO);

    Ran ran{0, untouched, {}};
    recorder::log().clear();
    environment::semaphore_moves().clear();
    environment::get_calls().clear();
    if (just_before) just_before();
    ran.result = row.call(arguments.data(), tools, &ran.err);

    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    dup2(saved_err, STDERR_FILENO);
    close(saved);
    close(saved_err);
    ran.printed.resize(static_cast<std::size_t>(lseek(output_, 0, SEEK_END)));
    must(static_cast<int>(pread(output_, ran.printed.data(), ran.printed.size(), 0)));
    must(ftruncate(output_, 0));
    lseek(output_, 0, SEEK_SET);
    zelfdb_free_ropebuf(tools.buffer);
    return ran;
}

std::optional<bool> Switch::exists(Kind kind, u32 value) const
{
    const Base b = start_.base();
    Header& h = start_.header();
    const u32 low = value & 0xFFFF;
    switch (kind) {
    case Kind::port:
    case Kind::new_port: return known_port(b, h, value) != nullptr;
    case Kind::phport: return known_phport(b, h, value) != nullptr;
    case Kind::vid: return lookup_vlan(b, h, low) != nullptr;
    case Kind::vid_or_all: return value == 0 || lookup_vlan(b, h, low) != nullptr;
    case Kind::new_vid: return static_cast<i32>(value) >= 0 && value <= 4094 && lookup_vlan(b, h, value) != nullptr;
    case Kind::stream:
    case Kind::new_stream: return lookup_stream(b, h, low) != nullptr;
    case Kind::queue:
    case Kind::new_queue: return lookup_queue(b, h, low) != nullptr;
    case Kind::profile:
    case Kind::new_profile: return known_classify(b, h, low) != nullptr;
    case Kind::profile_or_all: return value == 0 || known_classify(b, h, low) != nullptr;
    case Kind::mirror: return value - 1 >= 4 || (h.mirror[value - 1].state & mirror_created);
    case Kind::new_mirror: return value - 1 < 4 && (h.mirror[value - 1].state & mirror_created);
    case Kind::group:
    case Kind::new_group:
        return std::any_of(h.prot_groups.group, h.prot_groups.group + h.prot_groups.count,
                           [low](const ProtGroup& group) { return group.group == low; });
    default: return std::nullopt;
    }
}

bool Switch::succeeded(const Row& row, const Ran& ran)
{
    if (row.result == Result::refused) return ran.err == untouched;
    if (row.result == Result::handle || row.result == Result::sent) return ran.result == 1;
    return ran.result >= 0;
}

std::vector<std::string> Switch::broken_rules(const Row& row, const std::vector<u32>& arguments, const Ran& ran) const
{
    std::vector<std::string> broken;
    const bool success = succeeded(row, ran);
    const auto result_among = [&](int lowest, int highest) {
        if (ran.result < lowest || ran.result > highest) broken.push_back("result " + std::to_string(ran.result));
    };
    switch (row.result) {
    case Result::status: result_among(-1, 0); break;
    case Result::refused: result_among(-1, -1); break;
    case Result::nothing:
    case Result::done: result_among(0, 0); break;
    case Result::listing: result_among(-1, 1); break;
    case Result::count: result_among(-1, 8); break;
    case Result::handle:
    case Result::sent: result_among(0, 1); break;
    }
    if (row.result == Result::count && ran.result == 0) broken.emplace_back("result 0");

    u32 word = untouched;
    if (success && row.word == Word::preset) word = 1;
    if (success && row.word == Word::final) word = 0;
    if ((success || row.word == Word::absent) && ran.err != word) {
        broken.push_back("error word " + std::to_string(ran.err) + " after a success or where there is none");
    }
    // Two of the readers that are given a descriptor say nothing about a count below 1.
    const bool silent = row.result == Result::count && row.frame == Frame::callers &&
                        static_cast<i32>(arguments.front()) < 1 && ran.err == untouched;
    if (!success && row.word != Word::absent && !silent && !is_among(ran.err, row.codes)) {
        broken.push_back("code " + std::to_string(ran.err) + " is not documented");
    }

    bool some_absent = false;
    bool kind_is_there = false;
    for (std::size_t k = 0; k < arguments.size(); ++k) {
        const Kind kind = row.arguments[k].kind;
        const std::optional<bool> there = exists(kind, arguments[k]);
        if (!there) continue;
        if (success && *there == makes(kind)) {
            broken.push_back(std::string("success with ") + row.arguments[k].name +
                             (*there ? " that exists" : " that is not there"));
        }
        if (code_of_absence(kind) != ran.err || ran.err == 0) continue;
        kind_is_there = true;
        some_absent = some_absent || !*there;
    }
    if (!success && kind_is_there && !some_absent) {
        broken.push_back("code " + std::to_string(ran.err) + ", but the object is there");
    }
    return broken;
}

}  // namespace zelfdb::trust
