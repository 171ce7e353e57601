// What the options of several commands have in common.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include "basics/times_text.h"
#include "catalogue/asked_periods.h"
#include "catalogue/selection.h"
#include "command.h"
#include "database/database_argument.h"
#include "streams.h"

namespace mersola::tool {

/// What is said of an option that names a database.
inline constexpr const char* kDatabase = "a SQLite file, or a connection string 'Provider=...'";

/// The database and who logs in to it, as most commands take them.
void AddDatabase(Command& command, DatabaseArgument& argument);

/// How long to wait for other programs, for commands that write beside recorders.
void AddTimeout(Command& command, DatabaseArgument& argument);

/// For commands with several databases: `prefix` in front of the option's name, and `whose` it is
/// behind the description.
Option AddUser(Command& command, const std::string& prefix, std::string& user,
               const std::string& whose);
Option AddPasswordFile(Command& command, const std::string& prefix, std::string& path,
                       const std::string& whose);

/// Whose values are meant; returns the option for the continuous view.
Option AddSelection(Command& command, SelectionOptions& given);

/// For the callback of a command with such options: raises what the parser does when neither a
/// measurement nor the continuous view is asked for.
void RequireMeasurement(const SelectionOptions& given);

/// Which periods are meant.
void AddPeriods(Command& command, AskedPeriods& given);

/// For the callback of a command with options for both: raises what the parser does when the time
/// of --to is not behind that of --from.
void RequireForward(const std::optional<CTimeEx>& from, const std::optional<CTimeEx>& to);
void RequireForward(const AskedPeriods& given);

/// What texts have to be, for Command::Parsed.
inline constexpr const char* kTimeForm = "a time, as '2026-11-15 07:30:12.045'";
inline constexpr const char* kTimeOrDateForm = "a time, as '2026-11-15 07:30:12.045' or 2026-11-15";
inline constexpr const char* kPeriodForm = "a period from 1ms to 24h, as 125ms or 15min";

/// The whole text as a number, if it lies within the limits.
template <class Number>
std::optional<Number> ParseWithin(const std::string& text, Number least, Number most) {
    const auto number = ParseNumber<Number>(text);
    return number && *number >= least && *number <= most ? number : std::nullopt;
}

/// Stored periods are counted with 32 bits.
template <std::int32_t kLeast>
std::optional<std::int32_t> ParseCount(const std::string& text) {
    return ParseWithin(text, kLeast, std::numeric_limits<std::int32_t>::max());
}

}  // namespace mersola::tool
