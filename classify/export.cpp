// The export of classify lists as an XML document in a temporary file, announced on standard output.
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "classify/field_text.h"
#include "core/call.h"

namespace zelfdb {
namespace {

constexpr u32 all_profiles = 0;

// Text gathered for one file. Write errors are not looked at: the reader of the document finds it incomplete.
class Document {
public:
    explicit Document(int file) : file_(file) {}
    ~Document() { flush(); }
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    __attribute__((format(printf, 2, 3))) void put(const char* format, ...)
    {
        if (sizeof buffer_ - used_ < longest_piece) flush();
        va_list arguments;
        va_start(arguments, format);
        const int length = std::vsnprintf(buffer_ + used_, longest_piece, format, arguments);
        va_end(arguments);
        if (length > 0) used_ += static_cast<std::size_t>(length);
    }

private:
    static constexpr std::size_t longest_piece = 256;

    void flush()
    {
        std::size_t done = 0;
        while (done < used_) {
            const ssize_t written = write(file_, buffer_ + done, used_ - done);
            if (written <= 0) break;
            done += static_cast<std::size_t>(written);
        }
        used_ = 0;
    }

    int file_;
    std::size_t used_ = 0;
    char buffer_[8192];
};

void put_field(Document& document, const char* name, bool present, const FieldText& content)
{
    document.put("        <%s>%s</%s>\n", name, present ? content.text : "", name);
}

// All four are written as soon as one is present.
void put_ext_fields(Document& document, const ClassifyLine& line)
{
    document.put("        <ext_classifies>\n");
    if (line.flags >= match_ext) {
        for (u32 i = 0; i < std::size(line.ext); ++i) {
            document.put("          <ext_classify><id>%u</id>", i + 1);
            if (line.flags & match_ext << i) {
                document.put("<value>%lx</value><mask>%lx</mask>", static_cast<unsigned long>(line.ext[i].value),
                             static_cast<unsigned long>(line.ext[i].mask));
            }
            document.put("</ext_classify>\n");
        }
    }
    document.put("        </ext_classifies>\n");
}

void put_line(Document& document, const Action& action)
{
    const ClassifyLine& line = action.line;
    const auto has = [&](u32 field) { return (line.flags & field) != 0; };
    document.put("      <classify_line>\n");
    document.put("        <line_no>%lu</line_no>\n", static_cast<unsigned long>(action.position));
    document.put("        <streamid>%d</streamid>\n", line.stream_id + 1);
    document.put("        <classid>%hhd</classid>\n", static_cast<signed char>(line.class_id));
    document.put("        <color>%s</color>\n", line_colour_text(line.colour));
    document.put("        <mode>%s</mode>\n", line_mode_text(line.mode));
    put_field(document, "dst_ip", has(match_dst_ip), ip_text(line.dst_ip));
    put_field(document, "src_ip", has(match_src_ip), ip_text(line.src_ip));
    put_field(document, "tos", has(match_tos), number_text(line.tos));
    put_field(document, "proto", has(match_proto), has(match_proto) ? protocol_text(line.proto) : FieldText{});
    put_field(document, "dst_port", has(match_dst_port), number_text(line.dst_port));
    put_field(document, "src_port", has(match_src_port), number_text(line.src_port));
    put_field(document, "vlanid", has(match_vlan), number_text(line.vlan));
    put_field(document, "dot1p", has(match_dot1p), number_text(line.dot1p));
    put_field(document, "etype", has(match_etype), hex_text(line.etype));
    put_ext_fields(document, line);
    document.put("      </classify_line>\n");
}

void put_profile(Document& document, const Call& call, const Classify& classify)
{
    document.put("  <classify_list>\n");
    document.put("    <classify_list_no>%d</classify_list_no>\n", int{classify.ID});
    document.put("    <classify_lines>\n");
    for (const Action& action : actions_of(call.base(), classify)) put_line(document, action);
    document.put("    </classify_lines>\n");
    document.put("  </classify_list>\n");
}

void put_document(int file, const Call& call, const Classify* only)
{
    Document document{file};
    document.put("<classify_lists>\n");
    if (only) {
        put_profile(document, call, *only);
    } else {
        for (const Classify& classify : walk(all_classifies, call.base(), call.header())) {
            put_profile(document, call, classify);
        }
    }
    document.put("</classify_lists>\n");
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
    const int file = mkstemp(path);
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
