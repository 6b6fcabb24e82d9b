// What the tests of the forwarding database share: a database with ports and VLANs at hand, the NP's view of an entry in its
// own words, the locks that were moved, and a copy of the bytes into which a test writes what it expects.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "core/chains.h"
#include "core/lists.h"
#include "fdb/entries.h"
#include "fdb/learning.h"
#include "fdb/listing.h"
#include "support/database.h"

namespace zelfdb {

// A number, an address and the commands about entries, as the recording NP writes them down.
std::string text(u32 number);
std::string text(const Mac& mac);
std::string add_line(u32 FID, const Mac& mac, u32 np_port, u32 cookie, u32 flag = 0);
std::string remove_line(u32 FID, const Mac& mac);
std::string find_line(u32 FID, const Mac& mac);
// One command that removes all of them.
std::string batch_line(u32 FID, const std::vector<Mac>& macs);

// What the clock says when a test begins that looks at when entries were seen.
inline constexpr u32 start_s = 10000;

// The counters of one database, and those of all together.
struct Counts {
    u32 nfil;
    u32 nfil_d;
    u32 nfil_usr;
    u32 nfil_sys;
    bool operator==(const Counts&) const = default;
};
void PrintTo(const Counts& counts, std::ostream* out);
struct Totals {
    u32 usr;
    u32 sys;
    bool operator==(const Totals&) const = default;
};
void PrintTo(const Totals& totals, std::ostream* out);

// The NP refuses a command about an entry in one of three ways. The command of the last is freed, the others are kept.
enum class Refusal { delivery, status, answer };
inline constexpr Refusal refusals[] = {Refusal::delivery, Refusal::status, Refusal::answer};
const char* name_of(Refusal how);
// The next command of that kind: addFDB or removeFDB. The answer holds until it is answered otherwise.
void refuse(const std::string& kind, Refusal how);
void accept(const std::string& kind);

using Locks = std::vector<std::string>;
inline const Locks main_lock = {"main-", "main+"};
inline const Locks both_locks = {"main-", "fdb-", "fdb+", "main+"};
inline const Locks both_locks_main_back_first = {"main-", "fdb-", "main+", "fdb+"};

// Every way in which an operation can be left without a descriptor of its own.
struct DescriptorFailure {
    const char* name;
    void (*arrange)();
    bool NP;  // only matters to operations that talk to the NP
};
extern const std::vector<DescriptorFailure> descriptor_failures;

// Equal byte for byte; says where not.
testing::AssertionResult same(const Snapshot& expected, const Snapshot& actual);

class Fdb : public Database {
protected:
    Fdb() = default;
    Fdb(u32 nport, u32 nvlan, u32 nfil) : Database(nport, nvlan, nfil) {}

    // A port that learns and admits everything, with ingress filtering and no PVID.
    Port& given_open_port(u32 port_id);
    // Takes every free record but so many out of the pool, as adds that the NP refused leave them.
    void given_free_records(u32 count);
    // Writes a whole state back, for one test to try several things on it.
    void restore(const Snapshot& snapshot);

    [[nodiscard]] static Counts counts(const FdbHead& table);
    [[nodiscard]] Totals totals() const { return {header().nfil_usr_all, header().nfil_sys_all}; }
    [[nodiscard]] FdbHead& table(u32 vid) const { return vlan(vid)->fdb; }
    [[nodiscard]] FdbHead& own_table(u32 port_id) const { return port(port_id)->fdb; }
    [[nodiscard]] Fil* fil(u32 vid, const Mac& mac) const { return Database::fil(table(vid), mac); }
    [[nodiscard]] Fil& record(u32 offset) const { return record_at<Fil>(fdb(), Offset{offset}); }
    // Addresses of a chain, from its head.
    [[nodiscard]] std::vector<std::string> chain_of(const FdbHead& table, u32 bucket) const;
    [[nodiscard]] std::vector<u32> free_records() const { return offsets<&Fil::link>(fdb(), header().fil_free); }

    // The live record's place in a snapshot.
    template <class Record>
    Record& in(Snapshot& snapshot, const Record& live) const
    {
        return record_at<Record>(Base{snapshot.main.data()}, offset_of(base(), live));
    }
    Fil& in(Snapshot& snapshot, const Fil& live) const
    {
        return record_at<Fil>(Base{snapshot.fdb.data()}, offset_of(fdb(), live));
    }
    Header& header_in(Snapshot& snapshot) const { return in(snapshot, header()); }

    int learn(u32 port_id, const Mac& source, u32 tick_ms = 0, u32 cookie = 0xFFFFFFFF) const;
    int learn_frame(const FrameBytes& frame, const zelfdb_learn_ind& ind) const;
    // Learns what is known already under the cookie that the NP has for it.
    int learn_again(u32 vid, u32 port_id, const Mac& source, u32 tick_ms = 0) const;

    // Locks moved since the last call, e.g. "main-", "fdb-", "fdb+", "main+". All of them are undone at the process's end.
    static Locks locks();
    // What was sent and which locks were moved up to here is not looked at.
    static void forget();
    // A listing's buffer, every byte of its records set to 0xAA, that frees itself.
    struct FreeBuffer {
        void operator()(zelfdb_ropebuf* buffer) const { zelfdb_free_ropebuf(buffer); }
    };
    using Buffer = std::unique_ptr<zelfdb_ropebuf, FreeBuffer>;
    static Buffer buffer_of(u32 capacity, u32 record_size = sizeof(zelfdb_fdb_record));
};

}  // namespace zelfdb
