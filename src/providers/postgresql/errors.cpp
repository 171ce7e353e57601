// SQLSTATEs and words. What they mean, the engine's description knows.
#include "errors.h"

#include <array>
#include <utility>

#include "ado/engine_error.h"
#include "engines/postgresql.h"

namespace mersola::postgresql {
namespace {

// In one line.
std::string Trimmed(const char* words) {
    std::string text;
    for (const char c : std::string_view(words ? words : "")) {
        const bool isBlank = c == ' ' || c == '\n' || c == '\t';
        if (!isBlank)
            text += c;
        else if (!text.ends_with(' '))
            text += ' ';
    }
    if (text.ends_with(' ')) text.pop_back();
    return text;
}

std::string_view FieldOf(const PGresult* result, int field) {
    const char* const text = PQresultErrorField(result, field);
    return text ? text : std::string_view();
}

}  // namespace

Fault Failure::About() const {
    return kPostgresql.faultOf({.state = state, .native = 0, .words = words});
}

_com_error Failure::Translated() const {
    const Fault about = About();
    return ado::EngineError(about == Fault::Value ? Fault::Constraint : about,
                            about == Fault::Busy ? words + "; the time-out passed" : words,
                            kSource);
}

Failure FailureIn(const PGresult* result, const ado::Secrets& secrets) {
    Failure failure{std::string(FieldOf(result, PG_DIAG_SQLSTATE)),
                    std::string(FieldOf(result, PG_DIAG_MESSAGE_PRIMARY))};
    if (failure.words.empty()) failure.words = Trimmed(PQresultErrorMessage(result));
    if (const auto detail = FieldOf(result, PG_DIAG_MESSAGE_DETAIL); !detail.empty())
        failure.words.append(": ").append(detail);
    failure.words = secrets.Hidden(std::move(failure.words));
    return failure;
}

_com_error ConnectFailure(const PGconn* connection, const ado::Secrets& secrets) {
    const std::string words = secrets.Hidden(Trimmed(PQerrorMessage(connection)));
    bool isLogIn = PQconnectionNeedsPassword(connection) || PQconnectionUsedPassword(connection);
    for (const std::string_view part : {"authentication failed", "does not exist", "pg_hba.conf"})
        isLogIn |= words.find(part) != words.npos && words.find("FATAL") != words.npos;
    return ado::EngineError(isLogIn ? Fault::LogIn : Fault::Other, words, kSource);
}

_com_error Lost(std::string_view words) {
    std::string text = "The connection was lost";
    if (!words.empty()) text.append(": ").append(words);
    return ado::EngineError(Fault::Other, std::move(text), kSource);
}

}  // namespace mersola::postgresql
