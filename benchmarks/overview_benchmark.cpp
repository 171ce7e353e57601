// A year of one-second levels by the hour: from summaries, and from the values themselves. The file
// stays where MERSOLA_BENCHMARK_YEAR says, for other programs to be measured with.
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <string>

#include <benchmark/benchmark.h>
#include <mersola/mersola.h>

#include "contest.h"
#include "database.h"

namespace {

constexpr int kHour = 3600;
constexpr int kYear = 365 * 24 * kHour;  // periods

void Require(bool done) {
    if (!done) throw std::runtime_error("The library refused to work");
}

// Levels of a day and a night with noise, to a tenth of a decibel.
void Record(Mersola& store, int periods) {
    InstrumentInfo instrument;
    instrument.GroupName = "Garden";
    instrument.Type = "0";
    MeasurementInfo measurement;
    measurement.MeasName = "year";
    measurement.StartAt = CTimeEx(CTimeEx::GetCurrentTime().GetYear() - 1, 1, 1, 0, 0, 0);
    ReportInfo report;
    report.ReportId = report.ReportType = 1;
    report.PeriodLen = CTimeSpanEx(1000);
    Require(store.PutInstrument(nullptr, instrument) &&
            store.PutMeasurement(nullptr, instrument.GroupId, measurement) &&
            store.PutReport(nullptr, report) && store.PutFunction(nullptr, 2, 1));
    store.dbExecute("INSERT INTO FuncNameMap VALUES (2,'LAeq')");
    std::mt19937 random(1);
    std::normal_distribution<double> noise(0, 3);
    constexpr int kBatch = 8192;
    for (int first = 0; first < periods; first += kBatch) {
        const _RecordsetPtr batch = store.PutDataStart(nullptr);
        const int end = std::min(periods, first + kBatch);
        for (int period = first; period < end; ++period) {
            const double level = 50 + 8 * std::sin(period * (6.2831853 / 86400)) + noise(random);
            long next = 0;
            Require(store.PutDataRelative(std::round(level * 10) / 10, "", period, 2, 1, 0, false,
                                          next, true, batch));
        }
        Require(store.PutDataEnd(batch));
    }
    Require(store.PutPeriodsRelative(nullptr, periods));
}

void ByTheHour(benchmark::State& state, mersola::Layout layout, int periods) {
    const TemporaryFolder folder;
    const char* const kept = std::getenv("MERSOLA_BENCHMARK_YEAR");
    const bool isKept = kept && layout == mersola::Layout::Packed;
    const std::string path = isKept ? kept : (folder / "year.db").string();
    const bool isThere = std::filesystem::exists(path);
    if (!isThere) LayOut(OpenDatabase(path).get(), layout);
    Mersola store("", "", ("Provider=SQLite;Data Source={" + path + "};Synchronous=NORMAL").c_str(),
                  -1);
    if (!isThere) Record(store, periods);
    Require(store.SetInstrument(store.locateInstrumentId("Garden")) == 1);
    Require(store.SetMeasurement(1) == 1 && store.SetReport(1) == 1);
    store.SetChannel(1);
    store.SetFunction(2);
    const auto read = [&](unsigned figures) {
        return [&store, periods, figures] {
            CArray<StepSummary, StepSummary&> steps;
            Require(store.GetOverview(steps, 0, periods, kHour, 0, 1, figures) == 1);
            Require(steps[steps.GetUpperBound()].count == kHour);
        };
    };
    Contest contest;
    contest.Enter("overview", read(0));
    contest.Enter("with times of extremes", read(mersola::kExtremePeriods));
    contest.Enter("from all values", read(mersola::kMeanSquares));
    contest.Run(state, periods);
}

BENCHMARK_CAPTURE(ByTheHour, PackedYear, mersola::Layout::Packed, kYear)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);
BENCHMARK_CAPTURE(ByTheHour, RowsOfAMonth, mersola::Layout::Rows, 30 * 24 * kHour)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
