#include "support/recorder.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <set>

#include "core/descriptor.h"
#include "support/environment.h"
#include "zelfdb/vf.h"

// Commands are kept here for good, so that the ones which the library keeps on purpose are no leaks.
struct vf_cmd {
    u_int8_t head[8];
    int16_t status;
    int16_t pad;
    std::string kind;
    std::string text;
    std::vector<vf_cmd*> joined;
    uint8_t mac[6];
    bool freed;
};

struct vf_handle {
    uint8_t bytes[16];
};

// As a library of its own, without the environment, the recorder does not know.
namespace environment {
[[gnu::weak]] std::vector<SemaphoreMove>& semaphore_moves();
}

namespace recorder {
namespace {

// By what was done last with its semaphore.
bool main_lock_is_held()
{
    if (&environment::semaphore_moves == nullptr) return true;
    const std::vector<environment::SemaphoreMove>& moves = environment::semaphore_moves();
    const auto last =
        std::find_if(moves.rbegin(), moves.rend(), [](const auto& move) { return move.key == zelfdb::main_key; });
    return last != moves.rend() && last->by == -1;
}

struct Find {
    u32 status = 1;
    u32 current = 0;
    u32 last_hit = 0;
};

struct Scripted {
    std::string kind;
    Failure how;
    u32 countdown;
    u32 times;
};

struct State {
    std::vector<std::string> log;
    std::vector<Scripted> script;
    bool all_fail = false;
    Failure all_how = Failure::status;
    int add = 0;
    int remove = 0;
    int err = 0;
    Find find;
    std::map<std::string, Find> find_for;
    int stream_info_result = 0;
    std::vector<u32> stream_info = std::vector<u32>(18);
    int stream_busy_result = 0;
    std::vector<u32> stream_busy = std::vector<u32>(3);
    u32 failing_builders = 0;
    u32 failing_inits = 0;
    u32 inits = 0;
    u32 releases = 0;
    u32 err_reads = 0;
    u32 built = 0;
    u32 freed = 0;
    u32 null_handles = 0;
    u32 without_lock = 0;
};

State& state()
{
    static State s;
    return s;
}

std::vector<std::unique_ptr<vf_cmd>>& commands()
{
    static std::vector<std::unique_ptr<vf_cmd>> all;
    return all;
}

std::vector<std::unique_ptr<vf_handle>>& handles()
{
    static std::vector<std::unique_ptr<vf_handle>> all;
    return all;
}

std::string mac_text(const uint8_t* mac)
{
    char text[18];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    return text;
}

std::string text_of(u32 number)
{
    char text[16];
    std::snprintf(text, sizeof text, number <= 9 ? "%u" : "0x%x", number);
    return text;
}

std::string text_of(const std::string& text) { return text; }

std::string block(const void* bytes, std::size_t size)
{
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<const uint8_t*>(bytes)[i]);
        text += digits;
    }
    return text;
}

std::string words(const uint32_t* values, std::size_t count)
{
    std::string text = "[";
    for (std::size_t i = 0; i < count; ++i) text += (i ? " " : "") + text_of(values[i]);
    return text + "]";
}

template <class... Arguments>
vf_cmd* make(const char* kind, Arguments... arguments)
{
    if (state().failing_builders != 0) {
        --state().failing_builders;
        return nullptr;
    }
    auto command = std::make_unique<vf_cmd>();
    command->kind = kind;
    std::string text;
    ((text += (text.empty() ? "" : ", ") + text_of(arguments)), ...);
    command->text = std::string(kind) + "(" + text + ")";
    ++state().built;
    commands().push_back(std::move(command));
    return commands().back().get();
}

// Whether a scripted failure falls on this command.
bool scripted(const std::string& kind, Failure& how)
{
    if (state().all_fail) {
        how = state().all_how;
        return true;
    }
    bool hit = false;
    for (Scripted& entry : state().script) {
        if (entry.times == 0 || (!entry.kind.empty() && entry.kind != kind)) continue;
        if (entry.countdown > 1) {
            --entry.countdown;
            continue;
        }
        --entry.times;
        how = entry.how;
        hit = true;
    }
    return hit;
}

}  // namespace

void reset() { state() = State{}; }
std::vector<std::string>& log() { return state().log; }

std::vector<std::string> log_of(const std::string& kind)
{
    std::vector<std::string> lines;
    for (const std::string& line : state().log) {
        if (line.compare(0, kind.size() + 1, kind + "(") == 0) lines.push_back(line);
    }
    return lines;
}

