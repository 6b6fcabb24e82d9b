// The verbs resync and audit: the network processor is told everything, or asked whether it knows everything.
#pragma once

namespace zelfctl {

struct ResyncOptions {
    bool json = false;
};

struct AuditOptions {
    bool fix = false;
    bool json = false;
};

// Both end with exit_failed if the two do not agree.
int resync(const ResyncOptions& options);
int audit(const AuditOptions& options);

}  // namespace zelfctl
