// Reading the headers of a frame, as far as they are whole.
#include "frame_fields.h"

#include <algorithm>

namespace softnp {

namespace {

constexpr u32 TYPE_AT = 12;
constexpr u32 TAG_SIZE = 4;
constexpr u32 ETYPE_IPV4 = 0x0800;
constexpr u32 IPV4_MIN_HEADER = 20;
constexpr u32 FRAGMENT_OFFSET = 0x1FFF;
constexpr u32 PROTO_TCP = 6;
constexpr u32 PROTO_UDP = 17;
constexpr u32 PROTO_SCTP = 132;
constexpr u32 TCP_MIN_HEADER = 20;
constexpr u32 UDP_HEADER = 8;
constexpr u32 SCTP_HEADER = 12;

// A part of a frame; reading never goes past its end.
struct Part {
    const u8* bytes;
    u32 at;
    u32 end;

    u32 size() const { return end - at; }
    u32 byte(u32 offset) const { return bytes[at + offset]; }
    u32 half(u32 offset) const { return byte(offset) << 8 | byte(offset + 1); }
    u32 word(u32 offset) const { return half(offset) << 16 | half(offset + 2); }
};

// The transport header's length; 0 if there is none that is whole, or none that we know.
u32 transport_header(const Part& part, u32 proto)
{
    u32 length = 0;
    if (proto == PROTO_UDP) length = UDP_HEADER;
    if (proto == PROTO_SCTP) length = SCTP_HEADER;
    if (proto == PROTO_TCP && part.size() >= TCP_MIN_HEADER)
        length = std::max((part.byte(12) >> 4) * 4, TCP_MIN_HEADER);
    return length <= part.size() ? length : 0;
}

void read_transport(FrameFields& fields, Part& part)
{
    const u32 length = transport_header(part, fields.proto);
    if (length == 0) return;
    fields.src_port = part.half(0);
    fields.dst_port = part.half(2);
    fields.present |= FIELD_SRC_PORT | FIELD_DST_PORT;
    part.at += length;
}

// What a frame was padded with does not belong to the packet. A total length of 0 is what recorders of segments that
// are cut by the sender's hardware leave.
void drop_padding(Part& part, u32 header, u32 total)
{
    if (total >= header && total < part.size()) part.end = part.at + total;
}

void read_ipv4(FrameFields& fields, Part& part)
{
    if (part.size() < IPV4_MIN_HEADER || part.byte(0) >> 4 != 4) return;
    const u32 header = (part.byte(0) & 0xF) * 4;
    if (header < IPV4_MIN_HEADER || header > part.size()) return;
    fields.tos = part.byte(1);
    fields.proto = part.byte(9);
    fields.src_ip = part.word(12);
    fields.dst_ip = part.word(16);
    fields.present |= FIELD_TOS | FIELD_PROTO | FIELD_SRC_IP | FIELD_DST_IP;
    const bool is_first_fragment = (part.half(6) & FRAGMENT_OFFSET) == 0;
    drop_padding(part, header, part.half(2));
    part.at += header;
    if (is_first_fragment) read_transport(fields, part);
}

void read_payload(FrameFields& fields, const Part& part)
{
    for (u32 index = 0; index < EXT_FIELDS && part.size() >= 4 * (index + 1); index++) {
        fields.ext[index] = part.word(4 * index);
        fields.present |= FIELD_EXT << index;
    }
}

}  // namespace

FrameFields fields_of(const Port& port, const Frame& frame, u32 VID)
{
    FrameFields fields{};
    Part part{frame.bytes, TYPE_AT, frame.length};
    fields.vlan = VID;
    fields.present = FIELD_VLAN | FIELD_ETYPE;
    if (has_tag(port, frame)) {
        fields.dot1p = part.byte(2) >> 5;
        fields.present |= FIELD_DOT1P;
        part.at += TAG_SIZE;
    }
    fields.etype = part.half(0);
    part.at += 2;
    if (fields.etype == ETYPE_IPV4) read_ipv4(fields, part);
    read_payload(fields, part);
    return fields;
}

}  // namespace softnp
