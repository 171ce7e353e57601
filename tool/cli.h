// The command line: options, help, exit statuses.
#pragma once

#include <iosfwd>

namespace mersola::tool {

/// Runs the command that the arguments name (argv[0] is the program). Results go to `out`, a
/// failure as one line to `err`. Returns the exit status: 0; 1 for a failure; 2 for wrong usage;
/// 128 and the signal's number when a signal ended the command early. A progress bar is shown only
/// when `err` is std::cerr on a terminal.
int RunTool(int argc, const char* const* argv, std::ostream& out, std::ostream& err);

}  // namespace mersola::tool
