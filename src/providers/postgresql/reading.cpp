// Recognising a SELECT by its tokens, and asking the catalogue for the keys.
#include "reading.h"

#include <algorithm>
#include <initializer_list>
#include <utility>

#include "dialect/keywords.h"
#include "dialect/lexer.h"

namespace mersola::postgresql {
namespace {

using dialect::Lexer;
using dialect::Matches;
using dialect::Token;
using dialect::TokenKind;

bool IsWord(const Token& token, std::initializer_list<std::string_view> words) {
    return token.kind == TokenKind::Word &&
           std::ranges::any_of(words, [&](auto word) { return Matches(token.text, word); });
}

bool IsName(const Token& token) {
    return token.kind == TokenKind::Word || token.kind == TokenKind::QuotedName;
}

std::string Folded(const Token& token) {
    std::string name(token.kind == TokenKind::QuotedName ? token.Body() : token.text);
    std::ranges::transform(name, name.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
    });
    return name;
}

// The values of all reports: what reads them says its order.
constexpr std::string_view kValues = "measuredvalues";

}  // namespace

std::optional<Reading> Recognise(std::string_view sql) {
    Lexer lexer(sql);
    if (!IsWord(lexer.Next(), {"SELECT"})) return std::nullopt;
    Reading reading;
    std::string list;
    Token token = lexer.Next();
    for (; !IsWord(token, {"FROM"}); token = lexer.Next()) {
        if (token.kind == TokenKind::End || IsWord(token, {"DISTINCT", "TOP", "SELECT"}))
            return std::nullopt;
        list += Folded(token);
    }
    reading.countsRows = list == "count(*)";
    if (!reading.countsRows && list.find('(') != list.npos) return std::nullopt;
    token = lexer.Next();
    for (Lexer ahead = lexer; IsName(token) && ahead.Next().Is('.'); ahead = lexer) {
        lexer.Next();
        token = lexer.Next();
    }
    if (!IsName(token)) return std::nullopt;
    reading.table = Folded(token);
    int depth = 0;
    for (token = lexer.Next(); token.kind != TokenKind::End; token = lexer.Next()) {
        depth += token.Is('(') ? 1 : token.Is(')') ? -1 : 0;
        if (depth > 0) continue;
        if (IsWord(token, {"ORDER"})) reading.isOrdered = true;
        if ((token.Is(',') && !reading.isOrdered) ||
            IsWord(token, {"JOIN", "GROUP", "HAVING", "UNION", "EXCEPT", "INTERSECT", "LIMIT",
                           "OFFSET", "FETCH", "FOR", "WINDOW", "OPTION"}))
            return std::nullopt;
    }
    return reading;
}

bool IsInsert(std::string_view sql) {
    Lexer lexer(sql);
    if (!IsWord(lexer.Next(), {"INSERT"})) return false;
    bool hasValues = false;
    for (Token token = lexer.Next(); token.kind != TokenKind::End; token = lexer.Next()) {
        hasValues = hasValues || IsWord(token, {"VALUES"});
        if (IsWord(token, {"SELECT", "RETURNING", "ON"})) return false;
    }
    return hasValues;
}

std::string KeyOrder::Behind(const Reading& reading) {
    if (reading.countsRows || reading.table == kValues) return {};
    if (!keys_) Load();
    const auto key = keys_->find(reading.table);
    if (key == keys_->end()) return {};
    return (reading.isOrdered ? "," : " ORDER BY ") + key->second;
}

void KeyOrder::Load() {
    std::map<std::string, std::string, std::less<>> keys;
    connection_.Send(
        {.text = "SELECT CAST(c.relname AS text),string_agg(quote_ident(a.attname),',' ORDER BY "
                 "k.n) FROM pg_catalog.pg_index i JOIN pg_catalog.pg_class c ON c.oid=i.indrelid,"
                 "unnest(i.indkey) WITH ORDINALITY k(attnum,n),pg_catalog.pg_attribute a WHERE "
                 "a.attrelid=c.oid AND a.attnum=k.attnum AND i.indisprimary AND c.oid>=16384 AND "
                 "NOT c.relispartition AND pg_catalog.pg_table_is_visible(c.oid) GROUP BY c.oid,"
                 "c.relname",
         .parameters = Parameters()});
    for (Result row = connection_.Next(); row && PQresultStatus(row.get()) == PGRES_SINGLE_TUPLE;
         row = connection_.Next())
        keys.emplace(PQgetvalue(row.get(), 0, 0), PQgetvalue(row.get(), 0, 1));
    keys_ = std::move(keys);
}

const char* LockFor(const Reading& reading) {
    const bool numbers = reading.table == "groups" || reading.table == "measurements" ||
                         reading.table == "measvaluemap";
    // The first number is ours ("mers"), so that other programs' locks are others.
    return reading.countsRows && numbers
               ? "SELECT pg_advisory_xact_lock(1835364979,hashtext(current_schema()))"
               : nullptr;
}

}  // namespace mersola::postgresql
