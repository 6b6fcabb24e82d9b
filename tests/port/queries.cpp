// The VID of a virtual interface, the streams of a port, and ports that do not exist.
#include "support/exported.h"

namespace zelfdb {
namespace {

class PortVid : public ExportedPair {
protected:
    Outcome vid_of(u32 port_id, u32* vid) { return call_pair(zelfdb_get_port_vid, zelfdb_get_port_vid2, port_id, vid); }
};
FOR_BOTH_FORMS(PortVid);

TEST_P(PortVid, IsThatOfTheFirstMembershipWhichIsTheLowest)
{
    given_port(2, ZELFDB_PORT_VIF);
    for (const u16 vid : {u16{30}, u16{20}, u16{4094}}) {
        given_vlan(vid, "v" + std::to_string(vid));
        given_member(vid, 2, true);
    }
    const Expected unchanged = now();
    u32 vid = 0xFFFFFFFF;
    EXPECT_EQ(vid_of(2, &vid), done());
    EXPECT_EQ(vid, 20u);
    EXPECT_TRUE(unchanged.is_now());
}

TEST_P(PortVid, ChecksExistenceThenTypeThenMembershipAndGivesZero)
{
    given_port(1, ZELFDB_PORT_ETHER, 1);
    given_port(2, ZELFDB_PORT_VIF);
    given_port(3, ZELFDB_PORT_NONE);
    given_vlan(10, "ten");
    const struct {
        u32 port_id;
        u32 code;
    } rows[] = {{0, 102}, {4, 102}, {200, 102}, {0xFFFFFFFF, 102}, {1, 206}, {3, 206}, {2, 1701}};
    for (const auto& row : rows) {
        u32 vid = 7;
        EXPECT_TRUE(pair_refuses(row.code, zelfdb_get_port_vid, zelfdb_get_port_vid2, row.port_id, &vid));
        EXPECT_EQ(vid, 0u);
    }
    given_member(10, 1);
    u32 vid = 7;
    EXPECT_EQ(vid_of(1, &vid), refused(206));
}

TEST_P(PortVid, ANullPointerFailsAtOnce)
{
    given_port(2, ZELFDB_PORT_VIF);
    given_vlan(10, "ten");
    given_member(10, 2);
    const Expected unchanged = now();
    const auto get = [this](u32* vid, u32* err) {
        return GetParam() == Form::own ? zelfdb_get_port_vid(2, vid, err) : zelfdb_get_port_vid2(&d(), 2, vid, err);
    };
    lock_moves();
    const u32 opened = recorder::init_calls();
    u32 vid = 7;
    u32 err = untouched;
    EXPECT_EQ(get(nullptr, &err), -1);
    EXPECT_EQ(get(&vid, nullptr), -1);
    EXPECT_EQ(get(nullptr, nullptr), -1);
    EXPECT_EQ(vid, 7u);
    EXPECT_EQ(err, untouched);
    EXPECT_EQ(recorder::init_calls(), opened);
    EXPECT_EQ(lock_moves(), "");
    EXPECT_TRUE(unchanged.is_now());
}

class StreamsOfPort : public Exported {
protected:
    StreamsOfPort() : Exported(8, 2, 8) {}
};

// The streams of port p are the 256 numbers from (p - 1) * 256 on, bound or not.
TEST_F(StreamsOfPort, AreFoundByTheirNumbers)
{
    for (const u32 id : {1u, 2u, 3u, 4u, 5u, 199u}) given_port(id);
    const struct {
        u16 streamno;
        u32 port_id;
    } rows[] = {{0, 1}, {255, 1}, {256, 2}, {511, 2}, {512, 3}, {1023, 4}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.streamno);
        const Expected without = now();
        given_stream(row.streamno);
        for (const u32 id : {1u, 2u, 3u, 4u, 5u, 199u}) {
            if (id == row.port_id) {
                EXPECT_TRUE(refuses(1303, zelfdb_check_stream_in_port, id));
            } else {
                EXPECT_EQ(call(zelfdb_check_stream_in_port, id), done()) << id;
            }
        }
        without.restore();
    }
}

TEST_F(StreamsOfPort, ThatDoNotExistAreNone)
{
    given_port(4);
    const Expected unchanged = now();
    EXPECT_EQ(call(zelfdb_check_stream_in_port, 4), done());
    EXPECT_TRUE(unchanged.is_now());
}

TEST_F(StreamsOfPort, AStreamOfAnUnknownPortIsNotLookedFor)
{
    given_stream(256);
    for (const u32 id : {0u, 2u, 200u, 201u, 257u, 0xFFFFFFFFu}) {
        EXPECT_TRUE(refuses(102, zelfdb_check_stream_in_port, id)) << id;
    }
}

// An ID of 0 would find the first free record, and IDs are compared unsigned: neither leads outside the ports that exist.
class UnknownPort : public Exported {
protected:
    void SetUp() override
    {
        Exported::SetUp();
        given_port(1, ZELFDB_PORT_ETHER, 1);
        given_vlan(10, "ten");
        given_member(10, 1);
    }
};

TEST_F(UnknownPort, IsRefusedByEveryOperationAndNothingChanges)
{
    const zelfdb_port_param param{};
    const u32 words[8] = {};
    u32 out = 0;
    for (const u32 id : {0u, 2u, 199u, 200u, 201u, 256u, 0x10001u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(id);
        EXPECT_TRUE(refuses(102, zelfdb_delete_port, id));
        EXPECT_TRUE(refuses(102, zelfdb_set_param_to_port, id, &param, 0, 0, 0x80FD, 0));
        EXPECT_TRUE(refuses(102, zelfdb_set_port_class_policing, id, 0, 0, 0, 0));
        EXPECT_TRUE(refuses(102, zelfdb_set_port_cosmap, id, 0, words));
        EXPECT_TRUE(refuses(102, zelfdb_set_port_bandwidth_calc_mode, id, 0));
        EXPECT_TRUE(refuses(102, zelfdb_set_default_class, id, 0, 0, 0));
        EXPECT_TRUE(refuses(102, zelfdb_set_port_link_frames, id, 0, 0));
        EXPECT_TRUE(refuses(102, zelfdb_enable_port, id));
        EXPECT_TRUE(refuses(102, zelfdb_disable_port, id));
        EXPECT_TRUE(refuses(102, zelfdb_recover_port_sldbkr, id));
        EXPECT_TRUE(refuses(102, zelfdb_set_uplink_flag, id, 1));
        EXPECT_TRUE(refuses(102, zelfdb_set_link_mode, id, 1));
        EXPECT_TRUE(refuses(102, zelfdb_set_link_depend, id, 1, 1));
        EXPECT_TRUE(refuses(102, zelfdb_get_port_vid, id, &out));
        EXPECT_TRUE(refuses(102, zelfdb_check_stream_in_port, id));
        testing::internal::CaptureStdout();
        EXPECT_TRUE(refuses(102, zelfdb_display_port_data, id));
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    }
}

}  // namespace
}  // namespace zelfdb
