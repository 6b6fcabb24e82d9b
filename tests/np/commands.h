// Every command that the library can send, with arguments that tell one from another: what the tests of the frame, which is
// the same for all of them, go through.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "core/records.h"
#include "np/classify_commands.h"
#include "np/fdb_commands.h"
#include "np/mirror_commands.h"
#include "np/port_commands.h"
#include "np/qos_commands.h"
#include "np/vlan_commands.h"
#include "support/database.h"

namespace zelfdb {

struct Command {
    std::string name;
    std::function<int(const Descriptor&)> send;
    std::string line;  // as the recording NP writes it down
};

// A command that names a port, and what is recorded before and after the port's number.
struct PortCommand {
    std::string name;
    std::function<int(const Descriptor&, u32 port_id)> send;
    std::string before;
    std::string after;
};

// All that go through the frame of two attempts: everything but the three about MAC entries.
std::vector<Command> framed_commands();
// Those whose port ID becomes the NP's port number, and those that are sent the port ID itself.
std::vector<PortCommand> mapping_commands();
std::vector<PortCommand> unmapped_commands();

// A port and a VLAN with a different value in every field that a command carries.
Port sample_port(u32 port_id);
Vlan sample_vlan();

// Bytes 0, 1, 2 .. and the same in the recording NP's words.
std::vector<u8> counted_bytes(std::size_t count);
std::string counted_digits(std::size_t count);

// A command's functions touch neither segment, whatever becomes of the command.
class Commands : public Database {
protected:
    void SetUp() override
    {
        Database::SetUp();
        before_ = snapshot();
    }
    void TearDown() override
    {
        const Snapshot after = snapshot();
        EXPECT_EQ(before_.main, after.main);
        EXPECT_EQ(before_.fdb, after.fdb);
        Database::TearDown();
    }

private:
    Snapshot before_;
};

}  // namespace zelfdb
