// Rows of the tables, on their way from one database or file into another.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include <mersola/mersola.h>

#include "schema/tables.h"

namespace mersola::tool {

/// A stored cell; the empty one is a null.
using Cell = std::variant<std::monostate, std::int32_t, double, std::string>;

/// A row by the names of its columns; one that is left out is null.
using Row = std::map<std::string, Cell, std::less<>>;

/// 0 or empty for a null.
std::int32_t NumberIn(const Row& row, std::string_view column);
std::string TextIn(const Row& row, std::string_view column);

/// The cell of a column that a text tells of. Raises Failure when it is no number where one is
/// stored.
Cell CellFrom(const StoredColumn& column, const std::string& text);

/// Milliseconds of the length of a period, as it is stored; nothing when the text is none.
std::optional<std::int64_t> StoredLength(const CString& text);

/// As it stands in a statement, on either engine.
std::string Literal(const Cell& cell);

/// The next number in a column. Raises Failure where 32 bits hold no greater one.
std::int32_t NumberBehind(std::int32_t last, const char* column);

/// The statement that adds a row.
std::string InsertOf(StoredTable table, const Row& row);

/// Adds a row, without the columns that the database does not have. Raises _com_error.
void InsertInto(Mersola& store, StoredTable table, Row row);

}  // namespace mersola::tool
