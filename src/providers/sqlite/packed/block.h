// What a block of a packed database holds, and the bytes that it is stored as (docs/format.md).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace mersola::packed {

/// The values of one report, channel and function.
struct Series {
    std::int32_t measValueId = 0;
    std::int32_t channel = 0;
    std::int32_t funcId = 0;
};

/// Blocks end at multiples of this many periods, below zero too.
inline constexpr int kBlockPeriods = 128;

constexpr std::int32_t BlockOf(std::int32_t period) {
    return period >> 7;
}

/// No block, and no pending row, holds more cells.
inline constexpr std::size_t kMostCells = std::size_t{1} << 24;

enum CellState : std::uint8_t { kNoRow = 0, kNumber = 1, kNull = 2 };

/// A matrix of periods and bands. Its buffers are reused when one is decoded after another.
struct SeriesBlock {
    std::int32_t firstPeriod = 0;         // of the first column; all periods lie in one block
    int periods = 0;                      // 1 to kBlockPeriods
    std::vector<std::int32_t> bands;      // ascending
    std::vector<double> values;           // [band * periods + period]; 0 if not a number
    std::vector<std::uint8_t> states;     // CellState of each; empty: all are numbers
    std::vector<std::uint16_t> statusOf;  // index into statuses; empty: all are 0
    std::vector<std::optional<std::string>> statuses;  // at least one; nullopt is NULL
};

/// Bytes that are not what was encoded under this key.
struct DamagedBlock : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Whether values can be rounded to multiples of it: a decimal of up to six places above zero.
bool IsResolution(double step);

/// Encodes a block and the summary that summary.h reads. With a resolution, finite values but -100
/// become the nearest decimal multiple of it; 0 keeps every bit.
/// Raises std::invalid_argument if the block is none: see SeriesBlock, kMostCells and IsResolution.
void EncodeBlock(const Series& series, const SeriesBlock& block, double resolution,
                 std::string& data, std::string& summary);

/// Decodes what was encoded for this series and for the block that the period lies in.
/// Raises DamagedBlock; what out holds is then undefined.
void DecodeBlock(const Series& series, std::int32_t period, std::span<const std::byte> data,
                 SeriesBlock& out);

/// The same for the bands from firstBand up to and without endBand; others are skipped. Without
/// any such band, out.bands is empty.
void DecodeBlock(const Series& series, std::int32_t period, std::span<const std::byte> data,
                 std::int64_t firstBand, std::int64_t endBand, SeriesBlock& out);

}  // namespace mersola::packed
