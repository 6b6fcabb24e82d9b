// A database and a software NP of a test's own, and what the tests of this folder ask of the two.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "resync/np_fields.h"
#include "resync/random_database.h"
#include "resync/resync.h"
#include "resync/softnp_state.h"
#include "softnp/softnp.h"
#include "support/namespace.h"
#include "support/random.h"
#include "support/segments.h"

namespace zelfdb {

// "missing VLAN 10", "different port 1: flags 3/1".
inline std::string text_of(const Difference& finding)
{
    static constexpr const char* whats[] = {"missing ", "extra ", "different "};
    std::string text = whats[static_cast<int>(finding.what)] + text_of(finding.object);
    if (finding.what == What::different) text += ": " + finding.setting + " " + finding.database + "/" + finding.np;
    return text;
}

inline std::vector<std::string> texts(const std::vector<Difference>& findings)
{
    std::vector<std::string> all;
    for (const Difference& finding : findings)
        if (!finding.implied) all.push_back(text_of(finding));
    return all;
}

inline std::set<Object> named(const std::vector<Difference>& findings)
{
    std::set<Object> objects;
    for (const Difference& finding : findings)
        if (!finding.implied) objects.insert(finding.object);
    return objects;
}

inline std::vector<std::string> texts(const std::vector<Refusal>& refusals)
{
    std::vector<std::string> all;
    for (const Refusal& refusal : refusals) all.push_back(text_of(refusal.object) + ": " + refusal.command);
    return all;
}

inline std::set<Object> named(const std::vector<Refusal>& refusals)
{
    std::set<Object> objects;
    for (const Refusal& refusal : refusals) objects.insert(refusal.object);
    return objects;
}

class ResyncTest : public testing::Test {
protected:
    static constexpr u32 nport = 12;
    static constexpr u32 nvlan = 6;
    static constexpr u32 nfil = 256;

    void SetUp() override
    {
        ASSERT_TRUE(enter_ipc_namespace());
        ASSERT_EQ(0, softnp_use_shared());
        start_anew();
    }
    void TearDown() override
    {
        if (d_) zelfdb_close_descriptor(d_);
    }

    void start_anew()
    {
        ASSERT_EQ(0, softnp_reset());
        const zelfdb_counts counts{nport, nvlan, nfil};
        if (d_) zelfdb_close_descriptor(d_);
        detach_segments();
        ASSERT_EQ(0, zelfdb_init(&counts));
        d_ = zelfdb_open_descriptor();
        ASSERT_NE(nullptr, d_);
    }

    void given_random_database(Random& random, bool tidy = true)
    {
        start_anew();
        RandomDatabase(random, d_, tidy).change(100 + random.below(500));
    }

    AuditReport look() { return audit(*d_, read_softnp, Fix::no); }
    AuditReport mend() { return audit(*d_, read_softnp, Fix::yes); }

    // The bytes of both segments, without those of the pools that the header says nothing about.
    std::string database() const
    {
        const Header& header = header_of(*d_);
        std::string bytes(static_cast<const char*>(d_->main_segment), sizeof header);
        bytes.append(static_cast<const char*>(d_->main_segment) + sizeof header,
                     std::size_t{nfil} * 44 + nport * sizeof(Port) + 1024 * sizeof(Stream) + 8192 * sizeof(Queue) +
                         nvlan * sizeof(VlanSlot) + 4 * sizeof(Phport) + 64 * sizeof(Classify) +
                         16384 * sizeof(Action));
        return bytes.append(static_cast<const char*>(d_->fdb_segment), std::size_t{nfil} * sizeof(Fil));
    }

    zelfdb_descriptor* d_ = nullptr;
    u32 err_ = 0;
};

}  // namespace zelfdb
