// What was written lately: one row holds all values of a report's period.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "block.h"

namespace mersola::packed {

struct PeriodValue {
    std::int32_t channel = 0;
    std::int32_t funcId = 0;
    std::int32_t frqId = 0;
    bool isNull = false;  // then value is 0
    double value = 0;
    std::uint16_t status = 0;  // index into the statuses
};

struct PeriodRow {
    std::vector<PeriodValue> values;  // ascending by channel, function and band; none twice
    std::vector<std::optional<std::string>> statuses;  // at least one; nullopt is NULL
};

/// Encodes a row. Raises std::invalid_argument if it is none: see PeriodRow and kMostCells.
void EncodePeriod(std::int32_t measValueId, std::int32_t period, const PeriodRow& row,
                  std::string& data);

/// Decodes what was encoded for this report and period. Raises DamagedBlock; what out holds is
/// then undefined.
void DecodePeriod(std::int32_t measValueId, std::int32_t period, std::span<const std::byte> data,
                  PeriodRow& out);

/// The same for the values of one channel and function.
void DecodePeriod(const Series& series, std::int32_t period, std::span<const std::byte> data,
                  PeriodRow& out);

}  // namespace mersola::packed
