// Policing, CoS map, bandwidth mode, default class: stored, and handed to the NP.
#include <climits>

#include "support/exported.h"

namespace zelfdb {
namespace {

class PortSettings : public Exported {
protected:
    void SetUp() override
    {
        Exported::SetUp();
        port_ = &given_port(105, ZELFDB_PORT_ETHER, 1);  // 15 to the NP
        given_port(50);                                  // none to the NP
    }
    Port& port() { return *port_; }

private:
    Port* port_ = nullptr;
};

constexpr u32 unlike_words[8] = {7, 0, 0xFFFFFFFF, 3, 4, 5, 6, 0x80000000};

TEST_F(PortSettings, PolicingIsStoredInTheRowOfItsClass)
{
    for (i32 class_no = 0; class_no <= 7; ++class_no) {
        SCOPED_TRACE(class_no);
        Expected after = now();
        after.of(port()).policing[class_no] = {2, {0, 0, 0}, 0xFFFFFFFF, 8000};
        const std::string command = "set_class_policing(0xf, " + std::to_string(class_no) + ", 0xffffffff, 0x1f40, 2)";
        EXPECT_EQ(call(zelfdb_set_port_class_policing, 105, class_no, 0xFFFFFFFFu, 8000, 2), done({command}));
        EXPECT_TRUE(after.is_now());
    }
}

// The NP is told what the row holds.
TEST_F(PortSettings, APolicingColourIsAByteInTheRowAndInTheCommand)
{
    const struct {
        i32 color;
        u8 stored;
        const char* command;
    } rows[] = {{0x1FE, 0xFE, "set_class_policing(0xf, 3, 1, 2, 0xfe)"},
                {-1, 0xFF, "set_class_policing(0xf, 3, 1, 2, 0xff)"},
                {255, 0xFF, "set_class_policing(0xf, 3, 1, 2, 0xff)"},
                {256, 0, "set_class_policing(0xf, 3, 1, 2, 0)"}};
    for (const auto& row : rows) {
        EXPECT_EQ(call(zelfdb_set_port_class_policing, 105, 3, 1, 2, row.color), done({row.command})) << row.color;
        EXPECT_EQ(port().policing[3].color, row.stored) << row.color;
    }
}

TEST_F(PortSettings, APolicingClassAboveSevenIsRefused)
{
    for (const i32 class_no : {8, 9, 255, INT_MAX}) {
        EXPECT_TRUE(refuses(2203, zelfdb_set_port_class_policing, 105, class_no, 1, 2, 0)) << class_no;
    }
}

// The class is only compared with 7, signed. A negative one has no row: nothing is stored, but the NP is told.
TEST_F(PortSettings, ANegativePolicingClassIsSentAndStoredNowhere)
{
    for (const i32 class_no : {-1, -6, -7, INT_MIN}) {
        SCOPED_TRACE(class_no);
        const Expected unchanged = now();
        char command[64];
        std::snprintf(command, sizeof command, "set_class_policing(0xf, 0x%x, 1, 2, 0)",
                      static_cast<unsigned>(class_no));
        EXPECT_EQ(call(zelfdb_set_port_class_policing, 105, class_no, 1, 2, 0), done({command}));
        EXPECT_TRUE(unchanged.is_now());
    }
}

TEST_F(PortSettings, AnUnknownPortComesBeforeTheClass)
{
    EXPECT_TRUE(refuses(102, zelfdb_set_port_class_policing, 106, 8, 1, 2, 0));
    EXPECT_TRUE(refuses(102, zelfdb_set_port_class_policing, 0, 8, 1, 2, 0));
    EXPECT_TRUE(refuses(102, zelfdb_set_port_class_policing, 106, -1, 1, 2, 0));
}

TEST_F(PortSettings, TheCosMapIsStoredAndSentWhole)
{
    Expected after = now();
    std::memcpy(after.of(port()).cosmap, unlike_words, sizeof unlike_words);
    after.of(port()).valbit = 0xFFFFFF05;
    EXPECT_EQ(call(zelfdb_set_port_cosmap, 105, 0xFFFFFF05u, unlike_words),
              done({"set_cosmap(0xf, 0xffffff05, [7 0 0xffffffff 3 4 5 6 0x80000000])"}));
    EXPECT_TRUE(after.is_now());
}

TEST_F(PortSettings, TheBandwidthModeIsStoredAndSent)
{
    Expected after = now();
    after.of(port()).bw_calc_mode = 0xFFFFFFFF;
    EXPECT_EQ(call(zelfdb_set_port_bandwidth_calc_mode, 105, 0xFFFFFFFFu),
              done({"set_bandwidth_calc_mode(0xf, 0xffffffff)"}));
    EXPECT_TRUE(after.is_now());
}

TEST_F(PortSettings, TheDefaultClassIsStoredAndSent)
{
    Expected after = now();
    after.of(port()).def_spno = 255;
    after.of(port()).def_pri = 7;
    after.of(port()).def_color = 0xFFFFFFFF;
    EXPECT_EQ(call(zelfdb_set_default_class, 105, 255, 7, 0xFFFFFFFFu),
              done({"set_def_class(0xf, 0xff, 7, 0xffffffff)"}));
    EXPECT_TRUE(after.is_now());
}

TEST_F(PortSettings, APortThatTheNPDoesNotNumberIsSentAllTheSame)
{
    EXPECT_EQ(call(zelfdb_set_port_class_policing, 50, 0, 1, 2, 0),
              done({"set_class_policing(0xffffffff, 0, 1, 2, 0)"}));
    EXPECT_EQ(call(zelfdb_set_port_bandwidth_calc_mode, 50, 1), done({"set_bandwidth_calc_mode(0xffffffff, 1)"}));
    EXPECT_EQ(call(zelfdb_set_default_class, 50, 1, 2, 3), done({"set_def_class(0xffffffff, 1, 2, 3)"}));
    EXPECT_EQ(call(zelfdb_set_port_cosmap, 50, 0, unlike_words).commands.size(), 1u);
}

}  // namespace
}  // namespace zelfdb
