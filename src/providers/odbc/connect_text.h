// From ADO's connection strings to ODBC's.
#pragma once

#include <span>
#include <string>

#include "ado/provider.h"
#include "errors.h"

namespace mersola::odbc {

struct ConnectText {
    std::string text;
    Secrets secrets;
};

/// What SQLDriverConnect takes for `request`. With a provider for SQL Server the keys of OLE DB
/// become those of a driver out of `drivers`, the names of the installed ones, or of the one that
/// Driver= names; otherwise the text stays as it is. User and password stand in the text or come
/// from the request; the text counts where both name one. Raises when no driver fits.
ConnectText MakeConnectText(const ado::OpenRequest& request, std::span<const std::string> drivers);

}  // namespace mersola::odbc
