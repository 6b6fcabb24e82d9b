// Random sequences of queue and stream operations against a model of plain containers, with everything callers are asked
// not to do as well: queues deleted while they serve a stream, streams deleted with their queues, ports deleted with their
// streams, slots that are not the queue's or that there are not, and an NP that refuses.
#include <array>
#include <map>
#include <utility>

#include "qos_test.h"
#include "support/random.h"

namespace zelfdb {
namespace {

template <class Id>
using List = std::vector<Id>;

template <class Id>
void drop(List<Id>& list, Id id)
{
    list.erase(std::remove(list.begin(), list.end(), id), list.end());
}

// A record's number in its pool. Which record an object gets is part of the model, because a record that some list still
// leads to when it is handed out again takes the place of its former owner there.
using Record = u32;

struct ModelQueue {
    Queue payload{};         // all but the links
    bool links_gone = true;  // it links back to none: handed out and not inserted since, or made first by a removal
};
struct ModelStream {
    Stream payload{};  // all but links and heads
    std::array<List<Record>, class_count> slots;
};

class Model {
public:
    Model()
    {
        for (Record i = 0; i < queue_count; ++i) free_queues.push_back(i);
        for (Record i = 0; i < stream_count; ++i) free_streams.push_back(i);
    }

    bool np_refuses = false;
    i32 budget = 65536;
    std::map<u32, List<Record>> ports;  // the streams that a port's list leads to
    List<Record> queues;                // in list order
    List<Record> streams;
    List<Record> free_queues;  // the last is the next to be handed out
    List<Record> free_streams;
    std::map<u32, Record> queue_index;
    std::map<u32, Record> stream_index;
    std::array<ModelQueue, queue_count> queue;
    std::array<ModelStream, stream_count> stream;

    Outcome create_queue(u16 number, i32 size, u32 length)
    {
        if (queue_index.count(number)) return refused(2301);
        if (budget < size) return refused(2303);
        move_budget(-i64{size});
        const Record record = free_queues.back();
        cut_behind(record);
        queue[record] = {};
        Queue& payload = queue[record].payload;
        payload.queueno = number;
        payload.size = static_cast<u16>(static_cast<u32>(size) & 0xFFFF);
        payload.queue_length = length;
        const Commands lines = told("create_queue", {number, static_cast<u32>(size), length});
        if (np_refuses) return {-1, 2302, lines};
        free_queues.pop_back();
        insert(queues, record, [&](Record one) { return u32{queue[one].payload.queueno}; });
        if (number < queue_count) queue_index[number] = record;
        return done(lines);
    }

    Outcome delete_queue(u16 number)
    {
        if (!queue_index.count(number)) return refused(107);
        const Record record = queue_index[number];
        move_budget(queue[record].payload.size);
        drop(queues, record);
        queue_index.erase(number);
        free_queues.push_back(record);
        return done(told("delete_queue", {number}));
    }

    Outcome attach(u16 number, u16 streamno, u32 class_no, u32 mode, u32 pri, u32 ratio)
    {
        if (!stream_index.count(streamno)) return refused(106);
        if (!queue_index.count(number)) return refused(107);
        if (serves_a_stream(number)) return refused(2351);
        const Record record = queue_index[number];
        Queue& payload = queue[record].payload;
        payload.streamno = streamno;
        payload.class_no = static_cast<u8>(class_no & 0xFF);
        payload.mode = static_cast<u8>(mode);
        weigh(payload, pri, ratio);
        if (class_no < class_count) {
            List<Record>& slot = stream[stream_index[streamno]].slots[class_no];
            const auto place = insert(slot, record, [&](Record one) { return u32{queue[one].payload.queueno}; });
            queue[record].links_gone = false;
            if (place + 1 < slot.size()) queue[slot[place + 1]].links_gone = false;
        }
        return done(told("add_queue", {number, streamno, class_no, mode, pri, ratio}));
    }

    Outcome detach(u16 number, u16 streamno, u32 class_no)
    {
        if (!stream_index.count(streamno)) return refused(106);
        if (!queue_index.count(number)) return refused(107);
        if (!serves_a_stream(number)) return refused(2352);
        const Record record = queue_index[number];
        Queue& payload = queue[record].payload;
        payload.streamno = 0;
        payload.class_no = 0;
        payload.mode = 0;
        if (class_no < class_count) leave(stream[stream_index[streamno]].slots[class_no], record);
        return done(told("add_queue", {number, streamno, class_no, 0, 0, 0}));
    }

