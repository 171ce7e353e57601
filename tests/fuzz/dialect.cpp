// Statements: the translation refuses, or gives one statement with as many parameters as values.
#include <sqlite3.h>

#include <algorithm>
#include <memory>

#include "dialect/translator.h"
#include "odbc/shape.h"
#include "property.h"

namespace mersola::fuzz {
namespace {

using dialect::Literals;
using dialect::Translation;
using dialect::Translator;

// As the provider opens one, with tables to name.
sqlite3* Engine() {
    static sqlite3* const engine = [] {
        sqlite3* db = nullptr;
        sqlite3_open(":memory:", &db);
        sqlite3_db_config(db, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
        sqlite3_db_config(db, SQLITE_DBCONFIG_DQS_DDL, 0, nullptr);
        sqlite3_exec(db, "CREATE TABLE t (a PRIMARY KEY, b, c); CREATE TABLE u (a, d, e)", nullptr,
                     nullptr, nullptr);
        // Some take effect while they are prepared.
        sqlite3_set_authorizer(
            db,
            [](void*, int action, const char*, const char*, const char*, const char*) {
                return action == SQLITE_PRAGMA ? SQLITE_DENY : SQLITE_OK;
            },
            nullptr);
        return db;
    }();
    return engine;
}

struct Prepared {
    bool isPossible;
    int parameters;
};

Prepared Prepare(std::string_view text) {
    sqlite3_stmt* made = nullptr;
    const char* tail = nullptr;
    const int code =
        sqlite3_prepare_v2(Engine(), text.data(), static_cast<int>(text.size()), &made, &tail);
    const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> statement(made,
                                                                               sqlite3_finalize);
    if (code != SQLITE_OK) return {false, 0};
    Require(made != nullptr, "the translation holds a statement", text);
    const std::string_view rest(tail, static_cast<std::size_t>(text.data() + text.size() - tail));
    Require(rest.find_first_not_of(" ;") == rest.npos, "the translation holds one statement", text);
    return {true, sqlite3_bind_parameter_count(made)};
}

// What a translation is, in one text; empty when the statement is refused.
std::string Translated(Translator& translator, std::string_view sql, Literals mode) {
    // Read from a buffer of its size, so that a sanitizer sees each byte too far.
    const auto exact = std::make_unique<char[]>(sql.size());
    std::ranges::copy(sql, exact.get());
    try {
        const Translation result = translator.Translate({exact.get(), sql.size()}, mode);
        Require(!result.text.empty(), "the translation is no empty text", sql);
        const Prepared prepared = Prepare(result.text);
        Require(
            !prepared.isPossible || prepared.parameters == static_cast<int>(result.literals.size()),
            "there are as many values as parameters", result.text);
        Require(result.literals.size() <= Translator::kMostLifted, "the values are bounded", sql);
        Require(mode == Literals::Lifted || result.literals.empty(), "literals stay in place", sql);
        std::string all(result.text);
        all += result.noOperation ? "\nnothing" : "\n";
        all += prepared.isPossible ? "\npossible" : "\n";
        for (const auto& [kind, integer, real, text] : result.literals) {
            all += '\n' + std::to_string(static_cast<int>(kind)) + ' ' + std::to_string(integer) +
                   ' ' + std::to_string(real) + ' ';
            all += text;
        }
        return all;
    } catch (const dialect::SyntaxError& error) {
        Require(error.position <= sql.size(), "the fault lies within the statement", sql);
        return {};
    }
}

bool IsPossible(const std::string& translated) {
    return translated.find("\npossible") != translated.npos;
}

// A server gets the shape of a statement. The engine takes a parameter wherever it takes the value.
void CheckShape(const std::string& sql) {
    const odbc::Shape shape(sql);
    const Prepared before = Prepare(sql), after = Prepare(shape.Text());
    Require(!before.isPossible || after.isPossible, "a shape makes nothing impossible",
            shape.Text());
    Require(!after.isPossible || after.parameters == static_cast<int>(shape.Values().size()),
            "a shape has as many parameters as values", shape.Text());
}

void Check(std::string_view sql) {
    static Translator experienced;  // which remembers what it met before
    Translator fresh;
    const std::string lifted = Translated(fresh, sql, Literals::Lifted);
    Require(Translated(experienced, sql, Literals::Lifted) == lifted,
            "earlier statements change nothing", sql);
    Require(Translated(fresh, sql, Literals::Lifted) == lifted, "a second time is as the first",
            sql);
    const std::string inPlace = Translated(fresh, sql, Literals::InPlace);
    Require(lifted.empty() == inPlace.empty(), "both modes refuse the same", sql);
    Require(IsPossible(lifted) || !IsPossible(inPlace), "lifting makes nothing impossible",
            lifted + '\n' + inPlace);
    if (!inPlace.empty()) CheckShape(std::string(fresh.Translate(sql, Literals::InPlace).text));
}

}  // namespace
}  // namespace mersola::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    mersola::fuzz::Check(mersola::fuzz::TextOf(data, size));
    return 0;
}
