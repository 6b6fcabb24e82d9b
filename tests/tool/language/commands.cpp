// What each command does to the database, seen through the library, and what it says when it cannot be done.
#include "language/commands.h"

#include <cstring>

#include "fixture.h"

namespace zelfctl {
namespace {

class Effects : public Commands {
protected:
    std::vector<Effect> port_effects()
    {
        const std::vector<std::string> ether{"create port 1 npport 1 portType ether"};
        const std::vector<std::string> up{ether.front(), "enable port 1"};
        const auto flag = [](u32 bit) { return [bit] { return (port(1).p_flag & bit) != 0; }; };
        const auto no_flag = [](u32 bit) { return [bit] { return (port(1).p_flag & bit) == 0; }; };
        return {
            {{}, ether.front(), [] { return port(1).p_type == ZELFDB_PORT_ETHER && port(1).phport == 1; }},
            {{},
             "create port 1 npport 9 portType vif",
             [] { return port(1).p_type == ZELFDB_PORT_VIF && port(1).phport == 9; }},
            {{}, "create port 1 npport 0", [] { return port(1).p_type == ZELFDB_PORT_NONE; }},
            {{}, "create port 1 npport 0", [] { return !replays("set port 1 aftype tagonly"); }},
            {ether, "delete port 1",
             [] {
                 zelfdb_port_info info{};
                 return zelfdb_get_portinfo(1, &info) != 0;
             }},
            {ether, "enable port 1", [] { return port(1).optate == B_PORT_UP; }},
            {up, "disable port 1", [] { return port(1).optate == B_PORT_DOWN; }},
            {ether, "set port 1 aftype tagonly", no_flag(0x10)},
            {{ether.front(), "set port 1 aftype tagonly"}, "set port 1 aftype all", flag(0x10)},
            {ether, "set port 1 ignoretag on", no_flag(0x40)},
            {{ether.front(), "set port 1 ignoretag on"}, "set port 1 ignoretag off", flag(0x40)},
            {ether, "set port 1 ignoreptag on", no_flag(0x100)},
            {{ether.front(), "set port 1 ignoreptag on"}, "set port 1 ignoreptag off", flag(0x100)},
            {ether, "set port 1 learning off", no_flag(0x1)},
            {{up[0], up[1], "set port 1 learning off"}, "set port 1 learning on", flag(0x1)},
            {up, "set port 1 forwarding off", no_flag(0x2)},
            {{up[0], up[1], "set port 1 forwarding off"}, "set port 1 forwarding on", flag(0x2)},
            {ether, "set port 1 ingress_filter off", no_flag(0x20)},
            {{ether.front(), "set port 1 ingress_filter off"}, "set port 1 ingress_filter on", flag(0x20)},
            {ether, "set port 1 cosedit on", flag(0x1000)},
            {{ether.front(), "set port 1 cosedit on"}, "set port 1 cosedit off", no_flag(0x1000)},
            {ether, "set port 1 ignorefdb on", flag(0x2000)},
            {{ether.front(), "set port 1 ignorefdb on"}, "set port 1 ignorefdb off", no_flag(0x2000)},
            {ether, "set port 1 flags 3000 mask 1010", [] { return (port(1).p_flag & 0x3010) == 0x1000; }},
            {ether, "set port 1 pri 5", [] { return port(1).pri == 5; }},
            {ether, "set port 1 npport 3", [] { return port(1).phport == 3; }},
            {ether, "set port 1 tagtype 88a8",
             [] {
                 softnp_port np{};
                 softnp_get_port(1, &np);
                 return port(1).tagtype == 0x88A8 && np.tagtype == 0x88A8;
             }},
            {ether, "set port 1 pvid 7", [] { return port(1).PVID == 7; }},
            {ether, "set port 1 aging 7", [] { return port(1).aging_s == 7; }},
            {ether, "set port 1 simple_loop_breaker on",
             [] { return port(1).sldbkr_on == 1 && port(1).sldbkr_state == 1; }},
            {{ether.front(), "set port 1 simple_loop_breaker on"},
             "set port 1 simple_loop_breaker off",
             [] { return port(1).sldbkr_on == 0 && port(1).sldbkr_state == 0; }},
            {ether, "set port 1 aging -1", [] { return port(1).aging_s == 0xFFFFFFFF; }},
            {ether, "set port 1 default_class 0/2/yellow", [] { return port(1).def_spno == 0xFFFFFFFF; }},
            {ether, "set port 1 default_class 3/2/yellow",
             [] { return port(1).def_spno == 2 && port(1).def_pri == 2 && port(1).def_color == 1; }},
            {ether, "set port 1 cosmap bit 5 val 1,,3,,,,,",
             [] { return port(1).valbit == 5 && port(1).cosmap[0] == 1 && port(1).cosmap[2] == 3; }},
            {ether, "set port 1 class_policing class 7 on red rate 2 burst 9",
             [] {
                 const zelfdb_policing row = port(1).policing[7];
                 return row.color == 2 && row.rate == 2000 && row.burst == 9;
             }},
            {ether, "set port 1 class_policing class 0 on rate 4294967",
             [] {
                 const zelfdb_policing row = port(1).policing[0];
                 return row.color == no_colour && row.rate == 4294967000 && row.burst == 8000;
             }},
            {ether, "set port 1 class_policing class 0 on red rate 0",
             [] {
                 return port(1).policing[0].rate == 999 && replays("set port 1 class_policing class 0 on red rate 0");
             }},
            {{ether.front(), "set port 1 class_policing class 2 on green rate 2"},
             "set port 1 class_policing class 2 off",
             [] { return port(1).policing[2].rate == 0; }},
            {ether, "set port 1 link_mode or",
             [] { return displayed_port(1).find("link_mode : 0\n") != std::string::npos; }},
            {{ether.front(), "set port 1 link_mode or"},
             "set port 1 link_mode and",
             [] { return displayed_port(1).find("link_mode : 1\n") != std::string::npos; }},
            {ether, "set port 1 link_depend port 2,4",
             [] { return displayed_port(1).find("link_depend:0 list:0a\n") != std::string::npos; }},
            {ether, "set port 1 link_depend port",
             [] { return displayed_port(1).find("link_depend:0 list:00\n") != std::string::npos; }},
            {{ether.front(), "set port 1 link_depend port 2"},
             "set port 1 link_depend own",
             [] { return displayed_port(1).find("link_depend:1 list:00\n") != std::string::npos; }},
            {ether, "set port 1 bandwidth frame_gap", [] { return port(1).bw_calc_mode == 1; }},
            {{ether.front(), "set port 1 bandwidth frame_gap"},
             "set port 1 bandwidth frame",
             [] { return port(1).bw_calc_mode == 0; }},
            {ether, "set port 1 link_frame lag forward", [] { return port(1).link_frames_fwd == 4; }},
            {{ether.front(), "set port 1 link_frame pae forward"},
             "set port 1 link_frame pae hold",
             [] { return port(1).link_frames_fwd == 0; }},
            {{ether.front(), "create vlan sales", "add port 1 to vlan sales tag off"},
             "set port 1 uplink on",
             [] { return displayed_port(1).find("uplink    : 1\n") != std::string::npos; }},
            {{ether.front(), "create vlan sales", "add port 1 to vlan sales tag off", "set port 1 uplink on"},
             "set port 1 uplink off",
             [] { return displayed_port(1).find("uplink    : 0\n") != std::string::npos; }},
            {ether, "notify port 1 down", [] { return port(1).optate == B_PORT_DOWN; }},
            {{},
             "set ether 4 shaping on rate 3 burst 7",
             [] {
                 softnp_phport ph{};
                 softnp_get_phport(4, &ph);
                 return ph.shaping_rate == 3000 && ph.shaping_param2 == 7;
             }},
            {{},
             "set ether 4 shaping on rate 3",
             [] {
                 zelfdb_phinfo info{};
                 u32 code = 0;
                 zelfdb_get_phinfo(4, &info, &code);
                 return info.shaping_param2 == 8000;
             }},
            {{}, "set ether 4 shaping on rate 0", [] { return replays("set ether 4 shaping on rate 0"); }},
            {{"set ether 4 shaping on rate 3"},
             "set ether 4 shaping off",
             [] {
                 zelfdb_phinfo info{};
                 u32 code = 0;
                 zelfdb_get_phinfo(4, &info, &code);
                 return info.shaping_rate == 0;
             }},
        };
    }

