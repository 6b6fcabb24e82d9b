#include "language/batch.h"

#include <string_view>

#include "language/port_commands.h"
#include "language/reader.h"

namespace zelfctl {
namespace {

bool is_word(const Command& command, std::size_t place, std::string_view word)
{
    return place < command.parts.size() && command.parts[place].name == word;
}

bool is_join(const Command& command) { return is_word(command, 0, "add") && is_word(command, 1, "port"); }

// What a join that waits may be passed by: nothing that removes, tells or takes for granted what the join makes.
bool may_pass(const ReadLine& read)
{
    if (read.error) return false;
    if (!read.command) return true;
    const Command& command = *read.command;
    const bool makes = is_word(command, 0, "create") || is_word(command, 0, "set");
    return is_join(command) || (makes && (is_word(command, 1, "vlan") || is_word(command, 1, "vlans")));
}

bool joins_untagged(const ReadLine& read)
{
    const std::size_t last_word = 7;  // of "add port <port> to vlan <vlan> tag off"
    return is_join(*read.command) && is_word(*read.command, last_word, "off") && !read.arguments.has("group") &&
           is_virtual_interface(read.arguments.number("port"));
}

}  // namespace

std::vector<BatchLine> Batch::take(BatchLine line)
{
    const ReadLine read = read_line(line.text);
    if (read.command && joins_untagged(read)) {
        held_.push_back(std::move(line));
        return {};
    }
    std::vector<BatchLine> now;
    if (!may_pass(read)) now = rest();
    now.push_back(std::move(line));
    return now;
}

std::vector<BatchLine> Batch::rest()
{
    std::vector<BatchLine> lines;
    lines.swap(held_);
    return lines;
}

}  // namespace zelfctl
