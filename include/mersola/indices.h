// Indices: what rules on noise, and on other quantities, ask of a stretch of time. docs/indices.md
// gives each formula and where it is from.
#pragma once

#include <mersola/platform/export.h>
#include <mersola/platform/text.h>
#include <mersola/times.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

namespace mersola {

/// What the values of a function are, and so what can be made of them.
enum class ValueKind {
    Level,           ///< equivalent levels in dB, whose mean is that of their energies
    ExtremeLevel,    ///< greatest or least levels of each period: there is no mean of them
    Percentile,      ///< levels exceeded for a share of each period: nothing is made of them
    Arithmetic,      ///< quantities with an arithmetic mean, such as temperatures
    RootMeanSquare,  ///< quantities whose squares are averaged, such as vibration velocities
};

/// What a function's name says of its values, without regard to case. Levels begin with L, perhaps
/// a frequency weighting, and perhaps a time weighting, and then are equivalent ("LAeq", "Leq,1s"),
/// extreme ("LAFmax", "Lmin", "LCpeak") or percentiles ("L10", "LAF99.9"). "Temperature",
/// "Humidity", "Wind speed" and "Air pressure" are arithmetic; a name that ends in "rms" is of
/// root mean squares. Any other name says nothing.
MERSOLA_EXPORT std::optional<ValueKind> ValueKindOf(const CString& functionName);

/// The full hours at which the parts of a day begin. The night ends where the next day begins.
struct DayParts {
    int day = 7;       ///< from 0
    int evening = 19;  ///< behind `day`
    int night = 23;    ///< behind `evening`, before 24

    /// Whether these hours make a day.
    bool IsValid() const { return 0 <= day && day < evening && evening < night && night < 24; }
};

/// Lden: the mean over the day of the levels of its parts, with 5 dB for the evening and 10 dB for
/// the night. NaN where a part is NaN or the hours are not valid.
MERSOLA_EXPORT double DayEveningNightLevel(double day, double evening, double night,
                                           const DayParts& hours = {});

/// LE: the level of one second with the energy of `seconds` of an equivalent level.
MERSOLA_EXPORT double SoundExposureLevel(double equivalentLevel, double seconds);

/// A figure of a stretch of time.
struct Index {
    double value = std::numeric_limits<double>::quiet_NaN();  ///< NaN where it is left out
    double coverage = 0;  ///< the share of its time that had values, from 0 to 1
};

/// How long the times are that get a row of indices each. Days begin at midnight, weeks on Monday.
enum class IndexStep { Hour, Day, Week, Month, Year, Whole };

/// The last boundary of such steps at a time or before it, and the first one at the time or behind
/// it; the time itself for IndexStep::Whole.
MERSOLA_EXPORT CTimeEx StepBefore(const CTimeEx& time, IndexStep step);
MERSOLA_EXPORT CTimeEx StepBehind(const CTimeEx& time, IndexStep step);

/// Which indices are asked for. Times are local times of the measurement.
struct IndexRequest {
    CTimeEx from;                          ///< where the first row begins
    CTimeEx to;                            ///< where the last one ends
    IndexStep step = IndexStep::Day;       ///< rows end at its boundaries; Whole: one row
    std::int32_t band = 0;                 ///< the frequency band
    ValueKind kind = ValueKind::Level;     ///< of the selected function
    DayParts hours = {};                   ///< of day, evening and night
    std::optional<double> threshold = {};  ///< in the unit of the function
    std::vector<double> percentages = {};  ///< of the time, from 0 to 100
    double leastCoverage = 0;              ///< figures of less are left out
};

/// The indices of one stretch of time.
struct IndexRow {
    CTimeEx start;  ///< of the stretch
    CTimeEx end;    ///< likewise
    /// By the kind: the equivalent level, the arithmetic mean, or the root of the mean square. For
    /// extreme levels and percentiles only the coverage is there.
    Index mean;
    /// Of equivalent levels, in stretches of 24 hours or more: the mean over the days, evenings and
    /// nights that begin in the stretch, each to its end even if that lies behind the stretch. A
    /// night belongs to the day in which it begins.
    Index day, evening, night;
    Index dayEveningNight;  ///< of these three; left out where one of them is
    Index least, greatest;  ///< of the values
    CTimeEx leastAt;        ///< when the first period of that value begins; invalid where none has
    CTimeEx greatestAt;     ///< likewise
    /// With a threshold: how often values rose above it. What ends or begins with a missing value
    /// is a rise of its own; one that goes on from the stretch before counts there.
    Index exceedances;
    Index secondsAbove;              ///< with a threshold: how long they were above
    std::vector<Index> percentiles;  ///< what was exceeded for each of the percentages of the time
};

}  // namespace mersola
