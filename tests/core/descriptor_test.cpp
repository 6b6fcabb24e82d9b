// Descriptors: what they hold, how often the NP is asked, what a failure says and what it leaves behind.
#include <cerrno>

#include "core/furnished.h"
#include "core/ipc.h"
#include "support/namespace.h"

namespace zelfdb {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

constexpr const char* no_segment = "libzelfdb: open_descriptor shmget fail\n";
constexpr const char* not_attached = "libzelfdb: open_descriptor shmat fail\n";
constexpr const char* no_NP = "libzelfdb: open_descriptor vf_init fail\n";

using Opening = zelfdb_descriptor* (*)();

struct Way {
    const char* name;
    Opening open;
};

void PrintTo(const Way& way, std::ostream* out) { *out << way.name; }

class DescriptorOpening : public Database {
protected:
    void SetUp() override
    {
        Database::SetUp();
        main_before = attachments(main_key);
        fdb_before = attachments(fdb_key);
    }
    void TearDown() override
    {
        environment::reset();
        recorder::reset();
        Database::TearDown();
    }

    // What a failing open says.
    static std::string refusal(Opening open)
    {
        CaptureStdout();
        EXPECT_EQ(nullptr, open());
        return GetCapturedStdout();
    }
    u64 main_attached() const { return attachments(main_key) - main_before; }
    u64 fdb_attached() const { return attachments(fdb_key) - fdb_before; }

