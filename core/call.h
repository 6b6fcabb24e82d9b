// The frame of an exported operation: a descriptor, the locks, and their return in order on every way out.
#pragma once

#include "core/chains.h"
#include "core/critical.h"
#include "core/descriptor.h"
#include "core/indexes.h"
#include "core/lists.h"
#include "core/pools.h"

namespace zelfdb {

enum class Lock { main, main_and_fdb };

// In which order the locks are given back. All operations but three use the first.
enum class Release { fdb_then_main, main_then_fdb, main_only };

enum class Open { with_NP, database_only };

// Whether the frame takes the locks at once, or the operation says when by enter().
enum class Enter { now, later };

// What an operation that stores 1 into its error word on entry does first. The 1 stays there on success, on purpose:
// callers test the result, not the word.
inline void preset(u32* err) { *err = ZELFDB_NO_DESCRIPTOR; }

class Call {
public:
    // Opens a descriptor of its own and closes it at the end. err may be null: an operation without an error word.
    Call(Lock lock, u32* err, Release release = Release::fdb_then_main, Open open = Open::with_NP,
         Enter enter_when = Enter::now)
        : descriptor_(open == Open::with_NP ? open_descriptor() : open_descriptor2()),
          err_(err),
          lock_(lock),
          release_(release),
          own_(true)
    {
        if (descriptor_ && enter_when == Enter::now) enter();
    }

    // Uses the caller's, which stays open.
    Call(Descriptor* callers, Lock lock, u32* err, Release release = Release::fdb_then_main)
        : descriptor_(callers), err_(err), lock_(lock), release_(release), own_(false)
    {
        enter();
    }

    ~Call()
    {
        if (!descriptor_) return;
        if (entered_) leave();
        if (own_) close_descriptor(descriptor_);
    }

    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    void enter()
    {
        begin_critical();
        if (lock_ == Lock::main_and_fdb) begin_critical_fdb();
        entered_ = true;
    }

    explicit operator bool() const { return descriptor_ != nullptr; }

    [[nodiscard]] int failed() const { return fail(ZELFDB_NO_DESCRIPTOR); }
    [[nodiscard]] int fail(u32 code) const
    {
        tell(code);
        return -1;
    }
    // For operations whose word always receives the final code, 0 on success.
    [[nodiscard]] int finish(u32 code) const
    {
        tell(code);
        return code == ZELFDB_DONE ? 0 : -1;
    }

    [[nodiscard]] Descriptor& descriptor() const { return *descriptor_; }
    [[nodiscard]] Base base() const { return main_base(*descriptor_); }
    [[nodiscard]] Base fdb() const { return fdb_base(*descriptor_); }
    [[nodiscard]] Header& header() const { return header_of(*descriptor_); }

    // By the identifiers of a request.
    [[nodiscard]] Port* port(u32 id) const { return known_port(base(), header(), id); }
    [[nodiscard]] Phport* phport(u32 id) const { return known_phport(base(), header(), id); }
    [[nodiscard]] Vlan* vlan(u32 vid) const { return lookup_vlan(base(), header(), vid & 0xFFFF); }

private:
    void tell(u32 code) const
    {
        if (err_) *err_ = code;
    }
    void leave() const
    {
        const bool both = lock_ == Lock::main_and_fdb;
        if (both && release_ == Release::fdb_then_main) end_critical_fdb();
        end_critical();
        if (both && release_ == Release::main_then_fdb) end_critical_fdb();
    }

    Descriptor* descriptor_;
    u32* err_;
    Lock lock_;
    Release release_;
    bool own_;
    bool entered_ = false;
};

}  // namespace zelfdb
