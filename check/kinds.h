// Tables of what there is: each kind of record with its pool, list and index. Whoever goes through a whole database, to look
// or to mend, goes by these.
#pragma once

#include "check/finding.h"
#include "core/lists.h"
#include "core/pools.h"

namespace zelfdb::audit {

// What a kind is called, and what counts its records in use (null: nothing does).
struct KindNames {
    const char* one;
    const char* pool;
    const char* free_list;
    const char* list;
    const char* slot;
    u32 Header::*total;
    const char* total_name;
    Severity beyond_index;  // how bad an ID is that is larger than look-ups go
};

template <class PoolOf, class ListOf, class IndexOf>
struct Kind {
    KindNames names;
    PoolOf pool;
    ListOf list;
    IndexOf index;
};
template <class PoolOf, class ListOf, class IndexOf>
Kind(KindNames, PoolOf, ListOf, IndexOf) -> Kind<PoolOf, ListOf, IndexOf>;

inline constexpr Kind kind_phport{
    KindNames{"physical port %d", "physical port records", "free physical port list", "physical port list",
              "physical port index slot %d", nullptr, "", Severity::error},
    phport_pool, all_phports, phport_index};
inline constexpr Kind kind_port{KindNames{"port %d", "port records", "free port list", "port list",
                                          "port index slot %d", &Header::port_count, "port_count", Severity::notice},
                                port_pool, all_ports, port_index};
inline constexpr Kind kind_stream{
    KindNames{"stream %d", "stream records", "free stream list", "stream list", "stream index slot %d",
              &Header::stream_total, "stream_total", Severity::notice},
    stream_pool, all_streams, stream_index};
inline constexpr Kind kind_queue{
    KindNames{"queue %d", "queue records", "free queue list", "queue list", "queue index slot %d", &Header::queue_total,
              "queue_total", Severity::notice},
    queue_pool, all_queues, queue_index};
inline constexpr Kind kind_vlan{KindNames{"VLAN %d", "VLAN records", "free VLAN list", "VLAN list",
                                          "VLAN index slot %d", &Header::vlan_count, "vlan_count", Severity::error},
                                vlan_pool, all_vlans, vlan_index};
inline constexpr Kind kind_classify{KindNames{"profile %d", "profile records", "free profile list", "profile list",
                                              "profile index slot %d", nullptr, "", Severity::notice},
                                    classify_pool, all_classifies, classify_index};

}  // namespace zelfdb::audit
