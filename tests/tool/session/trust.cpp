// What the tool does not read: segments of another size, headers that cannot be; and what it says to who may not use it.
#include <grp.h>
#include <linux/capability.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>

#include "core/records.h"
#include "main_segment.h"
#include "support/namespace.h"
#include "tool.h"

namespace tool {
namespace {

using testing::HasSubstr;
using zelfdb::Header;

class Untrusted : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(enter_ipc_namespace()); }
};

constexpr key_t device_key = 0x534E5001;
constexpr uid_t nobody = 65534;

void remove_segment(key_t key)
{
    const int id = shmget(key, 0, 0);
    if (id >= 0) shmctl(id, IPC_RMID, nullptr);
}

// A segment in the place of another, of that size, all zeros.
void replace_segment(key_t key, std::size_t size)
{
    remove_segment(key);
    ASSERT_GE(shmget(key, size, IPC_CREAT), 0) << std::strerror(errno);
}

// What every verb that needs a database says first.
const std::vector<std::vector<std::string>> database_verbs = {
    {"apply", "-"},
    {"save", "-"},
    {"save", "/tmp/never-made"},
    {"load", EXAMPLES "/demo.conf"},
    {"diff", EXAMPLES "/demo.conf"},
    {"reload", EXAMPLES "/demo.conf"},
    {"run", "create vlan sales vid 10"},
    {"create", "vlan", "sales", "vid", "10"},
    {"clear", "fdb"},
    {"feed", "--port", "1", EXAMPLES "/captures/port1.pcap"},
    {"age"},
    {"show", "fdb"},
    {"show", "port"},
    {"show", "port", "1"},
    {"show", "vlan"},
    {"show", "vlan", "10"},
    {"show", "protgroup"},
    {"show", "streams"},
    {"show", "stream", "1/1"},
    {"show", "queues"},
    {"show", "budget"},
    {"show", "clslist"},
    {"show", "mirrors"},
    {"show", "ether"},
    {"show", "summary"},
    {"show", "history"},
    {"show", "np"},
    {"display", "port", "1"},
    {"display", "vlan", "10"},
    {"export", "clslist"},
    {"resync"},
    {"audit"},
};

// Verbs that work without a database, and the one that looks at damaged ones.
const std::vector<std::string> other_verbs = {"init",  "session", "shell", "watch", "complete", "completion",
                                              "check", "echo",    "sleep", "exec",  "help",     "manual"};

// A comparison keeps 1 for a difference.
int code_of_failure(const std::vector<std::string>& words) { return words.front() == "diff" ? 2 : 1; }

void every_verb_says(const std::string& message)
{
    for (const auto& words : database_verbs) {
        const Result result = zelfctl(words, "create vlan sales vid 10\n");
        EXPECT_EQ(code_of_failure(words), result.code) << testing::PrintToString(words);
        EXPECT_EQ("zelfctl: " + message + "\n", result.err) << testing::PrintToString(words);
        EXPECT_EQ("", result.out) << testing::PrintToString(words);
    }
}

TEST_F(Untrusted, TheVerbsOfTheseTestsAreAllThatThereAre)
{
    const std::string help = good({"--help"});
    const std::size_t first = help.find("Subcommands:");
    ASSERT_NE(std::string::npos, first);
    std::size_t found = 0;
    for (std::size_t at = help.find("\n  ", first); at != std::string::npos; at = help.find("\n  ", at + 1)) {
        const std::string verb = help.substr(at + 3, help.find(' ', at + 3) - at - 3);
        if (verb.empty() || verb.front() == '-') continue;
        const bool tested = std::any_of(database_verbs.begin(), database_verbs.end(),
                                        [&](const auto& words) { return words[0] == verb; });
        EXPECT_TRUE(tested || std::find(other_verbs.begin(), other_verbs.end(), verb) != other_verbs.end()) << verb;
        ++found;
    }
    EXPECT_GE(found, 15u);
}

TEST_F(Untrusted, AMainSegmentTooSmallForAHeaderIsNotRead)
{
    given_office();
    replace_segment(main_key, 16);
    every_verb_says(
        "the main segment is not that of a database: it has 16 bytes where 104880 are needed; "
        "'zelfctl init --replace' makes a new one");
}

TEST_F(Untrusted, ASegmentTooSmallForItsHeaderIsNotRead)
{
    given_office();
    replace_segment(fdb_key, 64 * 44 - 1);
    every_verb_says(
        "the FDB segment is not that of a database: it has 2815 bytes where 2816 are needed; "
        "'zelfctl init --replace' makes a new one");
    remove_segment(fdb_key);
    every_verb_says("there is no database: make one with 'zelfctl init'");
}

