// The frame of the VLAN operations: descriptor, locks, error word, and an NP that refuses.
#include "support/frame_rows.h"

namespace zelfdb {
namespace {

// Port 1 in VLAN 10 untagged and in VLAN 20 by group 7, with learned entries in two VLANs; port 2 a virtual interface in no
// VLAN; VLAN 30 without members, with static and learned entries. Group 7 has a protocol, group 8 none.
class VlanFrame : public FrameTest {
protected:
    VlanFrame() : FrameTest(4, 5, 64) {}
    void SetUp() override
    {
        FrameTest::SetUp();
        given_port(1, ZELFDB_PORT_ETHER, 1);
        given_port(2, ZELFDB_PORT_VIF);
        given_vlan(10, "ten");
        given_vlan(20, "twenty");
        given_vlan(30, "thirty");
        given_group(7, {0x0800});
        given_group(8, {});
        given_member(10, 1);
        given_protocol_member(20, 1, 7);
        given_learned(10, mac(0xA1), 1);
        given_learned(30, mac(0xA2), 1);
        given_learned(30, mac(0xA3), 2);
        given_static(30, mac(0xB1), 2);
        given_static(30, mac(0xB2), 2, 0, ZELFDB_FIL_SYSTEM);
    }
    static std::vector<FrameRow> rows();
};

std::vector<FrameRow> VlanFrame::rows()
{
    using enum Frame;
    constexpr auto M = Lock::main;
    constexpr auto MF = Lock::main_and_fdb;
    constexpr auto absent = Word::absent;
    constexpr auto on_failure = Word::on_failure;
    constexpr auto preset = Word::preset;
    constexpr auto ignored = Answer::ignored;
    constexpr auto returned = Answer::returned;
    using Info = zelfdb_vlan_info;
    return {
        {"create_vlan", opens, MF, preset, ignored,
         [](With w) {
             i32 vid = 40;
             return zelfdb_create_vlan("forty", &vid, w.err);
         },
         [](With w) { return zelfdb_create_vlan("forty", nullptr, w.err); }},
        {"delete_vlan", opens, MF, preset, ignored,  //
         [](With w) { return zelfdb_delete_vlan(30, w.err); }, [](With w) { return zelfdb_delete_vlan(10, w.err); }},
        {"get_vlan_info", opens, M, absent, ignored, [](With w) { return zelfdb_get_vlan_info(10, w.out.as<Info>()); },
         [](With w) { return zelfdb_get_vlan_info(11, w.out.as<Info>()); }},
        {"get_all_vlaninfo", opens, M, absent, ignored,
         [](With w) { return zelfdb_get_all_vlaninfo(&w.out.cursor, &w.out.buffer); },
         [](With w) {
             w.out.buffer.record_size = 215;
             return zelfdb_get_all_vlaninfo(&w.out.cursor, &w.out.buffer);
         }},
        {"get_vid", opens, M, on_failure, ignored,  //
         [](With w) { return zelfdb_get_vid("ten", w.out.words(), w.err); },
         [](With w) { return zelfdb_get_vid("eleven", w.out.words(), w.err); }},
        {"get_vid2", callers, M, on_failure, ignored,
         [](With w) { return zelfdb_get_vid2(w.d, "ten", w.out.words(), w.err); },
         [](With w) { return zelfdb_get_vid2(w.d, "eleven", w.out.words(), w.err); }},
        {"get_vlanname", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_get_vlanname(10, w.out.as<char>(), w.err); },
         [](With w) { return zelfdb_get_vlanname(11, w.out.as<char>(), w.err); }},
        {"get_vlanname2", callers, M, on_failure, ignored,
         [](With w) { return zelfdb_get_vlanname2(w.d, 10, w.out.as<char>(), w.err); },
         [](With w) { return zelfdb_get_vlanname2(w.d, 11, w.out.as<char>(), w.err); }},
        {"get_portID_from_vid", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_get_portID_from_vid(4, 10, w.out.words(), w.err); },
         [](With w) { return zelfdb_get_portID_from_vid(4, 30, w.out.words(), w.err); }, 1},
        {"get_portID_from_vid2", callers, M, on_failure, ignored,
         [](With w) { return zelfdb_get_portID_from_vid2(w.d, 4, 10, w.out.words(), w.err); },
         [](With w) { return zelfdb_get_portID_from_vid2(w.d, 4, 30, w.out.words(), w.err); }, 1},
        {"get_vid_from_portID2", callers, M, on_failure, ignored,
         [](With w) { return zelfdb_get_vid_from_portID2(w.d, 4, 1, w.out.words(), w.err); },
         [](With w) { return zelfdb_get_vid_from_portID2(w.d, 4, 2, w.out.words(), w.err); }, 2},
        {"add_port_to_vlan, untagged", opens, M, preset, ignored,
         [](With w) { return zelfdb_add_port_to_vlan(10, 2, 0, 0x8100, 0, 0, w.err); },
         [](With w) { return zelfdb_add_port_to_vlan(10, 1, 0, 0x8100, 0, 0, w.err); }},
        {"add_port_to_vlan, a further group", opens, M, preset, ignored,
         [](With w) { return zelfdb_add_port_to_vlan(20, 1, 0, 0x8100, 1, 8, w.err); },
         [](With w) { return zelfdb_add_port_to_vlan(20, 1, 0, 0x8100, 1, 9, w.err); }},
        {"rem_port_from_vlan", opens, MF, preset, ignored,
         [](With w) { return zelfdb_rem_port_from_vlan(10, 1, w.err); },
         [](With w) { return zelfdb_rem_port_from_vlan(10, 2, w.err); }},
        {"get_all_pvinfo_in_a_port", opens, M, absent, ignored,
         [](With w) { return zelfdb_get_all_pvinfo_in_a_port(1, &w.out.cursor, &w.out.buffer); },
         [](With w) { return zelfdb_get_all_pvinfo_in_a_port(2, &w.out.cursor, &w.out.buffer); }},
        {"set_vlan_sld", opens, M, preset, ignored,  //
         [](With w) { return zelfdb_set_vlan_sld(0, 1, w.err); },
         [](With w) { return zelfdb_set_vlan_sld(11, 1, w.err); }},
        {"set_vlan_learninglimit", opens_without_NP, M, preset, ignored,
         [](With w) { return zelfdb_set_vlan_learninglimit(0, 5, w.err); },
         [](With w) { return zelfdb_set_vlan_learninglimit(11, 5, w.err); }},
        {"set_vlan_ignore_fdb", opens, M, preset, ignored,
         [](With w) { return zelfdb_set_vlan_ignore_fdb(0, 1, w.err); },
         [](With w) { return zelfdb_set_vlan_ignore_fdb(11, 1, w.err); }},
        {"set_vlan_learning_off", opens, M, preset, ignored,
         [](With w) { return zelfdb_set_vlan_learning_off(20, 1, w.err); },
         [](With w) { return zelfdb_set_vlan_learning_off(11, 1, w.err); }},
        {"create_protgroup", opens, M, preset, returned,  //
         [](With w) { return zelfdb_create_protgroup(9, w.err); },
         [](With w) { return zelfdb_create_protgroup(7, w.err); }},
        {"delete_protgroup", opens, M, preset, returned,  //
         [](With w) { return zelfdb_delete_protgroup(8, w.err); },
         [](With w) { return zelfdb_delete_protgroup(7, w.err); }},
        {"add_prot_to_group", opens, M, preset, returned,
         [](With w) { return zelfdb_add_prot_to_group(0x86DD, 7, w.err); },
         [](With w) { return zelfdb_add_prot_to_group(0x0800, 7, w.err); }},
        {"remove_prot_from_group", opens, M, preset, returned,
         [](With w) { return zelfdb_remove_prot_from_group(0x0800, 7, w.err); },
         [](With w) { return zelfdb_remove_prot_from_group(0x86DD, 7, w.err); }},
        {"get_protgroup_info", opens, M, preset, ignored,
         [](With w) { return zelfdb_get_protgroup_info(w.out.as<zelfdb_protgroup_info>(), w.err); }, nullptr},
        {"display_vlan_data", opens, MF, on_failure, ignored,
         [](With w) { return zelfdb_display_vlan_data(30, w.err); },
         [](With w) { return zelfdb_display_vlan_data(11, w.err); }},
    };
}

TEST_F(VlanFrame, EveryOperationTakesItsLocksAndGivesThemBackInReverse)
{
    for (const FrameRow& row : rows()) descriptor_and_locks(row);
}

TEST_F(VlanFrame, WithoutADescriptorEveryOperationFailsWithOneAndTouchesNothing)
{
    for (const FrameRow& row : rows()) without_a_descriptor(row);
}

TEST_F(VlanFrame, ARefusingNPChangesNoRecordAndOnlyTheResultOfTheProtocolGroupSetters)
{
    for (const FrameRow& row : rows()) NP_that_refuses(row);
}

TEST_F(VlanFrame, TheLearningLimitIsSetWhileTheNPDoesNotAnswer)
{
    recorder::reset();
    recorder::fail_init(20);
    EXPECT_EQ(call(zelfdb_set_vlan_learninglimit, 10, 77), done_preset());
    EXPECT_EQ(vlan(10)->fdb.learnlimit, 77u);
    EXPECT_EQ(recorder::init_calls(), 0u);
}

}  // namespace
}  // namespace zelfdb
