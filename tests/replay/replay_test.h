// What the tests of the replay share: the text of an operation, line by line.
#pragma once

#include <string>
#include <vector>

#include "language/reader.h"
#include "support/frame_rows.h"

namespace zelfdb {

using ReplayOperation = int (*)(const char*, const char*);
using Lines = std::vector<std::string>;

class ReplayTest : public FrameTest {
protected:
    ReplayTest() : FrameTest(12, 4, 40) {}

    // All that it prints. Nothing is changed and nothing sent.
    std::string text_of(ReplayOperation operation, const char* prefix, const char* suffix)
    {
        const Expected unchanged = now();
        recorder::log().clear();
        testing::internal::CaptureStdout();
        const int result = operation(prefix, suffix);
        std::string text = testing::internal::GetCapturedStdout();
        EXPECT_EQ(result, 0);
        EXPECT_EQ(sent(), Commands{});
        EXPECT_TRUE(unchanged.is_now());
        return text;
    }
    // Its commands, with their blanks. The command language must know each of them.
    Lines lines_of(ReplayOperation operation)
    {
        Lines lines = split_lines(operation);
        for (const std::string& line : lines) {
            const zelfctl::ReadLine read = zelfctl::read_line(line);
            EXPECT_TRUE(read.command) << line << ": " << (read.error ? read.error->text() : "empty");
        }
        return lines;
    }
    // For objects that no command can name. Why must be said where this is called.
    Lines lines_that_are_no_commands(ReplayOperation operation) { return split_lines(operation); }

private:
    Lines split_lines(ReplayOperation operation)
    {
        const std::string text = text_of(operation, "", "\n");
        Lines lines;
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t end = text.find('\n', at);
            lines.push_back(text.substr(at, end - at));
            at = end == std::string::npos ? text.size() : end + 1;
        }
        return lines;
    }
};

}  // namespace zelfdb
