// Connection strings: they are read or refused, and no password is shown.
#include <algorithm>
#include <cctype>

#include <mersola/platform/com_error.h>

#include "ado/connection_string.h"
#include "database/database_argument.h"
#include "property.h"

namespace mersola::fuzz {
namespace {

using ado::ConnectionString;

bool IsPassword(std::string_view key) {
    return std::ranges::any_of(tool::kPasswordKeys,
                               [&](std::string_view each) { return ado::EqualNoCase(each, key); });
}

// As a reader would find one that knows neither quotes nor braces: "Password" and "=" at the
// beginning or behind a semicolon.
bool ShowsPassword(std::string_view shown) {
    while (!shown.empty()) {
        const std::string_view part = shown.substr(0, shown.find(';'));
        shown.remove_prefix(std::min(part.size() + 1, shown.size()));
        const auto equals = part.find('=');
        if (equals == part.npos) continue;
        std::string_view key = part.substr(0, equals);
        while (!key.empty() && std::string_view(" \t\r\n").find(key.front()) != key.npos)
            key.remove_prefix(1);
        while (!key.empty() && std::string_view(" \t\r\n").find(key.back()) != key.npos)
            key.remove_suffix(1);
        if (IsPassword(key) && part.substr(equals + 1) != "***") return true;
    }
    return false;
}

void Check(const std::string& text) {
    const std::string shown = tool::WithoutPassword(text);
    Require(!ShowsPassword(shown), "no password is shown", shown);
    Require(tool::WithoutPassword(shown) == shown, "what is shown has nothing to hide", shown);
    static_cast<void>(tool::IsConnectionString(text));
    tool::DatabaseArgument argument;
    argument.text = text;
    const std::string word = tool::ShellText(argument);
    Require(word.find_first_of("\n\r\t") == word.npos, "a shell's word is one line", word);
    try {
        const ConnectionString parsed(text);
        for (const auto& [key, value] : parsed.Pairs()) {
            const std::string_view found = parsed.Find(key);
            Require(std::ranges::any_of(parsed.Pairs(),
                                        [&](const auto& pair) { return pair.second == found; }),
                    "what is found was given", text);
            Require(key.find_first_of("=;") == key.npos, "a key has neither sign", key);
        }
        for (const std::string_view key : {"Data Source", "Provider", "User ID", "PWD"}) {
            const std::string_view keys[]{key};
            Require(tool::ConnectionValue(text, keys) == parsed.Find(key),
                    "the tool reads as the library does", text);
        }
    } catch (const _com_error& error) {
        Require(error.Error() == E_FAIL, "a malformed text is refused as such", text);
    }
}

}  // namespace
}  // namespace mersola::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    mersola::fuzz::Check(mersola::fuzz::TextOf(data, size));
    return 0;
}
