// The recording files that markers name.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <mersola/deletion.h>

namespace mersola {

/// Deletes recording files through the component that a program has registered for it, or else
/// below the folders that the caller has named.
class RecordingFiles {
  public:
    /// Raises _com_error where there is neither, and for a folder that cannot be opened.
    explicit RecordingFiles(const DeletionOptions& options);

    enum class Outcome { Deleted, NotThere, Left };
    /// Where the file is left, `why` says why.
    Outcome Delete(const CString& path, std::string& why) const;

  private:
    struct Folder;

    std::shared_ptr<IMsgReceiver> receiver_;
    std::vector<std::shared_ptr<const Folder>> folders_;
};

}  // namespace mersola
