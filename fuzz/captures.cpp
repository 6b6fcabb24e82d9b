// Any bytes as a capture file, read as zelfctl feed reads it and fed into the software NP: refused, or each frame handed out
// once, whole and in the order of time, or counted as skipped.
//
// The input's first byte says how many ports receive the file; the rest is the file.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "captures.h"
#include "switch.h"

namespace {

using namespace fuzz;

// A file that no disk holds.
class MemoryFile {
public:
    MemoryFile() : file_(memfd_create("capture", 0))
    {
        if (file_ < 0) found("no memory for a file");
        path_ = "/proc/self/fd/" + std::to_string(file_);
    }
    void hold(const u8* bytes, std::size_t size_bytes)
    {
        if (ftruncate(file_, 0) != 0 || pwrite(file_, bytes, size_bytes, 0) != static_cast<ssize_t>(size_bytes))
            found("a file of %zu bytes cannot be written", size_bytes);
    }
    [[nodiscard]] const std::string& path() const { return path_; }

private:
    int file_;
    std::string path_;
};

Switch& the_switch()
{
    static Switch all;
    return all;
}

// The sum of all bytes, so that each of them is read.
u32 sum_of(const zelfctl::CapturedFrame& frame)
{
    u32 sum = 0;
    for (u32 i = 0; i < frame.length; ++i) sum += frame.bytes[i];
    return sum;
}

void feed(const zelfctl::CapturedFrame& frame)
{
    softnp_verdict verdict{};
    const auto tick_ms = static_cast<u32>(frame.time_ns / 1000000 & 0xFFFFFFFF);
    if (softnp_receive(softnp_np_port(frame.port_id), frame.bytes, frame.length, tick_ms, &verdict) != 0)
        found("the device is gone");
    the_switch().learn_all();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size)
{
    static MemoryFile file;
    static volatile u32 all_sums = 0;
    if (size == 0) return 0;
    file.hold(data + 1, size - 1);
    std::vector<zelfctl::CaptureFile> files;
    for (u32 port_id = 1; port_id <= 1u + data[0] % 3; ++port_id) files.push_back({port_id, file.path()});

    the_switch().make_anew();
    zelfctl::Captures captures;
    std::string error;
    if (!captures.open(files, error)) {
        if (error.empty()) found("refused without a reason");
        return 0;
    }
    u64 frames = 0;
    i64 time_ns = 0;
    while (const auto frame = captures.next()) {
        if (frame->time_ns < time_ns) found("time runs backwards");
        time_ns = frame->time_ns;
        all_sums = all_sums + sum_of(*frame);
        ++frames;
        feed(*frame);
    }
    u64 counted = 0;
    u64 met = 0;
    for (const zelfctl::CaptureReport& report : captures.reports()) {
        counted += report.frames;
        met = std::max(met, report.frames + report.cut_short);
        if (report.bad_times > report.frames) found("more bad times than frames");
    }
    if (counted != frames)
        found("%llu frames handed out, %llu counted", static_cast<unsigned long long>(frames),
              static_cast<unsigned long long>(counted));
    // No kind of record is shorter than 16 bytes.
    if (met > size / 16) found("%llu frames in %zu bytes", static_cast<unsigned long long>(met), size);
    the_switch().expect_sound("this capture");
    the_switch().expect_same_entries();
    return 0;
}
