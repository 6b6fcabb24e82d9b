// The verbs that show: tables for people, JSON for programs.
#pragma once

#include <string>
#include <vector>

#include "language/types.h"

namespace zelfctl {

struct FdbFilter {
    std::string vlan;  // name or VID; empty = all
    u32 port = 0;      // 0 = all
    std::string type;  // "dynamic", "static", "local"; empty = all
    std::string mac;   // how the address begins, as text; empty = any
    bool count = false;
    bool no_age = false;
    bool json = false;
};

struct StreamFilter {
    u32 port = 0;  // 0 = all
    bool json = false;
};

struct RunningOptions {
    std::string kind;  // one of kinds_of_running(); empty = all
    std::string prefix;
    std::string suffix = "\n";
};

int show_fdb(const FdbFilter& filter);
int show_ports(bool json);
int show_port(u32 port_id, bool json);
int show_vlans(bool json);
int show_vlan(const std::string& name_or_vid, bool json);
int show_protgroups(bool json);
// The library's replay as it prints it: prefix, command, suffix for each.
int show_running(const RunningOptions& options);
std::vector<std::string> kinds_of_running();
int show_streams(const StreamFilter& filter);
int show_stream(const std::string& name, bool json);
int show_queues(bool json);
int show_budget(bool json);
int show_clslists(bool json);
int show_clslist(u32 list, bool json);
int show_mirrors(bool json);
int show_phports(bool json);
int show_summary(bool json);
int show_history(bool json);
int show_np(bool json);

}  // namespace zelfctl
