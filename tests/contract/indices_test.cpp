// Indices against numbers that others published, and against what follows from their definitions.
#include <algorithm>
#include <cmath>
#include <random>

#include "indices/distribution.h"
#include "support/store.h"

namespace mersola::test {
namespace {

// tests/test_descriptors.py of the project python-acoustics has these levels and results.
constexpr double kSix[]{80, 80.3, 80.6, 80.4, 79.7, 76.9};
constexpr double kLeqOfSix = 79.806989166, kExposureOfSix = 87.588501670;

TEST(Formulas, GiveThePublishedLevels) {
    EXPECT_NEAR(DayEveningNightLevel(80, 65, 45), 77.14095579, 1e-8);
    EXPECT_NEAR(DayEveningNightLevel(70, 55, 55), 67.93843392, 1e-8);
    EXPECT_NEAR(SoundExposureLevel(kLeqOfSix, 6), kExposureOfSix, 1e-8);
    // 10 lg of (12 + 4 x 3.1623 + 8 x 10) / 24 above the level that never changes.
    EXPECT_NEAR(DayEveningNightLevel(60, 60, 60), 66.3952, 1e-4);
    EXPECT_NEAR(DayEveningNightLevel(60, 60, 60, {6, 18, 22}), 66.3952, 1e-4);
    EXPECT_NEAR(DayEveningNightLevel(50, 45, 40, {8, 12, 20}), 50, 1e-12);
    EXPECT_TRUE(std::isnan(DayEveningNightLevel(60, NAN, 60)));
    EXPECT_TRUE(std::isnan(DayEveningNightLevel(60, 60, 60, {7, 7, 23})));
}

TEST(Functions, SayByTheirNamesWhatTheyHold) {
    const auto expect = [](std::optional<ValueKind> kind,
                           std::initializer_list<const char*> names) {
        for (const char* name : names)
            EXPECT_EQ(ValueKindOf(name), kind) << name;
    };
    expect(ValueKind::Level, {"Leq", "LAeq", "laeq,1s", "LZFeq", "LCeq T"});
    expect(ValueKind::ExtremeLevel, {"Lmax", "LAFmax", "LASMIN", "LCpeak"});
    expect(ValueKind::Percentile, {"L10", "LA90", "LAF99.9"});
    expect(ValueKind::Arithmetic, {"Temperature", "wind speed"});
    expect(ValueKind::RootMeanSquare, {"v rms", "aRMS"});
    expect({}, {"", "L", "LA", "Lequal", "Level", "L.", "L1a", "LAE", "KBF", "Vibration", "xLeq"});
}

TEST(Steps, EndWhereTheCalendarSays) {
    const CTimeEx time(2028, 2, 29, 13, 30, 0);  // a Tuesday
    const auto bounds = [](const CTimeEx& of, IndexStep step) {
        return std::string(StepBefore(of, step).ToText().View()).substr(0, 13) + " to " +
               std::string(StepBehind(of, step).ToText().View()).substr(0, 13);
    };
    EXPECT_EQ(bounds(time, IndexStep::Hour), "2028,02,29,13 to 2028,02,29,14");
    EXPECT_EQ(bounds(time, IndexStep::Day), "2028,02,29,00 to 2028,03,01,00");
    EXPECT_EQ(bounds(time, IndexStep::Week), "2028,02,28,00 to 2028,03,06,00");
    EXPECT_EQ(bounds(time, IndexStep::Month), "2028,02,01,00 to 2028,03,01,00");
    EXPECT_EQ(bounds(time, IndexStep::Year), "2028,01,01,00 to 2029,01,01,00");
    EXPECT_EQ(bounds(CTimeEx(1969, 12, 28, 23, 0, 0), IndexStep::Week),
              "1969,12,22,00 to 1969,12,29,00");
    EXPECT_EQ(bounds(CTimeEx(2029, 1, 1, 0, 0, 0), IndexStep::Year),
              "2029,01,01,00 to 2029,01,01,00");
}

TEST(Shares, AreNearlyExactOfMillionsOfValuesToo) {
    Distribution distribution;
    constexpr int kCount = 1200001;
    for (int i = 0; i < kCount; ++i)  // each once, from -20 to 100, in no order
        distribution.Add(static_cast<double>(std::int64_t{i} * 700001 % kCount) / 10000 - 20);
    for (const double share : {0.0, 0.1, 37.0, 90.0, 100.0}) {
        const double exact = 100 - 1.2 * share;
        EXPECT_NEAR(distribution.ExceededFor(share), exact, std::abs(exact) * 4e-5) << share;
    }
    distribution.Clear();
    distribution.Add(7);
    EXPECT_EQ(distribution.ExceededFor(50), 7);
}

class ComputedIndices : public Contract {
  protected:
    static constexpr int kPerHour = 6;  // periods of ten minutes
    // Midnight before the measurement, which begins at 10:00.
    static CTimeEx Midnight(int days = 0) {
        return Start() + CTimeSpanEx((days * 24 - 10) * 3600000);
    }

