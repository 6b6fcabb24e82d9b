// The printed dump of a port, letter for letter.
#include "support/exported.h"

namespace zelfdb {
namespace {

class DisplayPort : public Exported {
protected:
    DisplayPort() : Exported(4, 3, 32) {}

    std::string printed(u32 port_id)
    {
        const Expected unchanged = now();
        testing::internal::CaptureStdout();
        EXPECT_EQ(call(zelfdb_display_port_data, port_id), done());
        std::string text = testing::internal::GetCapturedStdout();
        EXPECT_TRUE(unchanged.is_now());
        return text;
    }
    static std::string hex8(u32 number)
    {
        char text[9];
        std::snprintf(text, sizeof text, "%08x", number);
        return text;
    }
    [[nodiscard]] std::string owner(u32 port_id) const { return hex8(offset_of(base(), port(port_id)->fdb).value); }
};

constexpr const char* untouched_port = R"(Port information
PortID : 3
p_flag : 173
p_type : ether
pri    : 0
phport : 2
tagtype: 8100
PVID   ; 0
optate : B_PORT_DOWN
uplink    : 0
aging     : 300
sldbkr_on : 0
cosmap    : 0, 0, 0, 0, 0, 0, 0, 0
valbit    : 00000000
def_spno  : 0
(streamID : 1
def_pri   : 0
def_color : 0
link_mode : 1
link_depend:1 list:00
npv       : 0
  class 0  color 0 rate 0 burst 0
  class 1  color 0 rate 0 burst 0
  class 2  color 0 rate 0 burst 0
  class 3  color 0 rate 0 burst 0
  class 4  color 0 rate 0 burst 0
  class 5  color 0 rate 0 burst 0
  class 6  color 0 rate 0 burst 0
  class 7  color 0 rate 0 burst 0
FID    : c003
LFDB entry
mac                fil_flag  fil_type  fil_permit  lastValidate offset
)";

std::string replaced(std::string text, const std::string& what, const std::string& by)
{
    const std::size_t at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return at == std::string::npos ? text : text.replace(at, what.size(), by);
}

TEST_F(DisplayPort, OfAnUntouchedPort)
{
    given_port(3, ZELFDB_PORT_ETHER, 2);
    EXPECT_EQ(printed(3), untouched_port);
}

TEST_F(DisplayPort, NamesTheKnownTypesAndLeavesTheLineOfAnUnknownOneOpen)
{
    Port& port = given_port(3, ZELFDB_PORT_ETHER, 2);
    const Expected healthy = now();
    const struct {
        u8 p_type;
        const char* line;
    } rows[] = {{0, "p_type : none\npri    : 0\n"},
                {1, "p_type : ether\npri    : 0\n"},
                {2, "p_type : vif\npri    : 0\n"},
                {3, "p_type : pri    : 0\n"},
                {255, "p_type : pri    : 0\n"}};
    for (const auto& row : rows) {
        port.p_type = row.p_type;
        EXPECT_EQ(printed(3), replaced(untouched_port, "p_type : ether\npri    : 0\n", row.line));
    }
    healthy.restore();
}

TEST_F(DisplayPort, NamesTheKnownStates)
{
    Port& port = given_port(3, ZELFDB_PORT_ETHER, 2);
    port.optate = optate_up;
    EXPECT_EQ(printed(3), replaced(untouched_port, "B_PORT_DOWN", "B_PORT_UP"));
    for (const u32 optate : {2u, 0xFFFFFFFFu}) {
        port.optate = optate;
        EXPECT_EQ(printed(3), replaced(untouched_port, "B_PORT_DOWN", "UNKNOWN"));
    }
    port.optate = optate_down;
}

// Numbers are signed where the line is of a number, hexadecimal where it is of bits.
TEST_F(DisplayPort, WithEverythingSet)
{
    Port& port = given_port(101, ZELFDB_PORT_VIF);
    given_group(7, {0x0800});
    for (const u16 vid : {u16{20}, u16{10}, u16{4094}}) given_vlan(vid, "v" + std::to_string(vid));
    given_member(20, 101, true);
    const Expected healthy = now();
    linked_member(*vlan(10), port, pv_protocol);
    linked_member(*vlan(4094), port, pv_tagged | pv_protocol);
    port.p_flag = 0xFFFF;
    port.pri = 255;
    port.phport = 254;
    port.tagtype = 0x88a8;
    port.PVID = 65535;
    port.optate = optate_up;
    port.uplink = 0xFFFFFFFF;
    port.aging = 0x80000000;
    port.sldbkr_on = 1;
    port.sldbkr_state = 2;
    for (u32 i = 0; i < 8; ++i) port.cosmap[i] = i * 1000;
    port.cosmap[7] = 0xFFFFFFFF;
    port.valbit = 0xABCDEF;
    port.def_spno = 0xFFFFFFFF;
    port.def_pri = 7;
    port.def_color = 0xFFFFFFFE;
    port.link_mode = 2;
    port.link_depend = 3;
    port.link_depend_list = 0xF;
    for (u8 i = 0; i < 8; ++i) port.policing[i] = {i, {0, 0, 0}, 100u + i, 0xFFFFFFFF - i};
    port.policing[7] = {255, {0, 0, 0}, 0x80000000, 0x7FFFFFFF};
    EXPECT_EQ(printed(101), R"(Port information
PortID : 101
p_flag : ffff
p_type : vif
pri    : 255
phport : 254
tagtype: 88a8
PVID   ; 65535
optate : B_PORT_UP
uplink    : -1
aging     : -2147483648
sldbkr_on : 1
cosmap    : 0, 1000, 2000, 3000, 4000, 5000, 6000, -1
valbit    : 00abcdef
def_spno  : -1
(streamID : 0
def_pri   : 7
def_color : -2
link_mode : 2
link_depend:3 list:0f
npv       : 3
  class 0  color 0 rate 100 burst -1
  class 1  color 1 rate 101 burst -2
  class 2  color 2 rate 102 burst -3
  class 3  color 3 rate 103 burst -4
  class 4  color 4 rate 104 burst -5
  class 5  color 5 rate 105 burst -6
  class 6  color 6 rate 106 burst -7
  class 7  color 255 rate -2147483648 burst 2147483647
FID    : c065
PV:VID     : 10
  :pv_flag : 2
PV:VID     : 20
  :pv_flag : 1
PV:VID     : 4094
  :pv_flag : 3
LFDB entry
mac                fil_flag  fil_type  fil_permit  lastValidate offset
)");
    healthy.restore();
}

TEST_F(DisplayPort, ADependencyListOfMoreThanTwoDigitsIsPrintedWhole)
{
    Port& port = given_port(3, ZELFDB_PORT_ETHER, 2);
    port.link_depend_list = 0xFFFF0001;
    EXPECT_EQ(printed(3), replaced(untouched_port, "list:00", "list:ffff0001"));
}

TEST_F(DisplayPort, PrintsItsStreamsInOrderWithTheirThresholds)
{
    Port& port = given_port(3, ZELFDB_PORT_ETHER, 2);
    const Expected healthy = now();
    Stream& second = given_stream_of(port, 513, 2);
    Stream& first = given_stream_of(port, 512, 1);
    first.priority = 7;
    first.qos_type = 2;
    first.minrate = 1000;
    first.minburst = 8000;
    first.maxrate = 0xFFFFFFFF;
    first.maxburst = 16000;
    for (u8 class_no = 0; class_no < 8; ++class_no) {
        for (u8 colour = 0; colour < 3; ++colour) {
            const auto n = static_cast<u8>(30 * class_no + 10 * colour);
            first.slot[class_no].red[colour] = {n, static_cast<u8>(n + 1), static_cast<u8>(n + 2),
                                                static_cast<u8>(n + 3)};
            second.slot[class_no].red[colour] = {100, 0, 0, 0};
        }
    }
    const auto thresholds = [](const Stream& stream) {
        std::string text;
        for (int class_no = 0; class_no < 8; ++class_no) {
            for (int colour = 0; colour < 3; ++colour) {
                const Red& red = stream.slot[class_no].red[colour];
                text += "        class " + std::to_string(class_no) + " color " + std::to_string(colour) + "\n";
                text += "          min_thresh " + std::to_string(red.min_thresh) + "\n";
                text += "          max_thresh " + std::to_string(red.max_thresh) + "\n";
                text += "          min_drop   " + std::to_string(red.min_drop) + "\n";
                text += "          max_drop " + std::to_string(red.max_drop) + "\n";
            }
        }
        return text;
    };
    const std::string streams = R"(Stream;streamno : 512
       portno   : 3
       sno_port : 1
       priority : 7
       qos_type : 2
       minrate  : 1000
       minburst : 8000
       maxrate  : -1
       maxburst : 16000
)" + thresholds(first) + R"(Stream;streamno : 513
       portno   : 3
       sno_port : 2
       priority : 0
       qos_type : 0
       minrate  : 0
       minburst : 0
       maxrate  : 0
       maxburst : 0
)" + thresholds(second);
    EXPECT_EQ(printed(3), replaced(untouched_port, "LFDB entry\n", streams + "LFDB entry\n"));
    healthy.restore();
}

// By bucket, the sum of an address's bytes; in a bucket the older one first.
TEST_F(DisplayPort, PrintsItsLocalEntriesByBucketAndThenByAge)
{
    given_port(1);
    given_port(3, ZELFDB_PORT_ETHER, 2);
    given_local(3, mac(0xFFFFFFFFFFFF), 0, 1);      // bucket 0xfa
    given_local(3, mac(0x000000000002), 4, 0);      // bucket 2
    given_local(3, mac(0x020000000000), 0xFF, 77);  // bucket 2
    given_local(3, mac(0x0000000000FF), 0, 0xFFFFFFFF);
    given_local(1, mac(0x000000000001));
    const std::string lines = "00:00:00:00:00:02  00000004  LOCAL     00000000    00000000     " + owner(3) +
                              "\n02:00:00:00:00:00  000000ff  LOCAL     0000004d    00000000     " + owner(3) +
                              "\nff:ff:ff:ff:ff:ff  00000000  LOCAL     00000001    00000000     " + owner(3) +
                              "\n00:00:00:00:00:ff  00000000  LOCAL     ffffffff    00000000     " + owner(3) + "\n";
    EXPECT_EQ(printed(3), untouched_port + lines);
}

// An entry of an unknown type has no label and no blank in its place.
TEST_F(DisplayPort, LabelsThreeTypesOfEntry)
{
    given_port(3, ZELFDB_PORT_ETHER, 2);
    Fil& entry = given_local(3, mac(0x0123456789ab), 0x12345678, 0x9abcdef0);
    const Expected healthy = now();
    entry.lastValidate = 0xFEDCBA98;
    entry.last_seen = 99;
    entry.port = 7;
    const struct {
        u32 type;
        const char* label;
    } rows[] = {{1, "LOCAL    "}, {2, "STATIC   "}, {3, "DYNAMIC  "}, {0, ""}, {4, ""}, {0xFFFFFFFF, ""}};
    for (const auto& row : rows) {
        entry.fil_type = row.type;
        EXPECT_EQ(printed(3), untouched_port + std::string("01:23:45:67:89:ab  12345678  ") + row.label +
                                  " 9abcdef0    fedcba98     " + owner(3) + "\n");
    }
    healthy.restore();
}

}  // namespace
}  // namespace zelfdb
