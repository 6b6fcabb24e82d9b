// The frame of the port operations: descriptor, locks, error word, and an NP that refuses.
#include "support/frame_rows.h"

namespace zelfdb {
namespace {

// Port 1 ether on physical port 1, down, in VLAN 10, with learned entries in two VLANs and a held link frame; port 2 a
// virtual interface in VLAN 20; port 3 up; port 101 ether on physical port 2, in no VLAN, with static and local entries.
class PortFrame : public FrameTest {
protected:
    PortFrame() : FrameTest(6, 3, 64) {}
    void SetUp() override
    {
        FrameTest::SetUp();
        given_port(1, ZELFDB_PORT_ETHER, 1);
        given_port(2, ZELFDB_PORT_VIF);
        given_port(3).optate = optate_up;
        given_port(101, ZELFDB_PORT_ETHER, 2);
        given_vlan(10, "ten");
        given_vlan(20, "twenty");
        given_member(10, 1);
        given_member(20, 2);
        given_learned(10, mac(0xA1), 1);
        given_learned(20, mac(0xA2), 1);
        given_static(10, mac(0xB1), 101);
        given_local(101, mac(0xC1));
        given_local(101, mac(0xC2));
        given_local(1, mac(0x0180C2000003), ZELFDB_FIL_FLAG_NO_PORT, ZELFDB_FIL_SYSTEM);
    }
    static std::vector<FrameRow> rows();
};

constexpr u32 unknown = 77;
constexpr zelfdb_port_param all_new{0x0100, 0, 5, 3, 0, 0x88A8, 99};
constexpr i32 every_selector = 0x80FD;
constexpr u32 descending[8] = {7, 6, 5, 4, 3, 2, 1, 0};

std::vector<FrameRow> PortFrame::rows()
{
    using enum Frame;
    constexpr auto M = Lock::main;
    constexpr auto MF = Lock::main_and_fdb;
    constexpr auto absent = Word::absent;
    constexpr auto on_failure = Word::on_failure;
    constexpr auto preset = Word::preset;
    constexpr auto ignored = Answer::ignored;
    constexpr auto returned = Answer::returned;
    using Info = zelfdb_port_info;
    return {
        {"create_port", opens, MF, on_failure, ignored,  //
         [](With w) { return zelfdb_create_port(5, 3, 1, w.err); },
         [](With w) { return zelfdb_create_port(1, 3, 1, w.err); }},
        {"delete_port", opens, MF, on_failure, ignored,  //
         [](With w) { return zelfdb_delete_port(101, w.err); }, [](With w) { return zelfdb_delete_port(1, w.err); }},
        {"get_phinfo", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_get_phinfo(4, w.out.as<zelfdb_phinfo>(), w.err); },
         [](With w) { return zelfdb_get_phinfo(5, w.out.as<zelfdb_phinfo>(), w.err); }},
        {"set_ph_shaping", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_set_ph_shaping(4, 1000, 8000, w.err); },
         [](With w) { return zelfdb_set_ph_shaping(5, 1000, 8000, w.err); }},
        {"set_param_to_port", opens, MF, preset, ignored,
         [](With w) { return zelfdb_set_param_to_port(1, &all_new, 60, 1, every_selector, 0x3377, w.err); },
         [](With w) { return zelfdb_set_param_to_port(2, &all_new, 60, 1, every_selector, 0x3377, w.err); }},
        {"set_param_to_port2", callers, MF, preset, ignored,
         [](With w) { return zelfdb_set_param_to_port2(w.d, 1, &all_new, 60, 1, every_selector, 0x3377, w.err); },
         [](With w) { return zelfdb_set_param_to_port2(w.d, 2, &all_new, 60, 1, every_selector, 0x3377, w.err); }},
        {"set_port_class_policing", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_set_port_class_policing(1, 7, 10, 20, 1, w.err); },
         [](With w) { return zelfdb_set_port_class_policing(1, 8, 10, 20, 1, w.err); }},
        {"set_port_cosmap", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_set_port_cosmap(1, 0xFF, descending, w.err); },
         [](With w) { return zelfdb_set_port_cosmap(unknown, 0xFF, descending, w.err); }},
        {"set_port_bandwidth_calc_mode", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_set_port_bandwidth_calc_mode(1, 1, w.err); },
         [](With w) { return zelfdb_set_port_bandwidth_calc_mode(unknown, 1, w.err); }},
        {"set_default_class", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_set_default_class(1, 2, 3, 1, w.err); },
         [](With w) { return zelfdb_set_default_class(unknown, 2, 3, 1, w.err); }},
        {"set_port_link_frames", opens, MF, on_failure, ignored,
         [](With w) { return zelfdb_set_port_link_frames(1, 3, 1, w.err); },
         [](With w) { return zelfdb_set_port_link_frames(1, 3, 2, w.err); }},
        {"enable_port", opens, M, on_failure, returned,  //
         [](With w) { return zelfdb_enable_port(1, w.err); }, [](With w) { return zelfdb_enable_port(3, w.err); }},
        {"disable_port", opens, M, on_failure, returned,  //
         [](With w) { return zelfdb_disable_port(3, w.err); }, [](With w) { return zelfdb_disable_port(1, w.err); }},
        {"notify_portstate", callers, MF, absent, ignored, [](With w) { return zelfdb_notify_portstate(w.d, 1, 1, 1); },
         [](With w) { return zelfdb_notify_portstate(w.d, 1, 2, 1); }},
        {"recover_port_sldbkr", opens, MF, on_failure, ignored,
         [](With w) { return zelfdb_recover_port_sldbkr(1, w.err); },
         [](With w) { return zelfdb_recover_port_sldbkr(unknown, w.err); }, -1},
        {"set_uplink_flag", opens, M, on_failure, ignored, [](With w) { return zelfdb_set_uplink_flag(1, 1, w.err); },
         [](With w) { return zelfdb_set_uplink_flag(101, 1, w.err); }},
        {"set_uplink_flag2", callers, M, on_failure, ignored,
         [](With w) { return zelfdb_set_uplink_flag2(w.d, 1, 1, w.err); },
         [](With w) { return zelfdb_set_uplink_flag2(w.d, 101, 1, w.err); }},
        {"set_link_mode", opens, M, on_failure, ignored,  //
         [](With w) { return zelfdb_set_link_mode(1, 2, w.err); },
         [](With w) { return zelfdb_set_link_mode(unknown, 2, w.err); }},
        {"set_link_depend", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_set_link_depend(1, 2, 0xF, w.err); },
         [](With w) { return zelfdb_set_link_depend(unknown, 2, 0xF, w.err); }},
        {"get_portinfo", opens, M, absent, ignored,  //
         [](With w) { return zelfdb_get_portinfo(1, w.out.as<Info>()); },
         [](With w) { return zelfdb_get_portinfo(unknown, w.out.as<Info>()); }},
        {"get_all_portinfo", opens, M, absent, ignored,
         [](With w) { return zelfdb_get_all_portinfo(&w.out.cursor, &w.out.buffer); },
         [](With w) {
             w.out.buffer.record_size = 991;
             return zelfdb_get_all_portinfo(&w.out.cursor, &w.out.buffer);
         }},
        {"get_port_vid", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_get_port_vid(2, w.out.words(), w.err); },
         [](With w) { return zelfdb_get_port_vid(1, w.out.words(), w.err); }, 0, true},
        {"get_port_vid2", callers, M, on_failure, ignored,
         [](With w) { return zelfdb_get_port_vid2(w.d, 2, w.out.words(), w.err); },
         [](With w) { return zelfdb_get_port_vid2(w.d, 1, w.out.words(), w.err); }},
        {"check_stream_in_port", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_check_stream_in_port(1, w.err); },
         [](With w) { return zelfdb_check_stream_in_port(unknown, w.err); }},
        {"display_port_data", opens, MF, on_failure, ignored, [](With w) { return zelfdb_display_port_data(1, w.err); },
         [](With w) { return zelfdb_display_port_data(unknown, w.err); }},
    };
}

