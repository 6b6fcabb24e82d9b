// The model's rules.
#include "vlan/model.h"

#include <algorithm>
#include <cstdio>

namespace zelfdb::model {
namespace {

constexpr i32 ether = 1;
constexpr i32 vif = 2;
constexpr std::size_t eight = 8;

std::string dec(u32 number) { return " " + std::to_string(number); }

}  // namespace

Port* Model::port(u32 id)
{
    const auto found = ports_.find(id);
    return found == ports_.end() ? nullptr : &found->second;
}

Group* Model::group(u32 id)
{
    const auto found = std::find_if(groups_.begin(), groups_.end(), [id](const Group& g) { return g.id == id; });
    return found == groups_.end() ? nullptr : &*found;
}

std::vector<u32> Model::members_of(u32 vid) const
{
    std::vector<u32> all;
    for (const auto& [id, one] : ports_) {
        if (one.in.count(vid)) all.push_back(id);
    }
    return all;
}

Answer Model::create_port(u32 id, u32 phport, i32 p_type)
{
    if (id == 0 ? !free_ports_.empty() : port(id) != nullptr) return no(1202);
    if (p_type == ether) {
        if (phport < 1 || phport > 4) return no(1204);
        if (bound_[phport]) return no(1203);
        bound_[phport] = true;
    }
    if (free_ports_.empty()) return no(1201);
    const Leftover left = free_ports_.back();
    free_ports_.pop_back();
    ports_[id] = {p_type, phport, 0, 0, left.uplink, left.upv, {}, {}};
    ++history_[0];
    return {0, {"set_port_param"}};
}

Answer Model::delete_port(u32 id)
{
    const Port* const gone = port(id);
    if (!gone) return no(102);
    if (!gone->in.empty()) return no(1301);
    if (gone->uplink == 1) return no(1302);
    if (gone->p_type == ether && gone->phport >= 1 && gone->phport <= 4) bound_[gone->phport] = false;
    free_ports_.push_back({gone->uplink, gone->upv});
    ports_.erase(id);
    ++history_[1];
    return {0, {"delete_port"}};
}

Answer Model::set_pvid(u32 id, u32 pvid)
{
    Port* const one = port(id);
    if (!one) return no(102);
    if (one->pvid == pvid) return {};
    one->pvid = pvid;
    return {0, {"set_port_param"}};
}

Answer Model::set_phport(u32 id, u32 phport)
{
    Port* const one = port(id);
    if (!one) return no(102);
    one->phport = phport;
    return {};
}

Answer Model::set_uplink(u32 id, u32 value)
{
    Port* const one = port(id);
    if (!one) return no(102);
    if (one->in.empty()) return no(1701);
    one->uplink = value;
    return {};
}

Answer Model::enable(u32 id)
{
    Port* const one = port(id);
    if (!one) return no(102);
    if (one->optate == 1) return no(1205);
    one->optate = 1;
    return {0, {"enable_port"}, true};
}

Answer Model::disable(u32 id)
{
    Port* const one = port(id);
    if (!one) return no(102);
    if (one->optate == 0) return no(1304);
    one->optate = 0;
    return {0, {"disable_port"}, true};
}

Answer Model::create_vlan(const std::string& name, i32& vid)
{
    if (name.size() > 30) return no(1403);
    for (const auto& [number, one] : vlans_) {
        if (one.name == name) return no(1401);
    }
    u32 chosen = static_cast<u32>(vid);
    if (vid < 0) {
        chosen = 1;
        while (vlans_.count(chosen)) ++chosen;
        if (chosen > 4094) return no(1406);
    }
    if (chosen < 1 || chosen > 4094) return no(201);
    if (vlans_.count(chosen)) return no(1402);
    if (free_vlans_ == 0) return no(1404);
    --free_vlans_;
    vlans_[chosen] = {name, 0, 0, 0};
    vid = static_cast<i32>(chosen);
    ++history_[2];
    return {0, {"create_vlan"}};
}

Answer Model::delete_vlan(u32 vid)
{
    if (!vlans_.count(vid)) return no(103);
    if (!members_of(vid).empty()) return no(1501);
    vlans_.erase(vid);
    ++free_vlans_;
    ++history_[3];
    return {0, {"delete_vlan"}};
}

Answer Model::join(u32 vid, u32 port_id, bool tagged, u32 tagtype, bool by_protocol, u32 group_id)
{
    if (!vlans_.count(vid)) return no(103);
    Port* const one = port(port_id);
    if (!one) return no(102);
    const bool owns_pvid = !tagged && !by_protocol;
    if (owns_pvid && one->pvid != 0) return no(1614);
    if (by_protocol && !group(group_id)) return no(2803);
    if (one->p_type == vif) {
        if (one->pvid != 0) return no(1613);
        for (const u32 id : members_of(vid)) {
            if (ports_[id].p_type == vif) return no(1612);
        }
    }
    if (const auto present = one->in.find(vid); present != one->in.end()) {
        if (!present->second.by_protocol || !by_protocol) return no(1603);
        for (const Binding& binding : one->bindings) {
            if (binding.group == group_id) return no(1615);
        }
        if (one->bindings.size() >= eight) return no(1616);
        one->bindings.push_back({group_id, vid});
        ++history_[5];
        return {0, {"add_port_vlan"}};
    }
    if (members_of(vid).size() >= eight) return no(1605);
    one->in[vid] = {tagged, by_protocol, tagtype};
    if (!tagged) {
        ++one->upv;
        ++vlans_[vid].upv;
    }
    if (by_protocol && one->bindings.size() < eight) one->bindings.push_back({group_id, vid});
    ++history_[5];
    if (!owns_pvid) return {0, {"add_port_vlan"}};
    one->pvid = vid;
    return {0, {"set_port_param", "add_port_vlan"}};
}

Answer Model::leave(u32 vid, u32 port_id)
{
    if (!vlans_.count(vid)) return no(103);
    Port* const one = port(port_id);
    if (!one) return no(102);
    if (one->uplink == 1) return no(1302);
    const auto present = one->in.find(vid);
    if (present == one->in.end()) return no(1701);
    const Member member = present->second;
    one->in.erase(present);
    std::erase_if(one->bindings, [vid](const Binding& binding) { return binding.vid == vid; });
    if (!member.tagged) one->upv -= 2;
    ++history_[6];
    if (member.tagged || member.by_protocol) return {0, {"remove_port_vlan"}};
    one->pvid = 0;
    return {0, {"remove_port_vlan", "set_port_param"}};
}

Answer Model::set_vlans(u32 vid, u32 flag, u32 value, const std::string& command)
{
    if (vid != 0 && !vlans_.count(vid)) return no(103);
    Answer answer;
    for (auto& [number, one] : vlans_) {
        if (vid != 0 && number != vid) continue;
        if (flag == 0) {
            one.limit = value;
        } else {
            one.flags = value != 0 ? one.flags | flag : one.flags & ~flag;
        }
        const bool last_of_all = vid == 0 && number == vlans_.rbegin()->first;
        if (!command.empty() && !last_of_all) answer.commands.push_back(command);
    }
    return answer;
}

Answer Model::create_group(u32 id)
{
    if (groups_.size() >= eight) return no(2801);
    if (group(id)) return no(2802);
    groups_.push_back({id, {}});
    return {0, {"create_protgroup"}, true};
}

Answer Model::delete_group(u32 id)
{
    if (!group(id)) return no(2803);
    for (const auto& [number, one] : ports_) {
        for (const Binding& binding : one.bindings) {
            if (binding.group == id) return no(2911);
        }
    }
    std::erase_if(groups_, [id](const Group& g) { return g.id == id; });
    return {0, {"delete_protgroup"}, true};
}

Answer Model::add_protocol(u32 protocol, u32 id)
{
    for (const Group& one : groups_) {
        const bool here = std::find(one.protocols.begin(), one.protocols.end(), protocol) != one.protocols.end();
        if (here) return no(one.id == id ? 2805 : 2806);
    }
    Group* const wanted = group(id);
    if (!wanted) return no(2803);
    if (wanted->protocols.size() >= eight) return no(2804);
    wanted->protocols.push_back(protocol);
    return {0, {"add_prot_to_group"}, true};
}

Answer Model::remove_protocol(u32 protocol, u32 id)
{
    Group* const wanted = group(id);
    if (!wanted) return no(2803);
    if (std::erase(wanted->protocols, protocol) == 0) return no(2807);
    return {0, {"remove_prot_from_group"}, true};
}

// One line for each object, all numbers decimal: what the test reads from the database is written the same way.
std::string Model::text() const
{
    std::string text;
    for (const auto& [id, one] : ports_) {
        text += "port" + dec(id) + " type" + dec(static_cast<u32>(one.p_type)) + " phport" + dec(one.phport) + " pvid" +
                dec(one.pvid) + " optate" + dec(one.optate) + " uplink" + dec(one.uplink) + " npv" +
                dec(static_cast<u32>(one.in.size())) + " upv" + dec(one.upv) + " in";
        for (const auto& [vid, member] : one.in) {
            text += dec(vid) + "/" + std::to_string((member.tagged ? 1 : 0) + (member.by_protocol ? 2 : 0)) + "/" +
                    std::to_string(member.tagtype);
        }
        text += " bindings";
        for (const Binding& binding : one.bindings) text += dec(binding.group) + ":" + std::to_string(binding.vid);
        text += "\n";
    }
    for (const auto& [vid, one] : vlans_) {
        const std::vector<u32> members = members_of(vid);
        u32 untagged = 0;
        std::string rows;
        std::string with_pvid;
        for (const u32 id : members) {
            const Port& member = ports_.at(id);
            rows += dec(id) + "/" + std::to_string(member.p_type);
            if (!member.in.at(vid).tagged) ++untagged;
        }
        for (const auto& [id, other] : ports_) {
            if (other.pvid == vid) with_pvid += dec(id);
        }
        text += "vlan" + dec(vid) + " '" + one.name + "' flags" + dec(one.flags) + " limit" + dec(one.limit) + " npv" +
                dec(static_cast<u32>(members.size())) + " upv" + dec(one.upv) + " untagged" + dec(untagged) +
                " members" + rows + " ports of the PVID" + with_pvid + "\n";
    }
    for (const Group& one : groups_) {
        text += "group" + dec(one.id) + ":";
        for (const u32 protocol : one.protocols) text += dec(protocol);
        text += "\n";
    }
    text += "bound";
    for (u32 phport = 1; phport <= 4; ++phport) text += dec(bound_[phport] ? 1 : 0);
    text += "\nhistory";
    for (const u32 count : history_) text += dec(count);
    return text + "\n";
}

}  // namespace zelfdb::model
