// Files that appear whole or not at all.
#pragma once

#include <string>
#include <string_view>

#include "interruption.h"

namespace mersola::tool {

/// Writes into a file beside its place, and moves that file there once it is whole. A file that was
/// there before is replaced. If it never becomes whole, nothing is left behind, and the earlier
/// file is as it was, even when SIGINT or SIGTERM comes, which the next operation raises. A pipe or
/// a device cannot be replaced: it takes at once what is written. Every operation raises Failure.
class WholeFile {
  public:
    explicit WholeFile(const std::string& path);
    ~WholeFile();
    WholeFile(const WholeFile&) = delete;
    WholeFile& operator=(const WholeFile&) = delete;

    void Write(std::string_view contents);

    /// Puts the file in its place. Call it when all is written.
    void Finish();

  private:
    void RequireGoingOn() const;
    [[noreturn]] void Refuse() const;

    Interruption interruption_;
    std::string path_;    // as it was given
    std::string target_;  // where that leads to
    std::string beside_;  // empty for a pipe or a device
    int file_ = -1;
};

}  // namespace mersola::tool
