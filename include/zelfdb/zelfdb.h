/*
 * zelfdb.h: the exported operations of libzelfdb, their detail codes and the records that callers see.
 *
 * libzelfdb keeps a switch's bridge configuration and MAC forwarding database (FDB) in two System V shared-memory
 * segments that every process of the platform attaches, and mirrors every change into the network processor (NP)
 * through the vf_ functions of vf.h. One process calls zelfdb_init once, alone; from then on any process may call
 * any other operation.
 *
 * Results. Unless a comment says otherwise an operation returns 0 on success and -1 on failure. Its last argument,
 * "err", receives a decimal detail code (enum zelfdb_code) and must not be null. Four rules exist for that word;
 * each operation names its own:
 *   on failure   written only on failure, untouched on success;
 *   preset       1 is stored on entry and STAYS there on success: test the result, not the word;
 *   final        always receives the final code, 0 on success;
 *   none         the operation has no such argument.
 *
 * Descriptors. An operation whose first argument is a descriptor uses the caller's and neither opens nor closes one;
 * such a descriptor must come from zelfdb_open_descriptor (not ...2) unless the comment says that it needs no NP, and
 * must not be null. Every other operation opens one of its own for the call, which costs two attaches and one NP
 * handshake; while the NP does not answer, that takes up to 190 seconds and then fails with code 1.
 *
 * Locks. "Main" is the lock of the main segment, "main and FDB" both, always taken in that order. They are taken and
 * given back inside the call and are waited for as long as another process holds them. The library has no threads and
 * is not thread-safe: one descriptor and one call at a time in a process.
 *
 * Privilege. The segments are created with mode 000: only processes with CAP_IPC_OWNER (root) can attach them.
 *
 * Identifiers. Port IDs 1..199, physical ports 1..4, VIDs 1..4094. Where a VID argument is wider than 16 bits only
 * its low 16 bits are used. Port ID 0 is never found.
 */
#ifndef ZELFDB_ZELFDB_H
#define ZELFDB_ZELFDB_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define ZELFDB_API __attribute__((visibility("default")))
#else
#define ZELFDB_API
#endif

/* ==== Detail codes ======================================================================================== */

enum zelfdb_code {
    ZELFDB_DONE = 0,
    ZELFDB_NO_DESCRIPTOR = 1,            /* no descriptor could be opened (also the preset value) */
    ZELFDB_NO_PORT = 102,                /* no such port */
    ZELFDB_NO_VLAN = 103,                /* no such VLAN */
    ZELFDB_NO_MAC = 105,                 /* no entry with that MAC in that database */
    ZELFDB_NO_STREAM = 106,              /* no such stream, or the NP's query failed */
    ZELFDB_NO_QUEUE = 107,               /* no such queue */
    ZELFDB_NO_PHPORT = 108,              /* no such physical port */
    ZELFDB_NO_CLASSIFY = 109,            /* no such classify profile */
    ZELFDB_NO_LINE = 110,                /* no line at that position of the profile */
    ZELFDB_BAD_VID = 201,                /* VID outside 1..4094 */
    ZELFDB_NOT_VIF = 206,                /* the port is not a virtual interface */
    ZELFDB_PORT_POOL_EMPTY = 1201,       /* no free port record */
    ZELFDB_PORT_EXISTS = 1202,           /* the port exists already */
    ZELFDB_PHPORT_BOUND = 1203,          /* the physical port is bound to an Ethernet port already */
    ZELFDB_PHPORT_UNKNOWN = 1204,        /* no such physical port (port creation) */
    ZELFDB_PORT_ENABLED = 1205,          /* the port is enabled already */
    ZELFDB_PORT_IN_VLAN = 1301,          /* the port is still a member of a VLAN */
    ZELFDB_PORT_IS_UPLINK = 1302,        /* the port is an uplink */
    ZELFDB_PORT_HAS_STREAM = 1303,       /* the port still has a stream */
    ZELFDB_PORT_DISABLED = 1304,         /* the port is disabled already */
    ZELFDB_NAME_IN_USE = 1401,           /* the VLAN name is in use */
    ZELFDB_VID_IN_USE = 1402,            /* the VID is in use */
    ZELFDB_NAME_TOO_LONG = 1403,         /* the VLAN name has 31 characters or more */
    ZELFDB_VLAN_POOL_EMPTY = 1404,       /* no free VLAN record */
    ZELFDB_NO_FREE_VID = 1406,           /* every VID of 1..4094 is in use */
    ZELFDB_VLAN_HAS_PORTS = 1501,        /* the VLAN still has members */
    ZELFDB_ALREADY_MEMBER = 1603,        /* the port is a member of the VLAN already */
    ZELFDB_TAGGED_BAD_VID = 1604,        /* tagged membership of a VLAN whose VID is outside 1..4094 */
    ZELFDB_VLAN_FULL = 1605,             /* the VLAN has eight members already */
    ZELFDB_VLAN_HAS_VIF = 1612,          /* the VLAN has a virtual-interface member already */
    ZELFDB_VIF_HAS_PVID = 1613,          /* the virtual-interface port has a PVID already */
    ZELFDB_PORT_HAS_PVID = 1614,         /* untagged membership for a port that has a PVID already */
    ZELFDB_GROUP_JOINED = 1615,          /* the port belongs to a VLAN through that protocol group already */
    ZELFDB_GROUP_TABLE_FULL = 1616,      /* the port's protocol-VLAN table is full */
    ZELFDB_NOT_MEMBER = 1701,            /* the port is not a member, or the VLAN or port has no membership */
    ZELFDB_PV_CLASSIFIED = 1702,         /* the membership still has a classify profile bound */
    ZELFDB_MAC_EXISTS = 2001,            /* an entry with that MAC exists and may not be replaced */
    ZELFDB_FDB_FULL = 2002,              /* user limit reached, pool exhausted, or the NP refused the entry */
    ZELFDB_PERMIT_DIFFERS = 2101,        /* the entry's permit differs from the one given */
    ZELFDB_TYPE_DIFFERS = 2102,          /* the entry's type differs from the one asked for */
    ZELFDB_VIF_NO_SLDBKR = 2201,         /* a virtual interface has no loop breaker */
    ZELFDB_BAD_CLASS = 2203,             /* policing class above 7 */
    ZELFDB_QUEUE_EXISTS = 2301,          /* the queue exists already */
    ZELFDB_QUEUE_POOL_EMPTY = 2302,      /* no free queue record, or the NP refused the queue */
    ZELFDB_QUEUE_BUDGET = 2303,          /* the queue buffer budget cannot cover it */
    ZELFDB_QUEUE_ATTACHED = 2351,        /* the queue is attached to a stream already */
    ZELFDB_QUEUE_NOT_ATTACHED = 2352,    /* the queue is not attached to a stream */
    ZELFDB_STREAM_BOUND = 2401,          /* the stream is bound to a port */
    ZELFDB_STREAM_NOT_BOUND = 2402,      /* the stream is not bound to that port */
    ZELFDB_STREAM_HAS_QUEUE = 2403,      /* the stream still has a queue */
    ZELFDB_STREAM_EXISTS = 2501,         /* the stream exists already */
    ZELFDB_STREAM_POOL_EMPTY = 2502,     /* no free stream record, or the NP refused the stream */
    ZELFDB_CLASSIFY_EXISTS = 2601,       /* the classify profile exists already */
    ZELFDB_CLASSIFY_POOL_EMPTY = 2602,   /* no free classify profile record */
    ZELFDB_CLASSIFY_FULL = 2603,         /* the profile has 256 lines, or no line record is free */
    ZELFDB_CLASSIFY_HAS_LINES = 2604,    /* the profile still has lines */
    ZELFDB_CLASSIFY_BOUND = 2607,        /* the profile is still bound to a membership */
    ZELFDB_PV_HAS_CLASSIFY = 2701,       /* the membership has a profile already */
    ZELFDB_PV_NO_CLASSIFY = 2702,        /* the membership has no profile */
    ZELFDB_PROTGROUPS_FULL = 2801,       /* there are eight protocol groups already */
    ZELFDB_PROTGROUP_EXISTS = 2802,      /* the protocol group exists already */
    ZELFDB_NO_PROTGROUP = 2803,          /* no such protocol group */
    ZELFDB_PROTGROUP_FULL = 2804,        /* the group holds eight protocols already */
    ZELFDB_PROTOCOL_IN_GROUP = 2805,     /* the protocol is in this group already */
    ZELFDB_PROTOCOL_ELSEWHERE = 2806,    /* the protocol belongs to another group */
    ZELFDB_PROTOCOL_NOT_IN_GROUP = 2807, /* the protocol is not in the group */
    ZELFDB_BAD_MIRROR = 2901,            /* mirror outside 1..4 */
    ZELFDB_MIRROR_EXISTS = 2902,         /* the mirror exists already */
    ZELFDB_NO_MIRROR = 2903,             /* no such mirror */
    ZELFDB_MIRROR_NO_SOURCE = 2904,      /* the mirror has no source */
    ZELFDB_MIRROR_NO_DEST = 2905,        /* the mirror has no destination */
    ZELFDB_MIRROR_ONTO_ITSELF = 2906,    /* an egress source port is the destination port */
    ZELFDB_MIRROR_IN_USE = 2907,         /* the mirror is enabled: disable it before deleting it */
    ZELFDB_MIRROR_ENABLED = 2908,        /* the mirror is enabled already */
    ZELFDB_MIRROR_DISABLED = 2909,       /* the mirror is not enabled */
    ZELFDB_MIRROR_FROZEN = 2910,         /* the mirror is enabled: source and destination cannot be changed */
    ZELFDB_PROTGROUP_USED = 2911         /* a port still uses the group */
};

