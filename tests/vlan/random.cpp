// Random sequences of operations on ports, VLANs, memberships and protocol groups, compared with a model after each step.
#include "support/random.h"
#include "support/exported.h"
#include "support/invariants.h"
#include "support/record_buffer.h"
#include "vlan/model.h"

namespace zelfdb {
namespace {

constexpr u32 nport = 10;
constexpr u32 nvlan = 6;
constexpr int steps = 1600;
constexpr int steps_of_a_phase = 400;

class RandomOperations : public Exported {
protected:
    RandomOperations() : Exported(nport, nvlan, 4), model_(nport, nvlan) {}

    u32 pick(u32 count) { return random_.below(count); }
    template <class Value, std::size_t count>
    Value one_of(const Value (&values)[count])
    {
        return values[pick(static_cast<u32>(count))];
    }
    u32 any_port()
    {
        constexpr u32 ids[] = {0, 1, 2, 3, 4, 5, 10, 11, 101, 164, 198, 199};
        return one_of(ids);
    }
    u32 any_vid()
    {
        constexpr u32 vids[] = {1, 2, 3, 4, 5, 6, 100, 4093, 4094, 4095};
        return one_of(vids);
    }
    // Mostly one that exists.
    u32 some_port()
    {
        if (pick(12) == 0 || model_.ports().empty()) return any_port();
        return std::next(model_.ports().begin(), pick(static_cast<u32>(model_.ports().size())))->first;
    }
    u32 some_vid()
    {
        if (pick(12) == 0 || model_.vlans().empty()) return any_vid();
        if (pick(2) == 0) return model_.vlans().begin()->first;
        return std::next(model_.vlans().begin(), pick(static_cast<u32>(model_.vlans().size())))->first;
    }
    u32 some_group() { return 1 + pick(10); }
    u32 some_protocol() { return 0x800 + pick(40); }

    // An operation of the library and the same of the model, on the same arguments.
    struct Step {
        std::string name;
        Outcome outcome;
        model::Answer answer;
        bool preset;
    };
    Step create_port();
    Step delete_port();
    Step enable_port();
    Step disable_port();
    Step set_uplink();
    Step set_phport();
    Step set_pvid();
    Step create_vlan();
    Step delete_vlan();
    Step set_vlans();
    Step join();
    Step leave();
    Step create_group();
    Step delete_group();
    Step add_protocol();
    Step remove_protocol();

    // How often, in phases of filling, in which pools, VLANs and tables get full, and in phases of emptying.
    struct Choice {
        Step (RandomOperations::*step)();
        u32 when_filling;
        u32 when_emptying;
    };
    static constexpr Choice choices[] = {
        {&RandomOperations::create_port, 20, 4},  {&RandomOperations::delete_port, 1, 16},
        {&RandomOperations::enable_port, 3, 3},   {&RandomOperations::disable_port, 3, 3},
        {&RandomOperations::set_uplink, 3, 6},    {&RandomOperations::set_phport, 2, 2},
        {&RandomOperations::set_pvid, 3, 6},      {&RandomOperations::create_vlan, 10, 4},
        {&RandomOperations::delete_vlan, 2, 8},   {&RandomOperations::set_vlans, 6, 6},
        {&RandomOperations::join, 60, 10},        {&RandomOperations::leave, 4, 30},
        {&RandomOperations::create_group, 10, 2}, {&RandomOperations::delete_group, 1, 8},
        {&RandomOperations::add_protocol, 14, 4}, {&RandomOperations::remove_protocol, 2, 8}};
    Step next_step();

    void expect_as_answered(const Step& step, bool NP_refuses);
    [[nodiscard]] std::string text_of_database();
    [[nodiscard]] std::string text_of_ports();
    [[nodiscard]] std::string text_of_vlans();
    void expect_small_readers_agree();

