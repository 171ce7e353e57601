// Looking for the files that the library would delete.
#include "recording_files.h"

#include <filesystem>
#include <system_error>

#include "basics/failure.h"

namespace mersola::tool {

namespace fs = std::filesystem;

void RequireFolders(const std::vector<std::string>& folders) {
    for (const std::string& folder : folders) {
        std::error_code error;
        if (!fs::is_directory(folder, error))
            throw Failure("--recording-files: " + Quoted(folder) + " is no folder" +
                          (error ? " (" + error.message() + ")" : ""));
    }
}

FilesThere LookFor(const std::set<std::string>& paths, const std::vector<std::string>& folders) {
    FilesThere found;
    for (const std::string& path : paths) {
        for (const std::string& folder : folders) {
            std::error_code error;
            const fs::path file =
                fs::path(path).is_absolute() ? fs::path(path) : folder / fs::path(path);
            const fs::path way = fs::weakly_canonical(file.parent_path(), error)
                                     .lexically_relative(fs::weakly_canonical(folder, error));
            const bool isBelow = !way.empty() && *way.begin() != "..";
            if (error || !isBelow ||
                fs::symlink_status(file, error).type() != fs::file_type::regular)
                continue;
            ++found.count;
            if (const auto size = fs::file_size(file, error); !error)
                found.bytes += static_cast<std::int64_t>(size);
            break;
        }
    }
    return found;
}

}  // namespace mersola::tool
