// Adding and removing MAC entries, one by one and in batches, in the database and in the NP. Callers hold both locks.
// Results are detail codes where the type is u32.
#pragma once

#include "core/chains.h"
#include "core/descriptor.h"
#include "core/lists.h"
#include "core/pools.h"

namespace zelfdb {

// A caller's six bytes as an address.
inline const Mac& mac_at(const u8* bytes) { return *reinterpret_cast<const Mac*>(bytes); }

// The filtering database that an entry belongs to.
inline FdbHead& fdb_of(const Descriptor& d, const Fil& fil) { return record_at<FdbHead>(main_base(d), fil.offset); }

// Links a filled entry's counters into its database and the global words, or takes them out again.
void count_entry(Header& header, FdbHead& fdb, const Fil& fil);
void uncount_entry(Header& header, FdbHead& fdb, const Fil& fil);

// Unlinks an entry, counts it out and gives its record back. The NP is not told.
void drop_entry(const Descriptor& d, FdbHead& fdb, Fil& fil);

// Removes one entry, looked up by its address if entry is null. 105, 2101 (permit differs), 2102 (type differs), or 0.
u32 rem_fdbentry(const Descriptor& d, u32 type, FdbHead& fdb, const Mac& mac, Fil* entry, u32 permit);

// Adds a LOCAL entry to a port's database: 2001, 2002 or 0.
u32 add_fdbentry_local(const Descriptor& d, FdbHead& fdb, const Mac& mac, u32 flag, u32 permit);

// Adds a STATIC entry to a VLAN's database, over a DYNAMIC one if there is one: 2001, 2002 or 0.
u32 add_fdbentry_static(const Descriptor& d, FdbHead& fdb, const Mac& mac, u32 flag, u32 permit, u32 port);

// Frees one DYNAMIC entry for an empty pool, of the given database if it has any, else of the first VLAN that has. 0.
int evict_one_dynamic(const Descriptor& d, FdbHead& fdb);

inline constexpr u32 batch_max = 40;

struct FilBatch {
    u32 count;
    Fil* entry[batch_max];
};

// Removes the listed entries with one NP command. 0.
int remove_fil_batch(const Descriptor& d, const FilBatch& batch);

// Removes every entry of one type from one database, in batches; sleeps 1 s after every tenth full one, both locks held,
// so that a large clear leaves the NP some air. 0, or -1 if there is no memory for the work list.
int clear_fdb(const Descriptor& d, FdbHead& fdb, u32 type);

}  // namespace zelfdb
