// Queues and streams.
#include <algorithm>
#include <tuple>

#include "answers.h"
#include "arguments.h"
#include "said.h"

namespace fuzz {
namespace {

void create_queue(Calls& c, Input& in)
{
    const u32 id = queue(in);
    const auto size = static_cast<i32>(in.one_of({1, 16, 100, 0, 65000, 30000}));
    const u32 length = number(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_create_queue(id, size, length, err); }),
           c.plain.create_queue(id, size, length));
}

void delete_queue(Calls& c, Input& in)
{
    const u32 id = queue(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_delete_queue(id, err); }), c.plain.delete_queue(id));
}

// Where the model does not know who serves whom, it takes the library's word for it.
bool is_done(const Said& what, std::optional<u32> code, u32 refusal)
{
    if (!code) code = what.result == 0 ? u32{ZELFDB_DONE} : refusal;
    expect(Word::on_failure, what, *code);
    return *code == ZELFDB_DONE;
}

void add_queue_to_stream(Calls& c, Input& in)
{
    const u32 id = queue(in);
    const u32 to = stream(in);
    const u32 slot = class_no(in);
    const u32 mode = in.one_of({1, 2, 0, 257});
    const u32 pri = number(in);
    const u32 ratio = number(in);
    const std::optional<u32> code = c.plain.attach_refused(id, to);
    const Said what = said([&](u32* err) { return zelfdb_add_queue_to_stream(id, to, slot, mode, pri, ratio, err); });
    if (is_done(what, code, ZELFDB_QUEUE_ATTACHED)) c.plain.attach(id, to, slot, mode, pri, ratio);
}

void rem_queue_from_stream(Calls& c, Input& in)
{
    const u32 id = queue(in);
    u32 from = stream(in);
    u32 slot = class_no(in);
    const PlainQueue* const one = c.plain.queue(id);
    if (one && one->serves && in.below(8) != 0) std::tie(from, slot) = *one->serves;  // as callers do
    const std::optional<u32> code = c.plain.detach_refused(id, from);
    const Said what = said([&](u32* err) { return zelfdb_rem_queue_from_stream(id, from, slot, err); });
    if (is_done(what, code, ZELFDB_QUEUE_NOT_ATTACHED)) c.plain.detach(id, from, slot);
}

void set_queue_qos(Calls& c, Input& in)
{
    const u32 id = queue(in);
    const u32 of = stream(in);
    const u32 pri = number(in);
    const u32 ratio = number(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_set_queue_qos(id, of, pri, ratio, err); }),
           c.plain.set_queue_qos(id, of, pri, ratio));
}

void set_queue_size(Calls& c, Input& in)
{
    const u32 id = queue(in);
    const u32 of = stream(in);
    const auto size = static_cast<i32>(in.one_of({1, 16, 100, 0, 65000, 30000}));
    const u32 length = number(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_set_queue_size(id, of, 0, size, length, err); }),
           c.plain.set_queue_size(id, of, size, length));
}

void check_queue_in_stream(Calls& c, Input& in)
{
    const u32 of = port(in);
    const u32 place = in.one_of({1, 2, 3, 256});
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_check_queue_in_stream(of, place, err); }),
           c.plain.check_queue(of, place));
}

void create_stream(Calls& c, Input& in)
{
    const u32 id = stream(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_create_stream(id, err); }), c.plain.create_stream(id));
}

void delete_stream(Calls& c, Input& in)
{
    const u32 id = stream(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_delete_stream(id, err); }), c.plain.delete_stream(id));
}

void add_stream_to_port(Calls& c, Input& in)
{
    const u32 id = stream(in);
    const u32 to = port(in);
    const u32 place = in.one_of({1, 2, 3, 256});
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_add_stream_to_port(id, to, place, err); }),
           c.plain.bind_stream(id, to, place));
}

void rem_stream_from_port(Calls& c, Input& in)
{
    const u32 id = stream(in);
    const u32 from = port(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_rem_stream_from_port(id, from, 0, err); }),
           c.plain.unbind_stream(id, from));
}

void check_stream_in_port(Calls& c, Input& in)
{
    const u32 of = port(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_check_stream_in_port(of, err); }),
           c.plain.check_stream(of));
}

template <class Change>
u32 change_stream(Calls& c, u32 id, Change change)
{
    PlainStream* const one = c.plain.stream(id);
    if (!one) return ZELFDB_NO_STREAM;
    change(*one);
    return ZELFDB_DONE;
}

