// Making a file and moving it to its place.
#include "file_beside.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "basics/failure.h"

namespace mersola::tool {
namespace {

[[noreturn]] void RefuseToMake(const std::string& target) {
    throw Failure(Quoted(target) + " cannot be made (" + std::strerror(errno) +
                  "); choose a folder that exists and that you may write to");
}

bool Sync(const std::string& path, int flags) {
    const int file = open(path.c_str(), flags | O_CLOEXEC);
    const bool isSynced = file >= 0 && fsync(file) == 0;
    if (file >= 0) close(file);
    return isSynced;
}

}  // namespace

FileBeside::FileBeside(const std::string& target, mode_t mode)
    : path_(target + "." + std::to_string(getpid()) + ".part") {
    const int file = open(path_.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, mode);
    if (file < 0) RefuseToMake(target);
    close(file);
}

FileBeside::~FileBeside() {
    for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
        std::error_code ignored;
        std::filesystem::remove(path_ + suffix, ignored);
    }
}

bool FileBeside::Place(const std::string& target) const {
    if (!Sync(path_, O_RDWR)) RefuseToMake(target);
    if (renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) != 0) {
        // Some file systems have no such renaming, others no links.
        const bool isLinked = errno == EINVAL && link(path_.c_str(), target.c_str()) == 0;
        if (!isLinked && errno != EEXIST) RefuseToMake(target);
        if (!isLinked) return false;
    }
    const auto folder = std::filesystem::path(target).parent_path().string();
    Sync(folder.empty() ? "." : folder, O_RDONLY | O_DIRECTORY);  // not every file system can
    return true;
}

}  // namespace mersola::tool
