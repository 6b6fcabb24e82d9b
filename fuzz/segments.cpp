// The check and the repair of segments of any bytes. Both end and read nothing outside the segments; a repair that is needed
// is possible wherever the segments are as long as their header says, and leaves a database without an error.
//
// The input is a list of edits of a database that has something of everything. An edit is a byte that says what it is, and
// its numbers.
#include <memory>

#include "check/repair.h"
#include "input.h"
#include "site.h"

namespace {

using namespace fuzz;

void done(int result, u32 code)
{
    if (result != 0) found("the database to damage cannot be made: code %u", code);
}

// As daemons would make it, but for the two learned entries' indications, which no NP has sent.
void furnish(Descriptor& d)
{
    u32 err = 0;
    done(zelfdb_create_port(1, 2, ZELFDB_PORT_ETHER, &err), err);
    done(zelfdb_create_port(3, 0, ZELFDB_PORT_NONE, &err), err);
    done(zelfdb_create_port(7, 0, ZELFDB_PORT_VIF, &err), err);
    done(zelfdb_create_port(300, 0, ZELFDB_PORT_NONE, &err), err);  // no look-up finds it
    for (const u32 group : {5u, 6u}) done(zelfdb_create_protgroup(group, &err), err);
    for (const u32 protocol : {0x0800u, 0x0806u}) done(zelfdb_add_prot_to_group(protocol, 5, &err), err);
    done(zelfdb_add_prot_to_group(0x86DD, 6, &err), err);
    i32 vid = 10;
    done(zelfdb_create_vlan("sales", &vid, &err), err);
    done(zelfdb_create_vlan("ab", &(vid = 20), &err), err);
    done(zelfdb_create_vlan("ba", &(vid = 30), &err), err);
    done(zelfdb_add_port_to_vlan(10, 1, 0, 0x8100, 0, 0, &err), err);
    done(zelfdb_add_port_to_vlan(10, 3, 0, 0x8100, 0, 0, &err), err);
    done(zelfdb_add_port_to_vlan(20, 1, 1, 0x8100, 0, 0, &err), err);
    done(zelfdb_add_port_to_vlan(20, 7, 0, 0x8100, 0, 0, &err), err);
    done(zelfdb_add_port_to_vlan(30, 3, 0, 0x8100, 1, 5, &err), err);

    const u8 stations[][6] = {{2, 0, 0, 0, 0, 1}, {2, 0, 0, 0, 0, 2}, {2, 0, 0, 0, 0, 0x21}};
    done(zelfdb_create_sfil(10, stations[0], 1, 0, 0, &err), err);
    done(zelfdb_create_sfil(10, stations[1], 3, 0, ZELFDB_FIL_SYSTEM, &err), err);
    done(zelfdb_create_lfil(1, stations[2], 0, 0, &err), err);
    done(zelfdb_enable_port(1, &err), err);
    const u8 frames[][18] = {{255, 255, 255, 255, 255, 255, 2, 0, 0, 0, 0, 0x11, 8, 0},   // one bucket
                             {255, 255, 255, 255, 255, 255, 2, 0, 0, 0, 0x10, 1, 8, 0}};  // for both
    zelfdb_learn_ind indication{};
    indication.port = 1;
    indication.cookie = -1;
    for (const auto& frame : frames) done(zelfdb_add_dfil_by_learn_ind(&d, frame, &indication), 0);

    for (const u32 number : {7u, 8u, 9u}) done(zelfdb_create_stream(number, &err), err);
    done(zelfdb_add_stream_to_port(7, 3, 1, &err), err);
    done(zelfdb_add_stream_to_port(9, 3, 2, &err), err);
    for (const u32 number : {56u, 57u, 58u, 59u}) done(zelfdb_create_queue(number, 16, 16384, &err), err);
    done(zelfdb_add_queue_to_stream(57, 7, 2, 1, 2, 3, &err), err);
    done(zelfdb_add_queue_to_stream(56, 7, 2, 1, 2, 3, &err), err);
    done(zelfdb_add_queue_to_stream(58, 9, 0, 1, 2, 3, &err), err);

    done(zelfdb_create_classify_profile(4, &err), err);
    const zelfdb_classify_line line{};
    for (int i = 0; i < 3; ++i) done(zelfdb_add_classify_action_to_profile(4, 0, &line, &err), err);
    done(zelfdb_create_classify_profile(9, &err), err);
    const u32 words[4] = {1, 2, 3, 4};
    done(zelfdb_add_classify_profile_to_pv(4, 1, 20, words, &err), err);
    done(zelfdb_add_classify_profile_to_pv(4, 3, 10, words, &err), err);

    done(zelfdb_create_mirror(2, &err), err);
    done(zelfdb_set_mirror_source(2, 3, 1, 0, &err), err);
    done(zelfdb_set_mirror_dest(2, 7, &err), err);
    done(zelfdb_enable_mirror(2, &err), err);
}

// A database in memory, of exactly as many bytes as it says.
struct Bytes {
    std::vector<u8> main;
    std::vector<u8> fdb;