    model::Model model_;
    Random random_;
    bool filling_ = true;
};

RandomOperations::Step RandomOperations::create_port()
{
    constexpr i32 types[] = {0, 0, 0, 0, 1, 1, 2};
    const u32 id = any_port();
    const u32 phport = pick(6);
    const i32 p_type = one_of(types);
    return {"create port " + std::to_string(id), call(zelfdb_create_port, id, phport, p_type),
            model_.create_port(id, phport, p_type), false};
}

RandomOperations::Step RandomOperations::delete_port()
{
    const u32 id = some_port();
    return {"delete port " + std::to_string(id), call(zelfdb_delete_port, id), model_.delete_port(id), false};
}

RandomOperations::Step RandomOperations::enable_port()
{
    const u32 id = some_port();
    return {"enable port " + std::to_string(id), call(zelfdb_enable_port, id), model_.enable(id), false};
}

RandomOperations::Step RandomOperations::disable_port()
{
    const u32 id = some_port();
    return {"disable port " + std::to_string(id), call(zelfdb_disable_port, id), model_.disable(id), false};
}

RandomOperations::Step RandomOperations::set_uplink()
{
    constexpr u32 values[] = {0, 0, 1, 2};
    const u32 id = some_port();
    const u32 value = one_of(values);
    return {"uplink of port " + std::to_string(id), call(zelfdb_set_uplink_flag, id, value),
            model_.set_uplink(id, value), false};
}

RandomOperations::Step RandomOperations::set_phport()
{
    const u32 id = some_port();
    const zelfdb_port_param param{0, 0, 0, static_cast<u8>(pick(6)), 0, 0, 0};
    return {"phport of port " + std::to_string(id),
            call(zelfdb_set_param_to_port, id, &param, 0, 0, ZELFDB_SELECT_PHPORT, 0),
            model_.set_phport(id, param.phport), true};
}

RandomOperations::Step RandomOperations::set_pvid()
{
    const u32 id = some_port();
    const u32 wanted = pick(3) != 0 ? 0 : some_vid();
    const zelfdb_port_param param{0, 0, 0, 0, 0, 0, static_cast<u16>(wanted)};
    return {"PVID of port " + std::to_string(id),
            call(zelfdb_set_param_to_port2, &d(), id, &param, 0, 0, ZELFDB_SELECT_PVID, 0), model_.set_pvid(id, wanted),
            true};
}

RandomOperations::Step RandomOperations::create_vlan()
{
    constexpr i32 others[] = {-1, 0, 4095};
    i32 vid = pick(3) == 0 ? one_of(others) : static_cast<i32>(any_vid());
    i32 models = vid;
    const std::string name = pick(10) == 0 ? std::string(31, 'n') : "name " + std::to_string(pick(14));
    Step step{"create VLAN " + std::to_string(vid), call(zelfdb_create_vlan, name.c_str(), &vid),
              model_.create_vlan(name, models), true};
    EXPECT_EQ(vid, models);
    return step;
}

RandomOperations::Step RandomOperations::delete_vlan()
{
    const u32 vid = some_vid();
    return {"delete VLAN " + std::to_string(vid), call(zelfdb_delete_vlan, vid), model_.delete_vlan(vid), true};
}

RandomOperations::Step RandomOperations::set_vlans()
{
    const u32 vid = pick(4) == 0 ? 0 : some_vid();
    const auto signed_vid = static_cast<i32>(vid);
    const u32 value = pick(3);
    const std::string on = " of VLAN " + std::to_string(vid);
    switch (pick(4)) {
    case 0:
        return {"loop detection" + on, call(zelfdb_set_vlan_sld, signed_vid, value),
                model_.set_vlans(vid, 0x2, value, ""), true};
    case 1:
        return {"learning limit" + on, call(zelfdb_set_vlan_learninglimit, signed_vid, value),
                model_.set_vlans(vid, 0, value, ""), true};
    case 2:
        return {"ignoring the FDB" + on, call(zelfdb_set_vlan_ignore_fdb, vid, value),
                model_.set_vlans(vid, 0x4, value, "set_vl_flag"), true};
    default:
        return {"learning off" + on, call(zelfdb_set_vlan_learning_off, vid, value),
                model_.set_vlans(vid, 0x8, value, "set_vl_flag"), true};
    }
}

RandomOperations::Step RandomOperations::join()
{
    const u32 vid = some_vid();
    const u32 id = some_port();
    const bool tagged = pick(2) != 0;
    const bool by_protocol = pick(2) != 0;
    const u32 tagtype = 0x8100 + pick(3);
    const u32 group = some_group();
    return {"port " + std::to_string(id) + " joins VLAN " + std::to_string(vid),
            call(zelfdb_add_port_to_vlan, vid, id, u32{tagged}, tagtype, u32{by_protocol}, static_cast<i32>(group)),
            model_.join(vid, id, tagged, tagtype, by_protocol, group), true};
}

RandomOperations::Step RandomOperations::leave()
{
    const u32 vid = some_vid();
    const u32 id = some_port();
    return {"port " + std::to_string(id) + " leaves VLAN " + std::to_string(vid),
            call(zelfdb_rem_port_from_vlan, vid, id), model_.leave(vid, id), true};
}

RandomOperations::Step RandomOperations::create_group()
{
    const u32 group = some_group();
    return {"create group " + std::to_string(group), call(zelfdb_create_protgroup, group), model_.create_group(group),
            true};
}

RandomOperations::Step RandomOperations::delete_group()
{
    const u32 group = some_group();
    return {"delete group " + std::to_string(group), call(zelfdb_delete_protgroup, group), model_.delete_group(group),
            true};
}

RandomOperations::Step RandomOperations::add_protocol()
{
    const u32 group = some_group();
    const u32 protocol = some_protocol();
    return {"add to group " + std::to_string(group), call(zelfdb_add_prot_to_group, protocol, group),
            model_.add_protocol(protocol, group), true};
}

RandomOperations::Step RandomOperations::remove_protocol()
{
    const u32 group = some_group();
    const u32 protocol = some_protocol();
    return {"remove from group " + std::to_string(group), call(zelfdb_remove_prot_from_group, protocol, group),
            model_.remove_protocol(protocol, group), true};
}

RandomOperations::Step RandomOperations::next_step()
{
    const auto weight = [this](const Choice& choice) { return filling_ ? choice.when_filling : choice.when_emptying; };
    u32 all = 0;
    for (const Choice& choice : choices) all += weight(choice);
    u32 left = pick(all);
    const Choice* chosen = choices;
    while (left >= weight(*chosen)) left -= weight(*chosen++);
    return (this->*chosen->step)();
}

void RandomOperations::expect_as_answered(const Step& step, bool NP_refuses)
{
    const bool failed = step.answer.code != 0 || (NP_refuses && step.answer.NP_decides);
    EXPECT_EQ(step.outcome.result, failed ? -1 : 0);
    EXPECT_EQ(step.outcome.err, step.answer.code != 0 ? step.answer.code : step.preset ? 1 : untouched);
    Commands kinds;
    for (const std::string& command : step.outcome.commands) kinds.push_back(command.substr(0, command.find('(')));
    Commands expected;
    for (const std::string& kind : step.answer.commands) {
        expected.push_back(kind);
        if (NP_refuses) expected.push_back(kind);
    }
    EXPECT_EQ(kinds, expected);
}

std::string RandomOperations::text_of_ports()
{
    std::string text;
    RecordBuffer buffer(1 + pick(nport + 1), sizeof(zelfdb_port_info) + pick(5), pick(4), 0);
    zelfdb_cursor cursor{0, 0};
    for (u32 calls = 0; calls <= nport; ++calls) {
        const int result = zelfdb_get_all_portinfo(&cursor, buffer.get());
        if (result < 0) return model_.ports().empty() ? "" : "the bulk reader of ports failed\n";
        EXPECT_EQ(buffer.total(), model_.ports().size());
        for (u32 i = 0; i < buffer.filled(); ++i) {
            zelfdb_port_info info;
            std::memcpy(&info, buffer.record(i), sizeof info);
            const Port& record = *port(info.port_id);
            const auto dec = [](u32 number) { return " " + std::to_string(number); };
            text += "port" + dec(info.port_id) + " type" + dec(info.p_type) + " phport" + dec(info.phport) + " pvid" +
                    dec(info.PVID) + " optate" + dec(info.optate) + " uplink" + dec(record.uplink) + " npv" +
                    dec(record.npv) + " upv" + dec(record.upv) + " in";
            const u32 rows = record.npv == 0 ? 0 : info.nmember;  // the count of a port without any is not written
            for (u32 row = 0; row < rows; ++row) {
                const zelfdb_port_member& member = info.member[row];
                text += dec(member.VID) + "/" + std::to_string(member.pv_flag) + "/" + std::to_string(member.tagtype);
            }
            text += " bindings";
            for (u32 b = 0; b < info.npg; ++b) {
                text += dec(info.prot[b].group) + ":" + std::to_string(info.prot[b].VID);
            }
            text += "\n";
        }
        if (result == 0) break;
    }
    EXPECT_TRUE(buffer.nothing_around_written());
    return text;
}

std::string RandomOperations::text_of_vlans()
{
    std::string text;
    const u32 record_size = static_cast<u32>(sizeof(zelfdb_vlan_info) + nport * sizeof(u32)) + pick(5);
    zelfdb_cursor cursor{0, 0};
    const u32 capacity = 1 + pick(nvlan + 1);
    for (u32 calls = 0; calls <= nvlan; ++calls) {
        RecordBuffer buffer(capacity, record_size, pick(4), 0);  // zeroed, because one word is added to
        const int result = zelfdb_get_all_vlaninfo(&cursor, buffer.get());
        if (result < 0) return model_.vlans().empty() ? "" : "the bulk reader of VLANs failed\n";
        EXPECT_EQ(buffer.total(), model_.vlans().size());
        for (u32 i = 0; i < buffer.filled(); ++i) {
            zelfdb_vlan_info info;
            std::memcpy(&info, buffer.record(i), sizeof info);
            const Vlan& record = *vlan(info.VID);
            const auto dec = [](u32 number) { return " " + std::to_string(number); };
            text += "vlan" + dec(info.VID) + " '" + info.name + "' flags" + dec(info.vlan_flag) + " limit" +
                    dec(record.fdb.learnlimit) + " npv" + dec(record.npv) + " upv" + dec(record.upv) + " untagged" +
                    dec(info.nuntagged) + " members";
            for (u32 row = 0; row < info.nmember; ++row) {
                text += dec(info.member[row].port_id) + "/" + std::to_string(info.member[row].p_type);
            }
            text += " ports of the PVID";
            for (u32 p = 0; p < info.npvid; ++p) text += dec(buffer.word(i, sizeof info + std::size_t{4} * p));
            text += "\n";
        }
        EXPECT_TRUE(buffer.nothing_around_written());
        if (result == 0) break;
    }
    return text;
}

std::string RandomOperations::text_of_database()
{
    std::string text = text_of_ports() + text_of_vlans();
    zelfdb_protgroup_info groups{};
    u32 err = 0;
    EXPECT_EQ(zelfdb_get_protgroup_info(&groups, &err), 0);
    for (u32 i = 0; i < groups.count; ++i) {
        text += "group " + std::to_string(groups.group[i].group) + ":";
        for (u32 p = 0; p < groups.group[i].nprot; ++p) text += " " + std::to_string(groups.group[i].prot[p]);
        text += "\n";
    }
    text += "bound";
    for (u32 id = 1; id <= 4; ++id) text += " " + std::to_string(lookup_phport(base(), header(), id)->bound);
    zelfdb_history history{};
    EXPECT_EQ(zelfdb_get_history(&history), 0);
    u32 counts[7];
    std::memcpy(counts, &history, sizeof counts);
    text += "\nhistory";
    for (const u32 count : counts) text += " " + std::to_string(count);
    return text + "\n";
}

// The readers of one object, on one port and one VLAN of the model's.
void RandomOperations::expect_small_readers_agree()
{
    u32 err = 0;
    u32 ids[nport + nvlan];
    if (!model_.ports().empty()) {
        const auto& [id, one] = *std::next(model_.ports().begin(), pick(static_cast<u32>(model_.ports().size())));
        std::vector<u32> vids;
        for (const auto& [vid, member] : one.in) vids.push_back(vid);
        const int count = zelfdb_get_vid_from_portID2(&d(), nport + nvlan, id, ids, &err);
        EXPECT_EQ(count, vids.empty() ? -1 : static_cast<int>(vids.size()));
        if (count > 0) {
            EXPECT_EQ(std::vector<u32>(ids, ids + count), vids);
        }
        RecordBuffer buffer(1 + pick(4), sizeof(zelfdb_pv_info));
        const Reading reading = read_all(buffer, 0, [id = id](zelfdb_cursor* cursor, zelfdb_ropebuf* records) {
            return zelfdb_get_all_pvinfo_in_a_port(id, cursor, records);
        });
        EXPECT_EQ(reading.keys, vids);
        zelfdb_port_info info{};
        EXPECT_EQ(zelfdb_get_portinfo(id, &info), 0);
        EXPECT_EQ(info.nmember, vids.empty() ? 1 : vids.size());
    }
    if (!model_.vlans().empty()) {
        const auto& [vid, one] = *std::next(model_.vlans().begin(), pick(static_cast<u32>(model_.vlans().size())));
        const std::vector<u32> members = model_.members_of(vid);
        const int count = zelfdb_get_portID_from_vid(nport + nvlan, vid, ids, &err);
        EXPECT_EQ(count, members.empty() ? -1 : static_cast<int>(members.size()));
        if (count > 0) {
            EXPECT_EQ(std::vector<u32>(ids, ids + count), members);
        }
        u32 found = 0;
        EXPECT_EQ(zelfdb_get_vid2(&d(), one.name.c_str(), &found, &err), 0);
        EXPECT_EQ(found, vid);
    }
}

TEST_F(RandomOperations, LeaveTheDatabaseAsTheRulesSay)
{
    u32 succeeded = 0;
    for (int i = 0; i < steps; ++i) {
        filling_ = (i / steps_of_a_phase) % 2 == 0;
        const bool NP_refuses = pick(12) == 0;
        recorder::reset();
        if (NP_refuses) recorder::fail_always(recorder::Failure::status);
        const Step step = next_step();
        recorder::reset();
        SCOPED_TRACE(random_.trace() + ", step " + std::to_string(i) + ": " + step.name +
                     (NP_refuses ? " while the NP refuses" : ""));
        expect_as_answered(step, NP_refuses);
        ASSERT_EQ(text_of_database(), model_.text());
        expect_small_readers_agree();
        if (i % 100 == 0) {
            EXPECT_THAT(broken_invariants(d()), testing::IsEmpty());
        }
        ASSERT_FALSE(HasFailure());
        if (step.answer.code == 0) ++succeeded;
    }
    EXPECT_GT(succeeded, static_cast<u32>(steps) / 5);  // or the choice of arguments is a poor one
}

}  // namespace
}  // namespace zelfdb
