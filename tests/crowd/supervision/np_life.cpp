#include "crowd/supervision/np_life.h"

#include <algorithm>
#include <cstdio>
#include <memory>

#include "resync/resync_test.h"
#include "softnp/softnp.h"

namespace crowd {
namespace {

using Opened = std::unique_ptr<Descriptor, void (*)(Descriptor*)>;

Opened open() { return {open_descriptor(), close_descriptor}; }

std::string joined(const std::set<Object>& objects)
{
    std::string text;
    for (const Object& object : objects) text += "\n  " + text_of(object);
    return text;
}

struct Death {
    const char* name;
    bool another_np;  // comes back: sessions with the old one are of no use
    void (*happen)();
};

void lose_everything() { softnp_reset(); }

constexpr Death ways_to_die[] = {
    {"loses everything", false, lose_everything},
    {"is replaced", true, [] { softnp_remove_device(); }},
    {"delivers nothing", false, [] { softnp_refuse("*", 0, SOFTNP_REFUSE_DELIVERY, 0); }},
    {"refuses everything", false, [] { softnp_refuse("*", 0, SOFTNP_REFUSE_STATUS, 0); }},
    {"loses everything and is long in coming up", true,
     [] {
         softnp_reset();
         softnp_refuse_init(12);
     }},
};

}  // namespace

void NpLife::count_lock_owner_deaths()
{
    softnp_device_counters counters{};
    if (softnp_get_device_counters(&counters) == 0) figures_.lock_owner_deaths += counters.owner_deaths;
}

void NpLife::die()
{
    count_lock_owner_deaths();
    const Death& death = ways_to_die[random_.below(std::size(ways_to_die))];
    ++figures_.deaths[death.name];
    death.happen();
    if (death.another_np) crowd_.change_the_np();
    is_dead_ = true;
}

void NpLife::revive()
{
    softnp_clear_refusals();
    is_dead_ = false;
}

// Told all, it refuses what it heard of meanwhile; the audit then finds what differs in that, and mends it.
void NpLife::come_back()
{
    if (!is_dead_) return;
    revive();
    const Opened d = open();
    if (!d) return failures_.push_back("no session with the NP that came back");
    const ResyncReport told = resync(*d);
    const AuditReport mended = audit(*d, read_softnp, Fix::yes);
    figures_.commands += told.commands + mended.commands;
    figures_.findings += mended.findings.size();
    figures_.left += mended.left.size();
    if (!mended.read) failures_.emplace_back("the NP's state could not be read");
    const std::set<Object> refused = named(mended.refused);
    for (const Difference& left : mended.left) {
        // Of a membership by protocol without its group the audit knows no command to send.
        const bool may_be = left.implied || refused.count(left.object) != 0 || left.object.kind == ObjectKind::member ||
                            left.object.kind == ObjectKind::binding;
        if (!may_be) failures_.push_back("after an audit: " + text_of(left));
    }
}

void NpLife::go_on()
{
    if (Clock::now() < next_) return;
    if (is_dead_) {
        come_back();
        next_ = Clock::now() + std::chrono::milliseconds(50 + random_.below(200));
    } else {
        die();
        next_ = Clock::now() + std::chrono::milliseconds(10 + random_.below(80));
    }
}

void NpLife::expect_all_of_the_database_in_a_new_np()
{
    revive();
    count_lock_owner_deaths();
    softnp_reset();
    const Opened d = open();
    if (!d) return failures_.push_back("no session with the new NP");
    const ResyncReport told = resync(*d);
    figures_.commands += told.commands;
    std::set<Object> lacking = named(told.refused);
    lacking.insert(told.untold.begin(), told.untold.end());
    const AuditReport found = audit(*d, read_softnp, Fix::no);
    if (!found.read) failures_.emplace_back("the new NP's state could not be read");
    if (named(found.findings) != lacking)
        failures_.push_back("a new NP was told all, refused" + joined(lacking) + "\nand lacks" +
                            joined(named(found.findings)));
}

u64 NpLife::deaths() const
{
    u64 all = 0;
    for (const auto& [what, times] : figures_.deaths) all += times;
    return all;
}

void NpLife::print() const
{
    for (const auto& [what, times] : figures_.deaths)
        std::printf("the NP %s: %llu times\n", what.c_str(), static_cast<unsigned long long>(times));
    std::printf(
        "%llu commands of resyncs and audits, %llu findings mended at work, %llu refused; "
        "%llu deaths in the device's lock\n",
        static_cast<unsigned long long>(figures_.commands), static_cast<unsigned long long>(figures_.findings),
        static_cast<unsigned long long>(figures_.left), static_cast<unsigned long long>(figures_.lock_owner_deaths));
}

}  // namespace crowd
