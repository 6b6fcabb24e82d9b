// Captures: good ones of every format, damaged ones of every kind, and what the frames lead to.
#include "pcap.h"
#include "tool.h"

namespace tool {
namespace {

using testing::HasSubstr;

class Feeding : public testing::Test {
protected:
    void SetUp() override { given_office(); }

    nlohmann::json feed(const std::string& port, const Bytes& content)
    {
        return good_json({"feed", "--json", "--port", port, folder_.file("a.pcap", content)});
    }
    // The content is refused, or breaks off, with this message.
    Result bad(const Bytes& content, const std::string& message)
    {
        const std::string file = folder_.file("bad.pcap", content);
        Result result = zelfctl({"feed", "--port", "1", file});
        EXPECT_EQ(1, result.code);
        EXPECT_THAT(result.err, HasSubstr("zelfctl: " + file + ": " + message));
        return result;
    }
    static std::vector<std::string> learned()
    {
        std::vector<std::string> macs;
        const auto shown = good_json({"show", "fdb", "--type", "dynamic", "--json"});
        for (const auto& entry : shown["entries"])
            macs.push_back(entry["mac"].get<std::string>() + "@" + std::to_string(entry["port"].get<int>()));
        return macs;
    }

    Folder folder_;
};

TEST_F(Feeding, APcapOfEitherOrderAndEitherFraction)
{
    const std::vector<Packet> packets{{100, 0, frame(1)}, {101, 500000, frame(2)}};
    for (const Order order : {Order::little, Order::big}) {
        for (const auto magic : {magic_us, magic_ns}) {
            const auto fed = feed("1", pcap(packets, order, magic));
            EXPECT_EQ(2, fed["frames"]);
            EXPECT_EQ(120, fed["bytes"]);
            EXPECT_EQ(magic == magic_us ? 1500 : 1000, fed["duration_ms"]);  // 500000 ns are half a millisecond
        }
    }
    EXPECT_EQ((std::vector<std::string>{"02:00:00:00:00:01@1", "02:00:00:00:00:02@1"}), learned());
}

TEST_F(Feeding, APcapngOfSeveralSections)
{
    const Bytes file =
        pcapng_section({{100, 0, frame(1)}}) + pcapng_section({{101, 250000, frame(2)}, {102, 0, frame(3)}});
    const auto fed = feed("2", file);
    EXPECT_EQ(3, fed["frames"]);
    EXPECT_EQ(2000, fed["duration_ms"]);
    EXPECT_EQ(3U, learned().size());
}

TEST_F(Feeding, FilesAreMergedByTime)
{
    const std::string one = folder_.file("1.pcap", pcap({{100, 0, frame(9)}, {100, 200, frame(9)}}));
    const std::string two = folder_.file("2.pcap", pcap({{100, 100, frame(9)}}));
    const std::string three = folder_.file("3.pcap", pcap({{100, 200, frame(9)}}));
    const auto fed = good_json({"feed", "--json", "--port", "1", one, "--port", "2", two, "--port", "3", three});
    std::vector<std::pair<int, int>> moves;
    for (const auto& event : fed["events"])
        if (event["result"] == "moved") moves.emplace_back(event["from_port"], event["port"]);
    // Of two frames of one time that of the file named first comes first.
    EXPECT_EQ((std::vector<std::pair<int, int>>{{1, 2}, {2, 1}, {1, 3}}), moves);
}

TEST_F(Feeding, SeveralFilesOfOnePort)
{
    const std::string one = folder_.file("1.pcap", pcap({{100, 0, frame(1)}}));
    const std::string two = folder_.file("2.pcap", pcap({{100, 1, frame(2)}}));
    EXPECT_EQ(2, good_json({"feed", "--json", "--port", "1", one, two})["learned"]);
    EXPECT_EQ(2U, learned().size());
}

TEST_F(Feeding, StopsAtTheLimit)
{
    const std::string file = folder_.file("a.pcap", pcap({{1, 0, frame(1)}, {2, 0, frame(2)}, {3, 0, frame(3)}}));
    const auto fed = good_json({"feed", "--json", "--limit", "2", "--port", "1", file});
    EXPECT_EQ(2, fed["frames"]);
    EXPECT_EQ(2, fed["files"][0]["frames"]);
    EXPECT_EQ(2U, learned().size());
}

TEST_F(Feeding, TellsWhatBecameOfEachStationAndWhy)
{
    good({"apply", "-"},
         "create sfdbentry 02:00:00:00:00:05 in vlan sales port 2\n"
         "set vlan sales learninglimit 3\n"
         "set fdb userarea 3\n"
         "set port 3 learning off\n");
    const std::string one = folder_.file(
        "1.pcap", pcap({{1, 0, frame(1)}, {2, 0, frame(2)}, {3, 0, frame(3)}, {4, 0, frame(3)}, {5, 0, frame(5)}}));
    const std::string two = folder_.file("2.pcap", pcap({{6, 0, frame(1)}}));
    const std::string three = folder_.file("3.pcap", pcap({{7, 0, frame(7)}}));
    EXPECT_EQ(
        "7 frames, 420 bytes, 6.000 s from 3 files: 0 forwarded, 7 flooded, 0 delivered, 0 dropped\n"
        "stations: 2 learned, 1 moved, 3 ignored, 0 refused\n"
        "\n"
        "RESULT   MAC                VLAN   PORT  FROM  TIMES  WHY\n"
        "learned  02:00:00:00:00:01  sales     1            1\n"
        "learned  02:00:00:00:00:02  sales     1            1\n"
        "ignored  02:00:00:00:00:03  sales     1            2  learn limit of the VLAN\n"
        "ignored  02:00:00:00:00:05  sales     1     2      1  static entry\n"
        "moved    02:00:00:00:00:01  sales     2     1      1\n",
        good({"feed", "--events", "--port", "1", one, "--port", "2", two, "--port", "3", three}));
    good({"set", "vlan", "sales", "learninglimit", "0"});
    const auto fed = good_json({"feed", "--json", "--port", "1", one});
    EXPECT_EQ(2, fed["refused"]);
    EXPECT_EQ("no room: user limit reached or table full", fed["events"][1]["reason"]);
}

TEST_F(Feeding, DropsAreToldByPortAndReason)
{
    good({"disable", "port", "2"});
    const std::string file = folder_.file("a.pcap", pcap({{1, 0, frame(1).substr(0, 10)}, {2, 0, frame(1)}}));
    const auto fed = good_json({"feed", "--json", "--port", "1", file, "--port", "2", file});
    EXPECT_EQ(3, fed["dropped"]);
    EXPECT_EQ((nlohmann::json{{{"frames", 1}, {"port", 1}, {"reason", "runt"}},
                              {{"frames", 2}, {"port", 2}, {"reason", "port disabled"}}}),
              fed["drops"]);
}

TEST_F(Feeding, FilesThatAreNoneAreRefusedAndNothingIsFed)
{
    bad("", "truncated dump file");
    bad(Bytes("\xd4\xc3", 2), "truncated dump file");
    bad(pcap_header().substr(0, 20), "truncated dump file");
    bad("this is no capture at all, but long enough", "unknown file format");
    bad(pcap_header(Order::little, 0xA1B2C3D5), "unknown file format");
    bad(pcap_header(Order::little, magic_us, 105), "frames of IEEE802_11, not of Ethernet; nothing was fed");
    bad(pcapng_section({}).substr(0, 20), "truncated");

    const std::string good_file = folder_.file("good.pcap", pcap({{1, 0, frame(1)}}));
    const std::string bad_file = folder_.file("bad.pcap", "no capture, and not a word of one");
    EXPECT_EQ(1, zelfctl({"feed", "--port", "1", good_file, "--port", "2", bad_file}).code);
    EXPECT_EQ(1, zelfctl({"feed", "--port", "1", folder_.path() + "/none"}).code);
    EXPECT_EQ(1, zelfctl({"feed", "--port", "1", folder_.path()}).code);
    EXPECT_EQ(0U, learned().size());
}

TEST_F(Feeding, AFileThatBreaksOffIsFedUpToThere)
{
    const Bytes whole = pcap({{1, 0, frame(1)}, {2, 0, frame(2)}});
    const Result in_header = bad(whole.substr(0, whole.size() - 70), "broke off after 1 frame: truncated dump file");
    EXPECT_THAT(in_header.out, HasSubstr("1 frame, 60 bytes"));
    bad(whole.substr(0, whole.size() - 1), "broke off after 1 frame: truncated dump file");
    EXPECT_EQ((std::vector<std::string>{"02:00:00:00:00:01@1"}), learned());

    Bytes absurd = pcap({{1, 0, frame(1)}});
    absurd += Writer(Order::little).u32(2).u32(0).u32(0x7FFFFFFF).u32(0x7FFFFFFF).done();
    bad(absurd, "broke off after 1 frame: ");
    const Bytes section = pcapng_section({{1, 0, frame(1)}, {2, 0, frame(2)}});
    bad(section.substr(0, section.size() - 6), "broke off after 1 frame: ");
}

TEST_F(Feeding, FramesThatWereCutShortAreSkippedAndCounted)
{
    const std::string file = folder_.file(
        "a.pcap", pcap({{1, 0, frame(1)}, {2, 0, frame(2), 1500}, {3, 0, frame(3), 61}, {4, 0, frame(4)}}));
    const Result result = zelfctl({"feed", "--port", "1", file});
    EXPECT_EQ(0, result.code);
    EXPECT_EQ("zelfctl: " + file + ": skipped 2 frames of which only the beginning was captured\n", result.err);
    EXPECT_EQ((std::vector<std::string>{"02:00:00:00:00:01@1", "02:00:00:00:00:04@1"}), learned());
}

TEST_F(Feeding, TimeNeverRunsBackwards)
{
    const auto fed = feed("1", pcap({{100, 0, frame(1)}, {90, 0, frame(2)}, {101, 0, frame(3)}}));
    EXPECT_EQ(3, fed["frames"]);
    EXPECT_EQ(1000, fed["duration_ms"]);

    const std::string file = folder_.file("b.pcap", pcap({{100, 0, frame(4)}, {100, 1000000, frame(5)}}));
    const Result result = zelfctl({"feed", "--port", "1", file});
    EXPECT_EQ(0, result.code);
    EXPECT_EQ("zelfctl: " + file + ": 1 frame with an impossible time, fed without delay\n", result.err);
    EXPECT_EQ(5U, learned().size());
}

TEST_F(Feeding, PortsThatAreNotThereAreRefused)
{
    const std::string file = folder_.file("a.pcap", pcap({{1, 0, frame(1)}}));
    const Result missing = zelfctl({"feed", "--port", "7", file});
    EXPECT_EQ(1, missing.code);
    EXPECT_EQ("zelfctl: no port 7\n", missing.err);
    good({"create", "port", "50", "npport", "0"});
    const Result unmapped = zelfctl({"feed", "--port", "50", file});
    EXPECT_EQ(1, unmapped.code);
    EXPECT_EQ("zelfctl: port 50 is not in the network processor: it has 1 to 10 and 101 to 164\n", unmapped.err);
}

TEST_F(Feeding, StationsAgeByTheClockAfterwards)
{
    good({"set", "port", "1", "aging", "1"});
    const std::string one = folder_.file("1.pcap", pcap({{100, 0, frame(1)}}));
    const std::string two = folder_.file("2.pcap", pcap({{100, 0, frame(2)}}));
    good({"feed", "--port", "1", one, "--port", "2", two});
    EXPECT_EQ("0 entries aged out, 2 dynamic ones stay\n", good({"age"}));
    good({"sleep", "3"});
    const auto aged = good_json({"age", "--json"});
    EXPECT_EQ(1, aged["dynamic_left"]);
    EXPECT_EQ((nlohmann::json{{{"mac", "02:00:00:00:00:01"}, {"port", 1}, {"vid", 10}, {"vlan", "sales"}}}),
              aged["aged"]);
    EXPECT_EQ((std::vector<std::string>{"02:00:00:00:00:02@2"}), learned());
}

}  // namespace
}  // namespace tool
