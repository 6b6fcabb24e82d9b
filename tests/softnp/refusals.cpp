// Refusals on order: the n-th command of a kind fails at delivery, with a status, in its answer, or answers late.
#include "np_device.h"

#include <chrono>

using namespace softnp_test;

namespace {

u64 elapsed_ms(std::chrono::steady_clock::time_point since)
{
    const auto elapsed = std::chrono::steady_clock::now() - since;
    return static_cast<u64>(std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count());
}

}  // namespace

using Refusals = NpDevice;

TEST_F(Refusals, AtDeliveryTheDeviceSeesNothing)
{
    ASSERT_EQ(0, softnp_refuse("create_vlan", 1, SOFTNP_REFUSE_DELIVERY, -7));
    vf_cmd* command = vf_mk_create_vlan(10, 10);
    EXPECT_EQ(-7, vf_call(handle, 0, command, 0, 0));
    EXPECT_EQ(0, command->status);
    EXPECT_EQ(SOFTNP_ERR_NOT_DELIVERED, vf_rd_err(command));
    EXPECT_EQ(0u, device_counters().vlans);
    EXPECT_EQ(0u, device_counters().commands);
    EXPECT_EQ(1u, device_counters().commands_lost);

    EXPECT_EQ(0, vf_call(handle, 0, command, 0, 0));  // the second attempt
    EXPECT_EQ(0, vf_rd_err(command));
    EXPECT_EQ(1u, device_counters().vlans);
    vf_cmdNFreeB(command);
}

TEST_F(Refusals, WithAStatusTheStateStays)
{
    ASSERT_EQ(0, softnp_refuse("create_vlan", 1, SOFTNP_REFUSE_STATUS, 1234));
    const Sent sent = send(handle, vf_mk_create_vlan(10, 10));
    EXPECT_EQ(0, sent.delivered);
    EXPECT_EQ(1234, sent.status);
    EXPECT_EQ(1234, sent.error);
    EXPECT_EQ(0u, device_counters().vlans);
    EXPECT_EQ(1u, device_counters().commands_refused);
    EXPECT_EQ(0, create_vlan(10));
}

TEST_F(Refusals, InTheAnswerTheStatusIsGood)
{
    given_three_ports_in_a_vlan();
    ASSERT_EQ(0, softnp_refuse("addFDB", 1, SOFTNP_REFUSE_ANSWER, 0));
    vf_cmd* add = make_add(10, HOST_A, 1, 1);
    EXPECT_EQ(0, vf_call(handle, 0, add, 0, 0));
    EXPECT_EQ(0, add->status);
    EXPECT_EQ(0, vf_rd_err(add));
    EXPECT_EQ(SOFTNP_ERR_SCRIPTED, vf_rd_addFDB(add));
    vf_cmdNFreeB(add);
    EXPECT_EQ(0u, device_counters().mac_entries);

    ASSERT_EQ(0, add_mac(10, HOST_A, 1, 1));
    ASSERT_EQ(0, softnp_refuse("findFDB", 1, SOFTNP_REFUSE_ANSWER, 55));
    vf_cmd* find = vf_mk_findFDB(10, HOST_A.data(), nullptr, nullptr, nullptr);
    EXPECT_EQ(0, vf_call(handle, 0, find, 0, 0));
    u32 words[6] = {};
    vf_rd_findFDB(find, words);
    EXPECT_EQ(55u, words[0]);
    EXPECT_EQ(0, find->status);
    vf_cmdNFreeB(find);

    ASSERT_EQ(0, softnp_refuse("removeFDB", 1, SOFTNP_REFUSE_ANSWER, 56));
    vf_cmd* removal = vf_mk_removeFDB(10, HOST_A.data());
    EXPECT_EQ(0, vf_call(handle, 0, removal, 0, 0));
    EXPECT_EQ(56, vf_rd_removeFDB(removal));
    vf_cmdNFreeB(removal);
    EXPECT_EQ(1u, device_counters().mac_entries);
}

