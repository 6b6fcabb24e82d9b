// What a test of an exported operation looks at: the result, the error word, every byte of the database, the commands sent.
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "core/segments.h"
#include "support/database.h"

namespace zelfdb {

// What an error word holds before a call.
inline constexpr u32 untouched = 0xABCD;

using Commands = std::vector<std::string>;

struct Outcome {
    int result;
    u32 err;
    Commands commands;
    bool operator==(const Outcome&) const = default;
};

inline void PrintTo(const Outcome& outcome, std::ostream* out)
{
    *out << "result " << outcome.result << ", error word " << outcome.err << ", commands:";
    for (const std::string& command : outcome.commands) *out << "\n  " << command;
}

inline Outcome done(Commands commands = {}) { return {0, untouched, std::move(commands)}; }
// Of the operations that store 1 on entry and leave it there.
inline Outcome done_preset(Commands commands = {}) { return {0, 1, std::move(commands)}; }
inline Outcome refused(u32 code) { return {-1, code, {}}; }

// A copy of the database, to be edited into what the database is to become. Records are named by the live ones.
class Expected {
public:
    Expected(Base live_main, std::size_t main_size, Base live_fdb, std::size_t fdb_size)
        : live_main_(live_main),
          live_fdb_(live_fdb),
          main_(live_main.bytes, live_main.bytes + main_size),
          fdb_(live_fdb.bytes, live_fdb.bytes + fdb_size)
    {
    }

    [[nodiscard]] Base base() { return {main_.data()}; }
    [[nodiscard]] Base fdb() { return {fdb_.data()}; }
    [[nodiscard]] Header& header() { return record_at<Header>(base(), Offset{0}); }
    template <class Record>
    [[nodiscard]] Record& of(const Record& live)
    {
        return record_at<Record>(base(), offset_of(live_main_, live));
    }
    [[nodiscard]] Fil& of(const Fil& live) { return record_at<Fil>(fdb(), offset_of(live_fdb_, live)); }

    // Whether the database has become that.
    [[nodiscard]] testing::AssertionResult is_now() const
    {
        std::string text = differences("main segment", main_, live_main_) + differences("FDB segment", fdb_, live_fdb_);
        if (text.empty()) return testing::AssertionSuccess();
        return testing::AssertionFailure() << text;
    }

    void restore() const
    {
        std::memcpy(live_main_.bytes, main_.data(), main_.size());
        std::memcpy(live_fdb_.bytes, fdb_.data(), fdb_.size());
    }

private:
    static std::string differences(const char* segment, const std::vector<u8>& expected, Base live)
    {
        std::string text;
        if (std::memcmp(expected.data(), live.bytes, expected.size()) == 0) return text;
        int listed = 0;
        for (std::size_t at = 0; at < expected.size() && listed < 12; ++at) {
            if (expected[at] == live.bytes[at]) continue;
            char line[96];
            std::snprintf(line, sizeof line, "%s byte 0x%zx: %02x expected, is %02x\n", segment, at,
                          unsigned{expected[at]}, unsigned{live.bytes[at]});
            text += line;
            ++listed;
        }
        return text;
    }

    Base live_main_;
    Base live_fdb_;
    std::vector<u8> main_;
    std::vector<u8> fdb_;
};

class Exported : public Database {
protected:
    using Database::Database;

    [[nodiscard]] Expected now() const
    {
        const Layout layout = layout_of(header().nport, header().nvlan, header().nfil);
        return {base(), static_cast<std::size_t>(layout.end), fdb(), header().nfil * sizeof(Fil)};
    }

    // Calls the operation with these arguments and an error word behind them.
    template <class... Parameters, class... Arguments>
    static Outcome call(int (*operation)(Parameters...), Arguments... arguments)
    {
        u32 err = untouched;
        recorder::log().clear();
        const int result = operation(arguments..., &err);
        return {result, err, sent()};
    }
    // The same for an operation without an error word.
    template <class... Parameters, class... Arguments>
    static Outcome call_wordless(int (*operation)(Parameters...), Arguments... arguments)
    {
        recorder::log().clear();
        const int result = operation(arguments...);
        return {result, untouched, sent()};
    }

    // Whether it fails with that code, sends nothing and leaves every byte as it was.
    template <class... Parameters, class... Arguments>
    [[nodiscard]] testing::AssertionResult refuses(u32 code, int (*operation)(Parameters...), Arguments... arguments)
    {
        const Expected unchanged = now();
        const Outcome outcome = call(operation, arguments...);
        if (!(outcome == refused(code))) {
            return testing::AssertionFailure() << testing::PrintToString(outcome) << "\n, expected code " << code;
        }
        return unchanged.is_now();
    }

