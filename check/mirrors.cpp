// Mirrors: an enabled one has all that enabling asks for, which cannot be taken from it any more.
#include "check/audit.h"
#include "check/limits.h"

namespace zelfdb::audit {
namespace {

void check_mirror(Audit& a, const Name& name, const Mirror& mirror)
{
    const u16 state = mirror.state;
    if (state > (mirror_created | mirror_enabled) || state == mirror_enabled) {
        error(a, name, "state", &mirror.state, dec(state), text("0, 1 or 3"), "free, created, or enabled too");
    }
    if (!(state & mirror_enabled)) return;
    if (mirror.source_kind == 0) {
        error(a, name, "source_kind", &mirror.source_kind, dec(0), text("another kind"),
              "an enabled mirror has a source");
    }
    if (mirror.dest_port == 0) {
        error(a, name, "dest_port", &mirror.dest_port, dec(0), text("a port"), "an enabled mirror has a destination");
    }
    if (copies_what_is_sent(mirror) && mirror.source_port == mirror.dest_port) {
        error(a, name, "dest_port", &mirror.dest_port, dec(mirror.dest_port), text("another port than the source"),
              "copies of what a port sends do not leave by it");
    }
}

}  // namespace

void check_mirrors(Audit& a)
{
    for (u32 i = 0; i < std::size(a.header.mirror); ++i) check_mirror(a, {"mirror %d", i + 1}, a.header.mirror[i]);
}

}  // namespace zelfdb::audit