    // Levels by the hour of the clock since that midnight; NaN: none.
    template <class Level>
    void Record(int hours, Level level) {
        ASSERT_TRUE(Open(store, Measurement("noise", Start()), Report(1, 3600000 / kPerHour)));
        ASSERT_TRUE(WriteBatch(store, (hours - 10) * kPerHour,
                               [&](int period) { return level(10 + period / kPerHour, period); }));
        Select(store);
    }
    std::vector<IndexRow> Rows(IndexRequest request) {
        request.band = 30;
        std::vector<IndexRow> rows;
        EXPECT_EQ(store.GetIndices(rows, request), 1);
        return rows;
    }

    Store store{database.ConnectString()};
};

TEST_P(ComputedIndices, AreThePublishedOnes) {
    // 60 dB for half an hour, 90 dB for a quarter, 75 dB for half an hour: 83.28 dB, says an
    // examination in civil engineering (GATE).
    ASSERT_TRUE(Open(store, Measurement(), Report(1, 900000)));
    for (int period = 0; const double level : {60, 60, 90, 75, 75})
        ASSERT_TRUE(Write(store, period++, level));
    Select(store);
    IndexRequest request;
    request.from = Start();
    request.to = Start(75 * 60000);
    request.step = IndexStep::Whole;
    EXPECT_NEAR(Rows(request).at(0).mean.value, 83.28, 0.005);
    for (int period = 5; const double level : kSix)
        ASSERT_TRUE(Write(store, period++, level));
    request.from = request.to;
    request.to = Start(11 * 15 * 60000);
    const IndexRow row = Rows(request).at(0);
    EXPECT_NEAR(row.mean.value, kLeqOfSix, 1e-5);
    EXPECT_EQ(row.mean.coverage, 1);
    EXPECT_EQ(row.greatest.value, 80.6);
    EXPECT_EQ((row.greatestAt - Start(7 * 15 * 60000)).GetTotalMilliseconds(), 0);
    EXPECT_EQ(row.leastAt.ToText(), Start(10 * 15 * 60000).ToText());
}

TEST_P(ComputedIndices, CoverAnHourThatPeriodsDoNotDivideAllTheSame) {
    ASSERT_TRUE(Open(store, Measurement(), Report(1, 11 * 60000)));
    for (int period = 0; period < 30; ++period) {
        if (period == 13) continue;
        ASSERT_TRUE(Write(store, period, 60));
    }
    Select(store);
    IndexRequest request;
    request.from = StepBefore(Start(), IndexStep::Hour) + CTimeSpanEx(3600000);
    request.to = request.from + CTimeSpanEx(4 * 3600000);
    request.step = IndexStep::Hour;
    int complete = 0;
    for (const IndexRow& row : Rows(request)) {
        complete += row.mean.coverage == 1;
        EXPECT_GE(row.mean.coverage, 0.8 - 1e-9);
    }
    EXPECT_EQ(complete, 3);
}

TEST_P(ComputedIndices, GiveTheNightToTheDayInWhichItBegan) {
    // Days of 60 dB and evenings of 55 dB; the first night has 50 dB, and the second one 53.01,
    // which is double the energy.
    const double doubled = 50 + 10 * std::log10(2.0);
    Record(24 + 24 + 7, [&](int hour, int) {
        const int clock = hour % 24;
        if (clock >= 7) return clock < 19 ? 60.0 : clock < 23 ? 55.0 : hour < 24 ? 50.0 : doubled;
        return hour < 24 + 7 ? 50.0 : doubled;
    });
    IndexRequest request;
    request.from = Midnight();
    request.to = Midnight(2);
    const auto days = Rows(request);
    ASSERT_EQ(days.size(), 2U);
    EXPECT_NEAR(days[0].day.value, 60, 1e-5);
    EXPECT_NEAR(days[0].day.coverage, 9 / 12.0, 1e-9);
    EXPECT_NEAR(days[0].night.value, 50, 1e-5);
    EXPECT_NEAR(days[0].dayEveningNight.value, 60, 1e-5) << "each part counts alike";
    EXPECT_NEAR(days[0].dayEveningNight.coverage, 21 / 24.0, 1e-9);
    EXPECT_NEAR(days[1].night.value, 53.0103, 1e-4);
    EXPECT_EQ(days[1].night.coverage, 1);
    EXPECT_NEAR(days[0].mean.coverage, 14 / 24.0, 1e-9);

    request.step = IndexStep::Whole;
    const IndexRow both = Rows(request).at(0);
    EXPECT_NEAR(both.night.value, 50 + 10 * std::log10(1.5), 1e-4);
    EXPECT_NEAR(both.day.coverage, 21 / 24.0, 1e-9);

    request.step = IndexStep::Day;
    request.leastCoverage = 0.76;
    const auto left = Rows(request);
    EXPECT_TRUE(std::isnan(left[0].day.value) && std::isnan(left[0].dayEveningNight.value));
    EXPECT_TRUE(std::isnan(left[0].greatest.value) && !left[0].greatestAt.IsValid());
    EXPECT_NEAR(left[0].night.value, 50, 1e-5);
    EXPECT_NEAR(left[1].dayEveningNight.value, DayEveningNightLevel(60, 55, doubled), 1e-4);

    request.hours = {6, 18, 22};
    EXPECT_NEAR(Rows(request)[1].day.value, 10 * std::log10((1e5 + 11e6) / 12), 1e-4);
    request.step = IndexStep::Hour;
    const auto hours = Rows(request);
    ASSERT_EQ(hours.size(), 48U);
    EXPECT_NEAR(hours[10].mean.value, 60, 1e-5);
    EXPECT_TRUE(std::isnan(hours[9].mean.value) && std::isnan(hours[20].day.value));
}

TEST_P(ComputedIndices, CountWhatRoseAboveAndWhatWasExceededForAShare) {
    std::mt19937 random(3);
    std::vector<double> above, levels;
    Record(34, [&](int, int period) {
        const double level = period % 50 == 7 ? NAN : static_cast<int>(random() % 500) / 10.0 + 30;
        levels.push_back(level);
        return level;
    });
    IndexRequest request;
    request.from = Midnight();
    request.to = Midnight() + CTimeSpanEx(34 * 3600000);
    request.step = IndexStep::Whole;
    request.threshold = 60;
    request.percentages = {0, 10, 50, 100};
    const IndexRow row = Rows(request).at(0);
    int rises = 0, periods = 0;
    bool wasAbove = false;
    for (const double level : levels) {
        rises += level > 60 && !wasAbove;
        periods += wasAbove = level > 60;
    }
    EXPECT_EQ(row.exceedances.value, rises);
    EXPECT_EQ(row.secondsAbove.value, periods * 600);
    std::erase_if(levels, [](double level) { return std::isnan(level); });
    std::ranges::sort(levels, std::greater());
    EXPECT_EQ(row.percentiles[0].value, levels.front());
    EXPECT_EQ(row.percentiles[3].value, levels.back());
    for (const auto& [at, share] : {std::pair(1, 0.1), {2, 0.5}}) {
        const double place = share * static_cast<double>(levels.size() - 1);
        const auto rank = static_cast<std::size_t>(place);
        EXPECT_NEAR(row.percentiles[static_cast<std::size_t>(at)].value,
                    levels[rank] + (levels[rank + 1] - levels[rank]) * (place - std::floor(place)),
                    1e-9);
    }
    request.threshold.reset();
    request.percentages.clear();
    request.kind = ValueKind::Arithmetic;
    double sum = 0, squares = 0;
    for (const double level : levels) {
        sum += level;
        squares += level * level;
    }
    const auto count = static_cast<double>(levels.size());
    EXPECT_NEAR(Rows(request)[0].mean.value, sum / count, 1e-5);
    EXPECT_TRUE(std::isnan(Rows(request)[0].day.value));
    request.kind = ValueKind::RootMeanSquare;
    EXPECT_NEAR(Rows(request)[0].mean.value, std::sqrt(squares / count), 1e-9);
}

TEST_P(ComputedIndices, AreRefusedWhereTheyMakeNoSense) {
    Record(11, [](int, int) { return 60; });
    IndexRequest good;
    good.from = Midnight();
    good.to = Midnight(1);
    std::vector<IndexRow> rows;
    const auto expectRefused = [&](auto change) {
        IndexRequest request = good;
        change(request);
        rows.emplace_back();
        EXPECT_EQ(store.GetIndices(rows, request), 0);
        EXPECT_TRUE(rows.empty());
    };
    expectRefused([](IndexRequest& request) { request.to = request.from; });
    expectRefused([](IndexRequest& request) { request.from = CTimeEx(2026, 2, 30, 0, 0, 0); });
    expectRefused([](IndexRequest& request) { request.hours = {7, 23, 19}; });
    expectRefused([](IndexRequest& request) { request.percentages = {50, 100.1}; });
    expectRefused([](IndexRequest& request) { request.threshold = NAN; });
    expectRefused([](IndexRequest& request) {
        request.kind = ValueKind::Percentile;
        request.percentages = {10};
    });
    Store watched(database.WatchedString());
    Select(watched);
    good.threshold = 50;
    good.band = 30;
    TheWatch().FailOn("MIN(PeriodNo)");
    EXPECT_EQ(watched.GetIndices(rows, good), 0) << "not an hour without exceedances";
    TheWatch().Reset();
    EXPECT_EQ(watched.GetIndices(rows, good), 1);
    store.dbDisconnect();
    expectRefused([](IndexRequest&) {});
}

INSTANTIATE_ON_EVERY_ENGINE(ComputedIndices);

}  // namespace
}  // namespace mersola::test
