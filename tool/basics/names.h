// Names that people give.
#pragma once

#include <string_view>

#include <mersola/platform/text.h>

namespace mersola::tool {

/// Whether both are the same name: the case of A to Z makes no difference.
inline bool IsSameName(std::string_view left, std::string_view right) noexcept {
    return CompareNoCase(left, right) == 0;
}

}  // namespace mersola::tool
