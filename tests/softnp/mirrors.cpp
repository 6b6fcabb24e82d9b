// Mirrors: the life of one, which frames each kind of source copies, and the copies' bytes, tag, queue and counters.
#include "qos_device.h"
#include "support/random.h"

#include <algorithm>
#include <memory>

using namespace softnp_test;
using zelfdb::Random;

namespace {

constexpr u32 ANALYSER = 4;

struct Copy {
    u32 mirror;
    u32 np_port;
    u32 tick_ms;
    Bytes bytes;
};

Bytes without_tag(Bytes frame)
{
    frame.erase(frame.begin() + 12, frame.begin() + 16);
    return frame;
}
Bytes with_tag(Bytes frame, u32 tagtype, u32 control)
{
    const u8 tag[] = {static_cast<u8>(tagtype >> 8), static_cast<u8>(tagtype), static_cast<u8>(control >> 8),
                      static_cast<u8>(control)};
    frame.insert(frame.begin() + 12, tag, tag + 4);
    return frame;
}

class Mirrors : public QosDevice {
protected:
    void SetUp() override
    {
        QosDevice::SetUp();
        ASSERT_EQ(0, create_port(ANALYSER));
        ASSERT_EQ(0, create_vlan(20));
        for (const u32 np_port : {1u, 2u}) ASSERT_EQ(0, join(20, np_port, 1));
        ASSERT_EQ(0, softnp_capture_copies(1));
    }
    void given_mirror(u32 number, u32 kind, u32 port_id, u32 VID = 0)
    {
        ASSERT_EQ(0, tell(vf_mk_create_mirror(number)));
        ASSERT_EQ(0, tell(vf_mk_set_mirror_source(number, kind, port_id, VID)));
        ASSERT_EQ(0, tell(vf_mk_set_mirror_dest(number, ANALYSER)));
        ASSERT_EQ(0, tell(vf_mk_enable_mirror(number)));
    }
    static std::vector<Copy> copies()
    {
        std::vector<Copy> taken;
        const auto copy = std::make_unique<softnp_copy>();
        while (softnp_next_copy(copy.get()) == 1)
            taken.push_back(
                {copy->mirror, copy->np_port, copy->tick_ms, Bytes(copy->bytes, copy->bytes + copy->length)});
        return taken;
    }
    // What the analyser saw of one frame.
    static std::vector<Bytes> seen_of(const Bytes& frame, u32 np_port = INGRESS)
    {
        receive_now(frame, np_port);
        std::vector<Bytes> seen;
        for (Copy& copy : copies()) seen.push_back(std::move(copy.bytes));
        return seen;
    }
    static softnp_mirror mirror(u32 number)
    {
        softnp_mirror out{};
        EXPECT_EQ(1, softnp_get_mirror(number, &out));
        return out;
    }
};

using Frames = std::vector<Bytes>;
const Frames NOTHING;

// ---- life

TEST_F(Mirrors, AreFourAndMadeOnce)
{
    softnp_mirror none{};
    for (const u32 number : {0u, 5u, 0xFFFFFFFFu}) {
        EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_create_mirror(number)));
        EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_delete_mirror(number)));
        EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_enable_mirror(number)));
        EXPECT_EQ(0, softnp_get_mirror(number, &none));
    }
    for (u32 number = 1; number <= 4; number++) {
        EXPECT_EQ(SOFTNP_ERR_NO_MIRROR, tell(vf_mk_delete_mirror(number)));
        EXPECT_EQ(0, softnp_get_mirror(number, &none));
        EXPECT_EQ(0, tell(vf_mk_create_mirror(number)));
        EXPECT_EQ(SOFTNP_ERR_MIRROR_EXISTS, tell(vf_mk_create_mirror(number)));
        EXPECT_EQ(number, mirror(number).mirror);
        EXPECT_EQ(0, tell(vf_mk_delete_mirror(number)));
    }
}

