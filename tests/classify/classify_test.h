// What the tests of classification share: ports, VLANs and memberships to bind to, lines that are told apart by their
// bytes, and blocks of bytes as the recording NP writes them.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "support/frame_rows.h"

namespace zelfdb {

// No byte is left 0 by chance, and no two numbers give the same line.
inline zelfdb_classify_line numbered_line(u32 number)
{
    zelfdb_classify_line line;
    u8 bytes[sizeof line];
    for (u32 i = 0; i < sizeof bytes; ++i) bytes[i] = static_cast<u8>(number * 7 + i * 13 + 1);
    std::memcpy(&line, bytes, sizeof line);
    line.mode = number;
    return line;
}

inline std::string digits(const void* bytes, std::size_t count)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        char two[3];
        std::snprintf(two, sizeof two, "%02x", unsigned{static_cast<const u8*>(bytes)[i]});
        text += two;
    }
    return text;
}

inline std::string number_in_log(u32 number)
{
    char text[16];
    std::snprintf(text, sizeof text, number <= 9 ? "%u" : "0x%x", number);
    return text;
}

inline std::string add_line_command(u32 profile, u32 line_no, const zelfdb_classify_line& line)
{
    return "add_classify_act(" + number_in_log(profile) + ", " + number_in_log(line_no) + ", " +
           digits(&line, sizeof line) + ")";
}
inline std::string remove_line_command(u32 profile, u32 line_no)
{
    return "rem_classify_act(" + number_in_log(profile) + ", " + number_in_log(line_no) + ")";
}

// VLAN 10 has ports 1, 3 and 101 (tagged), VLAN 20 has ports 2 and 101 (tagged). Ports 5 and 6 are in none.
class ProfileTest : public FrameTest {
protected:
    static constexpr u32 words[4] = {0x00030001, 0x00040002, 0x00050004, 0x00060000};

    ProfileTest() : FrameTest(10, 3, 8) {}
    void SetUp() override
    {
        FrameTest::SetUp();
        given_port(1, ZELFDB_PORT_ETHER, 1);
        given_port(2, ZELFDB_PORT_VIF);
        given_port(3);
        given_port(5);
        given_port(6);
        given_port(101, ZELFDB_PORT_ETHER, 2);
        given_vlan(10, "ten");
        given_vlan(20, "twenty");
        given_member(10, 1);
        given_member(10, 3);
        given_member(10, 101, true);
        given_member(20, 2);
        given_member(20, 101, true);
    }

    Classify& given_profile(u32 number)
    {
        EXPECT_EQ(call(zelfdb_create_classify_profile, number), done());
        return *profile(number);
    }
    void given_line(u32 number, u32 line_no, u32 line_number)
    {
        const zelfdb_classify_line line = numbered_line(line_number);
        u32 err = untouched;
        EXPECT_EQ(0, zelfdb_add_classify_action_to_profile(number, line_no, &line, &err)) << "code " << err;
        recorder::log().clear();
    }
    void given_lines(u32 number, u32 count)
    {
        for (u32 i = 1; i <= count; ++i) given_line(number, 0, i);
    }
    void given_binding(u32 number, u32 port_id, u32 vid)
    {
        EXPECT_EQ(call(zelfdb_add_classify_profile_to_pv, number, port_id, vid, words).result, 0);
    }

    [[nodiscard]] Classify* profile(u32 number) const { return known_classify(base(), header(), number); }

    // The numbers of a profile's lines, in order; the test fails if their positions are not 1, 2, 3, ...
    [[nodiscard]] std::vector<u32> lines_of(u32 number) const
    {
        std::vector<u32> all;
        for (const Action& action : actions_of(base(), *profile(number))) {
            all.push_back(action.line.mode);
            EXPECT_EQ(action.position, all.size());
        }
        EXPECT_EQ(profile(number)->naction, all.size());
        return all;
    }
    // The VID and port of each membership that a profile is bound to, in order.
    [[nodiscard]] std::vector<std::pair<u32, u32>> bindings_of(u32 number) const
    {
        std::vector<std::pair<u32, u32>> all;
        for (const Pv& pv : walk(pvs_of_classify, base(), *profile(number))) all.emplace_back(pv.VID, pv.port_id);
        return all;
    }
};

}  // namespace zelfdb
