#include "language/commands.h"

#include "language/classify_commands.h"
#include "language/fdb_commands.h"
#include "language/mirror_commands.h"
#include "language/port_commands.h"
#include "language/qos_commands.h"
#include "language/query_commands.h"
#include "language/vlan_commands.h"

namespace zelfctl {
namespace {

constexpr const char* physical_ports = "Physical ports";
constexpr const char* ports = "Ports";
constexpr const char* groups = "Protocol groups";
constexpr const char* vlans = "VLANs";
constexpr const char* entries = "Forwarding database";
constexpr const char* streams = "Streams and queues";
constexpr const char* lists = "Classify, prefilter and loc lists";
constexpr const char* mirrors = "Mirrors";
constexpr const char* questions = "Questions";

constexpr Row rows[] = {
    {physical_ports, "set ether <ether> shaping on rate <rate> [burst <burst>]",
     "Shape a physical port. The rate is in thousands; without a burst it is 8000.", set_shaping_on},
    {physical_ports, "set ether <ether> shaping off", "Do not shape a physical port.", set_shaping_off},

    {ports, "create port <port> npport <phport> [portType <type:ether|vif>]",
     "Create a port: an Ethernet port on a physical port 1 to 4 of its own, a virtual interface, or one of neither "
     "type. It admits all frames.",
     create_port},
    {ports, "delete port <port>",
     "Delete a port that is in no VLAN and is no uplink, with its static and local entries.", delete_port},
    {ports, "enable port <port>", "Bring a port up.", enable_port},
    {ports, "disable port <port>", "Take a port down.", disable_port},
    {ports, "recover port <port>",
     "Bring back a port whose loop breaker tripped: the breaker is armed again, and learning and forwarding are on "
     "again.",
     recover_port},
    {ports, "notify port <port> <state:down|up> [<flush:flush|keep>]",
     "Tell of a link change; with flush, the learned entries of the port leave.", notify_port},
    {ports, "set port <port> aftype <aftype:tagonly|all>", "Admit tagged frames alone, or all.", set_aftype},
    {ports, "set port <port> ignoretag <switch:off|on>", "Recognise tags (off) or take all frames as untagged (on).",
     set_ignoretag},
    {ports, "set port <port> ignoreptag <switch:off|on>", "Heed the priority of a tag (off) or not (on).",
     set_ignoreptag},
    {ports, "set port <port> learning <switch:off|on>",
     "Learn stations on the port or not; on needs a port that is up.", set_learning},
    {ports, "set port <port> forwarding <switch:off|on>", "Forward frames or not; on needs a port that is up.",
     set_forwarding},
    {ports, "set port <port> ingress_filter <switch:off|on>",
     "Admit only frames of VLANs that the port is a member of.", set_ingress_filter},
    {ports, "set port <port> cosedit <switch:off|on>", "Rewrite the class of service of frames or not.", set_cosedit},
    {ports, "set port <port> ignorefdb <switch:off|on>", "Flood the port's frames whatever the database holds.",
     set_port_ignorefdb},
    {ports, "set port <port> flags <flags:pflags> mask <mask:pflags>",
     "Change the flags that the mask names (of 3377) and tell the network processor.", set_flags},
    {ports, "set port <port> pri <pri:priority>", "Set the port's priority.", set_pri},
    {ports, "set port <port> npport <phport>", "Set the physical port's number; which one is taken does not change.",
     set_npport},
    {ports, "set port <port> tagtype <tagtype>", "Set the tag type that marks tagged frames; 8100 at creation.",
     set_tagtype},
    {ports, "set port <port> pvid <pvid>", "Set the VLAN of untagged frames without a membership.", set_pvid},
    {ports, "set port <port> aging <aging:seconds>",
     "Set the aging time of the port's learned entries; 300 at creation.", set_aging},
    {ports, "set port <port> simple_loop_breaker <switch:off|on>",
     "Take the port down when a loop is detected in a VLAN with simple_loop_detection. Enable the port first.",
     set_loop_breaker},
    {ports, "set port <port> default_class <default_class>",
     "Set stream, priority and colour of unclassified frames; streams count from 1.", set_default_class},
    {ports, "set port <port> cosmap bit <bits:flags> val <cosmap>",
     "Set the class-of-service map: which of the eight values count, and the values.", set_cosmap},
    {ports, "set port <port> class_policing class <class> on [<color>] rate <rate> [burst <burst>]",
     "Police a class. The rate is in thousands; without a burst it is 8000; without a colour it has none.",
     set_policing_on},
    {ports, "set port <port> class_policing class <class> off", "Do not police a class.", set_policing_off},
    {ports, "set port <port> link_mode <mode:or|and>", "How the links that a port depends on count; 'and' at creation.",
     set_link_mode},
    {ports, "set port <port> link_depend port [<ports:ports4>]", "Make the port's link depend on those physical ports.",
     set_link_depend},
    {ports, "set port <port> link_depend own", "Make the port's link its own again, as at creation.", set_link_own},
    {ports, "set port <port> bandwidth <mode:frame|frame_gap>", "What counts as bandwidth: frames, or the gaps too.",
     set_bandwidth},
    {ports, "set port <port> link_frame <frame:link_frame> <action:hold|forward>",
     "Hold the link-local frames to 01-80-C2-00-00-xx at the port, or forward them.", set_link_frame},
    {ports, "set port <port> uplink <switch:off|on>",
     "Mark a member of some VLAN as uplink: it can be neither deleted nor taken out of a VLAN.", set_uplink},

    {streams, "create stream <stream> qostype <type:none|wfq|pq>",
     "Create a stream on a port, without queues; port 0 leaves it unbound.", create_stream},
    {streams, "delete stream <stream>", "Delete a stream without queues.", delete_stream},
    {streams, "set stream <stream> qostype <type:none|wfq|pq> [<param:wfq_param> <param2:wfq_param2>]",
     "Set how a stream schedules its classes; only wfq has parameters. Queues go on as they were created.",
     set_qostype},
    {streams, "set stream <stream> shaping on rate <rates> [burst <bursts>]",
     "Set the committed and the peak rate, in thousands, and their bursts, 8000 if none is given.",
     set_stream_shaping_on},
    {streams, "set stream <stream> shaping off", "Do not shape a stream.", set_stream_shaping_off},
    {streams, "set stream <stream> priority <priority>", "Set a stream's priority; 7 at creation.",
     set_stream_priority},
    {streams, "set stream <stream> tosmap off", "Let no TOS value choose a class.", set_tosmap_off},
    {streams, "set stream <stream> tosmap <tosmap>",
     "Set the TOS value of each class; a value without a mask has the mask ff.", set_tosmap},
    {streams, "create queue <queue> [size <qsize>] [queue_length <qlength>]",
     "Create the queue of a stream's class. Without a size it takes 7 of the budget of 65536, so that all 8192 queues "
     "can exist; without a length 16384.",
     create_queue},
    {streams, "delete queue <queue>", "Take a queue out of its stream and delete it.", delete_queue},
    {streams, "set queue <queue> pri <priority> [ratio <ratio>]",
     "Set a queue's priority (wfq, pq) and weight (wfq; 1 if none is given).", set_queue_weight},
    {streams, "set queue <queue> queue_length <qlength>", "Set how long a queue may grow.", set_queue_length},
    {streams, "set queue <queue> size <qsize>", "Set a queue's share of the buffer budget.", set_queue_size},
    {streams, "set queue <queue> color <color> drop_type wred thresh <thresh:percents> drop <drop:percents>",
     "Set random early detection for a colour of a stream's class, with or without a queue.", set_red},
    {streams, "update stream_rates ether <ether>",
     "Share the rate of a shaped physical port out among the streams of the port of the same number.",
     update_stream_rates},

    {groups, "create protgroup <group>", "Create a protocol group; there can be eight.", create_protgroup},
    {groups, "delete protgroup <group>", "Delete a protocol group that no port uses.", delete_protgroup},
    {groups, "add protocol <protocol> to protgroup <group>", "Add a protocol to a group, which holds up to eight.",
     add_protocol},
    {groups, "delete protocol <protocol> from protgroup <group>", "Take a protocol out of a group.", delete_protocol},

    {vlans, "create vlan <vlan> [vid <vid>]", "Create a VLAN; without a VID it takes the lowest free one.",
     create_vlan},
    {vlans, "delete vlan <vlan>", "Delete a VLAN without members, with its entries.", delete_vlan},
    {vlans, "set vlan <vlan> simple_loop_detection <switch:off|on>", "Report stations that move between ports.",
     set_loop_detection},
    {vlans, "set vlan <vlan> ignorefdb <switch:off|on>", "Flood the VLAN's frames whatever the database holds.",
     set_vlan_ignorefdb},
    {vlans, "set vlan <vlan> learning <switch:off|on>", "Learn stations in the VLAN or not.", set_vlan_learning},
    {vlans, "set vlan <vlan> learninglimit <limit>", "Learn only up to that many entries, those of all types counted.",
     set_learninglimit},
    {vlans, "set vlans simple_loop_detection <switch:off|on>", "The same for every VLAN.", set_all_loop_detection},
    {vlans, "set vlans ignorefdb <switch:off|on>", "The same for every VLAN.", set_all_ignorefdb},
    {vlans, "set vlans learning <switch:off|on>", "The same for every VLAN.", set_all_learning},
    {vlans, "set vlans learninglimit <limit>", "The same for every VLAN.", set_all_learninglimit},
    {vlans, "add port <port> to vlan <vlan> tag off [protgroup <group>]",
     "Make a port an untagged member; with a protocol group, of the group's frames alone.", add_untagged},
    {vlans, "add port <port> to vlan <vlan> tag on [tagtype <tagtype>]",
     "Make a port a tagged member; without a tag type it is 8100.", add_tagged},
    {vlans, "delete port <port> from vlan <vlan>", "End a membership; the port's learned entries leave all VLANs.",
     delete_membership},

    {entries, "create sfdbentry <mac> in vlan <vlan> discard [<permit:user|system>]", "Discard frames to a station.",
     create_discard_entry},
    {entries, "create sfdbentry <mac> in vlan <vlan> port <port:anyport> [flag <flag:flags>] [<permit:user|system>]",
     "Add a static entry: frames to a station leave by the port.", create_static_entry},
    {entries, "delete sfdbentry <mac> in vlan <vlan> [<permit:user|system>]", "Remove a static entry.",
     delete_static_entry},
    {entries, "delete sfdbentries in port <port:anyport>", "Remove all static entries that name a port.",
     delete_static_entries_of_port},
    {entries, "create lfdbentry <mac> in port <port> <how:dsicard|discard> [flag <flag:flags>] [<permit:user|system>]",
     "Add a local entry: the station is the port itself. Both spellings are read; without a flag it is 4.",
     create_local_entry},
    {entries, "delete lfdbentry <mac> in port <port> [<permit:user|system>]", "Remove a local entry.",
     delete_local_entry},
    {entries, "set fdb userarea <limit>", "Limit the number of user entries, learned ones included.", set_userarea},
    {entries, "clear fdb", "Remove all learned entries.", clear_all},
    {entries, "clear fdb vlan <vlan>", "Remove a VLAN's learned entries.", clear_vlan},
    {entries, "clear fdb port <port>", "Remove a port's learned entries.", clear_port},
    {entries, "clear fdb type <type:dynamic|static|local>",
     "Remove all learned entries, or all user entries that are static or local.", clear_type},

    {lists, "create clslist <clslist>", "Create a classify list without lines.", create_clslist},
    {lists, "delete clslist from port <port> vlan <vlan>", "Unbind the classify list of a membership.", unbind_clslist},
    {lists, "delete clslist <clslist>", "Delete a classify list that has no lines and is bound nowhere.",
     delete_clslist},
    {lists,
     "add classify <target> <mode:normal|dot1p|dscp> <dst-ip:addresses> <src-ip:addresses> <tos:field8> "
     "<protocol:protocols> <dst-port:field16> <src-port:field16> <vid:field16> <dot1p:field8> <etype:etypes> "
     "<ext:words> to clslist <clslist> [line <line>]",
     "Add a line to a classify list: frames that match all fields go to the stream (from 1 on), class and colour. The "
     "fields are destination and source address, TOS, protocol, destination and source port, VID, 802.1p priority, "
     "ethertype, and words of the payload; - matches anything. The line goes before the one that has its number.",
     add_classify_line},
    {lists, "delete classify line <line> from clslist <clslist>", "Remove a line; those after it move up.",
     delete_classify_line},
    {lists, "delete classify all from clslist <clslist>", "Remove all lines.", delete_classify_lines},
    {lists, "add clslist <clslist> to port <port> vlan <vlan> [<bindings>]",
     "Bind a classify list to a membership, which has one at most.", bind_clslist},
    {lists,
     "add prefilter <action:pass|drop> <dst-ip:prefilter_addresses> <src-ip:prefilter_addresses> "
     "<tos:prefilter_field8> <protocol:prefilter_field8> <dst-port:prefilter_field16> <src-port:prefilter_field16> "
     "to list <list> [index <prefilter_index>]",
     "Append a line to a prefilter list, which the network processor alone keeps; with index 0 empty the list first.",
     add_prefilter},
    {lists,
     "add loc <action:off|on> <address:loc_address> <number8:loc_field8> <number16:loc_field16> to list <list> "
     "[index <loc_index>]",
     "Append a line to a loc list, which the network processor alone keeps; with index 0 empty the list first.",
     add_loc},

    {mirrors, "create mirror <mirror>", "Create a mirror without source and destination.", create_mirror},
    {mirrors, "delete mirror <mirror>", "Delete a mirror that is not enabled.", delete_mirror},
    {mirrors, "set mirror <mirror> source port <port:mirror_port> in [vlan <vlan>]",
     "Copy the frames that a port receives, or those of one VLAN.", set_source_in},
    {mirrors, "set mirror <mirror> source port <port:mirror_port> out [vlan <vlan>]",
     "Copy the frames that leave by a port, or those of one VLAN.", set_source_out},
    {mirrors, "set mirror <mirror> source vlan <vlan>", "Copy the frames of a VLAN.", set_source_vlan},
    {mirrors, "set mirror <mirror> source none", "Copy nothing.", set_source_none},
    {mirrors, "set mirror <mirror> dest port <port:mirror_port>", "Set the analyser port.", set_mirror_dest},
    {mirrors, "set mirror <mirror> dest none", "Have no analyser port.", set_mirror_dest_none},
    {mirrors, "set mirror <mirror> classify <copy_class>", "Set class (from 1 on), stream and colour of the copies.",
     set_copy_class},
    {mirrors, "set mirror <mirror> tag on [tagtype <tagtype>] vid <vid:tag_vid>",
     "Tag the copies; without a tag type it is 8100.", set_tag_on},
    {mirrors, "set mirror <mirror> tag off", "Do not tag the copies.", set_tag_off},
    {mirrors, "enable mirror <mirror>", "Start copying. Source and destination must have been set.", enable_mirror},
    {mirrors, "disable mirror <mirror>", "Stop copying.", disable_mirror},

    {questions, "query port <port> vid", "Print the VID of a virtual interface's first membership.", query_port_vid},
    {questions, "query port <port> vlans", "Print the VIDs of a port's memberships.", query_port_vlans},
    {questions, "query port <port> memberships",
     "Print a port's memberships: name, VID, flags (1 tagged, 2 by protocol) and tag type.", query_port_memberships},
    {questions, "query port <port> streams", "Print whether there is a stream with a number of the port's: yes or no.",
     query_port_streams},
    {questions, "query vlan <vlan> vid", "Print the VID of a VLAN.", query_vlan_vid},
    {questions, "query vid <vid> vlan", "Print the name of the VLAN with a VID.", query_vid_vlan},
    {questions, "query vlan <vlan> ports", "Print the members of a VLAN.", query_vlan_ports},
    {questions, "query vlan <vlan> counts",
     "Print how many members, untagged ones, ports with its PVID and entries a VLAN has.", query_vlan_counts},
    {questions, "query stream <stream> queues",
     "Print whether there is a queue with a number of the stream's: yes or no.", query_stream_queues},
    {questions, "query stream <stream> busy",
     "Print the three words that the network processor says of a stream's business.", query_stream_busy},
};

std::vector<Command> compiled()
{
    std::vector<Command> commands;
    for (const Row& row : rows) commands.push_back({&row, read_pattern(row.pattern)});
    return commands;
}

}  // namespace

std::span<const Command> all_commands()
{
    static const std::vector<Command> commands = compiled();
    return commands;
}

}  // namespace zelfctl
