#include "resync.h"

#include <cstdio>

#include "database.h"
#include "json_output.h"
#include "resync/resync.h"
#include "resync/softnp_state.h"
#include "table.h"

namespace zelfctl {
namespace {

using nlohmann::json;
using zelfdb::AuditReport;
using zelfdb::Difference;
using zelfdb::Refusal;
using zelfdb::ResyncReport;

constexpr const char* lost_lists =
    "prefilter and loc lists are kept by the network processor alone: what it had of them is lost";

const char* told_as(zelfdb::What what)
{
    switch (what) {
    case zelfdb::What::missing: return "missing";
    case zelfdb::What::extra: return "extra";
    case zelfdb::What::different: return "different";
    }
    return "unknown";
}

// ---- JSON -----------------------------------------------------------------------------------------------------------------

json json_of(const std::vector<Refusal>& refused)
{
    json list = json::array();
    for (const Refusal& refusal : refused)
        list.push_back({{"kind", text_of(refusal.object.kind)},
                        {"object", text_of(refusal.object)},
                        {"command", refusal.command}});
    return list;
}

json json_of(const std::vector<zelfdb::Object>& objects)
{
    json list = json::array();
    for (const zelfdb::Object& object : objects) list.push_back(text_of(object));
    return list;
}

json json_of(const std::vector<Difference>& findings)
{
    json list = json::array();
    for (const Difference& finding : findings) {
        json each{{"what", told_as(finding.what)},
                  {"kind", text_of(finding.object.kind)},
                  {"object", text_of(finding.object)},
                  {"implied", finding.implied}};
        if (finding.what == zelfdb::What::different) {
            each["setting"] = finding.setting;
            each["database"] = finding.database;
            each["np"] = finding.np;
        }
        list.push_back(each);
    }
    return list;
}

json json_of(const ResyncReport& report)
{
    return {{"commands", report.commands},
            {"refused", json_of(report.refused)},
            {"skipped", json_of(report.skipped)},
            {"unmapped_ports", report.unmapped_ports},
            {"group_not_known", json_of(report.untold)},
            {"lost", json::array({"prefilter lists", "loc lists"})}};
}

json json_of(const AuditReport& report, bool fix)
{
    json document{{"entries", report.entries}, {"findings", json_of(report.findings)}};
    if (fix)
        document["fix"] = {{"commands", report.commands},
                           {"refused", json_of(report.refused)},
                           {"skipped", json_of(report.skipped)},
                           {"left", json_of(report.left)}};
    return document;
}

// ---- Text -----------------------------------------------------------------------------------------------------------------

void print_refused(const std::vector<Refusal>& refused, const std::vector<zelfdb::Object>& skipped)
{
    if (!refused.empty()) {
        Table table({{"REFUSED"}, {"COMMAND"}});
        for (const Refusal& refusal : refused) table.add({text_of(refusal.object), refusal.command});
        table.print();
    }
    if (!skipped.empty())
        std::printf("%s not sent, for what they need was refused\n",
                    counted(skipped.size(), "object", "objects").c_str());
}

// What follows from another finding is counted only.
void print_findings(const std::vector<Difference>& findings)
{
    Table table({{"FOUND"}, {"OBJECT"}, {"SETTING"}, {"DATABASE"}, {"NP"}});
    u64 implied = 0;
    for (const Difference& finding : findings) {
        if (finding.implied)
            ++implied;
        else
            table.add({told_as(finding.what), text_of(finding.object), finding.setting, finding.database, finding.np});
    }
    if (!table.empty()) table.print();
    if (implied != 0)
        std::printf("and %s missing for want of these\n", counted(implied, "object is", "objects are").c_str());
}

void print_text(const ResyncReport& report)
{
    std::printf("%s sent, %zu refused\n", counted(report.commands, "command", "commands").c_str(),
                report.refused.size());
    print_refused(report.refused, report.skipped);
    for (const zelfdb::Object& object : report.untold)
        std::printf("%s: not sent, its protocol group is not in the database\n", text_of(object).c_str());
    for (const u32 port : report.unmapped_ports)
        std::printf("port %u: not sent, the network processor has no number for it\n", port);
    std::printf("%s\n", lost_lists);
}

void print_text(const AuditReport& report, bool fix)
{
    std::printf(
        "%s asked for, %s\n", counted(report.entries, "entry", "entries").c_str(),
        report.findings.empty() ? "all agrees" : counted(report.findings.size(), "difference", "differences").c_str());
    print_findings(report.findings);
    if (!fix || report.findings.empty()) return;
    std::printf("%s sent to mend it, %zu refused; %s\n", counted(report.commands, "command", "commands").c_str(),
                report.refused.size(),
                report.left.empty() ? "all agrees now"
                                    : counted(report.left.size(), "difference left", "differences left").c_str());
    print_refused(report.refused, report.skipped);
    print_findings(report.left);
}

Descriptor open_both()
{
    if (!database_is_ready()) return nullptr;
    Descriptor descriptor(zelfdb_open_descriptor());
    if (!descriptor) complain("the database cannot be opened");
    return descriptor;
}

}  // namespace

int resync(const ResyncOptions& options)
{
    const Descriptor descriptor = open_both();
    if (!descriptor) return exit_failed;
    if (!zelfdb::softnp_is_fresh()) {
        complain("the network processor is not fresh: 'zelfctl audit --fix' sends it what it lacks");
        return exit_failed;
    }
    const ResyncReport report = zelfdb::resync(*descriptor);
    if (options.json)
        print_json(json_of(report));
    else
        print_text(report);
    return report.refused.empty() && report.untold.empty() ? exit_done : exit_failed;
}

int audit(const AuditOptions& options)
{
    const Descriptor descriptor = open_both();
    if (!descriptor) return exit_failed;
    const AuditReport report =
        zelfdb::audit(*descriptor, zelfdb::read_softnp, options.fix ? zelfdb::Fix::yes : zelfdb::Fix::no);
    if (!report.read) {
        complain("the network processor cannot be read");
        return exit_failed;
    }
    if (options.json)
        print_json(json_of(report, options.fix));
    else
        print_text(report, options.fix);
    const bool agrees = options.fix ? report.left.empty() : report.findings.empty();
    return agrees ? exit_done : exit_failed;
}

}  // namespace zelfctl
