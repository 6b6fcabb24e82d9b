// What leaves the network processor's analyser ports while frames are fed, written as a capture file.
#pragma once

#include <pcap/pcap.h>

#include <memory>
#include <string>

#include "language/types.h"

namespace zelfctl {

class Analyser {
public:
    Analyser() = default;
    ~Analyser();
    Analyser(const Analyser&) = delete;
    Analyser& operator=(const Analyser&) = delete;

    // Makes the file, or empties it, and lets the network processor keep copies. False and the reason otherwise.
    bool open(const std::string& path, std::string& error);

    [[nodiscard]] bool is_open() const { return file_ != nullptr; }

    // Writes the copies that were made since. Ticks count from start_ms, which was at time start_ns.
    bool take(u32 start_ms, i64 start_ns);

    // False if something could not be written.
    bool close();

    [[nodiscard]] u64 frames() const { return frames_; }

private:
    struct ClosePcap {
        void operator()(pcap_t* pcap) const { pcap_close(pcap); }
    };
    std::unique_ptr<pcap_t, ClosePcap> pcap_;
    pcap_dumper_t* file_ = nullptr;
    u64 frames_ = 0;
    bool failed_ = false;
};

}  // namespace zelfctl
