#include "support/invariants.h"

#include "check/check.h"

namespace zelfdb {

std::vector<std::string> broken_invariants(const Descriptor& d)
{
    const Report report = check(d);
    std::vector<std::string> broken;
    for (const Finding& finding : report.findings) {
        if (finding.severity == Severity::error) broken.push_back(text_of(finding));
    }
    if (report.errors > broken.size()) broken.emplace_back("... and more");
    return broken;
}

}  // namespace zelfdb
