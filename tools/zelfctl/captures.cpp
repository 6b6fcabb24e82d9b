#include "captures.h"

#include <algorithm>

#include "times.h"

namespace zelfctl {
namespace {

constexpr i64 latest_s = 8000000000;  // the year 2223; anything beyond is damage

std::string text_of_linktype(int type)
{
    const char* const name = pcap_datalink_val_to_name(type);
    return name ? name : "type " + std::to_string(type);
}

// With PCAP_TSTAMP_PRECISION_NANO the microseconds' field holds nanoseconds.
std::optional<i64> time_of(const pcap_pkthdr& header)
{
    const i64 seconds = header.ts.tv_sec;
    const i64 ns = header.ts.tv_usec;
    if (seconds < 0 || seconds > latest_s || ns < 0 || ns >= ns_per_s) return std::nullopt;
    return seconds * ns_per_s + ns;
}

}  // namespace

bool Captures::open_one(Source& source, std::string& error)
{
    char why[PCAP_ERRBUF_SIZE] = "";
    const std::string& path = source.report.file.path;
    source.pcap.reset(pcap_open_offline_with_tstamp_precision(path.c_str(), PCAP_TSTAMP_PRECISION_NANO, why));
    if (!source.pcap) {
        const std::string text = why;
        error = text.starts_with(path) ? text : path + ": " + text;
        return false;
    }
    const int type = pcap_datalink(source.pcap.get());
    if (type == DLT_EN10MB) return true;
    error = path + ": frames of " + text_of_linktype(type) + ", not of Ethernet";
    return false;
}

bool Captures::open(const std::vector<CaptureFile>& files, std::string& error)
{
    for (const CaptureFile& file : files) {
        Source source;
        source.report.file = file;
        if (!open_one(source, error)) return false;
        sources_.push_back(std::move(source));
    }
    for (Source& source : sources_) advance(source);
    return true;
}

// To the file's next whole frame.
void Captures::advance(Source& source)
{
    source.bytes = nullptr;
    pcap_pkthdr* header = nullptr;
    const u8* bytes = nullptr;
    for (;;) {
        const int result = pcap_next_ex(source.pcap.get(), &header, &bytes);
        if (result != 1) {
            if (result == PCAP_ERROR) source.report.broke_off = pcap_geterr(source.pcap.get());
            return;
        }
        if (header->caplen >= header->len) break;
        ++source.report.cut_short;
    }
    if (const auto time_ns = time_of(*header))
        source.time_ns = *time_ns;
    else
        ++source.report.bad_times;
    source.bytes = bytes;
    source.length = header->len;
    ++source.report.frames;
}

std::optional<CapturedFrame> Captures::next()
{
    if (handed_out_) advance(*handed_out_);
    handed_out_ = nullptr;
    for (Source& source : sources_)
        if (source.bytes && (!handed_out_ || source.time_ns < handed_out_->time_ns)) handed_out_ = &source;
    if (!handed_out_) return std::nullopt;
    // Time does not run backwards for the network processor, whatever the files say.
    last_time_ns_ = std::max(last_time_ns_, handed_out_->time_ns);
    return CapturedFrame{handed_out_->report.file.port_id, handed_out_->bytes, handed_out_->length, last_time_ns_};
}

std::vector<CaptureReport> Captures::reports() const
{
    std::vector<CaptureReport> reports;
    for (const Source& source : sources_) reports.push_back(source.report);
    // With a limit a frame of each file may be waiting that nobody asked for.
    for (std::size_t i = 0; i < sources_.size(); ++i)
        if (sources_[i].bytes && &sources_[i] != handed_out_) --reports[i].frames;
    return reports;
}

}  // namespace zelfctl
