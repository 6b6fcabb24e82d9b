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
    heading("commands");
    paragraph(
        "Files for apply hold one command on each line. Words are separated by blanks; their case does not matter, "
        "that "
        "of names does. A word that begins with # begins a comment, which ends with the line. A command may also stand "
        "in "
        "a verb's place on the command line.");
    const char* subject = "";
    for (const Command& command : all_commands()) {
        if (command.row->subject != subject) std::printf(".SS \"%s\"\n", command.row->subject);
        subject = command.row->subject;
        item(syntax_of(command.parts), command.row->help);
    }
    std::printf(".SS \"Values\"\n");
    for (const Kind& kind : all_kinds()) item("<" + std::string(kind.name) + ">", std::string(kind.expects) + ".");
}

void print_end()
{
    heading("exit status");
    item("0", "All was done.");
    item("1", "A command failed, a file could not be read, or there is no database.");
    item("2", "The command line was wrong.");
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
    print_commands();
    print_end();
    return exit_done;
}

}  // namespace zelfctl
