// What the export does to its file: each unlink and each fsync of this program, seen at the moment of the call.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace files {

struct Removal {
    std::string path;
    bool existed;
    int main_lock;  // the semaphore's value: 0 = held
};
struct Sync {
    int descriptor;
    std::string path;
    std::string content;
    int main_lock;
};

std::vector<Removal>& removals();
std::vector<Sync>& syncs();
void forget();

// The exports' files that a process has open.
std::vector<std::string> open_exports(pid_t process);
std::string content_of(const std::string& path);
bool exists(const std::string& path);
// How many descriptors this process has open.
std::size_t open_descriptors();

}  // namespace files
