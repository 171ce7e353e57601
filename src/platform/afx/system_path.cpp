// Drive paths and private files on a POSIX system.
#include "system_path.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace mersola {

namespace {

std::string TemporaryDirectory() {
    // A relative path would put files into the working directory.
    const char* named = std::getenv("TMPDIR");
    std::string directory = named && *named == '/' ? named : "/tmp";
    directory.erase(directory.find_last_not_of('/') + 1);
    return directory;
}

bool IsDriveRoot(std::string_view path) {
    return path.size() >= 3 &&
           ((path[0] >= 'a' && path[0] <= 'z') || (path[0] >= 'A' && path[0] <= 'Z')) &&
           path[1] == ':' && (path[2] == '\\' || path[2] == '/');
}

bool MakePrivateAndEmpty(int file) {
    struct stat state {};
    return fstat(file, &state) == 0 && S_ISREG(state.st_mode) && state.st_uid == geteuid() &&
           state.st_nlink == 1 && fchmod(file, S_IRUSR | S_IWUSR) == 0 && ftruncate(file, 0) == 0;
}

}  // namespace

std::string MapDrivePath(std::string_view path) {
    if (!IsDriveRoot(path)) {
        return std::string(path);
    }
    std::string mapped(path.substr(2));
    std::ranges::replace(mapped, '\\', '/');
    return TemporaryDirectory() + mapped;
}

std::FILE* OpenPrivateForWriting(const std::string& path) {
    // The file is emptied after the checks only, so O_TRUNC is not among these.
    const int opened =
        open(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC,
             S_IRUSR | S_IWUSR);
    if (opened < 0) {
        return nullptr;
    }
    // In a program that closed its standard streams the file must not become one of them.
    const int file = fcntl(opened, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    close(opened);
    if (file < 0) {
        return nullptr;
    }
    std::FILE* stream = MakePrivateAndEmpty(file) ? fdopen(file, "w") : nullptr;
    if (!stream) {
        close(file);
    }
    return stream;
}

}  // namespace mersola
