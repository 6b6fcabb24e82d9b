// One call of the export: what it answered, printed and wrote. Its file is removed when the test is over.
#pragma once

#include <unistd.h>

#include "classify/classify_test.h"
#include "classify/files.h"

namespace zelfdb {

struct Exportation {
    int result;
    u32 err;
    std::string printed;
    std::string path;
    std::string document;
};

class ExportTest : public ProfileTest {
protected:
    void SetUp() override
    {
        ProfileTest::SetUp();
        files::forget();
    }
    void TearDown() override
    {
        for (const std::string& path : paths_) ::unlink(path.c_str());
        ProfileTest::TearDown();
    }

    // prepare runs when standard output has been taken away, which makes a temporary file as well.
    template <class Prepare>
    Exportation exported(u32 profile_number, Prepare prepare)
    {
        Exportation all{0, untouched, "", "", ""};
        recorder::log().clear();
        testing::internal::CaptureStdout();
        prepare();
        all.result = zelfdb_disp_classify(profile_number, &all.err);
        all.printed = testing::internal::GetCapturedStdout();
        EXPECT_EQ(sent(), Commands{});
        const std::string before = "<data file=\"";
        const std::size_t at = all.printed.find(before);
        if (at == std::string::npos) return all;
        const std::size_t start = at + before.size();
        all.path = all.printed.substr(start, all.printed.find('"', start) - start);
        all.document = files::content_of(all.path);
        paths_.push_back(all.path);
        return all;
    }
    Exportation exported(u32 profile_number)
    {
        return exported(profile_number, [] {});
    }
    // The document of an export that succeeds.
    std::string document(u32 profile_number = 0)
    {
        const Exportation all = exported(profile_number);
        EXPECT_EQ(all.result, 0);
        EXPECT_EQ(all.err, untouched);
        return all.document;
    }
    void given(u32 number, const zelfdb_classify_line& line)
    {
        EXPECT_EQ(call(zelfdb_add_classify_action_to_profile, number, 0, &line).result, 0);
    }
    void remove_at_end(const std::string& path) { paths_.push_back(path); }

private:
    std::vector<std::string> paths_;
};

}  // namespace zelfdb
