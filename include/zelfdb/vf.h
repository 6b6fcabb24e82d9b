/*
 * vf.h: the network processor (NP) control library as libzelfdb uses it.
 *
 * libzelfdb leaves these names undefined and takes them, by name, from whatever shared library the
 * platform provides as libvf.so. Every NP that ships with this project is written against this header.
 * It depends on nothing but the C library.
 *
 * Conventions
 *  - All numbers are uint32_t unless a prototype says otherwise.
 *  - Pointers to caller memory are read while the builder runs: the builder copies what they point to.
 *    The only exceptions are the three outputs of vf_mk_findFDB, and the arrays filled by the vf_rd_ readers.
 *  - An "NP port" is the NP's own port number; the caller has mapped it from the database's port ID
 *    (1..10 -> 1..10, 101..164 -> 11..74, anything else -> 0xFFFFFFFF).
 *  - A MAC address is six bytes in wire order. Everything else is in the processor's native byte order.
 *  - A builder returns a command, or null if it has no memory. The caller owns the command until it hands it
 *    to vf_cmdNFreeB.
 */
#ifndef ZELFDB_VF_H
#define ZELFDB_VF_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * A session with the NP, made by vf_init. Opaque, but for its first four bytes, which belong to the caller:
 * libzelfdb stores 1 into byte 0 and 0 into the 16-bit field at byte 2 when it opens a descriptor.
 */
typedef struct vf_handle vf_handle;

/**
 * One NP command. Opaque, but for the signed 16-bit field at byte 8, in which vf_call leaves the NP's verdict:
 * 0 = accepted, anything else = refused (vf_rd_err tells why).
 */
typedef struct vf_cmd vf_cmd;

/** What vf_mk_addFDB is told of an entry: 20 bytes, no hidden padding. */
typedef struct vf_fdb_request {
    uint8_t flag;    /* byte  0: low byte of the entry's flag word */
    uint8_t one;     /* byte  1: always 1 */
    uint16_t FID;    /* byte  2: low 16 bits of the filtering database's ID */
    uint8_t mac[6];  /* byte  4: the station address */
    int16_t port;    /* byte 10: NP port, -1 if the entry names none that the NP knows */
    uint32_t cookie; /* byte 12: the entry's offset in the FDB segment; comes back in learn events */
    uint16_t zero;   /* byte 16: always 0 */
    int16_t port2;   /* byte 18: the NP port again */
} vf_fdb_request;

/** One entry of vf_mk_set_stream_actual_rate, packed to 10 bytes. */
typedef struct __attribute__((packed)) vf_actual_rate {
    uint16_t streamno;
    uint32_t actual_rate;
    uint32_t actual_excess;
} vf_actual_rate;

/* ---- sessions and commands ------------------------------------------------------------------------------ */

/** Opens a session; null while the NP is not up (the caller tries again later). */
vf_handle* vf_init(void);

/** Closes a session made by vf_init. */
void vf_release(vf_handle* handle);

/**
 * Sends a command (and all joined to it) and waits for the answer.
 * @return 0 if it was delivered; the verdict then stands in the command's status field. Other values: not delivered.
 */
int vf_call(vf_handle* handle, int zero1, vf_cmd* command, int zero2, int zero3);

/** Frees a command and all joined to it. */
void vf_cmdNFreeB(vf_cmd* command);

/** Appends a command to a chain, so that one vf_call sends all. The first command is the chain. @return the chain. */
vf_cmd* vf_Joint(vf_cmd* chain, vf_cmd* command);

/* ---- readers of answers --------------------------------------------------------------------------------- */

/** The NP's error number for a command that failed; 0 for one that did not. */
int vf_rd_err(vf_cmd* command);
/** 0 if the entry was installed, anything else if not. */
int vf_rd_addFDB(vf_cmd* command);
/** 0 if the entry was removed, anything else if not. */
int vf_rd_removeFDB(vf_cmd* command);
/**
 * Answer of vf_mk_findFDB: out[0] = status (0 = found), out[3] = the NP's current tick, out[1] = the tick of the
 * entry's last hit, both in milliseconds; out[2], out[4] and out[5] are the NP's own.
 */