void set_red(Calls& c, Input& in)
{
    const u32 id = stream(in);
    const u32 row = class_no(in);
    const u32 colour = in.one_of({0, 1, 2, 3});
    const std::array<u32, 8> v = words(in);
    const auto low = [&v](std::size_t i) { return static_cast<u8>(v[i] & 0xFF); };
    expect(Word::on_failure,
           said([&](u32* err) { return zelfdb_set_red_in_stream(id, row, colour, v[0], v[1], v[2], v[3], err); }),
           change_stream(c, id, [&](PlainStream& one) {
               if (row < 8 && colour < 3) one.red[row][colour] = {low(0), low(2), low(1), low(3)};
           }));
}

void set_shaping(Calls& c, Input& in)
{
    const u32 id = stream(in);
    const std::array<u32, 8> v = words(in);
    expect(Word::on_failure,
           said([&](u32* err) { return zelfdb_set_shaping_in_stream(id, v[0], v[1], v[2], v[3], err); }),
           change_stream(c, id, [&](PlainStream& one) {
               one.minrate = v[0];
               one.minburst = v[1];
               one.maxrate = v[2];
               one.maxburst = v[3];
           }));
}

void set_qostype(Calls& c, Input& in)
{
    const u32 id = stream(in);
    const u32 type = in.one_of({1, 2, 0, 257});
    const u32 first = number(in);
    const u32 second = number(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_set_qostype_in_stream(id, type, first, second, err); }),
           change_stream(c, id, [&](PlainStream& one) { one.qos_type = static_cast<u8>(type & 0xFF); }));
}

void set_stream_priority(Calls& c, Input& in)
{
    const u32 id = stream(in);
    const u32 priority = number(in);
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_set_stream_priority(id, priority, err); }),
           change_stream(c, id, [&](PlainStream& one) { one.priority = static_cast<u8>(priority & 0xFF); }));
}

void set_stream_tosmap(Calls& c, Input& in)
{
    const u32 id = stream(in);
    const u32 bits = number(in);
    const std::array<u32, 8> values = words(in);
    const std::array<u32, 8> masks = words(in);
    expect(Word::on_failure,
           said([&](u32* err) { return zelfdb_set_stream_tosmap(id, bits, values.data(), masks.data(), err); }),
           change_stream(c, id, [&](PlainStream& one) {
               one.tosmap_bits = bits;
               one.tos_mask = masks;
               for (std::size_t i = 0; i < masks.size(); ++i) one.tos_value[i] = values[i] & masks[i];
           }));
}

// The granted rates go to the NP alone: no reader tells them.
void shaping_rate_update(Calls& c, Input& in)
{
    const u32 id = in.one_of({1, 2, 3, 4, 5});
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_stream_shaping_rate_update(id, err); }),
           c.plain.phport(id) ? u32{ZELFDB_DONE} : u32{ZELFDB_NO_PHPORT});
}

void stream_figures(Calls&, Input& in)
{
    for (u32& word : answers.stream) word = number(in);
    for (u32& word : answers.busy) word = number(in);
    const u32 id = stream(in);
    u32 out[3] = {77, 77, 77};
    expect(Word::on_failure, said([&](u32* err) { return zelfdb_get_stream_busy_info(id, out, err); }), ZELFDB_DONE);
    if (!std::equal(answers.busy.begin(), answers.busy.end(), out)) found("%s: another answer than the NP's", called);
}

constexpr Operation qos_table[] = {
    {"create_queue", create_queue},
    {"delete_queue", delete_queue},
    {"add_queue_to_stream", add_queue_to_stream},
    {"rem_queue_from_stream", rem_queue_from_stream},
    {"set_queue_qos", set_queue_qos},
    {"set_queue_size", set_queue_size},
    {"check_queue_in_stream", check_queue_in_stream},
    {"create_stream", create_stream},
    {"delete_stream", delete_stream},
    {"add_stream_to_port", add_stream_to_port},
    {"rem_stream_from_port", rem_stream_from_port},
    {"check_stream_in_port", check_stream_in_port},
    {"set_red_in_stream", set_red},
    {"set_shaping_in_stream", set_shaping},
    {"set_qostype_in_stream", set_qostype},
    {"set_stream_priority", set_stream_priority},
    {"set_stream_tosmap", set_stream_tosmap},
    {"stream_shaping_rate_update", shaping_rate_update},
    {"get_stream_busy_info", stream_figures},
};

}  // namespace

const std::span<const Operation> calls_of_qos = qos_table;

}  // namespace fuzz
