// Cells as texts and as literals.
#include "stored_row.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "basics/failure.h"
#include "basics/times_text.h"
#include "query.h"

namespace mersola::tool {
namespace {

template <class Value>
Value ValueIn(const Row& row, std::string_view column) {
    const auto found = row.find(column);
    const auto* value = found == row.end() ? nullptr : std::get_if<Value>(&found->second);
    return value ? *value : Value{};
}

std::string QuotedLiteral(const std::string& text) {
    std::string quoted = "N'";
    for (const char c : text)
        quoted += c == '\'' ? std::string(2, c) : std::string(1, c);
    return quoted + "'";
}

// With an exponent, or SQL Server would take it for a decimal and round it.
std::string RealLiteral(double number) {
    std::array<char, 40> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number,
                                   std::chars_format::scientific)
                         .ptr;
    return std::string(digits.data(), end);
}

}  // namespace

std::int32_t NumberIn(const Row& row, std::string_view column) {
    return ValueIn<std::int32_t>(row, column);
}

std::string TextIn(const Row& row, std::string_view column) {
    return ValueIn<std::string>(row, column);
}

Cell CellFrom(const StoredColumn& column, const std::string& text) {
    const std::string shown = std::string(column.name) + " " + Quoted(text);
    if (column.HoldsText()) return text;
    if (column.kind == StoredColumn::Integer) {
        if (const auto number = ParseNumber<std::int32_t>(text)) return *number;
        throw Failure(shown + " is no whole number");
    }
    const auto number = ParseNumber<double>(text);
    if (!number || !std::isfinite(*number)) throw Failure(shown + " is no number");
    return *number;
}

std::optional<std::int64_t> StoredLength(const CString& text) {
    CTimeSpanEx length;
    if (!CTimeSpanEx::FromText(text, length) || length.GetTotalMilliseconds() <= 0)
        return std::nullopt;
    return length.GetTotalMilliseconds();
}

std::string Literal(const Cell& cell) {
    if (const auto* text = std::get_if<std::string>(&cell)) return QuotedLiteral(*text);
    if (const auto* number = std::get_if<std::int32_t>(&cell)) return std::to_string(*number);
    if (const auto* real = std::get_if<double>(&cell)) return RealLiteral(*real);
    return "NULL";
}

std::int32_t NumberBehind(std::int32_t last, const char* column) {
    if (last == std::numeric_limits<std::int32_t>::max())
        throw Failure("there is no free " + std::string(column) + " behind " +
                      std::to_string(last));
    return last + 1;
}

std::string InsertOf(StoredTable table, const Row& row) {
    std::string names, values;
    for (const StoredColumn& column : ColumnsOf(table)) {
        const auto given = row.find(std::string_view(column.name));
        if (given == row.end()) continue;
        names += (names.empty() ? "" : ",") + std::string(column.name);
        values += (values.empty() ? "" : ",") + Literal(given->second);
    }
    return "INSERT INTO " + std::string(NameOf(table)) + " (" + names + ") VALUES (" + values + ")";
}

void InsertInto(Mersola& store, StoredTable table, Row row) {
    const auto layout = Query(store, "SELECT * FROM %s WHERE 1=0", NameOf(table));
    std::erase_if(row, [&](const auto& cell) { return !ColumnIn(*layout, cell.first); });
    store.dbExecute(CString(InsertOf(table, row)));
}

}  // namespace mersola::tool
