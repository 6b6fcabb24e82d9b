// The learning daemon's work: learn events of the network processor become entries. Keeps account of what was learned,
// moved, ignored or refused, and why.
#pragma once

#include <zelfdb/zelfdb.h>

#include <compare>
#include <map>
#include <set>
#include <string>

#include "entries.h"
#include "softnp/softnp.h"

namespace zelfctl {

enum class Learned { learned, moved, ignored, refused };

inline constexpr int learned_results = 4;

const char* text_of(Learned result);

// Events that differ in no more than their time are counted as one.
struct LearnNote {
    Learned result;
    Mac mac;
    u32 vid;
    u32 port_id;
    u32 from_port;  // of a station known elsewhere; 0 = none
    std::string reason;

    auto operator<=>(const LearnNote&) const = default;
};

struct LearnCount {
    u64 events = 0;
    u64 first = 0;  // position among all events, to list them in their order
};

class Learner {
public:
    explicit Learner(zelfdb_descriptor* descriptor) : descriptor_(descriptor) {}

    // Takes all events off the network processor's queue. False if it cannot be reached.
    bool drain();

    [[nodiscard]] u64 count(Learned result) const { return counts_[static_cast<int>(result)]; }
    [[nodiscard]] const std::map<LearnNote, LearnCount>& notes() const { return notes_; }
    [[nodiscard]] u64 events_without_note() const { return without_note_; }

private:
    void learn(const softnp_event& event);
    void note(LearnNote note);

    zelfdb_descriptor* descriptor_;
    u64 counts_[learned_results] = {};
    u64 events_ = 0;
    u64 without_note_ = 0;  // the list of notes is bounded
    std::map<LearnNote, LearnCount> notes_;
    std::set<u32> tripped_;  // ports whose breakers were seen tripped
};

}  // namespace zelfctl
