// What ODBC's diagnostic records mean to callers of ADO.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <sql.h>
#include <sqlext.h>

#include <mersola/platform/com_error.h>

namespace mersola::odbc {

inline constexpr const char* kSource = "ODBC";

/// User and password as they were given, which no message may show.
class Secrets {
  public:
    Secrets() = default;
    Secrets(std::string user, std::string password)
        : user_(std::move(user)), password_(std::move(password)) {}

    /// `text` with stars in their place: the password wherever it stands, the user as a word.
    std::string Hidden(std::string text) const;

  private:
    std::string user_;
    std::string password_;
};

/// One diagnostic record.
struct Diagnosis {
    std::string state;  // SQLSTATE
    SQLINTEGER native = 0;
    std::string words;  // without the names in brackets that drivers put in front
    bool sqlite = false;

    /// Whether it is a warning only.
    bool IsWarning() const { return state.starts_with("01"); }
    /// Whether a row was refused for what it holds, so that other rows may still be stored.
    bool IsRefusal() const;
    /// As a COM error. A violated unique or primary key says "duplicate"; nothing else does.
    _com_error Translated() const;
};

/// The records of a handle, the most important one first; never empty.
std::vector<Diagnosis> Diagnoses(SQLSMALLINT type, SQLHANDLE handle, const Secrets& secrets);

/// Why a connection could not be opened, out of all that the driver said.
_com_error ConnectFailure(const std::vector<Diagnosis>& diagnoses);

}  // namespace mersola::odbc
