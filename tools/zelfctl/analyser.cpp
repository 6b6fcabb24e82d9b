#include "analyser.h"

#include "softnp/softnp.h"
#include "times.h"

namespace zelfctl {
namespace {

}  // namespace

Analyser::~Analyser() { close(); }

bool Analyser::open(const std::string& path, std::string& error)
{
    pcap_.reset(pcap_open_dead_with_tstamp_precision(DLT_EN10MB, SOFTNP_MAX_COPY, PCAP_TSTAMP_PRECISION_NANO));
    if (!pcap_) {
        error = path + ": no memory";
        return false;
    }
    file_ = pcap_dump_open(pcap_.get(), path.c_str());
    if (!file_) error = pcap_geterr(pcap_.get());
    return file_ && softnp_capture_copies(1) == 0;
}

bool Analyser::take(u32 start_ms, i64 start_ns)
{
    softnp_copy copy{};
    int found = 0;
    while ((found = softnp_next_copy(&copy)) == 1) {
        const i64 time_ns = start_ns + i64{copy.tick_ms - start_ms} * ns_per_ms;
        pcap_pkthdr header{};
        header.ts.tv_sec = static_cast<time_t>(time_ns / ns_per_s);
        header.ts.tv_usec = static_cast<suseconds_t>(time_ns % ns_per_s);  // of such a file, nanoseconds
        header.caplen = copy.length;
        header.len = copy.length;
        pcap_dump(reinterpret_cast<u_char*>(file_), &header, copy.bytes);
        ++frames_;
    }
    return found == 0;
}

bool Analyser::close()
{
    if (!file_) return !failed_;
    softnp_capture_copies(0);
    failed_ = pcap_dump_flush(file_) != 0 || ferror(pcap_dump_file(file_)) != 0;
    pcap_dump_close(file_);
    file_ = nullptr;
    return !failed_;
}

}  // namespace zelfctl
