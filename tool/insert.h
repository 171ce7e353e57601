// Adding rows to the small tables.
#pragma once

#include <functional>
#include <map>
#include <string>

#include <mersola/mersola.h>

#include "stored_tables.h"

namespace mersola::tool {

/// The texts of a row's columns; one that is left out is null.
using StoredRow = std::map<std::string, std::string, std::less<>>;

/// 32 bits. Raises Failure when the column is left out or its text is no such number.
std::int32_t NumberIn(const StoredRow& record, std::string_view column);
/// Empty when the column is left out.
std::string TextIn(const StoredRow& record, std::string_view column);

/// A text as a column of this kind has it in statements. Raises Failure when it is no number where
/// one is stored.
std::string LiteralOf(const StoredColumn& column, const std::string& text);

/// Adds a row, without the columns that the database does not have. Raises Failure or _com_error.
void InsertInto(Mersola& store, StoredTable table, const StoredRow& record);

}  // namespace mersola::tool
