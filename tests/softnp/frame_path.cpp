// The way of a frame: admission, VLAN, source and destination look-up, every reason for a drop, and the counters.
#include "np_device.h"

using namespace softnp_test;

namespace {

constexpr u32 FLAG_LEARNING = 0x01;
constexpr u32 FLAG_FORWARDING = 0x02;
constexpr u32 FLAG_UNTAGGED = 0x10;
constexpr u32 FLAG_FILTERING = 0x20;
constexpr u32 FLAG_TAGS = 0x40;

class FramePath : public NpDevice {
protected:
    void SetUp() override
    {
        NpDevice::SetUp();
        given_three_ports_in_a_vlan();
    }

    // The frame is dropped for the reason, which is counted once, on the port and on the device.
    void expect_drop(softnp_reason reason, u32 np_port, const Bytes& frame)
    {
        const softnp_port_counters before = port_counters(np_port);
        const softnp_device_counters device_before = device_counters();
        const softnp_verdict verdict = receive(np_port, frame);
        EXPECT_STREQ(softnp_reason_text(reason), softnp_reason_text(static_cast<int>(verdict.reason)));
        EXPECT_EQ(SOFTNP_DROPPED, static_cast<int>(verdict.outcome));
        EXPECT_EQ(0u, verdict.egress_count);
        EXPECT_EQ(before.dropped[reason] + 1, port_counters(np_port).dropped[reason]);
        EXPECT_EQ(before.rx_frames + 1, port_counters(np_port).rx_frames);
        EXPECT_EQ(device_before.dropped[reason] + 1, device_counters().dropped[reason]);
    }

