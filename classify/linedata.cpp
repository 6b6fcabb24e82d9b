// Prefilter and loc lines, which live only in the NP: parsed from text slots and sent. The caller serialises the calls.
#include <cstdio>
#include <cstring>

#include "classify/parse.h"
#include "core/descriptor.h"
#include "np/classify_commands.h"

namespace zelfdb {
namespace {

constexpr i32 prefilter_index_max = 128;
constexpr i32 loc_index_max = 15;
constexpr u32 append_line = 0;

struct PrefilterBlock {
    u32 action;
    u32 flags;
    u8 byte_a[4];
    u8 byte_b[4];
    u32 address_b[4];
    u32 address_a[4];
    u16 half_b[4];
    u16 half_a[4];
};
RECORD_IS(PrefilterBlock, 64);
FIELD_AT(PrefilterBlock, action, 0);
FIELD_AT(PrefilterBlock, flags, 4);
FIELD_AT(PrefilterBlock, byte_a, 8);
FIELD_AT(PrefilterBlock, byte_b, 12);
FIELD_AT(PrefilterBlock, address_b, 16);
FIELD_AT(PrefilterBlock, address_a, 32);
FIELD_AT(PrefilterBlock, half_b, 48);
FIELD_AT(PrefilterBlock, half_a, 56);

struct LocBlock {
    u16 action;
    u16 flags;
    u16 byte;
    u16 half;
    u32 address;
    u32 mask;
};
RECORD_IS(LocBlock, 16);
FIELD_AT(LocBlock, action, 0);
FIELD_AT(LocBlock, flags, 2);
FIELD_AT(LocBlock, byte, 4);
FIELD_AT(LocBlock, half, 6);
FIELD_AT(LocBlock, address, 8);
FIELD_AT(LocBlock, mask, 12);

// A caller's text slot: 30 bytes that need not end in a zero.
struct Slot {
    char text[31];
    Slot(const void* line, std::size_t at) : text{} { std::memcpy(text, static_cast<const char*>(line) + at, 30); }
};

u32 flag_if(int parsed, u32 flag) { return parsed ? flag : 0; }

// What does not parse is absent; the line is sent all the same.
PrefilterBlock prefilter_block(const void* line, u32 action)
{
    PrefilterBlock block{};
    block.action = action == 1 ? 0 : 1;
    block.flags |= flag_if(parse_ipv4_field(Slot(line, 4).text, block.address_a), 0x08);
    block.flags |= flag_if(parse_ipv4_field(Slot(line, 34).text, block.address_b), 0x04);
    block.flags |= flag_if(parse_u8_field(Slot(line, 64).text, block.byte_a, 0, 255), 0x01);
    block.flags |= flag_if(parse_u8_field(Slot(line, 94).text, block.byte_b, 0, 255), 0x02);
    block.flags |= flag_if(parse_u16_field(Slot(line, 124).text, block.half_a, 0, 65535), 0x20);
    block.flags |= flag_if(parse_u16_field(Slot(line, 154).text, block.half_b, 0, 65535), 0x10);
    return block;
}

// Loc lines read a prefix length their own way: beyond 31, and below 0, it is a host's. The address stays unmasked. Both
// deliberate: the NP compares them so.
u32 loc_mask(int items, int prefix)
{
    if (items != 5 || prefix < 0 || prefix > 31) return 0xFFFFFFFF;
    return prefix == 0 ? 0 : 0xFFFFFFFFu << (32 - prefix);
}

void parse_loc_address(const Slot& slot, LocBlock& block)
{
    int n[4] = {};
    int prefix = 0;
    // What sscanf accepts is the language.
    const int items = std::sscanf(slot.text, "%d.%d.%d.%d/%d", &n[0], &n[1], &n[2], &n[3], &prefix);
    if (items < 4) return;
    for (const int octet : n) block.address = block.address << 8 | (static_cast<u32>(octet) & 0xFF);
    block.mask = loc_mask(items, prefix);
    block.flags |= 0x02;
}

bool parse_loc_number(const Slot& slot, int upper, u16& value)
{
    int number = 0;
    // What sscanf accepts is the language.
    if (std::sscanf(slot.text, "%d", &number) != 1 || number < 0 || number > upper) return false;
    value = static_cast<u16>(number);
    return true;
}

// Note the sense of the action, the opposite of the prefilter's: kept, as the NP reads the two blocks so.
LocBlock loc_block(const void* line, u32 action)
{
    LocBlock block{};
    block.action = action == 1 ? 1 : 0;
    parse_loc_address(Slot(line, 4), block);
    if (parse_loc_number(Slot(line, 94), 255, block.byte)) block.flags |= 0x01;
    if (parse_loc_number(Slot(line, 124), 65535, block.half)) block.flags |= 0x04;
    return block;
}

}  // namespace
}  // namespace zelfdb

int linedata_to_param_prefilter(zelfdb_descriptor* descriptor, uint32_t list, int32_t index, const void* line,
                                uint32_t action)
{
    using namespace zelfdb;
    if (index > prefilter_index_max) return 0;
    if (index == 0) rem_prefilter_act_to_NP(*descriptor, list, 0);
    const PrefilterBlock block = prefilter_block(line, action);
    add_prefilter_act_to_NP(*descriptor, list, append_line, &block);
    return 1;
}

int linedata_to_param_loc(zelfdb_descriptor* descriptor, uint32_t list, int32_t index, const void* line,
                          uint32_t action)
{
    using namespace zelfdb;
    if (index > loc_index_max) return 0;
    if (index == 0) rem_loc_act_to_NP(*descriptor, list, 0);
    const LocBlock block = loc_block(line, action);
    add_loc_act_to_NP(*descriptor, list, append_line, &block);
    return 1;
}