    [[nodiscard]] Segments segments() const { return {main.data(), main.size(), fdb.data(), fdb.size()}; }
};

// One place where a record lies: the header, records that are in use, and some that are free.
struct Place {
    u32 at;
    u32 bytes;
};

struct Furnished {
    Bytes bytes;
    std::vector<Place> places;
};

void add_places(std::vector<Place>& places, u64 first, std::size_t record_bytes, std::initializer_list<u32> numbers)
{
    for (const u32 number : numbers)
        places.push_back({static_cast<u32>(first + u64{number} * record_bytes), static_cast<u32>(record_bytes)});
}

const Furnished& furnished()
{
    static const Furnished made = [] {
        Site site({8, 6, 32});
        furnish(site.descriptor());
        site.expect_sound("furnishing it");
        Furnished all{{{site.main(), site.main() + site.main_bytes()}, {site.fdb(), site.fdb() + site.fdb_bytes()}},
                      {}};
        // A pool hands out its highest record first.
        const Layout layout = layout_of(8, 6, 32);
        add_places(all.places, 0, sizeof(Header), {0});
        add_places(all.places, layout.port, sizeof(Port), {7, 6, 5, 4, 3, 0});
        add_places(all.places, layout.vlan, sizeof(VlanSlot), {5, 4, 3, 2, 0});
        add_places(all.places, layout.stream, sizeof(Stream), {1023, 1022, 1021, 1020, 0});
        add_places(all.places, layout.queue, sizeof(Queue), {8191, 8190, 8189, 8188, 8187, 0});
        add_places(all.places, layout.phport, sizeof(Phport), {0, 1, 2, 3});
        add_places(all.places, layout.classify, sizeof(Classify), {63, 62, 61, 0});
        add_places(all.places, layout.action, sizeof(Action), {16383, 16382, 16381, 16380, 0});
        return all;
    }();
    return made;
}

void put(std::vector<u8>& bytes, std::size_t at, u32 word)
{
    if (at + sizeof word <= bytes.size()) std::memcpy(bytes.data() + at, &word, sizeof word);
}

u32 word_at(const std::vector<u8>& bytes, std::size_t at)
{
    u32 word = 0;
    if (at + sizeof word <= bytes.size()) std::memcpy(&word, bytes.data() + at, sizeof word);
    return word;
}

// A word of a record.
u32 field(Input& input, const std::vector<Place>& places)
{
    const Place& place = places[input.below(static_cast<u32>(places.size()))];
    return place.at + input.half() * 4u % place.bytes;
}

// Links lead to records or nowhere, counters count a few, and anything may be anything.
u32 value(Input& input, const Bytes& bytes)
{
    const auto& places = furnished().places;
    switch (input.below(7)) {
    case 0: return places[input.below(static_cast<u32>(places.size()))].at;
    case 1: return none.value;
    case 2: return word_at(bytes.main, field(input, places));
    case 3: return input.byte();
    case 4: return input.below(32) * static_cast<u32>(sizeof(Fil));
    // The memberships behind a VLAN.
    case 5: {
        const u32 vlan_at = places[7 + input.below(5)].at;
        return vlan_at + static_cast<u32>(sizeof(Vlan) + input.below(9) * sizeof(Pv));
    }
    default: return input.word();
    }
}

void shorten(std::vector<u8>& bytes, u32 by) { bytes.resize(bytes.size() - std::min<std::size_t>(by, bytes.size())); }

void edit(Input& input, Bytes& bytes)
{
    const auto& places = furnished().places;
    switch (input.below(8)) {
    case 0: {
        const std::size_t at = input.word() % (bytes.main.size() + 1) / sizeof(u32) * sizeof(u32);
        put(bytes.main, at, value(input, bytes));
        break;
    }
    case 1:
    case 2: {
        const std::size_t at = field(input, places);
        put(bytes.main, at, value(input, bytes));
        break;
    }
    case 3: {
        const std::size_t at = input.half() % (bytes.fdb.size() + 1) / sizeof(u32) * sizeof(u32);
        put(bytes.fdb, at, value(input, bytes));
        break;
    }
    case 4: {  // one byte everywhere in a part
        const auto first = std::min<std::size_t>(input.word(), bytes.main.size());
        const auto count = std::min<std::size_t>(input.word(), bytes.main.size() - first);
        std::fill_n(bytes.main.begin() + static_cast<std::ptrdiff_t>(first), count, input.byte());
        break;
    }
    case 5: {  // a part of a record, of the input's own bytes
        const auto first = std::min<std::size_t>(field(input, places), bytes.main.size());
        const auto count = std::min<std::size_t>(input.byte(), bytes.main.size() - first);
        input.copy(bytes.main.data() + first, count);
        break;
    }
    case 6: {
        const auto count = std::min<std::size_t>(input.byte(), bytes.fdb.size());
        input.copy(bytes.fdb.data() + (bytes.fdb.size() - count), count);
        break;
    }
    default:
        if (input.below(8) != 0) break;  // too little for anything else to matter
        if (input.flag()) {
            shorten(bytes.main, input.word());
        } else {
            shorten(bytes.fdb, input.byte());
        }
    }
}

// Whether the segments have the bytes that the header's counts ask for.
bool is_whole(const Bytes& bytes)
{
    if (bytes.main.size() < sizeof(Header)) return false;
    const u32 nfil = word_at(bytes.main, offsetof(Header, nfil));
    const u64 end =
        layout_of(word_at(bytes.main, offsetof(Header, nport)), word_at(bytes.main, offsetof(Header, nvlan)), nfil).end;
    return end <= bytes.main.size() && u64{nfil} * sizeof(Fil) <= bytes.fdb.size();
}

// A check is most of the work, so it is made where a repair is planned: once before it, once of what is planned, and once of
// what was made.
void try_repair(Bytes& bytes)
{
    const Bytes before = bytes;
    const Repair repair = plan_repair(bytes.segments());
    if (before.main != bytes.main || before.fdb != bytes.fdb) found("planning a repair changed the segments");
    if (repair.possible() != (repair.needed() && is_whole(bytes)))
        found("a repair is %spossible: %llu errors, then %llu", repair.possible() ? "" : "not ",
              static_cast<unsigned long long>(repair.before.errors),
              static_cast<unsigned long long>(repair.after.errors));
    if (!repair.possible()) return;
    make_repair(repair, bytes.main.data(), bytes.fdb.data());
    const Repair again = plan_repair(bytes.segments());
    if (again.needed()) found("repaired, and yet: %s", text_of(again.before.findings.front()).c_str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size)
{
    constexpr u32 edits_max = 64;
    Bytes bytes = furnished().bytes;
    Input input(data, size);
    for (u32 i = 0; i < edits_max && !input.has_ended(); ++i) edit(input, bytes);
    try_repair(bytes);
    return 0;
}