    std::vector<Effect> vlan_effects()
    {
        const std::vector<std::string> sales{"create vlan sales vid 10"};
        const std::vector<std::string> two{"create vlan sales vid 10", "create vlan lab vid 20"};
        const std::vector<std::string> with_port{sales.front(), "create port 1 npport 1 portType ether"};
        const std::vector<std::string> with_group{with_port[0], with_port[1], "create protgroup 6"};
        const auto flag = [](u32 bit) { return [bit] { return (vlan(10).vlan_flag & bit) != 0; }; };
        const auto no_flag = [](u32 bit) { return [bit] { return (vlan(10).vlan_flag & bit) == 0; }; };
        const auto both = [](u32 bit) {
            return [bit] { return (vlan(10).vlan_flag & vlan(20).vlan_flag & bit) != 0; };
        };
        const auto limit = [](u32 vid, const char* text) {
            return [vid, text] {
                return displayed_vlan(vid).find("learnlimit: " + std::string(text)) != std::string::npos;
            };
        };
        return {
            {{}, sales.front(), [] { return std::strcmp("sales", vlan(10).name) == 0; }},
            {{"create vlan a vid 1"}, "create vlan sales", [] { return std::strcmp("sales", vlan(2).name) == 0; }},
            {sales, "delete vlan sales",
             [] {
                 zelfdb_summary s{};
                 zelfdb_get_summary(&s);
                 return s.vlan_count == 0;
             }},
            {sales, "set vlan sales simple_loop_detection on", flag(0x2)},
            {{sales.front(), "set vlan sales simple_loop_detection on"},
             "set vlan sales simple_loop_detection off",
             no_flag(0x2)},
            {sales, "set vlan sales ignorefdb on", flag(0x4)},
            {{sales.front(), "set vlan sales ignorefdb on"}, "set vlan sales ignorefdb off", no_flag(0x4)},
            {sales, "set vlan sales learning off", flag(0x8)},
            {{sales.front(), "set vlan sales learning off"}, "set vlan sales learning on", no_flag(0x8)},
            {sales, "set vlan sales learninglimit 100", limit(10, "100\n")},
            {two, "set vlans simple_loop_detection on", both(0x2)},
            {two, "set vlans ignorefdb on", both(0x4)},
            {two, "set vlans learning off", both(0x8)},
            {two, "set vlans learninglimit 7", limit(20, "7\n")},
            {with_port, "add port 1 to vlan sales tag off",
             [] { return vlan(10).nmember == 1 && vlan(10).nuntagged == 1 && port(1).PVID == 10; }},
            {with_port, "add port 1 to vlan sales tag on tagtype 9100",
             [] { return vlan(10).member[0].pv_flag == ZELFDB_PV_TAGGED && vlan(10).member[0].tagtype == 0x9100; }},
            {with_port, "add port 1 to vlan sales tag on", [] { return vlan(10).member[0].tagtype == 0x8100; }},
            {with_group, "add port 1 to vlan sales tag off protgroup 6",
             [] { return vlan(10).member[0].pv_flag == ZELFDB_PV_PROTOCOL && port(1).prot[0].group == 6; }},
            {{with_port[0], with_port[1], "add port 1 to vlan sales tag off"},
             "delete port 1 from vlan sales",
             [] { return vlan(10).nmember == 0 && port(1).PVID == 0; }},
            {{}, "create protgroup 6", [] { return groups().count == 1 && groups().group[0].group == 6; }},
            {{"create protgroup 6"}, "delete protgroup 6", [] { return groups().count == 0; }},
            {{"create protgroup 6"},
             "add protocol 86dd to protgroup 6",
             [] { return groups().group[0].nprot == 1 && groups().group[0].prot[0] == 0x86DD; }},
            {{"create protgroup 6", "add protocol 86dd to protgroup 6"},
             "delete protocol 86dd from protgroup 6",
             [] { return groups().group[0].nprot == 0; }},
        };
    }

