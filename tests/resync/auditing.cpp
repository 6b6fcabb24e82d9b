// The audit names what is missing, extra and different in an NP, object and values, and mends just that.
#include <sys/shm.h>

#include "np/frame.h"
#include "resync_test.h"

namespace zelfdb {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::string>;

class Auditing : public ResyncTest {
protected:
    // A database with something of everything.
    void SetUp() override
    {
        ResyncTest::SetUp();
        for (const u32 port : {1, 2, 3}) {
            ASSERT_EQ(0, zelfdb_create_port(port, port, 1, &err_));
            ASSERT_EQ(0, zelfdb_enable_port(port, &err_));
        }
        i32 vids[] = {10, 20};
        ASSERT_EQ(0, zelfdb_create_vlan("sales", &vids[0], &err_));
        ASSERT_EQ(0, zelfdb_create_vlan("lab", &vids[1], &err_));
        for (const u32 group : {1, 2, 3}) ASSERT_EQ(0, zelfdb_create_protgroup(group, &err_));
        ASSERT_EQ(0, zelfdb_add_prot_to_group(0x0800, 1, &err_));
        ASSERT_EQ(0, zelfdb_add_port_to_vlan(10, 1, 0, 0x8100, 0, 0, &err_));
        ASSERT_EQ(0, zelfdb_add_port_to_vlan(10, 2, 1, 0x9100, 0, 0, &err_));
        ASSERT_EQ(0, zelfdb_add_port_to_vlan(10, 3, 0, 0x8100, 1, 1, &err_));
        ASSERT_EQ(0, zelfdb_add_port_to_vlan(20, 3, 0, 0x8100, 1, 1, &err_));
        ASSERT_EQ(0, zelfdb_add_port_to_vlan(20, 3, 0, 0x8100, 1, 2, &err_));
        for (const u32 stream : {0, 1}) ASSERT_EQ(0, zelfdb_create_stream(stream, &err_));
        for (const u32 queue : {4, 5}) ASSERT_EQ(0, zelfdb_create_queue(queue, 10, 100, &err_));
        ASSERT_EQ(0, zelfdb_add_queue_to_stream(4, 1, 2, 1, 3, 50, &err_));
        ASSERT_EQ(0, zelfdb_create_classify_profile(7, &err_));
        for (u8 class_no = 1; class_no <= 5; ++class_no) add_line(class_no);
        ASSERT_EQ(0, zelfdb_add_classify_profile_to_pv(7, 1, 10, words_, &err_));
        ASSERT_EQ(0, zelfdb_add_classify_profile_to_pv(7, 3, 20, words_, &err_));
        ASSERT_EQ(0, zelfdb_create_sfil(10, station_, 2, 0, 0, &err_));
        ASSERT_EQ(0, zelfdb_create_lfil(1, station_, 4, 1, &err_));
        ASSERT_EQ(0, zelfdb_create_mirror(2, &err_));
        ASSERT_EQ(0, zelfdb_set_mirror_source(2, 1, 1, 0, &err_));
        ASSERT_EQ(0, zelfdb_set_mirror_dest(2, 3, &err_));
        ASSERT_EQ(0, zelfdb_enable_mirror(2, &err_));
        fields_ = np_fields_sorted();
        ASSERT_THAT(texts(look().findings), IsEmpty());
    }

    void add_line(u8 class_no)
    {
        zelfdb_classify_line line{};
        reinterpret_cast<u8*>(&line)[6] = class_no;
        ASSERT_EQ(0, zelfdb_add_classify_action_to_profile(7, 0, &line, &err_));
    }

    // A command of nobody that the database knows of.
    void np(vf_cmd* command) const
    {
        ASSERT_NE(nullptr, command);
        ASSERT_TRUE(deliver(*d_, command)) << softnp_error_text(vf_rd_err(command));
        vf_cmdNFreeB(command);
    }

    // The audit finds this, mends it, and then the NP is as it was.
    void expect_found_and_mended(const Texts& found, const Texts& refused = {})
    {
        EXPECT_EQ(found, texts(look().findings));
        const AuditReport report = mend();
        EXPECT_EQ(found, texts(report.findings));
        EXPECT_EQ(refused, texts(report.refused));
        EXPECT_THAT(texts(report.left), IsEmpty());
        EXPECT_EQ("", difference(fields_, np_fields_sorted()));
        EXPECT_THAT(look().findings, IsEmpty());
    }

