/*
 * softnp.h: the software network processor, seen from tools and tests.
 *
 * The device is commanded through vf.h, as any network processor (NP) is. This header is what a real NP has in
 * other forms: the wires (softnp_receive), the event line (softnp_next_event), the clock, the counters, and, for
 * tests and audits, a log of all commands, refusals on order and readers of the device's whole state.
 *
 * Like hardware it is one device for all processes: its state is one shared-memory segment under SOFTNP_KEY, made
 * by whoever comes first and kept until softnp_remove_device. A function that finds no device makes it.
 *
 * Conventions
 *  - Ports are NP port numbers, 1..SOFTNP_PORTS, unless a name says port_id.
 *  - Times are milliseconds; the tick is 32 bits wide and wraps.
 *  - MAC addresses are six bytes in wire order, all numbers in the processor's own byte order.
 *  - The caller owns every record it passes; nothing returned needs to be freed.
 *  - Functions returning int give -1 when the device cannot be reached (no shared memory, a segment of another
 *    layout, or its lock not free within 20 s) and when a pointer that may not be null is null.
 *  - Every function may be called from any thread and any process. A function called outside a vf_init session
 *    attaches the device for that one call, so programs that call often keep a session open.
 */
#ifndef ZELFDB_SOFTNP_H
#define ZELFDB_SOFTNP_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define SOFTNP_API __attribute__((visibility("default")))

/** IPC key of the device's shared segment and of the semaphore that orders its creation. */
#define SOFTNP_KEY 0x534E5001
#define SOFTNP_PORTS 74u
#define SOFTNP_PHPORTS 4u
#define SOFTNP_VLANS 4094u
#define SOFTNP_CLASSES 8u
/** Colours of a frame: 0 green, 1 yellow, 2 red. */
#define SOFTNP_COLOURS 3u
#define SOFTNP_STREAMS 1024u
/** Streams of one port: port ID p has the streams (p - 1) * 256 and up. */
#define SOFTNP_PORT_STREAMS 256u
#define SOFTNP_QUEUES 8192u
/** Frames that can wait in all queues together. */
#define SOFTNP_BUFFERS 65536u
#define SOFTNP_TOS_ENTRIES 8u
/** Classify profiles are numbered 1..64. */
#define SOFTNP_PROFILES 64u
#define SOFTNP_PROFILE_LINES 256u
/** Prefilter lists, and as many loc lists, each with any number for a name. */
#define SOFTNP_FILTER_LISTS 16u
#define SOFTNP_PREFILTER_LINES 129u
#define SOFTNP_LOC_LINES 16u
/** Memberships that have a list of one kind. */
#define SOFTNP_LIST_BINDINGS 8192u
/** Mirrors are numbered 1..4. */
#define SOFTNP_MIRRORS 4u
/** Captured copies that can wait for their reader. */
#define SOFTNP_COPIES 128u
/** The longest copy: the longest frame, sent with a tag, with the mirror's own tag added. */
#define SOFTNP_MAX_COPY (SOFTNP_MAX_FRAME + 8u)
#define SOFTNP_CLASSIFY_LINE_SIZE 120u
#define SOFTNP_PREFILTER_BLOCK_SIZE 64u
#define SOFTNP_LOC_BLOCK_SIZE 16u
#define SOFTNP_GROUPS 8u
#define SOFTNP_GROUP_PROTOCOLS 8u
/** Protocol bindings (group, VID) of one port. */
#define SOFTNP_BINDINGS 256u
/** MAC entries of a device unless softnp_set_mac_capacity said otherwise. */
#define SOFTNP_MAC_ENTRIES 65536u
#define SOFTNP_EVENTS 4096u
#define SOFTNP_LOG_ENTRIES 4096u
#define SOFTNP_LOG_TEXT 512u
#define SOFTNP_REFUSALS 32u
/** The longest frame that is admitted, and the shortest, in bytes without the check sequence. */
#define SOFTNP_MAX_FRAME 9216u
#define SOFTNP_MIN_FRAME 14u
/** Bytes of the frame that a learn event carries. */
#define SOFTNP_EVENT_HEADER 18u
#define SOFTNP_NO_PORT 0xFFFFFFFFu
#define SOFTNP_NO_STREAM 0xFFFFFFFFu
#define SOFTNP_NO_QUEUE 0xFFFFFFFFu
/** Cookie of a learn event whose source address matched no entry. */
#define SOFTNP_NO_COOKIE 0xFFFFFFFFu
#define SOFTNP_MAX_DELAY_MS 10000