    std::vector<Effect> entry_effects()
    {
        const std::vector<std::string> sales{"create vlan sales vid 10", "create port 1 npport 1 portType ether"};
        const std::string entry = std::string("create sfdbentry ") + mac_text + " in vlan sales ";
        const std::string local = std::string("create lfdbentry ") + mac_text + " in port 1 ";
        const auto after = [](std::vector<std::string> lines, const std::string& line) {
            lines.push_back(line);
            return lines;
        };
        const auto in_vlan = [](u32 flag) {
            return [flag] {
                softnp_mac_entry e{};
                return softnp_get_mac_entry(10, mac, &e) == 1 && e.flag == flag;
            };
        };
        const auto gone = [] { return vlan(10).nfil == 0 && !NP_has(10); };
        const u32 own_FID = 0xC001;
        return {
            {sales, entry + "discard", in_vlan(4)},
            {sales, entry + "discard system",
             [] { return displayed_vlan(10).find("STATIC    00000001 ") != std::string::npos; }},
            {sales, entry + "port 1 flag 10", in_vlan(0x10)},
            {sales, entry + "port 1", in_vlan(0)},
            {after(sales, entry + "port 1"), std::string("delete sfdbentry ") + mac_text + " in vlan sales", gone},
            {after(sales, entry + "port 1 system"),
             std::string("delete sfdbentry ") + mac_text + " in vlan sales system", gone},
            {after(sales, entry + "port 1"), "delete sfdbentries in port 1", gone},
            {sales, local + "dsicard", [own_FID] { return NP_has(own_FID); }},
            {sales, local + "discard flag 0", [own_FID] { return NP_has(own_FID); }},
            {after(sales, local + "dsicard"), std::string("delete lfdbentry ") + mac_text + " in port 1",
             [own_FID] { return !NP_has(own_FID); }},
            {{}, "set fdb userarea 3", [this] { return refuses_the_fourth_entry(); }},
            {after(sales, "add port 1 to vlan sales tag off"), "clear fdb", [this] { return forgets("clear fdb"); }},
            {after(sales, "add port 1 to vlan sales tag off"), "clear fdb vlan sales",
             [this] { return forgets("clear fdb vlan sales"); }},
            {after(sales, "add port 1 to vlan sales tag off"), "clear fdb port 1",
             [this] { return forgets("clear fdb port 1"); }},
            {after(sales, "add port 1 to vlan sales tag off"), "clear fdb type dynamic",
             [this] { return forgets("clear fdb type dynamic"); }},
            {after(after(after(sales, local + "dsicard"), entry + "discard"),
                   "create sfdbentry 02:00:00:00:00:02 in vlan sales port 1 system"),
             "clear fdb type static", [own_FID] { return vlan(10).nfil == 1 && !NP_has(10) && NP_has(own_FID); }},
            {after(after(sales, local + "dsicard"), entry + "discard"), "clear fdb type local",
             [own_FID] { return vlan(10).nfil == 1 && NP_has(10) && !NP_has(own_FID); }},
            {after(sales, "add port 1 to vlan sales tag off"), "notify port 1 up flush",
             [this] { return forgets("notify port 1 up flush"); }},
        };
    }

