// mersola rename.
#pragma once

#include <iosfwd>
#include <string>

#include "database/database_argument.h"
#include "options/streams.h"

namespace mersola::tool {

struct RenameOptions {
    DatabaseArgument database;
    std::string instrument;   ///< this and the next three: a name or a number, or empty
    std::string measurement;  ///< of the instrument
    std::string function;
    std::string band;  ///< with the first two: only there
    std::string to;    ///< the new name
};

/// Gives an instrument, a measurement, a function or a band another name. Where that is the name of
/// another band, the values go to that one. After an interruption the same command goes on.
/// `terminal`: where to show the progress, may be null.
void Rename(const RenameOptions& options, std::ostream& out, std::ostream* terminal);

/// Adds the command to the command line.
void AddRename(CLI::App& app, const Streams& streams);

}  // namespace mersola::tool
