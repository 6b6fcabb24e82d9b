// Memory with nothing readable behind it: whoever reads on, the C library included, ends the program. Also used without
// GoogleTest, by the fuzz targets.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

namespace zelfdb {

// Zeros at first; of at most a page.
class EdgeOfMemory {
public:
    explicit EdgeOfMemory(std::size_t size)
        : size_(size),
          page_size_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
          pages_(mmap(nullptr, 2 * page_size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))
    {
        if (pages_ == MAP_FAILED || mprotect(first_page() + page_size_, page_size_, PROT_NONE) != 0) std::abort();
    }
    ~EdgeOfMemory() { munmap(pages_, 2 * page_size_); }
    EdgeOfMemory(const EdgeOfMemory&) = delete;
    EdgeOfMemory& operator=(const EdgeOfMemory&) = delete;

    [[nodiscard]] char* get() const { return first_page() + page_size_ - size_; }

private:
    [[nodiscard]] char* first_page() const { return static_cast<char*>(pages_); }

    std::size_t size_;
    std::size_t page_size_;
    void* pages_;
};

}  // namespace zelfdb
