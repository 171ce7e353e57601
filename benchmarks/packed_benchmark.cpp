// The packed layout beside rows: through the library, and through SQLite's C interface on a table
// of rows.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "contest.h"
#include "database.h"
#include "recorder.h"

using namespace mersola::sqlite;
using mersola::Layout;

namespace {

constexpr int kChannel = 2;
constexpr int kFunction = 3;

void Require(bool done) {
    if (!done) throw std::runtime_error("The library refused to work");
}

// A report in a database file of its own. All that write the same periods hold the same values.
class Side {
  public:
    Side(Layout layout, const char* synchronous)
        : recorder_(path_, std::string(";Synchronous=") + synchronous, layout),
          db_(OpenDatabase(path_)),
          insert_(Prepare(db_.get(), kInsert)) {
        Run(db_.get(), std::string("PRAGMA synchronous=") + synchronous);
        Session().SetChannel(kChannel);
        Session().SetFunction(kFunction);
    }

    Mersola& Session() { return recorder_.Session(); }
    int Report() const { return recorder_.MeasValueId(); }
    sqlite3* Db() const { return db_.get(); }

    // The next period: prepared once, as a batch, or with a statement for each value.
    void WritePrepared() {
        Run(db_.get(), "BEGIN IMMEDIATE");
        ForEachValue([&](int channel, int function, int band) {
            InsertValue(insert_.get(), Report(), period_, channel, function, band);
        });
        Run(db_.get(), "COMMIT");
        ++period_;
    }
    void WriteBatch() {
        const _RecordsetPtr batch = Session().PutDataStart(nullptr);
        PutPeriod(batch);
        Require(Session().PutDataEnd(batch));
    }
    void WriteStatements() {
        Session().BeginTrans();
        PutPeriod(nullptr);
        Session().CommitTrans();
    }

    // So many periods of some bands of one function, or of all that a recorder has.
    void Fill(int periods, int bands) {
        Session().BeginTrans();
        while (period_ < periods) {
            const _RecordsetPtr batch = Session().PutDataStart(nullptr);
            for (int i = 0; i < 64 && period_ < periods; ++i, ++period_) {
                for (int band = 0; band < bands; ++band)
                    Put(batch, kChannel, kFunction, band);
            }
            Require(Session().PutDataEnd(batch));
        }
        Session().CommitTrans();
    }
    void Fill(int periods) {
        Session().BeginTrans();
        while (period_ < periods)
            WriteBatch();
        Session().CommitTrans();
    }

    void Reopen() const {
        Require(Mersola(nullptr, nullptr, connectString_.c_str(), -1).isConnected());
    }

    double Digest() const {
        const Statement sum =
            Prepare(db_.get(),
                    "SELECT count(*)+sum(Value*(PeriodNo%100+FrqId*3+FuncId*7+Channel*11)) FROM "
                    "MeasuredValues WHERE Status=''");
        sqlite3_step(sum.get());
        return sqlite3_column_double(sum.get(), 0);
    }

  private:
    void Put(const _RecordsetPtr& batch, int channel, int function, int band) {
        long next = 0;
        Require(Session().PutDataRelative(Level(period_, band), status_, period_, function, channel,
                                          band, false, next, batch != nullptr, batch));
    }
    void PutPeriod(const _RecordsetPtr& batch) {
        ForEachValue(
            [&](int channel, int function, int band) { Put(batch, channel, function, band); });
        ++period_;
    }