/** Error numbers: a refused command's status field and vf_rd_err give one of these. */
enum softnp_error {
    SOFTNP_OK = 0,
    SOFTNP_ERR_NOT_SUPPORTED = 1, /* free for softnp_refuse: this device supports all commands */
    SOFTNP_ERR_NOT_DELIVERED = 2, /* vf_call failed; the device never saw the command */
    SOFTNP_ERR_SCRIPTED = 3,      /* refused on order of softnp_refuse */
    SOFTNP_ERR_BAD_VALUE = 4,     /* an argument outside what vf.h allows */
    SOFTNP_ERR_UNMAPPED_PORT = 5, /* NP port 0xFFFFFFFF: a port that the NP does not have */
    SOFTNP_ERR_NO_PORT = 6,       /* NP port not created, or beyond SOFTNP_PORTS */
    SOFTNP_ERR_PORT_EXISTS = 7,
    SOFTNP_ERR_PORT_IN_USE = 8, /* the port to delete is a member of a VLAN */
    SOFTNP_ERR_NO_VLAN = 9,
    SOFTNP_ERR_VLAN_EXISTS = 10,
    SOFTNP_ERR_VLAN_IN_USE = 11,   /* the VLAN to delete has a member */
    SOFTNP_ERR_NO_MEMBER = 12,     /* the port is not a member of the VLAN */
    SOFTNP_ERR_MEMBER_EXISTS = 13, /* the port is a member already, or by this protocol group */
    SOFTNP_ERR_NO_ENTRY = 14,      /* no MAC entry of that FID and address */
    SOFTNP_ERR_NO_FID = 15,        /* the FID is neither a VLAN's nor a port's */
    SOFTNP_ERR_FID_IN_USE = 16,    /* a port's FID that another port or VLAN has, or a VLAN's that a port has */
    SOFTNP_ERR_TABLE_FULL = 17,
    SOFTNP_ERR_NO_GROUP = 18,
    SOFTNP_ERR_GROUP_EXISTS = 19,
    SOFTNP_ERR_GROUP_IN_USE = 20,    /* the group to delete decides the VLAN of some port's frames */
    SOFTNP_ERR_NO_PROTOCOL = 21,     /* the protocol is not in the group */
    SOFTNP_ERR_PROTOCOL_EXISTS = 22, /* the protocol is in this or another group */
    SOFTNP_ERR_NO_PHPORT = 23,
    SOFTNP_ERR_NO_STREAM = 24,
    SOFTNP_ERR_STREAM_EXISTS = 25,
    SOFTNP_ERR_NO_QUEUE = 26,
    SOFTNP_ERR_QUEUE_EXISTS = 27,
    SOFTNP_ERR_QUEUE_ATTACHED = 28,
    SOFTNP_ERR_QUEUE_NOT_ATTACHED = 29,
    SOFTNP_ERR_CLASS_IN_USE = 30, /* another queue serves the class of the stream */
    SOFTNP_ERR_NO_LINE = 31,
    SOFTNP_ERR_LIST_BOUND = 32, /* the membership has a list of that kind */
    SOFTNP_ERR_LIST_NOT_BOUND = 33,
    SOFTNP_ERR_NO_MIRROR = 34,
    SOFTNP_ERR_MIRROR_EXISTS = 35,
    SOFTNP_ERR_MIRROR_ENABLED = 36,
    SOFTNP_ERR_MIRROR_DISABLED = 37,
    SOFTNP_ERR_MIRROR_INCOMPLETE = 38,   /* no source, or no destination */
    SOFTNP_ERR_MIRROR_FEEDS_ITSELF = 39, /* the source is what leaves the destination */
    SOFTNP_ERROR_COUNT
};

