// What packed values take, in bytes and in time: blocks of a series, and pending rows of a period.
#include <cmath>
#include <random>

#include <benchmark/benchmark.h>

#include "packed/period_row.h"
#include "packed/summary.h"

namespace mersola::packed {
namespace {

constexpr int kBands = 36;
constexpr int kBlocks = 24;          // 4 channels x 6 functions
constexpr double kRowOverhead = 40;  // bytes of a block's two rows and their keys, about

double Decimal(double level, double power) {
    return std::round(level * power) / power;
}

struct Kind {
    const char* name;
    double (*stored)(double level);
    double resolution = 0;
};

constexpr Kind kKinds[] = {
    {"doubles", [](double level) { return level; }},
    {"six decimals", [](double level) { return Decimal(level, 1e6); }},
    {"floats", [](double level) { return double{static_cast<float>(level)}; }},
    {"one decimal", [](double level) { return Decimal(level, 10); }},
    {"one decimal as float",
     [](double level) { return double{static_cast<float>(Decimal(level, 10))}; }},
    {"doubles, resolution 0.01", [](double level) { return level; }, 0.01},
    {"-100 now and then", [](double level) { return level < 42 ? -100 : Decimal(level, 100); }},
};

/// Levels of noise: louder and softer as it goes, and of fewer degrees of freedom in low bands.
SeriesBlock Levels(const Kind& kind, int bands, std::mt19937_64& random) {
    SeriesBlock block;
    block.periods = kBlockPeriods;
    block.statuses = {std::nullopt};
    for (int band = 0; band < bands; ++band) {
        block.bands.push_back(14 + band);
        std::gamma_distribution power(1 + 0.3 * band);
        for (int period = 0; period < kBlockPeriods; ++period) {
            const double slow = 50 + 8 * std::sin(period / 20.0);
            block.values.push_back(kind.stored(slow - 0.4 * band + 10 * std::log10(power(random))));
        }
    }
    return block;
}

struct Encoded {
    std::vector<SeriesBlock> blocks;
    std::vector<std::string> data, summaries;
    std::size_t values = 0;
    std::size_t bytes = 0;
};

Encoded Blocks(const Kind& kind, int bands) {
    Encoded encoded;
    std::mt19937_64 random(1);
    for (std::int32_t i = 0; i < kBlocks; ++i) {
        encoded.blocks.push_back(Levels(kind, bands, random));
        encoded.data.emplace_back();
        encoded.summaries.emplace_back();
        EncodeBlock({1, i, 1}, encoded.blocks.back(), kind.resolution, encoded.data.back(),
                    encoded.summaries.back());
        encoded.values += encoded.blocks.back().values.size();
        encoded.bytes += encoded.data.back().size() + encoded.summaries.back().size();
    }
    return encoded;
}

std::span<const std::byte> Bytes(const std::string& text) {
    return std::as_bytes(std::span(text));
}

void Report(benchmark::State& state, std::size_t values, double bytes) {
    const auto all = static_cast<double>(values);
    state.counters["bytes/value"] = bytes / all;
    state.counters["values/s"] =
        benchmark::Counter(all, benchmark::Counter::kIsIterationInvariantRate);
}

void ReportBlocks(benchmark::State& state, const Encoded& encoded) {
    Report(state, encoded.values, static_cast<double>(encoded.bytes) + kRowOverhead * kBlocks);
}

void Encode(benchmark::State& state, const Kind& kind, int bands) {
    Encoded encoded = Blocks(kind, bands);
    for ([[maybe_unused]] auto _ : state) {
        for (std::size_t i = 0; i < encoded.blocks.size(); ++i) {
            EncodeBlock({1, static_cast<std::int32_t>(i), 1}, encoded.blocks[i], kind.resolution,
                        encoded.data[i], encoded.summaries[i]);
        }
    }
    ReportBlocks(state, encoded);
}

void Decode(benchmark::State& state, const Kind& kind, int bands) {
    const Encoded encoded = Blocks(kind, bands);
    SeriesBlock block;
    for ([[maybe_unused]] auto _ : state) {
        for (std::size_t i = 0; i < encoded.data.size(); ++i) {
            DecodeBlock({1, static_cast<std::int32_t>(i), 1}, 0, Bytes(encoded.data[i]), block);
            benchmark::DoNotOptimize(block.values.data());
        }
    }
    ReportBlocks(state, encoded);
}

void DecodeOneBand(benchmark::State& state, const Kind& kind) {
    const Encoded encoded = Blocks(kind, kBands);
    SeriesBlock block;
    for ([[maybe_unused]] auto _ : state) {
        for (std::size_t i = 0; i < encoded.data.size(); ++i) {
            DecodeBlock({1, static_cast<std::int32_t>(i), 1}, 0, Bytes(encoded.data[i]), 30, 31,
                        block);
            benchmark::DoNotOptimize(block.values.data());
        }
    }
    ReportBlocks(state, encoded);
    state.counters["values/s"] =
        benchmark::Counter(kBlocks * kBlockPeriods, benchmark::Counter::kIsIterationInvariantRate);
}

PeriodRow Period(const Kind& kind) {
    std::mt19937_64 random(1);
    PeriodRow row;
    row.statuses = {std::nullopt};
    for (std::int32_t i = 0; i < kBlocks; ++i) {
        const SeriesBlock block = Levels(kind, kBands, random);
        for (std::size_t band = 0; band < kBands; ++band) {
            row.values.push_back(
                {i / 6, i % 6, block.bands[band], false, block.values[band * kBlockPeriods], 0});
        }
    }
    return row;
}

void EncodeRow(benchmark::State& state, const Kind& kind) {
    const PeriodRow row = Period(kind);
    std::string data;
    for ([[maybe_unused]] auto _ : state)
        EncodePeriod(1, 0, row, data);
    Report(state, row.values.size(), static_cast<double>(data.size()));
}

void DecodeRow(benchmark::State& state, const Kind& kind) {
    std::string data;
    EncodePeriod(1, 0, Period(kind), data);
    PeriodRow row;
    for ([[maybe_unused]] auto _ : state)
        DecodePeriod(1, 0, Bytes(data), row);
    Report(state, row.values.size(), static_cast<double>(data.size()));
}

}  // namespace
}  // namespace mersola::packed

int main(int argc, char** argv) {
    using namespace mersola::packed;
    for (const Kind& kind : kKinds) {
        const std::string name = std::string("/") + kind.name;
        const auto add = [&](const char* what, auto run) {
            benchmark::RegisterBenchmark((what + name).c_str(), run);
        };
        add("encode", [&](auto& state) { Encode(state, kind, kBands); });
        add("decode", [&](auto& state) { Decode(state, kind, kBands); });
        add("decode one of 36 bands", [&](auto& state) { DecodeOneBand(state, kind); });
        add("decode a series of one band", [&](auto& state) { Decode(state, kind, 1); });
        add("encode a period of 864", [&](auto& state) { EncodeRow(state, kind); });
        add("decode a period of 864", [&](auto& state) { DecodeRow(state, kind); });
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