TEST_F(PortFrame, EveryOperationTakesItsLocksAndGivesThemBackInReverse)
{
    for (const FrameRow& row : rows()) descriptor_and_locks(row);
}

TEST_F(PortFrame, WithoutADescriptorEveryOperationFailsWithOneAndTouchesNothing)
{
    for (const FrameRow& row : rows()) without_a_descriptor(row);
}

TEST_F(PortFrame, ARefusingNPChangesNoRecordAndOnlyTheResultOfEnablingAndDisabling)
{
    for (const FrameRow& row : rows()) NP_that_refuses(row);
}

TEST_F(PortFrame, OnlyTheCreationOfAPortPausesBeforeItsSecondAttempt)
{
    const std::vector<unsigned> one_second{1};
    environment::sleeps().clear();
    recorder::fail_always(recorder::Failure::status);
    EXPECT_EQ(call(zelfdb_create_port, 5, 0, 0).result, 0);
    EXPECT_EQ(environment::sleeps(), one_second);
    EXPECT_EQ(call(zelfdb_set_ph_shaping, 1, 1, 1).result, 0);
    EXPECT_EQ(call(zelfdb_enable_port, 5).result, -1);
    EXPECT_EQ(call(zelfdb_delete_port, 101).result, 0);
    EXPECT_EQ(environment::sleeps(), one_second);
}

}  // namespace
}  // namespace zelfdb