/** @return a short English text for an error number; "unknown error" for any other number. Never null. */
SOFTNP_API const char* softnp_error_text(int error);

/* ---- the device ------------------------------------------------------------------------------------------ */

/**
 * Gives this process and the children it forks later a device of their own, in anonymous memory, empty. An earlier
 * private device of the process is dropped.
 * @return 0, or -1 if the process has a session open or there is no memory
 */
SOFTNP_API int softnp_use_private(void);
/** Drops this process's private device and goes back to the shared one. @return 0, or -1 with a session open */
SOFTNP_API int softnp_use_shared(void);

/**
 * Sets the size of the MAC table of the next device that this process makes (private, or shared if absent).
 * @param entries 1..1048576
 * @return 0, or -1 if out of range. A device that exists keeps its size.
 */
SOFTNP_API int softnp_set_mac_capacity(uint32_t entries);

/**
 * Empties the device as a power cycle would: ports, VLANs, groups, MAC table, events, counters, log, refusals.
 * The tick starts again at 0 and follows the clock. Sessions stay open.
 */
SOFTNP_API int softnp_reset(void);

/**
 * Removes the shared segment and its semaphore. Processes that are attached go on with the removed device until
 * their last session closes. @return 0 also if there was none, -1 if the system refused
 */
SOFTNP_API int softnp_remove_device(void);

/** Lets the next `count` calls of vf_init (of any process) fail, as an NP that is not up yet. @return 0 */
SOFTNP_API int softnp_refuse_init(uint32_t count);

/**
 * The numbering of ports: 1..10 are NP ports 1..10, 101..164 are 11..74.
 * @return the other number; SOFTNP_NO_PORT if there is none
 */
SOFTNP_API uint32_t softnp_np_port(uint32_t port_id);
SOFTNP_API uint32_t softnp_port_id(uint32_t np_port);

/* ---- time ------------------------------------------------------------------------------------------------ */

/** Sets the tick and holds it there until it is set again or softnp_follow_clock is called. @return 0 */
SOFTNP_API int softnp_set_tick(uint32_t tick_ms);
/** Lets the tick run on from its present value with the monotonic clock (a new device does). @return 0 */
SOFTNP_API int softnp_follow_clock(void);
/** @param tick_ms receives the tick @return 0 */
SOFTNP_API int softnp_get_tick(uint32_t* tick_ms);

/* ---- frames ---------------------------------------------------------------------------------------------- */

enum softnp_outcome {
    SOFTNP_DROPPED = 0,
    SOFTNP_FORWARDED = 1, /* to the one port of the destination's entry */
    SOFTNP_FLOODED = 2,   /* to all members that may send it */
    SOFTNP_DELIVERED = 3  /* to the CPU: a local address of the receiving port */
};

/**
 * Why a frame was dropped. The tests are made in this order, but for DISCARD_ENTRY, which precedes SAME_PORT, and
 * PREFILTER, which follows NOT_MEMBER.
 */
enum softnp_reason {
    SOFTNP_REASON_NONE = 0,
    SOFTNP_REASON_UNKNOWN_PORT = 1, /* counted for the device only */
    SOFTNP_REASON_PORT_DISABLED = 2,
    SOFTNP_REASON_RUNT = 3, /* under 14 bytes, or under 18 with a tag */
    SOFTNP_REASON_OVERSIZE = 4,
    SOFTNP_REASON_UNTAGGED = 5, /* not tagged, and the port's flag 0x10 is off */
    SOFTNP_REASON_UNKNOWN_VLAN = 6,
    SOFTNP_REASON_NOT_MEMBER = 7,      /* ingress filtering (flag 0x20) */
    SOFTNP_REASON_NOT_FORWARDING = 8,  /* the receiving port's flag 0x02 is off; its source was looked up */
    SOFTNP_REASON_SAME_PORT = 9,       /* the destination is where the frame came from */
    SOFTNP_REASON_DISCARD_ENTRY = 10,  /* the destination's entry has flag 0x4 */
    SOFTNP_REASON_EGRESS_UNKNOWN = 11, /* the entry's port was deleted */
    SOFTNP_REASON_EGRESS_DISABLED = 12,
    SOFTNP_REASON_EGRESS_NOT_FORWARDING = 13,
    SOFTNP_REASON_EGRESS_NOT_MEMBER = 14,
    SOFTNP_REASON_NO_EGRESS = 15, /* to be flooded, but no other member may send it */
    SOFTNP_REASON_PREFILTER = 16, /* the first prefilter line that matched says so */
    SOFTNP_REASON_COUNT = 17
};

