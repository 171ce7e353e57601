// What the library itself takes for each value, above and below an engine that takes no time: its
// values go nowhere, and its blocks lie ready in memory.
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>

#include "ado/provider.h"
#include "ado/provider_registry.h"
#include "database.h"
#include "dialect/translator.h"
#include "recorder.h"

namespace {

using namespace mersola;

constexpr int kPeriods = 1500;
const std::vector<std::string> kColumns{"MeasValueId", "PeriodNo", "Channel", "FuncId",
                                        "FrqId",       "Value",    "Status"};

// One channel and function: a block for each period, out of a matrix of one band behind the other.
class Blocks : public ado::RowSource {
  public:
    Blocks() : values_(kBands * kSpan, 50.5) {
        for (int band = 0; band < kBands; ++band)
            bands_[static_cast<std::size_t>(band)] = band;
    }
    const std::vector<std::string>& Columns() const override { return kColumns; }
    bool Next() override { return false; }
    ado::Cell At(int) const override { return {}; }
    bool NextBlock(ado::ColumnBlock& block) override {
        using Form = ado::Column::Form;
        if (++period_ == kPeriods) return false;
        block.rows = kBands;
        const auto one = [](const std::int64_t& value) {
            return ado::Column{.form = Form::Integers, .values = &value};
        };
        block.columns = {one(key_), one(period_), one(key_), one(key_)};
        block.columns.push_back(
            {.form = Form::Integers, .values = bands_.data(), .stride = sizeof bands_[0]});
        block.columns.push_back({.form = Form::Reals,
                                 .values = values_.data() + period_ % kSpan,
                                 .stride = kSpan * sizeof values_[0]});
        block.columns.push_back({.form = Form::Texts, .values = &status_});
        return true;
    }

  private:
    static constexpr std::int64_t kSpan = 128;

    std::int64_t period_ = -1;
    std::int64_t key_ = 1;
    std::array<std::int64_t, kBands> bands_{};
    std::vector<double> values_;
    std::string_view status_;
};

class Writer : public ado::TableWriter {
  public:
    const std::vector<std::string>& Columns() const override { return kColumns; }
    ado::BatchOutcome Write(std::span<const ado::Cell> cells) override {
        benchmark::DoNotOptimize(cells.data());
        return {};
    }
};

class Session : public ado::ProviderSession {
  public:
    explicit Session(std::unique_ptr<ProviderSession> inner) : inner_(std::move(inner)) {}
    std::unique_ptr<ado::RowSource> Execute(std::string_view sql) override {
        if (sql.starts_with("INSERT INTO MEASUREDVALUES")) {
            benchmark::DoNotOptimize(
                translator_.Translate(sql, dialect::Literals::Lifted).literals.data());
            return nullptr;
        }
        if (sql.starts_with("SELECT * FROM MeasuredValues")) return std::make_unique<Blocks>();
        return inner_->Execute(sql);
    }
    std::unique_ptr<ado::TableWriter> OpenTable(std::string_view) override {
        return std::make_unique<Writer>();
    }
    void Begin() override { inner_->Begin(); }
    void Commit() override { inner_->Commit(); }
    void Rollback() override { inner_->Rollback(); }
    std::string DbmsName() const override { return inner_->DbmsName(); }

  private:
    std::unique_ptr<ProviderSession> inner_;
    dialect::Translator translator_;
};

class Provider : public ado::Provider {
  public:
    std::unique_ptr<ado::ProviderSession> Open(const ado::OpenRequest& request) override {
        return std::make_unique<Session>(ado::FindProvider("SQLite")->Open(request));
    }
};

struct Setting {
    const TemporaryFolder folder;
    const std::string path = (folder / "own_cost.db").string();
    Recorder recorder{(ado::RegisterProvider("Nowhere", std::make_shared<Provider>()), path),
                      "Provider=Nowhere;Data Source={" + path + "}"};
};

void PutPeriod(Mersola& session, const _RecordsetPtr& batch) {
    static const CString status;
    ForEachValue([&](int channel, int function, int band) {
        long next = 0;
        session.PutDataRelative(Level(1, band), status, 1, function, channel, band, false, next,
                                batch != nullptr, batch);
    });
}

void ForEach(benchmark::State& state, int values) {
    state.counters["ns a value"] = benchmark::Counter(
        values * 1e-9, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void Batch(benchmark::State& state) {
    Setting setting;
    for (auto _ : state) {
        const _RecordsetPtr batch = setting.recorder.Session().PutDataStart(nullptr);
        PutPeriod(setting.recorder.Session(), batch);
        setting.recorder.Session().PutDataEnd(batch);
    }
    ForEach(state, kValuesOfPeriod);
}

void Insert(benchmark::State& state) {
    Setting setting;
    for (auto _ : state)
        PutPeriod(setting.recorder.Session(), nullptr);
    ForEach(state, kValuesOfPeriod);
}

void GetData(benchmark::State& state) {
    Setting setting;
    setting.recorder.Session().SetChannel(1);
    setting.recorder.Session().SetFunction(1);
    std::vector<float> block(kPeriods * kBands);
    for (auto _ : state)
        setting.recorder.Session().GetData(block.data(), 0, kPeriods, 0, kBands);
    ForEach(state, kPeriods * kBands);
}

void GetAllDataByPeriod(benchmark::State& state) {
    Setting setting;
    for (auto _ : state) {
        CList<funcData, funcData&> list;
        setting.recorder.Session().GetAllDataByPeriod(0, kPeriods, list);
    }
    ForEach(state, kPeriods * kBands);
}

BENCHMARK(Batch);
BENCHMARK(Insert);
BENCHMARK(GetData);
BENCHMARK(GetAllDataByPeriod);

}  // namespace

BENCHMARK_MAIN();
