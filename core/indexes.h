// Index arrays: from an ID to its record in one step. index_, unindex_ and lookup_ of every kind that has one.
//
// The slot of ID k lies k words after Slot0. For kinds whose IDs start at 1, Slot0 is the free-list word that stands before
// the array, so a lookup of ID 0 yields that list's first record (for classify, whose array follows two such words, a free
// ACTION). That overlap is part of the format and is kept deliberately: creating port 0 relies on it to be refused.
// Everything else asks for a real object and uses the known_ forms, which find no object with ID 0.
#pragma once

#include "core/records.h"

namespace zelfdb {

template <auto Id, u32 Slot0, u32 Lowest, u32 HighestSlot, u32 HighestFound>
struct Index {
};

inline constexpr Index<&Phport::ID, offsetof(Header, phport_free), 1, 4, 4> phport_index;
// There is a slot for port 200, which no lookup reads.
inline constexpr Index<&Port::PortID, offsetof(Header, port_free), 1, 200, 199> port_index;
inline constexpr Index<&Stream::streamno, offsetof(Header, stream_index), 0, 1023, 1023> stream_index;
inline constexpr Index<&Queue::queueno, offsetof(Header, queue_index), 0, 8191, 8191> queue_index;
inline constexpr Index<&Vlan::VID, offsetof(Header, vlan_index), 0, 8191, 8191> vlan_index;
inline constexpr Index<&Classify::ID, offsetof(Header, action_free), 1, 64, 64> classify_index;

template <u32 Slot0>
Offset& index_slot(Header& header, u32 id)
{
    return reinterpret_cast<Offset*>(reinterpret_cast<u8*>(&header) + Slot0)[id];
}

// An ID outside the array has no slot: writing one would land in another kind's words.
template <auto Id, u32 Slot0, u32 Lowest, u32 HighestSlot, u32 HighestFound, class Record>
void enter(Index<Id, Slot0, Lowest, HighestSlot, HighestFound>, Header& header, const Record& record, Offset value)
{
    const u32 id = record.*Id;
    if (id >= Lowest && id <= HighestSlot) index_slot<Slot0>(header, id) = value;
}

template <class Record, auto Id, u32 Slot0, u32 Lowest, u32 HighestSlot, u32 HighestFound>
Record* find(Index<Id, Slot0, Lowest, HighestSlot, HighestFound>, Base base, Header& header, u32 id)
{
    if (id > HighestFound) return nullptr;
    const Offset slot = index_slot<Slot0>(header, id);
    return slot == none ? nullptr : &record_at<Record>(base, slot);
}

inline void index_phport(Base b, Header& h, const Phport& phport)
{
    enter(phport_index, h, phport, offset_of(b, phport));
}
inline void index_port(Base b, Header& h, const Port& port) { enter(port_index, h, port, offset_of(b, port)); }
inline void index_stream(Base b, Header& h, const Stream& stream)
{
    enter(stream_index, h, stream, offset_of(b, stream));
}
inline void index_queue(Base b, Header& h, const Queue& queue) { enter(queue_index, h, queue, offset_of(b, queue)); }
inline void index_vlan(Base b, Header& h, const Vlan& vlan) { enter(vlan_index, h, vlan, offset_of(b, vlan)); }
inline void index_classify(Base b, Header& h, const Classify& c) { enter(classify_index, h, c, offset_of(b, c)); }

inline void unindex_phport(Header& header, const Phport& phport) { enter(phport_index, header, phport, none); }
inline void unindex_port(Header& header, const Port& port) { enter(port_index, header, port, none); }
inline void unindex_stream(Header& header, const Stream& stream) { enter(stream_index, header, stream, none); }
inline void unindex_queue(Header& header, const Queue& queue) { enter(queue_index, header, queue, none); }
inline void unindex_vlan(Header& header, const Vlan& vlan) { enter(vlan_index, header, vlan, none); }
inline void unindex_classify(Header& header, const Classify& classify)
{
    enter(classify_index, header, classify, none);
}

inline Phport* lookup_phport(Base base, Header& header, u32 id) { return find<Phport>(phport_index, base, header, id); }
inline Port* lookup_port(Base base, Header& header, u32 id) { return find<Port>(port_index, base, header, id); }
inline Stream* lookup_stream(Base base, Header& header, u32 id) { return find<Stream>(stream_index, base, header, id); }
inline Queue* lookup_queue(Base base, Header& header, u32 id) { return find<Queue>(queue_index, base, header, id); }
inline Vlan* lookup_vlan(Base base, Header& header, u32 id) { return find<Vlan>(vlan_index, base, header, id); }
inline Classify* lookup_classify(Base base, Header& header, u32 id)
{
    return find<Classify>(classify_index, base, header, id);
}

inline Port* known_port(Base base, Header& header, u32 id) { return id == 0 ? nullptr : lookup_port(base, header, id); }
inline Phport* known_phport(Base base, Header& header, u32 id)
{
    return id == 0 ? nullptr : lookup_phport(base, header, id);
}
inline Classify* known_classify(Base base, Header& header, u32 id)
{
    return id == 0 ? nullptr : lookup_classify(base, header, id);
}

}  // namespace zelfdb
