// Running statements: translate, send the prepared one with the literals, read.
#include "session.h"

#include "rows.h"
#include "table_writer.h"

namespace mersola::postgresql {
namespace {

using dialect::Literals;

void Fill(Parameters& parameters, std::span<const dialect::Literal> literals) {
    using Kind = dialect::Literal::Kind;
    parameters.Clear();
    for (const dialect::Literal& literal : literals) {
        switch (literal.kind) {
            case Kind::Integer:
                parameters.AddInteger(literal.integer);
                break;
            case Kind::Real:
                parameters.AddReal(literal.real);
                break;
            case Kind::Text:
                parameters.AddText(literal.text);
                break;
        }
    }
}

// Whether the server refused a prepared statement because it became another one meanwhile: its
// table was changed, or somebody between here and the server lost it.
bool IsStale(std::string_view state) {
    return state == "0A000" || state == "26000";
}

// Whether the server may have refused a statement only because it cannot tell a parameter's type.
bool MayBeParameters(std::string_view state) {
    return state.starts_with("42") && state != "42P01" && state != "42501";
}

}  // namespace

dialect::Translation Session::Translate(std::string_view sql, Literals mode) try {
    return translator_.Translate(sql, mode);
} catch (const dialect::SyntaxError& error) {
    throw _com_error(DB_E_ERRORSINCOMMAND, error.what(), kSource);
}

std::unique_ptr<ado::RowSource> Session::Execute(std::string_view sql) {
    if (!connection_->IsOpen()) throw Lost();
    const auto translation = Translate(sql, Literals::Lifted);
    if (translation.noOperation) return nullptr;
    Result first = Run(sql, translation);
    if (!first || PQresultStatus(first.get()) == PGRES_COMMAND_OK) return nullptr;
    return std::make_unique<Rows>(connection_, std::move(first));
}

Result Session::Run(std::string_view sql, const dialect::Translation& translation) {
    if (!translation.isQuery) {
        Result end = RunAlone(translation.text, false);
        tables_.Clear();
        statements_.Doubt();
        return end;
    }
    for (bool again = false;; again = true) {
        try {
            return RunQuery(sql, translation);
        } catch (const _com_error&) {
            const std::string& state = connection_->LastState();
            if (!connection_->IsOpen()) throw;
            if (!again && IsStale(state)) {
                statements_.Forget();
                continue;
            }
            if (translation.literals.empty() || !MayBeParameters(state)) throw;
        }
        return RunAlone(Translate(sql, Literals::InPlace).text, true);
    }
}

Result Session::RunQuery(std::string_view sql, const dialect::Translation& translation) {
    Fill(parameters_, translation.literals);
    statements_.Send(sql, translation.text, parameters_);
    return connection_->Next();
}

Result Session::RunAlone(std::string_view text, bool isQuery) {
    parameters_.Clear();
    const std::string whole(text);
    connection_->Send({.text = whole.c_str(), .parameters = parameters_, .isQuery = isQuery});
    return connection_->Next();
}

std::unique_ptr<ado::TableWriter> Session::OpenTable(std::string_view table) {
    if (!connection_->IsOpen()) throw Lost();
    auto known = tables_.Find(table);
    if (!known) {
        constexpr std::string_view kHead = "SELECT * FROM ";
        const std::string layout = std::string(kHead) + std::string(table);
        const std::string name(Translate(layout, Literals::InPlace).text.substr(kHead.size()));
        const Result end = RunAlone(std::string(kHead) + name + " WHERE 1=0", true);
        std::vector<TableColumn> columns;
        for (int i = 0; i < PQnfields(end.get()); ++i)
            columns.push_back({PQfname(end.get(), i), PQftype(end.get(), i)});
        known = std::make_shared<KnownTable>(name, std::move(columns));
        tables_.Add(table, known);
    }
    return std::make_unique<TableWriter>(connection_, std::move(known));
}

}  // namespace mersola::postgresql