    // A station is learned, and gone after the command.
    bool forgets(const std::string& line)
    {
        u8 header[16] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 2, 0, 0, 0, 0, 9, 8, 0, 0, 0};
        zelfdb_learn_ind indication{};
        indication.port = 1;
        indication.cookie = -1;
        if (zelfdb_add_dfil_by_learn_ind(descriptor_, header, &indication) != 0 || vlan(10).nfil != 1) return false;
        return run(line).done && vlan(10).nfil == 0;
    }

    bool refuses_the_fourth_entry()
    {
        given("create vlan sales vid 10");
        for (const char* const last : {"1", "2", "3"})
            given("create sfdbentry 02:00:00:00:00:0" + std::string(last) + " in vlan sales discard");
        return run("create sfdbentry 02:00:00:00:00:04 in vlan sales discard").code == ZELFDB_FDB_FULL;
    }
};

TEST_F(Effects, OfCommandsOnPorts) { expect_all(port_effects()); }
TEST_F(Effects, OfCommandsOnVlansAndGroups) { expect_all(vlan_effects()); }
TEST_F(Effects, OfCommandsOnEntries) { expect_all(entry_effects()); }

TEST_F(Effects, AreTestedForEveryCommand)
{
    std::vector<Effect> all;
    for (const auto& effects : {port_effects(), vlan_effects(), entry_effects()})
        all.insert(all.end(), effects.begin(), effects.end());
    all.push_back({{}, "recover port 1", {}});  // by a test of its own
    expect_effects_of({"Physical ports", "Ports", "Protocol groups", "VLANs", "Forwarding database"}, all);
}

// The table's subjects are those whose effects are tested, here and in the files beside.
TEST(Subjects, AreAllTested)
{
    const std::set<std::string> tested{"Physical ports",
                                       "Ports",
                                       "Protocol groups",
                                       "VLANs",
                                       "Forwarding database",
                                       "Streams and queues",
                                       "Classify, prefilter and loc lists",
                                       "Mirrors",
                                       "Questions"};
    for (const Command& command : all_commands()) EXPECT_TRUE(tested.contains(command.row->subject));
}

TEST_F(Commands, ANewPortHasNothingOfTheOneBeforeIt)
{
    given({"create port 1 npport 1 portType ether", "set port 1 cosmap bit 3 val 1,2,,,,,,",
           "set port 1 bandwidth frame_gap", "set port 1 link_frame bpdu forward", "set port 1 link_frame 31 forward",
           "delete port 1", "create port 2 npport 2"});
    EXPECT_EQ("create port 2 npport 2 \n", replayed());
}

TEST_F(Commands, APortWhoseBreakerTrippedComesBackWithLearningAndForwarding)
{
    given({"create port 1 npport 1 portType ether", "create port 2 npport 2 portType ether", "enable port 1",
           "enable port 2", "create vlan sales vid 10", "add port 1 to vlan sales tag off",
           "add port 2 to vlan sales tag off", "set vlan sales simple_loop_detection on",
           "set port 2 simple_loop_breaker on"});
    u8 header[16] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 2, 0, 0, 0, 0, 1, 8, 0, 0, 0};
    zelfdb_learn_ind indication{};
    indication.port = 1;
    ASSERT_EQ(0, zelfdb_add_dfil_by_learn_ind(descriptor_, header, &indication));
    softnp_mac_entry entry{};
    ASSERT_EQ(1, softnp_get_mac_entry(10, mac, &entry));
    indication.port = 2;
    indication.tick_ms = 100;
    indication.cookie = static_cast<i32>(entry.cookie);
    ASSERT_EQ(0, zelfdb_add_dfil_by_learn_ind(descriptor_, header, &indication));
    ASSERT_EQ(2U, port(2).sldbkr_state);
    ASSERT_EQ(0U, port(2).p_flag & 3U);

