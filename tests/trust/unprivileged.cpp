// A process without the right to attach the segments gets no descriptor, one line, and leaves nothing changed.
#include <grp.h>
#include <linux/capability.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "trust/switch_test.h"

namespace zelfdb::trust {
namespace {

constexpr uid_t nobody = 65534;

// Becomes the user nobody, or where we are not root, ourselves without any capability.
void give_up_privileges()
{
    if (geteuid() == 0) {
        if (setgroups(0, nullptr) != 0 || setgid(nobody) != 0 || setuid(nobody) != 0) _exit(90);
        return;
    }
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct none_at_all[_LINUX_CAPABILITY_U32S_3]{};
    if (syscall(SYS_capset, &header, none_at_all) != 0) _exit(91);
}

using Unprivileged = Switch;

// What the child prints, and that it ended as its work says.
std::string in_a_child(const std::function<bool()>& work)
{
    const int output = memfd_create("output", 0);
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        dup2(output, STDOUT_FILENO);
        dup2(output, STDERR_FILENO);
        give_up_privileges();
        const bool good = work();
        std::fflush(stdout);
        _exit(good ? 0 : 1);
    }
    int status = 0;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    std::string text(static_cast<std::size_t>(lseek(output, 0, SEEK_END)), '\0');
    EXPECT_EQ(static_cast<ssize_t>(text.size()), pread(output, text.data(), text.size(), 0));
    close(output);
    return text;
}

TEST_F(Unprivileged, ProcessesGetNoDescriptorAndOneLine)
{
    for (zelfdb_descriptor* (*open)(void) : {zelfdb_open_descriptor, zelfdb_open_descriptor2}) {
        const std::string said = in_a_child([open] { return open() == nullptr; });
        EXPECT_EQ("libzelfdb: open_descriptor shmat fail\n", said);
    }
    EXPECT_TRUE(is_now(start_));
}

TEST_F(Unprivileged, ProcessesAreRefusedByEveryOperationThatOpensADescriptor)
{
    u32 refused = 0;
    for (const Row& row : rows()) {
        const bool opens = row.frame == Frame::opens || row.frame == Frame::opens_without_NP;
        if (!opens || row.result == Result::handle) continue;
        SCOPED_TRACE(row.name);
        const std::string said = in_a_child([&] {
            const Ran ran = run(row, good(row));
            const u32 word = row.word == Word::absent ? untouched : 1;
            std::printf("%s", ran.printed.c_str());
            return ran.result == -1 && ran.err == word;
        });
        EXPECT_EQ("libzelfdb: open_descriptor shmat fail\n", said);
        ++refused;
    }
    EXPECT_TRUE(is_now(start_));
    EXPECT_EQ(1, value_of_lock(main_key));
    EXPECT_EQ(1, value_of_lock(fdb_key));
    std::printf("refused: %u operations\n", refused);
    EXPECT_GE(refused, 90u);
}

TEST_F(Unprivileged, ProcessesCannotLayOutTheDatabaseAnew)
{
    const std::string said = in_a_child([] {
        const zelfdb_counts counts{8, 6, 64};
        return zelfdb_init(&counts) == -1;
    });
    EXPECT_EQ("Error: shmat 13\n", said);
    EXPECT_TRUE(is_now(start_));
}

}  // namespace
}  // namespace zelfdb::trust
