// UTF-8, as strict as those who read the texts later.
#pragma once

#include <optional>
#include <string_view>

namespace mersola::dialect {

/// Takes one character off the front of a text that is not empty; nothing, and at least one byte
/// off, where there is none.
std::optional<char32_t> TakeCharacter(std::string_view& text);

bool IsUtf8(std::string_view text);

}  // namespace mersola::dialect