    given("recover port 2");
    EXPECT_EQ(1U, port(2).sldbkr_state);
    EXPECT_EQ(3U, port(2).p_flag & 3U);
    softnp_port np{};
    ASSERT_EQ(1, softnp_get_port(2, &np));
    EXPECT_EQ(3U, np.p_flag & 3U);
}

TEST_F(Commands, SayWhyTheyCannotBeDone)
{
    const std::string port1 = "create port 1 npport 1 portType ether";
    const std::string sales = "create vlan sales vid 10";
    const std::string member = "add port 1 to vlan sales tag off";
    const std::string entry = std::string("create sfdbentry ") + mac_text + " in vlan sales discard";
    expect_all(std::vector<Refusal>{
        {{}, "delete port 1", ZELFDB_NO_PORT, "no such port"},
        {{port1}, port1, ZELFDB_PORT_EXISTS, "the port exists already"},
        {{port1},
         "create port 2 npport 1 portType ether",
         ZELFDB_PHPORT_BOUND,
         "the physical port serves another Ethernet port already"},
        {{}, "create port 2 npport 5 portType ether", ZELFDB_PHPORT_UNKNOWN, "no such physical port"},
        {{port1, "enable port 1"}, "enable port 1", ZELFDB_PORT_ENABLED, "the port is enabled already"},
        {{port1}, "disable port 1", ZELFDB_PORT_DISABLED, "the port is disabled already"},
        {{port1}, "set port 1 uplink on", ZELFDB_NOT_MEMBER, "the port is not a member"},
        {{port1, sales, member}, "delete port 1", ZELFDB_PORT_IN_VLAN, "the port is still a member of a VLAN"},
        {{port1, sales, member, "set port 1 uplink on"},
         "delete port 1 from vlan sales",
         ZELFDB_PORT_IS_UPLINK,
         "the port is an uplink"},
        {{"create port 1 npport 1 portType vif"},
         "set port 1 simple_loop_breaker on",
         ZELFDB_VIF_NO_SLDBKR,
         "a virtual interface has no loop breaker"},
        {{}, "set port 1 learning on", ZELFDB_NO_PORT, "no such port"},
        {{port1}, "set port 1 learning on", 0, "the port is down: enable it first"},
        {{port1}, "recover port 1", 0, "the port's loop breaker has not tripped"},
        {{}, "recover port 1", ZELFDB_NO_PORT, "no such port"},
        {{port1}, "set port 1 cosmap bit 5 val 1,2,3,,,,,", 0, "the bits and the values given do not agree"},
        {{sales}, "create vlan sales vid 11", ZELFDB_NAME_IN_USE, "the VLAN name is in use"},
        {{sales}, "create vlan lab vid 10", ZELFDB_VID_IN_USE, "the VID is in use"},
        {{}, "delete vlan sales", ZELFDB_NO_VLAN, "no VLAN 'sales'"},
        {{port1, sales, member}, "delete vlan sales", ZELFDB_VLAN_HAS_PORTS, "the VLAN still has members"},
        {{sales}, member, ZELFDB_NO_PORT, "no such port"},
        {{port1, sales, member}, member, ZELFDB_ALREADY_MEMBER, "the port is a member of the VLAN already"},
        {{port1, sales, member, "create vlan lab vid 11"},
         "add port 1 to vlan lab tag off",
         ZELFDB_PORT_HAS_PVID,
         "the port is an untagged member of another VLAN already"},
        {{"create port 2 npport 0 portType vif", sales, "add port 2 to vlan sales tag on"},
         "add port 2 to vlan sales tag on",
         ZELFDB_ALREADY_MEMBER,
         "the port is a member of the VLAN already"},
        {{"create protgroup 1", "create protgroup 2", "create protgroup 3", "create protgroup 4", "create protgroup 5",
          "create protgroup 6", "create protgroup 7", "create protgroup 8"},
         "create protgroup 8",
         ZELFDB_PROTGROUP_EXISTS,
         "the protocol group exists already"},
        {{port1, sales}, "add port 1 to vlan sales tag off protgroup 9", ZELFDB_NO_PROTGROUP, "no such protocol group"},
        {{port1, sales}, "delete port 1 from vlan sales", ZELFDB_NOT_MEMBER, "the port is not a member"},
        {{"create protgroup 1"}, "create protgroup 1", ZELFDB_PROTGROUP_EXISTS, "the protocol group exists already"},
        {{}, "add protocol 800 to protgroup 1", ZELFDB_NO_PROTGROUP, "no such protocol group"},
        {{"create protgroup 1", "create protgroup 2", "add protocol 800 to protgroup 1"},
         "add protocol 800 to protgroup 2",
         ZELFDB_PROTOCOL_ELSEWHERE,
         "the protocol belongs to another group"},
        {{sales, entry}, entry, ZELFDB_MAC_EXISTS, "an entry with that MAC address exists already"},
        {{sales, entry},
         std::string("delete sfdbentry ") + mac_text + " in vlan sales system",
         ZELFDB_PERMIT_DIFFERS,
         "a system entry and a user entry are not the same"},
        {{sales},
         std::string("delete sfdbentry ") + mac_text + " in vlan sales",
         ZELFDB_NO_MAC,
         "no entry with that MAC address"},
        {{}, "clear fdb vlan sales", ZELFDB_NO_VLAN, "no VLAN 'sales'"},
        {{}, "clear fdb port 7", ZELFDB_NO_PORT, "no such port"},
    });
}