    // A membership, written as joining leaves it but without its rules: for ports and VLANs that joining refuses.
    Pv& linked_member(Vlan& vlan, Port& port, u8 pv_flag, u16 tagtype = 0x8100)
    {
        Pv* const pv = alloc_pv(base(), header(), vlan);
        EXPECT_NE(nullptr, pv);
        pv->VID = vlan.VID;
        pv->port_id = port.PortID;
        pv->pv_flag = pv_flag;
        pv->tagtype = tagtype;
        enQ_pv(base(), header(), vlan, *pv);
        enQ_pv_in_a_port(base(), header(), port, *pv);
        ++port.npv;
        ++vlan.npv;
        if (!(pv_flag & pv_tagged)) {
            ++port.upv;
            ++vlan.upv;
        }
        return *pv;
    }
    [[nodiscard]] Pv* membership(u16 vid, u32 port_id) const
    {
        return lookup_pv_by_port_in_a_vlan(base(), header(), *vlan(vid), *port(port_id));
    }

    // A stream of the database's, bound to a port; only what a port's tests look at is filled.
    Stream& given_stream(u16 streamno)
    {
        Stream* const stream = alloc_stream(base(), header());
        EXPECT_NE(nullptr, stream);
        stream->streamno = streamno;
        enQ_stream(base(), header(), *stream);
        index_stream(base(), header(), *stream);
        ++header().stream_total;
        return *stream;
    }
    Stream& given_stream_of(Port& port, u16 streamno, u8 sno_port)
    {
        Stream& stream = given_stream(streamno);
        stream.portno = static_cast<u16>(port.PortID);
        stream.sno_port = sno_port;
        enQ_stream_to_port(base(), header(), port, stream);
        return stream;
    }

    template <auto Head, auto LinkOf, auto Key, class Owner>
    [[nodiscard]] std::vector<u32> ids(OrderedList<Head, LinkOf, Key> list, const Owner& owner) const
    {
        std::vector<u32> all;
        for (const auto& record : walk(list, base(), owner)) all.push_back(static_cast<u32>(std::invoke(Key, record)));
        return all;
    }
    [[nodiscard]] std::vector<u32> ports_with_pvid(u32 pvid) const
    {
        std::vector<u32> all;
        for (const Port& one : ports_of_pvid(base(), header(), pvid)) all.push_back(one.PortID);
        return all;
    }

    // The lock moves since the last call of this, e.g. "main- fdb- fdb+ main+".
    static std::string lock_moves()
    {
        std::string text;
        for (const environment::SemaphoreMove& move : environment::semaphore_moves()) {
            text += text.empty() ? "" : " ";
            text += move.key == main_key ? "main" : move.key == fdb_key ? "fdb" : "?";
            text += move.by == -1 ? "-" : move.by == 1 ? "+" : "?";
        }
        environment::semaphore_moves().clear();
        return text;
    }
};

// Which of a pair of operations a test runs: the one that opens a descriptor, or the one that is given the caller's.
enum class Form { own, callers };
inline void PrintTo(Form form, std::ostream* out)
{
    *out << (form == Form::own ? "OwnDescriptor" : "CallersDescriptor");
}

class ExportedPair : public Exported, public testing::WithParamInterface<Form> {
protected:
    using Exported::Exported;

    // Runs the pair's operation of this test's form, and sees that it opens, or does not open, a descriptor.
    template <class... Own, class... Callers, class... Arguments>
    Outcome call_pair(int (*own)(Own...), int (*callers)(Callers...), Arguments... arguments)
    {
        const u32 opened = recorder::init_calls();
        const u32 closed = recorder::release_calls();
        const u32 attached = environment::calls("shmat");
        const u32 detached = environment::calls("shmdt");
        const bool is_own = GetParam() == Form::own;
        const Outcome outcome = is_own ? call(own, arguments...) : call(callers, &d(), arguments...);
        EXPECT_EQ(recorder::init_calls() - opened, is_own ? 1u : 0u);
        EXPECT_EQ(recorder::release_calls() - closed, is_own ? 1u : 0u);
        EXPECT_EQ(environment::calls("shmat") - attached, is_own ? 2u : 0u);
        EXPECT_EQ(environment::calls("shmdt") - detached, is_own ? 2u : 0u);
        return outcome;
    }
    template <class... Own, class... Callers, class... Arguments>
    [[nodiscard]] testing::AssertionResult pair_refuses(u32 code, int (*own)(Own...), int (*callers)(Callers...),
                                                        Arguments... arguments)
    {
        const Expected unchanged = now();
        const Outcome outcome = call_pair(own, callers, arguments...);
        if (!(outcome == refused(code))) {
            return testing::AssertionFailure() << testing::PrintToString(outcome) << "\n, expected code " << code;
        }
        return unchanged.is_now();
    }
};

#define FOR_BOTH_FORMS(suite) \
    INSTANTIATE_TEST_SUITE_P(Pair, suite, testing::Values(Form::own, Form::callers), testing::PrintToStringParamName())

}  // namespace zelfdb
