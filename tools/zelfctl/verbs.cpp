#include "verbs.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <cstdio>

#include "age.h"
#include "apply.h"
#include "database.h"
#include "display.h"
#include "export.h"
#include "feed.h"
#include "help.h"
#include "init.h"
#include "language/reader.h"
#include "language/value.h"
#include "line_completion.h"
#include "ports.h"
#include "reload.h"
#include "repair.h"
#include "resync.h"
#include "save.h"
#include "session.h"
#include "shell.h"
#include "show.h"
#include "watch.h"

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
    verb.app->add_flag("--check", verb.options->check,
                       "Read all lines, then try them on a copy of the database: print the commands that would run, "
                       "report those that would fail, change nothing");
    verb.acts(act, apply);
}

void add_configuration(CLI::App& app, Act& act)
{
    const auto saving =
        add_verb<SaveOptions>(app, "save", "Write the configuration as commands; what the file held is kept as FILE~");
    saving.app->add_option("file", saving.options->file, "The file; - is standard output")
        ->required()
        ->type_name("FILE");
    saving.app->add_flag("--force", saving.options->force,
                         "Save also what could not be loaded again, after naming the lines");
    saving.acts(act, save);

    const auto loading = add_verb<LoadOptions>(app, "load", "Run the commands of a file on an empty database");
    loading.app->add_option("file", loading.options->file, "The file")->required()->type_name("FILE");
    loading.app->add_flag("--check", loading.options->check,
                          "Read all lines, then try them on a copy of the database: print the commands that would "
                          "run, report those that would fail, change nothing");
    loading.acts(act, load);

    const auto comparing = add_verb<DiffOptions>(
        app, "diff",
        "Show the commands that lead from the database to a file (+) and back (-); ends with 1 if they differ");
    comparing.app->add_option("file", comparing.options->file, "The file")->required()->type_name("FILE");
    comparing.app->add_flag("--json", comparing.options->json, "Print JSON");
    comparing.acts(act, diff);

    const auto reloading =
        add_verb<ReloadOptions>(app, "reload", "Run the commands that lead from the database to a file, and no others");
    reloading.app->add_option("file", reloading.options->file, "The file")->required()->type_name("FILE");
    reloading.app->add_flag("--check", reloading.options->check,
                            "Print the commands, try them on a copy of the database, change nothing");
    reloading.app->add_flag("--all", reloading.options->all,
                            "Then run also those lines of the file that a running configuration does not tell, such "
                            "as learning limits");
    reloading.acts(act, reload);
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
    verb.app
        ->add_option("--analyser", verb.options->analyser, "Write the copies that mirrors send into this file, as pcap")
        ->type_name("FILE");
    verb.app->add_flag(
        "--hold", verb.options->hold,
        "Let the network processor's time stand still afterwards, so that what waits in queues stays there");
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

void add_resync(CLI::App& app, Act& act)
{
    const auto sending = add_verb<ResyncOptions>(
        app, "resync",
        "Send everything that the database holds to a network processor that restarted; ends with 1 if it refuses any");
    sending.app->add_flag("--json", sending.options->json, "Print JSON");
    sending.acts(act, resync);

    const auto auditing = add_verb<AuditOptions>(app, "audit",
                                                 "Compare the network processor with the database: what is missing, "
                                                 "extra or different; ends with 1 if anything is");
    auditing.app->add_flag("--fix", auditing.options->fix, "Send what makes it agree, and nothing else");
    auditing.app->add_flag("--json", auditing.options->json, "Print JSON");
    auditing.acts(act, audit);
}

// "02:00:5" begins a MAC address; bytes may be separated by hyphens, too.
std::string read_mac_prefix(std::string& text)
{
    constexpr std::size_t longest = 17;
    std::string prefix = CLI::detail::find_and_replace(CLI::detail::to_lower(text), "-", ":");
    bool is_right = !prefix.empty() && prefix.size() <= longest;
    for (std::size_t i = 0; i < prefix.size(); ++i)
        is_right = is_right && (i % 3 == 2 ? prefix[i] == ':' : std::isxdigit(static_cast<u8>(prefix[i])) != 0);
    if (!is_right) return "'" + text + "' does not begin a MAC address, as 02:00:5e does";
    text = std::move(prefix);
    return {};
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
        ->transform(CLI::Validator(read_mac_prefix, ""))
        ->type_name("PREFIX");
    verb.app->add_flag("--count", verb.options->count, "How many, not which");
    verb.app->add_flag("--no-age", verb.options->no_age, "Leave out the seconds since a station was last heard");
    verb.app->add_flag("--json", verb.options->json, "Print JSON");
    verb.app->callback([&act, options = verb.options] {
        if (!options->vlan.empty() && options->type == "local")
            throw CLI::ValidationError("--vlan", "local entries belong to ports: choose them with --port");
        act = [options] { return show_fdb(*options); };
    });
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

int show_clslist_or_clslists(const ObjectOptions& options)
{
    if (options.name.empty()) return show_clslists(options.json);
    const Kind& kind = *find_kind("clslist");
    Value value;
    if (kind.read(kind, options.name, value)) return show_clslist(value.number, options.json);
    complain("'" + options.name + "' is not " + kind.expects);
    return exit_usage;
}

void add_show_streams(CLI::App& show, Act& act)
{
    const auto verb = add_verb<StreamFilter>(show, "streams", "Streams, with the network processor's figures");
    verb.app->add_option("--port", verb.options->port, "Only of this port")
        ->check(within(1, highest_port))
        ->type_name("N");
    verb.app->add_flag("--json", verb.options->json, "Print JSON");
    verb.acts(act, show_streams);

    const auto one = add_verb<ObjectOptions>(show, "stream", "One stream, in detail");
    one.app->add_option("which", one.options->name, "The stream")->required()->type_name("PORT/NUMBER");
    one.app->add_flag("--json", one.options->json, "Print JSON");
    one.acts(act, [](const ObjectOptions& options) { return show_stream(options.name, options.json); });
}

void add_show_running(CLI::App& show, Act& act)
{
    const auto verb = add_verb<RunningOptions>(show, "running", "The commands that make the configuration");
    const std::vector<std::string> kinds = kinds_of_running();
    verb.app->add_option("kind", verb.options->kind, "Only those for objects of this kind")
        ->check(CLI::IsMember(kinds).description(""))
        ->type_name(CLI::detail::join(kinds, "|"));
    verb.app->add_option("--prefix", verb.options->prefix, "Print this before each command")->type_name("TEXT");
    verb.app->add_option("--suffix", verb.options->suffix, "Print this behind each command instead of the line's end")
        ->type_name("TEXT");
    verb.acts(act, show_running);
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
    add_show_streams(show, act);
    add_show_simple(show, act, "queues", "Queues, with the network processor's figures", show_queues);
    add_show_simple(show, act, "budget", "The buffer budget of the queues", show_budget);
    add_show_object(show, act, "clslist", "Classify lists, or one with its lines", "N", show_clslist_or_clslists);
    add_show_simple(show, act, "mirrors", "Mirrors", show_mirrors);
    add_show_simple(show, act, "ether", "Physical ports and their shaping", show_phports);
    add_show_simple(show, act, "summary", "How many VLANs there are and can be", show_summary);
    add_show_simple(show, act, "history", "How many ports, VLANs and memberships came and went", show_history);
    add_show_simple(show, act, "np", "Commands that reached the network processor, and its counters by port", show_np);
    add_show_running(show, act);
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

void add_export(CLI::App& app, Act& act)
{
    CLI::App& verb = add_verb_of_parts(app, act, "export", "Write part of the configuration into a file");
    const auto lists = add_verb<ObjectOptions>(
        verb, "clslist", "Classify lists as an XML document in a file of its own under /tmp, named by the answer");
    lists.app->add_option("number", lists.options->name, "One list; without it all of them")->type_name("N");
    lists.acts(act, [](const ObjectOptions& options) { return export_clslist(options.name); });
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

void add_shell(CLI::App& app, Act& act)
{
    const auto verb = add_verb<ShellOptions>(
        app, "shell",
        "Take verb lines and commands from a person: with editing, history and completion at a terminal, and the same "
        "lines from a pipe");
    verb.app->add_option("--history", verb.options->history, "Keep the lines here; an empty name keeps none")
        ->type_name("FILE")
        ->capture_default_str();
    verb.acts(act, shell);
}

void add_watch(CLI::App& app, Act& act)
{
    const auto verb = add_verb<WatchOptions>(
        app, "watch", "Repeat a show, 'watch fdb --no-age' for one, and mark the lines that were not there before");
    verb.app->add_option("--interval", verb.options->interval_s, "Wait so long between two, 0.1 to 3600")
        ->check(CLI::Range(0.1, 3600.0).description(""))
        ->type_name("SECONDS")
        ->capture_default_str();
    verb.app->add_option("--count", verb.options->count, "End after so many; 0 = when interrupted")->type_name("N");
    verb.app->prefix_command();
    verb.app->callback([&act, options = verb.options, watching = verb.app] {
        options->words = watching->remaining();
        act = [options] { return watch(*options); };
    });
}

void add_completion(CLI::App& app, Act& act)
{
    CLI::App& verb =
        add_verb_of_parts(app, act, "completion", "Print what a shell sources to complete words of zelfctl");
    const auto bash = add_verb<NoOptions>(verb, "bash", "For bash");
    bash.acts(act, [](const NoOptions&) { return print_bash_completion(); });
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

    const auto help = add_verb<Words>(
        app, "help", "List verbs and commands, or tell about one verb or the commands that begin with some words");
    help.app->add_option("word", help.options->words, "The words")->type_name("WORD...");
    help.acts(act, [](const Words& options) { return print_help(options.words); });

    const auto manual = add_verb<ObjectOptions>(app, "manual", "Print a manual page's source");
    manual.app->add_option("page", manual.options->name, "zelfctl or commands")
        ->check(CLI::IsMember({"zelfctl", "commands"}));
    manual.app->group("");
    manual.acts(act, [](const ObjectOptions& options) {
        return options.name == "commands" ? print_manual_of_commands() : print_manual();
    });
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

void add_check(CLI::App& app, Act& act)
{
    const auto verb = add_verb<CheckOptions>(
        app, "check",
        "Check all of the database, under its locks: the exit status is 0 when it is clean, 3 when there are only "
        "notices "
        "of states that operations can leave behind, 4 when there are errors; with --repair and --restore it is 0 when "
        "that was done or not needed, 1 when not");
    CheckOptions& options = *verb.options;
    auto* const json = verb.app->add_flag("--json", options.json, "Print JSON");
    auto* const repair = verb.app->add_flag(
        "--repair", options.repair,
        "Make lists, indexes and counters anew from the objects that are whole, and finish or drop the others");
    verb.app->add_flag("--yes", options.yes, "Drop objects without asking")->needs(repair);
    verb.app
        ->add_option("--backup", options.backup,
                     "Where the database as it was goes first, a new file; zelfdb-backup-TIME.bin if not given")
        ->needs(repair)
        ->type_name("FILE");
    verb.app->add_option("--restore", options.restore, "Put such a file back")
        ->excludes(repair)
        ->excludes(json)
        ->type_name("FILE");
    repair->excludes(json);
    verb.acts(act, check_or_repair);
}

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
    add_configuration(*app, act);
    add_run(*app, act);
    add_feed(*app, act);
    add_age(*app, act);
    add_resync(*app, act);
    add_show(*app, act);
    add_display(*app, act);
    add_export(*app, act);
    add_check(*app, act);
    add_session(*app, act);
    add_shell(*app, act);
    add_watch(*app, act);
    add_completion(*app, act);
    add_small_verbs(*app, act);
    app->footer("A command such as 'create vlan sales vid 10' may stand in a verb's place: see 'zelfctl help'.");
    return app;
}

Request read_request(const std::vector<std::string>& words)
{
    Request request;
    // The words behind it are not for this line, whatever they look like.
    if (!words.empty() && words.front() == "complete") {
        request.act = [unfinished = std::vector(words.begin() + 1, words.end())] {
            return print_candidates(unfinished);
        };
        return request;
    }
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
