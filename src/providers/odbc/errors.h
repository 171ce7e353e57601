// Turns ODBC's diagnostic records into the errors that callers of ADO expect.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <sql.h>
#include <sqlext.h>

#include <mersola/platform/com_error.h>

#include "ado/secrets.h"
#include "engines/engine.h"

namespace mersola::odbc {

inline constexpr const char* kSource = "ODBC";

using ado::Secrets;

/// One diagnostic record.
struct Diagnosis {
    std::string state;  // SQLSTATE
    SQLINTEGER native = 0;
    std::string words;               // the driver's words, without the names in brackets in front
    const Engine* engine = nullptr;  // null where it is not known

    /// Whether the record is only a warning.
    bool IsWarning() const { return state.starts_with("01"); }
    /// What the record is about.
    Fault About() const;
    /// As a COM error.
    _com_error Translated() const;
};

/// The records of a handle, the most important one first. The list is never empty. Where `engine`
/// is null, the names in brackets tell the engine.
std::vector<Diagnosis> Diagnoses(SQLSMALLINT type, SQLHANDLE handle, const Secrets& secrets,
                                 const Engine* engine);

/// The error that says why a connection could not be opened, chosen from all that the driver said.
_com_error ConnectFailure(const std::vector<Diagnosis>& diagnoses);

}  // namespace mersola::odbc
