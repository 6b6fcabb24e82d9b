// A network processor that lost or refused something, and the two verbs that bring it back.
#include "tool.h"

#include "softnp/softnp.h"

namespace tool {
namespace {

using nlohmann::json;
using testing::HasSubstr;

class Resync : public testing::Test {
protected:
    void SetUp() override
    {
        given_office();
        good({"apply", "-"},
             "create sfdbentry 02:00:00:00:00:50 in vlan sales port 2\n"
             "create mirror 1\n");
    }
};

TEST_F(Resync, ARestartedNetworkProcessorGetsEverything)
{
    EXPECT_EQ("1 entry asked for, all agrees\n", good({"audit"}));
    ASSERT_EQ(0, softnp_reset());
    const Result lost = zelfctl({"audit"});
    EXPECT_EQ(1, lost.code);
    EXPECT_THAT(lost.out, HasSubstr("missing  port 1"));
    EXPECT_THAT(lost.out, HasSubstr("objects are missing for want of these"));

    EXPECT_EQ(
        "12 commands sent, 0 refused\n"
        "prefilter and loc lists are kept by the network processor alone: what it had of them is lost\n",
        good({"resync"}));
    EXPECT_EQ("1 entry asked for, all agrees\n", good({"audit"}));
    EXPECT_EQ((json{{"entries", 1}, {"findings", json::array()}}), good_json({"audit", "--json"}));
}

TEST_F(Resync, WhatIsNotFreshIsNotSentEverything)
{
    const Result result = zelfctl({"resync"});
    EXPECT_EQ(1, result.code);
    EXPECT_EQ("", result.out);
    EXPECT_EQ("zelfctl: the network processor is not fresh: 'zelfctl audit --fix' sends it what it lacks\n",
              result.err);
}

TEST_F(Resync, ARefusalIsToldByBothAndMended)
{
    ASSERT_EQ(0, softnp_reset());
    ASSERT_EQ(0, softnp_refuse("addFDB", 1, SOFTNP_REFUSE_STATUS, 0));
    const Result sent = zelfctl({"resync", "--json"});
    EXPECT_EQ(1, sent.code);
    const json report = json::parse(sent.out, nullptr, false);
    const std::string entry = "entry 02:00:00:00:00:50 of VLAN 10";
    EXPECT_EQ((json::array({{{"kind", "entry"}, {"object", entry}, {"command", "addFDB"}}})), report["refused"]);

    const Result found = zelfctl({"audit", "--json"});
    EXPECT_EQ(1, found.code);
    EXPECT_EQ((json::array({{{"what", "missing"}, {"kind", "entry"}, {"object", entry}, {"implied", false}}})),
              json::parse(found.out, nullptr, false)["findings"]);
    EXPECT_EQ(
        "1 entry asked for, 1 difference\n"
        "FOUND    OBJECT                              SETTING  DATABASE  NP\n"
        "missing  entry 02:00:00:00:00:50 of VLAN 10\n"
        "1 command sent to mend it, 0 refused; all agrees now\n",
        good({"audit", "--fix"}));
    EXPECT_EQ("1 entry asked for, all agrees\n", good({"audit"}));
}

TEST_F(Resync, WithoutADatabaseNeitherSendsAnything)
{
    for (const char* verb : {"resync", "audit"}) {
        const Result result = zelfctl({"--sandbox", verb});
        EXPECT_EQ(1, result.code);
        EXPECT_THAT(result.err, HasSubstr("there is no database"));
    }
}

}  // namespace
}  // namespace tool
