// Proofs of the caller records' layout. Their bytes are read by programs built elsewhere.
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

RECORD_IS(zelfdb_port_param, 10);
FIELD_AT(zelfdb_port_param, p_flag, 0);
FIELD_AT(zelfdb_port_param, p_type, 2);
FIELD_AT(zelfdb_port_param, pri, 3);
FIELD_AT(zelfdb_port_param, phport, 4);
FIELD_AT(zelfdb_port_param, pad5, 5);
FIELD_AT(zelfdb_port_param, tagtype, 6);
FIELD_AT(zelfdb_port_param, PVID, 8);

RECORD_IS(zelfdb_prot_binding, 4);
FIELD_AT(zelfdb_prot_binding, group, 0);
FIELD_AT(zelfdb_prot_binding, VID, 2);

RECORD_IS(zelfdb_policing, 12);
FIELD_AT(zelfdb_policing, color, 0);
FIELD_AT(zelfdb_policing, pad1, 1);
FIELD_AT(zelfdb_policing, rate, 4);
FIELD_AT(zelfdb_policing, burst, 8);

RECORD_IS(zelfdb_port_member, 12);
FIELD_AT(zelfdb_port_member, VID, 0);
FIELD_AT(zelfdb_port_member, pv_flag, 4);
FIELD_AT(zelfdb_port_member, tagtype, 8);

RECORD_IS(zelfdb_port_info, 992);
FIELD_AT(zelfdb_port_info, port_id, 0);
FIELD_AT(zelfdb_port_info, p_flag, 4);
FIELD_AT(zelfdb_port_info, p_type, 6);
FIELD_AT(zelfdb_port_info, pri, 7);
FIELD_AT(zelfdb_port_info, phport, 8);
FIELD_AT(zelfdb_port_info, pad9, 9);
FIELD_AT(zelfdb_port_info, tagtype, 10);
FIELD_AT(zelfdb_port_info, PVID, 12);
FIELD_AT(zelfdb_port_info, pad14, 14);
FIELD_AT(zelfdb_port_info, npg, 16);
FIELD_AT(zelfdb_port_info, prot, 20);
FIELD_AT(zelfdb_port_info, policing, 52);
FIELD_AT(zelfdb_port_info, cosmap, 148);
FIELD_AT(zelfdb_port_info, valbit, 180);
FIELD_AT(zelfdb_port_info, optate, 184);
FIELD_AT(zelfdb_port_info, aging_s, 188);
FIELD_AT(zelfdb_port_info, sldbkr_on, 192);
FIELD_AT(zelfdb_port_info, sldbkr_state, 196);
FIELD_AT(zelfdb_port_info, def_spno, 200);
FIELD_AT(zelfdb_port_info, def_pri, 204);
FIELD_AT(zelfdb_port_info, def_color, 208);
FIELD_AT(zelfdb_port_info, bw_calc_mode, 212);
FIELD_AT(zelfdb_port_info, link_frames_fwd, 216);
FIELD_AT(zelfdb_port_info, nmember, 220);
FIELD_AT(zelfdb_port_info, member, 224);

RECORD_IS(zelfdb_red, 4);
FIELD_AT(zelfdb_red, min_thresh, 0);
FIELD_AT(zelfdb_red, max_thresh, 1);
FIELD_AT(zelfdb_red, min_drop, 2);
FIELD_AT(zelfdb_red, max_drop, 3);

RECORD_IS(zelfdb_stream_class, 20);
FIELD_AT(zelfdb_stream_class, np_word, 0);
FIELD_AT(zelfdb_stream_class, np_second, 4);
FIELD_AT(zelfdb_stream_class, red, 8);

RECORD_IS(zelfdb_stream_info, 284);
FIELD_AT(zelfdb_stream_info, streamno, 0);
FIELD_AT(zelfdb_stream_info, portno, 4);
FIELD_AT(zelfdb_stream_info, sno_port, 8);
FIELD_AT(zelfdb_stream_info, priority, 12);
FIELD_AT(zelfdb_stream_info, qos_type, 16);
FIELD_AT(zelfdb_stream_info, minrate, 20);
FIELD_AT(zelfdb_stream_info, minburst, 24);
FIELD_AT(zelfdb_stream_info, maxrate, 28);
FIELD_AT(zelfdb_stream_info, maxburst, 32);
FIELD_AT(zelfdb_stream_info, np_first, 36);
FIELD_AT(zelfdb_stream_info, np_second, 40);
FIELD_AT(zelfdb_stream_info, nactive, 44);
FIELD_AT(zelfdb_stream_info, queue_sizes, 48);
FIELD_AT(zelfdb_stream_info, queue_lengths, 52);
FIELD_AT(zelfdb_stream_info, row, 56);
FIELD_AT(zelfdb_stream_info, tosmap_bits, 216);
FIELD_AT(zelfdb_stream_info, tos_value, 220);
FIELD_AT(zelfdb_stream_info, tos_mask, 252);

RECORD_IS(zelfdb_match8, 4);
FIELD_AT(zelfdb_match8, value, 0);
FIELD_AT(zelfdb_match8, range_end, 1);
FIELD_AT(zelfdb_match8, mask, 2);
FIELD_AT(zelfdb_match8, ranged, 3);

RECORD_IS(zelfdb_match16, 8);
FIELD_AT(zelfdb_match16, value, 0);
FIELD_AT(zelfdb_match16, range_end, 2);
FIELD_AT(zelfdb_match16, mask, 4);
FIELD_AT(zelfdb_match16, ranged, 6);

RECORD_IS(zelfdb_match32, 16);
FIELD_AT(zelfdb_match32, value, 0);
FIELD_AT(zelfdb_match32, range_end, 4);
FIELD_AT(zelfdb_match32, mask, 8);
FIELD_AT(zelfdb_match32, ranged, 12);

RECORD_IS(zelfdb_match_ext, 8);
FIELD_AT(zelfdb_match_ext, value, 0);
FIELD_AT(zelfdb_match_ext, mask, 4);

RECORD_IS(zelfdb_classify_line, 120);
FIELD_AT(zelfdb_classify_line, mode, 0);
FIELD_AT(zelfdb_classify_line, stream_id, 4);
FIELD_AT(zelfdb_classify_line, class_id, 6);
FIELD_AT(zelfdb_classify_line, colour, 7);
FIELD_AT(zelfdb_classify_line, flags, 8);
FIELD_AT(zelfdb_classify_line, dot1p, 12);
FIELD_AT(zelfdb_classify_line, vlan, 16);
FIELD_AT(zelfdb_classify_line, etype, 24);
FIELD_AT(zelfdb_classify_line, tos, 32);
FIELD_AT(zelfdb_classify_line, proto, 36);
FIELD_AT(zelfdb_classify_line, src_ip, 40);
FIELD_AT(zelfdb_classify_line, dst_ip, 56);
FIELD_AT(zelfdb_classify_line, src_port, 72);
FIELD_AT(zelfdb_classify_line, dst_port, 80);
FIELD_AT(zelfdb_classify_line, ext, 88);

RECORD_IS(zelfdb_protgroup, 20);
FIELD_AT(zelfdb_protgroup, group, 0);
FIELD_AT(zelfdb_protgroup, nprot, 2);
FIELD_AT(zelfdb_protgroup, prot, 4);

RECORD_IS(zelfdb_protgroup_info, 164);
FIELD_AT(zelfdb_protgroup_info, count, 0);
FIELD_AT(zelfdb_protgroup_info, group, 4);

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
