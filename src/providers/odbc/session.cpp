// Running statements: as they stand, or through the translator.
#include "session.h"

#include "block_rows.h"
#include "table_writer.h"

namespace mersola::odbc {

Connection& Session::Open() const {
    if (!connection_->IsOpen()) throw _com_error(E_FAIL, "The connection was lost", kSource);
    return *connection_;
}

std::string_view Session::TextFor(std::string_view sql) try {
    // The server would run a second statement; the translator finds it, whatever the dialect.
    const auto translation = translator_.Translate(sql, dialect::Literals::InPlace);
    if (connection_->EngineOf().language == Language::SqlServer) return sql;
    return translation.noOperation ? std::string_view() : translation.text;
} catch (const dialect::SyntaxError& error) {
    throw _com_error(DB_E_ERRORSINCOMMAND, error.what(), kSource);
}

std::shared_ptr<const Statement> Session::Run(std::string_view text) {
    const Shape shape(text);
    if (shape.IsDefinition()) {  // prepared statements may be for the tables as they were
        statements_.Clear();
        tables_.Clear();
    } else if (auto prepared = statements_.Execute(shape)) {
        return prepared;
    }
    auto statement = std::make_shared<const Statement>(connection_);
    statement->Execute(text);
    return statement;
}

std::unique_ptr<ado::RowSource> Session::Execute(std::string_view sql) {
    Open();
    const std::string_view text = TextFor(sql);
    if (text.empty()) return nullptr;
    auto statement = Run(text);
    while (statement->ColumnCount() == 0) {  // the counts of a trigger's statements may come first
        const SQLRETURN code = SQLMoreResults(statement->Get());
        if (code == SQL_NO_DATA) return nullptr;
        statement->Check(code);
    }
    return std::make_unique<BlockRows>(std::move(statement));
}

std::unique_ptr<ado::TableWriter> Session::OpenTable(std::string_view table) {
    Open();
    auto known = tables_.Find(table);
    if (!known) {
        const std::string layout = "SELECT * FROM " + std::string(table) + " WHERE 1=0";
        known = tables_.Add(table, TextFor(layout));
    }
    return std::make_unique<TableWriter>(connection_, std::move(known));
}

void Session::Begin() {
    Open().Begin();
}

void Session::Commit() {
    Open().Commit();
}

void Session::Rollback() {
    Open().Rollback();
}

}  // namespace mersola::odbc
