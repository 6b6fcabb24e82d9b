// Every builder: that its command carries all it was given, as the log's text shows it.
#include "np_device.h"

#include <cstring>

using namespace softnp_test;

namespace {

constexpr u32 EIGHT[8] = {0, 1, 2, 3, 4, 5, 6, 0xFFFFFFFF};
constexpr u32 OTHER_EIGHT[8] = {0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17};
constexpr u32 LOGGED_FOUR[4] = {1, 2, 0x80000000, 4};
constexpr Mac MAC{0x00, 0x11, 0x22, 0x33, 0x44, 0xFF};

vf_cmd* add_fdb()
{
    vf_fdb_request request{0xFE, 1, 0xC001, {0x00, 0x11, 0x22, 0x33, 0x44, 0xFF}, -1, 0x1234, 0, -1};
    return vf_mk_addFDB(&request, nullptr);
}

vf_cmd* actual_rates()
{
    const vf_actual_rate rates[2] = {{1, 0xFFFFFFFF, 3}, {1023, 5, 6}};
    return vf_mk_set_stream_actual_rate(2, rates);
}

// Bytes 0, 1, 2 .. as a builder takes them, and as the text shows them.
Bytes counting(size_t length)
{
    Bytes bytes(length);
    for (size_t index = 0; index < length; index++) bytes[index] = static_cast<u8>(index);
    return bytes;
}
std::string followed_by_hex(std::string text, const Bytes& bytes)
{
    for (const u8 byte : bytes) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

struct CommandRow {
    vf_cmd* command;
    std::string text;
};

// In the order of vf.h, so that the kinds can be counted through.
std::vector<CommandRow> every_command()
{
    return {
        {vf_mk_set_port_param(1, 0x800000FF, 0x173, 1, 7, 4, 0x8100, 10, 0xC001),
         "set_port_param port=1 mask=0x800000ff p_flag=0x173 p_type=1 pri=7 phport=4 tagtype=0x8100 PVID=10 "
         "FID=0xc001"},
        {vf_mk_delete_port(74), "delete_port port=74"},
        {vf_mk_enable_port(SOFTNP_NO_PORT), "enable_port port=unmapped"},
        {vf_mk_disable_port(2), "disable_port port=2"},
        {vf_mk_set_port_flags(2, 0x170, 7), "set_port_flags port=2 p_flag=0x170 mask=0x7"},
        {vf_mk_set_class_policing(3, 7, 4294967295u, 2, 1),
         "set_class_policing port=3 class=7 rate=4294967295 burst=2 color=1"},
        {vf_mk_set_cosmap(3, 0xFF, EIGHT),
         "set_cosmap port=3 valbit=0xff cosmap=0x0,0x1,0x2,0x3,0x4,0x5,0x6,0xffffffff"},
        {vf_mk_set_bandwidth_calc_mode(3, 1), "set_bandwidth_calc_mode port=3 mode=1"},
        {vf_mk_set_def_class(3, 4, 5, 2), "set_def_class port=3 def_spno=4 def_pri=5 def_color=2"},
        {vf_mk_set_ph_shaping(4, 100, 200), "set_ph_shaping phport=4 shaping_rate=100 shaping_param2=200"},
        {add_fdb(), "addFDB FID=0xc001 mac=00:11:22:33:44:ff port=-1 port2=-1 flag=0xfe one=1 zero=0 cookie=0x1234"},
        {vf_mk_removeFDB(0xFFFF, MAC.data()), "removeFDB FID=0xffff mac=00:11:22:33:44:ff"},
        {vf_mk_findFDB(10, MAC.data(), nullptr, nullptr, nullptr), "findFDB FID=0xa mac=00:11:22:33:44:ff"},
        {vf_mk_add_classify_act(1, 2, counting(120).data()),
         followed_by_hex("add_classify_act profile=1 line_no=2 line=", counting(120))},
        {vf_mk_rem_classify_act(64, 0), "rem_classify_act profile=64 line_no=0"},
        {vf_mk_add_classify_prof(64, 5, 4094, LOGGED_FOUR),
         "add_classify_prof profile=64 port=5 VID=4094 words=0x1,0x2,0x80000000,0x4"},
        {vf_mk_rem_classify_prof(5, 4094), "rem_classify_prof port=5 VID=4094"},
        {vf_mk_add_prefilter_act(6, 0, counting(64).data()),
         followed_by_hex("add_prefilter_act list=6 line_no=0 block=", counting(64))},
        {vf_mk_rem_prefilter_act(6, 1), "rem_prefilter_act list=6 line_no=1"},
        {vf_mk_add_loc_act(7, 0, counting(16).data()),
         followed_by_hex("add_loc_act list=7 line_no=0 block=", counting(16))},
        {vf_mk_rem_loc_act(7, 3), "rem_loc_act list=7 line_no=3"},
        {vf_mk_add_prefilter_prof(6, 164, 10, LOGGED_FOUR),
         "add_prefilter_prof list=6 port_id=164 VID=10 words=0x1,0x2,0x80000000,0x4"},
        {vf_mk_rem_prefilter_prof(164, 10), "rem_prefilter_prof port_id=164 VID=10"},
        {vf_mk_add_loc_prof(7, 164, 10, LOGGED_FOUR),
         "add_loc_prof list=7 port_id=164 VID=10 words=0x1,0x2,0x80000000,0x4"},
        {vf_mk_rem_loc_prof(164, 10), "rem_loc_prof port_id=164 VID=10"},
        {vf_mk_create_queue(8191, 65536, 50), "create_queue queue=8191 size=65536 queue_length=50"},
        {vf_mk_delete_queue(8191), "delete_queue queue=8191"},
        {vf_mk_add_queue(8, 1, 0, 2, 3, 4), "add_queue queue=8 streamno=1 class=0 mode=2 pri=3 ratio=4"},
        {vf_mk_set_esparam(8, 1, 2, 3), "set_esparam queue=8 streamno=1 pri=2 ratio=3"},
        {vf_mk_set_qmax(8, 1, 2, 3, 4), "set_qmax queue=8 streamno=1 class=2 size=3 queue_length=4"},
        {vf_mk_create_stream(1023), "create_stream streamno=1023"},
        {vf_mk_delete_stream(1023), "delete_stream streamno=1023"},
        {vf_mk_set_red(1, 2, 3, 4, 5, 6, 7),
         "set_red streamno=1 class=2 colour=3 min_thresh=4 min_drop=5 max_thresh=6 max_drop=7"},
        {vf_mk_set_stream_shaping(1, 2, 3, 4, 5),
         "set_stream_shaping streamno=1 minrate=2 minburst=3 maxrate=4 maxburst=5"},
        {actual_rates(), "set_stream_actual_rate count=2 entries=1:4294967295:3,1023:5:6"},
        {vf_mk_set_qostype(1, 2, 3, 4), "set_qostype streamno=1 qos_type=2 qos_param=3 qos_param2=4"},
        {vf_mk_set_stream_priority(1, 2), "set_stream_priority streamno=1 priority=2"},
        {vf_mk_set_stream_tosmap(1, 0xFF, EIGHT, OTHER_EIGHT),
         "set_stream_tosmap streamno=1 bits=0xff values=0x0,0x1,0x2,0x3,0x4,0x5,0x6,0xffffffff "
         "masks=0x10,0x11,0x12,0x13,0x14,0x15,0x16,0x17"},
        {vf_mk_get_stream_info(1), "get_stream_info streamno=1"},
        {vf_mk_get_stream_busy_info(1), "get_stream_busy_info streamno=1"},
        {vf_mk_create_vlan(10, 11), "create_vlan VID=10 FID=0xb"},
        {vf_mk_delete_vlan(10), "delete_vlan VID=10"},
        {vf_mk_add_port_vlan(10, 2, 1, 0x9100, 1, 65535),
         "add_port_vlan VID=10 port=2 tagged=1 tagtype=0x9100 protocol_based=1 group=65535"},
        {vf_mk_remove_port_vlan(10, 2), "remove_port_vlan VID=10 port=2"},
        {vf_mk_set_vl_flag(10, 2, 253), "set_vl_flag VID=10 value=2 selector=253"},
        {vf_mk_create_protgroup(1), "create_protgroup group=1"},
        {vf_mk_delete_protgroup(1), "delete_protgroup group=1"},
        {vf_mk_add_prot_to_group(0x86DD, 1), "add_prot_to_group protocol=0x86dd group=1"},
        {vf_mk_remove_prot_from_group(0x86DD, 1), "remove_prot_from_group protocol=0x86dd group=1"},
        {vf_mk_create_mirror(0), "create_mirror mirror=0"},
        {vf_mk_delete_mirror(1), "delete_mirror mirror=1"},
        {vf_mk_enable_mirror(2), "enable_mirror mirror=2"},
        {vf_mk_disable_mirror(3), "disable_mirror mirror=3"},
        {vf_mk_set_mirror_source(1, 2, 164, 10), "set_mirror_source mirror=1 kind=2 port_id=164 VID=10"},
        {vf_mk_set_mirror_dest(1, 164), "set_mirror_dest mirror=1 port_id=164"},
        {vf_mk_set_mirror_classify(1, 2, 3, 4), "set_mirror_classify mirror=1 class=2 second=3 colour=4"},
        {vf_mk_set_mirror_tag(1, 1, 0x8100, 10), "set_mirror_tag mirror=1 tag_on=1 tagtype=0x8100 VID=10"},
    };
}

std::string text_of(const vf_cmd& command, size_t size = 1024)
{
    std::string text(size, '#');
    softnp::describe(softnp::view_of(command), text.data(), size);
    return text.c_str();
}

}  // namespace

using Commands = NpDevice;

TEST_F(Commands, EveryKindIsBuiltAndDescribed)
{
    std::vector<CommandRow> rows = every_command();
    EXPECT_EQ(softnp::KIND_COUNT, rows.size());
    for (u32 index = 0; index < rows.size(); index++) {
        EXPECT_EQ(rows[index].text, text_of(*rows[index].command));
        EXPECT_EQ(index, static_cast<u32>(rows[index].command->kind)) << rows[index].text;
        vf_cmdNFreeB(rows[index].command);
    }
}

TEST_F(Commands, EveryKindIsLoggedAsItWasDescribedAndCounted)
{
    u64 cursor = 0;
    u32 index = 0;
    for (const CommandRow& row : every_command()) {
        const Sent sent = send(handle, row.command);
        EXPECT_EQ(0, sent.delivered);

        softnp_log_entry entry{};
        ASSERT_EQ(1, softnp_log_read(&cursor, nullptr, &entry));
        EXPECT_EQ(row.text.substr(0, SOFTNP_LOG_TEXT - 1), entry.text);
        EXPECT_EQ(sent.error, entry.error) << row.text;

        const char* name = nullptr;
        u64 commands = 0;
        u64 refused = 0;
        ASSERT_EQ(1, softnp_command_count(index++, &name, &commands, &refused));
        EXPECT_EQ(row.text.substr(0, row.text.find(' ')), name);
        EXPECT_EQ(1u, commands) << name;
        EXPECT_EQ(sent.error != 0 ? 1u : 0u, refused) << name;
    }
    const char* name = nullptr;
    EXPECT_EQ(0, softnp_command_count(index, &name, nullptr, nullptr));
}

TEST_F(Commands, OfEveryKindAreModelled)
{
    for (const CommandRow& row : every_command())
        EXPECT_NE(SOFTNP_ERR_NOT_SUPPORTED, send(handle, row.command).error) << row.text;
}

TEST_F(Commands, HoldACopyOfWhatTheyWereGiven)
{
    u32 map[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    Bytes block = counting(16);
    Mac mac = MAC;
    vf_fdb_request request{0, 1, 10, {2, 0, 0, 0, 0, 1}, 1, 99, 0, 1};
    vf_actual_rate rate{1, 2, 3};
    vf_cmd* commands[] = {vf_mk_set_cosmap(1, 0xFF, map), vf_mk_add_loc_act(1, 0, block.data()),
                          vf_mk_removeFDB(1, mac.data()), vf_mk_addFDB(&request, nullptr),
                          vf_mk_set_stream_actual_rate(1, &rate)};
    std::vector<std::string> before;
    for (const vf_cmd* command : commands) before.push_back(text_of(*command));

    std::memset(map, 0xEE, sizeof map);
    std::fill(block.begin(), block.end(), u8{0xEE});
    mac.fill(0xEE);
    std::memset(static_cast<void*>(&request), 0xEE, sizeof request);
    std::memset(static_cast<void*>(&rate), 0xEE, sizeof rate);

    for (size_t index = 0; index < before.size(); index++) {
        EXPECT_EQ(before[index], text_of(*commands[index]));
        vf_cmdNFreeB(commands[index]);
    }
}

TEST_F(Commands, HaveTheirStatusAtByteEight)
{
    vf_cmd* command = vf_mk_delete_port(1);
    ASSERT_EQ(0, vf_call(handle, 0, command, 0, 0));
    softnp::i16 status = 0;
    std::memcpy(&status, reinterpret_cast<const u8*>(command) + 8, sizeof status);
    EXPECT_EQ(SOFTNP_ERR_NO_PORT, status);
    EXPECT_EQ(SOFTNP_ERR_NO_PORT, vf_rd_err(command));
    vf_cmdNFreeB(command);
}

TEST_F(Commands, TextIsCutOffAtTheSizeGiven)
{
    vf_cmd* command = vf_mk_delete_port(12);
    EXPECT_EQ("", text_of(*command, 1));
    EXPECT_EQ("delete", text_of(*command, 7));
    EXPECT_EQ("delete_port port=1", text_of(*command, 19));
    EXPECT_EQ("delete_port port=12", text_of(*command, 20));
    vf_cmdNFreeB(command);
}

TEST_F(Commands, ManyRatesAreLoggedUpToWhatTheLogHolds)
{
    std::vector<vf_actual_rate> rates(128);
    for (u32 index = 0; index < rates.size(); index++) rates[index] = {static_cast<u16>(index), 1, 2};
    EXPECT_EQ(SOFTNP_ERR_NO_STREAM, tell(vf_mk_set_stream_actual_rate(128, rates.data())));
    u64 cursor = 0;
    softnp_log_entry entry{};
    ASSERT_EQ(1, softnp_log_read(&cursor, nullptr, &entry));
    EXPECT_STREQ(
        "set_stream_actual_rate count=128 entries=0:1:2,1:1:2,2:1:2,3:1:2,4:1:2,5:1:2,6:1:2,7:1:2,8:1:2,"
        "9:1:2,10:1:2,11:1:2..",
        entry.text);
}

TEST_F(Commands, ACountOfRatesThatNoMemoryHoldsGivesNoCommand)
{
    const vf_actual_rate rate{1, 2, 3};
    EXPECT_EQ(nullptr, vf_mk_set_stream_actual_rate(0xFFFFFFFF, &rate));
}

TEST_F(Commands, NoRatesMakeAnEmptyCommand)
{
    vf_cmd* command = vf_mk_set_stream_actual_rate(0, nullptr);
    ASSERT_NE(nullptr, command);
    EXPECT_EQ("set_stream_actual_rate count=0 entries=", text_of(*command));
    vf_cmdNFreeB(command);
}

TEST_F(Commands, ReadersRefuseAnswersOfOtherKindsAndOfCommandsNeverSent)
{
    vf_cmd* command = vf_mk_delete_port(1);
    u32 words[18] = {1, 1, 1};
    EXPECT_NE(0, vf_rd_addFDB(command));
    EXPECT_NE(0, vf_rd_removeFDB(command));
    EXPECT_NE(0, vf_rd_get_stream_info(command, words));
    EXPECT_NE(0, vf_rd_get_stream_busy_info(command, words));
    vf_rd_findFDB(command, words);
    EXPECT_NE(0u, words[0]);
    EXPECT_EQ(0, vf_rd_err(command));
    vf_cmdNFreeB(command);

    vf_cmd* find = vf_mk_findFDB(10, MAC.data(), nullptr, nullptr, nullptr);
    vf_rd_findFDB(find, words);
    EXPECT_EQ(static_cast<u32>(SOFTNP_ERR_NOT_DELIVERED), words[0]);
    vf_cmdNFreeB(find);
}

TEST_F(Commands, StreamQueriesThatAreRefusedHaveZeroedAnswers)
{
    vf_cmd* info = vf_mk_get_stream_info(1);
    ASSERT_EQ(0, vf_call(handle, 0, info, 0, 0));
    u32 words[18];
    std::fill(words, words + 18, 7u);
    EXPECT_EQ(SOFTNP_ERR_NO_STREAM, vf_rd_get_stream_info(info, words));
    EXPECT_EQ(std::vector<u32>(18, 0), std::vector<u32>(words, words + 18));
    vf_cmdNFreeB(info);

    vf_cmd* busy = vf_mk_get_stream_busy_info(1);
    ASSERT_EQ(0, vf_call(handle, 0, busy, 0, 0));
    EXPECT_EQ(SOFTNP_ERR_NO_STREAM, vf_rd_get_stream_busy_info(busy, words));
    vf_cmdNFreeB(busy);
}

TEST_F(Commands, AChainIsExecutedInOrderWithAStatusForEach)
{
    vf_cmd* first = vf_mk_create_vlan(10, 10);
    vf_cmd* second = vf_mk_create_vlan(10, 10);
    vf_cmd* third = vf_mk_create_vlan(11, 11);
    vf_cmd* chain = vf_Joint(vf_Joint(first, second), third);
    EXPECT_EQ(first, chain);
    EXPECT_EQ(0, vf_call(handle, 0, chain, 0, 0));
    EXPECT_EQ(0, vf_rd_err(first));
    EXPECT_EQ(SOFTNP_ERR_VLAN_EXISTS, vf_rd_err(second));
    EXPECT_EQ(0, vf_rd_err(third));
    vf_cmdNFreeB(chain);

    u64 cursor = 0;
    for (u32 index = 0; index < 3; index++) {
        softnp_log_entry entry{};
        ASSERT_EQ(1, softnp_log_read(&cursor, nullptr, &entry));
        EXPECT_EQ(index, entry.chain_index);
    }
    EXPECT_EQ(2u, device_counters().vlans);
}

TEST_F(Commands, ChainsJoinChainsAndNothing)
{
    vf_cmd* left = vf_Joint(vf_mk_create_vlan(1, 1), vf_mk_create_vlan(2, 2));
    vf_cmd* right = vf_Joint(vf_mk_create_vlan(3, 3), vf_mk_create_vlan(4, 4));
    EXPECT_EQ(left, vf_Joint(nullptr, left));
    EXPECT_EQ(left, vf_Joint(left, nullptr));
    EXPECT_EQ(left, vf_Joint(left, right));
    EXPECT_EQ(left, vf_Joint(left, vf_mk_create_vlan(5, 5)));
    EXPECT_EQ(0, vf_call(handle, 0, left, 0, 0));
    EXPECT_EQ(5u, device_counters().vlans);
    vf_cmdNFreeB(left);
    vf_cmdNFreeB(nullptr);
}

TEST_F(Commands, AChainOfFortyRemovalsIsOneCall)
{
    given_three_ports_in_a_vlan();
    vf_cmd* chain = nullptr;
    for (u8 index = 0; index < 40; index++) {
        const Mac mac{2, 0, 0, 0, 1, index};
        ASSERT_EQ(0, add_mac(10, mac, 1, index));
        chain = vf_Joint(chain, vf_mk_removeFDB(10, mac.data()));
    }
    EXPECT_EQ(40u, device_counters().mac_entries);
    EXPECT_EQ(0, vf_call(handle, 0, chain, 0, 0));
    vf_cmdNFreeB(chain);
    EXPECT_EQ(0u, device_counters().mac_entries);
}

TEST_F(Commands, ACommandMayBeSentAgain)
{
    vf_cmd* command = vf_mk_create_vlan(10, 10);
    EXPECT_EQ(0, vf_call(handle, 0, command, 0, 0));
    EXPECT_EQ(0, vf_rd_err(command));
    EXPECT_EQ(0, vf_call(handle, 0, command, 0, 0));
    EXPECT_EQ(SOFTNP_ERR_VLAN_EXISTS, vf_rd_err(command));
    vf_cmdNFreeB(command);
}

TEST_F(Commands, WithoutASessionOrACommandNothingIsDelivered)
{
    vf_cmd* command = vf_mk_create_vlan(10, 10);
    EXPECT_NE(0, vf_call(nullptr, 0, command, 0, 0));
    EXPECT_NE(0, vf_call(handle, 0, nullptr, 0, 0));
    vf_cmdNFreeB(command);
    EXPECT_EQ(0u, device_counters().vlans);
    vf_release(nullptr);
}

TEST_F(Commands, TheFirstFourBytesOfASessionAreTheCallers)
{
    const u8 mark[4] = {1, 0xAA, 0, 0};
    std::memcpy(static_cast<void*>(handle), mark, sizeof mark);
    EXPECT_EQ(0, create_vlan(10));
    EXPECT_EQ(0, std::memcmp(handle, mark, sizeof mark));
}
