// The shaping-rate update: worked examples, oddities, batches, and random rates against arithmetic done bit by bit.
#include <array>

#include "qos_test.h"
#include "support/random.h"

namespace zelfdb {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Rates {
    u32 minrate;
    u32 maxrate;
};
void PrintTo(const Rates& rates, std::ostream* out) { *out << rates.minrate << ".." << rates.maxrate; }
struct Granted {
    u32 rate;
    u32 excess;
    bool operator==(const Granted&) const = default;
};
void PrintTo(const Granted& granted, std::ostream* out) { *out << granted.rate << "/" << granted.excess; }

class RateUpdate : public Qos {
protected:
    static constexpr u32 phport_id = 2;

    void SetUp() override
    {
        Qos::SetUp();
        given_port(1);
        given_port(phport_id);
    }
    // Streams 512, 513, ... of the port.
    void given_streams(const std::vector<Rates>& rates)
    {
        for (u32 i = 0; i < rates.size(); ++i) {
            const u32 streamno = 512 + i;
            if (!stream(streamno)) {
                given_stream(streamno);
                given_bound(streamno, phport_id, i + 1);
            }
            given_shaping(streamno, rates[i].minrate, rates[i].maxrate);
        }
    }
    void given_port_rate(u32 rate) { EXPECT_EQ(call(zelfdb_set_ph_shaping, phport_id, rate, 0).result, 0); }

    Outcome update(u32 id = phport_id) { return call(zelfdb_stream_shaping_rate_update, id); }

