// Recorders that are killed and started again, and many processes on one database.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <random>
#include <sstream>
#include <thread>

#include "support/child.h"
#include "support/installation.h"
#include "support/store.h"

namespace mersola::test {
namespace {

using namespace std::chrono_literals;

constexpr std::int64_t kLength = 1000;  // of a period, in milliseconds
constexpr int kBands = 3;
constexpr int kLeastPeriods = 10;  // of a recorder beside others

// A value that tells where it belongs, so that one written again after a restart is the same.
double ValueAt(std::int64_t period, int band) {
    return static_cast<double>(period) * 10 + band;
}

// Records from `offset` milliseconds after Start(): odd periods by INSERT, even ones in a batch.
// Acknowledges each period once all its values are stored.
int Record(const std::string& connectString, std::int64_t offset, int periods,
           const Child::Acknowledge& acknowledge) {
    Store store(connectString);
    if (!Open(store, Measurement("noise", Start(offset)), Report(1, kLength))) return 2;
    if (!store.PutFunction(nullptr, 1, 1)) return 3;
    const _RecordsetPtr batch = store.PutDataStart(nullptr);
    for (int period = 0; period < periods; ++period) {
        const std::int64_t absolute = store.m_lastReportOffs + period;
        const bool useBatch = period % 2 == 0;
        bool written = true;
        for (int band = 0; band < kBands; ++band) {
            long next = 0;
            written &= store.PutDataRelative(ValueAt(absolute, band), "", period, 1, 1, band,
                                             band == kBands - 1, next, useBatch, batch);
        }
        if (useBatch) store.PutDataEnd(batch);  // false where a period is stored already
        if (!written || !store.PutPeriodsRelative(nullptr, period + 1)) return 4;
        acknowledge(std::to_string(offset) + " " + std::to_string(period));
    }
    return 0;
}

class Crash : public Contract {
  protected:
    // Every acknowledged period must stand where its time says.
    void CheckAll(const std::vector<std::string>& acknowledged) const {
        Store reader(database.ConnectString());
        Select(reader);
        CTimeEx first;
        reader.GetTrigTime(first);
        long count = 0;
        ASSERT_EQ(reader.Get_nPrds(count), 1);
        for (const std::string& line : acknowledged) {
            std::istringstream fields(line);
            std::int64_t offset = 0;
            std::int64_t period = 0;
            fields >> offset >> period;
            const std::int64_t at =
                (Start(offset) - first).GetTotalMilliseconds() / kLength + period;
            float values[kBands];
            ASSERT_EQ(reader.GetData(values, static_cast<int>(at), 1, 0, kBands), 1);
            for (int band = 0; band < kBands; ++band) {
                ASSERT_EQ(values[band], static_cast<float>(ValueAt(at, band)))
                    << line << ", band " << band;
            }
        }
        EXPECT_EQ(database.Ask("SELECT count(*) FROM Groups"), "1");
        EXPECT_EQ(database.Ask("SELECT count(*) FROM Measurements"), "1");
        EXPECT_EQ(database.Ask("SELECT count(*) FROM MeasValueMap"), "1");
    }
};

TEST_P(Crash, LosesNothingAcknowledgedBetweenAnyTwoStatements) {
    RegisterWatchedProvider();
    std::vector<std::string> acknowledged;
    int finished = 0;
    for (int statement = 1; finished == 0; ++statement) {
        ASSERT_LT(statement, 200);
        Child recorder([&](const Child::Acknowledge& acknowledge) {
            int count = 0;
            TheWatch().fails = [&](std::string_view) {
                if (++count == statement) std::raise(SIGKILL);
                return false;
            };
            return Record(database.WatchedString(), statement * 2500, 6, acknowledge);
        });
        const int status = recorder.Wait();
        ASSERT_TRUE(status == 0 || status == 128 + SIGKILL)
            << status << " at statement " << statement;
        finished += status == 0;
        for (std::string& line : recorder.Acknowledged())
            acknowledged.push_back(std::move(line));
    }
    EXPECT_GT(acknowledged.size(), 40U);
    CheckAll(acknowledged);
}

TEST_P(Crash, LosesNothingAcknowledgedAtAnyMoment) {
    const auto seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto start = std::chrono::steady_clock::now();
    Child first([&](const Child::Acknowledge& acknowledge) {
        return Record(database.ConnectString(), 0, 1, acknowledge);
    });
    ASSERT_EQ(first.Wait(), 0);
    // Recorders die before and after their first period, however long they take to come to it.
    const auto toFirstPeriod =
        std::min<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - start, 1s);
    std::vector<std::string> acknowledged = first.Acknowledged();
    for (int round = 1; round <= 40; ++round) {
        Child recorder([&](const Child::Acknowledge& acknowledge) {
            return Record(database.ConnectString(), round * 30500, 1000000, acknowledge);
        });
        std::this_thread::sleep_for(random() % 1000 * toFirstPeriod / 400);
        recorder.Kill();
        ASSERT_EQ(recorder.Wait(), 128 + SIGKILL) << "round " << round;
        for (std::string& line : recorder.Acknowledged())
            acknowledged.push_back(std::move(line));
    }
    EXPECT_GT(acknowledged.size(), 1U);
    CheckAll(acknowledged);
}

TEST_P(Crash, ServesTwoRecordersAndThreeReadersAtOnce) {
    const char* asked = std::getenv("MERSOLA_TEST_SECONDS");
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::seconds(asked ? std::atoi(asked) : 3);
    const std::string text = database.ConnectString();
    Installation& all = Installation::Shared(Pace::AtOnce);
    std::vector<std::unique_ptr<Child>> programs;
    const auto start = [&](auto work) {
        programs.push_back(
            std::make_unique<Child>([=](const auto&) { return static_cast<int>(work()); }));
    };
    start([&] { return Register(text); });
    ASSERT_EQ(programs[0]->Wait(), 0);
    programs.clear();
    for (int station = 0; station < kStations; ++station)
        start([&, station] { return Record(all, text, station, false); });
    for (const std::uint64_t seed : {1U, 2U, 3U})
        start([&, seed] { return Read(all, text, seed, Connects::Once); });
    const auto goesOn = [&] {
        return std::ranges::all_of(programs, [](const auto& each) { return !each->HasEnded(); }) &&
               (std::chrono::steady_clock::now() < end ||
                std::ranges::any_of(all.stations, [](const Station& station) {
                    return Load(station.counted) < kLeastPeriods;
                }));
    };
    while (goesOn())
        std::this_thread::sleep_for(50ms);
    Set(all.ends, 1);
    for (const auto& program : programs)
        EXPECT_EQ(program->Wait(), 0);
    EXPECT_EQ(Find(all, text), Result::Ended);
    for (Station& station : all.stations)
        EXPECT_GE(Load(station.counted), kLeastPeriods);
}

INSTANTIATE_ON_EVERY_ENGINE(Crash);

}  // namespace
}  // namespace mersola::test