TEST_F(Mirrors, KeepTheirSettingsAndStartAnew)
{
    ASSERT_EQ(0, tell(vf_mk_create_mirror(2)));
    EXPECT_EQ(0, tell(vf_mk_set_mirror_source(2, 4, 164, 4094)));
    EXPECT_EQ(0, tell(vf_mk_set_mirror_dest(2, 101)));
    EXPECT_EQ(0, tell(vf_mk_set_mirror_classify(2, 3, 4, 1)));
    EXPECT_EQ(0, tell(vf_mk_set_mirror_tag(2, 1, 0x88A8, 77)));
    const softnp_mirror got = mirror(2);
    EXPECT_EQ((std::vector<u32>{0, 4, 164, 4094, 101, 3, 4, 1, 1, 0x88A8, 77}),
              (std::vector<u32>{got.enabled, got.kind, got.source_port_id, got.source_VID, got.dest_port_id,
                                got.class_no, got.second, got.colour, got.tag_on, got.tagtype, got.tag_VID}));
    ASSERT_EQ(0, tell(vf_mk_delete_mirror(2)));
    ASSERT_EQ(0, tell(vf_mk_create_mirror(2)));
    EXPECT_EQ(0u, mirror(2).kind + mirror(2).source_port_id + mirror(2).dest_port_id + mirror(2).tag_on);
}

TEST_F(Mirrors, SettingsHaveTheirBounds)
{
    EXPECT_EQ(SOFTNP_ERR_NO_MIRROR, tell(vf_mk_set_mirror_source(1, 1, 1, 0)));
    EXPECT_EQ(SOFTNP_ERR_NO_MIRROR, tell(vf_mk_set_mirror_dest(1, 1)));
    EXPECT_EQ(SOFTNP_ERR_NO_MIRROR, tell(vf_mk_set_mirror_classify(1, 1, 1, 0)));
    EXPECT_EQ(SOFTNP_ERR_NO_MIRROR, tell(vf_mk_set_mirror_tag(1, 1, 1, 0)));
    ASSERT_EQ(0, tell(vf_mk_create_mirror(1)));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_set_mirror_source(1, 6, 1, 10)));
    EXPECT_EQ(SOFTNP_ERR_UNMAPPED_PORT, tell(vf_mk_set_mirror_source(1, 1, 11, 10)));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_set_mirror_source(1, 2, 1, 4095)));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_set_mirror_source(1, 5, 0, 0)));
    EXPECT_EQ(0, tell(vf_mk_set_mirror_source(1, 5, 0, 1)));  // no port is asked for, nor a VLAN below
    EXPECT_EQ(0, tell(vf_mk_set_mirror_source(1, 3, 1, 0)));
    EXPECT_EQ(0, tell(vf_mk_set_mirror_source(1, 0, 0, 0)));
    EXPECT_EQ(SOFTNP_ERR_UNMAPPED_PORT, tell(vf_mk_set_mirror_dest(1, 100)));
    EXPECT_EQ(0, tell(vf_mk_set_mirror_dest(1, 0)));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_set_mirror_tag(1, 1, 0x10000, 1)));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_set_mirror_tag(1, 1, 0x8100, 0x10000)));
}

