// The key of MeasuredValues: what each order of its columns costs in writing, reading and size.
#include <cstddef>
#include <filesystem>
#include <iostream>
#include <list>
#include <stdexcept>

#include <benchmark/benchmark.h>

#include "contest.h"
#include "database.h"
#include "engines/sqlite.h"
#include "schema/schema.h"

using namespace mersola::sqlite;

namespace {

constexpr int kPeriods = 3000;
constexpr int kReports = 2;  // written in turn

// The statements of the library, their literals lifted as the provider lifts them.
constexpr std::string_view kGetData =
    "SELECT * FROM MeasuredValues where MeasValueId=? and Channel=? and FuncId=? and PeriodNo>=? "
    "and PeriodNo<? and "
    "FrqId>=? and FrqId<? ORDER BY PeriodNo,FrqId";
constexpr std::string_view kGetAllDataByPeriod =
    "SELECT * FROM MeasuredValues where MeasValueId=? and Channel=? and PeriodNo>=? and PeriodNo<? "
    "ORDER BY "
    "PeriodNo,FrqId";
constexpr std::string_view kFirstPeriod =
    "SELECT MIN(PeriodNo) FROM MeasuredValues WHERE MeasValueId=?";

struct Layout {
    std::string_view key;    // what follows MeasValueId in it
    std::string_view index;  // likewise; empty for none
};

constexpr Layout kLayouts[] = {
    {"Channel, FuncId, PeriodNo, FrqId", ""},
    {"Channel, FuncId, PeriodNo, FrqId", "PeriodNo"},
    {"Channel, FuncId, PeriodNo, FrqId", "PeriodNo, FrqId, Channel, FuncId, Value, Status"},
    {"PeriodNo, Channel, FuncId, FrqId", ""},
    {"Channel, PeriodNo, FuncId, FrqId", ""},
    {"Channel, PeriodNo, FuncId, FrqId", "PeriodNo"},
    {"Channel, PeriodNo, FrqId, FuncId", ""},
    {"Channel, PeriodNo, FrqId, FuncId", "PeriodNo"},
};

// The table as the schema declares it, with another key.
std::string TableWithKey(std::string_view key) {
    for (const std::string_view statement : mersola::SchemaStatements(mersola::kSqlite)) {
        if (statement.find("CREATE TABLE MeasuredValues") == std::string_view::npos) continue;
        std::string table(statement);
        const auto begin = table.find("PRIMARY KEY (");
        const auto end = table.find(')', begin);
        if (end == std::string::npos) break;
        return table.replace(begin, end - begin, "PRIMARY KEY (MeasValueId, " + std::string(key));
    }
    throw std::runtime_error("The schema has no MeasuredValues with a key");
}

class Candidate {
  public:
    Candidate(const Layout& layout, std::string path)
        : path_(std::move(path)), db_(OpenDatabase(path_)) {
        name_ = std::string(layout.key);
        Run(db_.get(), TableWithKey(layout.key));
        if (!layout.index.empty()) {
            name_ += "; index " + std::string(layout.index);
            Run(db_.get(), "CREATE INDEX Periods ON MeasuredValues (MeasValueId, " +
                               std::string(layout.index) + ")");
        }
        insert_ = Prepare(db_.get(), kInsert);
        getData_ = Prepare(db_.get(), kGetData);
        getAllDataByPeriod_ = Prepare(db_.get(), kGetAllDataByPeriod);
        firstPeriod_ = Prepare(db_.get(), kFirstPeriod);
    }

    const std::string& Name() const { return name_; }

    // The next period of each report, a transaction each.
    void WritePeriod() {
        for (int report = 0; report < kReports; ++report) {
            Run(db_.get(), "BEGIN IMMEDIATE");
            ForEachValue([&](int channel, int function, int band) {
                InsertValue(insert_.get(), report, periods_, channel, function, band);
            });
            Run(db_.get(), "COMMIT");
        }
        ++periods_;
    }