/* ==== Values ============================================================================================== */

enum zelfdb_port_type { ZELFDB_PORT_NONE = 0, ZELFDB_PORT_ETHER = 1, ZELFDB_PORT_VIF = 2 };

enum zelfdb_fil_type { ZELFDB_FIL_LOCAL = 1, ZELFDB_FIL_STATIC = 2, ZELFDB_FIL_DYNAMIC = 3 };

/** Flag bit of a static or local entry: bound to no port (a STATIC entry with it discards). */
#define ZELFDB_FIL_FLAG_NO_PORT 0x4u

/** Permit of an entry: 1 = system entry (never counted against the user limit), anything else = user entry. */
#define ZELFDB_FIL_SYSTEM 1u

/** What zelfdb_set_param_to_port applies, and whether the flags reach the NP. */
enum zelfdb_param_selector {
    ZELFDB_SELECT_P_FLAG = 0x0001, /* the p_flag bits that the flag mask names */
    ZELFDB_SELECT_PRI = 0x0004,
    ZELFDB_SELECT_PHPORT = 0x0008,
    ZELFDB_SELECT_TAGTYPE = 0x0010,
    ZELFDB_SELECT_PVID = 0x0020,
    ZELFDB_SELECT_AGING = 0x0040,
    ZELFDB_SELECT_SLDBKR = 0x0080,
    ZELFDB_SELECT_P_FLAG_TO_NP = 0x8000 /* send the p_flag bits that the flag mask names */
};

/**
 * Bits of a port's p_flag that have a meaning to the library; the others are the NP's. Bits 0x2 and 0x4 are the NP's too,
 * but the library takes them away, with learning, from a port that goes down or whose loop breaker trips.
 */
enum zelfdb_p_flag {
    ZELFDB_P_LEARN = 0x0001,          /* learning; set only while the port is up */
    ZELFDB_P_UNTAGGED = 0x0010,       /* untagged and priority-tagged frames are admitted */
    ZELFDB_P_INGRESS_FILTER = 0x0020, /* frames of VLANs that the port is no member of are not admitted */
    ZELFDB_P_TAG_AWARE = 0x0040       /* tagged frames are recognised */
};

/** Operational state of a port. */
enum zelfdb_optate { B_PORT_DOWN = 0, B_PORT_UP = 1 };

/** Bits of a membership's flag byte. */
#define ZELFDB_PV_TAGGED 0x1u
#define ZELFDB_PV_PROTOCOL 0x2u

/* ==== Caller records ====================================================================================== */

/** Opaque: where this process has attached the two segments, and its NP handle. Made and freed by the library. */
typedef struct zelfdb_descriptor zelfdb_descriptor;

/** How many records zelfdb_init lays out. */
typedef struct zelfdb_counts {
    uint32_t nport; /* port records; IDs above 199 cannot be found, so more than 199 are of no use */
    uint32_t nvlan; /* VLAN records */
    uint32_t nfil;  /* MAC entries; at least 1 */
} zelfdb_counts;

/** The VLAN space (16 bytes). */
typedef struct zelfdb_summary {
    uint32_t lowest_vid;  /* always 1 */
    uint32_t highest_vid; /* always 4094 */
    uint32_t vlan_capacity;
    uint32_t vlan_count; /* VLANs that exist now */
} zelfdb_summary;

/** The history counters (28 bytes). They only grow, wrapping at 2^32; zelfdb_init alone resets them. */
typedef struct zelfdb_history {
    uint32_t ports_created;
    uint32_t ports_deleted;
    uint32_t vlans_created;
    uint32_t vlans_deleted;
    uint32_t unused; /* stays 0 */
    uint32_t ports_added_to_vlans;
    uint32_t ports_removed_from_vlans;
} zelfdb_history;

/**
 * A record buffer: this header, then capacity records of record_size bytes. Made by zelfdb_alloc_ropebuf, filled by the
 * bulk readers, owned by the caller until zelfdb_free_ropebuf.
 */
typedef struct zelfdb_ropebuf {
    uint32_t capacity;    /* how many records fit */
    uint32_t record_size; /* bytes; record i starts at records + i * record_size */
    uint32_t total;       /* how many objects there are in all, set by each bulk reader */
    uint32_t filled;      /* how many records the last call wrote */
    uint8_t* records;     /* the first byte after this header */
} zelfdb_ropebuf;

/** Cursor of the port, VLAN and membership bulk readers. Zero it before the first call; keep it between calls. */
typedef struct zelfdb_cursor {
    uint32_t calls; /* calls made so far; 0 starts at the beginning */
    uint32_t key;   /* ID of the last record delivered, set when a call returns 1 */
} zelfdb_cursor;

/** Cursor of the FDB listings. Zero it before the first call; keep it, and the buffer as filled, between calls. */
typedef struct zelfdb_fdb_cursor {
    uint32_t calls;
    uint8_t mac[6]; /* the last entry delivered, set when a call returns 1 */
    uint8_t pad[2]; /* neither read nor written */
} zelfdb_fdb_cursor;

/** One record of an FDB listing (20 bytes; the buffer's record size may be larger). */
typedef struct zelfdb_fdb_record {
    uint32_t bucket; /* hash bucket, 0..255 */
    uint8_t mac[6];
    uint8_t flag;   /* low byte of the flag word */
    uint8_t permit; /* low byte of the permit */
    uint32_t port;  /* VLAN listings only: 0 with flag 0x4, else the entry's port; not written for a port's listing */
    int32_t age_s;  /* DYNAMIC entries only: seconds since last seen, never below 0; otherwise not written */
} zelfdb_fdb_record;

/**
 * The NP's learn indication, packed to 14 bytes, native byte order. Bytes 0..1 and 4..5 are not read.
 */
typedef struct __attribute__((packed)) zelfdb_learn_ind {
    uint8_t pad0[2];
    uint16_t port; /* port ID on which the frame arrived */
    uint8_t pad4[2];
    uint32_t tick_ms; /* NP time of the event */
    int32_t cookie;   /* offset in the FDB segment of the entry that the NP matched for the source address */
} zelfdb_learn_ind;

/** A physical port (12 bytes). */
typedef struct zelfdb_phinfo {
    uint32_t phport;
    uint32_t shaping_rate; /* 0 = not shaped */
    uint32_t shaping_param2;
} zelfdb_phinfo;

/** One member row of a zelfdb_vlan_info (16 bytes). */
typedef struct zelfdb_vlan_member {
    uint32_t port_id;
    uint32_t p_type;
    uint32_t pv_flag;
    uint32_t tagtype;
} zelfdb_vlan_member;

/**
 * A VLAN (184 bytes), followed at byte 184 by the IDs of the ports whose PVID is this VID, one uint32_t each, in
 * ascending order. The smallest buffer is 216 bytes, which holds eight such IDs; a VLAN can have more only when ports
 * were given its PVID without being members.
 */
typedef struct zelfdb_vlan_info {
    char name[32];
    uint32_t vlan_flag;
    uint32_t VID;
    uint32_t nmember;   /* members; rows that follow */
    uint32_t nuntagged; /* untagged ones among them */
    uint32_t npvid;     /* ports with this PVID, ADDED to the value already there: zero the record first */
    uint32_t nfil;      /* entries in the VLAN's database, all types */
    zelfdb_vlan_member member[8];
} zelfdb_vlan_info;

/** Smallest record size of zelfdb_get_all_vlaninfo. */
#define ZELFDB_VLAN_INFO_SIZE 216u

/** The parameters of zelfdb_set_param_to_port (10 bytes). */
typedef struct zelfdb_port_param {
    uint16_t p_flag;
    uint8_t p_type; /* not used */
    uint8_t pri;
    uint8_t phport;
    uint8_t pad5; /* not used */
    uint16_t tagtype;
    uint16_t PVID;
} zelfdb_port_param;

/** One protocol binding of a port: frames of the group belong to the VLAN. */
typedef struct zelfdb_prot_binding {
    uint16_t group;
    uint16_t VID;
} zelfdb_prot_binding;

/** One class policing row of a port. */
typedef struct zelfdb_policing {
    uint8_t color;
    uint8_t pad1[3];
    uint32_t rate;
    uint32_t burst;
} zelfdb_policing;

/** One membership row of a zelfdb_port_info (12 bytes). */
typedef struct zelfdb_port_member {
    uint32_t VID;
    uint32_t pv_flag;
    uint32_t tagtype;
} zelfdb_port_member;

