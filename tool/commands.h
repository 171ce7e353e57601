// The commands and their options.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>

#include <mersola/times.h>

namespace mersola::tool {

/// What the commands have in common: results go to `out`; Failure and _com_error are raised.

/// Lays out a new database, or one in an existing file that is an empty database. On failure a file
/// that was made is removed again.
void Init(const std::string& path, std::ostream& out);

struct RecordOptions {
    std::string database;
    std::string file;
    std::string instrument;
    std::string measurement;
    CTimeSpanEx period{125};
    std::optional<CTimeEx> start;  ///< now, when none is given
    double sensitivity = 1;        ///< V/Pa; stored, the levels do not depend on it
    double fullscale = 1;          ///< peak pressure in Pa at the file's digital full scale
};

/// Records a sound file. Nothing is registered before the first period can be stored with it.
/// `terminal`: where to show the progress, may be null.
void Record(const RecordOptions& options, std::ostream& out, std::ostream* terminal);

void List(const std::string& path, std::ostream& out);

struct ValuesOptions {
    std::string database;
    std::string instrument;  ///< this and the next: a name or a number
    std::string measurement;
    std::string report;  ///< a number; the first report when empty
    std::string channel = "1";
    std::string function = "Leq";      ///< a name or a number
    std::optional<std::int64_t> from;  ///< the first stored period when not given
    std::optional<std::int64_t> count;
    bool csv = false;
};

void Values(const ValuesOptions& options, std::ostream& out);

}  // namespace mersola::tool
