// Ordered lists: enQ_ and deQ_ of every kind, and the look-ups that walk one list.
#pragma once

#include "core/indexes.h"
#include "core/links.h"
#include "core/records.h"

namespace zelfdb {

// Whose word heads the list, which link pair threads it, and what it ascends by.
template <auto Head, auto LinkOf, auto Key>
struct OrderedList {
};

// Port IDs ascend as signed numbers.
inline constexpr auto signed_port_id = [](const Port& port) { return static_cast<i32>(port.PortID); };

inline constexpr OrderedList<&Header::phport_head, &Phport::phport_link, &Phport::ID> all_phports;
inline constexpr OrderedList<&Header::port_head, &Port::port_link, signed_port_id> all_ports;
inline constexpr OrderedList<&Header::stream_head, &Stream::stream_link, &Stream::streamno> all_streams;
inline constexpr OrderedList<&Header::queue_head, &Queue::queue_link, &Queue::queueno> all_queues;
inline constexpr OrderedList<&Header::vlan_head, &Vlan::vlan_link, &Vlan::VID> all_vlans;
inline constexpr OrderedList<&Header::classify_head, &Classify::classify_link, &Classify::ID> all_classifies;
inline constexpr OrderedList<&Port::stream_head, &Stream::port_link, &Stream::streamno> streams_of_port;
inline constexpr OrderedList<&ClassSlot::queue_head, &Queue::stream_link, &Queue::queueno> queues_of_slot;
inline constexpr OrderedList<&Vlan::pv_head, &Pv::vlan_link, &Pv::port_id> pvs_of_vlan;
inline constexpr OrderedList<&Port::pv_head, &Pv::port_link, &Pv::VID> pvs_of_port;
inline constexpr OrderedList<&Classify::pv_head, &Pv::classify_link, &Pv::VID> pvs_of_classify;

template <auto Head, auto LinkOf, auto Key, class Owner>
void insert(OrderedList<Head, LinkOf, Key>, Base base, Owner& owner, Linked<LinkOf>& record)
{
    insert_ordered<LinkOf, Key>(base, owner.*Head, record);
}

template <auto Head, auto LinkOf, auto Key, class Owner>
void remove(OrderedList<Head, LinkOf, Key>, Base base, Owner& owner, Linked<LinkOf>& record)
{
    unlink<LinkOf>(base, owner.*Head, record);
}

// For range-for: the records of a list in order; the body may remove the one it is given.
template <auto Head, auto LinkOf, auto Key, class Owner>
Walk<LinkOf> walk(OrderedList<Head, LinkOf, Key>, Base base, const Owner& owner)
{
    return {base, owner.*Head};
}

inline void enQ_phport(Base base, Header& header, Phport& phport) { insert(all_phports, base, header, phport); }
inline void deQ_phport(Base base, Header& header, Phport& phport) { remove(all_phports, base, header, phport); }
inline void enQ_port(Base base, Header& header, Port& port) { insert(all_ports, base, header, port); }
inline void deQ_port(Base base, Header& header, Port& port) { remove(all_ports, base, header, port); }
inline void enQ_stream(Base base, Header& header, Stream& stream) { insert(all_streams, base, header, stream); }
inline void deQ_stream(Base base, Header& header, Stream& stream) { remove(all_streams, base, header, stream); }
inline void enQ_queue(Base base, Header& header, Queue& queue) { insert(all_queues, base, header, queue); }
inline void deQ_queue(Base base, Header& header, Queue& queue) { remove(all_queues, base, header, queue); }
inline void enQ_vlan(Base base, Header& header, Vlan& vlan) { insert(all_vlans, base, header, vlan); }
inline void deQ_vlan(Base base, Header& header, Vlan& vlan) { remove(all_vlans, base, header, vlan); }
inline void enQ_classify(Base base, Header& header, Classify& classify)
{
    insert(all_classifies, base, header, classify);
}
inline void deQ_classify(Base base, Header& header, Classify& classify)
{
    remove(all_classifies, base, header, classify);
}

inline void enQ_pv(Base base, Header&, Vlan& vlan, Pv& pv) { insert(pvs_of_vlan, base, vlan, pv); }
inline void deQ_pv(Base base, Header&, Vlan& vlan, Pv& pv) { remove(pvs_of_vlan, base, vlan, pv); }
inline void enQ_pv_in_classify(Base base, Header&, Classify& c, Pv& pv) { insert(pvs_of_classify, base, c, pv); }
inline void deQ_pv_in_classify(Base base, Header&, Classify& c, Pv& pv) { remove(pvs_of_classify, base, c, pv); }

inline void enQ_pv_in_a_port(Base base, Header&, Port& port, Pv& pv) { insert(pvs_of_port, base, port, pv); }

// The port is the one that the membership names; it must still exist.
inline void deQ_pv_in_a_port(Base base, Header& header, Vlan&, Pv& pv)
{
    if (Port* port = known_port(base, header, pv.port_id)) remove(pvs_of_port, base, *port, pv);
}

// The ports with one PVID. There are chains for PVIDs 0..8191; a port with a larger one is on none.
void enQ_port_by_pvid(Base base, Header& header, Port& port);
// Goes by the port's current PVID: change it only between deQ_port_by_pvid and enQ_port_by_pvid.
void deQ_port_by_pvid(Base base, Header& header, Port& port);
Walk<&Port::pvid_link> ports_of_pvid(Base base, const Header& header, u32 pvid);

void enQ_stream_to_port(Base base, Header& header, Port& port, Stream& stream);
void deQ_stream_from_port(Base base, Header& header, Port& port, Stream& stream);

// A slot outside 0..7 has no list: nothing is linked or unlinked.
void enQ_queue_to_stream(Base base, Header& header, Stream& stream, u32 slot, Queue& queue);
void deQ_queue_from_stream(Base base, Header& header, Stream& stream, u32 slot, Queue& queue);
// The first queue with that number on any stream's slots; a queue that serves no stream is not found.
Queue* lookup_queue_in_stream(Base base, Header& header, u32 queue_id);

Pv* lookup_pv_by_port_in_a_vlan(Base base, Header& header, const Vlan& vlan, const Port& port);
Pv* lookup_pv_by_vlan_in_a_port(Base base, Header& header, const Port& port, const Vlan& vlan);

// The lowest VID of 1..4094 that no VLAN has, or -1.
i32 search_free_DOT1QVID(const Header& header);

// A profile's lines, in position order. enQ_action takes the wanted place from action.position: 0 appends, n goes before
// the first line whose position is n or more. Both renumber 1..n and store n in the profile.
void enQ_action(Base base, Header& header, Classify& classify, Action& action);
void deQ_action(Base base, Header& header, Classify& classify, Action& action);
Action* lookup_action(Base base, Header& header, const Classify& classify, u32 position);
inline Walk<&Action::link> actions_of(Base base, const Classify& classify) { return {base, classify.action_head}; }

}  // namespace zelfdb