/** What the look-up of the source address found. */
enum softnp_source {
    SOFTNP_SOURCE_NOT_LOOKED_UP = 0, /* dropped or delivered before, or a group address */
    SOFTNP_SOURCE_KNOWN = 1,         /* on this port: its last hit is now; or bound to no port */
    SOFTNP_SOURCE_UNKNOWN = 2,
    SOFTNP_SOURCE_MOVED = 3
};

/** What became of a learn event. */
enum softnp_learning {
    SOFTNP_LEARN_NONE = 0, /* nothing to learn, or learning is off on the port or VLAN */
    SOFTNP_LEARN_RAISED = 1,
    SOFTNP_LEARN_LOST = 2 /* the event queue was full */
};

typedef struct softnp_verdict {
    uint32_t outcome;  /* enum softnp_outcome */
    uint32_t reason;   /* enum softnp_reason; NONE unless dropped */
    uint32_t source;   /* enum softnp_source */
    uint32_t learning; /* enum softnp_learning */
    uint32_t tick_ms;
    uint16_t VID;               /* VLAN of the frame; 0 if it did not come so far */
    uint8_t tagged;             /* 1 = by the frame's tag (a priority tag does not count) */
    uint8_t by_protocol;        /* 1 = by a protocol group */
    uint32_t egress_count;      /* ports that it was forwarded to */
    uint32_t egress[3];         /* bit p % 32 of word p / 32: forwarded to NP port p */
    uint32_t egress_tagged[3];  /* of these: with a tag */
    uint32_t egress_waiting[3]; /* of these: still in a queue of the port when softnp_receive returned */
    uint32_t egress_dropped[3]; /* of these: not sent, because its queue did not take it */
    uint16_t stream;            /* of the egress port, counted from 0, that it was classified to; 0xFFFF = none */
    uint8_t class_no;           /* 0xFF = none; the TOS map of the egress port's stream may say another */
    uint8_t colour;             /* 0 green, 1 yellow, 2 red */
    uint16_t profile;           /* of the classify line that matched, and its number now; 0 = none did */
    uint16_t line_no;
    uint32_t mirrors; /* bit m: mirror m made a copy */
} softnp_verdict;

/**
 * Receives a frame: sets the tick (and holds it, as softnp_set_tick), then runs the frame through the device.
 * @param np_port a number that is no created port drops the frame
 * @param frame   length bytes, from the destination address on, without the check sequence
 * @param verdict may be null
 * @return 0 also for a dropped frame
 */
SOFTNP_API int softnp_receive(uint32_t np_port, const void* frame, uint32_t length, uint32_t tick_ms,
                              softnp_verdict* verdict);
/** The same at the device's present tick, which it leaves alone. */
SOFTNP_API int softnp_receive_now(uint32_t np_port, const void* frame, uint32_t length, softnp_verdict* verdict);

/** @return a short English text; "unknown" for numbers that are none. Never null. */
SOFTNP_API const char* softnp_outcome_text(int outcome);
SOFTNP_API const char* softnp_reason_text(int reason);

