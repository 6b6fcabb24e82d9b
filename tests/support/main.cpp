// Runs the tests of one executable, each in an IPC namespace of its own: the machine's own keys are never touched, and nothing
// is left behind, for the next test no more than for the machine.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <gtest/gtest.h>

#include "support/namespace.h"

namespace {

bool enter_or_complain()
{
    if (enter_ipc_namespace()) return true;
    std::fprintf(stderr, "no IPC namespace of our own: %s\n", std::strerror(errno));
    return false;
}

class Namespaces : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override
    {
        if (!enter_or_complain()) std::abort();
    }
};

}  // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    // Also what an environment or a suite sets up stays out of the machine's.
    if (!enter_or_complain()) return 1;
    testing::UnitTest::GetInstance()->listeners().Append(new Namespaces);
    return RUN_ALL_TESTS();
}
