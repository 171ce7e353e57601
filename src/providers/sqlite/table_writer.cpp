// A batch is one transaction, or a savepoint inside the caller's.
#include "table_writer.h"

#include <algorithm>

#include "dialect/characters.h"
#include "engines/sqlite.h"
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

void Run(sqlite3* db, const char* sql) {
    Check(db, sqlite3_exec(db, sql, nullptr, nullptr, nullptr));
}

bool IsUtf8(const ado::Cell& cell) {
    return cell.kind != ado::CellKind::Text || dialect::IsUtf8({cell.text, cell.length});
}

// A batch in progress. Its end undoes what was not committed.
class BatchTransaction {
  public:
    explicit BatchTransaction(sqlite3* db) : db_(db), nested_(!sqlite3_get_autocommit(db)) {
        Run(db_, nested_ ? kSavepoint.set : kSqlite.begin);
    }
    ~BatchTransaction() {
        if (done_ || sqlite3_get_autocommit(db_)) return;
        Undo(nested_ ? kSavepoint.goBack : "ROLLBACK");
        if (nested_) Undo(kSavepoint.release);
    }
    BatchTransaction(const BatchTransaction&) = delete;
    BatchTransaction& operator=(const BatchTransaction&) = delete;

    void Commit() {
        Run(db_, nested_ ? kSavepoint.release : "COMMIT");
        done_ = true;
    }

  private:
    void Undo(const char* sql) const { sqlite3_exec(db_, sql, nullptr, nullptr, nullptr); }

    sqlite3* db_;
    bool nested_;
    bool done_ = false;
};

}  // namespace

TableWriter::TableWriter(sqlite3* db, std::string_view table) : db_(db) {
    const std::string name = Quoted(table);
    const Statement layout = Prepare(db, "SELECT * FROM " + name);
    std::string names;
    std::string marks;
    for (int column = 0; column < sqlite3_column_count(layout.get()); ++column) {
        columns_.emplace_back(sqlite3_column_name(layout.get(), column));
        if (column > 0) {
            names += ',';
            marks += ',';
        }
        names += Quoted(columns_.back());
        marks += '?';
    }
    insert_ = Prepare(db, "INSERT INTO " + name + "(" + names + ") VALUES (" + marks + ")");
}

ado::BatchOutcome TableWriter::Write(std::span<const ado::Cell> cells) {
    BatchTransaction transaction(db_);
    ado::BatchOutcome outcome = InsertRows(cells);
    transaction.Commit();
    return outcome;
}

ado::BatchOutcome TableWriter::InsertRows(std::span<const ado::Cell> cells) {
    ado::BatchOutcome outcome;
    const std::size_t width = columns_.size();
    for (; !cells.empty(); cells = cells.subspan(width)) {
        const auto row = cells.first(width);
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