/** A port (992 bytes). A port can be in more VLANs than there are rows; see the readers. */
typedef struct zelfdb_port_info {
    uint32_t port_id;
    uint16_t p_flag;
    uint8_t p_type;
    uint8_t pri;
    uint8_t phport;
    uint8_t pad9;
    uint16_t tagtype;
    uint16_t PVID;
    uint8_t pad14[2];
    uint32_t npg; /* protocol bindings in use */
    zelfdb_prot_binding prot[8];
    zelfdb_policing policing[8];
    uint32_t cosmap[8];
    uint32_t valbit;
    uint32_t optate; /* enum zelfdb_optate */
    uint32_t aging_s;
    uint32_t sldbkr_on;
    uint32_t sldbkr_state; /* 0 idle, 1 armed, 2 tripped */
    uint32_t def_spno;     /* this and the next four: zelfdb_get_portinfo only */
    uint32_t def_pri;
    uint32_t def_color;
    uint32_t bw_calc_mode;
    uint32_t link_frames_fwd; /* bit n: link-local frames to 01-80-C2-00-00-n are not held by the port */
    uint32_t nmember;         /* memberships; see the readers for a port without any */
    zelfdb_port_member member[64];
} zelfdb_port_info;

/** RED of one colour of a class. */
typedef struct zelfdb_red {
    uint8_t min_thresh;
    uint8_t max_thresh;
    uint8_t min_drop;
    uint8_t max_drop;
} zelfdb_red;

/** One class row of a zelfdb_stream_info (20 bytes). */
typedef struct zelfdb_stream_class {
    uint32_t np_word;   /* the NP's class word; bit 0 = active */
    uint32_t np_second; /* this and red: zelfdb_get_stream_info only, active classes only */
    zelfdb_red red[3];  /* green, yellow, red */
} zelfdb_stream_class;

/** A stream with the NP's figures (284 bytes). */
typedef struct zelfdb_stream_info {
    uint32_t streamno;
    uint32_t portno; /* 0 = bound to no port */
    uint32_t sno_port;
    uint32_t priority;
    uint32_t qos_type; /* 1 weighted fair queueing, 2 strict priority, other = none */
    uint32_t minrate;
    uint32_t minburst;
    uint32_t maxrate;
    uint32_t maxburst; /* zelfdb_get_all_streaminfo stores minburst here as well */
    uint32_t np_first; /* the first two words of the NP's answer */
    uint32_t np_second;
    uint32_t nactive;     /* classes that are active in the NP */
    uint32_t queue_sizes; /* zelfdb_get_all_streaminfo: sums over the queues of the active classes; 0 otherwise */
    uint32_t queue_lengths;
    zelfdb_stream_class row[8];
    uint32_t tosmap_bits;
    uint32_t tos_value[8];
    uint32_t tos_mask[8];
} zelfdb_stream_info;

/** Match fields of a classify line: value, range end, mask (all ones = none), and whether it is a range. */
typedef struct zelfdb_match8 {
    uint8_t value;
    uint8_t range_end;
    uint8_t mask;
    uint8_t ranged;
} zelfdb_match8;
typedef struct zelfdb_match16 {
    uint16_t value;
    uint16_t range_end;
    uint16_t mask;
    uint16_t ranged;
} zelfdb_match16;
/** An IPv4 address: the first octet is the most significant byte; the mask is a prefix's. */
typedef struct zelfdb_match32 {
    uint32_t value;
    uint32_t range_end;
    uint32_t mask;
    uint32_t ranged;
} zelfdb_match32;
typedef struct zelfdb_match_ext {
    uint32_t value;
    uint32_t mask;
} zelfdb_match_ext;

/** Bits of a classify line's flags: which fields are present. */
enum zelfdb_match_flag {
    ZELFDB_MATCH_DOT1P = 0x01,
    ZELFDB_MATCH_VLAN = 0x02,
    ZELFDB_MATCH_ETYPE = 0x04,
    ZELFDB_MATCH_TOS = 0x08,
    ZELFDB_MATCH_PROTO = 0x10,
    ZELFDB_MATCH_SRC_IP = 0x20,
    ZELFDB_MATCH_DST_IP = 0x40,
    ZELFDB_MATCH_SRC_PORT = 0x80,
    ZELFDB_MATCH_DST_PORT = 0x100,
    ZELFDB_MATCH_EXT = 0x1000000 /* extended field i: shifted left by i, 0..3 */
};

/** One line of a classify profile (120 bytes): which frames match, and what they become. */
typedef struct zelfdb_classify_line {
    uint32_t mode;      /* 1 dot1p, 2 dscp, other = normal */
    uint16_t stream_id; /* target stream, counted from 0 */
    uint8_t class_id;
    uint8_t colour; /* 0 green, 1 yellow, 2 red */
    uint32_t flags; /* enum zelfdb_match_flag bits */
    zelfdb_match8 dot1p;
    zelfdb_match16 vlan;
    zelfdb_match16 etype;
    zelfdb_match8 tos;
    zelfdb_match8 proto;
    zelfdb_match32 src_ip;
    zelfdb_match32 dst_ip;
    zelfdb_match16 src_port;
    zelfdb_match16 dst_port;
    zelfdb_match_ext ext[4];
} zelfdb_classify_line;

/** One protocol group (20 bytes). */
typedef struct zelfdb_protgroup {
    uint16_t group;
    uint16_t nprot;
    uint16_t prot[8];
} zelfdb_protgroup;

/** All protocol groups (164 bytes): the first count entries, in creation order. */
typedef struct zelfdb_protgroup_info {
    uint32_t count;
    zelfdb_protgroup group[8];
} zelfdb_protgroup_info;

/** One membership of a port (48 bytes). */
typedef struct zelfdb_pv_info {
    uint32_t VID;
    char vlan_name[32]; /* not written when the VID is 0 */
    uint32_t port_id;
    uint8_t pad40[4]; /* not written */
    uint8_t pv_flag;
    uint8_t pv_flag2;
    uint16_t tagtype;
} zelfdb_pv_info;

/* ==== Set-up and descriptors ============================================================================== */

/**
 * Creates both segments and both locks, or wipes and lays out again the ones that exist. Nothing else may use the
 * database meanwhile: no lock is taken, and a lock that a process holds is not reset.
 *
 * @param counts  how many records to lay out; read only
 * @return 0 once the main segment is laid out, -1 if it is not (message on standard error): an existing segment is too
 *         small for the counts, there is no memory or privilege, or the counts need more than 32 bits of bytes.
 *         Failure to make the FDB segment (nfil 0, for one) is only seen as a message on standard error: the result
 *         is still 0, and every descriptor fails to open afterwards.
 * The segments stay attached to the calling process. No descriptor, no error word.
 */
ZELFDB_API int zelfdb_init(const zelfdb_counts* counts);

/**
 * Attaches both segments and opens an NP session, for callers that keep one descriptor across many calls.
 * Tries the NP 20 times, 10 seconds apart.
 *
 * @return a descriptor owned by the caller until zelfdb_close_descriptor, or null with one line on standard output.
 *         A failed call leaves attached what it had attached: do not retry in an unbounded loop.
 * Takes no lock.
 */
ZELFDB_API zelfdb_descriptor* zelfdb_open_descriptor(void);

/**
 * The same without an NP session: good only for operations that say so.
 * @return a descriptor owned by the caller, or null with one line on standard output
 */
ZELFDB_API zelfdb_descriptor* zelfdb_open_descriptor2(void);

/** Ends the NP session if there is one, detaches both segments and frees the descriptor. Null is ignored. */
ZELFDB_API void zelfdb_close_descriptor(zelfdb_descriptor* descriptor);

/* ==== Summary, history, record buffers ==================================================================== */

/**
 * @param summary  filled on success, untouched on failure
 * @return 0, or -1 if no descriptor could be opened. Error word: none. Takes the main lock.
 */
ZELFDB_API int zelfdb_get_summary(zelfdb_summary* summary);

/**
 * @param history  filled on success, untouched on failure
 * @return 0, or -1 if no descriptor could be opened. Error word: none. Takes the main lock.
 */
ZELFDB_API int zelfdb_get_history(zelfdb_history* history);

/**
 * Makes a record buffer in one heap block. Its record area is zeroed but for the last 16 bytes.
 *
 * @param capacity     records, 0 allowed
 * @param record_size  bytes each; every bulk reader states its smallest
 * @return a buffer for zelfdb_free_ropebuf, or null: no memory, or more than 32 bits of bytes
 */
ZELFDB_API zelfdb_ropebuf* zelfdb_alloc_ropebuf(uint32_t capacity, uint32_t record_size);

/** Frees a buffer made by zelfdb_alloc_ropebuf. Null is ignored. */
ZELFDB_API void zelfdb_free_ropebuf(zelfdb_ropebuf* buffer);

/* ==== Forwarding database ================================================================================= */

/**
 * Removes every DYNAMIC entry of every VLAN, in the database and in the NP. In each VLAN it sleeps one second after
 * every 400 entries, locks held.
 * @return 0, or -1 if no descriptor could be opened. Error word: none. Takes the main and FDB locks.
 */
ZELFDB_API int zelfdb_clear_fdb(void);

/**
 * The same for one VLAN.
 * @param vid  low 16 bits used
 * @return 0, or -1 if no descriptor could be opened or there is no such VLAN. Error word: none. Main and FDB locks.
 */
ZELFDB_API int zelfdb_clear_fdb_vlan(uint32_t vid);

/**
 * Limits the number of user entries (learned ones included) in the whole FDB.
 * @param limit  0 = no limit; entries above a lowered limit stay
 * @param err    preset: 1 even on success
 * @return 0, or -1 if no descriptor could be opened. Takes the main lock. Needs no NP.
 */
ZELFDB_API int zelfdb_set_fdb_userarea(uint32_t limit, uint32_t* err);

