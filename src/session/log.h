// The log file of the process, for diagnosis.
#pragma once

#include <string_view>

namespace mersola {

/// Appends one line: "[weekday month day time.milliseconds year] [message]". It does nothing when
/// the log file could not be created. Lines of different threads never mix.
void WriteLogLine(std::string_view message);

}  // namespace mersola
