#include "core/golden.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace zelfdb {
namespace {

// What a file has said so far, and where its next byte goes.
struct Image {
    std::vector<u8> bytes;
    std::size_t here = 0;
    bool patches = false;

    void put(u8 byte)
    {
        if (here == bytes.size()) {
            if (patches) throw std::runtime_error("byte beyond the end");
            bytes.push_back(byte);
        }
        bytes.at(here++) = byte;
    }

    void go(std::size_t there)
    {
        if (!patches && there != here) throw std::runtime_error("not there but at " + std::to_string(here));
        here = there;
    }

    void hex(const std::string& digits)
    {
        if (digits.size() % 2 != 0 || digits.find_first_not_of("0123456789ABCDEF") != std::string::npos) {
            throw std::runtime_error("no bytes: " + digits);
        }
        for (std::size_t i = 0; i < digits.size(); i += 2)
            put(static_cast<u8>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    }

    void again(u32 times, u32 length, u32 step, const std::vector<u32>& words)
    {
        for (u32 i = 0; i < times; ++i) {
            const std::size_t start = here;
            for (u32 k = 0; k < length; ++k) put(bytes.at(start - length + k));
            for (const u32 word : words) add(start + word, step);
        }
    }

    void add(std::size_t at, u32 step)
    {
        u32 value = step;
        for (u32 i = 0; i < 4; ++i) value += static_cast<u32>(bytes.at(at + i)) << (24 - 8 * i);
        for (u32 i = 0; i < 4; ++i) bytes.at(at + i) = static_cast<u8>(value >> (24 - 8 * i));
    }
};

u32 number(std::istringstream& line)
{
    std::string word;
    line >> word;
    return static_cast<u32>(std::stoul(word, nullptr, 0));
}

void again(Image& image, std::istringstream& line)
{
    std::string of, add, at;
    const u32 times = number(line);
    line >> of;
    std::string length;
    line >> length;  // with the comma behind it
    u32 step = 0;
    std::vector<u32> words;
    if (line >> add) step = number(line);
    if (line >> at) {
        for (std::string word; line >> word;) words.push_back(static_cast<u32>(std::stoul(word, nullptr, 0)));
    }
    image.again(times, static_cast<u32>(std::stoul(length, nullptr, 0)), step, words);
}

void obey(Image& image, std::istringstream& line)
{
    for (std::string word; line >> word;) {
        if (word == "at") {
            image.go(number(line));
        } else if (word == "from") {
            line >> word;
            image = {golden(word), 0, true};
        } else if (word == "zeros" || word == "ones") {
            for (u32 i = number(line); i > 0; --i) image.put(word == "ones" ? 0xFF : 0);
        } else if (word == "again") {
            again(image, line);
        } else {
            image.hex(word);
        }
    }
}

}  // namespace

std::vector<u8> golden(const std::string& name)
{
    std::ifstream file(std::filesystem::path(__FILE__).parent_path() / "golden" / name);
    if (!file) throw std::runtime_error("no golden file " + name);
    Image image;
    std::string text;
    for (u32 line_number = 1; std::getline(file, text); ++line_number) {
        std::istringstream line(text.substr(0, text.find('#')));
        try {
            obey(image, line);
        } catch (const std::exception& problem) {
            throw std::runtime_error(name + " line " + std::to_string(line_number) + ": " + problem.what());
        }
    }
    return image.bytes;
}

namespace {

std::string text(const char* format, std::size_t number)
{
    char digits[32];
    std::snprintf(digits, sizeof digits, format, number);
    return digits;
}

u32 word_at(const std::vector<u8>& image, std::size_t at)
{
    u32 value = 0;
    for (std::size_t i = 0; i < 4; ++i) value = value << 8 | image[at + i];
    return value;
}

}  // namespace

std::string difference(const std::vector<u8>& expected, const std::vector<u8>& actual, u32 lines_max)
{
    if (expected.size() != actual.size()) {
        return text("%zu bytes", actual.size()) + text(", not %zu\n", expected.size());
    }
    std::string lines;
    u32 count = 0;
    bool in_line = false;
    for (std::size_t at = 0; at + 4 <= actual.size(); at += 4) {
        const bool differs = word_at(expected, at) != word_at(actual, at);
        if (in_line && !differs) lines += "\n";
        if (differs && !in_line) {
            if (++count > lines_max) return lines + "... and more\n";
            lines += text("at 0x%zX ", at);
        }
        if (differs) lines += text(" %08zX", word_at(actual, at));
        in_line = differs;
    }
    return in_line ? lines + "\n" : lines;
}

}  // namespace zelfdb