void fail(const std::string& kind, Failure how, u32 nth, u32 times)
{
    state().script.push_back({kind, how, nth, times});
}
void fail_always(Failure how)
{
    state().all_fail = true;
    state().all_how = how;
}
void answer_add(int result) { state().add = result; }
void answer_remove(int result) { state().remove = result; }
void answer_err(int number) { state().err = number; }
void answer_find(u32 status, u32 current, u32 last_hit) { state().find = {status, current, last_hit}; }
void answer_find_for(const u8 mac[6], u32 status, u32 current, u32 last_hit)
{
    state().find_for[mac_text(mac)] = {status, current, last_hit};
}
void answer_stream_info(int result, const std::vector<u32>& answer)
{
    state().stream_info_result = result;
    state().stream_info = answer;
}
void answer_stream_busy(int result, const std::vector<u32>& answer)
{
    state().stream_busy_result = result;
    state().stream_busy = answer;
}
void fail_builders(u32 times) { state().failing_builders = times; }
void fail_init(u32 times) { state().failing_inits = times; }
u32 init_calls() { return state().inits; }
u32 release_calls() { return state().releases; }
u32 err_reads() { return state().err_reads; }
u32 commands_built() { return state().built; }
u32 commands_not_freed() { return state().built - state().freed; }
u32 calls_with_null_handle() { return state().null_handles; }
u32 calls_without_the_main_lock() { return state().without_lock; }
const u8* last_handle() { return handles().back()->bytes; }

}  // namespace recorder

using namespace recorder;

vf_handle* vf_init(void)
{
    ++state().inits;
    if (state().failing_inits != 0) {
        --state().failing_inits;
        return nullptr;
    }
    auto handle = std::make_unique<vf_handle>();
    std::memset(handle->bytes, 0xEE, sizeof handle->bytes);
    handles().push_back(std::move(handle));
    return handles().back().get();
}

void vf_release(vf_handle*) { ++state().releases; }

int vf_call(vf_handle* handle, int, vf_cmd* command, int, int)
{
    if (!handle) ++state().null_handles;
    if (!main_lock_is_held()) ++state().without_lock;
    std::string line = command->text;
    for (const vf_cmd* joined : command->joined) line += " + " + joined->text;
    state().log.push_back(line);
    command->status = 0;
    Failure how{};
    if (!scripted(command->kind, how)) return 0;
    if (how == Failure::delivery) return -7;
    command->status = -9;
    return how == Failure::both ? -7 : 0;
}

void vf_cmdNFreeB(vf_cmd* command)
{
    const auto free_one = [](vf_cmd* one) {
        if (!one->freed) ++state().freed;
        one->freed = true;
    };
    for (vf_cmd* joined : command->joined) free_one(joined);
    free_one(command);
}

vf_cmd* vf_Joint(vf_cmd* chain, vf_cmd* command)
{
    chain->joined.push_back(command);
    return chain;
}

int vf_rd_err(vf_cmd*)
{
    ++state().err_reads;
    return state().err;
}
int vf_rd_addFDB(vf_cmd*) { return state().add; }
int vf_rd_removeFDB(vf_cmd*) { return state().remove; }
void vf_rd_findFDB(vf_cmd* command, uint32_t out[6])
{
    Find answer = state().find;
    const auto own = state().find_for.find(mac_text(command->mac));
    if (own != state().find_for.end()) answer = own->second;
    const uint32_t values[6] = {answer.status, answer.last_hit, 0x2222, answer.current, 0x4444, 0x5555};
    std::memcpy(out, values, sizeof values);
}
int vf_rd_get_stream_info(vf_cmd*, uint32_t out[18])
{
    std::memcpy(out, state().stream_info.data(), 18 * sizeof(uint32_t));
    return state().stream_info_result;
}
int vf_rd_get_stream_busy_info(vf_cmd*, uint32_t out[3])
{
    std::memcpy(out, state().stream_busy.data(), 3 * sizeof(uint32_t));
    return state().stream_busy_result;
}

vf_cmd* vf_mk_addFDB(const vf_fdb_request* request, const void*)
{
    return make("addFDB", u32{request->flag}, u32{request->one}, u32{request->FID}, mac_text(request->mac),
                static_cast<u32>(static_cast<uint16_t>(request->port)), request->cookie, u32{request->zero},
                static_cast<u32>(static_cast<uint16_t>(request->port2)));
}
vf_cmd* vf_mk_removeFDB(uint16_t FID, const uint8_t mac[6]) { return make("removeFDB", u32{FID}, mac_text(mac)); }
vf_cmd* vf_mk_findFDB(uint16_t FID, const uint8_t mac[6], uint32_t*, uint32_t*, uint32_t*)
{
    vf_cmd* const command = make("findFDB", u32{FID}, mac_text(mac));
    if (command) std::memcpy(command->mac, mac, sizeof command->mac);
    return command;
}
vf_cmd* vf_mk_set_cosmap(uint32_t port, uint32_t valbit, const uint32_t cosmap[8])
{
    return make("set_cosmap", port, valbit, words(cosmap, 8));
}
vf_cmd* vf_mk_add_classify_act(uint32_t profile, uint32_t line_no, const void* line)
{
    return make("add_classify_act", profile, line_no, block(line, 120));
}
vf_cmd* vf_mk_add_classify_prof(uint32_t profile, uint32_t port, uint32_t VID, const uint32_t w[4])
{
    return make("add_classify_prof", profile, port, VID, words(w, 4));
}
vf_cmd* vf_mk_add_prefilter_act(uint32_t list, uint32_t line_no, const void* bytes)
{
    return make("add_prefilter_act", list, line_no, block(bytes, 64));
}
vf_cmd* vf_mk_add_loc_act(uint32_t list, uint32_t line_no, const void* bytes)
{
    return make("add_loc_act", list, line_no, block(bytes, 16));
}
vf_cmd* vf_mk_add_prefilter_prof(uint32_t list, uint32_t port, uint32_t VID, const uint32_t w[4])
{
    return make("add_prefilter_prof", list, port, VID, words(w, 4));
}
vf_cmd* vf_mk_add_loc_prof(uint32_t list, uint32_t port, uint32_t VID, const uint32_t w[4])
{
    return make("add_loc_prof", list, port, VID, words(w, 4));
}
vf_cmd* vf_mk_set_stream_actual_rate(uint32_t count, const vf_actual_rate* entries)
{
    std::string text;
    for (uint32_t i = 0; i < count; ++i) {
        text += (i ? " " : "") + std::to_string(entries[i].streamno) + ":" + std::to_string(entries[i].actual_rate) +
                "/" + std::to_string(entries[i].actual_excess);
    }
    return make("set_stream_actual_rate", count, text);
}
vf_cmd* vf_mk_set_stream_tosmap(uint32_t streamno, uint32_t bits, const uint32_t values[8], const uint32_t masks[8])
{
    return make("set_stream_tosmap", streamno, bits, words(values, 8), words(masks, 8));
}