    u64 main_before = 0;
    u64 fdb_before = 0;
};

TEST_F(DescriptorOpening, AttachesBothSegmentsAndAsksTheNpForAHandle)
{
    Descriptor* const opened = open_descriptor();
    ASSERT_NE(nullptr, opened);
    EXPECT_EQ(1u, main_attached());
    EXPECT_EQ(1u, fdb_attached());
    EXPECT_EQ(1u, recorder::init_calls());
    EXPECT_EQ(static_cast<void*>(&header_of(*opened)), opened->main_segment);
    header().fdb_userarea = 77;
    record_at<Fil>(fdb(), {0}).port = 88;
    EXPECT_EQ(77u, header_of(*opened).fdb_userarea);
    EXPECT_EQ(88u, record_at<Fil>(fdb_base(*opened), {0}).port);
    EXPECT_EQ(reinterpret_cast<const u8*>(opened->NP), recorder::last_handle());
    EXPECT_THAT(environment::sleeps(), IsEmpty());
    close_descriptor(opened);
}

TEST_F(DescriptorOpening, LooksSegmentsUpWithoutSizeOrFlags)
{
    close_descriptor(open_descriptor());
    ASSERT_THAT(environment::get_calls(), SizeIs(2));
    EXPECT_EQ(main_key, environment::get_calls()[0].key);
    EXPECT_EQ(fdb_key, environment::get_calls()[1].key);
    for (const environment::GetCall& call : environment::get_calls()) {
        EXPECT_EQ("shmget", call.function);
        EXPECT_EQ(0, call.size);
        EXPECT_EQ(0, call.flags);
    }
}

TEST_F(DescriptorOpening, FillsBytes0And2And3OfTheHandleAndNoOther)
{
    Descriptor* const opened = open_descriptor();
    ASSERT_NE(nullptr, opened);
    const std::vector<u8> handle(recorder::last_handle(), recorder::last_handle() + 8);
    EXPECT_THAT(handle, ElementsAre(1, 0xEE, 0, 0, 0xEE, 0xEE, 0xEE, 0xEE));
    close_descriptor(opened);
}

TEST_F(DescriptorOpening, WithoutNpNeitherAsksForAHandleNorReleasesOne)
{
    Descriptor* const opened = open_descriptor2();
    ASSERT_NE(nullptr, opened);
    EXPECT_EQ(nullptr, opened->NP);
    EXPECT_EQ(1u, main_attached());
    EXPECT_EQ(1u, fdb_attached());
    close_descriptor(opened);
    EXPECT_EQ(0u, main_attached());
    EXPECT_EQ(0u, fdb_attached());
    EXPECT_EQ(0u, recorder::init_calls());
    EXPECT_EQ(0u, recorder::release_calls());
}

TEST_F(DescriptorOpening, ClosingReleasesTheHandleAndDetachesBothSegments)
{
    close_descriptor(open_descriptor());
    EXPECT_EQ(1u, recorder::release_calls());
    EXPECT_EQ(2u, environment::calls("shmdt"));
    EXPECT_EQ(0u, main_attached());
    EXPECT_EQ(0u, fdb_attached());
}

TEST_F(DescriptorOpening, ClosingNothingDoesNothing)
{
    close_descriptor(nullptr);
    zelfdb_close_descriptor(nullptr);
    EXPECT_EQ(0u, recorder::release_calls());
    EXPECT_EQ(0u, environment::calls("shmdt"));
}

TEST_F(DescriptorOpening, ClosingDetachesOnlyWhatIsAttached)
{
    auto* const empty = static_cast<Descriptor*>(std::calloc(1, sizeof(Descriptor)));
    close_descriptor(empty);
    EXPECT_EQ(0u, environment::calls("shmdt"));
    EXPECT_EQ(0u, recorder::release_calls());
}

TEST_F(DescriptorOpening, ExportedNamesDoTheSame)
{
    zelfdb_descriptor* const opened = zelfdb_open_descriptor();
    zelfdb_descriptor* const opened2 = zelfdb_open_descriptor2();
    ASSERT_NE(nullptr, opened);
    ASSERT_NE(nullptr, opened2);
    EXPECT_NE(nullptr, opened->NP);
    EXPECT_EQ(nullptr, opened2->NP);
    EXPECT_EQ(2u, main_attached());
    zelfdb_close_descriptor(opened);
    zelfdb_close_descriptor(opened2);
    EXPECT_EQ(0u, main_attached());
    EXPECT_EQ(1u, recorder::release_calls());
}

TEST_F(DescriptorOpening, NpThatNeverAnswersIsAsked20TimesWith19PausesOf10Seconds)
{
    recorder::fail_init(1000);
    EXPECT_EQ(no_NP, refusal(open_descriptor));
    EXPECT_EQ(20u, recorder::init_calls());
    EXPECT_THAT(environment::sleeps(), SizeIs(19));
    EXPECT_THAT(environment::sleeps(), Each(10u));
    EXPECT_EQ(0u, recorder::release_calls());
}

TEST_F(DescriptorOpening, NpThatAnswersAtThe20thCallIsEnough)
{
    recorder::fail_init(19);
    CaptureStdout();
    Descriptor* const opened = open_descriptor();
    EXPECT_EQ("", GetCapturedStdout());
    ASSERT_NE(nullptr, opened);
    EXPECT_EQ(20u, recorder::init_calls());
    EXPECT_THAT(environment::sleeps(), SizeIs(19));
    close_descriptor(opened);
}

TEST_F(DescriptorOpening, NpThatAnswersAtThe2ndCallCostsOnePause)
{
    recorder::fail_init(1);
    close_descriptor(open_descriptor());
    EXPECT_EQ(2u, recorder::init_calls());
    EXPECT_THAT(environment::sleeps(), ElementsAre(10u));
}

TEST_F(DescriptorOpening, FailureLeavesAttachedWhatWasAttachedBeforeIt)
{
    recorder::fail_init(20);
    EXPECT_EQ(no_NP, refusal(open_descriptor));
    EXPECT_EQ(1u, main_attached());
    EXPECT_EQ(1u, fdb_attached());
    EXPECT_EQ(0u, environment::calls("shmdt"));
}

// Both ways of opening say the same.
class DescriptorRefusal : public DescriptorOpening, public testing::WithParamInterface<Way> {};

TEST_P(DescriptorRefusal, WithoutMemorySaysSoAndLooksNothingUp)
{
    CaptureStdout();
    environment::fail("malloc", ENOMEM);
    EXPECT_EQ(nullptr, GetParam().open());
    EXPECT_EQ("libzelfdb: open_descriptor malloc fail\n", GetCapturedStdout());
    EXPECT_THAT(environment::get_calls(), IsEmpty());
}

TEST_P(DescriptorRefusal, MainSegmentThatCannotBeFoundIsSaid)
{
    environment::fail("shmget", EACCES);
    EXPECT_EQ(no_segment, refusal(GetParam().open));
    EXPECT_EQ(0u, environment::calls("shmat"));
}

TEST_P(DescriptorRefusal, MainSegmentThatCannotBeAttachedIsSaid)
{
    environment::fail("shmat", EACCES);
    EXPECT_EQ(not_attached, refusal(GetParam().open));
    EXPECT_EQ(1u, environment::calls("shmget"));
    EXPECT_EQ(0u, main_attached());
}

TEST_P(DescriptorRefusal, FdbSegmentThatCannotBeFoundIsSaidAndLeavesMainAttached)
{
    environment::fail("shmget", ENOENT, 2);
    EXPECT_EQ(no_segment, refusal(GetParam().open));
    EXPECT_EQ(1u, main_attached());
    EXPECT_EQ(0u, fdb_attached());
}

TEST_P(DescriptorRefusal, FdbSegmentThatCannotBeAttachedIsSaidAndLeavesMainAttached)
{
    environment::fail("shmat", ENOMEM, 2);
    EXPECT_EQ(not_attached, refusal(GetParam().open));
    EXPECT_EQ(1u, main_attached());
    EXPECT_EQ(0u, fdb_attached());
}

TEST_P(DescriptorRefusal, OpeningInALoopPilesUpAttachments)
{
    environment::fail("shmat", ENOMEM, 2);
    for (u32 i = 1; i <= 5; ++i) {
        environment::fail("shmat", ENOMEM, 2);
        EXPECT_EQ(not_attached, refusal(GetParam().open));
        EXPECT_EQ(i, main_attached());
    }
}

TEST_P(DescriptorRefusal, WithoutAnySegmentIsSaid)
{
    ASSERT_TRUE(enter_ipc_namespace());
    EXPECT_EQ(no_segment, refusal(GetParam().open));
}

TEST_P(DescriptorRefusal, WithoutTheFdbSegmentIsSaidAndLeavesMainAttached)
{
    ASSERT_TRUE(enter_ipc_namespace());
    const zelfdb_counts no_entries{8, 6, 0};
    testing::internal::CaptureStderr();
    ASSERT_EQ(0, zelfdb_init(&no_entries));
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(1u, attachments(main_key));
    EXPECT_EQ(no_segment, refusal(GetParam().open));
    EXPECT_EQ(2u, attachments(main_key));
}

INSTANTIATE_TEST_SUITE_P(By, DescriptorRefusal,
                         testing::Values(Way{"open_descriptor", &open_descriptor},
                                         Way{"open_descriptor2", &open_descriptor2}),
                         [](const testing::TestParamInfo<Way>& way) { return way.param.name; });

}  // namespace
}  // namespace zelfdb
