// Parsing of connection strings.
#include "connection_string.h"

#include <algorithm>

#include <mersola/platform/com_error.h>

namespace mersola::ado {
namespace {

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

std::string_view Trimmed(std::string_view text) {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

[[noreturn]] void Malformed(const char* what) {
    throw _com_error(E_FAIL, CString("The connection string is malformed: ") + what, "mersola");
}

// Takes the value at the front of `rest` up to its semicolon.
std::string TakeValue(std::string_view& rest) {
    while (!rest.empty() && IsBlank(rest.front()))
        rest.remove_prefix(1);
    const char open = rest.empty() ? '\0' : rest.front();
    if (open != '{' && open != '\'' && open != '"') {
        const auto end = std::min(rest.find(';'), rest.size());
        const std::string value(Trimmed(rest.substr(0, end)));
        rest.remove_prefix(end);
        return value;
    }
    const char close = open == '{' ? '}' : open;
    std::string value;
    for (rest.remove_prefix(1);; rest.remove_prefix(1)) {
        if (rest.empty()) Malformed("a value in braces or quotes does not end");
        if (rest.front() == close) {
            if (rest.size() < 2 || rest[1] != close) break;
            rest.remove_prefix(1);
        }
        value += rest.front();
    }
    rest.remove_prefix(1);
    while (!rest.empty() && IsBlank(rest.front()))
        rest.remove_prefix(1);
    if (!rest.empty() && rest.front() != ';') Malformed("text behind a value in braces or quotes");
    return value;
}

}  // namespace

ConnectionString::ConnectionString(std::string_view text) : text_(text) {
    for (std::string_view rest = text_; !rest.empty();) {
        const auto end = rest.find_first_of("=;");
        const std::string_view key = Trimmed(rest.substr(0, std::min(end, rest.size())));
        if (end == std::string_view::npos || rest[end] == ';') {
            if (!key.empty()) Malformed("a key without a value");
            if (end == std::string_view::npos) break;
            rest.remove_prefix(end + 1);
            continue;
        }
        if (key.empty()) Malformed("a value without a key");
        rest.remove_prefix(end + 1);
        pairs_.emplace_back(key, TakeValue(rest));
        if (!rest.empty()) rest.remove_prefix(1);
    }
}

std::string_view ConnectionString::Find(std::string_view key) const {
    const auto found = std::find_if(pairs_.rbegin(), pairs_.rend(),
                                    [&](const auto& pair) { return EqualNoCase(pair.first, key); });
    return found == pairs_.rend() ? std::string_view() : std::string_view(found->second);
}

}  // namespace mersola::ado
