#include "live_names.h"

#include <sys/wait.h>
#include <unistd.h>
#include <zelfdb/zelfdb.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iterator>

#include "database.h"
#include "language/captured_output.h"
#include "language/reader.h"

namespace zelfctl {
namespace {

constexpr std::string_view create = "create ";

// Which replay prints the objects' creation, and the value that is the name there.
constexpr struct {
    std::string_view object;
    int (*replay)(const char* prefix, const char* suffix);
    std::string_view made;  // "create ..."
    std::string_view value;
} sources[] = {{"port", zelfdb_reconfig_port, "port", "port"},
               {"vlan", zelfdb_reconfig_vlan, "vlan", "vlan"},
               {"vid", zelfdb_reconfig_vlan, "vlan", "vid"},
               {"group", zelfdb_reconfig_protgroup, "protgroup", "group"},
               {"stream", zelfdb_reconfig_stream, "stream", "stream"},
               {"queue", zelfdb_reconfig_stream, "queue", "queue"},
               {"clslist", zelfdb_reconfig_classify, "clslist", "clslist"},
               {"mirror", zelfdb_reconfig_mirror, "mirror", "mirror"}};

constexpr u32 completion_patience_s = 2;

using NameSource = decltype(&sources[0]);

// One on each line: names hold no blanks.
std::string read_names(NameSource source)
{
    std::string text;
    if (!is_database_there()) return {};
    if (!capture_output([&] { return source->replay("", "\n") == 0; }, text)) return {};
    std::string names;
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        if (!line.starts_with(create) || !line.substr(create.size()).starts_with(source->made)) continue;
        const ReadLine read = read_line(line);
        if (read.command && read.command->parts[1].name == source->made)
            names += read.arguments.text(source->value) + '\n';
    }
    return names;
}

[[noreturn]] void tell_names(NameSource source, int to_parent)
{
    alarm(completion_patience_s);
    const std::string names = read_names(source);
    for (std::string_view rest = names; !rest.empty();) {
        const ssize_t written = write(to_parent, rest.data(), rest.size());
        if (written <= 0) break;
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
    _exit(0);
}

std::string hear_names(int from_child)
{
    std::string names;
    char bytes[4096];
    for (;;) {
        const ssize_t count = read(from_child, bytes, sizeof bytes);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return names;
        names.append(bytes, static_cast<std::size_t>(count));
    }
}

std::vector<std::string> whole_lines_of(const std::string& text)
{
    std::vector<std::string> lines;
    for (std::size_t at = 0, end = 0; (end = text.find('\n', at)) != std::string::npos; at = end + 1)
        lines.push_back(text.substr(at, end - at));
    return lines;
}

}  // namespace

std::vector<std::string> live_names(std::string_view object)
{
    const auto* const source =
        std::find_if(std::begin(sources), std::end(sources), [&](const auto& row) { return row.object == object; });
    int ends[2];
    if (source == std::end(sources) || pipe(ends) != 0) return {};
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        tell_names(source, ends[1]);
    }
    close(ends[1]);
    const std::string names = child > 0 ? hear_names(ends[0]) : "";
    close(ends[0]);
    while (child > 0 && waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    return whole_lines_of(names);
}

}  // namespace zelfctl
