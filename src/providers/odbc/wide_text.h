// Texts as ODBC's wide functions take them: UTF-16.
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

/// Bytes that are not UTF-8, and halves of a pair, become U+FFFD, in either direction.
WideText Wide(std::string_view utf8);
void AppendWide(std::string_view utf8, WideText& wide);
void AppendUtf8(std::span<const SQLWCHAR> wide, std::string& utf8);
std::string Utf8(std::span<const SQLWCHAR> wide);

}  // namespace mersola::odbc
