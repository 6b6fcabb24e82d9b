// A small database with something of everything, and every kind of operation that changes one.
#pragma once

#include <vector>

#include "core/descriptor.h"
#include "crash/stepping.h"

namespace crash {

// Made by the operations alone.
class Site {
public:
    Site();
    ~Site();
    Site(const Site&) = delete;
    Site& operator=(const Site&) = delete;

    [[nodiscard]] Attached segments() const;
    [[nodiscard]] Descriptor* descriptor() const { return descriptor_; }
    // Counts as a failure of the test when it is not granted.
    static void done(int result);
    void learn(u32 port_id, u8 station, u32 tick_ms = 0) const;

private:
    void furnish() const;
    Descriptor* descriptor_ = nullptr;
};

struct Operation {
    const char* name;
    // What the operation needs beside the furnished database.
    void (*prepare)(const Site& site);
    // Its result.
    int (*perform)(const Site& site);
};

const std::vector<Operation>& operations();

}  // namespace crash