    Outcome set_queue_qos(u16 number, u16 streamno, u32 pri, u32 ratio)
    {
        if (!stream_index.count(streamno)) return refused(106);
        if (!queue_index.count(number)) return refused(107);
        weigh(queue[queue_index[number]].payload, pri, ratio);
        return done(told("set_esparam", {number, streamno, pri, ratio}));
    }

    Outcome set_queue_size(u16 number, u16 streamno, u32 class_no, i32 size, u32 length)
    {
        if (!stream_index.count(streamno)) return refused(106);
        if (!queue_index.count(number)) return refused(107);
        Queue& payload = queue[queue_index[number]].payload;
        if (i64{budget} + payload.size < size) return refused(2303);
        move_budget(i64{payload.size} - size);
        payload.size = static_cast<u16>(static_cast<u32>(size) & 0xFFFF);
        payload.queue_length = length;
        return done(told("set_qmax", {number, streamno, class_no, static_cast<u32>(size), length}));
    }

    Outcome check_queue(u32 port_id, u32 sno_port)
    {
        if (!ports.count(port_id)) return refused(102);
        const u32 streamno = ((port_id - 1) * 256 + sno_port - 1) & 0xFFFF;
        if (!stream_index.count(streamno)) return refused(106);
        for (u32 class_no = 0; class_no < class_count; ++class_no) {
            if (queue_index.count(streamno * 8 + class_no)) return refused(2403);
        }
        return done();
    }

    Outcome create_stream(u16 streamno)
    {
        if (stream_index.count(streamno)) return refused(2501);
        if (budget <= 255) return refused(2303);
        const Record record = free_streams.back();
        stream[record] = {};
        Stream& payload = stream[record].payload;
        payload.streamno = streamno;
        payload.priority = 7;
        for (ClassSlot& slot : payload.slot) {
            for (Red& red : slot.red) red.min_thresh = 100;
        }
        const Commands lines = told("create_stream", {streamno});
        if (np_refuses) return {-1, 2502, lines};
        free_streams.pop_back();
        insert(streams, record, [&](Record one) { return u32{stream[one].payload.streamno}; });
        if (streamno < stream_count) stream_index[streamno] = record;
        return done(lines);
    }

    Outcome delete_stream(u16 streamno)
    {
        if (!stream_index.count(streamno)) return refused(106);
        const Record record = stream_index[streamno];
        if (stream[record].payload.portno != 0) return refused(2401);
        drop(streams, record);
        stream_index.erase(streamno);
        free_streams.push_back(record);
        return done(told("delete_stream", {streamno}));
    }

    Outcome bind(u16 streamno, u32 port_id, u32 sno_port)
    {
        if (!ports.count(port_id)) return refused(102);
        if (!stream_index.count(streamno)) return refused(106);
        const Record record = stream_index[streamno];
        Stream& payload = stream[record].payload;
        if (payload.portno != 0 || payload.sno_port != 0) return refused(2401);
        payload.portno = static_cast<u16>(port_id);
        payload.sno_port = static_cast<u8>(sno_port & 0xFF);
        insert(ports[port_id], record, [&](Record one) { return u32{stream[one].payload.streamno}; });
        return done();
    }

    Outcome unbind(u16 streamno, u32 port_id)
    {
        if (!ports.count(port_id)) return refused(102);
        if (!stream_index.count(streamno)) return refused(106);
        const Record record = stream_index[streamno];
        Stream& payload = stream[record].payload;
        if (payload.portno != port_id) return refused(2402);
        payload.portno = 0;
        payload.sno_port = 0;
        drop(ports[port_id], record);
        return done();
    }

    Outcome set_shaping(u16 streamno, u32 minrate, u32 minburst, u32 maxrate, u32 maxburst)
    {
        if (!stream_index.count(streamno)) return refused(106);
        Stream& payload = stream[stream_index[streamno]].payload;
        payload.minrate = minrate;
        payload.minburst = minburst;
        payload.maxrate = maxrate;
        payload.maxburst = maxburst;
        payload.excess_rate = maxrate - minrate;
        return done(told("set_stream_shaping", {streamno, minrate, minburst, maxrate, maxburst}));
    }

