// Reading UTF-8, strictly: what one program takes for a character, another must not refuse.
#include "utf8.h"

#include <algorithm>
#include <array>

namespace mersola::tool {

std::optional<char32_t> TakeCharacter(std::string_view& text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const std::size_t size = byte(0) < 0x80 ? 1 : byte(0) < 0xE0 ? 2 : byte(0) < 0xF0 ? 3 : 4;
    constexpr std::array<char32_t, 5> kLeast{0, 0, 0x80, 0x800, 0x10000};
    char32_t code = size == 1 ? byte(0) : byte(0) & (0x7FU >> size);
    bool isGood = size <= text.size() && (size == 1 || byte(0) >= 0xC0) && byte(0) < 0xF8;
    for (std::size_t i = 1; isGood && i < size; ++i) {
        isGood = ContinuesCharacter(text[i]);
        code = code << 6 | (byte(i) & 0x3FU);
    }
    isGood = isGood && code >= kLeast[size] && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
    text.remove_prefix(isGood ? size : 1);
    return isGood ? std::optional(code) : std::nullopt;
}

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        if (static_cast<unsigned char>(text.front()) < 0x80)
            text.remove_prefix(1);
        else if (!TakeCharacter(text))
            return false;
    }
    return true;
}

std::size_t CountCharacters(std::string_view text) {
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char byte) { return !ContinuesCharacter(byte); }));
}

}  // namespace mersola::tool
