// What the commands that only ask do: one for each operation that answers a daemon's question. Named by the table of
// commands.
#pragma once

#include <zelfdb/zelfdb.h>

#include "language/outcome.h"
#include "language/pattern.h"

namespace zelfctl {

Outcome query_port_vid(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome query_port_vlans(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome query_port_memberships(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome query_port_streams(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome query_vlan_vid(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome query_vid_vlan(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome query_vlan_ports(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome query_vlan_counts(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome query_stream_queues(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome query_stream_busy(zelfdb_descriptor* descriptor, const Arguments& arguments);

}  // namespace zelfctl