/** A station to learn: unknown, or known on another port. One for each frame, as long as nobody learns it. */
typedef struct softnp_event {
    uint16_t port_id; /* the database's number of the port */
    uint16_t np_port;
    uint32_t tick_ms;
    uint32_t cookie; /* of the entry that matched, as vf_mk_addFDB gave it; SOFTNP_NO_COOKIE if none */
    uint16_t FID;
    uint16_t VID;
    uint8_t header[SOFTNP_EVENT_HEADER]; /* the frame's first bytes, zeros after its end */
    uint16_t header_length;              /* bytes of it that were in the frame, 14..18 */
} softnp_event;

/** A copy as it leaves the analyser port. */
typedef struct softnp_copy {
    uint32_t mirror;
    uint32_t np_port; /* the analyser port */
    uint32_t tick_ms;
    uint32_t length;
    uint8_t bytes[SOFTNP_MAX_COPY];
} softnp_copy;

/**
 * Lets the device keep the copies that mirrors send, for softnp_next_copy, or stops it. What was kept before is dropped.
 * A device does not keep them unless told. @param on 0 or 1 @return 0
 */
SOFTNP_API int softnp_capture_copies(int on);
/** Takes the oldest copy out. At most SOFTNP_COPIES wait; more are lost and counted. @return 1, or 0 if there is none */
SOFTNP_API int softnp_next_copy(softnp_copy* copy);

/** Takes the oldest event off the queue. @return 1, or 0 if there is none */
SOFTNP_API int softnp_next_event(softnp_event* event);
/** Forgets all queued events. @return 0 */
SOFTNP_API int softnp_clear_events(void);

/* ---- counters -------------------------------------------------------------------------------------------- */

/** Since the port was created or the counters were cleared. rx_frames = forwarded + flooded + delivered + dropped. */
typedef struct softnp_port_counters {
    uint64_t rx_frames;
    uint64_t rx_bytes;
    uint64_t tx_frames;
    uint64_t tx_bytes;
    uint64_t forwarded; /* of those received */
    uint64_t flooded;
    uint64_t delivered;
    uint64_t learn_raised;
    uint64_t learn_lost;
    uint64_t dropped[SOFTNP_REASON_COUNT]; /* by enum softnp_reason */
} softnp_port_counters;

typedef struct softnp_device_counters {
    uint64_t frames; /* given to softnp_receive */
    uint64_t dropped[SOFTNP_REASON_COUNT];
    uint64_t events_raised;
    uint64_t events_lost;
    uint64_t commands;         /* delivered */
    uint64_t commands_refused; /* of these */
    uint64_t commands_lost;    /* not delivered */
    uint64_t owner_deaths;     /* times a process died while it held the device's lock */
    uint64_t unqueued;         /* frames sent past the queues: their port has no such stream, or it no queue for them */
    uint64_t copies;           /* made by mirrors */
    uint64_t copies_lost;      /* sent but not captured: nobody took the earlier ones in time */
    uint32_t events_queued;
    uint32_t ports;
    uint32_t vlans;
    uint32_t groups;
    uint32_t mac_entries;
    uint32_t mac_capacity;
    uint32_t streams;
    uint32_t queues;
    uint32_t buffers_used; /* frames waiting in all queues */
    uint32_t pad;
} softnp_device_counters;

/** @return 1, or 0 (counters untouched) if the port is not 1..SOFTNP_PORTS */
SOFTNP_API int softnp_get_port_counters(uint32_t np_port, softnp_port_counters* counters);
/** @return 0 */
SOFTNP_API int softnp_get_device_counters(softnp_device_counters* counters);
/**
 * Zeroes the frame, event and command counters of the device, its ports, streams, queues, lines, mirrors and command kinds.
 * Frames that wait count as offered anew. @return 0
 */
SOFTNP_API int softnp_clear_counters(void);

/* ---- commands: counts, log, refusals --------------------------------------------------------------------- */

/**
 * Counters of one kind of command.
 * @param index   0.. until the function returns 0; kinds stand in the order of vf.h
 * @param name    receives the builder's name without "vf_mk_" (static storage); each pointer may be null
 * @param sent    receives the commands handed to vf_call
 * @param refused receives those of them that were refused or not delivered
 * @return 1, or 0 if there is no such index
 */
