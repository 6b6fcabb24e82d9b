// The check that ends every test of this project: it speaks of errors only, and of every one.
#include "support/invariants.h"

#include "core/furnished.h"

namespace zelfdb {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Invariants = FurnishedDatabase;

TEST_F(Invariants, OfADatabaseThatBearsOnlyNoticesAreNotBroken)
{
    ASSERT_EQ(300u, record_at<Port>(base(), {at(*port(7)).value - u32{sizeof(Port)}}).PortID);  // a notice by itself
    done(zelfdb_delete_queue(56, &code));
    done(zelfdb_rem_port_from_vlan(30, 3, &code));
    EXPECT_THAT(broken_invariants(d()), IsEmpty());
}

class Broken : public FurnishedDatabase {
protected:
    Broken() { expect_damage(); }
};

TEST_F(Broken, AnErrorIsALineOfText)
{
    ++vlan(10)->npv;
    EXPECT_THAT(broken_invariants(d()),
                ElementsAre(HasSubstr("error: VLAN 10: npv is 3, expected 2: it counts the memberships on its list")));
}

TEST_F(Broken, LinesAreBounded)
{
    for (Offset& chain : header().pvid_chain) chain = {1};
    const auto lines = broken_invariants(d());
    EXPECT_EQ(501u, lines.size());
    EXPECT_EQ("... and more", lines.back());
}

TEST_F(Broken, SegmentsThatAreNotAttachedAreAnError)
{
    EXPECT_THAT(broken_invariants({nullptr, d().fdb_segment, nullptr}), ElementsAre(HasSubstr("main segment: size")));
    EXPECT_THAT(broken_invariants({d().main_segment, nullptr, nullptr}), ElementsAre(HasSubstr("FDB segment: size")));
}

}  // namespace
}  // namespace zelfdb
