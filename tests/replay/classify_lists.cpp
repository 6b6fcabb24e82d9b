// Replay of classify profiles with their lines and bindings.
#include <netdb.h>

#include "replay/replay_test.h"

namespace zelfdb {
namespace {

// A profile's line in the replay's words: what precedes the ten match fields, and the fields.
struct Words {
    std::string head = "1/0/green normal";
    std::string dst_ip = "-", src_ip = "-", tos = "-", proto = "-", dst_port = "-", src_port = "-", vlan = "-",
                dot1p = "-", etype = "-", ext = "-";
};
std::string line_text(const Words& w, u32 profile = 1, u32 line_no = 1)
{
    return "add classify " + w.head + " " + w.dst_ip + " " + w.src_ip + " " + w.tos + " " + w.proto + " " + w.dst_port +
           " " + w.src_port + " " + w.vlan + " " + w.dot1p + " " + w.etype + " " + w.ext + " to clslist " +
           std::to_string(profile) + " line " + std::to_string(line_no) + " ";
}

class ReplayedProfiles : public ReplayTest {
protected:
    void given_profile(u32 number) { EXPECT_EQ(call(zelfdb_create_classify_profile, number).result, 0); }
    void given_line(u32 number, u32 line_no, const zelfdb_classify_line& line)
    {
        EXPECT_EQ(call(zelfdb_add_classify_action_to_profile, number, line_no, &line).result, 0);
    }
    Lines profiles() { return lines_of(zelfdb_reconfig_classify); }
    // Of a profile 1 with this line alone.
    std::string printed(const zelfdb_classify_line& line)
    {
        if (!known_classify(base(), header(), 1)) given_profile(1);
        EXPECT_EQ(call(zelfdb_rem_classify_all_from_profile, 1).result, 0);
        given_line(1, 1, line);
        const Lines lines = profiles();
        EXPECT_EQ(lines.size(), 2u);
        return lines.back();
    }
};

TEST_F(ReplayedProfiles, NoProfileNoLine) { EXPECT_EQ(profiles(), Lines{}); }

TEST_F(ReplayedProfiles, UntouchedProfilesAscendByNumber)
{
    for (const u32 number : {64u, 1u, 0xFFFFu, 30u, 65u}) given_profile(number);
    // No operation finds a profile beyond 64 again, so that no command names one.
    EXPECT_EQ(lines_that_are_no_commands(zelfdb_reconfig_classify),
              (Lines{"create clslist 1", "create clslist 30", "create clslist 64", "create clslist 65",
                     "create clslist 65535"}));
}

TEST_F(ReplayedProfiles, ALineWithoutAnyFieldIsExactlyThis)
{
    EXPECT_EQ(printed({}), "add classify 1/0/green normal - - - - - - - - - - to clslist 1 line 1 ");
}

TEST_F(ReplayedProfiles, ALineWithEveryFieldRangedAndMaskedIsExactlyThis)
{
    zelfdb_classify_line line{};
    line.mode = 2;
    line.stream_id = 255;
    line.class_id = 7;
    line.colour = 2;
    line.flags = 0x0F0001FF;
    line.dot1p = {3, 5, 7, 1};
    line.vlan = {10, 20, 0xFFF, 1};
    line.etype = {0x800, 0x86DD, 0xFF00, 1};
    line.tos = {16, 32, 0xFC, 1};
    line.proto = {6, 17, 0x1F, 1};
    line.src_ip = {0x0A000001, 0x0A000009, 0xFFFFFF00, 1};
    line.dst_ip = {0xC0A80001, 0xC0A8FFFE, 0xFFFF0000, 1};
    line.src_port = {1024, 65535, 0xFC00, 1};
    line.dst_port = {80, 443, 0xFFF, 1};
    line.ext[0] = {0x11, 0xFFFFFFFF};
    line.ext[1] = {0, 0};
    line.ext[2] = {0xDEADBEEF, 0xFF};
    line.ext[3] = {0xFFFFFFFF, 0x80000000};
    EXPECT_EQ(printed(line),
              "add classify 256/7/red dscp 192.168.0.1-192.168.255.254/16 10.0.0.1-10.0.0.9/24 16-32/fc 6-17/1f "
              "80-443/fff 1024-65535/fc00 10-20/fff 3-5/7 800-86dd/ff00 11,0/0,deadbeef/ff,ffffffff/80000000 "
              "to clslist 1 line 1 ");
}

TEST_F(ReplayedProfiles, TheStreamIsPrintedPlusOneAs16BitsAndTheClassAsItIsAs8)
{
    struct Row {
        u16 stream_id;
        u8 class_id;
        const char* head;
    };
    constexpr Row rows[] = {
        {0, 0, "1/0/green normal"},
        {0, 7, "1/7/green normal"},
        {1023, 127, "1024/127/green normal"},
        {0x7FFE, 128, "32767/-128/green normal"},
        {0x7FFF, 255, "-32768/-1/green normal"},
        {0xFFFF, 1, "0/1/green normal"},
    };
    for (const Row& row : rows) {
        zelfdb_classify_line line{};
        line.stream_id = row.stream_id;
        line.class_id = row.class_id;
        EXPECT_EQ(printed(line), line_text({.head = row.head}));
    }
}

TEST_F(ReplayedProfiles, AnyColourButYellowAndRedIsGreenAndAnyModeButTwoIsNormal)
{
    struct Row {
        u8 colour;
        u32 mode;
        const char* head;
    };
    constexpr Row rows[] = {
        {1, 0, "1/0/yellow normal"},    {2, 0, "1/0/red normal"},
        {3, 0, "1/0/green normal"},     {255, 0, "1/0/green normal"},
        {0, 1, "1/0/green dot1p"},      {0, 2, "1/0/green dscp"},
        {0, 3, "1/0/green normal"},     {1, 0xFFFFFFFF, "1/0/yellow normal"},
        {2, 0x10001, "1/0/red normal"},
    };
    for (const Row& row : rows) {
        zelfdb_classify_line line{};
        line.colour = row.colour;
        line.mode = row.mode;
        EXPECT_EQ(printed(line), line_text({.head = row.head}));
    }
}

// What a field that is absent holds in its record is not looked at.
TEST_F(ReplayedProfiles, EachFieldAloneHasItsPlaceAndTheOthersADash)
{
    zelfdb_classify_line full{};
    full.dot1p = {1, 9, 255, 0};
    full.vlan = {2, 9, 65535, 0};
    full.etype = {0x88A8, 9, 65535, 0};
    full.tos = {4, 9, 255, 0};
    full.proto = {253, 9, 254, 0};
    full.src_ip = {0x06060606, 9, 0xFFFFFFFF, 0};
    full.dst_ip = {0x07070707, 9, 0xFFFFFFFF, 0};
    full.src_port = {8, 9, 65535, 0};
    full.dst_port = {9, 9, 65535, 0};
    full.ext[2] = {0x10, 0xFFFFFFFF};
    struct Row {
        u32 flag;
        std::string Words::*where;
        const char* content;
    };
    const Row rows[] = {
        {0x40, &Words::dst_ip, "7.7.7.7"}, {0x20, &Words::src_ip, "6.6.6.6"}, {0x8, &Words::tos, "4"},
        {0x10, &Words::proto, "253/fe"},   {0x100, &Words::dst_port, "9"},    {0x80, &Words::src_port, "8"},
        {0x2, &Words::vlan, "2"},          {0x1, &Words::dot1p, "1"},         {0x4, &Words::etype, "88a8"},
        {0x4000000, &Words::ext, ",,10,"},
    };
    for (const Row& row : rows) {
        // The bits between the fields' and the extended fields' belong to nothing.
        for (const u32 others : {0u, 0x00FFFE00u}) {
            zelfdb_classify_line line = full;
            line.flags = row.flag | others;
            Words words;
            words.*row.where = row.content;
            EXPECT_EQ(printed(line), line_text(words)) << row.flag;
        }
    }
}

TEST_F(ReplayedProfiles, AnAddressHasItsRangeEndAndItsPrefixLength)
{
    struct Row {
        zelfdb_match32 field;
        const char* content;
    };
    constexpr Row rows[] = {
        {{0x01020304, 0, 0xFFFFFFFF, 0}, "1.2.3.4"},
        {{0x01020304, 0x05060708, 0xFFFFFFFF, 1}, "1.2.3.4-5.6.7.8"},
        {{0x01020304, 0x05060708, 0xFFFFFFFF, 0x80000000}, "1.2.3.4-5.6.7.8"},
        {{0x01020304, 0x05060708, 0xFFFFFFFE, 0}, "1.2.3.4/31"},
        {{0x80000000, 0xFFFFFFFF, 0x80000000, 1}, "128.0.0.0-255.255.255.255/1"},
        {{0, 0, 0, 0}, "0.0.0.0/0"},
        {{0x01020304, 0x05060708, 0, 1}, "1.2.3.4-5.6.7.8/0"},
        {{0x01020304, 0, 0x00FF0000, 0}, "1.2.3.4/16"},
    };
    for (const Row& row : rows) {
        zelfdb_classify_line line{};
        line.flags = 0x40 | 0x20;
        line.dst_ip = row.field;
        line.src_ip = row.field;
        EXPECT_EQ(printed(line), line_text({.dst_ip = row.content, .src_ip = row.content}));
    }
}

TEST_F(ReplayedProfiles, NumbersHaveTheirRangeEndAndTheirMaskInHexUnlessItIsAllOnes)
{
    struct Row {
        zelfdb_match8 byte;
        zelfdb_match16 half;
        const char* byte_text;
        const char* half_text;
        const char* hex_text;
    };
    constexpr Row rows[] = {
        {{200, 0, 255, 0}, {40000, 0, 65535, 0}, "200", "40000", "9c40"},
        {{200, 201, 255, 1}, {40000, 40001, 65535, 0x100}, "200-201", "40000-40001", "9c40-9c41"},
        {{200, 201, 254, 0}, {40000, 40001, 65534, 0}, "200/fe", "40000/fffe", "9c40/fffe"},
        {{200, 201, 0, 1}, {40000, 40001, 0, 1}, "200-201/0", "40000-40001/0", "9c40-9c41/0"},
        {{0, 255, 1, 1}, {0, 65535, 255, 1}, "0-255/1", "0-65535/ff", "0-ffff/ff"},
    };
    for (const Row& row : rows) {
        zelfdb_classify_line line{};
        line.flags = 0x1 | 0x2 | 0x4 | 0x8 | 0x80 | 0x100;
        line.dot1p = line.tos = row.byte;
        line.vlan = line.etype = line.src_port = line.dst_port = row.half;
        EXPECT_EQ(printed(line), line_text({.tos = row.byte_text,
                                            .dst_port = row.half_text,
                                            .src_port = row.half_text,
                                            .vlan = row.half_text,
                                            .dot1p = row.byte_text,
                                            .etype = row.hex_text}));
    }
}

TEST_F(ReplayedProfiles, AProtocolEverybodyKnowsIsPrintedByItsName)
{
    zelfdb_classify_line line{};
    line.flags = 0x10;
    line.proto = {6, 0, 255, 0};
    EXPECT_EQ(printed(line), line_text({.proto = "tcp"}));
}

TEST_F(ReplayedProfiles, AProtocolAloneIsPrintedByItsNameIfTheSystemKnowsOne)
{
    u32 unknown = 0;
    for (u32 protocol = 0; protocol <= 255; ++protocol) {
        const protoent* const known = getprotobynumber(static_cast<int>(protocol));
        const std::string expected = known ? known->p_name : std::to_string(protocol);
        unknown += known == nullptr;
        zelfdb_classify_line line{};
        line.flags = 0x10;
        line.proto = {static_cast<u8>(protocol), 99, 255, 0};
        EXPECT_EQ(printed(line), line_text({.proto = expected}));
    }
    // 253 and 254 are kept for experiments, so that the numbers without a name are among those seen.
    EXPECT_GE(unknown, 2u);
}

TEST_F(ReplayedProfiles, AProtocolWithARangeOrAMaskIsANumber)
{
    struct Row {
        zelfdb_match8 field;
        const char* content;
    };
    constexpr Row rows[] = {
        {{6, 0, 254, 0}, "6/fe"}, {{6, 17, 255, 1}, "6-17"}, {{6, 6, 255, 1}, "6-6"}, {{6, 17, 0, 1}, "6-17/0"}};
    for (const Row& row : rows) {
        zelfdb_classify_line line{};
        line.flags = 0x10;
        line.proto = row.field;
        EXPECT_EQ(printed(line), line_text({.proto = row.content}));
    }
}

TEST_F(ReplayedProfiles, ExtendedFieldsHaveThreeCommasAsSoonAsAFlagFromTheirFirstUpwardsIsSet)
{
    struct Row {
        u32 flags;
        const char* content;
    };
    constexpr Row rows[] = {
        {0x00FFFE00, "-"},
        {0x01000000, "a,,,"},
        {0x02000000, ",b/f,,"},
        {0x04000000, ",,c/0,"},
        {0x08000000, ",,,ffffffff"},
        {0x09000000, "a,,,ffffffff"},
        {0x0F000000, "a,b/f,c/0,ffffffff"},
        {0x10000000, ",,,"},
        {0x80000000, ",,,"},
        {0x42000000, ",b/f,,"},
    };
    for (const Row& row : rows) {
        zelfdb_classify_line line{};
        line.flags = row.flags;
        line.ext[0] = {0xA, 0xFFFFFFFF};
        line.ext[1] = {0xB, 0xF};
        line.ext[2] = {0xC, 0};
        line.ext[3] = {0xFFFFFFFF, 0xFFFFFFFF};
        EXPECT_EQ(printed(line), line_text({.ext = row.content})) << row.flags;
    }
}

class ReplayedBindings : public ReplayedProfiles {
protected:
    void SetUp() override
    {
        ReplayTest::SetUp();
        given_vlan(10, "ten");
        given_vlan(20, "twenty");
        for (const u32 port_id : {1u, 2u, 101u}) given_port(port_id);
        given_member(10, 1);
        given_member(10, 101, true);
        given_member(20, 2);
        given_member(20, 101, true);
        given_profile(5);
    }
    void bind(u32 number, u32 port_id, u32 vid, const u32 (&words)[4])
    {
        EXPECT_EQ(call(zelfdb_add_classify_profile_to_pv, number, port_id, vid, words).result, 0);
    }
};

TEST_F(ReplayedBindings, TheBindingWordsArePrintedByTheirKinds)
{
    struct Row {
        u32 words[4];
        const char* text;
    };
    constexpr Row rows[] = {
        {{0, 0, 0, 0}, ""},
        {{0x00050000, 0xFFFF0000, 0, 0}, ""},
        {{0x00050001, 0, 0, 0}, " 5/1,,,"},
        {{0, 0x00060002, 0, 0}, " ,6/2,,"},
        {{0, 0, 0x00070004, 0}, " ,,7,"},
        {{0, 0, 0, 0x00080004}, " ,,,8"},
        {{0x00030001, 0x00040002, 0x00050004, 0x00060001}, " 3/1,4/2,5,6/1"},
        {{0x00030003, 0, 0, 0}, " ,,,"},
        {{0x00030005, 0x0003FFFF, 0x00040008, 0}, " ,,,"},
        {{0xFFFF0001, 0xFFFF0002, 0xFFFF0004, 0xFFFF0000}, " 65535/1,65535/2,65535,"},
    };
    for (const Row& row : rows) {
        bind(5, 1, 10, row.words);
        EXPECT_EQ(profiles(), (Lines{"create clslist 5", std::string("add clslist 5 to port 1 vlan ten") + row.text}));
        EXPECT_EQ(call(zelfdb_rem_classify_profile_from_pv, 1, 10).result, 0);
    }
}

TEST_F(ReplayedBindings, BindingsFollowTheLinesOfTheirProfileInTheOrderOfItsList)
{
    given_profile(2);
    bind(5, 101, 20, {0, 0, 0, 0});
    bind(5, 1, 10, {0x00030001, 0, 0, 0});
    bind(2, 2, 20, {0, 0, 0, 0});
    bind(5, 101, 10, {0, 0, 0, 0});
    zelfdb_classify_line line{};
    given_line(5, 1, line);
    line.stream_id = 1;
    given_line(5, 1, line);
    EXPECT_EQ(profiles(),
              (Lines{"create clslist 2", "add clslist 2 to port 2 vlan twenty", "create clslist 5",
                     line_text({.head = "2/0/green normal"}, 5, 1), line_text({.head = "1/0/green normal"}, 5, 2),
                     "add clslist 5 to port 1 vlan ten 3/1,,,", "add clslist 5 to port 101 vlan ten",
                     "add clslist 5 to port 101 vlan twenty"}));
}

TEST_F(ReplayedBindings, ABindingWhoseVLANIsGoneIsLeftOut)
{
    bind(5, 1, 10, {0x00030001, 0, 0, 0});
    bind(5, 2, 20, {0, 0, 0, 0});
    deQ_vlan(base(), header(), *vlan(10));
    unindex_vlan(header(), *vlan(10));
    EXPECT_EQ(profiles(), (Lines{"create clslist 5", "add clslist 5 to port 2 vlan twenty"}));
    expect_damage();
}

}  // namespace
}  // namespace zelfdb
