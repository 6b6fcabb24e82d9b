// The printed dump of a VLAN, letter for letter.
#include "support/exported.h"

namespace zelfdb {
namespace {

class DisplayVlan : public Exported {
protected:
    std::string printed(u32 vid)
    {
        const Expected unchanged = now();
        testing::internal::CaptureStdout();
        EXPECT_EQ(call(zelfdb_display_vlan_data, vid), done());
        std::string text = testing::internal::GetCapturedStdout();
        EXPECT_TRUE(unchanged.is_now());
        return text;
    }
    [[nodiscard]] std::string owner(u32 vid) const
    {
        char text[9];
        std::snprintf(text, sizeof text, "%08x", offset_of(base(), vlan(vid)->fdb).value);
        return text;
    }
};

constexpr const char* untouched_vlan = R"(VLAN information
VID       : 300
vlan_flag : 0
sld_lastMsgTick: 0
sld_msgcnt; 0
npv       : 0
upv       : 0
FID       : 12c
nfil      : 0
nfil_d    ; 0
nfil_sys  : 0
nfil_usr  : 0
learnlimit: 0
mac                fil_flag  fil_type  fil_permit  lastValidate offset   port
)";

TEST_F(DisplayVlan, WithoutMembersAndEntries)
{
    given_vlan(300, "sales");
    EXPECT_EQ(printed(300), untouched_vlan);
    EXPECT_EQ(printed(0xFFFF0000u | 300), untouched_vlan);
}

// By bucket, the sum of an address's bytes; in a bucket learned entries stand before older ones, static ones behind.
TEST_F(DisplayVlan, WithMembersAndEntriesOfBothTypes)
{
    given_port(101, ZELFDB_PORT_ETHER, 1);
    given_port(2);
    given_port(3);
    given_group(7, {0x0800});
    Vlan& vlan = given_vlan(300, "sales");
    given_member(300, 101, true);
    given_member(300, 3);
    given_protocol_member(300, 2, 7);
    vlan.vlan_flag = 0xE;
    vlan.sld_lastMsgTick = 0xFEDCBA98;
    vlan.sld_msgcnt = 0x80000000;
    vlan.fdb.learnlimit = 0xFFFFFFFF;
    given_static(300, mac(0x0123456789ab), 101, 0xFFFFFF00, 77);  // bucket 4
    given_static(300, mac(0x000000000002), 4000, ZELFDB_FIL_FLAG_NO_PORT, ZELFDB_FIL_SYSTEM);
    given_learned(300, mac(0x020000000000), 3, 0x12345678, 99);
    given_learned(300, mac(0x000100000001), 0xFFFFFFFF, 5, 99);
    EXPECT_EQ(printed(300), R"(VLAN information
VID       : 300
vlan_flag : e
sld_lastMsgTick: fedcba98
sld_msgcnt; -2147483648
npv       : 3
upv       : 2
PV:portID:  2
  :pv_flag; 2
PV:portID:  3
  :pv_flag; 0
PV:portID:  101
  :pv_flag; 1
FID       : 12c
nfil      : 4
nfil_d    ; 2
nfil_sys  : 1
nfil_usr  : 3
learnlimit: -1
mac                fil_flag  fil_type  fil_permit  lastValidate offset   port
00:01:00:00:00:01  00000000  DYNAMIC   00000000    00000005     )" +
                                owner(300) + R"( -1
02:00:00:00:00:00  00000000  DYNAMIC   00000000    12345678     )" +
                                owner(300) + R"( 3
00:00:00:00:00:02  00000004  STATIC    00000001    00000000     )" +
                                owner(300) + R"( 4000
01:23:45:67:89:ab  ffffff00  STATIC    0000004d    00000000     )" +
                                owner(300) + R"( 101
)");
    vlan.sld_lastMsgTick = vlan.sld_msgcnt = 0;
}

// Local ones too: the column of the permit follows that of the flags.
TEST_F(DisplayVlan, LabelsTwoTypesOfEntry)
{
    given_vlan(300, "sales");
    Fil& entry = given_learned(300, mac(0x0123456789ab), 7, 0xFEDCBA98, 99);
    const Expected healthy = now();
    entry.fil_flag = 0x12345678;
    entry.fil_permit = 0x9abcdef0;
    std::string head = untouched_vlan;
    const auto count = [&head](const char* field) { head.replace(head.find(field) + std::strlen(field), 1, "1"); };
    count("nfil      : ");
    count("nfil_d    ; ");
    count("nfil_usr  : ");
    const struct {
        u32 type;
        const char* label;
    } rows[] = {{2, "STATIC   "}, {3, "DYNAMIC  "}, {1, ""}, {0, ""}, {4, ""}, {0xFFFFFFFF, ""}};
    for (const auto& row : rows) {
        entry.fil_type = row.type;
        EXPECT_EQ(printed(300), head + "01:23:45:67:89:ab  12345678  " + row.label + " 9abcdef0    fedcba98     " +
                                    owner(300) + " 7\n");
    }
    healthy.restore();
}

TEST_F(DisplayVlan, OfAnUnknownVlanPrintsNothing)
{
    given_vlan(300, "sales");
    for (const u32 vid : {0u, 301u, 4095u, 8192u, 0x10000u}) {
        testing::internal::CaptureStdout();
        EXPECT_TRUE(refuses(103, zelfdb_display_vlan_data, vid)) << vid;
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    }
}

}  // namespace
}  // namespace zelfdb
