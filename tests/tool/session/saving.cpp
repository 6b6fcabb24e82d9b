// What is saved can be loaded again, or is not saved: the traces that operations leave, and those who change the
// configuration meanwhile.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zelfdb/zelfdb.h>

#include "tool.h"

namespace tool {
namespace {

using testing::HasSubstr;

constexpr const char* not_saved = "zelfctl: nothing was saved; --force saves what can be read\n";

class Saving : public testing::Test {
protected:
    void SetUp() override { good({"init"}); }
    static void apply(const std::string& text) { good({"apply", "-"}, text); }

    // Neither the file nor standard output gets anything but by force.
    void expect_refusal(const std::string& text, const std::string& why) const
    {
        const std::string file = folder_.file("saved.conf", "before\n");
        const Result refused = zelfctl({"save", file});
        EXPECT_EQ(1, refused.code);
        EXPECT_EQ("", refused.out);
        EXPECT_EQ(why + not_saved, refused.err);
        EXPECT_EQ("before\n", content_of(file));
        const Result shown = zelfctl({"save", "-"});
        EXPECT_EQ(1, shown.code);
        EXPECT_EQ("", shown.out);
        EXPECT_EQ(why + not_saved, shown.err);

        const Result forced = zelfctl({"save", "--force", file});
        EXPECT_EQ(0, forced.code);
        EXPECT_EQ(why, forced.err);
        EXPECT_EQ(text, content_of(file));
        EXPECT_EQ(text, zelfctl({"save", "--force", "-"}).out);
    }

    Folder folder_;
};

TEST_F(Saving, AMirrorWhoseVlanIsGoneIsNotSaved)
{
    apply(
        "create port 1 npport 1 portType ether\ncreate vlan a vid 5\ncreate mirror 1\nset mirror 1 source vlan a\n"
        "set mirror 1 dest port 1\nenable mirror 1\ndelete vlan a\n");
    expect_refusal(
        "create port 1 npport 1 portType ether\ncreate mirror 1\nset mirror 1 dest port 1\nenable mirror 1\n",
        "running configuration:4: enable mirror 1: the mirror has no source (2904)\n");
}

TEST_F(Saving, AStreamWhosePortIsGoneIsNotSaved)
{
    apply("create port 1 npport 1 portType ether\ncreate stream 1/1 qostype pq\ndelete port 1\n");
    expect_refusal("create stream 1/1 qostype pq\n",
                   "running configuration:1: create stream 1/1 qostype pq: no such port (102)\n");
}

TEST_F(Saving, APhysicalPortThatNoCreationTakesIsNotSaved)
{
    apply("create port 1 npport 1 portType ether\nset port 1 npport 9\n");
    expect_refusal("create port 1 npport 9 portType ether\n",
                   "running configuration:1: create port 1 npport 9 portType ether: no such physical port (1204)\n");
}

TEST_F(Saving, StreamsOfOneNameAreNotSaved)
{
    std::uint32_t code = 0;
    ASSERT_EQ(0, zelfdb_create_stream(5, &code));
    ASSERT_EQ(0, zelfdb_create_stream(261, &code));
    expect_refusal("create stream 0/6 qostype none\ncreate stream 0/6 qostype none\n",
                   "running configuration:2: create stream 0/6 qostype none: the stream exists already (2501)\n");
}

// Commands give the streams of these ports other numbers, by which they stand in another order then.
TEST_F(Saving, WhatBecomesAnotherConfigurationIsNotSaved)
{
    const std::string ports = "create port 1 npport 1 portType ether\ncreate port 2 npport 2 portType ether\n";
    apply(ports);
    std::uint32_t code = 0;
    ASSERT_EQ(0, zelfdb_create_stream(5, &code));
    ASSERT_EQ(0, zelfdb_add_stream_to_port(5, 2, 6, &code));
    ASSERT_EQ(0, zelfdb_create_stream(300, &code));
    ASSERT_EQ(0, zelfdb_add_stream_to_port(300, 1, 45, &code));
    expect_refusal(ports + "create stream 2/6 qostype none\ncreate stream 1/45 qostype none\n",
                   "zelfctl: line 3 of the configuration would become another: create stream 2/6 qostype none becomes "
                   "create stream 1/45 qostype none\n");
}

TEST_F(Saving, AVlanThatNoCommandCanNameIsNotSaved)
{
    std::int32_t vid = 7;
    std::uint32_t code = 0;
    ASSERT_EQ(0, zelfdb_create_vlan("my lan", &vid, &code));
    expect_refusal("create vlan my lan vid 7\n",
                   "zelfctl: this line of the configuration would not be read again: create vlan my lan vid 7\n");
}

// Each text is of one moment: it never names what it does not make.
TEST_F(Saving, WhatChangesMeanwhileIsSavedWholeOrNotAtAll)
{
    const pid_t busy = fork();
    if (busy == 0) {
        for (;;) {
            std::int32_t vid = 7;
            std::uint32_t code = 0;
            const std::uint8_t mac[6] = {2, 0, 0, 0, 0, 1};
            zelfdb_create_vlan("x", &vid, &code);
            zelfdb_create_sfil(7, mac, 0, 4, 0, &code);
            zelfdb_delete_vlan(7, &code);
        }
    }
    const std::string entry = "create sfdbentry 02:00:00:00:00:01 in vlan x ";
    for (int i = 0; i < 40 && !HasFailure(); ++i) {
        const std::string text = good({"save", "-"});
        EXPECT_TRUE(text.find(entry) == std::string::npos || text.starts_with("create vlan x vid 7\n")) << text;
    }
    kill(busy, SIGKILL);
    waitpid(busy, nullptr, 0);
}

// The network processor has no such ports; the library asks it a second time, a second later.
TEST_F(Saving, PortsThatTheNetworkProcessorLacksTakeNoTime)
{
    std::string text;
    for (int port = 11; port <= 50; ++port) text += "create port " + std::to_string(port) + " npport 1 portType vif\n";
    const std::string file = folder_.file("vifs.conf", text);
    const Result result = run({"timeout", "30", ZELFCTL, "diff", file});
    EXPECT_EQ(1, result.code) << result.err;
}

TEST_F(Saving, AFileThatDoesNotFitChangesNothing)
{
    good({"init", "--vlans", "2"});
    apply("create vlan a vid 1\ncreate vlan b vid 2\n");
    const std::string file =
        folder_.file("wanted.conf", "create vlan c vid 3\ncreate vlan d vid 4\ncreate vlan e vid 5\n");
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"diff", file}, {"reload", "--check", file}, {"reload", file}}) {
        const Result result = zelfctl(words);
        EXPECT_EQ(words.front() == "diff" ? 2 : 1, result.code) << testing::PrintToString(words);
        EXPECT_EQ("", result.out) << testing::PrintToString(words);
        EXPECT_THAT(result.err, HasSubstr(file + ":3: create vlan e vid 5: "));
        EXPECT_THAT(result.err, HasSubstr(" (1404)\n"));
    }
    EXPECT_EQ("create vlan a vid 1\ncreate vlan b vid 2\n", good({"save", "-"}));
}

}  // namespace
}  // namespace tool