    Outcome set_red(u16 streamno, u32 class_no, u32 colour, std::array<u8, 4> values)
    {
        if (!stream_index.count(streamno)) return refused(106);
        if (class_no < class_count && colour < 3) {
            Red& red = stream[stream_index[streamno]].payload.slot[class_no].red[colour];
            red = {values[0], values[2], values[1], values[3]};
        }
        return done(told("set_red", {streamno, class_no, colour, values[0], values[1], values[2], values[3]}));
    }

private:
    [[nodiscard]] Commands told(const std::string& kind, const std::vector<u32>& numbers) const
    {
        return Commands(np_refuses ? 2 : 1, command(kind, numbers));
    }
    void move_budget(i64 by)
    {
        const i64 moved = budget + by;
        budget = static_cast<i32>(moved > INT32_MAX   ? moved - (i64{1} << 32)
                                  : moved < INT32_MIN ? moved + (i64{1} << 32)
                                                      : moved);
    }
    static void weigh(Queue& payload, u32 pri, u32 ratio)
    {
        if (payload.mode == 1 || payload.mode == 2) payload.pri = static_cast<u8>(pri & 0xFF);
        if (payload.mode == 1) payload.ratio = static_cast<u8>(ratio & 0xFF);
    }

    // Before the first with a greater key. Where it is then.
    template <class KeyOf>
    static std::size_t insert(List<Record>& list, Record record, KeyOf key_of)
    {
        const auto before =
            std::find_if(list.begin(), list.end(), [&](Record one) { return key_of(one) > key_of(record); });
        const auto place = static_cast<std::size_t>(before - list.begin());
        list.insert(before, record);
        return place;
    }

    template <class Do>
    void each_slot(Do act)
    {
        for (const Record one : streams) {
            for (List<Record>& slot : stream[one].slots) act(slot);
        }
    }
    bool serves_a_stream(u16 number)
    {
        bool found = false;
        each_slot([&](const List<Record>& slot) {
            for (const Record one : slot) found = found || queue[one].payload.queueno == number;
        });
        return found;
    }
    // A record that is handed out links to nothing any more.
    void cut_behind(Record record)
    {
        each_slot([&](List<Record>& slot) {
            const auto here = std::find(slot.begin(), slot.end(), record);
            if (here != slot.end()) slot.erase(here + 1, slot.end());
        });
    }
    void leave(List<Record>& named, Record record)
    {
        if (!named.empty() && named.front() == record) {
            named.erase(named.begin());
            if (!named.empty()) queue[named.front()].links_gone = true;
            return;
        }
        if (queue[record].links_gone) return;
        // Its neighbours close ranks, and know each other again. In another slot than the one named, a first one stays.
        each_slot([&](List<Record>& slot) {
            const auto here = std::find(slot.begin(), slot.end(), record);
            if (here == slot.end()) return;
            if (here + 1 != slot.end()) queue[*(here + 1)].links_gone = false;
            if (here != slot.begin()) slot.erase(here);
        });
    }
};

class QosModel : public Qos {
protected:
    void SetUp() override
    {
        Qos::SetUp();
        for (const u32 port_id : {1u, 2u, 4u}) {
            given_port(port_id);
            model_->ports[port_id] = {};
        }
        given_vlan(10, "ten");
        given_port(5);  // never replaced, so that its entries stay
        given_static(10, mac(1), 5);
        given_learned(10, mac(2), 5);
    }

    u32 any(std::initializer_list<u32> values)
    {
        return values.begin()[random_.below(static_cast<u32>(values.size()))];
    }
    u32 any_queue() { return any({0, 1, 2, 8, 9, 10, 15, 16, 17, 40, 41, 2048, 8191, 8192, 65535}); }
    u32 any_stream() { return any({0, 1, 2, 5, 256, 1023, 1024, 65535}); }
    // As callers do, or nearly so: a number that is not there is an error that is soon tested.
    u32 likely_queue()
    {
        if (model_->queue_index.empty() || random_.once_in(8)) return any_queue();
        return std::next(model_->queue_index.begin(), random_.below(static_cast<u32>(model_->queue_index.size())))
            ->first;
    }
    u32 likely_stream()
    {
        if (model_->stream_index.empty() || random_.once_in(8)) return any_stream();
        return std::next(model_->stream_index.begin(), random_.below(static_cast<u32>(model_->stream_index.size())))
            ->first;
    }
    u32 any_class() { return random_.once_in(12) ? any({8, 11, 255, 256, 0xFFFFFFFF}) : random_.below(3); }
    u32 any_port() { return any({1, 1, 1, 2, 2, 4, 0, 3, 200}); }
    i32 any_size()
    {
        switch (random_.below(12)) {
        case 0: return static_cast<i32>(random_.word());
        case 1: return -static_cast<i32>(random_.below(40000));
        case 2: return model_->budget;
        default: return static_cast<i32>(random_.below(4000));
        }
    }
    // Callers may set whatever they like above the 16 bits of a number.
    u32 wide(u32 number) { return random_.once_in(4) ? number | (random_.word() << 16) : number; }

public:
    // ---- Steps: an operation with arguments that make sense more often than not ----

