#include "table.h"

#include <algorithm>

namespace zelfctl {
namespace {

// Characters, not bytes: a VLAN's name may be UTF-8.
std::size_t width_of(const std::string& text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::string padded(const std::string& text, std::size_t width, bool to_the_right)
{
    const std::string blanks(width - std::min(width, width_of(text)), ' ');
    return to_the_right ? blanks + text : text + blanks;
}

void print_line(std::FILE* out, std::string line)
{
    line.erase(line.find_last_not_of(' ') + 1);
    line += '\n';
    std::fputs(line.c_str(), out);
}

}  // namespace

void Table::print(std::FILE* out) const
{
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        std::size_t width = width_of(columns_[i].title);
        for (const auto& row : rows_) width = std::max(width, width_of(row[i]));
        widths.push_back(width);
    }
    const auto print_row = [&](const auto& cell_of) {
        std::string line;
        for (std::size_t i = 0; i < columns_.size(); ++i)
            line += (i == 0 ? "" : "  ") + padded(cell_of(i), widths[i], columns_[i].is_number);
        print_line(out, std::move(line));
    };
    print_row([&](std::size_t i) { return columns_[i].title; });
    for (const auto& row : rows_) print_row([&](std::size_t i) { return row[i]; });
}

void Sheet::print(std::FILE* out) const
{
    std::size_t width = 0;
    for (const Line& line : rows_) width = std::max(width, width_of(line.name));
    for (const Line& line : rows_) print_line(out, padded(line.name, width, false) + "  " + line.value);
}

}  // namespace zelfctl