void vf_rd_findFDB(vf_cmd* command, uint32_t out[6]);
/** Answer of vf_mk_get_stream_info: two words, then a pair for each class 0..7 (bit 0 of its first = active). 0 = read. */
int vf_rd_get_stream_info(vf_cmd* command, uint32_t out[18]);
/** Answer of vf_mk_get_stream_busy_info. @return 0 = read. */
int vf_rd_get_stream_busy_info(vf_cmd* command, uint32_t out[3]);

/* ---- ports ---------------------------------------------------------------------------------------------- */

/**
 * Creates a port or changes some of its values. The values are always all of the port's; the mask says which count:
 * 0x800000FF = all (creation), 0x20 = PVID, 0x10 = tag type.
 */
vf_cmd* vf_mk_set_port_param(uint32_t np_port, uint32_t mask, uint32_t p_flag, uint32_t p_type, uint32_t pri,
                             uint32_t phport, uint32_t tagtype, uint32_t PVID, uint32_t FID);
vf_cmd* vf_mk_delete_port(uint32_t np_port);
vf_cmd* vf_mk_enable_port(uint32_t np_port);
vf_cmd* vf_mk_disable_port(uint32_t np_port);
/** Programs the flag bits that the mask names. */
vf_cmd* vf_mk_set_port_flags(uint32_t np_port, uint32_t p_flag, uint32_t mask);
vf_cmd* vf_mk_set_class_policing(uint32_t np_port, uint32_t class_no, uint32_t rate, uint32_t burst, uint32_t color);
vf_cmd* vf_mk_set_cosmap(uint32_t np_port, uint32_t valbit, const uint32_t cosmap[8]);
vf_cmd* vf_mk_set_bandwidth_calc_mode(uint32_t np_port, uint32_t mode);
vf_cmd* vf_mk_set_def_class(uint32_t np_port, uint32_t def_spno, uint32_t def_pri, uint32_t def_color);
/** Shaping of a physical port (1..4, not mapped). */
vf_cmd* vf_mk_set_ph_shaping(uint32_t phport, uint32_t shaping_rate, uint32_t shaping_param2);

/* ---- MAC table ------------------------------------------------------------------------------------------ */

/** @param fil the 44-byte database record of the entry, read during the call */
vf_cmd* vf_mk_addFDB(const vf_fdb_request* request, const void* fil);
vf_cmd* vf_mk_removeFDB(uint16_t FID, const uint8_t mac[6]);
/** The three outputs (each may be null) are for the NP library's own use; callers read vf_rd_findFDB. */
vf_cmd* vf_mk_findFDB(uint16_t FID, const uint8_t mac[6], uint32_t* first, uint32_t* second, uint32_t* third);

/* ---- classification ------------------------------------------------------------------------------------- */

/** @param line 120 bytes */
vf_cmd* vf_mk_add_classify_act(uint32_t profile, uint32_t line_no, const void* line);
/** @param line_no 0 = all lines */
vf_cmd* vf_mk_rem_classify_act(uint32_t profile, uint32_t line_no);
vf_cmd* vf_mk_add_classify_prof(uint32_t profile, uint32_t np_port, uint32_t VID, const uint32_t words[4]);
vf_cmd* vf_mk_rem_classify_prof(uint32_t np_port, uint32_t VID);
/** @param block 64 bytes; @param line_no 0 = append */
vf_cmd* vf_mk_add_prefilter_act(uint32_t list, uint32_t line_no, const void* block);
vf_cmd* vf_mk_rem_prefilter_act(uint32_t list, uint32_t line_no);
/** @param block 16 bytes; @param line_no 0 = append */
vf_cmd* vf_mk_add_loc_act(uint32_t list, uint32_t line_no, const void* block);
vf_cmd* vf_mk_rem_loc_act(uint32_t list, uint32_t line_no);
/* In these four the port is the database's port ID, not mapped. */
vf_cmd* vf_mk_add_prefilter_prof(uint32_t list, uint32_t port, uint32_t VID, const uint32_t words[4]);
vf_cmd* vf_mk_rem_prefilter_prof(uint32_t port, uint32_t VID);
vf_cmd* vf_mk_add_loc_prof(uint32_t list, uint32_t port, uint32_t VID, const uint32_t words[4]);
vf_cmd* vf_mk_rem_loc_prof(uint32_t port, uint32_t VID);

