// The device's lock after the death of its owner. Only where the system keeps lists of robust locks.
#include "../softnp/np_device.h"

#include "softnp/device.h"

#include <sys/wait.h>
#include <unistd.h>
#include <csignal>

using namespace softnp_test;

using OwnerDeath = NpDevice;

TEST_F(OwnerDeath, LeavesTheDeviceUsableAndIsCounted)
{
    given_three_ports_in_a_vlan();
    ASSERT_EQ(0, add_mac(10, HOST_A, 1, 1));
    for (u64 death = 1; death <= 3; death++) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            const softnp::DeviceLock lock(softnp::attached());
            softnp::attached()->mac.entry_count = 999;  // in the middle of a change
            softnp::attached()->mac.free_head = 17;
            kill(getpid(), SIGKILL);
        }
        int status = 0;
        ASSERT_EQ(child, waitpid(child, &status, 0));
        ASSERT_TRUE(WIFSIGNALED(status));

        EXPECT_EQ(1u, device_counters().mac_entries);
        EXPECT_EQ(death, device_counters().owner_deaths);
        EXPECT_EQ(0, add_mac(10, HOST_B, 2, 2));
        EXPECT_EQ(0, remove_mac(10, HOST_B));
    }
    softnp_verdict verdict = receive(2, frame_of(HOST_A, HOST_C));
    EXPECT_EQ(SOFTNP_FORWARDED, static_cast<int>(verdict.outcome));
}

// Processes are killed at random moments of their work; the others never wait for a dead one.
TEST_F(OwnerDeath, NeverStopsTheSurvivors)
{
    given_three_ports_in_a_vlan();
    for (u32 round = 0; round < 60; round++) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (u32 step = 0; step < 10000000; step++)  // far longer than it lives
            {
                const Mac mac{2, 0, 0, 1, static_cast<u8>(step >> 8), static_cast<u8>(step)};
                send(handle, make_add(10, mac, 1, step));
                if (step % 3 != 0) send(handle, vf_mk_removeFDB(10, mac.data()));
            }
            _exit(1);
        }
        usleep(500 + round * 37 % 1500);
        ASSERT_EQ(0, kill(child, SIGKILL));
        int status = 0;
        ASSERT_EQ(child, waitpid(child, &status, 0));

        std::vector<softnp_mac_entry> entries(SOFTNP_MAC_ENTRIES);
        u32 cursor = 0;
        const int listed = softnp_read_mac_entries(&cursor, entries.data(), SOFTNP_MAC_ENTRIES);
        ASSERT_GE(listed, 0);
        EXPECT_EQ(static_cast<u32>(listed), device_counters().mac_entries);
        for (int index = 0; index < listed; index++)
            EXPECT_EQ(0, send(handle, vf_mk_removeFDB(10, entries[static_cast<size_t>(index)].mac)).error);
        EXPECT_EQ(0u, device_counters().mac_entries);
    }
    std::printf("deaths while holding the lock: %llu\n",
                static_cast<unsigned long long>(device_counters().owner_deaths));
}

// Killed in the middle of queueing and sending, a process leaves counters that add up and buffers that are free.
TEST_F(OwnerDeath, LosesWhatWaitsAndCountsItSo)
{
    given_three_ports_in_a_vlan();
    ASSERT_EQ(0, add_mac(10, HOST_A, 1, 1));
    ASSERT_EQ(0, tell(vf_mk_create_stream(0)));
    ASSERT_EQ(0, tell(vf_mk_create_queue(0, 1, 100)));
    ASSERT_EQ(0, tell(vf_mk_add_queue(0, 0, 0, 1, 0, 1)));
    ASSERT_EQ(0, tell(vf_mk_set_stream_shaping(0, 2000000, 0, 2000000, 0)));
    const Bytes frame = frame_of(HOST_A, HOST_B);
    for (u32 round = 0; round < 60; round++) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (u32 step = 0; step < 10000000; step++)  // far longer than it lives
                softnp_receive_now(2, frame.data(), static_cast<u32>(frame.size()), nullptr);
            _exit(1);
        }
        usleep(500 + round * 37 % 1500);
        ASSERT_EQ(0, kill(child, SIGKILL));
        int status = 0;
        ASSERT_EQ(child, waitpid(child, &status, 0));

        softnp_queue queue{};
        ASSERT_EQ(1, softnp_get_queue(0, &queue));
        const softnp_queue_counters& counters = queue.counters;
        EXPECT_EQ(counters.offered_frames, counters.sent_frames + queue.waiting_frames + counters.dropped_length +
                                               counters.dropped_buffers + counters.flushed_frames);
        EXPECT_LE(queue.waiting_frames, 100u);
    }
    ASSERT_EQ(0, tell(vf_mk_delete_queue(0)));
    EXPECT_EQ(0u, device_counters().buffers_used);
    std::printf("deaths while holding the lock: %llu\n",
                static_cast<unsigned long long>(device_counters().owner_deaths));
}
