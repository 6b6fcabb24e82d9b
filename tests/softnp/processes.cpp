// One device for all processes: made once, shared, emptied, removed; private devices beside it.
#include "np_device.h"

#include "softnp/device.h"

#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>
#include <cstring>
#include <functional>

using namespace softnp_test;

namespace {

// Runs the function in a child and waits: its result becomes the exit code.
pid_t in_child(const std::function<int()>& work)
{
    const pid_t child = fork();
    if (child == 0) _exit(work());
    return child;
}
int exit_code(pid_t child)
{
    int status = 0;
    if (waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

long attachments()
{
    const int id = shmget(SOFTNP_KEY, 0, 0);
    shmid_ds segment{};
    return id < 0 || shmctl(id, IPC_STAT, &segment) != 0 ? -1 : static_cast<long>(segment.shm_nattch);
}

int status_of(vf_handle* handle, vf_cmd* command)
{
    const Sent sent = send(handle, command);
    return sent.delivered != 0 ? -1 : sent.error;
}

// The shared device, which lives in the IPC namespace of the test.
class SharedDevice : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(0, softnp_use_shared());
        ASSERT_EQ(0, softnp_remove_device());
    }
    void TearDown() override { EXPECT_EQ(0, softnp_remove_device()); }
};

TEST_F(SharedDevice, IsMadeByTheFirstSessionAndLeftByTheLast)
{
    EXPECT_EQ(-1, attachments());
    vf_handle* first = vf_init();
    ASSERT_NE(nullptr, first);
    EXPECT_EQ(1, attachments());
    vf_handle* second = vf_init();
    ASSERT_NE(nullptr, second);
    EXPECT_EQ(1, attachments());
    vf_release(first);
    EXPECT_EQ(1, attachments());
    EXPECT_EQ(0, status_of(second, vf_mk_create_vlan(10, 10)));
    vf_release(second);
    EXPECT_EQ(0, attachments());

    softnp_vlan vlan{};
    EXPECT_EQ(1, softnp_get_vlan(10, &vlan));  // the state stays, and a reader attaches for itself
    EXPECT_EQ(0, attachments());
}

TEST_F(SharedDevice, IsSeenByAllProcesses)
{
    EXPECT_EQ(0, exit_code(in_child([] {
                  vf_handle* handle = vf_init();
                  const int failed = status_of(handle, vf_mk_create_vlan(10, 10));
                  vf_release(handle);
                  return failed;
              })));
    EXPECT_EQ(SOFTNP_ERR_VLAN_EXISTS, exit_code(in_child([] {
                  vf_handle* handle = vf_init();
                  const int failed = status_of(handle, vf_mk_create_vlan(10, 10));
                  vf_release(handle);
                  return failed;
              })));
}

TEST_F(SharedDevice, CarriesEventsFromOneProcessToAnother)
{
    vf_handle* handle = vf_init();
    ASSERT_EQ(0, status_of(handle, vf_mk_create_vlan(10, 10)));
    ASSERT_EQ(0, status_of(handle, vf_mk_set_port_param(1, CREATE, 0x53, 1, 0, 1, 0x8100, 10, 0xC001)));
    EXPECT_EQ(0, exit_code(in_child([] {
                  const Bytes frame = frame_of(BROADCAST, HOST_A);
                  return softnp_receive(1, frame.data(), 64, 5, nullptr);
              })));
    softnp_event event{};
    EXPECT_EQ(1, softnp_next_event(&event));
    EXPECT_EQ(5u, event.tick_ms);
    vf_release(handle);
}

TEST_F(SharedDevice, IsMadeOnceByManyAtATime)
{
    constexpr u32 PROCESSES = 8;
    for (u32 round = 0; round < 20; round++) {
        ASSERT_EQ(0, softnp_remove_device());
        int gate[2];
        ASSERT_EQ(0, pipe(gate));
        std::vector<pid_t> children;
        for (u32 number = 1; number <= PROCESSES; number++)
            children.push_back(in_child([&gate, number] {
                char go = 0;
                close(gate[1]);
                if (read(gate[0], &go, 1) != 0)  // returns when the parent closes its end
                    return 2;
                vf_handle* handle = vf_init();
                const int failed = handle ? status_of(handle, vf_mk_create_vlan(number, number)) : 3;
                vf_release(handle);
                return failed == 0 ? 0 : 1;
            }));
        close(gate[0]);
        close(gate[1]);
        for (const pid_t child : children) EXPECT_EQ(0, exit_code(child));
        softnp_device_counters counters{};
        ASSERT_EQ(0, softnp_get_device_counters(&counters));
        EXPECT_EQ(PROCESSES, counters.vlans);
    }
}

TEST_F(SharedDevice, TakesTheCommandsOfManyProcessesOneByOne)
{
    constexpr u32 PROCESSES = 4;
    constexpr u32 STATIONS = 500;
    vf_handle* handle = vf_init();
    ASSERT_EQ(0, status_of(handle, vf_mk_create_vlan(10, 10)));
    ASSERT_EQ(0, status_of(handle, vf_mk_set_port_param(1, CREATE, 0x53, 1, 0, 1, 0x8100, 10, 0xC001)));
    std::vector<pid_t> children;
    for (u32 number = 0; number < PROCESSES; number++)
        children.push_back(in_child([number, handle] {
            for (u32 station = 0; station < STATIONS; station++) {
                vf_fdb_request request{
                    0,  1,
                    10, {2, 0, 0, static_cast<u8>(number), static_cast<u8>(station >> 8), static_cast<u8>(station)},
                    1,  station,
                    0,  1};
                if (status_of(handle, vf_mk_addFDB(&request, nullptr)) != 0) return 1;
                if (station % 2 != 0 && status_of(handle, vf_mk_removeFDB(10, request.mac)) != 0) return 1;
            }
            return 0;
        }));
    for (const pid_t child : children) EXPECT_EQ(0, exit_code(child));
    softnp_device_counters counters{};
    ASSERT_EQ(0, softnp_get_device_counters(&counters));
    EXPECT_EQ(PROCESSES * STATIONS / 2, counters.mac_entries);
    EXPECT_EQ(2 + PROCESSES * STATIONS * 3 / 2, counters.commands);
    EXPECT_EQ(0u, counters.commands_refused);
    vf_release(handle);
}

TEST_F(SharedDevice, IsRemovedOnOrder)
{
    vf_handle* handle = vf_init();
    ASSERT_EQ(0, status_of(handle, vf_mk_create_vlan(10, 10)));
    vf_release(handle);
    EXPECT_EQ(0, softnp_remove_device());
    EXPECT_EQ(-1, attachments());
    EXPECT_EQ(0, softnp_remove_device());
    softnp_vlan vlan{};
    EXPECT_EQ(0, softnp_get_vlan(10, &vlan));  // of a new device
}

TEST_F(SharedDevice, OfAnotherLayoutIsRefusedAndLeftAlone)
{
    const int id = shmget(SOFTNP_KEY, 1 << 20, IPC_CREAT | IPC_EXCL | 0600);
    ASSERT_GE(id, 0);
    auto* words = static_cast<u32*>(shmat(id, nullptr, 0));
    ASSERT_NE(reinterpret_cast<void*>(-1), static_cast<void*>(words));
    words[0] = softnp::STATE_READY;
    words[1] = 17;
    EXPECT_EQ(nullptr, vf_init());
    u32 tick_ms = 0;
    EXPECT_EQ(-1, softnp_get_tick(&tick_ms));
    EXPECT_EQ(17u, words[1]);

    words[0] = 0x12345678;  // somebody else's
    EXPECT_EQ(nullptr, vf_init());
    EXPECT_EQ(0x12345678u, words[0]);
    EXPECT_EQ(1, attachments());
    shmdt(words);
}

TEST_F(SharedDevice, LeftHalfMadeIsMadeAnew)
{
    const int id = shmget(SOFTNP_KEY, 8192, IPC_CREAT | IPC_EXCL | 0600);
    ASSERT_GE(id, 0);
    vf_handle* handle = vf_init();
    ASSERT_NE(nullptr, handle);
    EXPECT_EQ(0, status_of(handle, vf_mk_create_vlan(10, 10)));
    vf_release(handle);
}

TEST_F(SharedDevice, TakesTheMacCapacityOfItsMaker)
{
    EXPECT_EQ(0, exit_code(in_child([] {
                  softnp_device_counters counters{};
                  return softnp_set_mac_capacity(1000) != 0 || softnp_get_device_counters(&counters) != 0 ||
                         counters.mac_capacity != 1000;
              })));
    softnp_device_counters counters{};
    ASSERT_EQ(0, softnp_get_device_counters(&counters));
    EXPECT_EQ(1000u, counters.mac_capacity);
}

TEST_F(SharedDevice, PrivateDevicesStandBesideIt)
{
    EXPECT_EQ(0, exit_code(in_child([] {
                  vf_handle* shared = vf_init();
                  if (status_of(shared, vf_mk_create_vlan(10, 10)) != 0 || softnp_use_private() != -1)
                      return 1;  // not while a session is open
                  vf_release(shared);
                  softnp_vlan vlan{};
                  if (softnp_use_private() != 0 || softnp_get_vlan(10, &vlan) != 0) return 2;
                  vf_handle* mine = vf_init();
                  const int failed = status_of(mine, vf_mk_create_vlan(20, 20));
                  vf_release(mine);
                  if (failed != 0 || softnp_get_vlan(20, &vlan) != 1) return 3;
                  return softnp_use_shared() == 0 && softnp_get_vlan(10, &vlan) == 1 ? 0 : 4;
              })));
    softnp_vlan vlan{};
    EXPECT_EQ(1, softnp_get_vlan(10, &vlan));
    EXPECT_EQ(0, softnp_get_vlan(20, &vlan));
}

using PrivateDevice = NpDevice;

TEST_F(PrivateDevice, IsSharedWithForkedChildren)
{
    EXPECT_EQ(0, exit_code(in_child([this] { return status_of(handle, vf_mk_create_vlan(10, 10)); })));
    EXPECT_EQ(SOFTNP_ERR_VLAN_EXISTS, create_vlan(10));
}

// A child that holds the device's lock for a time; the call returns once it has it.
pid_t lock_holder(u32 time_ms)
{
    int ready[2];
    EXPECT_EQ(0, pipe(ready));
    const pid_t child = in_child([&ready, time_ms] {
        const softnp::DeviceLock lock(softnp::attached());
        const char sign = 1;
        if (!lock.state || write(ready[1], &sign, 1) != 1) return 1;
        usleep(time_ms * 1000);
        return 0;
    });
    char sign = 0;
    EXPECT_EQ(1, read(ready[0], &sign, 1));
    close(ready[0]);
    close(ready[1]);
    return child;
}

TEST_F(PrivateDevice, WaitsForAnotherProcess)
{
    const pid_t child = lock_holder(150);
    EXPECT_EQ(nullptr, softnp::DeviceLock(softnp::attached(), 20).state);  // that is not long enough
    EXPECT_EQ(0, create_vlan(10));
    EXPECT_EQ(0, exit_code(child));
}

TEST_F(PrivateDevice, IsEmptyEachTime)
{
    ASSERT_EQ(0, create_vlan(10));
    EXPECT_EQ(-1, softnp_use_private());
    EXPECT_EQ(-1, softnp_use_shared());
    vf_release(handle);
    ASSERT_EQ(0, softnp_use_private());
    handle = vf_init();
    EXPECT_EQ(0u, device_counters().vlans);
}

TEST_F(PrivateDevice, KeepsItsStateBetweenSessions)
{
    ASSERT_EQ(0, create_vlan(10));
    vf_release(handle);
    handle = vf_init();
    EXPECT_EQ(SOFTNP_ERR_VLAN_EXISTS, create_vlan(10));
}

TEST_F(PrivateDevice, IsEmptiedByAReset)
{
    given_three_ports_in_a_vlan();
    ASSERT_EQ(0, tell(vf_mk_create_protgroup(1)));
    ASSERT_EQ(0, create_vlan(20));
    ASSERT_EQ(0, join_by_protocol(20, 1, 1));
    ASSERT_EQ(0, tell(vf_mk_set_ph_shaping(1, 5, 6)));
    ASSERT_EQ(0, add_mac(10, HOST_A, 1, 1));
    receive(2, frame_of(BROADCAST, HOST_B), 99999999);
    ASSERT_EQ(0, softnp_refuse("*", 0, SOFTNP_REFUSE_STATUS, 1));

    ASSERT_EQ(0, softnp_reset());

    const softnp_device_counters zero{};
    softnp_device_counters counters = device_counters();
    EXPECT_EQ(SOFTNP_MAC_ENTRIES, counters.mac_capacity);
    counters.mac_capacity = 0;
    EXPECT_EQ(0, std::memcmp(&zero, &counters, sizeof zero));
    softnp_phport phport{};
    ASSERT_EQ(1, softnp_get_phport(1, &phport));
    EXPECT_EQ(0u, phport.shaping_rate);
    softnp_mac_entry entry{};
    EXPECT_EQ(0, softnp_get_mac_entry(10, HOST_A.data(), &entry));
    u64 cursor = 0;
    softnp_log_entry line{};
    EXPECT_EQ(0, softnp_log_read(&cursor, nullptr, &line));
    u32 tick_ms = 0;
    ASSERT_EQ(0, softnp_get_tick(&tick_ms));
    EXPECT_LT(tick_ms, 60000u);
    const char* name = nullptr;
    u64 sent = 0;
    for (u32 index = 0; softnp_command_count(index, &name, &sent, nullptr) == 1; index++) EXPECT_EQ(0u, sent) << name;

    given_three_ports_in_a_vlan();  // the session goes on, and everything is free again
    EXPECT_EQ(0, add_mac(10, HOST_A, 1, 1));
}

TEST_F(PrivateDevice, ReadersRefuseNull)
{
    u32 cursor = 0;
    EXPECT_EQ(-1, softnp_get_port(1, nullptr));
    EXPECT_EQ(-1, softnp_get_binding(1, 0, nullptr));
    EXPECT_EQ(-1, softnp_get_phport(1, nullptr));
    EXPECT_EQ(-1, softnp_get_vlan(1, nullptr));
    EXPECT_EQ(-1, softnp_get_member(1, 1, nullptr));
    EXPECT_EQ(-1, softnp_get_group(0, nullptr));
    EXPECT_EQ(-1, softnp_get_mac_entry(1, nullptr, nullptr));
    EXPECT_EQ(-1, softnp_read_mac_entries(&cursor, nullptr, 1));
    EXPECT_EQ(-1, softnp_get_port_counters(1, nullptr));
    EXPECT_EQ(-1, softnp_get_device_counters(nullptr));
}

// What a process that died while it held the lock may leave, and what is made of it.
TEST_F(PrivateDevice, IsMadeConsistentFromWhatIsWhole)
{
    given_three_ports_in_a_vlan();
    ASSERT_EQ(0, create_vlan(20));
    ASSERT_EQ(0, tell(vf_mk_create_protgroup(1)));
    ASSERT_EQ(0, join_by_protocol(20, 1, 1));
    ASSERT_EQ(0, create_vlan(30));
    ASSERT_EQ(0, join_by_protocol(30, 1, 1));
    for (u8 number = 0; number < 50; number++) ASSERT_EQ(0, add_mac(10, {2, 0, 0, 0, 0, number}, 1, number));
    ASSERT_EQ(0, remove_mac(10, {2, 0, 0, 0, 0, 7}));

    softnp::State& state = *softnp::attached();
    state.mac.entry_count = 12345;
    state.mac.free_head = 3;
    std::memset(&state + 1, 0xEE, 64);  // the first buckets
    state.fid[10] = {0, 9};
    state.groups.count = 99;
    state.groups.group[1].count = 99;
    state.events.count = 99999;
    state.refusals.count = 99;
    state.vlan[20].exists = 0;
    state.port[3].exists = 0;
    softnp::rebuild(state);

    EXPECT_EQ(49u, state.mac.entry_count);
    for (u8 number = 0; number < 50; number++) {
        const Mac mac{2, 0, 0, 0, 0, number};
        softnp_mac_entry entry{};
        EXPECT_EQ(number != 7 ? 1 : 0, softnp_get_mac_entry(10, mac.data(), &entry)) << static_cast<int>(number);
    }
    EXPECT_EQ(1, state.fid[10].vlans);
    EXPECT_EQ(0, state.fid[10].np_port);
    EXPECT_EQ(1, state.fid[0xC001].np_port);
    EXPECT_EQ(SOFTNP_GROUPS, state.groups.count);
    EXPECT_EQ(SOFTNP_GROUP_PROTOCOLS, state.groups.group[1].count);
    EXPECT_EQ(SOFTNP_EVENTS, state.events.count);
    EXPECT_EQ(SOFTNP_REFUSALS, state.refusals.count);
    ASSERT_EQ(1u, port(1).binding_count);
    softnp_binding binding{};
    ASSERT_EQ(1, softnp_get_binding(1, 0, &binding));
    EXPECT_EQ(30, binding.VID);
    EXPECT_EQ(2, vlan(10).member_count);
    ASSERT_EQ(0, softnp_clear_refusals());
    EXPECT_EQ(0, add_mac(10, HOST_A, 1, 1));
}

}  // namespace
