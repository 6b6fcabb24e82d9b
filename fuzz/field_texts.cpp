// The texts of prefilter and loc lines: the field parsers, and the blocks that reach the NP, against the reading by hand.
//
// The input is a byte that chooses the action and the bounds, and then the texts of a line's six slots, each ended by a new
// line. A slot holds 30 bytes of its text; what is shorter is filled up with zeros.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "classify/edge_of_memory.h"
#include "classify/expected_blocks.h"
#include "classify/parsers_test.h"
#include "core/descriptor.h"
#include "softnp/command.h"

namespace {

using namespace zelfdb;

// What reached the NP last.
softnp::Kind sent_kind;
u32 sent_line_no;
std::string sent_block;

struct Bounds {
    i32 lower;
    i32 upper;
};
constexpr Bounds bounds[] = {{0, 65535}, {0, 255}, {10, 20}, {100, 300}, {7, 7}, {1, 4094}, {0, 0}, {255, 65535}};

[[noreturn]] void disagree(const char* what, const std::string& text)
{
    std::fprintf(stderr, "%s: \"", what);
    for (const char c : text) std::fprintf(stderr, c >= ' ' && c <= '~' ? "%c" : "\\x%02x", static_cast<u8>(c));
    std::fprintf(stderr, "\"\n");
    std::abort();
}

void try_parsers(const std::string& text, const Bounds& b)
{
    if (parsed(parse_ipv4_field, text) != parsed(reference_address, text)) disagree("address", text);
    if (parsed<u8>(parse_u8_field, text, b.lower & 0xFF, 255) !=
        parsed<u8>(reference_number<u8>, text, b.lower & 0xFF, 255)) {
        disagree("8-bit field", text);
    }
    if (parsed<u16>(parse_u16_field, text, b.lower, b.upper) !=
        parsed<u16>(reference_number<u16>, text, b.lower, b.upper)) {
        disagree("16-bit field", text);
    }
}

// A line in memory with nothing readable behind it.
const char* line_of(const char* texts, std::size_t size)
{
    static const EdgeOfMemory memory(line_size);
    char* const line = memory.get();
    std::memset(line, 0, line_size);
    const char* const end = texts + size;
    for (const std::size_t slot : slots) {
        const char* const text_end = std::find(texts, end, '\n');
        std::memcpy(line + slot, texts, std::min(static_cast<std::size_t>(text_end - texts), slot_size));
        texts = text_end == end ? end : text_end + 1;
    }
    return line;
}

void expect_sent(softnp::Kind kind, const u8* block, std::size_t size, const char* line)
{
    const std::string expected(reinterpret_cast<const char*>(block), size);
    if (sent_kind == kind && sent_line_no == 0 && sent_block == expected) return;
    disagree(kind == softnp::Kind::add_loc_act ? "loc block" : "prefilter block", std::string(line, line_size));
}

void try_lines(const char* line, u32 action)
{
    Descriptor descriptor{};
    if (linedata_to_param_prefilter(&descriptor, 7, 1, line, action) != 1) std::abort();
    const PrefilterBlock filter = expected_prefilter(line, action);
    expect_sent(softnp::Kind::add_prefilter_act, filter.bytes(), sizeof filter, line);
    if (linedata_to_param_loc(&descriptor, 7, 1, line, action) != 1) std::abort();
    const LocBlock location = expected_loc(line, action);
    expect_sent(softnp::Kind::add_loc_act, location.bytes(), sizeof location, line);
}

}  // namespace

int vf_call(vf_handle*, int, vf_cmd* command, int, int)
{
    sent_kind = command->kind;
    sent_line_no = command->args[1];
    sent_block.assign(reinterpret_cast<const char*>(softnp::payload_of(*command)), command->payload_size);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size)
{
    if (size == 0) return 0;
    const char* const line = line_of(reinterpret_cast<const char*>(data) + 1, size - 1);
    for (const std::size_t slot : slots) try_parsers(slot_text(line, slot), bounds[data[0] >> 2 & 7]);
    try_lines(line, data[0] & 3);
    return 0;
}
