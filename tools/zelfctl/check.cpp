#include "check.h"

#include <cstdio>
#include <optional>

#include "check/check.h"
#include "database.h"
#include "held.h"
#include "json_output.h"

namespace zelfctl {
namespace {

using nlohmann::json;

// Nothing after a message.
std::optional<zelfdb::Report> check_under_both_locks()
{
    const auto held = Held::take(Access::read);
    if (!held) return std::nullopt;
    return zelfdb::check(held->segments());
}

void print_text(const zelfdb::Report& report)
{
    for (const zelfdb::Finding& finding : report.findings) std::printf("%s\n", text_of(finding).c_str());
    if (report.clean()) {
        std::printf("the database is clean\n");
        return;
    }
    std::printf("%s, %s", counted(report.errors, "error", "errors").c_str(),
                counted(report.notices, "notice", "notices").c_str());
    if (report.errors + report.notices > report.findings.size())
        std::printf("; the first %zu are listed", report.findings.size());
    std::printf("\n");
}

void print_as_json(const zelfdb::Report& report)
{
    json findings = json::array();
    for (const zelfdb::Finding& f : report.findings) {
        findings.push_back({{"severity", name_of(f.severity)},
                            {"object", f.object},
                            {"segment", name_of(f.segment)},
                            {"offset", f.offset},
                            {"field", f.field},
                            {"found", f.found},
                            {"expected", f.expected},
                            {"rule", f.rule}});
    }
    print_json({{"errors", report.errors}, {"notices", report.notices}, {"findings", findings}});
}

}  // namespace

int check_database(bool as_json)
{
    const auto report = check_under_both_locks();
    if (!report) return exit_failed;
    if (as_json)
        print_as_json(*report);
    else
        print_text(*report);
    if (report->errors != 0) return exit_errors;
    return report->notices != 0 ? exit_notices : exit_done;
}

bool is_sound(const zelfdb::Report& report)
{
    if (report.errors == 0) return true;
    complain(counted(report.errors, "error", "errors") + " in the database: see 'zelfctl check'");
    return false;
}

bool database_is_sound()
{
    const auto report = check_under_both_locks();
    return report && is_sound(*report);
}

}  // namespace zelfctl
