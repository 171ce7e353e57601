// The values of a report, from one database to the other and compared, in blocks of whole periods.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "copy_names.h"
#include "copy_side.h"

namespace mersola::tool {

/// One value, in the order of the key that it is stored under.
struct StoredValue {
    std::int32_t channel;
    std::int32_t function;  ///< by its number in the target
    std::int32_t period;
    std::int32_t band;
    std::optional<double> value;
    std::optional<std::string> status;

    bool operator==(const StoredValue&) const = default;
};

/// A report by its identifiers.
struct ReportPlace {
    std::int32_t group, meas, report;
};

/// The statement that raises a report's count of periods, which never shrinks.
std::string RaisedPeriods(const ReportPlace& place, std::int64_t periods);

/// A report on both sides.
struct ReportEnds {
    Side& from;
    Side& to;
    const CopiedNames& names;
    std::int32_t fromKey, toKey;  ///< of the values
    ReportPlace place;            ///< in the target
    std::int32_t counted;         ///< periods by the source's own count
};

/// The periods that a copy brings over: those that the source held when it was asked.
struct CopiedPeriods {
    std::int32_t first, last;
    std::int64_t inLast;  ///< values of the last period, which may still be recorded
};

/// Nothing when the source has no values under the key.
std::optional<CopiedPeriods> PeriodsOf(Side& from, std::int32_t key);

/// Told after each block: up to which period everything is done, and how many values that took.
using Advanced = std::function<void(std::int32_t period, std::int64_t values)>;

/// Adds the values that the target lacks, each block with its count of periods or not at all. What
/// is there already is found by counting, so that a copy goes on quickly where an earlier one
/// stopped. Raises Failure.
void CopyValues(const ReportEnds& ends, const CopiedPeriods& periods, const Advanced& advanced);

/// The step to which packed values are rounded as they are stored; empty: they are not.
std::string ResolutionOf(Side& side);

/// Compares value by value. Raises Failure, which names the place, for a difference; values that
/// came to the last period since it was copied make none, and rounding in the target none either.
void VerifyValues(const ReportEnds& ends, const CopiedPeriods& periods, const Advanced& advanced);

}  // namespace mersola::tool
