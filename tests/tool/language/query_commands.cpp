// What the commands that only ask answer.
#include "fixture.h"

namespace zelfctl {
namespace {

using QueryCommands = Commands;

struct Answer {
    const char* line;
    const char* text;
};

TEST_F(QueryCommands, AnswerWhatTheLibraryDoes)
{
    given({"create port 1 npport 9 portType vif", "create port 2 npport 2 portType ether", "create vlan sales vid 10",
           "create vlan lab vid 20", "add port 1 to vlan lab tag on tagtype 9100", "add port 1 to vlan sales tag off",
           "add port 2 to vlan sales tag off", "create sfdbentry 02:00:00:00:00:01 in vlan sales discard",
           "create stream 2/1 qostype wfq", "create stream 2/2 qostype wfq", "create queue 2/1/0"});
    const std::set<std::string> asked = [] {
        std::set<std::string> patterns;
        for (const Command& command : all_commands())
            if (std::string("Questions") == command.row->subject) patterns.insert(command.row->pattern);
        return patterns;
    }();
    std::set<std::string> answered;
    const std::string before = replayed();
    for (const Answer& answer : std::initializer_list<Answer>{
             {"query port 1 vid", "10"},
             {"query port 1 vlans", "10 20"},
             {"query port 1 memberships", "sales vid 10 flags 00 tagtype 8100\nlab vid 20 flags 01 tagtype 9100"},
             {"query port 1 streams", "no"},
             {"query port 2 streams", "yes"},
             {"query vlan sales vid", "10"},
             {"query vid 20 vlan", "lab"},
             {"query vlan sales ports", "1 2"},
             {"query vlan sales counts", "vid 10 members 2 untagged 2 pvid 2 entries 1"},
             {"query stream 2/1 queues", "yes"},
             {"query stream 2/2 queues", "no"},
             {"query stream 2/1 busy", "0 0 0"},
         }) {
        const Outcome outcome = run(answer.line);
        EXPECT_TRUE(outcome.done) << answer.line << ": " << outcome.text;
        EXPECT_EQ(answer.text, outcome.text) << answer.line;
        answered.insert(read_line(answer.line).command->row->pattern);
    }
    EXPECT_EQ(asked, answered);
    EXPECT_EQ(before, replayed());
}

TEST_F(QueryCommands, SayWhyThereIsNoAnswer)
{
    const std::vector<std::string> alone{"create port 2 npport 2 portType ether", "create vlan lab vid 20"};
    expect_all(std::vector<Refusal>{
        {{}, "query port 1 vid", ZELFDB_NO_PORT, "no such port"},
        {alone, "query port 2 vid", ZELFDB_NOT_VIF, "the port is not a virtual interface"},
        {{}, "query port 2 vlans", ZELFDB_NO_PORT, "no such port"},
        {{}, "query port 2 memberships", ZELFDB_NO_PORT, "no such port"},
        {{}, "query port 2 streams", ZELFDB_NO_PORT, "no such port"},
        {{}, "query vlan lab vid", ZELFDB_NO_VLAN, "no VLAN 'lab'"},
        {{}, "query vid 20 vlan", ZELFDB_NO_VLAN, "no such VLAN"},
        {{}, "query vlan lab ports", ZELFDB_NO_VLAN, "no VLAN 'lab'"},
        {{}, "query vlan lab counts", ZELFDB_NO_VLAN, "no VLAN 'lab'"},
        {alone, "query stream 2/1 queues", ZELFDB_NO_STREAM, "no such stream"},
        {alone, "query stream 2/1 busy", ZELFDB_NO_STREAM, "no such stream"},
    });
}

TEST_F(QueryCommands, NothingToTellIsAnAnswer)
{
    given(std::vector<std::string>{"create port 2 npport 2 portType ether", "create vlan lab vid 20"});
    for (const char* const line : {"query port 2 vlans", "query port 2 memberships", "query vlan lab ports"}) {
        const Outcome outcome = run(line);
        EXPECT_TRUE(outcome.done) << line << ": " << outcome.text;
        EXPECT_EQ("", outcome.text) << line;
    }
}

}  // namespace
}  // namespace zelfctl
