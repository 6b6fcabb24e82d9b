#include <zelfdb/zelfdb.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "database.h"
#include "language/captured_output.h"
#include "show.h"

namespace zelfctl {
namespace {

// In the order in which the commands can be run.
constexpr struct {
    std::string_view kind;
    int (*replay)(const char* prefix, const char* suffix);
} replays[] = {
    {"ether", zelfdb_reconfig_ether},         {"port", zelfdb_reconfig_port}, {"stream", zelfdb_reconfig_stream},
    {"protgroup", zelfdb_reconfig_protgroup}, {"vlan", zelfdb_reconfig_vlan}, {"clslist", zelfdb_reconfig_classify},
    {"sfdb", zelfdb_reconfig_sfil},           {"lfdb", zelfdb_reconfig_lfil}, {"mirror", zelfdb_reconfig_mirror}};

}  // namespace

std::vector<std::string> kinds_of_running()
{
    std::vector<std::string> kinds;
    for (const auto& row : replays) kinds.emplace_back(row.kind);
    return kinds;
}

int show_running(const RunningOptions& options)
{
    if (!database_is_ready()) return exit_failed;
    std::string text;
    const bool printed = capture_output(
        [&] {
            return std::all_of(std::begin(replays), std::end(replays), [&](const auto& row) {
                const bool is_wanted = options.kind.empty() || options.kind == row.kind;
                return !is_wanted || row.replay(options.prefix.c_str(), options.suffix.c_str()) == 0;
            });
        },
        text);
    if (!printed) {
        complain("the configuration could not be read");
        return exit_failed;
    }
    std::fwrite(text.data(), 1, text.size(), stdout);
    return exit_done;
}

}  // namespace zelfctl
