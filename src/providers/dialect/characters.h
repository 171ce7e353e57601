// UTF-8, read as strictly as by those who read the texts later.
#pragma once

#include <optional>
#include <string_view>

namespace mersola::dialect {

/// Takes one character off the front of a text that is not empty. Where the text begins with no
/// character, it gives nothing and takes at least one byte off.
std::optional<char32_t> TakeCharacter(std::string_view& text);

bool IsUtf8(std::string_view text);

}  // namespace mersola::dialect