/**
 * Learns from one indication of the NP: adds the station, moves it, or leaves things as they are.
 *
 * @param descriptor    the caller's
 * @param frame_header  at least 16 bytes of the frame, wire order: destination, source, type or tag, tag control
 * @param indication    read only
 * @return 0 when the indication was used, or ignored on purpose: unknown port, learning off, group source address,
 *         frame not admitted, VLAN unknown, same port, static entry, cookie of another entry, VLAN's learn limit
 *         reached. -1 when the station should have been added but the user limit is reached, the pool is empty or the
 *         NP refused; the old entry of a moved station is gone then.
 * Error word: none. Takes the main and FDB locks; they are given back main first.
 * A detected loop is reported to syslog (local5, warning).
 */
ZELFDB_API int zelfdb_add_dfil_by_learn_ind(zelfdb_descriptor* descriptor, const void* frame_header,
                                            const zelfdb_learn_ind* indication);

/**
 * One aging sweep over every DYNAMIC entry. The NP is asked only about entries not seen for longer than their port's
 * aging time; those that it has not seen either are removed. Call it periodically.
 * @return always 0. Error word: none. Takes the main and FDB locks for the whole sweep.
 */
ZELFDB_API int zelfdb_do_aging(zelfdb_descriptor* descriptor);

/**
 * Adds a STATIC entry to a VLAN's database; it replaces a DYNAMIC one with the same MAC.
 *
 * @param vid     low 16 bits used
 * @param mac     six bytes
 * @param port    destination port; must exist unless flag has 0x4
 * @param flag    flag word; 0x4 = bound to no port
 * @param permit  1 = system entry; 0 = user entry, counted against the user limit
 * @param err     final: 0, 1, 103, 102, 2001 (a static entry exists) or 2002 (limit, pool or NP)
 * @return 0, or -1 for every other code. Takes the main and FDB locks.
 */
ZELFDB_API int zelfdb_create_sfil(uint32_t vid, const uint8_t* mac, uint32_t port, uint32_t flag, uint32_t permit,
                                  uint32_t* err);

/** zelfdb_create_sfil on the caller's descriptor. */
ZELFDB_API int zelfdb_create_sfil2(zelfdb_descriptor* descriptor, uint32_t vid, const uint8_t* mac, uint32_t port,
                                   uint32_t flag, uint32_t permit, uint32_t* err);

/**
 * Removes a STATIC entry.
 *
 * @param permit  must equal the entry's
 * @param err     final: 0, 1, 103, 105 (no such MAC), 2101 (permit differs) or 2102 (not a STATIC entry)
 * @return 0, or -1 for every other code. Takes the main and FDB locks.
 */
ZELFDB_API int zelfdb_delete_sfil(uint32_t vid, const uint8_t* mac, uint32_t permit, uint32_t* err);

/** zelfdb_delete_sfil on the caller's descriptor. */
ZELFDB_API int zelfdb_delete_sfil2(zelfdb_descriptor* descriptor, uint32_t vid, const uint8_t* mac, uint32_t permit,
                                   uint32_t* err);

/**
 * Adds a LOCAL entry to a port's own database.
 *
 * @param err  final: 0, 1, 102, 2001 or 2002
 * @return 0, or -1 for every other code. Takes the main and FDB locks.
 */
ZELFDB_API int zelfdb_create_lfil(uint32_t port, const uint8_t* mac, uint32_t flag, uint32_t permit, uint32_t* err);

/**
 * Removes a LOCAL entry.
 *
 * @param err  final (1 is stored on entry first): 0, 1, 102, 105, 2101 or 2102
 * @return 0, or -1 for every other code. Takes the main and FDB locks.
 */
ZELFDB_API int zelfdb_delete_lfil(uint32_t port, const uint8_t* mac, uint32_t permit, uint32_t* err);

/**
 * Lists a VLAN's DYNAMIC entries, bucket by bucket, into zelfdb_fdb_records.
 *
 * @param vid     low 16 bits used
 * @param cursor  zeroed before the first call
 * @param buffer  record size at least 20; must still hold the previous call's records
 * @return 1 = buffer full, call again; 0 = done; -1 = no descriptor, no such VLAN, record size below 20, or the entry
 *         at which the previous call stopped is gone. buffer->total receives the VLAN's entries of ALL types.
 * Error word: none. Takes the main and FDB locks; they are given back main first.
 */
ZELFDB_API int zelfdb_get_all_dfil(uint32_t vid, zelfdb_fdb_cursor* cursor, zelfdb_ropebuf* buffer);

/** Lists a VLAN's STATIC entries; as zelfdb_get_all_dfil, with the locks given back FDB first. */
ZELFDB_API int zelfdb_get_all_sfil(uint32_t vid, zelfdb_fdb_cursor* cursor, zelfdb_ropebuf* buffer);

/**
 * Lists a port's LOCAL entries; as zelfdb_get_all_dfil.
 *
 * WARNING: it gives back the main lock only. The FDB lock STAYS with the calling process until that process ends, also
 * when the listing fails (unless no descriptor could be opened). The next operation of the process that needs the FDB
 * lock, a continued listing included, waits for ever, and holds the main lock while it waits. Call it in a child
 * process of its own.
 */
ZELFDB_API int zelfdb_get_all_lfil(uint32_t port, zelfdb_fdb_cursor* cursor, zelfdb_ropebuf* buffer);

/**
 * Removes every STATIC entry that names the port, in all VLANs, whatever its permit. The port need not exist.
 * @param err  final: 0, or 1 when no descriptor could be opened
 * @return 0, or -1 when no descriptor could be opened. Takes the main and FDB locks.
 */
ZELFDB_API int zelfdb_delete_sfil_select_port(uint32_t port, uint32_t* err);

/** The same on the caller's descriptor; no error word. @return always 0 */
ZELFDB_API int zelfdb_delete_sfil_select_port2(zelfdb_descriptor* descriptor, uint32_t port);

/* ==== Ports =============================================================================================== */

/**
 * Creates a port. An Ethernet port is bound to its physical port, which can serve one at a time. The new port is down,
 * in no VLAN, PVID 0, tag type 0x8100, aging 300 s. Fields that only other operations set keep what the record held.
 *
 * @param port_id  1..199, the caller's business: other values create a port that is never found again
 * @param phport   1..4 for an Ethernet port, else stored unchecked (low 8 bits)
 * @param p_type   enum zelfdb_port_type
 * @param err      on failure: 1, 1202, 1204, 1203, 1201 (tested in this order)
 * @return 0 or -1. An NP refusal is not reported. With 1201 the physical port stays marked as bound.
 * Takes the main and FDB locks. While the NP refuses, sleeps 1 s between two attempts.
 */
ZELFDB_API int zelfdb_create_port(uint32_t port_id, uint32_t phport, int32_t p_type, uint32_t* err);

/**
 * Deletes a port with its static entries in all VLANs and its own local entries. Its learned entries and its streams
 * stay; a new port of that ID takes the entries over. Sleeps as zelfdb_clear_fdb does.
 *
 * @param err  on failure: 1, 102, 1301 (still in a VLAN), 1302 (uplink), tested in this order
 * @return 0 or -1. An NP refusal is not reported. Takes the main and FDB locks.
 */
ZELFDB_API int zelfdb_delete_port(uint32_t port_id, uint32_t* err);

/**
 * @param phport  1..4
 * @param info    filled on success
 * @param err     on failure: 1, 108
 * @return 0 or -1. Takes the main lock.
 */
ZELFDB_API int zelfdb_get_phinfo(uint32_t phport, zelfdb_phinfo* info, uint32_t* err);

/**
 * Stores a physical port's shaping and programs it into the NP.
 *
 * @param phport          1..4
 * @param shaping_rate    0 = not shaped
 * @param shaping_param2  second shaping value, in the NP's units
 * @param err             on failure: 1, 108
 * @return 0 or -1. An NP refusal is not reported. Takes the main lock.
 */
ZELFDB_API int zelfdb_set_ph_shaping(uint32_t phport, uint32_t shaping_rate, uint32_t shaping_param2, uint32_t* err);

/* ---- parameters ---- */

/**
 * Changes general parameters of a port, in this order: p_flag, pri, phport, PVID, tag type, aging, loop breaker, flags to
 * the NP. Of p_flag the bits 0x3377 can be changed; 0x1 and 0x2 are set only while the port is up (a request to set them
 * on a port that is down is dropped without an error). The changed flags reach the NP only with
 * ZELFDB_SELECT_P_FLAG_TO_NP. A changed phport does not change which physical port is marked as bound. Switching the
 * breaker off or on leaves a tripped one tripped.
 *
 * @param port_id    1..199
 * @param param      read only
 * @param aging_s    aging time of learned entries, seconds
 * @param sldbkr_on  1 = loop breaker on, anything else = off
 * @param selector   enum zelfdb_param_selector bits: what to apply
 * @param flag_mask  which bits of p_flag count
 * @param err        preset; on failure 1, 102, 2201 (breaker of a virtual interface; nothing is changed)
 * @return 0 or -1. An NP refusal is not reported. Takes the main and FDB locks.
 */
ZELFDB_API int zelfdb_set_param_to_port(uint32_t port_id, const zelfdb_port_param* param, uint32_t aging_s,
                                        int32_t sldbkr_on, int32_t selector, int32_t flag_mask, uint32_t* err);

