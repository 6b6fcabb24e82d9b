#include "language/captured_output.h"

#include <sys/mman.h>
#include <unistd.h>
#include <zelfdb/zelfdb.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace zelfctl {
namespace {

constexpr int (*replays[])(const char*, const char*) = {
    zelfdb_reconfig_ether,     zelfdb_reconfig_port, zelfdb_reconfig_stream,
    zelfdb_reconfig_protgroup, zelfdb_reconfig_vlan, zelfdb_reconfig_classify,
    zelfdb_reconfig_sfil,      zelfdb_reconfig_lfil, zelfdb_reconfig_mirror};

bool replay_all()
{
    return std::all_of(std::begin(replays), std::end(replays), [](auto* replay) { return replay("", "\n") == 0; });
}

}  // namespace

bool capture_output(const std::function<bool()>& print, std::string& text)
{
    std::fflush(stdout);
    const int memory = memfd_create("zelfctl", MFD_CLOEXEC);
    const int saved = dup(STDOUT_FILENO);
    bool printed = false;
    if (memory >= 0 && saved >= 0) {
        dup2(memory, STDOUT_FILENO);
        printed = print();
        // The library does not look whether its text was taken.
        printed = std::fflush(stdout) == 0 && std::ferror(stdout) == 0 && printed;
        std::clearerr(stdout);
        dup2(saved, STDOUT_FILENO);
        const off_t size = lseek(memory, 0, SEEK_END);
        text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
        printed = pread(memory, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()) && printed;
    }
    if (memory >= 0) close(memory);
    if (saved >= 0) close(saved);
    return printed;
}

std::optional<std::string> running_configuration()
{
    std::string text;
    if (!capture_output(replay_all, text)) return std::nullopt;
    return text;
}

}  // namespace zelfctl
