// What the tests of mirrors share: slots, and mirrors in every state.
#pragma once

#include "support/exported.h"

namespace zelfdb {

// The states that the operations tell apart. The last five are created and differ in what has been set.
enum class State { unused, bare, source_only, dest_only, onto_itself, complete, enabled };
inline constexpr State states[] = {State::unused,      State::bare,     State::source_only, State::dest_only,
                                   State::onto_itself, State::complete, State::enabled};
inline const char* name_of(State state)
{
    constexpr const char* names[] = {"unused",      "bare",     "source only", "destination only",
                                     "onto itself", "complete", "enabled"};
    return names[static_cast<int>(state)];
}

class MirrorTest : public Exported {
protected:
    MirrorTest() : Exported(2, 1, 2) {}

    [[nodiscard]] Mirror& slot(u32 id) const { return header().mirror[id - 1]; }

    // Through the API; it fails the test if that fails. The commands of it are forgotten.
    void given_mirror(u32 id, State state)
    {
        if (state == State::unused) return;
        EXPECT_EQ(call(zelfdb_create_mirror, id).result, 0);
        const bool dest = state != State::bare && state != State::source_only;
        const u32 kind = state == State::onto_itself ? 3 : 1;
        if (state != State::bare && state != State::dest_only) {
            EXPECT_EQ(call(zelfdb_set_mirror_source, id, kind, 5, 10).result, 0);
        }
        if (dest) {
            EXPECT_EQ(call(zelfdb_set_mirror_dest, id, 5).result, 0);
        }
        if (state == State::enabled) {
            EXPECT_EQ(call(zelfdb_enable_mirror, id).result, 0);
        }
    }
};

}  // namespace zelfdb
