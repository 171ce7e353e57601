#include "summary.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "bands.h"
#include "bytes.h"
#include "checksum.h"
#include "column_codec.h"

namespace mersola::packed {
namespace {

constexpr unsigned kVersion = 1;

// Bands go in groups: of each, five columns hold a figure of all bands.
constexpr std::size_t kGroup = kMostInColumn;

const double kPowerOfDecibel = std::log(10.0) / 10;

Key KeyOf(const Series& series, std::int32_t period) {
    return {Content::kSummary, series.measValueId, series.channel, series.funcId, BlockOf(period)};
}

/// A mean takes less room with five places; one of huge values is what it is.
double Shortened(double mean) {
    const double units = std::round(mean * 1e5);
    return std::abs(units) < 0x1p51 ? (units + 0.0) / 1e5 : mean;
}

BandSummary Summarise(std::int32_t band, std::span<const double> counted) {
    BandSummary summary{band};
    if (counted.empty()) return summary;
    summary.count = static_cast<std::uint32_t>(counted.size());
    const auto [least, greatest] = std::ranges::minmax(counted);
    summary.least = least;
    summary.greatest = greatest;
    // Shares, and levels below the greatest: neither sum grows beyond what a double holds.
    const double share = 1 / static_cast<double>(counted.size());
    double mean = 0;
    double energy = 0;
    for (const double value : counted) {
        mean += value * share;
        energy += std::exp((value - greatest) * kPowerOfDecibel) * share;
    }
    summary.mean = Shortened(std::clamp(mean, least, greatest));
    summary.energyMean = Shortened(std::clamp(greatest + 10 * std::log10(energy), least, greatest));
    return summary;
}

std::vector<BandSummary> Summaries(const SeriesBlock& block, std::span<const double> values) {
    std::vector<bool> invalid;
    for (const auto& status : block.statuses)
        invalid.push_back(IsInvalid(status));
    const auto periods = static_cast<std::size_t>(block.periods);
    std::vector<BandSummary> summaries;
    std::vector<double> counted;
    for (std::size_t band = 0; band < block.bands.size(); ++band) {
        counted.clear();
        for (std::size_t cell = band * periods; cell < (band + 1) * periods; ++cell) {
            if (!block.states.empty() && block.states[cell] != kNumber) continue;
            if (invalid[block.statusOf.empty() ? 0 : block.statusOf[cell]]) continue;
            if (std::isfinite(values[cell])) counted.push_back(values[cell]);
        }
        summaries.push_back(Summarise(block.bands[band], counted));
    }
    return summaries;
}

constexpr std::array kFigures = {&BandSummary::least, &BandSummary::greatest, &BandSummary::mean,
                                 &BandSummary::energyMean};

}  // namespace

bool IsInvalid(const std::optional<std::string>& status) {
    return status && !status->empty() && status->front() == 'A';
}

void EncodeSummary(const Series& series, const SeriesBlock& block, std::span<const double> values,
                   std::string& out) {
    const auto summaries = Summaries(block, values);
    out.clear();
    PutByte(kVersion, out);
    PutVarint(summaries.size(), out);
    EncodeBands(block.bands, out);
    std::vector<double> column;
    for (std::size_t first = 0; first < summaries.size(); first += kGroup) {
        const auto group =
            std::span(summaries).subspan(first, std::min(kGroup, summaries.size() - first));
        column.clear();
        for (const auto& summary : group)
            column.push_back(summary.count);
        EncodeColumn(column, out);
        for (const auto figure : kFigures) {
            column.clear();
            for (const auto& summary : group) {
                if (summary.count > 0) column.push_back(summary.*figure);
            }
            EncodeColumn(column, out);
        }
    }
    Seal(KeyOf(series, block.firstPeriod), out);
}

void DecodeSummary(const Series& series, std::int32_t period, std::span<const std::byte> data,
                   std::vector<BandSummary>& out) {
    ByteReader reader(Unseal(KeyOf(series, period), data));
    if (reader.Byte() != kVersion) throw DamagedBlock("it is of a version that is not known");
    std::vector<std::int32_t> bands;
    // A group takes five columns, of three bytes at least where they hold anything.
    DecodeBands(reader, reader.Size(std::min(kMostCells, kGroup * reader.Left())), bands);
    out.clear();
    std::array<double, kGroup> column;
    for (std::size_t first = 0; first < bands.size(); first += kGroup) {
        const std::size_t inGroup = std::min(kGroup, bands.size() - first);
        const auto counts = std::span(column).first(inGroup);
        DecodeColumn(reader, counts);
        std::size_t counted = 0;
        for (std::size_t i = 0; i < inGroup; ++i) {
            if (!(counts[i] >= 0 && counts[i] <= kBlockPeriods)) {
                throw DamagedBlock("a count is out of range");
            }
            out.push_back({bands[first + i], static_cast<std::uint32_t>(counts[i])});
            counted += out.back().count > 0;
        }
        for (const auto figure : kFigures) {
            DecodeColumn(reader, std::span(column).first(counted));
            std::size_t next = 0;
            for (auto& summary : std::span(out).subspan(first)) {
                if (summary.count > 0) summary.*figure = column[next++];
            }
        }
    }
}

}  // namespace mersola::packed
