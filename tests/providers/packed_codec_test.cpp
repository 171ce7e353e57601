#include <algorithm>
#include <bit>
#include <cmath>
#include <fstream>
#include <functional>
#include <iterator>

#include <gtest/gtest.h>

#include "packed/overlay.h"
#include "packed/summary.h"
#include "support/packed_samples.h"

namespace mersola::packed {

// Of numbers, the bits: -0 is not 0, and NaN is NaN.
static bool Same(const std::vector<double>& a, const std::vector<double>& b) {
    return std::ranges::equal(
        a, b, {}, [](double v) { return std::bit_cast<std::uint64_t>(v); },
        [](double v) { return std::bit_cast<std::uint64_t>(v); });
}

bool operator==(const SeriesBlock& a, const SeriesBlock& b) {
    return a.firstPeriod == b.firstPeriod && a.periods == b.periods && a.bands == b.bands &&
           Same(a.values, b.values) && a.states == b.states && a.statusOf == b.statusOf &&
           a.statuses == b.statuses;
}

bool operator==(const PeriodValue& a, const PeriodValue& b) {
    return a.channel == b.channel && a.funcId == b.funcId && a.frqId == b.frqId &&
           a.isNull == b.isNull && Same({a.value}, {b.value}) && a.status == b.status;
}

namespace {

constexpr Series kSeries{7, 2, 3};

std::span<const std::byte> Bytes(const std::string& text) {
    return std::as_bytes(std::span(text));
}

/// The bands from first up to and without end. NULLs may lie outside.
SeriesBlock Part(const SeriesBlock& block, std::size_t first, std::size_t end) {
    const auto periods = static_cast<std::size_t>(block.periods);
    const auto cut = [](auto& cells, std::size_t from, std::size_t to) {
        if (cells.empty()) return;
        cells = {cells.begin() + static_cast<std::ptrdiff_t>(from),
                 cells.begin() + static_cast<std::ptrdiff_t>(to)};
    };
    SeriesBlock part = block;
    cut(part.bands, first, end);
    cut(part.values, first * periods, end * periods);
    cut(part.states, first * periods, end * periods);
    cut(part.statusOf, first * periods, end * periods);
    return part;
}

BandSummary Summary(const SeriesBlock& block, std::size_t band) {
    BandSummary summary{block.bands[band]};
    long double sum = 0, energy = 0;
    const auto periods = static_cast<std::size_t>(block.periods);
    for (std::size_t cell = band * periods; cell < (band + 1) * periods; ++cell) {
        const double value = block.values[cell];
        const auto& status = block.statuses[block.statusOf.empty() ? 0 : block.statusOf[cell]];
        if ((!block.states.empty() && block.states[cell] != kNumber) || !std::isfinite(value))
            continue;
        if (status && status->starts_with('A')) continue;
        summary.least = summary.count ? std::min(summary.least, value) : value;
        summary.greatest = summary.count ? std::max(summary.greatest, value) : value;
        ++summary.count;
        sum += value;
        energy += std::pow(10.0L, static_cast<long double>(value) / 10);
    }
    summary.mean = static_cast<double>(sum / summary.count);
    summary.energyMean = static_cast<double>(10 * std::log10(energy / summary.count));
    return summary;
}

TEST(PackedBlock, ReadsBackBitForBit) {
    SeriesBlock whole, part;  // reused, as readers do
    for (unsigned seed = 1; seed <= 1000; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937_64 random(seed);
        const SeriesBlock block = RandomBlock(random);
        std::string data, summary;
        EncodeBlock(kSeries, block, 0, data, summary);
        const std::int32_t period = block.firstPeriod + block.periods - 1;
        DecodeBlock(kSeries, period, Bytes(data), whole);
        ASSERT_TRUE(whole == block);

        const std::size_t first = random() % block.bands.size();
        const std::size_t end = first + 1 + random() % (block.bands.size() - first);
        DecodeBlock(kSeries, period, Bytes(data), block.bands[first],
                    std::int64_t{block.bands[end - 1]} + 1, part);
        ASSERT_TRUE(part == Part(block, first, end));
        DecodeBlock(kSeries, period, Bytes(data), -5, -5, part);
        ASSERT_TRUE(part.bands.empty() && part.values.empty());
    }
}

TEST(PackedBlock, SumsUpWhatIsValidAndFinite) {
    std::vector<BandSummary> summaries;
    for (unsigned seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937_64 random(seed);
        const SeriesBlock block = RandomBlock(random);
        std::string data, summary;
        EncodeBlock(kSeries, block, 0, data, summary);
        DecodeSummary(kSeries, block.firstPeriod, Bytes(summary), summaries);
        ASSERT_EQ(summaries.size(), block.bands.size());
        for (std::size_t band = 0; band < summaries.size(); ++band) {
            const BandSummary expected = Summary(block, band);
            ASSERT_EQ(summaries[band].band, expected.band);
            ASSERT_EQ(summaries[band].count, expected.count);
            if (expected.count == 0) continue;
            ASSERT_EQ(summaries[band].least, expected.least);
            ASSERT_EQ(summaries[band].greatest, expected.greatest);
            if (std::max(std::abs(expected.least), std::abs(expected.greatest)) > 1e4)
                continue;  // no levels
            ASSERT_NEAR(summaries[band].mean, expected.mean, 1e-5);
            ASSERT_NEAR(summaries[band].energyMean, expected.energyMean, 1e-5);
        }
    }
}

TEST(PackedPeriod, ReadsBackBitForBit) {
    PeriodRow read;
    for (unsigned seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937_64 random(seed);
        const PeriodRow row = RandomPeriod(random);
        std::string data;
        EncodePeriod(7, -5, row, data);
        DecodePeriod(7, -5, Bytes(data), read);
        ASSERT_TRUE(read.values == row.values && read.statuses == row.statuses);

        const PeriodValue& one = row.values[random() % row.values.size()];
        std::vector<PeriodValue> expected;
        std::ranges::copy_if(row.values, std::back_inserter(expected),
                             [&](const PeriodValue& value) {
                                 return value.channel == one.channel && value.funcId == one.funcId;
                             });
        DecodePeriod(Series{7, one.channel, one.funcId}, -5, Bytes(data), read);
        ASSERT_TRUE(read.values == expected && read.statuses == row.statuses);
        DecodePeriod(Series{7, 99, 1}, -5, Bytes(data), read);
        ASSERT_TRUE(read.values.empty());
    }
}

TEST(PackedBytes, AreRefusedWithAByteChangedOrMissingAndUnderAnotherKey) {
    std::mt19937_64 random(5);
    const SeriesBlock block = RandomBlock(random);
    std::string data, summary, row;
    EncodeBlock(kSeries, block, 0, data, summary);
    EncodePeriod(7, block.firstPeriod, RandomPeriod(random), row);
    const std::int32_t period = block.firstPeriod;
    SeriesBlock read;
    std::vector<BandSummary> summaries;
    PeriodRow readRow;
    using Decode = std::function<void(const Series&, std::int32_t, const std::string&)>;
    const std::pair<std::string, Decode> kinds[] = {
        {data, [&](auto& key, auto at, auto& bytes) { DecodeBlock(key, at, Bytes(bytes), read); }},
        {summary,
         [&](auto& key, auto at, auto& bytes) { DecodeSummary(key, at, Bytes(bytes), summaries); }},
        {row, [&](auto& key, auto at, auto& bytes) {
             DecodePeriod(key.measValueId, at, Bytes(bytes), readRow);
         }}};
    for (const auto& [bytes, decode] : kinds) {
        ASSERT_NO_THROW(decode(kSeries, period, bytes));
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            std::string damaged = bytes;
            damaged[i] =
                static_cast<char>(static_cast<unsigned char>(damaged[i]) ^ (1 + random() % 255));
            ASSERT_THROW(decode(kSeries, period, damaged), DamagedBlock) << i;
            ASSERT_THROW(decode(kSeries, period, bytes.substr(0, i)), DamagedBlock) << i;
        }
        EXPECT_THROW(decode(kSeries, period + kBlockPeriods, bytes), DamagedBlock);
        EXPECT_THROW(decode({8, 2, 3}, period, bytes), DamagedBlock);
    }
    EXPECT_THROW(DecodeBlock({7, 3, 3}, period, Bytes(data), read), DamagedBlock);
    EXPECT_THROW(DecodeBlock({7, 2, 2}, period, Bytes(data), read), DamagedBlock);
    EXPECT_THROW(DecodeBlock(kSeries, period, Bytes(summary), read), DamagedBlock);
}

/// 36 bands around 50 dB with some silence.
SeriesBlock Levels(const std::function<double(double)>& stored) {
    std::mt19937_64 random(1);
    SeriesBlock block;
    block.periods = kBlockPeriods;
    block.statuses = {std::nullopt};
    for (std::int32_t band = 0; band < 36; ++band) {
        block.bands.push_back(band);
        std::normal_distribution levels(45.0 + band / 3, 4.0);
        for (int period = 0; period < kBlockPeriods; ++period) {
            block.values.push_back(random() % 50 ? stored(levels(random)) : -100);
        }
    }
    return block;
}

TEST(PackedBlock, TakesFewBytes) {
    const auto decimals = [](double power) {
        return [=](double level) { return std::round(level * power) / power; };
    };
    const auto size = [](const std::function<double(double)>& stored, double resolution = 0) {
        std::string data, summary;
        EncodeBlock(kSeries, Levels(stored), resolution, data, summary);
        return static_cast<double>(data.size() + summary.size()) / (36 * kBlockPeriods);
    };
    const auto asItIs = [](double level) { return level; };
    EXPECT_LT(size(asItIs), 7.3);
    EXPECT_LT(size(decimals(1e6)), 3.8);
    EXPECT_LT(size([](double level) { return static_cast<float>(level); }), 3.5);
    EXPECT_LT(size(decimals(10)), 1.4);
    EXPECT_LT(size([&](double level) { return static_cast<float>(decimals(10)(level)); }), 1.4);
    EXPECT_LT(size(asItIs, 0.01), 1.9);
    EXPECT_LT(size([](double level) { return level > 50 ? 61.123456789012 : 43.98765432109; }),
              0.5);
}

TEST(PackedBlock, RoundsToAResolution) {
    const auto rounded = [](double value, double resolution) {
        SeriesBlock block{0, 1, {1}, {value}, {}, {}, {std::nullopt}};
        std::string data, summary;
        EncodeBlock(kSeries, block, resolution, data, summary);
        DecodeBlock(kSeries, 0, Bytes(data), block);
        return block.values[0];
    };
    EXPECT_EQ(rounded(54.3249, 0.01), 54.32);
    EXPECT_EQ(rounded(-54.3251, 0.01), -54.33);
    EXPECT_EQ(rounded(54.37, 0.25), 54.25);
    EXPECT_EQ(rounded(0.1 + 0.2, 0.1), 0.3);
    EXPECT_EQ(rounded(1e300, 0.01), 1e300);
    EXPECT_EQ(rounded(-100, 3), -100);
    EXPECT_FALSE(std::signbit(rounded(-0.001, 0.01)));
    EXPECT_TRUE(std::isinf(rounded(HUGE_VAL, 0.01)));
    EXPECT_TRUE(IsResolution(0.000001));
    for (const double none : {0.0, -0.01, 1e-7, 1.0 / 3, HUGE_VAL, std::nan("")}) {
        EXPECT_FALSE(IsResolution(none)) << none;
    }
}

TEST(PackedBlock, KeepsStatusesThatItsWriterListedTwice) {
    SeriesBlock block;
    block.periods = 1;
    block.bands = {1, 2};
    block.values = {1, 2};
    block.statuses = {"a", "a", "b"};
    block.statusOf = {1, 2};
    Overlay(block, {});
    EXPECT_EQ(StatusAt(block, 0), "a");
    EXPECT_EQ(StatusAt(block, 1), "b");
}

TEST(PackedBlock, IsNotMadeOfWhatIsNone) {
    std::string data, summary;
    const SeriesBlock good{5, 1, {1, 2}, {1, 2}, {}, {}, {std::nullopt}};
    const auto refuses = [&](const std::function<void(SeriesBlock&)>& spoil) {
        SeriesBlock block = good;
        spoil(block);
        EXPECT_THROW(EncodeBlock(kSeries, block, 0, data, summary), std::invalid_argument);
    };
    refuses([](auto& block) { block.firstPeriod = -1, block.periods = 2; });
    refuses([](auto& block) { block.bands = {2, 2}; });
    refuses([](auto& block) { block.values.pop_back(); });
    refuses([](auto& block) { block.statuses.clear(); });
    refuses([](auto& block) { block.statusOf = {0, 1}; });
    const PeriodValue value{1, 1, 1};
    EXPECT_THROW(EncodePeriod(1, 1, {{value, value}, {std::nullopt}}, data), std::invalid_argument);
}

}  // namespace
}  // namespace mersola::packed
