// The shell as a person uses it: prompt, keys, history, completion, interrupts, errors; and with a pipe for a person.
#include <algorithm>
#include <cctype>
#include <filesystem>

#include "terminal.h"

namespace tool {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr const char* prompt = "zelfctl> ";

class Shell : public testing::Test {
protected:
    void SetUp() override { good({"init", "--ports", "16", "--vlans", "8", "--entries", "64"}); }

    std::vector<std::string> words() const { return {ZELFCTL, "shell"}; }

    Folder home_;
};

// A shell that is at its prompt.
class AtPrompt {
public:
    explicit AtPrompt(const Folder& home, const std::vector<std::string>& words = {ZELFCTL, "shell"})
        : terminal_(words, home.path())
    {
        welcome_ = terminal_.until(prompt);
    }

    // What comes from the keys until the next prompt, without it.
    std::string answer_to(const std::string& keys)
    {
        terminal_.type(keys);
        const std::string answer = terminal_.until(std::string(eol) + prompt);
        return answer.substr(0, answer.size() - std::string(prompt).size());
    }

    // What is left of the line when it has been entered: its effect tells what it was.
    std::string does(const std::string& keys) { return answer_to(keys + key_enter); }

    Terminal& terminal() { return terminal_; }
    const std::string& welcome() const { return welcome_; }

