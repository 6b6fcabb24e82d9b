// VLANs by name and by VID, the ports of a VLAN, the VLANs of a port.
#include <climits>

#include "support/exported.h"

namespace zelfdb {
namespace {

class VlanLookup : public ExportedPair {
protected:
    VlanLookup() : ExportedPair(12, 6, 8) {}
};
FOR_BOTH_FORMS(VlanLookup);

TEST_P(VlanLookup, AVidIsFoundByTheExactName)
{
    given_vlan(10, "sales");
    given_vlan(4094, "lab");
    given_vlan(7, "");
    const struct {
        const char* name;
        u32 vid;
    } rows[] = {{"sales", 10}, {"lab", 4094}, {"", 7}};
    const Expected unchanged = now();
    for (const auto& row : rows) {
        u32 vid = 0xFFFFFFFF;
        EXPECT_EQ(call_pair(zelfdb_get_vid, zelfdb_get_vid2, row.name, &vid), done());
        EXPECT_EQ(vid, row.vid);
    }
    EXPECT_TRUE(unchanged.is_now());
    for (const char* const name : {"Sales", "sale", "sales ", "selas", "bal", "x"}) {
        u32 vid = 7;
        EXPECT_TRUE(pair_refuses(103, zelfdb_get_vid, zelfdb_get_vid2, name, &vid)) << name;
        EXPECT_EQ(vid, 7u);
    }
}

TEST_P(VlanLookup, ANameIsCopiedWithItsEndAndNoMore)
{
    const std::string longest(30, 'n');
    given_vlan(10, "ab");
    given_vlan(20, longest);
    char name[40];
    for (const u32 vid : {10u, 0xFFFF000Au}) {
        std::memset(name, 'Z', sizeof name);
        EXPECT_EQ(call_pair(zelfdb_get_vlanname, zelfdb_get_vlanname2, vid, &name[0]), done());
        EXPECT_STREQ(name, "ab");
        for (std::size_t i = 31; i < sizeof name; ++i) EXPECT_EQ(name[i], 'Z');
    }
    std::memset(name, 'Z', sizeof name);
    EXPECT_EQ(call_pair(zelfdb_get_vlanname, zelfdb_get_vlanname2, 20, &name[0]), done());
    EXPECT_EQ(name, longest);
    EXPECT_EQ(name[31], 'Z');

    std::memset(name, 'Z', sizeof name);
    for (const u32 vid : {0u, 11u, 4095u, 8192u, 0xFFFFu, 0x10000u}) {
        EXPECT_TRUE(pair_refuses(103, zelfdb_get_vlanname, zelfdb_get_vlanname2, vid, &name[0])) << vid;
    }
    EXPECT_EQ(name[0], 'Z');
}

TEST_P(VlanLookup, ThePortsOfAVlanAreWrittenUpToTheMaximumAndAllCounted)
{
    given_vlan(10, "ten");
    for (const u32 id : {7u, 101u, 1u}) {
        given_port(id);
        given_member(10, id, id == 7);
    }
    const u32 all[] = {1, 7, 101};
    const Expected unchanged = now();
    for (const i32 max : {1, 2, 3, 4, INT_MAX}) {
        SCOPED_TRACE(max);
        u32 ports[5] = {0xA5, 0xA5, 0xA5, 0xA5, 0xA5};
        EXPECT_EQ(call_pair(zelfdb_get_portID_from_vid, zelfdb_get_portID_from_vid2, max, 0x5000A, &ports[0]),
                  (Outcome{3, untouched, {}}));
        for (i32 i = 0; i < 5; ++i) EXPECT_EQ(ports[i], i < 3 && i < max ? all[i] : 0xA5u) << i;
    }
    EXPECT_TRUE(unchanged.is_now());
}

TEST_P(VlanLookup, AVlanThatDoesNotExistComesBeforeOneWithoutMembers)
{
    given_vlan(10, "ten");
    u32 ports[1] = {0xA5};
    EXPECT_TRUE(pair_refuses(103, zelfdb_get_portID_from_vid, zelfdb_get_portID_from_vid2, 1, 11, &ports[0]));
    EXPECT_TRUE(pair_refuses(103, zelfdb_get_portID_from_vid, zelfdb_get_portID_from_vid2, 1, 0, &ports[0]));
    EXPECT_TRUE(pair_refuses(1701, zelfdb_get_portID_from_vid, zelfdb_get_portID_from_vid2, 1, 10, &ports[0]));
    EXPECT_EQ(ports[0], 0xA5u);
}

// The one that opens a descriptor says 1 for it, before it opens any; the others leave the word alone. Neither looks at the VLAN.
TEST_P(VlanLookup, AMaximumBelowOneFailsAtOnce)
{
    given_port(1);
    given_vlan(10, "ten");
    given_member(10, 1);
    const Expected unchanged = now();
    for (const i32 max : {0, -1, INT_MIN}) {
        for (const u32 vid : {10u, 11u}) {
            u32 out[1] = {0xA5};
            u32 err = untouched;
            lock_moves();
            const u32 opened = recorder::init_calls();
            if (GetParam() == Form::own) {
                EXPECT_EQ(zelfdb_get_portID_from_vid(max, vid, out, &err), -1);
                EXPECT_EQ(err, 1u);
            } else {
                EXPECT_EQ(zelfdb_get_portID_from_vid2(&d(), max, vid, out, &err), -1);
                EXPECT_EQ(err, untouched);
                EXPECT_EQ(zelfdb_get_vid_from_portID2(&d(), max, vid, out, &err), -1);
                EXPECT_EQ(err, untouched);
            }
            EXPECT_EQ(out[0], 0xA5u);
            EXPECT_EQ(recorder::init_calls(), opened);
            EXPECT_EQ(lock_moves(), "");
        }
    }
    EXPECT_TRUE(unchanged.is_now());
}

class VlansOfPort : public Exported {};

// The forms on the caller's descriptor are content with one that has no NP.
TEST_F(VlansOfPort, AndEveryOtherLookUpNeedNoNP)
{
    given_port(3);
    given_vlan(10, "ten");
    given_member(10, 3);
    Descriptor* const without_NP = zelfdb_open_descriptor2();
    ASSERT_NE(without_NP, nullptr);
    const Expected unchanged = now();
    u32 out = 0;
    EXPECT_EQ(call(zelfdb_get_vid2, without_NP, "ten", &out), done());
    EXPECT_EQ(out, 10u);
    char name[31];
    EXPECT_EQ(call(zelfdb_get_vlanname2, without_NP, 10, &name[0]), done());
    EXPECT_STREQ(name, "ten");
    EXPECT_EQ(call(zelfdb_get_portID_from_vid2, without_NP, 1, 10, &out), (Outcome{1, untouched, {}}));
    EXPECT_EQ(out, 3u);
    EXPECT_EQ(call(zelfdb_get_vid_from_portID2, without_NP, 1, 3, &out), (Outcome{1, untouched, {}}));
    EXPECT_EQ(out, 10u);
    EXPECT_EQ(recorder::calls_with_null_handle(), 0u);
    EXPECT_TRUE(unchanged.is_now());
    zelfdb_close_descriptor(without_NP);
}

TEST_F(VlansOfPort, AreWrittenUpToTheMaximumAndAllCounted)
{
    given_port(3);
    for (const u16 vid : {u16{4094}, u16{20}, u16{10}}) {
        given_vlan(vid, "v" + std::to_string(vid));
        given_member(vid, 3, vid != 10);
    }
    const u32 all[] = {10, 20, 4094};
    const Expected unchanged = now();
    for (const i32 max : {1, 2, 3, 4, INT_MAX}) {
        SCOPED_TRACE(max);
        u32 vids[5] = {0xA5, 0xA5, 0xA5, 0xA5, 0xA5};
        EXPECT_EQ(call(zelfdb_get_vid_from_portID2, &d(), max, 3, &vids[0]), (Outcome{3, untouched, {}}));
        for (i32 i = 0; i < 5; ++i) EXPECT_EQ(vids[i], i < 3 && i < max ? all[i] : 0xA5u) << i;
    }
    EXPECT_TRUE(unchanged.is_now());
}

TEST_F(VlansOfPort, APortThatDoesNotExistComesBeforeOneWithoutMemberships)
{
    given_port(3);
    u32 vids[1] = {0xA5};
    for (const u32 id : {0u, 4u, 200u, 0xFFFFFFFFu}) {
        EXPECT_TRUE(refuses(102, zelfdb_get_vid_from_portID2, &d(), 1, id, &vids[0])) << id;
    }
    EXPECT_TRUE(refuses(1701, zelfdb_get_vid_from_portID2, &d(), 1, 3, &vids[0]));
    EXPECT_EQ(vids[0], 0xA5u);
}

}  // namespace
}  // namespace zelfdb
