#include "crash/objects.h"

#include <cstdio>
#include <cstring>

#include "check/stores.h"
#include "core/chains.h"
#include "core/lists.h"

namespace crash {
namespace {

template <class... Arguments>
std::string text(const char* pattern, Arguments... arguments)
{
    char line[160];
    std::snprintf(line, sizeof line, pattern, arguments...);
    return line;
}

class Reader {
public:
    explicit Reader(const Bytes& bytes)
        : main_{const_cast<u8*>(bytes.main.data())},
          fdb_{const_cast<u8*>(bytes.fdb.data())},
          header_(record_at<Header>(main_, Offset{0})),
          stores_(audit::stores_of({main_.bytes, bytes.main.size(), fdb_.bytes, bytes.fdb.size()}, header_.nport,
                                   header_.nvlan, header_.nfil))
    {
    }

    Objects read()
    {
        add("user area", "header", header_.fdb_userarea);
        for (const Phport& phport : walk(all_phports, main_, header_)) read_phport(phport);
        for (const Port& port : walk(all_ports, main_, header_)) read_port(port);
        for (const Vlan& vlan : walk(all_vlans, main_, header_)) read_vlan(vlan);
        for (const Stream& stream : walk(all_streams, main_, header_)) read_stream(stream);
        for (const Queue& queue : walk(all_queues, main_, header_)) read_queue(queue);
        for (const Classify& profile : walk(all_classifies, main_, header_)) read_profile(profile);
        read_groups();
        for (u32 i = 0; i < std::size(header_.mirror); ++i)
            add(text("mirror %u", i + 1), text("mirror %u", i + 1), header_.mirror[i]);
        return std::move(objects_);
    }

private:
    template <class Record>
    void add(const std::string& key, const std::string& told_as, const Record& payload)
    {
        const auto* const bytes = reinterpret_cast<const u8*>(&payload);
        objects_[key] = {told_as, {bytes, bytes + sizeof payload}};
    }
    // That the one belongs to the other.
    void relate(const std::string& key, const std::string& told_as) { objects_[key] = {told_as, {}}; }

    void read_phport(Phport phport)
    {
        phport.phport_link = {};
        phport.bound = 0;
        const std::string name = text("physical port %u", +phport.ID);
        add(name, name, phport);
    }
    void read_entries(const std::string& owner, const FdbHead& table)
    {
        for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
            for (Fil fil : chain(fils_by_mac, fdb_, table, bucket)) {
                fil.link = {};
                const u8(&m)[6] = fil.mac.byte;
                const std::string name =
                    text("entry %02x:%02x:%02x:%02x:%02x:%02x of ", m[0], m[1], m[2], m[3], m[4], m[5]);
                add(name + owner, name + owner, fil);
            }
        }
    }
    static void clear_table(FdbHead& table)
    {
        table.nfil = table.nfil_d = table.nfil_usr = table.nfil_sys = 0;
        for (Offset& head : table.bucket) head = none;
    }
    void read_port(Port port)
    {
        const std::string name = text("port %d", port.PortID);
        for (u32 i = 0; i < port.npg; ++i)
            relate(text("port %d group %u VLAN %u", port.PortID, +port.prot[i].group, +port.prot[i].VID), name);
        for (const Stream& stream : walk(streams_of_port, main_, port))
            relate(text("stream %u on port %d", +stream.streamno, port.PortID), text("stream %u", +stream.streamno));
        read_entries(name, port.fdb);
        port.npg = 0;
        std::memset(port.prot, 0, sizeof port.prot);
        port.port_link = port.pvid_link = {};
        port.stream_head = port.pv_head = none;
        port.npv = port.upv = 0;
        clear_table(port.fdb);
        add(name, name, port);
    }
    void read_vlan(Vlan vlan)
    {
        const std::string name = text("VLAN %u", +vlan.VID);
        for (Pv pv : walk(pvs_of_vlan, main_, vlan)) {
            pv.vlan_link = pv.port_link = pv.classify_link = {};
            const std::string called = text("membership of port %u in VLAN %u", pv.port_id, +pv.VID);
            add(called, called, pv);
        }
        read_entries(name, vlan.fdb);
        vlan.npv = vlan.upv = 0;
        vlan.pv_head = vlan.pv_free = none;
        vlan.vlan_link = vlan.name_link = {};
        clear_table(vlan.fdb);
        add(name, name, vlan);
    }
    void read_stream(Stream stream)
    {
        const std::string name = text("stream %u", +stream.streamno);
        for (u32 class_no = 0; class_no < class_count; ++class_no) {
            for (const Queue& queue : walk(queues_of_slot, main_, stream.slot[class_no]))
                relate(text("queue %u of %s class %u", +queue.queueno, name.c_str(), class_no),
                       text("queue %u", +queue.queueno));
            stream.slot[class_no].queue_head = none;
        }
        stream.stream_link = stream.port_link = {};
        add(name, name, stream);
    }
    void read_queue(Queue queue)
    {
        queue.queue_link = queue.stream_link = {};
        const std::string name = text("queue %u", +queue.queueno);
        add(name, name, queue);
    }
    void read_profile(const Classify& profile)
    {
        const std::string name = text("profile %u", +profile.ID);
        relate(name, name);
        for (const Pv& pv : walk(pvs_of_classify, main_, profile)) {
            const std::string called = text("membership of port %u in VLAN %u", pv.port_id, +pv.VID);
            relate(called + " bound to " + name, called);
        }
        for (const Action& line : actions_of(main_, profile)) {
            const std::string record = text("line record %u", stores_.action.number(offset_of(main_, line)));
            add(record + " of " + name, record, line.line);
        }
    }
    void read_groups()
    {
        for (u32 i = 0; i < header_.prot_groups.count; ++i) {
            const ProtGroup& group = header_.prot_groups.group[i];
            const std::string name = text("protocol group %u", +group.group);
            relate(name, name);
            for (u32 k = 0; k < group.nprot; ++k) relate(text("protocol %u of %s", +group.prot[k], name.c_str()), name);
        }
    }

    Base main_;
    Base fdb_;
    const Header& header_;
    audit::Stores stores_;
    Objects objects_;
};

}  // namespace

Objects objects_of(const Bytes& bytes) { return Reader(bytes).read(); }

}  // namespace crash
