#include "table.h"

#include <sys/ioctl.h>

#include <algorithm>
#include <limits>
#include <numeric>
#include <string_view>

#include "language/characters.h"

namespace zelfctl {

std::string number(u64 value) { return std::to_string(value); }

std::string hex(u32 value, int digits)
{
    char text[16];
    std::snprintf(text, sizeof text, "%0*x", digits, value);
    return text;
}

// Of each column.
struct Table::Widths {
    std::vector<std::size_t> natural;  // with every cell on one line
    std::vector<std::size_t> least;    // with every cell wrapped wherever it may be
};

namespace {

constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();
constexpr std::size_t usual_gap = 2;
constexpr std::size_t narrow_gap = 1;
constexpr std::size_t longest_unbroken = 17;  // a MAC address

std::string padded(const std::string& text, std::size_t width, bool to_the_right)
{
    const std::string blanks(width - std::min(width, characters_in(text)), ' ');
    return to_the_right ? blanks + text : text + blanks;
}

std::string without_blanks_behind(std::string text)
{
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

void print_line(std::FILE* out, std::string line)
{
    std::fputs((without_blanks_behind(std::move(line)) + '\n').c_str(), out);
}

std::size_t width_for(std::FILE* out)
{
    winsize size{};
    if (table_width != 0) return table_width;
    if (ioctl(fileno(out), TIOCGWINSZ, &size) == 0 && size.ws_col != 0) return size.ws_col;
    return unlimited;
}

// What may not be wrapped, each with the comma and the blanks behind it.
std::vector<std::string> pieces_of(const std::string& text)
{
    std::vector<std::string> pieces;
    for (std::size_t at = 0; at < text.size();) {
        std::size_t end = text.find_first_of(", ", at);
        if (end != std::string::npos && text[end] == ',') ++end;
        if (end != std::string::npos) end = text.find_first_not_of(' ', end);
        end = std::min(end, text.size());
        pieces.push_back(text.substr(at, end - at));
        at = end;
    }
    return pieces;
}

std::size_t longest_piece(const std::string& text)
{
    std::size_t longest = 0;
    for (const std::string& piece : pieces_of(text))
        longest = std::max(longest, characters_in(without_blanks_behind(piece)));
    return longest;
}

// The bytes of a piece that go on a line which cannot hold all of it: up to a sign that separates, if there is one.
std::size_t bytes_for_line(const std::string& piece, std::size_t width)
{
    const std::size_t bytes = bytes_of_characters(piece, width);
    const std::size_t sign = piece.substr(0, bytes).find_last_of("-/");
    return sign == std::string::npos ? bytes : sign + 1;
}

// Lines of at most that many characters.
std::vector<std::string> wrapped(const std::string& text, std::size_t width)
{
    if (characters_in(text) <= width) return {text};
    width = std::max<std::size_t>(width, 1);
    std::vector<std::string> lines(1);
    for (std::string piece : pieces_of(text)) {
        if (!lines.back().empty() && characters_in(lines.back() + without_blanks_behind(piece)) > width)
            lines.emplace_back();
        while (characters_in(without_blanks_behind(piece)) > width) {
            const std::size_t bytes = bytes_for_line(piece, width);
            lines.back() = piece.substr(0, bytes);
            lines.emplace_back();
            piece.erase(0, bytes);
        }
        lines.back() += piece;
    }
    for (std::string& line : lines) line = without_blanks_behind(std::move(line));
    return lines;
}

std::size_t width_of(const std::vector<std::size_t>& part, const std::vector<std::size_t>& widths, std::size_t gap)
{
    const auto add = [&](std::size_t sum, std::size_t column) { return sum + widths[column]; };
    return std::accumulate(part.begin(), part.end(), gap * (part.size() - 1), add);
}

// As many columns as fit, in their order; behind the first of them each part has one at least.
std::vector<std::vector<std::size_t>> parts_that_fit(const std::vector<std::size_t>& least, std::size_t limit)
{
    std::vector<std::vector<std::size_t>> parts{{0}};
    for (std::size_t column = 1; column < least.size(); ++column) {
        parts.back().push_back(column);
        if (parts.back().size() == 2 || width_of(parts.back(), least, narrow_gap) <= limit) continue;
        parts.back().pop_back();
        parts.push_back({0, column});
    }
    return parts;
}

// The widest column gives way first.
std::vector<std::size_t> narrowed(const std::vector<std::size_t>& part, std::vector<std::size_t> widths,
                                  const std::vector<std::size_t>& least, std::size_t limit)
{
    while (width_of(part, widths, narrow_gap) > limit) {
        std::size_t widest = part.front();
        const auto spare = [&](std::size_t column) { return widths[column] > least[column] ? widths[column] : 0; };
        for (const std::size_t column : part)
            if (spare(column) > spare(widest)) widest = column;
        if (spare(widest) == 0) break;
        --widths[widest];
    }
    return widths;
}

}  // namespace

Table::Widths Table::widths() const
{
    Widths widths;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        widths.natural.push_back(characters_in(columns_[i].title));
        for (const auto& row : rows_) widths.natural[i] = std::max(widths.natural[i], characters_in(row[i]));
        std::size_t least = longest_piece(columns_[i].title);
        if (widths.natural[i] > least)
            for (const auto& row : rows_)
                if (characters_in(row[i]) > least) least = std::max(least, longest_piece(row[i]));
        widths.least.push_back(std::min(least, longest_unbroken));
    }
    return widths;
}

void Table::add(std::vector<std::string> cells)
{
    for (std::string& cell : cells) cell = printable(std::move(cell));
    rows_.push_back(std::move(cells));
}

void Table::print_part(const std::vector<std::size_t>& part, const Widths& widths, std::size_t limit,
                       std::FILE* out) const
{
    const bool fits = width_of(part, widths.natural, usual_gap) <= limit;
    const std::string gap(fits ? usual_gap : narrow_gap, ' ');
    const auto width = fits ? widths.natural : narrowed(part, widths.natural, widths.least, limit);
    const auto print_row = [&](const auto& cell_of) {
        std::vector<std::vector<std::string>> cells;
        std::size_t height = 1;
        for (const std::size_t column : part) {
            cells.push_back(wrapped(cell_of(column), width[column]));
            height = std::max(height, cells.back().size());
        }
        for (std::size_t at = 0; at < height; ++at) {
            std::string line;
            for (std::size_t i = 0; i < part.size(); ++i)
                line += (i == 0 ? "" : gap) +
                        padded(at < cells[i].size() ? cells[i][at] : "", width[part[i]], columns_[part[i]].is_number);
            print_line(out, std::move(line));
        }
    };
    print_row([&](std::size_t i) -> const std::string& { return columns_[i].title; });
    for (const auto& row : rows_) print_row([&](std::size_t i) -> const std::string& { return row[i]; });
}

void Table::print(std::FILE* out) const
{
    const std::size_t limit = width_for(out);
    const Widths all = widths();
    bool is_first = true;
    for (const auto& part : parts_that_fit(all.least, limit)) {
        if (!is_first) std::fputs("\n", out);
        is_first = false;
        print_part(part, all, limit, out);
    }
}

void Sheet::add(std::string name, const std::string& value) { rows_.push_back({std::move(name), printable(value)}); }

void Sheet::print(std::FILE* out) const
{
    std::size_t width = 0;
    for (const Line& line : rows_) width = std::max(width, characters_in(line.name));
    const std::size_t beside = width + usual_gap;
    const std::size_t limit = width_for(out);
    const std::size_t room = limit > beside + longest_unbroken ? limit - beside : longest_unbroken;
    for (const Line& line : rows_) {
        std::string name = line.name;
        for (const std::string& value : wrapped(line.value, room)) {
            print_line(out, padded(name, beside, false) + value);
            name.clear();
        }
    }
}

void print_sentence(const std::string& text, std::FILE* out)
{
    for (const std::string& line : wrapped(printable(text), width_for(out))) print_line(out, line);
}

}  // namespace zelfctl