/* ---- queues and streams --------------------------------------------------------------------------------- */

vf_cmd* vf_mk_create_queue(uint32_t queue, uint32_t size, uint32_t queue_length);
vf_cmd* vf_mk_delete_queue(uint32_t queue);
/** Puts a queue into a stream's class slot; with mode, pri and ratio all 0 it takes the queue out again. */
vf_cmd* vf_mk_add_queue(uint32_t queue, uint32_t streamno, uint32_t class_no, uint32_t mode, uint32_t pri,
                        uint32_t ratio);
vf_cmd* vf_mk_set_esparam(uint32_t queue, uint32_t streamno, uint32_t pri, uint32_t ratio);
vf_cmd* vf_mk_set_qmax(uint32_t queue, uint32_t streamno, uint32_t class_no, uint32_t size, uint32_t queue_length);
vf_cmd* vf_mk_create_stream(uint32_t streamno);
vf_cmd* vf_mk_delete_stream(uint32_t streamno);
vf_cmd* vf_mk_set_red(uint32_t streamno, uint32_t class_no, uint32_t colour, uint32_t min_thresh, uint32_t min_drop,
                      uint32_t max_thresh, uint32_t max_drop);
vf_cmd* vf_mk_set_stream_shaping(uint32_t streamno, uint32_t minrate, uint32_t minburst, uint32_t maxrate,
                                 uint32_t maxburst);
vf_cmd* vf_mk_set_stream_actual_rate(uint32_t count, const vf_actual_rate* entries);
vf_cmd* vf_mk_set_qostype(uint32_t streamno, uint32_t qos_type, uint32_t qos_param, uint32_t qos_param2);
vf_cmd* vf_mk_set_stream_priority(uint32_t streamno, uint32_t priority);
vf_cmd* vf_mk_set_stream_tosmap(uint32_t streamno, uint32_t bits, const uint32_t values[8], const uint32_t masks[8]);
vf_cmd* vf_mk_get_stream_info(uint32_t streamno);
vf_cmd* vf_mk_get_stream_busy_info(uint32_t streamno);

/* ---- VLANs ---------------------------------------------------------------------------------------------- */

vf_cmd* vf_mk_create_vlan(uint32_t VID, uint32_t FID);
vf_cmd* vf_mk_delete_vlan(uint32_t VID);
/** @param tagged, protocol_based 1 or 0; @param group protocol group ID, of use only when protocol_based is 1 */
vf_cmd* vf_mk_add_port_vlan(uint32_t VID, uint32_t np_port, uint32_t tagged, uint32_t tagtype, uint32_t protocol_based,
                            uint32_t group);
vf_cmd* vf_mk_remove_port_vlan(uint32_t VID, uint32_t np_port);
/** @param selector 254 = ignore the FDB (value 1 or 0), 253 = learning off (value 2 or 0) */
vf_cmd* vf_mk_set_vl_flag(uint32_t VID, uint32_t value, uint32_t selector);
vf_cmd* vf_mk_create_protgroup(uint32_t group);
vf_cmd* vf_mk_delete_protgroup(uint32_t group);
vf_cmd* vf_mk_add_prot_to_group(uint32_t protocol, uint32_t group);
vf_cmd* vf_mk_remove_prot_from_group(uint32_t protocol, uint32_t group);

/* ---- mirrors -------------------------------------------------------------------------------------------- */

vf_cmd* vf_mk_create_mirror(uint32_t mirror);
vf_cmd* vf_mk_delete_mirror(uint32_t mirror);
vf_cmd* vf_mk_enable_mirror(uint32_t mirror);
vf_cmd* vf_mk_disable_mirror(uint32_t mirror);
/** The port is the database's port ID, not mapped. */
vf_cmd* vf_mk_set_mirror_source(uint32_t mirror, uint32_t kind, uint32_t port, uint32_t VID);
vf_cmd* vf_mk_set_mirror_dest(uint32_t mirror, uint32_t port);
vf_cmd* vf_mk_set_mirror_classify(uint32_t mirror, uint32_t class_no, uint32_t second, uint32_t colour);
vf_cmd* vf_mk_set_mirror_tag(uint32_t mirror, uint32_t tag_on, uint32_t tagtype, uint32_t VID);

#ifdef __cplusplus
}
#endif

#endif
