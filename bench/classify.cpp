// Classify lists: 64 lists filled line by line, and all of their 16,384 lines exported.
#include <fcntl.h>
#include <netdb.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <array>
#include <bit>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "bench/floors.h"
#include "bench/measure.h"
#include "bench/site.h"

namespace bench {
namespace {

constexpr u32 lines_per_list = action_count / classify_count;
constexpr u32 append_line = 0;

u64 wrong = 0;

void check(int result)
{
    if (result != 0) ++wrong;
}

// ---- The lines: what a careful operator writes, no two of a list alike.

template <class Match, class Value>
Match plain(Value value)
{
    Match match{};
    match.value = value;
    match.mask = static_cast<decltype(match.mask)>(~decltype(match.mask){0});
    return match;
}

template <class Match, class Value>
Match range(Value from, Value to)
{
    Match match = plain<Match>(from);
    match.range_end = to;
    match.ranged = 1;
    return match;
}

zelfdb_classify_line line_of(u32 number)
{
    constexpr u8 protocols[] = {6, 17, 1, 47};
    const auto low = static_cast<u8>(number & 0xFF);
    zelfdb_classify_line line{};
    line.mode = number % 3;
    line.stream_id = static_cast<u16>(number % stream_count);
    line.class_id = static_cast<u8>(low % class_count);
    line.colour = static_cast<u8>(low % 3);
    line.flags = ZELFDB_MATCH_DST_IP | ZELFDB_MATCH_PROTO | ZELFDB_MATCH_DST_PORT;
    line.dst_ip = plain<zelfdb_match32>(0x0A000000 + (number << 8));
    line.dst_ip.mask = 0xFFFFFF00;
    line.proto = plain<zelfdb_match8>(protocols[number % std::size(protocols)]);
    line.dst_port = plain<zelfdb_match16>(static_cast<u16>(1024 + number));
    if (number % 2 == 0) {
        line.flags |= ZELFDB_MATCH_SRC_IP | ZELFDB_MATCH_SRC_PORT;
        line.src_ip = range<zelfdb_match32>(0xC0A80000 + number, 0xC0A8FF00 + number);
        line.src_port = range<zelfdb_match16>(static_cast<u16>(1024), static_cast<u16>(65535 - low));
    }
    if (number % 4 == 0) {
        line.flags |= ZELFDB_MATCH_VLAN | ZELFDB_MATCH_DOT1P | ZELFDB_MATCH_ETYPE | ZELFDB_MATCH_TOS;
        line.vlan = plain<zelfdb_match16>(static_cast<u16>(1 + low));
        line.dot1p = range<zelfdb_match8>(static_cast<u8>(low % 4), static_cast<u8>(7));
        line.etype = plain<zelfdb_match16>(u16{0x0800});
        line.tos = plain<zelfdb_match8>(low);
        line.tos.mask = 0xFC;
    }
    if (number % 8 == 0) {
        line.flags |= u32{ZELFDB_MATCH_EXT} | u32{ZELFDB_MATCH_EXT} << 2;
        line.ext[0] = {number * 0x01010101, 0xFFFFFFFF};
        line.ext[2] = {number, 0xFFFF};
    }
    return line;
}

const std::array<zelfdb_classify_line, lines_per_list>& lines()
{
    static const auto all = [] {
        std::array<zelfdb_classify_line, lines_per_list> made{};
        for (u32 number = 0; number < lines_per_list; ++number) made[number] = line_of(number);
        return made;
    }();
    return all;
}

void lay_out_lists(u32 entries)
{
    lay_out(entries);
    u32 err = 0;
    for (u32 list = 1; list <= classify_count; ++list) check(zelfdb_create_classify_profile(list, &err));
}

// ---- Filling them: every line is appended by an operation of its own.

void fill(u32)
{
    u32 err = 0;
    for (u32 list = 1; list <= classify_count; ++list) {
        for (const zelfdb_classify_line& line : lines()) {
            check(zelfdb_add_classify_action_to_profile(list, append_line, &line, &err));
        }
    }
}

// The lines before the new one have their numbers already, and behind it there are none.
void tight_append(u8* base, Header& header, u32 list, const zelfdb_classify_line& line)
{
    const Offset at_list = header.classify_index[list - 1];
    const Offset self = header.action_free;
    if (at_list == none || self == none) ++wrong;
    Classify& classify = floors::at<Classify>(base, at_list);
    if (classify.naction >= lines_per_list) ++wrong;

    Action& action = floors::at<Action>(base, self);
    header.action_free = action.link.next;
    if (header.action_free != none) floors::at<Action>(base, header.action_free).link.prev = none;
    std::memcpy(&action.line, &line, sizeof line);

    Offset before = none;
    for (Offset next = classify.action_head; next != none; next = floors::at<Action>(base, next).link.next) {
        before = next;
    }
    action.link = {none, before == none ? self : before};
    (before == none ? classify.action_head : floors::at<Action>(base, before).link.next) = self;
    action.position = ++classify.naction;
}

void tight_fill(u32)
{
    for (u32 list = 1; list <= classify_count; ++list) {
        for (const zelfdb_classify_line& line : lines()) {
            floors::in_operation([&](u8* base, Header& header) { tight_append(base, header, list, line); });
        }
    }
}

u32 entries_of_fill = 0;

void lay_out_for_fill(u32 entries)
{
    wrong = 0;
    entries_of_fill = entries;
}

// Every block fills empty lists.
void prepare_fill(u32) { lay_out_lists(entries_of_fill); }

std::vector<u8> filled_by(void (*how)(u32 ops))
{
    prepare_fill(action_count);
    how(action_count);
    return main_bytes();
}

bool same_lists()
{
    const std::vector<u8> by_library = filled_by(fill);
    if (header_of(*site.descriptor).action_free != none) return false;
    return filled_by(tight_fill) == by_library && wrong == 0 && stations_are_resident();
}

// ---- Exporting them. The library's files are always under /tmp: for the time of the row that is a file system of our own,
// in memory, so that no disk is measured, or left full. The response goes nowhere.

constexpr const char* export_directory = "/tmp";

bool mounted = false;
int real_stdout = -1;

void enter_scratch()
{
    if (mounted) return;
    mounted = unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
              mount("tmpfs", export_directory, "tmpfs", 0, "size=256m") == 0;
    if (!mounted) {
        std::fprintf(stderr, "bench_zelfdb: no file system of our own on %s: %s\n", export_directory,
                     std::strerror(errno));
        std::exit(2);
    }
    std::fflush(stdout);
    real_stdout = dup(STDOUT_FILENO);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
}

void leave_scratch()
{
    std::fflush(stdout);
    dup2(real_stdout, STDOUT_FILENO);
    close(real_stdout);
    umount2(export_directory, MNT_DETACH);
    mounted = false;
}

void lay_out_for_export(u32 entries)
{
    wrong = 0;
    enter_scratch();
    lay_out_lists(entries);
    fill(action_count);
}

void remove_exports(u32)
{
    for (const auto& file : std::filesystem::directory_iterator(export_directory)) std::filesystem::remove(file);
}

void export_all(u32)
{
    u32 err = 0;
    check(zelfdb_disp_classify(0, &err));
}

// Text for one file: literals copied, numbers converted, nothing interpreted.
class TightText {
public:
    explicit TightText(int file) : file_(file) {}

