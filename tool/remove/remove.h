// mersola prune and mersola delete.
#pragma once

#include <chrono>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include <mersola/times.h>

#include "database/database_argument.h"
#include "options/streams.h"

namespace mersola::tool {

/// What both commands are told.
struct RemovalOptions {
    DatabaseArgument database;
    std::vector<std::string> recordingFolders;  ///< below them recording files go with markers
    bool isDryRun = false;                      ///< say what would go, and delete nothing
    bool isConfirmed = false;                   ///< do not ask
    std::chrono::milliseconds pause{0};         ///< behind each transaction, at least
};

struct PruneOptions : RemovalOptions {
    std::optional<CTimeSpanEx> keep;  ///< this or the next: how old what stays may be
    std::optional<CTimeEx> before;    ///< what ended by then goes
    std::string instrument;           ///< a name or a number; all when empty
    bool isForced = false;            ///< also when the time lies in the future
};

/// Deletes what is old, beside recorders. After an interruption the same command goes on.
/// `terminal`: where to show the progress, may be null.
void Prune(const PruneOptions& options, std::ostream& out, std::ostream* terminal);

struct DeleteOptions : RemovalOptions {
    std::string instrument;   ///< this and the next: a name or a number
    std::string measurement;  ///< all of the instrument when empty, as in what follows
    std::optional<CTimeEx> from, to;
    std::string channel;
    std::string function;
};

/// Deletes an instrument, measurements, or some of their values.
void Delete(const DeleteOptions& options, std::ostream& out, std::ostream* terminal);

/// Add the commands to the command line.
void AddPrune(CLI::App& app, const Streams& streams);
void AddDelete(CLI::App& app, const Streams& streams);

}  // namespace mersola::tool
