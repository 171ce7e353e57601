// The recording files that go with markers.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace mersola::tool {

struct FilesThere {
    std::int64_t count = 0;
    std::int64_t bytes = 0;
};

/// Raises Failure for a folder that is none.
void RequireFolders(const std::vector<std::string>& folders);

/// Those of the paths that are regular files below one of the folders. A relative path is looked
/// for below each of them.
FilesThere LookFor(const std::set<std::string>& paths, const std::vector<std::string>& folders);

}  // namespace mersola::tool
