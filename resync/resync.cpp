#include "resync/resync.h"

#include "resync/locked.h"

namespace zelfdb {

ResyncReport resync(const Descriptor& d)
{
    const Locked locked;
    Wanted wanted = wanted_by(d);
    Sending sending{d};
    send_in_order(
        sending, wanted, [&](const Item& item) { send_item(sending, item); }, [](const Object&) { return true; });
    return {sending.commands, std::move(sending.refused), std::move(sending.skipped), std::move(wanted.unmapped_ports),
            std::move(wanted.untold)};
}

}  // namespace zelfdb
