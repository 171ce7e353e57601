// Converts texts to UTF-16, which ODBC's wide functions take, and back.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <sql.h>
#include <sqlext.h>

namespace mersola::odbc {

/// A text with a zero behind it.
using WideText = std::vector<SQLWCHAR>;

/// Convert texts. Bytes that are not UTF-8, and halves of a surrogate pair, become U+FFFD, in
/// either direction.
WideText Wide(std::string_view utf8);
void AppendWide(std::string_view utf8, WideText& wide);
void AppendUtf8(std::span<const SQLWCHAR> wide, std::string& utf8);
std::string Utf8(std::span<const SQLWCHAR> wide);

}  // namespace mersola::odbc