// Writes into the header of a healthy database, and puts back what was there.
void with_header(const std::function<void(Header&)>& change, const std::string& says)
{
    auto* const header = static_cast<Header*>(shmat(shmget(main_key, 0, 0), nullptr, 0));
    ASSERT_NE(reinterpret_cast<Header*>(-1), header);
    const auto whole = std::make_unique<Header>(*header);
    change(*header);
    const Result result = zelfctl({"show", "summary"});
    EXPECT_EQ(1, result.code) << says;
    EXPECT_EQ("", result.out);
    EXPECT_THAT(result.err, HasSubstr(says));
    *header = *whole;
    shmdt(header);
    EXPECT_EQ(0, zelfctl({"show", "summary"}).code) << "after " << says;
}

TEST_F(Untrusted, ImpossibleHeadersAreNotFollowed)
{
    given_office();
    const std::string needed = "are needed; 'zelfctl init --replace' makes a new one";
    with_header([](Header& h) { h.nport = 0xFFFFFFFF; }, needed);
    with_header([](Header& h) { h.nvlan = 0x7FFFFFFF; }, needed);
    with_header([](Header& h) { h.nfil = 0x80000000; }, needed);
    with_header([](Header& h) { h.nfil = 65; }, needed);
    const auto odd = [](const char* what) { return "its header is impossible (" + std::string(what) + ")"; };
    with_header([](Header& h) { h = {}; }, odd("the list of ports"));
    with_header([](Header& h) { h.port_head.value += 4; }, odd("the list of ports"));
    with_header([](Header& h) { h.port_free.value = 0xFFFFFFF0; }, odd("the list of ports"));
    with_header([](Header& h) { h.port_index[0].value = 8; }, odd("the index of ports"));
    with_header([](Header& h) { h.pvid_chain[8191].value = 0; }, odd("the index of ports"));
    with_header([](Header& h) { h.port_count = 9; }, odd("the number of ports"));
    with_header([](Header& h) { h.phport_index[3].value = 1; }, odd("the physical ports"));
    with_header([](Header& h) { h.stream_free.value = 1; }, odd("the list of streams"));
    with_header([](Header& h) { h.stream_index[1023].value = 1; }, odd("the index of streams"));
    with_header([](Header& h) { h.stream_total = 1025; }, odd("the number of streams"));
    with_header([](Header& h) { h.queue_head.value = 0x7FFFFFFF; }, odd("the list of queues"));
    with_header([](Header& h) { h.queue_index[8191].value = 1; }, odd("the index of queues"));
    with_header([](Header& h) { h.queue_total = 8193; }, odd("the number of queues"));
    with_header([](Header& h) { h.vlan_free.value = 5; }, odd("the list of VLANs"));
    with_header([](Header& h) { h.vlan_name[255].value = 5; }, odd("the index of VLANs"));
    with_header([](Header& h) { h.vlan_count = 9; }, odd("the number of VLANs"));
    with_header([](Header& h) { h.fil_free.value = 64 * 44; }, odd("the free entries"));
    with_header([](Header& h) { h.classify_free.value = 2; }, odd("the list of classify lists"));
    with_header([](Header& h) { h.classify_index[63].value = 2; }, odd("the index of classify lists"));
    with_header([](Header& h) { h.action_free.value = 2; }, odd("the free lines"));
    with_header([](Header& h) { h.prot_groups.count = 9; }, odd("the number of protocol groups"));
}

// A database that shrank when it was laid out anew keeps its segments; those are larger than needed.
TEST_F(Untrusted, SegmentsThatAreLargerThanTheirHeaderAreGood)
{
    given_office();
    good({"init", "--ports", "4", "--vlans", "4", "--entries", "8"});
    good({"show", "summary"});
}

TEST_F(Untrusted, ADeviceSegmentOfAnotherSizeIsNotRead)
{
    given_office();
    constexpr std::uint32_t ready = 0x534E5052;
    for (const std::size_t size : {std::size_t{1}, std::size_t{8192}}) {
        remove_segment(device_key);
        const int id = shmget(device_key, size, IPC_CREAT | 0600);
        ASSERT_GE(id, 0);
        // It says that it is a device.
        void* const bytes = shmat(id, nullptr, 0);
        std::memcpy(bytes, &ready, sizeof ready);
        shmdt(bytes);
        const Result result = zelfctl({"show", "summary"});
        EXPECT_EQ(1, result.code);
        EXPECT_EQ("zelfctl: the network processor cannot be reached\n", result.err);
        EXPECT_EQ("", result.out);
    }
}