    void create_queue()
    {
        const u32 number = any_queue();
        const i32 size = any_size();
        const u32 length = random_.word();
        what_ = command("create_queue", {number, static_cast<u32>(size)});
        check(call(zelfdb_create_queue, wide(number), size, length),
              model_->create_queue(static_cast<u16>(number), size, length));
    }
    void delete_queue()
    {
        const u32 number = likely_queue();
        what_ = command("delete_queue", {number});
        check(call(zelfdb_delete_queue, wide(number)), model_->delete_queue(static_cast<u16>(number)));
    }
    void attach()
    {
        const u32 number = likely_queue();
        const u32 streamno = likely_stream();
        const u32 class_no = any_class();
        const u32 mode = random_.below(4);
        const u32 pri = random_.word();
        const u32 ratio = random_.below(300);
        what_ = command("attach", {number, streamno, class_no, mode, pri, ratio});
        check(call(zelfdb_add_queue_to_stream, wide(number), wide(streamno), class_no, mode, pri, ratio),
              model_->attach(static_cast<u16>(number), static_cast<u16>(streamno), class_no, mode, pri, ratio));
    }
    void detach()
    {
        const u32 number = likely_queue();
        const Queue* const record = queue(number);
        const bool where_it_is = record && !random_.once_in(3);
        const u32 streamno = where_it_is ? record->streamno : likely_stream();
        const u32 class_no = where_it_is ? record->class_no : any_class();
        what_ = command("detach", {number, streamno, class_no});
        check(call(zelfdb_rem_queue_from_stream, wide(number), wide(streamno), class_no),
              model_->detach(static_cast<u16>(number), static_cast<u16>(streamno), class_no));
    }
    void set_queue_qos()
    {
        const u32 number = likely_queue();
        const u32 streamno = likely_stream();
        const u32 pri = random_.word();
        const u32 ratio = random_.word();
        what_ = command("set_queue_qos", {number, streamno, pri, ratio});
        check(call(zelfdb_set_queue_qos, wide(number), wide(streamno), pri, ratio),
              model_->set_queue_qos(static_cast<u16>(number), static_cast<u16>(streamno), pri, ratio));
    }
    void set_queue_size()
    {
        const u32 number = likely_queue();
        const u32 streamno = likely_stream();
        const u32 class_no = any_class();
        const i32 size = any_size();
        const u32 length = random_.word();
        what_ = command("set_queue_size", {number, streamno, class_no, static_cast<u32>(size)});
        check(call(zelfdb_set_queue_size, wide(number), wide(streamno), class_no, size, length),
              model_->set_queue_size(static_cast<u16>(number), static_cast<u16>(streamno), class_no, size, length));
    }
    void check_queue()
    {
        const u32 port_id = any_port();
        const u32 sno_port = any({1, 2, 3, 6, 256, 257});
        what_ = command("check_queue_in_stream", {port_id, sno_port});
        check(call(zelfdb_check_queue_in_stream, port_id, sno_port), model_->check_queue(port_id, sno_port));
    }
    void create_stream()
    {
        const u32 streamno = any_stream();
        what_ = command("create_stream", {streamno});
        check(call(zelfdb_create_stream, wide(streamno)), model_->create_stream(static_cast<u16>(streamno)));
    }
    void delete_stream()
    {
        const u32 streamno = likely_stream();
        what_ = command("delete_stream", {streamno});
        check(call(zelfdb_delete_stream, wide(streamno)), model_->delete_stream(static_cast<u16>(streamno)));
    }
    void bind()
    {
        const u32 streamno = likely_stream();
        const u32 port_id = any_port();
        const u32 sno_port = random_.below(300);
        what_ = command("bind", {streamno, port_id, sno_port});
        check(call(zelfdb_add_stream_to_port, wide(streamno), port_id, sno_port),
              model_->bind(static_cast<u16>(streamno), port_id, sno_port));
    }
    void unbind()
    {
        const u32 streamno = likely_stream();
        const Stream* const record = stream(streamno);
        const u32 port_id = record && !random_.once_in(3) ? record->portno : any_port();
        what_ = command("unbind", {streamno, port_id});
        check(call(zelfdb_rem_stream_from_port, wide(streamno), port_id, random_.word()),
              model_->unbind(static_cast<u16>(streamno), port_id));
    }
    void set_shaping()
    {
        const u32 streamno = likely_stream();
        const u32 a = random_.word();
        const u32 b = random_.word();
        what_ = command("set_shaping", {streamno, a, b});
        check(call(zelfdb_set_shaping_in_stream, wide(streamno), a, b, b, a),
              model_->set_shaping(static_cast<u16>(streamno), a, b, b, a));
    }
    void set_red()
    {
        const u32 streamno = likely_stream();
        const u32 class_no = any_class();
        const u32 colour = random_.below(5);
        const std::array<u8, 4> red = {static_cast<u8>(random_.below(256)), static_cast<u8>(random_.below(256)), 3, 4};
        what_ = command("set_red", {streamno, class_no, colour, red[0], red[1]});
        check(call(zelfdb_set_red_in_stream, wide(streamno), class_no, colour, red[0], red[1], red[2], red[3]),
              model_->set_red(static_cast<u16>(streamno), class_no, colour, red));
    }
    // A port that goes and comes back under its number has none of the streams that are bound to it.
    void replace_port()
    {
        const u32 port_id = any({1, 1, 2, 4});
        what_ = command("replace_port", {port_id});
        ASSERT_EQ(call(zelfdb_delete_port, port_id).result, 0);
        given_port(port_id);
        model_->ports[port_id].clear();
    }

