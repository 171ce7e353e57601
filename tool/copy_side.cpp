// Reading rows and writing them as statements that both engines take.
#include "copy_side.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "failure.h"

namespace mersola::tool {
namespace {

Cell CellOf(const AdoField& field, StoredColumn::Kind kind) {
    if (field.IsNull()) return {};
    switch (kind) {
        case StoredColumn::Integer:
            return field.Long();
        case StoredColumn::Real:
            return field.Double();
        default:
            return std::string(field.Text().View());
    }
}

Row RowOf(_Recordset& rows, StoredTable table) {
    Row row;
    for (const StoredColumn& column : ColumnsOf(table)) {
        Cell& cell = row[column.name];
        try {
            cell = CellOf(rows.Fields(column.name), column.kind);
        } catch (const _com_error& error) {
            // Databases that were laid out long ago lack some columns.
            if (error.Error() != adErrItemNotFound) throw;
        }
    }
    return row;
}

}  // namespace

std::int32_t NumberIn(const Row& row, std::string_view column) {
    const auto* number = std::get_if<std::int32_t>(&row.find(column)->second);
    return number ? *number : 0;
}

std::string TextIn(const Row& row, std::string_view column) {
    const auto* text = std::get_if<std::string>(&row.find(column)->second);
    return text ? *text : std::string();
}

std::string Literal(const Cell& cell) {
    if (const auto* text = std::get_if<std::string>(&cell)) {
        std::string quoted = "N'";
        for (const char c : *text)
            quoted += c == '\'' ? std::string(2, c) : std::string(1, c);
        return quoted + "'";
    }
    if (const auto* number = std::get_if<std::int32_t>(&cell)) return std::to_string(*number);
    if (const auto* real = std::get_if<double>(&cell)) {
        // With an exponent, or SQL Server would take it for a decimal and round it.
        char digits[40];
        const auto end = std::to_chars(std::begin(digits), std::end(digits), *real,
                                       std::chars_format::scientific);
        return std::string(digits, end.ptr);
    }
    return "NULL";
}

std::string InsertOf(StoredTable table, const Row& row) {
    std::string names, values;
    for (const StoredColumn& column : ColumnsOf(table)) {
        names += (names.empty() ? "" : ",") + std::string(column.name);
        values += (values.empty() ? "" : ",") + Literal(row.at(column.name));
    }
    return "INSERT INTO " + std::string(NameOf(table)) + " (" + names + ") VALUES (" + values + ")";
}

void Side::Run(const std::string& statement) {
    Guard([&] { store_->dbExecute(CString(statement)); });
}

void Side::RunTogether(const std::vector<std::string>& statements) {
    if (statements.empty()) return;
    Guard([&] {
        Transaction transaction(*store_);
        for (const auto& each : statements)
            store_->dbExecute(CString(each));
        transaction.Commit();
    });
}

void Side::ForEachRow(const std::string& query, const std::function<void(_Recordset&)>& each) {
    Guard([&] {
        for (const auto rows = store_->dbExecute(CString(query)); !rows->EndOfFile();
             rows->MoveNext())
            each(*rows);
    });
}

void Side::ForEachRow(const std::string& query, StoredTable table,
                      const std::function<void(Row&)>& each) {
    ForEachRow(query, [&](_Recordset& rows) {
        Row row = RowOf(rows, table);
        each(row);
    });
}

std::vector<Row> Side::Rows(const std::string& query, StoredTable table) {
    std::vector<Row> found;
    ForEachRow(query, table, [&](Row& row) { found.push_back(std::move(row)); });
    return found;
}

std::optional<std::int32_t> Side::Number(const std::string& query) {
    std::optional<std::int32_t> number;
    Guard([&] {
        const auto rows = store_->dbExecute(CString(query));
        if (!rows->EndOfFile() && !rows->Fields(0).IsNull()) number = rows->Fields(0).Long();
    });
    return number;
}

void Side::Refused(const _com_error& error) const {
    throw Failure("the database " + name_ + " refused (" + Printable(error.what()) + ")");
}

}  // namespace mersola::tool
