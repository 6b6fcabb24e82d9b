// Runs the tests of one executable in an IPC namespace of its own: the machine's own keys are never touched, and nothing is
// left behind.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <gtest/gtest.h>

#include "support/namespace.h"

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (!enter_ipc_namespace()) {
        std::fprintf(stderr, "no IPC namespace of our own: %s\n", std::strerror(errno));
        return 1;
    }
    return RUN_ALL_TESTS();
}
