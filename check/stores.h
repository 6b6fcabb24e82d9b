// Where the records of each kind lie in the two segments, by their number and by their offset.
#pragma once

#include "check/check.h"
#include "core/records.h"

namespace zelfdb::audit {

// Only for reading through: what is behind it is not this library's to change.
inline Base base_of(const void* segment) { return {const_cast<u8*>(static_cast<const u8*>(segment))}; }

template <class RecordType>
struct Store {
    using Record = RecordType;
    const char* kind;
    Base base;
    u32 first;
    u32 count;
    u32 stride = sizeof(Record);

    [[nodiscard]] bool has(Offset offset) const
    {
        return offset.value >= first && (offset.value - first) % stride == 0 && (offset.value - first) / stride < count;
    }
    [[nodiscard]] u32 number(Offset offset) const { return (offset.value - first) / stride; }
    [[nodiscard]] Offset offset(u32 number) const { return {first + number * stride}; }
    [[nodiscard]] const Record& at(Offset offset) const { return record_at<const Record>(base, offset); }
    [[nodiscard]] u32 number(const Record& record) const { return number(offset_of(base, record)); }
};

// The memberships of all VLANs: each VLAN's eight lie behind it.
struct PvStore {
    using Record = Pv;
    const char* kind;
    Base base;
    u32 first_slot;
    u32 nvlan;
    u32 count = nvlan * pvs_per_vlan;

    [[nodiscard]] bool has(Offset offset) const
    {
        if (offset.value < first_slot || slot_of(offset) >= nvlan) return false;
        const u32 in_slot = in_slot_of(offset);
        return in_slot >= sizeof(Vlan) && (in_slot - sizeof(Vlan)) % sizeof(Pv) == 0;
    }
    [[nodiscard]] u32 number(Offset offset) const
    {
        return slot_of(offset) * pvs_per_vlan + static_cast<u32>((in_slot_of(offset) - sizeof(Vlan)) / sizeof(Pv));
    }
    [[nodiscard]] Offset offset(u32 number) const
    {
        return {static_cast<u32>(first_slot + number / pvs_per_vlan * sizeof(VlanSlot) + sizeof(Vlan) +
                                 number % pvs_per_vlan * sizeof(Pv))};
    }
    [[nodiscard]] const Pv& at(Offset offset) const { return record_at<const Pv>(base, offset); }
    [[nodiscard]] u32 number(const Pv& pv) const { return number(offset_of(base, pv)); }

    // The number of the VLAN record that the membership belongs to.
    [[nodiscard]] u32 slot_of(Offset offset) const
    {
        return static_cast<u32>((offset.value - first_slot) / sizeof(VlanSlot));
    }

private:
    [[nodiscard]] u32 in_slot_of(Offset offset) const
    {
        return static_cast<u32>((offset.value - first_slot) % sizeof(VlanSlot));
    }
};

struct Stores {
    Store<Port> port;
    Store<Stream> stream;
    Store<Queue> queue;
    Store<Vlan> vlan;
    PvStore pv;
    Store<Phport> phport;
    Store<Classify> classify;
    Store<Action> action;
    Store<Fil> fil;
    u64 main_end;  // bytes that the counts ask of the main segment
    u64 fdb_end;   // and of the FDB segment
};

// Of use only if the segments are as long as the two ends say.
Stores stores_of(const Segments& segments, u32 nport, u32 nvlan, u32 nfil);

}  // namespace zelfdb::audit
