// The NP refuses one command of an operation, each in turn: additions fail and cost a record, nothing else is held up.
#include "fdb_test.h"
#include "support/invariants.h"

namespace zelfdb {
namespace {

using testing::IsEmpty;

class Refusals : public Fdb {
protected:
    struct Operation {
        const char* name;
        std::function<void()> arrange;
        // The result, or the detail code where there is one.
        std::function<int()> run;
        int refused;  // what it says when its addition is refused
    };

    void SetUp() override
    {
        Fdb::SetUp();
        given_vlan(10, "sales").vlan_flag = vflag_loop_detection;
        given_vlan(20, "lab");
        for (const u32 port_id : {3u, 5u}) {
            given_open_port(port_id);
            given_member(10, port_id);
        }
        environment::set_time_s(10000);
        ready_ = snapshot();
    }

    template <class Function, class... Arguments>
    static int code_of(Function function, Arguments... arguments)
    {
        u32 err = 777;
        const int result = function(arguments..., &err);
        EXPECT_EQ(err == 0 ? 0 : -1, result);
        return static_cast<int>(err);
    }

    std::vector<Operation> operations()
    {
        const auto no_room = [this] {
            given_learned(20, mac(0x90), 3);
            given_free_records(0);
        };
        const auto create_static = [this] { return code_of(zelfdb_create_sfil, 10u, a.byte, 3u, 0u, 0u); };
        const auto create_local = [this] { return code_of(zelfdb_create_lfil, 3u, a.byte, 0u, 0u); };
        const auto some_learned = [this] {
            for (u32 i = 0; i < 25; ++i) given_learned(i < 20 ? 10 : 20, mac(0x0300 + i), i % 2 ? 3 : 5);
        };
        return {
            {"create_sfil", [] {}, create_static, 2002},
            {"create_sfil over a learned entry", [this] { given_learned(10, a, 3); }, create_static, 2002},
            {"create_sfil in an empty pool", no_room, create_static, 2002},
            {"delete_sfil", [this] { given_static(10, a, 3); },
             [this] { return code_of(zelfdb_delete_sfil, 10u, a.byte, 0u); }, 0},
            {"create_lfil", [] {}, create_local, 2002},
            {"create_lfil in an empty pool", no_room, create_local, 2002},
            {"delete_lfil", [this] { given_local(3, a); },
             [this] { return code_of(zelfdb_delete_lfil, 3u, a.byte, 0u); }, 0},
            {"learning", [] {}, [this] { return learn(3, a); }, -1},
            {"a move", [this] { given_learned(10, a, 3); }, [this] { return learn_again(10, 5, a, 9); }, -1},
            {"a move that trips both breakers",
             [this, some_learned] {
                 some_learned();
                 given_learned(10, a, 3);
                 port(3)->sldbkr_on = port(5)->sldbkr_on = 1;
             },
             [this] { return learn_again(10, 5, a, 9); }, -1},
            {"clear_fdb", some_learned, [] { return zelfdb_clear_fdb(); }, 0},
            {"clear_fdb_vlan", some_learned, [] { return zelfdb_clear_fdb_vlan(10); }, 0},
            {"delete_sfil_select_port",
             [this] {
                 for (u32 i = 0; i < 5; ++i) given_static(10, mac(0x0300 + i), 3, 0, i % 2);
             },
             [] { return code_of(zelfdb_delete_sfil_select_port, 3u); }, 0},
        };
    }
    [[nodiscard]] u32 linked() const { return table(10).nfil + table(20).nfil + own_table(3).nfil + own_table(5).nfil; }
    void begin(const Operation& operation)
    {
        restore(ready_);
        operation.arrange();
        forget();
    }

    const Mac a = mac(0x001122334455);

private:
    Snapshot ready_;
};

TEST_F(Refusals, OfAnyCommandOfAnyOperationOnlyThatOfAnAdditionMattersAndItCostsOneRecord)
{
    for (const Operation& operation : operations()) {
        begin(operation);
        ASSERT_EQ(0, operation.run()) << operation.name;
        const Snapshot accepted = snapshot();
        const std::vector<std::string> commands = sent();
        const u32 linked_then = linked();
        const Totals totals_then = totals();
        const std::vector<u32> free_then = free_records();
        ASSERT_THAT(commands, testing::Not(IsEmpty())) << operation.name;

        for (u32 i = 0; i < commands.size(); ++i) {
            for (const auto how : {recorder::Failure::delivery, recorder::Failure::status}) {
                SCOPED_TRACE(std::string(operation.name) + ": " + commands[i]);
                const bool addition = commands[i].rfind("addFDB(", 0) == 0;
                begin(operation);
                recorder::fail("", how, i + 1);
                EXPECT_EQ(addition ? operation.refused : 0, operation.run());
                EXPECT_THAT(broken_invariants(d()), IsEmpty());
                if (!addition) {
                    EXPECT_EQ(accepted.main, snapshot().main);
                    EXPECT_EQ(accepted.fdb, snapshot().fdb);
                    continue;
                }
                EXPECT_EQ(i + 1, sent().size()) << "one attempt, nothing after it";
                if (std::string(operation.name).find("trips") != std::string::npos) continue;  // it flushes no more
                EXPECT_EQ(free_then, free_records()) << "the record stays taken";
                EXPECT_EQ(linked_then - 1, linked());
                EXPECT_EQ((Totals{totals_then.usr - 1, totals_then.sys}), totals());
            }
        }
    }
}

}  // namespace
}  // namespace zelfdb