TEST_F(Mirrors, NeedSourceAndDestinationAndFreezeThem)
{
    ASSERT_EQ(0, tell(vf_mk_create_mirror(1)));
    EXPECT_EQ(SOFTNP_ERR_MIRROR_INCOMPLETE, tell(vf_mk_enable_mirror(1)));
    ASSERT_EQ(0, tell(vf_mk_set_mirror_source(1, 3, 1, 0)));
    EXPECT_EQ(SOFTNP_ERR_MIRROR_INCOMPLETE, tell(vf_mk_enable_mirror(1)));
    ASSERT_EQ(0, tell(vf_mk_set_mirror_dest(1, 1)));
    EXPECT_EQ(SOFTNP_ERR_MIRROR_FEEDS_ITSELF, tell(vf_mk_enable_mirror(1)));
    EXPECT_EQ(SOFTNP_ERR_MIRROR_DISABLED, tell(vf_mk_disable_mirror(1)));
    ASSERT_EQ(0, tell(vf_mk_set_mirror_source(1, 1, 1, 0)));
    EXPECT_EQ(0, tell(vf_mk_enable_mirror(1)));
    EXPECT_EQ(1u, mirror(1).enabled);
    EXPECT_EQ(SOFTNP_ERR_MIRROR_ENABLED, tell(vf_mk_enable_mirror(1)));
    EXPECT_EQ(SOFTNP_ERR_MIRROR_ENABLED, tell(vf_mk_set_mirror_source(1, 1, 2, 0)));
    EXPECT_EQ(SOFTNP_ERR_MIRROR_ENABLED, tell(vf_mk_set_mirror_dest(1, 2)));
    EXPECT_EQ(SOFTNP_ERR_MIRROR_ENABLED, tell(vf_mk_delete_mirror(1)));
    EXPECT_EQ(0, tell(vf_mk_set_mirror_classify(1, 1, 2, 0)));
    EXPECT_EQ(0, tell(vf_mk_set_mirror_tag(1, 1, 0x8100, 2)));
    EXPECT_EQ(0, tell(vf_mk_disable_mirror(1)));
    EXPECT_EQ(0, tell(vf_mk_delete_mirror(1)));
}

// ---- sources

TEST_F(Mirrors, OfAPortInCopyWhatItReceives)
{
    given_mirror(1, 1, INGRESS);
    const Bytes frame = frame_of(HOST_A, HOST_B);
    const Bytes tagged = tagged_frame(HOST_A, HOST_B, 20);
    const Bytes unknown = tagged_frame(HOST_A, HOST_B, 30);  // dropped later
    EXPECT_EQ(Frames{frame}, seen_of(frame));
    EXPECT_EQ(Frames{tagged}, seen_of(tagged));
    EXPECT_EQ(Frames{unknown}, seen_of(unknown));
    EXPECT_EQ(NOTHING, seen_of(frame, 3));
    EXPECT_EQ(NOTHING, seen_of(Bytes(13)));
    EXPECT_EQ(3u, mirror(1).copies);
    ASSERT_EQ(0, tell(vf_mk_disable_mirror(1)));
    EXPECT_EQ(NOTHING, seen_of(frame));
}

TEST_F(Mirrors, OfAPortInAVlanCopyWhatIsAdmittedThere)
{
    given_mirror(1, 2, INGRESS, 20);
    const Bytes tagged = tagged_frame(HOST_A, HOST_B, 20);
    EXPECT_EQ(Frames{tagged}, seen_of(tagged));
    EXPECT_EQ(NOTHING, seen_of(frame_of(HOST_A, HOST_B)));
    EXPECT_EQ(NOTHING, seen_of(tagged, 1));
    ASSERT_EQ(0, leave(20, INGRESS));
    EXPECT_EQ(NOTHING, seen_of(tagged));
}

TEST_F(Mirrors, OfAPortOutCopyWhatItSendsAsItLeaves)
{
    given_mirror(1, 3, 1);
    const Bytes frame = frame_of(BROADCAST, HOST_B);
    EXPECT_EQ(Frames{frame}, seen_of(frame));
    EXPECT_EQ(Frames{frame}, seen_of(frame, 3));
    EXPECT_EQ(NOTHING, seen_of(frame, 1));
    const Bytes into_10 = tagged_frame(BROADCAST, HOST_B, 0xA000 | 10);  // port 1 is there untagged
    EXPECT_EQ(Frames{without_tag(into_10)}, seen_of(into_10));
    const Bytes into_20 = tagged_frame(BROADCAST, HOST_B, 0xA000 | 20);
    EXPECT_EQ(Frames{into_20}, seen_of(into_20));
}

