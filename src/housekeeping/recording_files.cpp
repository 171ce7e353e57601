// Deleting files of this machine without leaving the folders that the caller has named.
#include "recording_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>

namespace mersola {
namespace {

constexpr const char* kReceiver = "TarvelMsgClient.MsgReceiver";

using Parts = std::vector<std::string>;

class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() {
        if (number_ >= 0) close(number_);
    }
    int Number() const { return number_; }

  private:
    int number_;
};

// The names on the way; nothing where one of them leads back.
std::optional<Parts> PartsOf(std::string_view path) {
    Parts parts;
    while (!path.empty()) {
        const std::string_view part = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(part.size() + 1, path.size()));
        if (part == "..") return std::nullopt;
        if (!part.empty() && part != ".") parts.emplace_back(part);
    }
    return parts;
}

RecordingFiles::Outcome Left(std::string& why, const char* words) {
    why = words;
    return RecordingFiles::Outcome::Left;
}

RecordingFiles::Outcome AfterFailure(std::string& why) {
    if (errno == ENOENT) return RecordingFiles::Outcome::NotThere;
    return Left(why, std::strerror(errno));
}

// Steps from folder to folder, so that no link is followed, also not one that is put there
// meanwhile.
RecordingFiles::Outcome DeleteBelow(int top, const Parts& parts, std::string& why) {
    Descriptor folder(fcntl(top, F_DUPFD_CLOEXEC, 0));
    for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
        folder = Descriptor(openat(folder.Number(), parts[i].c_str(),
                                   O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (folder.Number() >= 0) continue;
        if (errno == ELOOP || errno == ENOTDIR) return Left(why, "a part of its path is no folder");
        return AfterFailure(why);
    }
    const char* const name = parts.back().c_str();
    struct stat status {};
    if (fstatat(folder.Number(), name, &status, AT_SYMLINK_NOFOLLOW) != 0) return AfterFailure(why);
    if (!S_ISREG(status.st_mode)) return Left(why, "it is no regular file");
    if (unlinkat(folder.Number(), name, 0) != 0) return AfterFailure(why);
    return RecordingFiles::Outcome::Deleted;
}

}  // namespace

struct RecordingFiles::Folder {
    Descriptor opened;
    std::vector<Parts> names;  // as it was given, and without links

    // What of a path lies below the folder; nothing of one that leads elsewhere.
    std::optional<Parts> Below(const Parts& path) const {
        for (const Parts& name : names) {
            if (path.size() > name.size() && std::equal(name.begin(), name.end(), path.begin()))
                return Parts(path.begin() + static_cast<Parts::difference_type>(name.size()),
                             path.end());
        }
        return std::nullopt;
    }
};

RecordingFiles::RecordingFiles(const DeletionOptions& options) {
    std::shared_ptr<Component> component;
    const HRESULT created = CreateComponent(kReceiver, component);
    receiver_ = std::dynamic_pointer_cast<IMsgReceiver>(component);
    if (receiver_) return;
    if (created != REGDB_E_CLASSNOTREG)
        throw _com_error(created < 0 ? created : E_FAIL,
                         "The component that deletes recording files cannot be used", kReceiver);
    if (options.folders.empty())
        throw _com_error(E_FAIL, "No folder is named below which recording files may be deleted");
    for (const std::string& name : options.folders) {
        Descriptor opened(open(name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        const std::unique_ptr<char, decltype(&std::free)> real(realpath(name.c_str(), nullptr),
                                                               &std::free);
        if (opened.Number() < 0 || !real)
            throw _com_error(
                E_FAIL,
                ("The folder '" + name + "' cannot be opened: " + std::strerror(errno)).c_str());
        std::vector<Parts> names{*PartsOf(real.get())};
        if (const auto given = PartsOf(name); given && name.starts_with('/'))
            names.push_back(*given);
        folders_.push_back(
            std::make_shared<const Folder>(Folder{std::move(opened), std::move(names)}));
    }
}

RecordingFiles::Outcome RecordingFiles::Delete(const CString& path, std::string& why) const {
    if (receiver_) {
        const HRESULT result = receiver_->deleteFile(path);
        if (result < 0) return Left(why, "the component cannot delete it");
        return result == S_FALSE ? Outcome::NotThere : Outcome::Deleted;
    }
    const std::string_view text = path.View();
    const auto parts = PartsOf(text);
    if (!parts) return Left(why, "its path leads back with '..'");
    if (parts->empty()) return Outcome::NotThere;
    if (text.find('\0') != text.npos) return Left(why, "its path holds a zero");
    const bool isAbsolute = text.starts_with('/');
    bool isBelowAny = !isAbsolute;
    for (const auto& folder : folders_) {
        const auto below = isAbsolute ? folder->Below(*parts) : parts;
        if (!below) continue;
        isBelowAny = true;
        const Outcome outcome = DeleteBelow(folder->opened.Number(), *below, why);
        if (outcome != Outcome::NotThere) return outcome;
    }
    return isBelowAny ? Outcome::NotThere : Left(why, "it is not below a folder that was named");
}

}  // namespace mersola
