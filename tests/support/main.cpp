// Runs the tests of one executable in an IPC namespace of its own: the machine's own keys are never touched, and nothing is
// left behind.
#include <sched.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <gtest/gtest.h>

#include "support/namespace.h"

bool enter_ipc_namespace()
{
    if (unshare(CLONE_NEWIPC) == 0) return true;
    return errno == EPERM && unshare(CLONE_NEWUSER | CLONE_NEWIPC) == 0;
}

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (!enter_ipc_namespace()) {
        std::fprintf(stderr, "no IPC namespace of our own: %s\n", std::strerror(errno));
        return 1;
    }
    return RUN_ALL_TESTS();
}
