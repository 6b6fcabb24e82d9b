// A database with objects of every kind, two or more of most, and what is needed to call any operation on it and look at
// all that the call did.
#pragma once

#include <optional>

#include "trust/operations.h"

namespace zelfdb::trust {

// What an error word holds before a call.
inline constexpr u32 untouched = 0xABCD;

struct Ran {
    int result;
    u32 err;
    std::string printed;
};

// For a suite that has a test for every row.
inline std::string name_of_row(const testing::TestParamInfo<std::size_t>& param) { return rows()[param.param].name; }

class Switch : public Database {
protected:
    Switch() : Database(8, 6, 64) {}
    void SetUp() override;
    void TearDown() override;

    // Makes the call with what it prints kept from the test's own output.
    Ran run(const Row& row, const std::vector<u32>& arguments, const std::function<void()>& just_before = {});

    static void script_NP();

    // All bytes of the segments, and the same put back.
    [[nodiscard]] Image image() const;
    [[nodiscard]] bool is_now(const Image& image) const;
    void restore(const Image& image);

    // 1 when nobody holds the lock.
    static int value_of_lock(int key);
    static void set_lock(int key, int value);

    [[nodiscard]] static std::vector<u32> good(const Row& row);

    // Whether the object that the argument names is there.
    [[nodiscard]] std::optional<bool> exists(Kind kind, u32 value) const;

    // The rules that every call keeps, broken ones in words. The database is looked at through these two.
    [[nodiscard]] std::vector<std::string> broken_rules(const Row& row, const std::vector<u32>& arguments,
                                                        const Ran& ran) const;
    // Succeeded, as far as the operation says.
    static bool succeeded(const Row& row, const Ran& ran);

    Image start_;

private:
    void populate();
    int output_ = -1;
};

std::string call_text(const Row& row, const std::vector<u32>& arguments);
// How many files the process has open.
std::size_t open_files();

}  // namespace zelfdb::trust
