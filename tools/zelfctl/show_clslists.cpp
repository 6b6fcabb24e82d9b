#include <cstdio>
#include <vector>

#include "database.h"
#include "json_output.h"
#include "language/captured_output.h"
#include "language/classify_values.h"
#include "language/reader.h"
#include "show.h"
#include "softnp/softnp.h"
#include "table.h"

namespace zelfctl {
namespace {

using nlohmann::json;

// What matches, in the order of the commands.
constexpr struct {
    const char* name;   // in the command
    const char* title;  // of its column
} fields[] = {{"dst-ip", "TO"},        {"src-ip", "FROM"},        {"tos", "TOS"}, {"protocol", "PROTOCOL"},
              {"dst-port", "TO PORT"}, {"src-port", "FROM PORT"}, {"vid", "VID"}, {"dot1p", "PRI"},
              {"etype", "ETYPE"},      {"ext", "WORDS"}};
constexpr const char* modes[] = {"normal", "dot1p", "dscp"};

struct Line {
    u32 number = 0;
    std::string target;
    u32 mode = 0;
    std::vector<std::string> fields;
};

struct Binding {
    u32 port = 0;
    std::string vlan;
    std::string words;
};

struct List {
    u32 number = 0;
    std::vector<Line> lines;
    std::vector<Binding> bindings;
};

Line line_of(const Arguments& arguments)
{
    Line line{arguments.number("line"), arguments.text("target"), arguments.number("mode"), {}};
    for (const auto& field : fields) line.fields.push_back(arguments.text(field.name));
    return line;
}

std::string first_words(const Command& command) { return command.parts[0].name + " " + command.parts[1].name; }

// No operation reads the lists but the replay, whose commands are read again.
std::vector<List> lists_in(const std::string& configuration)
{
    std::vector<List> lists;
    for (std::size_t at = 0; at < configuration.size();) {
        const std::size_t end = configuration.find('\n', at);
        const ReadLine read = read_line(std::string_view(configuration).substr(at, end - at));
        at = end == std::string::npos ? configuration.size() : end + 1;
        if (!read.command) continue;
        const Arguments& arguments = read.arguments;
        const std::string what = first_words(*read.command);
        if (what == "create clslist") lists.push_back({arguments.number("clslist"), {}, {}});
        if (lists.empty()) continue;
        if (what == "add classify") lists.back().lines.push_back(line_of(arguments));
        if (what == "add clslist")
            lists.back().bindings.push_back(
                {arguments.number("port"), arguments.text("vlan"), arguments.text("bindings")});
    }
    return lists;
}

// How often the software network processor found a line to be the first that matches.
softnp_line matched(u32 list, const Line& line)
{
    softnp_line record{};
    softnp_get_line(SOFTNP_CLASSIFY, list, line.number, &record);
    return record;
}

json json_of(const List& list)
{
    json lines = json::array();
    for (const Line& line : list.lines) {
        const softnp_line np = matched(list.number, line);
        json object{{"line", line.number},
                    {"target", line.target},
                    {"mode", modes[line.mode]},
                    {"frames", np.frames},
                    {"bytes", np.bytes}};
        for (std::size_t i = 0; i < std::size(fields); ++i)
            if (line.fields[i] != "-") object["match"][fields[i].name] = line.fields[i];
        lines.push_back(std::move(object));
    }
    json bindings = json::array();
    for (const Binding& binding : list.bindings)
        bindings.push_back({{"port", binding.port}, {"vlan", binding.vlan}, {"words", binding.words}});
    return {{"clslist", list.number}, {"lines", lines}, {"bindings", bindings}};
}

void print_list(const List& list)
{
    std::printf("classify list %u\n", list.number);
    for (const Binding& binding : list.bindings)
        print_sentence("bound to port " + std::to_string(binding.port) + " in VLAN " + binding.vlan +
                       (binding.words.empty() ? "" : " with " + binding.words));
    std::vector<Column> columns{{"LINE", true}, {"FRAMES", true}, {"STREAM/CLASS/COLOR"}, {"MODE"}};
    for (const auto& field : fields) columns.push_back({field.title});
    Table table(columns);
    for (const Line& line : list.lines) {
        std::vector<std::string> cells{std::to_string(line.number), std::to_string(matched(list.number, line).frames),
                                       line.target, modes[line.mode]};
        cells.insert(cells.end(), line.fields.begin(), line.fields.end());
        table.add(std::move(cells));
    }
    table.print();
    std::printf("%s\n", counted(list.lines.size(), "line", "lines").c_str());
}

bool read_lists(std::vector<List>& lists)
{
    std::string text;
    if (!database_is_ready()) return false;
    if (!capture_output([] { return zelfdb_reconfig_classify("", "\n") == 0; }, text)) {
        complain("the classify lists could not be read");
        return false;
    }
    lists = lists_in(text);
    return true;
}

}  // namespace

int show_clslists(bool as_json)
{
    std::vector<List> lists;
    if (!read_lists(lists)) return exit_failed;
    if (as_json) {
        json array = json::array();
        for (const List& list : lists) array.push_back(json_of(list));
        print_json({{"clslists", array}});
        return exit_done;
    }
    Table table({{"CLSLIST", true}, {"LINES", true}, {"BOUND TO"}});
    for (const List& list : lists) {
        std::string bound;
        for (const Binding& binding : list.bindings)
            bound += (bound.empty() ? "" : ", ") + std::string("port ") + std::to_string(binding.port) + " in " +
                     binding.vlan;
        table.add({std::to_string(list.number), std::to_string(list.lines.size()), bound.empty() ? "-" : bound});
    }
    table.print();
    std::printf("%s\n", counted(lists.size(), "classify list", "classify lists").c_str());
    return exit_done;
}

int show_clslist(u32 number, bool as_json)
{
    std::vector<List> lists;
    if (!read_lists(lists)) return exit_failed;
    for (const List& list : lists) {
        if (list.number != number) continue;
        if (as_json)
            print_json(json_of(list));
        else
            print_list(list);
        return exit_done;
    }
    complain("no classify list " + std::to_string(number));
    return exit_failed;
}

}  // namespace zelfctl
