// The order in which the lines of a file are run.
#include "language/batch.h"

#include "fixture.h"

namespace zelfctl {
namespace {

using testing::ElementsAre;

class Batches : public Commands {
protected:
    void SetUp() override
    {
        Commands::SetUp();
        given("create port 2 npport 2 portType ether");
        given("create port 3 npport 7 portType vif");
    }
    // Numbers of the lines, from 1, as they are run: those that one line lets go are in one list.
    static std::vector<std::vector<u32>> order_of(const std::vector<std::string>& lines)
    {
        Batch batch;
        std::vector<std::vector<u32>> order;
        for (u32 i = 0; i < lines.size(); ++i) order.push_back(numbers(batch.take({i + 1, lines[i]})));
        order.push_back(numbers(batch.rest()));
        return order;
    }

private:
    static std::vector<u32> numbers(const std::vector<BatchLine>& lines)
    {
        std::vector<u32> all;
        for (const BatchLine& line : lines) all.push_back(line.number);
        return all;
    }
};

const std::string late = "add port 3 to vlan a tag off";
using Line = std::vector<u32>;

TEST_F(Batches, AnUntaggedJoinOfAVirtualInterfaceIsRunBehindThoseThatJoinOtherVlans)
{
    EXPECT_THAT(order_of({"create vlan a vid 1", late, "create vlan b vid 2", "set vlan b learning off",
                          "set vlans learninglimit 5", "add port 3 to vlan b tag on", "add port 2 to vlan b tag off"}),
                ElementsAre(Line{1}, Line{}, Line{3}, Line{4}, Line{5}, Line{6}, Line{7}, Line{2}));
}

TEST_F(Batches, CommentsAndEmptyLinesAreNoReasonToRunIt)
{
    EXPECT_THAT(order_of({late, "", "# b", "  "}), ElementsAre(Line{}, Line{2}, Line{3}, Line{4}, Line{1}));
}

TEST_F(Batches, OtherJoinsDoNotWait)
{
    EXPECT_THAT(order_of({"add port 3 to vlan a tag on", "add port 2 to vlan a tag off",
                          "add port 3 to vlan a tag off protgroup 1", "add port 9 to vlan a tag off"}),
                ElementsAre(Line{1}, Line{2}, Line{3}, Line{4}, Line{}));
}

TEST_F(Batches, AnyOtherLineFindsItDone)
{
    for (const char* const next :
         {"delete vlan a", "delete port 3 from vlan a", "query vlan a ports", "clear fdb vlan a",
          "create port 4 npport 4", "set port 3 aging 5", "enable port 3", "no command at all",
          "add port 3 to vlan a tag maybe", "create mirror 1", "add clslist 1 to port 3 vlan a"}) {
        EXPECT_THAT(order_of({late, next}), ElementsAre(Line{}, (Line{1, 2}), Line{})) << next;
    }
}

}  // namespace
}  // namespace zelfctl
