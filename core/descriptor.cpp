// Opening and closing descriptors.
#include "core/descriptor.h"

#include <sys/shm.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace zelfdb {
namespace {

constexpr int np_attempts = 20;
constexpr unsigned np_pause_s = 10;

bool attach(int key, void*& segment)
{
    const int id = shmget(key, 0, 0);
    if (id < 0) {
        std::puts("libzelfdb: open_descriptor shmget fail");
        return false;
    }
    void* const address = shmat(id, nullptr, SHM_RND);
    if (address == reinterpret_cast<void*>(-1)) {
        std::puts("libzelfdb: open_descriptor shmat fail");
        return false;
    }
    segment = address;
    return true;
}

// The first four bytes of a handle are ours to fill: they head the command traffic of this process.
void prepare_handle(vf_handle* handle)
{
    auto* const bytes = reinterpret_cast<u8*>(handle);
    const u16 zero = 0;
    bytes[0] = 1;
    std::memcpy(bytes + 2, &zero, sizeof zero);
}

bool connect(vf_handle*& NP)
{
    for (int attempt = 1;; ++attempt) {
        NP = vf_init();
        if (NP) break;
        if (attempt == np_attempts) {
            std::puts("libzelfdb: open_descriptor vf_init fail");
            return false;
        }
        sleep(np_pause_s);
    }
    prepare_handle(NP);
    return true;
}

enum class With { database, database_and_NP };

Descriptor* open(With what)
{
    auto* const d = static_cast<Descriptor*>(std::malloc(sizeof(Descriptor)));
    if (!d) {
        std::puts("libzelfdb: open_descriptor malloc fail");
        return nullptr;
    }
    *d = {};
    const bool opened = attach(main_key, d->main_segment) && attach(fdb_key, d->fdb_segment) &&
                        (what == With::database || connect(d->NP));
    if (opened) return d;
    std::free(d);
    return nullptr;
}

}  // namespace

Descriptor* open_descriptor() { return open(With::database_and_NP); }
Descriptor* open_descriptor2() { return open(With::database); }

void close_descriptor(Descriptor* descriptor)
{
    if (!descriptor) return;
    if (descriptor->NP) vf_release(descriptor->NP);
    if (descriptor->main_segment) shmdt(descriptor->main_segment);
    if (descriptor->fdb_segment) shmdt(descriptor->fdb_segment);
    std::free(descriptor);
}

}  // namespace zelfdb

zelfdb_descriptor* zelfdb_open_descriptor(void) { return zelfdb::open_descriptor(); }
zelfdb_descriptor* zelfdb_open_descriptor2(void) { return zelfdb::open_descriptor2(); }
void zelfdb_close_descriptor(zelfdb_descriptor* descriptor) { zelfdb::close_descriptor(descriptor); }
