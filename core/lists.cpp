// The ordered lists whose head is not a plain word of the owner, and the look-ups that walk a list.
#include "core/lists.h"

namespace zelfdb {

void enQ_port_by_pvid(Base base, Header& header, Port& port)
{
    port.pvid_link = {none, none};
    if (port.PVID >= pvid_chain_count) return;
    insert_ordered<&Port::pvid_link, signed_port_id>(base, header.pvid_chain[port.PVID], port);
}

void deQ_port_by_pvid(Base base, Header& header, Port& port)
{
    if (port.PVID >= pvid_chain_count) return;
    unlink<&Port::pvid_link>(base, header.pvid_chain[port.PVID], port);
}

Walk<&Port::pvid_link> ports_of_pvid(Base base, const Header& header, u32 pvid)
{
    return {base, pvid < pvid_chain_count ? header.pvid_chain[pvid] : none};
}

void enQ_stream_to_port(Base base, Header&, Port& port, Stream& stream) { insert(streams_of_port, base, port, stream); }

// A stream outlives its port, and keeps the links of a list that is gone: unlinking it blindly from a port made anew under
// the same ID would cut that port's list. So it is unlinked only if the port's list leads to it. There are at most
// stream_count records to visit.
void deQ_stream_from_port(Base base, Header&, Port& port, Stream& stream)
{
    u32 visited = 0;
    for (const Stream& on_list : walk(streams_of_port, base, port)) {
        if (&on_list == &stream) return remove(streams_of_port, base, port, stream);
        if (++visited == stream_count) return;
    }
}

void enQ_queue_to_stream(Base base, Header&, Stream& stream, u32 slot, Queue& queue)
{
    if (slot < class_count) insert(queues_of_slot, base, stream.slot[slot], queue);
}

void deQ_queue_from_stream(Base base, Header&, Stream& stream, u32 slot, Queue& queue)
{
    if (slot < class_count) remove(queues_of_slot, base, stream.slot[slot], queue);
}

Queue* lookup_queue_in_stream(Base base, Header& header, u32 queue_id)
{
    for (const Stream& stream : walk(all_streams, base, header)) {
        for (const ClassSlot& slot : stream.slot) {
            for (Queue& queue : walk(queues_of_slot, base, slot)) {
                if (queue.queueno == queue_id) return &queue;
            }
        }
    }
    return nullptr;
}

Pv* lookup_pv_by_port_in_a_vlan(Base base, Header&, const Vlan& vlan, const Port& port)
{
    for (Pv& pv : walk(pvs_of_vlan, base, vlan)) {
        if (pv.port_id == port.PortID) return &pv;
    }
    return nullptr;
}

Pv* lookup_pv_by_vlan_in_a_port(Base base, Header&, const Port& port, const Vlan& vlan)
{
    for (Pv& pv : walk(pvs_of_port, base, port)) {
        if (pv.VID == vlan.VID) return &pv;
    }
    return nullptr;
}

i32 search_free_DOT1QVID(const Header& header)
{
    for (i32 vid = 1; vid <= 4094; ++vid) {
        if (header.vlan_index[vid] == none) return vid;
    }
    return -1;
}

namespace {

void renumber(Base base, Classify& classify)
{
    u32 count = 0;
    for (Action& action : actions_of(base, classify)) action.position = ++count;
    classify.naction = count;
}

constexpr u32 append_position = 65535;

}  // namespace

void enQ_action(Base base, Header&, Classify& classify, Action& action)
{
    if (action.position == 0) action.position = append_position;
    Offset before = none;
    for (const Action& line : actions_of(base, classify)) {
        if (action.position <= line.position) break;
        before = offset_of(base, line);
    }
    if (before == none) {
        push_front<&Action::link>(base, classify.action_head, action);
    } else {
        insert_after<&Action::link>(base, before, action);
    }
    renumber(base, classify);
}

void deQ_action(Base base, Header&, Classify& classify, Action& action)
{
    unlink<&Action::link>(base, classify.action_head, action);
    renumber(base, classify);
}

Action* lookup_action(Base base, Header&, const Classify& classify, u32 position)
{
    for (Action& action : actions_of(base, classify)) {
        if (action.position == position) return &action;
    }
    return nullptr;
}

}  // namespace zelfdb
