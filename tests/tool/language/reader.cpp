// The reader: tokens, values at their bounds, good lines, and what is said about bad ones.
#include "language/reader.h"

#include <gtest/gtest.h>

#include <set>

#include "support/random.h"

namespace zelfctl {
namespace {

std::string text_of(const std::vector<Token>& tokens)
{
    std::string text;
    for (const Token& token : tokens) text += std::to_string(token.column) + ":" + std::string(token.text) + " ";
    return text;
}

TEST(Split, BlanksOfAllKindsSeparate)
{
    EXPECT_EQ("3:create 11:port 17:7 ", text_of(split("  create\t port \v7\r\n")));
    EXPECT_EQ("", text_of(split("")));
    EXPECT_EQ("", text_of(split(" \t \r")));
}

TEST(Split, ACommentBeginsWithAWordThatBeginsWithAHash)
{
    EXPECT_EQ("", text_of(split("# create port 7")));
    EXPECT_EQ("1:create ", text_of(split("create #port 7")));
    EXPECT_EQ("1:create 8:a#b ", text_of(split("create a#b")));
}

TEST(Split, TheColumnAfterTheLastWordIsWhereMoreWasExpected)
{
    EXPECT_EQ(1U, column_after(split("   ")));
    EXPECT_EQ(9U, column_after(split("  create   # port")));
}

struct ValueRow {
    const char* kind;
    const char* text;
    bool good;
    u32 number;
};
constexpr ValueRow value_rows[] = {
    {"port", "1", true, 1},
    {"port", "199", true, 199},
    {"port", "0", false, 0},
    {"port", "200", false, 0},
    {"port", "-1", false, 0},
    {"port", "+1", false, 0},
    {"port", "1x", false, 0},
    {"port", "0x1", false, 0},
    {"port", "", false, 0},
    {"port", "4294967297", false, 0},
    {"port", "007", true, 7},
    {"anyport", "0", true, 0},
    {"anyport", "4294967295", true, 0xFFFFFFFF},
    {"anyport", "-1", true, 0xFFFFFFFF},
    {"anyport", "4294967296", false, 0},
    {"mirror_port", "0", true, 0},
    {"mirror_port", "65535", true, 65535},
    {"mirror_port", "65536", false, 0},
    {"mirror_port", "-1", false, 0},
    {"tag_vid", "0", true, 0},
    {"tag_vid", "65535", true, 65535},
    {"tag_vid", "65536", false, 0},
    {"phport", "0", true, 0},
    {"phport", "255", true, 255},
    {"phport", "256", false, 0},
    {"ether", "0", false, 0},
    {"ether", "4", true, 4},
    {"ether", "5", false, 0},
    {"vid", "0", false, 0},
    {"vid", "1", true, 1},
    {"vid", "4094", true, 4094},
    {"vid", "4095", false, 0},
    {"pvid", "0", true, 0},
    {"pvid", "4095", false, 0},
    {"flags", "0", true, 0},
    {"flags", "ffffffff", true, 0xFFFFFFFF},
    {"flags", "FfFf", true, 0xFFFF},
    {"flags", "0x1f", true, 0x1F},
    {"flags", "0X1F", true, 0x1F},
    {"flags", "0x", false, 0},
    {"flags", "100000000", false, 0},
    {"flags", "g", false, 0},
    {"pflags", "3377", true, 0x3377},
    {"pflags", "10000", false, 0},
    {"tagtype", "88a8", true, 0x88A8},
    {"tagtype", "10000", false, 0},
    {"protocol", "86dd", true, 0x86DD},
    {"group", "0", true, 0},
    {"group", "65535", true, 65535},
    {"group", "65536", false, 0},
    {"rate", "0", true, 0},
    {"rate", "4294967", true, 4294967},
    {"rate", "4294968", false, 0},
    {"burst", "4294967295", true, 0xFFFFFFFF},
    {"limit", "0", true, 0},
    {"seconds", "4294967295", true, 0xFFFFFFFF},
    {"seconds", "-1", true, 0xFFFFFFFF},
    {"seconds", "4294967296", false, 0},
    {"priority", "255", true, 255},
    {"priority", "256", false, 0},
    {"class", "7", true, 7},
    {"class", "8", false, 0},
    {"color", "green", true, 0},
    {"color", "yellow", true, 1},
    {"color", "red", true, 2},
    {"color", "blue", false, 0},
    {"vlan", "a", true, 0},
    {"vlan", "123456789012345678901234567890", true, 0},
    {"vlan", "1234567890123456789012345678901", false, 0},
    {"vlan", "b\xc3\xbcro", true, 0},
    {"vlan", "a\x01", false, 0},
    {"vlan", "a%s\"", true, 0},
    {"link_frame", "bpdu", true, 0},
    {"link_frame", "lag", true, 2},
    {"link_frame", "pae", true, 3},
    {"link_frame", "31", true, 31},
    {"link_frame", "32", false, 0},
    {"ports4", "1", true, 1},
    {"ports4", "1,2,3,4", true, 15},
    {"ports4", "4,1", true, 9},
    {"ports4", "5", false, 0},
    {"ports4", "1,", false, 0},
    {"ports4", ",1", false, 0},
    {"ports4", "0", false, 0},
    {"burst", "-1", true, 0xFFFFFFFF},
    {"burst", "-2147483648", true, 0x80000000},
    {"burst", "-2147483649", false, 0},
    {"burst", "-0", false, 0},
    {"burst", "--1", false, 0},
    {"qlength", "4294967295", true, 0xFFFFFFFF},
    {"qlength", "-2", true, 0xFFFFFFFE},
    {"qlength", "x", false, 0},
    {"wfq_param", "70000", true, 70000},
    {"wfq_param", "", false, 0},
    {"wfq_param2", "65535", true, 65535},
    {"wfq_param2", "65536", false, 0},
    {"qsize", "65535", true, 65535},
    {"qsize", "65536", false, 0},
    {"ratio", "255", true, 255},
    {"ratio", "256", false, 0},
    {"clslist", "1", true, 1},
    {"clslist", "64", true, 64},
    {"clslist", "0", false, 0},
    {"clslist", "65", false, 0},
    {"line", "0", true, 0},
    {"line", "-1", true, 0xFFFFFFFF},
    {"line", "x", false, 0},
    {"list", "4294967295", true, 0xFFFFFFFF},
    {"list", "", false, 0},
    {"prefilter_index", "128", true, 128},
    {"prefilter_index", "129", false, 0},
    {"loc_index", "15", true, 15},
    {"loc_index", "16", false, 0},
    {"mirror", "4", true, 4},
    {"mirror", "0", false, 0},
    {"mirror", "5", false, 0},
};

// Values of more than one number: the first ones of them, and which were given.
struct CompoundRow {
    const char* kind;
    const char* text;
    std::vector<u32> numbers;  // empty: the text is wrong
    u32 given;
};
const CompoundRow compound_rows[] = {
    {"stream", "1/3", {1, 3}, 0},
    {"stream", "0/256", {0, 256}, 0},
    {"stream", "65535/1", {65535, 1}, 0},
    {"stream", "65536/1", {}, 0},
    {"stream", "1/0", {}, 0},
    {"stream", "1/257", {}, 0},
    {"stream", "1", {}, 0},
    {"stream", "/1", {}, 0},
    {"stream", "1/", {}, 0},
    {"stream", "1/2/3", {}, 0},
    {"queue", "1/3/7", {1, 3, 7}, 0},
    {"queue", "1/3/8", {}, 0},
    {"queue", "1/3", {}, 0},
    {"queue", "1/0/1", {}, 0},
    {"queue", "1/257/1", {}, 0},
    {"rates", "5", {5, 5}, 1},
    {"rates", "0-4294967", {0, 4294967}, 3},
    {"rates", "4294968", {}, 0},
    {"rates", "1-4294968", {}, 0},
    {"rates", "1-", {}, 0},
    {"rates", "-1", {}, 0},
    {"rates", "1-2-3", {}, 0},
    {"bursts", "8000-16000", {8000, 16000}, 3},
    {"bursts", "-1--2", {0xFFFFFFFF, 0xFFFFFFFE}, 3},
    {"bursts", "1-", {}, 0},
    {"percents", "50-100", {50, 100}, 3},
    {"percents", "255", {255, 255}, 1},
    {"percents", "256", {}, 0},
    {"percents", "1-256", {}, 0},
    {"tosmap", "b8,,20/e0,,,,,ffffffff", {0xB8, 0, 0x20, 0, 0, 0, 0, 0xFFFFFFFF, 255, 0, 0xE0}, 0x85},
    {"tosmap", ",,,,,,,", {0}, 0x100},
    {"tosmap", "1,2", {}, 0},
    {"tosmap", "1/,,,,,,,", {}, 0},
    {"tosmap", "g,,,,,,,", {}, 0},
    {"target", "1/0/green", {1, 0, 0}, 0},
    {"target", "65535/255/red", {65535, 255, 2}, 0},
    {"target", "-32768/-128/yellow", {32768, 128, 1}, 0},
    {"target", "0/-1/yellow", {0, 255, 1}, 0},
    {"target", "65536/0/red", {}, 0},
    {"target", "-32769/0/red", {}, 0},
    {"target", "0/256/red", {}, 0},
    {"target", "0/-129/red", {}, 0},
    {"target", "1/1", {}, 0},
    {"target", "1/1/", {}, 0},
    {"addresses", "-", {0, 0, 0, 0}, 0},
    {"addresses", "10.1.2.3", {0x0A010203, 0, 0xFFFFFFFF, 0}, 1},
    {"addresses", "10.1.2.3/8", {0x0A010203, 0, 0xFF000000, 0}, 1},
    {"addresses", "0.0.0.0/0", {0, 0, 0, 0}, 1},
    {"addresses", "10.0.0.9-10.0.0.1/32", {0x0A000009, 0x0A000001, 0xFFFFFFFF, 1}, 1},
    {"addresses", "255.255.255.255", {0xFFFFFFFF, 0, 0xFFFFFFFF, 0}, 1},
    {"addresses", "10.1.2", {}, 0},
    {"addresses", "10.1.2.256", {}, 0},
    {"addresses", "10.1.2.3.4", {}, 0},
    {"addresses", "10.1.2.3/33", {}, 0},
    {"addresses", "10.1.2.3/", {}, 0},
    {"addresses", "10.1.2.3-", {}, 0},
    {"addresses", "", {}, 0},
    {"field8", "-", {0, 0, 0, 0}, 0},
    {"field8", "200", {200, 0, 255, 0}, 1},
    {"field8", "9-3/f", {9, 3, 15, 1}, 1},
    {"field8", "256", {}, 0},
    {"field8", "1-256", {}, 0},
    {"field8", "1/100", {}, 0},
    {"field8", "-7", {}, 0},
    {"field16", "65535/ff00", {65535, 0, 0xFF00, 0}, 1},
    {"field16", "65536", {}, 0},
    {"protocols", "6", {6, 0, 255, 0}, 1},
    {"protocols", "6-17", {6, 17, 255, 1}, 1},
    {"protocols", "-", {0, 0, 0, 0}, 0},
    {"protocols", "nonesuch", {}, 0},
    {"protocols", "256", {}, 0},
    {"etypes", "86dd-88ff/fff0", {0x86DD, 0x88FF, 0xFFF0, 1}, 1},
    {"etypes", "10000", {}, 0},
    {"words", "-", {0}, 0},
    {"words", ",,,", {0}, 0x10},
    {"words", "1a,,ff/f0,", {0x1A, 0, 0xFF, 0, 0xFFFFFFFF, 0, 0xF0}, 5},
    {"words", "1a", {}, 0},
    {"words", "1,2,3,4,5", {}, 0},
    {"bindings", "7/1,,9,0/2", {0x00070001, 0, 0x00090004, 2}, 0xD},
    {"bindings", ",,,", {3, 0, 0, 0}, 0},
    {"bindings", "65535,,,", {0xFFFF0004}, 1},
    {"bindings", "65536,,,", {}, 0},
    {"bindings", "7/3,,,", {}, 0},
    {"bindings", "7/,,,", {}, 0},
    {"bindings", "7", {}, 0},
    {"prefilter_addresses", "10.0.0.1-10.0.0.9", {0x0A000001, 0x0A000009, 0xFFFFFFFF, 1}, 1},
    {"prefilter_addresses", "10.0.0.9-10.0.0.1", {}, 0},
    {"prefilter_addresses", "10.0.0.9-10.0.0.1/24", {0x0A000009, 0x0A000001, 0xFFFFFF00, 1}, 1},
    {"prefilter_field8", "3-9", {3, 9, 255, 1}, 1},
    {"prefilter_field8", "15-16/f", {}, 0},
    {"prefilter_field8", "-", {0, 0, 0, 0}, 0},
    {"prefilter_field16", "9-3", {}, 0},
    {"prefilter_field16", "80", {80, 0, 65535, 0}, 1},
    {"loc_address", "10.0.0.1/8", {0x0A000001, 0, 0xFF000000, 0}, 1},
    {"loc_address", "10.0.0.1-10.0.0.2", {}, 0},
    {"loc_address", "-", {0, 0, 0, 0}, 0},
    {"loc_field8", "255", {255}, 1},
    {"loc_field8", "256", {}, 0},
    {"loc_field8", "1/f", {}, 0},
    {"loc_field8", "-", {0}, 0},
    {"loc_field16", "65535", {65535}, 1},
    {"loc_field16", "65536", {}, 0},
    {"copy_class", "3/2/yellow", {3, 2, 1}, 0},
    {"copy_class", "-1/-2/", {0xFFFFFFFF, 0xFFFFFFFE, no_colour}, 0},
    {"copy_class", "1/1", {}, 0},
    {"copy_class", "1/1/blue", {}, 0},
};

TEST(Values, AreReadWithinTheirBounds)
{
    for (const ValueRow& row : value_rows) {
        SCOPED_TRACE(std::string(row.kind) + " '" + row.text + "'");
        const Kind* const kind = find_kind(row.kind);
        ASSERT_NE(nullptr, kind);
        Value value;
        const bool good = kind->read(*kind, row.text, value);
        EXPECT_EQ(row.good, good);
        if (good && row.good) {
            EXPECT_EQ(row.number, value.number);
        }
    }
}

TEST(Values, OfSeveralNumbersAreReadOneByOne)
{
    for (const CompoundRow& row : compound_rows) {
        SCOPED_TRACE(std::string(row.kind) + " '" + row.text + "'");
        const Kind* const kind = find_kind(row.kind);
        ASSERT_NE(nullptr, kind);
        Value value;
        ASSERT_EQ(!row.numbers.empty(), kind->read(*kind, row.text, value));
        if (row.numbers.empty()) continue;
        const auto end = value.numbers.begin() + static_cast<std::ptrdiff_t>(row.numbers.size());
        EXPECT_EQ(row.numbers, std::vector<u32>(value.numbers.begin(), end));
        EXPECT_EQ(row.given, value.given);
    }
}

TEST(Values, EveryKindHasATest)
{
    std::set<std::string> tested{"mac", "cosmap", "default_class"};  // by the tests below
    for (const ValueRow& row : value_rows) tested.insert(row.kind);
    for (const CompoundRow& row : compound_rows) tested.insert(row.kind);
    for (const Kind& kind : all_kinds()) EXPECT_TRUE(tested.contains(kind.name)) << kind.name;
}

bool read_as(const char* kind_name, std::string_view text, Value& value)
{
    const Kind* const kind = find_kind(kind_name);
    return kind && kind->read(*kind, text, value);
}

TEST(Values, MacAddressesHaveSixPairsAndOneSeparator)
{
    Value value;
    ASSERT_TRUE(read_as("mac", "02:00:5e:AB:cd:ff", value));
    EXPECT_EQ((std::array<u8, 6>{0x02, 0x00, 0x5E, 0xAB, 0xCD, 0xFF}), value.mac);
    ASSERT_TRUE(read_as("mac", "01-80-c2-00-00-0e", value));
    EXPECT_EQ((std::array<u8, 6>{0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E}), value.mac);
    for (const char* const bad : {"", "02:00:5e:ab:cd", "02:00:5e:ab:cd:f", "02:00:5e:ab:cd:fff", "02:00:5e-ab:cd:ff",
                                  "02005eabcdff", "g2:00:5e:ab:cd:ff", "2:00:5e:ab:cd:fff", "02.00.5e.ab.cd.ff"})
        EXPECT_FALSE(read_as("mac", bad, value)) << bad;
}

TEST(Values, ACosmapHasEightPositionsSomeOfWhichAreEmpty)
{
    Value value;
    ASSERT_TRUE(read_as("cosmap", "1,,3,,,,,", value));
    EXPECT_EQ(0x05U, value.given);
    EXPECT_EQ(1U, value.numbers[0]);
    EXPECT_EQ(3U, value.numbers[2]);
    Value empty;
    ASSERT_TRUE(read_as("cosmap", ",,,,,,,", empty));
    EXPECT_EQ(0U, empty.given);
    Value full;
    ASSERT_TRUE(read_as("cosmap", "0,1,2,3,4,5,6,4294967295", full));
    EXPECT_EQ(0xFFU, full.given);
    EXPECT_EQ(0xFFFFFFFFU, full.numbers[7]);
    for (const char* const bad : {"", "1", "1,2,3,4,5,6,7", "1,2,3,4,5,6,7,8,9", "1,,x,,,,,", "1 ,,,,,,,"})
        EXPECT_FALSE(read_as("cosmap", bad, value)) << bad;
}

TEST(Values, ADefaultClassMayHaveAColourWithoutAWord)
{
    Value value;
    ASSERT_TRUE(read_as("default_class", "3/2/yellow", value));
    EXPECT_EQ((std::array<u32, 16>{3, 2, 1}), value.numbers);
    ASSERT_TRUE(read_as("default_class", "1/0/", value));
    EXPECT_EQ(no_colour, value.numbers[2]);
    ASSERT_TRUE(read_as("default_class", "0/2/green", value));  // as the replay prints the stream before the first
    EXPECT_EQ(0U, value.numbers[0]);
    ASSERT_TRUE(read_as("default_class", "-2/-1/green", value));
    EXPECT_EQ(0xFFFFFFFE, value.numbers[0]);
    for (const char* const bad : {"", "3", "3/2", "3//green", "/2/green", "3/2/blue", "3/2/green/"})
        EXPECT_FALSE(read_as("default_class", bad, value)) << bad;
}

void expect_well_formed(const std::vector<Part>& parts, std::set<std::string>& names)
{
    ASSERT_FALSE(parts.empty());
    for (const Part& part : parts) {
        if (part.what == Part::What::optional) {
            expect_well_formed(part.inner, names);
            continue;
        }
        EXPECT_FALSE(part.name.empty());
        EXPECT_EQ(std::string::npos, part.name.find_first_of("<>[]|:"));
        if (part.what == Part::What::value) {
            EXPECT_NE(nullptr, part.kind) << part.name;
        }
        if (part.what == Part::What::choice) {
            EXPECT_GE(part.words.size(), 2U);
        }
        if (part.what != Part::What::word) {
            EXPECT_TRUE(names.insert(part.name).second) << part.name;
        }
    }
}

TEST(Table, EveryPatternIsWellFormedAndEveryRowIsComplete)
{
    for (const Command& command : all_commands()) {
        SCOPED_TRACE(command.row->pattern);
        std::set<std::string> names;
        expect_well_formed(command.parts, names);
        ASSERT_GE(command.parts.size(), 2U);
        EXPECT_EQ(Part::What::word, command.parts[0].what);
        EXPECT_EQ(Part::What::word, command.parts[1].what);
        EXPECT_TRUE(std::string(command.row->help).ends_with('.'));
        EXPECT_STRNE("", command.row->subject);
        EXPECT_NE(nullptr, command.row->run);
    }
}

// Something right for a part: of a kind the first text that the table of values calls good.
void append_sample(const std::vector<Part>& parts, std::string& line)
{
    for (const Part& part : parts) {
        if (part.what == Part::What::optional) {
            append_sample(part.inner, line);
            continue;
        }
        line += ' ';
        if (part.what == Part::What::word) line += part.name;
        if (part.what == Part::What::choice) line += part.words.back();
        if (part.what != Part::What::value) continue;
        const std::string kind = part.kind->name;
        if (kind == "mac") line += "02:00:00:00:00:01";
        if (kind == "cosmap") line += "1,,3,,,,,";
        if (kind == "default_class") line += "1/0/green";
        for (const ValueRow& row : value_rows) {
            if (row.kind != kind || !row.good) continue;
            line += row.text;
            break;
        }
        for (const CompoundRow& row : compound_rows) {
            if (row.kind != kind || row.numbers.empty()) continue;
            line += row.text;
            break;
        }
    }
}

std::vector<std::string> sample_lines()
{
    std::vector<std::string> lines;
    for (const Command& command : all_commands()) append_sample(command.parts, lines.emplace_back());
    return lines;
}

TEST(Table, EveryCommandIsReadByItsOwnRow)
{
    const std::vector<std::string> lines = sample_lines();
    for (std::size_t i = 0; i < lines.size(); ++i) {
        SCOPED_TRACE(lines[i]);
        const ReadLine read = read_line(lines[i]);
        EXPECT_FALSE(read.error) << read.error->text();
        ASSERT_NE(nullptr, read.command);
        EXPECT_STREQ(all_commands()[i].row->pattern, read.command->row->pattern);
    }
}

TEST(Table, NoLineFitsTwoRows)
{
    for (const std::string& line : sample_lines()) {
        int rows = 0;
        for (const Command& command : all_commands()) {
            Arguments arguments;
            rows += match(command.parts, split(line), arguments, nullptr) ? 1 : 0;
        }
        EXPECT_EQ(1, rows) << line;
    }
}

TEST(Reading, TheCaseOfWordsDoesNotMatterThatOfNamesDoes)
{
    const std::string line = "CREATE Vlan Sales VID 10";
    const ReadLine read = read_line(line);
    ASSERT_NE(nullptr, read.command);
    EXPECT_EQ("Sales", read.arguments.text("vlan"));
}

TEST(Reading, EmptyLinesAndCommentsAreNeitherCommandsNorErrors)
{
    for (const char* const line : {"", "   ", "# create port", "\t#"}) {
        const ReadLine read = read_line(line);
        EXPECT_EQ(nullptr, read.command);
        EXPECT_FALSE(read.error);
    }
}

TEST(Reading, OptionalPartsMayBeLeftOut)
{
    const std::string with = "create vlan sales vid 10";
    const std::string without = "create vlan sales";
    EXPECT_EQ(10U, read_line(with).arguments.number("vid", 77));
    EXPECT_EQ(77U, read_line(without).arguments.number("vid", 77));
    EXPECT_FALSE(read_line(without).arguments.has("vid"));
}

struct BadLine {
    const char* line;
    u32 column;
    const char* text;
};
constexpr BadLine bad_lines[] = {
    {"frob", 1,
     "unexpected 'frob', expected 'set', 'create', 'delete', 'enable', 'disable', 'recover', 'notify', 'update', "
     "'add', "
     "'clear' or 'query'"},
    {"create prt 7", 8,
     "unexpected 'prt', expected 'port', 'stream', 'queue', 'protgroup', 'vlan', 'sfdbentry', 'lfdbentry', 'clslist' "
     "or 'mirror'"},
    {"create", 7,
     "the line ends, expected 'port', 'stream', 'queue', 'protgroup', 'vlan', 'sfdbentry', 'lfdbentry', 'clslist' or "
     "'mirror'"},
    {"  create   port   # 7", 16, "the line ends, expected a port number, 1 to 199"},
    {"create port 200 npport 1", 13, "unexpected '200', expected a port number, 1 to 199"},
    {"create port 7 npport 256", 22, "unexpected '256', expected a physical port number, 0 to 255"},
    {"create port 7 npport 1 portType fiber", 33, "unexpected 'fiber', expected 'ether' or 'vif'"},
    {"create port 7 npport 1 type ether", 24, "unexpected 'type', expected 'portType' or the end of the line"},
    {"create port 7 npport 1 portType ether x", 39, "unexpected 'x', expected the end of the line"},
    {"create vlan 1234567890123456789012345678901", 13,
     "unexpected '1234567890123456789012345678901', expected a VLAN name of 1 to 30 characters"},
    {"create vlan sales vid 4095", 23, "unexpected '4095', expected a VID, 1 to 4094"},
    {"add port 1 to vlan sales tag", 29, "the line ends, expected 'off' or 'on'"},
    {"add port 1 to vlan sales tag on tagtype 8100x", 41,
     "unexpected '8100x', expected a tag type, 4 hexadecimal digits"},
    {"add port 1 to vlan sales tag off tagtype 8100", 34,
     "unexpected 'tagtype', expected 'protgroup' or the end of the line"},
    {"create sfdbentry 02:00:00:00:00 in vlan sales discard", 18,
     "unexpected '02:00:00:00:00', expected a MAC address, such as 02:00:00:00:00:01"},
    {"create sfdbentry 02:00:00:00:00:01 in vlan sales drop", 50, "unexpected 'drop', expected 'discard' or 'port'"},
    {"create lfdbentry 02:00:00:00:00:01 in port 1 dsicrad", 46,
     "unexpected 'dsicrad', expected 'dsicard' or 'discard'"},
    {"set ether 5 shaping on rate 1", 11, "unexpected '5', expected a physical port number, 1 to 4"},
    {"set ether 1 shaping on rate 4294968", 29,
     "unexpected '4294968', expected a rate in thousands, 0 to 4294967 (0 = below a thousand)"},
    {"set ether 1 shaping on rate 1 burst", 36, "the line ends, expected a burst size, 0 to 4294967295"},
    {"set port 1 class_policing class 8 off", 33, "unexpected '8', expected a class, 0 to 7"},
    {"set port 1 class_policing class 7 on blue rate 1", 38,
     "unexpected 'blue', expected a colour (green, yellow, red) or 'rate'"},
    {"clear fdb now", 11, "unexpected 'now', expected the end of the line, 'vlan', 'port' or 'type'"},
};

TEST(Reading, BadLinesAreToldWithColumnWordAndWhatWasExpected)
{
    for (const BadLine& bad : bad_lines) {
        SCOPED_TRACE(bad.line);
        const ReadLine read = read_line(bad.line);
        EXPECT_EQ(nullptr, read.command);
        ASSERT_TRUE(read.error);
        EXPECT_EQ(bad.column, read.error->column);
        EXPECT_EQ(bad.text, read.error->text());
    }
}

TEST(Reading, AnyTextIsEitherReadOrRefused)
{
    zelfdb::Random random;
    SCOPED_TRACE(random.trace());
    const std::vector<std::string> lines = sample_lines();
    for (int i = 0; i < 20000; ++i) {
        std::string line = lines[random.below(static_cast<u32>(lines.size()))];
        for (u32 changes = random.below(4); changes != 0; --changes) {
            const std::size_t at = random.below(static_cast<u32>(line.size()));
            if (random.once_in(2))
                line[at] = static_cast<char>(random.below(256));
            else
                line.erase(at, 1 + random.below(4));
            if (line.empty()) line = " ";
        }
        const ReadLine read = read_line(line);
        EXPECT_FALSE(read.command && read.error);
        if (!read.error) continue;
        EXPECT_GE(read.error->column, 1U);
        EXPECT_LE(read.error->column, line.size() + 1);
        EXPECT_FALSE(read.error->expected.empty());
    }
}

TEST(Reading, FirstWordsOfCommandsAreKnown)
{
    EXPECT_TRUE(starts_a_command("create"));
    EXPECT_TRUE(starts_a_command("CLEAR"));
    EXPECT_FALSE(starts_a_command("show"));
    EXPECT_FALSE(starts_a_command("create port"));
    EXPECT_FALSE(starts_a_command("#"));
    EXPECT_FALSE(starts_a_command(""));
}

TEST(Syntax, IsWrittenWithKindsChoicesAndBrackets)
{
    EXPECT_EQ("create port <port> npport <phport> [portType ether|vif]",
              syntax_of(read_pattern("create port <port> npport <phport> [portType <type:ether|vif>]")));
    EXPECT_EQ("a [<mac>] [b <seconds>]", syntax_of(read_pattern("a [<mac>] [b <aging:seconds>]")));
}

}  // namespace
}  // namespace zelfctl
