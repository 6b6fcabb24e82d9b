// The one device: how a process reaches its state and holds its lock. Called by every file that implements vf.h or
// softnp.h.
#pragma once

#include "state.h"

namespace softnp {

// Attaches the device, made if absent, or counts one more user of it in this process.
// Null if it cannot be reached. Each success is given back with detach.
State* attach();
void detach();

// The device that this process is attached to; null if none.
State* attached();

// A holder keeps the lock for microseconds; one that was stopped, or died unnoticed, may keep it for ever.
inline constexpr u32 LOCK_TIMEOUT_MS = 20000;

// Holds the device's lock from construction to destruction. Null state: the lock was not to be had in that time.
struct DeviceLock {
    explicit DeviceLock(State* device, u32 timeout_ms = LOCK_TIMEOUT_MS);
    ~DeviceLock();
    DeviceLock(const DeviceLock&) = delete;
    DeviceLock& operator=(const DeviceLock&) = delete;

    State* state;
};

// One use of the device.
struct Attachment {
    Attachment() : state(attach()) {}
    ~Attachment()
    {
        if (state) detach();
    }
    Attachment(const Attachment&) = delete;
    Attachment& operator=(const Attachment&) = delete;

    State* state;
};

// The device attached and locked: what a function of softnp.h works with. Test it before use.
struct Access {
    Access() : lock(attachment.state) {}

    explicit operator bool() const { return lock.state != nullptr; }
    State& operator*() const { return *lock.state; }
    State* operator->() const { return lock.state; }

    Attachment attachment;
    DeviceLock lock;  // given back before the attachment
};

// Makes all derived parts of the state agree with the rest again, after a process died while it held the lock.
void rebuild(State& state);

// An empty device, its header kept.
void wipe(State& state);

}  // namespace softnp
