// The values that a command is to show: which are meant, and reading blocks of them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <mersola/mersola.h>

#include "catalogue.h"

namespace mersola::tool {

/// Whose values are meant.
struct SelectionOptions {
    std::string instrument;  ///< this and the next: a name or a number
    std::string measurement;
    bool isContinuous = false;  ///< all measurements as one, in place of one of them
    std::string report;  ///< a number, in the continuous view a type; the first report when empty
    std::string channel = "1";
};

/// What reads of a value that is not stored or not valid give.
inline constexpr auto kMissing = static_cast<float>(kMissingValue);

/// A channel of a report, in one measurement or in the continuous view.
struct Selection {
    bool isContinuous;
    std::int32_t instrument;
    std::int32_t measurement;  ///< kContinuousView in the continuous view
    std::int32_t report;       ///< its type in the continuous view
    std::int32_t channel;
    std::vector<MeasuredFunction> functions;  ///< those of the channel, by identifier
};

struct Range {
    std::int32_t first;
    std::int32_t count;
};

/// Finds out what is meant and selects it in the store, all but the function. Raises Failure.
Selection Select(Mersola& store, const SelectionOptions& options);

/// The function of the channel that is meant by name or number. Raises Failure.
const MeasuredFunction& ChooseFunction(const Selection& chosen, const std::string& asked);

/// The number of periods of the report. Raises Failure when there are none yet.
std::int32_t CountPeriods(Mersola& store);

/// The first period that has values, 0 when none has; one of the `count` periods. The function that
/// is selected afterwards is any of the channel. Raises Failure.
std::int32_t FirstPeriod(Mersola& store, const Selection& chosen, std::int32_t count);

/// The bands in which these functions have values in these periods, or anywhere; ascending. The
/// last of the functions is selected afterwards. Raises Failure.
std::vector<std::int32_t> StoredBands(Mersola& store,
                                      const std::vector<MeasuredFunction>& functions,
                                      const std::optional<Range>& periods);

/// The selected function's values by period and band. Raises Failure.
std::vector<float> ReadBands(Mersola& store, const Range& block,
                             const std::vector<std::int32_t>& bands);

/// The name of a band for people.
std::string BandName(const std::map<std::int32_t, std::string>& names, std::int32_t band);

/// Says that values could not be read.
[[noreturn]] void RefuseRead(const Mersola& store);

}  // namespace mersola::tool
