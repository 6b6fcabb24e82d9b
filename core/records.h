// The records of the two segments, field by field. Their bytes are a contract between processes: nothing here may move.
#pragma once

#include "core/types.h"

namespace zelfdb {

inline constexpr u32 phport_count = 4;
inline constexpr u32 stream_count = 1024;
inline constexpr u32 queue_count = 8192;
inline constexpr u32 classify_count = 64;
inline constexpr u32 action_count = 16384;
inline constexpr u32 pvs_per_vlan = 8;
inline constexpr u32 bucket_count = 256;
inline constexpr u32 class_count = 8;

RECORD_IS(Offset, 4);
FIELD_AT(Offset, value, 0);
RECORD_IS(Link, 8);
FIELD_AT(Link, next, 0);
FIELD_AT(Link, prev, 4);

// ---- Filtering database ----------------------------------------------------------------------------------------------

inline constexpr u32 kind_port_fdb = 1;
inline constexpr u32 kind_vlan_fdb = 4;
inline constexpr u32 port_FID_base = 0xC000;

// One filtering database, embedded in every port (its LOCAL entries) and every VLAN (its STATIC and DYNAMIC ones).
struct FdbHead {
    u32 FID;
    u32 kind;
    u32 nfil;
    u32 nfil_d;
    u32 nfil_usr;
    u32 nfil_sys;
    u32 learnlimit;  // learning stops when nfil, of all types, has reached it; 0 = no limit
    Offset bucket[bucket_count];
};
RECORD_IS(FdbHead, 0x41C);
FIELD_AT(FdbHead, FID, 0x00);
FIELD_AT(FdbHead, kind, 0x04);
FIELD_AT(FdbHead, nfil, 0x08);
FIELD_AT(FdbHead, nfil_d, 0x0C);
FIELD_AT(FdbHead, nfil_usr, 0x10);
FIELD_AT(FdbHead, nfil_sys, 0x14);
FIELD_AT(FdbHead, learnlimit, 0x18);
FIELD_AT(FdbHead, bucket, 0x1C);

inline constexpr u32 fil_local = 1;
inline constexpr u32 fil_static = 2;
inline constexpr u32 fil_dynamic = 3;
inline constexpr u32 permit_system = 1;
inline constexpr u32 fil_flag_no_port = 0x4;

struct Mac {
    u8 byte[6];
};

// One MAC filtering entry. The only kind that lives in the FDB segment; its offset there is the cookie the NP knows.
struct Fil {
    Link link;      // free list, or MAC hash chain
    Offset offset;  // of the owning FdbHead, in the main segment
    u32 port;
    u32 fil_flag;
    u32 fil_type;
    u32 fil_permit;
    Mac mac;
    u8 pad34[2];
    u32 lastValidate;  // NP tick, milliseconds
    u32 last_seen;     // host time, seconds
};
RECORD_IS(Fil, 44);
FIELD_AT(Fil, link, 0);
FIELD_AT(Fil, offset, 8);
FIELD_AT(Fil, port, 12);
FIELD_AT(Fil, fil_flag, 16);
FIELD_AT(Fil, fil_type, 20);
FIELD_AT(Fil, fil_permit, 24);
FIELD_AT(Fil, mac, 28);
FIELD_AT(Fil, pad34, 34);
FIELD_AT(Fil, lastValidate, 36);
FIELD_AT(Fil, last_seen, 40);

// ---- Ports -----------------------------------------------------------------------------------------------------------

struct Phport {
    u16 ID;
    u8 pad2[2];
    Link phport_link;  // free list, or the phport list
    u32 bound;         // 1 while an Ethernet port uses it
    u32 shaping_rate;
    u32 shaping_param2;
};
RECORD_IS(Phport, 24);
FIELD_AT(Phport, ID, 0);
FIELD_AT(Phport, pad2, 2);
FIELD_AT(Phport, phport_link, 4);
FIELD_AT(Phport, bound, 12);
FIELD_AT(Phport, shaping_rate, 16);
FIELD_AT(Phport, shaping_param2, 20);

// "Frames of this protocol group, arriving on the port, belong to this VLAN."
struct ProtBinding {
    u16 group;
    u16 VID;
};
RECORD_IS(ProtBinding, 4);
FIELD_AT(ProtBinding, group, 0);
FIELD_AT(ProtBinding, VID, 2);

inline constexpr u32 prot_bindings_per_port = 8;

struct Policing {
    u8 color;
    u8 pad1[3];
    u32 rate;
    u32 burst;
};
RECORD_IS(Policing, 12);
FIELD_AT(Policing, color, 0);
FIELD_AT(Policing, pad1, 1);
FIELD_AT(Policing, rate, 4);
FIELD_AT(Policing, burst, 8);

inline constexpr u8 port_type_ether = 1;
inline constexpr u8 port_type_vif = 2;

inline constexpr u16 pflag_learn = 0x01;
inline constexpr u16 pflag_forwarding = 0x07;  // the bits that a port which is down must not have
inline constexpr u16 pflag_untagged = 0x10;
inline constexpr u16 pflag_ingress_filter = 0x20;
inline constexpr u16 pflag_tag_aware = 0x40;

inline constexpr u32 optate_down = 0;
inline constexpr u32 optate_up = 1;

inline constexpr u32 sldbkr_idle = 0;
inline constexpr u32 sldbkr_armed = 1;
inline constexpr u32 sldbkr_tripped = 2;

struct Port {
    u32 PortID;
    u16 p_flag;
    u8 p_type;
    u8 pri;
    u8 phport;
    u8 pad9;
    u16 tagtype;
    u16 PVID;
    u8 pad14[2];
    u32 npg;  // entries in use in prot[]
    ProtBinding prot[prot_bindings_per_port];
    Link port_link;  // free list, or the port list
    Link pvid_link;  // the ports with the same PVID
    Offset stream_head;
    Policing policing[class_count];
    u32 cosmap[8];
    u32 valbit;
    u32 uplink;
    u32 optate;
    u32 reserved212;
    u32 aging;  // seconds
    u32 sldbkr_on;
    u32 sldbkr_state;
    u32 def_spno;
    u32 def_pri;
    u32 def_color;
    u32 link_mode;
    u32 link_depend;
    u32 link_depend_list;
    FdbHead fdb;
    u32 npv;
    u32 upv;
    Offset pv_head;
    u32 bw_calc_mode;
    u32 link_frames_fwd;
};
RECORD_IS(Port, 1324);
FIELD_AT(Port, PortID, 0);
FIELD_AT(Port, p_flag, 4);
FIELD_AT(Port, p_type, 6);
FIELD_AT(Port, pri, 7);
FIELD_AT(Port, phport, 8);
FIELD_AT(Port, pad9, 9);
FIELD_AT(Port, tagtype, 10);
FIELD_AT(Port, PVID, 12);
FIELD_AT(Port, pad14, 14);
FIELD_AT(Port, npg, 16);
FIELD_AT(Port, prot, 20);
FIELD_AT(Port, port_link, 0x34);
FIELD_AT(Port, pvid_link, 0x3C);
FIELD_AT(Port, stream_head, 0x44);
FIELD_AT(Port, policing, 72);
FIELD_AT(Port, cosmap, 168);
FIELD_AT(Port, valbit, 200);
FIELD_AT(Port, uplink, 204);
FIELD_AT(Port, optate, 208);
FIELD_AT(Port, reserved212, 212);
FIELD_AT(Port, aging, 216);
FIELD_AT(Port, sldbkr_on, 220);
FIELD_AT(Port, sldbkr_state, 224);
FIELD_AT(Port, def_spno, 228);
FIELD_AT(Port, def_pri, 232);
FIELD_AT(Port, def_color, 236);
FIELD_AT(Port, link_mode, 240);
FIELD_AT(Port, link_depend, 244);
FIELD_AT(Port, link_depend_list, 248);
FIELD_AT(Port, fdb, 0xFC);
FIELD_AT(Port, npv, 1304);
FIELD_AT(Port, upv, 1308);
FIELD_AT(Port, pv_head, 0x520);
FIELD_AT(Port, bw_calc_mode, 1316);
FIELD_AT(Port, link_frames_fwd, 1320);

// ---- VLANs -----------------------------------------------------------------------------------------------------------

inline constexpr u8 pv_tagged = 0x1;
inline constexpr u8 pv_protocol = 0x2;

// One port's membership of one VLAN. On three lists at once: the VLAN's, the port's and the profile's.
struct Pv {
    u16 VID;
    u8 pad2[2];
    u32 port_id;
    Link vlan_link;  // the VLAN's private free list, or its pv list
    Link port_link;
    Link classify_link;
    u8 pv_flag;
    u8 pv_flag2;
    u16 tagtype;
    u32 classify;  // number of the bound profile, 0 = none
    u32 classify_words[4];
};
RECORD_IS(Pv, 56);
FIELD_AT(Pv, VID, 0);
FIELD_AT(Pv, pad2, 2);
FIELD_AT(Pv, port_id, 4);
FIELD_AT(Pv, vlan_link, 8);
FIELD_AT(Pv, port_link, 0x10);
FIELD_AT(Pv, classify_link, 0x18);
FIELD_AT(Pv, pv_flag, 32);
FIELD_AT(Pv, pv_flag2, 33);
FIELD_AT(Pv, tagtype, 34);
FIELD_AT(Pv, classify, 36);
FIELD_AT(Pv, classify_words, 40);

inline constexpr u16 vflag_loop_detection = 0x2;
inline constexpr u16 vflag_ignore_fdb = 0x4;
inline constexpr u16 vflag_learning_off = 0x8;

struct Vlan {
    char name[32];
    u32 npv;
    u32 upv;
    Offset pv_head;
    Offset pv_free;  // the VLAN's own eight membership records, free ones
    u16 VID;
    u16 vlan_flag;
    Link vlan_link;  // free list, or the VLAN list
    Link name_link;
    FdbHead fdb;
    u32 sld_lastMsgTick;
    u32 sld_msgcnt;
};
RECORD_IS(Vlan, 1128);
FIELD_AT(Vlan, name, 0);
FIELD_AT(Vlan, npv, 32);
FIELD_AT(Vlan, upv, 36);
FIELD_AT(Vlan, pv_head, 0x28);
FIELD_AT(Vlan, pv_free, 0x2C);
FIELD_AT(Vlan, VID, 0x30);
FIELD_AT(Vlan, vlan_flag, 50);
FIELD_AT(Vlan, vlan_link, 0x34);
FIELD_AT(Vlan, name_link, 0x3C);
FIELD_AT(Vlan, fdb, 0x44);
FIELD_AT(Vlan, sld_lastMsgTick, 1120);
FIELD_AT(Vlan, sld_msgcnt, 1124);

// What the VLAN pool is made of.
struct VlanSlot {
    Vlan vlan;
    Pv pv[pvs_per_vlan];
};
RECORD_IS(VlanSlot, 1576);
FIELD_AT(VlanSlot, vlan, 0);
FIELD_AT(VlanSlot, pv, 1128);

struct ProtGroup {
    u16 group;
    u16 nprot;
    u16 prot[8];
};
RECORD_IS(ProtGroup, 20);
FIELD_AT(ProtGroup, group, 0);
FIELD_AT(ProtGroup, nprot, 2);
FIELD_AT(ProtGroup, prot, 4);

struct ProtGroupTable {
    u32 count;  // groups in use: the first ones of group[], in creation order
    ProtGroup group[8];
};
RECORD_IS(ProtGroupTable, 164);
FIELD_AT(ProtGroupTable, count, 0);
FIELD_AT(ProtGroupTable, group, 4);

// ---- Streams and queues ----------------------------------------------------------------------------------------------

struct Red {
    u8 min_thresh;
    u8 max_thresh;
    u8 min_drop;
    u8 max_drop;
};
RECORD_IS(Red, 4);
FIELD_AT(Red, min_thresh, 0);
FIELD_AT(Red, max_thresh, 1);
FIELD_AT(Red, min_drop, 2);
FIELD_AT(Red, max_drop, 3);

struct ClassSlot {
    Red red[3];  // green, yellow, red
    Offset queue_head;
};
RECORD_IS(ClassSlot, 16);
FIELD_AT(ClassSlot, red, 0);
FIELD_AT(ClassSlot, queue_head, 12);

struct Stream {
    u8 pad0[32];
    u16 streamno;
    u16 portno;  // 0 = bound to no port
    u8 sno_port;
    u8 priority;
    u8 qos_type;
    u8 pad39;
    u32 minrate;
    u32 minburst;
    u32 maxrate;
    u32 maxburst;
    u32 excess_rate;
    u32 actual_rate;
    u32 actual_excess;
    u32 qos_param;
    u16 qos_param2;
    u8 pad74[2];
    Link stream_link;  // free list, or the stream list
    Link port_link;    // one port's streams
    ClassSlot slot[class_count];
    u32 tosmap_bits;
    u32 tos_value[8];
    u32 tos_mask[8];
};
RECORD_IS(Stream, 288);
FIELD_AT(Stream, pad0, 0);
FIELD_AT(Stream, streamno, 0x20);
FIELD_AT(Stream, portno, 34);
FIELD_AT(Stream, sno_port, 36);
FIELD_AT(Stream, priority, 37);
FIELD_AT(Stream, qos_type, 38);
FIELD_AT(Stream, pad39, 39);
FIELD_AT(Stream, minrate, 40);
FIELD_AT(Stream, minburst, 44);
FIELD_AT(Stream, maxrate, 48);
FIELD_AT(Stream, maxburst, 52);
FIELD_AT(Stream, excess_rate, 56);
FIELD_AT(Stream, actual_rate, 60);
FIELD_AT(Stream, actual_excess, 64);
FIELD_AT(Stream, qos_param, 68);
FIELD_AT(Stream, qos_param2, 72);
FIELD_AT(Stream, pad74, 74);
FIELD_AT(Stream, stream_link, 0x4C);
FIELD_AT(Stream, port_link, 0x54);
FIELD_AT(Stream, slot, 92);
static_assert(offsetof(Stream, slot) + offsetof(ClassSlot, queue_head) == 0x68);
FIELD_AT(Stream, tosmap_bits, 220);
FIELD_AT(Stream, tos_value, 224);
FIELD_AT(Stream, tos_mask, 256);

struct Queue {
    u8 pad0[32];
    u16 streamno;
    u8 class_no;
    u8 pad35;
    u16 queueno;
    u16 size;
    u32 queue_length;
    Link queue_link;   // free list, or the queue list
    Link stream_link;  // the queues of one stream's class slot
    u8 mode;
    u8 pri;
    u8 ratio;
    u8 pad63;
};
RECORD_IS(Queue, 64);
FIELD_AT(Queue, pad0, 0);
FIELD_AT(Queue, streamno, 32);
FIELD_AT(Queue, class_no, 34);
FIELD_AT(Queue, pad35, 35);
FIELD_AT(Queue, queueno, 0x24);
FIELD_AT(Queue, size, 38);
FIELD_AT(Queue, queue_length, 40);
FIELD_AT(Queue, queue_link, 0x2C);
FIELD_AT(Queue, stream_link, 0x34);
FIELD_AT(Queue, mode, 60);
FIELD_AT(Queue, pri, 61);
FIELD_AT(Queue, ratio, 62);
FIELD_AT(Queue, pad63, 63);

// ---- Classification --------------------------------------------------------------------------------------------------

struct Classify {
    u16 ID;
    u8 pad2[2];
    Link classify_link;  // free list, or the profile list
    Offset pv_head;
    u32 naction;
    Offset action_head;
};
RECORD_IS(Classify, 24);
FIELD_AT(Classify, ID, 0);
FIELD_AT(Classify, pad2, 2);
FIELD_AT(Classify, classify_link, 4);
FIELD_AT(Classify, pv_head, 0x0C);
FIELD_AT(Classify, naction, 0x10);
FIELD_AT(Classify, action_head, 0x14);

// One optional match field of a line.
template <class Value>
struct MatchField {
    Value value;
    Value range_end;
    Value mask;  // all ones = none
    Value ranged;
};
RECORD_IS(MatchField<u8>, 4);
FIELD_AT(MatchField<u8>, value, 0);
FIELD_AT(MatchField<u8>, range_end, 1);
FIELD_AT(MatchField<u8>, mask, 2);
FIELD_AT(MatchField<u8>, ranged, 3);
RECORD_IS(MatchField<u16>, 8);
FIELD_AT(MatchField<u16>, value, 0);
FIELD_AT(MatchField<u16>, range_end, 2);
FIELD_AT(MatchField<u16>, mask, 4);
FIELD_AT(MatchField<u16>, ranged, 6);
RECORD_IS(MatchField<u32>, 16);
FIELD_AT(MatchField<u32>, value, 0);
FIELD_AT(MatchField<u32>, range_end, 4);
FIELD_AT(MatchField<u32>, mask, 8);
FIELD_AT(MatchField<u32>, ranged, 12);

struct ExtField {
    u32 value;
    u32 mask;
};
RECORD_IS(ExtField, 8);
FIELD_AT(ExtField, value, 0);
FIELD_AT(ExtField, mask, 4);

// Which fields of a line are present.
inline constexpr u32 match_dot1p = 0x01;
inline constexpr u32 match_vlan = 0x02;
inline constexpr u32 match_etype = 0x04;
inline constexpr u32 match_tos = 0x08;
inline constexpr u32 match_proto = 0x10;
inline constexpr u32 match_src_ip = 0x20;
inline constexpr u32 match_dst_ip = 0x40;
inline constexpr u32 match_src_port = 0x80;
inline constexpr u32 match_dst_port = 0x100;
inline constexpr u32 match_ext = 0x1000000;  // shifted by the extended field's index

inline constexpr u32 line_mode_dot1p = 1;
inline constexpr u32 line_mode_dscp = 2;

struct ClassifyLine {
    u32 mode;
    u16 stream_id;  // counted from 0
    u8 class_id;
    u8 colour;
    u32 flags;
    MatchField<u8> dot1p;
    MatchField<u16> vlan;
    MatchField<u16> etype;
    MatchField<u8> tos;
    MatchField<u8> proto;
    MatchField<u32> src_ip;
    MatchField<u32> dst_ip;
    MatchField<u16> src_port;
    MatchField<u16> dst_port;
    ExtField ext[4];
};
RECORD_IS(ClassifyLine, 120);
FIELD_AT(ClassifyLine, mode, 0);
FIELD_AT(ClassifyLine, stream_id, 4);
FIELD_AT(ClassifyLine, class_id, 6);
FIELD_AT(ClassifyLine, colour, 7);
FIELD_AT(ClassifyLine, flags, 8);
FIELD_AT(ClassifyLine, dot1p, 12);
FIELD_AT(ClassifyLine, vlan, 16);
FIELD_AT(ClassifyLine, etype, 24);
FIELD_AT(ClassifyLine, tos, 32);
FIELD_AT(ClassifyLine, proto, 36);
FIELD_AT(ClassifyLine, src_ip, 40);
FIELD_AT(ClassifyLine, dst_ip, 56);
FIELD_AT(ClassifyLine, src_port, 72);
FIELD_AT(ClassifyLine, dst_port, 80);
FIELD_AT(ClassifyLine, ext, 88);

struct Action {
    Link link;  // free list, or the profile's lines
    u32 position;
    ClassifyLine line;
};
RECORD_IS(Action, 132);
FIELD_AT(Action, link, 0);
FIELD_AT(Action, position, 8);
FIELD_AT(Action, line, 12);

// ---- Mirrors ---------------------------------------------------------------------------------------------------------

inline constexpr u16 mirror_created = 0x1;
inline constexpr u16 mirror_enabled = 0x2;

struct Mirror {
    u16 state;
    u16 source_kind;
    u16 source_port;
    u16 source_VID;
    u16 dest_port;
    u16 classify_class;
    u16 classify_second;
    u16 classify_colour;
    u16 tag_on;
    u16 tag_tagtype;
    u16 tag_VID;
};
RECORD_IS(Mirror, 22);
FIELD_AT(Mirror, state, 0);
FIELD_AT(Mirror, source_kind, 2);
FIELD_AT(Mirror, source_port, 4);
FIELD_AT(Mirror, source_VID, 6);
FIELD_AT(Mirror, dest_port, 8);
FIELD_AT(Mirror, classify_class, 10);
FIELD_AT(Mirror, classify_second, 12);
FIELD_AT(Mirror, classify_colour, 14);
FIELD_AT(Mirror, tag_on, 16);
FIELD_AT(Mirror, tag_tagtype, 18);
FIELD_AT(Mirror, tag_VID, 20);

// ---- Main segment header ---------------------------------------------------------------------------------------------

inline constexpr u32 pvid_chain_count = 8192;
inline constexpr u32 vlan_index_count = 8192;

// Counts first, then for each kind its list head, its free list and its index. The slot of ID k of a kind whose IDs start
// at 1 lies k words after the free-list word that stands before the array.
struct Header {
    u32 nport;
    u32 nvlan;
    u32 nfil;
    u32 history[7];
    u32 port_count;
    Offset port_head;
    Offset port_free;
    Offset port_index[200];
    Offset pvid_chain[pvid_chain_count];
    u32 unused8354;
    Offset phport_head;
    Offset phport_free;
    Offset phport_index[phport_count];
    u32 stream_total;
    Offset stream_head;
    Offset stream_free;
    Offset stream_index[stream_count];
    u32 queue_total;
    Offset queue_head;
    Offset queue_free;
    Offset queue_index[queue_count];
    i32 free_qsize;
    u32 vlan_count;
    Offset vlan_head;
    Offset vlan_free;
    Offset vlan_name[bucket_count];
    Offset vlan_index[vlan_index_count];
    Offset fil_free;  // an offset in the FDB segment
    u32 fdb_userarea;
    u32 nfil_usr_all;
    u32 nfil_sys_all;
    Offset classify_head;
    Offset classify_free;
    Offset action_free;
    Offset classify_index[classify_count];
    ProtGroupTable prot_groups;
    Mirror mirror[4];
};
RECORD_IS(Header, 0x199B0);
FIELD_AT(Header, nport, 0x00000);
FIELD_AT(Header, nvlan, 0x00004);
FIELD_AT(Header, nfil, 0x00008);
FIELD_AT(Header, history, 0x0000C);
FIELD_AT(Header, port_count, 0x00028);
FIELD_AT(Header, port_head, 0x0002C);
FIELD_AT(Header, port_free, 0x00030);
FIELD_AT(Header, port_index, 0x00034);
FIELD_AT(Header, pvid_chain, 0x00354);
FIELD_AT(Header, unused8354, 0x08354);
FIELD_AT(Header, phport_head, 0x08358);
FIELD_AT(Header, phport_free, 0x0835C);
FIELD_AT(Header, phport_index, 0x08360);
FIELD_AT(Header, stream_total, 0x08370);
FIELD_AT(Header, stream_head, 0x08374);
FIELD_AT(Header, stream_free, 0x08378);
FIELD_AT(Header, stream_index, 0x0837C);
FIELD_AT(Header, queue_total, 0x0937C);
FIELD_AT(Header, queue_head, 0x09380);
FIELD_AT(Header, queue_free, 0x09384);
FIELD_AT(Header, queue_index, 0x09388);
FIELD_AT(Header, free_qsize, 0x11388);
FIELD_AT(Header, vlan_count, 0x1138C);
FIELD_AT(Header, vlan_head, 0x11390);
FIELD_AT(Header, vlan_free, 0x11394);
FIELD_AT(Header, vlan_name, 0x11398);
FIELD_AT(Header, vlan_index, 0x11798);
FIELD_AT(Header, fil_free, 0x19798);
FIELD_AT(Header, fdb_userarea, 0x1979C);
FIELD_AT(Header, nfil_usr_all, 0x197A0);
FIELD_AT(Header, nfil_sys_all, 0x197A4);
FIELD_AT(Header, classify_head, 0x197A8);
FIELD_AT(Header, classify_free, 0x197AC);
FIELD_AT(Header, action_free, 0x197B0);
FIELD_AT(Header, classify_index, 0x197B4);
FIELD_AT(Header, prot_groups, 0x198B4);
FIELD_AT(Header, mirror, 0x19958);

// History counters. No operation advances the fifth.
enum History : u32 {
    ports_created = 0,
    ports_deleted = 1,
    vlans_created = 2,
    vlans_deleted = 3,
    ports_added_to_vlans = 5,
    ports_removed_from_vlans = 6
};

}  // namespace zelfdb
