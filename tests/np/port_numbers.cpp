// The NP's port numbers: which commands are sent them, and which port IDs have one.
#include "commands.h"

namespace zelfdb {
namespace {

using testing::ElementsAre;

struct Mapping {
    u32 port_id;
    u32 np_port;
    const char* np_text;
    const char* id_text;
};

constexpr u32 unknown = 0xFFFFFFFF;

constexpr Mapping mappings[] = {
    {1, 1, "1", "1"},
    {9, 9, "9", "9"},
    {10, 10, "0xa", "0xa"},
    {101, 11, "0xb", "0x65"},
    {105, 15, "0xf", "0x69"},
    {164, 74, "0x4a", "0xa4"},
    {0, unknown, "0xffffffff", "0"},
    {11, unknown, "0xffffffff", "0xb"},
    {50, unknown, "0xffffffff", "0x32"},
    {100, unknown, "0xffffffff", "0x64"},
    {165, unknown, "0xffffffff", "0xa5"},
    {199, unknown, "0xffffffff", "0xc7"},
    {0x80000001, unknown, "0xffffffff", "0x80000001"},
    {0xFFFFFFFF, unknown, "0xffffffff", "0xffffffff"},
};

class NPPortNumbers : public Commands {};

TEST_F(NPPortNumbers, Are1To10ForThemselvesAnd11To74For101To164)
{
    for (const Mapping& mapping : mappings) EXPECT_EQ(mapping.np_port, np_port(mapping.port_id)) << mapping.port_id;
    for (u32 id = 0; id <= 300; ++id) {
        const bool same = id >= 1 && id <= 10;
        const bool shifted = id >= 101 && id <= 164;
        EXPECT_EQ(same ? id : shifted ? id - 90 : unknown, np_port(id)) << id;
    }
}

TEST_F(NPPortNumbers, StandInEveryCommandThatIsMappedAndUnknownPortsAreSentAllTheSame)
{
    for (const PortCommand& command : mapping_commands()) {
        SCOPED_TRACE(command.name);
        for (const Mapping& mapping : mappings) {
            EXPECT_EQ(0, command.send(d(), mapping.port_id));
            EXPECT_THAT(sent(), ElementsAre(command.before + mapping.np_text + command.after));
        }
    }
}

TEST_F(NPPortNumbers, AreNotUsedByPrefilterLocMirrorAndPhysicalPortCommands)
{
    for (const PortCommand& command : unmapped_commands()) {
        SCOPED_TRACE(command.name);
        for (const Mapping& mapping : mappings) {
            EXPECT_EQ(0, command.send(d(), mapping.port_id));
            EXPECT_THAT(sent(), ElementsAre(command.before + mapping.id_text + command.after));
        }
    }
}

}  // namespace
}  // namespace zelfdb
