// The command line itself: help, what is wrong with it, sessions, the sandbox, the manual.
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tool.h"

namespace tool {
namespace {

using testing::HasSubstr;

TEST(Usage, WrongCommandLinesEndWithTwoAndSayWhy)
{
    const struct {
        std::vector<std::string> words;
        const char* says;
    } rows[] = {
        {{}, "nothing to do; see 'zelfctl help'"},
        {{"frob"}, "'frob' is neither a verb nor a command; see 'zelfctl help'"},
        {{"--frob"}, "The following argument was not expected: --frob"},
        {{"show"},
         "show: name one of fdb, port, vlan, protgroup, streams, stream, queues, budget, clslist, mirrors, ether, "
         "summary, history, np, running"},
        {{"show", "running", "frob"}, "frob not in {ether,port,stream,protgroup,vlan,clslist,sfdb,lfdb,mirror}"},
        {{"show", "frob"}, "frob"},
        {{"show", "port", "200"}, "'200' is not a port number, 1 to 199"},
        {{"show", "fdb", "--type", "frob"}, "frob not in {dynamic,static,local}"},
        {{"show", "fdb", "--port", "0"}, "Value 0 not in range 1 to 199"},
        {{"display"}, "display: name one of port, vlan"},
        {{"display", "port", "x"}, "'x' is not a port number, 1 to 199"},
        {{"init", "--ports", "200"}, "Value 200 not in range 1 to 199"},
        {{"init", "--vlans", "0"}, "Value 0 not in range 1 to 4094"},
        {{"init", "--entries", "-1"}, "--entries"},
        {{"apply"}, "file is required"},
        {{"feed"}, "--port is required"},
        {{"feed", "--port", "1"}, "--port: port 1 has no file"},
        {{"feed", "--port", "x", "a.pcap"}, "'x' is not a port number, 1 to 199"},
        {{"sleep", "3601"}, "Value 3601 not in range 0 to 3600"},
        {{"session"}, "file is required"},
        {{"help", "frob"}, "neither a verb nor a command begins so; see 'zelfctl help'"},
        {{"help", "show", "frob"}, "neither a verb nor a command begins so"},
        {{"help", "canonical"}, "neither a verb nor a command begins so"},
        {{"show", "fdb", "--mac", "zz"}, "--mac: 'zz' does not begin a MAC address, as 02:00:5e does"},
        {{"show", "fdb", "--mac", "0011"}, "--mac: '0011' does not begin a MAC address"},
        {{"show", "fdb", "--mac", ""}, "--mac: '' does not begin a MAC address"},
        {{"show", "fdb", "--mac", "02::"}, "--mac: '02::' does not begin a MAC address"},
        {{"show", "fdb", "--mac", "02:00:00:00:00:00:0"}, "does not begin a MAC address"},
        {{"show", "fdb", "--vlan", "x", "--type", "local"}, "--vlan: local entries belong to ports"},
        {{"completion"}, "completion: name one of bash"},
        {{"watch"}, "watch: what is to be shown?"},
        {{"watch", "--interval", "x", "fdb"}, "--interval"},
        {{"exec"}, "exec: no program was named"},
    };
    for (const auto& row : rows) {
        const Result result = zelfctl(row.words);
        EXPECT_EQ(2, result.code) << testing::PrintToString(row.words);
        EXPECT_THAT(result.err, HasSubstr(row.says));
        EXPECT_EQ("", result.out);
    }
}

TEST(Usage, HelpListsVerbsCommandsAndValues)
{
    const std::string all = good({"help"});
    for (const char* const part : {"init ", "feed ", "Ports:", "create vlan <vlan> [vid <vid>]", "<mac>"})
        EXPECT_THAT(all, HasSubstr(part));
    const std::string some = good({"help", "create", "vlan"});
    EXPECT_EQ(
        "\nVLANs:\n"
        "  create vlan <vlan> [vid <vid>]\n"
        "      Create a VLAN; without a VID it takes the lowest free one.\n"
        "\nValues:\n"
        "  <vlan>          a VLAN name of 1 to 30 characters\n"
        "  <vid>           a VID, 1 to 4094\n",
        some);
    EXPECT_EQ(some, good({"help", "CREATE", "Vlan"}));
    EXPECT_THAT(good({"feed", "--help"}), HasSubstr("--port N FILE..."));
    EXPECT_THAT(good({"--help"}), HasSubstr("--sandbox"));
    EXPECT_THAT(good({"--version"}), testing::MatchesRegex("zelfctl [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST(Usage, HelpTellsAboutVerbsAsTheirOwnHelpDoes)
{
    for (const std::vector<std::string>& verb :
         {std::vector<std::string>{"save"}, {"show"}, {"show", "fdb"}, {"watch"}, {"completion", "bash"}}) {
        std::vector<std::string> asked{"help"};
        asked.insert(asked.end(), verb.begin(), verb.end());
        std::vector<std::string> itself = verb;
        itself.emplace_back("--help");
        EXPECT_EQ(good(itself), good(asked)) << testing::PrintToString(verb);
    }
}

TEST(Init, ADatabaseThatIsTooSmallIsReplacedWhenAsked)
{
    good({"init", "--ports", "8", "--vlans", "8", "--entries", "64"});
    good({"create", "vlan", "sales"});
    const Result result = zelfctl({"init", "--entries", "10000"});
    EXPECT_EQ(1, result.code);
    EXPECT_THAT(result.err, HasSubstr("is one that is too small in the way? Then use --replace"));
    EXPECT_EQ("new database: room for 64 ports, 256 VLANs, 100000 entries\n",
              good({"init", "--replace", "--entries", "100000"}));
    EXPECT_THAT(good({"show", "vlan"}), HasSubstr("0 VLANs\n"));
    EXPECT_EQ(100000, good_json({"show", "np", "--json"})["mac_capacity"]);
    good({"init", "--entries", "10"});  // a smaller one fits where a larger one was
}

TEST(Session, RunsVerbsAndCommandsAndShowsThem)
{
    EXPECT_EQ(
        "\n$ zelfctl init --ports 4 --vlans 4 --entries 4\n"
        "new database: room for 4 ports, 4 VLANs, 4 entries\n"
        "\n$ zelfctl create vlan sales vid 10  # ten\n"
        "== now look\n"
        "\n$ zelfctl show summary\n"
        "VIDs   1 to 4094\n"
        "VLANs  1 of 4\n",
        good({"session", "-"},
             "# a comment\n\n"
             "init --ports 4 --vlans 4 --entries 4\n"
             "create vlan sales vid 10  # ten\n"
             "echo '== now' \"look\"\n"
             "show summary\n"));
    EXPECT_EQ("VIDs   1 to 4094\nVLANs  1 of 4\n", good({"session", "--quiet", "-"}, "show summary\n"));
}

TEST(Session, StopsAtTheFirstLineThatFails)
{
    const Result result = zelfctl({"session", "--quiet", "-"}, "init\nshow vlan nowhere\nshow summary\n");
    EXPECT_EQ(1, result.code);
    EXPECT_EQ("zelfctl: no VLAN 'nowhere'\nzelfctl: -:2: this line ended with 1\n", result.err);
    EXPECT_EQ("new database: room for 64 ports, 256 VLANs, 8192 entries\n", result.out);
}

TEST(Session, KeepsGoingWhenAskedAndEndsWithTheWorst)
{
    const Result result =
        zelfctl({"session", "--quiet", "--keep-going", "-"}, "init\nfrob\nshow vlan nowhere\necho 'open\necho done\n");
    EXPECT_EQ(2, result.code);
    EXPECT_THAT(result.err, HasSubstr("'frob' is neither a verb nor a command"));
    EXPECT_THAT(result.err, HasSubstr("a quote is not closed"));
    EXPECT_THAT(result.out, HasSubstr("done\n"));
}

TEST(Session, CanHoldNeitherAnotherNorASandbox)
{
    EXPECT_EQ(2, zelfctl({"session", "-"}, "session -\n").code);
    EXPECT_EQ(2, zelfctl({"session", "-"}, "--sandbox show fdb\n").code);
    EXPECT_EQ(1, zelfctl({"session", "/nowhere"}).code);
}

TEST(Sandbox, TouchesNothingOutside)
{
    good({"init"});
    good({"create", "vlan", "sales"});
    EXPECT_THAT(good({"--sandbox", "session", "--quiet", "-"}, "init\nshow vlan\n"), HasSubstr("0 VLANs\n"));
    EXPECT_THAT(good({"show", "vlan"}), HasSubstr("1 VLAN\n"));
    EXPECT_EQ(1, zelfctl({"--sandbox", "show", "vlan"}).code);
    EXPECT_EQ(1, zelfctl({"--sandbox", "create", "vlan", "sales"}).code);
}

TEST(Sandbox, IsSharedWithTheProgramsThatItStarts)
{
    const std::string script = std::string(ZELFCTL) + " init >/dev/null && " + ZELFCTL + " create vlan sales && " +
                               ZELFCTL + " show vlan --json";
    EXPECT_EQ(1U, nlohmann::json::parse(good({"--sandbox", "exec", "sh", "-c", script})
                                            .substr(std::string("vlan sales has vid 1\n").size()))["vlans"]
                      .size());
    const Result missing = zelfctl({"--sandbox", "exec", "/nowhere"});
    EXPECT_EQ(1, missing.code);
    EXPECT_EQ("zelfctl: /nowhere: No such file or directory\n", missing.err);
}

// What becomes of a sandbox for somebody who is not root depends on the system, which is asked first.
bool users_may_have_namespaces()
{
    const pid_t child = fork();
    if (child == 0)
        _exit(setgid(65534) == 0 && setuid(65534) == 0 && unshare(CLONE_NEWUSER | CLONE_NEWIPC) == 0 ? 0 : 1);
    int status = 0;
    waitpid(child, &status, 0);
    return status == 0;
}

TEST(Sandbox, OfSomebodyWhoIsNotRoot)
{
    Folder folder;
    const std::string session = "init\ncreate vlan sales vid 10\nshow vlan\n";
    const std::vector<std::string> words{
        "setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", ZELFCTL, "--sandbox", "session", "--quiet", "-"};
    const Result result = run(words, session);
    if (users_may_have_namespaces()) {
        EXPECT_EQ(0, result.code) << result.err;
        EXPECT_THAT(result.out, HasSubstr("1 VLAN\n"));
    } else {
        EXPECT_EQ(1, result.code);
        EXPECT_THAT(result.err, HasSubstr("no sandbox: "));
    }
}

}  // namespace
}  // namespace tool