    // What the streams of the port have stored, in order.
    [[nodiscard]] std::vector<Granted> stored() const
    {
        std::vector<Granted> all;
        for (const Stream& one : walk(all_streams, base(), header())) {
            if (one.portno == phport_id) all.push_back({one.actual_rate, one.actual_excess});
        }
        return all;
    }
    // The commands that carry them.
    [[nodiscard]] Commands batches() const
    {
        std::vector<std::string> entries;
        for (const Stream& one : walk(all_streams, base(), header())) {
            if (one.portno != phport_id) continue;
            entries.push_back(std::to_string(one.streamno) + ":" + std::to_string(one.actual_rate) + "/" +
                              std::to_string(one.actual_excess));
        }
        Commands all;
        for (std::size_t first = 0; first < entries.size(); first += 128) {
            const std::size_t count = std::min<std::size_t>(128, entries.size() - first);
            std::string text;
            for (std::size_t i = first; i < first + count; ++i) text += (i == first ? "" : " ") + entries[i];
            const std::string start = command("set_stream_actual_rate", {static_cast<u32>(count)});
            all.push_back(start.substr(0, start.size() - 1) + ", " + text + ")");
        }
        return all;
    }
};

// ---- Worked examples -------------------------------------------------------------------------------------------------

struct ExampleRow {
    const char* what;
    u32 port_rate;
    std::vector<Rates> rates;
    std::vector<Granted> granted;
};

TEST_F(RateUpdate, WorkedExamples)
{
    const std::vector<Rates> two = {{10000, 60000}, {20000, 40000}};
    const std::vector<Rates> equal = {{10000, 10000}, {20000, 20000}};
    const std::vector<Rates> alone = {{100, 1000}};
    const std::vector<ExampleRow> rows = {
        {"not shaped", 0, two, {{10000, 50000}, {20000, 20000}}},
        {"not shaped, a peak below the committed rate", 0, {{50, 20}}, {{50, 0xFFFFFFE2}}},
        {"as much as all ask for", 100000, two, {{60000, 0}, {40000, 0}}},
        {"one more than all ask for", 100001, two, {{60000, 0}, {40000, 0}}},
        {"one less than all ask for", 99999, two, {{59999, 1}, {39999, 1}}},
        {"in proportion, truncated", 50000, two, {{24285, 35715}, {25714, 14286}}},
        {"exactly the committed rates", 30000, two, {{10000, 50000}, {20000, 20000}}},
        {"over-committed by one", 29999, two, {{60000, 0}, {40000, 0}}},
        {"over-committed", 20000, two, {{60000, 0}, {40000, 0}}},
        {"no excess", 50000, equal, {{10000, 0}, {20000, 0}}},
        {"no excess, over-committed", 1, equal, {{10000, 0}, {20000, 0}}},
        {"no excess, not shaped", 0, equal, {{10000, 0}, {20000, 0}}},
        {"a negative port rate is over-committed", 0x80000000, two, {{60000, 0}, {40000, 0}}},
        {"one stream below its peak", 500, alone, {{500, 500}}},
        {"one stream at its peak", 1000, alone, {{1000, 0}}},
        {"streams without rates", 77, {{0, 0}, {0, 0}}, {{0, 0}, {0, 0}}},
        {"committed rates that cancel out", 5, {{0xFFFFFFFF, 9}, {1, 11}}, {{1, 8}, {3, 8}}},
        {"excesses that cancel out", 500, {{100, 105}, {100, 95}}, {{100, 5}, {100, 0xFFFFFFFB}}},
        {"a sum of excesses below 0 is a large one", 500, {{100, 95}}, {{100, 0xFFFFFFFB}}},
        {"a quotient of which 32 bits count", 101, {{50, 45}, {50, 56}}, {{45, 0}, {56, 0}}},
    };
    for (const ExampleRow& row : rows) {
        SCOPED_TRACE(row.what);
        const Expected start = now();
        given_streams(row.rates);
        given_port_rate(row.port_rate);
        Expected expected = now();
        const Outcome outcome = update();
        EXPECT_EQ(stored(), row.granted);
        EXPECT_EQ(outcome, done(batches()));
        u32 i = 0;
        for (const Stream& one : walk(all_streams, base(), header())) {
            expected.of(one).actual_rate = row.granted[i].rate;
            expected.of(one).actual_excess = row.granted[i].excess;
            ++i;
        }
        EXPECT_TRUE(expected.is_now());
        start.restore();
    }
}

// ---- Which streams ---------------------------------------------------------------------------------------------------

TEST_F(RateUpdate, AnUnknownPhysicalPortIs108EvenWithoutStreams)
{
    for (const bool with_streams : {false, true}) {
        if (with_streams) given_streams({{1, 2}});
        for (const u32 id : {0u, 5u, 65535u, 0x10002u, 0xFFFFFFFFu}) {
            EXPECT_TRUE(refuses(108, zelfdb_stream_shaping_rate_update, id)) << id;
        }
    }
}

TEST_F(RateUpdate, WithoutStreamsDoesNothing)
{
    given_port_rate(1000);
    const Expected unchanged = now();
    EXPECT_EQ(update(), done());
    EXPECT_TRUE(unchanged.is_now());

    given_stream(0);
    given_bound(0, 1, 1);
    given_stream(1);
    given_shaping(0, 100, 200);
    const Expected elsewhere = now();
    recorder::reset();
    recorder::fail_always(recorder::Failure::status);
    EXPECT_EQ(update(), done()) << "streams of another port, or of none, are no command";
    EXPECT_EQ(recorder::commands_built(), 0u);
    EXPECT_TRUE(elsewhere.is_now());
}

TEST_F(RateUpdate, GoesByTheStreamsPortNumberInTheOrderOfTheStreamList)
{
    for (const u32 streamno : {900u, 3u, 512u}) {
        given_stream(streamno);
        given_bound(streamno, phport_id, 1);
        given_shaping(streamno, 0, 30);
    }
    given_stream(4);
    given_bound(4, 1, 1);
    given_shaping(4, 7000, 9000);
    given_stream(5);
    given_shaping(5, 7000, 9000);
    given_port_rate(45);
    EXPECT_EQ(update(), done({"set_stream_actual_rate(3, 3:15/15 512:15/15 900:15/15)"}));
    EXPECT_EQ(stream(4)->actual_rate, 0u);
    EXPECT_EQ(stream(5)->actual_rate, 0u);
}

// The number is the logical port's. Whether that port is an Ethernet port, or there any more, does not matter.
TEST_F(RateUpdate, ServesTheStreamsOfADeletedPort)
{
    given_streams({{10, 20}});
    given_port_rate(15);
    EXPECT_EQ(call(zelfdb_delete_port, phport_id).result, 0);
    EXPECT_EQ(update(), done({"set_stream_actual_rate(1, 512:15/5)"}));
}

// Which physical port a logical one stands on is not asked: with the two crossed, an update of a physical port still grants
// the streams of the logical port that has its number.
TEST_F(RateUpdate, TakesTheLogicalPortForThePhysicalOneOfTheSameNumber)
{
    for (const u32 port_id : {1u, 2u}) EXPECT_EQ(call(zelfdb_delete_port, port_id).result, 0);
    given_port(1, ZELFDB_PORT_ETHER, 2);
    given_port(2, ZELFDB_PORT_ETHER, 1);
    for (const u32 port_id : {1u, 2u}) {
        given_stream(port_id);
        given_bound(port_id, port_id, 1);
        given_shaping(port_id, 10, 100);
    }
    given_port_rate(40);
    EXPECT_EQ(update(2), done({"set_stream_actual_rate(1, 2:40/60)"}));
    EXPECT_EQ(stream(1)->actual_rate, 0u);
    EXPECT_EQ(update(1), done({"set_stream_actual_rate(1, 1:10/90)"})) << "physical port 1 is not shaped";
}

// Peak less committed rate is not worked out anew: the excess is a field of its own, which is granted and shared out as it
// stands. What is left above the actual rate goes by the peak, but for a port that is not shaped.
TEST_F(RateUpdate, GoesByTheExcessThatIsStored)
{
    given_streams({{100, 300}, {100, 500}});
    stream(512)->excess_rate = 10;
    stream(513)->excess_rate = 30;
    given_port_rate(0);
    EXPECT_EQ(update(), done({"set_stream_actual_rate(2, 512:100/10 513:100/30)"}));
    given_port_rate(220);
    EXPECT_EQ(update(), done({"set_stream_actual_rate(2, 512:105/195 513:115/385)"}));
    given_port_rate(240);
    EXPECT_EQ(update(), done({"set_stream_actual_rate(2, 512:110/190 513:130/370)"}));
    given_port_rate(241);
    EXPECT_EQ(update(), done({"set_stream_actual_rate(2, 512:300/0 513:500/0)"}));
}

TEST_F(RateUpdate, AnyOfTheFourPhysicalPorts)
{
    given_port(3);
    given_port(4);
    for (u32 id = 1; id <= 4; ++id) {
        given_stream(id);
        given_bound(id, id, 1);
        given_shaping(id, 10 * id, 100);
    }
    for (u32 id = 1; id <= 4; ++id) {
        const std::string number = std::to_string(id);
        EXPECT_EQ(update(id), done({"set_stream_actual_rate(1, " + number + ":" + number + "0/" +
                                    std::to_string(100 - 10 * id) + ")"}));
    }
}

// ---- Batches ---------------------------------------------------------------------------------------------------------

class ManyStreams : public RateUpdate {
protected:
    // The highest first, which is the quickest.
    void given_streams_of_one_port(u32 count)
    {
        for (u32 left = count; left != 0; --left) {
            given_stream(left - 1);
            given_bound(left - 1, phport_id, left);
            stream(left - 1)->minrate = left;
            stream(left - 1)->maxrate = 3 * left;
            stream(left - 1)->excess_rate = 2 * left;
        }
        recorder::reset();
    }
    static std::vector<std::string> sizes(const Commands& commands)
    {
        std::vector<std::string> all;
        for (const std::string& line : commands) all.push_back(line.substr(0, line.find(',')));
        return all;
    }
};

TEST_F(ManyStreams, AreSentInBatchesOf128)
{
    given_streams_of_one_port(300);
    const Outcome outcome = update();
    EXPECT_EQ(outcome, done(batches()));
    EXPECT_THAT(sizes(outcome.commands), ElementsAre("set_stream_actual_rate(0x80", "set_stream_actual_rate(0x80",
                                                     "set_stream_actual_rate(0x2c"));
    EXPECT_EQ(recorder::commands_not_freed(), 0u);
}

// Binding limits a port to 256 positions but not to 256 streams.
TEST_F(ManyStreams, MayAllBeOfOnePort)
{
    given_streams_of_one_port(1024);
    given_port_rate(1024 * 1025 / 2 + 1024 * 1025 / 2);
    const Outcome outcome = update();
    EXPECT_EQ(outcome.commands.size(), 8u);
    EXPECT_EQ(outcome, done(batches()));
    u32 number = 0;
    for (const Granted& granted : stored()) {
        ++number;
        EXPECT_EQ(granted, (Granted{2 * number, number})) << "half of the excess";
    }
    EXPECT_EQ(number, 1024u);
}

// A damage: the list goes on in the pool of the queues. There is room to tell the NP of as many streams as there are.
TEST_F(ManyStreams, OfAListThatIsLongerThanThePoolOnlyAsManyAreSent)
{
    expect_damage();
    given_streams_of_one_port(1024);
    Stream& beyond = record_at<Stream>(base(), at(nth_queue(queue_count - 1)));
    beyond = new_stream(2000);
    beyond.portno = phport_id;
    beyond.minrate = 77;
    stream(1023)->stream_link.next = at(beyond);
    given_port_rate(0);
    const Outcome outcome = update();
    Commands expected = batches();
    ASSERT_EQ(expected.size(), 9u);
    expected.pop_back();
    EXPECT_EQ(outcome, done(expected));
    EXPECT_EQ(beyond.actual_rate, 77u);
}

TEST_F(ManyStreams, ABatchThatFailsOnceIsSentAgainAndTheRestFollows)
{
    given_streams_of_one_port(300);
    for (const recorder::Failure how : failures) {
        for (u32 failing = 0; failing < 3; ++failing) {
            recorder::reset();
            recorder::fail("set_stream_actual_rate", how, failing + 1);
            const Outcome outcome = update();
            Commands expected = batches();
            expected.insert(expected.begin() + failing, expected[failing]);
            EXPECT_EQ(outcome, done(expected)) << name_of(how) << ", batch " << failing;
            EXPECT_EQ(recorder::commands_not_freed(), 0u);
        }
    }
}

TEST_F(ManyStreams, ABatchThatFailsTwiceEndsTheTransferAndAllRatesStayStored)
{
    given_streams_of_one_port(300);
    const Expected start = now();
    EXPECT_EQ(update().result, 0);
    const Expected updated = now();
    const Commands all = batches();
    for (const recorder::Failure how : failures) {
        for (u32 failing = 0; failing < 3; ++failing) {
            SCOPED_TRACE(testing::Message() << name_of(how) << ", batch " << failing);
            start.restore();
            recorder::reset();
            recorder::fail("set_stream_actual_rate", how, failing + 1, 2);
            const Outcome outcome = update();
            Commands expected(all.begin(), all.begin() + failing + 1);
            expected.push_back(all[failing]);
            EXPECT_EQ(outcome, (Outcome{-1, untouched, expected}));
            EXPECT_TRUE(updated.is_now());
            EXPECT_EQ(recorder::commands_not_freed(), 1u);
        }
    }
}

TEST_F(ManyStreams, WithoutACommandForABatchTheTransferEnds)
{
    given_streams_of_one_port(300);
    recorder::fail_builders(1);
    EXPECT_EQ(update(), (Outcome{-1, untouched, {}}));
    EXPECT_EQ(stored().back(), (Granted{300, 600})) << "stored before the transfer";
}

// ---- Random rates ----------------------------------------------------------------------------------------------------

// A whole number of 128 bits in two's complement, with the school's arithmetic, one bit at a time where that is plainest.
class Big {
public:
    static Big of_rate(u32 rate)
    {
        Big big;
        big.limb_.fill((rate >> 31) != 0 ? u16{0xFFFF} : u16{0});
        big.limb_[0] = static_cast<u16>(rate & 0xFFFF);
        big.limb_[1] = static_cast<u16>(rate >> 16);
        return big;
    }
    friend Big operator+(Big a, const Big& b)
    {
        u32 carry = 0;
        for (std::size_t i = 0; i < limbs; ++i) {
            carry += u32{a.limb_[i]} + b.limb_[i];
            a.limb_[i] = static_cast<u16>(carry & 0xFFFF);
            carry >>= 16;
        }
        return a;
    }
    friend Big operator-(const Big& a, Big b)
    {
        for (u16& limb : b.limb_) limb = static_cast<u16>(~limb & 0xFFFF);
        return a + b + of_rate(1);
    }
    friend Big operator*(Big a, const Big& b)
    {
        Big product = of_rate(0);
        for (std::size_t bit = 0; bit < bits; ++bit) {
            if (b.has(bit)) product = product + a;
            a = a + a;
        }
        return product;
    }
    // Of numbers that are not negative, by something that is not 0.
    friend Big operator/(const Big& a, const Big& b)
    {
        Big quotient = of_rate(0);
        Big rest = of_rate(0);
        for (std::size_t bit = bits; bit-- != 0;) {
            rest = rest + rest;
            if (a.has(bit)) rest = rest + of_rate(1);
            quotient = quotient + quotient;
            if (less(rest, b)) continue;
            rest = rest - b;
            quotient = quotient + of_rate(1);
        }
        return quotient;
    }
    // As unsigned numbers.
    friend bool less(const Big& a, const Big& b)
    {
        return std::lexicographical_compare(a.limb_.rbegin(), a.limb_.rend(), b.limb_.rbegin(), b.limb_.rend());
    }
    friend bool operator==(const Big&, const Big&) = default;
    [[nodiscard]] Big low_64() const
    {
        Big low = *this;
        std::fill(low.limb_.begin() + 4, low.limb_.end(), u16{0});
        return low;
    }
    [[nodiscard]] u32 low_32() const { return u32{limb_[0]} + (u32{limb_[1]} << 16); }

private:
    static constexpr std::size_t limbs = 8;
    static constexpr std::size_t bits = 16 * limbs;
    [[nodiscard]] bool has(std::size_t bit) const { return ((u32{limb_[bit / 16]} >> (bit % 16)) & 1) != 0; }
    std::array<u16, limbs> limb_{};  // the lowest first
};

TEST(Big, CalculatesLikeASchoolbook)
{
    const Big minus_three = Big::of_rate(0xFFFFFFFD);
    EXPECT_EQ((minus_three + Big::of_rate(10)).low_32(), 7u);
    EXPECT_EQ(minus_three * minus_three, Big::of_rate(9));
    EXPECT_EQ(Big::of_rate(3) - Big::of_rate(6), minus_three);
    const Big large = Big::of_rate(0x7FFFFFFF) * Big::of_rate(0x7FFFFFFF) + Big::of_rate(5);
    EXPECT_EQ(large / Big::of_rate(0x7FFFFFFF), Big::of_rate(0x7FFFFFFF));
    EXPECT_EQ((large / Big::of_rate(2)).low_32(), 0x80000003u);
    EXPECT_TRUE(less(Big::of_rate(5), minus_three));
    EXPECT_FALSE(less(minus_three.low_64(), minus_three.low_64()));
    EXPECT_EQ((minus_three.low_64() + Big::of_rate(3)).low_64(), Big::of_rate(0));
    EXPECT_NE(minus_three.low_64() + Big::of_rate(3), Big::of_rate(0));
}

std::vector<Granted> straight(u32 port_rate, const std::vector<Rates>& rates)
{
    Big min_sum = Big::of_rate(0);
    Big excess_sum = Big::of_rate(0);
    for (const Rates& rate : rates) {
        min_sum = min_sum + Big::of_rate(rate.minrate);
        excess_sum = excess_sum + Big::of_rate(rate.maxrate - rate.minrate);
    }
    const Big left = (Big::of_rate(port_rate) - min_sum).low_64();
    const Big all_excess = excess_sum.low_64();
    std::vector<Granted> all;
    for (const Rates& rate : rates) {
        u32 granted = rate.minrate;
        if (port_rate != 0 && all_excess != Big::of_rate(0)) {
            const Big excess = Big::of_rate(rate.maxrate - rate.minrate).low_64();
            granted =
                less(all_excess, left) ? rate.maxrate : rate.minrate + ((left * excess).low_64() / all_excess).low_32();
        }
        all.push_back({granted, rate.maxrate - granted});
    }
    return all;
}

// Rates as they come, and as they hurt: small ones, equal ones, ones whose excess wraps, ones that count as negative.
class RandomRates : public ManyStreams {
protected:
    u32 random_rate()
    {
        switch (random_.below(6)) {
        case 0: return random_.below(10);
        case 1: return random_.below(100000) * 1000;
        case 2: return 0x7FFFFFFF - random_.below(3);
        case 3: return 0x80000000 + random_.below(3);
        case 4: return 0xFFFFFFFF - random_.below(1000);
        default: return random_.word();
        }
    }
    Rates random_rates()
    {
        const u32 minrate = random_rate();
        switch (random_.below(4)) {
        case 0: return {minrate, minrate};
        case 1: return {minrate, random_rate()};
        case 2: return {random_.below(1000000), 1000000 + random_.below(1000000)};
        default: return {minrate, minrate + random_.below(1000)};
        }
    }
    // Where it matters: around the sum of the committed rates, around the sum of the peaks, between, and anywhere.
    u32 random_port_rate(const std::vector<Rates>& rates)
    {
        u32 min_sum = 0;
        u32 max_sum = 0;
        for (const Rates& rate : rates) {
            min_sum += rate.minrate;
            max_sum += rate.maxrate;
        }
        switch (random_.below(5)) {
        case 0: return min_sum + random_.below(5) - 2;
        case 1: return max_sum + random_.below(5) - 2;
        case 2: return min_sum + (max_sum > min_sum ? random_.below(max_sum - min_sum) : 0);
        case 3: return random_.below(3);
        default: return random_rate();
        }
    }
    void write_rates(const std::vector<Rates>& rates)
    {
        for (u32 i = 0; i < rates.size(); ++i) {
            Stream& one = *stream(i);
            one.minrate = rates[i].minrate;
            one.maxrate = rates[i].maxrate;
            one.excess_rate = rates[i].maxrate - rates[i].minrate;
        }
    }
    void try_rates(const std::vector<Rates>& rates, u32 port_rate)
    {
        write_rates(rates);
        known_phport(base(), header(), phport_id)->shaping_rate = port_rate;
        const Outcome outcome = update();
        const std::vector<Granted> expected = straight(port_rate, rates);
        ASSERT_EQ(stored(), expected) << "port rate " << port_rate << ", rates " << testing::PrintToString(rates);
        ASSERT_EQ(outcome, done(batches()));
    }

