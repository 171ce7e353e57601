// Turns SQLite's errors into COM errors.
#pragma once

#include <string>

#include <sqlite3.h>

#include <mersola/platform/com_error.h>

namespace mersola::sqlite {

inline constexpr const char* kSource = "SQLite";

/// The COM error for SQLite's (extended) result code with the words that `db` has for it.
_com_error Translated(sqlite3* db, int code);

/// The same with words of its own.
_com_error Translated(int code, std::string words);

/// Raises what Translated gives, unless the code is a success.
void Check(sqlite3* db, int code);

/// The error for a text that is to be stored and is not UTF-8.
_com_error NoUtf8();

/// Whether a row was refused for what it holds. Other rows may still be stored then.
bool IsRefusal(int code);

}  // namespace mersola::sqlite
