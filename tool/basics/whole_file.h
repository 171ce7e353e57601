// Files that appear whole or not at all.
#pragma once

#include <string>
#include <string_view>

#include "interruption.h"

namespace mersola::tool {

/// Takes what is written beside its place, and moves it there once it is whole; a file that was
/// there before is replaced. Without that nothing is left behind, and what was there is as it was,
/// also when SIGINT or SIGTERM comes, which the next operation raises. A pipe or a device cannot be
/// replaced: it takes what is written at once. Every operation raises Failure.
class WholeFile {
  public:
    explicit WholeFile(const std::string& path);
    ~WholeFile();
    WholeFile(const WholeFile&) = delete;
    WholeFile& operator=(const WholeFile&) = delete;

    void Write(std::string_view contents);

    /// To be called when all is written.
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
