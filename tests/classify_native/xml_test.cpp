// The export read back by an XML parser: every record that was exported is found again in the document.
#include <netdb.h>
#include <tinyxml2.h>
#include <unistd.h>

#include <map>

#include "classify/classify_test.h"
#include "support/random.h"

namespace zelfdb {
namespace {

using tinyxml2::XMLElement;
using Documented = std::map<int, std::vector<zelfdb_classify_line>>;

constexpr u32 presence[] = {0x1,  0x2,   0x4,       0x8,       0x10,      0x20,     0x40,
                            0x80, 0x100, 0x1000000, 0x2000000, 0x4000000, 0x8000000};

// ---- Lines -----------------------------------------------------------------------------------------------------------

template <class Field, class Value>
Field some_field(Random& random, Value mask)
{
    Field field{};
    field.value = static_cast<Value>(random.word());
    field.range_end = static_cast<Value>(random.word());
    field.mask = random.once_in(2) ? static_cast<Value>(0xFFFFFFFF) : mask;
    field.ranged = static_cast<Value>(random.once_in(2) ? 1 : 0);
    return field;
}

u32 some_prefix_mask(Random& random) { return static_cast<u32>(0xFFFFFFFF00000000ull >> random.below(33)); }

zelfdb_classify_line some_line(Random& random)
{
    zelfdb_classify_line line{};
    line.mode = random.below(4);
    line.stream_id = static_cast<u16>(random.word());
    line.class_id = static_cast<u8>(random.word());
    line.colour = static_cast<u8>(random.below(5));
    for (const u32 flag : presence) line.flags |= random.once_in(2) ? flag : 0;
    line.dot1p = some_field<zelfdb_match8>(random, static_cast<u8>(random.word()));
    line.tos = some_field<zelfdb_match8>(random, static_cast<u8>(random.word()));
    line.proto = some_field<zelfdb_match8>(random, static_cast<u8>(random.word()));
    for (zelfdb_match16* field : {&line.vlan, &line.etype, &line.src_port, &line.dst_port}) {
        *field = some_field<zelfdb_match16>(random, static_cast<u16>(random.word()));
    }
    line.src_ip = some_field<zelfdb_match32>(random, some_prefix_mask(random));
    line.dst_ip = some_field<zelfdb_match32>(random, some_prefix_mask(random));
    for (zelfdb_match_ext& ext : line.ext) ext = {random.word(), random.word()};
    return line;
}

template <class Field>
void documented(Field& field, bool present)
{
    if (!present) field = {};
    if (field.ranged == 0) field.range_end = 0;
}

// What of a line the document tells: nothing of absent fields, and no range end of a single value.
zelfdb_classify_line documented(zelfdb_classify_line line)
{
    if (line.mode > 2) line.mode = 0;
    if (line.colour > 2) line.colour = 0;
    documented(line.dot1p, line.flags & 0x1);
    documented(line.vlan, line.flags & 0x2);
    documented(line.etype, line.flags & 0x4);
    documented(line.tos, line.flags & 0x8);
    documented(line.proto, line.flags & 0x10);
    documented(line.src_ip, line.flags & 0x20);
    documented(line.dst_ip, line.flags & 0x40);
    documented(line.src_port, line.flags & 0x80);
    documented(line.dst_port, line.flags & 0x100);
    for (u32 i = 0; i < 4; ++i) {
        if (!(line.flags & 0x1000000u << i)) line.ext[i] = {};
    }
    return line;
}

// ---- Reading the document --------------------------------------------------------------------------------------------

std::string text_of(const XMLElement* parent, const char* name)
{
    const XMLElement* const element = parent->FirstChildElement(name);
    EXPECT_NE(element, nullptr) << name;
    return element && element->GetText() ? element->GetText() : "";
}

u32 read_address(const std::string& text)
{
    unsigned octet[4] = {256, 256, 256, 256};
    char rest = 0;
    EXPECT_EQ(std::sscanf(text.c_str(), "%u.%u.%u.%u%c", &octet[0], &octet[1], &octet[2], &octet[3], &rest), 4) << text;
    u32 address = 0;
    for (const unsigned one : octet) {
        EXPECT_LE(one, 255u) << text;
        address = address << 8 | one;
    }
    return address;
}
u32 read_number(const std::string& text, int radix)
{
    std::size_t used = 0;
    const unsigned long number = std::stoul(text, &used, radix);
    EXPECT_EQ(used, text.size()) << text;
    return static_cast<u32>(number);
}

// "value[-end][/mask]"; whether it is there at all.
template <class Field, class Value, class ReadValue, class ReadMask>
bool read_field(const std::string& text, Field& field, Value no_mask, ReadValue read_value, ReadMask read_mask)
{
    if (text.empty()) return false;
    const std::size_t slash = text.find('/');
    const std::string values = text.substr(0, slash);
    const std::size_t dash = values.find('-');
    field.value = static_cast<Value>(read_value(values.substr(0, dash)));
    field.ranged = dash != std::string::npos ? 1 : 0;
    if (field.ranged) field.range_end = static_cast<Value>(read_value(values.substr(dash + 1)));
    field.mask = slash == std::string::npos ? no_mask : static_cast<Value>(read_mask(text.substr(slash + 1)));
    return true;
}
bool read_ip(const std::string& text, zelfdb_match32& field)
{
    const auto prefix_mask = [](const std::string& length) {
        return static_cast<u32>(0xFFFFFFFF00000000ull >> read_number(length, 10));
    };
    return read_field(text, field, u32{0xFFFFFFFF}, read_address, prefix_mask);
}
bool read_byte(const std::string& text, zelfdb_match8& field)
{
    const auto decimal = [](const std::string& one) { return read_number(one, 10); };
    const auto hex = [](const std::string& one) { return read_number(one, 16); };
    return read_field(text, field, u8{255}, decimal, hex);
}
bool read_half(const std::string& text, zelfdb_match16& field, int radix = 10)
{
    const auto value = [&](const std::string& one) { return read_number(one, radix); };
    const auto hex = [](const std::string& one) { return read_number(one, 16); };
    return read_field(text, field, u16{65535}, value, hex);
}
bool read_protocol(const std::string& text, zelfdb_match8& field)
{
    const protoent* const named = text.empty() ? nullptr : getprotobyname(text.c_str());
    if (!named) return read_byte(text, field);
    field = {static_cast<u8>(named->p_proto), 0, 255, 0};
    return true;
}

u32 number_among(const std::string& text, const std::vector<std::string>& words)
{
    const auto found = std::find(words.begin(), words.end(), text);
    EXPECT_NE(found, words.end()) << text;
    return static_cast<u32>(found - words.begin());
}

void read_ext_fields(const XMLElement* list, zelfdb_classify_line& line)
{
    u32 number = 0;
    for (const XMLElement* one = list->FirstChildElement(); one; one = one->NextSiblingElement()) {
        EXPECT_STREQ(one->Name(), "ext_classify");
        EXPECT_EQ(text_of(one, "id"), std::to_string(number + 1));
        ASSERT_LT(number, 4u);
        if (one->FirstChildElement("value")) {
            line.flags |= 0x1000000u << number;
            line.ext[number] = {read_number(text_of(one, "value"), 16), read_number(text_of(one, "mask"), 16)};
        }
        ++number;
    }
    EXPECT_EQ(number, line.flags >= 0x1000000 ? 4u : 0u);
}

zelfdb_classify_line read_line(const XMLElement* element)
{
    zelfdb_classify_line line{};
    line.stream_id = static_cast<u16>(std::stoi(text_of(element, "streamid")) - 1);
    line.class_id = static_cast<u8>(std::stoi(text_of(element, "classid")));
    line.colour = static_cast<u8>(number_among(text_of(element, "color"), {"green", "yellow", "red"}));
    line.mode = number_among(text_of(element, "mode"), {"normal", "dot1p", "dscp"});
    const auto flag_if = [&](bool present, u32 flag) { line.flags |= present ? flag : 0; };
    flag_if(read_ip(text_of(element, "dst_ip"), line.dst_ip), 0x40);
    flag_if(read_ip(text_of(element, "src_ip"), line.src_ip), 0x20);
    flag_if(read_byte(text_of(element, "tos"), line.tos), 0x8);
    flag_if(read_protocol(text_of(element, "proto"), line.proto), 0x10);
    flag_if(read_half(text_of(element, "dst_port"), line.dst_port), 0x100);
    flag_if(read_half(text_of(element, "src_port"), line.src_port), 0x80);
    flag_if(read_half(text_of(element, "vlanid"), line.vlan), 0x2);
    flag_if(read_byte(text_of(element, "dot1p"), line.dot1p), 0x1);
    flag_if(read_half(text_of(element, "etype"), line.etype, 16), 0x4);
    const XMLElement* const list = element->FirstChildElement("ext_classifies");
    EXPECT_NE(list, nullptr);
    if (list) read_ext_fields(list, line);
    return line;
}

Documented read_document(const std::string& path)
{
    Documented all;
    tinyxml2::XMLDocument document;
    EXPECT_EQ(document.LoadFile(path.c_str()), tinyxml2::XML_SUCCESS) << document.ErrorStr();
    const XMLElement* const root = document.FirstChildElement("classify_lists");
    if (!root) return all;
    EXPECT_EQ(root->NextSibling(), nullptr);
    for (const XMLElement* list = root->FirstChildElement(); list; list = list->NextSiblingElement()) {
        EXPECT_STREQ(list->Name(), "classify_list");
        auto& lines = all[std::stoi(text_of(list, "classify_list_no"))];
        const XMLElement* const group = list->FirstChildElement("classify_lines");
        EXPECT_NE(group, nullptr);
        if (!group) continue;
        for (const XMLElement* line = group->FirstChildElement(); line; line = line->NextSiblingElement()) {
            EXPECT_STREQ(line->Name(), "classify_line");
            lines.push_back(read_line(line));
            EXPECT_EQ(text_of(line, "line_no"), std::to_string(lines.size()));
        }
    }
    return all;
}

// ---- Tests -----------------------------------------------------------------------------------------------------------

class ExportedXML : public ProfileTest {
protected:
    // The file that the response names, which must be XML as well.
    static std::string export_all()
    {
        u32 err = untouched;
        testing::internal::CaptureStdout();
        EXPECT_EQ(zelfdb_disp_classify(0, &err), 0);
        const std::string printed = testing::internal::GetCapturedStdout();
        tinyxml2::XMLDocument response;
        EXPECT_EQ(response.Parse(printed.c_str()), tinyxml2::XML_SUCCESS) << printed;
        const XMLElement* const root = response.FirstChildElement("response");
        if (!root || !root->FirstChildElement("data")) return "";
        EXPECT_EQ(text_of(root, "result"), "OK");
        const char* const path = root->FirstChildElement("data")->Attribute("file");
        return path ? path : "";
    }
    static std::string bytes_of(const Documented& all)
    {
        std::string text;
        for (const auto& [number, lines] : all) {
            text += "profile " + std::to_string(number) + "\n";
            for (const zelfdb_classify_line& line : lines) text += digits(&line, sizeof line) + "\n";
        }
        return text;
    }
};

TEST_F(ExportedXML, EveryRecordIsFoundAgainInTheDocument)
{
    Random random;
    SCOPED_TRACE(random.trace());
    Documented expected;
    for (const u32 number : {1u, 7u, 64u}) {
        given_profile(number);
        expected[static_cast<int>(number)];
    }
    for (u32 i = 0; i < 200; ++i) {
        const u32 number = random.once_in(2) ? 7 : 64;
        const zelfdb_classify_line line = some_line(random);
        EXPECT_EQ(call(zelfdb_add_classify_action_to_profile, number, 0, &line).result, 0);
        expected[static_cast<int>(number)].push_back(documented(line));
    }
    const std::string path = export_all();
    EXPECT_EQ(bytes_of(read_document(path)), bytes_of(expected));
    ::unlink(path.c_str());
}

TEST_F(ExportedXML, AnEmptyDatabaseIsADocumentToo)
{
    const std::string path = export_all();
    EXPECT_EQ(bytes_of(read_document(path)), "");
    ::unlink(path.c_str());
}

}  // namespace
}  // namespace zelfdb
