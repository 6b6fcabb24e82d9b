// bench_zelfdb: prints every measured operation as a ratio to its floor. --check makes a ratio over its limit an error.
#include <benchmark/benchmark.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "bench/measure.h"

namespace {

constexpr const char* usage =
    "bench_zelfdb [--check] [--json FILE] [--benchmark_filter=REGEX] [--benchmark_...]\n"
    "  --check      exit with 1 if a ratio is over its limit\n"
    "  --json FILE  write the figures to FILE too\n"
    "Runs in an IPC namespace of its own, so it needs root or user namespaces.\n";

struct Options {
    bool check = false;
    bool help = false;
    std::vector<std::string> for_benchmark;
};

bool parse(int argc, char** argv, Options& options)
{
    options.for_benchmark.emplace_back(argv[0]);
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--check") {
            options.check = true;
        } else if (argument == "--help" || argument == "-h") {
            options.help = true;
        } else if (argument == "--json") {
            if (++i == argc) return false;
            options.for_benchmark.push_back(std::string("--benchmark_out=") + argv[i]);
            options.for_benchmark.emplace_back("--benchmark_out_format=json");
        } else {
            options.for_benchmark.push_back(argument);
        }
    }
    return true;
}

// False when an argument is left that nobody knows; the library has said so then.
bool initialise_benchmark(std::vector<std::string>& arguments)
{
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    auto argc = static_cast<int>(arguments.size());
    benchmark::Initialize(&argc, argv.data());
    return !benchmark::ReportUnrecognizedArguments(argc, argv.data());
}

bool write_text(const char* path, const std::string& text)
{
    std::FILE* const file = std::fopen(path, "w");
    if (!file) return false;
    const bool written = std::fputs(text.c_str(), file) >= 0;
    return std::fclose(file) == 0 && written;
}

// A user namespace that knows our user, as the owner of the files that a row makes.
bool enter_user_namespace()
{
    const std::string uid = std::to_string(geteuid());
    const std::string gid = std::to_string(getegid());
    return unshare(CLONE_NEWUSER | CLONE_NEWIPC) == 0 && write_text("/proc/self/setgroups", "deny") &&
           write_text("/proc/self/uid_map", "0 " + uid + " 1") && write_text("/proc/self/gid_map", "0 " + gid + " 1");
}

bool enter_ipc_namespace()
{
    if (unshare(CLONE_NEWIPC) == 0) return true;
    return errno == EPERM && enter_user_namespace();
}

}  // namespace

int main(int argc, char** argv)
{
    Options options;
    if (!parse(argc, argv, options) || options.help) {
        std::fputs(usage, options.help ? stdout : stderr);
        return options.help ? 0 : 2;
    }
    if (!initialise_benchmark(options.for_benchmark)) return 2;
    if (!enter_ipc_namespace()) {
        std::fprintf(stderr, "no IPC namespace of our own: %s\n", std::strerror(errno));
        return 2;
    }

    for (const auto* rows : {&bench::learning_rows, &bench::reading_rows, &bench::opening_rows, &bench::stream_rows,
                             &bench::classify_rows}) {
        for (const bench::Measured& row : *rows) bench::add(row);
    }
    const int over = bench::run_all();
    if (over < 0) return 2;
    return options.check && over > 0 ? 1 : 0;
}
