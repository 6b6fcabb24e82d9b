// The rules of ports, VLANs, memberships and protocol groups said once more, over standard containers and without a thought
// for records. The random test compares the database with this.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "core/types.h"

namespace zelfdb::model {

// What an operation answers: a detail code (0 = it succeeds) and the kinds of the commands that it sends.
struct Answer {
    u32 code = 0;
    std::vector<std::string> commands;
    bool NP_decides = false;  // the result is -1 when the NP refuses
};
inline Answer no(u32 code) { return {code, {}, false}; }

struct Member {
    bool tagged;
    bool by_protocol;
    u32 tagtype;
};

struct Binding {
    u32 group;
    u32 vid;
};

struct Port {
    i32 p_type;
    u32 phport;
    u32 pvid = 0;
    u32 optate = 0;
    u32 uplink;  // this and the next: what the record's last owner left
    u32 upv;
    std::map<u32, Member> in;  // by VID
    std::vector<Binding> bindings;
};

struct Vlan {
    std::string name;
    u32 upv = 0;
    u32 flags = 0;
    u32 limit = 0;
};

struct Group {
    u32 id;
    std::vector<u32> protocols;
};

// What a free port record remembers of its last owner.
struct Leftover {
    u32 uplink = 0;
    u32 upv = 0;
};

class Model {
public:
    Model(u32 nport, u32 nvlan) : free_ports_(nport), free_vlans_(nvlan) {}

    Answer create_port(u32 id, u32 phport, i32 p_type);
    Answer delete_port(u32 id);
    Answer set_pvid(u32 id, u32 pvid);
    Answer set_phport(u32 id, u32 phport);
    Answer set_uplink(u32 id, u32 value);
    Answer enable(u32 id);
    Answer disable(u32 id);

    Answer create_vlan(const std::string& name, i32& vid);
    Answer delete_vlan(u32 vid);
    Answer join(u32 vid, u32 port_id, bool tagged, u32 tagtype, bool by_protocol, u32 group);
    Answer leave(u32 vid, u32 port_id);
    // flag 0 = the learning limit; command empty = the NP is not told.
    Answer set_vlans(u32 vid, u32 flag, u32 value, const std::string& command);

    Answer create_group(u32 id);
    Answer delete_group(u32 id);
    Answer add_protocol(u32 protocol, u32 id);
    Answer remove_protocol(u32 protocol, u32 id);

    [[nodiscard]] std::string text() const;
    [[nodiscard]] const std::map<u32, Port>& ports() const { return ports_; }
    [[nodiscard]] const std::map<u32, Vlan>& vlans() const { return vlans_; }
    [[nodiscard]] std::vector<u32> members_of(u32 vid) const;

private:
    Port* port(u32 id);
    Group* group(u32 id);

    std::map<u32, Port> ports_;
    std::map<u32, Vlan> vlans_;
    std::vector<Group> groups_;
    std::vector<Leftover> free_ports_;  // last in, first out
    u32 free_vlans_;
    bool bound_[5] = {};
    u32 history_[7] = {};
};

}  // namespace zelfdb::model
