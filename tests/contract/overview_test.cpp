// Overviews against the values themselves, wherever those lie.
#include <algorithm>
#include <cmath>
#include <random>

#include "support/store.h"

namespace mersola::test {
namespace {

constexpr int kFirstBand = 29, kBands = 3;  // there are values in two of them
constexpr unsigned kAll = kExtremePeriods | kMeanSquares;

class Overviews : public Contract {
  protected:
    using Random = std::mt19937;

    static int Pick(Random& random, int from, int to) {
        return std::uniform_int_distribution(from, to)(random);
    }

    // Writes levels in transactions of some length, with holes and invalid ones.
    static void WriteLevels(Mersola& store, Random& random, int first, int end) {
        for (int period = first; period < end;) {
            const auto batch = store.PutDataStart(nullptr);
            for (const int stop = std::min(end, period + Pick(random, 1, 300)); period < stop;
                 ++period) {
                if (Pick(random, 0, 60) == 0) period += Pick(random, 0, 150);
                for (const int band : {29, 31}) {
                    if (Pick(random, 0, 9) == 0) continue;
                    const double level = Pick(random, 2000, 9000) / 100.0;
                    long next = 0;
                    store.PutDataRelative(level, Pick(random, 0, 19) ? "" : "Ax", period, 1, 1,
                                          band, true, next, true, batch);
                }
            }
            ASSERT_TRUE(store.PutDataEnd(batch));
        }
    }

    // The same from each value.
    struct Plain {
        std::vector<double> values;
        std::vector<int> periods;

        double MeanOf(double (*what)(double)) const {
            long double sum = 0;
            for (const double value : values)
                sum += what(value);
            return static_cast<double>(sum / static_cast<long double>(values.size()));
        }
    };

    static void ExpectEqual(const StepSummary& summary, const Plain& plain, unsigned figures) {
        ASSERT_EQ(summary.count, static_cast<int>(plain.values.size()));
        if (plain.values.empty()) {
            EXPECT_TRUE(std::isnan(summary.least) && std::isnan(summary.energyMean));
            EXPECT_EQ(summary.leastPeriod, -1);
            return;
        }
        const auto least = std::ranges::min_element(plain.values);
        const auto greatest = std::ranges::max_element(plain.values);
        EXPECT_EQ(summary.least, *least);
        EXPECT_EQ(summary.greatest, *greatest);
        EXPECT_NEAR(summary.mean, plain.MeanOf([](double value) { return value; }), 1e-5);
        EXPECT_NEAR(summary.energyMean,
                    10 * std::log10(plain.MeanOf([](double v) { return std::pow(10, v / 10); })),
                    1e-5);
        if (figures & kMeanSquares) {
            EXPECT_NEAR(summary.meanSquare, plain.MeanOf([](double v) { return v * v; }), 1e-6);
        }
        if (!(figures & kExtremePeriods)) return;
        EXPECT_EQ(summary.leastPeriod,
                  plain.periods[static_cast<std::size_t>(least - plain.values.begin())]);
        EXPECT_EQ(summary.greatestPeriod,
                  plain.periods[static_cast<std::size_t>(greatest - plain.values.begin())]);
    }

    static void ExpectAsFromValues(Mersola& store, const std::vector<int>& edges,
                                   unsigned figures) {
        CArray<int, int> asked;
        for (const int edge : edges)
            asked.Add(edge);
        CArray<StepSummary, StepSummary&> found;
        ASSERT_EQ(store.GetOverview(found, asked, kFirstBand, kBands, figures), 1);
        ASSERT_EQ(found.GetSize(), (asked.GetSize() - 1) * kBands);
        const int first = edges.front(), count = edges.back() - first;
        std::vector<double> values(static_cast<std::size_t>(count) * kBands);
        ASSERT_EQ(store.GetStoredData(values.data(), first, count, kFirstBand, kBands, nullptr),
                  count);
        for (int at = 0; at < found.GetSize(); ++at) {
            const auto step = static_cast<std::size_t>(at / kBands);
            Plain plain;
            for (int period = edges[step]; period < edges[step + 1]; ++period) {
                const double value =
                    values[static_cast<std::size_t>((period - first) * kBands + at % kBands)];
                if (std::isnan(value)) continue;
                plain.values.push_back(value);
                plain.periods.push_back(period);
            }
            SCOPED_TRACE(std::to_string(edges[step]) + " to " + std::to_string(edges[step + 1]));
            ExpectEqual(found[at], plain, figures);
        }
    }