TEST_F(Mirrors, OfAPortOutShowTheTagThatIsAdded)
{
    given_mirror(1, 3, 1);
    ASSERT_EQ(0, leave(10, 1));
    ASSERT_EQ(0, tell(vf_mk_add_port_vlan(10, 1, 1, 0x9100, 0, 0)));
    const Bytes frame = frame_of(HOST_A, HOST_B);
    EXPECT_EQ(Frames{with_tag(frame, 0x9100, 10)}, seen_of(frame));
    const Bytes priority = tagged_frame(HOST_A, HOST_B, 0xE000);
    EXPECT_EQ(Frames{with_tag(without_tag(priority), 0x9100, 0xE00A)}, seen_of(priority));
}

TEST_F(Mirrors, OfAPortOutInAVlanCopyThatVlanOnly)
{
    given_mirror(1, 4, 1, 20);
    const Bytes tagged = tagged_frame(BROADCAST, HOST_B, 20);
    EXPECT_EQ(Frames{tagged}, seen_of(tagged));
    EXPECT_EQ(NOTHING, seen_of(frame_of(BROADCAST, HOST_B)));
}

TEST_F(Mirrors, OfAPortOutLeaveOutWhatItsQueueDropped)
{
    given_mirror(1, 3, 1);
    given_stream(0);
    given_queue(1, 0, 0, 1);
    stop(0);
    EXPECT_EQ(1u, seen_of(frame_of(HOST_A, HOST_B)).size());
    EXPECT_EQ(NOTHING, seen_of(frame_of(HOST_A, HOST_B)));
}

TEST_F(Mirrors, OfAVlanCopyEveryFrameAdmittedThereOnce)
{
    given_mirror(1, 5, 0, 10);
    const Bytes frame = frame_of(BROADCAST, HOST_B);
    for (const u32 np_port : {1u, 2u, 3u}) EXPECT_EQ(Frames{frame}, seen_of(frame, np_port));
    EXPECT_EQ(NOTHING, seen_of(tagged_frame(BROADCAST, HOST_B, 20)));
}

TEST_F(Mirrors, SeveralSeeTheSameFrame)
{
    given_mirror(1, 1, INGRESS);
    given_mirror(2, 2, INGRESS, 10);
    given_mirror(3, 3, 1);
    given_mirror(4, 5, 0, 10);
    const softnp_verdict verdict = receive_now(frame_of(BROADCAST, HOST_B));
    EXPECT_EQ(0x1Eu, verdict.mirrors);
    std::vector<u32> numbers;
    for (const Copy& copy : copies()) numbers.push_back(copy.mirror);
    std::sort(numbers.begin(), numbers.end());
    EXPECT_EQ((std::vector<u32>{1, 2, 3, 4}), numbers);
    EXPECT_EQ(4u, device_counters().copies);
    EXPECT_EQ(4u, port_counters(ANALYSER).tx_frames);
    EXPECT_EQ(0u, receive_now(frame_of(BROADCAST, HOST_B), 4).mirrors);
}

TEST_F(Mirrors, CopiesAreNotCopiedAgain)
{
    given_mirror(1, 1, INGRESS);
    ASSERT_EQ(0, tell(vf_mk_create_mirror(2)));
    ASSERT_EQ(0, tell(vf_mk_set_mirror_source(2, 3, ANALYSER, 0)));
    ASSERT_EQ(0, tell(vf_mk_set_mirror_dest(2, 3)));
    ASSERT_EQ(0, tell(vf_mk_enable_mirror(2)));
    EXPECT_EQ(2u, receive_now(frame_of(HOST_A, HOST_B)).mirrors);
    EXPECT_EQ(1u, copies().size());
}

TEST_F(Mirrors, PortsAreTheDatabasesNumbers)
{
    ASSERT_EQ(0, create_port(11, ETHER_FLAGS, 10));
    ASSERT_EQ(0, join(10, 11));
    given_mirror(1, 1, 101);
    receive_now(frame_of(HOST_A, HOST_B), 11);
    EXPECT_EQ(1u, copies().size());
    ASSERT_EQ(0, tell(vf_mk_disable_mirror(1)));
    ASSERT_EQ(0, tell(vf_mk_set_mirror_source(1, 1, 2, 0)));
    ASSERT_EQ(0, tell(vf_mk_set_mirror_dest(1, 101)));
    ASSERT_EQ(0, tell(vf_mk_enable_mirror(1)));
    receive_now(frame_of(HOST_A, HOST_B));
    const std::vector<Copy> taken = copies();
    ASSERT_EQ(1u, taken.size());
    EXPECT_EQ(11u, taken[0].np_port);
}