    void expect_flood(const softnp_verdict& verdict, std::vector<u32> ports)
    {
        EXPECT_EQ(SOFTNP_FLOODED, static_cast<int>(verdict.outcome));
        expect_egress(verdict, ports);
    }
    void expect_forward(const softnp_verdict& verdict, u32 np_port)
    {
        EXPECT_EQ(SOFTNP_FORWARDED, static_cast<int>(verdict.outcome));
        expect_egress(verdict, {np_port});
    }
    static void expect_egress(const softnp_verdict& verdict, const std::vector<u32>& ports)
    {
        EXPECT_EQ(SOFTNP_REASON_NONE, static_cast<int>(verdict.reason));
        std::vector<u32> sent;
        for (u32 np_port = 0; np_port < 96; np_port++)
            if (sent_by(verdict, np_port)) sent.push_back(np_port);
        EXPECT_EQ(ports, sent);
        EXPECT_EQ(ports.size(), verdict.egress_count);
    }
};

// ---- admission

TEST_F(FramePath, UnknownPortsAdmitNothing)
{
    for (const u32 np_port : {0u, 4u, 75u, 0xFFFFFFFFu}) {
        const softnp_verdict verdict = receive(np_port, frame_of(BROADCAST, HOST_A));
        EXPECT_EQ(SOFTNP_DROPPED, static_cast<int>(verdict.outcome)) << np_port;
        EXPECT_EQ(SOFTNP_REASON_UNKNOWN_PORT, static_cast<int>(verdict.reason)) << np_port;
    }
    EXPECT_EQ(4u, device_counters().dropped[SOFTNP_REASON_UNKNOWN_PORT]);
    EXPECT_EQ(0u, port_counters(4).rx_frames);
}

TEST_F(FramePath, ADisabledPortAdmitsNothingUntilItIsEnabled)
{
    ASSERT_EQ(0, tell(vf_mk_disable_port(1)));
    expect_drop(SOFTNP_REASON_PORT_DISABLED, 1, frame_of(BROADCAST, HOST_A));
    EXPECT_EQ(0u, device_counters().events_raised);
    ASSERT_EQ(0, tell(vf_mk_enable_port(1)));
    expect_flood(receive(1, frame_of(BROADCAST, HOST_A)), {2, 3});
}

TEST_F(FramePath, LengthsAreCheckedAtTheirBounds)
{
    expect_drop(SOFTNP_REASON_RUNT, 1, Bytes(13));
    expect_drop(SOFTNP_REASON_RUNT, 1, Bytes(1));
    expect_flood(receive(1, frame_of(BROADCAST, HOST_A, 0x0800, 14)), {2, 3});
    expect_flood(receive(1, frame_of(BROADCAST, HOST_A, 0x0800, SOFTNP_MAX_FRAME)), {2, 3});
    expect_drop(SOFTNP_REASON_OVERSIZE, 1, frame_of(BROADCAST, HOST_A, 0x0800, SOFTNP_MAX_FRAME + 1));
}

TEST_F(FramePath, AFrameOfNoBytesIsARunt)
{
    const u8 nothing = 0;
    softnp_verdict verdict{};
    ASSERT_EQ(0, softnp_receive(1, &nothing, 0, 1, &verdict));
    EXPECT_EQ(SOFTNP_REASON_RUNT, static_cast<int>(verdict.reason));
}

TEST_F(FramePath, ATagThatIsCutOffIsARunt)
{
    Bytes frame = tagged_frame(BROADCAST, HOST_A, 10);
    frame.resize(17);
    expect_drop(SOFTNP_REASON_RUNT, 1, frame);
    frame.resize(18);
    expect_flood(receive(1, frame), {2, 3});
    ASSERT_EQ(0, set_flags(1, ETHER_FLAGS & ~FLAG_TAGS));  // then it is no tag
    frame.resize(14);
    expect_flood(receive(1, frame), {2, 3});
}

TEST_F(FramePath, UntaggedFramesNeedTheFlag)
{
    ASSERT_EQ(0, set_flags(1, ETHER_FLAGS & ~FLAG_UNTAGGED));
    expect_drop(SOFTNP_REASON_UNTAGGED, 1, frame_of(BROADCAST, HOST_A));
    expect_drop(SOFTNP_REASON_UNTAGGED, 1, tagged_frame(BROADCAST, HOST_A, 0xE000));  // a priority tag is none
    expect_flood(receive(1, tagged_frame(BROADCAST, HOST_A, 10)), {2, 3});
}

TEST_F(FramePath, TheVlanMustExist)
{
    ASSERT_EQ(0, set_flags(1, ETHER_FLAGS & ~FLAG_FILTERING));
    for (const u32 VID : {11u, 4095u}) expect_drop(SOFTNP_REASON_UNKNOWN_VLAN, 1, tagged_frame(BROADCAST, HOST_A, VID));
    for (const u32 PVID : {0u, 11u, 4095u, 0xFFFFu}) {
        ASSERT_EQ(0, set_pvid(1, PVID));
        expect_drop(SOFTNP_REASON_UNKNOWN_VLAN, 1, frame_of(BROADCAST, HOST_A));
    }
    EXPECT_EQ(0u, device_counters().events_raised);
}

TEST_F(FramePath, IngressFilteringAsksForMembership)
{
    ASSERT_EQ(0, create_vlan(20));
    ASSERT_EQ(0, join(20, 2, 1));
    expect_drop(SOFTNP_REASON_NOT_MEMBER, 1, tagged_frame(BROADCAST, HOST_A, 20));
    EXPECT_EQ(0u, device_counters().events_raised);
    ASSERT_EQ(0, set_flags(1, ETHER_FLAGS & ~FLAG_FILTERING));
    expect_flood(receive(1, tagged_frame(BROADCAST, HOST_A, 20)), {2});
}

// ---- VLAN

TEST_F(FramePath, TheTagDecidesBeforeTheRest)
{
    ASSERT_EQ(0, create_vlan(20));
    ASSERT_EQ(0, join(20, 1, 1));
    ASSERT_EQ(0, join(20, 2, 1));
    const softnp_verdict tagged = receive(1, tagged_frame(BROADCAST, HOST_A, 0xF014));
    EXPECT_EQ(20, tagged.VID);
    EXPECT_EQ(1, tagged.tagged);
    expect_flood(tagged, {2});
    EXPECT_TRUE(sent_tagged_by(tagged, 2));

    const softnp_verdict untagged = receive(1, frame_of(BROADCAST, HOST_A));
    EXPECT_EQ(10, untagged.VID);
    EXPECT_EQ(0, untagged.tagged);
    EXPECT_FALSE(sent_tagged_by(untagged, 2));
}

TEST_F(FramePath, ATagOfAnotherTypeIsNone)
{
    ASSERT_EQ(0, tell(vf_mk_set_port_param(1, 0x10, 0, 0, 0, 0, 0x9100, 0, 0)));
    EXPECT_EQ(10, receive(1, tagged_frame(BROADCAST, HOST_A, 20)).VID);
    EXPECT_EQ(20, receive(1, tagged_frame(BROADCAST, HOST_A, 20, 0x9100)).VID);
    ASSERT_EQ(0, set_flags(1, ETHER_FLAGS & ~FLAG_TAGS));
    EXPECT_EQ(10, receive(1, tagged_frame(BROADCAST, HOST_A, 20, 0x9100)).VID);
}

TEST_F(FramePath, ProtocolGroupsDecideTheVlanOfUntaggedFrames)
{
    ASSERT_EQ(0, create_vlan(30));
    ASSERT_EQ(0, tell(vf_mk_create_protgroup(1)));
    ASSERT_EQ(0, tell(vf_mk_add_prot_to_group(0x86DD, 1)));
    ASSERT_EQ(0, join_by_protocol(30, 1, 1));
    ASSERT_EQ(0, join_by_protocol(30, 2, 1));

    const softnp_verdict ipv6 = receive(1, frame_of(BROADCAST, HOST_A, 0x86DD));
    EXPECT_EQ(30, ipv6.VID);
    EXPECT_EQ(1, ipv6.by_protocol);
    expect_flood(ipv6, {2});
    EXPECT_EQ(10, receive(1, frame_of(BROADCAST, HOST_A, 0x0800)).VID);
    EXPECT_EQ(10, receive(3, frame_of(BROADCAST, HOST_B, 0x86DD)).VID);  // no binding on port 3
    EXPECT_EQ(10, receive(1, tagged_frame(BROADCAST, HOST_A, 10, 0x8100, 0x86DD)).VID);
    EXPECT_EQ(10, receive(1, tagged_frame(BROADCAST, HOST_A, 0, 0x8100, 0x86DD)).VID);  // a priority tag: the PVID

    ASSERT_EQ(0, tell(vf_mk_remove_prot_from_group(0x86DD, 1)));
    EXPECT_EQ(10, receive(1, frame_of(BROADCAST, HOST_A, 0x86DD)).VID);
}

TEST_F(FramePath, TheOldestBindingOfTheGroupDecides)
{
    for (const u32 VID : {30u, 40u}) ASSERT_EQ(0, create_vlan(VID));
    ASSERT_EQ(0, tell(vf_mk_create_protgroup(1)));
    ASSERT_EQ(0, tell(vf_mk_add_prot_to_group(0x86DD, 1)));
    ASSERT_EQ(0, join_by_protocol(40, 1, 1));
    ASSERT_EQ(0, join_by_protocol(30, 1, 1));
    EXPECT_EQ(40, receive(1, frame_of(BROADCAST, HOST_A, 0x86DD)).VID);
    ASSERT_EQ(0, leave(40, 1));
    EXPECT_EQ(30, receive(1, frame_of(BROADCAST, HOST_A, 0x86DD)).VID);
}

TEST_F(FramePath, APortWithoutPvidAdmitsProtocolFrames)
{
    ASSERT_EQ(0, create_vlan(30));
    ASSERT_EQ(0, create_port(5));
    ASSERT_EQ(0, tell(vf_mk_create_protgroup(1)));
    ASSERT_EQ(0, tell(vf_mk_add_prot_to_group(0x0806, 1)));
    ASSERT_EQ(0, join_by_protocol(30, 5, 1));
    EXPECT_EQ(30, receive(5, frame_of(BROADCAST, HOST_A, 0x0806)).VID);
    expect_drop(SOFTNP_REASON_UNKNOWN_VLAN, 5, frame_of(BROADCAST, HOST_A, 0x0800));
}

// ---- source

TEST_F(FramePath, AKnownSourceIsHitAndRaisesNothing)
{
    ASSERT_EQ(0, softnp_set_tick(100));
    ASSERT_EQ(0, add_mac(10, HOST_A, 1, 7));
    const softnp_verdict verdict = receive(1, frame_of(BROADCAST, HOST_A), 777);
    EXPECT_EQ(SOFTNP_SOURCE_KNOWN, static_cast<int>(verdict.source));
    EXPECT_EQ(SOFTNP_LEARN_NONE, static_cast<int>(verdict.learning));
    softnp_mac_entry entry{};
    ASSERT_EQ(1, softnp_get_mac_entry(10, HOST_A.data(), &entry));
    EXPECT_EQ(777u, entry.last_hit_ms);
    EXPECT_EQ(0u, device_counters().events_queued);
}

TEST_F(FramePath, AnUnknownSourceRaisesAnEventForEachFrame)
{
    for (u32 count = 1; count <= 3; count++) {
        const softnp_verdict verdict = receive(1, frame_of(BROADCAST, HOST_A), count * 10);
        EXPECT_EQ(SOFTNP_SOURCE_UNKNOWN, static_cast<int>(verdict.source));
        EXPECT_EQ(SOFTNP_LEARN_RAISED, static_cast<int>(verdict.learning));
        EXPECT_EQ(count, device_counters().events_queued);
        EXPECT_EQ(count, port_counters(1).learn_raised);
    }
}

TEST_F(FramePath, AMovedSourceRaisesAnEventWithItsCookieAndIsNotHit)
{
    ASSERT_EQ(0, softnp_set_tick(100));
    ASSERT_EQ(0, add_mac(10, HOST_A, 1, 0x58));
    const softnp_verdict verdict = receive(2, frame_of(BROADCAST, HOST_A), 900);
    EXPECT_EQ(SOFTNP_SOURCE_MOVED, static_cast<int>(verdict.source));
    softnp_event event{};
    ASSERT_TRUE(next_event(event));
    EXPECT_EQ(0x58u, event.cookie);
    EXPECT_EQ(2, event.np_port);
    softnp_mac_entry entry{};
    ASSERT_EQ(1, softnp_get_mac_entry(10, HOST_A.data(), &entry));
    EXPECT_EQ(100u, entry.last_hit_ms);
    EXPECT_EQ(1, entry.np_port);
}

TEST_F(FramePath, AKnownSourceIsHitWhereLearningIsOff)
{
    ASSERT_EQ(0, add_mac(10, HOST_A, 1, 1));
    ASSERT_EQ(0, set_flags(1, ETHER_FLAGS & ~FLAG_LEARNING));
    ASSERT_EQ(0, tell(vf_mk_set_vl_flag(10, 2, 253)));
    receive(1, frame_of(BROADCAST, HOST_A), 4242);
    softnp_mac_entry entry{};
    ASSERT_EQ(1, softnp_get_mac_entry(10, HOST_A.data(), &entry));
    EXPECT_EQ(4242u, entry.last_hit_ms);
}

TEST_F(FramePath, LearningOffOnThePortRaisesNothing)
{
    ASSERT_EQ(0, set_flags(1, ETHER_FLAGS & ~FLAG_LEARNING));
    const softnp_verdict verdict = receive(1, frame_of(BROADCAST, HOST_A));
    EXPECT_EQ(SOFTNP_SOURCE_UNKNOWN, static_cast<int>(verdict.source));
    EXPECT_EQ(SOFTNP_LEARN_NONE, static_cast<int>(verdict.learning));
    expect_flood(verdict, {2, 3});
    EXPECT_EQ(0u, device_counters().events_raised);
}

TEST_F(FramePath, LearningOffInTheVlanRaisesNothing)
{
    ASSERT_EQ(0, tell(vf_mk_set_vl_flag(10, 2, 253)));
    expect_flood(receive(1, frame_of(BROADCAST, HOST_A)), {2, 3});
    EXPECT_EQ(0u, device_counters().events_raised);
    ASSERT_EQ(0, tell(vf_mk_set_vl_flag(10, 0, 253)));
    receive(1, frame_of(BROADCAST, HOST_A));
    EXPECT_EQ(1u, device_counters().events_raised);
}

TEST_F(FramePath, GroupSourcesAreNeverLearned)
{
    const softnp_verdict verdict = receive(1, frame_of(BROADCAST, {0x03, 0, 0, 0, 0, 1}));
    EXPECT_EQ(SOFTNP_SOURCE_NOT_LOOKED_UP, static_cast<int>(verdict.source));
    EXPECT_EQ(0u, device_counters().events_raised);
}

TEST_F(FramePath, AStationBoundToNoPortMovesNowhere)
{
    ASSERT_EQ(0, add_mac(10, HOST_A, -1, 1, 4));
    for (const u32 np_port : {1u, 2u})
        EXPECT_EQ(SOFTNP_SOURCE_KNOWN, static_cast<int>(receive(np_port, frame_of(BROADCAST, HOST_A)).source));
    EXPECT_EQ(0u, device_counters().events_raised);
}

// ---- destination

TEST_F(FramePath, UnknownAndGroupDestinationsAreFlooded)
{
    expect_flood(receive(1, frame_of(HOST_B, HOST_A)), {2, 3});
    expect_flood(receive(2, frame_of(BROADCAST, HOST_A)), {1, 3});
    expect_flood(receive(3, frame_of({0x01, 0, 0x5E, 0, 0, 1}, HOST_A)), {1, 2});
}

TEST_F(FramePath, AKnownDestinationTakesTheFrameAlone)
{
    ASSERT_EQ(0, add_mac(10, HOST_B, 3, 1));
    expect_forward(receive(1, frame_of(HOST_B, HOST_A)), 3);
    ASSERT_EQ(0, remove_mac(10, HOST_B));
    expect_flood(receive(1, frame_of(HOST_B, HOST_A)), {2, 3});
}

TEST_F(FramePath, AGroupAddressMayHaveAnEntryToo)
{
    const Mac group{0x01, 0, 0x5E, 0, 0, 1};
    ASSERT_EQ(0, add_mac(10, group, 2, 1));
    expect_forward(receive(1, frame_of(group, HOST_A)), 2);
}

TEST_F(FramePath, ADestinationOnTheSamePortIsFiltered)
{
    ASSERT_EQ(0, add_mac(10, HOST_B, 1, 1));
    expect_drop(SOFTNP_REASON_SAME_PORT, 1, frame_of(HOST_B, HOST_A));
}

TEST_F(FramePath, ADiscardEntryFilters)
{
    ASSERT_EQ(0, add_mac(10, HOST_B, -1, 1, 4));
    expect_drop(SOFTNP_REASON_DISCARD_ENTRY, 1, frame_of(HOST_B, HOST_A));
}

TEST_F(FramePath, IgnoreFdbFloodsAlways)
{
    ASSERT_EQ(0, add_mac(10, HOST_B, 3, 1));
    ASSERT_EQ(0, add_mac(10, HOST_C, -1, 1, 4));
    ASSERT_EQ(0, tell(vf_mk_set_vl_flag(10, 1, 254)));
    expect_flood(receive(1, frame_of(HOST_B, HOST_A)), {2, 3});
    expect_flood(receive(1, frame_of(HOST_C, HOST_A)), {2, 3});
    EXPECT_EQ(2u, device_counters().events_raised);  // the sources are looked up all the same
    ASSERT_EQ(0, tell(vf_mk_set_vl_flag(10, 0, 254)));
    expect_forward(receive(1, frame_of(HOST_B, HOST_A)), 3);
}

TEST_F(FramePath, AnEntryServesItsOwnDatabaseOnly)
{
    ASSERT_EQ(0, create_vlan(20));
    ASSERT_EQ(0, join(20, 1, 1));
    ASSERT_EQ(0, join(20, 2, 1));
    ASSERT_EQ(0, add_mac(10, HOST_B, 3, 1));
    expect_flood(receive(1, tagged_frame(HOST_B, HOST_A, 20)), {2});
}

TEST_F(FramePath, VlansThatShareAFidShareEntries)
{
    ASSERT_EQ(0, tell(vf_mk_create_vlan(20, 10)));
    ASSERT_EQ(0, join(20, 1, 1));
    ASSERT_EQ(0, join(20, 3, 1));
    ASSERT_EQ(0, add_mac(10, HOST_B, 3, 1));
    expect_forward(receive(1, tagged_frame(HOST_B, HOST_A, 20)), 3);
}

TEST_F(FramePath, TheEntrysPortMayBeUnfitToSend)
{
    ASSERT_EQ(0, create_port(4));
    ASSERT_EQ(0, add_mac(10, HOST_B, 4, 1));
    expect_drop(SOFTNP_REASON_EGRESS_NOT_MEMBER, 1, frame_of(HOST_B, HOST_A));
    ASSERT_EQ(0, set_flags(4, ETHER_FLAGS & ~FLAG_FORWARDING));
    expect_drop(SOFTNP_REASON_EGRESS_NOT_FORWARDING, 1, frame_of(HOST_B, HOST_A));
    ASSERT_EQ(0, tell(vf_mk_disable_port(4)));
    expect_drop(SOFTNP_REASON_EGRESS_DISABLED, 1, frame_of(HOST_B, HOST_A));
    ASSERT_EQ(0, tell(vf_mk_delete_port(4)));
    expect_drop(SOFTNP_REASON_EGRESS_UNKNOWN, 1, frame_of(HOST_B, HOST_A));
}

TEST_F(FramePath, FloodingLeavesUnfitPortsOut)
{
    ASSERT_EQ(0, tell(vf_mk_disable_port(2)));
    expect_flood(receive(1, frame_of(BROADCAST, HOST_A)), {3});
    ASSERT_EQ(0, set_flags(3, ETHER_FLAGS & ~FLAG_FORWARDING));
    expect_drop(SOFTNP_REASON_NO_EGRESS, 1, frame_of(BROADCAST, HOST_A));
}

TEST_F(FramePath, APortThatDoesNotForwardStillLearns)
{
    ASSERT_EQ(0, set_flags(1, ETHER_FLAGS & ~FLAG_FORWARDING));
    expect_drop(SOFTNP_REASON_NOT_FORWARDING, 1, frame_of(BROADCAST, HOST_A));
    EXPECT_EQ(1u, device_counters().events_raised);
}

// What a tripped loop breaker does to a port.
TEST_F(FramePath, APortWithoutItsThreeForwardingBitsIsSilent)
{
    ASSERT_EQ(0, tell(vf_mk_set_port_flags(1, 0, 7)));
    expect_drop(SOFTNP_REASON_NOT_FORWARDING, 1, frame_of(BROADCAST, HOST_A));
    EXPECT_EQ(0u, device_counters().events_raised);
    expect_flood(receive(2, frame_of(BROADCAST, HOST_B)), {3});
}

TEST_F(FramePath, HighPortNumbersSend)
{
    for (const u32 np_port : {32u, 63u, 64u, 74u}) {
        ASSERT_EQ(0, create_port(np_port));
        ASSERT_EQ(0, join(10, np_port, 1));
    }
    const softnp_verdict verdict = receive(1, frame_of(BROADCAST, HOST_A));
    expect_flood(verdict, {2, 3, 32, 63, 64, 74});
    for (const u32 np_port : {32u, 63u, 64u, 74u}) EXPECT_TRUE(sent_tagged_by(verdict, np_port));
    EXPECT_FALSE(sent_tagged_by(verdict, 2));
}

// ---- local addresses

TEST_F(FramePath, ALocalAddressOfThePortReachesTheCpuAndItsSenderIsLearned)
{
    ASSERT_EQ(0, add_mac(0xC001, HOST_B, -1, 1));
    const softnp_verdict verdict = receive(1, frame_of(HOST_B, HOST_A));
    EXPECT_EQ(SOFTNP_DELIVERED, static_cast<int>(verdict.outcome));
    EXPECT_EQ(SOFTNP_LEARN_RAISED, static_cast<int>(verdict.learning));
    EXPECT_EQ(0u, verdict.egress_count);
    EXPECT_EQ(1u, port_counters(1).delivered);
    expect_flood(receive(2, frame_of(HOST_B, HOST_C)), {1, 3});  // not port 2's address
    ASSERT_EQ(0, set_pvid(1, 0));
    expect_drop(SOFTNP_REASON_UNKNOWN_VLAN, 1, frame_of(HOST_B, HOST_A));
}

TEST_F(FramePath, LinkFramesReachTheCpuWhateverTheirVlan)
{
    const Mac link{0x01, 0x80, 0xC2, 0, 0, 0};
    ASSERT_EQ(0, add_mac(0xC001, link, -1, 1, 4));
    ASSERT_EQ(0, set_pvid(1, 0));
    ASSERT_EQ(0, set_flags(1, 0));
    const softnp_verdict verdict = receive(1, frame_of(link, HOST_A));
    EXPECT_EQ(SOFTNP_DELIVERED, static_cast<int>(verdict.outcome));
    EXPECT_EQ(0u, device_counters().events_raised);
    ASSERT_EQ(0, tell(vf_mk_disable_port(1)));
    expect_drop(SOFTNP_REASON_PORT_DISABLED, 1, frame_of(link, HOST_A));
    expect_flood(receive(2, frame_of(link, HOST_C)), {3});  // released, i.e. not held, on port 2
}

// ---- counters

TEST_F(FramePath, CountersAddUp)
{
    ASSERT_EQ(0, add_mac(10, HOST_B, 2, 1));
    ASSERT_EQ(0, add_mac(0xC001, HOST_C, -1, 1));
    receive(1, frame_of(HOST_B, HOST_A, 0x0800, 100));
    receive(1, frame_of(BROADCAST, HOST_A, 0x0800, 200));
    receive(1, frame_of(HOST_C, HOST_A, 0x0800, 300));
    receive(1, Bytes(10));
    receive(1, tagged_frame(BROADCAST, HOST_A, 99));
    const softnp_port_counters one = port_counters(1);
    EXPECT_EQ(5u, one.rx_frames);
    EXPECT_EQ(674u, one.rx_bytes);
    EXPECT_EQ(1u, one.forwarded);
    EXPECT_EQ(1u, one.flooded);
    EXPECT_EQ(1u, one.delivered);
    u64 dropped = 0;
    for (const u64 count : one.dropped) dropped += count;
    EXPECT_EQ(2u, dropped);
    EXPECT_EQ(3u, one.learn_raised);
    EXPECT_EQ(2u, port_counters(2).tx_frames);
    EXPECT_EQ(300u, port_counters(2).tx_bytes);
    EXPECT_EQ(1u, port_counters(3).tx_frames);
    EXPECT_EQ(5u, device_counters().frames);
}

TEST_F(FramePath, CountersAreClearedOnOrderAndWithANewPort)
{
    receive(1, frame_of(BROADCAST, HOST_A));
    ASSERT_EQ(0, leave(10, 2));
    ASSERT_EQ(0, tell(vf_mk_delete_port(2)));
    EXPECT_EQ(1u, port_counters(2).tx_frames);
    ASSERT_EQ(0, create_port(2));
    EXPECT_EQ(0u, port_counters(2).tx_frames);
    ASSERT_EQ(0, softnp_clear_counters());
    EXPECT_EQ(0u, port_counters(1).rx_frames);
    EXPECT_EQ(0u, device_counters().frames);
    EXPECT_EQ(0u, device_counters().commands);
    EXPECT_EQ(1u, device_counters().events_queued);  // not a counter
    softnp_port_counters counters{};
    EXPECT_EQ(0, softnp_get_port_counters(0, &counters));
    EXPECT_EQ(0, softnp_get_port_counters(75, &counters));
}

TEST_F(FramePath, EveryOutcomeReasonAndErrorHasAText)
{
    for (int reason = 0; reason < SOFTNP_REASON_COUNT; reason++) EXPECT_STRNE("unknown", softnp_reason_text(reason));
    for (int outcome = 0; outcome < 4; outcome++) EXPECT_STRNE("unknown", softnp_outcome_text(outcome));
    for (int error = 0; error < SOFTNP_ERROR_COUNT; error++) EXPECT_STRNE("unknown error", softnp_error_text(error));
    for (const int number : {-1, 1000}) {
        EXPECT_STREQ("unknown", softnp_reason_text(number));
        EXPECT_STREQ("unknown", softnp_outcome_text(number));
        EXPECT_STREQ("unknown error", softnp_error_text(number));
    }
    EXPECT_STREQ("no such VLAN", softnp_error_text(SOFTNP_ERR_NO_VLAN));
    EXPECT_STREQ("no port to flood to", softnp_reason_text(SOFTNP_REASON_NO_EGRESS));
    EXPECT_STREQ("flooded", softnp_outcome_text(SOFTNP_FLOODED));
}

TEST_F(FramePath, NullIsRefused)
{
    const Bytes frame = frame_of(BROADCAST, HOST_A);
    EXPECT_EQ(-1, softnp_receive(1, nullptr, 64, 1, nullptr));
    EXPECT_EQ(-1, softnp_receive_now(1, nullptr, 64, nullptr));
    EXPECT_EQ(0, softnp_receive(1, frame.data(), 64, 1, nullptr));
    EXPECT_EQ(0, softnp_receive_now(1, frame.data(), 64, nullptr));
    EXPECT_EQ(2u, device_counters().frames);
}

}  // namespace