/** zelfdb_set_param_to_port on the caller's descriptor. */
ZELFDB_API int zelfdb_set_param_to_port2(zelfdb_descriptor* descriptor, uint32_t port_id,
                                         const zelfdb_port_param* param, uint32_t aging_s, int32_t sldbkr_on,
                                         int32_t selector, int32_t flag_mask, uint32_t* err);

/**
 * Stores and programs the policing of one class of a port.
 *
 * @param class_no  0..7; a negative one is not stored but reaches the NP
 * @param rate, burst  in the NP's units; rate 0 = not policed
 * @param color     0 green, 1 yellow, 2 red (low 8 bits stored and sent)
 * @param err       on failure: 1, 102, 2203 (class above 7)
 * @return 0 or -1. An NP refusal is not reported. Takes the main lock.
 */
ZELFDB_API int zelfdb_set_port_class_policing(uint32_t port_id, int32_t class_no, uint32_t rate, uint32_t burst,
                                              int32_t color, uint32_t* err);

/**
 * Stores and programs a port's class-of-service map.
 *
 * @param valbit  bit i = cosmap[i] is in use
 * @param cosmap  eight words
 * @param err     on failure: 1, 102
 * @return 0 or -1. An NP refusal is not reported. Takes the main lock.
 */
ZELFDB_API int zelfdb_set_port_cosmap(uint32_t port_id, uint32_t valbit, const uint32_t* cosmap, uint32_t* err);

/**
 * Stores a port's bandwidth calculation mode and programs it into the NP.
 *
 * @param mode  0 = frame bytes only; other values as the NP defines
 * @param err   on failure: 1, 102
 * @return 0 or -1. An NP refusal is not reported. Takes the main lock.
 */
ZELFDB_API int zelfdb_set_port_bandwidth_calc_mode(uint32_t port_id, uint32_t mode, uint32_t* err);

/**
 * Stores and programs where a port's unclassified frames go.
 *
 * @param def_spno   stream number of the port, counted from 0
 * @param def_pri    priority (class)
 * @param def_color  0 green, 1 yellow, 2 red
 * @param err        on failure: 1, 102
 * @return 0 or -1. An NP refusal is not reported. Takes the main lock.
 */
ZELFDB_API int zelfdb_set_default_class(uint32_t port_id, uint32_t def_spno, uint32_t def_pri, uint32_t def_color,
                                        uint32_t* err);

/**
 * Holds (by a LOCAL system entry of the port) or releases the link-local frames to 01-80-C2-00-00-n. Doing so twice is
 * no error.
 *
 * @param n       low 8 bits are the address's last byte; the port's bitmap covers 0..31
 * @param action  0 = hold, 1 = release
 * @param err     on failure: 1 (no descriptor, or another action), 102, or 2002, 2101, 2102 of the entry
 * @return 0 or -1. Takes the main and FDB locks.
 */
ZELFDB_API int zelfdb_set_port_link_frames(uint32_t port_id, uint32_t n, int32_t action, uint32_t* err);

/* ---- state and link ---- */

/**
 * Enables a port in the database and the NP. The port's p_flag stays as it is.
 * @param err  on failure: 1, 102, 1205 (enabled already); untouched when the NP refuses
 * @return 0; -1 on failure, and also when the NP refuses (the port counts as enabled all the same). Main lock.
 */
ZELFDB_API int zelfdb_enable_port(uint32_t port_id, uint32_t* err);

/** Disables a port; as zelfdb_enable_port. @param err on failure: 1, 102, 1304 (disabled already) */
ZELFDB_API int zelfdb_disable_port(uint32_t port_id, uint32_t* err);

/**
 * Tells the database of a link change. Nothing is recorded.
 *
 * @param state  enum zelfdb_optate
 * @param flush  1 = remove the port's DYNAMIC entries in all VLANs; any other value removes none
 * @return 0, or -1 if there is no such port or the state is above 1. Error word: none. Takes the main and FDB locks.
 */
ZELFDB_API int zelfdb_notify_portstate(zelfdb_descriptor* descriptor, uint32_t port_id, uint32_t state, int32_t flush);

/**
 * Brings a tripped loop breaker back: armed if it is switched on, idle otherwise. The flags that the trip removed are not
 * restored: use zelfdb_set_param_to_port.
 *
 * @param err  on failure: 1, 102; UNTOUCHED on success
 * @return -1 ALWAYS: set the word to 0 before the call and judge by it. Takes the main and FDB locks.
 */
ZELFDB_API int zelfdb_recover_port_sldbkr(uint32_t port_id, uint32_t* err);

/**
 * Marks a port as uplink (1): it can be neither deleted nor removed from a VLAN until the mark is cleared (0).
 * @param err  on failure: 1, 102, 1701 (the port has no membership; also when clearing)
 * @return 0 or -1. Nothing is sent to the NP. Takes the main lock.
 */
ZELFDB_API int zelfdb_set_uplink_flag(uint32_t port_id, uint32_t value, uint32_t* err);

/** zelfdb_set_uplink_flag on the caller's descriptor (needs no NP). */
ZELFDB_API int zelfdb_set_uplink_flag2(zelfdb_descriptor* descriptor, uint32_t port_id, uint32_t value, uint32_t* err);

/**
 * Stores a port's link mode, which only the platform's daemons interpret. 1 at creation.
 * @param err  on failure: 1, 102
 * @return 0 or -1. Nothing is sent to the NP. Takes the main lock.
 */
ZELFDB_API int zelfdb_set_link_mode(uint32_t port_id, uint32_t mode, uint32_t* err);

/**
 * Stores a port's link dependency, which only the platform's daemons interpret. 1 at creation.
 * @param list_bits  bit i = physical port i + 1
 * @param err        on failure: 1, 102
 * @return 0 or -1. Nothing is sent to the NP. Takes the main lock.
 */
ZELFDB_API int zelfdb_set_link_depend(uint32_t port_id, uint32_t link_depend, uint32_t list_bits, uint32_t* err);

/* ---- queries ---- */

/**
 * Reads one port.
 *
 * @param info  filled on success. nmember is the number of memberships, but 1 for a port without any (no row is
 *              written then). ALL memberships get a row: a caller whose ports can be in more than 64 VLANs passes a
 *              larger buffer, there is no bound.
 * @return 0, or -1 if there is no such port or no descriptor. Error word: none. Takes the main lock.
 */
ZELFDB_API int zelfdb_get_portinfo(uint32_t port_id, zelfdb_port_info* info);

/**
 * Reads ports in ID order into zelfdb_port_info records. def_spno to link_frames_fwd are not written, nor is nmember for a
 * port without memberships. A record never runs past its own end: rows that do not fit are left out, while nmember
 * counts them all.
 *
 * @param cursor  zeroed before the first call
 * @param buffer  record size at least 992
 * @return 0 = the list has ended; 1 = buffer full, call again; -1 = no descriptor, record size too small, no port at
 *         all, or the port at which the previous call stopped is gone. Error word: none. Takes the main lock.
 */
ZELFDB_API int zelfdb_get_all_portinfo(zelfdb_cursor* cursor, zelfdb_ropebuf* buffer);

/**
 * VID of a virtual interface: that of its first membership.
 *
 * @param vid  receives the VID, 0 on failure
 * @param err  on failure: 1, 102, 206 (not a virtual interface), 1701 (no membership)
 * @return 0 or -1; -1 at once, with nothing written, if either pointer is null. Takes the main lock.
 */
ZELFDB_API int zelfdb_get_port_vid(uint32_t port_id, uint32_t* vid, uint32_t* err);

/** zelfdb_get_port_vid on the caller's descriptor (needs no NP). */
ZELFDB_API int zelfdb_get_port_vid2(zelfdb_descriptor* descriptor, uint32_t port_id, uint32_t* vid, uint32_t* err);

/**
 * Tells whether any stream with a number of this port, (port_id - 1) * 256 + 0..255 modulo 65536, exists.
 * @param err  on failure: 1, 102, 1303 (there is one)
 * @return 0 = none exists, or -1. Takes the main lock.
 */
ZELFDB_API int zelfdb_check_stream_in_port(uint32_t port_id, uint32_t* err);

/**
 * Prints everything that the database holds about a port on standard output, for diagnosis.
 * @param err  on failure: 1, 102
 * @return 0 or -1. Takes the main and FDB locks for the whole printout: do not let standard output block.
 */
ZELFDB_API int zelfdb_display_port_data(uint32_t port_id, uint32_t* err);

/* ==== VLANs =============================================================================================== */

/**
 * Creates a VLAN without members.
 *
 * @param name  NUL-terminated, at most 30 characters
 * @param vid   in: 1..4094, or negative for the lowest free VID; out: the VID. Null is refused with 1.
 * @param err   preset; on failure 1, 1403, 1401, then 1406 (negative VID) or 201, 1402, then 1404
 * @return 0 or -1. An NP refusal is not reported. Takes the main and FDB locks.
 */
ZELFDB_API int zelfdb_create_vlan(const char* name, int32_t* vid, uint32_t* err);

/**
 * Deletes a VLAN that has no members, with all entries of its database.
 * @param err  preset; on failure 1, 103, 1501
 * @return 0 or -1. An NP refusal is not reported. Takes the main and FDB locks; sleeps as zelfdb_clear_fdb does.
 */
ZELFDB_API int zelfdb_delete_vlan(uint32_t vid, uint32_t* err);