    const TemporaryFolder folder_;
    const std::string path_ = (folder_ / "side.db").string();
    const std::string connectString_ = "Provider=SQLite;Data Source={" + path_ + "}";
    Recorder recorder_;
    const CString status_;
    Database db_;
    Statement insert_;
    int period_ = 0;
};

// The rivals write until both hold the same; what is left of the log is the same for both.
void RequireAlike(benchmark::State& state, const Side& rows, const Side& packed) {
    const double expected = rows.Digest();
    if (std::abs(packed.Digest() - expected) > 1e-9 * expected)
        state.SkipWithError("the values differ");
}

void Batches(benchmark::State& state, const char* synchronous) {
    Side rows(Layout::Rows, synchronous), packed(Layout::Packed, synchronous);
    Contest contest;
    contest.Enter("rows: C interface, prepared once", [&] { rows.WritePrepared(); });
    contest.Enter("packed: PutDataStart, PutDataRelative, PutDataEnd",
                  [&] { packed.WriteBatch(); });
    contest.Run(state, kValuesOfPeriod);
    RequireAlike(state, rows, packed);
}
void BatchesNormal(benchmark::State& state) {
    Batches(state, "NORMAL");
}
void BatchesFull(benchmark::State& state) {
    Batches(state, "FULL");
}

void Statements(benchmark::State& state) {
    Side rows(Layout::Rows, "NORMAL"), packed(Layout::Packed, "NORMAL");
    Contest contest;
    contest.Enter("rows: C interface, prepared once", [&] { rows.WritePrepared(); });
    contest.Enter("packed: PutDataRelative", [&] { packed.WriteStatements(); });
    contest.Run(state, kValuesOfPeriod);
    RequireAlike(state, rows, packed);
}

// What GetData does, with a statement that was prepared beforehand.
void ReadRows(sqlite3_stmt* row, int report, int periods, int firstBand, int bands,
              std::vector<float>& block) {
    std::ranges::fill(block, -100.0F);
    int index = 0;
    for (const int argument :
         {report, kChannel, kFunction, 0, periods, firstBand, firstBand + bands})
        sqlite3_bind_int(row, ++index, argument);
    while (sqlite3_step(row) == SQLITE_ROW) {
        const auto at =
            static_cast<std::size_t>(sqlite3_column_int(row, 1)) * static_cast<std::size_t>(bands) +
            static_cast<std::size_t>(sqlite3_column_int(row, 4) - firstBand);
        const unsigned char* status = sqlite3_column_text(row, 6);
        const bool invalid =
            (status && *status == 'A') || sqlite3_column_type(row, 5) == SQLITE_NULL;
        block[at] = invalid ? -100.0F : static_cast<float>(sqlite3_column_double(row, 5));
    }
    sqlite3_reset(row);
}

void GetData(benchmark::State& state, int stored, int periods, int firstBand, int bands) {
    Side rows(Layout::Rows, "NORMAL"), packed(Layout::Packed, "NORMAL");
    rows.Fill(stored, kBands);
    packed.Fill(stored, kBands);
    const Statement select =
        Prepare(rows.Db(),
                "SELECT * FROM MeasuredValues where MeasValueId=? and Channel=? and FuncId=? and "
                "PeriodNo>=? and PeriodNo<? and FrqId>=? and FrqId<? ORDER BY PeriodNo,FrqId");
    const auto size = static_cast<std::size_t>(periods) * static_cast<std::size_t>(bands);
    std::vector<float> expected(size), block(size);
    Contest contest;
    contest.Enter("rows: C interface, prepared once", [&] {
        ReadRows(select.get(), rows.Report(), periods, firstBand, bands, expected);
    });
    contest.Enter("packed: GetData",
                  [&] { packed.Session().GetData(block.data(), 0, periods, firstBand, bands); });
    contest.Run(state, static_cast<double>(size));
    if (block != expected || std::ranges::count(block, -100.0F) > 0)
        state.SkipWithError("the blocks differ");
}
void GetDataBlock(benchmark::State& state) {
    GetData(state, 1500, 1500, 0, kBands);
}
void GetDataOneBand(benchmark::State& state) {
    GetData(state, 100'000, 100'000, 17, 1);
}

void GetAllDataByPeriod(benchmark::State& state) {
    constexpr int kPeriods = 100;
    Side rows(Layout::Rows, "NORMAL"), packed(Layout::Packed, "NORMAL");
    rows.Fill(3000);
    packed.Fill(3000);
    double sum = 0, expected = 0;
    const auto read = [&](Side& side, double& into) {
        CList<funcData, funcData&> list;
        Require(side.Session().GetAllDataByPeriod(700, kPeriods, list) ==
                kPeriods * kFunctions * kBands);
        into = 0;
        for (const funcData& data : list)
            into += data.Value * (data.FuncId + data.FrqId);
    };
    Contest contest;
    contest.Enter("rows: GetAllDataByPeriod", [&] { read(rows, expected); });
    contest.Enter("packed: GetAllDataByPeriod", [&] { read(packed, sum); });
    contest.Run(state, kPeriods * kFunctions * kBands);
    if (std::abs(sum - expected) > 1e-9 * expected) state.SkipWithError("the lists differ");
}

constexpr int kPeriodsOfTenMillion = 11'600;

void FirstPeriod(benchmark::State& state) {
    Side packed(Layout::Packed, "NORMAL");
    packed.Fill(kPeriodsOfTenMillion);
    const CString sql = ("SELECT MIN(PeriodNo) FROM MeasuredValues WHERE MeasValueId=" +
                         std::to_string(packed.Report()))
                            .c_str();
    Contest contest;
    contest.Enter("packed: MIN(PeriodNo) of ten million values",
                  [&] { Require(packed.Session().dbExecute(sql)->Fields(0).Long() == 0); });
    contest.Run(state, 1);
}

void Opening(benchmark::State& state) {
    Side empty(Layout::Packed, "NORMAL"), packed(Layout::Packed, "NORMAL");
    packed.Fill(kPeriodsOfTenMillion);
    Contest contest;
    contest.Enter("packed: opening an empty database", [&] { empty.Reopen(); });
    contest.Enter("packed: opening ten million values", [&] { packed.Reopen(); });
    contest.Run(state, 1);
}

void DeleteMonth(benchmark::State& state) {
    constexpr int kPeriods = 24'000;
    Side rows(Layout::Rows, "NORMAL"), packed(Layout::Packed, "NORMAL");
    rows.Fill(kPeriods);
    packed.Fill(kPeriods);
    int month = 0;
    const auto forget = [&](Side& side) {
        side.Session().dbExecute(
            ("DELETE FROM MeasuredValues WHERE MeasValueId=" + std::to_string(side.Report()) +
             " AND PeriodNo<" + std::to_string((month + 1) * kPeriods / 12))
                .c_str());
    };
    Contest contest;
    contest.Enter("rows: DELETE", [&] { forget(rows); });
    contest.Enter("packed: DELETE", [&] {
        forget(packed);
        ++month;
    });
    contest.Run(state, kPeriods / 12 * kValuesOfPeriod);
}

BENCHMARK(BatchesNormal)->Iterations(1500)->Unit(benchmark::kMillisecond);
BENCHMARK(BatchesFull)->Iterations(600)->Unit(benchmark::kMillisecond);
BENCHMARK(Statements)->Iterations(1500)->Unit(benchmark::kMillisecond);
BENCHMARK(GetDataBlock)->Iterations(200)->Unit(benchmark::kMillisecond);
BENCHMARK(GetDataOneBand)->Iterations(10)->Unit(benchmark::kMillisecond);
BENCHMARK(GetAllDataByPeriod)->Iterations(40)->Unit(benchmark::kMillisecond);
BENCHMARK(FirstPeriod)->Iterations(50)->Unit(benchmark::kMillisecond);
BENCHMARK(Opening)->Iterations(50)->Unit(benchmark::kMillisecond);
BENCHMARK(DeleteMonth)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
