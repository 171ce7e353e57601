// Paths with drive letters on a system that has none, and files that belong to their owner alone.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace mersola {

/// "c:\x.log" becomes a path in the temporary directory ($TMPDIR if that is an absolute path, else
/// /tmp), with slashes. A text that does not begin with a drive's root stays as it is.
std::string MapDrivePath(std::string_view path);

/// Opens `path` for writing, emptied, made for its owner only. Null if that fails, or if the path
/// is anything but a regular file of this user without a second name: a symbolic link is not
/// followed, a pipe not waited for, and what is refused stays untouched.
std::FILE* OpenPrivateForWriting(const std::string& path);

}  // namespace mersola
