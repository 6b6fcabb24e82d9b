// A database of one's own with the software NP, and commands run on it.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "language/commands.h"
#include "language/reader.h"
#include "softnp/softnp.h"
#include "support/segments.h"

namespace zelfctl {

constexpr const char* mac_text = "02:00:00:00:00:01";
constexpr u8 mac[6] = {2, 0, 0, 0, 0, 1};

// What there is before, the command, and what must be seen afterwards.
struct Effect {
    std::vector<std::string> before;
    std::string line;
    std::function<bool()> holds;
};

// What there is before, the command that cannot be done, and why. Nothing may have changed.
struct Refusal {
    std::vector<std::string> before;
    std::string line;
    u32 code;
    std::string text;
};

inline std::vector<std::string> after(std::vector<std::string> lines, const std::string& line)
{
    lines.push_back(line);
    return lines;
}

class Commands : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(0, softnp_use_private());
        const zelfdb_counts counts{16, 8, 64};
        ASSERT_EQ(0, zelfdb_init(&counts));
        descriptor_ = zelfdb_open_descriptor();
        ASSERT_NE(nullptr, descriptor_);
    }
    void TearDown() override
    {
        zelfdb_close_descriptor(descriptor_);
        zelfdb::detach_segments();
    }

    Outcome run(const std::string& line)
    {
        const ReadLine read = read_line(line);
        if (!read.command) return failure(read.error ? read.error->text() : "no command");
        return read.command->row->run(descriptor_, read.arguments);
    }
    // Fails the test if the command does.
    void given(const std::string& line)
    {
        const Outcome outcome = run(line);
        EXPECT_TRUE(outcome.done) << line << ": " << outcome.text;
    }
    void given(const std::vector<std::string>& lines)
    {
        for (const std::string& line : lines) given(line);
    }

    static zelfdb_port_info port(u32 id)
    {
        zelfdb_port_info info{};
        EXPECT_EQ(0, zelfdb_get_portinfo(id, &info));
        return info;
    }
    static zelfdb_vlan_info vlan(u32 vid)
    {
        struct {
            zelfdb_vlan_info info;
            u32 ports[64];
        } room{};
        EXPECT_EQ(0, zelfdb_get_vlan_info(vid, &room.info));
        return room.info;
    }
    static std::string displayed_port(u32 id)
    {
        testing::internal::CaptureStdout();
        u32 code = 0;
        zelfdb_display_port_data(id, &code);
        return testing::internal::GetCapturedStdout();
    }
    static std::string displayed_vlan(u32 vid)
    {
        testing::internal::CaptureStdout();
        u32 code = 0;
        zelfdb_display_vlan_data(vid, &code);
        return testing::internal::GetCapturedStdout();
    }
    static bool NP_has(u32 FID)
    {
        softnp_mac_entry entry{};
        return softnp_get_mac_entry(FID, mac, &entry) == 1;
    }
    static zelfdb_protgroup_info groups()
    {
        zelfdb_protgroup_info info{};
        u32 code = 0;
        EXPECT_EQ(0, zelfdb_get_protgroup_info(&info, &code));
        return info;
    }

    // All that the replay has to say, in its order.
    static std::string replayed()
    {
        testing::internal::CaptureStdout();
        for (const auto operation : {zelfdb_reconfig_ether, zelfdb_reconfig_port, zelfdb_reconfig_stream,
                                     zelfdb_reconfig_protgroup, zelfdb_reconfig_vlan, zelfdb_reconfig_classify,
                                     zelfdb_reconfig_sfil, zelfdb_reconfig_lfil, zelfdb_reconfig_mirror})
            operation("", "\n");
        return testing::internal::GetCapturedStdout();
    }
    static bool replays(const std::string& line)
    {
        return ("\n" + replayed()).find("\n" + line + "\n") != std::string::npos;
    }

    void expect_all(const std::vector<Effect>& effects)
    {
        for (const Effect& effect : effects) {
            SCOPED_TRACE(effect.line);
            TearDown();
            SetUp();
            given(effect.before);
            given(effect.line);
            EXPECT_TRUE(effect.holds());
        }
    }

    void expect_all(const std::vector<Refusal>& refusals)
    {
        for (const Refusal& refusal : refusals) {
            SCOPED_TRACE(refusal.line);
            TearDown();
            SetUp();
            given(refusal.before);
            const std::string before = replayed();
            const Outcome outcome = run(refusal.line);
            EXPECT_FALSE(outcome.done);
            EXPECT_EQ(refusal.code, outcome.code);
            EXPECT_EQ(refusal.text, outcome.text);
            EXPECT_EQ(before, replayed());
        }
    }

    // No command of these subjects is left without an effect that is looked at.
    static void expect_effects_of(const std::set<std::string>& subjects, const std::vector<Effect>& effects)
    {
        std::set<const Row*> rows;
        for (const Effect& effect : effects) {
            const ReadLine read = read_line(effect.line);
            ASSERT_NE(nullptr, read.command) << effect.line;
            rows.insert(read.command->row);
        }
        for (const Command& command : all_commands()) {
            if (!subjects.contains(command.row->subject)) continue;
            EXPECT_TRUE(rows.contains(command.row)) << command.row->pattern;
        }
    }

    zelfdb_descriptor* descriptor_ = nullptr;
};

}  // namespace zelfctl
