// Names for the numbers with a special meaning that operations take or return.
#pragma once

#include <cstdint>

namespace mersola {

/// No identifier. An operation that finds none returns it, and it stands for a selection of
/// nothing.
inline constexpr std::int32_t kNone = -1;

/// As an argument: the instrument, measurement, report or channel that is selected.
inline constexpr std::int32_t kSelected = -1;

/// As an argument: all measurements of an instrument.
inline constexpr std::int32_t kAllMeasurements = -2;

/// The identifier by which SetMeasurement selects the continuous view.
inline constexpr std::int32_t kContinuousView = -3;

/// The mode of an object that reads one measurement; kContinuousView is the other mode.
inline constexpr std::int32_t kNormalView = -2;

/// A missing value reads as this number. It is exact as a float, too.
inline constexpr double kMissingValue = -100.0;

/// The status by which GetStoredData tells that nothing is stored. No text begins with this byte.
inline constexpr char kNotStored = '\xff';

/// The time-out that leaves the defaults in force.
inline constexpr std::int32_t kDefaultTimeout = -1;

/// What GetOverview finds out only if it is asked to, since it has to read values for it.
inline constexpr unsigned kExtremePeriods = 1;  ///< when the least and the greatest values were
inline constexpr unsigned kMeanSquares = 2;     ///< the means of the squares

/// A recording must start less than this many days from now.
inline constexpr int kMostDaysFromNow = 3650;

/// GetVersion returns these beside 1 and 0.
inline constexpr int kNoVersionHistory = -1;  ///< the database has no version history
inline constexpr int kNoInstruments = -2;     ///< no instruments either: it is not laid out
inline constexpr int kNoAnswer = -3;          ///< there is no connection, or a statement failed

}  // namespace mersola
