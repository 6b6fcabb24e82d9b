// The field widths of every record, written down a second time and apart from the records themselves.
#include "core/big_endian.h"

#include <algorithm>
#include <bit>
#include <stdexcept>

namespace zelfdb {
namespace {

// So many fields of so many bytes, one behind the other.
struct Fields {
    u32 width;
    u32 count;
};
using Schema = std::vector<Fields>;

Schema times(u32 count, const Schema& schema)
{
    Schema all;
    for (u32 i = 0; i < count; ++i) all.insert(all.end(), schema.begin(), schema.end());
    return all;
}

Schema joined(const std::vector<Schema>& parts)
{
    Schema all;
    for (const Schema& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

namespace schema_of {
const Schema fdb_head{{4, 7 + 256}};
const Schema fil{{4, 7}, {1, 8}, {4, 2}};
const Schema phport{{2, 1}, {1, 2}, {4, 5}};
const Schema port = joined({{{4, 1}, {2, 1}, {1, 4}, {2, 2}, {1, 2}, {4, 1}, {2, 16}, {4, 5}},
                            times(8, {{1, 4}, {4, 2}}),
                            {{4, 8 + 13}},
                            fdb_head,
                            {{4, 5}}});
const Schema stream =
    joined({{{1, 32}, {2, 2}, {1, 4}, {4, 8}, {2, 1}, {1, 2}, {4, 4}}, times(8, {{1, 12}, {4, 1}}), {{4, 17}}});
const Schema queue{{1, 32}, {2, 1}, {1, 2}, {2, 2}, {4, 5}, {1, 4}};
const Schema vlan = joined({{{1, 32}, {4, 4}, {2, 2}, {4, 4}}, fdb_head, {{4, 2}}});
const Schema pv{{2, 1}, {1, 2}, {4, 7}, {1, 2}, {2, 1}, {4, 5}};
const Schema classify{{2, 1}, {1, 2}, {4, 5}};
const Schema action{{4, 4}, {2, 1}, {1, 2}, {4, 1}, {1, 4}, {2, 8}, {1, 8}, {4, 8}, {2, 8}, {4, 8}};
const Schema header{{4, 0x198B8 / 4}, {2, 8 * 10 + 4 * 11}};
}  // namespace schema_of

// Turns the fields of one record over, and returns where the next one starts.
u8* turn_over(u8* at, const Schema& schema)
{
    for (const Fields& fields : schema) {
        for (u32 i = 0; i < fields.count; ++i, at += fields.width) {
            if constexpr (std::endian::native == std::endian::little) std::reverse(at, at + fields.width);
        }
    }
    return at;
}

u8* turn_over(u8* at, const Schema& schema, u32 records)
{
    for (u32 i = 0; i < records; ++i) at = turn_over(at, schema);
    return at;
}

void expect_end(const u8* at, const std::vector<u8>& bytes)
{
    if (at != bytes.data() + bytes.size()) throw std::logic_error("the schema is not as long as the segment");
}

}  // namespace

std::vector<u8> big_endian_main(const std::vector<u8>& native, u32 nport, u32 nvlan, u32 nfil)
{
    std::vector<u8> bytes = native;
    u8* at = turn_over(bytes.data(), schema_of::header);
    at = turn_over(at, schema_of::fil, nfil);
    at = turn_over(at, schema_of::port, nport);
    at = turn_over(at, schema_of::stream, 1024);
    at = turn_over(at, schema_of::queue, 8192);
    at = turn_over(at, joined({schema_of::vlan, times(8, schema_of::pv)}), nvlan);
    at = turn_over(at, schema_of::phport, 4);
    at = turn_over(at, schema_of::classify, 64);
    at = turn_over(at, schema_of::action, 16384);
    expect_end(at, bytes);
    return bytes;
}

std::vector<u8> big_endian_fdb(const std::vector<u8>& native)
{
    std::vector<u8> bytes = native;
    expect_end(turn_over(bytes.data(), schema_of::fil, static_cast<u32>(bytes.size() / 44)), bytes);
    return bytes;
}

}  // namespace zelfdb
