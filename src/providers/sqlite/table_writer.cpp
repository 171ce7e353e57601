// The rows of a batch, one after the other through one statement, or straight into a packed table.
#include "table_writer.h"

#include <algorithm>

#include "batch_transaction.h"
#include "dialect/characters.h"
#include "errors.h"

namespace mersola::sqlite {
namespace {

std::string Quoted(std::string_view name) {
    std::string quoted = "\"";
    for (const char c : name) {
        if (c == '[' || c == ']') continue;
        quoted += c;
        if (c == '"') quoted += c;
    }
    return quoted + '"';
}

constexpr std::string_view kValues = "\"MeasuredValues\"";

bool IsUtf8(const ado::Cell& cell) {
    return cell.kind != ado::CellKind::Text || dialect::IsUtf8({cell.text, cell.length});
}

}  // namespace

TableWriter::TableWriter(sqlite3* db, std::string_view table, std::shared_ptr<PackedValues> values,
                         const CallersTransaction& transaction)
    : db_(db), transaction_(transaction), name_(Quoted(table)) {
    if (ado::EqualNoCase(name_, kValues)) values_ = std::move(values);
    if (values_ && values_->IsPacked()) {
        columns_.assign(packed::kColumnNames.begin(), packed::kColumnNames.end());
        return;
    }
    const Statement layout = Prepare(db, "SELECT * FROM " + name_);
    for (int column = 0; column < sqlite3_column_count(layout.get()); ++column)
        columns_.emplace_back(sqlite3_column_name(layout.get(), column));
    if (!std::ranges::equal(columns_, packed::kColumnNames)) values_ = nullptr;
    PrepareInsert();
}

void TableWriter::PrepareInsert() {
    std::string names;
    std::string marks;
    for (const std::string& column : columns_) {
        names += (names.empty() ? "" : ",") + Quoted(column);
        marks += marks.empty() ? "?" : ",?";
    }
    insert_ = Prepare(db_, "INSERT INTO " + name_ + "(" + names + ") VALUES (" + marks + ")");
}

ado::BatchOutcome TableWriter::Write(std::span<const ado::Cell> cells) {
    transaction_.Require();
    BatchTransaction transaction(db_);
    ado::BatchOutcome outcome = InsertRows(cells);
    transaction.Commit();
    return outcome;
}

ado::BatchOutcome TableWriter::InsertRows(std::span<const ado::Cell> cells) {
    ado::BatchOutcome outcome;
    const std::size_t width = columns_.size();
    packed::Store* const store = values_ ? values_->TakePart() : nullptr;
    for (; !cells.empty(); cells = cells.subspan(width)) {
        const auto row = cells.first(width);
        if (store && PackedValues::Insert(*store, row)) continue;
        const bool isText = std::ranges::all_of(row, IsUtf8);
        const int code = isText ? Insert(row) : SQLITE_CONSTRAINT;
        if (code == SQLITE_DONE) continue;
        if (!IsRefusal(code)) throw Translated(db_, code);
        if (outcome.refused++ == 0)
            outcome.firstRefusal = isText ? Translated(db_, code) : NoUtf8();
    }
    return outcome;
}

int TableWriter::Insert(std::span<const ado::Cell> row) {
    if (!insert_) PrepareInsert();
    sqlite3_stmt* insert = insert_.get();
    int index = 0;
    for (const ado::Cell& cell : row) {
        ++index;
        switch (cell.kind) {
            case ado::CellKind::Null:
                sqlite3_bind_null(insert, index);
                break;
            case ado::CellKind::Integer:
                sqlite3_bind_int64(insert, index, cell.integer);
                break;
            case ado::CellKind::Real:
                sqlite3_bind_double(insert, index, cell.real);
                break;
            case ado::CellKind::Text:
                sqlite3_bind_text(insert, index, cell.text, static_cast<int>(cell.length),
                                  SQLITE_STATIC);
                break;
        }
    }
    const int code = sqlite3_step(insert);
    sqlite3_reset(insert);
    return code;
}

}  // namespace mersola::sqlite
