// What floors are built from: the system calls and the memory work that no implementation of the format can do without,
// written out as tightly as they can be. They share the records' layout with the library, and none of its code.
#pragma once

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/time.h>

#include <cstring>

#include "core/descriptor.h"

namespace bench::floors {

using namespace zelfdb;

inline void move(int key, short by)
{
    sembuf operation{0, by, SEM_UNDO};
    semop(semget(key, 1, IPC_CREAT), &operation, 1);
}
inline void take(int key) { move(key, -1); }
inline void give(int key) { move(key, +1); }

inline void take_both()
{
    take(main_key);
    take(fdb_key);
}
inline void give_both()
{
    give(fdb_key);
    give(main_key);
}
inline void give_both_main_first()
{
    give(main_key);
    give(fdb_key);
}

inline u32 clock_s()
{
    timeval now{};
    gettimeofday(&now, nullptr);
    return static_cast<u32>(now.tv_sec);
}

inline u8* attach(int key) { return static_cast<u8*>(shmat(shmget(key, 0, 0), nullptr, SHM_RND)); }

struct Attached {
    u8* main;
    u8* fdb;
    [[nodiscard]] Header& header() const { return *reinterpret_cast<Header*>(main); }
};
inline Attached attach_both() { return {attach(main_key), attach(fdb_key)}; }
inline void detach_both(Attached attached)
{
    shmdt(attached.main);
    shmdt(attached.fdb);
}

// An operation with a descriptor of its own and the main lock, around the work on the records.
template <class Work>
void in_operation(Work work)
{
    const Attached attached = attach_both();
    take(main_key);
    work(attached.main, attached.header());
    give(main_key);
    detach_both(attached);
}

template <class Record>
Record& at(u8* base, Offset offset)
{
    return *reinterpret_cast<Record*>(base + offset.value);
}

inline u32 bucket_of(const Mac& mac)
{
    const u8* const b = mac.byte;
    return static_cast<u32>(b[0] + b[1] + b[2] + b[3] + b[4] + b[5]) & 0xFF;
}

// The entry with that address, or none. The next link is on its way before the address is compared, and is read at the end of
// the loop, where it costs no addition of its own.
inline Offset find(u8* base, Offset head, const Mac& mac)
{
    u32 first = 0;
    u16 last = 0;
    std::memcpy(&first, mac.byte, sizeof first);
    std::memcpy(&last, mac.byte + sizeof first, sizeof last);
    Offset here = head;
    if (here == none) return none;
    Offset next = at<Link>(base, here).next;
    for (;;) {
        const Mac& its = at<Fil>(base, here).mac;
        u32 its_first = 0;
        std::memcpy(&its_first, its.byte, sizeof its_first);
        if (its_first == first) {
            u16 its_last = 0;
            std::memcpy(&its_last, its.byte + sizeof its_first, sizeof its_last);
            if (its_last == last) return here;
        }
        if (next == none) return none;
        here = next;
        next = at<Link>(base, here).next;
    }
}

// Every entry of a chain, in order, the same way.
template <class Body>
void for_chain(u8* base, Offset head, Body body)
{
    if (head == none) return;
    Offset here = head;
    Offset next = at<Link>(base, here).next;
    for (;;) {
        body(at<Fil>(base, here));
        if (next == none) return;
        here = next;
        next = at<Link>(base, here).next;
    }
}

}  // namespace bench::floors
