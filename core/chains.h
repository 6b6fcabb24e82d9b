// Hash chains: VLANs by name, MAC entries by address. 256 buckets each, doubly linked.
#pragma once

#include <cstring>

#include "core/links.h"
#include "core/records.h"

namespace zelfdb {

// Which array of heads, and which link pair threads a chain.
template <auto Buckets, auto LinkOf>
struct HashChains {
};

inline constexpr HashChains<&Header::vlan_name, &Vlan::name_link> vlans_by_name;
inline constexpr HashChains<&FdbHead::bucket, &Fil::link> fils_by_mac;

template <auto Buckets, auto LinkOf, class Table>
Walk<LinkOf> chain(HashChains<Buckets, LinkOf>, Base base, const Table& table, u32 bucket)
{
    return {base, (table.*Buckets)[bucket]};
}

template <auto Buckets, auto LinkOf, class Table>
void add_to_front(HashChains<Buckets, LinkOf>, Base base, Table& table, u32 bucket, Linked<LinkOf>& record)
{
    push_front<LinkOf>(base, (table.*Buckets)[bucket], record);
}

template <auto Buckets, auto LinkOf, class Table>
void add_to_tail(HashChains<Buckets, LinkOf>, Base base, Table& table, u32 bucket, Linked<LinkOf>& record)
{
    push_back<LinkOf>(base, (table.*Buckets)[bucket], record);
}

template <auto Buckets, auto LinkOf, class Table>
void take_out(HashChains<Buckets, LinkOf>, Base base, Table& table, u32 bucket, Linked<LinkOf>& record)
{
    unlink<LinkOf>(base, (table.*Buckets)[bucket], record);
}

// The byte sum of a name modulo n. Names of the same letters share a bucket, which is accepted.
inline i32 name_hash(const char* name, i32 modulus)
{
    i32 sum = 0;
    for (; *name; ++name) sum += static_cast<u8>(*name);
    return sum % modulus;
}

inline u32 name_bucket(const char* name) { return static_cast<u32>(name_hash(name, static_cast<i32>(bucket_count))); }

inline u32 mac_bucket(const Mac& mac)
{
    u32 sum = 0;
    for (const u8 byte : mac.byte) sum += byte;
    return sum & 0xFF;
}

inline bool same_mac(const Mac& a, const Mac& b) { return std::memcmp(a.byte, b.byte, sizeof a.byte) == 0; }

// Never change a VLAN's name or an entry's MAC while it is linked: its bucket is found from them.
inline void hAdd_vlan_by_vlanname(Base base, Header& header, Vlan& vlan)
{
    add_to_front(vlans_by_name, base, header, name_bucket(vlan.name), vlan);
}
inline void hRem_vlan_by_vlanname(Base base, Header& header, Vlan& vlan)
{
    take_out(vlans_by_name, base, header, name_bucket(vlan.name), vlan);
}
inline Vlan* lookup_vlan_by_vlanname(Base base, Header& header, const char* name)
{
    for (Vlan& vlan : chain(vlans_by_name, base, header, name_bucket(name))) {
        if (std::strcmp(vlan.name, name) == 0) return &vlan;
    }
    return nullptr;
}

// Learned entries go to the front, where they are met first; static and local ones to the tail. base: the FDB segment's.
inline void hAdd_fil_by_mac(Base base, Header&, FdbHead& fdb, Fil& fil)
{
    add_to_front(fils_by_mac, base, fdb, mac_bucket(fil.mac), fil);
}
inline void hAdd_fil_by_mac_tail(Base base, Header&, FdbHead& fdb, Fil& fil)
{
    add_to_tail(fils_by_mac, base, fdb, mac_bucket(fil.mac), fil);
}
inline void hRem_fil_by_mac(Base base, Header&, FdbHead& fdb, Fil& fil)
{
    take_out(fils_by_mac, base, fdb, mac_bucket(fil.mac), fil);
}
inline Fil* lookup_fil_by_mac(Base base, Header&, const FdbHead& fdb, const Mac& mac)
{
    for (Fil& fil : chain(fils_by_mac, base, fdb, mac_bucket(mac))) {
        if (same_mac(fil.mac, mac)) return &fil;
    }
    return nullptr;
}

}  // namespace zelfdb
