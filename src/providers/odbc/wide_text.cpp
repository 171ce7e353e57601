// UTF-8 to UTF-16 and back.
#include "wide_text.h"

#include <cstdint>

#include "dialect/characters.h"

namespace mersola::odbc {
namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;

std::uint32_t TakeCharacter(std::span<const SQLWCHAR>& wide) {
    const std::uint32_t first = wide.front();
    wide = wide.subspan(1);
    if (first < 0xD800 || first >= 0xE000) return first;
    if (first >= 0xDC00 || wide.empty() || (wide.front() & 0xFC00U) != 0xDC00U) return kReplacement;
    const std::uint32_t second = wide.front();
    wide = wide.subspan(1);
    return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
}

void Put(std::uint32_t character, std::string& utf8) {
    const auto put = [&](std::uint32_t byte) { utf8 += static_cast<char>(byte); };
    const auto follow = [&](unsigned shift) { put(0x80 | (character >> shift & 0x3F)); };
    if (character < 0x80) return put(character);
    if (character < 0x800) {
        put(0xC0 | character >> 6);
    } else {
        if (character < 0x10000) {
            put(0xE0 | character >> 12);
        } else {
            put(0xF0 | character >> 18);
            follow(12);
        }
        follow(6);
    }
    follow(0);
}

}  // namespace

void AppendWide(std::string_view utf8, WideText& wide) {
    while (!utf8.empty()) {
        const std::uint32_t character = dialect::TakeCharacter(utf8).value_or(kReplacement);
        if (character < 0x10000) {
            wide.push_back(static_cast<SQLWCHAR>(character));
        } else {
            wide.push_back(static_cast<SQLWCHAR>(0xD7C0 + (character >> 10)));
            wide.push_back(static_cast<SQLWCHAR>(0xDC00 | (character & 0x3FF)));
        }
    }
}

WideText Wide(std::string_view utf8) {
    WideText wide;
    wide.reserve(utf8.size() + 1);
    AppendWide(utf8, wide);
    wide.push_back(0);
    return wide;
}

void AppendUtf8(std::span<const SQLWCHAR> wide, std::string& utf8) {
    while (!wide.empty())
        Put(TakeCharacter(wide), utf8);
}

std::string Utf8(std::span<const SQLWCHAR> wide) {
    std::string utf8;
    AppendUtf8(wide, utf8);
    return utf8;
}

}  // namespace mersola::odbc
