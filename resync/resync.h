// An NP that restarted knows nothing, one that refused something knows less than the database. Here the whole database is
// sent to the one, and what differs is found and mended in the other. Both locks are held throughout, main first; the
// database is read and never changed. Called by the tool, and by a platform's own start-up.
#pragma once

#include "resync/fix.h"

namespace zelfdb {

struct ResyncReport {
    u64 commands = 0;
    std::vector<Refusal> refused;
    std::vector<Object> skipped;      // need something that was refused
    std::vector<u32> unmapped_ports;  // the NP has no numbers for them
    std::vector<Object> untold;       // memberships by protocol of which the database does not know the group
};

// For an NP that holds nothing. Prefilter and loc lists are only in the NP: they are lost with it.
ResyncReport resync(const Descriptor& d);

// Reads the whole state of an NP; false if it cannot.
using ReadNp = bool (*)(Found& found);

struct AuditReport {
    bool read = true;  // false: the state was to be read and could not be, and nothing else was done
    u64 entries = 0;   // asked for
    std::vector<Difference> findings;
    // With fix, if there was something to mend:
    u64 commands = 0;
    std::vector<Refusal> refused;
    std::vector<Object> skipped;
    std::vector<Difference> left;
};

enum class Fix { no, yes };

// read_np: null for an NP that answers only for single entries.
AuditReport audit(const Descriptor& d, ReadNp read_np, Fix mend);

}  // namespace zelfdb
