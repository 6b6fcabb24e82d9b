// Creation and layout of the two segments.
#pragma once

#include "core/descriptor.h"

namespace zelfdb {

// Where each pool starts in the main segment. 64 bits wide, so that counts too large for a segment show in the end.
struct Layout {
    u64 fil_reserve;
    u64 port;
    u64 stream;
    u64 queue;
    u64 vlan;
    u64 phport;
    u64 classify;
    u64 action;
    u64 end;
};

Layout layout_of(u32 nport, u32 nvlan, u32 nfil);

// Makes the FDB segment and threads its records; 0 or -1.
int initial_fdb(Base main, u32 nfil);

// Lays out one empty filtering database. The descriptor is not used: it belongs to the form that callers share.
void init_fdb(const Descriptor* descriptor, FdbHead& fdb, u32 kind, u32 FID);

}  // namespace zelfdb
