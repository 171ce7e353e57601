// Hiding the user and the password.
#include "secrets.h"

#include <cctype>
#include <string_view>

namespace mersola::ado {
namespace {

bool IsWordCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || (c & 0x80) != 0;
}

void Hide(std::string& text, const std::string& secret, bool asWord) {
    constexpr std::string_view kStars = "***";
    if (secret.empty()) return;
    for (auto at = text.find(secret); at != std::string::npos; at = text.find(secret, at)) {
        const auto end = at + secret.size();
        const bool inside = asWord && ((at > 0 && IsWordCharacter(text[at - 1])) ||
                                       (end < text.size() && IsWordCharacter(text[end])));
        if (inside) {
            ++at;
        } else {
            text.replace(at, secret.size(), kStars);
            at += kStars.size();
        }
    }
}

}  // namespace

std::string Secrets::Hidden(std::string text) const {
    // A short one stands in many words, and what is missing from them would give it away.
    constexpr std::size_t kShort = 4;
    Hide(text, password_, password_.size() < kShort);
    Hide(text, user_, true);
    return text;
}

}  // namespace mersola::ado
