#include "trust/operations.h"

#include <cstring>

namespace zelfdb::trust {
namespace {

#define CALL(...)                                                                                    \
    []([[maybe_unused]] const u32* a, [[maybe_unused]] Tools& t, [[maybe_unused]] u32* err) -> int { \
        return __VA_ARGS__;                                                                          \
    }
#define DOES(...)                                                                                    \
    []([[maybe_unused]] const u32* a, [[maybe_unused]] Tools& t, [[maybe_unused]] u32* err) -> int { \
        __VA_ARGS__;                                                                                 \
        return 0;                                                                                    \
    }
#define CHANGES(...) []([[maybe_unused]] const u32* a, Changes& c) { __VA_ARGS__; }

using enum Frame;
using enum Word;
constexpr auto M = Lock::main;
constexpr auto MF = Lock::main_and_fdb;
constexpr auto K = Kind::value;

i32 i(u32 value) { return static_cast<i32>(value); }
u16 low(u32 value) { return static_cast<u16>(value & 0xFFFF); }

bool is(const Fil& fil, const u8* mac) { return std::memcmp(fil.mac.byte, mac, 6) == 0; }

// ---- What operations have in common --------------------------------------------------------------------------------

void learned_on(Changes& c, u32 port)
{
    c.entries([port](const Fil& fil) { return fil.fil_type == fil_dynamic && fil.port == port; });
}

void static_of_port(Changes& c, u32 port)
{
    c.entries([port](const Fil& fil) { return fil.fil_type == fil_static && fil.port == port; });
}

void entry_of_vlan(Changes& c, u32 vid, const u8* mac)
{
    if (const Vlan* const vlan = c.vlan(vid)) c.entries_of(vlan->fdb, [mac](const Fil& fil) { return is(fil, mac); });
}

void entry_of_port(Changes& c, u32 port_id, const u8* mac)
{
    if (const Port* const port = c.port(port_id))
        c.entries_of(port->fdb, [mac](const Fil& fil) { return is(fil, mac); });
}

void list_of_ports(Changes& c)
{
    c.every<&Port::port_link>();
    c.head<&Header::port_head, &Header::port_free, &Header::port_count>();
}

void list_of_vlans(Changes& c)
{
    c.every<&Vlan::vlan_link>();
    c.every<&Vlan::name_link>();
    c.head<&Header::vlan_head, &Header::vlan_free, &Header::vlan_count, &Header::vlan_name>();
}

void list_of_streams(Changes& c, u32 number)
{
    c.every<&Stream::stream_link>();
    c.head<&Header::stream_head, &Header::stream_free, &Header::stream_total>();
    c.head_at<&Header::stream_index>(number & 0xFFFF);
}

void list_of_queues(Changes& c, u32 number)
{
    c.every<&Queue::queue_link>();
    c.head<&Header::queue_head, &Header::queue_free, &Header::queue_total, &Header::free_qsize>();
    c.head_at<&Header::queue_index>(number & 0xFFFF);
}

void pvid_of(Changes& c, u32 port_id, u32 new_pvid)
{
    const Port* const port = c.port(port_id);
    if (!port) return;
    c.fields<&Port::PVID, &Port::pvid_link>(port);
    c.every<&Port::pvid_link>();
    c.head_at<&Header::pvid_chain>(port->PVID);
    c.head_at<&Header::pvid_chain>(new_pvid);
}

void membership_of(Changes& c, u32 vid, u32 port_id)
{
    Vlan* const vlan = c.vlan(vid);
    if (!vlan || !c.port(port_id)) return;
    c.record(c.membership(vid, port_id));
    c.next_free<Pv>(vlan->pv_free);
    c.fields<&Vlan::npv, &Vlan::upv, &Vlan::pv_head, &Vlan::pv_free>(vlan);
    c.fields<&Port::npv, &Port::upv, &Port::pv_head, &Port::npg, &Port::prot>(c.port(port_id));
    c.every<&Pv::vlan_link>();
    c.every<&Pv::port_link>();
}

void lines_of(Changes& c, u32 number)
{
    Classify* const profile = c.profile(number);
    if (!profile) return;
    c.fields<&Classify::naction, &Classify::action_head>(profile);
    c.head<&Header::action_free>();
    c.every<&Action::link>();
    for (const Action& action : actions_of(c.base(), *profile)) c.fields<&Action::position>(&action);
}

void class_slot(Changes& c, u32 streamno, u32 class_no)
{
    if (const Stream* const stream = c.stream(streamno); stream && class_no < class_count) {
        c.fields<&ClassSlot::queue_head>(&stream->slot[class_no]);
    }
    c.every<&Queue::stream_link>();
}

void breaker_of(Changes& c, u32 port_id)
{
    c.fields<&Port::p_flag, &Port::sldbkr_state, &Port::sldbkr_on>(c.port(port_id));
    learned_on(c, port_id);
}

void every_vlan(Changes& c, u32 vid, void (*permit)(Changes& c, Vlan* vlan))
{
    if (low(vid) != 0) return permit(c, c.vlan(vid));
    if (vid != 0) return;
    for (Vlan& vlan : walk(all_vlans, c.base(), c.header())) permit(c, &vlan);
}

// ---- Calls that need more than one expression ------------------------------------------------------------------------

int learn(const u32* a, Tools& t)
{
    const u16 type = low(a[3]);
    u8 frame[18] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    std::memcpy(frame + 6, new_station, 6);
    if (a[5] & 1) std::memcpy(frame + 6, learned_station, 6);
    frame[12] = static_cast<u8>(type >> 8);
    frame[13] = static_cast<u8>(type & 0xFF);
    frame[14] = static_cast<u8>(low(a[4]) >> 8);
    frame[15] = static_cast<u8>(a[4] & 0xFF);
    const zelfdb_learn_ind event{{0, 0}, low(a[0]), {0, 0}, a[1], i(a[2])};
    return zelfdb_add_dfil_by_learn_ind(t.d, frame, &event);
}

void learn_changes(const u32* a, Changes& c)
{
    const u8* const station = a[5] & 1 ? learned_station : new_station;
    c.entries([station](const Fil& fil) { return is(fil, station); });
    // A station that moves may be one that is seen through a loop.
    for (Vlan& vlan : walk(all_vlans, c.base(), c.header())) c.fields<&Vlan::sld_lastMsgTick, &Vlan::sld_msgcnt>(&vlan);
    breaker_of(c, low(a[0]));
    breaker_of(c, 1);
}

int set_param(const u32* a, u32* err, zelfdb_descriptor* own)
{
    const zelfdb_port_param param{low(a[5]), 0, static_cast<u8>(a[6]), static_cast<u8>(a[7]), 0, low(a[8]), low(a[9])};
    if (own) return zelfdb_set_param_to_port2(own, a[0], &param, a[1], i(a[2]), i(a[3]), i(a[4]), err);
    return zelfdb_set_param_to_port(a[0], &param, a[1], i(a[2]), i(a[3]), i(a[4]), err);
}

void set_param_changes(const u32* a, Changes& c)
{
    const u32 selector = a[3];
    Port* const port = c.port(a[0]);
    if (selector & ZELFDB_SELECT_P_FLAG) c.fields<&Port::p_flag>(port);
    if (selector & ZELFDB_SELECT_PRI) c.fields<&Port::pri>(port);
    if (selector & ZELFDB_SELECT_PHPORT) c.fields<&Port::phport>(port);
    if (selector & ZELFDB_SELECT_TAGTYPE) c.fields<&Port::tagtype>(port);
    if (selector & ZELFDB_SELECT_PVID) pvid_of(c, a[0], low(a[9]));
    if (selector & ZELFDB_SELECT_AGING) c.fields<&Port::aging>(port);
    if (selector & ZELFDB_SELECT_SLDBKR) breaker_of(c, a[0]);
}

const std::vector<Argument> param_arguments = {{"port", Kind::port, 3},
                                               {"aging", K, 60},
                                               {"sldbkr_on", K, 1},
                                               {"selector", K, 0x80FD},
                                               {"flag_mask", K, 0x3377},
                                               {"p_flag", K, 0x173},
                                               {"pri", K, 5},
                                               {"phport", K, 3},
                                               {"tagtype", K, 0x88A8},
                                               {"PVID", Kind::port_param, 99}};

int create_vlan(u32 wanted, const char* name, u32* err)
{
    i32 vid = i(wanted);
    return zelfdb_create_vlan(name, &vid, err);
}

constexpr char new_name[] = "brand new";

void create_vlan_changes(const u32*, Changes& c)
{
    c.next_free<Vlan>(c.header().vlan_free);
    list_of_vlans(c);
    c.head_at<&Header::history>(vlans_created);
    // The lowest free VID when a negative one is given; every slot that is free may be it, a taken one never.
    for (u32 vid = 1; vid <= 4094; ++vid) {
        if (!c.vlan(vid)) c.head_at<&Header::vlan_index>(vid);
    }
}

void group_row(Changes& c, u32 group)
{
    ProtGroupTable& table = c.header().prot_groups;
    for (u32 k = 0; k < table.count; ++k) {
        if (table.group[k].group == low(group)) c.record(&table.group[k]);
    }
}

int init(const u32* a)
{
    const zelfdb_counts counts{a[0], a[1], a[2]};
    return zelfdb_init(&counts);
}

void init_changes(const u32* a, Changes& c)
{
    c.everything();
    static_cast<void>(a);
}

int heap_buffer(const u32* a)
{
    zelfdb_ropebuf* const buffer = zelfdb_alloc_ropebuf(a[0], a[1]);
    zelfdb_free_ropebuf(buffer);
    return buffer != nullptr;
}

int descriptor(zelfdb_descriptor* opened)
{
    zelfdb_close_descriptor(opened);
    return opened != nullptr;
}

int close_of_open(u32 with_NP)
{
    zelfdb_close_descriptor(with_NP ? zelfdb_open_descriptor() : zelfdb_open_descriptor2());
    zelfdb_close_descriptor(nullptr);
    return 0;
}

int add_line(const u32* a, Tools& t, u32* err)
{
    auto* const line = t.as<zelfdb_classify_line>();
    line->mode = a[2];
    line->stream_id = low(a[3]);
    line->flags = a[4];
    return zelfdb_add_classify_action_to_profile(a[0], a[1], line, err);
}

int bind_profile(const u32* a, Tools& t, u32* err)
{
    u32* const words = t.words();
    std::fill_n(words, 4, a[3]);
    return zelfdb_add_classify_profile_to_pv(a[0], a[1], a[2], words, err);
}

int tosmap(const u32* a, Tools& t, u32* err)
{
    u32* const words = t.words();
    std::fill_n(words, 8, a[2]);
    std::fill_n(words + 8, 8, a[3]);
    return zelfdb_set_stream_tosmap(a[0], a[1], words, words + 8, err);
}

int cosmap(const u32* a, Tools& t, u32* err)
{
    u32* const words = t.words();
    std::fill_n(words, 8, a[2]);
    return zelfdb_set_port_cosmap(a[0], a[1], words, err);
}

zelfdb_cursor* from(Tools& t, u32 calls, u32 key)
{
    t.cursor = {calls, key};
    return &t.cursor;
}

zelfdb_fdb_cursor* fdb_from(Tools& t, u32 calls)
{
    t.fdb_cursor = {};
    t.fdb_cursor.calls = calls;
    std::memcpy(t.fdb_cursor.mac, static_station, 6);
    return &t.fdb_cursor;
}

// ---- The table -------------------------------------------------------------------------------------------------------

const std::vector<Argument> no_arguments;
const std::vector<Argument> listing_of_fdb = {
    {"capacity", Kind::capacity, 4}, {"size", Kind::listing_size, 20}, {"calls", K, 0}};

std::vector<Argument> with(Argument first, std::vector<Argument> rest)
{
    rest.insert(rest.begin(), first);
    return rest;
}
std::vector<Argument> listing(u32 size)
{
    return {{"capacity", Kind::capacity, 4}, {"size", Kind::listing_size, size}, {"calls", K, 0}, {"key", K, 1}};
}

std::vector<Row> fdb_rows()
{
    using enum Kind;
    const Argument a_vid{"vid", vid, 10};
    const Argument a_port{"port", port, 3};
    const Argument a_permit{"permit", K, 0};
    return {
        {"zelfdb_clear_fdb",
         opens,
         MF,
         absent,
         Result::status,
         {},
         no_arguments,
         CALL(zelfdb_clear_fdb()),
         CHANGES(c.entries([](const Fil& fil) { return fil.fil_type == fil_dynamic; }))},
        {"zelfdb_clear_fdb_vlan",
         opens,
         MF,
         absent,
         Result::status,
         {},
         {a_vid},
         CALL(zelfdb_clear_fdb_vlan(a[0])),
         CHANGES(if (Vlan* const named = c.vlan(a[0]))
                     c.entries_of(named->fdb, [](const Fil& fil) { return fil.fil_type == fil_dynamic; }))},
        {"zelfdb_set_fdb_userarea",
         opens_without_NP,
         M,
         preset,
         Result::status,
         {},
         {{"limit", K, 9}},
         CALL(zelfdb_set_fdb_userarea(a[0], err)),
         CHANGES(c.head<&Header::fdb_userarea>())},
        {"zelfdb_add_dfil_by_learn_ind",
         callers,
         MF,
         absent,
         Result::status,
         {},
         {{"port", any_port, 1},
          {"tick", K, 5000},
          {"cookie", cookie, 0xFFFFFFFF},
          {"type", port_param, 0x0800},
          {"tag", port_param, 10},
          {"known", K, 0}},
         CALL(learn(a, t)),
         learn_changes},
        {"zelfdb_do_aging",
         callers,
         MF,
         absent,
         Result::done,
         {},
         no_arguments,
         CALL(zelfdb_do_aging(t.d)),
         CHANGES(c.entries([](const Fil& fil) { return fil.fil_type == fil_dynamic; }))},
        {"zelfdb_create_sfil",
         opens,
         MF,
         final,
         Result::status,
         {103, 102, 2001, 2002},
         {a_vid, {"port", any_port, 3}, {"flag", K, 0}, a_permit},
         CALL(zelfdb_create_sfil(a[0], new_station, a[1], a[2], a[3], err)),
         CHANGES(entry_of_vlan(c, a[0], new_station))},
        {"zelfdb_create_sfil2",
         callers,
         MF,
         final,
         Result::status,
         {103, 102, 2001, 2002},
         {a_vid, {"port", any_port, 3}, {"flag", K, 0}, a_permit},
         // Over a learned entry, which it replaces.
         CALL(zelfdb_create_sfil2(t.d, a[0], learned_station, a[1], a[2], a[3], err)),
         CHANGES(entry_of_vlan(c, a[0], learned_station))},
        {"zelfdb_delete_sfil",
         opens,
         MF,
         final,
         Result::status,
         {103, 105, 2101, 2102},
         {a_vid, a_permit},
         CALL(zelfdb_delete_sfil(a[0], static_station, a[1], err)),
         CHANGES(entry_of_vlan(c, a[0], static_station))},
        {"zelfdb_delete_sfil2",
         callers,
         MF,
         final,
         Result::status,
         {103, 105, 2101, 2102},
         {a_vid, a_permit},
         CALL(zelfdb_delete_sfil2(t.d, a[0], static_station, a[1], err)),
         CHANGES(entry_of_vlan(c, a[0], static_station))},
        {"zelfdb_create_lfil",
         opens,
         MF,
         final,
         Result::status,
         {102, 2001, 2002},
         {a_port, {"flag", K, 0}, a_permit},
         CALL(zelfdb_create_lfil(a[0], new_station, a[1], a[2], err)),
         CHANGES(entry_of_port(c, a[0], new_station))},
        {"zelfdb_delete_lfil",
         opens,
         MF,
         final,
         Result::status,
         {102, 105, 2101, 2102},
         {{"port", port, 4}, a_permit},
         CALL(zelfdb_delete_lfil(a[0], local_station, a[1], err)),
         CHANGES(entry_of_port(c, a[0], local_station))},
        {"zelfdb_get_all_dfil",
         opens,
         MF,
         absent,
         Result::listing,
         {},
         with(a_vid, listing_of_fdb),
         CALL(zelfdb_get_all_dfil(a[0], fdb_from(t, a[3]), t.buffer)),
         nullptr},
        {"zelfdb_get_all_sfil",
         opens,
         MF,
         absent,
         Result::listing,
         {},
         with(a_vid, listing_of_fdb),
         CALL(zelfdb_get_all_sfil(a[0], fdb_from(t, a[3]), t.buffer)),
         nullptr},
        {"zelfdb_get_all_lfil",
         opens,
         MF,
         absent,
         Result::listing,
         {},
         with({"port", port, 4}, listing_of_fdb),
         CALL(zelfdb_get_all_lfil(a[0], fdb_from(t, a[3]), t.buffer)),
         nullptr},
        {"zelfdb_delete_sfil_select_port",
         opens,
         MF,
         final,
         Result::status,
         {},
         {{"port", any_port, 3}},
         CALL(zelfdb_delete_sfil_select_port(a[0], err)),
         CHANGES(static_of_port(c, a[0]))},
        {"zelfdb_delete_sfil_select_port2",
         callers,
         MF,
         absent,
         Result::done,
         {},
         {{"port", any_port, 3}},
         CALL(zelfdb_delete_sfil_select_port2(t.d, a[0])),
         CHANGES(static_of_port(c, a[0]))},
    };
}

std::vector<Row> port_rows()
{
    using enum Kind;
    const Argument a_port{"port", port, 1};
    return {
        {"zelfdb_create_port",
         opens,
         MF,
         on_failure,
         Result::status,
         {1202, 1204, 1203, 1201},
         {{"port", new_port, 5}, {"phport", phport_of_new_port, 3}, {"p_type", K, 1}},
         CALL(zelfdb_create_port(a[0], a[1], i(a[2]), err)),
         CHANGES(c.next_free<Port>(c.header().port_free); list_of_ports(c); c.every<&Port::pvid_link>();
                 c.head_at<&Header::port_index>(a[0] - 1); c.head_at<&Header::pvid_chain>(0);
                 c.head_at<&Header::history>(ports_created); c.fields<&Phport::bound>(c.phport(a[1])))},
        {"zelfdb_delete_port",
         opens,
         MF,
         on_failure,
         Result::status,
         {102, 1301, 1302},
         {{"port", port, 4}},
         CALL(zelfdb_delete_port(a[0], err)),
         CHANGES(Port* const gone = c.port(a[0]); if (!gone) return; c.record(gone); list_of_ports(c);
                 pvid_of(c, a[0], 0); c.head_at<&Header::port_index>(a[0] - 1);
                 c.head_at<&Header::history>(ports_deleted); c.fields<&Phport::bound>(c.phport(gone->phport));
                 static_of_port(c, a[0]); c.entries_of(gone->fdb, [](const Fil&) { return true; }))},
        {"zelfdb_get_phinfo",
         opens,
         M,
         on_failure,
         Result::status,
         {108},
         {{"phport", phport, 1}},
         CALL(zelfdb_get_phinfo(a[0], t.as<zelfdb_phinfo>(), err)),
         nullptr},
        {"zelfdb_set_ph_shaping",
         opens,
         M,
         on_failure,
         Result::status,
         {108},
         {{"phport", phport, 1}, {"rate", K, 1000}, {"second", K, 9}},
         CALL(zelfdb_set_ph_shaping(a[0], a[1], a[2], err)),
         CHANGES(c.fields<&Phport::shaping_rate, &Phport::shaping_param2>(c.phport(a[0])))},
        {"zelfdb_set_param_to_port",
         opens,
         MF,
         preset,
         Result::status,
         {102, 2201},
         param_arguments,
         CALL(set_param(a, err, nullptr)),
         set_param_changes},
        {"zelfdb_set_param_to_port2",
         callers,
         MF,
         preset,
         Result::status,
         {102, 2201},
         param_arguments,
         CALL(set_param(a, err, t.d)),
         set_param_changes},
        {"zelfdb_set_port_class_policing",
         opens,
         M,
         on_failure,
         Result::status,
         {102, 2203},
         {a_port, {"class", class_no, 3}, {"rate", K, 10}, {"burst", K, 20}, {"colour", colour, 1}},
         CALL(zelfdb_set_port_class_policing(a[0], i(a[1]), a[2], a[3], i(a[4]), err)),
         CHANGES(c.element<&Port::policing>(c.port(a[0]), a[1]))},
        {"zelfdb_set_port_cosmap",
         opens,
         M,
         on_failure,
         Result::status,
         {102},
         {a_port, {"valbit", K, 0xFF}, {"word", K, 7}},
         CALL(cosmap(a, t, err)),
         CHANGES(c.fields<&Port::cosmap, &Port::valbit>(c.port(a[0])))},
        {"zelfdb_set_port_bandwidth_calc_mode",
         opens,
         M,
         on_failure,
         Result::status,
         {102},
         {a_port, {"mode", K, 1}},
         CALL(zelfdb_set_port_bandwidth_calc_mode(a[0], a[1], err)),
         CHANGES(c.fields<&Port::bw_calc_mode>(c.port(a[0])))},
        {"zelfdb_set_default_class",
         opens,
         M,
         on_failure,
         Result::status,
         {102},
         {a_port, {"spno", K, 2}, {"pri", class_no, 3}, {"colour", colour, 1}},
         CALL(zelfdb_set_default_class(a[0], a[1], a[2], a[3], err)),
         CHANGES(c.fields<&Port::def_spno, &Port::def_pri, &Port::def_color>(c.port(a[0])))},
        {"zelfdb_set_port_link_frames",
         opens,
         MF,
         on_failure,
         Result::status,
         {1, 102, 2002, 2101, 2102},
         {a_port, {"n", frame_number, 3}, {"action", K, 0}},
         CALL(zelfdb_set_port_link_frames(a[0], a[1], i(a[2]), err)),
         CHANGES(const u8 group[6] = {1, 0x80, 0xC2, 0, 0, static_cast<u8>(a[1] & 0xFF)}; entry_of_port(c, a[0], group);
                 c.fields<&Port::link_frames_fwd>(c.port(a[0])))},
        {"zelfdb_enable_port",
         opens,
         M,
         on_failure,
         Result::status,
         {102, 1205},
         {a_port},
         CALL(zelfdb_enable_port(a[0], err)),
         CHANGES(c.fields<&Port::optate>(c.port(a[0])))},
        {"zelfdb_disable_port",
         opens,
         M,
         on_failure,
         Result::status,
         {102, 1304},
         {{"port", port, 3}},
         CALL(zelfdb_disable_port(a[0], err)),
         CHANGES(c.fields<&Port::optate>(c.port(a[0])))},
        {"zelfdb_notify_portstate",
         callers,
         MF,
         absent,
         Result::status,
         {},
         {a_port, {"state", K, 0}, {"flush", K, 1}},
         CALL(zelfdb_notify_portstate(t.d, a[0], a[1], i(a[2]))),
         CHANGES(learned_on(c, a[0]))},
        {"zelfdb_recover_port_sldbkr",
         opens,
         MF,
         on_failure,
         Result::refused,
         {102},
         {a_port},
         CALL(zelfdb_recover_port_sldbkr(a[0], err)),
         CHANGES(c.fields<&Port::p_flag, &Port::sldbkr_state>(c.port(a[0])); learned_on(c, a[0]))},
        {"zelfdb_set_uplink_flag",
         opens,
         M,
         on_failure,
         Result::status,
         {102, 1701},
         {a_port, {"value", K, 1}},
         CALL(zelfdb_set_uplink_flag(a[0], a[1], err)),
         CHANGES(c.fields<&Port::uplink>(c.port(a[0])))},
        {"zelfdb_set_uplink_flag2",
         callers,
         M,
         on_failure,
         Result::status,
         {102, 1701},
         {a_port, {"value", K, 1}},
         CALL(zelfdb_set_uplink_flag2(t.d, a[0], a[1], err)),
         CHANGES(c.fields<&Port::uplink>(c.port(a[0])))},
        {"zelfdb_set_link_mode",
         opens,
         M,
         on_failure,
         Result::status,
         {102},
         {a_port, {"mode", K, 2}},
         CALL(zelfdb_set_link_mode(a[0], a[1], err)),
         CHANGES(c.fields<&Port::link_mode>(c.port(a[0])))},
        {"zelfdb_set_link_depend",
         opens,
         M,
         on_failure,
         Result::status,
         {102},
         {a_port, {"depend", K, 2}, {"bits", K, 5}},
         CALL(zelfdb_set_link_depend(a[0], a[1], a[2], err)),
         CHANGES(c.fields<&Port::link_depend, &Port::link_depend_list>(c.port(a[0])))},
        {"zelfdb_get_portinfo",
         opens,
         M,
         absent,
         Result::status,
         {},
         {a_port},
         CALL(zelfdb_get_portinfo(a[0], t.as<zelfdb_port_info>())),
         nullptr},
        {"zelfdb_get_all_portinfo",
         opens,
         M,
         absent,
         Result::listing,
         {},
         listing(sizeof(zelfdb_port_info)),
         CALL(zelfdb_get_all_portinfo(from(t, a[2], a[3]), t.buffer)),
         nullptr},
        {"zelfdb_get_port_vid",
         opens,
         M,
         on_failure,
         Result::status,
         {102, 206, 1701},
         {{"port", port, 2}},
         CALL(zelfdb_get_port_vid(a[0], t.words(), err)),
         nullptr},
        {"zelfdb_get_port_vid2",
         callers,
         M,
         on_failure,
         Result::status,
         {102, 206, 1701},
         {{"port", port, 2}},
         CALL(zelfdb_get_port_vid2(t.d, a[0], t.words(), err)),
         nullptr},
        {"zelfdb_check_stream_in_port",
         opens,
         M,
         on_failure,
         Result::status,
         {102, 1303},
         {{"port", port, 2}},
         CALL(zelfdb_check_stream_in_port(a[0], err)),
         nullptr},
        {"zelfdb_display_port_data",
         opens,
         MF,
         on_failure,
         Result::status,
         {102},
         {a_port},
         CALL(zelfdb_display_port_data(a[0], err)),
         nullptr},
    };
}

std::vector<Row> vlan_rows()
{
    using enum Kind;
    const Argument a_vid{"vid", vid, 10};
    const Argument any_vid{"vid", vid_or_all, 10};
    const Argument switched{"on", K, 1};
    const Argument a_max{"max", count, 4};
    const Argument a_group{"group", group, 8};
    return {
        {"zelfdb_create_vlan",
         opens,
         MF,
         preset,
         Result::status,
         {1403, 1401, 1406, 201, 1402, 1404},
         {{"vid", new_vid, 40}},
         CALL(create_vlan(a[0], new_name, err)),
         create_vlan_changes},
        {"zelfdb_delete_vlan",
         opens,
         MF,
         preset,
         Result::status,
         {103, 1501},
         {{"vid", vid, 30}},
         CALL(zelfdb_delete_vlan(a[0], err)),
         CHANGES(Vlan* const gone = c.vlan(a[0]); if (!gone) return; c.record(gone); list_of_vlans(c);
                 c.head_at<&Header::vlan_index>(low(a[0])); c.head_at<&Header::history>(vlans_deleted);
                 c.entries_of(gone->fdb, [](const Fil&) { return true; }))},
        {"zelfdb_get_vlan_info",
         opens,
         M,
         absent,
         Result::status,
         {},
         {a_vid},
         CALL(zelfdb_get_vlan_info(a[0], t.as<zelfdb_vlan_info>())),
         nullptr},
        {"zelfdb_get_all_vlaninfo",
         opens,
         M,
         absent,
         Result::listing,
         {},
         listing(ZELFDB_VLAN_INFO_SIZE),
         CALL(zelfdb_get_all_vlaninfo(from(t, a[2], a[3]), t.buffer)),
         nullptr},
        {"zelfdb_get_vid",
         opens,
         M,
         on_failure,
         Result::status,
         {103},
         no_arguments,
         CALL(zelfdb_get_vid("ten", t.words(), err)),
         nullptr},
        {"zelfdb_get_vid2",
         callers,
         M,
         on_failure,
         Result::status,
         {103},
         no_arguments,
         CALL(zelfdb_get_vid2(t.d, "twenty %s", t.words(), err)),
         nullptr},
        {"zelfdb_get_vlanname",
         opens,
         M,
         on_failure,
         Result::status,
         {103},
         {a_vid},
         CALL(zelfdb_get_vlanname(a[0], t.as<char>(), err)),
         nullptr},
        {"zelfdb_get_vlanname2",
         callers,
         M,
         on_failure,
         Result::status,
         {103},
         {a_vid},
         CALL(zelfdb_get_vlanname2(t.d, a[0], t.as<char>(), err)),
         nullptr},
        {"zelfdb_get_portID_from_vid",
         opens,
         M,
         on_failure,
         Result::count,
         {1, 103, 1701},
         {a_max, a_vid},
         CALL(zelfdb_get_portID_from_vid(i(a[0]), a[1], t.words(), err)),
         nullptr},
        {"zelfdb_get_portID_from_vid2",
         callers,
         M,
         on_failure,
         Result::count,
         {103, 1701},
         {a_max, a_vid},
         CALL(zelfdb_get_portID_from_vid2(t.d, i(a[0]), a[1], t.words(), err)),
         nullptr},
        {"zelfdb_get_vid_from_portID2",
         callers,
         M,
         on_failure,
         Result::count,
         {102, 1701},
         {a_max, {"port", port, 1}},
         CALL(zelfdb_get_vid_from_portID2(t.d, i(a[0]), a[1], t.words(), err)),
         nullptr},
        {"zelfdb_add_port_to_vlan",
         opens,
         M,
         preset,
         Result::status,
         {103, 102, 1604, 1614, 2803, 1613, 1612, 1603, 1615, 1616, 1605},
         {{"vid", vid, 20},
          {"port", port, 4},
          {"tagged", K, 0},
          {"tagtype", K, 0x8100},
          {"by_protocol", K, 0},
          {"group", K, 8}},
         CALL(zelfdb_add_port_to_vlan(a[0], a[1], a[2], a[3], a[4], i(a[5]), err)),
         CHANGES(membership_of(c, a[0], a[1]); pvid_of(c, a[1], low(a[0]));
                 c.head_at<&Header::history>(ports_added_to_vlans))},
        {"zelfdb_rem_port_from_vlan",
         opens,
         MF,
         preset,
         Result::status,
         {103, 102, 1302, 1701, 1702},
         {{"vid", vid, 20}, {"port", port, 2}},
         CALL(zelfdb_rem_port_from_vlan(a[0], a[1], err)),
         CHANGES(membership_of(c, a[0], a[1]); pvid_of(c, a[1], 0); learned_on(c, a[1]);
                 c.head_at<&Header::history>(ports_removed_from_vlans))},
        {"zelfdb_get_all_pvinfo_in_a_port",
         opens,
         M,
         absent,
         Result::listing,
         {},
         with({"port", port, 3}, listing(sizeof(zelfdb_pv_info))),
         CALL(zelfdb_get_all_pvinfo_in_a_port(a[0], from(t, a[3], a[4]), t.buffer)),
         nullptr},
        {"zelfdb_set_vlan_sld",
         opens,
         M,
         preset,
         Result::status,
         {103},
         {any_vid, switched},
         CALL(zelfdb_set_vlan_sld(i(a[0]), a[1], err)),
         CHANGES(every_vlan(c, a[0], [](Changes& c2, Vlan* vlan) { c2.fields<&Vlan::vlan_flag>(vlan); }))},
        {"zelfdb_set_vlan_learninglimit",
         opens_without_NP,
         M,
         preset,
         Result::status,
         {103},
         {any_vid, {"limit", K, 5}},
         CALL(zelfdb_set_vlan_learninglimit(i(a[0]), a[1], err)),
         CHANGES(every_vlan(c, a[0],
                            [](Changes& c2, Vlan* vlan) {
                                if (vlan) c2.fields<&FdbHead::learnlimit>(&vlan->fdb);
                            }))},
        {"zelfdb_set_vlan_ignore_fdb",
         opens,
         M,
         preset,
         Result::status,
         {103},
         {any_vid, switched},
         CALL(zelfdb_set_vlan_ignore_fdb(a[0], a[1], err)),
         CHANGES(every_vlan(c, a[0], [](Changes& c2, Vlan* vlan) { c2.fields<&Vlan::vlan_flag>(vlan); }))},
        {"zelfdb_set_vlan_learning_off",
         opens,
         M,
         preset,
         Result::status,
         {103},
         {any_vid, switched},
         CALL(zelfdb_set_vlan_learning_off(a[0], a[1], err)),
         CHANGES(every_vlan(c, a[0], [](Changes& c2, Vlan* vlan) { c2.fields<&Vlan::vlan_flag>(vlan); }))},
        {"zelfdb_create_protgroup",
         opens,
         M,
         preset,
         Result::status,
         {2801, 2802},
         {{"group", new_group, 9}},
         CALL(zelfdb_create_protgroup(a[0], err)),
         CHANGES(c.head<&Header::prot_groups>())},
        {"zelfdb_delete_protgroup",
         opens,
         M,
         preset,
         Result::status,
         {2803, 2911},
         {a_group},
         CALL(zelfdb_delete_protgroup(a[0], err)),
         CHANGES(c.head<&Header::prot_groups>())},
        {"zelfdb_add_prot_to_group",
         opens,
         M,
         preset,
         Result::status,
         {2805, 2806, 2803, 2804},
         {{"protocol", K, 0x86DD}, a_group},
         CALL(zelfdb_add_prot_to_group(a[0], a[1], err)),
         CHANGES(group_row(c, a[1]))},
        {"zelfdb_remove_prot_from_group",
         opens,
         M,
         preset,
         Result::status,
         {2803, 2807},
         {{"protocol", K, 0x0806}, a_group},
         CALL(zelfdb_remove_prot_from_group(a[0], a[1], err)),
         CHANGES(group_row(c, a[1]))},
        {"zelfdb_get_protgroup_info",
         opens,
         M,
         preset,
         Result::status,
         {},
         no_arguments,
         CALL(zelfdb_get_protgroup_info(t.as<zelfdb_protgroup_info>(), err)),
         nullptr},
        {"zelfdb_display_vlan_data",
         opens,
         MF,
         on_failure,
         Result::status,
         {103},
         {a_vid},
         CALL(zelfdb_display_vlan_data(a[0], err)),
         nullptr},
    };
}

std::vector<Row> qos_rows()
{
    using enum Kind;
    const Argument a_queue{"queue", queue, 9};
    const Argument a_stream{"stream", stream, 1};
    const Argument a_class{"class", class_no, 1};
    const Argument a_size{"size", K, 50};
    const Argument a_length{"length", K, 900};
    return {
        {"zelfdb_create_queue",
         opens,
         M,
         on_failure,
         Result::status,
         {2301, 2303, 2302},
         {{"queue", new_queue, 10}, a_size, a_length},
         CALL(zelfdb_create_queue(a[0], i(a[1]), a[2], err)),
         CHANGES(c.next_free<Queue>(c.header().queue_free); list_of_queues(c, a[0]))},
        {"zelfdb_delete_queue",
         opens,
         M,
         on_failure,
         Result::status,
         {107},
         {a_queue},
         CALL(zelfdb_delete_queue(a[0], err)),
         CHANGES(c.record(c.queue(a[0])); list_of_queues(c, a[0]))},
        {"zelfdb_add_queue_to_stream",
         opens,
         M,
         on_failure,
         Result::status,
         {106, 107, 2351},
         {a_queue, a_stream, a_class, {"mode", K, 1}, {"pri", K, 2}, {"ratio", K, 30}},
         CALL(zelfdb_add_queue_to_stream(a[0], a[1], a[2], a[3], a[4], a[5], err)),
         CHANGES(c.fields<&Queue::streamno, &Queue::class_no, &Queue::mode, &Queue::pri, &Queue::ratio>(c.queue(a[0]));
                 class_slot(c, a[1], a[2]))},
        {"zelfdb_rem_queue_from_stream",
         opens,
         M,
         on_failure,
         Result::status,
         {106, 107, 2352},
         {{"queue", queue, 8}, a_stream, {"class", class_no, 0}},
         CALL(zelfdb_rem_queue_from_stream(a[0], a[1], a[2], err)),
         CHANGES(c.fields<&Queue::streamno, &Queue::class_no, &Queue::mode>(c.queue(a[0])); class_slot(c, a[1], a[2]))},
        {"zelfdb_set_queue_qos",
         opens,
         M,
         on_failure,
         Result::status,
         {106, 107},
         {{"queue", queue, 8}, a_stream, {"pri", K, 5}, {"ratio", K, 6}},
         CALL(zelfdb_set_queue_qos(a[0], a[1], a[2], a[3], err)),
         CHANGES(c.fields<&Queue::pri, &Queue::ratio>(c.queue(a[0])))},
        {"zelfdb_set_queue_size",
         opens,
         M,
         on_failure,
         Result::status,
         {106, 107, 2303},
         {a_queue, a_stream, a_class, a_size, a_length},
         CALL(zelfdb_set_queue_size(a[0], a[1], a[2], i(a[3]), a[4], err)),
         CHANGES(c.fields<&Queue::size, &Queue::queue_length>(c.queue(a[0])); c.head<&Header::free_qsize>())},
        {"zelfdb_get_queue_info",
         opens,
         M,
         on_failure,
         Result::status,
         {107},
         {a_queue},
         CALL(zelfdb_get_queue_info(a[0], t.words(), err)),
         nullptr},
        {"zelfdb_check_queue_in_stream",
         opens,
         M,
         on_failure,
         Result::status,
         {102, 106, 2403},
         {{"port", port, 1}, {"sno", sno_port, 3}},
         CALL(zelfdb_check_queue_in_stream(a[0], a[1], err)),
         nullptr},
        {"zelfdb_create_stream",
         opens,
         M,
         on_failure,
         Result::status,
         {2501, 2303, 2502},
         {{"stream", new_stream, 5}},
         CALL(zelfdb_create_stream(a[0], err)),
         CHANGES(c.next_free<Stream>(c.header().stream_free); list_of_streams(c, a[0]))},
        {"zelfdb_delete_stream",
         opens,
         M,
         on_failure,
         Result::status,
         {106, 2401},
         {{"stream", stream, 1023}},
         CALL(zelfdb_delete_stream(a[0], err)),
         CHANGES(c.record(c.stream(a[0])); list_of_streams(c, a[0]))},
        {"zelfdb_add_stream_to_port",
         opens,
         M,
         on_failure,
         Result::status,
         {102, 106, 2401},
         {a_stream, {"port", port, 1}, {"sno", sno_port, 2}},
         CALL(zelfdb_add_stream_to_port(a[0], a[1], a[2], err)),
         CHANGES(c.fields<&Stream::portno, &Stream::sno_port>(c.stream(a[0])); c.every<&Stream::port_link>();
                 c.fields<&Port::stream_head>(c.port(a[1])))},
        {"zelfdb_rem_stream_from_port",
         opens,
         M,
         on_failure,
         Result::status,
         {102, 106, 2402},
         {{"stream", stream, 0}, {"port", port, 1}, {"unused", K, 0}},
         CALL(zelfdb_rem_stream_from_port(a[0], a[1], a[2], err)),
         CHANGES(c.fields<&Stream::portno, &Stream::sno_port>(c.stream(a[0])); c.every<&Stream::port_link>();
                 c.fields<&Port::stream_head>(c.port(a[1])))},
        {"zelfdb_set_red_in_stream",
         opens,
         M,
         on_failure,
         Result::status,
         {106},
         {a_stream,
          a_class,
          {"colour", colour, 1},
          {"min", K, 10},
          {"min_drop", K, 20},
          {"max", K, 30},
          {"max_drop", K, 40}},
         CALL(zelfdb_set_red_in_stream(a[0], a[1], a[2], a[3], a[4], a[5], a[6], err)),
         CHANGES(if (const Stream* const named = c.stream(a[0]); named && a[1] < class_count)
                     c.element<&ClassSlot::red>(&named->slot[a[1]], a[2]))},
        {"zelfdb_set_shaping_in_stream",
         opens,
         M,
         on_failure,
         Result::status,
         {106},
         {a_stream, {"minrate", K, 1}, {"minburst", K, 2}, {"maxrate", K, 3}, {"maxburst", K, 4}},
         CALL(zelfdb_set_shaping_in_stream(a[0], a[1], a[2], a[3], a[4], err)),
         CHANGES(
             c.fields<&Stream::minrate, &Stream::minburst, &Stream::maxrate, &Stream::maxburst, &Stream::excess_rate>(
                 c.stream(a[0])))},
        {"zelfdb_set_qostype_in_stream",
         opens,
         M,
         on_failure,
         Result::status,
         {106},
         {a_stream, {"type", K, 1}, {"first", K, 2}, {"second", K, 3}},
         CALL(zelfdb_set_qostype_in_stream(a[0], a[1], a[2], a[3], err)),
         CHANGES(c.fields<&Stream::qos_type, &Stream::qos_param, &Stream::qos_param2>(c.stream(a[0])))},
        {"zelfdb_set_stream_priority",
         opens,
         M,
         on_failure,
         Result::status,
         {106},
         {a_stream, {"priority", K, 3}},
         CALL(zelfdb_set_stream_priority(a[0], a[1], err)),
         CHANGES(c.fields<&Stream::priority>(c.stream(a[0])))},
        {"zelfdb_set_stream_tosmap",
         opens,
         M,
         on_failure,
         Result::status,
         {106},
         {a_stream, {"bits", K, 0xFF}, {"value", K, 0x28}, {"mask", K, 0xFC}},
         CALL(tosmap(a, t, err)),
         CHANGES(c.fields<&Stream::tosmap_bits, &Stream::tos_value, &Stream::tos_mask>(c.stream(a[0])))},
        {"zelfdb_get_stream_info",
         opens,
         M,
         on_failure,
         Result::status,
         {106},
         {a_stream},
         CALL(zelfdb_get_stream_info(a[0], t.as<zelfdb_stream_info>(), err)),
         nullptr},
        {"zelfdb_get_all_streaminfo",
         opens,
         M,
         absent,
         Result::listing,
         {},
         listing(sizeof(zelfdb_stream_info)),
         CALL(zelfdb_get_all_streaminfo(from(t, a[2], a[3]), t.buffer)),
         nullptr},
        {"zelfdb_get_stream_busy_info",
         opens,
         M,
         on_failure,
         Result::status,
         {106},
         {{"stream", any_stream, 1}},
         CALL(zelfdb_get_stream_busy_info(a[0], t.words(), err)),
         nullptr},
        {"zelfdb_stream_shaping_rate_update",
         opens,
         M,
         on_failure,
         Result::status,
         {108},
         {{"phport", phport, 1}},
         CALL(zelfdb_stream_shaping_rate_update(a[0], err)),
         CHANGES(for (const Stream& stream
                      : walk(all_streams, c.base(), c.header())) {
             if (stream.portno == a[0]) c.fields<&Stream::actual_rate, &Stream::actual_excess>(&stream);
         })},
    };
}

std::vector<Row> classify_rows()
{
    using enum Kind;
    const Argument a_profile{"profile", profile, 1};
    return {
        {"zelfdb_create_classify_profile",
         opens,
         M,
         on_failure,
         Result::status,
         {2601, 2602},
         {{"profile", new_profile, 3}},
         CALL(zelfdb_create_classify_profile(a[0], err)),
         CHANGES(c.next_free<Classify>(c.header().classify_free); c.every<&Classify::classify_link>();
                 c.head<&Header::classify_head, &Header::classify_free>();
                 c.head_at<&Header::classify_index>(u32{low(a[0])} - 1))},
        {"zelfdb_delete_classify_profile",
         opens,
         M,
         on_failure,
         Result::status,
         {109, 2607, 2604},
         {{"profile", profile, 2}},
         CALL(zelfdb_delete_classify_profile(a[0], err)),
         CHANGES(c.record(c.profile(a[0])); c.every<&Classify::classify_link>();
                 c.head<&Header::classify_head, &Header::classify_free>();
                 c.head_at<&Header::classify_index>(u32{low(a[0])} - 1))},
        {"zelfdb_add_classify_profile_to_pv",
         opens,
         M,
         on_failure,
         Result::status,
         {102, 103, 1701, 2701, 109},
         {a_profile, {"port", port, 3}, {"vid", vid, 10}, {"word", K, 0x10002}},
         CALL(bind_profile(a, t, err)),
         CHANGES(c.fields<&Pv::classify, &Pv::classify_words>(c.membership(a[2], a[1])); c.every<&Pv::classify_link>();
                 c.fields<&Classify::pv_head>(c.profile(a[0])))},
        {"zelfdb_rem_classify_profile_from_pv",
         opens,
         M,
         on_failure,
         Result::status,
         {102, 103, 1701, 2702},
         {{"port", port, 1}, {"vid", vid, 10}},
         CALL(zelfdb_rem_classify_profile_from_pv(a[0], a[1], err)),
         CHANGES(Pv* const pv = c.membership(a[1], a[0]); if (!pv) return;
                 c.fields<&Pv::classify, &Pv::classify_words>(pv); c.every<&Pv::classify_link>();
                 c.fields<&Classify::pv_head>(c.profile(pv->classify)))},
        {"zelfdb_add_classify_action_to_profile",
         opens,
         M,
         on_failure,
         Result::status,
         {109, 2603},
         {a_profile, {"line", line_no, 2}, {"mode", K, 1}, {"target", K, 2}, {"flags", K, 3}},
         CALL(add_line(a, t, err)),
         CHANGES(if (!c.profile(a[0])) return; c.next_free<Action>(c.header().action_free); lines_of(c, a[0]))},
        {"zelfdb_rem_classify_action_from_profile",
         opens,
         M,
         on_failure,
         Result::status,
         {109, 110},
         {a_profile, {"line", line_no, 2}},
         CALL(zelfdb_rem_classify_action_from_profile(a[0], a[1], err)),
         CHANGES(lines_of(c, a[0]))},
        {"zelfdb_rem_classify_all_from_profile",
         opens,
         M,
         on_failure,
         Result::status,
         {109},
         {a_profile},
         CALL(zelfdb_rem_classify_all_from_profile(a[0], err)),
         CHANGES(lines_of(c, a[0]))},
        {"linedata_to_param_prefilter",
         callers,
         M,
         absent,
         Result::sent,
         {},
         {{"list", K, 1}, {"index", list_index, 0}, {"action", K, 1}},
         CALL(linedata_to_param_prefilter(t.d, a[0], i(a[1]), t.as<char>(), a[2])),
         nullptr},
        {"linedata_to_param_loc",
         callers,
         M,
         absent,
         Result::sent,
         {},
         {{"list", K, 1}, {"index", list_index, 0}, {"action", K, 1}},
         CALL(linedata_to_param_loc(t.d, a[0], i(a[1]), t.as<char>(), a[2])),
         nullptr},
        {"zelfdb_disp_classify",
         opens,
         M,
         on_failure,
         Result::status,
         {109},
         {{"profile", profile_or_all, 1}},
         CALL(zelfdb_disp_classify(a[0], err)),
         nullptr},
    };
}

std::vector<Row> mirror_rows()
{
    using enum Kind;
    const Argument a_mirror{"id", mirror, 2};
    return {
        {"zelfdb_create_mirror",
         opens,
         M,
         preset,
         Result::status,
         {2901, 2902},
         {{"id", new_mirror, 4}},
         CALL(zelfdb_create_mirror(a[0], err)),
         CHANGES(c.record(c.mirror(a[0])))},
        {"zelfdb_delete_mirror",
         opens,
         M,
         preset,
         Result::status,
         {2901, 2903, 2907},
         {a_mirror},
         CALL(zelfdb_delete_mirror(a[0], err)),
         CHANGES(c.fields<&Mirror::state>(c.mirror(a[0])))},
        {"zelfdb_set_mirror_source",
         opens,
         M,
         preset,
         Result::status,
         {2901, 2903, 2910},
         {a_mirror, {"kind", K, 1}, {"port", any_port, 1}, {"vid", K, 10}},
         CALL(zelfdb_set_mirror_source(a[0], a[1], a[2], a[3], err)),
         CHANGES(c.fields<&Mirror::source_kind, &Mirror::source_port, &Mirror::source_VID>(c.mirror(a[0])))},
        {"zelfdb_set_mirror_dest",
         opens,
         M,
         preset,
         Result::status,
         {2901, 2903, 2910},
         {a_mirror, {"port", any_port, 4}},
         CALL(zelfdb_set_mirror_dest(a[0], a[1], err)),
         CHANGES(c.fields<&Mirror::dest_port>(c.mirror(a[0])))},
        {"zelfdb_set_mirror_classify",
         opens,
         M,
         preset,
         Result::status,
         {2901, 2903},
         {a_mirror, {"class", class_no, 3}, {"second", K, 4}, {"colour", colour, 2}},
         CALL(zelfdb_set_mirror_classify(a[0], a[1], a[2], a[3], err)),
         CHANGES(
             c.fields<&Mirror::classify_class, &Mirror::classify_second, &Mirror::classify_colour>(c.mirror(a[0])))},
        {"zelfdb_set_mirror_tag",
         opens,
         M,
         preset,
         Result::status,
         {2901, 2903},
         {a_mirror, {"on", K, 1}, {"tagtype", K, 0x88A8}, {"vid", K, 99}},
         CALL(zelfdb_set_mirror_tag(a[0], a[1], a[2], a[3], err)),
         CHANGES(c.fields<&Mirror::tag_on, &Mirror::tag_tagtype, &Mirror::tag_VID>(c.mirror(a[0])))},
        {"zelfdb_enable_mirror",
         opens,
         M,
         preset,
         Result::status,
         {2901, 2903, 2908, 2904, 2905, 2906},
         {a_mirror},
         CALL(zelfdb_enable_mirror(i(a[0]), err)),
         CHANGES(c.fields<&Mirror::state>(c.mirror(a[0])))},
        {"zelfdb_disable_mirror",
         opens,
         M,
         preset,
         Result::status,
         {2901, 2903, 2909},
         {{"id", mirror, 1}},
         CALL(zelfdb_disable_mirror(a[0], err)),
         CHANGES(c.fields<&Mirror::state>(c.mirror(a[0])))},
    };
}

#define REPLAY(name, lock)                                                                                \
    {                                                                                                     \
#name, opens, lock, absent, Result::status, {}, no_arguments, CALL(name("%n ", " %s\n")), nullptr \
    }

std::vector<Row> other_rows()
{
    using enum Kind;
    return {
        {"zelfdb_init",
         Frame::none,
         M,
         absent,
         Result::status,
         {},
         {{"ports", nport, 8}, {"vlans", nvlan, 6}, {"entries", nfil, 64}},
         CALL(init(a)),
         init_changes},
        {"zelfdb_open_descriptor",
         opens,
         M,
         absent,
         Result::handle,
         {},
         no_arguments,
         CALL(descriptor(zelfdb_open_descriptor())),
         nullptr},
        {"zelfdb_open_descriptor2",
         opens_without_NP,
         M,
         absent,
         Result::handle,
         {},
         no_arguments,
         CALL(descriptor(zelfdb_open_descriptor2())),
         nullptr},
        {"zelfdb_close_descriptor",
         Frame::none,
         M,
         absent,
         Result::nothing,
         {},
         {{"with NP", K, 1}},
         CALL(close_of_open(a[0])),
         nullptr},
        {"zelfdb_get_summary",
         opens,
         M,
         absent,
         Result::status,
         {},
         no_arguments,
         CALL(zelfdb_get_summary(t.as<zelfdb_summary>())),
         nullptr},
        {"zelfdb_get_history",
         opens,
         M,
         absent,
         Result::status,
         {},
         no_arguments,
         CALL(zelfdb_get_history(t.as<zelfdb_history>())),
         nullptr},
        {"zelfdb_alloc_ropebuf",
         Frame::none,
         M,
         absent,
         Result::handle,
         {},
         {{"capacity", heap_capacity, 4}, {"size", heap_size, 20}},
         CALL(heap_buffer(a)),
         nullptr},
        {"zelfdb_free_ropebuf",
         Frame::none,
         M,
         absent,
         Result::nothing,
         {},
         no_arguments,
         DOES(zelfdb_free_ropebuf(zelfdb_alloc_ropebuf(1, 20)); zelfdb_free_ropebuf(nullptr)),
         nullptr},
        REPLAY(zelfdb_reconfig_ether, M),
        REPLAY(zelfdb_reconfig_port, M),
        REPLAY(zelfdb_reconfig_stream, M),
        REPLAY(zelfdb_reconfig_protgroup, M),
        REPLAY(zelfdb_reconfig_vlan, M),
        REPLAY(zelfdb_reconfig_classify, M),
        REPLAY(zelfdb_reconfig_sfil, MF),
        REPLAY(zelfdb_reconfig_lfil, MF),
        REPLAY(zelfdb_reconfig_mirror, M),
    };
}

#undef REPLAY
#undef CHANGES
#undef DOES
#undef CALL

}  // namespace

const std::vector<Row>& rows()
{
    static const std::vector<Row> all = [] {
        std::vector<Row> joined;
        for (auto part : {fdb_rows, port_rows, vlan_rows, qos_rows, classify_rows, mirror_rows, other_rows}) {
            for (Row& row : part()) joined.push_back(std::move(row));
        }
        return joined;
    }();
    return all;
}

}  // namespace zelfdb::trust
