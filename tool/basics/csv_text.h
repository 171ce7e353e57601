// Comma-separated values, as they are written.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace mersola::tool {

/// The text as a field of a record: between quotes where a reader would not get it back otherwise.
std::string CsvField(std::string_view text);

/// The fields as a line, with its end.
std::string CsvLine(std::span<const std::string> fields);

}  // namespace mersola::tool