    void GetData() { Read(getData_.get(), {1, 2, 3, 700, 700 + 1500, 0, kBands}, 1500 * kBands); }
    void GetAllDataByPeriod() {
        Read(getAllDataByPeriod_.get(), {1, 2, 700, 700 + 100}, 100 * kFunctions * kBands);
    }
    void FirstPeriod() { Read(firstPeriod_.get(), {1}, 1); }

    double Megabytes() const {
        Run(db_.get(), "PRAGMA wal_checkpoint(TRUNCATE)");
        return static_cast<double>(std::filesystem::file_size(path_)) / 1e6;
    }

    void PrintPlans() const {
        std::cout << name_ << '\n';
        for (const std::string_view sql : {kGetData, kGetAllDataByPeriod, kFirstPeriod}) {
            const Statement plan = Prepare(db_.get(), "EXPLAIN QUERY PLAN " + std::string(sql));
            while (sqlite3_step(plan.get()) == SQLITE_ROW) {
                std::cout << "    "
                          << reinterpret_cast<const char*>(sqlite3_column_text(plan.get(), 3))
                          << '\n';
            }
        }
    }

  private:
    static void Read(sqlite3_stmt* statement, std::initializer_list<int> arguments,
                     int expectedRows) {
        int index = 0;
        for (const int argument : arguments)
            sqlite3_bind_int(statement, ++index, argument);
        int rows = 0;
        double sum = 0;
        const int last = sqlite3_column_count(statement) > 5 ? 5 : 0;
        for (; sqlite3_step(statement) == SQLITE_ROW; ++rows)
            sum += sqlite3_column_double(statement, last);
        benchmark::DoNotOptimize(sum);
        sqlite3_reset(statement);
        if (rows != expectedRows)
            throw std::runtime_error("A candidate did not give the rows that were written");
    }

    std::string path_;
    Database db_;
    std::string name_;
    Statement insert_;
    Statement getData_;
    Statement getAllDataByPeriod_;
    Statement firstPeriod_;
    int periods_ = 0;
};

std::list<Candidate> candidates;

void Compare(benchmark::State& state, void (Candidate::*work)(), double items) {
    Contest contest;
    for (Candidate& candidate : candidates) {
        contest.Enter(candidate.Name(), [&candidate, work] { (candidate.*work)(); });
    }
    contest.Run(state, items);
}

// The first one fills the databases for the others.
void WritePeriod(benchmark::State& state) {
    Compare(state, &Candidate::WritePeriod, kReports * kValuesOfPeriod);
}
void GetData(benchmark::State& state) {
    Compare(state, &Candidate::GetData, 1500 * kBands);
}
void GetAllDataByPeriod(benchmark::State& state) {
    Compare(state, &Candidate::GetAllDataByPeriod, 100 * kFunctions * kBands);
}
void FirstPeriod(benchmark::State& state) {
    Compare(state, &Candidate::FirstPeriod, 1);
}

BENCHMARK(WritePeriod)->Iterations(kPeriods)->Unit(benchmark::kMillisecond);
BENCHMARK(GetData)->Iterations(15)->Unit(benchmark::kMillisecond);
BENCHMARK(GetAllDataByPeriod)->Iterations(15)->Unit(benchmark::kMillisecond);
BENCHMARK(FirstPeriod)->Iterations(15)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    const TemporaryFolder folder;
    for (const Layout& layout : kLayouts) {
        candidates.emplace_back(layout,
                                (folder / (std::to_string(candidates.size()) + ".db")).string());
    }
    benchmark::RunSpecifiedBenchmarks();
    std::cout << "\nMegabytes of the file\n";
    for (const Candidate& candidate : candidates)
        std::cout << "    " << candidate.Name() << "  " << candidate.Megabytes() << '\n';
    std::cout << "\nHow the three reading statements find their rows\n";
    for (const Candidate& candidate : candidates)
        candidate.PrintPlans();
    candidates.clear();
}
