// Texts for people, and output that did not arrive.
#include "failure.h"

#include <algorithm>
#include <ostream>

namespace mersola::tool {

std::string Printable(std::string_view text) {
    std::string shown(text);
    const auto isControl = [](char c) {
        return static_cast<unsigned char>(c) < ' ' || c == '\x7f';
    };
    std::ranges::replace_if(shown, isControl, '?');
    return shown;
}

std::string Excerpt(std::string_view text, std::size_t most) {
    if (text.size() <= most) return std::string(text);
    while (most > 0 && (static_cast<unsigned char>(text[most]) & 0xC0) == 0x80)
        --most;  // a character stays whole
    return std::string(text.substr(0, most)) + "\u2026";
}

std::string Quoted(std::string_view text) {
    return "'" + Printable(text) + "'";
}

void RequireWritten(std::ostream& out) {
    if (!out)
        throw Failure("the output could not be written; is the disk full, or its reader gone?");
}

}  // namespace mersola::tool
