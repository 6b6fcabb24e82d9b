#include "language/difference.h"

#include <algorithm>
#include <map>
#include <set>

#include "language/reader.h"

namespace zelfctl {

// Objects of later kinds stand on those of earlier ones.
enum class ObjectKind {
    ether,
    port,
    stream,
    queue,
    protgroup,
    vlan,
    member,
    clslist,
    binding,
    static_entry,
    local_entry,
    mirror
};

// In the texts {name} is an argument of the command, {!name} the other word of a choice of two; {of:queue} is the stream of
// a queue and {class:queue} its class.
struct StatementRule {
    const char* pattern;  // of the command
    ObjectKind kind;
    const char* object;
    const char* attribute;  // empty: the line makes the object
    const char* undo;
    std::vector<const char*> stands_on;  // of a line that makes an object
};

namespace {

const StatementRule rules[] = {
    {"set ether <ether> shaping on rate <rate> [burst <burst>]",
     ObjectKind::ether,
     "ether {ether}",
     "shaping",
     "set ether {ether} shaping off",
     {}},

    {"create port <port> npport <phport> [portType <type:ether|vif>]",
     ObjectKind::port,
     "port {port}",
     "",
     "delete port {port}",
     {}},
    {"set port <port> aftype <aftype:tagonly|all>",
     ObjectKind::port,
     "port {port}",
     "aftype",
     "set port {port} aftype {!aftype}",
     {}},
    {"set port <port> ignoretag <switch:off|on>",
     ObjectKind::port,
     "port {port}",
     "ignoretag",
     "set port {port} ignoretag {!switch}",
     {}},
    {"set port <port> ignoreptag <switch:off|on>",
     ObjectKind::port,
     "port {port}",
     "ignoreptag",
     "set port {port} ignoreptag {!switch}",
     {}},
    {"set port <port> tagtype <tagtype>",
     ObjectKind::port,
     "port {port}",
     "tagtype",
     "set port {port} tagtype 8100",
     {}},
    {"set port <port> aging <aging:seconds>",
     ObjectKind::port,
     "port {port}",
     "aging",
     "set port {port} aging 300",
     {}},
    {"set port <port> default_class <default_class>",
     ObjectKind::port,
     "port {port}",
     "default_class",
     "set port {port} default_class 1/0/green",
     {}},
    {"set port <port> cosedit <switch:off|on>",
     ObjectKind::port,
     "port {port}",
     "cosedit",
     "set port {port} cosedit {!switch}",
     {}},
    {"set port <port> cosmap bit <bits:flags> val <cosmap>",
     ObjectKind::port,
     "port {port}",
     "cosmap",
     "set port {port} cosmap bit 0 val ,,,,,,,",
     {}},
    {"set port <port> class_policing class <class> on [<color>] rate <rate> [burst <burst>]",
     ObjectKind::port,
     "port {port}",
     "class_policing {class}",
     "set port {port} class_policing class {class} off",
     {}},
    {"set port <port> link_mode <mode:or|and>",
     ObjectKind::port,
     "port {port}",
     "link_mode",
     "set port {port} link_mode {!mode}",
     {}},
    {"set port <port> link_depend port [<ports:ports4>]",
     ObjectKind::port,
     "port {port}",
     "link_depend",
     "set port {port} link_depend own",
     {}},
    {"set port <port> bandwidth <mode:frame|frame_gap>",
     ObjectKind::port,
     "port {port}",
     "bandwidth",
     "set port {port} bandwidth {!mode}",
     {}},
    {"set port <port> link_frame <frame:link_frame> <action:hold|forward>",
     ObjectKind::port,
     "port {port}",
     "link_frame {frame}",
     "set port {port} link_frame {frame} {!action}",
     {}},
    {"set port <port> ignorefdb <switch:off|on>",
     ObjectKind::port,
     "port {port}",
     "ignorefdb",
     "set port {port} ignorefdb {!switch}",
     {}},
    {"enable port <port>", ObjectKind::port, "port {port}", "enabled", "disable port {port}", {}},

    {"create stream <stream> qostype <type:none|wfq|pq>",
     ObjectKind::stream,
     "stream {stream}",
     "",
     "delete stream {stream}",
     {"port {of:stream}"}},
    {"set stream <stream> shaping on rate <rates> [burst <bursts>]",
     ObjectKind::stream,
     "stream {stream}",
     "shaping",
     "set stream {stream} shaping off",
     {}},
    {"set stream <stream> priority <priority>",
     ObjectKind::stream,
     "stream {stream}",
     "priority",
     "set stream {stream} priority 7",
     {}},
    {"set stream <stream> tosmap <tosmap>",
     ObjectKind::stream,
     "stream {stream}",
     "tosmap",
     "set stream {stream} tosmap off",
     {}},
    {"set queue <queue> color <color> drop_type wred thresh <thresh:percents> drop <drop:percents>",
     ObjectKind::stream,
     "stream {of:queue}",
     "color {queue} {color}",
     "set queue {queue} color {color} drop_type wred thresh 100-0 drop 0",
     {}},
    {"create queue <queue> [size <qsize>] [queue_length <qlength>]",
     ObjectKind::queue,
     "queue {queue}",
     "",
     "delete queue {queue}",
     {"stream {of:queue}"}},
    {"set queue <queue> pri <priority> [ratio <ratio>]",
     ObjectKind::queue,
     "queue {queue}",
     "weight",
     "set queue {queue} pri {class:queue}",
     {}},
    {"set queue <queue> queue_length <qlength>",
     ObjectKind::queue,
     "queue {queue}",
     "queue_length",
     "set queue {queue} queue_length 16384",
     {}},

    {"create protgroup <group>", ObjectKind::protgroup, "protgroup {group}", "", "delete protgroup {group}", {}},
    {"add protocol <protocol> to protgroup <group>",
     ObjectKind::protgroup,
     "protgroup {group}",
     "protocol {protocol}",
     "delete protocol {protocol} from protgroup {group}",
     {}},

    {"create vlan <vlan> [vid <vid>]", ObjectKind::vlan, "vlan {vlan}", "", "delete vlan {vlan}", {}},
    {"set vlan <vlan> simple_loop_detection <switch:off|on>",
     ObjectKind::vlan,
     "vlan {vlan}",
     "simple_loop_detection",
     "set vlan {vlan} simple_loop_detection {!switch}",
     {}},
    {"set vlan <vlan> ignorefdb <switch:off|on>",
     ObjectKind::vlan,
     "vlan {vlan}",
     "ignorefdb",
     "set vlan {vlan} ignorefdb {!switch}",
     {}},
    {"set vlan <vlan> learning <switch:off|on>",
     ObjectKind::vlan,
     "vlan {vlan}",
     "learning",
     "set vlan {vlan} learning {!switch}",
     {}},
    {"add port <port> to vlan <vlan> tag off [protgroup <group>]",
     ObjectKind::member,
     "member {port} {vlan}",
     "",
     "delete port {port} from vlan {vlan}",
     {"port {port}", "vlan {vlan}", "protgroup {group}"}},
    {"add port <port> to vlan <vlan> tag on [tagtype <tagtype>]",
     ObjectKind::member,
     "member {port} {vlan}",
     "",
     "delete port {port} from vlan {vlan}",
     {"port {port}", "vlan {vlan}"}},

    {"create clslist <clslist>", ObjectKind::clslist, "clslist {clslist}", "", "delete clslist {clslist}", {}},
    {"add classify <target> <mode:normal|dot1p|dscp> <dst-ip:addresses> <src-ip:addresses> <tos:field8> "
     "<protocol:protocols> <dst-port:field16> <src-port:field16> <vid:field16> <dot1p:field8> <etype:etypes> "
     "<ext:words> to clslist <clslist> [line <line>]",
     ObjectKind::clslist,
     "clslist {clslist}",
     "line",
     "",
     {}},
    {"add clslist <clslist> to port <port> vlan <vlan> [<bindings>]",
     ObjectKind::binding,
     "binding {port} {vlan}",
     "",
     "delete clslist from port {port} vlan {vlan}",
     {"member {port} {vlan}", "clslist {clslist}"}},

    {"create sfdbentry <mac> in vlan <vlan> discard [<permit:user|system>]",
     ObjectKind::static_entry,
     "static {mac} {vlan}",
     "",
     "delete sfdbentry {mac} in vlan {vlan}",
     {"vlan {vlan}"}},
    {"create sfdbentry <mac> in vlan <vlan> port <port:anyport> [flag <flag:flags>] [<permit:user|system>]",
     ObjectKind::static_entry,
     "static {mac} {vlan}",
     "",
     "delete sfdbentry {mac} in vlan {vlan}",
     {"vlan {vlan}", "port {port}"}},
    {"create lfdbentry <mac> in port <port> <how:dsicard|discard> [flag <flag:flags>] [<permit:user|system>]",
     ObjectKind::local_entry,
     "local {mac} {port}",
     "",
     "delete lfdbentry {mac} in port {port}",
     {"port {port}"}},

    {"create mirror <mirror>", ObjectKind::mirror, "mirror {mirror}", "", "delete mirror {mirror}", {}},
    {"set mirror <mirror> source port <port:mirror_port> in [vlan <vlan>]",
     ObjectKind::mirror,
     "mirror {mirror}",
     "source",
     "set mirror {mirror} source none",
     {}},
    {"set mirror <mirror> source port <port:mirror_port> out [vlan <vlan>]",
     ObjectKind::mirror,
     "mirror {mirror}",
     "source",
     "set mirror {mirror} source none",
     {}},
    {"set mirror <mirror> source vlan <vlan>",
     ObjectKind::mirror,
     "mirror {mirror}",
     "source",
     "set mirror {mirror} source none",
     {}},
    {"set mirror <mirror> dest port <port:mirror_port>",
     ObjectKind::mirror,
     "mirror {mirror}",
     "dest",
     "set mirror {mirror} dest none",
     {}},
    {"set mirror <mirror> classify <copy_class>",
     ObjectKind::mirror,
     "mirror {mirror}",
     "classify",
     "set mirror {mirror} classify 1/0/green",
     {}},
    {"set mirror <mirror> tag on [tagtype <tagtype>] vid <vid:tag_vid>",
     ObjectKind::mirror,
     "mirror {mirror}",
     "tag",
     "set mirror {mirror} tag off",
     {}},
    {"enable mirror <mirror>", ObjectKind::mirror, "mirror {mirror}", "enabled", "disable mirror {mirror}", {}},
};

bool is_always(const Arguments&) { return true; }
bool has_parameters(const Arguments& arguments) { return arguments.has("param"); }
bool has_size(const Arguments& arguments) { return arguments.has("qsize"); }
bool is_of_the_system(const Arguments& arguments) { return arguments.number("permit") != 0; }
bool is_more_than_a_local_entry(const Arguments& arguments)
{
    return arguments.has("flag") || is_of_the_system(arguments);
}
// That three of them are forwarded is told; to hold one may make an entry of the system.
bool is_another_link_frame(const Arguments& arguments)
{
    const u32 frame = arguments.number("frame");
    return arguments.number("action") == 0 || (frame != 0 && frame != 2 && frame != 3);
}

// Commands of which the replay tells nothing, or not all.
struct UntoldRule {
    const char* pattern;
    Untold what;
    bool (*holds)(const Arguments& arguments) = is_always;
};

constexpr UntoldRule untold[] = {
    {"set port <port> learning <switch:off|on>", Untold::setting},
    {"set port <port> forwarding <switch:off|on>", Untold::setting},
    {"set port <port> ingress_filter <switch:off|on>", Untold::setting},
    {"set port <port> flags <flags:pflags> mask <mask:pflags>", Untold::setting},
    {"set port <port> pri <pri:priority>", Untold::setting},
    {"set port <port> pvid <pvid>", Untold::setting},
    {"set port <port> simple_loop_breaker <switch:off|on>", Untold::setting},
    {"set port <port> uplink <switch:off|on>", Untold::setting},
    {"set port <port> link_frame <frame:link_frame> <action:hold|forward>", Untold::setting, is_another_link_frame},
    {"recover port <port>", Untold::deed},
    {"notify port <port> <state:down|up> [<flush:flush|keep>]", Untold::deed},
    {"set stream <stream> qostype <type:none|wfq|pq> [<param:wfq_param> <param2:wfq_param2>]", Untold::setting,
     has_parameters},
    {"create queue <queue> [size <qsize>] [queue_length <qlength>]", Untold::deed, has_size},
    {"set queue <queue> size <qsize>", Untold::setting},
    {"update stream_rates ether <ether>", Untold::deed},
    {"set vlan <vlan> learninglimit <limit>", Untold::setting},
    {"set vlans learninglimit <limit>", Untold::setting},
    {"create sfdbentry <mac> in vlan <vlan> discard [<permit:user|system>]", Untold::deed, is_of_the_system},
    {"create sfdbentry <mac> in vlan <vlan> port <port:anyport> [flag <flag:flags>] [<permit:user|system>]",
     Untold::deed, is_of_the_system},
    {"create lfdbentry <mac> in port <port> <how:dsicard|discard> [flag <flag:flags>] [<permit:user|system>]",
     Untold::deed, is_more_than_a_local_entry},
    {"delete sfdbentry <mac> in vlan <vlan> [<permit:user|system>]", Untold::deed, is_of_the_system},
    {"delete lfdbentry <mac> in port <port> [<permit:user|system>]", Untold::deed, is_of_the_system},
    {"set fdb userarea <limit>", Untold::setting},
    {"clear fdb", Untold::deed},
    {"clear fdb vlan <vlan>", Untold::deed},
    {"clear fdb port <port>", Untold::deed},
    {"clear fdb type <type:dynamic|static|local>", Untold::deed},
    {"add prefilter <action:pass|drop> <dst-ip:prefilter_addresses> <src-ip:prefilter_addresses> "
     "<tos:prefilter_field8> <protocol:prefilter_field8> <dst-port:prefilter_field16> <src-port:prefilter_field16> "
     "to list <list> [index <prefilter_index>]",
     Untold::deed},
    {"add loc <action:off|on> <address:loc_address> <number8:loc_field8> <number16:loc_field16> to list <list> "
     "[index <loc_index>]",
     Untold::deed},
};

constexpr ObjectKind last_kind = ObjectKind::mirror;

const StatementRule* rule_of(const Command& command)
{
    const auto* const found = std::find_if(std::begin(rules), std::end(rules), [&](const StatementRule& rule) {
        return std::string_view(rule.pattern) == command.row->pattern;
    });
    return found == std::end(rules) ? nullptr : found;
}

const Part* choice_in(const std::vector<Part>& parts, std::string_view name)
{
    for (const Part& part : parts)
        if (part.what == Part::What::choice && part.name == name) return &part;
    return nullptr;
}

std::string replacement(std::string_view what, const Command& command, const Arguments& arguments)
{
    if (what.starts_with('!')) {
        what.remove_prefix(1);
        const Part* const choice = choice_in(command.parts, what);
        return choice ? choice->words[1 - arguments.number(what)] : std::string();
    }
    const std::size_t colon = what.find(':');
    if (colon == std::string_view::npos) return arguments.text(what);
    const std::string text = arguments.text(what.substr(colon + 1));
    const std::size_t slash = text.rfind('/');
    return what.starts_with("of:") ? text.substr(0, slash) : text.substr(slash + 1);
}

std::string filled(std::string_view text, const Command& command, const Arguments& arguments)
{
    std::string result;
    for (;;) {
        const std::size_t open = text.find('{');
        result += text.substr(0, open);
        if (open == std::string_view::npos) return result;
        const std::size_t close = text.find('}', open);
        result += replacement(text.substr(open + 1, close - open - 1), command, arguments);
        text.remove_prefix(close + 1);
    }
}

std::string trimmed(std::string_view line)
{
    const std::vector<Token> tokens = split(line);
    std::string text;
    for (const Token& token : tokens) text += (text.empty() ? "" : " ") + std::string(token.text);
    return text;
}

// All lines of one object, by what they say. The lines that make it are kept together, and those of a classify list in
// their order without their numbers.
struct Object {
    ObjectKind kind = ObjectKind::ether;
    std::vector<std::string> made_by;
    std::vector<std::string> undone_by;
    std::vector<std::string> stands_on;
    std::map<std::string, const Statement*> attributes;
    std::vector<std::string> lines;
};

using Objects = std::map<std::string, Object>;

std::string undo_of(const Statement& statement);

std::string without_line_number(const std::string& text) { return text.substr(0, text.rfind(" line ")); }

Objects objects_of(const Configuration& configuration)
{
    Objects objects;
    for (const Statement& statement : configuration.statements) {
        Object& object = objects[statement.object];
        object.kind = statement.rule->kind;
        if (statement.attribute == "line") {
            object.lines.push_back(without_line_number(statement.text));
        } else if (!statement.attribute.empty()) {
            object.attributes[statement.attribute] = &statement;
        } else {
            object.made_by.push_back(statement.text);
            const std::string undo = undo_of(statement);
            if (object.undone_by.empty() || object.undone_by.back() != undo) object.undone_by.push_back(undo);
            const ReadLine read = read_line(statement.text);
            for (const char* const other : statement.rule->stands_on)
                object.stands_on.push_back(filled(other, *read.command, read.arguments));
        }
    }
    return objects;
}

std::string undo_of(const Statement& statement)
{
    const ReadLine read = read_line(statement.text);
    return filled(statement.rule->undo, *read.command, read.arguments);
}

class Planner {
public:
    Planner(const Configuration& from, const Configuration& to) : to_(to), old_(objects_of(from)), new_(objects_of(to))
    {
        find_what_goes();
    }

