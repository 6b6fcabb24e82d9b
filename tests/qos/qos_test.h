// What the tests of queues and streams share: objects made through the API, their places in the pools, the NP's commands.
#pragma once

#include "core/lists.h"
#include "support/exported.h"

namespace zelfdb {

// A command as the recording NP writes it down.
inline std::string command(const std::string& kind, const std::vector<u32>& numbers)
{
    std::string text;
    for (const u32 value : numbers) {
        char digits[16];
        std::snprintf(digits, sizeof digits, value <= 9 ? "%u" : "0x%x", value);
        text += (text.empty() ? "" : ", ") + std::string(digits);
    }
    return kind + "(" + text + ")";
}

// The next command is sent twice and refused twice.
inline void refuse_twice(recorder::Failure how) { recorder::fail("", how, 1, 2); }
inline constexpr recorder::Failure failures[] = {recorder::Failure::delivery, recorder::Failure::status};
inline const char* name_of(recorder::Failure how)
{
    return how == recorder::Failure::delivery ? "not delivered" : "refused by the NP";
}

class Qos : public Exported {
protected:
    using Numbers = std::vector<u32>;

    Qos() : Exported(6, 2, 4) {}

    // Through the API; they fail the test if that fails. The commands of it are forgotten.
    Queue& given_queue(u32 number, i32 size = 0, u32 queue_length = 0)
    {
        EXPECT_EQ(call(zelfdb_create_queue, number, size, queue_length).result, 0) << "queue " << number;
        return *queue(number);
    }
    Stream& given_stream(u32 streamno)
    {
        EXPECT_EQ(call(zelfdb_create_stream, streamno).result, 0) << "stream " << streamno;
        return *stream(streamno);
    }
    // One that no look-up finds.
    void given_stream_beyond(u32 streamno)
    {
        ASSERT_GE(streamno, stream_count);
        EXPECT_EQ(call(zelfdb_create_stream, streamno).result, 0) << "stream " << streamno;
    }
    void given_attached(u32 number, u32 streamno, u32 class_no, u32 mode = 0, u32 pri = 0, u32 ratio = 0)
    {
        EXPECT_EQ(call(zelfdb_add_queue_to_stream, number, streamno, class_no, mode, pri, ratio).result, 0)
            << "queue " << number << " to stream " << streamno << " class " << class_no;
    }
    void given_bound(u32 streamno, u32 port_id, u32 sno_port)
    {
        EXPECT_EQ(call(zelfdb_add_stream_to_port, streamno, port_id, sno_port).result, 0)
            << "stream " << streamno << " to port " << port_id;
    }
    void given_shaping(u32 streamno, u32 minrate, u32 maxrate)
    {
        EXPECT_EQ(call(zelfdb_set_shaping_in_stream, streamno, minrate, 0, maxrate, 0).result, 0);
    }
    void given_budget(i32 free_qsize) { header().free_qsize = free_qsize; }

    [[nodiscard]] Queue* queue(u32 number) const { return lookup_queue(base(), header(), number); }
    [[nodiscard]] Stream* stream(u32 streamno) const { return lookup_stream(base(), header(), streamno); }

    // The nth record that a new database hands out: pools are handed out from their top.
    [[nodiscard]] Queue& nth_queue(u32 n) const
    {
        return record_at<Queue>(base(), {pool_at(&Layout::queue) + (queue_count - 1 - n) * u32{sizeof(Queue)}});
    }
    [[nodiscard]] Stream& nth_stream(u32 n) const
    {
        return record_at<Stream>(base(), {pool_at(&Layout::stream) + (stream_count - 1 - n) * u32{sizeof(Stream)}});
    }
    template <class Record>
    [[nodiscard]] Offset at(const Record& record) const
    {
        return offset_of(base(), record);
    }

    [[nodiscard]] Numbers queues() const { return ids(all_queues, header()); }
    [[nodiscard]] Numbers streams() const { return ids(all_streams, header()); }
    [[nodiscard]] Numbers queues_of(u32 streamno, u32 class_no) const
    {
        return ids(queues_of_slot, stream(streamno)->slot[class_no]);
    }
    [[nodiscard]] Numbers streams_of(u32 port_id) const { return ids(streams_of_port, *port(port_id)); }

    // What creation writes into a record.
    static Queue new_queue(u16 number, u16 size, u32 queue_length)
    {
        Queue record{};
        record.queueno = number;
        record.size = size;
        record.queue_length = queue_length;
        record.queue_link = {none, none};
        record.stream_link = {none, none};
        return record;
    }
    static Stream new_stream(u16 streamno)
    {
        Stream record{};
        record.streamno = streamno;
        record.priority = 7;
        record.stream_link = {none, none};
        record.port_link = {none, none};
        for (ClassSlot& slot : record.slot) slot = {{{100, 0, 0, 0}, {100, 0, 0, 0}, {100, 0, 0, 0}}, none};
        return record;
    }

private:
    template <class Field>
    [[nodiscard]] u32 pool_at(Field field) const
    {
        return static_cast<u32>(layout_of(header().nport, header().nvlan, header().nfil).*field);
    }
};

}  // namespace zelfdb
