// The continuous view: the same periods read from one measurement and from a chain of them.
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <mersola/mersola.h>

#include "contest.h"
#include "database.h"

namespace {

constexpr int kPeriods = 10000;
constexpr int kMembers = 50;
constexpr int kLength = 1000;  // of a period, in milliseconds

void Require(bool done) {
    if (!done) throw std::runtime_error("The library refused to record");
}

// Records all periods under an instrument's name, cut into measurements of one length.
void Record(Mersola& store, const char* name, int measurements) {
    InstrumentInfo instrument;
    instrument.GroupName = name;
    Require(store.PutInstrument(nullptr, instrument));
    const int each = kPeriods / measurements;
    const CTimeEx start = CTimeEx::GetCurrentTime();
    for (int number = 0; number < measurements; ++number) {
        MeasurementInfo measurement;
        measurement.MeasName = std::to_string(number).c_str();
        measurement.StartAt = start + CTimeSpanEx(std::int64_t{number} * each * kLength);
        ReportInfo report;
        report.ReportId = report.ReportType = 1;
        report.PeriodLen = CTimeSpanEx(kLength);
        Require(store.PutMeasurement(nullptr, instrument.GroupId, measurement));
        Require(store.PutReport(nullptr, report) && store.PutFunction(nullptr, 1, 1));
        const _RecordsetPtr batch = store.PutDataStart(nullptr);
        for (int period = 0; period < each; ++period) {
            for (int band = 0; band < kBands; ++band) {
                long next = 0;
                Require(store.PutDataRelative(Level(number * each + period, band), "", period, 1, 1,
                                              band, false, next, true, batch));
            }
        }
        Require(store.PutDataEnd(batch) && store.PutPeriodsRelative(nullptr, each));
    }
}

// A session that has selected the instrument's first measurement or its chain.
void Select(Mersola& store, const std::string& path, const char* name, long measurement) {
    store.Initialize(nullptr, nullptr, ("Provider=SQLite;Data Source={" + path + "}").c_str(), -1);
    Require(store.SetInstrument(store.locateInstrumentId(name)) == 1);
    Require(store.SetMeasurement(measurement) == 1 && store.SetReport(1) == 1);
    store.SetChannel(1);
    store.SetFunction(1);
}

void ChainOfMeasurements(benchmark::State& state) {
    const TemporaryFolder folder;
    const std::string path = (folder / "chain.db").string();
    LayOut(OpenDatabase(path).get());
    Mersola recorder(nullptr, nullptr, ("Provider=SQLite;Data Source={" + path + "}").c_str(), -1);
    Record(recorder, "one", 1);
    Record(recorder, "chain", kMembers);
    Mersola one;
    Mersola chain;
    Select(one, path, "one", 1);
    Select(chain, path, "chain", -3);
    std::vector<float> single(static_cast<std::size_t>(kPeriods) * kBands);
    std::vector<float> stitched(single.size());
    Contest contest;
    contest.Enter("one measurement", [&] { one.GetData(single.data(), 0, kPeriods, 0, kBands); });
    contest.Enter("a chain of 50", [&] { chain.GetData(stitched.data(), 0, kPeriods, 0, kBands); });
    contest.Run(state, kPeriods);
    if (single != stitched || single.back() == -100.0F) state.SkipWithError("the blocks differ");
}

BENCHMARK(ChainOfMeasurements)->Iterations(50)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