    std::vector<PlannedCommand> plan()
    {
        disable_mirrors();
        for (int kind = static_cast<int>(last_kind); kind >= 0; --kind) remove_all(static_cast<ObjectKind>(kind));
        take_attributes_back();
        bring_all();
        return std::move(commands_);
    }

private:
    [[nodiscard]] const Object* in(const Objects& objects, const std::string& name) const
    {
        const auto found = objects.find(name);
        return found == objects.end() ? nullptr : &found->second;
    }

    [[nodiscard]] bool goes(const std::string& name) const { return going_.contains(name); }
    [[nodiscard]] bool stays(const std::string& name) const { return old_.contains(name) && !goes(name); }

    void find_what_goes()
    {
        mark_what_goes();
        // Before a virtual interface joins another VLAN it has to leave the one that it is an untagged member of.
        for (const auto& [name, object] : new_)
            if (object.kind == ObjectKind::member && !stays(name)) lets_go_.insert(object.stands_on.front());
        mark_what_goes();
    }

    [[nodiscard]] bool lets_go(const Object& object) const
    {
        return object.kind == ObjectKind::member && object.made_by.front().ends_with(" tag off") &&
               lets_go_.contains(object.stands_on.front()) && is_virtual(object.stands_on.front());
    }

    [[nodiscard]] bool is_virtual(const std::string& port) const
    {
        const Object* const made = in(old_, port);
        return made && !made->made_by.empty() && made->made_by.front().ends_with(" vif");
    }

