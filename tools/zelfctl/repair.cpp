#include "repair.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "backup.h"
#include "check.h"
#include "check/repair.h"
#include "database.h"
#include "held.h"

namespace zelfctl {
namespace {

std::string name_of_touched(const zelfdb::Touched& t)
{
    using Kind = zelfdb::Touched::Kind;
    const std::string id = std::to_string(t.id);
    char mac[18];
    const auto& m = t.mac.byte;
    std::snprintf(mac, sizeof mac, "%02x:%02x:%02x:%02x:%02x:%02x", m[0], m[1], m[2], m[3], m[4], m[5]);
    switch (t.kind) {
    case Kind::port: return "port " + std::to_string(static_cast<i32>(t.id));
    case Kind::vlan: return "VLAN " + id;
    case Kind::membership: return "membership of port " + std::to_string(t.other) + " in VLAN " + id;
    case Kind::entry: return "entry " + std::string(mac) + " of FID " + id;
    case Kind::stream: return "stream " + id;
    case Kind::queue: return "queue " + id;
    case Kind::profile: return "profile " + id;
    case Kind::group: return "protocol group " + id;
    case Kind::mirror: return "mirror " + id;
    }
    return {};
}

void print_plan(const zelfdb::Repair& plan)
{
    for (const zelfdb::Deed& deed : plan.deeds) std::printf("%s\n", text_of(deed).c_str());
    if (plan.all_deeds > plan.deeds.size())
        std::printf("and %s more\n", counted(plan.all_deeds - plan.deeds.size(), "change", "changes").c_str());
}

// Small enough to be read; a database of which nothing is right is to be told anew as a whole.
constexpr std::size_t touched_told_max = 100;

void print_touched(const zelfdb::Repair& plan)
{
    for (std::size_t i = 0; i < std::min(plan.touched.size(), touched_told_max); ++i) {
        const zelfdb::Touched& touched = plan.touched[i];
        std::printf("the network processor may differ: %s, which %s\n", name_of_touched(touched).c_str(),
                    touched.exists ? "exists" : "does not exist");
    }
    if (plan.touched.size() > touched_told_max)
        std::printf("the network processor may differ in %zu more\n", plan.touched.size() - touched_told_max);
}

bool agrees(u64 drops)
{
    std::printf("Drop %s? [y/N] ", counted(drops, "object", "objects").c_str());
    std::fflush(stdout);
    std::string answer;
    std::getline(std::cin, answer);
    return answer == "y" || answer == "Y" || answer == "yes";
}

// What a person is asked takes a while, for which nobody else has to wait: the locks are given back, and then the plan must
// be the same.
bool may_be_made(const zelfdb::Repair& plan, const CheckOptions& options)
{
    if (plan.drops == 0 || options.yes) return true;
    if (isatty(STDIN_FILENO) != 1) {
        complain(counted(plan.drops, "object", "objects") +
                 " would be dropped: --yes is needed where nobody can be asked; nothing was changed");
        return false;
    }
    if (agrees(plan.drops)) return true;
    complain("nothing was changed");
    return false;
}

int cannot_repair(const zelfdb::Repair& plan)
{
    for (const zelfdb::Finding& finding : plan.before.findings) std::printf("%s\n", text_of(finding).c_str());
    complain("the database cannot be repaired: make a new one with 'zelfctl init', or restore one");
    return exit_failed;
}

int nothing_to_repair(const zelfdb::Repair& plan)
{
    std::printf("there is nothing to repair: no error, %s\n",
                counted(plan.before.notices, "notice", "notices").c_str());
    return exit_done;
}

int make(const zelfdb::Repair& plan, const Held& held, const std::string& backup)
{
    if (!write_backup(backup, held.segments())) return exit_failed;
    std::printf("the database as it was is in %s\n", backup.c_str());
    make_repair(plan, held.main(), held.fdb());
    const zelfdb::Report after = zelfdb::check(held.segments());
    if (after.errors != 0) {
        complain(counted(after.errors, "error", "errors") + " are left: see 'zelfctl check'");
        return exit_failed;
    }
    std::printf("the database is repaired: %s, %s, of which %s\n",
                counted(plan.before.errors, "error", "errors").c_str(),
                counted(plan.all_deeds, "change", "changes").c_str(),
                counted(plan.drops, "dropped something", "dropped something").c_str());
    print_touched(plan);
    return exit_done;
}

int repair(const CheckOptions& options)
{
    zelfdb::Repair shown;
    {
        const auto held = Held::take(Access::read);
        if (!held) return exit_failed;
        shown = zelfdb::plan_repair(held->segments());
    }
    if (!shown.needed()) return nothing_to_repair(shown);
    if (!shown.possible()) return cannot_repair(shown);
    print_plan(shown);
    if (!may_be_made(shown, options)) return exit_failed;

    const auto held = Held::take(Access::write);
    if (!held) return exit_failed;
    const zelfdb::Repair plan = zelfdb::plan_repair(held->segments());
    if (plan.deeds != shown.deeds || plan.all_deeds != shown.all_deeds || !plan.possible()) {
        complain("the database has changed meanwhile: try again; nothing was changed");
        return exit_failed;
    }
    return make(plan, *held, options.backup.empty() ? usual_backup_name() : options.backup);
}

int restore(const std::string& file)
{
    const auto backup = read_backup(file);
    if (!backup) return exit_failed;
    const auto held = Held::take(Access::write);
    if (!held) return exit_failed;
    const zelfdb::Segments segments = held->segments();
    if (backup->main.size() != segments.main_bytes || backup->fdb.size() != segments.fdb_bytes) {
        complain(file + ": it is of a database of another size; nothing was restored");
        return exit_failed;
    }
    std::copy(backup->main.begin(), backup->main.end(), static_cast<char*>(held->main()));
    std::copy(backup->fdb.begin(), backup->fdb.end(), static_cast<char*>(held->fdb()));
    std::printf("the database is as it was when %s was written\n", file.c_str());
    return exit_done;
}

}  // namespace

int check_or_repair(const CheckOptions& options)
{
    if (!options.restore.empty()) return restore(options.restore);
    return options.repair ? repair(options) : check_database(options.json);
}

}  // namespace zelfctl
