// Tables for people: columns as wide as their widest cell, but no line wider than the terminal.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "language/types.h"

namespace zelfctl {

// How numbers stand in tables.
std::string number(u64 value);
std::string hex(u32 value, int digits = 1);  // with leading zeros up to so many digits

struct Column {
    std::string title;
    bool is_number = false;  // numbers stand on the right
};

// How wide what tables are printed for is. 0 = as wide as the terminal that they are printed on, if it is one; in a pipe
// every line stays whole.
inline std::size_t table_width = 0;

// A table that is too wide has its columns closer together, then its cells wrapped at blanks and behind commas, and then
// its columns in several tables, each of which begins with the first column.
class Table {
public:
    explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

    void add(std::vector<std::string> cells);
    [[nodiscard]] bool empty() const { return rows_.empty(); }
    void print(std::FILE* out = stdout) const;

private:
    struct Widths;
    [[nodiscard]] Widths widths() const;
    void print_part(const std::vector<std::size_t>& part, const Widths& widths, std::size_t limit,
                    std::FILE* out) const;

    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

// "name  value" lines, values in one column.
class Sheet {
public:
    void add(std::string name, const std::string& value);
    void print(std::FILE* out = stdout) const;

private:
    struct Line {
        std::string name;
        std::string value;
    };
    std::vector<Line> rows_;
};

// A sentence as a line, or as several where the terminal is narrower.
void print_sentence(const std::string& text, std::FILE* out = stdout);

}  // namespace zelfctl
