// The built tool, run as a person runs it. Each test has a database of its own: see main() of the tests.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace tool {

struct Result {
    int code = -1;  // exit status; 128 + n when signal n ended it
    std::string out;
    std::string err;
};

// Runs zelfctl with these words. It is killed after a minute.
Result zelfctl(const std::vector<std::string>& words, const std::string& input = {});

// Another program.
Result run(const std::vector<std::string>& words, const std::string& input = {});

// The same, and the test fails unless it ends with 0 and says nothing on standard error.
std::string good(const std::vector<std::string>& words, const std::string& input = {});
nlohmann::json good_json(const std::vector<std::string>& words);

// A folder that goes with the test.
class Folder {
public:
    Folder();
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    // Writes a file and returns its path.
    [[nodiscard]] std::string file(const std::string& name, const std::string& content) const;
    [[nodiscard]] std::string path() const { return path_; }

private:
    std::string path_;
};

std::string content_of(const std::string& path);

// A database with ports 1 to 3 up and in VLAN sales (10).
void given_office();

}  // namespace tool
