// The exception that ends a command, and how lines for the user are written.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <stdexcept>
#include <string>
#include <string_view>

namespace mersola::tool {

/// Ends a command. It says in one line what happened and what to do about it.
class Failure : public std::runtime_error {
  public:
    explicit Failure(const std::string& line, int status = 1)
        : std::runtime_error(line), status_(status) {}

    int Status() const { return status_; }

  private:
    int status_;
};

/// The text, fit for a line on a terminal: a question mark replaces each control character and each
/// byte that is not UTF-8.
std::string Printable(std::string_view text);

/// The text, or as much of its beginning as `most` bytes hold and an ellipsis: what a file brings
/// may be longer than a line has room for.
std::string Excerpt(std::string_view text, std::size_t most = 60);

/// The printable text between quotes.
std::string Quoted(std::string_view text);

/// The text as a word of a shell's command, between quotes where it needs them.
std::string ShellWord(std::string_view text);

/// Raises Failure when something that was written to `out` is lost. When whoever read the output
/// has seen enough, the failure is silent, as of any program that the pipe ends.
void RequireWritten(std::ostream& out);

/// Writes lines that say what was done. The work stays done when they are lost: it then raises a
/// Failure that holds them, with the status of success.
void TellDone(std::ostream& out, const std::string& lines);

}  // namespace mersola::tool
