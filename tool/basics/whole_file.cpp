// Moving into place.
#include "whole_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <utility>

#include "failure.h"

namespace mersola::tool {

WholeFile::WholeFile(const std::string& path) : path_(path), target_(path) {
    std::error_code isNew;
    // A link stays one.
    if (const auto there = std::filesystem::canonical(path, isNew); !isNew) target_ = there;
    if (isNew || std::filesystem::is_regular_file(target_))
        beside_ = target_ + "." + std::to_string(getpid()) + ".part";
    file_ = beside_.empty() ? open(target_.c_str(), O_WRONLY | O_CLOEXEC)
                            : open(beside_.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
    if (file_ < 0) Refuse();
}

WholeFile::~WholeFile() {
    if (file_ >= 0) close(file_);
    if (!beside_.empty()) unlink(beside_.c_str());
}

void WholeFile::Write(std::string_view contents) {
    for (RequireGoingOn(); !contents.empty(); RequireGoingOn()) {
        const ssize_t written = write(file_, contents.data(), contents.size());
        if (written < 0 && errno != EINTR) Refuse();
        if (written > 0) contents.remove_prefix(static_cast<std::size_t>(written));
    }
}

void WholeFile::Finish() {
    RequireGoingOn();
    if (close(std::exchange(file_, -1)) != 0) Refuse();
    if (beside_.empty()) return;
    if (rename(beside_.c_str(), target_.c_str()) != 0) Refuse();
    beside_.clear();
}

void WholeFile::RequireGoingOn() const {
    if (const int signal = interruption_.Signal(); signal != 0)
        throw Failure(
            "stopped by a signal; " + (beside_.empty() ? "not all was written to " + Quoted(path_)
                                                       : "nothing was written to " + Quoted(path_)),
            128 + signal);
}

void WholeFile::Refuse() const {
    throw Failure(Quoted(path_) + " cannot be written (" + std::strerror(errno) +
                  "); choose a folder that exists, that has room and that you may write to");
}

}  // namespace mersola::tool
