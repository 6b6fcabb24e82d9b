// Proofs of the caller records' layout. Their bytes are read by programs built elsewhere.
#pragma once

#include "core/types.h"
#include "zelfdb/vf.h"
#include "zelfdb/zelfdb.h"

namespace zelfdb {

RECORD_IS(zelfdb_counts, 12);
FIELD_AT(zelfdb_counts, nport, 0);
FIELD_AT(zelfdb_counts, nvlan, 4);
FIELD_AT(zelfdb_counts, nfil, 8);

RECORD_IS(zelfdb_summary, 16);
FIELD_AT(zelfdb_summary, lowest_vid, 0);
FIELD_AT(zelfdb_summary, highest_vid, 4);
FIELD_AT(zelfdb_summary, vlan_capacity, 8);
FIELD_AT(zelfdb_summary, vlan_count, 12);

RECORD_IS(zelfdb_history, 28);
FIELD_AT(zelfdb_history, ports_created, 0);
FIELD_AT(zelfdb_history, ports_deleted, 4);
FIELD_AT(zelfdb_history, vlans_created, 8);
FIELD_AT(zelfdb_history, vlans_deleted, 12);
FIELD_AT(zelfdb_history, unused, 16);
FIELD_AT(zelfdb_history, ports_added_to_vlans, 20);
FIELD_AT(zelfdb_history, ports_removed_from_vlans, 24);

// Lives in one process only, so its pointer has that process's width: 20 bytes where pointers have 32 bits.
RECORD_IS(zelfdb_ropebuf, 16 + sizeof(void*));
FIELD_AT(zelfdb_ropebuf, capacity, 0);
FIELD_AT(zelfdb_ropebuf, record_size, 4);
FIELD_AT(zelfdb_ropebuf, total, 8);
FIELD_AT(zelfdb_ropebuf, filled, 12);
FIELD_AT(zelfdb_ropebuf, records, 16);

RECORD_IS(zelfdb_cursor, 8);
FIELD_AT(zelfdb_cursor, calls, 0);
FIELD_AT(zelfdb_cursor, key, 4);

RECORD_IS(zelfdb_fdb_cursor, 12);
FIELD_AT(zelfdb_fdb_cursor, calls, 0);
FIELD_AT(zelfdb_fdb_cursor, mac, 4);
FIELD_AT(zelfdb_fdb_cursor, pad, 10);

RECORD_IS(zelfdb_fdb_record, 20);
FIELD_AT(zelfdb_fdb_record, bucket, 0);
FIELD_AT(zelfdb_fdb_record, mac, 4);
FIELD_AT(zelfdb_fdb_record, flag, 10);
FIELD_AT(zelfdb_fdb_record, permit, 11);
FIELD_AT(zelfdb_fdb_record, port, 12);
FIELD_AT(zelfdb_fdb_record, age_s, 16);

RECORD_IS(zelfdb_learn_ind, 14);
FIELD_AT(zelfdb_learn_ind, pad0, 0);
FIELD_AT(zelfdb_learn_ind, port, 2);
FIELD_AT(zelfdb_learn_ind, pad4, 4);
FIELD_AT(zelfdb_learn_ind, tick_ms, 6);
FIELD_AT(zelfdb_learn_ind, cookie, 10);

RECORD_IS(zelfdb_phinfo, 12);
FIELD_AT(zelfdb_phinfo, phport, 0);
FIELD_AT(zelfdb_phinfo, shaping_rate, 4);
FIELD_AT(zelfdb_phinfo, shaping_param2, 8);

RECORD_IS(zelfdb_vlan_member, 16);
FIELD_AT(zelfdb_vlan_member, port_id, 0);
FIELD_AT(zelfdb_vlan_member, p_type, 4);
FIELD_AT(zelfdb_vlan_member, pv_flag, 8);
FIELD_AT(zelfdb_vlan_member, tagtype, 12);

RECORD_IS(zelfdb_vlan_info, 184);
FIELD_AT(zelfdb_vlan_info, name, 0);
FIELD_AT(zelfdb_vlan_info, vlan_flag, 32);
FIELD_AT(zelfdb_vlan_info, VID, 36);
FIELD_AT(zelfdb_vlan_info, nmember, 40);
FIELD_AT(zelfdb_vlan_info, nuntagged, 44);
FIELD_AT(zelfdb_vlan_info, npvid, 48);
FIELD_AT(zelfdb_vlan_info, nfil, 52);
FIELD_AT(zelfdb_vlan_info, member, 56);

RECORD_IS(zelfdb_pv_info, 48);
FIELD_AT(zelfdb_pv_info, VID, 0);
FIELD_AT(zelfdb_pv_info, vlan_name, 4);
FIELD_AT(zelfdb_pv_info, port_id, 36);
FIELD_AT(zelfdb_pv_info, pad40, 40);
FIELD_AT(zelfdb_pv_info, pv_flag, 44);
FIELD_AT(zelfdb_pv_info, pv_flag2, 45);
FIELD_AT(zelfdb_pv_info, tagtype, 46);

RECORD_IS(vf_fdb_request, 20);
FIELD_AT(vf_fdb_request, flag, 0);
FIELD_AT(vf_fdb_request, one, 1);
FIELD_AT(vf_fdb_request, FID, 2);
FIELD_AT(vf_fdb_request, mac, 4);
FIELD_AT(vf_fdb_request, port, 10);
FIELD_AT(vf_fdb_request, cookie, 12);
FIELD_AT(vf_fdb_request, zero, 16);
FIELD_AT(vf_fdb_request, port2, 18);

RECORD_IS(vf_actual_rate, 10);
FIELD_AT(vf_actual_rate, streamno, 0);
FIELD_AT(vf_actual_rate, actual_rate, 2);
FIELD_AT(vf_actual_rate, actual_excess, 6);

}  // namespace zelfdb