SOFTNP_API int softnp_command_count(uint32_t index, const char** name, uint64_t* sent, uint64_t* refused);

typedef struct softnp_log_entry {
    uint64_t serial; /* 0, 1, 2 .. since the device was made or reset */
    uint32_t tick_ms;
    uint32_t process_id;        /* of the sender */
    uint32_t chain_index;       /* 0 for a command sent alone or at the head of a chain */
    int32_t error;              /* enum softnp_error */
    char text[SOFTNP_LOG_TEXT]; /* "delete_port port=3"; see docs/softnp.md for each command's arguments */
} softnp_log_entry;

/**
 * Reads the command log, without taking anything out of it.
 * @param cursor serial number to read; 0 = from the beginning. Set to the one after the entry read.
 * @param lost   if not null, is increased by the entries that were overwritten before this reader came to them
 * @return 1, or 0 if there is no newer entry
 */
SOFTNP_API int softnp_log_read(uint64_t* cursor, uint64_t* lost, softnp_log_entry* entry);
/** @param serial receives the serial number of the next command, i.e. a cursor behind all entries @return 0 */
SOFTNP_API int softnp_log_end(uint64_t* serial);

enum softnp_refusal {
    SOFTNP_REFUSE_DELIVERY = 1, /* vf_call returns value (-1 if 0); nothing of the chain is executed */
    SOFTNP_REFUSE_STATUS = 2,   /* not executed; error number value (SOFTNP_ERR_SCRIPTED if 0) */
    SOFTNP_REFUSE_ANSWER = 3,   /* not executed; status 0, but the vf_rd_ reader gives value (SCRIPTED if 0) */
    SOFTNP_ANSWER_LATE = 4      /* executed; vf_call returns after value ms, 0..SOFTNP_MAX_DELAY_MS */
};

/**
 * Orders a refusal.
 * @param command name as in softnp_command_count, or "*" for any command
 * @param nth     1 = the next command of the kind, 2 = the one after it ..; the order is then used up.
 *                0 = every one until softnp_clear_refusals
 * @param how     enum softnp_refusal
 * @param value   see there; for STATUS 0..32767
 * @return 0, or -1 for an unknown name or how, a value out of range, or SOFTNP_REFUSALS orders waiting already.
 * When several orders meet one command, the oldest counts.
 */
SOFTNP_API int softnp_refuse(const char* command, uint32_t nth, int how, int32_t value);
/** Drops all orders that were not met, those for vf_init included. @return 0 */
SOFTNP_API int softnp_clear_refusals(void);

/* ---- readers of the state -------------------------------------------------------------------------------- */

enum softnp_port_state {
    SOFTNP_PORT_NEW = 0, /* never enabled nor disabled since it was created; admits frames */
    SOFTNP_PORT_ENABLED = 1,
    SOFTNP_PORT_DISABLED = 2 /* neither admits nor sends */
};

typedef struct softnp_policing {
    uint32_t rate;
    uint32_t burst;
    uint32_t color;
} softnp_policing;

/** A port; the values as the commands gave them. */
typedef struct softnp_port {
    uint32_t state;  /* enum softnp_port_state */
    uint16_t p_flag; /* 0x01 learning, 0x02 forwarding, 0x10 untagged frames, 0x20 ingress filtering, 0x40 tags */
    uint16_t tagtype;
    uint16_t PVID;
    uint16_t FID;
    uint8_t p_type;
    uint8_t pri;
    uint8_t phport;
    uint8_t pad;
    softnp_policing policing[SOFTNP_CLASSES];
    uint32_t cosmap[SOFTNP_CLASSES];
    uint32_t valbit;
    uint32_t bandwidth_calc_mode;
    uint32_t def_spno;
    uint32_t def_pri;
    uint32_t def_color;
    uint32_t binding_count;
} softnp_port;

/** One protocol binding of a port: frames of the group's protocols belong to the VLAN. */
typedef struct softnp_binding {
    uint16_t group;
    uint16_t VID;
} softnp_binding;

