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
    return Run(sql, translation);
}

std::unique_ptr<ado::RowSource> Session::Run(std::string_view sql,
                                             const dialect::Translation& told) {
    if (!told.isQuery) {
        auto rows = RunAlone(told.text, false);
        if (!rows) {
            tables_.Clear();
            statements_.Doubt();
        }
        return rows;
    }
    for (bool again = false;; again = true) {
        try {
            return RunQuery(sql, told);
        } catch (const _com_error&) {
            const std::string& state = connection_->LastState();
            if (!connection_->IsOpen()) throw;
            if (!again && IsStale(state)) {
                statements_.Forget();
                continue;
            }
            if (told.literals.empty() || !MayBeParameters(state)) throw;
        }
        return RunAlone(Translate(sql, Literals::InPlace).text, true);
    }
}

std::unique_ptr<ado::RowSource> Session::RunQuery(std::string_view sql,
                                                  const dialect::Translation& told) {
    Fill(parameters_, told.literals);
    Known& known = statements_.Find(sql, told.text, parameters_);
    if (*known.isLong) return Copied(sql, known);
    statements_.Send(known, parameters_);
    Result first = connection_->Next();
    if (!known.isPlain) return Streamed(std::move(first));
    RowShape shape = ShapeOf(first.get());
    if (PQntuples(first.get()) <= PreparedStatements::kMostAtOnce)
        return std::make_unique<WholeRows>(std::move(shape), std::move(first));
    *known.isLong = true;
    known.shape = std::move(shape);
    return Copied(sql, known);
}

std::unique_ptr<ado::RowSource> Session::Copied(std::string_view sql, const Known& known) {
    const std::string text = "COPY (" + std::string(Translate(sql, Literals::InPlace).text) +
                             known.order + ") TO STDOUT (FORMAT binary)";
    connection_->SendCopy(text.c_str());
    return std::make_unique<CopiedRows>(connection_, known.shape, known.isLong);
}

std::unique_ptr<ado::RowSource> Session::Streamed(Result first) {
    if (!first || PQresultStatus(first.get()) == PGRES_COMMAND_OK) return nullptr;
    try {
        RowShape shape = ShapeOf(first.get());
        return std::make_unique<Rows>(connection_, std::move(shape), std::move(first));
    } catch (const _com_error&) {
        connection_->Abandon();
        throw;
    }
}

std::unique_ptr<ado::RowSource> Session::RunAlone(std::string_view text, bool isQuery) {
    parameters_.Clear();
    const std::string whole(text);
    connection_->Send({.text = whole.c_str(), .parameters = parameters_, .isQuery = isQuery});
    return Streamed(connection_->Next());
}

std::unique_ptr<ado::TableWriter> Session::OpenTable(std::string_view table) {
    if (!connection_->IsOpen()) throw Lost();
    auto known = tables_.Find(table);
    if (!known) {
        constexpr std::string_view kHead = "SELECT * FROM ";
        const std::string layout = std::string(kHead) + std::string(table);
        const std::string name(Translate(layout, Literals::InPlace).text.substr(kHead.size()));
        const std::string text = std::string(kHead) + name + " WHERE 1=0";
        parameters_.Clear();
        const Result end = connection_->Execute({.text = text.c_str(), .parameters = parameters_});
        std::vector<TableColumn> columns;
        for (int i = 0; i < PQnfields(end.get()); ++i)
            columns.push_back({PQfname(end.get(), i), PQftype(end.get(), i)});
        known = std::make_shared<KnownTable>(name, std::move(columns));
        tables_.Add(table, known);
    }
    return std::make_unique<TableWriter>(connection_, std::move(known));
}

}  // namespace mersola::postgresql
