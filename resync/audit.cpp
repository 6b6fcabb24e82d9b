#include "resync/locked.h"
#include "resync/resync.h"

namespace zelfdb {
namespace {

// False if the NP was to be read and could not be.
bool look(const Descriptor& d, ReadNp read_np, const Wanted& wanted, Found& found, std::vector<Difference>& findings)
{
    if (read_np && !read_np(found)) return false;
    findings = compare(d, wanted, read_np ? &found : nullptr);
    return true;
}

}  // namespace

AuditReport audit(const Descriptor& d, ReadNp read_np, Fix mend)
{
    const Locked locked;
    AuditReport report;
    const Wanted wanted = wanted_by(d);
    Found found;
    report.entries = wanted.entries.size();
    report.read = look(d, read_np, wanted, found, report.findings);
    if (!report.read || mend == Fix::no || report.findings.empty()) return report;

    Sending sending{d};
    fix(sending, wanted, read_np ? &found : nullptr, report.findings);
    report.commands = sending.commands;
    report.refused = std::move(sending.refused);
    report.skipped = std::move(sending.skipped);
    Found after;
    report.read = look(d, read_np, wanted, after, report.left);
    return report;
}

}  // namespace zelfdb
