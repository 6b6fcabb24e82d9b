// The export of classify lists as an XML document in a temporary file, announced on standard output.
#include <fcntl.h>
#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "classify/field_text.h"
#include "core/call.h"

namespace zelfdb {
namespace {

constexpr u32 all_profiles = 0;

// A new file under the name that the template becomes; -1 if there is none. Its descriptor is never a standard stream's,
// which the lowest free one is when that stream is closed: what is printed meanwhile would go into the document.
int make_file(char* path)
{
    const int file = mkstemp(path);
    if (file < 0 || file > STDERR_FILENO) return file;
    const int moved = fcntl(file, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    close(file);
    if (moved < 0) ::unlink(path);
    return moved;
}

// Text gathered for one file. Literals are copied and numbers converted; no format is interpreted, as a full database has a
// million pieces, and everybody waits for the lock meanwhile. Write errors are not looked at: the reader of the document finds
// it incomplete.
class Document {
public:
    explicit Document(int file) : file_(file) {}
    ~Document() { flush(); }
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    Document& operator<<(std::string_view text)
    {
        char* const at = room_for(text.size());
        std::memcpy(at, text.data(), text.size());
        end_ = at + text.size();
        return *this;
    }
    Document& operator<<(u32 number) { return convert(number, 10); }
    Document& operator<<(i32 number) { return convert(number, 10); }
    Document& hex(u32 number) { return convert(number, 16); }
    template <class Field>
    Document& field(char* (*put)(char*, const Field&), const Field& field)
    {
        end_ = put(room_for(field_text_max), field);
        return *this;
    }

private:
    static constexpr std::size_t longest_number = 16;

    // No piece is longer than the buffer.
    char* room_for(std::size_t length)
    {
        if (static_cast<std::size_t>(buffer_ + sizeof buffer_ - end_) < length) flush();
        return end_;
    }
    template <class Number>
    Document& convert(Number number, int radix)
    {
        char* const at = room_for(longest_number);
        end_ = std::to_chars(at, at + longest_number, number, radix).ptr;
        return *this;
    }

    void flush()
    {
        const char* done = buffer_;
        while (done < end_) {
            const ssize_t written = write(file_, done, static_cast<std::size_t>(end_ - done));
            if (written <= 0) break;
            done += written;
        }
        end_ = buffer_;
    }

    int file_;
    char buffer_[32768];
    char* end_ = buffer_;
};

// The system's database of protocols is read anew at each question: it is asked once for each protocol of a document.
class Protocols {
public:
    void put(Document& document, const MatchField<u8>& field)
    {
        if (!stands_alone(field)) {
            document.field<MatchField<u8>>(put_number, field);
            return;
        }
        FieldText& name = name_[field.value];
        if (name.text[0] == '\0') name = protocol_text(field);
        document << name.text;
    }

private:
    FieldText name_[256] = {};
};

// All four are written as soon as one is present.
void put_ext_fields(Document& document, const ClassifyLine& line)
{
    document << "        <ext_classifies>\n";
    if (line.flags >= match_ext) {
        for (u32 i = 0; i < std::size(line.ext); ++i) {
            document << "          <ext_classify><id>" << i + 1 << "</id>";
            if (line.flags & match_ext << i) {
                (document << "<value>").hex(line.ext[i].value) << "</value><mask>";
                document.hex(line.ext[i].mask) << "</mask>";
            }
            document << "</ext_classify>\n";
        }
    }
    document << "        </ext_classifies>\n";
}

// What a line makes of the frames that it matches.
void put_target(Document& document, const Action& action)
{
    const ClassifyLine& line = action.line;
    document << "        <line_no>" << action.position;
    document << "</line_no>\n        <streamid>" << line.stream_id + 1;
    document << "</streamid>\n        <classid>" << i32{static_cast<signed char>(line.class_id)};
    document << "</classid>\n        <color>" << line_colour_text(line.colour);
    document << "</color>\n        <mode>" << line_mode_text(line.mode) << "</mode>\n";
}

// A field that is absent has empty content.
void put_fields(Document& document, Protocols& protocols, const ClassifyLine& line)
{
    const auto has = [&line](u32 field) { return (line.flags & field) != 0; };
    document << "        <dst_ip>";
    if (has(match_dst_ip)) document.field(put_ip, line.dst_ip);
    document << "</dst_ip>\n        <src_ip>";
    if (has(match_src_ip)) document.field(put_ip, line.src_ip);
    document << "</src_ip>\n        <tos>";
    if (has(match_tos)) document.field(put_number, line.tos);
    document << "</tos>\n        <proto>";
    if (has(match_proto)) protocols.put(document, line.proto);
    document << "</proto>\n        <dst_port>";
    if (has(match_dst_port)) document.field(put_number, line.dst_port);
    document << "</dst_port>\n        <src_port>";
    if (has(match_src_port)) document.field(put_number, line.src_port);
    document << "</src_port>\n        <vlanid>";
    if (has(match_vlan)) document.field(put_number, line.vlan);
    document << "</vlanid>\n        <dot1p>";
    if (has(match_dot1p)) document.field(put_number, line.dot1p);
    document << "</dot1p>\n        <etype>";
    if (has(match_etype)) document.field(put_hex, line.etype);
    document << "</etype>\n";
}

void put_line(Document& document, Protocols& protocols, const Action& action)
{
    document << "      <classify_line>\n";
    put_target(document, action);
    put_fields(document, protocols, action.line);
    put_ext_fields(document, action.line);
    document << "      </classify_line>\n";
}

void put_profile(Document& document, Protocols& protocols, const Call& call, const Classify& classify)
{
    document << "  <classify_list>\n    <classify_list_no>" << u32{classify.ID};
    document << "</classify_list_no>\n    <classify_lines>\n";
    for (const Action& action : actions_of(call.base(), classify)) put_line(document, protocols, action);
    document << "    </classify_lines>\n  </classify_list>\n";
}

void put_document(int file, const Call& call, const Classify* only)
{
    Document document{file};
    Protocols protocols;
    document << "<classify_lists>\n";
    if (only) {
        put_profile(document, protocols, call, *only);
    } else {
        for (const Classify& classify : walk(all_classifies, call.base(), call.header())) {
            put_profile(document, protocols, call, classify);
        }
    }
    document << "</classify_lists>\n";
}

}  // namespace
}  // namespace zelfdb

int zelfdb_disp_classify(uint32_t profile, uint32_t* err)
{
    using namespace zelfdb;
    // The file is made before the lock is taken, unlike in other operations: nobody waits for a slow disk's directory.
    Call call{Lock::main, err, Release::fdb_then_main, Open::with_NP, Enter::later};
    if (!call) return call.failed();
    char path[] = "/tmp/clsline-XXXXXX";
    const int file = make_file(path);
    if (file < 0) return call.failed();
    call.enter();

    const Classify* const only = known_classify(call.base(), call.header(), profile & 0xFFFF);
    if (profile != all_profiles && !only) {
        unlink(path);
        close(file);
        return call.fail(ZELFDB_NO_CLASSIFY);
    }
    std::puts("<response>");
    std::puts("  <result>OK</result>");
    std::printf("  <data file=\"%s\"/>\n", path);
    put_document(file, call, only);
    std::puts("</response>");
    fsync(file);
    close(file);
    return 0;
}
