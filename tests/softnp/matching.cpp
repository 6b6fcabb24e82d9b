// Which line a frame matches, against a matcher that knows the frame's facts and never sees its bytes; and what the
// line, or a prefilter, makes of the frame.
#include "line_bytes.h"
#include "support/random.h"

#include <sys/mman.h>
#include <unistd.h>

#include <optional>

using namespace softnp_test;
using zelfdb::Random;

namespace {

constexpr u32 PROFILE = 9;

// ---- a frame as facts

struct Facts {
    std::optional<u32> tag{};  // control information
    u32 ethertype = 0x0800;
    u32 tos = 0;
    u32 proto = 17;
    u32 src_ip = 0;
    u32 dst_ip = 0;
    u32 fragment = 0;
    u32 options = 0;  // words of IP options
    u32 src_port = 0;
    u32 dst_port = 0;
    u32 tcp_options = 0;
    Bytes payload{};
    u32 padding = 0;
};

void put16(Bytes& bytes, u32 value)
{
    bytes.push_back(static_cast<u8>(value >> 8));
    bytes.push_back(static_cast<u8>(value));
}
void put32(Bytes& bytes, u32 value)
{
    put16(bytes, value >> 16);
    put16(bytes, value & 0xFFFF);
}

bool has_ports(const Facts& facts)
{
    return facts.ethertype == 0x0800 && facts.fragment == 0 &&
           (facts.proto == 6 || facts.proto == 17 || facts.proto == 132);
}

Bytes transport_of(const Facts& facts)
{
    Bytes bytes;
    if (has_ports(facts)) {
        put16(bytes, facts.src_port);
        put16(bytes, facts.dst_port);
        const size_t rest = facts.proto == 17 ? 4 : facts.proto == 132 ? 8 : 16 + 4 * facts.tcp_options;
        bytes.resize(bytes.size() + rest, 0x77);
        if (facts.proto == 6) bytes[12] = static_cast<u8>((5 + facts.tcp_options) << 4);
    }
    bytes.insert(bytes.end(), facts.payload.begin(), facts.payload.end());
    return bytes;
}

Bytes bytes_of(const Facts& facts)
{
    Bytes bytes = frame_of(HOST_A, HOST_B);
    bytes.resize(12);
    if (facts.tag) {
        put16(bytes, 0x8100);
        put16(bytes, *facts.tag);
    }
    put16(bytes, facts.ethertype);
    const Bytes transport = transport_of(facts);
    if (facts.ethertype == 0x0800) {
        const u32 header = 20 + 4 * facts.options;
        bytes.push_back(static_cast<u8>(0x40 | header / 4));
        bytes.push_back(static_cast<u8>(facts.tos));
        put16(bytes, header + static_cast<u32>(transport.size()));
        put16(bytes, 0x1234);
        put16(bytes, facts.fragment);
        bytes.push_back(64);
        bytes.push_back(static_cast<u8>(facts.proto));
        put16(bytes, 0);
        put32(bytes, facts.src_ip);
        put32(bytes, facts.dst_ip);
        bytes.resize(bytes.size() + 4 * facts.options, 0x99);
    }
    bytes.insert(bytes.end(), transport.begin(), transport.end());
    if (facts.ethertype == 0x0800) bytes.resize(bytes.size() + facts.padding, 0xAA);
    return bytes;
}

// ---- a line as facts, and the naive matcher

struct Line {
    u32 flags = 0;
    Asked asked[9] = {};  // in the order of line_places
    u32 ext_value[4] = {};
    u32 ext_mask[4] = {};
    u32 stream = 0;
    u32 class_no = 0;
    u32 colour = 0;
};

LineBytes bytes_of(const Line& line)
{
    LineBytes bytes(line.stream, line.class_no, line.colour);
    for (size_t index = 0; index < 9; index++)
        if ((line.flags & line_places[index].flag) != 0) bytes.ask(line_places[index].flag, line.asked[index]);
    for (u32 index = 0; index < 4; index++)
        if ((line.flags & EXT_0 << index) != 0) bytes.ask_ext(index, line.ext_value[index], line.ext_mask[index]);
    return bytes;
}

std::optional<u32> value_of(const Facts& facts, u32 flag, u32 VID)
{
    const bool is_ip = facts.ethertype == 0x0800;
    switch (flag) {
    case DOT1P: return facts.tag ? std::optional(*facts.tag / 8192) : std::nullopt;
    case VLAN: return VID;
    case ETYPE: return facts.ethertype;
    case TOS: return is_ip ? std::optional(facts.tos) : std::nullopt;
    case PROTO: return is_ip ? std::optional(facts.proto) : std::nullopt;
    case SRC_IP: return is_ip ? std::optional(facts.src_ip) : std::nullopt;
    case DST_IP: return is_ip ? std::optional(facts.dst_ip) : std::nullopt;
    case SRC_PORT: return has_ports(facts) ? std::optional(facts.src_port) : std::nullopt;
    default: return has_ports(facts) ? std::optional(facts.dst_port) : std::nullopt;
    }
}

// Bit by bit where a value is asked for, by plain order where a range is.
bool holds(const Asked& asked, u32 value)
{
    if (asked.is_range != 0) {
        const u32 seen = value & asked.mask;
        return !(seen < (asked.value & asked.mask)) && !(seen > (asked.range_end & asked.mask));
    }
    for (u32 bit = 0; bit < 32; bit++)
        if ((asked.mask >> bit & 1) != 0 && (asked.value >> bit & 1) != (value >> bit & 1)) return false;
    return true;
}

std::optional<u32> payload_word(const Facts& facts, u32 index)
{
    if (facts.payload.size() < 4 * (index + 1)) return std::nullopt;
    u32 value = 0;
    for (u32 byte = 0; byte < 4; byte++) value = value * 256 + facts.payload[4 * index + byte];
    return value;
}

bool naive_match(const Line& line, const Facts& facts, u32 VID)
{
    for (size_t index = 0; index < 9; index++) {
        if ((line.flags & line_places[index].flag) == 0) continue;
        const std::optional<u32> value = value_of(facts, line_places[index].flag, VID);
        if (!value || !holds(line.asked[index], *value)) return false;
    }
    for (u32 index = 0; index < 4; index++) {
        if ((line.flags & EXT_0 << index) == 0) continue;
        const std::optional<u32> word = payload_word(facts, index);
        if (!word || !holds({line.ext_value[index], 0, line.ext_mask[index], 0}, *word)) return false;
    }
    return true;
}

// ---- random lines and frames of a small world, so that they meet

u32 small_value(Random& random, u32 flag)
{
    switch (flag) {
    case DOT1P: return random.below(8);
    case VLAN: return 9 + random.below(3);
    case ETYPE: return random.once_in(3) ? 0x86DD : 0x0800;
    case TOS: return random.below(4) * 64 + random.below(4);
    case PROTO: return (std::array{1u, 6u, 17u, 132u, 200u})[random.below(5)];
    case SRC_IP:
    case DST_IP: return 0x0A000000 | random.below(2) << 23 | random.below(2) << 8 | random.below(4);
    default: return (std::array{0u, 53u, 80u, 443u, 0x8001u, 0xFFFFu})[random.below(6)];
    }
}

u32 mask_for(Random& random, size_t width)
{
    const u32 all = width == 4 ? 0xFFFFFFFF : (1u << 8 * width) - 1;
    if (random.below(3) != 0) return all;
    if (width == 4) {
        const u32 prefix = random.below(33);
        return prefix == 0 ? 0 : 0xFFFFFFFFu << (32 - prefix);
    }
    return random.word() & all;
}

Line random_line(Random& random)
{
    Line line;
    line.stream = random.below(256);
    line.class_no = random.below(8);
    line.colour = random.below(3);
    for (size_t index = 0; index < 9; index++) {
        if (random.below(4) != 0) continue;
        const Place& place = line_places[index];
        line.flags |= place.flag;
        line.asked[index] = {small_value(random, place.flag), small_value(random, place.flag),
                             mask_for(random, place.width), random.once_in(3) ? 1 + random.below(200) : 0};
    }
    for (u32 index = 0; index < 4; index++) {
        if (random.below(8) != 0) continue;
        line.flags |= EXT_0 << index;
        line.ext_value[index] = 0x01010101u * random.below(3);
        line.ext_mask[index] = random.once_in(2) ? 0xFFFFFFFF : random.word();
    }
    if (random.once_in(100)) line.flags |= 0x200;  // asks for what no frame has
    return line;
}

Facts random_facts(Random& random)
{
    Facts facts;
    if (random.once_in(2)) facts.tag = random.below(8) << 13 | random.below(2) << 12 | (random.once_in(3) ? 0 : 10);
    facts.ethertype = random.once_in(4) ? (std::array{0x86DDu, 0x0806u, 0x88CCu})[random.below(3)] : 0x0800;
    facts.tos = small_value(random, TOS);
    facts.proto = small_value(random, PROTO);
    facts.src_ip = small_value(random, SRC_IP);
    facts.dst_ip = small_value(random, DST_IP);
    facts.fragment = random.once_in(6) ? (std::array{0x2000u, 0x2001u, 0x0010u})[random.below(3)] : 0x4000;
    if ((facts.fragment & 0x1FFF) == 0) facts.fragment = 0;
    facts.options = random.once_in(4) ? random.below(11) : 0;
    facts.src_port = small_value(random, SRC_PORT);
    facts.dst_port = small_value(random, DST_PORT);
    facts.tcp_options = random.once_in(3) ? random.below(11) : 0;
    facts.payload = Bytes(random.below(24));
    const u8 fill = static_cast<u8>(random.below(3));
    for (u8& byte : facts.payload) byte = random.once_in(20) ? static_cast<u8>(random.word()) : fill;
    facts.padding = random.once_in(3) ? random.below(30) : 0;
    return facts;
}

// Memory whose next byte may not be touched: what is read behind a frame that ends there ends the test.
class EdgeOfMemory {
public:
    EdgeOfMemory()
        : page_size_(static_cast<size_t>(sysconf(_SC_PAGESIZE))),
          pages_(static_cast<u8*>(
              mmap(nullptr, 2 * page_size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)))
    {
        EXPECT_NE(MAP_FAILED, pages_);
        EXPECT_EQ(0, mprotect(pages_ + page_size_, page_size_, PROT_NONE));
    }
    ~EdgeOfMemory() { munmap(pages_, 2 * page_size_); }
    EdgeOfMemory(const EdgeOfMemory&) = delete;
    EdgeOfMemory& operator=(const EdgeOfMemory&) = delete;

