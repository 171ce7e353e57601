// A recorder whose connection breaks, at any byte of it.
#include <array>
#include <chrono>
#include <functional>
#include <optional>
#include <random>
#include <utility>

#include "support/proxy.h"
#include "support/seeds.h"
#include "support/store.h"

namespace mersola::test {
namespace {

using Way = Proxy::Way;
using Fault = Proxy::Fault;

constexpr int kPeriods = 6;
constexpr int kBands = 12;

double Level(int period, int band) {
    return period * 100.0 + band;
}

/// Records as docs/recording.md shows, and begins anew after each failure.
class Recorder {
  public:
    using Heard = std::function<void(int failures)>;

    /// Tells `heard` of each failure.
    Recorder(const std::string& connectString, std::string station, Heard heard = {})
        : store_(connectString), station_(std::move(station)), heard_(std::move(heard)) {}

    int Failures() const { return failures_; }

    /// False when the recorder does not get over a failure.
    bool RecordAll() {
        while (!Register()) {
            if (!Reconnect()) return false;
        }
        for (int period = 0; period < kPeriods; ++period) {
            for (bool mayBeStored = false; !StorePeriod(period, mayBeStored); mayBeStored = true) {
                if (!Reconnect()) return false;
            }
        }
        return true;
    }

    bool Register() try {
        store_.BeginTrans();
        const bool done = store_.isConnected() &&
                          Open(store_, Measurement(), Report(), station_.c_str()) &&
                          store_.PutFunction(nullptr, 1, 1);
        done ? store_.CommitTrans() : store_.RollbackTrans();
        return done;
    } catch (const _com_error&) {
        return false;
    }

    bool StorePeriod(int period, bool mayBeStored) try {
        const _RecordsetPtr batch = mayBeStored ? nullptr : store_.PutDataStart(nullptr);
        bool stored = mayBeStored || batch;
        long next = 0;
        store_.BeginTrans();
        for (int band = 0; band < kBands; ++band)
            stored = stored && store_.PutDataRelative(Level(period, band), "", period, 1, 1, band,
                                                      false, next, batch != nullptr, batch);
        stored = stored && (mayBeStored || store_.PutDataEnd(batch)) &&
                 store_.PutPeriodsRelative(nullptr, period + 1);
        stored ? store_.CommitTrans() : store_.RollbackTrans();
        return stored;
    } catch (const _com_error&) {
        return false;
    }

    bool Reconnect() {
        constexpr int kMost = 10;
        long periods = 0;
        while (++failures_ <= kMost) {
            if (heard_) heard_(failures_);
            if (store_.dbConnect()) return store_.Get_nPrds(periods), true;
        }
        return false;
    }

  private:
    Store store_;
    const std::string station_;
    const Heard heard_;
    int failures_ = 0;
};

class BrokenSession : public Contract {
  protected:
    void SetUp() override {
        Contract::SetUp();
        if (!IsSkipped() && !HasFatalFailure()) proxy.emplace(database.Address());
    }

    std::string ConnectString() const { return database.ConnectStringBy(proxy->Port()); }

    /// What is missing of a recording, or should not be there; empty when nothing is.
    std::string Wrong(const std::string& station) const {
        Store reader(database.ConnectString());
        long periods = 0;
        if (!Select(reader, station.c_str()) || reader.Get_nPrds(periods) != 1 ||
            periods != kPeriods)
            return std::to_string(periods) + " periods";
        for (int band = 0; band < kBands; ++band) {
            std::array<float, kPeriods> values{};
            if (reader.GetData(values.data(), 0, kPeriods, band, 1) != kPeriods)
                return "band " + std::to_string(band) + " cannot be read";
            for (int period = 0; period < kPeriods; ++period) {
                if (values[static_cast<std::size_t>(period)] != Level(period, band))
                    return "period " + std::to_string(period) + ", band " + std::to_string(band);
            }
        }
        return {};
    }

