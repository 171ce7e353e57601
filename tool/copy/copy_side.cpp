// Reading rows, and naming the database in what goes wrong.
#include "copy_side.h"

#include "basics/failure.h"

namespace mersola::tool {
namespace {

Cell CellOf(const AdoField& field, const StoredColumn& column) {
    if (field.IsNull()) return {};
    if (column.HoldsText()) return std::string(field.Text().View());
    if (column.kind == StoredColumn::Integer) return field.Long();
    return field.Double();
}

}  // namespace

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
        for (_Recordset& row : tool::Rows(*store_, "%s", query.c_str()))
            each(row);
    });
}

void Side::ForEachRow(const std::string& query, StoredTable table,
                      const std::function<void(Row&)>& each) {
    std::vector<std::optional<int>> positions;
    ForEachRow(query, [&](_Recordset& rows) {
        const auto columns = ColumnsOf(table);
        if (positions.empty()) {
            for (const StoredColumn& column : columns)
                positions.push_back(ColumnIn(rows, column.name));
        }
        Row row;
        for (std::size_t i = 0; i < columns.size(); ++i)
            row[columns[i].name] =
                positions[i] ? CellOf(rows.Fields(*positions[i]), columns[i]) : Cell();
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
