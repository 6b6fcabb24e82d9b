// Link-local control frames, held by a LOCAL entry of the port or released.
#include <climits>

#include "support/exported.h"

namespace zelfdb {
namespace {

constexpr i32 hold = 0;
constexpr i32 release = 1;

class LinkFrames : public Exported {
protected:
    LinkFrames() : Exported(4, 2, 40) {}
    void SetUp() override
    {
        Exported::SetUp();
        port_ = &given_port(2);
    }
    Port& port() { return *port_; }
    static Mac group(u32 n) { return mac(0x0180C2000000 + (n & 0xFF)); }
    [[nodiscard]] Fil* held(u32 n) { return fil(port().fdb, group(n)); }
    static std::string added(u32 n)
    {
        char text[96];
        std::snprintf(text, sizeof text, "addFDB(4, 1, 0xc002, 01:80:c2:00:00:%02x, 0, ", n & 0xFF);
        return text;
    }

private:
    Port* port_ = nullptr;
};

TEST_F(LinkFrames, HoldingAddsASystemEntryBoundToNoPortAndClearsTheBit)
{
    port().link_frames_fwd = 0xFFFFFFFF;
    Expected after = now();
    Header& h = after.header();
    Port& expected = after.of(port());
    Fil& entry = *alloc_fil(after.fdb(), h);
    const Offset at = offset_of(after.fdb(), entry);
    const Link link = entry.link;
    entry = {};
    entry.link = link;
    entry.offset = offset_of(after.base(), expected.fdb);
    entry.fil_flag = 4;
    entry.fil_type = 1;
    entry.fil_permit = 1;
    entry.mac = group(3);
    hAdd_fil_by_mac_tail(after.fdb(), h, expected.fdb, entry);
    ++expected.fdb.nfil;
    ++expected.fdb.nfil_sys;
    ++h.nfil_sys_all;
    expected.link_frames_fwd = 0xFFFFFFF7;

    char command[96];
    std::snprintf(command, sizeof command, "addFDB(4, 1, 0xc002, 01:80:c2:00:00:03, 0xffff, 0x%x, 0, 0xffff)",
                  at.value);
    EXPECT_EQ(call(zelfdb_set_port_link_frames, 2, 3, hold), done({command}));
    EXPECT_TRUE(after.is_now());
}

TEST_F(LinkFrames, ReleasingRemovesTheEntryAndSetsTheBit)
{
    const Expected before = now();
    EXPECT_EQ(call(zelfdb_set_port_link_frames, 2, 3, hold).result, 0);
    EXPECT_EQ(call(zelfdb_set_port_link_frames, 2, 3, release), done({"removeFDB(0xc002, 01:80:c2:00:00:03)"}));
    EXPECT_EQ(held(3), nullptr);
    EXPECT_EQ(port().link_frames_fwd, 0x8u);
    EXPECT_EQ(port().fdb.nfil | port().fdb.nfil_sys | header().nfil_sys_all, 0u);
}

TEST_F(LinkFrames, DoingTheSameTwiceSucceeds)
{
    EXPECT_EQ(call(zelfdb_set_port_link_frames, 2, 0, hold).result, 0);
    Expected unchanged = now();
    EXPECT_EQ(call(zelfdb_set_port_link_frames, 2, 0, hold), done());
    EXPECT_TRUE(unchanged.is_now());

    EXPECT_EQ(call(zelfdb_set_port_link_frames, 2, 0, release).result, 0);
    Expected released = now();
    EXPECT_EQ(call(zelfdb_set_port_link_frames, 2, 0, release), done());
    EXPECT_TRUE(released.is_now());
}

TEST_F(LinkFrames, AUserEntryOfThatAddressCountsAsHeldAndIsNotReplaced)
{
    port().link_frames_fwd = 0x10;
    const Fil& user = given_local(2, group(4));
    EXPECT_EQ(call(zelfdb_set_port_link_frames, 2, 4, hold), done());
    EXPECT_EQ(user.fil_permit, 0u);
    EXPECT_EQ(port().link_frames_fwd, 0u);
}

TEST_F(LinkFrames, ABitForEachOfThirtyTwoFrames)
{
    for (u32 n = 0; n < 32; ++n) {
        port().link_frames_fwd = 0;
        EXPECT_EQ(call(zelfdb_set_port_link_frames, 2, n, release), done()) << n;
        EXPECT_EQ(port().link_frames_fwd, u32{1} << n);
        port().link_frames_fwd = 0xFFFFFFFF;
        EXPECT_EQ(call(zelfdb_set_port_link_frames, 2, n, hold).result, 0) << n;
        EXPECT_EQ(port().link_frames_fwd, ~(u32{1} << n));
        ASSERT_NE(held(n), nullptr) << n;
    }
}

// The bitmap ends at 31; the address takes the low byte of the number.
TEST_F(LinkFrames, FramesBeyondTheBitmapAreHeldAndReleasedWithoutABit)
{
    for (const u32 n : {32u, 33u, 63u, 255u, 256u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(n);
        port().link_frames_fwd = 0xA5A5A5A5;
        const Outcome outcome = call(zelfdb_set_port_link_frames, 2, n, hold);
        ASSERT_EQ(outcome.commands.size(), 1u);
        EXPECT_NE(held(n), nullptr);
        EXPECT_EQ(call(zelfdb_set_port_link_frames, 2, n, release).commands.size(), 1u);
        EXPECT_EQ(held(n), nullptr);
        EXPECT_EQ(port().link_frames_fwd, 0xA5A5A5A5u);
    }
}

TEST_F(LinkFrames, AnUnknownPortComesBeforeAnUnknownAction)
{
    for (const i32 action : {2, -1, INT_MAX, INT_MIN}) {
        EXPECT_TRUE(refuses(1, zelfdb_set_port_link_frames, 2, 0, action)) << action;
        EXPECT_TRUE(refuses(102, zelfdb_set_port_link_frames, 1, 0, action)) << action;
    }
    for (const u32 id : {0u, 1u, 200u}) {
        EXPECT_TRUE(refuses(102, zelfdb_set_port_link_frames, id, 0, hold));
        EXPECT_TRUE(refuses(102, zelfdb_set_port_link_frames, id, 0, release));
    }
}

TEST_F(LinkFrames, TheLimitOnUserEntriesDoesNotApply)
{
    given_local(2, mac(0x99));
    header().fdb_userarea = 1;
    EXPECT_EQ(call(zelfdb_set_port_link_frames, 2, 3, hold).result, 0);
}

TEST_F(LinkFrames, AnEmptyPoolMakesRoomByOneLearnedEntryOrFails)
{
    given_vlan(10, "ten");
    u64 next = 1;
    given_learned(10, mac(next++), 2);
    while (next <= 40 && header().fil_free != none) given_local(2, mac(next++));
    const Outcome outcome = call(zelfdb_set_port_link_frames, 2, 3, hold);
    EXPECT_EQ(outcome.result, 0);
    ASSERT_EQ(outcome.commands.size(), 2u);
    EXPECT_EQ(outcome.commands[0], "removeFDB(0xa, 00:00:00:00:00:01)");

    port().link_frames_fwd = 0x20;
    EXPECT_TRUE(refuses(2002, zelfdb_set_port_link_frames, 2, 5, hold));
}

// The record stays taken.
TEST_F(LinkFrames, ARefusalOfTheNPIsPassedOnWhenHoldingAndIgnoredWhenReleasing)
{
    port().link_frames_fwd = 0xFFFFFFFF;
    for (const recorder::Failure how : {recorder::Failure::delivery, recorder::Failure::status}) {
        Expected after = now();
        Fil& taken = *alloc_fil(after.fdb(), after.header());
        recorder::fail("addFDB", how);
        const Outcome outcome = call(zelfdb_set_port_link_frames, 2, 3, hold);
        EXPECT_EQ(outcome.result, -1);
        EXPECT_EQ(outcome.err, 2002u);
        EXPECT_EQ(outcome.commands.size(), 1u);
        EXPECT_EQ(held(3), nullptr);
        EXPECT_EQ(header().fil_free, after.header().fil_free);
        EXPECT_EQ(port().link_frames_fwd, 0xFFFFFFFFu);
        EXPECT_EQ(port().fdb.nfil, 0u);
        taken = record_at<Fil>(fdb(), offset_of(after.fdb(), taken));
        EXPECT_TRUE(after.is_now());
    }
    recorder::answer_add(1);
    EXPECT_EQ(call(zelfdb_set_port_link_frames, 2, 3, hold).err, 2002u);
    recorder::answer_add(0);

    EXPECT_EQ(call(zelfdb_set_port_link_frames, 2, 3, hold).result, 0);
    recorder::fail_always(recorder::Failure::status);
    EXPECT_EQ(call(zelfdb_set_port_link_frames, 2, 3, release), done({"removeFDB(0xc002, 01:80:c2:00:00:03)"}));
    EXPECT_EQ(held(3), nullptr);
    EXPECT_EQ(port().link_frames_fwd, 0xFFFFFFFFu);
}

TEST_F(LinkFrames, AnEntryThatIsNotALocalSystemEntryIsNotReleased)
{
    Fil& user = given_local(2, group(6));
    EXPECT_TRUE(refuses(2101, zelfdb_set_port_link_frames, 2, 6, release));
    EXPECT_EQ(port().link_frames_fwd, 0u);

    const Expected healthy = now();
    user.fil_permit = 1;
    user.fil_type = fil_static;
    EXPECT_TRUE(refuses(2102, zelfdb_set_port_link_frames, 2, 6, release));
    user.fil_permit = 0;  // both apply
    EXPECT_TRUE(refuses(2101, zelfdb_set_port_link_frames, 2, 6, release));
    healthy.restore();
}

}  // namespace
}  // namespace zelfdb