    // The first bytes of a frame, up to the edge.
    const u8* put(const Bytes& frame, size_t length) const
    {
        u8* at = pages_ + page_size_ - length;
        std::copy_n(frame.begin(), length, at);
        return at;
    }

private:
    size_t page_size_;
    u8* pages_;
};

class Matching : public NpDevice {
protected:
    void SetUp() override
    {
        NpDevice::SetUp();
        given_three_ports_in_a_vlan();
        ASSERT_EQ(0, add_mac(10, HOST_A, 1, 1));
        ASSERT_EQ(0, tell(vf_mk_add_classify_prof(PROFILE, 2, 10, NO_WORDS)));
    }
    void add(const LineBytes& line) { ASSERT_EQ(0, tell(vf_mk_add_classify_act(PROFILE, 0, line.bytes.data()))); }
    // The number of the line that the frame matches.
    static u32 line_of(const Facts& facts) { return receive(2, bytes_of(facts)).line_no; }
    static bool only_line_matches(const Facts& facts) { return line_of(facts) == 1; }
    static softnp_line line(int kind, u32 list, u32 line_no)
    {
        softnp_line out{};
        EXPECT_EQ(1, softnp_get_line(kind, list, line_no, &out));
        return out;
    }
};

TEST_F(Matching, AgreesWithTheNaiveMatcher)
{
    Random random;
    std::vector<Line> lines;
    std::vector<u64> frames;
    u32 matched = 0;
    for (u32 step = 0; step < 20000; step++) {
        if (step % 400 == 0) {
            ASSERT_EQ(0, tell(vf_mk_rem_classify_act(PROFILE, 0)));
            lines.clear();
            for (u32 count = 0; count < 1 + step / 400; count++) lines.push_back(random_line(random));
            for (const Line& at : lines) add(bytes_of(at));
            frames.assign(lines.size(), 0);
        }
        const Facts facts = random_facts(random);
        size_t expected = 0;
        while (expected < lines.size() && !naive_match(lines[expected], facts, 10)) expected++;

        const softnp_verdict verdict = receive(2, bytes_of(facts));
        const bool is_match = expected < lines.size();
        ASSERT_EQ(is_match ? expected + 1 : 0u, verdict.line_no) << "step " << step;
        ASSERT_EQ(is_match ? PROFILE : 0u, verdict.profile);
        if (!is_match) continue;
        matched++;
        frames[expected]++;
        ASSERT_EQ(lines[expected].stream, verdict.stream);
        ASSERT_EQ(lines[expected].class_no, verdict.class_no);
        ASSERT_EQ(lines[expected].colour, verdict.colour);
        ASSERT_EQ(frames[expected], line(SOFTNP_CLASSIFY, PROFILE, static_cast<u32>(expected) + 1).frames);
    }
    EXPECT_GT(matched, 2000u);
    EXPECT_LT(matched, 18000u);
}

TEST_F(Matching, OnlyFramesOfTheMembershipAreMatched)
{
    add(LineBytes(4, 5, 1));
    ASSERT_EQ(0, create_vlan(20));
    ASSERT_EQ(0, join(20, 2, 1));
    EXPECT_EQ(1, receive(2, frame_of(HOST_A, HOST_B)).line_no);
    EXPECT_EQ(1, receive(2, tagged_frame(HOST_A, HOST_B, 10)).line_no);
    EXPECT_EQ(0, receive(2, tagged_frame(HOST_A, HOST_B, 20)).line_no);
    EXPECT_EQ(0, receive(3, frame_of(HOST_A, HOST_B)).line_no);
    EXPECT_EQ(2u, line(SOFTNP_CLASSIFY, PROFILE, 1).frames);
    EXPECT_EQ(128u, line(SOFTNP_CLASSIFY, PROFILE, 1).bytes);
    ASSERT_EQ(0, softnp_clear_counters());
    EXPECT_EQ(0u, line(SOFTNP_CLASSIFY, PROFILE, 1).frames);
}

TEST_F(Matching, CountersStayWithTheirLine)
{
    add(LineBytes(1, 0, 0).ask(ETYPE, 0x0806));
    receive(2, frame_of(HOST_A, HOST_B, 0x0806));
    ASSERT_EQ(0, tell(vf_mk_add_classify_act(PROFILE, 1, LineBytes(2, 0, 0).bytes.data())));
    receive(2, frame_of(HOST_A, HOST_B, 0x0806));
    EXPECT_EQ(1u, line(SOFTNP_CLASSIFY, PROFILE, 1).frames);
    EXPECT_EQ(1u, line(SOFTNP_CLASSIFY, PROFILE, 2).frames);
    receive(2, frame_of(HOST_A, HOST_B, 0x0806));
    EXPECT_EQ(2u, line(SOFTNP_CLASSIFY, PROFILE, 1).frames);
}

TEST_F(Matching, FramesThatAreDroppedLaterAreMatchedToo)
{
    add(LineBytes(1, 0, 0));
    ASSERT_EQ(0, set_flags(2, ETHER_FLAGS & ~2u));
    EXPECT_EQ(SOFTNP_REASON_NOT_FORWARDING, static_cast<int>(receive(2, frame_of(HOST_A, HOST_B)).reason));
    EXPECT_EQ(1u, line(SOFTNP_CLASSIFY, PROFILE, 1).frames);
}

// ---- fields at their bounds

TEST_F(Matching, ARangeHasBothItsEnds)
{
    add(LineBytes().ask(DST_PORT, {80, 90, 0xFFFF, 1}));
    for (const auto& [port, matches] : {std::pair{79u, false}, {80u, true}, {90u, true}, {91u, false}})
        EXPECT_EQ(matches, only_line_matches({.dst_port = port})) << port;
}

TEST_F(Matching, AMaskIsAppliedToFrameAndLine)
{
    add(LineBytes().ask(TOS, {0xB9, 0, 0xFC, 0}));
    EXPECT_TRUE(only_line_matches({.tos = 0xBB}));
    EXPECT_FALSE(only_line_matches({.tos = 0xBC}));
}

TEST_F(Matching, APrefixOfNoLengthIsEveryAddressOfIpv4)
{
    add(LineBytes().ask(DST_IP, {0x0A000001, 0, 0, 0}));
    EXPECT_TRUE(only_line_matches({.dst_ip = 0xC0A80101}));
    EXPECT_FALSE(only_line_matches({.ethertype = 0x86DD}));
}

TEST_F(Matching, ARangeUnderAPrefixMaskIsOneOfNetworks)
{
    add(LineBytes().ask(SRC_IP, {0x0A010000, 0x0A030000, 0xFFFF0000, 1}));
    EXPECT_TRUE(only_line_matches({.src_ip = 0x0A03FFFF}));
    EXPECT_FALSE(only_line_matches({.src_ip = 0x0A040000}));
    EXPECT_FALSE(only_line_matches({.src_ip = 0x0A00FFFF}));
}

TEST_F(Matching, TheVlanIsTheOneThatTheFrameIsIn)
{
    add(LineBytes().ask(VLAN, 10));
    EXPECT_TRUE(only_line_matches({}));
    EXPECT_TRUE(only_line_matches({.tag = 10}));
}

TEST_F(Matching, AFrameWithoutATagHasNoPriority)
{
    add(LineBytes().ask(DOT1P, 0));
    EXPECT_FALSE(only_line_matches({}));
    EXPECT_TRUE(only_line_matches({.tag = 10}));
    EXPECT_TRUE(only_line_matches({.tag = 0}));
    EXPECT_FALSE(only_line_matches({.tag = 0x200A}));
    ASSERT_EQ(0, set_flags(2, ETHER_FLAGS & ~0x40u));  // tags are not recognised: the type is what stands there
    EXPECT_FALSE(only_line_matches({.tag = 10}));
}

TEST_F(Matching, LaterFragmentsHaveNoPorts)
{
    add(LineBytes().ask(DST_PORT, {0, 0, 0, 0}));
    EXPECT_TRUE(only_line_matches({.proto = 6}));
    EXPECT_FALSE(only_line_matches({.proto = 6, .fragment = 1}));
    EXPECT_FALSE(only_line_matches({.proto = 1}));
}

TEST_F(Matching, HeadersThatAreCutOffOrWrongAreNotThere)
{
    add(LineBytes().ask(DST_PORT, {0, 0, 0, 0}));
    add(LineBytes().ask(PROTO, {0, 0, 0, 0}));
    add(LineBytes().ask_ext(0, 0, 0));
    const Bytes whole = bytes_of(Facts{.proto = 17});
    const auto first_match = [&whole](size_t length) {
        Bytes frame = whole;
        frame.resize(length);
        return u32{receive(2, frame).line_no};
    };
    EXPECT_EQ(1u, first_match(14 + 20 + 8));
    EXPECT_EQ(2u, first_match(14 + 20 + 7));
    EXPECT_EQ(2u, first_match(14 + 20));
    EXPECT_EQ(3u, first_match(14 + 19));  // only raw words after the type
    EXPECT_EQ(3u, first_match(14 + 4));
    EXPECT_EQ(0u, first_match(14 + 3));
    for (const u8 version_and_length : std::array<u8, 4>{0x55, 0x44, 0x4F, 0x00}) {
        Bytes frame = whole;
        frame[14] = version_and_length;
        EXPECT_EQ(3u, receive(2, frame).line_no) << int{version_and_length};
    }
}

// Cut off anywhere, with what was cut off behind it or with nothing there at all.
TEST_F(Matching, NothingBehindAFrameIsRead)
{
    add(LineBytes().ask(DST_PORT, {0, 0, 0, 0}));
    add(LineBytes().ask(PROTO, {0, 0, 0, 0}));
    for (u32 index = 4; index-- > 0;) add(LineBytes().ask_ext(index, 0, 0));
    const EdgeOfMemory edge;
    const u8 payload_byte = 0x45;  // which would be the start of a header
    for (const std::optional<u32> tag : {std::optional<u32>(), std::optional<u32>(10)}) {
        for (const u32 proto : {1u, 6u, 17u, 132u}) {
            const Bytes whole = bytes_of(
                Facts{.tag = tag, .proto = proto, .options = 2, .tcp_options = 3, .payload = Bytes(20, payload_byte)});
            for (size_t length = tag ? 18 : 14; length <= whole.size(); length++) {
                softnp_verdict at_edge{};
                softnp_verdict inside{};
                ASSERT_EQ(0, softnp_receive(2, edge.put(whole, length), static_cast<u32>(length), 1000, &at_edge));
                ASSERT_EQ(0, softnp_receive(2, whole.data(), static_cast<u32>(length), 1000, &inside));
                ASSERT_EQ(at_edge.line_no, inside.line_no) << proto << ", " << length << " bytes";
            }
        }
    }
}

TEST_F(Matching, ATcpHeaderThatSaysTooLittleOrTooMuchIsMeasured)
{
    add(LineBytes().ask_ext(0, 0x01020304, 0xFFFFFFFF));
    Bytes frame = bytes_of(Facts{.proto = 6, .payload = {1, 2, 3, 4}});
    EXPECT_EQ(1, receive(2, frame).line_no);
    frame[14 + 20 + 12] = 0x10;  // shorter than a TCP header is: taken for the shortest
    EXPECT_EQ(1, receive(2, frame).line_no);
    frame[14 + 20 + 12] = 0xF0;  // longer than the packet: no ports, and the payload starts with the header
    EXPECT_EQ(0, receive(2, frame).line_no);
}

TEST_F(Matching, PaddingIsNoPayload)
{
    add(LineBytes().ask_ext(0, 0, 0));
    EXPECT_FALSE(only_line_matches({.payload = {1, 2, 3}, .padding = 18}));
    Bytes frame = bytes_of(Facts{.payload = {1, 2, 3}, .padding = 18});
    frame[16] = 0;
    frame[17] = 0;  // a total length of 0 says nothing
    EXPECT_EQ(1, receive(2, frame).line_no);
}

TEST_F(Matching, ExtendedFieldsAreBigEndianWordsOfThePayload)
{
    add(LineBytes().ask_ext(1, 0x11220000, 0xFFFF0000).ask_ext(3, 0xAABBCCDD, 0xFFFFFFFF));
    Bytes payload(16);
    payload[4] = 0x11;
    payload[5] = 0x22;
    payload[12] = 0xAA;
    payload[13] = 0xBB;
    payload[14] = 0xCC;
    payload[15] = 0xDD;
    EXPECT_TRUE(only_line_matches({.payload = payload}));
    EXPECT_TRUE(only_line_matches({.ethertype = 0x0806, .payload = payload}));
    payload.pop_back();
    EXPECT_FALSE(only_line_matches({.payload = payload}));
}

// ---- what a line makes of a frame

TEST_F(Matching, TheModeSaysWhereTheClassComesFrom)
{
    const u32 map[8] = {0, 0, 0, 7, 0, 0, 0, 0};
    const u32 values[8] = {0, 0, 0, 0, 0, 0, 0xB8, 0};
    const u32 masks[8] = {0, 0, 0, 0, 0, 0, 0xFC, 0};
    ASSERT_EQ(0, tell(vf_mk_set_cosmap(2, 0x08, map)));
    ASSERT_EQ(0, tell(vf_mk_create_stream(3)));
    ASSERT_EQ(0, tell(vf_mk_set_stream_tosmap(3, 0x40, values, masks)));
    for (u32 class_no = 0; class_no < 8; class_no++) {
        ASSERT_EQ(0, tell(vf_mk_create_queue(class_no, 1, 100)));
        ASSERT_EQ(0, tell(vf_mk_add_queue(class_no, 3, class_no, 2, class_no, 0)));
    }
    struct Row {
        u32 mode;
        u32 tag;
        u32 tos;
        u32 class_no;
    };
    const Row rows[] = {
        {0, 3u << 13 | 10, 0xB8, 2},                               // the line's own
        {9, 3u << 13 | 10, 0xB8, 2}, {1, 3u << 13 | 10, 0xB8, 7},  // by the priority
        {1, 4u << 13 | 10, 0xB8, 2}, {2, 3u << 13 | 10, 0xB8, 6},  // by the TOS
        {2, 3u << 13 | 10, 0x00, 2},
    };
    for (const Row& row : rows) {
        ASSERT_EQ(0, tell(vf_mk_rem_classify_act(PROFILE, 0)));
        add(LineBytes(3, 2, 1, row.mode));
        softnp_queue before{};
        softnp_queue after{};
        ASSERT_EQ(1, softnp_get_queue(row.class_no, &before));
        EXPECT_EQ(3, receive(2, bytes_of(Facts{.tag = row.tag, .tos = row.tos})).stream);
        ASSERT_EQ(1, softnp_get_queue(row.class_no, &after));
        EXPECT_EQ(before.counters.sent_frames + 1, after.counters.sent_frames) << row.mode << " " << row.class_no;
    }
}

TEST_F(Matching, ALineWithoutASensibleClassOrColour)
{
    add(LineBytes(3, 8, 3));
    const softnp_verdict verdict = receive(2, frame_of(HOST_A, HOST_B));
    EXPECT_EQ(0xFF, verdict.class_no);
    EXPECT_EQ(0, verdict.colour);
    EXPECT_EQ(1u, device_counters().unqueued);
}

// ---- prefilters

TEST_F(Matching, APrefilterDropsByTheFirstLineThatMatches)
{
    struct Row {
        u32 flag;
        u32 value;
        Facts facts;
    };
    const Row rows[] = {
        {0x01, 0xB8, {.tos = 0xB8}},
        {0x02, 6, {.proto = 6}},
        {0x04, 0x0A000001, {.src_ip = 0x0A000001}},
        {0x08, 0x0A000002, {.dst_ip = 0x0A000002}},
        {0x10, 53, {.src_port = 53}},
        {0x20, 80, {.dst_port = 80}},
    };
    ASSERT_EQ(0, tell(vf_mk_add_prefilter_prof(70000, 2, 10, NO_WORDS)));
    add(LineBytes(3, 2, 1));
    for (const Row& row : rows) {
        ASSERT_EQ(0, tell(vf_mk_rem_prefilter_act(70000, 0)));
        ASSERT_EQ(0, tell(vf_mk_add_prefilter_act(70000, 0, BlockBytes(1).ask(row.flag, row.value).bytes.data())));
        const u64 matched = line(SOFTNP_CLASSIFY, PROFILE, 1).frames;
        const softnp_verdict dropped = receive(2, bytes_of(row.facts));
        EXPECT_EQ(SOFTNP_REASON_PREFILTER, static_cast<int>(dropped.reason)) << row.flag;
        EXPECT_EQ(SOFTNP_SOURCE_NOT_LOOKED_UP, static_cast<int>(dropped.source));
        EXPECT_EQ(matched, line(SOFTNP_CLASSIFY, PROFILE, 1).frames);
        EXPECT_EQ(1u, line(SOFTNP_PREFILTER, 70000, 1).frames);
        EXPECT_EQ(0u, receive(2, bytes_of(Facts{})).reason);
        EXPECT_EQ(0u, receive(3, bytes_of(row.facts)).reason);

        ASSERT_EQ(0, tell(vf_mk_add_prefilter_act(70000, 1, BlockBytes(0).ask(row.flag, row.value).bytes.data())));
        EXPECT_EQ(0u, receive(2, bytes_of(row.facts)).reason);
    }
    EXPECT_EQ(6u, port_counters(2).dropped[SOFTNP_REASON_PREFILTER]);
    EXPECT_STREQ("prefilter", softnp_reason_text(SOFTNP_REASON_PREFILTER));
}

TEST_F(Matching, APrefilterLineAsksOnlyFramesThatHaveItsFields)
{
    ASSERT_EQ(0, tell(vf_mk_add_prefilter_prof(1, 2, 10, NO_WORDS)));
    ASSERT_EQ(0, tell(vf_mk_add_prefilter_act(1, 0, BlockBytes(1).ask(0x20, {0, 0, 0, 0}).bytes.data())));
    EXPECT_EQ(SOFTNP_REASON_PREFILTER, static_cast<int>(receive(2, bytes_of(Facts{.proto = 6})).reason));
    EXPECT_EQ(0u, receive(2, bytes_of(Facts{.proto = 1})).reason);
    EXPECT_EQ(0u, receive(2, bytes_of(Facts{.ethertype = 0x0806})).reason);
}

TEST_F(Matching, APrefilterLineThatAsksForNothingMatchesAll)
{
    ASSERT_EQ(0, tell(vf_mk_add_prefilter_prof(1, 2, 10, NO_WORDS)));
    EXPECT_EQ(0u, receive(2, frame_of(HOST_A, HOST_B, 0x0806)).reason);
    ASSERT_EQ(0, tell(vf_mk_add_prefilter_act(1, 0, BlockBytes(1).bytes.data())));
    EXPECT_EQ(SOFTNP_REASON_PREFILTER, static_cast<int>(receive(2, frame_of(HOST_A, HOST_B, 0x0806)).reason));
    ASSERT_EQ(0, tell(vf_mk_rem_prefilter_prof(2, 10)));
    EXPECT_EQ(0u, receive(2, frame_of(HOST_A, HOST_B, 0x0806)).reason);
}

}  // namespace
