// PostgreSQL.
#pragma once

#include "engine.h"

namespace mersola {

namespace postgresql {

/// It tells all by SQLSTATE.
constexpr Fault FaultOf(const Message& message) {
    const std::string_view state = message.state;
    if (state == "42P01") return Fault::NoTable;
    if (state == "23505") return Fault::Duplicate;
    if (state == "57014" || state == "55P03") return Fault::Busy;  // cancelled, or a lock held
    if (state == "3D000") return Fault::NoDatabase;
    if (state.starts_with("28")) return Fault::LogIn;
    if (state.starts_with("23")) return Fault::Constraint;
    if (state.starts_with("22")) return Fault::Value;
    if (state.starts_with("42") || state == "0A000") return Fault::Statement;
    return Fault::Other;
}

inline constexpr Savepoint kSavepoint{"SAVEPOINT batch", "ROLLBACK TO SAVEPOINT batch",
                                      "RELEASE SAVEPOINT batch"};

}  // namespace postgresql

inline constexpr Engine kPostgresql{
    .name = "PostgreSQL",
    .mark = "PostgreSQL",
    .layout = "postgresql",
    .language = Language::Postgresql,
    .savepoint = &postgresql::kSavepoint,
    .textForm = TextForm::Utf8,
    .columns = {.onlyFinite = false, .mostStatus = 0, .onlyWestern = false},
    .faultOf = postgresql::FaultOf,
};

}  // namespace mersola
