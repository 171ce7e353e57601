// mersola copy.
#pragma once

#include <iosfwd>
#include <string>

#include "database/database_argument.h"
#include "options/streams.h"

namespace mersola::tool {

struct CopyOptions {
    DatabaseArgument from;
    DatabaseArgument to;
    std::string instrument;  ///< a name or a number; all when empty
    bool verify = false;     ///< read everything again afterwards, on both sides
};

/// Copies what the one database holds and the other does not. When it is interrupted or fails, what
/// arrived stays, and the next time it goes on from there. `terminal`: where to show the progress,
/// may be null.
void Copy(const CopyOptions& options, std::ostream& out, std::ostream* terminal);

/// Adds the command to the command line.
void AddCopy(CLI::App& app, const Streams& streams);

}  // namespace mersola::tool
