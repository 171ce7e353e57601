// The provider for ODBC data sources: SQL Server, and SQLite through its ODBC driver.
#pragma once

#include <memory>

#include "ado/provider.h"

namespace mersola::odbc {

std::shared_ptr<ado::Provider> MakeProvider();

}  // namespace mersola::odbc
