// Blocks of values: the library beside SQLite's C interface, and what memory a large block takes.
#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "contest.h"
#include "database.h"
#include "recorder.h"

using namespace mersola::sqlite;

namespace {

constexpr int kChannel = 2;
constexpr int kFunction = 3;
constexpr int kPeriods = 1500;
constexpr float kMissing = -100.0F;

// What GetData does, with a statement that was prepared beforehand.
class PreparedReader {
  public:
    PreparedReader(const std::string& path, int measValueId)
        : db_(OpenDatabase(path)), measValueId_(measValueId) {
        select_ = Prepare(db_.get(),
                          "SELECT * FROM MeasuredValues where MeasValueId=? and Channel=? and "
                          "FuncId=? and PeriodNo>=? "
                          "and PeriodNo<? and FrqId>=? and FrqId<? ORDER BY PeriodNo,FrqId");
    }

    void Read(std::vector<float>& block) {
        std::ranges::fill(block, kMissing);
        int index = 0;
        for (const int argument : {measValueId_, kChannel, kFunction, 0, kPeriods, 0, kBands}) {
            sqlite3_bind_int(select_.get(), ++index, argument);
        }
        sqlite3_stmt* row = select_.get();
        while (sqlite3_step(row) == SQLITE_ROW) {
            const auto at = static_cast<std::size_t>(sqlite3_column_int(row, 1)) * kBands +
                            static_cast<std::size_t>(sqlite3_column_int(row, 4));
            const unsigned char* status = sqlite3_column_text(row, 6);
            const bool invalid =
                (status && *status == 'A') || sqlite3_column_type(row, 5) == SQLITE_NULL;
            block[at] = invalid ? kMissing : static_cast<float>(sqlite3_column_double(row, 5));
        }
        sqlite3_reset(row);
    }

  private:
    Database db_;
    int measValueId_;
    Statement select_;
};

void GetData(benchmark::State& state) {
    const TemporaryFolder folder;
    const std::string path = (folder / "reading.db").string();
    Recorder recorder(path);
    {
        const Database db = OpenDatabase(path);
        const Statement insert = Prepare(db.get(), kInsert);
        Run(db.get(), "BEGIN");
        for (int period = 0; period < kPeriods; ++period) {
            ForEachValue([&](int channel, int function, int band) {
                InsertValue(insert.get(), recorder.MeasValueId(), period, channel, function, band);
            });
        }
        Run(db.get(), "COMMIT");
    }
    PreparedReader reader(path, recorder.MeasValueId());
    Mersola& session = recorder.Session();
    session.SetChannel(kChannel);
    session.SetFunction(kFunction);
    std::vector<float> prepared(kPeriods * kBands);
    std::vector<float> block(kPeriods * kBands);
    Contest contest;
    contest.Enter("C interface, prepared once", [&] { reader.Read(prepared); });
    contest.Enter("GetData", [&] { session.GetData(block.data(), 0, kPeriods, 0, kBands); });
    contest.Run(state, kPeriods * kBands);
    if (block != prepared || std::ranges::count(block, kMissing) > 0)
        state.SkipWithError("the blocks differ");
}

// A line of the process's status, in MiB.
double StatusMiB(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        double kib = 0;
        if (word == name + ":" && status >> kib) return kib / 1024;
    }
    throw std::runtime_error("The system does not tell " + name);
}

void MemoryOfTenMillionValues(benchmark::State& state) {
    constexpr int kManyPeriods = 277'778;
    const TemporaryFolder folder;
    const std::string path = (folder / "memory.db").string();
    Recorder recorder(path);
    {
        const Database db = OpenDatabase(path);
        const Statement insert = Prepare(db.get(), kInsert);
        Run(db.get(), "BEGIN");
        for (int period = 0; period < kManyPeriods; ++period) {
            for (int band = 0; band < kBands; ++band) {
                InsertValue(insert.get(), recorder.MeasValueId(), period, kChannel, kFunction,
                            band);
            }
        }
        Run(db.get(), "COMMIT");
    }
    Mersola& session = recorder.Session();
    session.SetChannel(kChannel);
    session.SetFunction(kFunction);
    std::vector<float> block(static_cast<std::size_t>(kManyPeriods) * kBands, 1.0F);
    for (auto _ : state) {
        malloc_trim(0);  // what was freed before must not hide what is taken now
        std::ofstream("/proc/self/clear_refs") << "5";  // the peak begins anew
        const double before = StatusMiB("VmRSS");
        session.GetData(block.data(), 0, kManyPeriods, 0, kBands);
        state.counters["MiB_beside_the_block"] = StatusMiB("VmHWM") - before;
    }
    if (std::ranges::count(block, kMissing) > 0) state.SkipWithError("values are missing");
}

BENCHMARK(GetData)->Iterations(200)->Unit(benchmark::kMillisecond);
BENCHMARK(MemoryOfTenMillionValues)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