typedef struct softnp_vlan {
    uint16_t VID;
    uint16_t FID;
    uint8_t ignore_fdb;
    uint8_t learning_off;
    uint16_t member_count;
    uint32_t members[3]; /* bit p % 32 of word p / 32: NP port p */
} softnp_vlan;

typedef struct softnp_member {
    uint8_t tagged;
    uint8_t protocol_based;
    uint16_t tagtype;
} softnp_member;

typedef struct softnp_group {
    uint16_t group;
    uint16_t count;
    uint16_t protocols[SOFTNP_GROUP_PROTOCOLS];
} softnp_group;

typedef struct softnp_mac_entry {
    uint8_t mac[6];
    uint16_t FID;
    int16_t np_port; /* -1 = bound to no port */
    uint8_t flag;
    uint8_t pad;
    uint32_t cookie;
    uint32_t last_hit_ms; /* tick at which the station was heard last, or the entry was made */
} softnp_mac_entry;

typedef struct softnp_phport {
    uint32_t shaping_rate;
    uint32_t shaping_param2;
} softnp_phport;

/**
 * What became of the frames of a queue, or of all queues of a stream, since it was created or counters were cleared.
 * offered = sent + waiting + dropped + flushed, in frames and in bytes.
 */
typedef struct softnp_queue_counters {
    uint64_t offered_frames;
    uint64_t offered_bytes;
    uint64_t sent_frames;
    uint64_t sent_bytes;
    uint64_t dropped_length;              /* frames; the queue was as long as it may be */
    uint64_t dropped_red[SOFTNP_COLOURS]; /* frames, by colour */
    uint64_t dropped_buffers;             /* frames; all buffers of the device were in use */
    uint64_t flushed_frames;              /* waiting when their queue was taken out of its stream or deleted */
    uint64_t lost_bytes;                  /* of all that were dropped or flushed */
} softnp_queue_counters;

typedef struct softnp_queue {
    uint32_t queue;
    uint32_t size;         /* stored */
    uint32_t queue_length; /* frames that may wait */
    uint32_t streamno;     /* SOFTNP_NO_STREAM if in none */
    uint8_t class_no;
    uint8_t mode; /* 1 = weighted fair queueing, 2 = strict priority, others: neither pri nor ratio kept */
    uint8_t pri;
    uint8_t ratio;
    uint32_t waiting_frames;
    uint64_t waiting_bytes;
    softnp_queue_counters counters;
} softnp_queue;

/** Thresholds in percent of the queue's length, drops in percent of the frames. */
typedef struct softnp_red {
    uint8_t min_thresh;
    uint8_t max_thresh;
    uint8_t min_drop;
    uint8_t max_drop;
} softnp_red;

typedef struct softnp_stream {
    uint32_t streamno;
    uint32_t priority;  /* stored */
    uint32_t qos_type;  /* 1 = weighted fair queueing, 2 = strict priority, others: in order of arrival */
    uint32_t qos_param; /* stored, as the other */
    uint32_t qos_param2;
    uint32_t minrate; /* bits a second; bursts are bytes */
    uint32_t minburst;
    uint32_t maxrate;
    uint32_t maxburst;
    uint32_t has_actual_rate; /* 1 = the two below were set */
    uint32_t actual_rate;
    uint32_t actual_excess;
    softnp_red red[SOFTNP_CLASSES][SOFTNP_COLOURS];
    uint32_t tosmap_bits;
    uint32_t tos_value[SOFTNP_TOS_ENTRIES];
    uint32_t tos_mask[SOFTNP_TOS_ENTRIES];
    uint32_t queue[SOFTNP_CLASSES]; /* SOFTNP_NO_QUEUE = the class has none */
    uint32_t waiting_frames;
    uint32_t is_shaped;
    uint64_t waiting_bytes;
    uint64_t rate;     /* bits a second that it sends at now, if it is shaped */
    uint64_t unqueued; /* frames of classes without a queue, sent past the queues */
    softnp_queue_counters counters;
} softnp_stream;