    // Objects that are not there any more, are made otherwise, or stand on one that goes.
    void mark_what_goes()
    {
        for (int kind = 0; kind <= static_cast<int>(last_kind); ++kind) {
            for (const auto& [name, object] : old_) {
                if (object.kind != static_cast<ObjectKind>(kind)) continue;
                const Object* const other = in(new_, name);
                const bool loses_ground = std::any_of(object.stands_on.begin(), object.stands_on.end(),
                                                      [&](const std::string& ground) { return goes(ground); });
                if (!other || other->made_by != object.made_by || loses_ground || lets_go(object)) going_.insert(name);
            }
        }
        // Physical ports are always there: they have attributes alone.
        for (const auto& [name, object] : old_)
            if (object.made_by.empty()) going_.erase(name);
    }

    void add(const std::string& object, const std::string& text) { commands_.push_back({object, text}); }

    // Whether source or destination of a mirror that stays are to be changed: they are frozen while it is enabled.
    [[nodiscard]] bool thaws(const std::string& name, const Object& object) const
    {
        for (const char* const attribute : {"source", "dest"}) {
            const auto before = object.attributes.find(attribute);
            const auto after = new_.at(name).attributes.find(attribute);
            const bool had = before != object.attributes.end();
            const bool has = after != new_.at(name).attributes.end();
            if (had != has || (had && before->second->text != after->second->text)) return true;
            if (had && source_moves(*before->second)) return true;
        }
        return false;
    }

