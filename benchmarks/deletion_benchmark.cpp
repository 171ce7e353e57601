// A recorder beside the deletion of old values: how long it waits, how long the deletion takes, and
// how large the log gets.
//
//     deletion_benchmark [NAME=NUMBER ...]
//
//     periods=11574   of 864 values each; 115741 are 100 million values
//     packed=0        1: values lie in blocks
//     quiet=10        seconds that the recorder has to itself before
#include <sys/mman.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>

#include <mersola/mersola.h>

#include "database.h"
#include "support/child.h"

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int kLength = 125;            // of a period, in milliseconds
constexpr std::int64_t kAim = 100'000;  // microseconds
constexpr int kTransaction = 64;        // periods while the database is filled

void Require(bool isDone, const char* what) {
    if (!isDone) throw std::runtime_error(std::string("The library refused ") + what);
}

void Register(Mersola& store, const char* name, const CTimeEx& start) {
    InstrumentInfo instrument;
    instrument.GroupName = name;
    MeasurementInfo measurement;
    measurement.MeasName = name;
    measurement.StartAt = start;
    ReportInfo report;
    report.ReportId = report.ReportType = 1;
    report.PeriodLen = CTimeSpanEx(kLength);
    bool isDone = store.PutInstrument(nullptr, instrument) &&
                  store.PutMeasurement(nullptr, instrument.GroupId, measurement) &&
                  store.PutReport(nullptr, report);
    for (int channel = 1; channel <= kChannels; ++channel) {
        for (int function = 1; function <= kFunctions; ++function)
            isDone = isDone && store.PutFunction(nullptr, function, channel);
    }
    Require(isDone, "the registration");
}

void Write(Mersola& store, int period) {
    const _RecordsetPtr batch = store.PutDataStart(nullptr);
    bool isDone = batch != nullptr;
    ForEachValue([&](int channel, int function, int band) {
        long next = 0;
        isDone = isDone && store.PutDataRelative(Level(period, band), "", period, function, channel,
                                                 band, false, next, true, batch);
    });
    Require(isDone && store.PutDataEnd(batch), "a period");
}

// In memory that both programs see.
struct Waits {
    std::atomic<std::int64_t> longest;  // in microseconds
    std::atomic<std::int64_t> periods, beyondAim;
    std::atomic<bool> ends;
};

int Record(Waits& waits, const std::string& connection) {
    Mersola store(nullptr, nullptr, connection.c_str(), 30);
    Register(store, "recorder", CTimeEx::GetCurrentTime());
    const auto begun = Clock::now();
    for (int period = 0; !waits.ends; ++period) {
        std::this_thread::sleep_until(begun + period * std::chrono::milliseconds(kLength));
        const auto start = Clock::now();
        store.BeginTrans();
        Write(store, period);
        Require(store.PutPeriodsRelative(nullptr, period + 1), "the count");
        store.CommitTrans();
        const std::int64_t taken =
            std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count();
        if (taken > waits.longest) waits.longest = taken;
        if (taken > kAim) ++waits.beyondAim;
        ++waits.periods;
    }
    return 0;
}

double Mebibytes(const std::string& path) {
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    return error ? 0.0 : static_cast<double>(size) / (1 << 20);
}

double Seconds(Clock::duration time) {
    return std::chrono::duration<double>(time).count();
}

void Tell(const char* when, Waits& waits) {
    std::printf("%s: %lld periods recorded, the longest wait %.1f ms, %lld beyond 100 ms\n", when,
                static_cast<long long>(waits.periods.exchange(0)),
                static_cast<double>(waits.longest.exchange(0)) / 1000,
                static_cast<long long>(waits.beyondAim.exchange(0)));
    std::fflush(stdout);
}

void Run(int periods, mersola::Layout layout, std::chrono::seconds quiet) {
    const TemporaryFolder folder;
    const std::string path = folder / "deletion.db";
    {
        const auto db = OpenDatabase(path);
        Run(db.get(), "PRAGMA journal_mode=DELETE");
        Run(db.get(), "PRAGMA auto_vacuum=INCREMENTAL");
        Run(db.get(), "VACUUM");
        Run(db.get(), "PRAGMA journal_mode=WAL");
        LayOut(db.get(), layout);
    }
    const std::string connection = "Provider=SQLite;Data Source={" + path + "}";
    const CTimeEx before = CTimeEx::GetCurrentTime() - CTimeSpanEx(0, 3, 0, 0, 0);
    {
        Mersola store(nullptr, nullptr, (connection + ";Synchronous=NORMAL").c_str(), 30);
        Register(store, "old", before - CTimeSpanEx(std::int64_t{periods} * kLength));
        for (int period = 0; period < periods;) {
            store.BeginTrans();
            for (int i = 0; i < kTransaction && period < periods; ++i)
                Write(store, period++);
            store.CommitTrans();
        }
        Require(store.PutPeriodsRelative(nullptr, periods), "the count");
    }
    std::printf("%s, %d periods, %.1f million values, %.0f MiB\n",
                layout == mersola::Layout::Packed ? "packed" : "rows", periods,
                static_cast<double>(periods) * kValuesOfPeriod / 1e6, Mebibytes(path));
    std::fflush(stdout);

    void* const memory =
        mmap(nullptr, sizeof(Waits), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) std::abort();
    Waits& waits = *new (memory) Waits;
    mersola::test::Child recorder([&](const auto&) { return Record(waits, connection); });
    std::this_thread::sleep_for(quiet);
    Tell("before", waits);

    Mersola store(nullptr, nullptr, connection.c_str(), 30);
    double log = 0;
    std::int64_t pieces = 0;
    Clock::time_point valuesGone{};
    mersola::DeletionProgress last;
    mersola::DeletionOptions options;
    options.progress = [&](const mersola::DeletionProgress& progress) {
        log = std::max(log, Mebibytes(path + "-wal"));
        ++pieces;
        if (valuesGone == Clock::time_point{} && progress.measurements > 0) {
            valuesGone = Clock::now();
            Tell("while values were deleted", waits);
        }
        last = progress;
        return true;
    };
    const auto start = Clock::now();
    Require(store.deleteOldMeasurements(nullptr, before, options) == 1, "the deletion");
    const auto end = Clock::now();
    Tell("while the rest of the room was given back", waits);
    waits.ends = true;
    Require(recorder.Wait() == 0, "to record");
    std::printf(
        "%.2f s for the values, %.2f s for the room; %lld transactions, log %.1f MiB, %.1f MiB "
        "given back, file %.1f MiB\n",
        Seconds(valuesGone - start), Seconds(end - valuesGone), static_cast<long long>(pieces), log,
        static_cast<double>(last.bytesGivenBack) / (1 << 20), Mebibytes(path));
}

}  // namespace

int main(int argc, char** argv) {
    std::map<std::string, int> given{{"periods", 11574}, {"packed", 0}, {"quiet", 10}};
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const auto found = given.find(word.substr(0, word.find('=')));
        if (found == given.end() || word.find('=') == word.npos) {
            std::fprintf(stderr, "%s is not NAME=NUMBER with a name that is known\n", argv[i]);
            return 2;
        }
        found->second = std::atoi(word.c_str() + word.find('=') + 1);
    }
    Run(given["periods"], given["packed"] != 0 ? mersola::Layout::Packed : mersola::Layout::Rows,
        std::chrono::seconds(given["quiet"]));
}
