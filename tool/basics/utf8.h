// Characters in UTF-8, the encoding of every text that is stored.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace mersola::tool {

/// Takes the first character off a text that is not empty. Where the text begins with no character,
/// it gives nothing and takes one byte off.
std::optional<char32_t> TakeCharacter(std::string_view& text);

bool IsUtf8(std::string_view text);

/// Whether a byte goes on with a character that others before it began.
constexpr bool ContinuesCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

/// How many characters begin in the text.
std::size_t CountCharacters(std::string_view text);

}  // namespace mersola::tool
