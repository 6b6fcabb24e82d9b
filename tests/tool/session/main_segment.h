// The main segment of the tool's database, to do damage to.
#pragma once

#include <sys/shm.h>

#include <cstdint>
#include <cstring>
#include <string>

namespace tool {

inline constexpr key_t main_key = 0x5A454C01;
inline constexpr key_t fdb_key = 0x5A454C02;
inline constexpr std::size_t vlan_count_at = 0x1138C;
inline constexpr std::size_t vlan_head_at = 0x11390;

class MainSegment {
public:
    MainSegment() : bytes_(static_cast<std::uint8_t*>(shmat(shmget(main_key, 0, 0), nullptr, 0))) {}
    ~MainSegment() { shmdt(bytes_); }
    MainSegment(const MainSegment&) = delete;
    MainSegment& operator=(const MainSegment&) = delete;

    void put(std::size_t at, std::uint32_t word) { std::memcpy(bytes_ + at, &word, sizeof word); }
    [[nodiscard]] std::uint32_t get(std::size_t at) const
    {
        std::uint32_t word = 0;
        std::memcpy(&word, bytes_ + at, sizeof word);
        return word;
    }
    [[nodiscard]] std::string copy() const { return {reinterpret_cast<const char*>(bytes_), 0x199B0}; }

private:
    std::uint8_t* bytes_;
};

}  // namespace tool