    ShownMessages shown;  // of connections that cannot be opened
    std::optional<Proxy> proxy;
};

TEST_P(BrokenSession, LosesNothingAndStoresNothingTwiceAtWhateverByteItBreaks) {
    ASSERT_TRUE(Recorder(ConnectString(), "station 0").RecordAll());
    ASSERT_EQ(Wrong("station 0"), "");
    const std::array lengths{proxy->Passed(Way::ToServer), proxy->Passed(Way::ToClient)};
    int run = 0, broken = 0;
    const auto faultOf = [&](std::uint64_t seed) {
        std::mt19937_64 random(seed);
        const auto breakSoon = [&] {
            const auto way = random() % lengths.size();
            proxy->FailAfter(Way(way), random() % lengths[way],
                             random() % 2 ? Fault::Reset : Fault::Finish);
        };
        const std::string station = "station " + std::to_string(++run);
        breakSoon();
        Recorder recorder(ConnectString(), station, [&](int failures) {
            if (failures < 3 && random() % 2) breakSoon();
        });
        const bool done = recorder.RecordAll();
        proxy->Heal();
        broken += recorder.Failures() > 0;
        return done ? Wrong(station) : "the recorder could not go on";
    };
    TrySeeds(100, faultOf);
    std::cout << "broken in " << broken << " of " << run << " runs\n";
    EXPECT_GT(broken, run * 9 / 10) << "a later run may be shorter than the first one";
}

TEST_P(BrokenSession, WritesAgainWhateverBecameOfItsCommit) {
    for (const auto& [way, stored] : {std::pair(Way::ToServer, "0"), {Way::ToClient, "1"}}) {
        Store store(ConnectString());
        ASSERT_TRUE(Open(store, Measurement(stored)));
        const std::string count = "SELECT count(*) FROM MeasuredValues WHERE MeasValueId=" +
                                  std::to_string(store.m_MeasValueId);
        store.BeginTrans();
        ASSERT_TRUE(Write(store, 0, 60));
        proxy->FailAfter(way, 0, Fault::Reset);
        EXPECT_THROW(store.CommitTrans(), _com_error);
        ASSERT_TRUE(store.dbConnect());
        EXPECT_EQ(database.Ask(count), stored);
        EXPECT_TRUE(Write(store, 0, 60));
        EXPECT_EQ(database.Ask(count), "1");
    }
    EXPECT_TRUE(shown.texts.empty());
}

TEST_P(BrokenSession, NeverShortensWhatIsRead) {
    ASSERT_TRUE(Recorder(ConnectString(), "station 1").RecordAll());
    Store store(ConnectString());
    Select(store);
    std::vector<float> values(kPeriods);
    const auto read = [&] { return store.GetData(values.data(), 0, kPeriods, 3, 1); };
    const std::size_t before = proxy->Passed(Way::ToClient);
    ASSERT_EQ(read(), kPeriods);
    const std::size_t length = proxy->Passed(Way::ToClient) - before;
    for (std::size_t at = 0; at < length; at += length / 20) {
        proxy->FailAfter(Way::ToClient, at, at % 2 ? Fault::Reset : Fault::Finish);
        EXPECT_EQ(read(), -1) << at;
        ASSERT_TRUE(store.dbConnect());
        ASSERT_EQ(read(), kPeriods) << at;
    }
}

TEST_P(BrokenSession, WaitsForASilentServerNoLongerThanItsTimeOutsAndThenGoesOn) {
    using namespace std::chrono;
    Store store("", "", ConnectString().c_str(), 1);
    ASSERT_TRUE(Open(store));
    const auto batch = [&] {
        const _RecordsetPtr rows = store.PutDataStart(nullptr);
        long next = 0;
        return rows && store.PutDataRelative(1, "", 1, 1, 1, 30, false, next, true, rows) &&
               store.PutDataEnd(rows);
    };
    const std::function<bool()> works[]{
        [&] { return Write(store, 0, 1); },          batch,
        [&] { return store.BeginTrans(), true; },    [&] { return store.CommitTrans(), true; },
        [&] { return store.RollbackTrans(), true; }, [&] { return store.dbConnect(); },
        [&] { return store.dbDisconnect(), false; },
    };
    for (const auto& work : works) {
        const auto number = &work - works;
        if (number != 2) store.BeginTrans();
        proxy->Fail(Fault::Stall);
        const auto begin = steady_clock::now();
        bool done = false;
        try {
            done = work();
        } catch (const _com_error&) {
            // as some operations say that they failed
        }
        EXPECT_FALSE(done) << number;
        EXPECT_LT(steady_clock::now() - begin, seconds(8)) << number;
        proxy->Heal();
        ASSERT_TRUE(store.dbConnect()) << number;
        EXPECT_TRUE(Write(store, 0, 1)) << number;
    }
}

TEST_P(BrokenSession, TakesASlowLineForNoLostOne) {
    proxy->Delay(std::chrono::milliseconds(20));
    Recorder recorder(ConnectString(), "station 1");
    EXPECT_TRUE(recorder.RecordAll());
    EXPECT_EQ(recorder.Failures(), 0);
}

INSTANTIATE_TEST_SUITE_P(Engines, BrokenSession, testing::Values("FreeTDS", "PostgreSQL"),
                         [](const auto& test) { return test.param; });

}  // namespace
}  // namespace mersola::test