    TightText& operator<<(std::string_view text)
    {
        std::memcpy(here_, text.data(), text.size());
        here_ += text.size();
        return *this;
    }
    TightText& decimal(u32 number) { return convert(number, 10); }
    TightText& hex(u32 number) { return convert(number, 16); }
    TightText& address(u32 ip)
    {
        decimal(ip >> 24) << ".";
        decimal(ip >> 16 & 0xFF) << ".";
        decimal(ip >> 8 & 0xFF) << ".";
        return decimal(ip & 0xFF);
    }

    // Once for each line, which is never longer than what is kept free.
    void line_is_done()
    {
        if (here_ > buffer_.data() + buffer_.size() - longest_line) flush();
    }
    void flush()
    {
        const auto length = static_cast<std::size_t>(here_ - buffer_.data());
        if (write(file_, buffer_.data(), length) != static_cast<ssize_t>(length)) ++wrong;
        here_ = buffer_.data();
    }

private:
    static constexpr std::size_t longest_line = 4096;

    TightText& convert(u32 number, int radix)
    {
        here_ = std::to_chars(here_, here_ + 16, number, radix).ptr;
        return *this;
    }

    int file_;
    std::array<char, 65536> buffer_;
    char* here_ = buffer_.data();
};

// The system is asked once for each protocol.
class TightProtocols {
public:
    const std::string& name_of(u8 number)
    {
        std::string& name = names_[number];
        if (name.empty()) {
            const protoent* const protocol = getprotobynumber(number);
            name = protocol ? protocol->p_name : std::to_string(number);
        }
        return name;
    }

private:
    std::array<std::string, 256> names_;
};

void tight_ip(TightText& text, const MatchField<u32>& field)
{
    text.address(field.value);
    if (field.ranged) (text << "-").address(field.range_end);
    if (field.mask == 0xFFFFFFFF) return;
    (text << "/").decimal(field.mask == 0 ? 0 : 32 - static_cast<u32>(std::countr_zero(field.mask)));
}

template <class Value>
void tight_number(TightText& text, const MatchField<Value>& field)
{
    text.decimal(field.value);
    if (field.ranged) (text << "-").decimal(field.range_end);
    if (field.mask != static_cast<Value>(~Value{0})) (text << "/").hex(field.mask);
}

void tight_hex_number(TightText& text, const MatchField<u16>& field)
{
    text.hex(field.value);
    if (field.ranged) (text << "-").hex(field.range_end);
    if (field.mask != 0xFFFF) (text << "/").hex(field.mask);
}

void tight_protocol(TightText& text, TightProtocols& protocols, const MatchField<u8>& field)
{
    if (field.ranged || field.mask != 0xFF) return tight_number(text, field);
    text << protocols.name_of(field.value);
}

void tight_ext(TightText& text, const ClassifyLine& line)
{
    for (u32 i = 0; i < 4; ++i) {
        (text << "          <ext_classify><id>").decimal(i + 1) << "</id>";
        if (line.flags & match_ext << i) {
            (text << "<value>").hex(line.ext[i].value) << "</value>";
            (text << "<mask>").hex(line.ext[i].mask) << "</mask>";
        }
        text << "</ext_classify>\n";
    }
}

std::string_view tight_colour(u8 colour) { return colour == 1 ? "yellow" : colour == 2 ? "red" : "green"; }
std::string_view tight_mode(u32 mode) { return mode == 1 ? "dot1p" : mode == 2 ? "dscp" : "normal"; }

void tight_line(TightText& text, TightProtocols& protocols, const Action& action)
{
    const ClassifyLine& line = action.line;
    const auto has = [&line](u32 field) { return (line.flags & field) != 0; };
    (text << "      <classify_line>\n        <line_no>").decimal(action.position);
    (text << "</line_no>\n        <streamid>").decimal(line.stream_id + 1u);
    (text << "</streamid>\n        <classid>").decimal(line.class_id);
    text << "</classid>\n        <color>" << tight_colour(line.colour) << "</color>\n        <mode>"
         << tight_mode(line.mode) << "</mode>\n        <dst_ip>";
    if (has(match_dst_ip)) tight_ip(text, line.dst_ip);
    text << "</dst_ip>\n        <src_ip>";
    if (has(match_src_ip)) tight_ip(text, line.src_ip);
    text << "</src_ip>\n        <tos>";
    if (has(match_tos)) tight_number(text, line.tos);
    text << "</tos>\n        <proto>";
    if (has(match_proto)) tight_protocol(text, protocols, line.proto);
    text << "</proto>\n        <dst_port>";
    if (has(match_dst_port)) tight_number(text, line.dst_port);
    text << "</dst_port>\n        <src_port>";
    if (has(match_src_port)) tight_number(text, line.src_port);
    text << "</src_port>\n        <vlanid>";
    if (has(match_vlan)) tight_number(text, line.vlan);
    text << "</vlanid>\n        <dot1p>";
    if (has(match_dot1p)) tight_number(text, line.dot1p);
    text << "</dot1p>\n        <etype>";
    if (has(match_etype)) tight_hex_number(text, line.etype);
    text << "</etype>\n        <ext_classifies>\n";
    if (line.flags >= match_ext) tight_ext(text, line);
    text << "        </ext_classifies>\n      </classify_line>\n";
    text.line_is_done();
}

void tight_document(int file, u8* base, const Header& header)
{
    TightText text{file};
    TightProtocols protocols;
    text << "<classify_lists>\n";
    for (Offset at_list = header.classify_head; at_list != none;) {
        const Classify& classify = floors::at<Classify>(base, at_list);
        at_list = classify.classify_link.next;
        (text << "  <classify_list>\n    <classify_list_no>").decimal(classify.ID);
        text << "</classify_list_no>\n    <classify_lines>\n";
        for (Offset at_line = classify.action_head; at_line != none;) {
            const Action& action = floors::at<Action>(base, at_line);
            at_line = action.link.next;
            tight_line(text, protocols, action);
        }
        text << "    </classify_lines>\n  </classify_list>\n";
    }
    text << "</classify_lists>\n";
    text.flush();
}

void tight_export(u32)
{
    char path[] = "/tmp/clsline-XXXXXX";
    const int file = mkstemp(path);
    if (file < 0) ++wrong;
    floors::in_operation([=](u8* base, const Header& header) {
        tight_document(file, base, header);
        fsync(file);
        close(file);
    });
}

std::string exported_by(void (*how)(u32 ops))
{
    remove_exports(0);
    how(action_count);
    std::string all;
    for (const auto& entry : std::filesystem::directory_iterator(export_directory)) {
        std::ifstream file(entry.path());
        all.append(std::istreambuf_iterator<char>(file), {});
    }
    return all;
}

bool same_document()
{
    const std::string by_library = exported_by(export_all);
    const std::string by_floor = exported_by(tight_export);
    leave_scratch();
    return by_library.size() > action_count && by_library == by_floor && wrong == 0 && stations_are_resident();
}

}  // namespace

const std::vector<Measured> classify_rows = {
    {"classify_fill",
     1.25,
     action_count,
     256,
     lay_out_for_fill,
     prepare_fill,
     {"zelfdb_add_classify_action_to_profile", fill},
     {{"the same on the records", tight_fill}},
     same_lists,
     7},
    {"classify_export",
     1.25,
     action_count,
     256,
     lay_out_for_export,
     remove_exports,
     {"zelfdb_disp_classify", export_all},
     {{"the same text, by hand", tight_export}},
     same_document,
     11},
};

}  // namespace bench
