// Every exported operation of the library can be reached: which verb or command of the tool calls it.
#include <algorithm>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "tool.h"

namespace tool {
namespace {

// A verb, or how a command begins.
const std::map<std::string, std::string> ways{
    {"zelfdb_init", "init"},
    {"zelfdb_open_descriptor", "apply"},
    {"zelfdb_open_descriptor2", "show budget"},
    {"zelfdb_close_descriptor", "apply"},
    {"zelfdb_get_summary", "show summary"},
    {"zelfdb_get_history", "show history"},
    {"zelfdb_alloc_ropebuf", "show vlan"},
    {"zelfdb_free_ropebuf", "show vlan"},
    {"zelfdb_clear_fdb", "clear fdb"},
    {"zelfdb_clear_fdb_vlan", "clear fdb vlan"},
    {"zelfdb_set_fdb_userarea", "set fdb userarea"},
    {"zelfdb_add_dfil_by_learn_ind", "feed"},
    {"zelfdb_do_aging", "age"},
    {"zelfdb_create_sfil2", "create sfdbentry"},
    {"zelfdb_delete_sfil2", "delete sfdbentry"},
    {"zelfdb_create_lfil", "create lfdbentry"},
    {"zelfdb_delete_lfil", "delete lfdbentry"},
    {"zelfdb_get_all_dfil", "show fdb"},
    {"zelfdb_get_all_sfil", "show fdb"},
    {"zelfdb_get_all_lfil", "show fdb"},
    {"zelfdb_delete_sfil_select_port2", "delete sfdbentries in port"},
    {"zelfdb_create_port", "create port"},
    {"zelfdb_delete_port", "delete port"},
    {"zelfdb_get_phinfo", "show ether"},
    {"zelfdb_set_ph_shaping", "set ether"},
    {"zelfdb_set_param_to_port2", "set port 1 aging"},
    {"zelfdb_set_port_class_policing", "set port 1 class_policing"},
    {"zelfdb_set_port_cosmap", "set port 1 cosmap"},
    {"zelfdb_set_port_bandwidth_calc_mode", "set port 1 bandwidth"},
    {"zelfdb_set_default_class", "set port 1 default_class"},
    {"zelfdb_set_port_link_frames", "set port 1 link_frame"},
    {"zelfdb_enable_port", "enable port"},
    {"zelfdb_disable_port", "disable port"},
    {"zelfdb_notify_portstate", "notify port"},
    {"zelfdb_recover_port_sldbkr", "recover port"},
    {"zelfdb_set_uplink_flag2", "set port 1 uplink"},
    {"zelfdb_set_link_mode", "set port 1 link_mode"},
    {"zelfdb_set_link_depend", "set port 1 link_depend"},
    {"zelfdb_get_portinfo", "show port"},
    {"zelfdb_get_all_portinfo", "show port"},
    {"zelfdb_get_port_vid2", "query port 1 vid"},
    {"zelfdb_check_stream_in_port", "query port 1 streams"},
    {"zelfdb_display_port_data", "display port"},
    {"zelfdb_create_vlan", "create vlan"},
    {"zelfdb_delete_vlan", "delete vlan"},
    {"zelfdb_get_vlan_info", "query vlan v counts"},
    {"zelfdb_get_all_vlaninfo", "show vlan"},
    {"zelfdb_get_vid", "show vlan"},
    {"zelfdb_get_vid2", "query vlan v vid"},
    {"zelfdb_get_vlanname", "show vlan"},
    {"zelfdb_get_vlanname2", "query vid 1 vlan"},
    {"zelfdb_get_portID_from_vid2", "query vlan v ports"},
    {"zelfdb_get_vid_from_portID2", "query port 1 vlans"},
    {"zelfdb_add_port_to_vlan", "add port"},
    {"zelfdb_rem_port_from_vlan", "delete port 1 from vlan"},
    {"zelfdb_get_all_pvinfo_in_a_port", "query port 1 memberships"},
    {"zelfdb_set_vlan_sld", "set vlan v simple_loop_detection"},
    {"zelfdb_set_vlan_learninglimit", "set vlan v learninglimit"},
    {"zelfdb_set_vlan_ignore_fdb", "set vlan v ignorefdb"},
    {"zelfdb_set_vlan_learning_off", "set vlan v learning"},
    {"zelfdb_create_protgroup", "create protgroup"},
    {"zelfdb_delete_protgroup", "delete protgroup"},
    {"zelfdb_add_prot_to_group", "add protocol"},
    {"zelfdb_remove_prot_from_group", "delete protocol"},
    {"zelfdb_get_protgroup_info", "show protgroup"},
    {"zelfdb_display_vlan_data", "display vlan"},
    {"zelfdb_create_queue", "create queue"},
    {"zelfdb_delete_queue", "delete queue"},
    {"zelfdb_add_queue_to_stream", "create queue"},
    {"zelfdb_rem_queue_from_stream", "delete queue"},
    {"zelfdb_set_queue_qos", "set queue 1/1/1 pri"},
    {"zelfdb_set_queue_size", "set queue 1/1/1 size"},
    {"zelfdb_get_queue_info", "show queues"},
    {"zelfdb_check_queue_in_stream", "query stream 1/1 queues"},
    {"zelfdb_create_stream", "create stream"},
    {"zelfdb_delete_stream", "delete stream"},
    // A stream's port is part of its name, and its number the place that it has in a text: one that moved to another port
    // would not stand where it stood once the text was read again.
    {"zelfdb_add_stream_to_port", "create stream"},
    {"zelfdb_rem_stream_from_port", "delete stream"},
    {"zelfdb_set_red_in_stream", "set queue 1/1/1 color"},
    {"zelfdb_set_shaping_in_stream", "set stream 1/1 shaping"},
    {"zelfdb_set_qostype_in_stream", "set stream 1/1 qostype"},
    {"zelfdb_set_stream_priority", "set stream 1/1 priority"},
    {"zelfdb_set_stream_tosmap", "set stream 1/1 tosmap"},
    {"zelfdb_get_stream_info", "show stream"},
    {"zelfdb_get_all_streaminfo", "show streams"},
    {"zelfdb_get_stream_busy_info", "query stream 1/1 busy"},
    {"zelfdb_stream_shaping_rate_update", "update stream_rates"},
    {"zelfdb_create_classify_profile", "create clslist"},
    {"zelfdb_delete_classify_profile", "delete clslist"},
    {"zelfdb_add_classify_profile_to_pv", "add clslist"},
    {"zelfdb_rem_classify_profile_from_pv", "delete clslist from"},
    {"zelfdb_add_classify_action_to_profile", "add classify"},
    {"zelfdb_rem_classify_action_from_profile", "delete classify line"},
    {"zelfdb_rem_classify_all_from_profile", "delete classify all"},
    {"linedata_to_param_prefilter", "add prefilter"},
    {"linedata_to_param_loc", "add loc"},
    {"zelfdb_disp_classify", "export clslist"},
    {"zelfdb_create_mirror", "create mirror"},
    {"zelfdb_delete_mirror", "delete mirror"},
    {"zelfdb_set_mirror_source", "set mirror 1 source"},
    {"zelfdb_set_mirror_dest", "set mirror 1 dest"},
    {"zelfdb_set_mirror_classify", "set mirror 1 classify"},
    {"zelfdb_set_mirror_tag", "set mirror 1 tag"},
    {"zelfdb_enable_mirror", "enable mirror"},
    {"zelfdb_disable_mirror", "disable mirror"},
    {"zelfdb_reconfig_ether", "show running"},
    {"zelfdb_reconfig_port", "show running"},
    {"zelfdb_reconfig_stream", "show running"},
    {"zelfdb_reconfig_protgroup", "show running"},
    {"zelfdb_reconfig_vlan", "show running"},
    {"zelfdb_reconfig_classify", "show running"},
    {"zelfdb_reconfig_sfil", "show running"},
    {"zelfdb_reconfig_lfil", "show running"},
    {"zelfdb_reconfig_mirror", "show running"},
};

// Operations that open a descriptor of their own, where commands have one already: the operation that does the same on the
// caller's descriptor, with the same body, stands for them.
const std::map<std::string, std::string> twins{
    {"zelfdb_create_sfil", "zelfdb_create_sfil2"},
    {"zelfdb_delete_sfil", "zelfdb_delete_sfil2"},
    {"zelfdb_delete_sfil_select_port", "zelfdb_delete_sfil_select_port2"},
    {"zelfdb_set_param_to_port", "zelfdb_set_param_to_port2"},
    {"zelfdb_set_uplink_flag", "zelfdb_set_uplink_flag2"},
    {"zelfdb_get_port_vid", "zelfdb_get_port_vid2"},
    {"zelfdb_get_portID_from_vid", "zelfdb_get_portID_from_vid2"},
};

std::set<std::string> exported_operations()
{
    const std::string header = content_of(SOURCE "/include/zelfdb/zelfdb.h");
    const std::regex operation(R"(\nZELFDB_API [^;(]*?(\w+)\()");
    std::set<std::string> names;
    for (std::sregex_iterator i(header.begin(), header.end(), operation), end; i != end; ++i) names.insert((*i)[1]);
    EXPECT_GT(names.size(), 100U);
    return names;
}

// What the tool takes from the library.
std::set<std::string> called_operations()
{
    std::set<std::string> names;
    std::istringstream symbols(run({"nm", "-D", "--undefined-only", "--format=just-symbols", ZELFCTL}).out);
    for (std::string name; std::getline(symbols, name);) names.insert(name.substr(0, name.find('@')));
    return names;
}

std::vector<std::string> words_of(const std::string& text)
{
    std::vector<std::string> words;
    std::istringstream in(text);
    for (std::string word; in >> word;) words.push_back(word);
    return words;
}

TEST(Operations, EachHasItsVerbOrCommandOrATwinThatHasOne)
{
    std::set<std::string> told;
    for (const auto& [operation, way] : ways) told.insert(operation);
    for (const auto& [operation, twin] : twins) {
        EXPECT_TRUE(told.insert(operation).second) << operation;
        EXPECT_TRUE(ways.contains(twin)) << operation;
    }
    EXPECT_EQ(exported_operations(), told);
}

TEST(Operations, TheToolCallsWhatItHasAWayTo)
{
    const std::set<std::string> called = called_operations();
    for (const auto& [operation, way] : ways) EXPECT_TRUE(called.contains(operation)) << operation << ": " << way;
    for (const auto& [operation, twin] : twins) EXPECT_FALSE(called.contains(operation)) << operation;
}

TEST(Operations, EveryWayIsThere)
{
    std::set<std::string> all;
    for (const auto& [operation, way] : ways) all.insert(way);
    for (const std::string& way : all) {
        std::vector<std::string> asked = words_of(way);
        asked.insert(asked.begin(), "help");
        EXPECT_EQ(0, zelfctl(asked).code) << way;
    }
}

}  // namespace
}  // namespace tool
