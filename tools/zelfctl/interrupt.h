// Ctrl-C that ends what a verb does, not the tool: what was done is still told.
#pragma once

#include <csignal>

namespace zelfctl {

// One at a time.
class UntilInterrupted {
public:
    UntilInterrupted();
    ~UntilInterrupted();
    UntilInterrupted(const UntilInterrupted&) = delete;
    UntilInterrupted& operator=(const UntilInterrupted&) = delete;

    // Since the last of these was made; also after its end.
    static bool was_interrupted();

    // Waits, but not on when it comes to an interrupt, or when there was one.
    static void wait(double seconds);

private:
    struct sigaction before_ {};
};

}  // namespace zelfctl
