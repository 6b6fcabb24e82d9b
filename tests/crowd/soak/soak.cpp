// The crowd for as long as one likes, quiet, with a slow NP and with one that dies, in turn: whoever lives through all of it
// needs no more at the end than in the beginning. ZELFDB_SOAK_MINUTES says how long.
#include <dirent.h>
#include <malloc.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "crowd/soak/growth.h"
#include "crowd/supervision/on_a_database.h"

namespace crowd {
namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::IsEmpty;

constexpr u32 spared = 2;
constexpr milliseconds scene_duration{5000};
constexpr milliseconds sample_interval{1000};

double minutes_wanted()
{
    const char* const given = std::getenv("ZELFDB_SOAK_MINUTES");
    return given ? std::atof(given) : 10;
}

// A value of /proc/<pid>/status, in KiB.
double memory_kib(pid_t pid, const std::string& name)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string word; status >> word;) {
        double value = 0;
        if (word == name + ":" && status >> value) return value;
    }
    return -1;
}

// Which pages of the segments a process has touched says nothing.
double resident_kib(pid_t pid) { return memory_kib(pid, "VmRSS") - memory_kib(pid, "RssShmem"); }

double open_files(pid_t pid)
{
    DIR* const directory = opendir(("/proc/" + std::to_string(pid) + "/fd").c_str());
    if (!directory) return -1;
    double count = -2;  // the two names of directories
    while (readdir(directory)) ++count;
    closedir(directory);
    return count;
}

// Lines of a table of this IPC namespace, under its heading.
double objects_in(const char* table)
{
    std::ifstream lines(table);
    double count = -1;
    for (std::string line; std::getline(lines, line);) ++count;
    return count;
}

// Attachments of all segments by all processes.
double attachments_in_all()
{
    std::ifstream lines("/proc/sysvipc/shm");
    double all = 0;
    std::string heading;
    std::getline(lines, heading);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string key, id, perms, size, creator, last;
        double attached = 0;
        words >> key >> id >> perms >> size >> creator >> last >> attached;
        all += attached;
    }
    return all;
}

// Memory of its own is what leaks. What else is resident are pages of the program, which come and go.
constexpr double memory_tolerance_kib = 256;
constexpr double resident_tolerance_kib = 4096;

struct Measures {
    Series supervisor{"supervisor, memory of its own, KiB", memory_tolerance_kib};
    Series supervisor_all{"supervisor, resident but for segments, KiB", resident_tolerance_kib};
    Series worker[spared] = {{"first long-lived worker, memory of its own, KiB", memory_tolerance_kib},
                             {"second long-lived worker, memory of its own, KiB", memory_tolerance_kib}};
    Series worker_all[spared] = {{"first long-lived worker, resident but for segments, KiB", resident_tolerance_kib},
                                 {"second long-lived worker, resident but for segments, KiB", resident_tolerance_kib}};
    Series supervisors_files{"supervisor, open files", 0};
    Series workers_files{"long-lived workers, open files", 0};
    Series segments{"shared-memory segments", 0};
    Series attachments{"their attachments", 0};
    Series semaphores{"semaphores", 0};

    std::vector<Series*> all()
    {
        return {&supervisor,        &supervisor_all, &worker[0], &worker[1],   &worker_all[0], &worker_all[1],
                &supervisors_files, &workers_files,  &segments,  &attachments, &semaphores};
    }

    // Of a crowd that is paused.
    void take(const Crowd& crowd)
    {
        supervisor.values.push_back(memory_kib(getpid(), "RssAnon"));
        supervisor_all.values.push_back(resident_kib(getpid()));
        supervisors_files.values.push_back(open_files(getpid()));
        double files = 0;
        const std::vector<pid_t> pids = crowd.spared();
        for (u32 i = 0; i < spared; ++i) {
            worker[i].values.push_back(memory_kib(pids[i], "RssAnon"));
            worker_all[i].values.push_back(resident_kib(pids[i]));
            files += open_files(pids[i]);
        }
        workers_files.values.push_back(files);
        segments.values.push_back(objects_in("/proc/sysvipc/shm"));
        attachments.values.push_back(attachments_in_all());
        semaphores.values.push_back(objects_in("/proc/sysvipc/sem"));
    }
};

