// Random databases: an NP that lost everything is as it was before, one that refused something lacks just that.
#include <cstdio>

#include "np/frame.h"
#include "resync_test.h"

// An NP that refuses a port is asked again a second later, with the locks held: here at once.
extern "C" unsigned sleep(unsigned) { return 0; }

namespace zelfdb {
namespace {

using testing::IsEmpty;

// Each request attaches the segments anew, and an emulated 32-bit process runs out of addresses after some ten thousand.
constexpr u32 rounds = sizeof(void*) == 4 ? 8 : 40;

// One random command to the NP, refused or not.
void damage(const Descriptor& d, Random& random)
{
    const u32 port = 1 + random.below(12);
    const u32 VID = 1 + random.below(6);
    const u32 stream = random.below(6);
    const u32 queue = random.below(13);
    const u32 mirror = 1 + random.below(4);
    const u32 group = 1 + random.below(4);
    const u32 protocol = 0x0800 + random.below(7);
    const u8 mac[6] = {2, 0, 0, 0, static_cast<u8>(random.below(4)), static_cast<u8>(random.below(8))};
    const u32 words[16] = {random.below(3)};
    const u8 line[120] = {static_cast<u8>(random.below(3))};
    const u8 record[44] = {};
    vf_fdb_request request{};
    request.one = 1;
    request.FID = static_cast<u16>(VID);
    std::memcpy(request.mac, mac, sizeof request.mac);
    request.port = request.port2 = static_cast<i16>(port);
    request.cookie = random.below(4) * 44;
    vf_cmd* const commands[] = {
        vf_mk_set_port_param(port, 0x800000FF, 0x173, 2, random.below(2), 1, 0x8100, 0, port_FID_base + port),
        vf_mk_set_port_param(port, 0x20, 0, 0, 0, 0, 0, VID, 0),
        vf_mk_set_port_flags(port, random.below(0x400), 0x3FF),
        vf_mk_delete_port(port),
        vf_mk_disable_port(port),
        vf_mk_set_class_policing(port, random.below(8), 1, 2, 1),
        vf_mk_set_ph_shaping(1 + random.below(4), 5, 5),
        vf_mk_addFDB(&request, record),
        vf_mk_removeFDB(static_cast<u16>(VID), mac),
        vf_mk_add_classify_act(1 + random.below(4), random.below(8), line),
        vf_mk_rem_classify_act(1 + random.below(4), random.below(8)),
        vf_mk_add_classify_prof(1 + random.below(4), port, VID, words),
        vf_mk_rem_classify_prof(port, VID),
        vf_mk_create_queue(queue, 1, 1),
        vf_mk_delete_queue(queue),
        vf_mk_add_queue(queue, stream, random.below(8), random.below(3), random.below(3), 0),
        vf_mk_create_stream(stream),
        vf_mk_delete_stream(stream),
        vf_mk_set_stream_priority(stream, random.below(8)),
        vf_mk_create_vlan(VID, VID),
        vf_mk_delete_vlan(VID),
        vf_mk_add_port_vlan(VID, port, random.below(2), 0x8100, random.below(2), group),
        vf_mk_remove_port_vlan(VID, port),
        vf_mk_set_vl_flag(VID, random.below(2), 254),
        vf_mk_create_protgroup(group),
        vf_mk_add_prot_to_group(protocol, group),
        vf_mk_remove_prot_from_group(protocol, group),
        vf_mk_create_mirror(mirror),
        vf_mk_delete_mirror(mirror),
        vf_mk_disable_mirror(mirror),
        vf_mk_set_mirror_source(mirror, random.below(6), 1 + random.below(6), VID),
    };
    deliver(d, commands[random.below(std::size(commands))]);
    for (vf_cmd* const command : commands) vf_cmdNFreeB(command);
}

class RandomDatabases : public ResyncTest {
protected:
    // The kinds of commands that a resync sends, and how many of each.
    struct Sent {
        const char* name;
        u32 count;
    };
    static std::vector<Sent> sent_since_reset()
    {
        std::vector<Sent> all;
        const char* name = nullptr;
        u64 sent = 0;
        for (u32 i = 0; softnp_command_count(i, &name, &sent, nullptr) == 1; ++i)
            if (sent != 0) all.push_back({name, static_cast<u32>(sent)});
        return all;
    }
};

TEST_F(RandomDatabases, ComeBackFieldByField)
{
    Random random;
    SCOPED_TRACE(random.trace());
    u64 objects = 0;
    u64 commands = 0;
    for (u32 round = 0; round < rounds; ++round) {
        given_random_database(random);
        ASSERT_THAT(texts(look().findings), IsEmpty()) << "before, round " << round;
        const auto fields = np_fields();
        const std::string bytes = database();

        ASSERT_EQ(0, softnp_reset());
        const ResyncReport report = resync(*d_);
        ASSERT_THAT(texts(report.refused), IsEmpty());
        ASSERT_THAT(report.skipped, IsEmpty());
        ASSERT_EQ("", difference(fields, np_fields())) << "round " << round;
        ASSERT_THAT(look().findings, IsEmpty());
        ASSERT_TRUE(bytes == database()) << "the database was changed";
        objects += fields.size();
        commands += report.commands;
    }
    std::printf("%u databases, %llu lines of NP state, %llu commands\n", rounds,
                static_cast<unsigned long long>(objects), static_cast<unsigned long long>(commands));
    EXPECT_GT(commands, rounds * 20);
}

// Each command is sent twice before it counts as refused, entries once.
TEST_F(RandomDatabases, ARefusalIsNamedByTheReportAndByTheAuditAndMended)
{
    Random random;
    SCOPED_TRACE(random.trace());
    std::set<std::string> refused_kinds;
    for (u32 round = 0; round < rounds; ++round) {
        given_random_database(random);
        ASSERT_EQ(0, softnp_reset());
        resync(*d_);
        const auto fields = np_fields_sorted();
        const std::vector<Sent> kinds = sent_since_reset();
        if (kinds.empty()) continue;
        const Sent kind = kinds[random.below(static_cast<u32>(kinds.size()))];
        const u32 nth = 1 + random.below(kind.count);
        SCOPED_TRACE(std::string(kind.name) + " " + std::to_string(nth));

        ASSERT_EQ(0, softnp_reset());
        const bool entry = std::strcmp(kind.name, "addFDB") == 0;
        const int how = entry && random.below(2) ? SOFTNP_REFUSE_ANSWER : SOFTNP_REFUSE_STATUS;
        ASSERT_EQ(0, softnp_refuse(kind.name, nth, how, 0));
        if (!entry) {
            ASSERT_EQ(0, softnp_refuse(kind.name, nth + 1, how, 0));
        }
        const ResyncReport report = resync(*d_);
        softnp_clear_refusals();
        ASSERT_EQ(1u, named(report.refused).size()) << testing::PrintToString(texts(report.refused));
        EXPECT_EQ(kind.name, std::string(report.refused.front().command));

        const AuditReport found = look();
        ASSERT_TRUE(named(report.refused) == named(found.findings)) << testing::PrintToString(texts(found.findings));
        const AuditReport mended = mend();
        ASSERT_THAT(texts(mended.refused), IsEmpty());
        ASSERT_THAT(texts(mended.left), IsEmpty());
        ASSERT_EQ("", difference(fields, np_fields_sorted()));
        refused_kinds.insert(kind.name);
    }
    std::printf("%zu kinds of commands refused\n", refused_kinds.size());
    EXPECT_GT(refused_kinds.size(), rounds / 4);
}

// Commands of nobody that the database knows of: the audit finds something if and only if they changed something.
TEST_F(RandomDatabases, DamageInTheNPIsFoundAndMended)
{
    Random random;
    SCOPED_TRACE(random.trace());
    u32 damaged = 0;
    u64 findings = 0;
    for (u32 round = 0; round < rounds; ++round) {
        given_random_database(random);
        const auto fields = np_fields_sorted();
        for (u32 i = random.below(8); i-- > 0;) damage(*d_, random);
        const std::string done = difference(fields, np_fields_sorted());

        const AuditReport report = mend();
        ASSERT_EQ(done.empty(), report.findings.empty()) << done << testing::PrintToString(texts(report.findings));
        ASSERT_THAT(texts(report.refused), IsEmpty()) << done;
        ASSERT_THAT(texts(report.left), IsEmpty()) << done;
        ASSERT_EQ("", difference(fields, np_fields_sorted())) << done << testing::PrintToString(texts(report.findings));
        damaged += !done.empty();
        findings += report.findings.size();
    }
    std::printf("%u of %u NPs damaged, %llu findings mended\n", damaged, rounds,
                static_cast<unsigned long long>(findings));
    EXPECT_GT(damaged, rounds / 4);
}

// Whatever the database and the NP have become: what the NP lacks after a resync is what it refused.
TEST_F(RandomDatabases, OfUntidyPlatformsAreSentAsFarAsTheNPTakesThem)
{
    Random random;
    SCOPED_TRACE(random.trace());
    u32 with_refusals = 0;
    for (u32 round = 0; round < rounds; ++round) {
        given_random_database(random, false);
        mend();
        const auto mended_fields = np_fields_sorted();
        const auto mended = texts(look().findings);

        ASSERT_EQ(0, softnp_reset());
        const ResyncReport report = resync(*d_);
        std::set<Object> lacking = named(report.refused);
        lacking.insert(report.untold.begin(), report.untold.end());
        const AuditReport found = look();
        ASSERT_TRUE(lacking == named(found.findings))
            << testing::PrintToString(texts(found.findings)) << testing::PrintToString(texts(report.refused));
        with_refusals += !report.refused.empty();
        if (lacking.empty()) {
            ASSERT_EQ("", difference(mended_fields, np_fields_sorted()));
            EXPECT_THAT(mended, IsEmpty());
        }
    }
    std::printf("%u of %u databases with something that the NP refuses\n", with_refusals, rounds);
}

}  // namespace
}  // namespace zelfdb