// ---- copies

TEST_F(Mirrors, TheTagIsAddedOutside)
{
    given_mirror(1, 1, INGRESS);
    ASSERT_EQ(0, tell(vf_mk_set_mirror_tag(1, 1, 0x88A8, 500)));
    const Bytes frame = frame_of(HOST_A, HOST_B);
    const Bytes tagged = tagged_frame(HOST_A, HOST_B, 20);
    EXPECT_EQ(Frames{with_tag(frame, 0x88A8, 500)}, seen_of(frame));
    EXPECT_EQ(Frames{with_tag(tagged, 0x88A8, 500)}, seen_of(tagged));
    EXPECT_EQ(136u, mirror(1).copy_bytes);
    EXPECT_EQ(136u, port_counters(ANALYSER).tx_bytes);
    ASSERT_EQ(0, tell(vf_mk_set_mirror_tag(1, 0, 0x88A8, 500)));
    EXPECT_EQ(Frames{frame}, seen_of(frame));
}

TEST_F(Mirrors, TheLongestFrameFitsWithBothTags)
{
    given_mirror(1, 4, 1, 20);
    ASSERT_EQ(0, tell(vf_mk_set_mirror_tag(1, 1, 0x88A8, 500)));
    ASSERT_EQ(0, set_pvid(INGRESS, 20));
    const Bytes frame = frame_of(BROADCAST, HOST_B, 0x0800, SOFTNP_MAX_FRAME);
    EXPECT_EQ(Frames{with_tag(with_tag(frame, 0x8100, 20), 0x88A8, 500)}, seen_of(frame));
}

TEST_F(Mirrors, TheShortestFrameIsCopiedWhole)
{
    given_mirror(1, 3, 1);
    const Bytes untagged(frame_of(HOST_A, HOST_B, 0x0800, 14));
    EXPECT_EQ(Frames{untagged}, seen_of(untagged));
    Bytes tagged = tagged_frame(HOST_A, HOST_B, 10);
    tagged.resize(18);
    EXPECT_EQ(Frames{without_tag(tagged)}, seen_of(tagged));
}

TEST_F(Mirrors, CopiesQueueByTheirOwnClass)
{
    ASSERT_EQ(0, tell(vf_mk_create_mirror(1)));
    ASSERT_EQ(0, tell(vf_mk_set_mirror_source(1, 1, INGRESS, 0)));
    ASSERT_EQ(0, tell(vf_mk_set_mirror_dest(1, 3)));
    ASSERT_EQ(0, tell(vf_mk_enable_mirror(1)));
    given_stream(512 + 7);
    given_queue(1, 512 + 7, 5, 2);
    stop(512 + 7);
    ASSERT_EQ(0, tell(vf_mk_set_mirror_classify(1, 5, 7, 1)));
    ASSERT_EQ(0, tell(vf_mk_set_red(512 + 7, 5, 0, 0, 100, 0, 100)));  // green ones would be dropped
    for (u32 frame = 0; frame < 3; frame++) receive_now(frame_of(HOST_A, HOST_B));
    EXPECT_EQ(2u, queue(1).waiting_frames);
    EXPECT_EQ(3u, mirror(1).copies);
    EXPECT_EQ(1u, mirror(1).dropped);
    EXPECT_EQ(2u, copies().size());
}

TEST_F(Mirrors, ADestinationThatCannotSendLosesCopies)
{
    given_mirror(1, 1, INGRESS);
    ASSERT_EQ(0, tell(vf_mk_disable_port(ANALYSER)));
    EXPECT_EQ(NOTHING, seen_of(frame_of(HOST_A, HOST_B)));
    ASSERT_EQ(0, tell(vf_mk_delete_port(ANALYSER)));
    EXPECT_EQ(NOTHING, seen_of(frame_of(HOST_A, HOST_B)));
    EXPECT_EQ(2u, mirror(1).copies);
    EXPECT_EQ(2u, mirror(1).unsent);
}

