// Which bytes of the two segments an operation may change: the fields of the records that it names, and the counters and
// lists that these hang on. Everything else must be after a call what it was before it.
#pragma once

#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "core/chains.h"
#include "core/lists.h"
#include "core/segments.h"

namespace zelfdb::trust {

// Both segments' bytes as they were at one moment.
struct Image {
    std::vector<u8> main;
    std::vector<u8> fdb;

    [[nodiscard]] Base base() const { return {const_cast<u8*>(main.data())}; }
    [[nodiscard]] Base fdb_base() const { return {const_cast<u8*>(fdb.data())}; }
    [[nodiscard]] Header& header() const { return record_at<Header>(base(), Offset{0}); }
};

template <class Record, class Member>
Record field_owner(Member Record::*);
template <class Record, class Member>
std::type_identity<Member> field_type(Member Record::*);

class Changes {
public:
    // The images of before and after the call. Records are named by how they lie in the one of before.
    Changes(const Image& before, const Image& after) : before_(before), after_(after), layout_(layout(before)) {}

    [[nodiscard]] Header& header() const { return before_.header(); }
    [[nodiscard]] Base base() const { return before_.base(); }
    [[nodiscard]] Port* port(u32 id) const { return known_port(base(), header(), id); }
    [[nodiscard]] Phport* phport(u32 id) const { return known_phport(base(), header(), id); }
    [[nodiscard]] Vlan* vlan(u32 vid) const { return lookup_vlan(base(), header(), vid & 0xFFFF); }
    [[nodiscard]] Stream* stream(u32 number) const { return lookup_stream(base(), header(), number & 0xFFFF); }
    [[nodiscard]] Queue* queue(u32 number) const { return lookup_queue(base(), header(), number & 0xFFFF); }
    [[nodiscard]] Classify* profile(u32 number) const { return known_classify(base(), header(), number & 0xFFFF); }
    [[nodiscard]] Mirror* mirror(u32 id) const { return id - 1 < 4 ? &header().mirror[id - 1] : nullptr; }
    [[nodiscard]] Pv* membership(u32 vid, u32 port_id) const
    {
        return vlan(vid) && port(port_id) ? lookup_pv_by_port_in_a_vlan(base(), header(), *vlan(vid), *port(port_id))
                                          : nullptr;
    }

    void bytes(u32 first, u64 size) { main_.push_back({first, first + size}); }

    // Words of the header, and one element of its arrays. An element that the array has not is no permission.
    template <auto... Fields>
    void head()
    {
        (field<Fields>(&header()), ...);
    }
    template <auto Field>
    void head_at(u32 index)
    {
        element<Field>(&header(), index);
    }

    template <class Record>
    void record(const Record* named)
    {
        if (named) bytes(offset(named), sizeof(Record));
    }
    // The record that its pool hands out next.
    template <class Record>
    void next_free(Offset head)
    {
        if (head != none) bytes(head.value, sizeof(Record));
    }
    template <auto... Fields, class Record>
    void fields(const Record* named)
    {
        (field<Fields>(named), ...);
    }
    template <auto Field, class Record>
    void element(const Record* named, u32 index)
    {
        using Array = typename decltype(field_type(Field))::type;
        constexpr u32 count = std::extent_v<Array>;
        if (named && index < count) {
            const u32 size = static_cast<u32>(sizeof(Array) / count);
            bytes(offset(named) + field_offset<Field>() + index * size, size);
        }
    }
    // That field of every record of its kind: the links of neighbours in a list.
    template <auto Field>
    void every()
    {
        using Record = decltype(field_owner(Field));
        const u64 size = sizeof(typename decltype(field_type(Field))::type);
        add_every(static_cast<const Record*>(nullptr), field_offset<Field>(), size);
    }
    // The MAC entries that are so before the call or after it, with the counters and the chain of their owner.
    void entries(const std::function<bool(const Fil&)>& named);
    void entries_of(const FdbHead& table, const std::function<bool(const Fil&)>& named)
    {
        const Offset owner = offset_of(base(), table);
        entries([&](const Fil& fil) { return fil.offset == owner && named(fil); });
    }
    void everything()
    {
        bytes(0, before_.main.size());
        fdb_.push_back({0, before_.fdb.size()});
    }

    // The bytes that changed without leave, described; none when all is well.
    [[nodiscard]] std::vector<std::string> trespasses() const;

private:
    struct Range {
        u64 first;
        u64 end;
    };
    struct Comb {
        u64 first;
        u64 stride;
        u64 count;
        u64 at;
        u64 size;
    };

    static Layout layout(const Image& image)
    {
        return layout_of(image.header().nport, image.header().nvlan, image.header().nfil);
    }
    template <class Record>
    [[nodiscard]] u32 offset(const Record* record) const
    {
        return offset_of(base(), *record).value;
    }
    template <auto Field>
    static u32 field_offset()
    {
        using Record = decltype(field_owner(Field));
        static const Record sample{};
        return static_cast<u32>(reinterpret_cast<const u8*>(&(sample.*Field)) - reinterpret_cast<const u8*>(&sample));
    }
    template <auto Field, class Record>
    void field(const Record* named)
    {
        if (named) bytes(offset(named) + field_offset<Field>(), sizeof(named->*Field));
    }
    void add_every(const Port*, u64 at, u64 size)
    {
        combs_.push_back({layout_.port, sizeof(Port), h().nport, at, size});
    }
    void add_every(const Vlan*, u64 at, u64 size)
    {
        combs_.push_back({layout_.vlan, sizeof(VlanSlot), h().nvlan, at, size});
    }
    void add_every(const Pv*, u64 at, u64 size)
    {
        for (u64 i = 0; i < pvs_per_vlan; ++i) {
            combs_.push_back({layout_.vlan, sizeof(VlanSlot), h().nvlan, sizeof(Vlan) + i * sizeof(Pv) + at, size});
        }
    }
    void add_every(const Stream*, u64 at, u64 size)
    {
        combs_.push_back({layout_.stream, sizeof(Stream), stream_count, at, size});
    }
    void add_every(const Queue*, u64 at, u64 size)
    {
        combs_.push_back({layout_.queue, sizeof(Queue), queue_count, at, size});
    }
    void add_every(const Classify*, u64 at, u64 size)
    {
        combs_.push_back({layout_.classify, sizeof(Classify), classify_count, at, size});
    }
    void add_every(const Action*, u64 at, u64 size)
    {
        combs_.push_back({layout_.action, sizeof(Action), action_count, at, size});
    }
    [[nodiscard]] const Header& h() const { return before_.header(); }
    [[nodiscard]] bool allowed_in_main(u64 at) const;
    [[nodiscard]] bool allowed_in_fdb(u64 at) const;
    void permit_entry(const Fil& fil, u32 number);

    const Image& before_;
    const Image& after_;
    Layout layout_;
    std::vector<Range> main_;
    std::vector<Range> fdb_;
    std::vector<Comb> combs_;
    bool entry_links_ = false;
};

}  // namespace zelfdb::trust
