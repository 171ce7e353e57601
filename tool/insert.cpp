// Statements that add rows, on either engine.
#include "insert.h"

#include <array>
#include <charconv>
#include <cmath>
#include <optional>

#include "failure.h"
#include "query.h"

namespace mersola::tool {
namespace {

template <class Number>
std::optional<Number> Parse(std::string_view text) {
    Number number{};
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
    if (parsed.ec != std::errc() || parsed.ptr != text.data() + text.size()) return std::nullopt;
    return number;
}

}  // namespace

std::int32_t NumberIn(const StoredRow& record, std::string_view column) {
    const auto found = record.find(column);
    if (found == record.end()) throw Failure("it has no " + std::string(column));
    if (const auto number = Parse<std::int32_t>(found->second)) return *number;
    throw Failure(std::string(column) + " " + Quoted(found->second) + " is no whole number");
}

std::string TextIn(const StoredRow& record, std::string_view column) {
    const auto found = record.find(column);
    return found == record.end() ? std::string() : found->second;
}

std::string LiteralOf(const StoredColumn& column, const std::string& text) {
    switch (column.kind) {
        case StoredColumn::Integer:
            return std::to_string(NumberIn({{column.name, text}}, column.name));
        case StoredColumn::Real: {
            const auto number = Parse<double>(text);
            if (!number || !std::isfinite(*number))
                throw Failure(std::string(column.name) + " " + Quoted(text) + " is no number");
            // Without an exponent SQL Server takes it for a decimal, and rounds it.
            std::array<char, 32> digits;
            const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), *number,
                                           std::chars_format::scientific)
                                 .ptr;
            return std::string(digits.data(), end);
        }
        default: {
            std::string quoted = "N'";
            for (const char c : text)
                quoted += c == '\'' ? std::string(2, c) : std::string(1, c);
            return quoted + "'";
        }
    }
}

void InsertInto(Mersola& store, StoredTable table, const StoredRow& record) {
    const auto layout = Query(store, "SELECT * FROM %s WHERE 1=0", NameOf(table));
    std::string names, values;
    for (int i = 0; i < layout->FieldCount(); ++i) {
        for (const StoredColumn& column : ColumnsOf(table)) {
            const auto given = record.find(std::string_view(column.name));
            if (given == record.end() ||
                CompareNoCase(layout->FieldName(i).View(), column.name) != 0)
                continue;
            names += (names.empty() ? "" : ",") + std::string(column.name);
            values += (values.empty() ? "" : ",") + LiteralOf(column, given->second);
        }
    }
    const std::string insert =
        std::string("INSERT INTO ") + NameOf(table) + " (" + names + ") VALUES (" + values + ")";
    store.dbExecute(CString(insert));
}

}  // namespace mersola::tool
