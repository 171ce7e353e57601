// mersola salvage.
#pragma once

#include <iosfwd>
#include <string>

#include "options/streams.h"

namespace mersola::tool {

/// Writes what can still be read of a damaged SQLite file into a new one, and lists what cannot.
/// True when nothing was lost or put aside. Nothing is written beside or into the damaged file; on
/// failure there is no new one.
bool Salvage(const std::string& damaged, const std::string& saved, std::ostream& out);

/// Adds the command to the command line. `status`: becomes 1 when something is lost.
void AddSalvage(CLI::App& app, const Streams& streams, int& status);

}  // namespace mersola::tool