    // A mirror remembers the number of its VLAN, which is another when the VLAN is made anew.
    [[nodiscard]] bool source_moves(const Statement& source) const
    {
        return !source.vlan.empty() && goes("vlan " + source.vlan);
    }

    void disable_mirrors()
    {
        for (const auto& [name, object] : old_) {
            if (object.kind != ObjectKind::mirror || !object.attributes.contains("enabled")) continue;
            if (!goes(name) && !thaws(name, object)) continue;
            add(name, undo_of(*object.attributes.at("enabled")));
            disabled_.insert(name);
        }
    }

    void remove_all(ObjectKind kind)
    {
        for (auto entry = old_.rbegin(); entry != old_.rend(); ++entry) {
            const auto& [name, object] = *entry;
            if (object.kind != kind || !goes(name)) continue;
            if (!object.lines.empty()) add(name, "delete classify all from " + name);
            for (const std::string& undo : object.undone_by) add(name, undo);
        }
    }

    void take_attributes_back()
    {
        for (const auto& [name, object] : old_) {
            if (goes(name)) continue;
            const Object* const other = in(new_, name);
            for (const auto& [attribute, statement] : object.attributes) {
                if (other && other->attributes.contains(attribute)) continue;
                if (attribute == "enabled" && disabled_.contains(name)) continue;
                add(name, undo_of(*statement));
            }
        }
    }

