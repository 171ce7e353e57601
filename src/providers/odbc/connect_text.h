// Makes ODBC's connection strings from ADO's.
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

/// The text that SQLDriverConnect takes for `request`. With a provider for SQL Server, the keys of
/// OLE DB become those of a driver. That is one of `drivers`, the names of the installed ones, or
/// the one that Driver= names. Otherwise the text stays as it is. User and password stand in the
/// text or come from the request; where both name one, the text counts. Raises when no driver fits.
ConnectText MakeConnectText(const ado::OpenRequest& request, std::span<const std::string> drivers);

}  // namespace mersola::odbc