/**
 * @param vid   low 16 bits used
 * @param info  a ZEROED record with room for the port IDs that follow it (at least ZELFDB_VLAN_INFO_SIZE bytes in all;
 *              there is no bound: the caller sizes it for the ports that may have this PVID)
 * @return 0, or -1 if there is no such VLAN or no descriptor. Error word: none. Takes the main lock.
 */
ZELFDB_API int zelfdb_get_vlan_info(uint32_t vid, zelfdb_vlan_info* info);

/**
 * Reads VLANs in VID order into zelfdb_vlan_info records. A record never runs past its own end: port IDs that do not
 * fit are left out, while npvid counts them all. Records are not cleared first (see npvid).
 *
 * @param cursor  zeroed before the first call
 * @param buffer  record size at least 216
 * @return 0 = the list has ended; 1 = buffer full, call again; -1 = no descriptor, record size too small, no VLAN at
 *         all, or the VLAN at which the previous call stopped is gone. Error word: none. Takes the main lock.
 */
ZELFDB_API int zelfdb_get_all_vlaninfo(zelfdb_cursor* cursor, zelfdb_ropebuf* buffer);

/**
 * @param vid  receives the VID of the VLAN with exactly that name
 * @param err  on failure: 1, 103
 * @return 0 or -1. Takes the main lock.
 */
ZELFDB_API int zelfdb_get_vid(const char* name, uint32_t* vid, uint32_t* err);

/** zelfdb_get_vid on the caller's descriptor (needs no NP). */
ZELFDB_API int zelfdb_get_vid2(zelfdb_descriptor* descriptor, const char* name, uint32_t* vid, uint32_t* err);

/**
 * @param name  room for 31 bytes; receives the name with its terminator
 * @param err   on failure: 1, 103
 * @return 0 or -1. Takes the main lock.
 */
ZELFDB_API int zelfdb_get_vlanname(uint32_t vid, char* name, uint32_t* err);

/** zelfdb_get_vlanname on the caller's descriptor (needs no NP). */
ZELFDB_API int zelfdb_get_vlanname2(zelfdb_descriptor* descriptor, uint32_t vid, char* name, uint32_t* err);

/**
 * Member ports of a VLAN, in ascending order.
 *
 * @param max       room in port_ids, at least 1
 * @param port_ids  receives up to max IDs
 * @param err       on failure: 1 (also for max below 1), 103, 1701 (no member)
 * @return the number of members, which can exceed max, or -1. Takes the main lock.
 */
ZELFDB_API int zelfdb_get_portID_from_vid(int32_t max, uint32_t vid, uint32_t* port_ids, uint32_t* err);

/** The same on the caller's descriptor (needs no NP); max below 1 gives -1 and leaves the error word alone. */
ZELFDB_API int zelfdb_get_portID_from_vid2(zelfdb_descriptor* descriptor, int32_t max, uint32_t vid, uint32_t* port_ids,
                                           uint32_t* err);

/**
 * VIDs of a port's memberships, in ascending order, on the caller's descriptor (needs no NP).
 *
 * @param max   room in vids, at least 1; below 1 gives -1 and leaves the error word alone
 * @param err   on failure: 102, 1701 (no membership)
 * @return the number of memberships, which can exceed max, or -1. Takes the main lock.
 */
ZELFDB_API int zelfdb_get_vid_from_portID2(zelfdb_descriptor* descriptor, int32_t max, uint32_t port_id, uint32_t* vids,
                                           uint32_t* err);

/* ==== VLAN memberships ==================================================================================== */

/**
 * Makes a port a member of a VLAN. An untagged membership that is not by protocol makes the VLAN the port's PVID. A
 * further group for an existing membership by protocol extends that membership and changes no counter but the history.
 *
 * @param vid             low 16 bits used
 * @param tagged          non-zero = tagged
 * @param tagtype         tag protocol identifier of the membership (low 16 bits)
 * @param protocol_based  non-zero = only the frames of one protocol group
 * @param group           protocol group ID, checked and recorded only when protocol_based is non-zero, handed to the NP
 *                        in every case. Keep a port within eight group bindings: only a further group for an existing membership is checked against that.
 * @param err             preset; on failure 1, 103, 102, 1604, 1614, 2803, 1613, 1612, then 1603, 1615, 1616 for an
 *                        existing membership, or 1605 (tested in this order)
 * @return 0 or -1, the database unchanged on failure. An NP refusal is not reported. Takes the main lock.
 */
ZELFDB_API int zelfdb_add_port_to_vlan(uint32_t vid, uint32_t port_id, uint32_t tagged, uint32_t tagtype,
                                       uint32_t protocol_based, int32_t group, uint32_t* err);

/**
 * Ends a membership and flushes the port's DYNAMIC entries in all VLANs.
 * @param err  preset; on failure 1, 103, 102, 1302 (uplink), 1701, 1702 (tested in this order)
 * @return 0 or -1. An NP refusal is not reported. Takes the main and FDB locks.
 */
ZELFDB_API int zelfdb_rem_port_from_vlan(uint32_t vid, uint32_t port_id, uint32_t* err);

/**
 * Reads a port's memberships in VID order into zelfdb_pv_info records.
 *
 * @param cursor  zeroed before the first call
 * @param buffer  record size at least 48; total receives the number of memberships
 * @return 0 = the list has ended; 1 = buffer full, call again; -1 = no descriptor, no such port, record size too small,
 *         no membership, or the one at which the previous call stopped is gone. Error word: none. Takes the main lock.
 */
ZELFDB_API int zelfdb_get_all_pvinfo_in_a_port(uint32_t port_id, zelfdb_cursor* cursor, zelfdb_ropebuf* buffer);

/* ==== VLAN settings ======================================================================================= */

/**
 * Switches simple loop detection. VID 0 = every VLAN (no VLAN at all is a success).
 * @param on   non-zero = on
 * @param err  preset; on failure 1, 103
 * @return 0 or -1. Nothing is sent to the NP. Takes the main lock.
 */
ZELFDB_API int zelfdb_set_vlan_sld(int32_t vid, uint32_t on, uint32_t* err);

/**
 * Sets up to how many entries, of all types, learning adds to a VLAN. VID 0 = every VLAN.
 * @param limit  0 = no limit; entries above a lowered limit stay
 * @param err    preset; on failure 1, 103
 * @return 0 or -1. Takes the main lock. Needs no NP.
 */
ZELFDB_API int zelfdb_set_vlan_learninglimit(int32_t vid, uint32_t limit, uint32_t* err);

/**
 * Makes the NP flood a VLAN's frames whatever its FDB holds. VID 0 = every VLAN; the NP is then told of every VLAN but
 * the last.
 * @param on   non-zero = on
 * @param err  preset; on failure 1, 103
 * @return 0 or -1. An NP refusal is not reported. Takes the main lock.
 */
ZELFDB_API int zelfdb_set_vlan_ignore_fdb(uint32_t vid, uint32_t on, uint32_t* err);

/** Switches learning off in the NP (indications that come all the same are learned); as zelfdb_set_vlan_ignore_fdb. */
ZELFDB_API int zelfdb_set_vlan_learning_off(uint32_t vid, uint32_t on, uint32_t* err);

/* ==== Protocol groups ===================================================================================== */

/**
 * Creates a protocol group without protocols.
 * @param group_id  low 16 bits used
 * @param err       preset; on failure 1, 2801 (eight exist), 2802; 1 too when the NP refuses
 * @return 0; -1 on failure, and also when the NP refuses (the group exists all the same). Takes the main lock.
 */
ZELFDB_API int zelfdb_create_protgroup(uint32_t group_id, uint32_t* err);

/** Deletes a group; as zelfdb_create_protgroup. @param err preset; on failure 1, 2803, 2911 (a port uses it) */
ZELFDB_API int zelfdb_delete_protgroup(uint32_t group_id, uint32_t* err);

/**
 * Adds a protocol (an ethertype) to a group. A protocol belongs to one group at most.
 * @param protocol, group_id  low 16 bits used
 * @param err  preset; on failure 1, 2805 (in this group) or 2806 (in another), 2803, 2804 (eight already)
 * @return as zelfdb_create_protgroup. Takes the main lock.
 */
ZELFDB_API int zelfdb_add_prot_to_group(uint32_t protocol, uint32_t group_id, uint32_t* err);

/** Removes a protocol from a group; as zelfdb_create_protgroup. @param err preset; on failure 1, 2803, 2807 */
ZELFDB_API int zelfdb_remove_prot_from_group(uint32_t protocol, uint32_t group_id, uint32_t* err);

/**
 * Copies all protocol groups.
 * @param info  filled on success
 * @param err   preset; 1 on failure
 * @return 0, or -1 if no descriptor could be opened. Takes the main lock.
 */
ZELFDB_API int zelfdb_get_protgroup_info(zelfdb_protgroup_info* info, uint32_t* err);

/**
 * Prints everything that the database holds about a VLAN on standard output, for diagnosis.
 * @param vid  low 16 bits used
 * @param err  on failure: 1, 103
 * @return 0 or -1. Takes the main and FDB locks for the whole printout: do not let standard output block.
 */
ZELFDB_API int zelfdb_display_vlan_data(uint32_t vid, uint32_t* err);

