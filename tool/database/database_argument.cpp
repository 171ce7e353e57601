// Taking connection strings apart, also malformed ones: no password may show through.
#include "database_argument.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <mersola/platform/text.h>

#include "basics/failure.h"
#include "basics/names.h"

namespace mersola::tool {
namespace {

// One of them makes a text a connection string.
constexpr std::string_view kKeys[]{"Provider", "Driver",  "DSN",  "FILEDSN", "Data Source",
                                   "Server",   "Address", "Addr", "Network", "Initial Catalog",
                                   "Database", "User ID", "UID",  "User",    "Password",
                                   "PWD",      "Mode"};

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    const auto first = text.find_first_not_of(blanks);
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool IsAmong(std::string_view key, std::span<const std::string_view> keys) {
    return std::any_of(keys.begin(), keys.end(),
                       [&](std::string_view each) { return IsSameName(each, key); });
}

struct Part {
    std::string_view before;  // all up to the value, the key and its "=" included
    std::string_view key;
    std::string_view value;  // with its quotes or braces
};

// Where a value ends: at the first semicolon outside of quotes and braces.
std::size_t EndOfValue(std::string_view text) {
    const auto first = std::min(text.find_first_not_of(" \t\r\n"), text.size());
    const std::string_view value = text.substr(first);
    if (value.empty() || (value[0] != '{' && value[0] != '\'' && value[0] != '"'))
        return std::min(text.find(';'), text.size());
    const char close = value[0] == '{' ? '}' : value[0];
    std::size_t at = 1;
    for (; at < value.size(); ++at) {
        if (value[at] != close) continue;
        if (at + 1 == value.size() || value[at + 1] != close) break;
        ++at;
    }
    return first + std::min(value.find(';', at), value.size());
}

std::vector<Part> Parts(std::string_view text) {
    std::vector<Part> parts;
    while (!text.empty()) {
        const auto end = text.find_first_of("=;");
        const auto before = std::min(end, text.size() - 1) + 1;
        Part part{text.substr(0, before), {}, {}};
        text.remove_prefix(before);
        if (end != text.npos && part.before.back() == '=') {
            part.key = Trimmed(part.before.substr(0, end));
            part.value = text.substr(0, EndOfValue(text));
            text.remove_prefix(part.value.size());
        }
        parts.push_back(part);
    }
    return parts;
}

// Without quotes and braces.
std::string Plain(std::string_view value) {
    value = Trimmed(value);
    if (value.size() < 2 || (value[0] != '{' && value[0] != '\'' && value[0] != '"'))
        return std::string(value);
    const char close = value[0] == '{' ? '}' : value[0];
    std::string plain;
    for (std::size_t at = 1; at < value.size(); ++at) {
        if (value[at] == close && (++at >= value.size() || value[at] != close)) break;
        plain += value[at];
    }
    return plain;
}

}  // namespace

bool IsConnectionString(std::string_view text) {
    if (text.starts_with('/') || text.starts_with("./")) return false;
    const auto parts = Parts(text);
    return std::any_of(parts.begin(), parts.end(),
                       [](const Part& part) { return IsAmong(part.key, kKeys); });
}

std::string ConnectionValue(std::string_view text, std::span<const std::string_view> keys) {
    std::string value;
    for (const Part& part : Parts(text)) {
        if (IsAmong(part.key, keys)) value = Plain(part.value);
    }
    return value;
}

std::string ShellText(const DatabaseArgument& database) {
    std::string text;
    bool isLeftOut = false;
    for (const Part& part : Parts(database.text)) {
        const bool endsLeftOut = isLeftOut && part.before == ";";
        isLeftOut = IsAmong(part.key, kPasswordKeys);
        if (endsLeftOut || isLeftOut) continue;
        text += part.before;
        text += part.value;
    }
    if (text.starts_with('-')) text.insert(0, "./");  // no option
    text = ShellWord(text);
    for (const auto& [option, value] :
         {std::pair(" --user ", &database.user), {" --password-file ", &database.passwordFile}}) {
        if (!value->empty()) text += option + ShellWord(*value);
    }
    return text;
}

// Quotes and braces of other values hide nothing: drivers differ in those that they know, and one
// may not be closed.
std::string WithoutPassword(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const auto end = std::min(text.find_first_of("=;"), text.size() - 1);
        const std::string_view before = text.substr(0, end + 1);
        text.remove_prefix(before.size());
        shown += before;
        std::string_view key = Trimmed(before.substr(0, end));
        key.remove_prefix(std::min(key.find_first_not_of('-'), key.size()));  // a wrong option
        if (before.back() != '=' || !IsAmong(key, kPasswordKeys)) continue;
        shown += "***";
        text.remove_prefix(EndOfValue(text));
    }
    return shown;
}

}  // namespace mersola::tool
