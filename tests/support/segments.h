// For tests that make many databases in one process, each of which stays attached: 32 bits of addresses run out.
#pragma once

#include <sys/shm.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace zelfdb {

// Detaches all that the process has of databases. No descriptor may be open.
inline void detach_segments()
{
    std::vector<std::uintptr_t> starts;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        if (line.find("/SYSV5a454c0") != std::string::npos)  // their two keys
            starts.push_back(static_cast<std::uintptr_t>(std::strtoull(line.c_str(), nullptr, 16)));
    for (const std::uintptr_t start : starts) shmdt(reinterpret_cast<const void*>(start));
}

}  // namespace zelfdb