    void check(const Outcome& outcome, const Outcome& expected) { ASSERT_EQ(outcome, expected); }

    // ---- The database as the model sees it ----

    [[nodiscard]] Record number_of(const Queue& record) const
    {
        return (at(record).value - at(nth_queue(queue_count - 1)).value) / u32{sizeof(Queue)};
    }
    [[nodiscard]] Record number_of(const Stream& record) const
    {
        return (at(record).value - at(nth_stream(stream_count - 1)).value) / u32{sizeof(Stream)};
    }
    template <class Walked>
    [[nodiscard]] List<Record> numbers(const Walked& walked, std::size_t at_most) const
    {
        List<Record> all;
        for (const auto& record : walked) {
            if (all.size() == at_most) break;
            all.push_back(number_of(record));
        }
        return all;
    }
    void compare_queues()
    {
        const Model& m = *model_;
        ASSERT_EQ(numbers(walk(all_queues, base(), header()), queue_count), m.queues);
        ASSERT_EQ(header().queue_total, m.queues.size());
        ASSERT_EQ(header().free_qsize, m.budget);
        for (const u32 number : {0u, 1u, 2u, 8u, 9u, 10u, 15u, 16u, 17u, 40u, 41u, 2048u, 8191u}) {
            const auto known = m.queue_index.find(number);
            const Queue* const found = queue(number);
            ASSERT_EQ(found != nullptr, known != m.queue_index.end()) << "queue " << number;
            if (found) {
                ASSERT_EQ(number_of(*found), known->second) << "queue " << number;
            }
        }
        for (const Record record : m.queues) {
            const Queue& live = nth_queue(queue_count - 1 - record);
            Queue expected = m.queue[record].payload;
            expected.queue_link = live.queue_link;
            expected.stream_link = live.stream_link;
            ASSERT_EQ(std::memcmp(&live, &expected, sizeof live), 0) << "queue " << live.queueno;
        }
        ASSERT_EQ(numbers(Walk<&Queue::queue_link>(base(), header().queue_free), 1).front(), m.free_queues.back());
    }
    void compare_streams()
    {
        const Model& m = *model_;
        ASSERT_EQ(numbers(walk(all_streams, base(), header()), stream_count), m.streams);
        ASSERT_EQ(header().stream_total, m.streams.size());
        for (const Record record : m.streams) {
            const Stream& live = nth_stream(stream_count - 1 - record);
            Stream expected = m.stream[record].payload;
            expected.stream_link = live.stream_link;
            expected.port_link = live.port_link;
            for (u32 i = 0; i < class_count; ++i) expected.slot[i].queue_head = live.slot[i].queue_head;
            ASSERT_EQ(std::memcmp(&live, &expected, sizeof live), 0) << "stream " << live.streamno;
            for (u32 i = 0; i < class_count; ++i) {
                ASSERT_EQ(numbers(walk(queues_of_slot, base(), live.slot[i]), queue_count), m.stream[record].slots[i])
                    << "stream " << live.streamno << " class " << i;
                for (const Queue& one : walk(queues_of_slot, base(), live.slot[i])) {
                    ASSERT_EQ(one.stream_link.prev == none, m.queue[number_of(one)].links_gone)
                        << "queue " << one.queueno << " of stream " << live.streamno << " class " << i;
                }
            }
        }
        for (const auto& [port_id, bound] : m.ports) {
            ASSERT_EQ(numbers(walk(streams_of_port, base(), *port(port_id)), stream_count), bound)
                << "port " << port_id;
        }
        ASSERT_EQ(numbers(Walk<&Stream::stream_link>(base(), header().stream_free), 1).front(), m.free_streams.back());
    }

