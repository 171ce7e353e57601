// Recording: the library's two ways to store values beside SQLite's C interface.
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "contest.h"
#include "database.h"
#include "recorder.h"

using namespace mersola::sqlite;

namespace {

// Statements of their own are written a second of short periods at a time.
constexpr int kPeriodsOfTransaction = 8;

// A database file with a writer to it. All that write the same number of periods write the same
// rows.
class Writer {
  public:
    explicit Writer(const std::string& path) : recorder_(path), db_(OpenDatabase(path)) {
        insert_ = Prepare(db_.get(), kInsert);
    }

    void WriteBatch() {
        const _RecordsetPtr batch = recorder_.Session().PutDataStart(nullptr);
        PutPeriod(batch);
        Require(recorder_.Session().PutDataEnd(batch));
    }

    void WriteStatements() {
        recorder_.Session().BeginTrans();
        for (int i = 0; i < kPeriodsOfTransaction; ++i)
            PutPeriod(nullptr);
        recorder_.Session().CommitTrans();
    }

    void WritePrepared(int periods) {
        Run(db_.get(), "BEGIN IMMEDIATE");
        for (int i = 0; i < periods; ++i, ++period_) {
            ForEachValue([&](int channel, int function, int band) {
                InsertValue(insert_.get(), recorder_.MeasValueId(), period_, channel, function,
                            band);
            });
        }
        Run(db_.get(), "COMMIT");
    }

    // The texts come from PrepareTexts.
    void WriteTexts() {
        Run(db_.get(), "BEGIN IMMEDIATE");
        for (const std::string& text : texts_)
            Run(db_.get(), text);
        Run(db_.get(), "COMMIT");
    }

    void PrepareTexts() {
        texts_.clear();
        for (int i = 0; i < kPeriodsOfTransaction; ++i, ++period_) {
            ForEachValue([&](int channel, int function, int band) {
                char text[200];
                std::snprintf(text, sizeof text,
                              "INSERT INTO MEASUREDVALUES "
                              "(MeasValueId,PeriodNo,Channel,Value,Status,FrqId,FuncId) VALUES "
                              "(%d,%d,%d,%f,'%s',%d,%d)",
                              recorder_.MeasValueId(), period_, channel, Level(period_, band), "",
                              band, function);
                texts_.emplace_back(text);
            });
        }
    }

    // The rows as one number, to compare files.
    std::string Digest() const {
        const Statement sum =
            Prepare(db_.get(),
                    "SELECT count(*) || ' ' || sum(Value * (PeriodNo + FrqId * 3 + FuncId * 7 + "
                    "Channel * 11)) FROM MeasuredValues WHERE Status = ''");
        sqlite3_step(sum.get());
        return reinterpret_cast<const char*>(sqlite3_column_text(sum.get(), 0));
    }

  private:
    static void Require(bool written) {
        if (!written) throw std::runtime_error("A value was not written");
    }

    void PutPeriod(const _RecordsetPtr& batch) {
        bool written = true;
        ForEachValue([&](int channel, int function, int band) {
            long next = 0;
            written &= recorder_.Session().PutDataRelative(Level(period_, band), status_, period_,
                                                           function, channel, band, false, next,
                                                           batch != nullptr, batch);
        });
        Require(written);
        ++period_;
    }

    Recorder recorder_;
    const CString status_;
    Database db_;
    Statement insert_;
    std::vector<std::string> texts_;
    int period_ = 0;
};

void Batches(benchmark::State& state) {
    const TemporaryFolder folder;
    Writer prepared((folder / "prepared.db").string());
    Writer batches((folder / "batches.db").string());
    Contest contest;
    contest.Enter("C interface, prepared once", [&] { prepared.WritePrepared(1); });
    contest.Enter("PutDataStart, PutDataRelative, PutDataEnd", [&] { batches.WriteBatch(); });
    contest.Run(state, kValuesOfPeriod);
    if (batches.Digest() != prepared.Digest()) state.SkipWithError("the rows differ");
}

void Statements(benchmark::State& state) {
    const TemporaryFolder folder;
    Writer prepared((folder / "prepared.db").string());
    Writer statements((folder / "statements.db").string());
    Writer texts((folder / "texts.db").string());
    Contest contest;
    contest.Enter("C interface, prepared once",
                  [&] { prepared.WritePrepared(kPeriodsOfTransaction); });
    contest.Enter("PutDataRelative", [&] { statements.WriteStatements(); });
    contest.Enter(
        "sqlite3_exec of ready texts", [&] { texts.WriteTexts(); }, [&] { texts.PrepareTexts(); });
    contest.Run(state, kPeriodsOfTransaction * kValuesOfPeriod);
    if (statements.Digest() != prepared.Digest() || texts.Digest() != prepared.Digest())
        state.SkipWithError("the rows differ");
}

BENCHMARK(Batches)->Iterations(1500)->Unit(benchmark::kMillisecond);
BENCHMARK(Statements)->Iterations(200)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
