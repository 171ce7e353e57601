// Splits the texts of times and spans into their fields.
#pragma once

#include <charconv>
#include <concepts>
#include <span>
#include <string_view>
#include <system_error>

namespace mersola {

/// Reads one decimal field, which may have blanks around it. False for anything else, and for a
/// number beyond the type.
template <std::integral Number>
bool ReadField(std::string_view field, Number& number) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const auto first = field.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return false;
    }
    field = field.substr(first, field.find_last_not_of(kBlanks) + 1 - first);
    const char* end = field.data() + field.size();
    const auto result = std::from_chars(field.data(), end, number);
    return result.ec == std::errc() && result.ptr == end;
}

/// Fills `fields` from a text with commas. False unless the text has exactly as many fields.
inline bool ReadFields(std::string_view text, std::span<int> fields) {
    for (int& field : fields) {
        const auto comma = text.find(',');
        const bool isLast = &field == &fields.back();
        if ((comma == std::string_view::npos) != isLast ||
            !ReadField(text.substr(0, comma), field)) {
            return false;
        }
        text.remove_prefix(isLast ? text.size() : comma + 1);
    }
    return true;
}

}  // namespace mersola