    // Plain untagged memberships come after the others: a virtual interface that has one can join no other VLAN.
    void bring_all()
    {
        const auto is_member = [](const Statement& statement) { return statement.rule->kind == ObjectKind::member; };
        const auto comes_later = [&](const Statement& statement) {
            return is_member(statement) && statement.text.ends_with(" tag off");
        };
        const auto comes_last = [](const Statement& statement) { return statement.rule->kind > ObjectKind::member; };
        for (const Statement& statement : to_.statements)
            if (!comes_later(statement) && !comes_last(statement)) bring(statement);
        for (const Statement& statement : to_.statements)
            if (comes_later(statement)) bring(statement);
        for (const Statement& statement : to_.statements)
            if (comes_last(statement)) bring(statement);
    }

    void bring(const Statement& statement)
    {
        const std::string& name = statement.object;
        if (statement.attribute == "line") return;  // together, with what makes their list
        if (!stays(name)) add(name, statement.text);
        if (statement.attribute.empty() && statement.rule->kind == ObjectKind::clslist) change_lines(name);
        if (!stays(name) || statement.attribute.empty()) return;
        const Object& object = old_.at(name);
        const auto before = object.attributes.find(statement.attribute);
        const bool same = before != object.attributes.end() && before->second->text == statement.text;
        const bool enabled_again = statement.attribute == "enabled" && disabled_.contains(name);
        if (!same || enabled_again || (statement.attribute == "source" && source_moves(statement)))
            add(name, statement.text);
    }