/* ==== Queues ============================================================================================== */
/*
 * Queue numbers 0..8191, stream numbers 0..1023; only the low 16 bits of either are used. The queue of class c of stream
 * s is expected to have number s * 8 + c, and the stream at position n (1..256) of port p number (p - 1) * 256 + n - 1:
 * zelfdb_check_queue_in_stream and the listing of streams find only those.
 */

/**
 * Creates an unattached queue and charges its size to the shared buffer budget (65536 in a new database).
 *
 * @param size          compared with the budget as a signed number; its low 16 bits are stored
 * @param queue_length  in the NP's units
 * @param err           on failure: 1, 2301, 2303, 2302 (tested in this order)
 * @return 0 or -1. With 2302 (no record, or the NP refused) the size stays charged. Takes the main lock.
 */
ZELFDB_API int zelfdb_create_queue(uint32_t queue, int32_t size, uint32_t queue_length, uint32_t* err);

/**
 * Deletes a queue and gives its size back to the budget. Detach it first: an attached queue is not refused.
 * @param err  on failure: 1, 107
 * @return 0 or -1. An NP refusal is not reported. Takes the main lock.
 */
ZELFDB_API int zelfdb_delete_queue(uint32_t queue, uint32_t* err);

/**
 * Attaches a queue to a class slot of a stream.
 *
 * @param class_no  0..7; in other slots the queue is only stored as attached and sent
 * @param mode      1 = weighted fair queueing (pri and ratio kept), 2 = strict priority (pri kept), else neither
 * @param err       on failure: 1, 106, 107, 2351 (tested in this order)
 * @return 0 or -1. An NP refusal is not reported. Takes the main lock.
 */
ZELFDB_API int zelfdb_add_queue_to_stream(uint32_t queue, uint32_t streamno, uint32_t class_no, uint32_t mode,
                                          uint32_t pri, uint32_t ratio, uint32_t* err);

/**
 * Detaches a queue. Its pri and ratio stay stored.
 * @param err  on failure: 1, 106, 107, 2352 (tested in this order)
 * @return 0 or -1. An NP refusal is not reported. Takes the main lock.
 */
ZELFDB_API int zelfdb_rem_queue_from_stream(uint32_t queue, uint32_t streamno, uint32_t class_no, uint32_t* err);

/**
 * Changes a queue's weight: pri and ratio, pri, or nothing, by the mode it was attached with. Always sent to the NP.
 * @param streamno  must exist; whether it holds the queue is not looked at
 * @param err       on failure: 1, 106, 107
 * @return 0 or -1. An NP refusal is not reported. Takes the main lock.
 */
ZELFDB_API int zelfdb_set_queue_qos(uint32_t queue, uint32_t streamno, uint32_t pri, uint32_t ratio, uint32_t* err);

/**
 * Changes a queue's size (within the budget and what it has already) and length.
 * @param size  compared with the budget as a signed number; its low 16 bits are stored
 * @param err  on failure: 1, 106, 107, 2303 (nothing changes)
 * @return 0 or -1. An NP refusal is not reported. Takes the main lock.
 */
ZELFDB_API int zelfdb_set_queue_size(uint32_t queue, uint32_t streamno, uint32_t class_no, int32_t size,
                                     uint32_t queue_length, uint32_t* err);

/**
 * @param out  six words: number, size, length, mode, then pri (modes 1 and 2) and ratio (mode 1); others untouched
 * @param err  on failure: 1, 107
 * @return 0 or -1. Takes the main lock.
 */
ZELFDB_API int zelfdb_get_queue_info(uint32_t queue, uint32_t* out, uint32_t* err);

/**
 * Tells whether any of the eight queues of a port's stream exists.
 * @param sno_port  1..256
 * @param err       on failure: 1, 102, 106, 2403 (one exists)
 * @return 0 = none exists, or -1. Takes the main lock.
 */
ZELFDB_API int zelfdb_check_queue_in_stream(uint32_t port_id, uint32_t sno_port, uint32_t* err);

/* ==== Streams ============================================================================================= */

/**
 * Creates an unbound stream: priority 7, no shaping, RED 100/0/0/0 everywhere.
 * @param err  on failure: 1, 2501, 2303 (the queue budget is 255 or less), 2502 (tested in this order)
 * @return 0 or -1. Takes the main lock.
 */
ZELFDB_API int zelfdb_create_stream(uint32_t streamno, uint32_t* err);

/**
 * Deletes an unbound stream. Queues attached to it are not looked at: see zelfdb_check_queue_in_stream.
 * @param err  on failure: 1, 106, 2401 (bound)
 * @return 0 or -1. An NP refusal is not reported. Takes the main lock.
 */
ZELFDB_API int zelfdb_delete_stream(uint32_t streamno, uint32_t* err);

/**
 * Binds a stream to a port. Nothing is sent to the NP.
 * @param sno_port  position on the port, 1..256 (low 8 bits stored)
 * @param err       on failure: 1, 102, 106, 2401 (it has a port or a position already)
 * @return 0 or -1. Takes the main lock.
 */
ZELFDB_API int zelfdb_add_stream_to_port(uint32_t streamno, uint32_t port_id, uint32_t sno_port, uint32_t* err);

/**
 * Unbinds a stream. Nothing is sent to the NP.
 * @param unused  not read
 * @param err     on failure: 1, 102, 106, 2402 (bound to another port, or to none)
 * @return 0 or -1. Takes the main lock.
 */
ZELFDB_API int zelfdb_rem_stream_from_port(uint32_t streamno, uint32_t port_id, uint32_t unused, uint32_t* err);

/**
 * Sets RED of one class and colour. NOTE the order: thresholds and drops alternate.
 *
 * @param class_no, colour  0..7, 0..2; others are sent to the NP but not stored
 * @param err               on failure: 1, 106
 * @return 0 or -1. An NP refusal is not reported. Takes the main lock.
 */
ZELFDB_API int zelfdb_set_red_in_stream(uint32_t streamno, uint32_t class_no, uint32_t colour, uint32_t min_thresh,
                                        uint32_t min_drop, uint32_t max_thresh, uint32_t max_drop, uint32_t* err);

/**
 * Sets committed and peak rate and burst, in the NP's units. The excess rate, maxrate - minrate, wraps.
 * @param err  on failure: 1, 106
 * @return 0 or -1. An NP refusal is not reported. Takes the main lock.
 */
ZELFDB_API int zelfdb_set_shaping_in_stream(uint32_t streamno, uint32_t minrate, uint32_t minburst, uint32_t maxrate,
                                            uint32_t maxburst, uint32_t* err);

/**
 * Sets how a stream schedules its classes. Only type 1 keeps the two parameters; any other zeroes them.
 * @param qos_type  1 weighted fair queueing, 2 strict priority, other = none
 * @param err       on failure: 1, 106
 * @return 0 or -1. An NP refusal is not reported. Takes the main lock.
 */
ZELFDB_API int zelfdb_set_qostype_in_stream(uint32_t streamno, uint32_t qos_type, uint32_t qos_param,
                                            uint32_t qos_param2, uint32_t* err);

/** Sets a stream's priority. @param err on failure: 1, 106. As zelfdb_set_qostype_in_stream. */
ZELFDB_API int zelfdb_set_stream_priority(uint32_t streamno, uint32_t priority, uint32_t* err);

/**
 * Sets a stream's TOS map. The record keeps values masked; the NP gets them as given.
 * @param bits           bit i = entry i is in use
 * @param values, masks  eight words each
 * @param err            on failure: 1, 106
 * @return 0 or -1. An NP refusal is not reported. Takes the main lock.
 */
ZELFDB_API int zelfdb_set_stream_tosmap(uint32_t streamno, uint32_t bits, const uint32_t* values, const uint32_t* masks,
                                        uint32_t* err);

/**
 * Reads one stream with the NP's figures.
 * @param info  filled on success
 * @param err   on failure: 1, 106 (no such stream, or the NP did not answer)
 * @return 0; -1 without a descriptor or stream. When the NP does not answer the result is vf_call's own, which is 0 when
 *         the NP only refused: test the code. Takes the main lock.
 */
ZELFDB_API int zelfdb_get_stream_info(uint32_t streamno, zelfdb_stream_info* info, uint32_t* err);

/**
 * Reads streams in number order into zelfdb_stream_info records.
 *
 * @param cursor  zeroed before the first call
 * @param buffer  record size at least 284
 * @return 0 = the list has ended; 1 = buffer full, call again; -1 = no descriptor, record size too small, no stream at
 *         all, or the one at which the previous call stopped is gone. When the NP does not answer for a stream the
 *         result is vf_call's own (0 when it only refused): compare buffer->filled. Error word: none. Main lock.
 */
ZELFDB_API int zelfdb_get_all_streaminfo(zelfdb_cursor* cursor, zelfdb_ropebuf* buffer);

/**
 * Asks the NP how busy a stream is. The stream need not exist in the database.
 * @param out  three words, filled on success
 * @param err  on failure: 1, 106
 * @return 0; -1 without a descriptor or answer; 0 with code 106 when the answer could not be read. Takes the main lock.
 */
ZELFDB_API int zelfdb_get_stream_busy_info(uint32_t streamno, uint32_t* out, uint32_t* err);

