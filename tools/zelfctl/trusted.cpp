#include "trusted.h"

#include <linux/capability.h>
#include <sys/shm.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "core/records.h"
#include "language/types.h"

namespace zelfctl {
namespace {

using zelfdb::Header;
using zelfdb::Offset;

constexpr key_t main_key = 0x5A454C01;
constexpr key_t fdb_key = 0x5A454C02;

// A segment as far as its header, detached when this goes.
class HeaderSeen {
public:
    explicit HeaderSeen(int id) : address_(shmat(id, nullptr, SHM_RDONLY)) {}
    ~HeaderSeen()
    {
        if (*this) shmdt(address_);
    }
    HeaderSeen(const HeaderSeen&) = delete;
    HeaderSeen& operator=(const HeaderSeen&) = delete;

    explicit operator bool() const { return address_ != reinterpret_cast<void*>(-1); }
    [[nodiscard]] const Header& header() const { return *static_cast<const Header*>(address_); }

private:
    void* address_;
};

std::string error_text()
{
    if (errno == ENOENT) return "there is no database: make one with 'zelfctl init'";
    return std::string("the database cannot be opened: ") + std::strerror(errno);
}

// The size in bytes of the segment with that key; nothing is attached for it.
bool find(key_t key, int& id, u64& size)
{
    id = shmget(key, 0, 0);
    shmid_ds status{};
    if (id < 0 || shmctl(id, IPC_STAT, &status) != 0) return false;
    size = status.shm_segsz;
    return true;
}

std::string too_small(const char* segment, u64 size, u64 needed)
{
    return std::string("the ") + segment + " segment is not that of a database: it has " + std::to_string(size) +
           " bytes where " + std::to_string(needed) + " are needed; 'zelfctl init --replace' makes a new one";
}

// Where the records of a kind lie: each list and each index slot leads to one of them or nowhere.
struct Pool {
    u64 first;
    u64 stride;
    u64 count;

    [[nodiscard]] u64 end() const { return first + stride * count; }
    [[nodiscard]] bool leads_well(Offset link) const
    {
        if (link.value == 0xFFFFFFFF) return true;
        return link.value >= first && link.value < end() && (link.value - first) % stride == 0;
    }
    template <std::size_t size>
    [[nodiscard]] bool lead_well(const Offset (&links)[size]) const
    {
        for (const Offset link : links) {
            if (!leads_well(link)) return false;
        }
        return true;
    }
};

// The pools lie one behind the other, in this order, behind the header and a space as large as the entries.
struct Pools {
    Pool port, stream, queue, vlan, phport, classify, action, fil;

    explicit Pools(const Header& header)
    {
        u64 at = sizeof(Header) + u64{header.nfil} * sizeof(zelfdb::Fil);
        const auto next = [&at](u64 stride, u64 count) {
            const Pool pool{at, stride, count};
            at = pool.end();
            return pool;
        };
        port = next(sizeof(zelfdb::Port), header.nport);
        stream = next(sizeof(zelfdb::Stream), zelfdb::stream_count);
        queue = next(sizeof(zelfdb::Queue), zelfdb::queue_count);
        vlan = next(sizeof(zelfdb::VlanSlot), header.nvlan);
        phport = next(sizeof(zelfdb::Phport), zelfdb::phport_count);
        classify = next(sizeof(zelfdb::Classify), zelfdb::classify_count);
        action = next(sizeof(zelfdb::Action), zelfdb::action_count);
        fil = {0, sizeof(zelfdb::Fil), header.nfil};
    }
};

// The first thing in the header that cannot be so, or null.
const char* impossible(const Header& h, const Pools& pools)
{
    const struct {
        bool good;
        const char* what;
    } rules[] = {
        {pools.port.leads_well(h.port_head) && pools.port.leads_well(h.port_free), "the list of ports"},
        {pools.port.lead_well(h.port_index) && pools.port.lead_well(h.pvid_chain), "the index of ports"},
        {h.port_count <= h.nport, "the number of ports"},
        {pools.phport.leads_well(h.phport_head) && pools.phport.lead_well(h.phport_index), "the physical ports"},
        {pools.stream.leads_well(h.stream_head) && pools.stream.leads_well(h.stream_free), "the list of streams"},
        {pools.stream.lead_well(h.stream_index), "the index of streams"},
        {h.stream_total <= zelfdb::stream_count, "the number of streams"},
        {pools.queue.leads_well(h.queue_head) && pools.queue.leads_well(h.queue_free), "the list of queues"},
        {pools.queue.lead_well(h.queue_index), "the index of queues"},
        {h.queue_total <= zelfdb::queue_count, "the number of queues"},
        {pools.vlan.leads_well(h.vlan_head) && pools.vlan.leads_well(h.vlan_free), "the list of VLANs"},
        {pools.vlan.lead_well(h.vlan_index) && pools.vlan.lead_well(h.vlan_name), "the index of VLANs"},
        {h.vlan_count <= h.nvlan, "the number of VLANs"},
        {pools.fil.leads_well(h.fil_free), "the free entries"},
        {pools.classify.leads_well(h.classify_head) && pools.classify.leads_well(h.classify_free),
         "the list of classify lists"},
        {pools.classify.lead_well(h.classify_index), "the index of classify lists"},
        {pools.action.leads_well(h.action_free), "the free lines"},
        {h.prot_groups.count <= std::size(h.prot_groups.group), "the number of protocol groups"},
    };
    for (const auto& rule : rules) {
        if (!rule.good) return rule.what;
    }
    return nullptr;
}

}  // namespace

bool may_use_database()
{
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3]{};
    if (syscall(SYS_capget, &header, data) != 0) return false;
    return (data[0].effective & (1u << CAP_IPC_OWNER)) != 0;
}

std::string why_not_a_database()
{
    int main_id = 0;
    int fdb_id = 0;
    u64 main_size = 0;
    u64 fdb_size = 0;
    if (!find(main_key, main_id, main_size) || !find(fdb_key, fdb_id, fdb_size)) return error_text();
    if (main_size < sizeof(Header)) return too_small("main", main_size, sizeof(Header));
    const HeaderSeen main(main_id);
    if (!main) return error_text();
    const Pools pools(main.header());
    if (main_size < pools.action.end()) return too_small("main", main_size, pools.action.end());
    if (fdb_size < pools.fil.end()) return too_small("FDB", fdb_size, pools.fil.end());
    if (const char* const what = impossible(main.header(), pools)) {
        return std::string("the main segment is not that of a database: its header is impossible (") + what +
               "); 'zelfctl init' lays it out anew";
    }
    return {};
}

}  // namespace zelfctl
