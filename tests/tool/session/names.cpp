// Names that are neither plain nor even UTF-8, wherever they are shown.
#include <unistd.h>
#include <zelfdb/zelfdb.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "pcap.h"
#include "tool.h"

namespace tool {
namespace {

using nlohmann::json;
using testing::HasSubstr;

const std::string latin1 = "caf\xe9";
const std::string latin1_replaced = "caf\xef\xbf\xbd";  // with U+FFFD

class Names : public testing::Test {
protected:
    // A VLAN of that name with all that can name it: members, entries, a learned one, a list that is bound, a mirror.
    void given_vlan(const std::string& name)
    {
        good({"init", "--ports", "8", "--vlans", "8", "--entries", "64"});
        good({"apply", "-"}, "create vlan " + name +
                                 " vid 5\n"
                                 "create port 1 npport 1 portType ether\nenable port 1\n"
                                 "add port 1 to vlan " +
                                 name +
                                 " tag off\n"
                                 "create sfdbentry 02:00:00:00:00:50 in vlan " +
                                 name +
                                 " discard\n"
                                 "create stream 1/1 qostype pq\ncreate queue 1/1/0\n"
                                 "create clslist 1\nadd clslist 1 to port 1 vlan " +
                                 name +
                                 "\n"
                                 "create mirror 1\nset mirror 1 source vlan " +
                                 name + "\n");
    }
    std::string capture() { return folder_.file("a.pcap", pcap({{1, 0, frame(1)}})); }

    Folder folder_;
};

// The verbs with --json, from the page that is made from them.
std::set<std::string> verbs_with_json()
{
    std::set<std::string> verbs;
    std::string verb;
    std::istringstream page(good({"manual"}));
    const std::regex name(R"(\\fB([a-z][a-z ]*)\\fR)");
    std::smatch found;
    for (std::string line; std::getline(page, line);) {
        if (std::regex_match(line, found, name)) verb = found[1];
        if (line == R"(\fB\-\-json\fR)") verbs.insert(verb);
    }
    return verbs;
}

TEST_F(Names, JsonReplacesWhatIsNoUtf8)
{
    given_vlan(latin1);
    const std::string empty = folder_.file("empty.conf", "");
    const std::map<std::string, std::vector<std::vector<std::string>>> with_name{
        {"feed", {{"--port", "1", capture()}}},
        {"show fdb", {{}, {"--vlan", latin1}}},
        {"show vlan", {{}, {latin1}}},
        {"show clslist", {{}, {"1"}}},
        {"show mirrors", {{}}},
        {"diff", {{empty}}},
        {"age", {{}}},
    };
    const std::map<std::string, std::vector<std::vector<std::string>>> others{
        {"show port", {{}, {"1"}}}, {"show protgroup", {{}}}, {"show streams", {{}}}, {"show stream", {{"1/1"}}},
        {"show queues", {{}}},      {"show budget", {{}}},    {"show ether", {{}}},   {"show summary", {{}}},
        {"show history", {{}}},     {"show np", {{}}},        {"check", {{}}},        {"audit", {{}}},
        {"resync", {{}}},
    };
    std::set<std::string> tried;
    const auto print = [&](const std::string& verb, const std::vector<std::string>& more) {
        std::vector<std::string> words;
        std::istringstream parts(verb);
        for (std::string part; parts >> part;) words.push_back(part);
        words.insert(words.end(), more.begin(), more.end());
        words.emplace_back("--json");
        if (verb == "feed") good({"set", "port", "1", "aging", "1"});
        if (verb == "age") sleep(3);
        tried.insert(verb);
        return zelfctl(words);
    };
    // In this order: what is fed can then be shown, and ages at last.
    for (const char* const verb : {"feed", "show fdb", "show vlan", "show clslist", "show mirrors", "diff", "age"}) {
        for (const auto& more : with_name.at(verb)) {
            const Result result = print(verb, more);
            EXPECT_EQ(std::string(verb) == "diff" ? 1 : 0, result.code) << verb;
            EXPECT_EQ("", result.err) << verb;
            EXPECT_FALSE(json::parse(result.out, nullptr, false).is_discarded()) << verb << ": " << result.out;
            EXPECT_THAT(result.out, HasSubstr(latin1_replaced)) << verb;
        }
    }
    for (const auto& [verb, calls] : others) {
        for (const auto& more : calls) {
            const Result result = print(verb, more);
            if (verb == "resync") {  // the network processor has not restarted
                EXPECT_EQ(1, result.code);
                continue;
            }
            EXPECT_EQ(0, result.code) << verb << ": " << result.err;
            EXPECT_FALSE(json::parse(result.out, nullptr, false).is_discarded()) << verb << ": " << result.out;
        }
    }
    EXPECT_EQ(verbs_with_json(), tried);
}

// Only another program can make such a VLAN.
TEST_F(Names, TablesEscapeWhatATerminalWouldObeyOrCannotShow)
{
    given_vlan(latin1);
    std::int32_t vid = 6;
    std::uint32_t code = 0;
    ASSERT_EQ(0, zelfdb_create_vlan("\x1b[31mred\n\x7f\xc2\x9b", &vid, &code)) << code;
    EXPECT_EQ(
        "VID  NAME                         MEMBERS  ENTRIES  LEARNING  IGNOREFDB  LOOPS\n"
        "  5  caf\\xe9                      1              1  on        off        -\n"
        "  6  \\x1b[31mred\\x0a\\x7f\\xc2\\x9b                 0  on        off        -\n"
        "2 VLANs\n",
        good({"show", "vlan"}));
    EXPECT_THAT(good({"show", "vlan", "6"}), HasSubstr("VLAN            \\x1b[31mred\\x0a"));
    EXPECT_THAT(good({"show", "clslist", "1"}), HasSubstr("in VLAN caf\\xe9\n"));
    EXPECT_THAT(good({"show", "mirrors"}), HasSubstr("VLAN caf\\xe9"));
    EXPECT_EQ("\x1b[31mred\n\x7f\xc2\x9b", good_json({"show", "vlan", "6", "--json"})["name"]);
}

TEST_F(Names, ColumnsOfErrorsAreCharacters)
{
    given_vlan("sales");
    const Result result =
        zelfctl({"apply", "--check", "-"}, "create vlan l\xc3\xa4ger vod 5\ncreate vlan l\xe4 vod 5\n");
    EXPECT_THAT(result.err, HasSubstr("standard input:1:19: unexpected 'vod'"));
    EXPECT_THAT(result.err, HasSubstr("standard input:2:16: unexpected 'vod'"));
    EXPECT_EQ(
        "zelfctl: create vlan l\xc3\xa4ger vod\n"
        "                           ^ unexpected 'vod', expected 'vid' or the end of the line\n",
        zelfctl({"create", "vlan", "l\xc3\xa4ger", "vod"}).err);
    EXPECT_THAT(zelfctl({"apply", "--check", "-"}, "create \x1b[31m\n").err, HasSubstr("unexpected '\\x1b[31m'"));
}

}  // namespace
}  // namespace tool
