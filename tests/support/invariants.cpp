#include "support/invariants.h"

#include <sys/mman.h>
#include <unistd.h>

#include "support/invariants/entries.h"
#include "support/invariants/mirrors.h"
#include "support/invariants/profiles.h"
#include "support/invariants/qos.h"

namespace zelfdb {
namespace {

using namespace audit;

// Whether so many bytes from there on can be read. The counts in the header are bytes like all others.
bool readable(const void* segment, u64 size_bytes)
{
    const auto page = static_cast<u64>(sysconf(_SC_PAGESIZE));
    if (size_bytes > 0xFFFFFFFFu) return false;
    if (size_bytes == 0) return true;
    if (!segment) return false;
    std::vector<unsigned char> pages(static_cast<std::size_t>((size_bytes + page - 1) / page));
    return mincore(const_cast<void*>(segment), static_cast<std::size_t>(size_bytes), pages.data()) == 0;
}

void check_header(Audit& a)
{
    if (a.header.history[4] != 0) note(a, "history counter 4 is " + dec(a.header.history[4]));
    if (a.header.unused8354 != 0) note(a, "the unused header word is " + hex(a.header.unused8354));
}

}  // namespace

std::vector<std::string> broken_invariants(const Descriptor& d)
{
    if (!readable(d.main_segment, sizeof(Header))) return {"there is no main segment"};
    Header& header = header_of(d);
    const Layout layout = layout_of(header.nport, header.nvlan, header.nfil);
    if (!readable(d.main_segment, layout.end)) return {"the counts need more than the main segment has"};
    if (!readable(d.fdb_segment, u64{header.nfil} * sizeof(Fil))) {
        return {"the number of entries needs more than the FDB segment has"};
    }

    Audit a{main_base(d), fdb_base(d), header, layout, {}, {}};
    check_header(a);
    const auto ports = check_ports(a);
    const Vlans vlans = check_vlans(a, ports);
    check_entries(a, ports, vlans.used);
    check_qos(a, ports);
    check_profiles(a, vlans.memberships);
    check_mirrors(a);
    return a.broken;
}

}  // namespace zelfdb
