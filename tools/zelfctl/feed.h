// The verb feed: frames of capture files go through the network processor, and what it reports is learned.
#pragma once

#include <vector>

#include "captures.h"

namespace zelfctl {

struct FeedOptions {
    std::vector<CaptureFile> files;
    u64 limit = 0;         // frames; 0 = all
    std::string analyser;  // file for the copies that mirrors send; empty = none
    bool hold = false;     // leave the network processor's clock where the last frame set it
    bool events = false;
    bool json = false;
};

int feed(const FeedOptions& options);

}  // namespace zelfctl
