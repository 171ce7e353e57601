// Quoting fields.
#include "csv_text.h"

namespace mersola::tool {

std::string CsvField(std::string_view text) {
    constexpr std::string_view blanks = " \t";
    const bool isPlain = text.find_first_of(",\"\r\n") == text.npos &&
                         (text.empty() || (blanks.find(text.front()) == blanks.npos &&
                                           blanks.find(text.back()) == blanks.npos));
    if (isPlain) return std::string(text);
    std::string quoted = "\"";
    for (const char c : text)
        quoted.append(c == '"' ? 2 : 1, c);
    quoted += '"';
    return quoted;
}

std::string CsvLine(std::span<const std::string> fields) {
    std::string line;
    for (const auto& field : fields) {
        if (&field != &fields.front()) line += ',';
        line += CsvField(field);
    }
    line += '\n';
    return line;
}

}  // namespace mersola::tool