TEST_F(Refusals, DefaultsAreFailures)
{
    ASSERT_EQ(0, softnp_refuse("create_vlan", 1, SOFTNP_REFUSE_DELIVERY, 0));
    EXPECT_EQ(-1, send(handle, vf_mk_create_vlan(10, 10)).delivered);
    ASSERT_EQ(0, softnp_refuse("create_vlan", 1, SOFTNP_REFUSE_STATUS, 0));
    EXPECT_EQ(SOFTNP_ERR_SCRIPTED, send(handle, vf_mk_create_vlan(10, 10)).error);
}

TEST_F(Refusals, ALateAnswerIsAnAnswer)
{
    ASSERT_EQ(0, softnp_refuse("create_vlan", 1, SOFTNP_ANSWER_LATE, 120));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(0, create_vlan(10));
    EXPECT_GE(elapsed_ms(start), 120u);
    EXPECT_EQ(1u, device_counters().vlans);
}

TEST_F(Refusals, LateAnswersOfAChainAddUp)
{
    ASSERT_EQ(0, softnp_refuse("create_vlan", 0, SOFTNP_ANSWER_LATE, 30));
    vf_cmd* chain = vf_Joint(vf_Joint(vf_mk_create_vlan(1, 1), vf_mk_create_vlan(2, 2)), vf_mk_create_vlan(3, 3));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(0, vf_call(handle, 0, chain, 0, 0));
    EXPECT_GE(elapsed_ms(start), 90u);
    vf_cmdNFreeB(chain);
}

TEST_F(Refusals, MeetTheNthOfTheKindOnce)
{
    ASSERT_EQ(0, softnp_refuse("create_vlan", 3, SOFTNP_REFUSE_STATUS, 99));
    EXPECT_EQ(0, create_vlan(1));
    EXPECT_EQ(0, tell(vf_mk_delete_vlan(1)));  // another kind does not count
    EXPECT_EQ(0, create_vlan(2));
    EXPECT_EQ(99, create_vlan(3));
    EXPECT_EQ(0, create_vlan(3));
}

TEST_F(Refusals, TwoOrdersRefuseBothAttempts)
{
    ASSERT_EQ(0, softnp_refuse("create_vlan", 1, SOFTNP_REFUSE_STATUS, 1));
    ASSERT_EQ(0, softnp_refuse("create_vlan", 2, SOFTNP_REFUSE_STATUS, 2));
    EXPECT_EQ(1, create_vlan(1));
    EXPECT_EQ(2, create_vlan(1));
    EXPECT_EQ(0, create_vlan(1));
}

TEST_F(Refusals, TheOldestOfSeveralCounts)
{
    ASSERT_EQ(0, softnp_refuse("*", 1, SOFTNP_REFUSE_STATUS, 11));
    ASSERT_EQ(0, softnp_refuse("create_vlan", 1, SOFTNP_REFUSE_STATUS, 22));
    EXPECT_EQ(11, create_vlan(1));
    EXPECT_EQ(0, create_vlan(1));  // the second order met the same command, and is used up
}

TEST_F(Refusals, OfAnyKindAndForEver)
{
    ASSERT_EQ(0, softnp_refuse("*", 0, SOFTNP_REFUSE_STATUS, 44));
    for (int round = 0; round < 5; round++) {
        EXPECT_EQ(44, create_vlan(1));
        EXPECT_EQ(44, create_port(1));
    }
    ASSERT_EQ(0, softnp_clear_refusals());
    EXPECT_EQ(0, create_vlan(1));
}

TEST_F(Refusals, AtDeliveryStopTheWholeChain)
{
    ASSERT_EQ(0, softnp_refuse("create_vlan", 2, SOFTNP_REFUSE_DELIVERY, 5));
    vf_cmd* first = vf_mk_create_vlan(1, 1);
    vf_cmd* second = vf_mk_create_vlan(2, 2);
    vf_cmd* third = vf_mk_delete_vlan(1);
    vf_cmd* chain = vf_Joint(vf_Joint(first, second), third);
    EXPECT_EQ(5, vf_call(handle, 0, chain, 0, 0));
    for (vf_cmd* command : {first, second, third}) EXPECT_EQ(SOFTNP_ERR_NOT_DELIVERED, vf_rd_err(command));
    EXPECT_EQ(3u, device_counters().commands_lost);
    EXPECT_EQ(0u, device_counters().vlans);
    vf_cmdNFreeB(chain);
}

