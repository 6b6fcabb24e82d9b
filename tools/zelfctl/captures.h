// Capture files, read with libpcap and merged by time stamp.
#pragma once

#include <pcap/pcap.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "language/types.h"

namespace zelfctl {

struct CaptureFile {
    u32 port_id;
    std::string path;
};

// What became of one file.
struct CaptureReport {
    CaptureFile file;
    u64 frames = 0;         // whole ones, handed out
    u64 cut_short = 0;      // skipped: the capture holds only their beginning
    u64 bad_times = 0;      // handed out at the time of the frame before
    std::string broke_off;  // why reading ended before the end of the file; empty if it did not
};

struct CapturedFrame {
    u32 port_id;
    const u8* bytes;  // good until the next frame is asked for
    u32 length;
    i64 time_ns;  // never before that of the frame before
};

class Captures {
public:
    // Opens all files, or none: false and what is wrong with the first that cannot be read.
    bool open(const std::vector<CaptureFile>& files, std::string& error);

    // The next frame of all files by time; frames of the same time in the order of the files. None: all files have ended.
    std::optional<CapturedFrame> next();

    [[nodiscard]] std::vector<CaptureReport> reports() const;

private:
    struct Close {
        void operator()(pcap_t* pcap) const { pcap_close(pcap); }
    };
    struct Source {
        std::unique_ptr<pcap_t, Close> pcap;
        CaptureReport report;
        const u8* bytes = nullptr;  // of the frame that waits; null: the file has ended
        u32 length = 0;
        i64 time_ns = 0;
    };

    static bool open_one(Source& source, std::string& error);
    static void advance(Source& source);

    std::vector<Source> sources_;
    Source* handed_out_ = nullptr;  // whose frame the caller has: it moves on when the next is asked for
    i64 last_time_ns_ = 0;
};

}  // namespace zelfctl
