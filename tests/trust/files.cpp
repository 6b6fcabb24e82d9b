// The one file that the library makes: under a name that cannot be foretold, for its maker alone, through no link.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <regex>
#include <set>

#include "trust/switch_test.h"

namespace zelfdb::trust {
namespace {

class Files : public Switch {
protected:
    // Exports and returns the path that was told.
    std::string exported()
    {
        for (const Row& row : rows()) {
            if (std::string(row.name) != "zelfdb_disp_classify") continue;
            const Ran ran = run(row, good(row));
            EXPECT_EQ(0, ran.result);
            std::smatch file;
            if (std::regex_search(ran.printed, file, std::regex("/tmp/clsline-\\w+"))) return file.str();
        }
        ADD_FAILURE() << "no file was told";
        return {};
    }
};

TEST_F(Files, OfClassifyListsAreForTheirMakerAloneUnderANewNameEachTime)
{
    const mode_t before = umask(0);
    std::set<std::string> paths;
    for (int k = 0; k < 16; ++k) {
        const std::string path = exported();
        struct stat status {};
        EXPECT_EQ(0, lstat(path.c_str(), &status));
        EXPECT_TRUE(S_ISREG(status.st_mode));
        EXPECT_EQ(0600u, status.st_mode & 07777);
        EXPECT_EQ(1u, status.st_nlink);
        EXPECT_EQ(geteuid(), status.st_uid);
        paths.insert(path);
    }
    EXPECT_EQ(16u, paths.size());
    for (const std::string& path : paths) EXPECT_EQ(0, ::unlink(path.c_str()));
    umask(before);
}

}  // namespace
}  // namespace zelfdb::trust
