// The two binary locks, one System V semaphore each: 1 = free, 0 = held. Taken main first, then FDB.
// Only the call frame (core/call.h) takes and gives them; only zelfdb_init makes them.
//
// Nothing is cached: every call finds the semaphore by its key. A failure is printed and the caller goes on without the
// lock, which is deliberate: an operation is not refused because of its lock. SEM_UNDO gives back what a dead process held.
#pragma once

namespace zelfdb {

void init_critical();
void init_critical_fdb();

// Waits until the lock is free. Before zelfdb_init this makes a lock that is held by nobody and waits for ever.
void begin_critical();
void end_critical();
void begin_critical_fdb();
void end_critical_fdb();

}  // namespace zelfdb
