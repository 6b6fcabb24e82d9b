// Doubly linked offset lists, whatever the record: the five moves that pools, ordered lists and hash chains are made of.
// No locks and no checks here: callers hold the locks and have validated what they pass.
//
// The prev link of a list's first record is part of the format: a record that becomes first by being pushed or inserted
// points to itself, one that becomes first because the record before it left has none. Nothing reads it, both occur.
#pragma once

#include <functional>

#include "core/types.h"

namespace zelfdb {

template <class Record>
Record link_owner(Link Record::*);

// The record type that a link pair belongs to.
template <auto LinkOf>
using Linked = decltype(link_owner(LinkOf));

template <auto LinkOf, class Record = Linked<LinkOf>>
Link& link_at(Base base, Offset offset)
{
    return record_at<Record>(base, offset).*LinkOf;
}

template <auto LinkOf, class Record = Linked<LinkOf>>
void push_front(Base base, Offset& head, Record& record)
{
    const Offset self = offset_of(base, record);
    (record.*LinkOf).next = head;
    if (head != none) link_at<LinkOf>(base, head).prev = self;
    head = self;
    (record.*LinkOf).prev = self;
}

template <auto LinkOf, class Record = Linked<LinkOf>>
void insert_after(Base base, Offset before, Record& record)
{
    const Offset self = offset_of(base, record);
    Link& link = record.*LinkOf;
    link.next = link_at<LinkOf>(base, before).next;
    link.prev = before;
    link_at<LinkOf>(base, before).next = self;
    if (link.next != none) link_at<LinkOf>(base, link.next).prev = self;
}

template <auto LinkOf, class Record = Linked<LinkOf>>
void push_back(Base base, Offset& head, Record& record)
{
    if (head == none) return push_front<LinkOf>(base, head, record);
    Offset last = head;
    for (Offset next = link_at<LinkOf>(base, last).next; next != none; next = link_at<LinkOf>(base, last).next)
        last = next;
    insert_after<LinkOf>(base, last, record);
}

// Ascending by Key, behind every record with an equal key.
template <auto LinkOf, auto Key, class Record = Linked<LinkOf>>
void insert_ordered(Base base, Offset& head, Record& record)
{
    const auto key = std::invoke(Key, record);
    if (head == none || std::invoke(Key, record_at<Record>(base, head)) > key) {
        return push_front<LinkOf>(base, head, record);
    }
    Offset before = head;
    for (;;) {
        const Offset next = link_at<LinkOf>(base, before).next;
        if (next == none || std::invoke(Key, record_at<Record>(base, next)) > key) break;
        before = next;
    }
    insert_after<LinkOf>(base, before, record);
}

// The record's own links stay as they were.
template <auto LinkOf, class Record = Linked<LinkOf>>
void unlink(Base base, Offset& head, Record& record)
{
    const Link link = record.*LinkOf;
    if (head == offset_of(base, record)) {
        if (link.next != none) link_at<LinkOf>(base, link.next).prev = none;
        head = link.next;
        return;
    }
    // Only a first record has no prev. One that is not first is on another list or on none: a queue deleted while
    // attached, for one. Following its links would write outside the segment.
    if (link.prev == none) return;
    if (link.next != none) link_at<LinkOf>(base, link.next).prev = link.prev;
    link_at<LinkOf>(base, link.prev).next = link.next;
}

// The records of a list, in order, for range-for. The next link is read before the body runs, so the body may remove the
// record it is given.
template <auto LinkOf, class Record = Linked<LinkOf>>
class Walk {
public:
    struct End {};
    class Cursor {
    public:
        Cursor(Base base, Offset first) : base_(base), here_(first) { read_next(); }
        Record& operator*() const { return record_at<Record>(base_, here_); }
        Cursor& operator++()
        {
            here_ = next_;
            read_next();
            return *this;
        }
        friend bool operator==(const Cursor& cursor, End) { return cursor.here_ == none; }

    private:
        void read_next()
        {
            if (here_ != none) next_ = link_at<LinkOf>(base_, here_).next;
        }
        Base base_;
        Offset here_;
        Offset next_ = none;
    };

    Walk(Base base, Offset head) : base_(base), head_(head) {}
    [[nodiscard]] Cursor begin() const { return {base_, head_}; }
    [[nodiscard]] static End end() { return {}; }

private:
    Base base_;
    Offset head_;
};

}  // namespace zelfdb