using Soak = OnADatabase;

struct Scene {
    const char* name;
    u32 np_delay_us;
    bool np_dies;
};
// The first round of them is not measured: memory that is needed at times is kept by the allocator from then on.
constexpr Scene scenes[] = {{"killing", 0, false}, {"a slow NP", 1000, false}, {"an NP that dies", 0, true}};

void print_line(double minute, const char* scene, const Crowd& crowd, const NpLife& np, const Measures& measures)
{
    const Figures& f = crowd.figures();
    std::printf(
        "%5.1f min: %llu operations, %llu kills (%llu in a call, %llu holding a lock), %llu repairs, %llu deaths of "
        "the NP; supervisor %.0f KiB, workers %.0f and %.0f KiB, %.0f segments, %.0f semaphores; now %s\n",
        minute, static_cast<unsigned long long>(crowd.completed()), static_cast<unsigned long long>(f.kills),
        static_cast<unsigned long long>(f.in_a_call), static_cast<unsigned long long>(f.holding_a_lock),
        static_cast<unsigned long long>(f.repairs), static_cast<unsigned long long>(np.deaths()),
        measures.supervisor.values.back(), measures.worker[0].values.back(), measures.worker[1].values.back(),
        measures.segments.values.back(), measures.semaphores.values.back(), scene);
    std::fflush(stdout);
}

void print_table(Measures& measures)
{
    std::printf("%-56s %14s %13s %10s\n", "", "first quarter", "last quarter", "tolerance");
    for (const Series* series : measures.all())
        std::printf("%-56s %14.0f %13.0f %10.0f%s\n", series->name.c_str(), series->at_first(), series->at_last(),
                    series->tolerance, series->grows() ? "  GROWS" : "");
}

TEST_F(Soak, NothingGrows)
{
    SCOPED_TRACE(random_.trace());
    // Large blocks go back to the system as soon as they are freed.
    mallopt(M_MMAP_THRESHOLD, 64 * 1024);
    ASSERT_NO_FATAL_FAILURE(lay_out(many_entries));
    const auto duration = duration_cast<Clock::duration>(std::chrono::duration<double>(minutes_wanted() * 60));
    Crowd crowd(random_, {8, 2, spared, Others::are_stopped});
    NpLife np(random_, crowd);
    Measures measures;
    const auto start = Clock::now();
    auto sample_at = start + scene_duration * std::size(scenes);
    auto line_at = start + seconds(60);
    while (Clock::now() - start < duration && !crowd.has_failed() && np.failures().empty()) {
        const Scene& scene =
            scenes[static_cast<std::size_t>((Clock::now() - start) / scene_duration) % std::size(scenes)];
        crowd.slow_the_np(scene.np_delay_us);
        if (scene.np_dies)
            np.go_on();
        else
            np.come_back();
        crowd.step(2000);
        if (Clock::now() < sample_at) continue;
        np.come_back();
        if (!crowd.pause()) break;
        measures.take(crowd);
        crowd.resume();
        sample_at = Clock::now() + sample_interval;
        if (Clock::now() < line_at) continue;
        print_line(std::chrono::duration<double>(Clock::now() - start).count() / 60, scene.name, crowd, np, measures);
        line_at += seconds(60);
    }
    np.come_back();
    if (crowd.pause()) np.expect_all_of_the_database_in_a_new_np();
    crowd.print();
    np.print();
    print_table(measures);

    EXPECT_THAT(crowd.figures().failures, IsEmpty());
    EXPECT_THAT(crowd.figures().astray, IsEmpty());
    EXPECT_THAT(np.failures(), IsEmpty());
    for (const Series* series : measures.all()) {
        EXPECT_TRUE(series->has_enough()) << series->name << ": too few samples to tell";
        EXPECT_FALSE(series->grows()) << series->name;
    }
}

}  // namespace
}  // namespace crowd
