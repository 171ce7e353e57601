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

// A database file with a writer to it. Each writes the same periods, a transaction each.
class Writer {
  public:
    explicit Writer(const std::string& path) : recorder_(path), db_(OpenDatabase(path)) {
        insert_ = Prepare(db_.get(), kInsert);
    }

    void WriteBatch() {
        Mersola& session = recorder_.Session();
        const _RecordsetPtr batch = session.PutDataStart(nullptr);
        bool written = batch != nullptr;
        ForEachValue([&](int channel, int function, int band) {
            written &= Put(channel, function, band, batch);
        });
        Passed(session.PutDataEnd(batch) && written);
    }

    void WriteStatements() {
        Mersola& session = recorder_.Session();
        bool written = true;
        session.BeginTrans();
        ForEachValue([&](int channel, int function, int band) {
            written &= Put(channel, function, band, nullptr);
        });
        session.CommitTrans();
        Passed(written);
    }

    void WritePrepared() {
        Run(db_.get(), "BEGIN IMMEDIATE");
        ForEachValue([&](int channel, int function, int band) {
            InsertValue(insert_.get(), recorder_.MeasValueId(), period_, channel, function, band);
        });
        Run(db_.get(), "COMMIT");
        Passed(true);
    }

    // The texts of the period come from PrepareTexts.
    void WriteTexts() {
        Run(db_.get(), "BEGIN IMMEDIATE");
        for (const std::string& text : texts_)
            Run(db_.get(), text);
        Run(db_.get(), "COMMIT");
        Passed(true);
    }

    void PrepareTexts() {
        texts_.clear();
        ForEachValue([&](int channel, int function, int band) {
            char text[200];
            std::snprintf(text, sizeof text,
                          "INSERT INTO MEASUREDVALUES "
                          "(MeasValueId,PeriodNo,Channel,Value,Status,FrqId,FuncId) VALUES "
                          "(%d,%d,%d,%f,'%s',%d,%d)",
                          recorder_.MeasValueId(), period_, channel, Level(period_, band), "", band,
                          function);
            texts_.emplace_back(text);
        });
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
    bool Put(int channel, int function, int band, const _RecordsetPtr& batch) {
        long next = 0;
        return recorder_.Session().PutDataRelative(Level(period_, band), status_, period_, function,
                                                   channel, band, false, next, batch != nullptr,
                                                   batch);
    }

    void Passed(bool written) {
        if (!written) throw std::runtime_error("A value was not written");
        ++period_;
    }

    Recorder recorder_;
    const CString status_;
    Database db_;
    Statement insert_;
    std::vector<std::string> texts_;
    int period_ = 0;
};

void WritePeriod(benchmark::State& state) {
    const TemporaryFolder folder;
    Writer prepared(folder.File("prepared.db"));
    Writer batches(folder.File("batches.db"));
    Writer statements(folder.File("statements.db"));
    Writer texts(folder.File("texts.db"));
    Contest contest;
    contest.Enter("C interface, prepared once", [&] { prepared.WritePrepared(); });
    contest.Enter("batch: PutDataStart, PutDataRelative, PutDataEnd",
                  [&] { batches.WriteBatch(); });
    contest.Enter("one statement a value: PutDataRelative", [&] { statements.WriteStatements(); });
    contest.Enter(
        "sqlite3_exec of ready texts", [&] { texts.WriteTexts(); }, [&] { texts.PrepareTexts(); });
    contest.Run(state, kValuesOfPeriod);
    for (const Writer* other : {&batches, &statements, &texts}) {
        if (other->Digest() != prepared.Digest()) state.SkipWithError("the rows differ");
    }
}

BENCHMARK(WritePeriod)->Iterations(1500)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
