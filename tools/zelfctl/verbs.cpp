#include "verbs.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>

#include "age.h"
#include "apply.h"
#include "database.h"
#include "display.h"
#include "feed.h"
#include "help.h"
#include "init.h"
#include "language/reader.h"
#include "language/value.h"
#include "ports.h"
#include "session.h"
#include "show.h"

namespace zelfctl {
namespace {

using Act = std::function<int()>;

// A verb: its options are kept in a record that lives as long as the act.
template <class Options>
struct Verb {
    CLI::App* app;
    std::shared_ptr<Options> options;

    void acts(Act& act, int (*work)(const Options&)) const
    {
        app->callback([&act, work, kept = options] { act = [work, kept] { return work(*kept); }; });
    }
};

template <class Options>
Verb<Options> add_verb(CLI::App& parent, const std::string& name, const std::string& help)
{
    return {parent.add_subcommand(name, help), std::make_shared<Options>()};
}

// A range check whose bounds stand in the option's own text.
CLI::Validator within(u32 lowest, u32 highest) { return CLI::Range(lowest, highest).description(""); }

struct NoOptions {};

struct JsonOption {
    bool json = false;
};

struct AgeOptions : JsonOption {};

struct Words {
    std::vector<std::string> words;
};

struct ObjectOptions : JsonOption {
    std::string name;
};

struct SleepOptions {
    u32 seconds = 0;
};

void add_init(CLI::App& app, Act& act)
{
    const auto verb = add_verb<InitOptions>(
        app, "init", "Make a new, empty database, or empty the one that is there; reset the network processor");
    verb.app->add_option("--ports", verb.options->ports, "Room for that many ports, 1 to 199")
        ->check(within(1, 199))
        ->type_name("N")
        ->capture_default_str();
    verb.app->add_option("--vlans", verb.options->vlans, "Room for that many VLANs, 1 to 4094")
        ->check(within(1, 4094))
        ->type_name("N")
        ->capture_default_str();
    verb.app
        ->add_option("--entries", verb.options->entries,
                     "Room for that many entries of the forwarding database, 1 to 1048576")
        ->check(within(1, 1048576))
        ->type_name("N")
        ->capture_default_str();
    verb.app->add_flag("--replace", verb.options->replace,
                       "Remove what is there first, for a database of another size; nobody may be using it");
    verb.acts(act, init);
}

void add_apply(CLI::App& app, Act& act)
{
    const auto verb = add_verb<ApplyOptions>(app, "apply", "Run the commands in files, one on each line");
    verb.app->add_option("file", verb.options->files, "Files; - is standard input")->required()->type_name("FILE...");
    verb.app->add_flag("--keep-going", verb.options->keep_going, "Go on after a line that fails");
    verb.app->add_flag("--check", verb.options->check, "Read all lines, report what is wrong, run nothing");
    verb.acts(act, apply);
}

void add_run(CLI::App& app, Act& act)
{
    const auto verb = add_verb<Words>(app, "run", "Run one command; the word run may be left out");
    verb.app->add_option("command", verb.options->words, "The command, in one word or several")
        ->required()
        ->type_name("COMMAND...");
    verb.acts(act, [](const Words& options) { return run_command(CLI::detail::join(options.words, " ")); });
}

// One --port with its files: "1 a.pcap b.pcap".
void add_port_files(const std::vector<std::string>& words, std::vector<CaptureFile>& files)
{
    u32 port = 0;
    if (!read_decimal(words.front(), port) || port == 0 || port > highest_port)
        throw CLI::ValidationError("--port", "'" + words.front() + "' is not a port number, 1 to 199");
    if (words.size() < 2) throw CLI::ValidationError("--port", "port " + words.front() + " has no file");
    for (std::size_t i = 1; i < words.size(); ++i) files.push_back({port, words[i]});
}

void add_feed(CLI::App& app, Act& act)
{
    const auto verb = add_verb<FeedOptions>(
        app, "feed",
        "Feed captured frames to ports, merged by time stamp, and learn from what the network processor reports");
    const auto ports = std::make_shared<std::vector<std::vector<std::string>>>();
    verb.app->add_option("--port", *ports, "A port and the files, pcap or pcapng, that hold what it received")
        ->required()
        ->expected(1, 1000)
        ->type_name("N FILE...");
    verb.app->add_option("--limit", verb.options->limit, "Stop after that many frames; 0 = feed all")->type_name("N");
    verb.app->add_flag("--events", verb.options->events,
                       "List what became of each station, and why frames were dropped");
    verb.app->add_flag("--json", verb.options->json, "Print JSON");
    verb.app->callback([&act, options = verb.options, ports] {
        for (const auto& words : *ports) add_port_files(words, options->files);
        act = [options] { return feed(*options); };
    });
}

void add_age(CLI::App& app, Act& act)
{
    const auto verb = add_verb<AgeOptions>(app, "age", "Make one aging sweep and tell which entries left");
    verb.app->add_flag("--json", verb.options->json, "Print JSON");
    verb.acts(act, [](const AgeOptions& options) { return age(options.json); });
}

void add_show_fdb(CLI::App& show, Act& act)
{
    const auto verb = add_verb<FdbFilter>(show, "fdb", "Entries of the forwarding database");
    verb.app->add_option("--vlan", verb.options->vlan, "Only of this VLAN")->type_name("NAME|VID");
    verb.app->add_option("--port", verb.options->port, "Only of this port")
        ->check(within(1, highest_port))
        ->type_name("N");
    verb.app->add_option("--type", verb.options->type, "Only of this type")
        ->check(CLI::IsMember({"dynamic", "static", "local"}).description(""))
        ->type_name("dynamic|static|local");
    verb.app->add_option("--mac", verb.options->mac, "Only addresses that begin so")
        ->transform([](const std::string& text) {
            return CLI::detail::find_and_replace(CLI::detail::to_lower(text), "-", ":");
        })
        ->type_name("PREFIX");
    verb.app->add_flag("--count", verb.options->count, "How many, not which");
    verb.app->add_flag("--no-age", verb.options->no_age, "Leave out the seconds since a station was last heard");
    verb.app->add_flag("--json", verb.options->json, "Print JSON");
    verb.acts(act, show_fdb);
}

void add_show_simple(CLI::App& show, Act& act, const std::string& name, const std::string& help, int (*work)(bool json))
{
    const auto verb = add_verb<JsonOption>(show, name, help);
    verb.app->add_flag("--json", verb.options->json, "Print JSON");
    verb.app->callback([&act, work, options = verb.options] { act = [work, options] { return work(options->json); }; });
}

void add_show_object(CLI::App& show, Act& act, const std::string& name, const std::string& help, const char* type_name,
                     int (*work)(const ObjectOptions&))
{
    const auto verb = add_verb<ObjectOptions>(show, name, help);
    verb.app->add_option("which", verb.options->name, "One of them, in detail")->type_name(type_name);
    verb.app->add_flag("--json", verb.options->json, "Print JSON");
    verb.acts(act, work);
}

// A verb that is only the beginning of one.
CLI::App& add_verb_of_parts(CLI::App& app, Act& act, const std::string& name, const std::string& help)
{
    CLI::App& verb = *app.add_subcommand(name, help);
    verb.require_subcommand(0, 1);
    verb.callback([&act, &verb] {
        if (!verb.get_subcommands().empty()) return;
        std::string parts;
        for (const CLI::App* part : verb.get_subcommands([](const CLI::App*) { return true; }))
            parts += (parts.empty() ? "" : ", ") + part->get_name();
        act = [text = verb.get_name() + ": name one of " + parts] {
            complain(text);
            return exit_usage;
        };
    });
    return verb;
}

// Port numbers in a word. 0 after a message.
u32 port_number(const std::string& text)
{
    u32 port = 0;
    if (read_decimal(text, port) && port >= 1 && port <= highest_port) return port;
    complain("'" + text + "' is not a port number, 1 to 199");
    return 0;
}

int show_port_or_ports(const ObjectOptions& options)
{
    if (options.name.empty()) return show_ports(options.json);
    const u32 port = port_number(options.name);
    return port == 0 ? exit_usage : show_port(port, options.json);
}

int show_vlan_or_vlans(const ObjectOptions& options)
{
    return options.name.empty() ? show_vlans(options.json) : show_vlan(options.name, options.json);
}

void add_show(CLI::App& app, Act& act)
{
    CLI::App& show = add_verb_of_parts(app, act, "show", "Show what the database holds, as a table or as JSON");
    add_show_fdb(show, act);
    add_show_object(show, act, "port", "Ports, or one port", "N", show_port_or_ports);
    add_show_object(show, act, "vlan", "VLANs, or one VLAN", "NAME|VID", show_vlan_or_vlans);
    add_show_simple(show, act, "protgroup", "Protocol groups", show_protgroups);
    add_show_simple(show, act, "ether", "Physical ports and their shaping", show_phports);
    add_show_simple(show, act, "summary", "How many VLANs there are and can be", show_summary);
    add_show_simple(show, act, "history", "How many ports, VLANs and memberships came and went", show_history);
    add_show_simple(show, act, "np", "Commands that reached the network processor, and its counters by port", show_np);
}

void add_display(CLI::App& app, Act& act)
{
    CLI::App& display = add_verb_of_parts(app, act, "display", "Print all that the database holds about one object");
    const auto port = add_verb<ObjectOptions>(display, "port", "A port with its memberships and local entries");
    port.app->add_option("number", port.options->name, "The port")->required()->type_name("N");
    port.acts(act, [](const ObjectOptions& options) {
        const u32 id = port_number(options.name);
        return id == 0 ? exit_usage : display_port(id);
    });
    const auto vlan = add_verb<ObjectOptions>(display, "vlan", "A VLAN with its members and entries");
    vlan.app->add_option("name", vlan.options->name, "The VLAN")->required()->type_name("NAME|VID");
    vlan.acts(act, [](const ObjectOptions& options) { return display_vlan(options.name); });
}

void add_session(CLI::App& app, Act& act)
{
    const auto verb =
        add_verb<SessionOptions>(app, "session", "Run verb lines and commands from a file, in this one process");
    verb.app->add_option("file", verb.options->file, "The file; - is standard input")->required()->type_name("FILE");
    verb.app->add_flag("--keep-going", verb.options->keep_going, "Go on after a line that fails");
    verb.app->add_flag("--quiet", verb.options->quiet, "Do not print the lines");
    verb.acts(act, session);
}

void add_small_verbs(CLI::App& app, Act& act)
{
    const auto echo = add_verb<Words>(app, "echo", "Print words: for sessions");
    echo.app->add_option("word", echo.options->words, "The words")->type_name("WORD...");
    echo.acts(act, [](const Words& options) {
        std::printf("%s\n", CLI::detail::join(options.words, " ").c_str());
        return exit_done;
    });

    const auto sleeping = add_verb<SleepOptions>(app, "sleep", "Wait: for sessions");
    sleeping.app->add_option("seconds", sleeping.options->seconds, "How long, up to 3600")
        ->required()
        ->check(within(0, 3600))
        ->type_name("SECONDS");
    sleeping.acts(act, [](const SleepOptions& options) { return wait_for(options.seconds); });

    const auto exec = add_verb<Words>(app, "exec", "Run another program, for example a shell in the sandbox");
    exec.app->prefix_command();
    exec.app->callback(
        [&act, program = exec.app] { act = [words = program->remaining()] { return run_program(words); }; });

    const auto help =
        add_verb<Words>(app, "help", "List verbs and commands, or the commands that begin with some words");
    help.app->add_option("word", help.options->words, "The words")->type_name("WORD...");
    help.acts(act, [](const Words& options) { return print_help(options.words); });

    const auto manual = add_verb<NoOptions>(app, "manual", "Print the manual page's source");
    manual.app->group("");
    manual.acts(act, [](const NoOptions&) { return print_manual(); });
}

bool is_verb(const CLI::App& app, const std::string& word)
{
    const auto verbs = app.get_subcommands([](const CLI::App*) { return true; });
    return std::any_of(verbs.begin(), verbs.end(), [&](const CLI::App* verb) { return verb->get_name() == word; });
}

// Words that CLI11 has nothing to say about: a line of the command language, none at all, or a slip.
bool read_without_verb(const CLI::App& app, const std::vector<std::string>& words, Request& request)
{
    const std::size_t first = !words.empty() && words.front() == "--sandbox" ? 1 : 0;
    if (first < words.size() && (words[first].starts_with('-') || is_verb(app, words[first]))) return false;
    const std::vector<std::string> command(words.begin() + static_cast<std::ptrdiff_t>(first), words.end());
    request.sandbox = first == 1;
    if (!command.empty() && starts_a_command(command.front())) {
        request.act = [line = CLI::detail::join(command, " ")] { return run_command(line); };
        return true;
    }
    complain((command.empty() ? "nothing to do" : "'" + command.front() + "' is neither a verb nor a command") +
             "; see 'zelfctl help'");
    request.exit_code = exit_usage;
    return true;
}

}  // namespace

std::unique_ptr<CLI::App> make_app(bool& sandbox, Act& act)
{
    auto app = std::make_unique<CLI::App>(
        "Looks at and changes the bridge configuration and the forwarding database of a switch.", "zelfctl");
    app->require_subcommand(0, 1);
    app->get_formatter()->label("SUBCOMMAND", "VERB");
    app->get_formatter()->label("Subcommands", "Verbs");
    app->get_formatter()->column_width(34);
    app->set_version_flag("--version", "zelfctl " ZELFCTL_VERSION);
    app->add_flag("--sandbox", sandbox, "Work in an IPC namespace of one's own: touch nothing, leave nothing behind");
    add_init(*app, act);
    add_apply(*app, act);
    add_run(*app, act);
    add_feed(*app, act);
    add_age(*app, act);
    add_show(*app, act);
    add_display(*app, act);
    add_session(*app, act);
    add_small_verbs(*app, act);
    app->footer("A command such as 'create vlan sales vid 10' may stand in a verb's place: see 'zelfctl help'.");
    return app;
}

Request read_request(const std::vector<std::string>& words)
{
    Request request;
    const auto app = make_app(request.sandbox, request.act);
    if (read_without_verb(*app, words, request)) return request;
    try {
        app->parse(std::vector<std::string>(words.rbegin(), words.rend()));  // CLI11 takes them from the back
    } catch (const CLI::ParseError& error) {
        request.act = nullptr;
        request.exit_code = app->exit(error) == 0 ? exit_done : exit_usage;
    }
    return request;
}

int run_words(const std::vector<std::string>& words)
{
    const Request request = read_request(words);
    if (!request.act) return request.exit_code;
    if (!request.sandbox) return request.act();
    complain("--sandbox is for the start of the program alone");
    return exit_usage;
}

}  // namespace zelfctl