    const u8 station_[6] = {2, 0, 0, 0, 0, 0x50};
    const u8 other_[6] = {2, 0, 0, 0, 0, 0x51};
    const u32 words_[4] = {1, 2, 3, 4};
    Texts fields_;
};

TEST_F(Auditing, SettingsThatDifferAreSetAloneAndInPlace)
{
    np(vf_mk_set_ph_shaping(2, 700, 1));
    np(vf_mk_set_port_flags(1, 0, 0x3));
    np(vf_mk_set_port_param(2, 0x30, 0, 0, 0, 0, 0x9999, 77, 0));
    np(vf_mk_set_class_policing(3, 5, 1, 2, 1));
    np(vf_mk_set_vl_flag(20, 2, 253));
    np(vf_mk_set_red(1, 3, 2, 10, 20, 30, 40));
    np(vf_mk_set_qmax(4, 1, 2, 11, 101));
    np(vf_mk_set_mirror_classify(2, 4, 0, 0));
    np(vf_mk_disable_port(3));

    u64 before = 0;
    softnp_log_end(&before);
    expect_found_and_mended({"different physical port 2: shaping 0/0/700/1", "different port 1: flags 173/170",
                             "different port 2: tagtype 8100/9999", "different port 2: PVID 0/77",
                             "different port 3: policing 5 0/0/0/1/2/1", "different VLAN 20: learning off no/yes",
                             "different stream 1: RED 3/2 100/0/0/0/10/20/30/40",
                             "different queue 4: size 10/100/11/101", "different mirror 2: class 0/0/0/4/0/0",
                             "different state of port 3: state up/down"});
    Texts sent;
    softnp_log_entry entry{};
    for (u64 cursor = before; softnp_log_read(&cursor, nullptr, &entry) == 1;) {
        const std::string text = entry.text;
        if (!text.starts_with("findFDB")) sent.push_back(text.substr(0, text.find(' ')));
    }
    EXPECT_THAT(
        sent, ElementsAre("set_ph_shaping", "set_port_flags", "set_port_param", "set_port_param", "set_class_policing",
                          "set_vl_flag", "set_red", "set_qmax", "set_mirror_classify", "enable_port"));
}

TEST_F(Auditing, EntriesMissingExtraAndDifferent)
{
    np(vf_mk_removeFDB(10, station_));
    const vf_fdb_request extra{0, 1, 20, {2, 0, 0, 0, 0, 0x51}, 3, 99, 0, 3};
    const u8 record[44] = {};
    np(vf_mk_addFDB(&extra, record));
    const vf_fdb_request moved{0, 1, 0xC001, {2, 0, 0, 0, 0, 0x50}, -1, 88, 0, -1};
    np(vf_mk_addFDB(&moved, record));
    u32 cookie = 0;
    for (const EntryItem& item : wanted_by(*d_).entries)
        if (item.object.a == 0xC001) cookie = offset_of(fdb_base(*d_), *item.fil).value;
    expect_found_and_mended({"missing entry 02:00:00:00:00:50 of VLAN 10", "extra entry 02:00:00:00:00:51 of VLAN 20",
                             "different entry 02:00:00:00:00:50 of port 1: cookie " + std::to_string(cookie) + "/88",
                             "different entry 02:00:00:00:00:50 of port 1: flag 4/0"});
}

TEST_F(Auditing, ObjectsThatNobodyMadeAreRemovedBackwards)
{
    np(vf_mk_set_port_param(9, 0x800000FF, 0, 2, 0, 0, 0x8100, 0, 0xC009));
    np(vf_mk_create_vlan(4000, 4000));
    np(vf_mk_create_protgroup(8));
    np(vf_mk_add_prot_to_group(0x86DD, 8));
    np(vf_mk_add_port_vlan(4000, 9, 1, 0x8100, 1, 8));
    np(vf_mk_create_stream(9));
    np(vf_mk_create_queue(90, 1, 1));
    np(vf_mk_add_queue(90, 9, 0, 2, 1, 0));
    const u8 line[120] = {};
    np(vf_mk_add_classify_act(9, 0, line));
    np(vf_mk_add_classify_act(9, 0, line));
    np(vf_mk_add_classify_prof(9, 9, 4000, words_));
    np(vf_mk_create_mirror(4));
    np(vf_mk_set_mirror_source(4, 1, 1, 0));
    np(vf_mk_set_mirror_dest(4, 2));
    np(vf_mk_enable_mirror(4));
    expect_found_and_mended(
        {"extra port 9", "extra VLAN 4000", "extra protocol group 8", "extra protocol 86dd of group 8",
         "extra membership of port 9 in VLAN 4000", "extra group 8 of port 9 in VLAN 4000", "extra stream 9",
         "extra queue 90", "extra attachment of queue 90", "extra line 1 of classify list 9",
         "extra line 2 of classify list 9", "extra classify list of port 9 in VLAN 4000", "extra mirror 4"});
}

TEST_F(Auditing, WhatHangsOnAMissingObjectIsImpliedAndMendedWithIt)
{
    np(vf_mk_rem_classify_prof(1, 10));
    np(vf_mk_remove_port_vlan(10, 1));
    np(vf_mk_delete_port(1));
    expect_found_and_mended({"missing port 1"});
    np(vf_mk_delete_stream(1));
    expect_found_and_mended({"missing stream 1"});
    np(vf_mk_remove_port_vlan(20, 3));
    expect_found_and_mended({"missing group 1 of port 3 in VLAN 20", "missing group 2 of port 3 in VLAN 20"});
}

TEST_F(Auditing, WhatOnlyItsCreationSaysIsMadeAnewWithAllThatHangsOnIt)
{
    np(vf_mk_rem_classify_prof(1, 10));
    np(vf_mk_remove_port_vlan(10, 1));
    np(vf_mk_delete_port(1));
    np(vf_mk_set_port_param(1, 0x800000FF, 0x173, 1, 6, 1, 0x8100, 10, 0xC001));
    np(vf_mk_add_port_vlan(10, 1, 0, 0x8100, 0, 0));
    np(vf_mk_add_classify_prof(7, 1, 10, words_));
    np(vf_mk_enable_port(1));
    expect_found_and_mended({"different port 1: priority 0/6"});

    np(vf_mk_remove_port_vlan(10, 2));
    np(vf_mk_add_port_vlan(10, 2, 0, 0x9100, 0, 0));
    expect_found_and_mended({"different membership of port 2 in VLAN 10: tagged yes/no"});

    np(vf_mk_add_queue(4, 1, 2, 0, 0, 0));
    np(vf_mk_add_queue(4, 0, 1, 2, 9, 0));
    expect_found_and_mended({"different attachment of queue 4: slot 1/2/0/1",
                             "different attachment of queue 4: weight mode 1 pri 3 ratio 50/mode 2 pri 9"});

    np(vf_mk_rem_classify_prof(1, 10));
    const u32 others[4] = {};
    np(vf_mk_add_classify_prof(6, 1, 10, others));
    expect_found_and_mended({"different classify list of port 1 in VLAN 10: list 7/6",
                             "different classify list of port 1 in VLAN 10: words 1/2/3/4/0/0/0/0"});

    np(vf_mk_disable_mirror(2));
    np(vf_mk_set_mirror_dest(2, 2));
    expect_found_and_mended({"different mirror 2: destination 3/2", "different mirror 2: enabled yes/no"});
}

TEST_F(Auditing, ALineMoreOrLessOrChangedIsThatLineAlone)
{
    np(vf_mk_rem_classify_act(7, 2));
    expect_found_and_mended({"missing line 2 of classify list 7"});
    u8 line[120] = {};
    line[6] = 77;
    np(vf_mk_add_classify_act(7, 4, line));
    expect_found_and_mended({"extra line 4 of classify list 7"});
    np(vf_mk_rem_classify_act(7, 3));
    np(vf_mk_add_classify_act(7, 3, line));
    expect_found_and_mended({"different line 3 of classify list 7: byte 6 03/4d"});
    np(vf_mk_rem_classify_act(7, 0));
    expect_found_and_mended({"missing line 1 of classify list 7", "missing line 2 of classify list 7",
                             "missing line 3 of classify list 7", "missing line 4 of classify list 7",
                             "missing line 5 of classify list 7"});
}

// Of two bindings of one group the older one decides.
TEST_F(Auditing, BindingsAreOfTheOrderInWhichThePortJoined)
{
    np(vf_mk_remove_port_vlan(10, 3));
    np(vf_mk_add_port_vlan(10, 3, 0, 0x8100, 1, 1));
    expect_found_and_mended({"different group 1 of port 3 in VLAN 10: order VLAN 10/VLAN 20"});
    np(vf_mk_add_port_vlan(20, 3, 0, 0x8100, 1, 3));
    expect_found_and_mended({"extra group 3 of port 3 in VLAN 20"});
    np(vf_mk_remove_port_vlan(10, 3));
    expect_found_and_mended({"missing group 1 of port 3 in VLAN 10"});
}

TEST_F(Auditing, WithoutAReadableStateEntriesAreStillAskedForAndSent)
{
    np(vf_mk_removeFDB(10, station_));
    np(vf_mk_set_port_flags(1, 0, 0x3));
    const AuditReport found = audit(*d_, nullptr, Fix::no);
    EXPECT_EQ(2u, found.entries);
    EXPECT_THAT(texts(found.findings), ElementsAre("missing entry 02:00:00:00:00:50 of VLAN 10"));
    const AuditReport mended = audit(*d_, nullptr, Fix::yes);
    EXPECT_EQ(1u, mended.commands);
    EXPECT_THAT(mended.left, IsEmpty());
    EXPECT_THAT(texts(look().findings), ElementsAre("different port 1: flags 173/170"));
}

TEST_F(Auditing, AnUnreadableStateIsSaidAndNothingIsSent)
{
    const AuditReport report = audit(
        *d_, [](Found&) { return false; }, Fix::yes);
    EXPECT_FALSE(report.read);
    EXPECT_THAT(report.findings, IsEmpty());
    EXPECT_EQ("", difference(fields_, np_fields_sorted()));
}

TEST_F(Auditing, WhatTheNPRefusesToHaveMendedIsLeft)
{
    np(vf_mk_set_vl_flag(20, 2, 253));
    softnp_refuse("set_vl_flag", 0, SOFTNP_REFUSE_STATUS, 0);
    const AuditReport report = mend();
    softnp_clear_refusals();
    EXPECT_THAT(texts(report.refused), ElementsAre("VLAN 20: set_vl_flag"));
    EXPECT_THAT(texts(report.left), ElementsAre("different VLAN 20: learning off no/yes"));
    expect_found_and_mended({"different VLAN 20: learning off no/yes"});
}

class Resyncing : public Auditing {
protected:
    static void remove_segments()
    {
        for (const int key : {main_key, fdb_key}) ASSERT_EQ(0, shmctl(shmget(key, 0, 0), IPC_RMID, nullptr));
    }
};

TEST_F(Resyncing, EntriesGoInChainsAndOneByOneWhenAChainIsNotDelivered)
{
    for (u8 i = 0; i < 90; ++i) {
        const u8 mac[6] = {2, 0, 0, 0, 9, i};
        ASSERT_EQ(0, zelfdb_create_sfil(20, mac, 3, 0, 0, &err_));
    }
    fields_ = np_fields_sorted();
    ASSERT_EQ(0, softnp_reset());
    EXPECT_THAT(resync(*d_).refused, IsEmpty());
    u32 heads = 0;
    softnp_log_entry entry{};
    for (u64 cursor = 0; softnp_log_read(&cursor, nullptr, &entry) == 1;)
        heads += std::string(entry.text).starts_with("addFDB") && entry.chain_index == 0;
    EXPECT_EQ(3u, heads);
    EXPECT_EQ("", difference(fields_, np_fields_sorted()));

    ASSERT_EQ(0, softnp_reset());
    softnp_refuse("addFDB", 41, SOFTNP_REFUSE_DELIVERY, 0);
    EXPECT_THAT(resync(*d_).refused, IsEmpty());
    EXPECT_EQ("", difference(fields_, np_fields_sorted()));
}

TEST_F(Resyncing, WhatNeedsARefusedObjectIsNotSent)
{
    ASSERT_EQ(0, softnp_reset());
    for (const u32 nth : {1, 2}) softnp_refuse("create_vlan", nth, SOFTNP_REFUSE_STATUS, 0);
    const ResyncReport report = resync(*d_);
    softnp_clear_refusals();
    EXPECT_THAT(texts(report.refused), ElementsAre("VLAN 10: create_vlan"));
    Texts skipped;
    for (const Object& object : report.skipped) skipped.push_back(text_of(object));
    EXPECT_THAT(skipped, ElementsAre("membership of port 1 in VLAN 10", "membership of port 2 in VLAN 10",
                                     "membership of port 3 in VLAN 10", "group 1 of port 3 in VLAN 10",
                                     "classify list of port 1 in VLAN 10", "entry 02:00:00:00:00:50 of VLAN 10"));
    expect_found_and_mended({"missing VLAN 10"});
}

TEST_F(Resyncing, PortsOfWhichTheNPHasNoNumberAreNotSent)
{
    ASSERT_EQ(0, zelfdb_create_port(50, 0, 2, &err_));
    ASSERT_EQ(0, zelfdb_add_port_to_vlan(10, 50, 1, 0x8100, 0, 0, &err_));
    ASSERT_EQ(0, softnp_reset());
    const ResyncReport report = resync(*d_);
    EXPECT_THAT(report.unmapped_ports, ElementsAre(50u));
    EXPECT_THAT(report.refused, IsEmpty());
    EXPECT_THAT(texts(look().findings), IsEmpty());
}

// Attached without mode, priority and ratio, it reaches the NP as a removal. The database has it attached.
TEST_F(Resyncing, AQueueAttachedWithoutAWeightIsAttached)
{
    ASSERT_EQ(0, zelfdb_add_queue_to_stream(5, 0, 3, 0, 0, 0, &err_));
    EXPECT_THAT(texts(look().findings), ElementsAre("missing attachment of queue 5"));
    ASSERT_EQ(0, softnp_reset());
    EXPECT_THAT(resync(*d_).refused, IsEmpty());
    EXPECT_THAT(texts(look().findings), IsEmpty());
    softnp_queue queue{};
    ASSERT_EQ(1, softnp_get_queue(5, &queue));
    EXPECT_EQ(0u, queue.streamno);
    EXPECT_EQ(3u, queue.class_no);
    EXPECT_EQ(0u, queue.mode);
}

// A port's table of protocol bindings has eight places, and there are nine memberships by protocol: there are VLANs for them
// only when the database is a larger one.
TEST_F(Resyncing, AMembershipWhoseGroupTheDatabaseDoesNotKnowIsSaidAndLeftAlone)
{
    zelfdb_close_descriptor(d_);
    d_ = nullptr;
    remove_segments();
    ASSERT_EQ(0, softnp_reset());
    const zelfdb_counts counts{4, 12, 16};
    ASSERT_EQ(0, zelfdb_init(&counts));
    d_ = zelfdb_open_descriptor();
    ASSERT_NE(nullptr, d_);
    ASSERT_EQ(0, zelfdb_create_port(1, 1, 1, &err_));
    ASSERT_EQ(0, zelfdb_enable_port(1, &err_));
    ASSERT_EQ(0, zelfdb_create_protgroup(1, &err_));
    for (i32 vid = 1; vid <= 9; ++vid) {
        i32 chosen = vid;
        ASSERT_EQ(0, zelfdb_create_vlan(std::to_string(vid).c_str(), &chosen, &err_));
        ASSERT_EQ(0, zelfdb_add_port_to_vlan(static_cast<u32>(vid), 1, 1, 0x8100, 1, 1, &err_));
    }
    EXPECT_THAT(texts(look().findings), IsEmpty());

    ASSERT_EQ(0, softnp_reset());
    const ResyncReport report = resync(*d_);
    EXPECT_THAT(report.refused, IsEmpty());
    EXPECT_THAT(report.untold, ElementsAre(member_object(1, 9)));
    EXPECT_THAT(texts(look().findings), ElementsAre("missing membership of port 1 in VLAN 9"));
    EXPECT_THAT(texts(mend().left), ElementsAre("missing membership of port 1 in VLAN 9"));
}

}  // namespace
}  // namespace zelfdb