enum softnp_list_kind {
    SOFTNP_CLASSIFY = 0, /* profiles */
    SOFTNP_PREFILTER = 1,
    SOFTNP_LOC = 2
};

/** A list that has lines. */
typedef struct softnp_list {
    uint32_t list; /* its number */
    uint32_t lines;
} softnp_list;

/** One line of a list: its bytes as the command gave them, in the processor's byte order, and what it matched. */
typedef struct softnp_line {
    uint32_t list;
    uint32_t line_no; /* its place now, 1.. */
    uint64_t frames;  /* that it was the first line to match; of loc lines always 0 */
    uint64_t bytes;
    uint32_t size; /* 120, 64 or 16 */
    uint8_t data[SOFTNP_CLASSIFY_LINE_SIZE];
    uint32_t pad;
} softnp_line;

/** The list of a membership. */
typedef struct softnp_list_binding {
    uint32_t list;
    uint32_t words[4]; /* stored */
} softnp_list_binding;

typedef struct softnp_mirror {
    uint32_t mirror;
    uint32_t enabled;
    uint32_t kind;           /* 0 none, 1 port in, 2 port in, one VLAN, 3 port out, 4 port out, one VLAN, 5 a VLAN */
    uint32_t source_port_id; /* the database's number, as the destination's */
    uint32_t source_VID;
    uint32_t dest_port_id; /* 0 = none */
    uint32_t class_no;     /* class of the copies, in the stream of the destination that the next names from 0 on */
    uint32_t second;
    uint32_t colour;
    uint32_t tag_on;
    uint32_t tagtype;
    uint32_t tag_VID;
    uint64_t copies; /* made */
    uint64_t copy_bytes;
    uint64_t unsent;  /* of these: the destination is not there, or disabled */
    uint64_t dropped; /* of these: by a queue of the destination */
} softnp_mirror;

/* Each reader returns 1, or 0 (record untouched) if there is no such object. */
/** @param number 1..4 */
SOFTNP_API int softnp_get_mirror(uint32_t number, softnp_mirror* mirror);
/** @param kind enum softnp_list_kind @param index 0.. of the lists that have lines, in the order of their numbers */
SOFTNP_API int softnp_get_list(int kind, uint32_t index, softnp_list* list);
/** @param line_no 1.. */
SOFTNP_API int softnp_get_line(int kind, uint32_t list, uint32_t line_no, softnp_line* line);
SOFTNP_API int softnp_get_list_binding(int kind, uint32_t VID, uint32_t np_port, softnp_list_binding* binding);
/** A stream or a queue as it is at the device's present tick. */
SOFTNP_API int softnp_get_stream(uint32_t streamno, softnp_stream* stream);
SOFTNP_API int softnp_get_queue(uint32_t queue, softnp_queue* record);
SOFTNP_API int softnp_get_port(uint32_t np_port, softnp_port* port);
/** @param index 0..binding_count-1, in the order in which they were made */
SOFTNP_API int softnp_get_binding(uint32_t np_port, uint32_t index, softnp_binding* binding);
SOFTNP_API int softnp_get_phport(uint32_t phport, softnp_phport* record);
SOFTNP_API int softnp_get_vlan(uint32_t VID, softnp_vlan* vlan);
SOFTNP_API int softnp_get_member(uint32_t VID, uint32_t np_port, softnp_member* member);
/** @param index 0..7, in the order in which the groups were made */
SOFTNP_API int softnp_get_group(uint32_t index, softnp_group* group);
SOFTNP_API int softnp_get_mac_entry(uint32_t FID, const uint8_t mac[6], softnp_mac_entry* entry);
/**
 * Copies MAC entries, in no order. An entry that stays through all calls of a pass is met once.
 * @param cursor 0 to start; moved on
 * @return the entries copied, 0..max; 0 only when there are no more
 */
SOFTNP_API int softnp_read_mac_entries(uint32_t* cursor, softnp_mac_entry* entries, uint32_t max);

#ifdef __cplusplus
}
#endif

#endif