    int leave()
    {
        terminal_.type(std::string("exit") + key_enter);
        return terminal_.code();
    }

private:
    Terminal terminal_;
    std::string welcome_;
};

TEST_F(Shell, GreetsPromptsRunsAndEnds)
{
    AtPrompt shell(home_);
    EXPECT_THAT(shell.welcome(), HasSubstr("Tab completes; 'help' lists what there is, 'exit' ends."));
    EXPECT_THAT(shell.does("create vlan sales vid 10"), HasSubstr("\r\n"));
    EXPECT_THAT(shell.does("show vlan --json"), HasSubstr("\"name\": \"sales\""));
    EXPECT_THAT(shell.does("help create vlan"), HasSubstr("create vlan <vlan> [vid <vid>]"));
    EXPECT_THAT(shell.does("help show fdb"), HasSubstr("--vlan NAME|VID"));
    EXPECT_EQ(0, shell.leave());
}

TEST_F(Shell, EndsWithQuitAndWithCtrlDOnAnEmptyLine)
{
    AtPrompt quits(home_);
    quits.terminal().type("quit\r");
    EXPECT_EQ(0, quits.terminal().code());

    AtPrompt ends(home_);
    ends.terminal().type(ctrl_d);
    EXPECT_EQ(0, ends.terminal().code());
}

TEST_F(Shell, AnEmptyLineAndACommentDoNothing)
{
    AtPrompt shell(home_);
    EXPECT_EQ("\r\n", shell.does(""));
    EXPECT_THAT(shell.does("   "), EndsWith("   \r\n"));
    EXPECT_THAT(shell.does("# nothing"), EndsWith("# nothing\r\n"));
    EXPECT_EQ(0, shell.leave());
}

TEST_F(Shell, ErrorsAreToldAndDoNotEndIt)
{
    AtPrompt shell(home_);
    EXPECT_THAT(shell.does("frob"), HasSubstr("'frob' is neither a verb nor a command"));
    EXPECT_THAT(shell.does("show frob"), HasSubstr("frob"));
    EXPECT_THAT(shell.does("create prt 1"), HasSubstr("^ unexpected 'prt', expected 'port'"));
    EXPECT_THAT(shell.does("delete vlan nowhere"), HasSubstr("zelfctl: delete vlan nowhere: "));
    EXPECT_THAT(shell.does("echo 'open"), HasSubstr("a quote is not closed"));
    EXPECT_THAT(shell.does("shell"), HasSubstr("a shell cannot run another"));
    EXPECT_THAT(shell.does("--sandbox show vlan"), HasSubstr("--sandbox is for the start of the program alone"));
    EXPECT_THAT(shell.does("exec sh -c 'kill -SEGV $$'"), HasSubstr("ended by a signal: Segmentation fault"));
    EXPECT_THAT(shell.does("show summary"), HasSubstr("VLANs  0 of 8"));
    EXPECT_EQ(0, shell.leave());
}

TEST_F(Shell, LinesAreEdited)
{
    AtPrompt shell(home_);
    EXPECT_THAT(shell.does(std::string("reate vlan sales vid 10") + ctrl_a + "c"), Not(HasSubstr("zelfctl:")));
    EXPECT_THAT(shell.does(std::string("create vlan lbb vid 20") + key_left + key_left + key_left + key_left +
                           key_left + key_left + key_left + key_left + key_backspace + "a"),
                Not(HasSubstr("zelfctl:")));
    EXPECT_THAT(shell.does(std::string("frob") + ctrl_a + ctrl_k + "create vlan x vid 30"), Not(HasSubstr("zelfctl:")));
    EXPECT_EQ(0, shell.leave());
    std::vector<std::string> names;
    const auto json = good_json({"show", "vlan", "--json"});
    for (const auto& vlan : json["vlans"]) names.push_back(vlan["name"]);
    EXPECT_THAT(names, testing::ElementsAre("sales", "lab", "x"));
}

TEST_F(Shell, HistoryIsRecalledByArrowsAndSearched)
{
    AtPrompt shell(home_);
    shell.does("echo first");
    shell.does("echo second");
    EXPECT_THAT(shell.does(key_up), HasSubstr("\r\nsecond\r\n"));
    EXPECT_THAT(shell.does(std::string(key_up) + key_up), HasSubstr("\r\nfirst\r\n"));
    EXPECT_THAT(shell.does(std::string(key_up) + key_up + key_down + " again"), HasSubstr("\r\nfirst again\r\n"));
    EXPECT_THAT(shell.does(std::string(ctrl_r) + "sec\x1b"), HasSubstr("\r\nsecond\r\n"));
    EXPECT_EQ(0, shell.leave());
}

TEST_F(Shell, HistoryIsThereTheNextTimeForItsUserAlone)
{
    const std::string file = home_.path() + "/.zelfctl_history";
    {
        AtPrompt shell(home_);
        shell.does("echo remembered");
        EXPECT_EQ(0, shell.leave());
    }
    EXPECT_EQ(std::filesystem::perms::owner_read | std::filesystem::perms::owner_write,
              std::filesystem::status(file).permissions());
    AtPrompt shell(home_);
    EXPECT_THAT(shell.does(std::string(key_up) + key_up), HasSubstr("\r\nremembered\r\n"));  // behind exit
    EXPECT_EQ(0, shell.leave());
}

TEST_F(Shell, HistoryIsNotKeptWhenNobodyWantsIt)
{
    AtPrompt shell(home_, {ZELFCTL, "shell", "--history", ""});
    shell.does("echo forgotten");
    EXPECT_EQ(0, shell.leave());
    EXPECT_FALSE(std::filesystem::exists(home_.path() + "/.zelfctl_history"));
}

TEST_F(Shell, TabCompletesVerbsCommandsOptionsAndChoices)
{
    AtPrompt shell(home_);
    EXPECT_THAT(shell.does("sho\tsumm\t"), HasSubstr("VLANs  0 of 8"));
    EXPECT_THAT(shell.does("cre\tv\tsales vid 10"), Not(HasSubstr("zelfctl:")));
    EXPECT_THAT(shell.does("show vlan sales --js\t"), HasSubstr("\"name\": \"sales\""));
    EXPECT_THAT(shell.does("show fdb --ty\tsta\t--cou\t"), HasSubstr("\r\n0"));
    EXPECT_THAT(shell.does("watch --cou\t1 sum\t"), HasSubstr("VLANs  1 of 8"));
    EXPECT_THAT(shell.does("ex\te\techo ran"), HasSubstr("\r\nran\r\n"));  // exec, not exit
    EXPECT_EQ(0, shell.leave());
}

TEST_F(Shell, TabCompletesLiveNamesOfEveryObject)
{
    good({"apply", "-"},
         "create vlan sales vid 10\ncreate vlan storage vid 20\ncreate vlan l\xc3\xa4ger vid 30\n"
         "create port 1 npport 1\ncreate port 12 npport 2\ncreate protgroup 7\ncreate clslist 9\n"
         "create stream 12/3 qostype wfq\ncreate queue 12/3/5\ncreate mirror 2\n");
    AtPrompt shell(home_);
    EXPECT_THAT(shell.does("set vlan st\tlearninglimit 5"), EndsWith("5\r\n"));
    EXPECT_THAT(shell.does("set vlan l\tlearninglimit 6"), EndsWith("6\r\n"));
    EXPECT_THAT(shell.does("display port 12\t"), HasSubstr("12"));
    EXPECT_THAT(shell.does("delete queue 1\t"), EndsWith("2/3/5 \r\n"));
    EXPECT_THAT(shell.does("delete stream 1\t"), EndsWith("2/3 \r\n"));
    EXPECT_THAT(shell.does("delete protgroup \t"), EndsWith("7 \r\n"));
    EXPECT_THAT(shell.does("delete clslist 9\t"), Not(HasSubstr("zelfctl:")));
    EXPECT_THAT(shell.does("delete mirror \t"), EndsWith("2 \r\n"));
    EXPECT_EQ(0, shell.leave());
    EXPECT_EQ(5, good_json({"show", "vlan", "storage", "--json"})["learn_limit"]);
    EXPECT_EQ(6, good_json({"show", "vlan", "30", "--json"})["learn_limit"]);
    EXPECT_EQ(0U, good_json({"show", "streams", "--json"})["streams"].size());
    EXPECT_EQ(0U, good_json({"show", "protgroup", "--json"})["protgroups"].size());
    EXPECT_EQ(0U, good_json({"show", "clslist", "--json"})["clslists"].size());
    EXPECT_EQ(0U, good_json({"show", "mirrors", "--json"})["mirrors"].size());
}

TEST_F(Shell, TabTwiceListsWhatThereIsToChooseFrom)
{
    good({"apply", "-"}, "create vlan sales vid 10\ncreate vlan storage vid 20\ncreate vlan lab vid 30\n");
    AtPrompt shell(home_);
    shell.terminal().type("clear fdb vlan \t");
    EXPECT_THAT(shell.terminal().until("\a"), Not(HasSubstr("storage")));  // the first says that it is not unique
    shell.terminal().type("\t");
    EXPECT_THAT(shell.terminal().until("zelfctl> clear fdb vlan"), HasSubstr("\r\nsales    storage  lab\r\n"));
    shell.terminal().type("st\t");
    shell.terminal().until("orage ");
    EXPECT_THAT(shell.does(""), EndsWith("\r\n"));
    EXPECT_EQ(0, shell.leave());
}

TEST_F(Shell, TabKnowsTheDatabaseThatReplacedTheOneBefore)
{
    good({"create", "vlan", "storage"});
    AtPrompt shell(home_);
    EXPECT_THAT(shell.does("display vlan st\t"), HasSubstr("\r\nVID       : 1\r\n"));
    shell.does("init --replace");
    shell.does("create vlan stable vid 77");
    EXPECT_THAT(shell.does("display vlan st\t"), HasSubstr("\r\nVID       : 77\r\n"));
    EXPECT_EQ(0, shell.leave());
}

TEST_F(Shell, TabWithoutADatabaseOffersWordsAndSaysNothing)
{
    AtPrompt shell(home_, {ZELFCTL, "--sandbox", "shell"});
    shell.terminal().type("clear fdb vlan \t");
    EXPECT_THAT(shell.terminal().until("\a"), Not(HasSubstr("zelfctl:")));
    shell.terminal().type(ctrl_c);
    shell.terminal().until(prompt);
    EXPECT_EQ(0, shell.leave());
}

TEST_F(Shell, TabCompletesFilesAndQuotesThem)
{
    const std::string plain = home_.file("office.conf", "create vlan sales vid 10\n");
    const std::string with_blank = home_.file("the lab.conf", "create vlan lab vid 20\n");
    const auto without_end = [](const std::string& path) { return path.substr(0, path.size() - 6); };
    AtPrompt shell(home_);
    EXPECT_THAT(shell.does("apply " + without_end(plain) + "\t"), HasSubstr("1 command done, 0 failed"));
    EXPECT_THAT(shell.does("apply '" + without_end(with_blank) + "\t"), HasSubstr("1 command done, 0 failed"));
    EXPECT_THAT(shell.does("apply " + home_.path() + "/the\t"), HasSubstr("the VLAN name is in use"));
    EXPECT_EQ(0, shell.leave());
}

TEST_F(Shell, CtrlCAbandonsTheLine)
{
    AtPrompt shell(home_);
    shell.terminal().type("create vlan sales");
    shell.terminal().until("sales");
    EXPECT_THAT(shell.answer_to(ctrl_c), HasSubstr("^C"));
    EXPECT_THAT(shell.does("show summary"), HasSubstr("VLANs  0 of 8"));
    EXPECT_EQ(0, shell.leave());
}

TEST_F(Shell, CtrlCEndsWhatRunsAndNotTheShell)
{
    AtPrompt shell(home_);
    shell.terminal().type("sleep 3600\r");
    shell.terminal().until("\r\n");
    shell.answer_to(ctrl_c);  // wherever it meets the line, between the prompt and the sleep or in it
    EXPECT_THAT(shell.does("show summary"), HasSubstr("VLANs  0 of 8"));
    EXPECT_EQ(0, shell.leave());
}

// The library leaves a lock with the process that lists local entries.
TEST_F(Shell, NoLockOutlivesTheLine)
{
    good({"create", "port", "1", "npport", "1"});
    good({"create", "lfdbentry", "02:00:00:00:00:01", "in", "port", "1", "discard"});
    AtPrompt shell(home_);
    EXPECT_THAT(shell.does("show fdb --type local"), HasSubstr("02:00:00:00:00:01"));
    good({"clear", "fdb"});
    EXPECT_THAT(shell.does("show fdb --count"), HasSubstr("\r\n1"));
    EXPECT_EQ(0, shell.leave());
}

TEST_F(Shell, AnotherProgramReturnsToTheShell)
{
    AtPrompt shell(home_);
    EXPECT_THAT(shell.does("exec echo from outside"), HasSubstr("\r\nfrom outside\r\n"));
    EXPECT_THAT(shell.does("show summary"), HasSubstr("VLANs  0 of 8"));
    EXPECT_EQ(0, shell.leave());
}

TEST_F(Shell, StandardInputOfALineIsTheTerminalEveryTime)
{
    AtPrompt shell(home_);
    for (const char* const vlan : {"sales", "lab"}) {
        shell.terminal().type("apply -\r");
        shell.terminal().until("\r\n");
        shell.terminal().until_lines();
        EXPECT_THAT(shell.answer_to(std::string("create vlan ") + vlan + "\r" + ctrl_d),
                    HasSubstr("1 command done, 0 failed"));
    }
    EXPECT_EQ(0, shell.leave());
}

TEST_F(Shell, CtrlZStopsItAndTheTerminalIsAsItWas)
{
    Terminal bash({"bash", "--norc", "--noprofile", "-i"}, home_.path());
    bash.type("PS1='ba''sh> '\r");
    bash.until("bash> ");
    bash.type(std::string(ZELFCTL) + " shell\r");
    bash.until(prompt);
    bash.type("show sum");
    bash.until("show sum");
    bash.type("\x1a");
    bash.until("bash> ");
    bash.type("stty -a | grep -o ' icanon'\r");
    bash.until("\r icanon\r\n");
    bash.until("bash> ");
    bash.type("fg\r");
    bash.until("show sum");
    bash.type("mary\r");
    bash.until("VLANs  0 of 8");
    bash.type("exit\r");
    bash.until("bash> ");
    bash.type("exit\r");
    EXPECT_EQ(0, bash.code());
}

// Characters: what UTF-8 writes with several bytes is one.
std::size_t columns_of(const std::string& line)
{
    return static_cast<std::size_t>(
        std::count_if(line.begin(), line.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

// One object of each kind, as wide as it can be, and a port in forty VLANs.
std::string widest_objects()
{
    std::string lines =
        "create port 164 npport 1 portType ether\nenable port 164\nset port 164 aging 4294967295\n"
        "set port 164 flags 3377 mask 3377\nset port 164 link_depend port 1,2,3,4\n"
        "set port 164 default_class 4294967295/4294967295/yellow\ncreate protgroup 65535\n";
    for (int i = 0; i < 8; ++i) {
        lines +=
            "set port 164 class_policing class " + std::to_string(i) + " on yellow rate 4294967 burst 4294967295\n";
        lines += "add protocol ff0" + std::to_string(i) + " to protgroup 65535\n";
    }
    for (int i = 10; i < 50; ++i) {
        const std::string vlan = "l\xc3\xa4ger-of-twenty-eight-bytes" + std::to_string(i);
        lines += "create vlan " + vlan + " vid 10" + std::to_string(i) + "\n";
        lines += "add port 164 to vlan " + vlan + " tag on\n";
        lines += "create sfdbentry 02:00:00:00:00:" + std::to_string(i) + " in vlan " + vlan +
                 " port 164 flag fffffffb system\n";
    }
    const std::string vlan = "l\xc3\xa4ger-of-twenty-eight-bytes";
    lines +=
        "create stream 164/256 qostype wfq\nset stream 164/256 shaping on rate 4294966-4294967 burst "
        "4294967294-4294967295\nset stream 164/256 tosmap ffffffff/fffffffe,ffffffff/fffffffe,,,,,,\n"
        "create queue 164/256/7 size 65000 queue_length 4294967295\n"
        "set queue 164/256/7 color yellow drop_type wred thresh 254-255 drop 254-255\n"
        "create clslist 64\n"
        "add classify 256/7/yellow dscp 255.255.255.254-255.255.255.255/31 255.255.255.254-255.255.255.255/31 "
        "254-255/fe "
        "254-255/fe 65534-65535/fffe 65534-65535/fffe 65534-65535/fffe 254-255/fe fffe-ffff/fffe "
        "ffffffff/fffffffe,ffffffff/fffffffe,ffffffff/fffffffe,ffffffff/fffffffe to clslist 64\n"
        "add clslist 64 to port 164 vlan " +
        vlan + "10 65535/2,65535/2,65535/2,65535/2\nadd clslist 64 to port 164 vlan " + vlan +
        "11\ncreate mirror 4\nset mirror 4 source port 164 out vlan " + vlan +
        "10\nset mirror 4 dest port 163\nset mirror 4 classify 8/65535/yellow\n"
        "set mirror 4 tag on tagtype 9100 vid 65535\n";
    for (int i = 1; i <= 4; ++i)
        lines += "set ether " + std::to_string(i) + " shaping on rate 4294967 burst 4294967295\n";
    return lines;
}

TEST_F(Shell, TablesFitTheUsualTerminalAndLoseNothing)
{
    good({"init", "--replace", "--ports", "199", "--vlans", "64", "--entries", "64"});
    EXPECT_THAT(good({"apply", "-"}, widest_objects()), HasSubstr(" 0 failed"));
    AtPrompt shell(home_);
    for (const char* const table :
         {"fdb", "port", "port 164", "vlan", "vlan 1010", "protgroup", "streams", "stream 164/256", "queues", "budget",
          "clslist", "clslist 64", "mirrors", "ether", "summary", "history", "np"}) {
        const std::string shown = shell.does(std::string("show ") + table);
        std::istringstream lines(shown);
        for (std::string line; std::getline(lines, line);) {
            if (!line.empty() && line.back() == '\r') line.pop_back();
            EXPECT_LE(columns_of(line), 80U) << table << ": " << line;
        }
        std::vector<std::string> words{"show"};
        std::istringstream parts(table);
        for (std::string part; parts >> part;) words.push_back(part);
        std::istringstream whole(good(words));
        const auto letters = [](std::string text) {
            std::erase_if(text, [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; });
            return text;
        };
        // What a cell that cannot be wrapped holds stands somewhere as it is.
        const std::string all = letters(shown);
        for (std::string word; whole >> word;)
            EXPECT_TRUE(columns_of(word) > 10 || all.find(word) != std::string::npos) << table << ": " << word;
    }
    EXPECT_EQ(0, shell.leave());
}

TEST_F(Shell, LinesStayWholeInAPipe)
{
    good({"init", "--replace", "--ports", "199", "--vlans", "64", "--entries", "64"});
    good({"apply", "-"}, widest_objects());
    EXPECT_THAT(good({"show", "port"}),
                HasSubstr("  1010t 1011t 1012t 1013t 1014t 1015t 1016t 1017t 1018t 1019t 1020t"));
    EXPECT_THAT(good({"show", "port", "164"}),
                HasSubstr(" 1040t 1041t 1042t 1043t 1044t 1045t 1046t 1047t 1048t 1049t\n"));
    EXPECT_THAT(good({"show", "clslist", "64"}),
                HasSubstr("ffffffff/fffffffe,ffffffff/fffffffe,ffffffff/fffffffe,ffffffff/fffffffe\n"));
}

TEST(ShellInPipe, NeitherPromptsNorEditsAndEndsWithTheWorst)
{
    const Result result = zelfctl({"shell"},
                                  "init --ports 4 --vlans 4 --entries 4\n"
                                  "\n# a comment\n"
                                  "frob\n"
                                  "delete vlan nowhere\n"
                                  "create vlan sales vid 10\n"
                                  "show summary");
    EXPECT_EQ(2, result.code);
    EXPECT_EQ(
        "new database: room for 4 ports, 4 VLANs, 4 entries\n"
        "VIDs   1 to 4094\nVLANs  1 of 4\n",
        result.out);
    EXPECT_THAT(result.err, HasSubstr("zelfctl: -:4: this line ended with 2\n"));
    EXPECT_THAT(result.err, HasSubstr("zelfctl: -:5: this line ended with 1\n"));
    EXPECT_EQ("VIDs   1 to 4094\nVLANs  1 of 4\n", good({"shell"}, "show summary\n"));
    EXPECT_EQ(1, zelfctl({"shell"}, "show vlan nowhere\nshow summary\n").code);
}

TEST(ShellInPipe, EndsWithExitAndLeavesTheRestUnread)
{
    EXPECT_EQ("one\n", good({"shell"}, "echo one\nexit\necho two\n"));
    EXPECT_EQ("one\n", good({"shell"}, "echo one\nquit\nfrob\n"));
    EXPECT_EQ("", good({"shell"}, "\n"));
}

TEST(ShellInPipe, WhatIsBehindALineIsForTheVerbThatReadsStandardInput)
{
    good({"init"});
    EXPECT_EQ("2 commands done, 0 failed\n",
              good({"shell"}, "apply -\ncreate vlan sales vid 10\ncreate vlan lab vid 20\n"));
}

}  // namespace
}  // namespace tool
