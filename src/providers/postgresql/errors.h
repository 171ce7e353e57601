// Turns PostgreSQL's errors into COM errors.
#pragma once

#include <string>
#include <string_view>

#include <libpq-fe.h>

#include <mersola/platform/com_error.h>

#include "ado/secrets.h"
#include "engines/engine.h"

namespace mersola::postgresql {

inline constexpr const char* kSource = "PostgreSQL";

/// What the server says of a failure.
struct Failure {
    std::string state;  // SQLSTATE
    std::string words;

    Fault About() const;
    /// As a COM error.
    _com_error Translated() const;
};

Failure FailureIn(const PGresult* result, const ado::Secrets& secrets);

/// The error that says why a connection could not be opened. libpq tells it in words alone.
_com_error ConnectFailure(const PGconn* connection, const ado::Secrets& secrets);

/// The error for a connection that is of no use any more, with the last words that came over it.
_com_error Lost(std::string_view words = {});

}  // namespace mersola::postgresql
