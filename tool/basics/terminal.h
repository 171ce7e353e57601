// Questions on the terminal.
#pragma once

#include <optional>
#include <string>

namespace mersola::tool {

/// A file that is open while the object lives; its number is negative when it could not be opened.
class OpenFile {
  public:
    OpenFile(const char* path, int flags);
    ~OpenFile();
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    int Get() const { return descriptor_; }

  private:
    int descriptor_;
};

/// The text up to the end of the line, and whether reading it went well.
bool ReadLine(int file, std::string& line);

enum class Echo { On, Off };

/// The line that is typed in answer, empty when it cannot be read; nothing where there is no
/// terminal. Raises Failure when a signal that ends programs comes first, and where the terminal
/// cannot hide what is typed.
std::optional<std::string> AskOnTerminal(const std::string& question, Echo echo);

}  // namespace mersola::tool