    // Lines that both lists have in the same order stay.
    void change_lines(const std::string& name)
    {
        const std::vector<std::string> before = stays(name) ? old_.at(name).lines : std::vector<std::string>{};
        const std::vector<std::string>& after = new_.at(name).lines;
        const std::vector<bool> kept = common(before, after);
        std::vector<std::string> rest;
        for (std::size_t i = before.size(); i-- != 0;)
            if (!kept[i]) add(name, "delete classify line " + std::to_string(i + 1) + " from " + name);
        for (std::size_t i = 0; i < before.size(); ++i)
            if (kept[i]) rest.push_back(before[i]);
        for (std::size_t i = 0; i < after.size(); ++i) {
            if (i < rest.size() && rest[i] == after[i]) continue;
            rest.insert(rest.begin() + static_cast<std::ptrdiff_t>(i), after[i]);
            add(name, after[i] + " line " + std::to_string(i + 1));
        }
    }

    // Which lines of the first belong to a longest common subsequence. Of equal choices the earliest lines of both are
    // taken, so that the insertion above meets each where it expects it.
    static std::vector<bool> common(const std::vector<std::string>& a, const std::vector<std::string>& b)
    {
        std::vector<std::vector<u32>> longest(a.size() + 1, std::vector<u32>(b.size() + 1));
        for (std::size_t i = a.size(); i-- != 0;)
            for (std::size_t j = b.size(); j-- != 0;)
                longest[i][j] =
                    a[i] == b[j] ? longest[i + 1][j + 1] + 1 : std::max(longest[i + 1][j], longest[i][j + 1]);
        std::vector<bool> kept(a.size());
        for (std::size_t i = 0, j = 0; i < a.size() && j < b.size();) {
            if (a[i] == b[j]) {
                kept[i] = true;
                ++i;
                ++j;
            } else if (longest[i + 1][j] >= longest[i][j + 1]) {
                ++i;
            } else {
                ++j;
            }
        }
        return kept;
    }

