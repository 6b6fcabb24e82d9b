#include "whole_io.h"

#include <unistd.h>

#include <cerrno>

namespace zelfctl {

bool write_all(int file, const void* bytes, std::size_t count)
{
    const char* at = static_cast<const char*>(bytes);
    while (count != 0) {
        const ssize_t written = write(file, at, count);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        at += written;
        count -= static_cast<std::size_t>(written);
    }
    return true;
}

bool read_all(int file, void* bytes, std::size_t count)
{
    char* at = static_cast<char*>(bytes);
    while (count != 0) {
        const ssize_t got = read(file, at, count);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        at += got;
        count -= static_cast<std::size_t>(got);
    }
    return true;
}

bool read_to_end(int file, std::string& text)
{
    char bytes[65536];
    for (;;) {
        const ssize_t got = read(file, bytes, sizeof bytes);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return got == 0;
        text.append(bytes, static_cast<std::size_t>(got));
    }
}

}  // namespace zelfctl