// ---- the ring

TEST_F(Mirrors, TheRingIsBoundedAndKeepsTheOldest)
{
    given_mirror(1, 1, INGRESS);
    for (u32 frame = 0; frame < SOFTNP_COPIES + 5; frame++) receive(INGRESS, frame_of(HOST_A, HOST_B), frame);
    EXPECT_EQ(5u, device_counters().copies_lost);
    const std::vector<Copy> taken = copies();
    ASSERT_EQ(SOFTNP_COPIES, taken.size());
    for (u32 index = 0; index < SOFTNP_COPIES; index++) EXPECT_EQ(index, taken[index].tick_ms);
    EXPECT_EQ(1u, seen_of(frame_of(HOST_A, HOST_B)).size());
}

TEST_F(Mirrors, CopiesAreKeptOnlyWhenAskedFor)
{
    given_mirror(1, 1, INGRESS);
    receive_now(frame_of(HOST_A, HOST_B));
    ASSERT_EQ(0, softnp_capture_copies(0));
    EXPECT_EQ(NOTHING, seen_of(frame_of(HOST_A, HOST_B)));
    ASSERT_EQ(0, softnp_capture_copies(1));
    EXPECT_EQ(1u, seen_of(frame_of(HOST_A, HOST_B)).size());
    EXPECT_EQ(3u, mirror(1).copies);
    EXPECT_EQ(0u, device_counters().copies_lost);
    ASSERT_EQ(0, softnp_clear_counters());
    EXPECT_EQ(0u, mirror(1).copies);
}

// Any mirrors over any traffic: what they counted is what the analyser port sent, and what the ring gave.
TEST_F(Mirrors, CopiesAddUp)
{
    Random random;
    u64 taken = 0;
    u64 taken_bytes = 0;
    for (u32 round = 0; round < 60; round++) {
        for (u32 number = 1; number <= 4; number++) {
            tell(vf_mk_disable_mirror(number));
            tell(vf_mk_create_mirror(number));
            ASSERT_EQ(0, tell(vf_mk_set_mirror_source(number, 1 + random.below(5), 1 + random.below(3),
                                                      10 + 10 * random.below(2))));
            ASSERT_EQ(0, tell(vf_mk_set_mirror_dest(number, ANALYSER)));
            ASSERT_EQ(0, tell(vf_mk_set_mirror_tag(number, random.below(2), 0x8100, random.below(4096))));
            ASSERT_EQ(0, tell(vf_mk_enable_mirror(number)));
        }
        for (u32 count = 0; count < 50; count++) {
            const Mac& destination = random.once_in(2) ? BROADCAST : HOST_A;
            const u32 VID = 10 * random.below(4);
            const Bytes frame =
                random.once_in(3) ? frame_of(destination, HOST_B) : tagged_frame(destination, HOST_B, VID);
            const softnp_verdict verdict = receive_now(frame, 1 + random.below(4));
            const std::vector<Copy> seen = copies();
            EXPECT_EQ(static_cast<size_t>(__builtin_popcount(verdict.mirrors)), seen.size());
            for (const Copy& copy : seen) {
                taken++;
                taken_bytes += copy.bytes.size();
            }
        }
    }
    u64 made = 0;
    u64 made_bytes = 0;
    for (u32 number = 1; number <= 4; number++) {
        made += mirror(number).copies;
        made_bytes += mirror(number).copy_bytes;
    }
    EXPECT_GT(made, 0u);
    EXPECT_EQ(made, taken);
    EXPECT_EQ(made_bytes, taken_bytes);
    EXPECT_EQ(made, port_counters(ANALYSER).tx_frames);
    EXPECT_EQ(made_bytes, port_counters(ANALYSER).tx_bytes);
}

}  // namespace
