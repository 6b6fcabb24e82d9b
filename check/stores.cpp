#include "check/stores.h"

namespace zelfdb::audit {
namespace {

// The pools follow one another without gaps: takes the next one's bytes.
class Area {
public:
    explicit Area(u64 from) : end_(from) {}
    u32 take(u64 count, u64 record_bytes)
    {
        const u64 first = end_;
        end_ += count * record_bytes;
        return static_cast<u32>(first);
    }
    [[nodiscard]] u64 end() const { return end_; }

private:
    u64 end_;
};

}  // namespace

Stores stores_of(const Segments& segments, u32 nport, u32 nvlan, u32 nfil)
{
    const Base main = base_of(segments.main);
    Area area(sizeof(Header));
    Stores stores{};
    area.take(nfil, sizeof(Fil));  // the reserve that the FDB segment has replaced
    stores.port = {"port", main, area.take(nport, sizeof(Port)), nport};
    stores.stream = {"stream", main, area.take(stream_count, sizeof(Stream)), stream_count};
    stores.queue = {"queue", main, area.take(queue_count, sizeof(Queue)), queue_count};
    stores.vlan = {"VLAN", main, area.take(nvlan, sizeof(VlanSlot)), nvlan, sizeof(VlanSlot)};
    stores.pv = {"membership", main, stores.vlan.first, nvlan};
    stores.phport = {"physical port", main, area.take(phport_count, sizeof(Phport)), phport_count};
    stores.classify = {"profile", main, area.take(classify_count, sizeof(Classify)), classify_count};
    stores.action = {"line", main, area.take(action_count, sizeof(Action)), action_count};
    stores.fil = {"entry", base_of(segments.fdb), 0, nfil};
    stores.main_end = area.end();
    stores.fdb_end = u64{nfil} * sizeof(Fil);
    return stores;
}

}  // namespace zelfdb::audit