TEST_F(Refusals, WithAStatusMeetOneOfAChain)
{
    ASSERT_EQ(0, softnp_refuse("create_vlan", 2, SOFTNP_REFUSE_STATUS, 5));
    vf_cmd* second = vf_mk_create_vlan(2, 2);
    vf_cmd* chain = vf_Joint(vf_Joint(vf_mk_create_vlan(1, 1), second), vf_mk_create_vlan(3, 3));
    EXPECT_EQ(0, vf_call(handle, 0, chain, 0, 0));
    EXPECT_EQ(0, vf_rd_err(chain));
    EXPECT_EQ(5, vf_rd_err(second));
    EXPECT_EQ(2u, device_counters().vlans);
    vf_cmdNFreeB(chain);
}

TEST_F(Refusals, AreLoggedWithTheirError)
{
    ASSERT_EQ(0, softnp_refuse("create_vlan", 1, SOFTNP_REFUSE_DELIVERY, 0));
    ASSERT_EQ(0, softnp_refuse("create_vlan", 2, SOFTNP_REFUSE_ANSWER, 77));
    send(handle, vf_mk_create_vlan(1, 1));
    send(handle, vf_mk_create_vlan(1, 1));
    u64 cursor = 0;
    softnp_log_entry entry{};
    ASSERT_EQ(1, softnp_log_read(&cursor, nullptr, &entry));
    EXPECT_EQ(SOFTNP_ERR_NOT_DELIVERED, entry.error);
    ASSERT_EQ(1, softnp_log_read(&cursor, nullptr, &entry));
    EXPECT_EQ(77, entry.error);
    EXPECT_STREQ("create_vlan VID=1 FID=0x1", entry.text);
}

TEST_F(Refusals, OrdersThatMakeNoSenseAreRefusedThemselves)
{
    EXPECT_EQ(-1, softnp_refuse("no_such_command", 1, SOFTNP_REFUSE_STATUS, 1));
    EXPECT_EQ(-1, softnp_refuse(nullptr, 1, SOFTNP_REFUSE_STATUS, 1));
    EXPECT_EQ(-1, softnp_refuse("create_vlan", 1, 0, 1));
    EXPECT_EQ(-1, softnp_refuse("create_vlan", 1, 5, 1));
    EXPECT_EQ(-1, softnp_refuse("create_vlan", 1, SOFTNP_REFUSE_STATUS, -1));
    EXPECT_EQ(-1, softnp_refuse("create_vlan", 1, SOFTNP_REFUSE_STATUS, 32768));
    EXPECT_EQ(-1, softnp_refuse("create_vlan", 1, SOFTNP_ANSWER_LATE, -1));
    EXPECT_EQ(-1, softnp_refuse("create_vlan", 1, SOFTNP_ANSWER_LATE, SOFTNP_MAX_DELAY_MS + 1));
    EXPECT_EQ(0, create_vlan(1));
}

TEST_F(Refusals, AreBounded)
{
    for (u32 count = 0; count < SOFTNP_REFUSALS; count++)
        ASSERT_EQ(0, softnp_refuse("create_vlan", count + 1, SOFTNP_REFUSE_STATUS, 1));
    EXPECT_EQ(-1, softnp_refuse("create_vlan", 1, SOFTNP_REFUSE_STATUS, 1));
    for (u32 count = 0; count < SOFTNP_REFUSALS; count++) ASSERT_EQ(1, create_vlan(1));
    EXPECT_EQ(0, create_vlan(1));
}

TEST_F(Refusals, OfSessionsCountDown)
{
    ASSERT_EQ(0, softnp_refuse_init(2));
    EXPECT_EQ(nullptr, vf_init());
    EXPECT_EQ(nullptr, vf_init());
    vf_handle* third = vf_init();
    EXPECT_NE(nullptr, third);
    vf_release(third);
    ASSERT_EQ(0, softnp_refuse_init(1));
    ASSERT_EQ(0, softnp_clear_refusals());
    vf_handle* another = vf_init();
    EXPECT_NE(nullptr, another);
    vf_release(another);
}