/**
 * Shares a physical port's shaping rate out among the streams whose port number equals its number: each gets its
 * committed rate, and what is left is divided in proportion to their excess rates. A port that is not shaped grants the
 * committed rate and the whole excess. A port whose committed rates exceed its rate grants every stream its peak.
 *
 * @param phport_id  1..4
 * @param err        on failure: 1, 108; untouched when the NP refuses
 * @return 0; -1 on failure, and also when the NP refuses (the granted rates stay stored). Takes the main lock.
 */
ZELFDB_API int zelfdb_stream_shaping_rate_update(uint32_t phport_id, uint32_t* err);

/* ==== Classification ====================================================================================== */

/**
 * Creates an empty classify profile. Nothing is sent to the NP.
 * @param profile  1..64 (low 16 bits used); 0 answers 2601, larger ones are created but never found again
 * @param err      on failure: 1, 2601, 2602
 * @return 0 or -1. Takes the main lock.
 */
ZELFDB_API int zelfdb_create_classify_profile(uint32_t profile, uint32_t* err);

/**
 * Deletes a profile that is bound nowhere and has no lines. Nothing is sent to the NP.
 * @param err  on failure: 1, 109, 2607 (bound), 2604 (has lines), tested in this order
 * @return 0 or -1. Takes the main lock.
 */
ZELFDB_API int zelfdb_delete_classify_profile(uint32_t profile, uint32_t* err);

/**
 * Binds a profile to a port's membership of a VLAN. A membership has one profile.
 * @param words  four binding words: a number (high half) and its kind (low half)
 * @param err    on failure: 1, 102, 103, 1701, 2701, 109 (tested in this order)
 * @return 0 or -1. An NP refusal is not reported. Takes the main lock.
 */
ZELFDB_API int zelfdb_add_classify_profile_to_pv(uint32_t profile, uint32_t port_id, uint32_t vid,
                                                 const uint32_t* words, uint32_t* err);

/**
 * Unbinds the profile of a membership.
 * @param err  on failure: 1, 102, 103, 1701, 2702 (tested in this order)
 * @return 0 or -1. An NP refusal is not reported. Takes the main lock.
 */
ZELFDB_API int zelfdb_rem_classify_profile_from_pv(uint32_t port_id, uint32_t vid, uint32_t* err);

/**
 * Inserts a line into a profile; the lines are renumbered 1, 2, 3, ...
 *
 * @param line_no  the line goes before the first whose number is this or greater; 0, or a number beyond the last, appends
 * @param line     copied
 * @param err      on failure: 1, 109, 2603
 * @return 0 or -1. An NP refusal is not reported. Takes the main lock.
 */
ZELFDB_API int zelfdb_add_classify_action_to_profile(uint32_t profile, uint32_t line_no,
                                                     const zelfdb_classify_line* line, uint32_t* err);

/**
 * Removes the line with that number; the rest are renumbered.
 * @param err  on failure: 1, 109, 110
 * @return 0 or -1. An NP refusal is not reported. Takes the main lock.
 */
ZELFDB_API int zelfdb_rem_classify_action_from_profile(uint32_t profile, uint32_t line_no, uint32_t* err);

/**
 * Removes all lines of a profile. Sent to the NP even when there were none.
 * @param err  on failure: 1, 109
 * @return 0 or -1. An NP refusal is not reported. Takes the main lock.
 */
ZELFDB_API int zelfdb_rem_classify_all_from_profile(uint32_t profile, uint32_t* err);

/**
 * Parses one prefilter line and appends it to a list that only the NP keeps. Fields that do not parse are absent.
 *
 * @param descriptor  the caller's; no lock is taken: the caller serialises the calls
 * @param list        list identifier, handed on
 * @param index       up to 128; 0 clears the NP's list first
 * @param line        184 bytes: field texts of up to 30 bytes at offsets 4 and 34 (addresses), 64 and 94 (0..255),
 *                    124 and 154 (0..65535); a text needs no terminator when it fills its slot
 * @param action      1 is stored as 0, anything else as 1
 * @return 1 when the line was sent, 0 when the index is too large. Error word: none.
 */
ZELFDB_API int linedata_to_param_prefilter(zelfdb_descriptor* descriptor, uint32_t list, int32_t index,
                                           const void* line, uint32_t action);

/**
 * The same for a loc line: an address at offset 4, numbers at 94 (0..255) and 124 (0..65535).
 * @param index   up to 15; 0 clears the NP's list first
 * @param action  1 is stored as 1, anything else as 0
 */
ZELFDB_API int linedata_to_param_loc(zelfdb_descriptor* descriptor, uint32_t list, int32_t index, const void* line,
                                     uint32_t action);

/**
 * Writes one profile, or all, as an XML document into a new file /tmp/clsline-XXXXXX and prints an XML response naming the
 * file on standard output. The file belongs to the reader of the response, who removes it.
 *
 * @param profile  0 = all, in number order; all of none is a success
 * @param err      on failure: 1 (no descriptor or no file), 109 (the file is removed, nothing printed)
 * @return 0 or -1. Write errors are not reported. Takes the main lock while it writes.
 */
ZELFDB_API int zelfdb_disp_classify(uint32_t profile, uint32_t* err);

/* ==== Mirrors ============================================================================================= */
/*
 * Mirrors 1..4. Every operation stores 1 into its error word on entry and leaves it there on success (preset), writes the
 * slot, then sends the NP command and returns the NP's result: -1 with the word still 1 means that the NP refused and the
 * slot keeps the new values. All take the main lock.
 */

/** Creates a mirror without source and destination. @param err preset; on failure 1, 2901, 2902 */
ZELFDB_API int zelfdb_create_mirror(uint32_t id, uint32_t* err);

/** Deletes a mirror that is not enabled. @param err preset; on failure 1, 2901, 2903, 2907 */
ZELFDB_API int zelfdb_delete_mirror(uint32_t id, uint32_t* err);

/**
 * Sets what is mirrored; not while enabled.
 * @param kind     0 none, 1 port in, 2 port in of one VLAN, 3 port out, 4 port out of one VLAN, 5 a whole VLAN
 * @param port_id  for kinds 1..4
 * @param vid      for kinds 2, 4 and 5
 * @param err      preset; on failure 1, 2901, 2903, 2910
 */
ZELFDB_API int zelfdb_set_mirror_source(uint32_t id, uint32_t kind, uint32_t port_id, uint32_t vid, uint32_t* err);

/** Sets the analyser port (0 = none); not while enabled. @param err preset; on failure 1, 2901, 2903, 2910 */
ZELFDB_API int zelfdb_set_mirror_dest(uint32_t id, uint32_t port_id, uint32_t* err);

/**
 * Sets the classification of the copies; also while enabled.
 * @param class_no  counted from 0
 * @param colour    0 green, 1 yellow, 2 red
 * @param err       preset; on failure 1, 2901, 2903
 */
ZELFDB_API int zelfdb_set_mirror_classify(uint32_t id, uint32_t class_no, uint32_t second, uint32_t colour,
                                          uint32_t* err);

/**
 * Sets the tag added to the copies; also while enabled.
 * @param tag_on  non-zero = add one
 * @param err     preset; on failure 1, 2901, 2903
 */
ZELFDB_API int zelfdb_set_mirror_tag(uint32_t id, uint32_t tag_on, uint32_t tagtype, uint32_t vid, uint32_t* err);

/**
 * Enables a mirror.
 * @param err  preset; on failure 1, 2901, 2903, 2908, 2904 (no source), 2905 (no destination), 2906 (an egress source port
 *             is the destination), tested in this order
 */
ZELFDB_API int zelfdb_enable_mirror(int32_t id, uint32_t* err);

/** Disables a mirror. @param err preset; on failure 1, 2901, 2903, 2909 */
ZELFDB_API int zelfdb_disable_mirror(uint32_t id, uint32_t* err);

/* ==== Configuration replay ================================================================================ */
/*
 * Each prints, on standard output, the commands that would make the objects of one kind anew: prefix, command, suffix for
 * each (typically an indentation and a newline; never used as a format). Only what differs from a new object is printed.
 * Run them in the order below. Error word: none. 0, or -1 if no descriptor could be opened.
 * The main lock (for static and local entries the FDB lock too) is held while they print: do not let standard output block.
 */

/** Shaping of the physical ports. */
ZELFDB_API int zelfdb_reconfig_ether(const char* prefix, const char* suffix);
/** Ports with their parameters. */
ZELFDB_API int zelfdb_reconfig_port(const char* prefix, const char* suffix);
/** Streams with their queues and RED. */
ZELFDB_API int zelfdb_reconfig_stream(const char* prefix, const char* suffix);
/** Protocol groups. */
ZELFDB_API int zelfdb_reconfig_protgroup(const char* prefix, const char* suffix);
/** VLANs with their members. Learning limits are not printed. */
ZELFDB_API int zelfdb_reconfig_vlan(const char* prefix, const char* suffix);
/** Classify profiles with their lines and bindings. */
ZELFDB_API int zelfdb_reconfig_classify(const char* prefix, const char* suffix);
/** Static entries with permit 0. Takes the main and FDB locks. */
ZELFDB_API int zelfdb_reconfig_sfil(const char* prefix, const char* suffix);
/** Local entries with permit 0. Takes the main and FDB locks. */
ZELFDB_API int zelfdb_reconfig_lfil(const char* prefix, const char* suffix);
/** Mirrors. */
ZELFDB_API int zelfdb_reconfig_mirror(const char* prefix, const char* suffix);

#ifdef __cplusplus
}
#endif

#endif
