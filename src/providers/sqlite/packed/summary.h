// The figures that stand beside a block, from which overviews are drawn.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "block.h"

namespace mersola::packed {

/// Of the finite values of a band whose status does not begin with 'A'. Without any, count and
/// figures are 0.
struct BandSummary {
    std::int32_t band = 0;
    std::uint32_t count = 0;
    double least = 0;  // exact, as is the greatest
    double greatest = 0;
    double mean = 0;        // this and the next within 0.00001
    double energyMean = 0;  // of levels in dB
};

/// Whether values with this status are not counted.
bool IsInvalid(const std::optional<std::string>& status);

/// Encodes the summary of a block, of which the values may have been rounded.
void EncodeSummary(const Series& series, const SeriesBlock& block, std::span<const double> values,
                   std::string& summary);

/// Decodes the summary that EncodeBlock made for this series and the block that the period lies
/// in: one for each band, ascending. Raises DamagedBlock.
void DecodeSummary(const Series& series, std::int32_t period, std::span<const std::byte> data,
                   std::vector<BandSummary>& out);

}  // namespace mersola::packed
