// The system as the library sees it in a fuzz target: pauses that do not last, a clock that the target sets, no system log,
// and temporary files that no disk holds.
#include <sys/mman.h>
#include <sys/time.h>
#include <unistd.h>

#include "site.h"

namespace {

zelfdb::u32 now_s = 0;
int document = -1;

}  // namespace

void fuzz::set_time_s(u32 seconds) { now_s = seconds; }

std::string fuzz::last_document()
{
    std::string text;
    char part[4096];
    for (ssize_t got = 1; got > 0;) {
        got = pread(document, part, sizeof part, static_cast<off_t>(text.size()));
        if (got > 0) text.append(part, static_cast<std::size_t>(got));
    }
    return text;
}

extern "C" {

unsigned sleep(unsigned) { return 0; }

int gettimeofday(timeval* now, void*) noexcept
{
    *now = {};
    now->tv_sec = static_cast<time_t>(now_s);
    return 0;
}

void syslog(int, const char*, ...) {}
void __syslog_chk(int, int, const char*, ...) {}  // NOLINT(bugprone-reserved-identifier)

int mkstemp(char*)
{
    if (document >= 0) close(document);
    const int file = memfd_create("document", 0);
    document = dup(file);
    return file;
}

}  // extern "C"
