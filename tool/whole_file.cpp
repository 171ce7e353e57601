// Moving into place.
#include "whole_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "failure.h"

namespace mersola::tool {
namespace {

// A new file, which goes away again unless it is moved.
class Beside {
  public:
    explicit Beside(const std::string& path)
        : path_(path), beside_(path + "." + std::to_string(getpid()) + ".part") {
        file_ = open(beside_.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
        if (file_ < 0) Refuse();
    }
    ~Beside() {
        if (file_ >= 0) close(file_);
        if (!isMoved_) unlink(beside_.c_str());
    }
    Beside(const Beside&) = delete;
    Beside& operator=(const Beside&) = delete;

    void Write(std::string_view contents) {
        while (!contents.empty()) {
            const ssize_t written = write(file_, contents.data(), contents.size());
            if (written < 0 && errno != EINTR) Refuse();
            if (written > 0) contents.remove_prefix(static_cast<std::size_t>(written));
        }
    }

    void Move() {
        if (close(std::exchange(file_, -1)) != 0) Refuse();
        if (rename(beside_.c_str(), path_.c_str()) != 0) Refuse();
        isMoved_ = true;
    }

  private:
    [[noreturn]] void Refuse() const {
        throw Failure(Quoted(path_) + " cannot be written (" + std::strerror(errno) +
                      "); choose a folder that exists, that has room and that you may write to");
    }

    std::string path_;
    std::string beside_;
    int file_ = -1;
    bool isMoved_ = false;
};

}  // namespace

void WriteWhole(const std::string& path, std::string_view contents) {
    Beside file(path);
    file.Write(contents);
    file.Move();
}

}  // namespace mersola::tool
