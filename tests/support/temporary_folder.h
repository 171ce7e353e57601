// A folder for what a test or a benchmark writes.
#pragma once

#include <filesystem>
#include <string>

namespace mersola::test {

/// A folder of its own in the temporary directory, removed with all it holds.
class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

  private:
    std::filesystem::path path_;
};

}  // namespace mersola::test