// The builders that take nothing but numbers.
#define NUMBERS_1(kind) \
    vf_cmd* vf_mk_##kind(uint32_t a) { return make(#kind, a); }
#define NUMBERS_2(kind) \
    vf_cmd* vf_mk_##kind(uint32_t a, uint32_t b) { return make(#kind, a, b); }
#define NUMBERS_3(kind) \
    vf_cmd* vf_mk_##kind(uint32_t a, uint32_t b, uint32_t c) { return make(#kind, a, b, c); }
#define NUMBERS_4(kind) \
    vf_cmd* vf_mk_##kind(uint32_t a, uint32_t b, uint32_t c, uint32_t d) { return make(#kind, a, b, c, d); }
#define NUMBERS_5(kind)                                                              \
    vf_cmd* vf_mk_##kind(uint32_t a, uint32_t b, uint32_t c, uint32_t d, uint32_t e) \
    {                                                                                \
        return make(#kind, a, b, c, d, e);                                           \
    }
#define NUMBERS_6(kind)                                                                          \
    vf_cmd* vf_mk_##kind(uint32_t a, uint32_t b, uint32_t c, uint32_t d, uint32_t e, uint32_t f) \
    {                                                                                            \
        return make(#kind, a, b, c, d, e, f);                                                    \
    }

NUMBERS_1(delete_port)
NUMBERS_1(enable_port)
NUMBERS_1(disable_port)
NUMBERS_3(set_port_flags)
NUMBERS_5(set_class_policing)
NUMBERS_2(set_bandwidth_calc_mode)
NUMBERS_4(set_def_class)
NUMBERS_3(set_ph_shaping)
NUMBERS_2(rem_classify_act)
NUMBERS_2(rem_classify_prof)
NUMBERS_2(rem_prefilter_act)
NUMBERS_2(rem_loc_act)
NUMBERS_2(rem_prefilter_prof)
NUMBERS_2(rem_loc_prof)
NUMBERS_3(create_queue)
NUMBERS_1(delete_queue)
NUMBERS_6(add_queue)
NUMBERS_4(set_esparam)
NUMBERS_5(set_qmax)
NUMBERS_1(create_stream)
NUMBERS_1(delete_stream)
NUMBERS_5(set_stream_shaping)
NUMBERS_4(set_qostype)
NUMBERS_2(set_stream_priority)
NUMBERS_1(get_stream_info)
NUMBERS_1(get_stream_busy_info)
NUMBERS_2(create_vlan)
NUMBERS_1(delete_vlan)
NUMBERS_6(add_port_vlan)
NUMBERS_2(remove_port_vlan)
NUMBERS_3(set_vl_flag)
NUMBERS_1(create_protgroup)
NUMBERS_1(delete_protgroup)
NUMBERS_2(add_prot_to_group)
NUMBERS_2(remove_prot_from_group)
NUMBERS_1(create_mirror)
NUMBERS_1(delete_mirror)
NUMBERS_1(enable_mirror)
NUMBERS_1(disable_mirror)
NUMBERS_4(set_mirror_source)
NUMBERS_2(set_mirror_dest)
NUMBERS_4(set_mirror_classify)
NUMBERS_4(set_mirror_tag)

vf_cmd* vf_mk_set_port_param(uint32_t a, uint32_t b, uint32_t c, uint32_t d, uint32_t e, uint32_t f, uint32_t g,
                             uint32_t h, uint32_t i)
{
    return make("set_port_param", a, b, c, d, e, f, g, h, i);
}
vf_cmd* vf_mk_set_red(uint32_t a, uint32_t b, uint32_t c, uint32_t d, uint32_t e, uint32_t f, uint32_t g)
{
    return make("set_red", a, b, c, d, e, f, g);
}
