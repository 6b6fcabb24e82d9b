// What all operations of the forwarding database have in common: their descriptor, their locks and their error word.
#include "fdb_test.h"

namespace zelfdb {
namespace {

using testing::IsEmpty;

constexpr u32 untouched = 777;

// The word of an operation that has one: always the final code, or 1 from the start that stays on success.
enum class Word { none, final, preset };

struct Operation {
    const char* name;
    bool opens_its_own;
    bool talks_to_NP;
    Word word;
    Locks locks;
    std::function<int(u32* err)> succeed;
    std::function<int(u32* err)> fail;  // for a reason found under the locks; none for those that cannot
    u32 code;                           // of that reason
};

class CallFrames : public Fdb {
protected:
    // Port 3 and VLAN 10, with a static entry each and a local one.
    void SetUp() override
    {
        Fdb::SetUp();
        given_open_port(3);
        given_vlan(10, "sales");
        given_static(10, present, 3);
        given_local(3, present);
        buffer_ = buffer_of(8);
        ready_ = snapshot();
        environment::reset();
    }
    // Everything but zelfdb_get_all_lfil, which has its own place.
    [[nodiscard]] std::vector<Operation> operations()
    {
        const u8* const there = present.byte;
        const u8* const absent = absent_.byte;
        const auto list = [this](auto function, u32 vid) {
            return [this, function, vid](u32*) {
                cursor_ = {};
                return function(vid, &cursor_, buffer_.get());
            };
        };
        Descriptor* const own = &d();
        return {
            {"clear_fdb", true, true, Word::none, both_locks, [](u32*) { return zelfdb_clear_fdb(); }, {}, 0},
            {"clear_fdb_vlan", true, true, Word::none, both_locks, [](u32*) { return zelfdb_clear_fdb_vlan(10); },
             [](u32*) { return zelfdb_clear_fdb_vlan(11); }, 0},
            {"set_fdb_userarea",
             true,
             false,
             Word::preset,
             main_lock,
             [](u32* err) { return zelfdb_set_fdb_userarea(9, err); },
             {},
             0},
            {"create_sfil", true, true, Word::final, both_locks,
             [=](u32* err) { return zelfdb_create_sfil(10, absent, 3, 0, 0, err); },
             [=](u32* err) { return zelfdb_create_sfil(10, there, 3, 0, 0, err); }, 2001},
            {"create_sfil2", false, true, Word::final, both_locks,
             [=](u32* err) { return zelfdb_create_sfil2(own, 10, absent, 3, 0, 0, err); },
             [=](u32* err) { return zelfdb_create_sfil2(own, 10, absent, 4, 0, 0, err); }, 102},
            {"delete_sfil", true, true, Word::final, both_locks,
             [=](u32* err) { return zelfdb_delete_sfil(10, there, 0, err); },
             [=](u32* err) { return zelfdb_delete_sfil(10, absent, 0, err); }, 105},
            {"delete_sfil2", false, true, Word::final, both_locks,
             [=](u32* err) { return zelfdb_delete_sfil2(own, 10, there, 0, err); },
             [=](u32* err) { return zelfdb_delete_sfil2(own, 11, there, 0, err); }, 103},
            {"create_lfil", true, true, Word::final, both_locks,
             [=](u32* err) { return zelfdb_create_lfil(3, absent, 0, 0, err); },
             [=](u32* err) { return zelfdb_create_lfil(3, there, 0, 0, err); }, 2001},
            {"delete_lfil", true, true, Word::final, both_locks,
             [=](u32* err) { return zelfdb_delete_lfil(3, there, 0, err); },
             [=](u32* err) { return zelfdb_delete_lfil(3, there, 1, err); }, 2101},
            {"get_all_dfil", true, true, Word::none, both_locks_main_back_first, list(zelfdb_get_all_dfil, 10),
             list(zelfdb_get_all_dfil, 11), 0},
            {"get_all_sfil", true, true, Word::none, both_locks, list(zelfdb_get_all_sfil, 10),
             list(zelfdb_get_all_sfil, 11), 0},
            {"delete_sfil_select_port",
             true,
             true,
             Word::final,
             both_locks,
             [](u32* err) { return zelfdb_delete_sfil_select_port(3, err); },
             {},
             0},
            {"delete_sfil_select_port2",
             false,
             true,
             Word::none,
             both_locks,
             [=](u32*) { return zelfdb_delete_sfil_select_port2(own, 3); },
             {},
             0},
            {"do_aging", false, true, Word::none, both_locks, [=](u32*) { return zelfdb_do_aging(own); }, {}, 0},
            {"add_dfil_by_learn_ind", false, true, Word::none, both_locks_main_back_first,
             [this](u32*) { return learn_frame(tagged_frame(absent_, 10), not_filtered()); },
             [this](u32*) {
                 header().fdb_userarea = 1;
                 return learn_frame(tagged_frame(absent_, 10), not_filtered());
             },
             0},
        };
    }
    [[nodiscard]] zelfdb_learn_ind not_filtered() const
    {
        port(3)->p_flag = 0x151;
        return indication(3);
    }
    void begin_anew()
    {
        restore(ready_);
        environment::reset();
        recorder::reset();
    }
    [[nodiscard]] const Snapshot& ready() const { return ready_; }

private:
    const Mac present = mac(0x001122334455);
    const Mac absent_ = mac(0x001122334466);
    Buffer buffer_;
    zelfdb_fdb_cursor cursor_{};
    Snapshot ready_;
};

TEST_F(CallFrames, LocksAreTakenMainFirstAndGivenBackInEachOperationsOrder)
{
    for (const Operation& operation : operations()) {
        SCOPED_TRACE(operation.name);
        u32 err = untouched;
        begin_anew();
        EXPECT_EQ(0, operation.succeed(&err));
        EXPECT_EQ(operation.locks, locks());
        if (!operation.fail) continue;
        begin_anew();
        EXPECT_EQ(-1, operation.fail(&err));
        EXPECT_EQ(operation.locks, locks()) << "also when it fails";
    }
}

TEST_F(CallFrames, TheErrorWordHoldsTheFinalCodeOrTheOneItWasPresetTo)
{
    for (const Operation& operation : operations()) {
        SCOPED_TRACE(operation.name);
        u32 err = untouched;
        begin_anew();
        EXPECT_EQ(0, operation.succeed(&err));
        EXPECT_EQ(operation.word == Word::final ? 0 : operation.word == Word::preset ? 1 : untouched, err);
        if (!operation.fail) continue;
        err = untouched;
        begin_anew();
        EXPECT_EQ(-1, operation.fail(&err));
        EXPECT_EQ(operation.word == Word::none ? untouched : operation.code, err);
    }
}

TEST_F(CallFrames, ADescriptorOfItsOwnIsOpenedOnceAndClosed)
{
    for (const Operation& operation : operations()) {
        SCOPED_TRACE(operation.name);
        for (const auto& run : {operation.succeed, operation.fail}) {
            if (!run) continue;
            u32 err = untouched;
            begin_anew();
            run(&err);
            const u32 opened = operation.opens_its_own ? 1 : 0;
            const u32 NP_opened = operation.talks_to_NP ? opened : 0;
            EXPECT_EQ(2 * opened, environment::calls("shmat"));
            EXPECT_EQ(2 * opened, environment::calls("shmdt"));
            EXPECT_EQ(NP_opened, recorder::init_calls());
            EXPECT_EQ(NP_opened, recorder::release_calls());
        }
    }
}

TEST_F(CallFrames, WithoutADescriptorNothingHappensAndTheCodeIs1)
{
    for (const Operation& operation : operations()) {
        if (!operation.opens_its_own) continue;
        for (const DescriptorFailure& failure : descriptor_failures) {
            if (failure.NP && !operation.talks_to_NP) continue;
            SCOPED_TRACE(std::string(operation.name) + ": " + failure.name);
            u32 err = untouched;
            begin_anew();
            failure.arrange();
            EXPECT_EQ(-1, operation.succeed(&err));
            EXPECT_EQ(operation.word == Word::none ? untouched : 1, err);
            EXPECT_THAT(locks(), IsEmpty());
            EXPECT_TRUE(same(ready(), snapshot()));
            EXPECT_EQ(failure.NP ? 20u : 0u, recorder::init_calls());
            EXPECT_EQ(std::vector<unsigned>(failure.NP ? 19 : 0, 10), environment::sleeps());
        }
    }
    begin_anew();
}

}  // namespace
}  // namespace zelfdb
