#include "fdb_test.h"

#include <sys/sem.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace zelfdb {

std::string text(u32 number)
{
    char digits[16];
    std::snprintf(digits, sizeof digits, number <= 9 ? "%u" : "0x%x", number);
    return digits;
}

std::string text(const Mac& mac)
{
    char digits[18];
    const u8(&m)[6] = mac.byte;
    std::snprintf(digits, sizeof digits, "%02x:%02x:%02x:%02x:%02x:%02x", m[0], m[1], m[2], m[3], m[4], m[5]);
    return digits;
}

std::string add_line(u32 FID, const Mac& mac, u32 np_port, u32 cookie, u32 flag)
{
    const std::string port = text(np_port);
    return "addFDB(" + text(flag) + ", 1, " + text(FID) + ", " + text(mac) + ", " + port + ", " + text(cookie) +
           ", 0, " + port + ")";
}

std::string remove_line(u32 FID, const Mac& mac) { return "removeFDB(" + text(FID) + ", " + text(mac) + ")"; }

std::string find_line(u32 FID, const Mac& mac) { return "findFDB(" + text(FID) + ", " + text(mac) + ")"; }

std::string batch_line(u32 FID, const std::vector<Mac>& macs)
{
    std::string line;
    for (const Mac& mac : macs) {
        if (!line.empty()) line += " + ";
        line += remove_line(FID, mac);
    }
    return line;
}

void PrintTo(const Counts& counts, std::ostream* out)
{
    *out << "nfil " << counts.nfil << ", nfil_d " << counts.nfil_d << ", nfil_usr " << counts.nfil_usr << ", nfil_sys "
         << counts.nfil_sys;
}

void PrintTo(const Totals& totals, std::ostream* out)
{
    *out << "nfil_usr_all " << totals.usr << ", nfil_sys_all " << totals.sys;
}

const char* name_of(Refusal how)
{
    switch (how) {
    case Refusal::delivery: return "not delivered";
    case Refusal::status: return "refused";
    default: return "answered badly";
    }
}

void refuse(const std::string& kind, Refusal how)
{
    if (how == Refusal::delivery) return recorder::fail(kind, recorder::Failure::delivery);
    if (how == Refusal::status) return recorder::fail(kind, recorder::Failure::status);
    (kind == "addFDB" ? recorder::answer_add : recorder::answer_remove)(-5);
}

void accept(const std::string& kind) { (kind == "addFDB" ? recorder::answer_add : recorder::answer_remove)(0); }

const std::vector<DescriptorFailure> descriptor_failures = {
    {"no memory", [] { environment::fail("malloc", ENOMEM); }, false},
    {"no main segment", [] { environment::fail("shmget", ENOENT); }, false},
    {"main segment not attached", [] { environment::fail("shmat", EACCES); }, false},
    {"no FDB segment", [] { environment::fail("shmget", ENOENT, 2); }, false},
    {"FDB segment not attached", [] { environment::fail("shmat", EACCES, 2); }, false},
    {"no NP", [] { recorder::fail_init(20); }, true},
};

namespace {

std::string difference(const char* segment, const std::vector<u8>& expected, const std::vector<u8>& actual)
{
    if (expected.size() != actual.size()) return std::string(segment) + " has another size\n";
    std::string all;
    int told = 0;
    for (std::size_t i = 0; i + 4 <= expected.size(); i += 4) {
        u32 wanted = 0;
        u32 found = 0;
        std::memcpy(&wanted, &expected[i], 4);
        std::memcpy(&found, &actual[i], 4);
        if (wanted == found) continue;
        if (++told > 20) return all + "  and more\n";
        char line[100];
        std::snprintf(line, sizeof line, "  %s + 0x%zx: expected 0x%08x, is 0x%08x\n", segment, i, wanted, found);
        all += line;
    }
    return all;
}

}  // namespace

testing::AssertionResult same(const Snapshot& expected, const Snapshot& actual)
{
    if (expected == actual) return testing::AssertionSuccess();
    auto failure = testing::AssertionFailure();
    failure << "\n" << difference("main", expected.main, actual.main) << difference("fdb", expected.fdb, actual.fdb);
    if (expected.commands != actual.commands) {
        failure << "  expected commands " << testing::PrintToString(expected.commands) << "\n  are "
                << testing::PrintToString(actual.commands);
    }
    return failure;
}

Port& Fdb::given_open_port(u32 port_id)
{
    Port& port = given_port(port_id);
    port.p_flag = 0x173;
    port.optate = optate_up;
    return port;
}

void Fdb::given_free_records(u32 count)
{
    ASSERT_LE(count, free_records().size());
    for (u32 surplus = static_cast<u32>(free_records().size()) - count; surplus != 0; --surplus) {
        alloc_fil(fdb(), header());
    }
}

void Fdb::restore(const Snapshot& snapshot)
{
    std::memcpy(base().bytes, snapshot.main.data(), snapshot.main.size());
    std::memcpy(fdb().bytes, snapshot.fdb.data(), snapshot.fdb.size());
    recorder::log() = snapshot.commands;
}

Counts Fdb::counts(const FdbHead& table) { return {table.nfil, table.nfil_d, table.nfil_usr, table.nfil_sys}; }

std::vector<std::string> Fdb::chain_of(const FdbHead& table, u32 bucket) const
{
    std::vector<std::string> all;
    for (const Fil& entry : chain(fils_by_mac, fdb(), table, bucket)) all.push_back(text(entry.mac));
    return all;
}

int Fdb::learn(u32 port_id, const Mac& source, u32 tick_ms, u32 cookie) const
{
    return learn_frame(untagged_frame(source), indication(port_id, tick_ms, cookie));
}

int Fdb::learn_frame(const FrameBytes& frame, const zelfdb_learn_ind& ind) const
{
    return zelfdb_add_dfil_by_learn_ind(&d(), frame.byte, &ind);
}

int Fdb::learn_again(u32 vid, u32 port_id, const Mac& source, u32 tick_ms) const
{
    return learn(port_id, source, tick_ms, offset_of(fdb(), *fil(vid, source)).value);
}

Locks Fdb::locks()
{
    Locks all;
    for (const environment::SemaphoreMove& move : environment::semaphore_moves()) {
        EXPECT_EQ(SEM_UNDO, move.flags);
        all.push_back(std::string(move.key == main_key ? "main" : "fdb") + (move.by < 0 ? "-" : "+"));
    }
    environment::semaphore_moves().clear();
    return all;
}

void Fdb::forget()
{
    recorder::log().clear();
    environment::semaphore_moves().clear();
}

Fdb::Buffer Fdb::buffer_of(u32 capacity, u32 record_size)
{
    Buffer buffer{zelfdb_alloc_ropebuf(capacity, record_size)};
    EXPECT_NE(nullptr, buffer);
    if (buffer) std::memset(buffer->records, 0xAA, static_cast<std::size_t>(capacity) * record_size);
    return buffer;
}

}  // namespace zelfdb