// Whoever puts a link in the place of the file, or of the one that keeps what it held, gains nothing by it.
TEST_F(Untrusted, SavingReplacesLinksAndDoesNotFollowThem)
{
    given_office();
    const Folder folder;
    const std::string victim = folder.file("victim", "precious\n");
    const std::string target = folder.path() + "/switch.conf";
    ASSERT_EQ(0, symlink(victim.c_str(), target.c_str()));
    ASSERT_EQ(0, symlink(victim.c_str(), (target + "~").c_str()));
    good({"save", target});
    EXPECT_EQ("precious\n", content_of(victim));
    EXPECT_FALSE(std::filesystem::is_symlink(target));
    EXPECT_EQ(good({"save", "-"}), content_of(target));
    EXPECT_EQ("precious\n", content_of(victim));
}

// The tool where everybody can run it, with an environment that names nothing of ours.
class Unprivileged : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(enter_ipc_namespace());
        chmod(folder_.path().c_str(), 0755);
        for (const std::string file : {ZELFCTL, ZELFDB_LIBRARY, VF_LIBRARY, EXAMPLES "/captures/port1.pcap"}) {
            std::filesystem::copy(file, folder_.path());
        }
    }

    [[nodiscard]] std::string path() const { return folder_.path(); }

    // As the user nobody, or where we are not root, as ourselves without any capability.
    [[nodiscard]] Result run_unprivileged(const std::vector<std::string>& words, const std::string& input = {}) const
    {
        int answer[2];
        EXPECT_EQ(0, pipe(answer));
        const pid_t child = fork();
        if (child == 0) {
            give_up_privileges();
            std::vector<std::string> all{"/usr/bin/env", "-i", "LD_LIBRARY_PATH=" + folder_.path(),
                                         folder_.path() + "/zelfctl"};
            all.insert(all.end(), words.begin(), words.end());
            const Result result = run(all, input);
            const std::string packed = std::to_string(result.code) + '\0' + result.out + '\0' + result.err;
            _exit(::write(answer[1], packed.data(), packed.size()) == static_cast<ssize_t>(packed.size()) ? 0 : 1);
        }
        close(answer[1]);
        std::string packed;
        char bytes[4096];
        for (ssize_t size; (size = read(answer[0], bytes, sizeof bytes)) > 0;) {
            packed.append(bytes, static_cast<std::size_t>(size));
        }
        close(answer[0]);
        int status = 0;
        EXPECT_EQ(child, waitpid(child, &status, 0));
        EXPECT_EQ(0, status);
        const std::size_t first = packed.find('\0');
        const std::size_t second = packed.find('\0', first + 1);
        if (second == std::string::npos) return {};
        return {std::stoi(packed), packed.substr(first + 1, second - first - 1), packed.substr(second + 1)};
    }

private:
    static void give_up_privileges()
    {
        if (geteuid() == 0) {
            if (setgroups(0, nullptr) != 0 || setgid(nobody) != 0 || setuid(nobody) != 0) _exit(2);
            return;
        }
        __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
        __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3]{};
        if (syscall(SYS_capset, &header, none) != 0) _exit(2);
    }

    Folder folder_;
};

constexpr char for_root[] =
    "zelfctl: the database is for root (CAP_IPC_OWNER) only; --sandbox works on one of its own\n";

TEST_F(Unprivileged, EveryVerbEndsWithAClearErrorAndNothingElse)
{
    given_office();
    const std::string before = good({"save", "-"});
    for (auto words : database_verbs) {
        // What it is to read must be within reach.
        if (words[0] == "load" || words[0] == "diff" || words[0] == "reload") words.back() = "/dev/null";
        if (words[0] == "feed") words.back() = path() + "/port1.pcap";
        const Result result = run_unprivileged(words, "create vlan other vid 11\n");
        EXPECT_EQ(code_of_failure(words), result.code) << testing::PrintToString(words);
        EXPECT_EQ(for_root, result.err) << testing::PrintToString(words);
        EXPECT_EQ("", result.out) << testing::PrintToString(words);
    }
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"init"}, std::vector<std::string>{"init", "--replace"}}) {
        const Result result = run_unprivileged(words);
        EXPECT_EQ(1, result.code);
        EXPECT_EQ(for_root, result.err);
    }
    EXPECT_EQ(before, good({"save", "-"}));
    EXPECT_FALSE(std::filesystem::exists("/tmp/never-made"));
}

TEST_F(Unprivileged, WithoutADatabaseNothingIsLeftInItsPlace)
{
    EXPECT_EQ(for_root, run_unprivileged({"init"}).err);
    EXPECT_EQ(for_root, run_unprivileged({"show", "fdb"}).err);
    for (const key_t key : {main_key, fdb_key, device_key}) {
        EXPECT_EQ(-1, shmget(key, 0, 0));
        EXPECT_EQ(ENOENT, errno);
    }
}

TEST_F(Unprivileged, VerbsThatNeedNoDatabaseWork)
{
    EXPECT_EQ("hello\n", run_unprivileged({"echo", "hello"}).out);
    EXPECT_EQ(0, run_unprivileged({"help"}).code);
}

}  // namespace
}  // namespace tool
