// What ends a command, and how its line is written.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <stdexcept>
#include <string>
#include <string_view>

namespace mersola::tool {

/// Says in one line what happened and what to do about it.
class Failure : public std::runtime_error {
  public:
    explicit Failure(const std::string& line, int status = 1)
        : std::runtime_error(line), status_(status) {}

    int Status() const { return status_; }

  private:
    int status_;
};

/// The text with a question mark for each control character and for what is no UTF-8: fit for a
/// line on a terminal.
std::string Printable(std::string_view text);

/// The text, or as much of its beginning as `most` bytes hold and an ellipsis: what a file brings
/// may be longer than a line has room for.
std::string Excerpt(std::string_view text, std::size_t most = 60);

/// The printable text between quotes.
std::string Quoted(std::string_view text);

/// The text as a word of a shell's command, between quotes where it needs them.
std::string ShellWord(std::string_view text);

/// Raises Failure when something written to `out` was lost: a silent one, as of any program that is
/// ended by the pipe, when whoever read the program's output has seen enough.
void RequireWritten(std::ostream& out);

/// Writes what was done, lines that end. That stays done when they are lost: then raises a Failure
/// that says it, with the status of success.
void TellDone(std::ostream& out, const std::string& lines);

}  // namespace mersola::tool
