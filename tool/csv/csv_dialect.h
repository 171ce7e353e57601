// How a file writes fields and numbers, as far as its first lines tell.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace mersola::tool {

struct CsvRecord {
    std::size_t line;
    std::vector<std::string> fields;
};

struct Dialect {
    char separator;
    std::size_t heading;  ///< line of the column names; 0: the first record that is nothing else
    std::vector<CsvRecord> rows;  ///< the first ones behind it
};

/// Whether a record has the columns that the file must have.
using IsHeading = std::function<bool(std::span<const std::string>)>;

/// Guesses the dialect from the first lines; `separator` and `heading` are given where they are
/// known. The first record that has all columns that must be there is taken for the heading, and if
/// there is none, the first of the widest records.
Dialect GuessDialect(const std::string& beginning, std::optional<char> separator,
                     std::optional<std::size_t> heading, const IsHeading& isHeading);

/// Whether numbers have a decimal comma, by those that are given. Raises Failure when their commas
/// may as well stand between thousands.
bool GuessDecimalComma(std::span<const std::string> numbers);

/// The separator that a text names on the command line: itself, or comma, semicolon, tab.
std::optional<char> ParseSeparator(const std::string& text);
/// The name of the separator in messages, as "semicolons".
std::string DescribeSeparator(char separator);

}  // namespace mersola::tool