TEST_F(Commands, TellOfARefusalByTheNetworkProcessorWhereTheLibraryDoes)
{
    given("create port 1 npport 1 portType ether");
    ASSERT_EQ(0, softnp_refuse("*", 0, SOFTNP_REFUSE_STATUS, 0));
    for (const char* const line : {"enable port 1", "create protgroup 1"}) {
        const Outcome outcome = run(line);
        EXPECT_FALSE(outcome.done) << line;
        EXPECT_EQ("the network processor refused the command", outcome.text);
    }
}

TEST_F(Commands, AVlanWithoutAVidTellsWhichItGot)
{
    given("create vlan a vid 1");
    EXPECT_EQ("vlan b has vid 2", run("create vlan b").text);
    EXPECT_EQ("", run("create vlan c vid 5").text);
}

TEST(Codes, EveryCodeOfTheHeaderHasAText)
{
    for (const u32 code : {ZELFDB_DONE,
                           ZELFDB_NO_DESCRIPTOR,
                           ZELFDB_NO_PORT,
                           ZELFDB_NO_VLAN,
                           ZELFDB_NO_MAC,
                           ZELFDB_NO_STREAM,
                           ZELFDB_NO_QUEUE,
                           ZELFDB_NO_PHPORT,
                           ZELFDB_NO_CLASSIFY,
                           ZELFDB_NO_LINE,
                           ZELFDB_BAD_VID,
                           ZELFDB_NOT_VIF,
                           ZELFDB_PORT_POOL_EMPTY,
                           ZELFDB_PORT_EXISTS,
                           ZELFDB_PHPORT_BOUND,
                           ZELFDB_PHPORT_UNKNOWN,
                           ZELFDB_PORT_ENABLED,
                           ZELFDB_PORT_IN_VLAN,
                           ZELFDB_PORT_IS_UPLINK,
                           ZELFDB_PORT_HAS_STREAM,
                           ZELFDB_PORT_DISABLED,
                           ZELFDB_NAME_IN_USE,
                           ZELFDB_VID_IN_USE,
                           ZELFDB_NAME_TOO_LONG,
                           ZELFDB_VLAN_POOL_EMPTY,
                           ZELFDB_NO_FREE_VID,
                           ZELFDB_VLAN_HAS_PORTS,
                           ZELFDB_ALREADY_MEMBER,
                           ZELFDB_TAGGED_BAD_VID,
                           ZELFDB_VLAN_FULL,
                           ZELFDB_VLAN_HAS_VIF,
                           ZELFDB_VIF_HAS_PVID,
                           ZELFDB_PORT_HAS_PVID,
                           ZELFDB_GROUP_JOINED,
                           ZELFDB_GROUP_TABLE_FULL,
                           ZELFDB_NOT_MEMBER,
                           ZELFDB_PV_CLASSIFIED,
                           ZELFDB_MAC_EXISTS,
                           ZELFDB_FDB_FULL,
                           ZELFDB_PERMIT_DIFFERS,
                           ZELFDB_TYPE_DIFFERS,
                           ZELFDB_VIF_NO_SLDBKR,
                           ZELFDB_BAD_CLASS,
                           ZELFDB_QUEUE_EXISTS,
                           ZELFDB_QUEUE_POOL_EMPTY,
                           ZELFDB_QUEUE_BUDGET,
                           ZELFDB_QUEUE_ATTACHED,
                           ZELFDB_QUEUE_NOT_ATTACHED,
                           ZELFDB_STREAM_BOUND,
                           ZELFDB_STREAM_NOT_BOUND,
                           ZELFDB_STREAM_HAS_QUEUE,
                           ZELFDB_STREAM_EXISTS,
                           ZELFDB_STREAM_POOL_EMPTY,
                           ZELFDB_CLASSIFY_EXISTS,
                           ZELFDB_CLASSIFY_POOL_EMPTY,
                           ZELFDB_CLASSIFY_FULL,
                           ZELFDB_CLASSIFY_HAS_LINES,
                           ZELFDB_CLASSIFY_BOUND,
                           ZELFDB_PV_HAS_CLASSIFY,
                           ZELFDB_PV_NO_CLASSIFY,
                           ZELFDB_PROTGROUPS_FULL,
                           ZELFDB_PROTGROUP_EXISTS,
                           ZELFDB_NO_PROTGROUP,
                           ZELFDB_PROTGROUP_FULL,
                           ZELFDB_PROTOCOL_IN_GROUP,
                           ZELFDB_PROTOCOL_ELSEWHERE,
                           ZELFDB_PROTOCOL_NOT_IN_GROUP,
                           ZELFDB_BAD_MIRROR,
                           ZELFDB_MIRROR_EXISTS,
                           ZELFDB_NO_MIRROR,
                           ZELFDB_MIRROR_NO_SOURCE,
                           ZELFDB_MIRROR_NO_DEST,
                           ZELFDB_MIRROR_ONTO_ITSELF,
                           ZELFDB_MIRROR_IN_USE,
                           ZELFDB_MIRROR_ENABLED,
                           ZELFDB_MIRROR_DISABLED,
                           ZELFDB_MIRROR_FROZEN,
                           ZELFDB_PROTGROUP_USED})
        EXPECT_STRNE("unknown reason", text_of_code(code)) << code;
    EXPECT_STREQ("unknown reason", text_of_code(9999));
}

}  // namespace
}  // namespace zelfctl
