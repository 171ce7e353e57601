// Objects of their own on threads of one process: the thread sanitizer watches these tests.
#include <atomic>
#include <thread>
#include <vector>

#include "session/log.h"
#include "support/store.h"

namespace mersola::test {
namespace {

constexpr int kRecorders = 2;
constexpr int kPeriods = 40;

// Its values tell the recorder and the period.
double ValueOf(int recorder, int period) {
    return recorder * 1000.0 + period;
}

// Records on every other period in a batch. True when all was stored.
bool Record(const std::string& connectString, int recorder) {
    Store store(connectString);
    InstrumentInfo instrument = Instrument(("station " + std::to_string(recorder)).c_str());
    MeasurementInfo measurement = Measurement();
    ReportInfo report = Report();
    // In a transaction: of two that choose an identifier at the same moment, one waits.
    store.BeginTrans();
    const bool opened = store.PutInstrument(nullptr, instrument) &&
                        store.PutMeasurement(nullptr, instrument.GroupId, measurement) &&
                        store.PutReport(nullptr, report) && store.PutFunction(nullptr, 1, 1);
    store.CommitTrans();
    if (!opened) return false;
    const _RecordsetPtr batch = store.PutDataStart(nullptr);
    for (int period = 0; period < kPeriods; ++period) {
        const bool useBatch = period % 2 == 0;
        long next = 0;
        if (!store.PutDataRelative(ValueOf(recorder, period), "", period, 1, 1, 30, !useBatch, next,
                                   useBatch, batch) ||
            (useBatch &&
             !(store.PutDataEnd(batch) && store.PutPeriodsRelative(nullptr, period + 1))))
            return false;
        WriteLogLine("a period of " + std::to_string(recorder));
    }
    return true;
}

// Reads until all has been written; false when anything stands where it does not belong.
bool Read(const std::string& connectString, int recorder, const std::atomic<int>& recording) {
    Store store(connectString);
    std::vector<float> values(kPeriods);
    for (bool last = false; !last;) {
        last = recording == 0;
        const long instrument =
            store.locateInstrumentId(("station " + std::to_string(recorder)).c_str());
        if (instrument < 0) continue;
        store.SetInstrument(instrument);
        if (!store.SetMeasurement(1) || !store.SetReport(1)) {
            store.SetMeasurement(-1);
            continue;
        }
        store.SetChannel(1);
        store.SetFunction(1);
        if (store.GetData(values.data(), 0, kPeriods, 30, 1) != kPeriods) return false;
        for (int period = 0; period < kPeriods; ++period) {
            const auto expected = static_cast<float>(ValueOf(recorder, period));
            const float value = values[static_cast<std::size_t>(period)];
            if (value != expected && (last || value != -100)) return false;
        }
    }
    return true;
}

class Threads : public Contract {};

TEST_P(Threads, RecordAndReadWithObjectsOfTheirOwn) {
    const std::string connectString = database.ConnectString();
    std::atomic<int> recording = kRecorders;
    std::atomic<int> failures = 0;
    std::vector<std::thread> threads;
    for (int recorder = 0; recorder < kRecorders; ++recorder) {
        threads.emplace_back([&, recorder] {
            failures += Record(connectString, recorder) ? 0 : 1;
            --recording;
        });
        threads.emplace_back(
            [&, recorder] { failures += Read(connectString, recorder, recording) ? 0 : 1; });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
}

INSTANTIATE_ON_EVERY_ENGINE(Threads);

}  // namespace
}  // namespace mersola::test
