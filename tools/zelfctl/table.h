// Tables for people: columns as wide as their widest cell.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace zelfctl {

struct Column {
    std::string title;
    bool is_number = false;  // numbers stand on the right
};

class Table {
public:
    explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

    void add(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
    [[nodiscard]] bool empty() const { return rows_.empty(); }
    void print(std::FILE* out = stdout) const;

private:
    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

// "name  value" lines, values in one column.
class Sheet {
public:
    void add(std::string name, std::string value) { rows_.push_back({std::move(name), std::move(value)}); }
    void print(std::FILE* out = stdout) const;

private:
    struct Line {
        std::string name;
        std::string value;
    };
    std::vector<Line> rows_;
};

}  // namespace zelfctl
