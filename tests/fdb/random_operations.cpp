// Random operations on a small database, compared after each with a model of the same rules: results, codes, every entry in
// its place, every counter, the free list and the commands sent. ZELFDB_STEPS makes the run longer.
#include <cstdlib>
#include <cstring>

#include "model.h"
#include "support/invariants.h"
#include "support/random.h"

namespace zelfdb {
namespace {

u32 number_from(const char* variable, u32 otherwise)
{
    const char* const value = std::getenv(variable);
    return value ? static_cast<u32>(std::strtoul(value, nullptr, 0)) : otherwise;
}

class RandomOperations : public Fdb {
protected:
    static constexpr u32 usual_steps = 4000;
    static constexpr u32 nfil = 36;
    static constexpr u32 port_ids[] = {3, 5, 105, 50};
    static constexpr u32 vids[] = {10, 20, 30};

    RandomOperations() : Fdb(8, 4, nfil) {}

    void SetUp() override
    {
        Fdb::SetUp();
        begin();
    }

    // An empty database with its ports and VLANs, and a model of it.
    void begin()
    {
        init(8, 4, nfil);
        for (const u32 vid : vids) given_vlan(static_cast<u16>(vid), "vlan" + std::to_string(vid));
        model_ = std::make_unique<Model>(std::set<u32>(std::begin(vids), std::end(vids)), free_records());
        for (const u32 port_id : port_ids) make_port(port_id);
        recorder::reset();
    }
    void make_port(u32 port_id)
    {
        Port& port = given_port(port_id);
        port.p_flag = 0x51;
        port.aging = any(0, 20);
        model_->create_port(port_id, port.aging);
    }

    [[nodiscard]] u32 any(u32 lowest, u32 highest) { return lowest + random_.below(highest - lowest + 1); }
    [[nodiscard]] bool one_in(u32 times) { return any(1, times) == 1; }
    // One that exists, nearly always.
    [[nodiscard]] u32 any_port() { return one_in(20) ? any(0, 1) * 77 : port_ids[any(0, 3)]; }
    [[nodiscard]] u32 any_vid() { return one_in(20) ? any(0, 1) * 11 : vids[any(0, 2)]; }
    [[nodiscard]] u32 any_permit() { return any(0, 2); }
    [[nodiscard]] u32 any_flag() { return any(0, 3) == 0 ? 4 : any(0, 0xFFFF) & 0xFFFB; }
    // Few enough to meet again, in three buckets.
    [[nodiscard]] Mac any_mac()
    {
        const u32 bucket = any(0, 2) == 0 ? 0 : any(0, 1) * 0x7F + 0x80;
        const u32 upper = any(0, 5);
        return mac((one_in(30) ? 0x010000000000 : 0) + (u64{upper} << 16) + ((bucket - upper) & 0xFF));
    }
    // One that is there, as often as not.
    [[nodiscard]] Mac known_mac(u32 FID, u32 type)
    {
        const std::vector<ModelEntry> known = model_->listed(FID, type);
        return known.empty() || one_in(2) ? any_mac() : known[any(0, static_cast<u32>(known.size()) - 1)].mac;
    }
    void set_time()
    {
        now_s_ += any(0, 2);
        environment::set_time_s(now_s_);
        tick_ms_ += any(0, 1000);
    }

    // ---- One step ----

