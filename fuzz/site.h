// What the targets work on: a database in an IPC namespace of its own, laid out once and put back by copying bytes.
#pragma once

#include <cstdarg>
#include <string>
#include <vector>

#include "check/check.h"
#include "core/descriptor.h"
#include "core/segments.h"

namespace fuzz {

using namespace zelfdb;

// Ends the program: a finding. printf's arguments.
[[noreturn, gnu::format(printf, 1, 2)]] void found(const char* format, ...);

// What the library asks of the system, answered by the target: see system.cpp.
void set_time_s(u32 seconds);
// What was written into the last temporary file.
std::string last_document();

// Printouts of the library go where nobody reads them; a target's own words go to standard error.
void silence_output();

class Site {
public:
    explicit Site(const zelfdb_counts& counts);
    ~Site() { close_descriptor(); }
    Site(const Site&) = delete;
    Site& operator=(const Site&) = delete;

    [[nodiscard]] Descriptor& descriptor() const { return *descriptor_; }
    [[nodiscard]] const zelfdb_counts& counts() const { return counts_; }
    // Attached for good, apart from any descriptor.
    [[nodiscard]] u8* main() const { return main_; }
    [[nodiscard]] u8* fdb() const { return fdb_; }
    [[nodiscard]] std::size_t main_bytes() const { return fresh_main_.size(); }
    [[nodiscard]] std::size_t fdb_bytes() const { return fresh_fdb_.size(); }
    [[nodiscard]] Segments segments() const { return {main_, main_bytes(), fdb_, fdb_bytes()}; }

    // Back to the database as it was laid out.
    void restore();

    // Finds it when a check finds an error.
    void expect_sound(const char* after) const;

    // For network processors that are made anew, which they cannot be while a session is open.
    void close_descriptor();
    void open_descriptor();

private:
    zelfdb_counts counts_;
    Descriptor* descriptor_ = nullptr;
    u8* main_ = nullptr;
    u8* fdb_ = nullptr;
    std::vector<u8> fresh_main_;
    std::vector<u8> fresh_fdb_;
};

}  // namespace fuzz
