// A small switch for targets that feed frames: a database and the software NP, both made anew for each input.
#pragma once

#include "site.h"
#include "softnp/softnp.h"

namespace fuzz {

class Switch {
public:
    Switch();

    // Ports 1 to 4 and 101; VLANs 10 "office", 20 "lab" and, by protocol, 30 "arp"; some entries, limits and a stream.
    void make_anew();

    // What the learning daemon does: all events that the NP has become learned stations, or not.
    void learn_all();
    // One indication, whoever says so, with no byte more of a frame than the operation asks for.
    void learn(const u8 (&header)[16], const zelfdb_learn_ind& indication);

    // The check finds no error, and what was learned can have been: on a port of the switch, from a station of its own.
    void expect_sound(const char* after);
    // The NP has as many entries as the database. Only as long as nothing was refused.
    void expect_same_entries();

    [[nodiscard]] Descriptor& descriptor() const { return site_.descriptor(); }

    static constexpr u32 ports[] = {1, 2, 3, 4, 101};
    static constexpr u32 vids[] = {10, 20, 30};
    static constexpr u32 nfil = 24;  // few, so that they run out

private:
    u32 expect_possible_entries(u32 vid);

    Site site_;
};

}  // namespace fuzz
