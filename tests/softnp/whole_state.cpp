// Streams, lists and mirrors as part of the one device: shared between processes, emptied by a reset, made consistent.
#include "line_bytes.h"
#include "qos_device.h"

#include "softnp/device.h"

#include <sys/wait.h>
#include <unistd.h>
#include <cstring>
#include <memory>

using namespace softnp_test;

namespace {

class WholeState : public QosDevice {
protected:
    // Frames wait, a line is bound and has matched, and a mirror has made copies.
    void given_all_subjects()
    {
        given_stream(0, 1);
        given_queue(1, 0, 1, 10);
        given_queue(2, 0, 2, 10);
        stop(0);
        ASSERT_EQ(0, tell(vf_mk_add_classify_act(3, 0, LineBytes(0, 1, 0).bytes.data())));
        ASSERT_EQ(0, tell(vf_mk_add_classify_prof(3, INGRESS, 10, NO_WORDS)));
        ASSERT_EQ(0, tell(vf_mk_add_prefilter_act(4, 0, BlockBytes(0).bytes.data())));
        ASSERT_EQ(0, tell(vf_mk_add_prefilter_prof(4, INGRESS, 10, NO_WORDS)));
        ASSERT_EQ(0, tell(vf_mk_add_loc_act(5, 0, BlockBytes(0).bytes.data())));
        ASSERT_EQ(0, tell(vf_mk_add_loc_prof(5, INGRESS, 10, NO_WORDS)));
        ASSERT_EQ(0, tell(vf_mk_create_mirror(1)));
        ASSERT_EQ(0, tell(vf_mk_set_mirror_source(1, 1, INGRESS, 0)));
        ASSERT_EQ(0, tell(vf_mk_set_mirror_dest(1, 3)));
        ASSERT_EQ(0, tell(vf_mk_enable_mirror(1)));
        ASSERT_EQ(0, softnp_capture_copies(1));
        send_frames(4, {});
    }
};

TEST_F(WholeState, IsSharedWithOtherProcesses)
{
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        given_all_subjects();
        _exit(HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    ASSERT_EQ(0, status);
    EXPECT_EQ(4u, queue(1).waiting_frames);
    softnp_line line{};
    ASSERT_EQ(1, softnp_get_line(SOFTNP_CLASSIFY, 3, 1, &line));
    EXPECT_EQ(4u, line.frames);
    const auto copy = std::make_unique<softnp_copy>();
    for (u32 count = 0; count < 4; count++) EXPECT_EQ(1, softnp_next_copy(copy.get()));
    EXPECT_EQ(0, softnp_next_copy(copy.get()));
}

TEST_F(WholeState, IsEmptiedByAReset)
{
    given_all_subjects();
    ASSERT_EQ(0, softnp_reset());
    softnp_device_counters counters = device_counters();
    counters.mac_capacity = 0;
    const softnp_device_counters zero{};
    EXPECT_EQ(0, std::memcmp(&zero, &counters, sizeof zero));
    softnp_stream stream{};
    softnp_queue queue{};
    softnp_mirror mirror{};
    softnp_list list{};
    softnp_list_binding binding{};
    const auto copy = std::make_unique<softnp_copy>();
    EXPECT_EQ(0, softnp_get_stream(0, &stream));
    EXPECT_EQ(0, softnp_get_queue(1, &queue));
    EXPECT_EQ(0, softnp_get_mirror(1, &mirror));
    EXPECT_EQ(0, softnp_next_copy(copy.get()));
    for (const int kind : {SOFTNP_CLASSIFY, SOFTNP_PREFILTER, SOFTNP_LOC}) {
        EXPECT_EQ(0, softnp_get_list(kind, 0, &list));
        EXPECT_EQ(0, softnp_get_list_binding(kind, 10, INGRESS, &binding));
    }
    ASSERT_EQ(0, softnp_set_tick(0));
    given_three_ports_in_a_vlan();
    ASSERT_EQ(0, add_mac(10, HOST_A, EGRESS, 1));
    given_all_subjects();
    EXPECT_EQ(4u, device_counters().buffers_used);
}

// Frames that wait are lost with a process that died over them, and counted as flushed; the rest is as it was.
TEST_F(WholeState, IsMadeConsistentFromWhatIsWhole)
{
    given_all_subjects();
    softnp::State& state = *softnp::attached();
    state.qos.buffers.used = 77;
    state.qos.buffers.free_head = 5;
    state.qos.queue[1].head = 70;
    state.qos.queue[1].tail = 1;
    state.qos.queue[1].record.waiting_frames = 9;
    state.qos.stream[0].record.queue[2] = SOFTNP_NO_QUEUE;
    state.lists.profile[2].count = 9999;
    state.lists.bindings[SOFTNP_CLASSIFY].count = 99999;
    state.lists.bindings[SOFTNP_CLASSIFY].place[10][INGRESS] = 500;
    state.lists.bindings[SOFTNP_LOC].place[10][EGRESS] = 1;
    state.mirrors.ring.count = 9999;
    state.mirrors.ring.first = 9999;
    softnp::rebuild(state);

    EXPECT_EQ(0u, device_counters().buffers_used);
    EXPECT_EQ(0u, queue(1).waiting_frames);
    EXPECT_EQ(4u, queue(1).counters.flushed_frames);
    EXPECT_EQ(queue(1).counters.offered_bytes, queue(1).counters.lost_bytes);
    EXPECT_EQ(4u, stream(0).counters.flushed_frames);
    EXPECT_EQ(2u, stream(0).queue[2]);
    EXPECT_EQ(SOFTNP_PROFILE_LINES, state.lists.profile[2].count);
    EXPECT_EQ(SOFTNP_COPIES, state.mirrors.ring.count);
    EXPECT_LT(state.mirrors.ring.first, SOFTNP_COPIES);
    EXPECT_EQ(1u, state.lists.bindings[SOFTNP_CLASSIFY].count);
    softnp_list_binding binding{};
    ASSERT_EQ(1, softnp_get_list_binding(SOFTNP_CLASSIFY, 10, INGRESS, &binding));
    EXPECT_EQ(3u, binding.list);
    EXPECT_EQ(0, softnp_get_list_binding(SOFTNP_LOC, 10, EGRESS, &binding));

    send_frames(2, {});
    EXPECT_EQ(2u, queue(1).waiting_frames);
    EXPECT_EQ(2u, device_counters().buffers_used);
}

TEST_F(WholeState, ReadersRefuseNull)
{
    EXPECT_EQ(-1, softnp_get_stream(0, nullptr));
    EXPECT_EQ(-1, softnp_get_queue(0, nullptr));
    EXPECT_EQ(-1, softnp_get_list(SOFTNP_CLASSIFY, 0, nullptr));
    EXPECT_EQ(-1, softnp_get_line(SOFTNP_CLASSIFY, 1, 1, nullptr));
    EXPECT_EQ(-1, softnp_get_list_binding(SOFTNP_CLASSIFY, 1, 1, nullptr));
    EXPECT_EQ(-1, softnp_get_mirror(1, nullptr));
    EXPECT_EQ(-1, softnp_next_copy(nullptr));
}

}  // namespace
