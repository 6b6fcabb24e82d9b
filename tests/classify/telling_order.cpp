// What the database holds at the moment when the NP is told: every change is there already but an unbinding, which the NP
// learns of first.
#include "support/telling.h"

#include "classify/classify_test.h"

namespace zelfdb {
namespace {

// What the conditions look at, set by each test.
const Pv* membership_told_of = nullptr;
const Classify* profile_told_of = nullptr;
const Header* header_now = nullptr;
Offset record_told_of = none;

bool is_bound()
{
    return membership_told_of->classify == 2 && membership_told_of->classify_words[0] != 0 &&
           profile_told_of->pv_head != none;
}
bool has_four_lines() { return profile_told_of->naction == 4 && profile_told_of->action_head == record_told_of; }
bool has_two_lines_and_a_free_record()
{
    return profile_told_of->naction == 2 && header_now->action_free == record_told_of;
}
bool has_no_line()
{
    return profile_told_of->naction == 0 && profile_told_of->action_head == none &&
           header_now->action_free == record_told_of;
}

class TellingOrder : public ProfileTest {
protected:
    void SetUp() override
    {
        ProfileTest::SetUp();
        given_profile(2);
        membership_told_of = membership(10, 3);
        profile_told_of = profile(2);
        header_now = &header();
    }
    [[nodiscard]] Offset line_at(u32 line_no) const
    {
        return offset_of(base(), *lookup_action(base(), header(), *profile(2), line_no));
    }
};

TEST_F(TellingOrder, ABindingIsStoredBeforeTheNPIsToldOfIt)
{
    u32 err = 0;
    Telling::expect(is_bound, [&] { return zelfdb_add_classify_profile_to_pv(2, 3, 10, words, &err); });
}

TEST_F(TellingOrder, AnUnbindingIsToldToTheNPBeforeTheDatabaseForgetsTheBinding)
{
    given_binding(2, 3, 10);
    u32 err = 0;
    Telling::expect(is_bound, [&] { return zelfdb_rem_classify_profile_from_pv(3, 10, &err); });
    EXPECT_EQ(membership(10, 3)->classify, 0u);
    EXPECT_EQ(profile(2)->pv_head, none);
}

TEST_F(TellingOrder, ALineIsInTheProfileBeforeTheNPIsToldOfIt)
{
    given_lines(2, 3);
    record_told_of = header().action_free;
    const zelfdb_classify_line line = numbered_line(9);
    u32 err = 0;
    Telling::expect(has_four_lines, [&] { return zelfdb_add_classify_action_to_profile(2, 1, &line, &err); });
}

TEST_F(TellingOrder, ALineIsRemovedAndItsRecordFreeBeforeTheNPIsToldOfIt)
{
    given_lines(2, 3);
    record_told_of = line_at(2);
    u32 err = 0;
    Telling::expect(has_two_lines_and_a_free_record,
                    [&] { return zelfdb_rem_classify_action_from_profile(2, 2, &err); });
}

TEST_F(TellingOrder, AllLinesAreRemovedAndTheirRecordsFreeBeforeTheNPIsToldOfIt)
{
    given_lines(2, 3);
    record_told_of = line_at(3);
    u32 err = 0;
    Telling::expect(has_no_line, [&] { return zelfdb_rem_classify_all_from_profile(2, &err); });
}

}  // namespace
}  // namespace zelfdb
