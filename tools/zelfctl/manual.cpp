#include <cctype>
#include <cstdio>

#include "database.h"
#include "help.h"
#include "language/commands.h"
#include "verbs.h"

namespace zelfctl {
namespace {

// Text as the formatter must get it: a hyphen that is one, a backslash that is one, no line that looks like a request.
std::string escaped(const std::string& text)
{
    std::string out;
    for (const char c : text) {
        if (c == '\\')
            out += "\\e";
        else if (c == '-')
            out += "\\-";
        else if (c == '\'')
            out += "\\(aq";
        else
            out += c;
    }
    return !out.empty() && out.front() == '.' ? "\\&" + out : out;
}

std::string upper(std::string text)
{
    for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

void heading(const std::string& text) { std::printf(".SH \"%s\"\n", upper(text).c_str()); }
void paragraph(const std::string& text) { std::printf(".PP\n%s\n", escaped(text).c_str()); }

void item(const std::string& term, const std::string& text)
{
    std::printf(".TP\n\\fB%s\\fR\n%s\n", escaped(term).c_str(), escaped(text).c_str());
}

bool has_own_options(const CLI::App& verb)
{
    for (const CLI::Option* option : verb.get_options())
        if (option->get_name() != "--help") return true;
    return false;
}

std::string term_of(const CLI::Option& option)
{
    const bool positional = option.get_positional();
    std::string term = positional ? option.get_type_name() : option.get_name();
    if (!positional && option.get_items_expected_max() > 0) term += " " + option.get_type_name();
    return term;
}

void print_options(const CLI::App& verb)
{
    if (!has_own_options(verb)) return;
    std::printf(".RS\n");
    for (const CLI::Option* option : verb.get_options()) {
        if (option->get_name() == "--help") continue;
        std::string text = option->get_description() + ".";
        if (!option->get_default_str().empty()) text += " The default is " + option->get_default_str() + ".";
        item(term_of(*option), text);
    }
    std::printf(".RE\n");
}

void print_verb(const CLI::App& verb, const std::string& prefix)
{
    const auto inner = verb.get_subcommands([](const CLI::App*) { return true; });
    const std::string name = prefix + verb.get_name();
    item(name, verb.get_description() + ".");
    if (inner.empty()) print_options(verb);
    for (const CLI::App* part : inner) print_verb(*part, name + " ");
}

void print_verbs(const CLI::App& app)
{
    heading("verbs");
    for (const CLI::App* verb : app.get_subcommands([](const CLI::App*) { return true; }))
        if (!verb->get_group().empty()) print_verb(*verb, "");
}

void print_commands()
{
    const char* subject = "";
    for (const Command& command : all_commands()) {
        if (command.row->subject != subject) heading(command.row->subject);
        subject = command.row->subject;
        item(syntax_of(command.parts), command.row->help);
    }
    heading("values");
    for (const Kind& kind : all_kinds()) item("<" + std::string(kind.name) + ">", std::string(kind.expects) + ".");
}

// What the replay leaves out or cuts: a text is no copy of the database.
constexpr const char* not_carried[] = {
    "Port priorities, ingress filters, loop breakers, uplinks, and PVIDs that come from no membership.",
    "Learning and forwarding that are switched off on a port, and whether a port of neither type heeds tags and their "
    "priorities.",
    "Link frames other than bpdu, lag and pae.",
    "A number of the physical port, set after the port was created, that another Ethernet port has or that no Ethernet "
    "port can have: such a port cannot be created.",
    "Learning limits of VLANs and of the whole database, learned entries, system entries, and the flags of local "
    "entries.",
    "Sizes of queues, queues that serve no class, the parameters of fair queueing, and granted rates.",
    "The tag type of untagged memberships, and whether a membership by protocol is tagged.",
    "Rates below a thousand: rates are cut to thousands, and a rate of 0 that is on is one below a thousand.",
    "Masks of addresses that are no prefixes, and colours, modes and kinds of bindings that have no word.",
    "Bits of TOS values outside their mask, which the network processor alone was given.",
    "A mirror's source whose VLAN is gone.",
    "VLANs whose name is empty, has blanks or control characters or begins with #, which no command can name, and "
    "streams of a port that is gone.",
    "The order in which a virtual interface joined VLANs: in a file, lines about VLANs that stand together are run "
    "with its "
    "untagged joins last, since with a PVID it can join no more.",
    "Which numbers the streams of ports above 4 have: they are numbered anew, in the same order.",
    "Prefilter and loc lists, which the network processor alone keeps.",
};

void print_files()
{
    paragraph(
        "Files for apply hold one command on each line. Words are separated by blanks; their case does not matter, "
        "that of names does. A word that begins with # begins a comment, which ends with the line. A command may also "
        "stand in a verb's place on the command line.");
    paragraph(
        "What the replay operations of the library print are such commands, in an order in which they can be run: an "
        "empty database becomes the one that was printed.");
    heading("applying twice");
    paragraph(
        "Commands that create, add or enable are refused when what they make exists already, and those that set "
        "something "
        "set it as before, so that a file can be applied again. But add classify adds its line again, add prefilter "
        "and "
        "add loc add to the network processor's lists again, and set vlans reaches the VLANs that were made after it, "
        "too.");
}

void print_refusals()
{
    heading("what the network processor refuses");
    paragraph(
        "The database is changed first, and what it holds is what counts. When the network processor refuses the "
        "command of enable port or disable port, or one about protocol groups or mirrors, that is told and the command "
        "has failed, yet the database keeps the change: the port is up, the protocol group or the mirror is there, the "
        "mirror has its source. zelfctl audit shows where the two disagree, unless the network processor has no number "
        "for the port, and zelfctl audit --fix sends it again.");
}

void print_limits()
{
    heading("what a text does not carry");
    for (const char* const text : not_carried) std::printf(".IP \\(bu 2\n%s\n", escaped(text).c_str());
}

void print_configuration_files()
{
    heading("configuration files");
    paragraph(
        "save writes what the database holds at one moment. Before that the text is run on an empty database that is "
        "as "
        "large, in a sandbox: lines that fail there, or that become other lines, are named, and nothing is saved; with "
        "--force it is saved all the same. A regular file or a symbolic link is replaced, and nothing else. The link "
        "itself is replaced, not what it leads to; FILE~ is then a copy of that. Mode and owner of a file stay; a new "
        "one has the mode that the umask leaves.");
    paragraph(
        "load wants a database in which there is nothing at all: no object, learned entries among them, and no limit "
        "of user entries.");
    paragraph(
        "diff and reload run the file on an empty database, in the same way, and compare what is said of both. A file "
        "that does not fit into the database is refused. reload tries its commands on a copy of the database first: if "
        "one fails there, nothing is changed.");
    paragraph(
        "Lines of the file of which a running configuration does not tell all, such as learning limits, are named on "
        "standard error, since they are not compared. reload --all runs them again, behind the difference and in their "
        "order; but not those that are done once (clear, notify, recover, update, add prefilter, add loc, entries of "
        "the "
        "system, a flag of a local entry, the size of a new queue), nor those that would change what the whole file "
        "makes because a later line says otherwise.");
    paragraph(
        "What no command can name, such as a VLAN whose name has a blank, is named on standard error: it can be "
        "neither "
        "compared nor taken away. diff then ends with 2, and reload leaves it alone and ends with 1.");
    paragraph(
        "apply --check and load --check try all lines on a copy of the database, and go on after one that fails there. "
        "Where a network processor is not the software one, it may refuse what the copy's takes.");
}

void see_also(const std::vector<std::string>& pages)
{
    heading("see also");
    for (const std::string& page : pages)
        std::printf(".BR %s%s\n", escaped(page).c_str(), &page == &pages.back() ? "" : ",");
}

void print_end()
{
    heading("exit status");
    item("0", "All was done; for diff: file and database are the same; for audit: both agree.");
    item("1",
         "A command failed, a file could not be read, something was not there, or there is no database; for diff: file "
         "and database differ; for resync: the network processor refused something or was not fresh; for audit: a "
         "difference was found or, with --fix, is left.");
    item("2", "The command line was wrong; for diff: the file, or the database, could not be read.");
    item("3", "check found notices, and no error.");
    item("4", "check found errors.");
    paragraph(
        "session ends with the status of the line that failed, session --keep-going and shell in a pipe with the "
        "highest that a line had, shell at a terminal with 0. exec ends as the program does that takes its place, with "
        "1 when there is none.");
    heading("examples");
    paragraph("A database, its configuration, and what it learns from two captures:");
    std::printf(
        ".PP\n.nf\n.RS\n"
        "zelfctl init \\-\\-ports 16\n"
        "zelfctl apply office.conf\n"
        "zelfctl feed \\-\\-port 1 one.pcap \\-\\-port 2 two.pcapng \\-\\-events\n"
        "zelfctl show fdb \\-\\-vlan sales\n"
        ".RE\n.fi\n");
    paragraph("The same without touching anything on the machine, in a shell that has a database of its own:");
    std::printf(".PP\n.nf\n.RS\nzelfctl \\-\\-sandbox exec bash\n.RE\n.fi\n");
    heading("notes");
    paragraph(
        "The database can be used by root alone. The network processor is one for all processes, as the database is: "
        "verbs that run one after another work on the same state. In a sandbox both are there for one process and "
        "those "
        "that it starts, which is what session and exec are for.");
    paragraph(
        "During feed the network processor's clock goes on by as much as lies between the frames' time stamps; "
        "afterwards it follows the clock of the machine.");
}

}  // namespace

int print_manual()
{
    bool sandbox = false;
    std::function<int()> act;
    const auto app = make_app(sandbox, act);
    std::printf(".TH ZELFCTL 1 \"\" \"zelfdb %s\" \"User Commands\"\n", ZELFCTL_VERSION);
    std::printf(".\\\" Made with 'zelfctl manual'.\n");
    heading("name");
    std::printf("zelfctl \\- look at and change the bridge configuration and forwarding database of a switch\n");
    heading("synopsis");
    std::printf(".B zelfctl\n.RB [ \\-\\-sandbox ]\n.I VERB\n.RI [ OPTIONS ]\n.br\n");
    std::printf(".B zelfctl\n.RB [ \\-\\-sandbox ]\n.I COMMAND\n");
    heading("description");
    std::printf(
        "zelfctl works on the shared database in which a switch keeps its ports, VLANs and MAC addresses, and on the\n"
        "network processor that mirrors it.\n");
    heading("options");
    for (const CLI::Option* option : app->get_options()) item(option->get_name(), option->get_description() + ".");
    print_verbs(*app);
    print_configuration_files();
    heading("commands");
    paragraph(
        "Commands change the configuration. They stand in files for apply, one on each line, or in a verb's place on "
        "the "
        "command line: zelfctl create vlan sales vid 10. All of them are in zelfctl-commands(7).");
    print_end();
    see_also({"zelfctl-commands (7)", "libzelfdb (3)"});
    return exit_done;
}

int print_manual_of_commands()
{
    std::printf(".TH ZELFCTL\\-COMMANDS 7 \"\" \"zelfdb %s\" \"Command language\"\n", ZELFCTL_VERSION);
    std::printf(".\\\" Made with 'zelfctl manual commands'.\n");
    heading("name");
    std::printf("zelfctl\\-commands \\- the commands that configure a switch's ports, VLANs and queues\n");
    heading("description");
    print_files();
    print_commands();
    print_refusals();
    print_limits();
    see_also({"zelfctl (1)", "libzelfdb (3)"});
    return exit_done;
}

}  // namespace zelfctl
