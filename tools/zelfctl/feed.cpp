#include "feed.h"

#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <map>

#include "analyser.h"
#include "database.h"
#include "interrupt.h"
#include "json_output.h"
#include "learner.h"
#include "ports.h"
#include "progress.h"
#include "table.h"
#include "times.h"

namespace zelfctl {
namespace {

using nlohmann::json;

// While one of these lives, what the library writes to the system log is on standard error, too.
class LogToError {
public:
    LogToError() { openlog("zelfctl", LOG_PERROR, LOG_LOCAL5); }
    ~LogToError() { closelog(); }
    LogToError(const LogToError&) = delete;
    LogToError& operator=(const LogToError&) = delete;
};

void show(Progress& progress, u64 frames, const Learner& learner)
{
    if (progress.is_due(frames))
        progress.show(std::to_string(frames) + " frames, " + std::to_string(learner.count(Learned::learned)) +
                      " stations learned");
}

struct Totals {
    u64 frames = 0;
    u64 bytes = 0;
    u64 outcomes[4] = {};                        // enum softnp_outcome
    std::map<std::pair<u32, u32>, u64> dropped;  // by port and enum softnp_reason
    u64 lost_events = 0;
    i64 first_ns = 0;
    i64 last_ns = 0;
};

void count(Totals& totals, const CapturedFrame& frame, const softnp_verdict& verdict)
{
    if (totals.frames == 0) totals.first_ns = frame.time_ns;
    totals.last_ns = frame.time_ns;
    ++totals.frames;
    totals.bytes += frame.length;
    ++totals.outcomes[verdict.outcome];
    if (verdict.outcome == SOFTNP_DROPPED) ++totals.dropped[{frame.port_id, verdict.reason}];
    if (verdict.learning == SOFTNP_LEARN_LOST) ++totals.lost_events;
}

// The network processor's time goes on from where it is, by as much as lies between the frames: so it never runs
// backwards, in whatever order recordings are fed.
u32 tick_of(const Totals& totals, const CapturedFrame& frame, u32 start_ms)
{
    const i64 since_ns = totals.frames == 0 ? 0 : frame.time_ns - totals.first_ns;
    return start_ms + static_cast<u32>(since_ns / ns_per_ms);
}

bool run(Captures& captures, const FeedOptions& options, Learner& learner, Analyser& analyser, Totals& totals)
{
    u32 start_ms = 0;
    if (softnp_get_tick(&start_ms) != 0 || !learner.drain()) return false;
    const UntilInterrupted until_interrupted;
    const LogToError log_to_error;
    Progress progress;
    while (!UntilInterrupted::was_interrupted() && (options.limit == 0 || totals.frames < options.limit)) {
        const auto frame = captures.next();
        if (!frame) break;
        softnp_verdict verdict{};
        if (softnp_receive(softnp_np_port(frame->port_id), frame->bytes, frame->length,
                           tick_of(totals, *frame, start_ms), &verdict) != 0)
            return false;
        count(totals, *frame, verdict);
        if (!learner.drain()) return false;
        if (analyser.is_open() && !analyser.take(start_ms, totals.first_ns)) return false;
        show(progress, totals.frames, learner);
    }
    return options.hold || softnp_follow_clock() == 0;
}

std::string seconds_of(const Totals& totals)
{
    const i64 ms = (totals.last_ns - totals.first_ns) / ns_per_ms;
    char text[32];
    std::snprintf(text, sizeof text, "%lld.%03lld", static_cast<long long>(ms / 1000),
                  static_cast<long long>(ms % 1000));
    return text;
}

std::vector<std::pair<LearnNote, LearnCount>> in_order(const Learner& learner)
{
    std::vector<std::pair<LearnNote, LearnCount>> notes(learner.notes().begin(), learner.notes().end());
    std::sort(notes.begin(), notes.end(), [](const auto& a, const auto& b) { return a.second.first < b.second.first; });
    return notes;
}

std::string vlan_name(u32 vid)
{
    char name[32] = "";
    u32 code = 0;
    return zelfdb_get_vlanname(vid, name, &code) == 0 ? name : number(vid);
}

void print_stations(const Learner& learner)
{
    Table table({{"RESULT"}, {"MAC"}, {"VLAN"}, {"PORT", true}, {"FROM", true}, {"TIMES", true}, {"WHY"}});
    for (const auto& [note, count] : in_order(learner))
        table.add({text_of(note.result), text_of(note.mac), vlan_name(note.vid), number(note.port_id),
                   note.from_port == 0 ? "" : number(note.from_port), number(count.events), note.reason});
    if (!table.empty()) table.print();
    if (learner.events_without_note() != 0)
        std::printf("and %s\n", counted(learner.events_without_note(), "event more", "events more").c_str());
}

void print_drops(const Totals& totals)
{
    if (totals.dropped.empty()) return;
    Table table({{"PORT", true}, {"DROPPED", true}, {"WHY"}});
    for (const auto& [where, frames] : totals.dropped)
        table.add({number(where.first), number(frames), softnp_reason_text(static_cast<int>(where.second))});
    table.print();
}

void print(const FeedOptions& options, const Captures& captures, const Totals& totals, const Learner& learner,
           const Analyser& analyser)
{
    std::printf("%s, %s, %s s from %s: %s forwarded, %s flooded, %s delivered, %s dropped\n",
                counted(totals.frames, "frame", "frames").c_str(), counted(totals.bytes, "byte", "bytes").c_str(),
                seconds_of(totals).c_str(), counted(captures.reports().size(), "file", "files").c_str(),
                number(totals.outcomes[SOFTNP_FORWARDED]).c_str(), number(totals.outcomes[SOFTNP_FLOODED]).c_str(),
                number(totals.outcomes[SOFTNP_DELIVERED]).c_str(), number(totals.outcomes[SOFTNP_DROPPED]).c_str());
    std::printf("stations: %s learned, %s moved, %s ignored, %s refused\n",
                number(learner.count(Learned::learned)).c_str(), number(learner.count(Learned::moved)).c_str(),
                number(learner.count(Learned::ignored)).c_str(), number(learner.count(Learned::refused)).c_str());
    if (!options.analyser.empty())
        std::printf("analyser: %s in %s\n", counted(analyser.frames(), "frame", "frames").c_str(),
                    options.analyser.c_str());
    if (totals.lost_events != 0)
        std::printf("%s lost: the queue was full\n",
                    counted(totals.lost_events, "learn event was", "learn events were").c_str());
    if (!options.events) return;
    std::printf("\n");
    print_stations(learner);
    if (!totals.dropped.empty()) std::printf("\n");
    print_drops(totals);
}

json json_of(const Captures& captures, const Totals& totals, const Learner& learner, const Analyser& analyser)
{
    json files = json::array();
    for (const CaptureReport& report : captures.reports())
        files.push_back({{"file", report.file.path},
                         {"port", report.file.port_id},
                         {"frames", report.frames},
                         {"cut_short", report.cut_short},
                         {"bad_times", report.bad_times},
                         {"broke_off", report.broke_off.empty() ? json(nullptr) : json(report.broke_off)}});
    json dropped = json::array();
    for (const auto& [where, frames] : totals.dropped)
        dropped.push_back({{"port", where.first},
                           {"reason", softnp_reason_text(static_cast<int>(where.second))},
                           {"frames", frames}});
    json events = json::array();
    for (const auto& [note, count] : in_order(learner))
        events.push_back({{"result", text_of(note.result)},
                          {"mac", text_of(note.mac)},
                          {"vid", note.vid},
                          {"vlan", vlan_name(note.vid)},
                          {"port", note.port_id},
                          {"from_port", note.from_port == 0 ? json(nullptr) : json(note.from_port)},
                          {"times", count.events},
                          {"reason", note.reason.empty() ? json(nullptr) : json(note.reason)}});
    return {{"files", files},
            {"frames", totals.frames},
            {"bytes", totals.bytes},
            {"duration_ms", (totals.last_ns - totals.first_ns) / ns_per_ms},
            {"forwarded", totals.outcomes[SOFTNP_FORWARDED]},
            {"flooded", totals.outcomes[SOFTNP_FLOODED]},
            {"delivered", totals.outcomes[SOFTNP_DELIVERED]},
            {"dropped", totals.outcomes[SOFTNP_DROPPED]},
            {"drops", dropped},
            {"learned", learner.count(Learned::learned)},
            {"moved", learner.count(Learned::moved)},
            {"ignored", learner.count(Learned::ignored)},
            {"refused", learner.count(Learned::refused)},
            {"lost_events", totals.lost_events},
            {"analyser_frames", analyser.frames()},
            {"events", events}};
}

// True if every file was read to its end. Skipped frames are told, and are no failure.
bool tell_trouble(const Captures& captures)
{
    bool all_read = true;
    for (const CaptureReport& report : captures.reports()) {
        const std::string& path = report.file.path;
        if (report.cut_short != 0)
            complain(path + ": skipped " + number(report.cut_short) +
                     " frames of which only the beginning was captured");
        if (report.bad_times != 0)
            complain(path + ": " + counted(report.bad_times, "frame", "frames") +
                     " with an impossible time, fed without delay");
        if (report.broke_off.empty()) continue;
        complain(path + ": broke off after " + counted(report.frames, "frame", "frames") + ": " + report.broke_off);
        all_read = false;
    }
    return all_read;
}

bool ports_exist(const std::vector<CaptureFile>& files)
{
    for (const CaptureFile& file : files) {
        if (!read_port(file.port_id)) {
            complain("no port " + number(file.port_id));
            return false;
        }
        if (softnp_np_port(file.port_id) == SOFTNP_NO_PORT) {
            complain("port " + number(file.port_id) +
                     " is not in the network processor: it has 1 to 10 and 101 to 164");
            return false;
        }
    }
    return true;
}

}  // namespace

int feed(const FeedOptions& options)
{
    Captures captures;
    std::string error;
    if (!captures.open(options.files, error)) {
        complain(error + "; nothing was fed");
        return exit_failed;
    }
    if (!database_is_ready() || !ports_exist(options.files)) return exit_failed;
    const Descriptor descriptor(zelfdb_open_descriptor());
    if (!descriptor) return exit_failed;

    Analyser analyser;
    if (!options.analyser.empty() && !analyser.open(options.analyser, error)) {
        complain(error + "; nothing was fed");
        return exit_failed;
    }

    Learner learner(descriptor.get());
    Totals totals;
    const bool NP_answers = run(captures, options, learner, analyser, totals);
    const bool all_written = analyser.close();
    if (options.json)
        print_json(json_of(captures, totals, learner, analyser));
    else
        print(options, captures, totals, learner, analyser);
    if (!all_written) complain(options.analyser + ": could not be written to its end");
    const bool all_read = tell_trouble(captures);
    if (!NP_answers) complain("the network processor cannot be reached");
    const bool interrupted = UntilInterrupted::was_interrupted();
    if (interrupted) complain("interrupted");
    return NP_answers && all_read && all_written && !interrupted ? exit_done : exit_failed;
}

}  // namespace zelfctl
