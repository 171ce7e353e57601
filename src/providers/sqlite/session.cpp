// Running statements: translate, take the prepared one, bind the literals, step.
#include "session.h"

#include <string>
#include <utility>
#include <vector>

#include "dialect/characters.h"
#include "errors.h"
#include "gathered_values.h"
#include "running_statement.h"
#include "table_writer.h"

namespace mersola::sqlite {
namespace {

void Bind(sqlite3* db, sqlite3_stmt* statement, int index, const dialect::Literal& literal,
          sqlite3_destructor_type keeping) {
    using Kind = dialect::Literal::Kind;
    switch (literal.kind) {
        case Kind::Integer:
            Check(db, sqlite3_bind_int64(statement, index, literal.integer));
            break;
        case Kind::Real:
            Check(db, sqlite3_bind_double(statement, index, literal.real));
            break;
        case Kind::Text:
            Check(db, sqlite3_bind_text64(statement, index, literal.text.data(),
                                          literal.text.size(), keeping, SQLITE_UTF8));
            break;
    }
}

// VACUUM attaches a file by itself, which no other statement may.
class Attaching {
  public:
    Attaching(sqlite3* db, std::string_view statement)
        : db_(ado::EqualNoCase(statement.substr(0, 6), "VACUUM") ? db : nullptr) {
        if (db_) sqlite3_limit(db_, SQLITE_LIMIT_ATTACHED, 1);
    }
    ~Attaching() {
        if (db_) sqlite3_limit(db_, SQLITE_LIMIT_ATTACHED, 0);
    }
    Attaching(const Attaching&) = delete;
    Attaching& operator=(const Attaching&) = delete;

  private:
    sqlite3* db_;
};

class Rows : public ado::RowSource {
  public:
    /// `values` gives the same rows in blocks; null where they are too few, or others.
    Rows(RunningStatement statement, std::unique_ptr<GatheredValues> values)
        : statement_(std::move(statement)), row_(statement_.Get()), values_(std::move(values)) {}

    const std::vector<std::string>& Columns() const override {
        if (columns_.empty()) {
            const int count = sqlite3_column_count(row_);
            for (int column = 0; column < count; ++column)
                columns_.emplace_back(sqlite3_column_name(row_, column));
        }
        return columns_;
    }

    bool Next() override { return std::exchange(isAhead_, false) || statement_.Step(); }

    bool NextBlock(ado::ColumnBlock& block) override {
        if (!values_) return RowSource::NextBlock(block);
        // As long as this statement stands on its first row, all others see what it saw.
        if (block.columns.empty() && !Next()) return false;
        if (values_->Next(block)) return true;
        if (values_->IsAtEnd()) return false;
        while (sqlite3_column_int64(row_, packed::kPeriodNo) < values_->Rest()) {
            if (!Next()) return false;
        }
        values_.reset();
        isAhead_ = true;
        block.columns.clear();
        return RowSource::NextBlock(block);
    }

    ado::Cell At(int column) const override {
        // This looks the column up once. sqlite3_column_* would look it up three times, for type,
        // value and length.
        sqlite3_value* value = sqlite3_column_value(row_, column);
        switch (sqlite3_value_type(value)) {
            case SQLITE_INTEGER:
                return ado::Cell::Integer(sqlite3_value_int64(value));
            case SQLITE_FLOAT:
                return ado::Cell::Real(sqlite3_value_double(value));
            case SQLITE_NULL:
                return {};
            default:
                break;
        }
        const auto length = static_cast<std::size_t>(sqlite3_value_bytes(value));
        if (length == 0) return ado::Cell::Text("");
        return ado::Cell::Text({reinterpret_cast<const char*>(sqlite3_value_text(value)), length});
    }

  private:
    RunningStatement statement_;
    sqlite3_stmt* row_;
    std::unique_ptr<GatheredValues> values_;
    bool isAhead_ = false;  // on a row that is still to be handed out
    mutable std::vector<std::string> columns_;
};

}  // namespace

std::unique_ptr<ado::RowSource> Session::Execute(std::string_view sql) try {
    const dialect::Translation translation = translator_.Translate(sql, dialect::Literals::Lifted);
    if (translation.noOperation) return nullptr;
    transaction_.Require();
    if (auto rows = values_->Run(translation)) return std::move(*rows);
    RunningStatement statement(db_.get(), cache_, translation.text);
    const bool givesRows = sqlite3_column_count(statement.Get()) > 0;
    // When rows are read, the caller's text may be gone, so the literals are copied.
    const auto keeping = givesRows ? SQLITE_TRANSIENT : SQLITE_STATIC;
    int index = 0;
    for (const dialect::Literal& literal : translation.literals) {
        // A text that is not UTF-8 may be looked for, since older databases may hold it, but not
        // stored.
        if (!givesRows && !dialect::IsUtf8(literal.text)) throw NoUtf8();
        Bind(db_.get(), statement.Get(), ++index, literal, keeping);
    }
    if (givesRows)
        return std::make_unique<Rows>(std::move(statement),
                                      GatheredValues::Of(db_.get(), cache_, translation));
    const Attaching attaching(db_.get(), translation.text);
    while (statement.Step()) {  // some of SQLite's own do a part of their work in each step
    }
    transaction_.NoteEnd();
    return nullptr;
} catch (const dialect::SyntaxError& error) {
    throw _com_error(DB_E_ERRORSINCOMMAND, error.what(), kSource);
}

std::unique_ptr<ado::TableWriter> Session::OpenTable(std::string_view table) {
    return std::make_unique<TableWriter>(db_.get(), table, values_, transaction_);
}

void Session::Begin() {
    Execute(sqlite3_db_readonly(db_.get(), "main") == 1 ? "BEGIN" : kSqlite.begin);
    transaction_.Began();
}

void Session::Commit() {
    Execute("COMMIT");
}

void Session::Rollback() {
    transaction_.Ended();
    if (!sqlite3_get_autocommit(db_.get()))
        Execute("ROLLBACK");  // after a grave error SQLite has rolled back by itself
}

}  // namespace mersola::sqlite
