// Makes libpq's connection parameters from ADO's connection strings.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "ado/provider.h"
#include "ado/secrets.h"

namespace mersola::postgresql {

struct ConnectText {
    std::vector<std::pair<std::string, std::string>> keywords;  // of libpq, with their values
    std::string schema;  // where the tables are; empty for the server's own search path
    ado::Secrets secrets;
};

/// What libpq takes for `request`. The keys of OLE DB become libpq's, and libpq's own keywords stay
/// as they are (sslrootcert, service, passfile and so on). What nobody gives is for libpq to find:
/// in the environment, in the service and password files. Raises for what cannot be meant.
ConnectText MakeConnectText(const ado::OpenRequest& request);

}  // namespace mersola::postgresql
