// Files that appear whole or not at all.
#pragma once

#include <string>
#include <string_view>

namespace mersola::tool {

/// Writes a file beside its place and moves it there; one that was there before is replaced. Raises
/// Failure, leaves nothing behind then, and what was there as it was.
void WriteWhole(const std::string& path, std::string_view contents);

}  // namespace mersola::tool
