#include <cstdio>
#include <map>

#include "core/descriptor.h"
#include "database.h"
#include "json_output.h"
#include "language/qos_commands.h"
#include "language/qos_values.h"
#include "language/rates.h"
#include "ports.h"
#include "show.h"
#include "softnp/softnp.h"
#include "streams.h"
#include "table.h"

namespace zelfctl {
namespace {

using nlohmann::json;

constexpr i64 whole_budget = 65536;
constexpr const char* colours[] = {"green", "yellow", "red"};

// "5", or "5-7" if they differ.
std::string pair(u64 low, u64 high) { return low == high ? number(low) : number(low) + "-" + number(high); }

std::string rate_text(const zelfdb_stream_info& stream)
{
    if (stream.minrate == 0 && stream.maxrate == 0) return "-";
    return pair(stream.minrate / rate_unit, stream.maxrate / rate_unit);
}

std::string burst_text(const zelfdb_stream_info& stream)
{
    if (stream.minrate == 0 && stream.maxrate == 0) return "-";
    return pair(stream.minburst, stream.maxburst);
}

u64 all_dropped(const softnp_queue_counters& counters)
{
    u64 frames = counters.dropped_length + counters.dropped_buffers;
    for (const u64 dropped : counters.dropped_red) frames += dropped;
    return frames;
}

// Rate and excess that the last update of the rates gave.
std::string granted_text(const softnp_stream& np)
{
    if (np.has_actual_rate == 0) return "-";
    return number(np.actual_rate / rate_unit) + "+" + number(np.actual_excess / rate_unit);
}

json json_of(const softnp_queue_counters& counters)
{
    return {
        {"offered_frames", counters.offered_frames},
        {"offered_bytes", counters.offered_bytes},
        {"sent_frames", counters.sent_frames},
        {"sent_bytes", counters.sent_bytes},
        {"dropped_length", counters.dropped_length},
        {"dropped_red",
         {{"green", counters.dropped_red[0]}, {"yellow", counters.dropped_red[1]}, {"red", counters.dropped_red[2]}}},
        {"dropped_buffers", counters.dropped_buffers},
        {"flushed_frames", counters.flushed_frames}};
}

u32 queues_of(const zelfdb_stream_info& stream)
{
    u32 queues = 0;
    for (u32 class_no = 0; class_no < classes_of_stream; ++class_no)
        queues += read_queue(stream.streamno * classes_of_stream + class_no) ? 1 : 0;
    return queues;
}

// What the software network processor knows of a stream or queue; zeros if it knows none.
softnp_stream in_NP(const zelfdb_stream_info& stream)
{
    softnp_stream record{};
    softnp_get_stream(stream.streamno, &record);
    return record;
}

softnp_queue in_NP(const QueueView& queue)
{
    softnp_queue record{};
    softnp_get_queue(queue.number, &record);
    return record;
}

json json_of(const zelfdb_stream_info& stream)
{
    const softnp_stream np = in_NP(stream);
    return {{"stream", name_of(stream)},
            {"number", stream.streamno},
            {"port", stream.portno},
            {"position", stream.sno_port},
            {"qostype", name_of_qostype(stream.qos_type)},
            {"priority", stream.priority},
            {"minrate", stream.minrate},
            {"minburst", stream.minburst},
            {"maxrate", stream.maxrate},
            {"maxburst", stream.maxburst},
            {"queues", queues_of(stream)},
            {"np_words", {stream.np_first, stream.np_second}},
            {"waiting_frames", np.waiting_frames},
            {"waiting_bytes", np.waiting_bytes},
            {"shaped", np.is_shaped != 0},
            {"actual_rate", np.has_actual_rate != 0 ? json(np.actual_rate) : json(nullptr)},
            {"actual_excess", np.has_actual_rate != 0 ? json(np.actual_excess) : json(nullptr)},
            {"unqueued", np.unqueued},
            {"counters", json_of(np.counters)}};
}

json json_of(const QueueView& queue, const std::string& name)
{
    const softnp_queue np = in_NP(queue);
    return {{"queue", name.empty() ? json(nullptr) : json(name)},
            {"number", queue.number},
            {"size", queue.size},
            {"queue_length", queue.length},
            {"mode", name_of_qostype(queue.mode)},
            {"pri", queue.pri},
            {"ratio", queue.ratio},
            {"waiting_frames", np.waiting_frames},
            {"waiting_bytes", np.waiting_bytes},
            {"counters", json_of(np.counters)}};
}

json json_of_details(const zelfdb_stream_info& stream)
{
    json object = json_of(stream);
    json tosmap = json::array();
    json classes = json::array();
    for (u32 i = 0; i < classes_of_stream; ++i) {
        const bool used = (stream.tosmap_bits >> i & 1) != 0;
        tosmap.push_back(used ? json{{"value", hex(stream.tos_value[i])}, {"mask", hex(stream.tos_mask[i])}}
                              : json(nullptr));
        const auto queue = read_queue(stream.streamno * classes_of_stream + i);
        json red = json::object();
        for (u32 k = 0; k < std::size(colours); ++k) {
            const softnp_red& row = in_NP(stream).red[i][k];
            red[colours[k]] = {{"thresh", {row.min_thresh, row.max_thresh}}, {"drop", {row.min_drop, row.max_drop}}};
        }
        classes.push_back({{"class", i},
                           {"active", (stream.row[i].np_word & 1) != 0},
                           {"queue", queue ? json_of(*queue, name_of(stream) + "/" + number(i)) : json(nullptr)},
                           {"red", red}});
    }
    object["tosmap"] = tosmap;
    object["classes"] = classes;
    return object;
}

std::vector<Column> queue_columns()
{
    return {{"QUEUE"},      {"NUMBER", true},  {"SIZE", true},      {"LENGTH", true},
            {"MODE"},       {"PRI", true},     {"RATIO", true},     {"WAITING", true},
            {"SENT", true}, {"DROPPED", true}, {"BY LENGTH", true}, {"BY RED", true}};
}

void add_queue(Table& table, const QueueView& queue, const std::string& name)
{
    const softnp_queue np = in_NP(queue);
    const u64 by_red = np.counters.dropped_red[0] + np.counters.dropped_red[1] + np.counters.dropped_red[2];
    table.add({name.empty() ? "-" : name, number(queue.number), number(queue.size), number(queue.length),
               name_of_qostype(queue.mode), queue.mode == 1 || queue.mode == 2 ? number(queue.pri) : "-",
               queue.mode == 1 ? number(queue.ratio) : "-", number(np.waiting_frames), number(np.counters.sent_frames),
               number(all_dropped(np.counters)), number(np.counters.dropped_length), number(by_red)});
}

void print_red(const zelfdb_stream_info& stream)
{
    Table table({{"CLASS", true}, {"COLOR"}, {"THRESH"}, {"DROP"}});
    const softnp_stream np = in_NP(stream);
    for (u32 i = 0; i < classes_of_stream; ++i) {
        for (u32 k = 0; k < std::size(colours); ++k) {
            const softnp_red& row = np.red[i][k];
            if (row.min_thresh == 100 && row.max_thresh == 0 && row.min_drop == 0 && row.max_drop == 0) continue;
            table.add({number(i), colours[k], pair(row.min_thresh, row.max_thresh) + " %",
                       pair(row.min_drop, row.max_drop) + " %"});
        }
    }
    if (table.empty()) return;
    std::printf("\n");
    table.print();
}

void print_details(const zelfdb_stream_info& stream)
{
    const softnp_stream np = in_NP(stream);
    Sheet sheet;
    sheet.add("stream", name_of(stream) + ", number " + number(stream.streamno));
    sheet.add("port", stream.portno == 0 ? "none" : number(stream.portno));
    sheet.add("scheduling", name_of_qostype(stream.qos_type));
    sheet.add("priority", number(stream.priority));
    sheet.add("rate/1000", rate_text(stream));
    sheet.add("burst", burst_text(stream));
    if (np.has_actual_rate != 0) sheet.add("granted/1000", granted_text(np));
    for (u32 i = 0; i < classes_of_stream; ++i)
        if ((stream.tosmap_bits >> i & 1) != 0)
            sheet.add("tos of class " + number(i), hex(stream.tos_value[i]) + "/" + hex(stream.tos_mask[i]));
    sheet.add("waiting",
              counted(np.waiting_frames, "frame", "frames") + ", " + counted(np.waiting_bytes, "byte", "bytes"));
    sheet.add("sent", counted(np.counters.sent_frames, "frame", "frames") + ", " +
                          counted(np.counters.sent_bytes, "byte", "bytes"));
    sheet.add("dropped", counted(all_dropped(np.counters), "frame", "frames"));
    sheet.add("past the queues", counted(np.unqueued, "frame", "frames"));
    sheet.print();

    Table table(queue_columns());
    for (u32 i = 0; i < classes_of_stream; ++i)
        if (const auto queue = read_queue(stream.streamno * classes_of_stream + i))
            add_queue(table, *queue, name_of(stream) + "/" + number(i));
    if (!table.empty()) {
        std::printf("\n");
        table.print();
    }
    print_red(stream);
}

// Names of the streams by their numbers.
std::map<u32, std::string> names_of(const std::vector<zelfdb_stream_info>& streams)
{
    std::map<u32, std::string> names;
    for (const zelfdb_stream_info& stream : streams) names[stream.streamno] = name_of(stream);
    return names;
}

std::string queue_name(const QueueView& queue, const std::map<u32, std::string>& names)
{
    const auto stream = names.find(queue.number / classes_of_stream);
    if (stream == names.end()) return {};
    return stream->second + "/" + number(queue.number % classes_of_stream);
}

}  // namespace

int show_streams(const StreamFilter& filter)
{
    if (!database_is_ready()) return exit_failed;
    const auto streams = read_streams();
    if (!streams) return exit_failed;
    json list = json::array();
    Table table({{"STREAM"},
                 {"NUMBER", true},
                 {"TYPE"},
                 {"PRIORITY", true},
                 {"RATE/1000"},
                 {"BURST"},
                 {"GRANTED"},
                 {"QUEUES", true},
                 {"WAITING", true},
                 {"SENT", true},
                 {"DROPPED", true}});
    u32 shown = 0;
    for (const zelfdb_stream_info& listed : *streams) {
        if (filter.port != 0 && listed.portno != filter.port) continue;
        const auto stream = read_stream(listed.streamno);  // the listing does not tell the peak burst
        if (!stream) continue;
        ++shown;
        if (filter.json) {
            list.push_back(json_of(*stream));
            continue;
        }
        const softnp_stream np = in_NP(*stream);
        table.add({name_of(*stream), number(stream->streamno), name_of_qostype(stream->qos_type),
                   number(stream->priority), rate_text(*stream), burst_text(*stream), granted_text(np),
                   number(queues_of(*stream)), number(np.waiting_frames), number(np.counters.sent_frames),
                   number(all_dropped(np.counters))});
    }
    // A stream's port may be gone.
    if (filter.port != 0 && shown == 0 && !read_port(filter.port)) {
        complain("no port " + number(filter.port));
        return exit_failed;
    }
    if (filter.json) {
        print_json({{"streams", list}});
        return exit_done;
    }
    table.print();
    std::printf("%s\n", counted(shown, "stream", "streams").c_str());
    return exit_done;
}

int show_stream(const std::string& name, bool as_json)
{
    const Kind& kind = *find_kind("stream");
    Value value;
    if (!read_stream(kind, name, value)) {
        complain("'" + name + "' is not " + kind.expects);
        return exit_usage;
    }
    if (!database_is_ready()) return exit_failed;
    const auto stream = read_stream(find_stream(value.numbers[0], value.numbers[1]));
    if (!stream) {
        complain("no stream " + name);
        return exit_failed;
    }
    if (as_json)
        print_json(json_of_details(*stream));
    else
        print_details(*stream);
    return exit_done;
}

int show_queues(bool as_json)
{
    if (!database_is_ready()) return exit_failed;
    const auto streams = read_streams();
    if (!streams) return exit_failed;
    const auto names = names_of(*streams);
    const std::vector<QueueView> queues = read_queues();
    json list = json::array();
    Table table(queue_columns());
    for (const QueueView& queue : queues) {
        if (as_json)
            list.push_back(json_of(queue, queue_name(queue, names)));
        else
            add_queue(table, queue, queue_name(queue, names));
    }
    if (as_json) {
        print_json({{"queues", list}});
        return exit_done;
    }
    table.print();
    std::printf("%s\n", counted(queues.size(), "queue", "queues").c_str());
    return exit_done;
}

int show_budget(bool as_json)
{
    if (!database_is_ready()) return exit_failed;
    const Descriptor descriptor(zelfdb_open_descriptor2());
    if (!descriptor) return exit_failed;
    i64 used = 0;
    const std::vector<QueueView> queues = read_queues();
    for (const QueueView& queue : queues) used += queue.size;
    // No operation tells what is left: it stands in the segment.
    const i64 free = zelfdb::header_of(*descriptor).free_qsize;
    const i64 lost = whole_budget - used - free;
    if (as_json) {
        print_json(
            {{"budget", whole_budget}, {"queues", queues.size()}, {"used", used}, {"free", free}, {"lost", lost}});
        return exit_done;
    }
    Sheet sheet;
    sheet.add("budget", std::to_string(whole_budget));
    sheet.add("used", std::to_string(used) + " by " + counted(queues.size(), "queue", "queues"));
    sheet.add("free", std::to_string(free));
    sheet.add("lost", std::to_string(lost) + (lost == 0 ? "" : " to queues whose creation failed"));
    sheet.print();
    return exit_done;
}

}  // namespace zelfctl
