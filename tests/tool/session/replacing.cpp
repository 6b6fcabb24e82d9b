// The file that is saved: what it takes the place of, what is kept, and whose it is.
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tool.h"

namespace tool {
namespace {

class Replacing : public testing::Test {
protected:
    void SetUp() override { good({"init"}); }
    static void apply(const std::string& text) { good({"apply", "-"}, text); }

    Folder folder_;
};

std::string names_in(const std::string& folder) { return run({"/bin/sh", "-c", "ls -A \"$0\"", folder}).out; }

TEST_F(Replacing, OnlyARegularFileIsReplaced)
{
    const std::string fifo = folder_.path() + "/fifo";
    const std::string device = folder_.path() + "/null";
    ASSERT_EQ(0, mkfifo(fifo.c_str(), 0600));
    std::vector<std::string> files{fifo, folder_.path()};
    if (mknod(device.c_str(), S_IFCHR | 0666, makedev(1, 3)) == 0) files.push_back(device);
    const std::string before = names_in(folder_.path());
    for (const std::string& file : files) {
        const Result result = zelfctl({"save", file});
        EXPECT_EQ(1, result.code);
        EXPECT_EQ("", result.out);
        EXPECT_EQ("zelfctl: " + file + (file == folder_.path() ? ": it is a folder" : ": it is no regular file") +
                      "; nothing was saved\n",
                  result.err);
    }
    EXPECT_EQ(before, names_in(folder_.path()));
    struct stat status {};
    ASSERT_EQ(0, stat(fifo.c_str(), &status));
    EXPECT_TRUE(S_ISFIFO(status.st_mode));
}

TEST_F(Replacing, WhatALinkLedToIsKept)
{
    apply("create vlan a vid 1\n");
    const std::string target = folder_.file("target", "precious\n");
    ASSERT_EQ(0, chmod(target.c_str(), 0640));
    const std::string file = folder_.path() + "/saved.conf";
    ASSERT_EQ(0, symlink("target", file.c_str()));
    good({"save", file});
    struct stat status {};
    ASSERT_EQ(0, lstat(file.c_str(), &status));
    EXPECT_TRUE(S_ISREG(status.st_mode));
    EXPECT_EQ("create vlan a vid 1\n", content_of(file));
    EXPECT_EQ("precious\n", content_of(target));
    ASSERT_EQ(0, lstat((file + "~").c_str(), &status));
    EXPECT_EQ(S_IFREG | 0640U, status.st_mode);
    EXPECT_EQ("precious\n", content_of(file + "~"));

    const std::string astray = folder_.path() + "/astray.conf";
    ASSERT_EQ(0, symlink("nowhere", astray.c_str()));
    good({"save", astray});
    EXPECT_EQ("create vlan a vid 1\n", content_of(astray));
    EXPECT_EQ("astray.conf\nsaved.conf\nsaved.conf~\ntarget\n", names_in(folder_.path()));
}

TEST_F(Replacing, ModeAndOwnerAreThoseOfTheFileBefore)
{
    const std::string file = folder_.path() + "/saved.conf";
    const auto save = [&](const char* mask) {
        const Result result = run({"/bin/sh", "-c", "umask $2; exec \"$0\" save \"$1\"", ZELFCTL, file, mask});
        EXPECT_EQ(0, result.code) << result.err;
        struct stat status {};
        EXPECT_EQ(0, stat(file.c_str(), &status));
        return status;
    };
    EXPECT_EQ(S_IFREG | 0640U, save("027").st_mode);
    ASSERT_EQ(0, unlink(file.c_str()));
    EXPECT_EQ(S_IFREG | 0644U, save("022").st_mode);
    ASSERT_EQ(0, chmod(file.c_str(), 0666));
    const bool given_away = chown(file.c_str(), 12, 34) == 0;  // not within a user namespace of one user
    const struct stat after = save("077");
    EXPECT_EQ(S_IFREG | 0666U, after.st_mode);
    if (!given_away) return;
    EXPECT_EQ(12U, after.st_uid);
    EXPECT_EQ(34U, after.st_gid);
    struct stat kept {};
    ASSERT_EQ(0, stat((file + "~").c_str(), &kept));
    EXPECT_EQ(12U, kept.st_uid);
}

// At whatever moment: the file is whole, and nothing else lies there.
TEST_F(Replacing, AnInterruptLeavesNothingBehind)
{
    std::string text;
    for (int vid = 1; vid <= 200; ++vid)
        text += "create vlan v" + std::to_string(vid) + " vid " + std::to_string(vid) + "\n";
    apply(text);
    const std::string file = folder_.path() + "/saved.conf";
    good({"save", file});
    good({"save", file});
    const std::string before = names_in(folder_.path());
    for (int i = 0; i < 40 && !HasFailure(); ++i) {
        const pid_t saving = fork();
        if (saving == 0) {
            dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
            execl(ZELFCTL, "zelfctl", "save", file.c_str(), nullptr);
            _exit(127);
        }
        usleep(static_cast<useconds_t>(i) * 2000);
        kill(saving, i % 2 == 0 ? SIGINT : SIGTERM);
        waitpid(saving, nullptr, 0);
        EXPECT_EQ(before, names_in(folder_.path()));
        EXPECT_EQ(text, content_of(file));
    }
}

}  // namespace
}  // namespace tool
