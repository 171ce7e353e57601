// A file that is made beside its place, and appears there whole or not at all.
#pragma once

#include <sys/types.h>

#include <string>

namespace mersola::tool {

/// Empty at first. Goes away again, with what SQLite made for it, unless it was placed.
class FileBeside {
  public:
    /// Raises Failure, which names `target`, when there can be none. `mode` is what it may permit
    /// to whom.
    explicit FileBeside(const std::string& target, mode_t mode = 0666);
    ~FileBeside();
    FileBeside(const FileBeside&) = delete;
    FileBeside& operator=(const FileBeside&) = delete;

    const std::string& Path() const { return path_; }

    /// Whether it is in its place, on the disk; not if there is something already.
    bool Place(const std::string& target) const;

  private:
    std::string path_;
};

}  // namespace mersola::tool