    template <class Function, class... Arguments>
    Said said(Function function, Arguments... arguments)
    {
        u32 err = 777;
        const int result = function(arguments..., &err);
        ++met_["code " + std::to_string(err)];
        return {result, err};
    }
    void create_static()
    {
        const u32 vid = any_vid();
        const Mac address = any_mac();
        const u32 port_id = any_port();
        const u32 flag = any_flag();
        const u32 permit = any_permit();
        const Said expected = model_->create_static(vid, address, port_id, flag, permit);
        EXPECT_EQ(expected, one_in(2) ? said(zelfdb_create_sfil, vid, address.byte, port_id, flag, permit)
                                      : said(zelfdb_create_sfil2, &d(), vid, address.byte, port_id, flag, permit));
    }
    void delete_static()
    {
        const u32 vid = any_vid();
        const Mac address = known_mac(vid, any(2, 3));
        const u32 permit = any_permit();
        const Said expected = model_->delete_static(vid, address, permit);
        EXPECT_EQ(expected, one_in(2) ? said(zelfdb_delete_sfil, vid, address.byte, permit)
                                      : said(zelfdb_delete_sfil2, &d(), vid, address.byte, permit));
    }
    void create_local()
    {
        const u32 port_id = any_port();
        const Mac address = any_mac();
        const u32 flag = any_flag();
        const u32 permit = any_permit();
        const Said expected = model_->create_local(port_id, address, flag, permit);
        EXPECT_EQ(expected, said(zelfdb_create_lfil, port_id, address.byte, flag, permit));
    }
    void delete_local()
    {
        const u32 port_id = any_port();
        const Mac address = known_mac(0xC000 + port_id, 1);
        const u32 permit = any_permit();
        const Said expected = model_->delete_local(port_id, address, permit);
        EXPECT_EQ(expected, said(zelfdb_delete_lfil, port_id, address.byte, permit));
    }
    void learn_one()
    {
        set_time();
        const u32 vid = any_vid();
        const u32 port_id = any_port();
        const Mac address = known_mac(vid, 3);
        const ModelEntry* const known = model_->find(vid, address);
        const u32 cookie = known && !one_in(4) ? known->offset : any(0, nfil) * 44;
        // VID 0 is a priority tag, for the port's PVID, which is 0 here.
        const int expected = model_->learn(vid, port_id, address, tick_ms_, cookie, now_s_);
        ++met_[expected != 0 ? "not learned" : model_->sent.empty() ? "ignored" : known ? "moved" : "learned"];
        EXPECT_EQ(expected,
                  learn_frame(tagged_frame(address, static_cast<u16>(vid)), indication(port_id, tick_ms_, cookie)));
    }
    void age()
    {
        set_time();
        const u32 idle_ms = any(0, 22000);
        const bool found = !one_in(8);
        recorder::answer_find(found ? 0 : 1, tick_ms_, tick_ms_ - idle_ms);
        model_->age(now_s_, tick_ms_, idle_ms, found);
        for (const std::string& line : model_->sent) ++met_[line[0] == 'f' ? "asked about" : "aged out"];
        EXPECT_EQ(0, zelfdb_do_aging(&d()));
    }
    void clear()
    {
        if (one_in(4)) {
            model_->clear(std::nullopt);
            EXPECT_EQ(0, zelfdb_clear_fdb());
            return;
        }
        const u32 vid = any_vid();
        const bool there = model_->vlans.count(vid) != 0;
        if (there) model_->clear(vid);
        EXPECT_EQ(there ? 0 : -1, zelfdb_clear_fdb_vlan(vid));
    }
    void set_limits()
    {
        if (one_in(2)) {
            model_->limit = one_in(3) ? any(1, nfil) : 0;
            EXPECT_EQ((Said{0, 1}), said(zelfdb_set_fdb_userarea, model_->limit));
            return;
        }
        const u32 vid = vids[any(0, 2)];
        const u32 limit = one_in(3) ? any(1, 10) : 0;
        model_->vlans.at(vid).learnlimit = table(vid).learnlimit = limit;
    }
    void flush_static()
    {
        const u32 port_id = any_port();
        model_->flush_static(port_id);
        if (one_in(2)) {
            EXPECT_EQ((Said{0, 0}), said(zelfdb_delete_sfil_select_port, port_id));
        } else {
            EXPECT_EQ(0, zelfdb_delete_sfil_select_port2(&d(), port_id));
        }
    }
    // Its learned entries outlive a port; the same ID may come back.
    void renew_port()
    {
        for (const u32 port_id : port_ids) {
            if (port(port_id)) continue;
            make_port(port_id);
            return;
        }
        const u32 port_id = port_ids[any(0, 3)];
        model_->delete_port(port_id);
        u32 err = 0;
        EXPECT_EQ(0, zelfdb_delete_port(port_id, &err));
        std::erase_if(recorder::log(), [](const std::string& line) { return line.rfind("delete_port(", 0) == 0; });
    }
    void list()
    {
        const bool learned = one_in(2);
        const u32 vid = vids[any(0, 2)];
        const std::vector<ModelEntry> expected = model_->listed(vid, learned ? 3 : 2);
        const u32 capacity = any(1, 6);
        const Buffer buffer = buffer_of(capacity, any(20, 24));
        zelfdb_fdb_cursor cursor{};
        std::size_t at = 0;
        for (;;) {
            const int result = learned ? zelfdb_get_all_dfil(vid, &cursor, buffer.get())
                                       : zelfdb_get_all_sfil(vid, &cursor, buffer.get());
            ASSERT_EQ(expected.size() - at > capacity ? 1 : 0, result);
            ASSERT_EQ(std::min<std::size_t>(capacity, expected.size() - at), buffer->filled);
            ASSERT_EQ(Model::counts(model_->vlans.at(vid)).nfil, buffer->total);
            for (u32 i = 0; i < buffer->filled; ++i, ++at) expect_listed(expected[at], *buffer, i, learned);
            if (result == 0) break;
        }
        EXPECT_EQ(expected.size(), at);
    }
    void expect_listed(const ModelEntry& expected, const zelfdb_ropebuf& buffer, u32 i, bool learned) const
    {
        zelfdb_fdb_record found{};
        std::memcpy(&found, buffer.records + std::size_t{i} * buffer.record_size, sizeof found);
        EXPECT_EQ(0, std::memcmp(found.mac, expected.mac.byte, 6));
        EXPECT_EQ(mac_bucket(expected.mac), found.bucket);
        EXPECT_EQ(expected.flag & 0xFF, found.flag);
        EXPECT_EQ(expected.permit & 0xFF, found.permit);
        EXPECT_EQ(expected.flag & 4 ? 0 : expected.port, found.port);
        if (!learned) return;
        const auto age_s = static_cast<i32>(now_s_ - expected.seen_s);
        EXPECT_EQ(age_s < 0 ? 0 : age_s, found.age_s);
    }

