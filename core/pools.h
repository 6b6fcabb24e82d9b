// Record pools: alloc_ and free_ of every kind. Last in, first out; a fresh pool hands out its highest record first.
#pragma once

#include <cstring>

#include "core/links.h"
#include "core/records.h"

namespace zelfdb {

// Which word heads the free list, and which link pair threads it. The owner is the main header, or a VLAN for its pvs.
template <auto FreeHead, auto LinkOf>
struct Pool {
};

inline constexpr Pool<&Header::phport_free, &Phport::phport_link> phport_pool;
inline constexpr Pool<&Header::port_free, &Port::port_link> port_pool;
inline constexpr Pool<&Header::stream_free, &Stream::stream_link> stream_pool;
inline constexpr Pool<&Header::queue_free, &Queue::queue_link> queue_pool;
inline constexpr Pool<&Header::vlan_free, &Vlan::vlan_link> vlan_pool;
inline constexpr Pool<&Vlan::pv_free, &Pv::vlan_link> pv_pool;
inline constexpr Pool<&Header::fil_free, &Fil::link> fil_pool;
inline constexpr Pool<&Header::classify_free, &Classify::classify_link> classify_pool;
inline constexpr Pool<&Header::action_free, &Action::link> action_pool;

// The payload stays as its last user left it; null when the pool is exhausted.
template <auto FreeHead, auto LinkOf, class Owner>
Linked<LinkOf>* take(Pool<FreeHead, LinkOf>, Base base, Owner& owner)
{
    Offset& head = owner.*FreeHead;
    if (head == none) return nullptr;
    auto& record = record_at<Linked<LinkOf>>(base, head);
    const Offset next = (record.*LinkOf).next;
    if (next != none) link_at<LinkOf>(base, next).prev = none;
    head = next;
    record.*LinkOf = {none, none};
    return &record;
}

template <auto FreeHead, auto LinkOf, class Owner>
void give_back(Pool<FreeHead, LinkOf>, Base base, Owner& owner, Linked<LinkOf>* record)
{
    if (record) push_front<LinkOf>(base, owner.*FreeHead, *record);
}

// Threads count records that lie stride bytes apart, lowest first, so that the highest ends up first in the list.
template <auto FreeHead, auto LinkOf, class Owner>
void thread(Pool<FreeHead, LinkOf>, Base base, Owner& owner, Offset first, u32 count)
{
    owner.*FreeHead = none;
    for (u32 i = 0; i < count; ++i) {
        const Offset at{first.value + i * static_cast<u32>(sizeof(Linked<LinkOf>))};
        push_front<LinkOf>(base, owner.*FreeHead, record_at<Linked<LinkOf>>(base, at));
    }
}

inline Phport* alloc_phport(Base base, Header& header) { return take(phport_pool, base, header); }
inline void free_phport(Base base, Header& header, Phport* phport) { give_back(phport_pool, base, header, phport); }

inline Port* alloc_port(Base base, Header& header)
{
    Port* port = take(port_pool, base, header);
    if (!port) return nullptr;
    port->pvid_link = {none, none};
    port->stream_head = none;
    port->pv_head = none;
    return port;
}
inline void free_port(Base base, Header& header, Port* port) { give_back(port_pool, base, header, port); }

inline Stream* alloc_stream(Base base, Header& header)
{
    Stream* stream = take(stream_pool, base, header);
    if (!stream) return nullptr;
    for (ClassSlot& slot : stream->slot) slot.queue_head = none;
    return stream;
}
inline void free_stream(Base base, Header& header, Stream* stream) { give_back(stream_pool, base, header, stream); }

inline Queue* alloc_queue(Base base, Header& header)
{
    Queue* queue = take(queue_pool, base, header);
    if (queue) queue->stream_link = {none, none};
    return queue;
}
inline void free_queue(Base base, Header& header, Queue* queue) { give_back(queue_pool, base, header, queue); }

// The VLAN's own pool of memberships outlives it: pv_free is kept.
inline Vlan* alloc_vlan(Base base, Header& header)
{
    Vlan* vlan = take(vlan_pool, base, header);
    if (!vlan) return nullptr;
    vlan->pv_head = none;
    vlan->name_link = {none, none};
    return vlan;
}
inline void free_vlan(Base base, Header& header, Vlan* vlan) { give_back(vlan_pool, base, header, vlan); }

inline Pv* alloc_pv(Base base, Header&, Vlan& vlan)
{
    Pv* pv = take(pv_pool, base, vlan);
    if (!pv) return nullptr;
    pv->classify = 0;
    std::memset(pv->classify_words, 0, sizeof pv->classify_words);
    pv->port_link = {none, none};
    pv->classify_link = {none, none};
    return pv;
}
inline void free_pv(Base base, Header&, Vlan& vlan, Pv* pv) { give_back(pv_pool, base, vlan, pv); }

// base is the FDB segment's, as in everything that handles a Fil; the free list's head is in the main header.
inline Fil* alloc_fil(Base base, Header& header) { return take(fil_pool, base, header); }
inline void free_fil(Base base, Header& header, Fil* fil) { give_back(fil_pool, base, header, fil); }

inline Classify* alloc_classify(Base base, Header& header)
{
    Classify* classify = take(classify_pool, base, header);
    if (classify) classify->naction = 0;
    return classify;
}
inline void free_classify(Base base, Header& header, Classify* classify)
{
    give_back(classify_pool, base, header, classify);
}

inline Action* alloc_action(Base base, Header& header) { return take(action_pool, base, header); }
inline void free_action(Base base, Header& header, Action* action) { give_back(action_pool, base, header, action); }

}  // namespace zelfdb
