// Streams and queues: a whole scheduling tree built up, operation by operation, and a port's rate shared out.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <vector>

#include "bench/floors.h"
#include "bench/measure.h"
#include "bench/site.h"

namespace bench {
namespace {

constexpr u32 streams_per_port = 256;
constexpr i32 queue_size = 4;  // leaves the budget that the last stream asks for
constexpr u32 queue_length = 16384;
constexpr u32 mode_wfq = 1;

u64 wrong = 0;

void check(int result)
{
    if (result != 0) ++wrong;
}

constexpr u32 port_of(u32 streamno) { return streamno / streams_per_port + 1; }
constexpr u32 position_of(u32 streamno) { return streamno % streams_per_port + 1; }
constexpr u32 ratio_of(u32 class_no) { return 1 + 3 * class_no; }

// The site's own port and three more: one for every 256 streams.
void lay_out_four_ports(u32 entries)
{
    lay_out(entries);
    u32 err = 0;
    for (u32 port_id = the_port + 1; port_id <= port_of(stream_count - 1); ++port_id) {
        check(zelfdb_create_port(port_id, 0, ZELFDB_PORT_NONE, &err));
    }
}

// ---- 1,024 streams created and bound, 8,192 queues created and attached, each by an operation of its own.

constexpr u32 build_operations = 2 * (stream_count + queue_count);

void build(u32)
{
    u32 err = 0;
    for (u32 streamno = 0; streamno < stream_count; ++streamno) {
        check(zelfdb_create_stream(streamno, &err));
        check(zelfdb_add_stream_to_port(streamno, port_of(streamno), position_of(streamno), &err));
        for (u32 class_no = 0; class_no < class_count; ++class_no) {
            const u32 queue = streamno * class_count + class_no;
            check(zelfdb_create_queue(queue, queue_size, queue_length, &err));
            check(zelfdb_add_queue_to_stream(queue, streamno, class_no, mode_wfq, class_no, ratio_of(class_no), &err));
        }
    }
}

template <auto LinkOf, class Record>
Offset tight_take(u8* base, Offset& head)
{
    const Offset self = head;
    head = (floors::at<Record>(base, self).*LinkOf).next;
    if (head != none) (floors::at<Record>(base, head).*LinkOf).prev = none;
    return self;
}

// Behind the last record whose number is not greater.
template <auto LinkOf, auto Number, class Record>
void tight_insert(u8* base, Offset& head, Record& record, Offset self)
{
    const u32 number = record.*Number;
    Offset before = none;
    Offset next = head;
    while (next != none && floors::at<Record>(base, next).*Number <= number) {
        before = next;
        next = (floors::at<Record>(base, next).*LinkOf).next;
    }
    (record.*LinkOf) = {next, before == none ? self : before};
    (before == none ? head : (floors::at<Record>(base, before).*LinkOf).next) = self;
    if (next != none) (floors::at<Record>(base, next).*LinkOf).prev = self;
}

void tight_create_stream(u8* base, Header& header, u32 streamno)
{
    if (header.stream_index[streamno] != none || header.free_qsize <= 255 || header.stream_free == none) ++wrong;
    const Offset self = tight_take<&Stream::stream_link, Stream>(base, header.stream_free);
    Stream& stream = floors::at<Stream>(base, self);
    std::memset(static_cast<void*>(&stream), 0, sizeof stream);
    stream.streamno = static_cast<u16>(streamno);
    stream.priority = 7;
    stream.port_link = {none, none};
    for (ClassSlot& slot : stream.slot) {
        for (Red& red : slot.red) red.min_thresh = 100;
        slot.queue_head = none;
    }
    tight_insert<&Stream::stream_link, &Stream::streamno>(base, header.stream_head, stream, self);
    header.stream_index[streamno] = self;
    ++header.stream_total;
}

void tight_bind(u8* base, Header& header, u32 streamno)
{
    const Offset at_port = header.port_index[port_of(streamno) - 1];
    const Offset self = header.stream_index[streamno];
    if (at_port == none || self == none) ++wrong;
    Stream& stream = floors::at<Stream>(base, self);
    if (stream.portno != 0 || stream.sno_port != 0) ++wrong;
    stream.portno = static_cast<u16>(port_of(streamno));
    stream.sno_port = static_cast<u8>(position_of(streamno) & 0xFF);
    Offset& head = floors::at<Port>(base, at_port).stream_head;
    tight_insert<&Stream::port_link, &Stream::streamno>(base, head, stream, self);
}

void tight_create_queue(u8* base, Header& header, u32 number)
{
    if (header.queue_index[number] != none || header.free_qsize < queue_size || header.queue_free == none) ++wrong;
    header.free_qsize -= queue_size;
    const Offset self = tight_take<&Queue::queue_link, Queue>(base, header.queue_free);
    Queue& queue = floors::at<Queue>(base, self);
    std::memset(static_cast<void*>(&queue), 0, sizeof queue);
    queue.queueno = static_cast<u16>(number);
    queue.size = queue_size;
    queue.queue_length = queue_length;
    queue.stream_link = {none, none};
    tight_insert<&Queue::queue_link, &Queue::queueno>(base, header.queue_head, queue, self);
    header.queue_index[number] = self;
    ++header.queue_total;
}

// The format knows of no other way to tell whether a queue serves a stream than to look at all that do.
bool tight_serves(u8* base, const Header& header, u32 number)
{
    for (Offset here = header.stream_head; here != none;) {
        const Stream& stream = floors::at<Stream>(base, here);
        for (const ClassSlot& slot : stream.slot) {
            for (Offset at_queue = slot.queue_head; at_queue != none;) {
                const Queue& queue = floors::at<Queue>(base, at_queue);
                if (queue.queueno == number) return true;
                at_queue = queue.stream_link.next;
            }
        }
        here = stream.stream_link.next;
    }
    return false;
}

void tight_attach(u8* base, Header& header, u32 number, u32 streamno, u32 class_no)
{
    const Offset at_stream = header.stream_index[streamno];
    const Offset self = header.queue_index[number];
    if (at_stream == none || self == none || tight_serves(base, header, number)) ++wrong;
    Queue& queue = floors::at<Queue>(base, self);
    queue.streamno = static_cast<u16>(streamno);
    queue.class_no = static_cast<u8>(class_no);
    queue.mode = mode_wfq;
    queue.pri = static_cast<u8>(class_no);
    queue.ratio = static_cast<u8>(ratio_of(class_no));
    Offset& head = floors::at<Stream>(base, at_stream).slot[class_no].queue_head;
    tight_insert<&Queue::stream_link, &Queue::queueno>(base, head, queue, self);
}

void tight_build(u32)
{
    for (u32 streamno = 0; streamno < stream_count; ++streamno) {
        floors::in_operation([=](u8* base, Header& header) { tight_create_stream(base, header, streamno); });
        floors::in_operation([=](u8* base, Header& header) { tight_bind(base, header, streamno); });
        for (u32 class_no = 0; class_no < class_count; ++class_no) {
            const u32 number = streamno * class_count + class_no;
            floors::in_operation([=](u8* base, Header& header) { tight_create_queue(base, header, number); });
            floors::in_operation(
                [=](u8* base, Header& header) { tight_attach(base, header, number, streamno, class_no); });
        }
    }
}

u32 entries_of_build = 0;

void lay_out_for_build(u32 entries)
{
    wrong = 0;
    entries_of_build = entries;
}

// Every block builds into an empty database.
void prepare_build(u32) { lay_out_four_ports(entries_of_build); }

std::vector<u8> built_by(void (*how)(u32 ops))
{
    prepare_build(build_operations);
    how(build_operations);
    return main_bytes();
}

bool same_tree()
{
    const std::vector<u8> by_library = built_by(build);
    const Header& header = header_of(*site.descriptor);
    if (header.stream_total != stream_count || header.queue_total != queue_count) return false;
    return built_by(tight_build) == by_library && wrong == 0 && stations_are_resident();
}

// ---- A shaped port's rate shared out among its 256 streams: half of what they ask for beyond their committed rates.

constexpr u32 minrate_of(u32 streamno) { return 1000000 + 1000 * streamno; }
constexpr u32 excess_of(u32 streamno) { return 500000 + 10007 * streamno; }

void lay_out_for_update(u32 entries)
{
    wrong = 0;
    lay_out_four_ports(entries);
    u32 err = 0;
    u32 port_rate = 0;
    for (u32 streamno = 0; streamno < streams_per_port; ++streamno) {
        const u32 minrate = minrate_of(streamno);
        const u32 excess = excess_of(streamno);
        check(zelfdb_create_stream(streamno, &err));
        check(zelfdb_add_stream_to_port(streamno, the_port, position_of(streamno), &err));
        check(zelfdb_set_shaping_in_stream(streamno, minrate, 8000, minrate + excess, 8000, &err));
        port_rate += minrate + excess / 2;
    }
    check(zelfdb_set_ph_shaping(the_port, port_rate, 0, &err));
}

void update(u32 ops)
{
    u32 err = 0;
    for (u32 i = 0; i < ops; ++i) check(zelfdb_stream_shaping_rate_update(the_port, &err));
}

struct TightSums {
    i64 min = 0;
    i64 excess = 0;
};

TightSums tight_sums(u8* base, const Header& header)
{
    TightSums sums;
    for (Offset here = header.stream_head; here != none;) {
        const Stream& stream = floors::at<Stream>(base, here);
        here = stream.stream_link.next;
        if (stream.portno != the_port) continue;
        sums.min += static_cast<i32>(stream.minrate);
        sums.excess += static_cast<i32>(stream.excess_rate);
    }
    return sums;
}

// Of a port that is shaped, and can pay for less than all that its streams ask for.
u32 tight_grant(u8* base, const Header& header, vf_actual_rate* entry)
{
    const Phport& phport = floors::at<Phport>(base, header.phport_index[the_port - 1]);
    const TightSums sums = tight_sums(base, header);
    const auto left = static_cast<u64>(static_cast<i32>(phport.shaping_rate) - sums.min);
    const auto all_excess = static_cast<u64>(sums.excess);
    if (all_excess == 0 || left > all_excess) return 0;
    u32 count = 0;
    for (Offset here = header.stream_head; here != none;) {
        Stream& stream = floors::at<Stream>(base, here);
        here = stream.stream_link.next;
        if (stream.portno != the_port) continue;
        const auto excess = static_cast<u64>(i64{static_cast<i32>(stream.excess_rate)});
        stream.actual_rate = stream.minrate + static_cast<u32>(left * excess / all_excess);
        stream.actual_excess = stream.maxrate - stream.actual_rate;
        entry[count++] = {stream.streamno, stream.actual_rate, stream.actual_excess};
    }
    return count;
}

void tight_update(u32 ops)
{
    for (u32 i = 0; i < ops; ++i) {
        floors::in_operation([](u8* base, const Header& header) {
            vf_actual_rate entry[stream_count];
            if (tight_grant(base, header, entry) != streams_per_port) ++wrong;
            benchmark::DoNotOptimize(entry);
        });
    }
}

std::vector<u8> granted_by(void (*how)(u32 ops))
{
    const Header& header = header_of(*site.descriptor);
    for (u32 streamno = 0; streamno < streams_per_port; ++streamno) {
        Stream& stream = floors::at<Stream>(main_base(*site.descriptor).bytes, header.stream_index[streamno]);
        stream.actual_rate = stream.actual_excess = 0;
    }
    how(1);
    return main_bytes();
}

bool same_rates()
{
    const std::vector<u8> nothing_granted = granted_by([](u32) {});
    const std::vector<u8> by_library = granted_by(update);
    return by_library != nothing_granted && granted_by(tight_update) == by_library && wrong == 0 &&
           stations_are_resident();
}

}  // namespace

const std::vector<Measured> stream_rows = {
    {"streams_build",
     1.25,
     build_operations,
     256,
     lay_out_for_build,
     prepare_build,
     {"create, bind, create, attach", build},
     {{"the same on the records", tight_build}},
     same_tree,
     3},
    {"rate_update/256",
     1.25,
     100,
     256,
     lay_out_for_update,
     nullptr,
     {"zelfdb_stream_shaping_rate_update", update},
     {{"attach, lock, two walks, detach", tight_update}},
     same_rates},
};

}  // namespace bench
