#include "fdb/listing.h"

#include <cstring>

#include "fdb/entries.h"
#include "fdb/learning.h"

namespace zelfdb {
namespace {

// Where a listing goes on: an entry of a chain (or its end), and the buckets behind it.
struct Position {
    Offset entry;
    u32 bucket;
};

bool find_start(const Descriptor& d, const FdbHead& fdb, const zelfdb_fdb_cursor& cursor, Position& start)
{
    if (cursor.calls == 0) {
        start = {fdb.bucket[0], 0};
        return true;
    }
    const Fil* const last = lookup_fil_by_mac(fdb_base(d), header_of(d), fdb, mac_at(cursor.mac));
    if (!last) return false;
    start = {last->link.next, mac_bucket(last->mac)};
    return true;
}

i32 age_of(const Fil& fil, u32 now_s)
{
    const auto age_s = static_cast<i32>(now_s - fil.last_seen);
    return age_s < 0 ? 0 : age_s;
}

// A port's listing has no port, and only DYNAMIC entries have an age: those bytes of the record are left alone.
void write_record(u8* at, const Fil& fil, u32 bucket, u32 now_s)
{
    zelfdb_fdb_record record{};
    record.bucket = bucket;
    std::memcpy(record.mac, fil.mac.byte, sizeof record.mac);
    record.flag = static_cast<u8>(fil.fil_flag & 0xFF);
    record.permit = static_cast<u8>(fil.fil_permit & 0xFF);
    record.port = (fil.fil_flag & fil_flag_no_port) ? 0 : fil.port;
    record.age_s = age_of(fil, now_s);
    std::size_t size = offsetof(zelfdb_fdb_record, port);
    if (fil.fil_type != fil_local) size = offsetof(zelfdb_fdb_record, age_s);
    if (fil.fil_type == fil_dynamic) size = sizeof record;
    std::memcpy(at, &record, size);
}

int delete_fil_select_port(const Descriptor& d, u32 port_id, u32 type)
{
    for (Vlan& vlan : walk(all_vlans, main_base(d), header_of(d))) {
        if (vlan.fdb.nfil == 0) continue;
        for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
            for (Fil& fil : chain(fils_by_mac, fdb_base(d), vlan.fdb, bucket)) {
                if (fil.port != port_id || fil.fil_type != type) continue;
                rem_fdbentry(d, type, vlan.fdb, fil.mac, &fil, fil.fil_permit);
            }
        }
    }
    return 0;
}

}  // namespace

int list_fil_entries(const Descriptor& d, const FdbHead& fdb, zelfdb_fdb_cursor& cursor, zelfdb_ropebuf& buffer,
                     u32 type)
{
    u32 now_s = 0;
    if (type == fil_dynamic) get_time_sec(&now_s);
    if (buffer.record_size < sizeof(zelfdb_fdb_record)) return -1;
    Position position{};
    if (!find_start(d, fdb, cursor, position)) return -1;

    buffer.filled = 0;
    buffer.total = fdb.nfil;
    ++cursor.calls;
    const Fil* last = nullptr;
    for (;;) {
        for (const Fil& fil : Walk<&Fil::link>(fdb_base(d), position.entry)) {
            if (fil.fil_type != type) continue;
            if (buffer.filled == buffer.capacity) {
                if (last) std::memcpy(cursor.mac, last->mac.byte, sizeof cursor.mac);
                return 1;
            }
            u8* const at = buffer.records + static_cast<std::size_t>(buffer.filled) * buffer.record_size;
            write_record(at, fil, position.bucket, now_s);
            ++buffer.filled;
            last = &fil;
        }
        if (++position.bucket == bucket_count) return 0;
        position.entry = fdb.bucket[position.bucket];
    }
}

int delete_dfil_select_port(const Descriptor& d, u32 port_id)
{
    return delete_fil_select_port(d, port_id, fil_dynamic);
}

int delete_sfil_select_port(const Descriptor& d, u32 port_id) { return delete_fil_select_port(d, port_id, fil_static); }

}  // namespace zelfdb
