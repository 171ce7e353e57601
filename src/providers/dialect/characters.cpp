// Decodes UTF-8.
#include "characters.h"

namespace mersola::dialect {

std::optional<char32_t> TakeCharacter(std::string_view& text) {
    const auto first = static_cast<unsigned char>(text.front());
    text.remove_prefix(1);
    if (first < 0x80) return first;
    const int more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
    if (first < 0xC2 || first > 0xF4) return std::nullopt;
    char32_t character = first & (0x3FU >> more);
    for (int i = 0; i < more; ++i) {
        if (text.empty() || (static_cast<unsigned char>(text.front()) & 0xC0) != 0x80)
            return std::nullopt;
        character = character << 6 | (static_cast<unsigned char>(text.front()) & 0x3FU);
        text.remove_prefix(1);
    }
    const bool surrogate = character >= 0xD800 && character < 0xE000;
    const bool overlong = more > 1 && character < (more == 2 ? 0x800U : 0x10000U);
    if (surrogate || overlong || character > 0x10FFFF) return std::nullopt;
    return character;
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

}  // namespace mersola::dialect
