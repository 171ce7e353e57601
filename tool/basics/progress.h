// A progress bar on a terminal.
#pragma once

#include <iosfwd>

namespace mersola::tool {

class Progress {
  public:
    /// Shows nothing when `terminal` is null.
    explicit Progress(std::ostream* terminal) : terminal_(terminal) {}
    ~Progress() { Clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// `done`: from 0 to 1.
    void Show(double done);

    /// Takes the bar off the screen until it is shown again.
    void Clear();

  private:
    std::ostream* terminal_;
    int percent_ = -1;
};

}  // namespace mersola::tool
