// The commands about MAC entries: sent once, with an answer to read, and kept when there was none.
#include <array>

#include "commands.h"
#include "core/chains.h"

namespace zelfdb {
namespace {

using recorder::Failure;
using testing::ElementsAre;
using testing::IsEmpty;

class FdbCommands : public Database {
protected:
    // VLAN 10 with one entry on port 105, in the pool's highest record.
    void SetUp() override
    {
        Database::SetUp();
        given_vlan(10, "sales");
        entry_ = &given_learned(10, mac(0x001122334455), 105);
        before_ = snapshot();
    }
    void TearDown() override
    {
        const Snapshot after = snapshot();
        EXPECT_EQ(before_.main, after.main);
        EXPECT_EQ(before_.fdb, after.fdb);
        EXPECT_THAT(environment::sleeps(), IsEmpty());
        EXPECT_EQ(0u, recorder::err_reads());
        Database::TearDown();
    }

    [[nodiscard]] Fil& entry() const { return *entry_; }
    // After a test has changed the entry by hand.
    void take_as_it_is() { before_ = snapshot(); }

    static constexpr const char* removal = "removeFDB(0xa, 00:11:22:33:44:55)";
    static constexpr const char* query = "findFDB(0xa, 00:11:22:33:44:55)";

private:
    Fil* entry_ = nullptr;
    Snapshot before_;
};

TEST_F(FdbCommands, AnAdditionCarriesFlagFIDAddressPortTwiceAndTheEntrysOffset)
{
    entry().fil_flag = 0x23;
    take_as_it_is();
    EXPECT_EQ(0, add_fil_to_NP(d(), entry()));
    EXPECT_THAT(sent(), ElementsAre("addFDB(0x23, 1, 0xa, 00:11:22:33:44:55, 0xf, 0x554, 0, 0xf)"));
    EXPECT_EQ(0u, recorder::commands_not_freed());
}

TEST_F(FdbCommands, OnlyTheLowByteOfTheFlagIsSent)
{
    entry().fil_flag = 0xFFFFFF04;
    take_as_it_is();
    add_fil_to_NP(d(), entry());
    EXPECT_THAT(sent(), ElementsAre("addFDB(4, 1, 0xa, 00:11:22:33:44:55, 0xf, 0x554, 0, 0xf)"));
}

TEST_F(FdbCommands, OnlyTheLowHalfOfTheFIDIsSent)
{
    const u32 FID = vlan(10)->fdb.FID;
    vlan(10)->fdb.FID = 0x7FFFC069;
    add_fil_to_NP(d(), entry());
    rem_fil_from_NP(d(), entry());
    search_fil_to_NP(d(), entry(), nullptr, nullptr, nullptr);
    vlan(10)->fdb.FID = FID;
    EXPECT_THAT(sent(), ElementsAre("addFDB(0, 1, 0xc069, 00:11:22:33:44:55, 0xf, 0x554, 0, 0xf)",
                                    "removeFDB(0xc069, 00:11:22:33:44:55)", "findFDB(0xc069, 00:11:22:33:44:55)"));
}

TEST_F(FdbCommands, APortThatTheNPDoesNotKnowIsSentAsFFFF)
{
    struct Case {
        u32 port;
        const char* text;
    };
    for (const Case& c : {Case{1, "1"},
                          {10, "0xa"},
                          {101, "0xb"},
                          {105, "0xf"},
                          {164, "0x4a"},
                          {0, "0xffff"},
                          {11, "0xffff"},
                          {50, "0xffff"},
                          {100, "0xffff"},
                          {165, "0xffff"},
                          {199, "0xffff"}}) {
        entry().port = c.port;
        add_fil_to_NP(d(), entry());
        const std::string port = c.text;
        EXPECT_THAT(sent(), ElementsAre("addFDB(0, 1, 0xa, 00:11:22:33:44:55, " + port + ", 0x554, 0, " + port + ")"));
    }
    take_as_it_is();
}

TEST_F(FdbCommands, TheReadersAnswerIsTheResultAndTheCommandIsFreed)
{
    for (const int answer : {0, 1, 5, -1, -3}) {
        recorder::answer_add(answer);
        recorder::answer_remove(answer);
        EXPECT_EQ(answer, add_fil_to_NP(d(), entry()));
        EXPECT_EQ(answer, rem_fil_from_NP(d(), entry()));
    }
    EXPECT_EQ(10u, sent().size()) << "one attempt each";
    EXPECT_EQ(0u, recorder::commands_not_freed());
}

TEST_F(FdbCommands, AdditionsAndRemovalsThatFailAreSentOnceAndKept)
{
    u32 kept = 0;
    for (const Failure how : {Failure::delivery, Failure::status}) {
        recorder::fail("", how);
        EXPECT_EQ(-1, add_fil_to_NP(d(), entry()));
        EXPECT_EQ(1u, sent().size());
        EXPECT_EQ(++kept, recorder::commands_not_freed());
        recorder::fail("", how);
        EXPECT_EQ(-1, rem_fil_from_NP(d(), entry()));
        EXPECT_THAT(sent(), ElementsAre(removal));
        EXPECT_EQ(++kept, recorder::commands_not_freed());
    }
}

TEST_F(FdbCommands, AFoundEntryGivesTheNPsTickThenItsLastHitThenTheThirdValue)
{
    recorder::answer_find(0, 500000, 200500);
    u32 current = 7;
    u32 last_hit = 7;
    u32 third = 7;
    EXPECT_EQ(0, search_fil_to_NP(d(), entry(), &current, &last_hit, &third));
    EXPECT_EQ((std::array<u32, 3>{500000, 200500, 0x5555}), (std::array<u32, 3>{current, last_hit, third}));
    EXPECT_THAT(sent(), ElementsAre(query));
    EXPECT_EQ(0u, recorder::commands_not_freed());
}

TEST_F(FdbCommands, EachOutputOfAQueryMayBeNull)
{
    recorder::answer_find(0, 500000, 200500);
    for (u32 given = 0; given < 8; ++given) {
        SCOPED_TRACE(given);
        std::array<u32, 3> out = {1, 2, 3};
        EXPECT_EQ(0, search_fil_to_NP(d(), entry(), given & 1 ? &out[0] : nullptr, given & 2 ? &out[1] : nullptr,
                                      given & 4 ? &out[2] : nullptr));
        EXPECT_EQ((std::array<u32, 3>{given & 1 ? 500000u : 1u, given & 2 ? 200500u : 2u, given & 4 ? 0x5555u : 3u}),
                  out);
    }
    EXPECT_EQ(8u, sent().size());
    EXPECT_EQ(0u, recorder::commands_not_freed());
}

TEST_F(FdbCommands, AQueryThatFindsNothingOrFailsIsKeptAndWritesNothing)
{
    std::array<u32, 3> out = {1, 2, 3};
    const auto search = [&] { return search_fil_to_NP(d(), entry(), &out[0], &out[1], &out[2]); };
    u32 kept = 0;
    for (const u32 status : {1u, 0xFFFFFFFFu}) {
        recorder::answer_find(status, 500000, 200500);
        EXPECT_EQ(-1, search());
        EXPECT_THAT(sent(), ElementsAre(query));
        EXPECT_EQ(++kept, recorder::commands_not_freed());
    }
    recorder::answer_find(0, 500000, 200500);
    for (const Failure how : {Failure::delivery, Failure::status}) {
        recorder::fail("", how);
        EXPECT_EQ(-1, search());
        EXPECT_THAT(sent(), ElementsAre(query)) << "one attempt";
        EXPECT_EQ(++kept, recorder::commands_not_freed());
    }
    EXPECT_EQ((std::array<u32, 3>{1, 2, 3}), out);
    EXPECT_EQ(-1, (recorder::answer_find(9, 1, 1), search_fil_to_NP(d(), entry(), nullptr, nullptr, nullptr)));
}

TEST_F(FdbCommands, ACommandThatCannotBeBuiltGivesMinusOneWithoutACall)
{
    recorder::answer_find(0, 500000, 200500);
    std::array<u32, 3> out = {1, 2, 3};
    recorder::fail_builders(3);
    EXPECT_EQ(-1, add_fil_to_NP(d(), entry()));
    EXPECT_EQ(-1, rem_fil_from_NP(d(), entry()));
    EXPECT_EQ(-1, search_fil_to_NP(d(), entry(), &out[0], &out[1], &out[2]));
    EXPECT_EQ((std::array<u32, 3>{1, 2, 3}), out);
    EXPECT_THAT(sent(), IsEmpty());
}

TEST_F(FdbCommands, AnAdditionCanBeBuiltWithoutBeingSent)
{
    vf_cmd* const command = addition_of(d(), entry());
    ASSERT_NE(nullptr, command);
    EXPECT_THAT(sent(), IsEmpty());
    EXPECT_TRUE(deliver(d(), command));
    const auto built = sent();
    vf_cmdNFreeB(command);
    EXPECT_EQ(0, add_fil_to_NP(d(), entry()));
    EXPECT_EQ(built, sent());
}

TEST_F(FdbCommands, AnAddressIsRemovedWhetherOrNotTheDatabaseHasIt)
{
    const Mac mac{{2, 0, 0, 0, 0, 0xFE}};
    EXPECT_EQ(0, rem_address_from_NP(d(), 0xC001, mac));
    EXPECT_THAT(sent(), ElementsAre("removeFDB(0xc001, 02:00:00:00:00:fe)"));
    recorder::answer_remove(14);
    EXPECT_EQ(14, rem_address_from_NP(d(), 0xC001, mac));
    EXPECT_EQ(0u, recorder::commands_not_freed());
}

TEST_F(FdbCommands, ARemovalCanBeBuiltWithoutBeingSent)
{
    vf_cmd* const command = removal_of(d(), entry());
    ASSERT_NE(nullptr, command);
    EXPECT_THAT(sent(), IsEmpty());
    EXPECT_TRUE(deliver(d(), command));
    EXPECT_THAT(sent(), ElementsAre(removal));
    vf_cmdNFreeB(command);
    EXPECT_EQ(0u, recorder::commands_not_freed());
}

TEST_F(FdbCommands, DeliveryIsOneAttempt)
{
    for (const Failure how : {Failure::delivery, Failure::status}) {
        vf_cmd* const command = removal_of(d(), entry());
        recorder::fail("", how);
        EXPECT_FALSE(deliver(d(), command));
        EXPECT_EQ(1u, sent().size());
        vf_cmdNFreeB(command);
    }
}

TEST_F(FdbCommands, CommandsGoThroughTheDescriptorsHandle)
{
    Descriptor without_NP = d();
    without_NP.NP = nullptr;
    add_fil_to_NP(without_NP, entry());
    rem_fil_from_NP(without_NP, entry());
    search_fil_to_NP(without_NP, entry(), nullptr, nullptr, nullptr);
    EXPECT_EQ(3u, recorder::calls_with_null_handle());
}

TEST_F(FdbCommands, AnEntryOfAPortsOwnDatabaseNamesThePortsFIDAndNoPort)
{
    given_port(3);
    const Fil& local = given_local(3, mac(0x0200000000AA), 4, 1);
    take_as_it_is();
    EXPECT_EQ(0, add_fil_to_NP(d(), local));
    EXPECT_EQ(0, rem_fil_from_NP(d(), local));
    EXPECT_THAT(sent(), ElementsAre("addFDB(4, 1, 0xc003, 02:00:00:00:00:aa, 0xffff, 0x528, 0, 0xffff)",
                                    "removeFDB(0xc003, 02:00:00:00:00:aa)"));
}

}  // namespace
}  // namespace zelfdb