    Random random_;
};

TEST_F(RandomRates, OfFewStreamsAreGrantedAsTheArithmeticSays)
{
    SCOPED_TRACE(random_.trace());
    for (u32 count = 1; count <= 6; ++count) {
        given_stream(count - 1);
        given_bound(count - 1, phport_id, count);
        for (int trial = 0; trial < 150 && !HasFatalFailure(); ++trial) {
            std::vector<Rates> rates;
            while (rates.size() < count) rates.push_back(random_rates());
            try_rates(rates, random_port_rate(rates));
        }
    }
}

TEST_F(RandomRates, Of1024StreamsAreGrantedAsTheArithmeticSays)
{
    SCOPED_TRACE(random_.trace());
    given_streams_of_one_port(1024);
    std::vector<Rates> rates;
    while (rates.size() < 1024) rates.push_back(random_rates());
    try_rates(rates, random_port_rate(rates));
    for (Rates& rate : rates) rate = {random_.below(100000), 100000 + random_.below(1000000)};
    try_rates(rates, random_port_rate(rates));
}

// Every kind of sum that turns the grant over, with as many streams as there can be, and at the rates where it turns.
TEST_F(RandomRates, Of1024StreamsAreGrantedAsTheArithmeticSaysWhereItTurns)
{
    SCOPED_TRACE(random_.trace());
    given_streams_of_one_port(1024);
    constexpr u32 count = 1024;
    std::vector<Rates> plain, equal, cancelling, falling;
    u32 plain_min = 0;
    u32 plain_max = 0;
    u32 falling_min = 0;
    u32 falling_excess = 0;
    for (u32 i = 0; i < count; ++i) {
        const u32 rate = 1000 + random_.below(1000000);
        const u32 excess = 1 + random_.below(1000000);
        plain.push_back({rate, rate + excess});
        plain_min += rate;
        plain_max += rate + excess;
        equal.push_back({rate, rate});
        const u32 pair = 1 + i / 2;
        cancelling.push_back({rate, i % 2 == 0 ? rate + pair : rate - pair});
        falling.push_back({rate + 1000, rate});
        falling_min += rate + 1000;
        falling_excess += 1000;
    }
    for (const u32 port_rate : {plain_min - 1, plain_min, plain_max, plain_max + 1}) try_rates(plain, port_rate);
    try_rates(equal, plain_min);
    EXPECT_EQ(stored().back(), (Granted{equal.back().minrate, 0})) << "no excess at all";
    try_rates(cancelling, plain_min);
    EXPECT_EQ(stored().back(), (Granted{cancelling.back().minrate, 0u - 512})) << "none in sum";
    // A sum of excesses below 0 is a large number, and only what is less far below is larger.
    const u32 turns = falling_min - falling_excess;
    for (const u32 port_rate : {falling_min, turns, turns + 1}) try_rates(falling, port_rate);
}

// The product of what is left and an excess needs 72 bits here, of which 64 count.
TEST_F(RandomRates, AProductBeyond64BitsIsCut)
{
    given_streams_of_one_port(1024);
    const std::vector<Rates> rates(1024, Rates{0x80000000, 0xFFFFFFFF});
    try_rates(rates, 0xC0000000);
    try_rates(rates, 0xFFFFFBFF);
    try_rates(rates, 0xFFFFFC00);
    try_rates(rates, 0xFFFFFC01);
}

}  // namespace
}  // namespace zelfdb