    static void ExpectAsFromValues(Mersola& store, Random& random, int end) {
        for (const unsigned figures : {0U, kExtremePeriods, kAll}) {
            const int most = Pick(random, 1, 500);
            std::vector<int> edges{Pick(random, -300, 40)};
            while (edges.back() < end)
                edges.push_back(edges.back() + Pick(random, 0, most));
            ExpectAsFromValues(store, edges, figures);
            if (HasFailure()) return;
        }
    }
};

TEST_P(Overviews, AreThoseOfTheValuesWhateverLiesOverSealedBlocks) {
    Random random(7);
    Store store(database.ConnectString());
    const int end = database.Fewer(2000);
    ASSERT_TRUE(Open(store, Measurement(), Report(1, 1000)));
    WriteLevels(store, random, 0, end);
    Select(store);
    ExpectAsFromValues(store, random, end + 100);
    // Late, changed, lost and strange values, and one of another function.
    database.Run({"DELETE FROM MeasuredValues WHERE PeriodNo BETWEEN 128 AND 131",
                  "INSERT INTO MeasuredValues VALUES (1,130,1,1,31,99.5,'')",
                  "INSERT INTO MeasuredValues VALUES (1,131,1,1,29,NULL,'')",
                  "INSERT INTO MeasuredValues VALUES (1,70,1,2,29,120,'')",
                  "UPDATE MeasuredValues SET Value=-0.5 WHERE PeriodNo=150 AND FrqId=29",
                  "UPDATE MeasuredValues SET Status='A' WHERE PeriodNo BETWEEN 0 AND 20"});
    ASSERT_EQ(database.Ask("SELECT MAX(MeasValueId) FROM MeasValueMap"), "1");
    ExpectAsFromValues(store, random, end + 100);
    ExpectAsFromValues(store, {0, 0, 64, 128, 128, 190, end}, kAll);
}

TEST_P(Overviews, TakeRowsBesideBlocksInAndTellOfDamage) {
    if (GetParam() != "SQLitePacked") GTEST_SKIP() << "there are no blocks";
    Random random(10);
    Store store(database.ConnectString());
    ASSERT_TRUE(Open(store, Measurement(), Report(1, 1000)));
    WriteLevels(store, random, 0, 1000);
    store.dbDisconnect();
    database.Run(
        {"DROP TABLE MeasuredValues",
         "CREATE TABLE MeasuredRows (MeasValueId INTEGER NOT NULL, PeriodNo INTEGER NOT "
         "NULL, Channel INTEGER NOT NULL, FuncId INTEGER NOT NULL, FrqId INTEGER NOT NULL, "
         "Value REAL, Status TEXT COLLATE NOCASE, PRIMARY KEY (MeasValueId, Channel, "
         "FuncId, PeriodNo, FrqId)) STRICT, WITHOUT ROWID",
         "CREATE VIRTUAL TABLE MeasuredValues USING "
         "mersola_values(rows=MeasuredRows,into=rows)",
         "INSERT OR REPLACE INTO MeasuredValues VALUES (1,300,1,1,29,101,'')",
         "INSERT INTO MeasuredValues VALUES (1,1500,1,1,31,7,'')"});
    ASSERT_EQ(database.Ask("SELECT COUNT(*) FROM MeasuredRows"), "2");
    Store reader(database.ConnectString());
    Select(reader);
    ExpectAsFromValues(reader, random, 1600);
    database.Run({"UPDATE ValueBlocks SET Summary=X'0102'"});
    CArray<StepSummary, StepSummary&> found;
    EXPECT_EQ(reader.GetOverview(found, 0, 1000, 500, 29, 1), 0);
    EXPECT_NE(reader.getConnection()->GetErrors().at(0).Description.Find("summary is damaged"), -1);
    EXPECT_EQ(reader.GetOverview(found, 0, 1000, 500, 29, 1, kMeanSquares), 1);
}

TEST_P(Overviews, GoAcrossTheChain) {
    Random random(8);
    Store store(database.ConnectString());
    ASSERT_TRUE(Open(store, Measurement(), Report(1, 1000)));
    ASSERT_TRUE(store.PutFunction(nullptr, 1, 1));
    WriteLevels(store, random, 0, 150);
    MeasurementInfo later = Measurement("later", Start(190000));
    ASSERT_TRUE(store.PutMeasurement(nullptr, store.locateInstrumentId("station 1"), later));
    ReportInfo report = Report(1, 1000);
    ASSERT_TRUE(store.PutReport(nullptr, report) && store.PutFunction(nullptr, 1, 1));
    WriteLevels(store, random, 0, 300);
    database.Run({"UPDATE Reports SET noOfPeriods=150 WHERE MeasId=1",
                  "UPDATE Reports SET noOfPeriods=300 WHERE MeasId=2"});
    Store reader(database.ConnectString());
    reader.SetInstrument(reader.locateInstrumentId("station 1"));
    ASSERT_EQ(reader.SetMeasurement(kContinuousView), 1);
    ASSERT_EQ(reader.SetReport(1), 1);
    reader.SetChannel(1);
    reader.SetFunction(1);
    ExpectAsFromValues(reader, {0, 100, 170, 200, 400, 600}, kAll);
    ExpectAsFromValues(reader, {-10, 195, 450, 500}, kExtremePeriods);
}

TEST_P(Overviews, ReadNoValueWhereSummariesHoldThemAll) {
    Store store(database.WatchedString());
    ASSERT_TRUE(Open(store));
    Random random(9);
    WriteLevels(store, random, 0, 600);
    Select(store);
    TheWatch().Reset();
    CArray<StepSummary, StepSummary&> found;
    ASSERT_EQ(store.GetOverview(found, 0, 600, 250, 29, 1), 1);
    EXPECT_EQ(found.GetSize(), 3);
    EXPECT_EQ(TheWatch().statements.empty(), GetParam() == "SQLitePacked");
}

TEST_P(Overviews, RefuseWhatIsNoStepAndTellOfFailures) {
    Store store(database.WatchedString());
    ASSERT_TRUE(Open(store));
    ASSERT_TRUE(Write(store, 0, 50));
    Select(store);
    CArray<StepSummary, StepSummary&> found;
    found.SetSize(3);
    CArray<int, int> falling;
    falling.Add(5);
    EXPECT_EQ(store.GetOverview(found, falling, 30, 1), 0);
    falling.Add(4);
    EXPECT_EQ(store.GetOverview(found, falling, 30, 1), 0);
    EXPECT_EQ(store.GetOverview(found, 0, 10, 0, 30, 1), 0);
    EXPECT_EQ(store.GetOverview(found, 0, 10, 5, 30, 0), 0);
    EXPECT_EQ(store.GetOverview(found, INT32_MAX, 10, 5, 30, 1), 0);
    EXPECT_TRUE(found.IsEmpty());
    TheWatch().FailOn("MeasuredValues");
    EXPECT_EQ(store.GetOverview(found, 0, 10, 5, 30, 1, kMeanSquares), 0);
    EXPECT_TRUE(found.IsEmpty());
    store.dbDisconnect();
    EXPECT_EQ(store.GetOverview(found, 0, 10, 5, 30, 1), 0);
}

INSTANTIATE_ON_EVERY_ENGINE(Overviews);

}  // namespace
}  // namespace mersola::test
