// Passwords: out of files, or asked for on the terminal. They never stand on a command line.
#pragma once

#include <string>

namespace mersola::tool {

/// The first line of a file. Raises Failure for a file that cannot be read, that others than its
/// owner have access to, or whose first line is empty.
std::string ReadPasswordFile(const std::string& path);

/// Asks on the program's terminal, without showing what is typed, `question` in front. Raises
/// Failure when there is no terminal, when nothing is typed, or when a signal comes instead; the
/// terminal shows what is typed again on every way out.
std::string AskPassword(const std::string& question);

}  // namespace mersola::tool
