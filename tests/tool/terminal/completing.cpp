// Completion from outside: the verb that prints candidates, and bash, by hand and at a terminal.
#include <filesystem>

#include "terminal.h"

namespace tool {
namespace {

using testing::HasSubstr;

class Completing : public testing::Test {
protected:
    void SetUp() override
    {
        good({"init"});
        good({"apply", "-"},
             "create vlan sales vid 10\ncreate vlan storage vid 20\ncreate vlan a:b vid 30\n"
             "create port 1 npport 1\ncreate port 12 npport 2\ncreate clslist 3\n");
    }

    static std::string of(std::vector<std::string> words)
    {
        words.insert(words.begin(), "complete");
        std::string text = good(words);
        std::replace(text.begin(), text.end(), '\n', ' ');
        return text;
    }

    Folder home_;
};

TEST_F(Completing, WordsBeforeTheVerbAndTheVerb)
{
    EXPECT_EQ("save show session shell sleep set ", of({"s"}));
    EXPECT_EQ("--help --version --sandbox ", of({"--"}));
    EXPECT_EQ("feed ", of({"fe"}));
    EXPECT_EQ("feed ", of({"--sandbox", "fe"}));
    EXPECT_EQ("", of({"frob", ""}));
    EXPECT_EQ("", of({"manu"}));  // a verb for ourselves
    EXPECT_THAT(of({}), HasSubstr("init apply save load diff reload run "));
}

TEST_F(Completing, PartsOptionsAndValuesOfVerbs)
{
    const struct {
        std::vector<std::string> words;
        const char* candidates;
    } rows[] = {
        {{"show", "s"}, "streams stream summary "},
        {{"show", "frob", ""}, ""},
        {{"show", "fdb", "--"}, "--help --vlan --port --type --mac --count --no-age --json "},
        {{"show", "fdb", "--json", "--"}, "--help --vlan --port --type --mac --count --no-age "},
        {{"show", "fdb", "--vlan", "s"}, "sales storage "},
        {{"show", "fdb", "--port", ""}, "1 12 "},
        {{"show", "fdb", "--port", "1", "--type", ""}, "dynamic static local "},
        {{"show", "fdb", "--mac", ""}, ""},
        {{"show", "vlan", "s"}, "sales storage "},
        {{"show", "vlan", "sales", ""}, "--help --json "},
        {{"show", "port", ""}, "1 12 "},
        {{"show", "clslist", ""}, "3 "},
        {{"display", ""}, "port vlan "},
        {{"display", "port", ""}, "1 12 "},
        {{"completion", ""}, "bash "},
        {{"help", "sho"}, "show "},
        {{"help", "show", "mi"}, "mirrors "},
        {{"help", "clear", ""}, "fdb "},
        {{"show", "running", "l"}, "lfdb "},
        {{"watch", "v"}, "vlan "},
        {{"watch", "vlan", "s"}, "sales storage "},
        {{"watch", "--interval", "1", "fdb", "--vlan", "s"}, "sales storage "},
        {{"watch", "--in"}, "--interval "},
        {{"watch", "--interval", ""}, ""},
        {{"apply", ""}, "FILE NAME "},
        {{"apply", "a.conf", "--"}, "--help --keep-going --check "},
        {{"session", "--k"}, "--keep-going "},
        {{"feed", "--port", ""}, "1 12 "},
        {{"feed", "--port", "1", ""}, "FILE NAME "},
        {{"feed", "--port", "1", "a.pcap", "--p"}, "--port "},
        {{"exec", ""}, "FILE NAME "},
        {{"run", "clear", "fdb", ""}, "vlan port type "},
        {{"help", "create", "v"}, "vlan "},
        {{"clear", "fdb", "vlan", "s"}, "sales storage "},
        {{"--sandbox", "clear", "fdb", "vlan", "s"}, ""},
    };
    for (const auto& row : rows) EXPECT_EQ(row.candidates, of(row.words)) << testing::PrintToString(row.words);
}

TEST_F(Completing, WithoutADatabaseWordsAreAll)
{
    const Result names = run({ZELFCTL, "--sandbox", "exec", ZELFCTL, "complete", "clear", "fdb", "vlan", ""});
    EXPECT_EQ(0, names.code);
    EXPECT_EQ("", names.out);
    EXPECT_EQ("", names.err);
    EXPECT_EQ("vlan\nport\ntype\n", run({ZELFCTL, "--sandbox", "exec", ZELFCTL, "complete", "clear", "fdb", ""}).out);
}

TEST_F(Completing, TheInstalledScriptIsTheOneThatTheToolPrints)
{
    EXPECT_TRUE(content_of(std::string(BUILD_DIR) + "/tools/zelfctl/zelfctl.bash") == good({"completion", "bash"}));
}

// What bash would offer for the line, whose end is the cursor.
std::string bash_offers(const std::string& script, const std::string& line)
{
    const Result result = run({"bash", "--norc", "--noprofile", "-c",
                               "source \"$1\"; COMP_LINE=$2 COMP_POINT=${#2}; read -ra COMP_WORDS <<<\"$2\"\n"
                               "_zelfctl \"$3\"; printf '%s|' \"${COMPREPLY[@]}\"",
                               "bash", script, line, ZELFCTL});
    EXPECT_EQ(0, result.code) << result.err;
    EXPECT_EQ("", result.err);
    return result.out;
}

TEST_F(Completing, BashGetsTheCandidates)
{
    const std::string script = home_.file("zelfctl.bash", good({"completion", "bash"}));
    EXPECT_EQ("clear|", bash_offers(script, "zelfctl cle"));
    EXPECT_EQ("vlan|port|type|", bash_offers(script, "zelfctl clear fdb "));
    EXPECT_EQ("sales|storage|", bash_offers(script, "zelfctl show fdb --vlan s"));
    EXPECT_EQ("sales|storage|a:b|", bash_offers(script, "zelfctl create sfdbentry 02:00:00:00:00:01 in vlan "));
    EXPECT_EQ("b|", bash_offers(script, "zelfctl clear fdb vlan a:"));  // bash has the rest in a word of its own
    EXPECT_EQ("|", bash_offers(script, "zelfctl frob "));
    EXPECT_EQ("|", bash_offers(script, "zelfctl apply "));
}

TEST_F(Completing, BashCompletesAtTheTerminal)
{
    const std::string script = home_.file("zelfctl.bash", good({"completion", "bash"}));
    const std::string office = home_.file("office.conf", "create vlan lab vid 40\n");
    Terminal bash({"bash", "--norc", "--noprofile", "-i"}, home_.path(), 200);
    bash.type("PS1='ba''sh> '; cd; PATH=" + std::filesystem::path(ZELFCTL).parent_path().string() + ":$PATH; source " +
              script + "\r");
    bash.until("bash> ");
    bash.type("zelfctl sho\tvl\tsto\t--js\t\r");
    bash.until("\"name\": \"storage\"");
    bash.until("bash> ");
    bash.type("zelfctl apply " + office.substr(0, office.size() - 6) + "\t\r");
    bash.until("1 command done, 0 failed");
    bash.until("bash> ");
    bash.type("zelfctl display vlan a:\t\r");
    EXPECT_THAT(bash.until("bash> "), HasSubstr("display vlan a:b"));
    bash.type("exit\r");
    EXPECT_EQ(0, bash.code());
}

}  // namespace
}  // namespace tool
