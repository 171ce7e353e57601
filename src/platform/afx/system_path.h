// Paths with drive letters on a system that has none, and files that belong to their owner alone.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace mersola {

/// Maps a path with a drive to a path of this system: "c:\x.log" becomes a path in the temporary
/// directory, with slashes. That is $TMPDIR if it holds an absolute path, else /tmp. A text that
/// does not begin with a drive's root stays as it is.
std::string MapDrivePath(std::string_view path);

/// Opens `path` for writing, and empties it or creates it for its owner only. Null if that fails,
/// or if the path is anything but a regular file of this user without a second name. A symbolic
/// link is not followed, a pipe is not waited for, and a file that is refused stays untouched.
std::FILE* OpenPrivateForWriting(const std::string& path);

}  // namespace mersola
