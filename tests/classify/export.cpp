// The export as an operation: its response, its file, its lock, and what becomes of all of them when something fails.
#include <fcntl.h>
#include <sys/resource.h>

#include <cerrno>
#include <csignal>

#include "classify/export_test.h"
#include "core/ipc.h"

namespace zelfdb {
namespace {

class Export : public ExportTest {
protected:
    void SetUp() override
    {
        ExportTest::SetUp();
        given_profile(1);
        given_profile(2);
        given_lines(1, 40);
        environment::reset();
        recorder::reset();
    }
    // The frame of one call that ended as it should.
    void expect_frame(const std::string& locks)
    {
        EXPECT_EQ(recorder::init_calls(), 1u);
        EXPECT_EQ(recorder::release_calls(), 1u);
        EXPECT_EQ(environment::calls("shmat"), 2u);
        EXPECT_EQ(environment::calls("shmdt"), 2u);
        EXPECT_EQ(lock_moves(), locks);
        EXPECT_EQ(semaphore_value(main_key), 1);
        EXPECT_EQ(semaphore_value(fdb_key), 1);
    }

    // Runs an export of everything in a process whose standard output and limits were prepared, and answers what went
    // wrong there: 0 for an export that succeeded, wrote that document, and left no descriptor and no lock behind.
    template <class Prepare>
    static int in_a_process(const std::string& document, Prepare prepare)
    {
        Child child([&] {
            files::forget();
            prepare();
            const std::size_t open_before = files::open_descriptors();
            u32 err = untouched;
            const int result = zelfdb_disp_classify(0, &err);
            for (const files::Sync& sync : files::syncs()) systems<int(const char*)>("unlink")(sync.path.c_str());
            if (result != 0) return 1;
            if (err != untouched) return 2;
            if (files::open_descriptors() != open_before) return 3;
            if (semaphore_value(main_key) != 1) return 4;
            if (files::syncs().size() != 1) return 5;
            if (files::syncs()[0].descriptor <= STDERR_FILENO) return 6;
            return files::syncs()[0].content == document ? 0 : 7;
        });
        return child.result();
    }
    static void print_into(const char* path)
    {
        const int file = open(path, O_WRONLY);
        dup2(file, STDOUT_FILENO);
        close(file);
    }
};

TEST_F(Export, TheResponseNamesANewFileThatIsLeftToItsReader)
{
    const Expected unchanged = now();
    const std::size_t open_before = files::open_descriptors();
    const Exportation all = exported(1);
    EXPECT_EQ(all.result, 0);
    EXPECT_EQ(all.err, untouched);
    EXPECT_EQ(all.path.size(), std::strlen("/tmp/clsline-XXXXXX"));
    EXPECT_EQ(all.path.rfind("/tmp/clsline-", 0), 0u);
    EXPECT_NE(all.path, "/tmp/clsline-XXXXXX");
    EXPECT_EQ(all.printed, "<response>\n  <result>OK</result>\n  <data file=\"" + all.path + "\"/>\n</response>\n");
    EXPECT_TRUE(files::exists(all.path));
    EXPECT_TRUE(files::removals().empty());
    EXPECT_EQ(files::open_descriptors(), open_before);
    EXPECT_TRUE(unchanged.is_now());
    EXPECT_NE(exported(1).path, all.path);
}

TEST_F(Export, TheFileIsCompleteAndSyncedBeforeTheLockIsGivenBack)
{
    const Exportation all = exported(0);
    expect_frame("main- main+");
    ASSERT_EQ(files::syncs().size(), 1u);
    EXPECT_EQ(files::syncs()[0].path, all.path);
    EXPECT_EQ(files::syncs()[0].content, all.document);
    EXPECT_GT(all.document.size(), 16384u);
    EXPECT_EQ(files::syncs()[0].main_lock, 0);
}

TEST_F(Export, AProfileThatDoesNotExistRemovesTheFileAndPrintsNothing)
{
    const Expected unchanged = now();
    const std::size_t open_before = files::open_descriptors();
    for (const u32 number : {3u, 64u, 65u, 0xFFFFu, 0x10000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(number);
        environment::reset();
        recorder::reset();
        files::forget();
        const Exportation all = exported(number);
        EXPECT_EQ(all.result, -1);
        EXPECT_EQ(all.err, 109u);
        EXPECT_EQ(all.printed, "");
        ASSERT_EQ(files::removals().size(), 1u);
        EXPECT_EQ(files::removals()[0].path.rfind("/tmp/clsline-", 0), 0u);
        EXPECT_TRUE(files::removals()[0].existed);
        EXPECT_EQ(files::removals()[0].main_lock, 0);
        EXPECT_FALSE(files::exists(files::removals()[0].path));
        EXPECT_EQ(files::open_descriptors(), open_before);
        expect_frame("main- main+");
    }
    EXPECT_TRUE(unchanged.is_now());
}

TEST_F(Export, OneOfAnEmptyDatabaseIsRefusedAndAllOfItAreNot)
{
    EXPECT_EQ(call(zelfdb_rem_classify_all_from_profile, 1).result, 0);
    EXPECT_EQ(call(zelfdb_delete_classify_profile, 1).result, 0);
    EXPECT_EQ(call(zelfdb_delete_classify_profile, 2).result, 0);
    EXPECT_EQ(exported(1).err, 109u);
    const Exportation all = exported(0);
    EXPECT_EQ(all.result, 0);
    EXPECT_EQ(all.err, untouched);
}

TEST_F(Export, WithoutAFileItFailsWithOneBeforeAnyLockIsTaken)
{
    const std::size_t open_before = files::open_descriptors();
    for (const u32 number : {0u, 1u, 99u}) {
        recorder::reset();
        const Exportation all = exported(number, [] {
            environment::reset();
            environment::fail("mkstemp", EACCES);
        });
        EXPECT_EQ(all.result, -1);
        EXPECT_EQ(all.err, 1u);
        EXPECT_EQ(all.printed, "");
        expect_frame("");
    }
    EXPECT_EQ(files::open_descriptors(), open_before);
    EXPECT_TRUE(files::removals().empty());
    EXPECT_TRUE(files::syncs().empty());
}

TEST_F(Export, WithoutADescriptorItFailsWithOneAndMakesNoFile)
{
    const FrameRow row{"disp_classify",  Frame::opens,    Lock::main,
                       Word::on_failure, Answer::ignored, [](With w) { return zelfdb_disp_classify(1, w.err); },
                       nullptr};
    without_a_descriptor(row);
    for (const char* refusal : {"shmget", "shmat"}) {
        const Exportation all = exported(1, [&] {
            environment::reset();
            environment::fail(refusal, EACCES);
        });
        EXPECT_EQ(all.result, -1);
        EXPECT_EQ(all.err, 1u);
        EXPECT_EQ(all.printed, std::string("libzelfdb: open_descriptor ") + refusal + " fail\n");
        EXPECT_EQ(environment::calls("mkstemp"), 0u);
        EXPECT_EQ(lock_moves(), "");
    }
}

// Whoever holds the lock meanwhile does not wait for the file's making.
TEST_F(Export, TheFileIsMadeBeforeTheLockIsTaken)
{
    begin_critical();
    Child child([] {
        print_into("/dev/null");
        u32 err = untouched;
        return zelfdb_disp_classify(0, &err);
    });
    EXPECT_TRUE(soon([] { return semaphore_waiters(main_key) == 1; }));
    const std::vector<std::string> made = files::open_exports(child.pid());
    ASSERT_EQ(made.size(), 1u);
    remove_at_end(made[0]);
    EXPECT_EQ(files::content_of(made[0]), "");
    end_critical();
    EXPECT_EQ(child.result(), 0);
    EXPECT_EQ(files::content_of(made[0]), document(0));
}

// The file is made where the lowest descriptor is free. Were it a standard stream's, the response would go into it.
TEST_F(Export, ClosedStandardStreamsLoseNoLockAndNoDescriptorAndTheDocumentIsNoneOfThem)
{
    const std::string whole = document(0);
    const std::vector<std::vector<int>> closed = {{}, {0}, {1}, {2}, {0, 1}, {1, 2}, {0, 1, 2}};
    for (const std::vector<int>& streams : closed) {
        for (const int buffering : {_IOFBF, _IOLBF, _IONBF}) {
            SCOPED_TRACE(testing::PrintToString(streams) + ", buffering " + std::to_string(buffering));
            EXPECT_EQ(in_a_process(whole,
                                   [&] {
                                       print_into("/dev/null");
                                       std::setvbuf(stdout, nullptr, buffering, 4096);
                                       for (const int stream : streams) close(stream);
                                   }),
                      0);
        }
    }
    EXPECT_EQ(exported(1).result, 0);
}

TEST_F(Export, WithoutADescriptorBesideTheStandardStreamsThereIsNoFile)
{
    Child child([] {
        files::forget();
        environment::reset();
        close(STDOUT_FILENO);
        rlimit before{};
        getrlimit(RLIMIT_NOFILE, &before);
        const rlimit only_the_streams{STDERR_FILENO + 1, before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &only_the_streams);
        u32 err = untouched;
        const int result = zelfdb_disp_classify(0, &err);
        setrlimit(RLIMIT_NOFILE, &before);
        if (result != -1 || err != 1) return 1;
        if (environment::calls("mkstemp") != 1 || files::removals().size() != 1) return 2;
        if (!files::removals()[0].existed || files::exists(files::removals()[0].path)) return 3;
        if (fcntl(STDOUT_FILENO, F_GETFD) != -1) return 4;
        if (lock_moves() != "") return 5;
        return environment::calls("shmdt") == 2 ? 0 : 6;
    });
    EXPECT_EQ(child.result(), 0);
    EXPECT_EQ(exported(1).result, 0);
}

// As above, in the process that goes on: its stream stays closed.
TEST_F(Export, AClosedStandardInputIsNeitherTakenNorLeftOpen)
{
    const int input = dup(STDIN_FILENO);
    const Exportation all = exported(1, [] { close(STDIN_FILENO); });
    EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1);
    dup2(input, STDIN_FILENO);
    EXPECT_EQ(all.result, 0);
    ASSERT_EQ(files::syncs().size(), 1u);
    EXPECT_GT(files::syncs()[0].descriptor, STDERR_FILENO);
    EXPECT_EQ(files::syncs()[0].content, all.document);
    EXPECT_NE(all.document, "");

    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const Exportation none = exported(1, [&] {
        close(STDIN_FILENO);
        const rlimit only_the_streams{STDERR_FILENO + 1, before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &only_the_streams);
    });
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1);
    dup2(input, STDIN_FILENO);
    close(input);
    EXPECT_EQ(none.result, -1);
    EXPECT_EQ(none.err, 1u);
    EXPECT_EQ(none.printed, "");
    ASSERT_EQ(files::removals().size(), 1u);
    EXPECT_TRUE(files::removals()[0].existed);
    EXPECT_FALSE(files::exists(files::removals()[0].path));
}

// The pipe has room for the response but not for its last line, which therefore waits until somebody reads.
TEST_F(Export, TheDocumentIsCompleteBeforeTheResponseEnds)
{
    const std::string whole = document(0);
    const std::size_t room = std::strlen("<response>\n  <result>OK</result>\n  <data file=\"/tmp/clsline-XXXXXX\"/>\n");
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const int capacity = fcntl(ends[1], F_GETPIPE_SZ);
    ASSERT_GT(capacity, 4096);
    const std::string filler(static_cast<std::size_t>(capacity) - room, '.');
    fcntl(ends[1], F_SETFL, O_NONBLOCK);
    ASSERT_EQ(write(ends[1], filler.data(), filler.size()), static_cast<ssize_t>(filler.size()));
    fcntl(ends[1], F_SETFL, 0);

    Child child([&] {
        dup2(ends[1], STDOUT_FILENO);
        std::setvbuf(stdout, nullptr, _IONBF, 0);
        u32 err = untouched;
        return zelfdb_disp_classify(0, &err);
    });
    close(ends[1]);
    EXPECT_TRUE(soon([&] {
        const std::vector<std::string> made = files::open_exports(child.pid());
        return made.size() == 1 && files::content_of(made[0]) == whole;
    }));
    for (const std::string& path : files::open_exports(child.pid())) remove_at_end(path);
    EXPECT_TRUE(child.running());

    std::string printed;
    char some[4096];
    for (ssize_t count = 0; (count = read(ends[0], some, sizeof some)) > 0;) {
        printed.append(some, static_cast<std::size_t>(count));
    }
    close(ends[0]);
    EXPECT_EQ(printed.substr(filler.size() + room), "</response>\n");
    EXPECT_EQ(child.result(), 0);
}

TEST_F(Export, AFullStandardOutputLosesNoLockAndNoDescriptor)
{
    for (const int buffering : {_IOFBF, _IOLBF, _IONBF}) {
        EXPECT_EQ(in_a_process(document(0),
                               [&] {
                                   print_into("/dev/full");
                                   std::setvbuf(stdout, nullptr, buffering, 4096);
                               }),
                  0);
    }
    EXPECT_EQ(exported(1).result, 0);
}

// The document ends where the disk did; nothing says so but the document.
TEST_F(Export, AFullDiskLosesNoLockAndNoDescriptorAndIsNotReported)
{
    const std::string whole = document(0);
    for (const std::size_t limit : {std::size_t{0}, std::size_t{1}, std::size_t{8192}, whole.size() - 1}) {
        EXPECT_EQ(in_a_process(whole.substr(0, limit),
                               [&] {
                                   print_into("/dev/null");
                                   signal(SIGXFSZ, SIG_IGN);
                                   const rlimit file_size{limit, limit};
                                   setrlimit(RLIMIT_FSIZE, &file_size);
                               }),
                  0)
            << limit;
    }
    EXPECT_EQ(exported(1).result, 0);
}

TEST_F(Export, WhereTheDiskIsFullTheDocumentEndsAndTheResponseDoesNot)
{
    const std::string whole = document(0);
    ASSERT_GT(whole.size(), 8192u);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    for (const std::size_t limit : {std::size_t{512}, std::size_t{8192}, whole.size() - 1}) {
        SCOPED_TRACE(limit);
        environment::reset();
        recorder::reset();
        const Exportation all = exported(0, [&] {
            const rlimit file_size{limit, before.rlim_max};
            setrlimit(RLIMIT_FSIZE, &file_size);
        });
        setrlimit(RLIMIT_FSIZE, &before);
        EXPECT_EQ(all.result, 0);
        EXPECT_EQ(all.err, untouched);
        EXPECT_EQ(all.printed, "<response>\n  <result>OK</result>\n  <data file=\"" + all.path + "\"/>\n</response>\n");
        EXPECT_EQ(all.document, whole.substr(0, limit));
        expect_frame("main- main+");
    }
    signal(SIGXFSZ, handler);
}

TEST_F(Export, AProcessThatTheFullDiskKillsLeavesNoLock)
{
    begin_critical();
    Child child([] {
        print_into("/dev/null");
        const rlimit file_size{100, 100};
        setrlimit(RLIMIT_FSIZE, &file_size);
        u32 err = untouched;
        zelfdb_disp_classify(0, &err);
        return 0;
    });
    EXPECT_TRUE(soon([] { return semaphore_waiters(main_key) == 1; }));
    for (const std::string& path : files::open_exports(child.pid())) remove_at_end(path);
    end_critical();
    EXPECT_EQ(child.result(), -1);
    EXPECT_EQ(semaphore_value(main_key), 1);
    EXPECT_EQ(exported(1).result, 0);
}

}  // namespace
}  // namespace zelfdb
