#include "resync/wanted.h"

#include <algorithm>

#include "core/chains.h"
#include "core/lists.h"
#include "np/classify_commands.h"
#include "np/mirror_commands.h"
#include "np/port_commands.h"
#include "np/vlan_commands.h"
#include "resync/values.h"

namespace zelfdb {
namespace {

constexpr u32 all_flags = 0xFFFF;

bool is_mapped(u32 port_id) { return np_port(port_id) != 0xFFFFFFFF; }

// The walks of this file: of objects that the NP can know.
template <class Use>
void for_each_port(const Descriptor& d, Use use)
{
    for (const Port& port : walk(all_ports, main_base(d), header_of(d)))
        if (is_mapped(port.PortID)) use(port);
}
template <class Use>
void for_each_vlan(const Descriptor& d, Use use)
{
    for (const Vlan& vlan : walk(all_vlans, main_base(d), header_of(d))) use(vlan);
}
template <class Use>
void for_each_member(const Descriptor& d, Use use)
{
    for_each_vlan(d, [&](const Vlan& vlan) {
        for (const Pv& pv : walk(pvs_of_vlan, main_base(d), vlan))
            if (is_mapped(pv.port_id)) use(vlan, pv);
    });
}
template <class Use>
void for_each_binding(const Port& port, Use use)
{
    for (u32 i = 0; i < port.npg && i < prot_bindings_per_port; ++i) use(port.prot[i]);
}

const Pv* membership(const Descriptor& d, const Port& port, u16 VID)
{
    const Vlan* const vlan = lookup_vlan(main_base(d), header_of(d), VID);
    return vlan ? lookup_pv_by_port_in_a_vlan(main_base(d), header_of(d), *vlan, port) : nullptr;
}

bool has_binding(const Descriptor& d, const Pv& pv)
{
    bool found = false;
    if (const Port* const port = known_port(main_base(d), header_of(d), pv.port_id))
        for_each_binding(*port, [&](const ProtBinding& binding) { found |= binding.VID == pv.VID; });
    return found;
}

Setting only_created(const char* name, std::string value) { return {name, std::move(value), true, "", nullptr, false}; }

void add_policing(std::vector<Setting>& settings, const Descriptor& d, const Port& port)
{
    for (u32 class_no = 0; class_no < class_count; ++class_no) {
        const Policing& row = port.policing[class_no];
        settings.push_back(
            {"policing " + number_text(class_no), numbers(row.rate, row.burst, row.color),
             row.rate == 0 && row.burst == 0 && row.color == 0, "set_class_policing", [&d, &port, &row, class_no] {
                 return set_port_class_policing_to_NP(d, port.PortID, class_no, row.rate, row.burst, row.color);
             }});
    }
}

std::vector<Setting> settings_of(const Descriptor& d, const Port& port)
{
    const bool no_cosmap = port.valbit == 0 && std::all_of(port.cosmap, port.cosmap + 8, [](u32 c) { return c == 0; });
    std::vector<Setting> settings{
        only_created("type", number_text(port.p_type)),
        only_created("priority", number_text(port.pri)),
        only_created("physical port", number_text(port.phport)),
        only_created("FID", number_text(port.fdb.FID & 0xFFFF)),
        {"flags", flags_text(port.p_flag), true, "set_port_flags",
         [&d, &port] { return set_port_flag_to_NP(d, port, all_flags); }},
        {"tagtype", flags_text(port.tagtype), true, "set_port_param",
         [&d, &port] { return set_port_tagType_to_NP(d, port); }},
        {"PVID", number_text(port.PVID), true, "set_port_param", [&d, &port] { return set_port_pvid_to_NP(d, port); }},
        {"CoS map", flags_text(port.valbit) + " " + words_text(port.cosmap, 8), no_cosmap, "set_cosmap",
         [&d, &port] { return set_cosmap_in_port_to_NP(d, port.PortID, port.valbit, port.cosmap); }},
        {"bandwidth mode", number_text(port.bw_calc_mode), port.bw_calc_mode == 0, "set_bandwidth_calc_mode",
         [&d, &port] { return set_bandwidth_calc_mode_in_port_to_NP(d, port.PortID, port.bw_calc_mode); }},
        {"default class", numbers(port.def_spno, port.def_pri, port.def_color),
         port.def_spno == 0 && port.def_pri == 0 && port.def_color == 0, "set_def_class",
         [&d, &port] {
             return set_default_class_in_port_to_NP(d, port.PortID, port.def_spno, port.def_pri, port.def_color);
         }},
    };
    add_policing(settings, d, port);
    return settings;
}

// Source and destination do not change under an enabled mirror. A port without a kind of source, and a tag that is off, are what
// an earlier mirror may have left behind: they are not sent.
std::vector<Setting> settings_of(const Descriptor& d, u32 number, const Mirror& m)
{
    return {
        {"source", mirror_source_text(m.source_kind, m.source_port, m.source_VID), m.source_kind == 0,
         "set_mirror_source",
         [&d, &m, number] { return set_mirror_source_to_NP(d, number, m.source_kind, m.source_port, m.source_VID); },
         false},
        {"destination", number_text(m.dest_port), m.dest_port == 0, "set_mirror_dest",
         [&d, &m, number] { return set_mirror_dest_to_NP(d, number, m.dest_port); }, false},
        {"class", numbers(m.classify_class, m.classify_second, m.classify_colour),
         m.classify_class == 0 && m.classify_second == 0 && m.classify_colour == 0, "set_mirror_classify",
         [&d, &m, number] {
             return set_mirror_classify_to_NP(d, number, m.classify_class, m.classify_second, m.classify_colour);
         }},
        {"tag", mirror_tag_text(m.tag_on, m.tag_tagtype, m.tag_VID), m.tag_on == 0, "set_mirror_tag",
         [&d, &m, number] { return set_mirror_tag_to_NP(d, number, m.tag_on, m.tag_tagtype, m.tag_VID); }},
        {"enabled", yes_no(m.state & mirror_enabled), !(m.state & mirror_enabled),
         m.state & mirror_enabled ? "enable_mirror" : "disable_mirror",
         [&d, &m, number] {
             return m.state & mirror_enabled ? enable_mirror_to_NP(d, number) : disable_mirror_to_NP(d, number);
         }},
    };
}

void add_entries(std::vector<EntryItem>& entries, const Descriptor& d, const FdbHead& fdb)
{
    for (u32 bucket = 0; bucket < bucket_count; ++bucket)
        for (const Fil& fil : chain(fils_by_mac, fdb_base(d), fdb, bucket))
            entries.push_back({entry_object(fdb.FID, fil.mac.byte), &fil});
}

}  // namespace

void add_phports(Items& items, const Descriptor& d)
{
    for (const Phport& phport : walk(all_phports, main_base(d), header_of(d))) {
        Item item{phport_object(phport.ID), {}, "", nullptr, {}};
        item.settings = {{"shaping", numbers(phport.shaping_rate, phport.shaping_param2),
                          phport.shaping_rate == 0 && phport.shaping_param2 == 0, "set_ph_shaping", [&d, &phport] {
                              return set_ph_shaping_to_NP(d, phport.ID, phport.shaping_rate, phport.shaping_param2);
                          }}};
        items.push_back(std::move(item));
    }
}

void add_ports(Items& items, const Descriptor& d)
{
    for_each_port(d, [&](const Port& port) {
        items.push_back({port_object(port.PortID),
                         {},
                         "set_port_param",
                         [&d, &port] { return create_port_to_NP(d, port); },
                         settings_of(d, port)});
    });
}

void add_vlans(Items& items, const Descriptor& d)
{
    for_each_vlan(d, [&](const Vlan& vlan) {
        const bool ignores = vlan.vlan_flag & vflag_ignore_fdb;
        const bool learning_off = vlan.vlan_flag & vflag_learning_off;
        // Off is 2 to the NP, not 1.
        items.push_back(
            {vlan_object(vlan.VID),
             {},
             "create_vlan",
             [&d, &vlan] { return create_vlan_to_NP(d, vlan); },
             {only_created("FID", number_text(vlan.fdb.FID & 0xFFFF)),
              {"ignores the FDB", yes_no(ignores), !ignores, "set_vl_flag",
               [&d, &vlan, ignores] {
                   return set_vlan_flag_to_NP(d, vlan.VID, ignores ? 1 : 0, vlan_flag_ignore_fdb);
               }},
              {"learning off", yes_no(learning_off), !learning_off, "set_vl_flag", [&d, &vlan, learning_off] {
                   return set_vlan_flag_to_NP(d, vlan.VID, learning_off ? 2 : 0, vlan_flag_learning);
               }}}});
    });
}

void add_groups(Items& items, const Descriptor& d)
{
    const ProtGroupTable& table = header_of(d).prot_groups;
    for (u32 i = 0; i < table.count && i < std::size(table.group); ++i) {
        const u32 group = table.group[i].group;
        items.push_back({group_object(group),
                         {},
                         "create_protgroup",
                         [&d, group] { return create_protgroup_to_NP(d, group); },
                         {}});
    }
}

void add_protocols(Items& items, const Descriptor& d)
{
    const ProtGroupTable& table = header_of(d).prot_groups;
    for (u32 i = 0; i < table.count && i < std::size(table.group); ++i) {
        const ProtGroup& group = table.group[i];
        for (u32 p = 0; p < group.nprot && p < std::size(group.prot); ++p) {
            const u32 protocol = group.prot[p];
            items.push_back({protocol_object(group.group, protocol),
                             {group_object(group.group)},
                             "add_prot_to_group",
                             [&d, &group, protocol] { return add_prot_to_group_to_NP(d, protocol, group.group); },
                             {}});
        }
    }
}

// A membership by protocol is made by the first of its bindings.
void add_members(Items& items, const Descriptor& d)
{
    for_each_member(d, [&](const Vlan& vlan, const Pv& pv) {
        const bool tagged = pv.pv_flag & pv_tagged;
        const bool by_protocol = pv.pv_flag & pv_protocol;
        Item item{member_object(pv.port_id, vlan.VID),
                  {port_object(pv.port_id), vlan_object(vlan.VID)},
                  "add_port_vlan",
                  nullptr,
                  {only_created("tagged", yes_no(tagged)), only_created("tagtype", flags_text(pv.tagtype)),
                   only_created("by protocol", yes_no(by_protocol))}};
        if (!by_protocol)
            item.create = [&d, &pv, tagged] {
                return add_port_to_vlan_to_NP(d, pv.VID, pv.port_id, tagged, pv.tagtype, false, 0);
            };
        items.push_back(std::move(item));
    });
}

// In the order in which the port joined: the oldest that fits decides a frame's VLAN.
void add_bindings(Items& items, const Descriptor& d)
{
    for_each_port(d, [&](const Port& port) {
        for_each_binding(port, [&](const ProtBinding& binding) {
            const Pv* const pv = membership(d, port, binding.VID);
            if (!pv) return;
            items.push_back({binding_object(port.PortID, binding.VID, binding.group),
                             {port_object(port.PortID), vlan_object(binding.VID), group_object(binding.group)},
                             "add_port_vlan",
                             [&d, pv, &binding] {
                                 return add_port_to_vlan_to_NP(d, pv->VID, pv->port_id, pv->pv_flag & pv_tagged,
                                                               pv->tagtype, true, binding.group);
                             },
                             {}});
        });
    });
}

// Numbered as the database numbers them: the NP inserts at the number, and at the end if there are fewer lines.
void add_lines(Items& items, const Descriptor& d)
{
    for (const Classify& classify : walk(all_classifies, main_base(d), header_of(d))) {
        for (const Action& action : actions_of(main_base(d), classify))
            items.push_back({line_object(classify.ID, action.position),
                             {},
                             "add_classify_act",
                             [&d, &classify, &action] {
                                 return add_classify_act_to_NP(d, classify.ID, action.position, &action.line);
                             },
                             {only_created("line", bytes_text(&action.line, sizeof action.line))}});
    }
}

void add_list_bindings(Items& items, const Descriptor& d)
{
    for_each_member(d, [&](const Vlan& vlan, const Pv& pv) {
        if (pv.classify == 0) return;
        items.push_back(
            {list_binding_object(pv.port_id, vlan.VID),
             {member_object(pv.port_id, vlan.VID)},
             "add_classify_prof",
             [&d, &pv] { return add_classify_prof_to_NP(d, pv.classify, pv.port_id, pv.VID, pv.classify_words); },
             {only_created("list", number_text(pv.classify)),
              only_created("words", words_text(pv.classify_words, 4))}});
    });
}

void add_mirrors(Items& items, const Descriptor& d)
{
    for (u32 number = 1; number <= std::size(header_of(d).mirror); ++number) {
        const Mirror& mirror = header_of(d).mirror[number - 1];
        if (!(mirror.state & mirror_created)) continue;
        items.push_back({mirror_object(number),
                         {},
                         "create_mirror",
                         [&d, number] { return create_mirror_to_NP(d, number); },
                         settings_of(d, number, mirror)});
    }
}

// The database knows two states. A new port was told neither to the NP, which lets frames pass then: that is a difference from
// a database that says down.
void add_port_states(Items& items, const Descriptor& d)
{
    for_each_port(d, [&](const Port& port) {
        const bool up = port.optate == optate_up;
        Item item{port_state_object(port.PortID), {port_object(port.PortID)}, "", nullptr, {}};
        item.settings = {{"state", up ? "up" : "down", false, up ? "enable_port" : "disable_port", [&d, &port, up] {
                              return up ? enable_port_to_NP(d, port.PortID) : disable_port_to_NP(d, port.PortID);
                          }}};
        items.push_back(std::move(item));
    });
}

std::vector<Object> needs_of(const Fil& fil, u32 FID)
{
    if (fil.fil_type == fil_local) return {port_object(FID - port_FID_base)};
    if (fil.fil_flag & fil_flag_no_port) return {vlan_object(FID)};
    return {vlan_object(FID), port_object(fil.port)};
}

std::map<std::string, std::string> settings_of(const Descriptor& d, const Fil& fil)
{
    const bool bound = fil.fil_type != fil_local && !(fil.fil_flag & fil_flag_no_port);
    return {{"place", entry_place_text(bound, fil.port)},
            {"flag", flags_text(fil.fil_flag & 0xFF)},
            {"cookie", number_text(offset_of(fdb_base(d), fil).value)}};
}

Wanted wanted_by(const Descriptor& d)
{
    Wanted wanted;
    for (const auto add :
         {add_phports, add_ports, add_vlans, add_groups, add_protocols, add_members, add_bindings, add_streams,
          add_queues, add_attachments, add_lines, add_list_bindings, add_mirrors, add_port_states})
        add(wanted.items, d);

    for (const Port& port : walk(all_ports, main_base(d), header_of(d))) {
        if (!is_mapped(port.PortID)) wanted.unmapped_ports.push_back(port.PortID);
        add_entries(wanted.entries, d, port.fdb);
    }
    for_each_vlan(d, [&](const Vlan& vlan) { add_entries(wanted.entries, d, vlan.fdb); });
    for_each_member(d, [&](const Vlan& vlan, const Pv& pv) {
        if ((pv.pv_flag & pv_protocol) && !has_binding(d, pv))
            wanted.untold.push_back(member_object(pv.port_id, vlan.VID));
    });
    return wanted;
}

}  // namespace zelfdb
