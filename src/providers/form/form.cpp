// The form of a database: its format, and in a file the kind of what has the names of our tables.
#include "form.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <string>
#include <utility>

#include "dialect/lexer.h"
#include "engines/engines.h"
#include "engines/format.h"

namespace mersola::form {
namespace {

using ado::EqualNoCase;

[[noreturn]] void Refuse(const std::string& what, const char* source) {
    throw _com_error(E_FAIL, what.c_str(), source);
}

std::string_view TextOf(const ado::Cell& cell) {
    return cell.kind == ado::CellKind::Text ? cell.View() : std::string_view();
}

// Some drivers give a number of the header as a text.
std::int64_t NumberOf(const ado::Cell& cell) {
    if (cell.kind == ado::CellKind::Integer) return cell.integer;
    std::int64_t number = 0;
    const std::string_view text = TextOf(cell);
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

void RequireKnown(const Format& format, std::string_view writer, const char* source) {
    if (!format.IsKnown()) Refuse(TooNew(format.number, writer), source);
}

// The newest format in the version history, and the version that wrote it. Who may not read the
// history, or finds none, learns nothing. A time-out or a lost connection is no answer.
std::pair<Format, std::string> InHistory(ado::ProviderSession& session) try {
    Format newest;
    std::string writer;
    for (const auto rows = session.Execute(kHistoryStatement); rows && rows->Next();) {
        const std::string version(TextOf(rows->At(0))), info(TextOf(rows->At(1)));
        const auto number = FormatInHistory(version, info);
        if (!number || *number < newest.number) continue;
        newest = {.number = *number, .isMarked = true};
        writer = WriterInHistory(info);
    }
    return {newest, writer};
} catch (const _com_error& error) {
    if (error.Error() == DB_E_NOTABLE || error.Error() == DB_E_ERRORSINCOMMAND) return {};
    throw;
}

// What the word behind CREATE VIRTUAL TABLE name USING begins with in our own layouts.
constexpr std::string_view kOwnModules = "mersola";

bool IsOwnModule(std::string_view sql) try {
    dialect::Lexer lexer(sql);
    for (const std::string_view word : {"CREATE", "VIRTUAL", "TABLE"}) {
        if (!EqualNoCase(lexer.Next().text, word)) return false;
    }
    lexer.Next();
    return EqualNoCase(lexer.Next().text, "USING") &&
           EqualNoCase(lexer.Next().text.substr(0, kOwnModules.size()), kOwnModules);
} catch (const dialect::SyntaxError&) {
    return false;
}

struct Tables {
    std::set<std::string> names;  // as statements write them
    std::string fault;            // what is wrong with one of them
};

// SQLite keeps a table's text behind these words, whatever the statement looked like.
Tables TablesIn(ado::ProviderSession& session) {
    std::string statement =
        "SELECT name,type,sql FROM sqlite_master WHERE type IN ('table','view') AND name COLLATE "
        "NOCASE IN (";
    for (const char* name : kTableNames)
        statement.append(statement.ends_with('(') ? "'" : ",'").append(name).append("'");
    Tables tables;
    for (const auto rows = session.Execute(statement + ")"); rows && rows->Next();) {
        const std::string name(TextOf(rows->At(0))), sql(TextOf(rows->At(2)));
        const bool isView = TextOf(rows->At(1)) == "view";
        if (!isView && (sql.starts_with("CREATE TABLE ") || IsOwnModule(sql))) {
            tables.names.insert(*std::ranges::find_if(
                kTableNames, [&](const char* each) { return EqualNoCase(each, name); }));
        } else {
            tables.fault = name + " is " + (isView ? "a view" : "another program's virtual table") +
                           " in this file, ";
            tables.fault += kIsNoTable;
        }
    }
    return tables;
}

Format HeaderOf(ado::ProviderSession& session) {
    const auto rows = session.Execute(kHeaderStatement);
    if (!rows || !rows->Next()) return {};
    const auto id = NumberOf(rows->At(0));
    return FormatInHeader(id, NumberOf(rows->At(1)));
}

}  // namespace

bool RequireReadable(ado::ProviderSession& session, const char* source) {
    const Engine* const engine = FindEngine(session.DbmsName());
    if (!engine || !engine->isFile) {
        const auto [format, writer] = InHistory(session);
        RequireKnown(format, writer, source);
        return false;
    }
    const Tables tables = TablesIn(session);
    const Format format = HeaderOf(session);
    if (!format.IsKnown()) {
        const auto [written, writer] = tables.names.contains("VersionHistory")
                                           ? InHistory(session)
                                           : std::pair<Format, std::string>();
        RequireKnown(format, written.number == format.number ? writer : "", source);
    }
    if (!tables.fault.empty()) Refuse(tables.fault, source);
    // Other programs have some of these names too, but hardly both.
    return format.isMarked ||
           (tables.names.contains("Groups") && tables.names.contains("MeasValueMap"));
}

}  // namespace mersola::form
