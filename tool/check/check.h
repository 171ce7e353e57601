// mersola check.
#pragma once

#include <iosfwd>

#include "database/database_argument.h"
#include "options/streams.h"

namespace mersola::tool {

/// Writes a line for each thing that must never be in a database, one for each remark, and a last
/// one with their numbers. True when there are no more than remarks. Nothing is written into the
/// database. A warning that concerns more than what it holds goes to `err`.
bool Check(const DatabaseArgument& argument, std::ostream& out, std::ostream& err);

/// Adds the command to the command line. `status`: becomes 1 when there is something to find.
void AddCheck(CLI::App& app, const Streams& streams, int& status);

}  // namespace mersola::tool
