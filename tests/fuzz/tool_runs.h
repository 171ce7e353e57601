// The tool's commands on a small database that is always the same, in memory where there is such a
// folder.
#pragma once

#include <string>
#include <vector>

#include "support/temporary_folder.h"

namespace mersola::fuzz {

struct Outcome {
    int status;
    std::string out;
};

/// Requires of the command what each one promises: 0 or 1, and one line for a failure, which is
/// none that nobody expected.
Outcome Run(const std::string& command, const std::vector<std::string>& words);

/// The bytes of a database that has rows in all its tables.
std::string GoodDatabase();
/// The bytes of one that was laid out, and no more.
std::string EmptyDatabase();

/// A file for one input after the other.
class ScratchFile {
  public:
    explicit ScratchFile(const std::string& name);

    const std::string& Path() const { return path_; }
    /// What SQLite keeps beside the file goes.
    void Write(const std::string& bytes) const;

  private:
    std::string path_;
};

}  // namespace mersola::fuzz
