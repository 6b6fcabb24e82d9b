#include <array>
#include <cstdio>
#include <map>

#include "database.h"
#include "json_output.h"
#include "language/captured_output.h"
#include "language/reader.h"
#include "show.h"
#include "softnp/softnp.h"
#include "table.h"

namespace zelfctl {
namespace {

using nlohmann::json;

struct Mirror {
    bool enabled = false;
    std::string source = "none";
    u32 dest = 0;
    std::string classify;
    std::string tag;
};

std::string source_of(const std::vector<Part>& parts, const Arguments& arguments)
{
    std::string vlan = arguments.has("vlan") ? "VLAN " + arguments.text("vlan") : "";
    if (!arguments.has("port")) return vlan;
    std::string text = "port " + arguments.text("port");
    for (const Part& part : parts)
        if (part.what == Part::What::word && (part.name == "in" || part.name == "out")) text += " " + part.name;
    return text + (vlan.empty() ? "" : ", " + vlan);
}

bool has_word(const std::vector<Part>& parts, const char* word)
{
    for (const Part& part : parts)
        if (part.what == Part::What::word && part.name == word) return true;
    return false;
}

void take(const Command& command, const Arguments& arguments, std::map<u32, Mirror>& mirrors)
{
    Mirror& mirror = mirrors[arguments.number("mirror")];
    if (command.parts[0].name == "enable") mirror.enabled = true;
    if (has_word(command.parts, "source")) mirror.source = source_of(command.parts, arguments);
    if (has_word(command.parts, "dest")) mirror.dest = arguments.number("port");
    if (has_word(command.parts, "classify")) mirror.classify = arguments.text("copy_class");
    if (has_word(command.parts, "tag"))
        mirror.tag = "VID " + arguments.text("vid") +
                     (arguments.has("tagtype") ? ", type " + arguments.text("tagtype") : std::string());
}

// No operation reads the mirrors but the replay, whose commands are read again.
std::map<u32, Mirror> mirrors_in(const std::string& configuration)
{
    std::map<u32, Mirror> mirrors;
    for (std::size_t at = 0; at < configuration.size();) {
        const std::size_t end = configuration.find('\n', at);
        const ReadLine read = read_line(std::string_view(configuration).substr(at, end - at));
        at = end == std::string::npos ? configuration.size() : end + 1;
        if (read.command) take(*read.command, read.arguments, mirrors);
    }
    return mirrors;
}

softnp_mirror in_NP(u32 mirror)
{
    softnp_mirror record{};
    softnp_get_mirror(mirror, &record);
    return record;
}

json json_of(u32 id, const Mirror& mirror)
{
    const softnp_mirror np = in_NP(id);
    return {{"mirror", id},
            {"enabled", mirror.enabled},
            {"source", mirror.source == "none" ? json(nullptr) : json(mirror.source)},
            {"dest", mirror.dest == 0 ? json(nullptr) : json(mirror.dest)},
            {"classify", mirror.classify.empty() ? json(nullptr) : json(mirror.classify)},
            {"tag", mirror.tag.empty() ? json(nullptr) : json(mirror.tag)},
            {"copies", np.copies},
            {"copy_bytes", np.copy_bytes},
            {"unsent", np.unsent},
            {"dropped", np.dropped}};
}

}  // namespace

int show_mirrors(bool as_json)
{
    if (!database_is_ready()) return exit_failed;
    std::string text;
    if (!capture_output([] { return zelfdb_reconfig_mirror("", "\n") == 0; }, text)) {
        complain("the mirrors could not be read");
        return exit_failed;
    }
    json list = json::array();
    Table table({{"MIRROR", true},
                 {"STATE"},
                 {"SOURCE"},
                 {"DEST"},
                 {"CLASSIFY"},
                 {"TAG"},
                 {"COPIES", true},
                 {"UNSENT", true},
                 {"DROPPED", true}});
    for (const auto& [id, mirror] : mirrors_in(text)) {
        list.push_back(json_of(id, mirror));
        const softnp_mirror np = in_NP(id);
        table.add({number(id), mirror.enabled ? "enabled" : "disabled", mirror.source,
                   mirror.dest == 0 ? "none" : "port " + number(mirror.dest),
                   mirror.classify.empty() ? "-" : mirror.classify, mirror.tag.empty() ? "-" : mirror.tag,
                   number(np.copies), number(np.unsent), number(np.dropped)});
    }
    if (as_json)
        print_json({{"mirrors", list}});
    else
        table.print();
    return exit_done;
}

}  // namespace zelfctl
