// What a frame says of itself beyond its addresses: the fields that decide its treatment. Called by classification.
#pragma once

#include "classify_vlan.h"

namespace softnp {

// Which fields a frame has, and a line asks for. The bits are those of a classify line.
inline constexpr u32 FIELD_DOT1P = 0x01;
inline constexpr u32 FIELD_VLAN = 0x02;
inline constexpr u32 FIELD_ETYPE = 0x04;
inline constexpr u32 FIELD_TOS = 0x08;
inline constexpr u32 FIELD_PROTO = 0x10;
inline constexpr u32 FIELD_SRC_IP = 0x20;
inline constexpr u32 FIELD_DST_IP = 0x40;
inline constexpr u32 FIELD_SRC_PORT = 0x80;
inline constexpr u32 FIELD_DST_PORT = 0x100;
inline constexpr u32 FIELD_EXT = 0x1000000;  // shifted by the extended field's number, 0 to 3
inline constexpr u32 EXT_FIELDS = 4;

struct FrameFields {
    u32 present;
    u32 vlan;
    u32 etype;  // behind a tag that the port recognises
    u32 dot1p;  // of that tag
    u32 tos;
    u32 proto;
    u32 src_ip;
    u32 dst_ip;
    u32 src_port;
    u32 dst_port;
    u32 ext[EXT_FIELDS];  // the first words of the payload
};

// The fields of an admitted frame. IPv4, TCP, UDP and SCTP are looked into; a header that is cut off or malformed, and
// all behind it, is not there. The payload that the extended fields show is what follows the innermost header read.
FrameFields fields_of(const Port& port, const Frame& frame, u32 VID);

}  // namespace softnp
