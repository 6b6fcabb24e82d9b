#include "site.h"

#include <sys/shm.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/namespace.h"

namespace fuzz {
namespace {

void* attach(int key)
{
    const int id = shmget(key, 0, 0);
    void* const segment = id < 0 ? reinterpret_cast<void*>(-1) : shmat(id, nullptr, 0);
    if (segment == reinterpret_cast<void*>(-1)) found("segment %#x cannot be attached", static_cast<unsigned>(key));
    return segment;
}

}  // namespace

void found(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    std::fputs("found: ", stderr);
    std::vfprintf(stderr, format, arguments);
    std::fputc('\n', stderr);
    va_end(arguments);
    std::abort();
}

void silence_output()
{
    if (!std::freopen("/dev/null", "w", stdout)) found("standard output cannot be silenced");
}

Site::Site(const zelfdb_counts& counts) : counts_(counts)
{
    if (!enter_ipc_namespace()) found("no IPC namespace of our own");
    silence_output();
    if (zelfdb_init(&counts_) != 0) found("the database cannot be laid out");
    main_ = static_cast<u8*>(attach(main_key));
    fdb_ = static_cast<u8*>(attach(fdb_key));
    fresh_main_.assign(main_, main_ + layout_of(counts.nport, counts.nvlan, counts.nfil).end);
    fresh_fdb_.assign(fdb_, fdb_ + std::size_t{counts.nfil} * sizeof(Fil));
    open_descriptor();
}

void Site::restore()
{
    std::memcpy(main_, fresh_main_.data(), fresh_main_.size());
    std::memcpy(fdb_, fresh_fdb_.data(), fresh_fdb_.size());
}

void Site::expect_sound(const char* after) const
{
    const Report report = check(segments());
    if (report.errors == 0) return;
    for (const Finding& finding : report.findings)
        if (finding.severity == Severity::error) std::fprintf(stderr, "%s\n", text_of(finding).c_str());
    found("%llu errors in the database after %s", static_cast<unsigned long long>(report.errors), after);
}

void Site::close_descriptor()
{
    zelfdb_close_descriptor(descriptor_);
    descriptor_ = nullptr;
}

void Site::open_descriptor()
{
    descriptor_ = zelfdb_open_descriptor();
    if (!descriptor_) found("no descriptor");
}

}  // namespace fuzz
