// Streams, queues, classify lists and mirrors: what is shown, exported and copied.
#include <unistd.h>

#include <array>

#include "pcap.h"
#include "tool.h"

namespace tool {
namespace {

using nlohmann::json;
using testing::HasSubstr;

const char* const streams =
    "create stream 1/1 qostype pq\n"
    "create stream 2/3 qostype wfq\n"
    "set stream 2/3 shaping on rate 5-7 burst 8000-9000\n"
    "set stream 2/3 tosmap b8,,20/e0,,,,,\n"
    "create queue 2/3/0\n"
    "create queue 2/3/5 size 100 queue_length 12\n"
    "set queue 2/3/5 pri 2 ratio 4\n"
    "set queue 2/3/5 color red drop_type wred thresh 10-50 drop 5\n";

class Quality : public testing::Test {
protected:
    void SetUp() override { given_office(); }
    Folder folder_;
};

TEST_F(Quality, StreamsAsATable)
{
    good({"apply", "-"}, streams);
    EXPECT_EQ(
        "STREAM  NUMBER  TYPE  PRIORITY  RATE/1000  BURST      GRANTED  QUEUES  WAITING  SENT  DROPPED\n"
        "1/1          0  pq           7  -          -          -             0        0     0        0\n"
        "2/3        258  wfq          7  5-7        8000-9000  -             2        0     0        0\n"
        "2 streams\n",
        good({"show", "streams"}));
    EXPECT_THAT(good({"show", "streams", "--port", "2"}), HasSubstr("\n1 stream\n"));
    EXPECT_THAT(good({"show", "streams", "--port", "3"}), HasSubstr("\n0 streams\n"));
    const Result unknown = zelfctl({"show", "streams", "--port", "7"});
    EXPECT_EQ(1, unknown.code);
    EXPECT_EQ("zelfctl: no port 7\n", unknown.err);
}

TEST_F(Quality, NoStreamsAreATableWithoutRows)
{
    EXPECT_THAT(good({"show", "streams"}), HasSubstr("\n0 streams\n"));
    EXPECT_EQ(json::array(), good_json({"show", "streams", "--json"})["streams"]);
    EXPECT_THAT(good({"show", "queues"}), HasSubstr("\n0 queues\n"));
}

TEST_F(Quality, AStreamInDetail)
{
    good({"apply", "-"}, streams);
    EXPECT_EQ(
        "stream           2/3, number 258\n"
        "port             2\n"
        "scheduling       wfq\n"
        "priority         7\n"
        "rate/1000        5-7\n"
        "burst            8000-9000\n"
        "tos of class 0   b8/ff\n"
        "tos of class 2   20/e0\n"
        "waiting          0 frames, 0 bytes\n"
        "sent             0 frames, 0 bytes\n"
        "dropped          0 frames\n"
        "past the queues  0 frames\n"
        "\n"
        "QUEUE  NUMBER  SIZE  LENGTH  MODE  PRI  RATIO  WAITING  SENT  DROPPED  BY LENGTH  BY RED\n"
        "2/3/0    2064     7   16384  wfq     0      1        0     0        0          0       0\n"
        "2/3/5    2069   100      12  wfq     2      4        0     0        0          0       0\n"
        "\n"
        "CLASS  COLOR  THRESH   DROP\n"
        "    5  red    10-50 %  5 %\n",
        good({"show", "stream", "2/3"}));
    const json shown = good_json({"show", "stream", "2/3", "--json"});
    EXPECT_EQ(7000, shown["maxrate"]);
    EXPECT_EQ(9000, shown["maxburst"]);
    EXPECT_EQ("e0", shown["tosmap"][2]["mask"]);
    EXPECT_EQ(true, shown["classes"][5]["active"]);
    EXPECT_EQ(12, shown["classes"][5]["queue"]["queue_length"]);
    EXPECT_EQ(nullptr, shown["classes"][4]["queue"]);
    EXPECT_EQ(50, shown["classes"][5]["red"]["red"]["thresh"][1]);
}

TEST_F(Quality, AStreamThatIsNotThere)
{
    Result result = zelfctl({"show", "stream", "2/3"});
    EXPECT_EQ(1, result.code);
    EXPECT_EQ("zelfctl: no stream 2/3\n", result.err);
    result = zelfctl({"show", "stream", "two"});
    EXPECT_EQ(2, result.code);
    EXPECT_THAT(result.err, HasSubstr("'two' is not a stream"));
}

TEST_F(Quality, QueuesInOrAlone)
{
    good({"apply", "-"}, streams);
    const json queues = good_json({"show", "queues", "--json"})["queues"];
    ASSERT_EQ(2U, queues.size());
    EXPECT_EQ("2/3/5", queues[1]["queue"]);
    EXPECT_EQ(2069, queues[1]["number"]);
    EXPECT_EQ("wfq", queues[1]["mode"]);
}

TEST_F(Quality, TheBudgetIsAccountedFor)
{
    good({"apply", "-"}, streams);
    EXPECT_EQ(
        "budget  65536\n"
        "used    107 by 2 queues\n"
        "free    65429\n"
        "lost    0\n",
        good({"show", "budget"}));
    const json shown = good_json({"show", "budget", "--json"});
    EXPECT_EQ(107, shown["used"]);
    EXPECT_EQ(0, shown["lost"]);
}

const char* const lists =
    "create clslist 5\n"
    "create clslist 7\n"
    "add classify 1/3/yellow dscp 10.0.0.0/8 - - 17 53 - - - - - to clslist 5\n"
    "add classify 1/0/green normal - - - - - - - - 88b5 1a,,ff/f0, to clslist 5\n"
    "add clslist 5 to port 1 vlan sales 7/1,,9,\n";

TEST_F(Quality, ClassifyListsWithWhatTheyMatched)
{
    good({"apply", "-"}, lists);
    Bytes test_frame = frame(1);
    test_frame.replace(12, 2, "\x88\xb5");
    test_frame.replace(14, 16, Bytes("\0\0\0\x1a\0\0\0\0\0\0\0\xf3\0\0\0\0", 16));
    good({"feed", "--port", "1", folder_.file("a.pcap", pcap({{1, 0, test_frame}, {2, 0, frame(2)}}))});
    EXPECT_EQ(
        "CLSLIST  LINES  BOUND TO\n"
        "      5      2  port 1 in sales\n"
        "      7      0  -\n"
        "2 classify lists\n",
        good({"show", "clslist"}));
    const json shown = good_json({"show", "clslist", "5", "--json"});
    EXPECT_EQ("10.0.0.0/8", shown["lines"][0]["match"]["dst-ip"]);
    EXPECT_EQ("dscp", shown["lines"][0]["mode"]);
    EXPECT_EQ(0, shown["lines"][0]["frames"]);
    EXPECT_EQ(1, shown["lines"][1]["frames"]);
    EXPECT_EQ("1/0/green", shown["lines"][1]["target"]);
    EXPECT_EQ("7/1,,9,", shown["bindings"][0]["words"]);
    EXPECT_THAT(good({"show", "clslist", "5"}), HasSubstr("bound to port 1 in VLAN sales with 7/1,,9,\n"));
    EXPECT_EQ(2U, good_json({"show", "clslist", "--json"})["clslists"].size());
}

TEST_F(Quality, AClassifyListThatIsNotThere)
{
    Result result = zelfctl({"show", "clslist", "5"});
    EXPECT_EQ(1, result.code);
    EXPECT_EQ("zelfctl: no classify list 5\n", result.err);
    EXPECT_EQ(2, zelfctl({"show", "clslist", "65"}).code);
}

// The file named by an answer. It is the caller's, who removes it.
std::string exported(const std::string& answer)
{
    const std::string begin = "<data file=\"";
    const std::size_t at = answer.find(begin) + begin.size();
    const std::string path = answer.substr(at, answer.find('"', at) - at);
    const std::string content = content_of(path);
    unlink(path.c_str());
    return content;
}

TEST_F(Quality, ListsAreExportedAsADocument)
{
    good({"apply", "-"}, lists);
    EXPECT_THAT(exported(good({"export", "clslist", "5"})), HasSubstr("10.0.0.0/8"));
    EXPECT_THAT(exported(good({"export", "clslist"})), HasSubstr("10.0.0.0/8"));
    Result result = zelfctl({"export", "clslist", "9"});
    EXPECT_EQ(1, result.code);
    EXPECT_EQ("zelfctl: no such classify list\n", result.err);
    EXPECT_EQ(2, zelfctl({"export", "clslist", "all"}).code);
}

const char* const mirrors =
    "create mirror 1\n"
    "set mirror 1 source port 1 in\n"
    "set mirror 1 dest port 3\n"
    "enable mirror 1\n"
    "create mirror 2\n"
    "set mirror 2 source vlan sales\n"
    "set mirror 2 dest port 3\n"
    "set mirror 2 classify 2/0/red\n"
    "set mirror 2 tag on tagtype 88a8 vid 99\n"
    "enable mirror 2\n"
    "create mirror 4\n";

TEST_F(Quality, MirrorsWithWhatTheyCopied)
{
    good({"apply", "-"}, mirrors);
    good({"feed", "--port", "1", folder_.file("a.pcap", pcap({{1, 0, frame(1)}}))});
    EXPECT_EQ(
        "MIRROR  STATE     SOURCE      DEST    CLASSIFY  TAG                COPIES  UNSENT  DROPPED\n"
        "     1  enabled   port 1 in   port 3  -         -                       1       0        0\n"
        "     2  enabled   VLAN sales  port 3  2/0/red   VID 99, type 88a8       1       0        0\n"
        "     4  disabled  none        none    -         -                       0       0        0\n",
        good({"show", "mirrors"}));
    const json shown = good_json({"show", "mirrors", "--json"})["mirrors"];
    EXPECT_EQ("VLAN sales", shown[1]["source"]);
    EXPECT_EQ(3, shown[1]["dest"]);
    EXPECT_EQ(nullptr, shown[2]["source"]);
}

TEST_F(Quality, TheAnalyserSeesTheCopiesAtTheirTimes)
{
    good({"apply", "-"}, mirrors);
    const std::string seen = folder_.path() + "/seen.pcap";
    const std::string fed = folder_.file("a.pcap", pcap({{100, 0, frame(1)}, {103, 500000, frame(2)}}));
    EXPECT_THAT(good({"feed", "--analyser", seen, "--port", "1", fed}), HasSubstr("\nanalyser: 4 frames in "));
    // As other programs read it.
    const Result read = run({"tcpdump", "-nn", "-tt", "-e", "-r", seen});
    EXPECT_EQ(0, read.code) << read.err;
    EXPECT_THAT(read.out, testing::StartsWith("100.000000"));
    EXPECT_THAT(read.out, HasSubstr("\n103.500000"));
    EXPECT_THAT(read.out, HasSubstr("vlan 99"));
    EXPECT_EQ(4, std::count(read.out.begin(), read.out.end(), '\n'));
    // The frame goes out again as it came in.
    EXPECT_EQ(4, good_json({"feed", "--json", "--port", "2", seen})["frames"]);
}

TEST_F(Quality, AnAnalyserWithoutAPlaceFeedsNothing)
{
    const std::string fed = folder_.file("a.pcap", pcap({{100, 0, frame(1)}}));
    const Result result = zelfctl({"feed", "--analyser", "/nowhere/seen.pcap", "--port", "1", fed});
    EXPECT_EQ(1, result.code);
    EXPECT_THAT(result.err, HasSubstr("/nowhere/seen.pcap"));
    EXPECT_THAT(result.err, HasSubstr("nothing was fed"));
    EXPECT_EQ("0 entries: 0 dynamic, 0 static, 0 local\n", good({"show", "fdb", "--count"}));
}

TEST_F(Quality, AnAnalyserWhoseDiskIsFullIsAFailure)
{
    good({"apply", "-"}, mirrors);
    const std::string fed = folder_.file("a.pcap", pcap({{100, 0, frame(1)}}));
    const Result result = zelfctl({"feed", "--analyser", "/dev/full", "--port", "1", fed});
    EXPECT_EQ(1, result.code);
    EXPECT_THAT(result.err, HasSubstr("zelfctl: /dev/full: could not be written to its end\n"));
}

TEST_F(Quality, TimeStandsStillOnRequestWhileFramesWait)
{
    good({"apply", "-"},
         "create stream 2/1 qostype none\n"
         "create queue 2/1/0\n"
         "set stream 2/1 shaping on rate 1 burst 1\n"
         "create clslist 1\n"
         "add classify 1/0/green normal - - - - - - - - - - to clslist 1\n"
         "add clslist 1 to port 1 vlan sales\n");
    const Bytes to_2 = frame(3);
    good({"feed", "--port", "2", folder_.file("b.pcap", pcap({{1, 0, frame(2)}}))});
    good({"feed", "--hold", "--port", "1", folder_.file("a.pcap", pcap({{1, 0, to_2}, {1, 0, to_2}}))});
    EXPECT_EQ(2, good_json({"show", "stream", "2/1", "--json"})["waiting_frames"]);
}

}  // namespace
}  // namespace tool
