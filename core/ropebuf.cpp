// Record buffers: one heap block that the bulk readers fill.
#include <cstdlib>
#include <cstring>

#include "core/types.h"
#include "zelfdb/zelfdb.h"

namespace zelfdb {
namespace {

// The last bytes of the record area are left as the heap gave them: readers write every record that they count, and this
// extent is relied on by callers that compare buffers.
constexpr std::size_t uncleared_bytes = 16;

}  // namespace
}  // namespace zelfdb

zelfdb_ropebuf* zelfdb_alloc_ropebuf(uint32_t capacity, uint32_t record_size)
{
    using namespace zelfdb;
    const u64 total = sizeof(zelfdb_ropebuf) + u64{capacity} * record_size;
    if (total != static_cast<u32>(total)) return nullptr;
    auto* const buffer = static_cast<zelfdb_ropebuf*>(std::malloc(static_cast<std::size_t>(total)));
    if (!buffer) return nullptr;
    std::memset(static_cast<void*>(buffer), 0, static_cast<std::size_t>(total) - uncleared_bytes);
    *buffer = {capacity, record_size, 0, 0, reinterpret_cast<u8*>(buffer + 1)};
    return buffer;
}

void zelfdb_free_ropebuf(zelfdb_ropebuf* buffer) { std::free(buffer); }
