// The verb watch: a show again and again, with what changed since the last time marked.
#pragma once

#include <string>
#include <vector>

namespace zelfctl {

struct WatchOptions {
    double interval_s = 2;
    unsigned count = 0;  // rounds; 0 = until Ctrl-C
    std::vector<std::string> words;
};

int watch(const WatchOptions& options);

}  // namespace zelfctl
