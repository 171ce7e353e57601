// Times as files have them.
#pragma once

#include <optional>
#include <span>
#include <string>

#include <mersola/times.h>

#include "time_zone.h"

namespace mersola::tool {

enum class TimeForm { YearFirst, DayFirst, MonthFirst, Epoch };

/// The form of that name on the command line: ymd, dmy, mdy, epoch.
std::optional<TimeForm> ParseTimeForm(const std::string& text);
/// What is said of it, as "the day first in dates".
const char* DescribeTimeForm(TimeForm form);

/// Whether a text is a time of day alone.
bool IsClock(const std::string& text);

/// The one form that all texts have; when they have none in common, that of the first text. Raises
/// Failure when both the day and the month may stand first.
TimeForm GuessTimeForm(std::span<const std::string> texts);

class TimeReader {
  public:
    /// `zone`: whose local times are stored; without one, a text that tells UTC is refused.
    TimeReader(TimeForm form, const TimeZone* zone) : form_(form), zone_(zone) {}

    /// The local time that a text means, milliseconds that have begun. Raises Failure, also for one
    /// that the clocks of the zone show twice or never.
    CTimeEx Read(const std::string& text) const;

  private:
    TimeForm form_;
    const TimeZone* zone_;
};

}  // namespace mersola::tool