    const Configuration& to_;
    Objects old_;
    Objects new_;
    std::set<std::string> going_;
    std::set<std::string> lets_go_;  // ports that join a VLAN
    std::set<std::string> disabled_;
    std::vector<PlannedCommand> commands_;
};

}  // namespace

Configuration read_configuration(std::string_view text)
{
    Configuration configuration;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        const ReadLine read = read_line(line);
        if (!read.command && !read.error) continue;
        const StatementRule* const rule = read.command ? rule_of(*read.command) : nullptr;
        if (!rule) {
            configuration.unknown.emplace_back(line);
            continue;
        }
        configuration.statements.push_back({filled(rule->object, *read.command, read.arguments),
                                            filled(rule->attribute, *read.command, read.arguments), trimmed(line),
                                            read.arguments.text("vlan"), rule});
    }
    return configuration;
}

Untold untold_by(const Command& command, const Arguments& arguments)
{
    const std::string_view pattern = command.row->pattern;
    const auto* const found = std::find_if(std::begin(untold), std::end(untold), [&](const UntoldRule& rule) {
        return rule.pattern == pattern && rule.holds(arguments);
    });
    return found == std::end(untold) ? Untold::nothing : found->what;
}

std::vector<PlannedCommand> commands_between(const Configuration& from, const Configuration& to)
{
    return Planner(from, to).plan();
}

std::vector<std::string_view> patterns_of_statements()
{
    std::vector<std::string_view> patterns;
    for (const StatementRule& rule : rules) patterns.emplace_back(rule.pattern);
    return patterns;
}

}  // namespace zelfctl
