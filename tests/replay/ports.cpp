// Replay of physical ports and ports.
#include "replay/replay_test.h"

namespace zelfdb {
namespace {

class ReplayedPorts : public ReplayTest {
protected:
    Lines ports() { return lines_of(zelfdb_reconfig_port); }
    Lines ether() { return lines_of(zelfdb_reconfig_ether); }

    struct Row {
        const char* what;
        std::function<void(Port&)> edit;
        Lines lines;  // after the creation line
    };
    // Each row alone, on a port as it was made.
    void expect_each_alone(Port& port, const std::string& creation, const std::vector<Row>& rows)
    {
        const Expected start = now();
        for (const Row& row : rows) {
            SCOPED_TRACE(row.what);
            row.edit(port);
            Lines expected{creation};
            expected.insert(expected.end(), row.lines.begin(), row.lines.end());
            EXPECT_EQ(ports(), expected);
            start.restore();
        }
    }
};

TEST_F(ReplayedPorts, NoPortNoLine) { EXPECT_EQ(ports(), Lines{}); }

TEST_F(ReplayedPorts, AnUntouchedPortOfEachType)
{
    given_port(1, ZELFDB_PORT_ETHER, 3);
    EXPECT_EQ(ports(), (Lines{"create port 1 npport 3 portType ether"}));
    given_port(2, ZELFDB_PORT_VIF, 77);
    given_port(101);
    EXPECT_EQ(ports(), (Lines{"create port 1 npport 3 portType ether", "create port 2 npport 77 portType vif",
                              "create port 101 npport 0 ", "set port 101 aftype tagonly"}));
}

TEST_F(ReplayedPorts, PortsAscendByTheirSignedID)
{
    for (const u32 port_id : {199u, 7u, 101u}) given_port(port_id, ZELFDB_PORT_VIF);
    EXPECT_EQ(ports(), (Lines{"create port 7 npport 0 portType vif", "create port 101 npport 0 portType vif",
                              "create port 199 npport 0 portType vif"}));
    u32 err = untouched;
    EXPECT_EQ(zelfdb_create_port(0xFFFFFFFE, 0, ZELFDB_PORT_VIF, &err), 0);
    // No operation finds a port beyond 199 again, so that no command names one.
    EXPECT_EQ(lines_that_are_no_commands(zelfdb_reconfig_port)[0], "create port -2 npport 0 portType vif");
}

TEST_F(ReplayedPorts, FlagsOfAnEtherPort)
{
    const auto without = [](u16 bits) { return [bits](Port& p) { p.p_flag = static_cast<u16>(p.p_flag & ~bits); }; };
    const auto with = [](u16 bits) { return [bits](Port& p) { p.p_flag = static_cast<u16>(p.p_flag | bits); }; };
    expect_each_alone(given_port(9, ZELFDB_PORT_ETHER, 4), "create port 9 npport 4 portType ether",
                      {
                          {"no untagged frames", without(0x10), {"set port 9 aftype tagonly"}},
                          {"tags ignored", without(0x40), {"set port 9 ignoretag on"}},
                          {"priority tags ignored", without(0x100), {"set port 9 ignoreptag on"}},
                          {"cosedit", with(0x1000), {"set port 9 cosedit on"}},
                          {"ignorefdb", with(0x2000), {"set port 9 ignorefdb on"}},
                          {"no flag at all",
                           without(0xFFFF),
                           {"set port 9 aftype tagonly", "set port 9 ignoretag on", "set port 9 ignoreptag on"}},
                          {"every flag", with(0xFFFF), {"set port 9 cosedit on", "set port 9 ignorefdb on"}},
                          {"flags without a line", without(0x23), {}},
                      });
}

TEST_F(ReplayedPorts, FlagsOfAVirtualInterfaceAreTheOppositeOnes)
{
    const auto with = [](u16 bits) { return [bits](Port& p) { p.p_flag = static_cast<u16>(p.p_flag | bits); }; };
    expect_each_alone(given_port(9, ZELFDB_PORT_VIF), "create port 9 npport 0 portType vif",
                      {
                          {"tags recognised", with(0x40), {"set port 9 ignoretag off"}},
                          {"priority tags recognised", with(0x100), {"set port 9 ignoreptag off"}},
                          {"both", with(0x140), {"set port 9 ignoretag off", "set port 9 ignoreptag off"}},
                          {"no flag at all", [](Port& p) { p.p_flag = 0; }, {"set port 9 aftype tagonly"}},
                      });
}

TEST_F(ReplayedPorts, FlagsOfAPortOfNoOrUnknownType)
{
    for (const i32 type : {0, 3, 255}) {
        const Expected start = now();
        Port& port = given_port(9, type);
        EXPECT_EQ(ports(), (Lines{"create port 9 npport 0 ", "set port 9 aftype tagonly"}));
        port.p_flag = 0x0010;
        EXPECT_EQ(ports(), (Lines{"create port 9 npport 0 "}));
        port.p_flag = 0x0150;
        EXPECT_EQ(ports(), (Lines{"create port 9 npport 0 "}));
        start.restore();
    }
}

TEST_F(ReplayedPorts, EachSettingAlone)
{
    expect_each_alone(
        given_port(9, ZELFDB_PORT_ETHER, 4), "create port 9 npport 4 portType ether",
        {
            {"tag type", [](Port& p) { p.tagtype = 0x88A8; }, {"set port 9 tagtype 88a8"}},
            {"tag type 0", [](Port& p) { p.tagtype = 0; }, {"set port 9 tagtype 0"}},
            {"aging", [](Port& p) { p.aging = 301; }, {"set port 9 aging 301"}},
            {"aging 0", [](Port& p) { p.aging = 0; }, {"set port 9 aging 0"}},
            {"aging beyond 31 bits", [](Port& p) { p.aging = 0xFFFFFFFF; }, {"set port 9 aging -1"}},
            {"link mode 0", [](Port& p) { p.link_mode = 0; }, {"set port 9 link_mode or"}},
            {"link mode 2", [](Port& p) { p.link_mode = 2; }, {"set port 9 link_mode or"}},
            {"bandwidth", [](Port& p) { p.bw_calc_mode = 1; }, {"set port 9 bandwidth frame_gap"}},
            {"bandwidth 7", [](Port& p) { p.bw_calc_mode = 7; }, {"set port 9 bandwidth frame_gap"}},
            {"link frame 0", [](Port& p) { p.link_frames_fwd = 1; }, {"set port 9 link_frame bpdu forward"}},
            {"link frame 2", [](Port& p) { p.link_frames_fwd = 4; }, {"set port 9 link_frame lag forward"}},
            {"link frame 3", [](Port& p) { p.link_frames_fwd = 8; }, {"set port 9 link_frame pae forward"}},
            {"link frames without a line", [](Port& p) { p.link_frames_fwd = 0xFFFFFFF2; }, {}},
            {"up", [](Port& p) { p.optate = 1; }, {"enable port 9"}},
            {"neither up nor down", [](Port& p) { p.optate = 2; }, {}},
            {"fields without a line",
             [](Port& p) {
                 p.pri = 7;
                 p.uplink = 1;
                 p.sldbkr_on = 1;
                 p.reserved212 = 1;
                 p.cosmap[0] = 5;
             },
             {}},
        });
}

TEST_F(ReplayedPorts, TheDefaultClass)
{
    const auto set = [](u32 stream, u32 priority, u32 colour) {
        return [=](Port& p) {
            p.def_spno = stream;
            p.def_pri = priority;
            p.def_color = colour;
        };
    };
    expect_each_alone(given_port(9, ZELFDB_PORT_ETHER, 4), "create port 9 npport 4 portType ether",
                      {
                          {"all 0", set(0, 0, 0), {}},
                          {"stream", set(1, 0, 0), {"set port 9 default_class 2/0/green"}},
                          {"priority", set(0, 7, 0), {"set port 9 default_class 1/7/green"}},
                          {"yellow", set(0, 0, 1), {"set port 9 default_class 1/0/yellow"}},
                          {"red", set(0, 0, 2), {"set port 9 default_class 1/0/red"}},
                          {"no colour", set(0, 0, 3), {"set port 9 default_class 1/0/"}},
                          {"far beyond the colours", set(1023, 1, 0xFFFFFFFF), {"set port 9 default_class 1024/1/"}},
                          {"a stream before 0", set(0xFFFFFFFF, 0, 0), {"set port 9 default_class 0/0/green"}},
                      });
}

TEST_F(ReplayedPorts, TheClassOfServiceMapHasSevenCommasWhateverIsInUse)
{
    const auto valid = [](u32 bits) {
        return [bits](Port& p) {
            p.valbit = bits;
            for (u32 i = 0; i < 8; ++i) p.cosmap[i] = i + 1;
        };
    };
    expect_each_alone(
        given_port(9, ZELFDB_PORT_ETHER, 4), "create port 9 npport 4 portType ether",
        {
            {"none", valid(0), {}},
            {"first and third", valid(0x05), {"set port 9 cosmap bit 5 val 1,,3,,,,,"}},
            {"all", valid(0xFF), {"set port 9 cosmap bit ff val 1,2,3,4,5,6,7,8"}},
            {"first", valid(0x01), {"set port 9 cosmap bit 1 val 1,,,,,,,"}},
            {"last", valid(0x80), {"set port 9 cosmap bit 80 val ,,,,,,,8"}},
            {"only bits beyond the map", valid(0xFFFFFF00), {"set port 9 cosmap bit ffffff00 val ,,,,,,,"}},
            {"a large value",
             [](Port& p) {
                 p.valbit = 2;
                 p.cosmap[1] = 0xFFFFFFFE;
             },
             {"set port 9 cosmap bit 2 val ,-2,,,,,,"}},
        });
}

TEST_F(ReplayedPorts, PolicingOfEachClassWithItsColourRateAndBurst)
{
    const auto row = [](u32 class_no, u8 colour, u32 rate, u32 burst) {
        return [=](Port& p) { p.policing[class_no] = {colour, {}, rate, burst}; };
    };
    expect_each_alone(
        given_port(9, ZELFDB_PORT_ETHER, 4), "create port 9 npport 4 portType ether",
        {
            {"no rate", row(3, 2, 0, 9), {}},
            {"green", row(0, 0, 64000, 8000), {"set port 9 class_policing class 0 on green rate 64"}},
            {"yellow", row(7, 1, 64000, 8000), {"set port 9 class_policing class 7 on yellow rate 64"}},
            {"red with burst", row(3, 2, 64000, 7999), {"set port 9 class_policing class 3 on red rate 64 burst 7999"}},
            {"no colour", row(3, 3, 64000, 0), {"set port 9 class_policing class 3 on rate 64 burst 0"}},
            {"rates are cut", row(3, 0, 999, 8000), {"set port 9 class_policing class 3 on green rate 0"}},
            {"a rate of 32 bits",
             row(3, 255, 0xFFFFFFFF, 0xFFFFFFFF),
             {"set port 9 class_policing class 3 on rate 4294967 burst -1"}},
            {"two classes",
             [](Port& p) {
                 p.policing[6] = {1, {}, 2000, 1};
                 p.policing[5] = {0, {}, 1000, 8000};
             },
             {"set port 9 class_policing class 5 on green rate 1",
              "set port 9 class_policing class 6 on yellow rate 2 burst 1"}},
        });
}

TEST_F(ReplayedPorts, TheLinkDependencyNamesTheFirstFourBits)
{
    const auto depend = [](u32 setting, u32 bits) {
        return [=](Port& p) {
            p.link_depend = setting;
            p.link_depend_list = bits;
        };
    };
    expect_each_alone(given_port(9, ZELFDB_PORT_ETHER, 4), "create port 9 npport 4 portType ether",
                      {
                          {"the default, whatever the list", depend(1, 0xF), {}},
                          {"none", depend(0, 0), {"set port 9 link_depend port "}},
                          {"one", depend(2, 0x4), {"set port 9 link_depend port 3"}},
                          {"some", depend(2, 0x9), {"set port 9 link_depend port 1,4"}},
                          {"all", depend(2, 0xF), {"set port 9 link_depend port 1,2,3,4"}},
                          {"bits beyond", depend(0xFFFFFFFF, 0xFFFFFFF2), {"set port 9 link_depend port 2"}},
                      });
}

void set_everything(Port& port)
{
    port.p_flag = 0x3000;
    port.tagtype = 0x9100;
    port.aging = 60;
    port.def_spno = 3;
    port.def_pri = 2;
    port.def_color = 1;
    port.valbit = 0x81;
    port.cosmap[0] = 7;
    port.cosmap[7] = 0;
    for (Policing& row : port.policing) row = {0, {}, 5000, 9000};
    port.link_mode = 2;
    port.link_depend = 2;
    port.link_depend_list = 0x6;
    port.bw_calc_mode = 1;
    port.link_frames_fwd = 0xD;
    port.optate = 1;
}

Lines everything(const std::string& creation, const Lines& tags)
{
    Lines lines{creation, "set port 9 aftype tagonly"};
    lines.insert(lines.end(), tags.begin(), tags.end());
    lines.insert(lines.end(), {"set port 9 tagtype 9100", "set port 9 aging 60", "set port 9 default_class 4/2/yellow",
                               "set port 9 cosedit on", "set port 9 cosmap bit 81 val 7,,,,,,,0"});
    for (const char* class_no : {"0", "1", "2", "3", "4", "5", "6", "7"}) {
        lines.push_back(std::string("set port 9 class_policing class ") + class_no + " on green rate 5 burst 9000");
    }
    lines.insert(lines.end(),
                 {"set port 9 link_mode or", "set port 9 link_depend port 2,3", "set port 9 bandwidth frame_gap",
                  "set port 9 link_frame bpdu forward", "set port 9 link_frame lag forward",
                  "set port 9 link_frame pae forward", "set port 9 ignorefdb on", "enable port 9"});
    return lines;
}

TEST_F(ReplayedPorts, EverythingAtOnceInItsOrder)
{
    const Expected empty = now();
    set_everything(given_port(9, ZELFDB_PORT_ETHER, 4));
    EXPECT_EQ(ports(), everything("create port 9 npport 4 portType ether",
                                  {"set port 9 ignoretag on", "set port 9 ignoreptag on"}));
    empty.restore();

    Port& vif = given_port(9, ZELFDB_PORT_VIF);
    set_everything(vif);
    vif.p_flag = 0x3140;
    EXPECT_EQ(ports(), everything("create port 9 npport 0 portType vif",
                                  {"set port 9 ignoretag off", "set port 9 ignoreptag off"}));
    empty.restore();

    set_everything(given_port(9));
    EXPECT_EQ(ports(), everything("create port 9 npport 0 ", {}));
}

TEST_F(ReplayedPorts, UnshapedPhysicalPortsHaveNoLine)
{
    EXPECT_EQ(ether(), Lines{});
    for (u32 id = 1; id <= 4; ++id) known_phport(base(), header(), id)->shaping_param2 = 9000;
    EXPECT_EQ(ether(), Lines{});
}

TEST_F(ReplayedPorts, ShapedPhysicalPortsAscendAndNameTheirBurstUnlessItIsTheUsual)
{
    const auto shape = [&](u32 id, u32 rate, u32 burst) {
        EXPECT_EQ(call(zelfdb_set_ph_shaping, id, rate, burst).result, 0);
    };
    shape(4, 1000000, 8000);
    shape(2, 1999, 7999);
    shape(1, 0xFFFFFFFF, 0xFFFFFFFF);
    shape(3, 999, 0);
    EXPECT_EQ(ether(),
              (Lines{"set ether 1 shaping on rate 4294967 burst -1", "set ether 2 shaping on rate 1 burst 7999",
                     "set ether 3 shaping on rate 0 burst 0", "set ether 4 shaping on rate 1000"}));
    shape(2, 0, 7999);
    shape(3, 0, 0);
    EXPECT_EQ(ether(), (Lines{"set ether 1 shaping on rate 4294967 burst -1", "set ether 4 shaping on rate 1000"}));
}

}  // namespace
}  // namespace zelfdb
