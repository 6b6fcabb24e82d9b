// A network processor that accepts every command at once, so that what is measured is the library. It looks at nothing and
// keeps nothing; a command is a few bytes from a small free list.
#include <array>
#include <cstddef>
#include <cstdint>

#include "zelfdb/vf.h"

// Numbers count commands from 1, 0 = none. The status is where the library reads it, whatever the width of a pointer.
struct vf_cmd {
    uint32_t next_free;
    uint32_t joined;
    int16_t status;
    int16_t pad;
};
static_assert(offsetof(vf_cmd, status) == 8);

struct vf_handle {
    uint8_t bytes[16];
};

namespace {

// The longest chain that the library joins is 40 commands.
constexpr uint32_t command_count = 64;

constexpr auto all_free()
{
    std::array<vf_cmd, command_count + 1> fresh{};
    for (uint32_t number = 1; number <= command_count; ++number) fresh[number].next_free = number - 1;
    return fresh;
}

constinit auto commands = all_free();
uint32_t first_free = command_count;
vf_handle the_handle;

uint32_t number_of(const vf_cmd* command) { return static_cast<uint32_t>(command - commands.data()); }

vf_cmd* take()
{
    const uint32_t number = first_free;
    if (number == 0) return nullptr;
    vf_cmd* const command = &commands[number];
    first_free = command->next_free;
    command->joined = 0;
    command->status = 0;
    return command;
}

}  // namespace

vf_handle* vf_init() { return &the_handle; }
void vf_release(vf_handle*) {}
int vf_call(vf_handle*, int, vf_cmd*, int, int) { return 0; }

void vf_cmdNFreeB(vf_cmd* command)
{
    for (uint32_t number = number_of(command); number != 0;) {
        const uint32_t joined = commands[number].joined;
        commands[number].next_free = first_free;
        first_free = number;
        number = joined;
    }
}

vf_cmd* vf_Joint(vf_cmd* chain, vf_cmd* command)
{
    vf_cmd* last = chain;
    while (last->joined != 0) last = &commands[last->joined];
    last->joined = number_of(command);
    return chain;
}

int vf_rd_err(vf_cmd*) { return 0; }
int vf_rd_addFDB(vf_cmd*) { return 0; }
int vf_rd_removeFDB(vf_cmd*) { return 0; }
// Every entry was hit just now.
void vf_rd_findFDB(vf_cmd*, uint32_t* out)
{
    for (int i = 0; i < 6; ++i) out[i] = 0;
}
int vf_rd_get_stream_info(vf_cmd*, uint32_t* out)
{
    for (int i = 0; i < 18; ++i) out[i] = 0;
    return 0;
}
int vf_rd_get_stream_busy_info(vf_cmd*, uint32_t* out)
{
    for (int i = 0; i < 3; ++i) out[i] = 0;
    return 0;
}

vf_cmd* vf_mk_set_port_param(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t)
{
    return take();
}
vf_cmd* vf_mk_delete_port(uint32_t) { return take(); }
vf_cmd* vf_mk_enable_port(uint32_t) { return take(); }
vf_cmd* vf_mk_disable_port(uint32_t) { return take(); }
vf_cmd* vf_mk_set_port_flags(uint32_t, uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_set_class_policing(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_set_cosmap(uint32_t, uint32_t, const uint32_t*) { return take(); }
vf_cmd* vf_mk_set_bandwidth_calc_mode(uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_set_def_class(uint32_t, uint32_t, uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_set_ph_shaping(uint32_t, uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_addFDB(const vf_fdb_request*, const void*) { return take(); }
vf_cmd* vf_mk_removeFDB(uint16_t, const uint8_t*) { return take(); }
vf_cmd* vf_mk_findFDB(uint16_t, const uint8_t*, uint32_t*, uint32_t*, uint32_t*) { return take(); }
vf_cmd* vf_mk_add_classify_act(uint32_t, uint32_t, const void*) { return take(); }
vf_cmd* vf_mk_rem_classify_act(uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_add_classify_prof(uint32_t, uint32_t, uint32_t, const uint32_t*) { return take(); }
vf_cmd* vf_mk_rem_classify_prof(uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_add_prefilter_act(uint32_t, uint32_t, const void*) { return take(); }
vf_cmd* vf_mk_rem_prefilter_act(uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_add_loc_act(uint32_t, uint32_t, const void*) { return take(); }
vf_cmd* vf_mk_rem_loc_act(uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_add_prefilter_prof(uint32_t, uint32_t, uint32_t, const uint32_t*) { return take(); }
vf_cmd* vf_mk_rem_prefilter_prof(uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_add_loc_prof(uint32_t, uint32_t, uint32_t, const uint32_t*) { return take(); }
vf_cmd* vf_mk_rem_loc_prof(uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_create_queue(uint32_t, uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_delete_queue(uint32_t) { return take(); }
vf_cmd* vf_mk_add_queue(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_set_esparam(uint32_t, uint32_t, uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_set_qmax(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_create_stream(uint32_t) { return take(); }
vf_cmd* vf_mk_delete_stream(uint32_t) { return take(); }
vf_cmd* vf_mk_set_red(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_set_stream_shaping(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_set_stream_actual_rate(uint32_t, const vf_actual_rate*) { return take(); }
vf_cmd* vf_mk_set_qostype(uint32_t, uint32_t, uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_set_stream_priority(uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_set_stream_tosmap(uint32_t, uint32_t, const uint32_t*, const uint32_t*) { return take(); }
vf_cmd* vf_mk_get_stream_info(uint32_t) { return take(); }
vf_cmd* vf_mk_get_stream_busy_info(uint32_t) { return take(); }
vf_cmd* vf_mk_create_vlan(uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_delete_vlan(uint32_t) { return take(); }
vf_cmd* vf_mk_add_port_vlan(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_remove_port_vlan(uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_set_vl_flag(uint32_t, uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_create_protgroup(uint32_t) { return take(); }
vf_cmd* vf_mk_delete_protgroup(uint32_t) { return take(); }
vf_cmd* vf_mk_add_prot_to_group(uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_remove_prot_from_group(uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_create_mirror(uint32_t) { return take(); }
vf_cmd* vf_mk_delete_mirror(uint32_t) { return take(); }
vf_cmd* vf_mk_enable_mirror(uint32_t) { return take(); }
vf_cmd* vf_mk_disable_mirror(uint32_t) { return take(); }
vf_cmd* vf_mk_set_mirror_source(uint32_t, uint32_t, uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_set_mirror_dest(uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_set_mirror_classify(uint32_t, uint32_t, uint32_t, uint32_t) { return take(); }
vf_cmd* vf_mk_set_mirror_tag(uint32_t, uint32_t, uint32_t, uint32_t) { return take(); }