    // Every byte but those that ports, streams and queues have.
    [[nodiscard]] Snapshot everything_else() const
    {
        Snapshot rest = snapshot();
        const Layout layout = layout_of(header().nport, header().nvlan, header().nfil);
        const auto blank = [&](u64 from, u64 to) {
            std::fill(rest.main.begin() + static_cast<std::ptrdiff_t>(from),
                      rest.main.begin() + static_cast<std::ptrdiff_t>(to), u8{0});
        };
        blank(offsetof(Header, history), offsetof(Header, unused8354));
        blank(offsetof(Header, stream_total), offsetof(Header, vlan_count));
        blank(layout.port, layout.vlan);
        rest.commands.clear();
        return rest;
    }

protected:
    using Step = void (QosModel::*)();

    // So many steps of these; what stands there twice is taken twice as often.
    void run(int steps, const std::vector<Step>& mix)
    {
        SCOPED_TRACE(random_.trace());
        const Snapshot start = everything_else();
        for (int i = 0; i < steps && !HasFatalFailure(); ++i) {
            model_->np_refuses = random_.once_in(10);
            recorder::reset();
            if (model_->np_refuses) {
                recorder::fail_always(random_.once_in(2) ? recorder::Failure::status : recorder::Failure::delivery);
            }
            (this->*mix[random_.below(static_cast<u32>(mix.size()))])();
            if (!HasFatalFailure()) compare_queues();
            if (!HasFatalFailure()) compare_streams();
            if (HasFatalFailure()) ADD_FAILURE() << "step " << i << ": " << what_;
        }
        EXPECT_EQ(start, everything_else()) << "something outside of the records concerned was written";
    }

    std::unique_ptr<Model> model_ = std::make_unique<Model>();
    std::string what_;
    Random random_;
};

// Queues that come and go while they serve streams.
TEST_F(QosModel, RandomOperationsOnQueuesDoWhatTheModelDoes)
{
    const std::vector<Step> once = {
        &QosModel::delete_queue,  &QosModel::set_queue_qos, &QosModel::set_queue_size, &QosModel::check_queue,
        &QosModel::create_stream, &QosModel::delete_stream, &QosModel::set_shaping,    &QosModel::set_red,
    };
    std::vector<Step> mix = once;
    mix.insert(mix.end(), once.begin(), once.end());
    mix.insert(mix.end(), 6, &QosModel::create_queue);
    mix.insert(mix.end(), 8, &QosModel::attach);
    mix.insert(mix.end(), 4, &QosModel::detach);
    mix.insert(mix.end(), 4, &QosModel::create_stream);
    run(3000, mix);
}

// Streams that come and go, and ports that go from under them.
TEST_F(QosModel, RandomOperationsOnBindingsDoWhatTheModelDoes)
{
    std::vector<Step> mix = {&QosModel::replace_port, &QosModel::delete_stream, &QosModel::attach};
    mix.insert(mix.end(), 6, &QosModel::bind);
    mix.insert(mix.end(), 4, &QosModel::unbind);
    mix.insert(mix.end(), 3, &QosModel::create_stream);
    run(3000, mix);
}

}  // namespace
}  // namespace zelfdb