    void step()
    {
        model_->sent.clear();
        model_->evicted = false;
        model_->refuse_addition = one_in(40);
        if (model_->refuse_addition) refuse("addFDB", refusals[any(0, 2)]);
        if (one_in(10)) refuse("removeFDB", refusals[any(0, 2)]);
        const u32 choice = any(0, 99);
        if (choice < 18) return trace("create a static entry", &RandomOperations::create_static);
        if (choice < 33) return trace("delete a static entry", &RandomOperations::delete_static);
        if (choice < 38) return trace("create a local entry", &RandomOperations::create_local);
        if (choice < 44) return trace("delete a local entry", &RandomOperations::delete_local);
        if (choice < 79) return trace("learn", &RandomOperations::learn_one);
        if (choice < 85) return trace("age", &RandomOperations::age);
        if (choice < 86) return trace("clear", &RandomOperations::clear);
        if (choice < 91) return trace("set a limit", &RandomOperations::set_limits);
        if (choice < 93) return trace("flush a port's static entries", &RandomOperations::flush_static);
        if (choice < 95) return trace("delete or create a port", &RandomOperations::renew_port);
        return trace("list", &RandomOperations::list);
    }
    void trace(const char* what, void (RandomOperations::*operation)())
    {
        SCOPED_TRACE(what);
        (this->*operation)();
        if (model_->evicted) ++met_["evicted"];
        expect_as_modelled();
    }

    // ---- Comparison ----

    void expect_as_modelled()
    {
        EXPECT_EQ(model_->sent, sent());
        for (const auto& [vid, expected] : model_->vlans) expect_table(expected, table(vid), vid);
        for (const auto& [port_id, expected] : model_->ports) {
            expect_table(model_->locals[0xC000 + port_id], own_table(port_id), 0xC000 + port_id);
        }
        EXPECT_EQ((Totals{model_->users(), model_->systems()}), totals());
        EXPECT_EQ(model_->free, free_records());
        EXPECT_EQ(model_->limit, header().fdb_userarea);
        recorder::reset();
    }
    void expect_table(const ModelTable& expected, const FdbHead& actual, u32 FID) const
    {
        SCOPED_TRACE("FID " + text(FID));
        EXPECT_EQ(FID, actual.FID);
        EXPECT_EQ(expected.learnlimit, actual.learnlimit);
        EXPECT_EQ(Model::counts(expected), counts(actual));
        for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
            const auto chain_of_model = expected.chains.find(bucket);
            if (chain_of_model == expected.chains.end() && actual.bucket[bucket] == none) continue;
            std::vector<u32> places;
            if (chain_of_model != expected.chains.end()) {
                for (const ModelEntry& entry : chain_of_model->second) places.push_back(entry.offset);
            }
            ASSERT_EQ(places, offsets<&Fil::link>(fdb(), actual.bucket[bucket]));
            if (places.empty()) continue;
            for (const ModelEntry& entry : chain_of_model->second) expect_entry(entry, actual);
        }
    }
    void expect_entry(const ModelEntry& expected, const FdbHead& owner) const
    {
        const Fil& actual = record(expected.offset);
        EXPECT_TRUE(same_mac(expected.mac, actual.mac));
        EXPECT_EQ(offset_of(base(), owner), actual.offset);
        EXPECT_EQ(expected.type, actual.fil_type);
        EXPECT_EQ(expected.port, actual.port);
        EXPECT_EQ(expected.flag, actual.fil_flag);
        EXPECT_EQ(expected.permit, actual.fil_permit);
        EXPECT_EQ(expected.tick_ms, actual.lastValidate);
        EXPECT_EQ(expected.seen_s, actual.last_seen);
    }
    // What a run of the usual length meets, whatever its seed.
    void expect_to_have_met_everything() const
    {
        for (const char* const what :
             {"code 0", "code 1", "code 102", "code 103", "code 105", "code 2001", "code 2002", "code 2101",
              "code 2102", "learned", "moved", "ignored", "not learned", "asked about", "aged out", "evicted"}) {
            EXPECT_TRUE(met_.count(what)) << what;
        }
    }
    [[nodiscard]] u32 lost() const { return model_->lost; }

private:
    Random random_;
    std::unique_ptr<Model> model_;
    std::map<std::string, u32> met_;
    u32 now_s_ = 1000;
    u32 tick_ms_ = 0xFFFF0000;  // wraps on its way
};

TEST_F(RandomOperations, LeaveTheDatabaseAsTheModelHasIt)
{
    const u32 steps = number_from("ZELFDB_STEPS", usual_steps);
    SCOPED_TRACE(Random::trace());
    begin();
    for (u32 i = 0; i < steps; ++i) {
        SCOPED_TRACE("step " + std::to_string(i));
        step();
        if (i % 100 == 0) {
            EXPECT_THAT(broken_invariants(d()), testing::IsEmpty());
        }
        if (HasFailure()) return;
        // Refused entries take their records with them: a database without any is of no more use.
        if (lost() > nfil / 2) begin();
    }
    if (steps >= usual_steps) expect_to_have_met_everything();
}

}  // namespace
}  // namespace zelfdb
